#include "debug/HMessage.h"
#include "debug/HSerialLink.h"
#include "foundation/HException.h"
#include "tests/debug/LoadFileTestSupport.h"
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

using LoadFileTest::raisedMessage;

namespace {

// The kernel's speed code for "any rate", which the C library's termios does not name.
constexpr tcflag_t customSpeedCode = 0010000;

// A pseudo-terminal pair: the test plays the target on the master side, the link opens the
// slave's path as it would a serial device. `watcher` is a second descriptor on the slave, to
// see its settings and wait for input to arrive without taking it.
class SerialPair : public ::testing::Test {
protected:
    void SetUp() override
    {
        char name[256] = {};
        ASSERT_EQ(openpty(&master, &slave, name, nullptr, nullptr), 0);
        path = QString::fromLocal8Bit(name);
        watcher = ::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
        ASSERT_GE(watcher, 0);
    }
    void TearDown() override
    {
        for (const int descriptor : {master, slave, watcher}) {
            if (descriptor >= 0)
                ::close(descriptor);
        }
    }
    void send(const QByteArray &bytes) const
    {
        ASSERT_EQ(::write(master, bytes.constData(), size_t(bytes.size())), bytes.size());
    }
    // Waits until the slave has input, so that what the master wrote is there to read.
    void awaitInput() const
    {
        pollfd wait = {watcher, POLLIN, 0};
        ASSERT_EQ(::poll(&wait, 1, 10000), 1);
    }
    QByteArray receive(int count) const
    {
        QByteArray bytes;
        while (bytes.size() < count) {
            pollfd wait = {master, POLLIN, 0};
            if (::poll(&wait, 1, 10000) != 1)
                break;
            char buffer[256];
            const ssize_t got = ::read(master, buffer, sizeof buffer);
            if (got <= 0)
                break;
            bytes.append(buffer, got);
        }
        return bytes;
    }
    termios settings() const
    {
        termios current = {};
        tcgetattr(watcher, &current);
        return current;
    }

