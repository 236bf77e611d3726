#include "foundation/HException.h"
#include "packages/PackageArchive.h"
#include "packages/PackageExtraction.h"
#include "tests/packages/ArchiveBytes.h"
#include "tests/support/TestSupport.h"
#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <set>

using ArchiveBytes::Entry;

namespace {

const std::vector<Entry> twoFiles = {{"a.txt", "first file\n"}, {"dir/b.bin", QByteArray(5000, 'b')}};

// Everything below `folder`, hidden entries included.
QStringList contentsOf(const QString &folder)
{
    QStringList names;
    QDir dir(folder);
    for (const QString &name : dir.entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot))
        names.append(name);
    return names;
}

// Opens the bytes as an archive and extracts all of it into `folder`; the message of the
// failure, or "ok". Checks that a failure left nothing in the target folder.
std::string extractMessageIn(const QString &folder, const QByteArray &bytes, qint64 maxSize = defaultMaxExtractSize)
{
    const QString path = folder + QStringLiteral("/archive");
    TestSupport::writeFile(path, bytes);
    const QString target = folder + QStringLiteral("/out");
    std::string message = "ok";
    try {
        PackageArchive archive;
        archive.open(path);
        std::vector<const PackageArchiveFile *> files;
        for (const auto &file : archive.files())
            files.push_back(file.get());
        extractArchive(archive, target, files, false, maxSize);
    } catch (const HException &error) {
        message = error.message().toStdString();
        EXPECT_TRUE(contentsOf(target).isEmpty()) << message << ": " << contentsOf(target).join(u' ').toStdString();
    }
    QDir(target).removeRecursively();
    return message;
}

std::string extractMessage(const QByteArray &bytes, qint64 maxSize = defaultMaxExtractSize)
{
    QTemporaryDir dir;
    return extractMessageIn(dir.path(), bytes, maxSize);
}

QByteArray withByte(QByteArray bytes, qsizetype at, char value)
{
    bytes[at] = value;
    return bytes;
}

QByteArray zlibArchive(const QByteArray &stream)
{
    return ArchiveBytes::header(2, 0) + ArchiveBytes::zlibCompress(stream);
}

QByteArray bzip2Archive(const QByteArray &stream)
{
    return ArchiveBytes::header(2, 1) + ArchiveBytes::bzip2Compress(stream);
}

std::vector<Entry> named(const QByteArray &name)
{
    return {{"ok.txt", "fine"}, {name, "payload"}};
}

struct BrokenCase {
    const char *name;
    QByteArray bytes;
    std::string message;
};

class BrokenArchives : public ::testing::TestWithParam<BrokenCase> {};

TEST_P(BrokenArchives, AreRefusedWithTheirMessageAndWriteNothing)
{
    EXPECT_EQ(extractMessage(GetParam().bytes), GetParam().message);
}

const QByteArray good = ArchiveBytes::format2Archive(twoFiles);
const QByteArray goodStream = ArchiveBytes::format2Stream(twoFiles);

std::vector<Entry> withOffset(quint32 offset)
{
    std::vector<Entry> entries = twoFiles;
    entries[1].offset = offset;
    return entries;
}

std::vector<Entry> withSize(quint32 size)
{
    std::vector<Entry> entries = twoFiles;
    entries[1].size = size;
    return entries;
}

