#pragma once

// A byte channel to a target adapter. `read` and `write` block for at most their time-out and
// return the number of bytes moved, which is short when the time ran out or the channel failed;
// a caller that needs all of them goes through `HMessage`, which raises on a short transfer.
class HIOInterface {
public:
    virtual ~HIOInterface();
    [[nodiscard]] virtual int read(void *buffer, int length) = 0;
    [[nodiscard]] virtual int write(const void *buffer, int length) = 0;
    // Drops what is buffered in both directions.
    virtual void flush() = 0;
    virtual void setTimeouts(int readMilliseconds, int writeMilliseconds) = 0;

    // Line control. A channel without a line (a transport over a network) keeps these defaults,
    // which ignore the request and answer 0.
    virtual void setBaud(int baud);
    [[nodiscard]] virtual int baudRate() const;
    virtual void setDtr(bool on);
    virtual void setRts(bool on);
    // The modem lines as TIOCM_* bits.
    [[nodiscard]] virtual int lineState();
};

// A physical link to the adapter: a serial line.
class HDataLink : public HIOInterface {
};

// A higher-level transport over some link. The adapter protocols that implement it live with the
// adapters; anything offering `HIOInterface` can carry a message.
class HTransport : public HIOInterface {
};
