#include "debug/HexLoadFile.h"
#include "debug/LoadFileLineReader.h"

namespace {

constexpr int lineLimit = 64;
constexpr int addressChars = 8;

} // namespace

HexLoadFile::HexLoadFile(const QString &path) : StandardLoadFile(path)
{
    readText(lineLimit);
}

void HexLoadFile::parseText(LoadFileLineReader &lines, LoadFileSectionBuilder &sections)
{
    std::string_view line;
    while (lines.next(line)) {
        // Lengths count one line terminator, as the line was written: a byte group is three
        // characters, of which the last group's separator may be that terminator.
        const int length = int(line.size()) + 1;
        if (length < addressChars)
            continue;
        const char *text = line.data();
        quint32 address = 0;
        for (int i = 0; i < addressChars; ++i) {
            const unsigned digit = i < int(line.size()) ? LoadFileHex::digitValue[uchar(text[i])] : 0x100;
            if (digit > 0xF)
                lines.fail("invalid address");
            address = address << 4 | digit;
        }
        const int count = (length - addressChars) / 3;
        uchar *into = sections.place(address, quint32(count));
        for (int i = 0; i < count; ++i) {
            const size_t group = size_t(addressChars + 3 * i);
            if (text[group] != ' ')
                lines.fail("invalid seperator");
            const unsigned byte = group + 2 < line.size() ? LoadFileHex::byteAt(text + group + 1) : 0x100;
            if (byte > 0xFF)
                lines.fail("invalid ASCII encoded byte");
            into[i] = uchar(byte);
        }
    }
}