    int master = -1;
    int slave = -1;
    int watcher = -1;
    QString path;
};

// Line settings and the termios bits they must leave on the device.
struct LineCase {
    const char *name;
    int baud;
    int dataBits;
    int parity;
    bool stopBits2;
    int flow;
    speed_t speed;
    tcflag_t cflagSet;
    tcflag_t cflagClear;
    tcflag_t iflagSet;
};

class HSerialLinkOpen : public SerialPair, public ::testing::WithParamInterface<LineCase> {};

// A pseudo-terminal forces 8 data bits and no parity whatever is asked, so the character size and
// the parity switch are checked on the settings as the link makes them, everything else on the
// device too.
TEST_P(HSerialLinkOpen, SetsRawModeAndTheLineAsAsked)
{
    const LineCase &line = GetParam();
    termios made;
    std::memset(&made, 0xFF, sizeof made);
    HSerialLink::configure(made, line.baud, line.dataBits, line.parity, line.stopBits2, line.flow);
    HSerialLink link(path, line.baud, line.dataBits, line.parity, line.stopBits2, line.flow);
    const tcflag_t forcedByPty = CSIZE | PARENB;
    for (const termios &current : {made, settings()}) {
        const tcflag_t checked = &current == &made ? ~tcflag_t(0) : ~forcedByPty;
        EXPECT_EQ(cfgetospeed(&current), line.speed);
        EXPECT_EQ(cfgetispeed(&current), line.speed);
        EXPECT_EQ(current.c_cflag & line.cflagSet & checked, line.cflagSet & checked);
        EXPECT_EQ(current.c_cflag & line.cflagClear & checked, 0u);
        // IXANY is left as it was unless software flow control asks for it.
        EXPECT_EQ(current.c_iflag & (IXON | IXOFF | INPCK), line.iflagSet & ~tcflag_t(IXANY));
        EXPECT_EQ(current.c_iflag & line.iflagSet, line.iflagSet);
        EXPECT_EQ(current.c_cflag & (CLOCAL | CREAD | HUPCL), tcflag_t(CLOCAL | CREAD));
        EXPECT_EQ(current.c_lflag & (ICANON | ECHO | ISIG), 0u);
        EXPECT_EQ(current.c_cc[VMIN], 0);
        EXPECT_EQ(current.c_cc[VTIME], 0);
    }
    EXPECT_EQ(link.baudRate(), line.baud);
    EXPECT_EQ(link.readTimeout(), 1000);
    EXPECT_EQ(link.writeTimeout(), 1000);
}

INSTANTIATE_TEST_SUITE_P(Lines, HSerialLinkOpen, ::testing::Values(
    LineCase{"eightNoneOne", 115200, 8, HSerialLink::NoParity, false, HSerialLink::NoFlowControl, B115200, CS8, PARENB | CSTOPB | CRTSCTS | HUPCL, 0},
    LineCase{"sevenEvenTwo", 9600, 7, HSerialLink::EvenParity, true, HSerialLink::NoFlowControl, B9600, CS7 | PARENB | CSTOPB, PARODD, 0},
    LineCase{"fiveOdd", 50, 5, HSerialLink::OddParity, false, HSerialLink::NoFlowControl, B50, PARENB | PARODD, CS8 & ~CS5, 0},
    LineCase{"sixBits", 4000000, 6, HSerialLink::NoParity, false, HSerialLink::NoFlowControl, B4000000, CS6, PARENB | (CS8 & ~CS6), 0},
    LineCase{"otherBitsAreEight", 921600, 9, HSerialLink::NoParity, false, HSerialLink::NoFlowControl, B921600, CS8, 0, 0},
    LineCase{"softwareFlow", 19200, 8, HSerialLink::NoParity, false, HSerialLink::SoftwareFlowControl, B19200, CS8, CRTSCTS, IXON | IXOFF | IXANY},
    LineCase{"hardwareFlow", 57600, 8, HSerialLink::NoParity, false, HSerialLink::HardwareFlowControl, B57600, CS8 | CRTSCTS, 0, 0}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(SerialPair, ACustomSpeedIsAskedOfTheDriver)
{
    HSerialLink link(path, 12345);
    EXPECT_EQ(link.baudRate(), 12345);
    EXPECT_EQ(settings().c_cflag & CBAUD, customSpeedCode);
    link.setBaud(9600);
    const termios changed = settings();
    EXPECT_EQ(cfgetospeed(&changed), speed_t(B9600));
    EXPECT_EQ(link.baudRate(), 9600);
}

TEST_F(SerialPair, OpeningDropsInputThatWaitedBefore)
{
    send("stale\n");   // a whole line: the slave is still in line mode
    awaitInput();
    HSerialLink link(path, 115200);
    link.setTimeouts(50, 50);
    char buffer[8];
    EXPECT_EQ(link.read(buffer, 5), 0);
}

TEST_F(SerialPair, AShortReadReturnsTheCountOnTheLinkAndRaisesOnTheMessagePath)
{
    HSerialLink link(path, 115200);
    link.setTimeouts(100, 100);
    send("abc");
    awaitInput();
    char buffer[8] = {};
    EXPECT_EQ(link.read(buffer, 5), 3);
    EXPECT_EQ(QByteArray(buffer, 3), "abc");
    EXPECT_TRUE(link.lastError().isEmpty());
    send("de");
    HMessage message;
    message.setLength(4);
    EXPECT_EQ(raisedMessage([&] { message.receive(&link); }), QStringLiteral("hardware error: target JTAG adapter data link read timed out"));
}

TEST_F(SerialPair, ATimeOutOfZeroStillTriesOnce)
{
    HSerialLink link(path, 115200);
    link.setTimeouts(0, 0);
    send("xy");
    awaitInput();
    char buffer[4];
    EXPECT_EQ(link.read(buffer, 2), 2);
    EXPECT_EQ(link.read(buffer, 2), 0);
    EXPECT_EQ(link.write("z", 1), 1);
    EXPECT_EQ(receive(1), "z");
}

TEST_F(SerialPair, AMessageGoesOutWhole)
{
    HSerialLink link(path, 115200);
    link.setTimeouts(20000, 20000);   // the transfers end as soon as the bytes are there
    HMessage message;
    message.putNext32(0x01020304, 1);
    message.putNextString("ok");
    EXPECT_EQ(message.send(&link), 6);
    EXPECT_EQ(receive(6), QByteArray("\x01\x02\x03\x04ok", 6));
    send(QByteArray("\xAC\x02\xFF", 3));
    message.setPosition(0);
    message.setLength(3);
    EXPECT_EQ(message.receive(&link), 3);
    quint32 value = 0;
    message.getNextUVarint(value);
    EXPECT_EQ(value, 300u);
}

TEST_F(SerialPair, FlushDropsWhatWaits)
{
    HSerialLink link(path, 115200);
    link.setTimeouts(50, 50);
    send("waiting");
    awaitInput();
    link.flush();
    char buffer[8];
    EXPECT_EQ(link.read(buffer, 7), 0);
}

TEST_F(SerialPair, AHangUpEndsTheReadWithAReason)
{
    HSerialLink link(path, 115200);
    link.setTimeouts(60000, 60000);
    ::close(master);
    master = -1;
    char buffer[4];
    EXPECT_EQ(link.read(buffer, 4), 0);
    EXPECT_FALSE(link.lastError().isEmpty());
    EXPECT_EQ(link.readAvailable(buffer, 4), -1);
}

TEST_F(SerialPair, ModemLinesOfAPseudoTerminalRaise)
{
    HSerialLink link(path, 115200);
    const QString message = raisedMessage([&] { link.setDtr(true); });
    EXPECT_TRUE(message.startsWith(QStringLiteral("ioctl error "))) << message.toStdString();
}

TEST_F(SerialPair, ReadAvailableReturnsWhatCameWithoutWaitingForMore)
{
    HSerialLink link(path, 115200);
    link.setTimeouts(5000, 1000);
    send("hi");
    awaitInput();
    char buffer[64];
    EXPECT_EQ(link.readAvailable(buffer, sizeof buffer), 2);
    link.setTimeouts(10, 10);
    EXPECT_EQ(link.readAvailable(buffer, sizeof buffer), 0);
}

struct OpenFailure {
    const char *name;
    const char *path;   // null: a regular file
    const char *message;
};

class HSerialLinkOpenFailure : public ::testing::TestWithParam<OpenFailure> {};

TEST_P(HSerialLinkOpenFailure, RaisesTheStepWithTheSystemsText)
{
    QTemporaryDir directory;
    QString path = QLatin1String(GetParam().path);
    if (!GetParam().path) {
        path = directory.filePath(QStringLiteral("plain"));
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    EXPECT_EQ(raisedMessage([&] { HSerialLink link(path, 9600); }), QLatin1String(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(Devices, HSerialLinkOpenFailure, ::testing::Values(
    OpenFailure{"missing", "/dev/nonexistent-serial", "open error No such file or directory(2)"},
    OpenFailure{"notATerminal", nullptr, "tcgetattr error Inappropriate ioctl for device(25)"}),
    [](const auto &info) { return std::string(info.param.name); });

} // namespace
