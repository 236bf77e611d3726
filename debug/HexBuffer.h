#pragma once
#include "debug/CodeBuffer.h"

// Writes the listing form: an 8-digit address and " XX" for each byte, without checksums.
class HexBuffer : public TextCodeBuffer {
public:
    explicit HexBuffer(const QString &path);

protected:
    void writeRecord(quint32 start, const uchar *bytes, int count) override;
    void writeEnd(quint32) override {}
};
