#include "debug/SRecordLoadFile.h"
#include "debug/LoadFileLineReader.h"

namespace {

constexpr int lineLimit = 530;

// What a record holds between its count and its checksum, by type digit.
struct RecordKind {
    int addressBytes;   // the address (data records) or entry address (end records)
    bool data;
    bool entry;
};

constexpr RecordKind recordKinds[10] = {
    {0, false, false},   // S0 header: its bytes are summed and ignored
    {2, true, false},  {3, true, false},  {4, true, false},
    {0, false, false},   // S4: reserved
    {2, false, false},   // S5: count of data records
    {0, false, false},   // S6: reserved
    {4, false, true},  {3, false, true},  {2, false, true},
};

quint32 bigEndian(const uchar *bytes, int count)
{
    quint32 value = 0;
    for (int i = 0; i < count; ++i)
        value = value << 8 | bytes[i];
    return value;
}

} // namespace

SRecordLoadFile::SRecordLoadFile(const QString &path) : StandardLoadFile(path)
{
    readText(lineLimit);
}

void SRecordLoadFile::parseText(LoadFileLineReader &lines, LoadFileSectionBuilder &sections)
{
    quint32 dataRecords = 0;
    std::string_view line;
    while (lines.next(line)) {
        const char *text = line.data();
        if (line.empty() || text[0] != 'S')
            lines.fail("no leading 'S' character");
        if (line.size() < 4)
            lines.fail("invalid ASCII encoded byte");
        unsigned sum = LoadFileHex::byteAt(text + 2);
        if (sum > 0xFF)
            lines.fail("invalid ASCII encoded byte");
        const int count = int(sum);
        const int type = text[1] - '0';
        // A type outside 0 to 9, and S4 and S6, have no content: the checksum follows the count.
        int content = 0;
        if (type == 0)
            content = count > 1 ? count - 1 : 0;
        else if (type >= 0 && type <= 9)
            content = recordKinds[type].addressBytes;
        const RecordKind kind = type >= 0 && type <= 9 ? recordKinds[type] : RecordKind{0, false, false};
        const int dataLength = kind.data ? count - content - 1 : 0;
        if (dataLength < 0)
            lines.fail("invalid record length");
        if (line.size() < size_t(4 + 2 * (content + dataLength) + 2))
            lines.fail("invalid ASCII encoded byte");
        const char *body = text + 4;
        uchar address[255];
        if (!LoadFileHex::decode(body, 2, address, unsigned(content), sum))
            lines.fail("invalid ASCII encoded byte");
        body += 2 * content;
        const quint32 value = bigEndian(address, type == 0 ? 0 : content);
        if (kind.data) {
            uchar *into = sections.place(value, quint32(dataLength));
            if (!LoadFileHex::decode(body, 2, into, unsigned(dataLength), sum))
                lines.fail("invalid ASCII encoded byte");
            body += 2 * dataLength;
            ++dataRecords;
        } else if (type == 5 && value != dataRecords) {
            lines.fail("incorrect data record count");
        }
        const unsigned checksum = LoadFileHex::byteAt(body);
        if (checksum > 0xFF)
            lines.fail("invalid ASCII encoded byte");
        if (checksum != (~sum & 0xFF))
            lines.fail("invalid checksum");
        if (kind.entry)
            setEntryPoint(value);
    }
}
