#pragma once
#include <QByteArray>
#include <QtGlobal>

class HIOInterface;

// A flat byte buffer with a cursor, for the messages of a target adapter protocol. It adds no
// framing of its own: the caller's protocol decides what goes where, and the byte order of each
// field (`bigEndian` 0 for least significant byte first).
//
// "At" operations take an explicit offset and leave the position alone; "next" operations work
// at the position and move it on by what they used. Each "next" form calls its "at" form
// virtually, so a subclass that overrides an "at" form is honoured by both. Every operation
// returns the number of bytes it used.
//
// A put may reach past the valid length, which grows to cover it (a gap left before it is
// zero); past the capacity, an owned buffer grows and a caller's buffer raises HException. A get
// beyond the valid length raises HException.
//
// Varints hold 28 bits in one to four bytes of 7 bits, least significant group first, the top
// bit of a byte meaning that another follows. A fourth byte with its top bit set decodes as -1,
// which stands for a value out of range, and a value that does not fit is written so. The signed
// decoder extends the sign of the four-byte form only, from bit 6 of the fourth byte.
class HMessage {
public:
    // An owned buffer of `capacity` bytes.
    explicit HMessage(quint32 capacity = 256);
    // Over the caller's memory, which must outlive the message; `length` bytes of it are valid.
    HMessage(uchar *buffer, quint32 capacity, quint32 length = 0);
    virtual ~HMessage();
    HMessage(const HMessage &) = delete;
    HMessage &operator=(const HMessage &) = delete;

    // Reads `length()` bytes from the channel into the buffer; raises "hardware error: target
    // JTAG adapter data link read timed out" when fewer came.
    virtual int receive(HIOInterface *io);
    // Writes the `length()` valid bytes; raises "write timed out" when fewer went.
    virtual int send(HIOInterface *io);

    virtual int putNext32(quint32 value, int bigEndian);
    virtual int put32At(quint32 value, quint32 offset, int bigEndian);
    virtual int getNext32(quint32 &out, int bigEndian);
    virtual int get32At(quint32 &out, quint32 offset, int bigEndian);
    // Pointers are 32-bit on the wire: the upper half of a wider value is dropped.
    virtual int putNextPointer(quintptr value, int bigEndian);
    virtual int putPointerAt(quintptr value, quint32 offset, int bigEndian);
    virtual int getNextPointer(quintptr &out, int bigEndian);
    virtual int getPointerAt(quintptr &out, quint32 offset, int bigEndian);
    virtual int putNext16(quint16 value, int bigEndian);
    virtual int put16At(quint16 value, quint32 offset, int bigEndian);
    virtual int getNext16(quint16 &out, int bigEndian);
    virtual int get16At(quint16 &out, quint32 offset, int bigEndian);
    virtual int putNextS16(qint16 value, int bigEndian);
    virtual int putS16At(qint16 value, quint32 offset, int bigEndian);
    virtual int getNextS16(qint16 &out, int bigEndian);
    virtual int getS16At(qint16 &out, quint32 offset, int bigEndian);
    virtual int putNext8(quint8 value);
    virtual int put8At(quint8 value, quint32 offset);
    virtual int getNext8(quint8 &out);
    virtual int get8At(quint8 &out, quint32 offset);
    virtual int putNextS8(qint8 value);
    virtual int putS8At(qint8 value, quint32 offset);
    virtual int getNextS8(qint8 &out);
    virtual int getS8At(qint8 &out, quint32 offset);
    virtual int putNextBytes(const void *data, quint32 length);
    virtual int putBytesAt(const void *data, quint32 length, quint32 offset);
    virtual int getNextBytes(void *out, quint32 length);
    virtual int getBytesAt(void *out, quint32 length, quint32 offset);
    // Strings go without a terminator; a get takes `length` bytes as they stand.
    virtual int putNextString(const QByteArray &text);
    virtual int putStringAt(const QByteArray &text, quint32 offset);
    virtual int getNextString(QByteArray &out, quint32 length);
    virtual int getStringAt(QByteArray &out, quint32 length, quint32 offset);
    virtual int putVarintAt(quint32 value, quint32 offset);
    virtual int putNextVarint(quint32 value);
    virtual int getUVarintAt(quint32 &out, quint32 offset);
    virtual int getNextVarint(qint32 &out);
    virtual int getNextUVarint(quint32 &out);
    // Moves the position by `count`, backwards for a negative count; raises before offset 0.
    virtual int skip(int count);
    virtual int getVarintAt(qint32 &out, quint32 offset);
    [[nodiscard]] virtual quint32 length() const;
    [[nodiscard]] virtual quint32 capacity() const;
    [[nodiscard]] virtual quint32 position() const;
    // The valid bytes after the position; 0 when the position is at or past the end.
    [[nodiscard]] virtual quint32 remaining() const;
    // -1 moves to `length()`, so that the next put appends.
    virtual void setPosition(qint64 offset);
    // Sets the number of valid bytes, growing the buffer as a put does; new bytes are zero.
    virtual void setLength(quint32 value);
    [[nodiscard]] virtual uchar *data();

private:
    // Makes `offset + count` bytes writable and valid; zeroes any gap behind the old length.
    uchar *reserve(quint32 offset, quint32 count);
    // The `count` valid bytes at `offset`, or raises.
    const uchar *valid(quint32 offset, quint32 count) const;
    uchar *extend(quint32 offset, quint32 count);
    // Moves the position past what a "next" form used, and returns it.
    int advance(int used);
    [[noreturn]] void readPastEnd(quint32 offset, quint32 count) const;
    void grow(quint64 needed);

    uchar *m_buffer;
    bool m_owned;
    quint32 m_capacity;
    quint32 m_length = 0;
    quint32 m_position = 0;
};
