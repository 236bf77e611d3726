#pragma once
#include "debug/MemoryBlock.h"

class SymbolicDebuggerInterface;

// A block over target memory that holds no bytes: every operation asks the target for the bytes
// at `address + offset`, in units of `accessWidth`, so that a memory-mapped register sees
// accesses of the width its type demands. Failures of the target raise MemoryAccessException.
class LazyMemoryBlock : public MemoryBlockInterface {
public:
    // `accessWidth` 1, 2, 4 or 8; any other is taken as 1.
    LazyMemoryBlock(SymbolicDebuggerInterface &target, quint64 address, int accessWidth,
                    bool bigEndian);

    qint64 position() const override { return m_offset; }
    void seek(qint64 offset) override { m_offset = offset; }
    void rewind() override { m_offset = 0; }
    void skip(qint64 count) override { m_offset += count; }
    quint64 getWord(int width) override;
    void putWord(quint64 value, int width) override;
    void read(qint64 length, char *destination) override;
    void write(qint64 length, const char *source) override;
    // Clears `length` bytes of the destination first, then reads unit by unit up to a NUL; what
    // was read before a failure stays.
    void readString(qint64 length, QByteArray &destination) override;
    qint64 getBits(int width, int bitOffset, int bitSize, bool isSigned) override;
    void putBits(quint64 value, int width, int bitOffset, int bitSize) override;

    int accessWidth() const { return m_accessWidth; }
    quint64 address() const { return m_address; }

    // The longest text readString reads, so that a huge length never becomes an allocation.
    static constexpr qint64 maxStringLength = qint64(1) << 20;

private:
    // The transfer unit for an access of `length` bytes: the access width when it divides it.
    int unitFor(qint64 length) const;
    quint64 cursorAddress() const { return m_address + quint64(m_offset); }

    SymbolicDebuggerInterface &m_target;
    int m_accessWidth;
    quint64 m_address;
    qint64 m_offset = 0;
    bool m_bigEndian;
};
