#pragma once
#include "debug/LoadFileInterface.h"

// The listing form: each line an 8-digit address followed by " XX" groups, without checksums.
class HexLoadFile : public StandardLoadFile {
public:
    explicit HexLoadFile(const QString &path);

protected:
    void parseText(LoadFileLineReader &lines, LoadFileSectionBuilder &sections) override;
};
