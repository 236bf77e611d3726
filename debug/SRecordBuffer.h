#pragma once
#include "debug/CodeBuffer.h"

// Writes Motorola S-records: an S0 header with the given text, S1, S2 or S3 records by the
// record's start address, and an S9 end record. The header carries no address bytes, and the
// end record is always S9, so an entry point above 16 bits is cut.
class SRecordBuffer : public TextCodeBuffer {
public:
    // The header text is cut to the 254 bytes a record holds.
    SRecordBuffer(const QString &path, const QString &header);

protected:
    void writeRecord(quint32 start, const uchar *bytes, int count) override;
    void writeEnd(quint32 entryPoint) override;
};
