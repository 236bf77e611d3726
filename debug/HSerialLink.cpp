#include "debug/HSerialLink.h"
#include "debug/HSerialLinkSpeed.h"
#include "foundation/HException.h"
#include <QFile>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

struct HSerialPort {
    HSerialPort() = default;
    HSerialPort(const HSerialPort &) = delete;
    HSerialPort &operator=(const HSerialPort &) = delete;
    ~HSerialPort()
    {
        if (descriptor >= 0)
            ::close(descriptor);
    }

    int descriptor = -1;
    QString lastError;
};

namespace {

struct SpeedRow {
    int baud;
    speed_t constant;
};

constexpr SpeedRow speedRows[] = {
    {50, B50},           {75, B75},           {110, B110},         {134, B134},
    {150, B150},         {200, B200},         {300, B300},         {600, B600},
    {1200, B1200},       {1800, B1800},       {2400, B2400},       {4800, B4800},
    {9600, B9600},       {19200, B19200},     {38400, B38400},     {57600, B57600},
    {115200, B115200},   {230400, B230400},   {460800, B460800},   {500000, B500000},
    {576000, B576000},   {921600, B921600},   {1000000, B1000000}, {1152000, B1152000},
    {1500000, B1500000}, {2000000, B2000000}, {2500000, B2500000}, {3000000, B3000000},
    {3500000, B3500000}, {4000000, B4000000},
};

// The speed constant of a standard rate, or 0 for a custom one.
speed_t speedConstant(int baud)
{
    for (const SpeedRow &row : speedRows) {
        if (row.baud == baud)
            return row.constant;
    }
    return 0;
}

// "what error TEXT(NUMBER)", in the 128 bytes the line's messages have always had.
[[noreturn]] void raise(const char *what, int error)
{
    char text[128];
    std::snprintf(text, sizeof text, "%s error %s(%d)", what, std::strerror(error), error);
    throw HException(QString::fromLocal8Bit(text));
}

qint64 milliseconds()
{
    using namespace std::chrono;
    return duration_cast<std::chrono::milliseconds>(steady_clock::now().time_since_epoch()).count();
}

void setSpeedFields(termios &settings, int baud)
{
    if (const speed_t constant = speedConstant(baud)) {
        cfsetispeed(&settings, constant);
        cfsetospeed(&settings, constant);
    }
}

using Transfer = ssize_t (*)(int, void *, size_t);

ssize_t readBytes(int descriptor, void *buffer, size_t length)
{
    return ::read(descriptor, buffer, length);
}

ssize_t writeBytes(int descriptor, void *buffer, size_t length)
{
    return ::write(descriptor, buffer, length);
}

// The timed loop of both directions: move what can be moved, then wait in poll for the time
// left. Stops when all went, the time is up, or the line hung up or failed.
int transfer(HSerialPort &port, Transfer call, short events, char *buffer, int length, int timeout)
{
    port.lastError.clear();
    if (length <= 0)
        return 0;
    const qint64 start = milliseconds();
    int done = 0;
    bool ready = false;   // poll said the line was ready, or hung up
    for (;;) {
        const ssize_t count = call(port.descriptor, buffer + done, size_t(length - done));
        const bool interrupted = count < 0 && errno == EINTR;
        if (count < 0 && !interrupted && errno != EAGAIN && errno != EWOULDBLOCK) {
            port.lastError = QString::fromLocal8Bit(std::strerror(errno));
            break;
        }
        if (count > 0) {
            done += int(count);
        } else if (ready && !interrupted) {
            // Ready but nothing moved: the other end is gone.
            port.lastError = QStringLiteral("hung up");
            break;
        }
        if (done == length)
            break;
        const qint64 left = timeout - (milliseconds() - start);
        if (left <= 0)
            break;
        pollfd wait = {port.descriptor, events, 0};
        const int polled = ::poll(&wait, 1, int(left));
        if (polled < 0 && errno != EINTR) {
            port.lastError = QString::fromLocal8Bit(std::strerror(errno));
            break;
        }
        ready = polled > 0 && (wait.revents & (events | POLLHUP | POLLERR | POLLNVAL));
    }
    return done;
}

} // namespace

