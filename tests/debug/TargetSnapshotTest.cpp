#include "debug/ElfObjectFile.h"
#include "debug/MemoryDump.h"
#include "debug/SymbolInformation.h"
#include "debug/TargetSnapshot.h"
#include "foundation/HException.h"
#include "tests/debug/DebugTestSupport.h"
#include "tests/support/TestSupport.h"
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <limits>

namespace {

QByteArray readBack(const TargetSnapshot &snapshot, quint64 address, qint64 length, bool *ok = nullptr)
{
    QByteArray bytes(length, '?');
    const bool read = snapshot.read(address, length, bytes.data());
    if (ok)
        *ok = read;
    return read ? bytes : QByteArray();
}

struct SnapshotCase {
    const char *name;
    quint64 address;
    qint64 length;
    const char *expected; // null: not mapped
};

class SnapshotLayers : public ::testing::TestWithParam<SnapshotCase> {};

// A section of "abcdefgh" at 0x100, .bss of 4 bytes at 0x108, a dump "XY" at 0x102 and a later
// one "Z" at 0x103: later layers win byte by byte.
TEST_P(SnapshotLayers, LaterLayersWinAndGapsAreUnmapped)
{
    static const char section[] = "abcdefgh";
    TargetSnapshot snapshot;
    snapshot.addSection(0x100, 8, section);
    snapshot.addSection(0x108, 4, nullptr);
    snapshot.addDump(0x102, "XY");
    snapshot.addDump(0x103, "Z");
    bool ok = false;
    const QByteArray bytes = readBack(snapshot, GetParam().address, GetParam().length, &ok);
    if (!GetParam().expected) {
        EXPECT_FALSE(ok);
        return;
    }
    ASSERT_TRUE(ok);
    EXPECT_EQ(bytes, QByteArray(GetParam().expected, GetParam().length));
}

INSTANTIATE_TEST_SUITE_P(Reads, SnapshotLayers, ::testing::Values(
    SnapshotCase{"section", 0x100, 2, "ab"},
    SnapshotCase{"overlaid", 0x100, 6, "abXZef"},
    SnapshotCase{"intoBss", 0x106, 4, "gh\0\0"},
    SnapshotCase{"bssEnd", 0x10b, 1, "\0"},
    SnapshotCase{"pastBss", 0x10b, 2, nullptr},
    SnapshotCase{"before", 0xff, 2, nullptr},
    SnapshotCase{"empty", 0x500, 0, ""},
    SnapshotCase{"wraps", std::numeric_limits<quint64>::max(), 2, nullptr}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(SnapshotStores, WriteOnlyWhereMappedAndNeverIntoTheSections)
{
    static const char section[] = "abcd";
    TargetSnapshot snapshot;
    snapshot.addSection(0x1000, 4, section);
    snapshot.addSection(0x2000, 0x10000, nullptr);
    EXPECT_TRUE(snapshot.write(0x1001, 2, "!!"));
    EXPECT_EQ(readBack(snapshot, 0x1000, 4), QByteArray("a!!d"));
    EXPECT_EQ(QByteArray(section), QByteArray("abcd")) << "the file's bytes stay";
    EXPECT_FALSE(snapshot.write(0x1003, 2, "??")) << "runs past the section";
    EXPECT_EQ(readBack(snapshot, 0x1000, 4), QByteArray("a!!d"));
    // Across a page boundary of the written pages, inside .bss.
    EXPECT_TRUE(snapshot.write(0x2ffe, 4, "wxyz"));
    EXPECT_EQ(readBack(snapshot, 0x2ffc, 8), QByteArray("\0\0wxyz\0\0", 8));
    snapshot.addDump(0x2fff, "D");
    EXPECT_EQ(readBack(snapshot, 0x2ffe, 2), QByteArray("wx")) << "stores stay above later dumps";
}

TEST(MemoryDumpLines, EntriesFollowTheTargetsByteOrder)
{
    DebugTestSupport::FakeTarget target;
    target.map(0x40, QByteArray::fromHex("0102030405060708090a"));
    target.setBigEndian(true);
    EntryDumper words(target, 4, true);
    QStringList lines;
    EXPECT_FALSE(words.dump(0x40, 12, [&](const QString &line) { lines.append(line); }));
    EXPECT_EQ(lines, QStringList{QStringLiteral("0x00000040: 01020304 05060708 ????????")});
    lines.clear();
    EntryDumper halves(target, 2, false);
    EXPECT_TRUE(halves.dump(0x40, 3, [&](const QString &line) { lines.append(line); }));
    EXPECT_EQ(lines, QStringList{QStringLiteral("0x00000040: 0201 03")});
}

TEST(ElfObjectFileLists, SectionsSegmentsAndSymbolsOfAProgram)
{
    const QString image = DebugTestSupport::builtOnce(QStringLiteral("layout-elf"), QStringLiteral("gcc"),
                                                      QStringLiteral("layout.c"), {QStringLiteral("-g")});
    if (image.isEmpty())
        GTEST_SKIP() << "gcc is not installed";
    const std::unique_ptr<ElfObjectFile> file = ElfObjectFile::open(image);
    EXPECT_EQ(file->addressWidth(), int(sizeof(void *)));
    EXPECT_FALSE(file->bigEndian());
    bool bss = false;
    for (const auto &section : file->sections())
        bss = bss || (section->name() == QLatin1String(".bss") && section->type() == QLatin1String("NOBITS"));
    EXPECT_TRUE(bss);
    bool loadable = false;
    for (const auto &segment : file->segments())
        loadable = loadable || (segment->type() == QLatin1String("LOAD") && segment->flags() == QLatin1String("r-x"));
    EXPECT_TRUE(loadable);
    bool counter = false;
    for (const auto &symbol : file->symbols()) {
        if (symbol->name() == QLatin1String("counter")) {
            counter = true;
            EXPECT_EQ(symbol->size(), 4);
            EXPECT_EQ(symbol->addressText(), QStringLiteral("%1").arg(symbol->address(), 8, 16, QLatin1Char('0')));
            EXPECT_TRUE(symbol->isExternal());
        }
        if (symbol->name() == QLatin1String("file_static")) {
            EXPECT_TRUE(symbol->isStatic());
        }
    }
    EXPECT_TRUE(counter);
    QTemporaryDir directory;
    TestSupport::writeFile(directory.filePath(QStringLiteral("junk")), "junk");
    EXPECT_THROW((void)ElfObjectFile::open(directory.filePath(QStringLiteral("junk"))), HException);
}

} // namespace
