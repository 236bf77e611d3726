#include "tests/debug/LoadFileTestSupport.h"
#include "tests/support/TestSupport.h"
#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <zlib.h>

using namespace LoadFileTest;

namespace {

TestSupport::ProgramRun tess(const QStringList &arguments)
{
    return TestSupport::runProgram(TestSupport::binPath(QStringLiteral("tess")), arguments);
}

QByteArray crcText(const QByteArray &bytes)
{
    const uLong crc = crc32(crc32(0L, Z_NULL, 0), reinterpret_cast<const Bytef *>(bytes.constData()), uInt(bytes.size()));
    return "0x" + QByteArray::number(qulonglong(crc), 16).toUpper().rightJustified(8, '0');
}

// Two ranges at 0x08000000 and 0x08001000 and an entry point, as Intel Hex.
const QByteArray rangesHex = intelRecord(4, 0, "0800") + "\n" + intelRecord(0, 0x1000, "AABB") + "\n"
                             + intelRecord(0, 0, "0102030405") + "\n" + intelRecord(5, 0, "08000101")
                             + "\n:00000001FF\n";
const QByteArray rangesBytes = QByteArray::fromHex("0102030405AABB");

class LoadCommand : public ::testing::Test {
protected:
    QString file(const QString &name) const { return directory.filePath(name); }
    QString input(const QString &name, const QByteArray &bytes) const
    {
        return writeInput(directory, name, bytes);
    }
    QStringList entries() const { return QDir(directory.path()).entryList(QDir::Files, QDir::Name); }