INSTANTIATE_TEST_SUITE_P(
    Header, BrokenArchives,
    ::testing::Values(
        BrokenCase{"empty", "", "unsupported package file format"},
        BrokenCase{"sevenBytes", good.left(7), "unsupported package file format"},
        BrokenCase{"badMagic", withByte(good, 0, 'X'), "unsupported package file format"},
        BrokenCase{"version0", ArchiveBytes::header(0, 0) + good.mid(8), "unsupported package file format"},
        BrokenCase{"version3", ArchiveBytes::header(3, 0) + good.mid(8), "unsupported package file format"},
        BrokenCase{"version4095", ArchiveBytes::header(4095, 0) + good.mid(8), "unsupported package file format"},
        BrokenCase{"algorithm2", ArchiveBytes::header(2, 2) + good.mid(8), "unsupported compression algorithm"},
        BrokenCase{"algorithm15", ArchiveBytes::header(2, 15) + good.mid(8), "unsupported compression algorithm"},
        BrokenCase{"headerOnly", good.left(8), "bad header"},
        BrokenCase{"blockCut", zlibArchive(goodStream.left(19)), "bad header"},
        BrokenCase{"tableCut", zlibArchive(goodStream.left(30)), "bad table of contents"},
        BrokenCase{"nameCut", zlibArchive(goodStream.left(20 + 18 + 3)), "bad table of contents"},
        BrokenCase{"legacyInnerMagic", QByteArray("\x7A\xF4\x31\xB2xxxx", 8) + ArchiveBytes::zlibCompress("12345678"), "bad header"},
        BrokenCase{"hugeCountTinyStream", zlibArchive(ArchiveBytes::format2Stream({}, 0xFFFFFFFFu)), "too many files in archive (4294967295)"},
        BrokenCase{"countAboveTheBound", zlibArchive(ArchiveBytes::format2Stream({}, (1u << 18) + 1)), "too many files in archive (262145)"},
        BrokenCase{"countBeyondTheTable", zlibArchive(ArchiveBytes::format2Stream(twoFiles, 3)), "bad table of contents"},
        BrokenCase{"legacyPlainCut", ArchiveBytes::legacyPlainArchive(twoFiles).left(8 + 1040 + 500), "bad table of contents"}),
    [](const auto &info) { return std::string(info.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Contents, BrokenArchives,
    ::testing::Values(
        BrokenCase{"sizeBeyondTheStream", zlibArchive(goodStream.left(goodStream.size() - 10)), "cannot read file dir/b.bin from archive"},
        BrokenCase{"bzip2SizeBeyondTheStream", bzip2Archive(goodStream.left(goodStream.size() - 1)), "cannot read file dir/b.bin from archive"},
        BrokenCase{"legacyPlainSizeBeyondTheFile", ArchiveBytes::legacyPlainArchive(twoFiles).chopped(1), "cannot read file dir/b.bin from archive"},
        BrokenCase{"declaredSizeBeyondTheContents", ArchiveBytes::format2Archive(withSize(0x7FFFFFFF)), "cannot read file dir/b.bin from archive"},
        BrokenCase{"offsetBeforeTheContents", ArchiveBytes::format2Archive(withOffset(3)), "bad offset of file dir/b.bin in archive"},
        BrokenCase{"offsetFarAway", ArchiveBytes::format2Archive(withOffset(0xFFFFFF00u)), "bad offset of file dir/b.bin in archive"},
        BrokenCase{"dataAfterTheLastFile", zlibArchive(goodStream + "more"), "unexpected data after the last file in archive"},
        BrokenCase{"badAdler", withByte(good, good.size() - 1, char(good.back() ^ 1)), "error reading from compressed stream"},
        BrokenCase{"streamWithoutItsEnd", good.chopped(4), "error reading from compressed stream"},
        BrokenCase{"garbageDeflate", ArchiveBytes::header(2, 0) + QByteArray("\x78\x9c\xff\xff\xff\xff\xff\xff", 8), "error reading from compressed stream"},
        BrokenCase{"notBzip2", ArchiveBytes::header(2, 1) + good.mid(8), "error reading from compressed stream"}),
    [](const auto &info) { return std::string(info.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Names, BrokenArchives,
    ::testing::Values(
        BrokenCase{"parent", ArchiveBytes::format2Archive(named("../x")), "unsafe file name in archive: ../x"},
        BrokenCase{"parentInside", ArchiveBytes::format2Archive(named("a/../../x")), "unsafe file name in archive: a/../../x"},
        BrokenCase{"absolute", ArchiveBytes::format2Archive(named("/tmp/x")), "unsafe file name in archive: /tmp/x"},
        BrokenCase{"emptyName", ArchiveBytes::format2Archive(named("")), "unsafe file name in archive: "},
        BrokenCase{"doubledSlash", ArchiveBytes::format2Archive(named("a//b")), "unsafe file name in archive: a//b"},
        BrokenCase{"dotPart", ArchiveBytes::format2Archive(named("./a")), "unsafe file name in archive: ./a"},
        BrokenCase{"trailingSlash", ArchiveBytes::format2Archive(named("a/")), "unsafe file name in archive: a/"},
        BrokenCase{"nulByte", ArchiveBytes::format2Archive(named(QByteArray("a\0b", 3))), std::string("unsafe file name in archive: a\0b", 32)},
        BrokenCase{"stagingFolder", ArchiveBytes::format2Archive(named(".tess-staging/x")), "unsafe file name in archive: .tess-staging/x"},
        BrokenCase{"legacyParent", ArchiveBytes::legacyPlainArchive(named("../../x")), "unsafe file name in archive: ../../x"},
        BrokenCase{"duplicate", ArchiveBytes::format2Archive(named("ok.txt")), "duplicate file name in archive: ok.txt"},
        BrokenCase{"fileIsAFolder", ArchiveBytes::format2Archive(named("ok.txt/inner")), "file name in archive is also a folder: ok.txt"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(ArchiveLimits, ADeclaredTotalAboveTheLimitIsRefusedBeforeWriting)
{
    EXPECT_EQ(extractMessage(good, 100), "archive too large (5011 bytes to write, at most 100)");
    EXPECT_EQ(extractMessage(good, 5011), "ok");
}

// A bzip2 stream of a few kilobytes that inflates to 32 MiB: the table claims small files, so
// reading stops one byte past them.
TEST(ArchiveLimits, ABzip2BombEndsAfterTheDeclaredContents)
{
    const QByteArray stream = goodStream + QByteArray(32 << 20, '\0');
    const QByteArray bomb = bzip2Archive(stream);
    ASSERT_LT(bomb.size(), 64 * 1024);
    EXPECT_EQ(extractMessage(bomb), "unexpected data after the last file in archive");
}

// Cut anywhere, an archive is refused with one of the short-read texts of its place or a stream
// error, and nothing is written. The plain legacy file is cut at every byte of its header and
// table and at every 61st byte of its contents.
TEST(ArchiveLimits, TruncationAnywhereIsRefused)
{
    const std::set<std::string> allowed = {"unsupported package file format", "bad header", "bad table of contents",
                                           "cannot read file a.txt from archive", "cannot read file dir/b.bin from archive",
                                           "error reading from compressed stream"};
    QTemporaryDir dir;
    for (const QByteArray &whole : {good, ArchiveBytes::format2Archive(twoFiles, 1), ArchiveBytes::legacyPlainArchive(twoFiles),
                                    ArchiveBytes::legacyZlibArchive(twoFiles), ArchiveBytes::format1Archive(twoFiles)}) {
        for (qsizetype length = 0; length < whole.size(); length += length < 8 + 2 * 1040 + 20 ? 1 : 61) {
            const std::string message = extractMessageIn(dir.path(), whole.left(length));
            EXPECT_TRUE(allowed.count(message)) << "cut at " << length << ": " << message;
        }
    }
}

TEST(ArchiveLimits, ATableOfHugeNamesStopsAtTheNameBound)
{
    std::vector<Entry> entries;
    for (int i = 0; i < 300; ++i)
        entries.emplace_back(QByteArray(60000, 'a') + QByteArray::number(i), "");
    EXPECT_EQ(extractMessage(zlibArchive(ArchiveBytes::format2Stream(entries))),
              "table of contents too large (more than 16777216 bytes of names)");
}

struct KeptCase {
    const char *name;
    const char *file;
    std::string message;
};

class KeptArchives : public ::testing::TestWithParam<KeptCase> {};

// The archives under data/ also seed the fuzz target; each keeps its verdict.
TEST_P(KeptArchives, ExtractOrAreRefusedAsBefore)
{
    const QByteArray bytes = TestSupport::readFile(QStringLiteral(TESS_TEST_DATA "/data/") + QLatin1String(GetParam().file));
    ASSERT_FALSE(bytes.isEmpty());
    EXPECT_EQ(extractMessage(bytes), GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Data, KeptArchives,
    ::testing::Values(KeptCase{"format2Zlib", "format2-zlib.qvPackage", "ok"},
                      KeptCase{"format2Bzip2", "format2-bzip2.qvPackage", "ok"},
                      KeptCase{"format1Zlib", "format1-zlib.qvPackage", "ok"},
                      KeptCase{"legacyPlain", "legacy-plain.qvArchive", "ok"},
                      KeptCase{"legacyZlib", "legacy-zlib.qvArchive", "ok"},
                      KeptCase{"escapeParent", "escape-parent.qvPackage", "unsafe file name in archive: ../outside/x"},
                      KeptCase{"escapeAbsolute", "escape-absolute.qvPackage", "unsafe file name in archive: /tmp/escaped"},
                      KeptCase{"hugeCount", "huge-count.qvPackage", "too many files in archive (4294967295)"}),
    [](const auto &info) { return std::string(info.param.name); });

} // namespace
