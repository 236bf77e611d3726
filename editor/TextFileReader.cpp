#include "editor/TextFileReader.h"
#include "editor/TextCodec.h"
#include <QtEndian>
#include <bit>
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

// The LF and CR bytes of a range in order, found eight bytes at a time: most words of text hold
// neither, and a word that does yields each of them from its bit mask.
class TerminatorScan {
public:
    TerminatorScan(const char *data, qsizetype begin, qsizetype end) : m_data(data), m_base(begin - 8), m_end(end) {}

    // The next terminator byte, or the end of the range.
    qsizetype next()
    {
        while (m_mask == 0) {
            m_base += 8;
            if (m_base >= m_end)
                return m_end;
            m_mask = matches(load());
        }
        const int bit = std::countr_zero(m_mask);
        m_mask &= m_mask - 1;
        return m_base + bit / 8;
    }

private:
    quint64 load() const
    {
        if (m_end - m_base >= 8)
            return qFromLittleEndian<quint64>(m_data + m_base);
        char tail[8] = {};
        std::memcpy(tail, m_data + m_base, size_t(m_end - m_base));
        return qFromLittleEndian<quint64>(tail);
    }
    // The top bit of each byte that is zero.
    static quint64 zeroBytes(quint64 value)
    {
        constexpr quint64 low7 = 0x7F7F7F7F7F7F7F7FULL;
        return ~(((value & low7) + low7) | value | low7);
    }
    static quint64 matches(quint64 value)
    {
        return zeroBytes(value ^ (lowBytes * '\n')) | zeroBytes(value ^ (lowBytes * '\r'));
    }

    const char *m_data;
    qsizetype m_base;
    qsizetype m_end;
    quint64 m_mask = 0;
};

// The UTF-8 test, fed in pieces: a sequence may continue into the next piece.
class Utf8Test {
public:
    void feed(const char *data, qsizetype begin, qsizetype end)
    {
        qsizetype i = begin;
        for (; m_following > 0 && i < end && !m_failed; --m_following, ++i)
            m_failed = (uchar(data[i]) & 0xC0) != 0x80;
        while (i < end && !m_failed) {
            while (i + 8 <= end && wordBelowDel(word(data + i)))
                i += 8;
            if (i >= end)
                break;
            const uchar lead = uchar(data[i++]);
            if (lead <= 126)
                continue;
            m_ascii = false;
            if (lead <= 191 || lead > 253) {
                m_failed = true;
                break;
            }
            m_following = lead <= 223 ? 1 : lead <= 239 ? 2 : lead <= 247 ? 3 : lead <= 251 ? 4 : 5;
            for (; m_following > 0 && i < end && !m_failed; --m_following, ++i)
                m_failed = (uchar(data[i]) & 0xC0) != 0x80;
        }
    }
    // Running out of input inside a sequence fails too.
    bool passed() const { return !m_failed && m_following == 0; }
    bool ascii() const { return m_ascii; }

private:
    bool m_failed = false;
    bool m_ascii = true;
    int m_following = 0;
};

