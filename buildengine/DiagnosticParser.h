#pragma once
#include "buildengine/Bookmark.h"
#include <QByteArrayView>
#include <QRegExp>
#include <QString>
#include <QStringView>
#include <array>

// Classifies one line of tool output. A parser is chosen per tool; the builder hands every line
// of the tool's output to it, and a line it understands becomes a log item with a location.
class DiagnosticParser {
public:
    virtual ~DiagnosticParser();
    // True if `line` is a diagnostic; `bookmark` then holds its location, message and severity.
    [[nodiscard]] virtual bool parseLine(const QString &line, Bookmark &bookmark,
                                         const QString &baseDirectory) = 0;
    // Hooks for parsers that keep state across lines (a message continued on the next line).
    [[nodiscard]] virtual bool continuesDiagnostic(const QString &line) { return false; }
    [[nodiscard]] virtual bool endsDiagnostic(const QString &line) { return false; }
};

// The result of scanning one line without copying it: views into the line.
template <typename View>
struct DiagnosticScan {
    View path;             // empty: no location
    int line = -1;
    int column = -1;
    View message;
    Severity severity = Severity::Plain;
};

// The scan behind StandardDiagnosticParser, on UTF-16 or on UTF-8 bytes (the markers and
// separators are ASCII, so both give the same answer). False: the line is no diagnostic.
[[nodiscard]] bool scanDiagnostic(QStringView line, DiagnosticScan<QStringView> &scan);
[[nodiscard]] bool scanDiagnostic(QByteArrayView line, DiagnosticScan<QByteArrayView> &scan);

// Locations "file:line:column:" with optional numbers, anywhere a path begins at the start of the
// line or after a blank, and the markers "error: ", "warning: ", "note: " and their relatives.
class StandardDiagnosticParser : public DiagnosticParser {
public:
    [[nodiscard]] bool parseLine(const QString &line, Bookmark &bookmark,
                                 const QString &baseDirectory) override;
};

// Up to six patterns of a tool description, tried in order: capture 1 is the file, 2 the line
// and 3 the message. A match is a note without a column.
class RegexpDiagnosticParser : public DiagnosticParser {
public:
    static constexpr int patternCount = 6;

    RegexpDiagnosticParser() = default;
    explicit RegexpDiagnosticParser(const QStringList &patterns);   // extra patterns are dropped
    void setPattern(int index, const QString &pattern);

    [[nodiscard]] bool parseLine(const QString &line, Bookmark &bookmark,
                                 const QString &baseDirectory) override;

private:
    std::array<QRegExp, patternCount> m_patterns;
};

// Joins a relative `path` to `baseDirectory` with "/"; an absolute path or an empty base
// leaves it as it is.
[[nodiscard]] QString resolveDiagnosticPath(const QString &path, const QString &baseDirectory);
