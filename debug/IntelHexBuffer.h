#pragma once
#include "debug/CodeBuffer.h"

// Writes Intel Hex: data records that never cross a 64 KB boundary, a type 04 record wherever
// the upper 16 address bits change (none for an image in the first 64 KB), and ":00000001FF".
class IntelHexBuffer : public TextCodeBuffer {
public:
    explicit IntelHexBuffer(const QString &path);

protected:
    void writeRecord(quint32 start, const uchar *bytes, int count) override;
    void writeEnd(quint32 entryPoint) override;
    bool endsRecordsAt64K() const override { return true; }

private:
    quint32 m_high = 0;   // upper 16 bits in force in the reader
};
