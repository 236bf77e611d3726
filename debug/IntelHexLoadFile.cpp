#include "debug/IntelHexLoadFile.h"
#include "debug/LoadFileLineReader.h"

namespace {

constexpr int lineLimit = 530;

// The record's fields after the mark: count, address high, address low, type.
constexpr int headerBytes = 4;
constexpr int headerChars = 1 + 2 * headerBytes;

enum RecordType { Data = 0, EndOfFile = 1, SegmentBase = 2, SegmentStart = 3, LinearBase = 4,
                  LinearStart = 5 };

// The content bytes each record type reads after the header; -1 for a type that is skipped.
int contentBytes(int type, int count)
{
    switch (type) {
    case Data: return count;
    case EndOfFile: return 0;
    case SegmentBase:
    case LinearBase: return 2;
    case SegmentStart:
    case LinearStart: return 4;
    default: return -1;
    }
}

} // namespace

IntelHexLoadFile::IntelHexLoadFile(const QString &path) : StandardLoadFile(path)
{
    readText(lineLimit);
}

void IntelHexLoadFile::parseText(LoadFileLineReader &lines, LoadFileSectionBuilder &sections)
{
    m_segmentBase = 0;
    m_linearBase = 0;
    std::string_view line;
    while (lines.next(line)) {
        const char *text = line.data();
        if (line.empty() || text[0] != ':')
            lines.fail("missing record mark in hex file");
        uchar header[headerBytes];
        unsigned sum = 0;
        if (line.size() < size_t(headerChars)
            || !LoadFileHex::decode(text + 1, 2, header, headerBytes, sum))
            lines.fail("invalid ASCII encoded byte");
        const int type = header[3];
        const int content = contentBytes(type, header[0]);
        if (content < 0)
            continue;
        // The content and the checksum byte must lie inside the line.
        if (line.size() < size_t(headerChars + 2 * content + 2))
            lines.fail("invalid ASCII encoded byte");
        const char *body = text + headerChars;
        uchar value[4];
        uchar *into = value;
        if (type == Data) {
            const quint64 address = ((quint64(m_linearBase) << 16) | quint32(header[1] << 8 | header[2]))
                                    + quint64(m_segmentBase) * 16;
            into = sections.place(address, quint32(content));
        }
        if (!LoadFileHex::decode(body, 2, into, unsigned(content), sum))
            lines.fail("invalid ASCII encoded byte");
        const unsigned checksum = LoadFileHex::byteAt(body + 2 * content);
        if (checksum > 0xFF)
            lines.fail("invalid ASCII encoded byte");
        if (checksum != ((0x100 - (sum & 0xFF)) & 0xFF))
            lines.fail("invalid checksum");
        switch (type) {
        case EndOfFile: return;
        case SegmentBase: m_segmentBase = quint32(value[0] << 8 | value[1]); break;
        case LinearBase: m_linearBase = quint32(value[0] << 8 | value[1]); break;
        case SegmentStart:
        case LinearStart:
            setEntryPoint(quint32(value[0]) << 24 | quint32(value[1]) << 16 | quint32(value[2]) << 8 | value[3]);
            break;
        default: break;
        }
    }
    lines.fail("invalid end of file in hex file");
}
