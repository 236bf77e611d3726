#include "packages/PackageArchiveIO.h"
#include "foundation/HException.h"
#include <bzlib.h>
#include <zlib.h>
#include <algorithm>
#include <climits>
#include <memory>
#include <sys/types.h>

namespace {

[[noreturn]] void fail(const char *message)
{
    throw HException(QString::fromLatin1(message));
}

// One library call takes at most this much, so sizes fit the libraries' int and uInt.
constexpr qint64 maxChunk = qint64(1) << 30;

} // namespace

PackageArchiveIOFileInterface::~PackageArchiveIOFileInterface() = default;

PackageArchiveIOFile::PackageArchiveIOFile(FILE *file, qint64 base, Ownership ownership)
    : m_file(file), m_base(base), m_ownership(ownership)
{
}

PackageArchiveIOFile::~PackageArchiveIOFile()
{
    if (m_file && m_ownership == Ownership::Owned)
        std::fclose(m_file);
}

qint64 PackageArchiveIOFile::read(char *buffer, qint64 size)
{
    return qint64(std::fread(buffer, 1, size_t(size), m_file));
}

bool PackageArchiveIOFile::write(const char *buffer, qint64 size)
{
    return std::fwrite(buffer, 1, size_t(size), m_file) == size_t(size);
}

bool PackageArchiveIOFile::seek(qint64 offset)
{
    return fseeko(m_file, off_t(m_base + offset), SEEK_SET) == 0;
}

bool PackageArchiveIOFile::close()
{
    FILE *const file = m_file;
    m_file = nullptr;
    if (m_ownership == Ownership::Borrowed)
        return file && std::fflush(file) == 0;
    return file && std::fclose(file) == 0;
}

qint64 PackageArchiveCompressedInputFile::read(char *buffer, qint64 size)
{
    qint64 done = 0;
    while (done < size) {
        const qint64 got = transfer(buffer + done, std::min(size - done, maxChunk));
        if (got <= 0)
            break;
        done += got;
    }
    m_position += done;
    return done;
}

bool PackageArchiveCompressedInputFile::seek(qint64 offset)
{
    if (offset < m_position) {
        closeStream();
        if (fseeko(m_file, off_t(m_base), SEEK_SET) != 0)
            fail("error decompressing stream");
        m_position = 0;
        m_ended = false;
        openStream();
    }
    char scrap[archiveBufferSize];
    while (m_position < offset) {
        const qint64 piece = std::min(offset - m_position, archiveBufferSize);
        if (read(scrap, piece) != piece)
            return false;
    }
    return true;
}

bool PackageArchiveCompressedOutputFile::write(const char *buffer, qint64 size)
{
    for (qint64 done = 0; done < size;) {
        const qint64 piece = std::min(size - done, maxChunk);
        transfer(buffer + done, piece);
        done += piece;
    }
    return true;
}

// zlib input -----------------------------------------------------------------------------------

struct PackageArchiveCompressedGzInputFile::Stream {
    z_stream z = {};
    bool fileEnded = false;
    unsigned char input[archiveBufferSize];
};

PackageArchiveCompressedGzInputFile::PackageArchiveCompressedGzInputFile(FILE *file, qint64 base)
    : PackageArchiveCompressedInputFile(file, base)
{
}

PackageArchiveCompressedGzInputFile::~PackageArchiveCompressedGzInputFile()
{
    closeStream();
}

void PackageArchiveCompressedGzInputFile::openStream()
{
    auto stream = std::make_unique<Stream>();
    if (inflateInit(&stream->z) != Z_OK)
        fail("cannot initialise inflate");
    m_stream = stream.release();
}

void PackageArchiveCompressedGzInputFile::closeStream()
{
    if (!m_stream)
        return;
    inflateEnd(&m_stream->z);
    delete m_stream;
    m_stream = nullptr;
}

qint64 PackageArchiveCompressedGzInputFile::transfer(char *buffer, qint64 size)
{
    if (m_ended || !m_stream)
        return 0;
    z_stream &z = m_stream->z;
    z.next_out = reinterpret_cast<Bytef *>(buffer);
    z.avail_out = uInt(size);
    // Each pass either makes progress or ends the loop: inflate answers Z_BUF_ERROR when it
    // can do nothing, and then the input has run out for good.
    while (z.avail_out > 0) {
        if (z.avail_in == 0 && !m_stream->fileEnded) {
            const size_t got = std::fread(m_stream->input, 1, sizeof m_stream->input, m_file);
            if (std::ferror(m_file))
                fail("error reading from compressed stream");
            m_stream->fileEnded = got == 0;
            z.next_in = m_stream->input;
            z.avail_in = uInt(got);
        }
        const int result = inflate(&z, Z_NO_FLUSH);
        if (result == Z_STREAM_END) {
            m_ended = true;
            break;
        }
        if (result == Z_OK)
            continue;
        if (result == Z_BUF_ERROR && z.avail_in == 0 && m_stream->fileEnded)
            break;
        fail("error reading from compressed stream");
    }
    return size - qint64(z.avail_out);
}