    QTemporaryDir directory;
};

TEST_F(LoadCommand, FormatsListsTheReadersThenTheTektronixWriter)
{
    const auto run = tess({"load", "formats"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "bin    *.bin *.rom   Binary\n"
                       "ihex   *.hex         Intel Hex\n"
                       "hex    *.lst         Hex\n"
                       "tihex  *.txt         TI Hex\n"
                       "srec   *.s19 *.srec  Motorola S-Record\n"
                       "tek    -             Tektronix extended (write only)\n");
}

TEST_F(LoadCommand, InfoShowsSectionsInFileOrderEntrySizeAndTheCrcInAddressOrder)
{
    const auto run = tess({"load", "info", input("ranges.hex", rangesHex)});
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(run.out, "format ihex\n"
                       "section 0x08001000 0x08001001 2\n"
                       "section 0x08000000 0x08000004 5\n"
                       "entry 0x08000101\n"
                       "size 7\n"
                       "crc32 " + crcText(rangesBytes) + "\n");
}

TEST_F(LoadCommand, InfoOfABinaryAtItsAddressAndOfAnEmptySection)
{
    const QString path = input("image.dat", "\x01\x02");
    auto run = tess({"load", "info", path, "--from", "bin", "--address", "0x20000000"});
    EXPECT_EQ(run.out, "format bin\nsection 0x20000000 0x20000001 2\nsize 2\ncrc32 " + crcText("\x01\x02") + "\n");
    run = tess({"load", "info", input("empty.hex", intelRecord(0, 0x10, "") + "\n:00000001FF\n")});
    EXPECT_EQ(run.out, "format ihex\nsection 0x00000010 - 0\nsize 0\ncrc32 0x00000000\n");
}

TEST_F(LoadCommand, TheContentTellsTheTypeOfAnUnknownName)
{
    const auto run = tess({"load", "info", input("ranges.dat", rangesHex)});
    EXPECT_TRUE(run.out.startsWith("format ihex\n")) << run.out.constData();
    EXPECT_TRUE(tess({"load", "info", input("x.dat", "@0010\nAA\nq\n")}).out.startsWith("format tihex\n"));
}

// Every format written and read back keeps the bytes, shown by equal CRCs and sizes.
TEST_F(LoadCommand, ConversionsAmongAllFormatsKeepTheImage)
{
    QString previous = input("ranges.hex", rangesHex);
    for (const char *name : {"a.s19", "a.txt", "a.lst", "b.hex", "c.srec"}) {
        const QString next = file(QLatin1String(name));
        const auto run = tess({"load", "convert", previous, next});
        ASSERT_EQ(run.exitCode, 0) << name << run.err.constData();
        const auto info = tess({"load", "info", next});
        EXPECT_TRUE(info.out.endsWith("size 7\ncrc32 " + crcText(rangesBytes) + "\n")) << name << info.out.constData();
        previous = next;
    }
    const auto binary = tess({"load", "convert", previous, file("d.bin"), "--fill", "0"});
    EXPECT_EQ(binary.exitCode, 0) << binary.err.constData();
    EXPECT_EQ(TestSupport::readFile(file("d.bin")), QByteArray::fromHex("0102030405") + QByteArray(0x1000 - 5, '\0') + "\xAA\xBB");
    const auto tek = tess({"load", "convert", previous, file("e.tek"), "--to", "tek"});
    EXPECT_EQ(tek.exitCode, 0);
    // The entry point was lost on the way through the formats that have none: 0 ends the file.
    EXPECT_TRUE(TestSupport::readFile(file("e.tek")).endsWith("%0781010\n"));
}

TEST_F(LoadCommand, EntryAndHeaderGoToTheSRecordOutput)
{
    const QString out = file("out.s19");
    EXPECT_EQ(tess({"load", "convert", input("ranges.hex", rangesHex), out, "--header", "HI", "--entry", "0x1234"}).exitCode, 0);
    const QByteArray text = TestSupport::readFile(out);
    EXPECT_TRUE(text.startsWith(sRecord('0', "", "4849") + "\n")) << text.constData();
    EXPECT_TRUE(text.endsWith(sRecord('9', "1234", "") + "\n")) << text.constData();
    // Without --entry the input's goes out, cut to 16 bits by the S9 record.
    EXPECT_EQ(tess({"load", "convert", file("ranges.hex"), out}).exitCode, 0);
    EXPECT_TRUE(TestSupport::readFile(out).startsWith(sRecord('0', "", QByteArray("out.s19").toHex()) + "\n"));
    EXPECT_TRUE(TestSupport::readFile(out).endsWith(sRecord('9', "0101", "") + "\n"));
}

TEST_F(LoadCommand, ATwoGiBGapCostsNothingInTextAndIsRefusedAsABinary)
{
    const QByteArray far = intelRecord(0, 0, "01") + "\n" + intelRecord(4, 0, "8000") + "\n"
                           + intelRecord(0, 0, "02") + "\n:00000001FF\n";
    const QString path = input("far.hex", far);
    EXPECT_EQ(tess({"load", "info", path}).out, "format ihex\nsection 0x00000000 0x00000000 1\n"
                                                "section 0x80000000 0x80000000 1\nsize 2\ncrc32 "
                                                    + crcText("\x01\x02") + "\n");
    EXPECT_EQ(tess({"load", "convert", path, file("far.s19")}).exitCode, 0);
    const auto binary = tess({"load", "convert", path, file("far.bin")});
    EXPECT_EQ(binary.exitCode, 1);
    EXPECT_EQ(binary.err, "tess load convert: " + file("far.bin").toUtf8()
                              + ": binary image of 2147483649 bytes from 0x00000000 is over the limit of 268435456 bytes (--max-size)\n");
    EXPECT_EQ(entries(), QStringList({"far.hex", "far.s19"}));
}

// A failure of any kind exits 1 with one message, leaves an existing output as it was and no
// file behind.
struct FailureCase {
    const char *name;
    QByteArray input;          // written to in.hex unless it names its own file below
    QStringList arguments;     // IN and OUT stand for the input and output paths
    QByteArray message;        // after "tess load convert: "; IN stands for the input path
};

class LoadCommandFailure : public LoadCommand, public ::testing::WithParamInterface<FailureCase> {};

TEST_P(LoadCommandFailure, ExitsOneAndLeavesTheOutputAlone)
{
    const QString in = input("in.hex", GetParam().input);
    const QString out = input("out.s19", "old");
    QStringList arguments{"load", "convert"};
    for (const QString &argument : GetParam().arguments)
        arguments.append(argument == QLatin1String("IN") ? in : argument == QLatin1String("OUT") ? out : argument);
    const auto run = tess(arguments);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "tess load convert: " + QByteArray(GetParam().message).replace("IN", in.toUtf8()) + "\n");
    EXPECT_TRUE(run.out.isEmpty());
    EXPECT_EQ(TestSupport::readFile(out), "old");
    EXPECT_EQ(entries(), QStringList({"in.hex", "out.s19"}));
}

INSTANTIATE_TEST_SUITE_P(Inputs, LoadCommandFailure, ::testing::Values(
    FailureCase{"badChecksum", ":0100000001FF\n:00000001FF\n", {"IN", "OUT"}, "IN: invalid checksum : line 1"},
    FailureCase{"oddDigits", ":0100000001F\n", {"IN", "OUT"}, "IN: invalid ASCII encoded byte : line 1"},
    FailureCase{"truncated", rangesHex.left(40), {"IN", "OUT"}, "IN: invalid ASCII encoded byte : line 3"},
    FailureCase{"noEnd", rangesHex.left(rangesHex.indexOf(":0000")), {"IN", "OUT"}, "IN: invalid end of file in hex file : line 4"},
    FailureCase{"overlongLine", ":" + QByteArray(600, '0') + "\n", {"IN", "OUT"}, "IN: line longer than 530 characters : line 1"},
    FailureCase{"binaryGarbage", QByteArray("\0\x01\x02\xFF\n\x7F", 6), {"IN", "OUT"}, "IN: missing record mark in hex file : line 1"},
    FailureCase{"pastFourGiB", intelRecord(4, 0, "FFFF") + "\n" + intelRecord(0, 0xFFFF, "0102") + "\n:00000001FF\n", {"IN", "OUT"}, "IN: record past 4 GiB : line 2"},
    FailureCase{"overlap", intelRecord(0, 0x10, "01020304") + "\n" + intelRecord(0, 0x12, "AA") + "\n:00000001FF\n", {"IN", "OUT"}, "IN: sections overlap at 0x00000012"},
    FailureCase{"missingInput", "", {"/nonexistent/in.hex", "OUT"}, "cannot open /nonexistent/in.hex"},
    FailureCase{"binaryOverMaxSize", "0123456789", {"IN", "OUT", "--from", "bin", "--max-size", "9"}, "IN: binary of 10 bytes is over the limit of 9 bytes"},
    FailureCase{"binaryPastFourGiB", "0123456789", {"IN", "OUT", "--from", "bin", "--address", "0xFFFFFFFF"}, "IN: cannot read sections from load file"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(LoadCommand, AnOutputThatCannotBeMadeExitsOne)
{
    const auto run = tess({"load", "convert", input("ranges.hex", rangesHex), "/nonexistent/dir/out.s19"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.startsWith("tess load convert: cannot create /nonexistent/dir/out.s19: ")) << run.err.constData();
}

struct UsageCase {
    const char *name;
    QStringList arguments;
    QByteArray message;
};

class LoadCommandUsage : public LoadCommand, public ::testing::WithParamInterface<UsageCase> {};

TEST_P(LoadCommandUsage, ExitsTwoBeforeTouchingAnyFile)
{
    const QString in = input("in.hex", rangesHex);
    QStringList arguments{"load"};
    for (const QString &argument : GetParam().arguments)
        arguments.append(argument == QLatin1String("IN") ? in : argument);
    const auto run = tess(arguments);
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.err.contains(GetParam().message)) << run.err.constData();
    EXPECT_EQ(entries(), QStringList({"in.hex"}));
}

INSTANTIATE_TEST_SUITE_P(Arguments, LoadCommandUsage, ::testing::Values(
    UsageCase{"noOperands", {"info"}, "give one input file"},
    UsageCase{"oneOperand", {"convert", "IN"}, "give an input and an output file"},
    UsageCase{"unknownInputType", {"info", "IN", "--from", "elf"}, "unknown input type 'elf'"},
    UsageCase{"unknownOutputType", {"convert", "IN", "x.out", "--to", "elf"}, "unknown output type 'elf'"},
    UsageCase{"outputTypeUnknown", {"convert", "IN", "x.out"}, "cannot tell the output type of 'x.out'; give --to"},
    UsageCase{"tekIsNoInput", {"info", "IN", "--from", "tek"}, "unknown input type 'tek'"},
    UsageCase{"addressOfText", {"info", "IN", "--address", "0x100"}, "--address applies to a binary input"},
    UsageCase{"badAddress", {"info", "IN", "--address", "0x100000000"}, "bad value '0x100000000' for --address"},
    UsageCase{"badFill", {"convert", "IN", "x.bin", "--fill", "256"}, "bad value '256' for --fill"},
    UsageCase{"fillOfText", {"convert", "IN", "x.s19", "--fill", "0"}, "--fill applies to a binary output"},
    UsageCase{"headerOfIntel", {"convert", "IN", "x.hex", "--header", "x"}, "--header applies to an S-record output"},
    UsageCase{"formatsTakesNoOperand", {"formats", "x"}, "no operands expected"}),
    [](const auto &info) { return std::string(info.param.name); });

} // namespace