HSerialLink::HSerialLink(const QString &path, int baud, int dataBits, int parity, bool stopBits2,
                         int flowControl)
    : m_baud(baud), m_port(std::make_unique<HSerialPort>())
{
    m_port->descriptor = ::open(QFile::encodeName(path).constData(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (m_port->descriptor < 0)
        raise("open", errno);
    termios settings = {};
    if (tcgetattr(m_port->descriptor, &settings) != 0)
        raise("tcgetattr", errno);
    configure(settings, baud, dataBits, parity, stopBits2, flowControl);
    if (tcflush(m_port->descriptor, TCIFLUSH) != 0)
        raise("tcflush", errno);
    if (tcsetattr(m_port->descriptor, TCSANOW, &settings) != 0)
        raise("tcsetattr", errno);
    applySpeed(baud);
}

void HSerialLink::configure(termios &settings, int baud, int dataBits, int parity, bool stopBits2,
                            int flowControl)
{
    cfmakeraw(&settings);
    settings.c_iflag &= ~tcflag_t(INPCK | IXON | IXOFF);
    settings.c_cc[VTIME] = 0;
    settings.c_cc[VMIN] = 0;
    settings.c_cflag |= CLOCAL | CREAD;
    settings.c_cflag &= ~tcflag_t(HUPCL | CSTOPB | CRTSCTS);
    setSpeedFields(settings, baud);
    settings.c_cflag &= ~tcflag_t(CSIZE);
    settings.c_cflag |= dataBits == 5 ? CS5 : dataBits == 6 ? CS6 : dataBits == 7 ? CS7 : CS8;
    if (parity == NoParity)
        settings.c_cflag &= ~tcflag_t(PARENB);
    else if (parity == EvenParity)
        settings.c_cflag = (settings.c_cflag | PARENB) & ~tcflag_t(PARODD);
    else if (parity == OddParity)
        settings.c_cflag |= PARENB | PARODD;
    if (stopBits2)
        settings.c_cflag |= CSTOPB;
    if (flowControl == SoftwareFlowControl)
        settings.c_iflag |= IXON | IXOFF | IXANY;
    else if (flowControl == HardwareFlowControl)
        settings.c_cflag |= CRTSCTS;
}

HSerialLink::~HSerialLink() = default;

void HSerialLink::applySpeed(int baud)
{
    if (speedConstant(baud) == 0) {
        if (const int error = setCustomSerialSpeed(m_port->descriptor, baud))
            raise("tcsetattr", error);
    }
    m_baud = baud;
}

int HSerialLink::read(void *buffer, int length)
{
    return transfer(*m_port, readBytes, POLLIN, static_cast<char *>(buffer), length, m_readTimeout);
}

int HSerialLink::write(const void *buffer, int length)
{
    // write() never changes the bytes; the shared loop only takes one pointer type.
    return transfer(*m_port, writeBytes, POLLOUT, static_cast<char *>(const_cast<void *>(buffer)),
                    length, m_writeTimeout);
}

int HSerialLink::readAvailable(void *buffer, int length)
{
    m_port->lastError.clear();
    if (length <= 0)
        return 0;
    pollfd wait = {m_port->descriptor, POLLIN, 0};
    const int polled = ::poll(&wait, 1, m_readTimeout);
    if (polled < 0 && errno == EINTR)
        return 0;
    if (polled < 0) {
        m_port->lastError = QString::fromLocal8Bit(std::strerror(errno));
        return -1;
    }
    if (polled == 0)
        return 0;
    const ssize_t count = ::read(m_port->descriptor, buffer, size_t(length));
    if (count > 0)
        return int(count);
    if (count < 0 && (errno == EAGAIN || errno == EINTR))
        return 0;
    m_port->lastError = count < 0 ? QString::fromLocal8Bit(std::strerror(errno)) : QStringLiteral("hung up");
    return -1;
}

const QString &HSerialLink::lastError() const
{
    return m_port->lastError;
}

void HSerialLink::flush()
{
    if (tcflush(m_port->descriptor, TCIOFLUSH) != 0)
        raise("tcflush", errno);
}

void HSerialLink::setTimeouts(int readMilliseconds, int writeMilliseconds)
{
    m_readTimeout = readMilliseconds;
    m_writeTimeout = writeMilliseconds;
}

void HSerialLink::setBaud(int baud)
{
    termios settings = {};
    if (tcgetattr(m_port->descriptor, &settings) != 0)
        raise("tcgetattr", errno);
    setSpeedFields(settings, baud);
    if (tcflush(m_port->descriptor, TCIFLUSH) != 0)
        raise("tcflush", errno);
    if (tcsetattr(m_port->descriptor, TCSANOW, &settings) != 0)
        raise("tcsetattr", errno);
    applySpeed(baud);
}

void HSerialLink::setDtr(bool on)
{
    int bits = TIOCM_DTR;
    if (ioctl(m_port->descriptor, on ? TIOCMBIS : TIOCMBIC, &bits) != 0)
        raise("ioctl", errno);
}

void HSerialLink::setRts(bool on)
{
    int bits = TIOCM_RTS;
    if (ioctl(m_port->descriptor, on ? TIOCMBIS : TIOCMBIC, &bits) != 0)
        raise("ioctl", errno);
}

int HSerialLink::lineState()
{
    int bits = 0;
    if (ioctl(m_port->descriptor, TIOCMGET, &bits) != 0)
        raise("ioctl", errno);
    return bits;
}
