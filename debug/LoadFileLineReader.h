#pragma once
#include "debug/HByteStream.h"
#include <QString>
#include <array>
#include <memory>
#include <string_view>

class ExpandingLoadFileSection;
class LoadFileSections;

// The lines of a text load file, read in large blocks. A line comes without its terminator: LF
// and CR LF end lines alike. A line longer than the reader's limit is an error, so a binary file
// given as text fails at once instead of being read as one enormous line.
class LoadFileLineReader {
public:
    LoadFileLineReader(const QString &path, int lineLimit);
    ~LoadFileLineReader();

    // The next line; false at the end of the file.
    [[nodiscard]] bool next(std::string_view &line);
    // The number of the last line returned, from 1.
    [[nodiscard]] int lineNumber() const { return m_lineNumber; }
    // Raises `message` followed by " : line N".
    [[noreturn]] void fail(const char *message) const;

private:
    bool refill();

    HFileInputByteStream m_stream;
    std::unique_ptr<char[]> m_buffer;
    qsizetype m_capacity;
    qsizetype m_begin = 0;   // start of the unread bytes
    qsizetype m_end = 0;     // end of the bytes read
    bool m_atEnd = false;
    int m_lineNumber = 0;
    int m_lineLimit;
};

// Hexadecimal digits of either case, as the text formats hold their bytes.
namespace LoadFileHex {

constexpr std::array<unsigned short, 256> digitTable()
{
    std::array<unsigned short, 256> table{};
    for (size_t c = 0; c < table.size(); ++c) {
        if (c >= '0' && c <= '9')
            table[c] = (unsigned short)(c - '0');
        else if (c >= 'A' && c <= 'F')
            table[c] = (unsigned short)(c - 'A' + 10);
        else if (c >= 'a' && c <= 'f')
            table[c] = (unsigned short)(c - 'a' + 10);
        else
            table[c] = 0x100;
    }
    return table;
}

// 0 to 15 for a hexadecimal digit, 0x100 for any other character.
inline constexpr std::array<unsigned short, 256> digitValue = digitTable();

// The byte spelt by two characters, or a value above 0xFF when either is not a digit.
inline unsigned byteAt(const char *text)
{
    return unsigned(digitValue[uchar(text[0])] << 4) | digitValue[uchar(text[1])];
}

// Decodes `count` bytes of two digits each, `stride` characters apart, into `out` and adds them
// to `sum`; false when a character is not a digit.
inline bool decode(const char *text, int stride, uchar *out, unsigned count, unsigned &sum)
{
    unsigned spelling = 0;
    for (unsigned i = 0; i < count; ++i, text += stride) {
        const unsigned byte = byteAt(text);
        spelling |= byte;
        out[i] = uchar(byte);
        sum += byte;
    }
    return spelling <= 0xFF;
}

} // namespace LoadFileHex

// Places decoded records into sections: a record that starts where the current section ends
// extends it, any other starts a new section at its address. Sections are never merged or
// overlaid afterwards, so records out of order give several sections.
class LoadFileSectionBuilder {
public:
    LoadFileSectionBuilder(LoadFileSections &sections, const LoadFileLineReader &lines);
    // Room for `count` bytes at `address`, to decode into. Raises "record past 4 GiB" for a
    // record whose last byte would lie beyond 0xFFFFFFFF.
    [[nodiscard]] uchar *place(quint64 address, quint32 count);

private:
    LoadFileSections &m_sections;
    const LoadFileLineReader &m_lines;
    ExpandingLoadFileSection *m_current = nullptr;
};
