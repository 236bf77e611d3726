#pragma once
#include "debug/LoadFileInterface.h"

// Motorola S-records: S0 header, S1/S2/S3 data with 2, 3 or 4 address bytes, S5 record count,
// S7/S8/S9 entry point, each with a one's complement checksum. No end record is required.
class SRecordLoadFile : public StandardLoadFile {
public:
    explicit SRecordLoadFile(const QString &path);

protected:
    void parseText(LoadFileLineReader &lines, LoadFileSectionBuilder &sections) override;
};
