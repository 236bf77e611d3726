#include "debug/TIHexLoadFile.h"
#include "debug/LoadFileLineReader.h"

namespace {

constexpr int lineLimit = 64;

// The address of an "@" line: the digits after the mark up to the first blank or control
// character.
quint64 addressOf(std::string_view line, const LoadFileLineReader &lines)
{
    quint64 address = 0;
    int digits = 0;
    for (size_t i = 1; i < line.size() && uchar(line[i]) > ' '; ++i, ++digits) {
        const unsigned digit = LoadFileHex::digitValue[uchar(line[i])];
        if (digit > 0xF)
            lines.fail("invalid ASCII encoded byte");
        address = address << 4 | digit;
        if (address > 0xFFFFFFFF)
            lines.fail("invalid address");
    }
    if (digits == 0)
        lines.fail("invalid address");
    return address;
}

} // namespace

TIHexLoadFile::TIHexLoadFile(const QString &path) : StandardLoadFile(path)
{
    readText(lineLimit);
}

void TIHexLoadFile::parseText(LoadFileLineReader &lines, LoadFileSectionBuilder &sections)
{
    quint64 address = 0;
    std::string_view line;
    while (lines.next(line)) {
        if (!line.empty() && line[0] == '@') {
            address = addressOf(line, lines);
            continue;
        }
        if (!line.empty() && line[0] == 'q')
            return;
        // Groups of two digits and a separator; the line terminator serves as the last one.
        const unsigned count = unsigned(line.size() + 1) / 3;
        if (count == 0)
            continue;
        uchar *into = sections.place(address, count);
        unsigned sum = 0;
        if (!LoadFileHex::decode(line.data(), 3, into, count, sum))
            lines.fail("invalid ASCII encoded byte");
        address += count;
    }
    lines.fail("unexpected end of file");
}
