#include "debug/LoadFileFactory.h"
#include "tests/debug/LoadFileTestSupport.h"
#include <QRandomGenerator>
#include <QStandardPaths>
#include <gtest/gtest.h>

using namespace LoadFileTest;

namespace {

// Three ranges with gaps, as firmware with a vector table, code and a calibration block has.
// Addresses stay below 1 MiB, which every peer format can carry.
std::vector<Block> peerImage()
{
    QRandomGenerator random(17);
    std::vector<Block> blocks;
    for (const auto &[address, size] : {std::pair{0x1000u, 300}, std::pair{0x1FFF0u, 70000}, std::pair{0xF0001u, 5}}) {
        Block block{address, {}};
        for (int i = 0; i < size; ++i)
            block.bytes.append(char(random.bounded(256)));
        blocks.push_back(block);
    }
    return blocks;
}

// A peer program reads a file we wrote and writes it in a format of its own, which we read.
struct PeerCase {
    const char *name;
    const char *program;
    const char *ours;        // type we write
    QStringList arguments;   // IN: our file, OUT: theirs
    const char *theirs;      // type we read back
};

class LoadFilePeerTools : public ::testing::TestWithParam<PeerCase> {};

TEST_P(LoadFilePeerTools, ReadOursAndWeReadTheirsWithTheSameBytes)
{
    const QString program = QStandardPaths::findExecutable(QLatin1String(GetParam().program));
    if (program.isEmpty())
        GTEST_SKIP() << GetParam().program << " is not installed";
    QTemporaryDir directory;
    const QString ours = directory.filePath(QStringLiteral("ours"));
    const QString theirs = directory.filePath(QStringLiteral("theirs"));
    const std::vector<Block> blocks = peerImage();
    (void)writeImage(ours, QLatin1String(GetParam().ours), blocks, 0x1000);
    QStringList arguments;
    for (const QString &argument : GetParam().arguments)
        arguments.append(argument == QLatin1String("IN") ? ours : argument == QLatin1String("OUT") ? theirs : argument);
    const auto run = TestSupport::runProgram(program, arguments);
    ASSERT_EQ(run.exitCode, 0) << run.err.constData();
    const std::unique_ptr<LoadFileInterface> file = LoadFileFactory::create(theirs, QLatin1String(GetParam().theirs));
    EXPECT_EQ(imageDump(*file), imageDump(blocks));
}

INSTANTIATE_TEST_SUITE_P(Programs, LoadFilePeerTools, ::testing::Values(
    PeerCase{"objcopyIntelToSRecord", "objcopy", "ihex", {"-I", "ihex", "-O", "srec", "IN", "OUT"}, "srec"},
    PeerCase{"objcopySRecordToIntel", "objcopy", "srec", {"-I", "srec", "-O", "ihex", "IN", "OUT"}, "ihex"},
    PeerCase{"objcopyForcedS3", "objcopy", "srec", {"-I", "srec", "-O", "srec", "--srec-forceS3", "IN", "OUT"}, "srec"},
    PeerCase{"srecCatIntelToSRecord", "srec_cat", "ihex", {"IN", "-Intel", "-o", "OUT", "-Motorola"}, "srec"},
    PeerCase{"srecCatSRecordToTiText", "srec_cat", "srec", {"IN", "-Motorola", "-o", "OUT", "-TI_TXT"}, "tihex"},
    PeerCase{"srecCatTiTextToIntel", "srec_cat", "tihex", {"IN", "-TI_TXT", "-o", "OUT", "-Intel"}, "ihex"},
    PeerCase{"srecCatTektronixToSRecord", "srec_cat", "tek", {"IN", "-Tektronix_Extended", "-o", "OUT", "-Motorola"}, "srec"},
    PeerCase{"srecCatIntelToIntel32", "srec_cat", "ihex", {"IN", "-Intel", "-o", "OUT", "-Intel", "-address-length=4"}, "ihex"}),
    [](const auto &info) { return std::string(info.param.name); });

// Our binary against the peer's: the same span with the same fill.
TEST(LoadFilePeerBinary, ObjcopyMakesTheSameBinaryFromOurIntelHex)
{
    const QString objcopy = QStandardPaths::findExecutable(QStringLiteral("objcopy"));
    if (objcopy.isEmpty())
        GTEST_SKIP() << "objcopy is not installed";
    QTemporaryDir directory;
    const std::vector<Block> blocks = peerImage();
    const QString hex = directory.filePath(QStringLiteral("image.hex"));
    (void)writeImage(hex, QStringLiteral("ihex"), blocks, 0);
    const QString theirs = directory.filePath(QStringLiteral("theirs.bin"));
    ASSERT_EQ(TestSupport::runProgram(objcopy, {"-I", "ihex", "-O", "binary", "--gap-fill", "0xFF", hex, theirs}).exitCode, 0);
    const QByteArray ours = writeImage(directory.filePath(QStringLiteral("ours.bin")), QStringLiteral("bin"), blocks, 0);
    EXPECT_EQ(ours.size(), 0xF0006 - 0x1000);
    EXPECT_TRUE(ours == TestSupport::readFile(theirs));
}

} // namespace
