#include "foundation/HException.h"
#include "packages/PackageArchive.h"
#include "tests/packages/ArchiveBytes.h"
#include "tests/support/TestSupport.h"
#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <algorithm>

using ArchiveBytes::Entry;

namespace {

const std::vector<Entry> sampleEntries = {
    {"acme_package.xml", "<package name=\"acme\"/>\n", 0644, 1700000000},
    {"empty.txt", "", 0600, 1700000100},
    {"include/acme.h", "#define ACME 1\n", 0444, 1700000200},
    {"src/deep/folder/main.c", QByteArray(40000, 'x') + "int main(void) { return 0; }\n", 0755, 1700000300},
};

struct ArchiveFixture : ::testing::Test {
    QTemporaryDir dir;
    QString path(const QString &name) const { return dir.filePath(name); }
    QString write(const QString &name, const QByteArray &bytes) const
    {
        TestSupport::writeFile(path(name), bytes);
        return path(name);
    }
};

// The archive's table and every file's bytes, read in table order or backwards.
void expectEntries(PackageArchive &archive, const std::vector<Entry> &expected, bool backwards = false)
{
    ASSERT_EQ(archive.files().size(), expected.size());
    std::vector<size_t> order(expected.size());
    for (size_t i = 0; i < order.size(); ++i)
        order[i] = backwards ? order.size() - 1 - i : i;
    for (const size_t i : order) {
        const PackageArchiveFile &file = *archive.files()[i];
        EXPECT_EQ(file.storedName, expected[i].name);
        EXPECT_EQ(file.time, expected[i].time);
        EXPECT_EQ(archive.readFile(file), expected[i].data) << file.storedName.constData();
    }
}

std::string messageOf(const std::function<void()> &work)
{
    try {
        work();
    } catch (const HException &error) {
        return error.message().toStdString();
    }
    return "<no error>";
}

struct FormatCase {
    const char *name;
    QByteArray (*make)(const std::vector<Entry> &);
    int format;
    PackageArchiveCompression compression;
    bool format1Modes;   // modes come from the read-only flag
};

class EarlierAndCurrentFormats : public ArchiveFixture, public ::testing::WithParamInterface<FormatCase> {};

TEST_P(EarlierAndCurrentFormats, ReadTheTableAndEveryFileInEitherOrder)
{
    std::vector<Entry> entries = sampleEntries;
    entries[2].readOnly = true;
    const QString file = write(QStringLiteral("a.qvPackage"), GetParam().make(entries));
    PackageArchive archive;
    archive.open(file);
    EXPECT_EQ(archive.format(), GetParam().format);
    EXPECT_EQ(archive.compression(), GetParam().compression);
    expectEntries(archive, entries);
    expectEntries(archive, entries, true);
    for (size_t i = 0; i < entries.size(); ++i) {
        const quint32 mode = GetParam().format1Modes ? (entries[i].readOnly ? 0444u : 0666u) : entries[i].mode;
        EXPECT_EQ(archive.files()[i]->mode, mode) << i;
    }
    // Written back, an archive of any format becomes format 2 with the same files.
    archive.createFile(path(QStringLiteral("again.qvPackage")));
    PackageArchive again;
    again.open(path(QStringLiteral("again.qvPackage")));
    EXPECT_EQ(again.format(), 2);
    expectEntries(again, entries);
    again.verifyStreamEnd();
}

QByteArray format2Zlib(const std::vector<Entry> &entries) { return ArchiveBytes::format2Archive(entries, 0); }
QByteArray format2Bzip2(const std::vector<Entry> &entries) { return ArchiveBytes::format2Archive(entries, 1); }
QByteArray format1Zlib(const std::vector<Entry> &entries) { return ArchiveBytes::format1Archive(entries, 0); }
QByteArray format1Bzip2(const std::vector<Entry> &entries) { return ArchiveBytes::format1Archive(entries, 1); }

INSTANTIATE_TEST_SUITE_P(
    Formats, EarlierAndCurrentFormats,
    ::testing::Values(FormatCase{"format2Zlib", format2Zlib, 2, PackageArchiveCompression::Zlib, false},
                      FormatCase{"format2Bzip2", format2Bzip2, 2, PackageArchiveCompression::Bzip2, false},
                      FormatCase{"format1Zlib", format1Zlib, 1, PackageArchiveCompression::Zlib, true},
                      FormatCase{"format1Bzip2", format1Bzip2, 1, PackageArchiveCompression::Bzip2, true},
                      FormatCase{"legacyPlain", ArchiveBytes::legacyPlainArchive, 0, PackageArchiveCompression::None, true},
                      FormatCase{"legacyZlib", ArchiveBytes::legacyZlibArchive, 0, PackageArchiveCompression::Zlib, true}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(ArchiveFixture, WritesTheLayoutByteForByte)
{
    PackageArchive archive;
    for (const Entry &entry : sampleEntries)
        archive.addData(QString::fromUtf8(entry.name), entry.data, entry.time, entry.mode);
    archive.createFile(path(QStringLiteral("a.qvPackage")));
    EXPECT_EQ(TestSupport::readFile(path(QStringLiteral("a.qvPackage"))), ArchiveBytes::format2Archive(sampleEntries));
    archive.setCompression(PackageArchiveCompression::Bzip2);
    archive.createFile(path(QStringLiteral("b.qvPackage")));
    EXPECT_EQ(TestSupport::readFile(path(QStringLiteral("b.qvPackage"))), ArchiveBytes::format2Archive(sampleEntries, 1));
}

TEST_F(ArchiveFixture, AnEmptyArchiveIsTheHeaderAndTheCompressedBlock)
{
    PackageArchive archive;
    archive.createFile(path(QStringLiteral("empty.qvPackage")));
    const QByteArray bytes = TestSupport::readFile(path(QStringLiteral("empty.qvPackage")));
    EXPECT_EQ(bytes, ArchiveBytes::header(2, 0) + ArchiveBytes::zlibCompress(QByteArray(20, '\0')));
    PackageArchive again;
    again.open(path(QStringLiteral("empty.qvPackage")));
    EXPECT_TRUE(again.files().empty());
    again.verifyStreamEnd();
}

struct LevelCase {
    const char *name;
    PackageArchiveCompression compression;
    int given;
    int same;   // the level that writes the same bytes
};

class CompressionLevels : public ArchiveFixture, public ::testing::WithParamInterface<LevelCase> {};

TEST_P(CompressionLevels, AreMappedIntoTheLibrarysRange)
{
    PackageArchive archive;
    archive.setCompression(GetParam().compression);
    for (int i = 0; i < 200; ++i)
        archive.addData(QStringLiteral("f%1").arg(i), QByteArray::number(i * 7919).repeated(400), 1, 0644);
    archive.createFile(path(QStringLiteral("given")), GetParam().given);
    archive.createFile(path(QStringLiteral("same")), GetParam().same);
    EXPECT_EQ(TestSupport::readFile(path(QStringLiteral("given"))), TestSupport::readFile(path(QStringLiteral("same"))));
}

INSTANTIATE_TEST_SUITE_P(Levels, CompressionLevels,
                         ::testing::Values(LevelCase{"negativeIsSeven", PackageArchiveCompression::Zlib, -1, 7},
                                           LevelCase{"aboveNineIsNine", PackageArchiveCompression::Zlib, 42, 9},
                                           LevelCase{"bzipZeroIsOne", PackageArchiveCompression::Bzip2, 0, 1},
                                           LevelCase{"bzipNegativeIsSeven", PackageArchiveCompression::Bzip2, -5, 7}),
                         [](const auto &info) { return std::string(info.param.name); });

TEST_F(ArchiveFixture, NamesOfExactly65535BytesAreStoredAndLongerOnesRefused)
{
    PackageArchive archive;
    const QString longest(65535, u'n');
    archive.addData(longest, "x", 1, 0644);
    archive.createFile(path(QStringLiteral("a")));
    PackageArchive again;
    again.open(path(QStringLiteral("a")));
    ASSERT_EQ(again.files().size(), 1u);
    EXPECT_EQ(again.files()[0]->storedName.size(), 65535);
    archive.addData(longest + u'n', "x", 1, 0644);
    EXPECT_EQ(messageOf([&] { archive.createFile(path(QStringLiteral("b"))); }), "bad table of contents");
    EXPECT_FALSE(QFileInfo::exists(path(QStringLiteral("b"))));
}

TEST_F(ArchiveFixture, AnEmptyFileHasTheOffsetOfTheFollowingOne)
{
    PackageArchive archive;
    archive.open(write(QStringLiteral("a"), ArchiveBytes::format2Archive(sampleEntries)));
    EXPECT_EQ(archive.files()[1]->offset, archive.files()[2]->offset);
    EXPECT_EQ(archive.files()[0]->offset, 20 + 18 * 4 + 16 + 9 + 14 + 22);
}

TEST_F(ArchiveFixture, BothCompressionsGiveTheSameTable)
{
    PackageArchive zlib;
    PackageArchive bzip2;
    zlib.open(write(QStringLiteral("z"), ArchiveBytes::format2Archive(sampleEntries, 0)));
    bzip2.open(write(QStringLiteral("b"), ArchiveBytes::format2Archive(sampleEntries, 1)));
    ASSERT_EQ(zlib.files().size(), bzip2.files().size());
    for (size_t i = 0; i < zlib.files().size(); ++i) {
        EXPECT_EQ(zlib.files()[i]->storedName, bzip2.files()[i]->storedName);
        EXPECT_EQ(zlib.files()[i]->offset, bzip2.files()[i]->offset);
        EXPECT_EQ(zlib.files()[i]->size, bzip2.files()[i]->size);
    }
}

TEST_F(ArchiveFixture, AnArchiveInsideAnotherFileCountsOffsetsFromItsStream)
{
    const QByteArray prefix = QByteArray("installer stub ").repeated(100);
    const QString file = write(QStringLiteral("setup.bin"), prefix + ArchiveBytes::format2Archive(sampleEntries) + "trailer");
    PackageArchive archive;
    archive.open(file, prefix.size());
    expectEntries(archive, sampleEntries, true);
    EXPECT_EQ(messageOf([&] { archive.open(file, 0); }), "unsupported package file format");
    EXPECT_TRUE(archive.files().empty());
}

TEST_F(ArchiveFixture, FindFileAnswersTheSameSortedAndUnsorted)
{
    PackageArchive writer;
    for (int i = 999; i >= 0; --i)
        writer.addData(QStringLiteral("dir%1/file%2.c").arg(i % 10).arg(i), QByteArray::number(i), 1, 0644);
    writer.addData(QStringLiteral("board_package.xml"), "<package/>", 1, 0644);
    writer.createFile(path(QStringLiteral("many")));
    PackageArchive sorted;
    PackageArchive unsorted;
    sorted.open(path(QStringLiteral("many")), 0, true);
    unsorted.open(path(QStringLiteral("many")), 0, false);
    const QStringList names = {"dir3/file503.c", "dir0/file0.c", "dir9/file999.c", "nothing", "dir3/file50",
                               "*_package.xml", "dir7/*77.c", "DIR3/file503.c", "dir?/file12?.c"};
    for (const QString &name : names) {
        const PackageArchiveFile *const a = sorted.findFile(name);
        const PackageArchiveFile *const b = unsorted.findFile(name);
        ASSERT_EQ(a == nullptr, b == nullptr) << name.toStdString();
        if (a) {
            EXPECT_EQ(a->storedName, b->storedName) << name.toStdString();
        }
    }
    EXPECT_EQ(sorted.findFile(QStringLiteral("dir3/file503.c"))->storedName, "dir3/file503.c");
    EXPECT_EQ(sorted.findFile(QStringLiteral("DIR3/file503.c")), nullptr);
    EXPECT_EQ(sorted.findPackageDescription()->storedName, "board_package.xml");
    // "*" crosses "/": every file below the folders matches, in table order.
    const std::vector<const PackageArchiveFile *> all = unsorted.findFiles(QStringLiteral("dir*.c"));
    EXPECT_EQ(all.size(), 1000u);
    EXPECT_TRUE(std::is_sorted(all.begin(), all.end(), [&](const auto *a, const auto *b) {
        return std::find_if(unsorted.files().begin(), unsorted.files().end(), [&](const auto &f) { return f.get() == a; })
               < std::find_if(unsorted.files().begin(), unsorted.files().end(), [&](const auto &f) { return f.get() == b; });
    }));
}

TEST_F(ArchiveFixture, AddReplacesRemoveDeletesAndMissingFilesAreNamed)
{
    PackageArchive archive;
    archive.addData(QStringLiteral("a"), "one", 1, 0644);
    archive.addData(QStringLiteral("b"), "two", 1, 0644);
    archive.addFile(QStringLiteral("a"), write(QStringLiteral("disk"), "from disk"));
    ASSERT_EQ(archive.files().size(), 2u);
    EXPECT_EQ(archive.readFile(*archive.files()[0]), "from disk");
    EXPECT_TRUE(archive.removeFile(QStringLiteral("b")));
    EXPECT_FALSE(archive.removeFile(QStringLiteral("b")));
    EXPECT_EQ(archive.files().size(), 1u);
    const QString missing = path(QStringLiteral("missing"));
    EXPECT_EQ(messageOf([&] { archive.addFile(QStringLiteral("m"), missing); }), "cannot read " + missing.toStdString());
    archive.setWriteFormat(1);
    EXPECT_EQ(messageOf([&] { archive.createFile(path(QStringLiteral("x"))); }), "unsupported package file version");
}

TEST_F(ArchiveFixture, ExtractFileRestoresTimeAndModeAndAsksBeforeOverwriting)
{
    PackageArchive archive;
    archive.open(write(QStringLiteral("a"), ArchiveBytes::format2Archive(sampleEntries)));
    const PackageArchiveFile &file = *archive.files()[3];
    const QString target = path(QStringLiteral("out/src/main.c"));
    archive.extractFile(file, target, false);
    EXPECT_EQ(TestSupport::readFile(target), sampleEntries[3].data);
    EXPECT_EQ(QFileInfo(target).lastModified().toSecsSinceEpoch(), 1700000300);
    EXPECT_EQ(int(QFileInfo(target).permissions() & (QFileDevice::ExeOwner | QFileDevice::WriteOwner)),
              int(QFileDevice::ExeOwner | QFileDevice::WriteOwner));
    EXPECT_EQ(messageOf([&] { archive.extractFile(file, target, false); }), "cannot overwrite file " + target.toStdString());
    TestSupport::writeFile(target, "changed");
    archive.extractFile(file, target, true);
    EXPECT_EQ(TestSupport::readFile(target), sampleEntries[3].data);
    EXPECT_EQ(QDir(path(QStringLiteral("out/src"))).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList{"main.c"});
}

TEST_F(ArchiveFixture, ReadingBackwardsRestartsAndStillGivesEveryByte)
{
    std::vector<Entry> entries;
    for (int i = 0; i < 30; ++i)
        entries.push_back({QByteArray("f") + QByteArray::number(i), QByteArray::number(i).repeated(3000 + i)});
    for (const int algorithm : {0, 1}) {
        PackageArchive archive;
        archive.open(write(QStringLiteral("a%1").arg(algorithm), ArchiveBytes::format2Archive(entries, algorithm)));
        expectEntries(archive, entries, true);
        expectEntries(archive, entries);
        archive.verifyStreamEnd();
    }
}

} // namespace
