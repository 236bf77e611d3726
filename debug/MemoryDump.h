#pragma once
#include <QString>
#include <functional>

class SymbolicDebuggerInterface;

// Prints a range of target memory as lines of an address and its bytes:
// "0x20000000: 48 65 6c 6c 6f 00  Hello." with up to 16 bytes a line, unreadable bytes as "??",
// and the bytes again as text ('.' for what does not print).
class MemoryDump {
public:
    explicit MemoryDump(SymbolicDebuggerInterface &target) : m_target(target) {}
    virtual ~MemoryDump();

    // Hands each line to `line`; false when any byte could not be read.
    bool dump(quint64 address, qint64 length, const std::function<void(const QString &)> &line);

    static constexpr int bytesPerLine = 16;

protected:
    // One line of `count` bytes at `address`; `readable[i]` false marks a byte that failed.
    virtual QString formatLine(quint64 address, const unsigned char *bytes, const bool *readable,
                               int count) const;
    SymbolicDebuggerInterface &m_target;
};

// The same range as entries of 2, 4 or 8 bytes read in the target's byte order:
// "0x20000000: 6c6c6548 0000006f"; an entry with an unreadable byte shows as "????????".
class EntryDumper : public MemoryDump {
public:
    EntryDumper(SymbolicDebuggerInterface &target, int entryWidth, bool bigEndian);

protected:
    QString formatLine(quint64 address, const unsigned char *bytes, const bool *readable,
                       int count) const override;

private:
    int m_entryWidth;
    bool m_bigEndian;
};
