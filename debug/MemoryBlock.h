#pragma once
#include <QByteArray>
#include <QtGlobal>

// A byte-addressed cursor over memory, with words read in the block's byte order. The host
// block (MemoryBlock) holds its bytes; the lazy one (LazyMemoryBlock) asks the target each time.
class MemoryBlockInterface {
public:
    virtual ~MemoryBlockInterface();

    virtual qint64 position() const = 0;
    // The cursor goes to the block's base plus `offset`.
    virtual void seek(qint64 offset) = 0;
    virtual void rewind() = 0;
    virtual void skip(qint64 count) = 0;
    // The integer of `width` bytes (1 to 8) at the cursor, zero-extended; advances past it.
    virtual quint64 getWord(int width) = 0;
    virtual void putWord(quint64 value, int width) = 0;
    // Copies `length` bytes at the cursor and advances.
    virtual void read(qint64 length, char *destination) = 0;
    virtual void write(qint64 length, const char *source) = 0;
    // The bytes at the cursor up to a NUL, at most `length` of them.
    virtual void readString(qint64 length, QByteArray &destination) = 0;
    // The field of `bitSize` bits from bit `bitOffset` (from the least significant bit) of the
    // word of `width` bytes at the cursor, sign-extended when `isSigned`. Leaves the cursor.
    virtual qint64 getBits(int width, int bitOffset, int bitSize, bool isSigned) = 0;
    // Replaces that field with the low `bitSize` bits of `value`, leaving the other bits.
    virtual void putBits(quint64 value, int width, int bitOffset, int bitSize) = 0;
};

// Helpers shared by the blocks: words from and to bytes in either order, and fields of words.
namespace MemoryWords {
[[nodiscard]] quint64 decode(const char *bytes, int width, bool bigEndian);
void encode(quint64 value, int width, bool bigEndian, char *bytes);
[[nodiscard]] qint64 extractBits(quint64 word, int bitOffset, int bitSize, bool isSigned);
[[nodiscard]] quint64 insertBits(quint64 word, quint64 value, int bitOffset, int bitSize);
// Whether a field lies inside a word of `width` bytes.
[[nodiscard]] bool fieldFits(int width, int bitOffset, int bitSize);
} // namespace MemoryWords

// A block of bytes in the host, observed, not owned. A word or bit access that does not lie
// wholly inside the block gives 0 and leaves the cursor, and a write there is ignored; `read`
// and `write` outside raise MemoryAccessException.
class MemoryBlock : public MemoryBlockInterface {
public:
    MemoryBlock(char *base, quint32 size, bool bigEndian);

    qint64 position() const override { return m_cursor; }
    void seek(qint64 offset) override { m_cursor = offset; }
    void rewind() override { m_cursor = 0; }
    void skip(qint64 count) override;
    quint64 getWord(int width) override;
    void putWord(quint64 value, int width) override;
    void read(qint64 length, char *destination) override;
    void write(qint64 length, const char *source) override;
    // Empties `destination` first, so a failure leaves an empty text; stops at a NUL or at the
    // end of the block, whichever comes first.
    void readString(qint64 length, QByteArray &destination) override;
    qint64 getBits(int width, int bitOffset, int bitSize, bool isSigned) override;
    void putBits(quint64 value, int width, int bitOffset, int bitSize) override;

    quint32 size() const { return m_size; }
    bool bigEndian() const { return m_bigEndian; }

private:
    // Whether `length` bytes from the cursor lie inside the block.
    bool fits(qint64 length) const;

    quint32 m_size;
    char *m_base;
    qint64 m_cursor = 0; // from the base; may stand outside the block, where accesses fail
    bool m_bigEndian;
};
