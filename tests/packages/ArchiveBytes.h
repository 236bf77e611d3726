#pragma once
// Package archives made byte by byte, independently of the archive code under test: the
// layouts are written out here field by field and compressed with the libraries directly.
#include <QByteArray>
#include <QtEndian>
#include <bzlib.h>
#include <optional>
#include <vector>
#include <zlib.h>

namespace ArchiveBytes {

struct Entry {
    Entry(QByteArray name_, QByteArray data_, quint32 mode_ = 0644, quint32 time_ = 1700000000)
        : name(std::move(name_)), data(std::move(data_)), mode(mode_), time(time_)
    {
    }
    QByteArray name;
    QByteArray data;
    quint32 mode = 0644;
    quint32 time = 1700000000;
    std::optional<quint32> offset;   // the computed one when empty
    std::optional<quint32> size;     // data.size() when empty
    bool readOnly = false;           // format 1 records
};

inline void u16(QByteArray &out, quint32 value)
{
    char bytes[2];
    qToLittleEndian<quint16>(quint16(value), bytes);
    out.append(bytes, 2);
}

inline void u32(QByteArray &out, quint32 value)
{
    char bytes[4];
    qToLittleEndian<quint32>(value, bytes);
    out.append(bytes, 4);
}

inline QByteArray zlibCompress(const QByteArray &bytes, int level = 7)
{
    uLongf size = compressBound(uLong(bytes.size()));
    QByteArray out(qsizetype(size), '\0');
    compress2(reinterpret_cast<Bytef *>(out.data()), &size, reinterpret_cast<const Bytef *>(bytes.constData()),
              uLong(bytes.size()), level);
    out.resize(qsizetype(size));
    return out;
}

inline QByteArray bzip2Compress(const QByteArray &bytes, int blockSize = 7)
{
    unsigned int size = unsigned(bytes.size() + bytes.size() / 100 + 600);
    QByteArray out(qsizetype(size), '\0');
    BZ2_bzBuffToBuffCompress(out.data(), &size, const_cast<char *>(bytes.constData()), unsigned(bytes.size()),
                             blockSize, 0, 0);
    out.resize(qsizetype(size));
    return out;
}

// The 8-byte header of formats 1 and 2.
inline QByteArray header(quint32 version, quint32 algorithm, quint32 magic = 0x71F5C6B1)
{
    QByteArray out;
    u32(out, magic);
    u16(out, (version & 0xFFF) | (algorithm << 12));
    u16(out, 0);
    return out;
}

// The decompressed stream of format 2: count, 16 reserved bytes, entries, contents.
inline QByteArray format2Stream(const std::vector<Entry> &entries, std::optional<quint32> count = {})
{
    QByteArray out;
    u32(out, count.value_or(quint32(entries.size())));
    out.append(16, '\0');
    quint32 offset = 20;
    for (const Entry &entry : entries)
        offset += 18 + quint32(entry.name.size());
    for (const Entry &entry : entries) {
        u16(out, quint32(entry.name.size()));
        u32(out, entry.offset.value_or(offset));
        u32(out, entry.size.value_or(quint32(entry.data.size())));
        u32(out, entry.mode);
        u32(out, entry.time);
        out.append(entry.name);
        offset += quint32(entry.data.size());
    }
    for (const Entry &entry : entries)
        out.append(entry.data);
    return out;
}

// 1040-byte records behind `before` bytes of header, offsets counted from `base`.
inline QByteArray format1Records(const std::vector<Entry> &entries, quint32 firstOffset)
{
    QByteArray out;
    quint32 offset = firstOffset;
    for (const Entry &entry : entries) {
        QByteArray name = entry.name.left(1024);
        name.append(1024 - name.size(), '\0');
        out.append(name);
        u32(out, entry.offset.value_or(offset));
        u32(out, entry.size.value_or(quint32(entry.data.size())));
        u32(out, entry.readOnly ? 1 : 0);
        u32(out, entry.time);
        offset += quint32(entry.data.size());
    }
    for (const Entry &entry : entries)
        out.append(entry.data);
    return out;
}

inline QByteArray format2Archive(const std::vector<Entry> &entries, int algorithm = 0)
{
    const QByteArray stream = format2Stream(entries);
    return header(2, quint32(algorithm)) + (algorithm == 1 ? bzip2Compress(stream) : zlibCompress(stream));
}

// Format 1 inside the new header: the same 20-byte block, then 1040-byte records.
inline QByteArray format1Archive(const std::vector<Entry> &entries, int algorithm = 0)
{
    QByteArray stream;
    u32(stream, quint32(entries.size()));
    stream.append(16, '\0');
    stream.append(format1Records(entries, quint32(20 + 1040 * entries.size())));
    return header(1, quint32(algorithm)) + (algorithm == 1 ? bzip2Compress(stream) : zlibCompress(stream));
}

// Legacy plain: magic, count, records; offsets from the archive's first byte.
inline QByteArray legacyPlainArchive(const std::vector<Entry> &entries)
{
    QByteArray out;
    u32(out, 0x4152C3C8);
    u32(out, quint32(entries.size()));
    out.append(format1Records(entries, quint32(8 + 1040 * entries.size())));
    return out;
}

// Legacy zlib: magic, four skipped bytes, then a zlib stream of the legacy plain layout.
inline QByteArray legacyZlibArchive(const std::vector<Entry> &entries)
{
    QByteArray out;
    u32(out, 0xB231F47A);
    u32(out, 0xDEADBEEF);
    return out + zlibCompress(legacyPlainArchive(entries));
}

} // namespace ArchiveBytes
