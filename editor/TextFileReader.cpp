#include "editor/TextFileReader.h"
#include "editor/TextCodec.h"
#include <cstring>

namespace {

// Runs of loaded lines: at most this many lines or this many bytes, so that reading one line of a
// run that nobody edited scans little.
constexpr int runLines = 256;
constexpr qsizetype runBytes = 64 * 1024;

constexpr quint64 lowBytes = 0x0101010101010101ULL;
constexpr quint64 highBits = 0x8080808080808080ULL;

quint64 word(const char *data)
{
    quint64 value;
    std::memcpy(&value, data, sizeof value);
    return value;
}

// True when no byte is above 126 (adding 1 to a byte of 127 sets its top bit).
bool wordBelowDel(quint64 value)
{
    return (((value + lowBytes) | value) & highBits) == 0;
}

bool isAscii(const char *data, qsizetype size)
{
    qsizetype i = 0;
    quint64 bits = 0;
    for (; i + 8 <= size; i += 8)
        bits |= word(data + i);
    for (; i < size; ++i)
        bits |= uchar(data[i]);
    return (bits & highBits) == 0;
}

// Collects runs and terminator facts while the text is split into lines.
class LineSplitter {
public:
    explicit LineSplitter(TextFileContent &content) : m_content(content) {}

    void line(qsizetype begin, qsizetype end)
    {
        if (m_lines == 0)
            m_runBegin = begin;
        m_longest = std::max(m_longest, end - begin);
        ++m_lines;
        m_lastEnd = end;
    }
    // After line(): the terminator of kind `kind` ends it; the next line starts at `next`.
    void terminator(int kind, qsizetype next)
    {
        int &ending = m_content.lineEnding;
        if (ending != LineEndingUnknown && ending != kind)
            m_content.inconsistent = true;
        ending = kind;
        if (m_runTerminator == LineEndingUnknown)
            m_runTerminator = kind;
        else if (m_runTerminator != kind)
            m_runTerminator = -1;
        if (m_lines >= runLines || next - m_runBegin >= runBytes)
            close();
    }
    void close()
    {
        if (m_lines == 0)
            return;
        m_content.runs.push_back({m_runBegin, m_lastEnd, m_lines, m_runTerminator, false});
        m_lines = 0;
        m_runTerminator = LineEndingUnknown;
    }
    qsizetype longest() const { return m_longest; }

private:
    TextFileContent &m_content;
    qsizetype m_runBegin = 0;
    qsizetype m_lastEnd = 0;
    int m_lines = 0;
    int m_runTerminator = LineEndingUnknown;
    qsizetype m_longest = 0;
};

// Bytes: LF and CR are found with memchr, each searched again only once passed, so a file
// without CR is scanned for it once.
void splitBytes(const char *data, qsizetype begin, qsizetype end, LineSplitter &splitter)
{
    const auto find = [&](char c, qsizetype from) {
        const void *hit = std::memchr(data + from, c, size_t(end - from));
        return hit ? static_cast<const char *>(hit) - data : end;
    };
    qsizetype nextLf = find('\n', begin);
    qsizetype nextCr = find('\r', begin);
    qsizetype position = begin;
    for (;;) {
        const qsizetype stop = std::min(nextLf, nextCr);
        splitter.line(position, stop);
        if (stop == end)
            break;
        int kind = LineEndingLf;
        qsizetype next = stop + 1;
        if (stop == nextCr) {
            kind = next < end && data[next] == '\n' ? LineEndingCrLf : LineEndingCr;
            next += kind == LineEndingCrLf;
        }
        splitter.terminator(kind, next);
        position = next;
        if (nextLf < position)
            nextLf = find('\n', position);
        if (nextCr < position)
            nextCr = find('\r', position);
    }
    splitter.close();
}

void splitText(const QString &text, LineSplitter &splitter)
{
    const QChar *data = text.constData();
    const qsizetype end = text.size();
    qsizetype position = 0;
    for (qsizetype i = 0;; ++i) {
        if (i == end) {
            splitter.line(position, end);
            break;
        }
        if (data[i] != u'\n' && data[i] != u'\r')
            continue;
        splitter.line(position, i);
        int kind = LineEndingLf;
        if (data[i] == u'\r') {
            kind = i + 1 < end && data[i + 1] == u'\n' ? LineEndingCrLf : LineEndingCr;
            i += kind == LineEndingCrLf;
        }
        position = i + 1;
        splitter.terminator(kind, position);
    }
    splitter.close();
}

enum class ChosenBy { Name, Mark, Test, Default };

bool utf8Test(const char *data, qsizetype size, bool *ascii);

TextCodec defaultCodec(const TextFileOptions &options)
{
    if (options.defaultCodec.isEmpty() || options.defaultCodec == QLatin1String("Default"))
        return TextCodec::locale();
    return TextCodec::find(options.defaultCodec).value_or(TextCodec::locale());
}

// Marks the runs of UTF-8 text that hold only ASCII; false when a run does not decode cleanly.
bool checkUtf8Runs(TextFileContent &content, bool allAscii)
{
    const char *data = content.text->bytes.constData();
    QString scratch;
    bool longestKnown = true;
    for (CodeEditLoadedRun &run : content.runs) {
        run.ascii = allAscii || isAscii(data + run.begin, run.end - run.begin);
        if (run.ascii)
            continue;
        longestKnown = false;
        scratch.resize(0);
        if (!TextCodec::find(QStringLiteral("UTF-8"))->decode(data + run.begin, run.end - run.begin, scratch))
            return false;
    }
    if (!longestKnown)
        content.longestLine = -1;
    return true;
}

// Splits the bytes after the mark with `codec`; false when they do not decode cleanly. Bytes of
// UTF-8 and ISO-8859-1 stay bytes unless `asText`: text with replacement characters in it must be
// decoded once, so that every later reading of a line agrees on its length.
bool split(TextFileContent &content, const QByteArray &bytes, const TextCodec &codec,
           bool testedAscii, bool asText = false)
{
    content.codecName = codec.name();
    content.lineEnding = LineEndingUnknown;
    content.inconsistent = false;
    content.runs.clear();
    auto text = std::make_shared<CodeEditLoadedText>();
    const qsizetype start = content.bom.size();
    LineSplitter splitter(content);
    bool clean = true;
    const bool byteForm = codec.kind() == TextCodec::Kind::Latin1 || codec.kind() == TextCodec::Kind::Utf8;
    if (byteForm && !asText) {
        text->form = codec.kind() == TextCodec::Kind::Latin1 ? CodeEditLoadedText::Form::Latin1
                                                             : CodeEditLoadedText::Form::Utf8;
        text->bytes = bytes;
        splitBytes(text->bytes.constData(), start, text->bytes.size(), splitter);
    } else {
        text->form = CodeEditLoadedText::Form::Utf16;
        clean = codec.decode(bytes.constData() + start, bytes.size() - start, text->text);
        splitText(text->text, splitter);
    }
    content.text = std::move(text);
    content.longestLine = int(std::min<qsizetype>(splitter.longest(), INT_MAX));
    if (codec.kind() == TextCodec::Kind::Utf8 && !asText)
        clean = checkUtf8Runs(content, testedAscii);
    return clean;
}

} // namespace

