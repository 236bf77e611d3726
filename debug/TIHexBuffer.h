#pragma once
#include "debug/CodeBuffer.h"

// Writes TI-TXT: an "@ADDRESS" line first and wherever the address jumps, lines of "XX "
// groups, and "q" at the end.
class TIHexBuffer : public TextCodeBuffer {
public:
    explicit TIHexBuffer(const QString &path);

protected:
    void writeRecord(quint32 start, const uchar *bytes, int count) override;
    void writeEnd(quint32 entryPoint) override;

private:
    quint64 m_expected = quint64(1) << 32;   // where the reader's address stands; none at first
};