// Splits bytes into lines; with a test, feeds it the same bytes a piece ahead of the scan, so
// each piece is read from memory once and tested while it is still in the cache.
void splitBytes(const char *data, qsizetype begin, qsizetype end, LineSplitter &splitter, Utf8Test *test)
{
    constexpr qsizetype piece = 128 * 1024;
    qsizetype tested = begin;
    TerminatorScan scan(data, begin, end);
    qsizetype position = begin;
    for (;;) {
        if (test && position >= tested - piece / 2 && tested < end) {
            test->feed(data, tested, std::min(end, tested + piece));
            tested = std::min(end, tested + piece);
        }
        qsizetype stop = scan.next();
        while (stop < position)   // the LF of a CR LF, already taken
            stop = scan.next();
        splitter.line(position, stop);
        if (stop >= end)
            break;
        int kind = LineEndingLf;
        qsizetype next = stop + 1;
        if (data[stop] == '\r') {
            kind = next < end && data[next] == '\n' ? LineEndingCrLf : LineEndingCr;
            next += kind == LineEndingCrLf;
        }
        splitter.terminator(kind, next);
        position = next;
    }
    if (test && tested < end)
        test->feed(data, tested, end);
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

TextCodec defaultCodec(const TextFileOptions &options)
{
    if (options.defaultCodec.isEmpty() || options.defaultCodec == QLatin1String("Default"))
        return TextCodec::locale();
    return TextCodec::find(options.defaultCodec).value_or(TextCodec::locale());
}

bool isByteForm(const TextCodec &codec)
{
    return codec.kind() == TextCodec::Kind::Latin1 || codec.kind() == TextCodec::Kind::Utf8;
}

// Marks the runs of UTF-8 text that hold only ASCII; false when a run does not decode cleanly.
bool checkUtf8Runs(TextFileContent &content, bool allAscii)
{
    const char *data = content.text->bytes.constData();
    const TextCodec utf8 = *TextCodec::find(QStringLiteral("UTF-8"));
    QString scratch;
    for (CodeEditLoadedRun &run : content.runs) {
        run.ascii = allAscii || isAscii(data + run.begin, run.end - run.begin);
        if (run.ascii)
            continue;
        content.longestLine = -1;
        scratch.resize(0);
        if (!utf8.decode(data + run.begin, run.end - run.begin, scratch))
            return false;
    }
    return true;
}

void startContent(TextFileContent &content, const TextCodec &codec, CodeEditLoadedText::Form form)
{
    content.codecName = codec.name();
    content.lineEnding = LineEndingUnknown;
    content.inconsistent = false;
    content.runs.clear();
    content.text = std::make_shared<CodeEditLoadedText>();
    content.text->form = form;
}

// The bytes after the mark as lines of bytes, tested for UTF-8 on the way when asked.
void splitAsBytes(TextFileContent &content, const QByteArray &bytes, const TextCodec &codec, Utf8Test *test)
{
    startContent(content, codec, codec.kind() == TextCodec::Kind::Latin1 ? CodeEditLoadedText::Form::Latin1
                                                                        : CodeEditLoadedText::Form::Utf8);
    content.text->bytes = bytes;
    LineSplitter splitter(content);
    splitBytes(bytes.constData(), content.bom.size(), bytes.size(), splitter, test);
    content.longestLine = int(std::min<qsizetype>(splitter.longest(), INT_MAX));
}

// The bytes after the mark decoded whole; false when they do not decode cleanly.
bool splitAsText(TextFileContent &content, const QByteArray &bytes, const TextCodec &codec)
{
    startContent(content, codec, CodeEditLoadedText::Form::Utf16);
    const qsizetype start = content.bom.size();
    const bool clean = codec.decode(bytes.constData() + start, bytes.size() - start, content.text->text);
    LineSplitter splitter(content);
    splitText(content.text->text, splitter);
    content.longestLine = int(std::min<qsizetype>(splitter.longest(), INT_MAX));
    return clean;
}

// Splits with `codec`; false when the text does not decode cleanly.
bool split(TextFileContent &content, const QByteArray &bytes, const TextCodec &codec)
{
    if (!isByteForm(codec))
        return splitAsText(content, bytes, codec);
    splitAsBytes(content, bytes, codec, nullptr);
    return codec.kind() == TextCodec::Kind::Latin1 || checkUtf8Runs(content, false);
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
    Utf8Test test;
    test.feed(data, 0, size);
    return test.passed();
}

TextFileContent readTextFile(QByteArray bytes, const TextFileOptions &options)
{
    TextFileContent content;
    content.ok = true;
    content.bomKind = bomKindOf(bytes);
    content.bom = bytes.left(content.bomKind == BomUtf8 ? 3 : content.bomKind == BomNone ? 0 : 2);
    std::optional<TextCodec> codec;
    bool promised = false;   // chosen by the mark or the test, which the text may belie
    if (!options.codecName.isEmpty() && options.codecName != QLatin1String("Default")) {
        codec = TextCodec::find(options.codecName).value_or(TextCodec::locale());
    } else if (content.bomKind != BomNone) {
        constexpr const char *markCodecs[] = {"", "UTF-8", "UTF-16LE", "UTF-16BE"};
        codec = TextCodec::find(QLatin1String(markCodecs[content.bomKind]));
        promised = true;
    }
    const TextCodec fallback = defaultCodec(options);
    bool clean;
    if (!codec && options.detectUtf8) {
        // Split as bytes while testing: both UTF-8 and a byte-wise default keep the split.
        const TextCodec utf8 = *TextCodec::find(QStringLiteral("UTF-8"));
        Utf8Test test;
        splitAsBytes(content, bytes, utf8, &test);
        if (test.passed()) {
            codec = utf8;
            promised = true;
            clean = checkUtf8Runs(content, test.ascii());
        } else {
            codec = fallback;
            if (isByteForm(fallback)) {
                content.codecName = fallback.name();
                const bool latin1 = fallback.kind() == TextCodec::Kind::Latin1;
                content.text->form = latin1 ? CodeEditLoadedText::Form::Latin1 : CodeEditLoadedText::Form::Utf8;
                clean = latin1 || checkUtf8Runs(content, false);
            } else {
                clean = split(content, bytes, fallback);
            }
        }
    } else {
        codec = codec.value_or(fallback);
        clean = split(content, bytes, *codec);
    }
    if (clean)
        return content;
    if (promised) {
        // Not the encoding the mark or the test promised: the mark was text, read it as such.
        content.bomKind = BomNone;
        content.bom.clear();
        codec = fallback;
        if (split(content, bytes, *codec))
            return content;
    }
    content.unclean = true;
    if (codec->kind() == TextCodec::Kind::Utf8) {
        // Text with replacement characters must be decoded once, so that every later reading
        // of a line agrees on its length.
        splitAsText(content, bytes, *codec);
    }
    return content;
}
