#pragma once
#include "debug/CodeBuffer.h"

// Writes Tektronix extended records: "%", a 2-digit length of what follows the "%", a type digit,
// a 2-digit checksum (the sum of the values of every other digit of the record), the number of
// address digits, the address in as few digits as hold it, and the data. Data records have type
// 6; the end record has type 8 and carries the entry point. Written only, never read.
class TekHexBuffer : public TextCodeBuffer {
public:
    explicit TekHexBuffer(const QString &path);

protected:
    void writeRecord(quint32 start, const uchar *bytes, int count) override;
    void writeEnd(quint32 entryPoint) override;

private:
    void writeTekRecord(int type, quint32 address, const uchar *bytes, int count);
};
