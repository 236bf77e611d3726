#pragma once
#include <QString>

// Severity of a log item: the low byte of its type word. 1 is not used.
enum class Severity : unsigned char {
    Plain = 0,
    Note = 2,
    Warning = 3,
    Error = 4,
    Fatal = 5,   // shown and counted as an error
};

// Bits above the severity byte of a log item's type word.
namespace LogItemFlag {
constexpr int NoPropagation = 0x000800;   // the parent's severity ignores this item
constexpr int CommandLine = 0x100000;     // "Command line: ", "Working directory: "
constexpr int Detail = 0x800000;          // such as "is up to date"
constexpr int Closing = 0x1000000;        // the closing line of a build
constexpr int ClosingFailed = 0x2000000;
} // namespace LogItemFlag

[[nodiscard]] constexpr Severity severityOf(int type)
{
    return static_cast<Severity>(type & 0xff);
}

// A place in a source file that a diagnostic points at; what a double click on a log item opens.
struct Bookmark {
    QString path;        // empty: the diagnostic names no file
    int line = -1;       // 1-based; -1: none
    int column = -1;     // 1-based; -1: none
    QString message;
    Severity severity = Severity::Plain;
    QString text;        // the whole line as the tool wrote it, for display

    [[nodiscard]] bool hasLocation() const { return !path.isEmpty(); }
};
