#include "buildengine/DiagnosticParser.h"
#include <QStringList>
#include <cstring>

namespace {

// Line and column numbers saturate here: a longer run of digits is still one number.
constexpr int numberLimit = 100000000;

[[nodiscard]] inline unsigned unit(QStringView text, qsizetype i)
{
    return text.utf16()[i];
}

[[nodiscard]] inline unsigned unit(QByteArrayView text, qsizetype i)
{
    return static_cast<unsigned char>(text.data()[i]);
}

[[nodiscard]] inline qsizetype findColon(QStringView text, qsizetype from)
{
    return text.indexOf(u':', from);
}

[[nodiscard]] inline qsizetype findColon(QByteArrayView text, qsizetype from)
{
    if (from >= text.size())
        return -1;
    const void *hit = std::memchr(text.data() + from, ':', size_t(text.size() - from));
    return hit ? static_cast<const char *>(hit) - text.data() : -1;
}

[[nodiscard]] inline bool isBlank(unsigned c)
{
    return c == ' ' || c == '\t';
}

[[nodiscard]] inline bool isDigit(unsigned c)
{
    return c >= '0' && c <= '9';
}

// Reads a decimal number at `pos`; returns -1 and leaves `pos` alone when there is no digit.
template <typename View>
[[nodiscard]] int readNumber(View text, qsizetype &pos)
{
    if (pos >= text.size() || !isDigit(unit(text, pos)))
        return -1;
    int value = 0;
    for (; pos < text.size() && isDigit(unit(text, pos)); ++pos)
        value = value >= numberLimit ? numberLimit : value * 10 + int(unit(text, pos) - '0');
    return value;
}

template <typename View>
[[nodiscard]] bool startsPath(View text, qsizetype pos)
{
    const unsigned c = unit(text, pos);
    return c == '/' || (c == '.' && pos + 1 < text.size() && unit(text, pos + 1) == '/');
}

struct Location {
    qsizetype start = 0;
    qsizetype nameEnd = 0;
    qsizetype end = 0;   // first character behind the location
    int line = -1;
    int column = -1;
};

// A file name runs up to the first colon. It may hold a blank only when it begins like a path
// and a line number follows; without a line number it must at least look like a file name, so
// that "warning: x" or "collect2: error: ..." name no file.
template <typename View>
[[nodiscard]] bool readLocation(View text, qsizetype start, Location &location)
{
    const qsizetype colon = findColon(text, start);
    if (colon <= start)
        return false;
    bool blank = false;
    bool fileLike = false;
    for (qsizetype i = start; i < colon; ++i) {
        const unsigned c = unit(text, i);
        blank = blank || isBlank(c);
        fileLike = fileLike || c == '.' || c == '/';
    }
    qsizetype pos = colon + 1;
    const int line = readNumber(text, pos);
    if (blank && (line < 0 || !startsPath(text, start)))
        return false;
    if (line < 0 && !fileLike)
        return false;
    int column = -1;
    if (line >= 0 && pos + 1 < text.size() && unit(text, pos) == ':') {
        qsizetype afterColon = pos + 1;
        column = readNumber(text, afterColon);
        if (column >= 0)
            pos = afterColon;
    }
    if (line >= 0 && pos < text.size() && unit(text, pos) == ':')
        ++pos;
    location = {start, colon, line < 0 ? colon : pos, line, column};
    return true;
}

template <typename View>
[[nodiscard]] bool findLocation(View text, Location &location)
{
    const qsizetype size = text.size();
    if (size > 0 && !isBlank(unit(text, 0)) && readLocation(text, 0, location))
        return true;
    for (qsizetype i = 1; i < size; ++i) {
        if (isBlank(unit(text, i - 1)) && startsPath(text, i) && readLocation(text, i, location))
            return true;
    }
    return false;
}

struct Marker {
    const char *word;   // the marker without its ": "
    qsizetype length;
    Severity severity;
};

// Tested in this order: the first marker of the table that occurs wins, wherever it stands.
constexpr Marker markers[] = {
    {"error", 5, Severity::Error},    {"Error", 5, Severity::Error},
    {"warning", 7, Severity::Warning}, {"Warning", 7, Severity::Warning},
    {"note", 4, Severity::Note},       {"Info", 4, Severity::Note},
};

template <typename View>
[[nodiscard]] bool endsWithWord(View text, qsizetype end, const Marker &marker)
{
    if (end < marker.length)
        return false;
    for (qsizetype i = 0; i < marker.length; ++i) {
        if (unit(text, end - marker.length + i) != static_cast<unsigned char>(marker.word[i]))
            return false;
    }
    return true;
}

// One pass over the colons of the line; returns the index of the winning marker or -1, and
// where its message starts.
template <typename View>
[[nodiscard]] int findMarker(View text, qsizetype &messageStart)
{
    constexpr int count = int(std::size(markers));
    qsizetype first[count];
    std::fill(std::begin(first), std::end(first), qsizetype(-1));
    for (qsizetype colon = findColon(text, 0); colon >= 0; colon = findColon(text, colon + 1)) {
        if (colon + 1 >= text.size() || unit(text, colon + 1) != ' ')
            continue;
        for (int m = 0; m < count; ++m) {
            if (first[m] < 0 && endsWithWord(text, colon, markers[m]))
                first[m] = colon + 2;
        }
        if (first[0] >= 0)
            break;   // nothing can beat the first marker of the table
    }
    for (int m = 0; m < count; ++m) {
        if (first[m] >= 0) {
            messageStart = first[m];
            return m;
        }
    }
    return -1;
}

template <typename View>
[[nodiscard]] qsizetype skipBlanks(View text, qsizetype pos)
{
    while (pos < text.size() && isBlank(unit(text, pos)))
        ++pos;
    return pos;
}

template <typename View>
bool scan(View text, DiagnosticScan<View> &result)
{
    result = {};
    Location location;
    const bool located = findLocation(text, location);
    qsizetype rest = 0;
    if (located) {
        result.path = text.sliced(location.start, location.nameEnd - location.start);
        result.line = location.line;
        result.column = location.column;
        rest = location.end;
        while (rest < text.size() && (unit(text, rest) == ',' || isDigit(unit(text, rest))))
            ++rest;
        if (location.line >= 0 && skipBlanks(text, rest) < text.size())
            result.severity = Severity::Error;
    }
    qsizetype messageStart = 0;
    const int marker = findMarker(text, messageStart);
    if (marker >= 0) {
        result.severity = markers[marker].severity;
        result.message = text.sliced(messageStart);
        return true;
    }
    if (!located)
        return false;
    // Behind a location at the start of the line stands the message ("a.c: In function ...");
    // a location inside the line ("In file included from /a.h:3,") leaves the whole line.
    if (location.start == 0) {
        while (rest < text.size() && (unit(text, rest) == ':' || isBlank(unit(text, rest))))
            ++rest;
    }
    result.message = location.start == 0 && rest < text.size() ? text.sliced(rest) : text;
    return true;
}

} // namespace