// bzip2 input ----------------------------------------------------------------------------------

PackageArchiveCompressedBzInputFile::PackageArchiveCompressedBzInputFile(FILE *file, qint64 base)
    : PackageArchiveCompressedInputFile(file, base)
{
}

PackageArchiveCompressedBzInputFile::~PackageArchiveCompressedBzInputFile()
{
    closeStream();
}

void PackageArchiveCompressedBzInputFile::openStream()
{
    int error = BZ_OK;
    m_stream = BZ2_bzReadOpen(&error, m_file, 0, 0, nullptr, 0);
    if (error != BZ_OK || !m_stream) {
        if (m_stream)
            BZ2_bzReadClose(&error, m_stream);
        m_stream = nullptr;
        fail("cannot initialise inflate");
    }
}

void PackageArchiveCompressedBzInputFile::closeStream()
{
    if (!m_stream)
        return;
    int error = BZ_OK;
    BZ2_bzReadClose(&error, m_stream);
    m_stream = nullptr;
}

qint64 PackageArchiveCompressedBzInputFile::transfer(char *buffer, qint64 size)
{
    if (m_ended || !m_stream)
        return 0;
    int error = BZ_OK;
    const int got = BZ2_bzRead(&error, m_stream, buffer, int(std::min<qint64>(size, INT_MAX)));
    switch (error) {
    case BZ_OK:
        return got;
    case BZ_STREAM_END:
        m_ended = true;
        return got;
    case BZ_UNEXPECTED_EOF:
        return 0;
    default:
        fail("error reading from compressed stream");
    }
}

// zlib output ----------------------------------------------------------------------------------

struct PackageArchiveCompressedGzOutputFile::Stream {
    z_stream z = {};
    unsigned char output[archiveBufferSize];
};

PackageArchiveCompressedGzOutputFile::~PackageArchiveCompressedGzOutputFile()
{
    if (m_stream) {
        deflateEnd(&m_stream->z);
        delete m_stream;
    }
}

void PackageArchiveCompressedGzOutputFile::openStream(int level)
{
    auto stream = std::make_unique<Stream>();
    if (deflateInit(&stream->z, std::clamp(level, 0, 9)) != Z_OK)
        fail("cannot initialise deflate");
    m_stream = stream.release();
}

void PackageArchiveCompressedGzOutputFile::drain(int flush)
{
    z_stream &z = m_stream->z;
    for (;;) {
        z.next_out = m_stream->output;
        z.avail_out = sizeof m_stream->output;
        const int result = deflate(&z, flush);
        if (result == Z_STREAM_ERROR)
            fail("error compressing stream");
        const size_t produced = sizeof m_stream->output - z.avail_out;
        if (produced && std::fwrite(m_stream->output, 1, produced, m_file) != produced)
            fail("error writing to compressed stream");
        if (flush == Z_FINISH ? result == Z_STREAM_END : (z.avail_in == 0 && z.avail_out > 0))
            return;
    }
}

void PackageArchiveCompressedGzOutputFile::transfer(const char *buffer, qint64 size)
{
    if (!m_stream)
        fail("error compressing stream");
    m_stream->z.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(buffer));
    m_stream->z.avail_in = uInt(size);
    drain(Z_NO_FLUSH);
}

void PackageArchiveCompressedGzOutputFile::closeStream()
{
    if (!m_stream)
        return;
    m_stream->z.avail_in = 0;
    drain(Z_FINISH);
    deflateEnd(&m_stream->z);
    delete m_stream;
    m_stream = nullptr;
}

// bzip2 output ---------------------------------------------------------------------------------

PackageArchiveCompressedBzOutputFile::~PackageArchiveCompressedBzOutputFile()
{
    if (m_stream) {
        int error = BZ_OK;
        BZ2_bzWriteClose(&error, m_stream, 1, nullptr, nullptr);
    }
}

void PackageArchiveCompressedBzOutputFile::openStream(int level)
{
    int error = BZ_OK;
    m_stream = BZ2_bzWriteOpen(&error, m_file, std::clamp(level, 1, 9), 0, 0);
    if (error != BZ_OK || !m_stream) {
        m_stream = nullptr;
        fail("cannot initialise deflate");
    }
}

void PackageArchiveCompressedBzOutputFile::transfer(const char *buffer, qint64 size)
{
    if (!m_stream)
        fail("error compressing stream");
    int error = BZ_OK;
    BZ2_bzWrite(&error, m_stream, const_cast<char *>(buffer), int(size));
    if (error == BZ_IO_ERROR)
        fail("error writing to compressed stream");
    if (error != BZ_OK)
        fail("error compressing stream");
}

void PackageArchiveCompressedBzOutputFile::closeStream()
{
    if (!m_stream)
        return;
    int error = BZ_OK;
    void *const stream = m_stream;
    m_stream = nullptr;
    BZ2_bzWriteClose(&error, stream, 0, nullptr, nullptr);
    if (error == BZ_IO_ERROR)
        fail("error writing to compressed stream");
    if (error != BZ_OK)
        fail("error compressing stream");
}
