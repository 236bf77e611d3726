#pragma once
#include "debug/LoadFileInterface.h"

// TI-TXT: "@ADDRESS" lines set the address, lines of "XX " groups hold the bytes that follow it,
// and "q" ends the file.
class TIHexLoadFile : public StandardLoadFile {
public:
    explicit TIHexLoadFile(const QString &path);

protected:
    void parseText(LoadFileLineReader &lines, LoadFileSectionBuilder &sections) override;
};