bool scanDiagnostic(QStringView line, DiagnosticScan<QStringView> &result)
{
    return scan(line, result);
}

bool scanDiagnostic(QByteArrayView line, DiagnosticScan<QByteArrayView> &result)
{
    return scan(line, result);
}

QString resolveDiagnosticPath(const QString &path, const QString &baseDirectory)
{
    if (path.isEmpty() || baseDirectory.isEmpty() || path.startsWith(u'/'))
        return path;
    return baseDirectory + u'/' + path;
}

DiagnosticParser::~DiagnosticParser() = default;

bool StandardDiagnosticParser::parseLine(const QString &line, Bookmark &bookmark,
                                         const QString &baseDirectory)
{
    DiagnosticScan<QStringView> result;
    if (!scanDiagnostic(QStringView(line), result))
        return false;
    bookmark.path = resolveDiagnosticPath(result.path.toString(), baseDirectory);
    bookmark.line = result.line;
    bookmark.column = result.column;
    bookmark.message = result.message.toString();
    bookmark.severity = result.severity;
    bookmark.text = line;
    return true;
}

RegexpDiagnosticParser::RegexpDiagnosticParser(const QStringList &patterns)
{
    for (int i = 0; i < patterns.size() && i < patternCount; ++i)
        setPattern(i, patterns.at(i));
}

void RegexpDiagnosticParser::setPattern(int index, const QString &pattern)
{
    if (index >= 0 && index < patternCount)
        m_patterns[size_t(index)] = QRegExp(pattern);
}

bool RegexpDiagnosticParser::parseLine(const QString &line, Bookmark &bookmark,
                                       const QString &baseDirectory)
{
    for (QRegExp &pattern : m_patterns) {
        if (pattern.isEmpty() || !pattern.isValid() || pattern.indexIn(line) < 0)
            continue;
        bool numeric = false;
        const int lineNumber = pattern.cap(2).toInt(&numeric);
        bookmark.path = resolveDiagnosticPath(pattern.cap(1), baseDirectory);
        bookmark.line = numeric ? lineNumber : -1;
        bookmark.column = -1;
        bookmark.message = pattern.cap(3);
        bookmark.severity = Severity::Note;
        bookmark.text = line;
        return true;
    }
    return false;
}
