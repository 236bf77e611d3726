#include "tests/support/TestSupport.h"
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>
#include <gtest/gtest.h>
#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

namespace {

TestSupport::ProgramRun tess(const QStringList &arguments)
{
    return TestSupport::runProgram(TestSupport::binPath(QStringLiteral("tess")), arguments);
}

struct FieldCase {
    const char *name;
    QStringList arguments;
    int exitCode;
    QByteArray out;
    QByteArray errStart;
};

class LinkFields : public ::testing::TestWithParam<FieldCase> {};

TEST_P(LinkFields, EncodeAndDecodeAsTheMessageLaysOut)
{
    const auto run = tess(QStringList{"link"} + GetParam().arguments);
    EXPECT_EQ(run.exitCode, GetParam().exitCode) << run.err.constData();
    EXPECT_EQ(run.out, GetParam().out);
    EXPECT_TRUE(run.err.startsWith(GetParam().errStart)) << run.err.constData();
}

INSTANTIATE_TEST_SUITE_P(Fields, LinkFields, ::testing::Values(
    FieldCase{"encodeEveryKind", {"encode", "u8:1", "s8:-1", "u16le:0x1234", "u16be:0x1234", "s16le:-2", "s16be:-2",
                                  "u32le:0x08000000", "u32be:0x08000000", "ptrle:1", "ptrbe:1", "uvar:300", "bytes:01 ab", "str:OK"},
              0, "01 FF 34 12 12 34 FE FF FF FE 00 00 00 08 08 00 00 00 01 00 00 00 00 00 00 01 AC 02 01 AB 4F 4B\n", ""},
    FieldCase{"encodeOutOfRangeVarint", {"encode", "uvar:0x10000000", "uvar:-1"}, 0, "80 80 80 80 FF FF FF FF\n", ""},
    FieldCase{"encodeSkipLeavesZeroes", {"encode", "u8:1", "skip:2", "u8:2", "skip:1"}, 0, "01 00 00 02 00\n", ""},
    FieldCase{"decodeEveryKind", {"decode", "01 FF 3412 1234 FEFF FFFE AC02 FBFFFF7F 80808080 01AB 4F4B 99 7F",
                                  "u8", "s8", "u16le", "u16be", "s16le", "s16be", "uvar", "svar", "uvar", "bytes:2", "str:2", "skip:1", "svar"},
              0, "1\n-1\n4660\n4660\n-2\n-2\n300\n-5\n-1\n01 AB\nOK\n127\n", ""},
    FieldCase{"decodeWords", {"decode", "0000000808000000", "u32le", "ptrbe"}, 0, "134217728\n134217728\n", ""},
    FieldCase{"readingPastTheEnd", {"decode", "01 02", "u8", "u16le"}, 1, "1\n",
              "tess link decode: read of 2 bytes at offset 1 past the end of a message of 2 bytes\n"},
    FieldCase{"varintCutOff", {"decode", "80", "uvar"}, 1, "", "tess link decode: read of 1 bytes at offset 1"},
    FieldCase{"svarEncodesNot", {"encode", "svar:1"}, 2, "", "tess link encode: svar decodes only: 'svar:1'\n"},
    FieldCase{"valueOutOfRange", {"encode", "u8:256"}, 2, "", "tess link encode: bad value in 'u8:256' (0 to 255)\n"},
    FieldCase{"unknownField", {"encode", "u64:1"}, 2, "", "tess link encode: unknown field 'u64:1'\n"},
    FieldCase{"missingValue", {"encode", "u8"}, 2, "", "tess link encode: field 'u8' needs a value\n"},
    FieldCase{"badBytes", {"encode", "bytes:0"}, 2, "", "tess link encode: bad hexadecimal bytes in 'bytes:0'\n"},
    FieldCase{"decodeTakesNoValue", {"decode", "01", "u8:1"}, 2, "", "tess link decode: a field to decode takes no value: 'u8:1'\n"},
    FieldCase{"badHexToDecode", {"decode", "0G", "u8"}, 2, "", "tess link decode: bad hexadecimal bytes '0G'\n"},
    FieldCase{"noFields", {"encode"}, 2, "", "tess link encode: no fields given\n"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(LinkFieldsTiming, RepeatReportsTheTimePerFieldAndStillPrints)
{
    const auto run = tess({"link", "encode", "--repeat", "1000", "u8:7", "uvar:300"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "07 AC 02\n");
    EXPECT_TRUE(QString::fromUtf8(run.err).contains(QRegularExpression(QStringLiteral("^tess link encode: 2000 fields in [0-9.]+ ms"))))
        << run.err.constData();
}

// A pseudo-terminal whose master the test plays as the target, from a thread while `tess`
// runs against the slave's path.
class LinkDevice : public ::testing::Test {
protected:
    void SetUp() override
    {
        char name[256] = {};
        ASSERT_EQ(openpty(&master, &slave, name, nullptr, nullptr), 0);
        // The programs started must not hold the master open, or its close would hang up nothing.
        fcntl(master, F_SETFD, FD_CLOEXEC);
        fcntl(slave, F_SETFD, FD_CLOEXEC);
        device = QString::fromLocal8Bit(name);
    }
    void TearDown() override
    {
        if (responder.joinable())
            responder.join();
        if (master >= 0)
            ::close(master);
        ::close(slave);
    }
    // Answers `reply` once `expected` bytes came in.
    void respond(int expected, const QByteArray &reply)
    {
        responder = std::thread([this, expected, reply] {
            QByteArray got;
            while (got.size() < expected) {
                pollfd wait = {master, POLLIN, 0};
                if (::poll(&wait, 1, 20000) != 1)
                    return;
                char buffer[256];
                const ssize_t count = ::read(master, buffer, sizeof buffer);
                if (count <= 0)
                    return;
                got.append(buffer, count);
            }
            request = got;
            (void)!::write(master, reply.constData(), size_t(reply.size()));
        });
    }

    int master = -1;
    int slave = -1;
    QString device;
    std::thread responder;
    QByteArray request;
};

TEST_F(LinkDevice, TransferSendsThenPrintsWhatCame)
{
    respond(4, QByteArray::fromHex("0A0B0C0D"));
    const auto run = tess({"link", "transfer", device, "--send", "50 49 4E 47", "--receive", "4", "--timeout", "20000"});
    responder.join();
    EXPECT_EQ(request, "PING");
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(run.out, "0A 0B 0C 0D\n");
}

TEST_F(LinkDevice, ASendFileGoesOutWhole)
{
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("request.bin"));
    TestSupport::writeFile(path, QByteArray(3000, 'r'));
    respond(3000, "k");
    const auto run = tess({"link", "transfer", device, "--send-file", path, "--receive", "1", "--timeout", "20000"});
    responder.join();
    EXPECT_EQ(request, QByteArray(3000, 'r'));
    EXPECT_EQ(run.out, "6B\n");
}

TEST_F(LinkDevice, AShortAnswerPrintsWhatCameAndTheTimeOut)
{
    respond(1, "\x01\x02");
    const auto run = tess({"link", "transfer", device, "--send", "00", "--receive", "4", "--timeout", "2000"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "01 02\n");
    EXPECT_EQ(run.err, "tess link transfer: hardware error: target JTAG adapter data link read timed out (2 of 4 bytes)\n");
}

TEST_F(LinkDevice, ASilentPeerTimesOut)
{
    const auto run = tess({"link", "transfer", device, "--receive", "3", "--timeout", "100"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "\n");
    EXPECT_TRUE(run.err.startsWith("tess link transfer: hardware error: target JTAG adapter data link read timed out (0 of 3 bytes)"));
}

TEST_F(LinkDevice, AVanishedPeerEndsTheWaitWithTheReason)
{
    // Once tess has made the line raw it waits for bytes; then the far end goes away.
    responder = std::thread([this] {
        for (int attempt = 0; attempt < 2000; ++attempt) {
            termios settings = {};
            if (tcgetattr(slave, &settings) == 0 && !(settings.c_lflag & ICANON))
                break;
            QThread::msleep(10);
        }
        ::close(std::exchange(master, -1));
    });
    const auto run = tess({"link", "transfer", device, "--receive", "3", "--timeout", "600000"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "tess link transfer: hardware error: target JTAG adapter data link read timed out (0 of 3 bytes, hung up)\n");
}

TEST_F(LinkDevice, MonitorCopiesUntilInterrupted)
{
    QProcess monitor;
    monitor.start(TestSupport::binPath(QStringLiteral("tess")), {"link", "monitor", device, "--baud", "9600"});
    ASSERT_TRUE(monitor.waitForStarted());
    // The line is set up once the monitor has opened it; until then what the master writes may
    // be dropped by the open, so keep writing until something comes out.
    QByteArray out;
    for (int attempt = 0; attempt < 200 && !out.contains("hello"); ++attempt) {
        (void)!::write(master, "hello", 5);
        monitor.waitForReadyRead(100);
        out += monitor.readAllStandardOutput();
    }
    EXPECT_TRUE(out.contains("hello")) << out.constData();
    ::kill(pid_t(monitor.processId()), SIGINT);
    ASSERT_TRUE(monitor.waitForFinished(20000));
    EXPECT_EQ(monitor.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(monitor.exitCode(), 0) << monitor.readAllStandardError().constData();
}

struct LinkUsageCase {
    const char *name;
    QStringList arguments;
    int exitCode;
    QByteArray errStart;
};

class LinkUsage : public ::testing::TestWithParam<LinkUsageCase> {};

TEST_P(LinkUsage, RefusesBeforeOpeningTheDevice)
{
    const auto run = tess(QStringList{"link"} + GetParam().arguments);
    EXPECT_EQ(run.exitCode, GetParam().exitCode);
    EXPECT_TRUE(run.err.startsWith(GetParam().errStart)) << run.err.constData();
    EXPECT_TRUE(run.out.isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Arguments, LinkUsage, ::testing::Values(
    LinkUsageCase{"vanishedDevice", {"transfer", "/dev/nonexistent-tty", "--receive", "1"}, 1,
                  "tess link transfer: /dev/nonexistent-tty: open error No such file or directory(2)\n"},
    LinkUsageCase{"notADevice", {"monitor", "/dev/null"}, 1, "tess link monitor: /dev/null: tcgetattr error "},
    LinkUsageCase{"oversizedReceive", {"transfer", "/dev/null", "--receive", "67108865"}, 2,
                  "tess link transfer: bad value '67108865' for --receive (a number from 0 to 67108864)\n"},
    LinkUsageCase{"bothSends", {"transfer", "/dev/null", "--send", "01", "--send-file", "x"}, 2,
                  "tess link transfer: give either --send or --send-file\n"},
    LinkUsageCase{"badSend", {"transfer", "/dev/null", "--send", "0x01"}, 2, "tess link transfer: bad hexadecimal bytes '0x01'\n"},
    LinkUsageCase{"badParity", {"transfer", "/dev/null", "--parity", "mark"}, 2, "tess link transfer: bad value 'mark' for --parity (none|even|odd)\n"},
    LinkUsageCase{"badDataBits", {"monitor", "/dev/null", "--data", "9"}, 2, "tess link monitor: bad value '9' for --data"},
    LinkUsageCase{"missingSendFile", {"transfer", "/dev/null", "--send-file", "/nonexistent/file"}, 1, "tess link transfer: /nonexistent/file: "},
    LinkUsageCase{"noDevice", {"transfer"}, 2, "tess link transfer: give one device\n"}),
    [](const auto &info) { return std::string(info.param.name); });

// The pair of the demonstration: socat joins two pseudo-terminals, a responder answers on the
// second and `tess link transfer` talks on the first. socat is killed by its pid.
class SocatPair : public ::testing::Test {
protected:
    void SetUp() override
    {
        const QString socat = QStandardPaths::findExecutable(QStringLiteral("socat"));
        if (socat.isEmpty())
            GTEST_SKIP() << "socat is not installed";
        log = directory.filePath(QStringLiteral("socat.log"));
        process.setStandardErrorFile(log);
        process.start(socat, {"-d", "-d", "pty,raw,echo=0", "pty,raw,echo=0"});
        ASSERT_TRUE(process.waitForStarted());
        const QRegularExpression ptyLine(QStringLiteral("PTY is (\\S+)"));
        for (int attempt = 0; attempt < 200 && devices.size() < 2; ++attempt) {
            QThread::msleep(50);
            devices.clear();
            auto matches = ptyLine.globalMatch(QString::fromLocal8Bit(TestSupport::readFile(log)));
            while (matches.hasNext())
                devices.append(matches.next().captured(1));
        }
        ASSERT_EQ(devices.size(), 2) << TestSupport::readFile(log).constData();
    }
    void TearDown() override
    {
        if (process.state() != QProcess::NotRunning) {
            ::kill(pid_t(process.processId()), SIGTERM);
            process.waitForFinished(10000);
        }
    }

    QTemporaryDir directory;
    QString log;
    QProcess process;
    QStringList devices;
};

TEST_F(SocatPair, TransferTalksToAResponderAcrossThePair)
{
    const int far = ::open(devices.at(1).toLocal8Bit().constData(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_GE(far, 0);
    std::thread responder([far] {
        QByteArray got;
        while (got.size() < 3) {
            pollfd wait = {far, POLLIN, 0};
            if (::poll(&wait, 1, 20000) != 1)
                return;
            char buffer[64];
            const ssize_t count = ::read(far, buffer, sizeof buffer);
            if (count <= 0)
                return;
            got.append(buffer, count);
        }
        (void)!::write(far, got.toUpper().constData(), size_t(got.size()));
    });
    const auto run = tess({"link", "transfer", devices.at(0), "--send", "61 62 63", "--receive", "3", "--timeout", "20000"});
    responder.join();
    ::close(far);
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(run.out, "41 42 43\n");
}

} // namespace