int bomKindOf(const QByteArray &bytes)
{
    if (bytes.size() < 2)
        return BomNone;
    const uchar first = uchar(bytes[0]);
    if (first == 0xFF && uchar(bytes[1]) == 0xFE)
        return BomUtf16LE;
    if (first == 0xFE)
        return BomUtf16BE;
    if (bytes.size() >= 3 && bytes.startsWith("\xEF\xBB\xBF"))
        return BomUtf8;
    return BomNone;
}

QByteArray bomBytes(int bomKind)
{
    switch (bomKind) {
    case BomUtf8:
        return QByteArrayLiteral("\xEF\xBB\xBF");
    case BomUtf16LE:
        return QByteArrayLiteral("\xFF\xFE");
    case BomUtf16BE:
        return QByteArrayLiteral("\xFE\xFF");
    default:
        return QByteArray();
    }
}

bool passesUtf8Test(const char *data, qsizetype size)
{
    bool ascii;
    return utf8Test(data, size, &ascii);
}

namespace {

bool utf8Test(const char *data, qsizetype size, bool *ascii)
{
    *ascii = true;
    qsizetype i = 0;
    while (i < size) {
        while (i + 8 <= size && wordBelowDel(word(data + i)))
            i += 8;
        if (i >= size)
            break;
        const uchar lead = uchar(data[i++]);
        if (lead <= 126)
            continue;
        *ascii = false;
        if (lead <= 191 || lead > 253)
            return false;
        const int following = lead <= 223 ? 1 : lead <= 239 ? 2 : lead <= 247 ? 3 : lead <= 251 ? 4 : 5;
        for (int k = 0; k < following; ++k, ++i) {
            if (i >= size || (uchar(data[i]) & 0xC0) != 0x80)
                return false;
        }
    }
    return true;
}

} // namespace

TextFileContent readTextFile(QByteArray bytes, const TextFileOptions &options)
{
    TextFileContent content;
    content.bomKind = bomKindOf(bytes);
    content.bom = bytes.left(content.bomKind == BomUtf8 ? 3 : content.bomKind == BomNone ? 0 : 2);
    ChosenBy chosenBy = ChosenBy::Default;
    std::optional<TextCodec> codec;
    bool testedAscii = false;
    if (!options.codecName.isEmpty() && options.codecName != QLatin1String("Default")) {
        codec = TextCodec::find(options.codecName).value_or(TextCodec::locale());
        chosenBy = ChosenBy::Name;
    } else if (content.bomKind != BomNone) {
        constexpr const char *markCodecs[] = {"", "UTF-8", "UTF-16LE", "UTF-16BE"};
        codec = TextCodec::find(QLatin1String(markCodecs[content.bomKind]));
        chosenBy = ChosenBy::Mark;
    } else if (options.detectUtf8 && utf8Test(bytes.constData(), bytes.size(), &testedAscii)) {
        codec = TextCodec::find(QStringLiteral("UTF-8"));
        chosenBy = ChosenBy::Test;
    } else {
        codec = defaultCodec(options);
    }
    content.ok = true;
    if (split(content, bytes, *codec, testedAscii))
        return content;
    if (chosenBy == ChosenBy::Mark || chosenBy == ChosenBy::Test) {
        // Not the encoding the mark or the test promised: the mark was text, read it as such.
        content.bomKind = BomNone;
        content.bom.clear();
        codec = defaultCodec(options);
        if (split(content, bytes, *codec, false))
            return content;
    }
    content.unclean = true;
    if (codec->kind() == TextCodec::Kind::Utf8)
        split(content, bytes, *codec, false, true);
    return content;
}
