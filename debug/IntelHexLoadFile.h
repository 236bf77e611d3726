#pragma once
#include "debug/LoadFileInterface.h"

// Intel Hex: ":" records of count, address, type, data and a two's complement checksum, with
// segment (02) and linear (04) base records. The file must end with an end record (01).
class IntelHexLoadFile : public StandardLoadFile {
public:
    explicit IntelHexLoadFile(const QString &path);

protected:
    void parseText(LoadFileLineReader &lines, LoadFileSectionBuilder &sections) override;

private:
    quint32 m_segmentBase = 0;
    quint32 m_linearBase = 0;
};
