#pragma once
#include "debug/HIOInterface.h"
#include <QString>
#include <memory>

struct HSerialPort;
struct termios;

// A serial line through termios, raw and non-blocking. `read` and `write` move what they can
// within their time-out (1000 ms each at first) and return the count; a time-out of 0 still
// makes one attempt. A transfer waits in `poll` for the time left and ends at once when the
// line hangs up or fails. Opening and line settings raise HException with the system's text:
// "open error %s(%d)", "tcgetattr error %s(%d)", "tcflush error %s(%d)",
// "tcsetattr error %s(%d)".
class HSerialLink : public HDataLink {
public:
    enum Parity { NoParity = 0, EvenParity = 1, OddParity = 2 };
    enum FlowControl { NoFlowControl = 0, SoftwareFlowControl = 1, HardwareFlowControl = 2 };

    // `dataBits` 5, 6 or 7, anything else 8. A `baud` outside the standard rates is asked of
    // the driver as a custom speed.
    HSerialLink(const QString &path, int baud, int dataBits = 8, int parity = NoParity,
                bool stopBits2 = false, int flowControl = NoFlowControl);
    ~HSerialLink() override;
    HSerialLink(const HSerialLink &) = delete;
    HSerialLink &operator=(const HSerialLink &) = delete;

    int read(void *buffer, int length) override;
    int write(const void *buffer, int length) override;
    void flush() override;
    void setTimeouts(int readMilliseconds, int writeMilliseconds) override;
    void setBaud(int baud) override;
    int baudRate() const override { return m_baud; }
    void setDtr(bool on) override;
    void setRts(bool on) override;
    int lineState() override;

    // Turns `settings` into the line the constructor sets up: raw, no time-out of the driver's
    // own, receiver on, modem lines ignored, and the given speed, character size, parity, stop
    // bits and flow control. A custom speed is left to the caller.
    static void configure(termios &settings, int baud, int dataBits, int parity, bool stopBits2,
                          int flowControl);

    // What arrives within the read time-out, up to `length`, without waiting for all of it: 0
    // when nothing came (or a signal came first), -1 when the line hung up or failed.
    [[nodiscard]] int readAvailable(void *buffer, int length);
    // Why the last transfer stopped short: empty after a time-out, else "hung up" or the
    // system's error text.
    [[nodiscard]] const QString &lastError() const;
    [[nodiscard]] int readTimeout() const { return m_readTimeout; }
    [[nodiscard]] int writeTimeout() const { return m_writeTimeout; }

private:
    void applySpeed(int baud);

    int m_readTimeout = 1000;
    int m_writeTimeout = 1000;
    int m_baud = 0;
    std::unique_ptr<HSerialPort> m_port;
};
