#include "buildengine/DiagnosticParser.h"
#include "tool/tess/Commands.h"
#include <QByteArray>
#include <QStringList>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <unistd.h>

// tess diag: tool output on standard input, one line per diagnostic on standard output:
// severity, path, line, column and message, separated by tabs.

namespace {

constexpr qsizetype readBlock = qsizetype(1) << 20;
constexpr qsizetype writeBlock = qsizetype(1) << 20;
// A line longer than this is taken in pieces, so input without newlines stays bounded.
constexpr qsizetype lineLimit = qsizetype(64) << 20;

// By severity; a line that is no diagnostic at all is "plain".
constexpr const char *severityWords[] = {"message", "message", "note", "warning", "error", "fatal"};

struct DiagOptions {
    QStringList patterns;
    QByteArray base;
    bool all = false;
};

class Output {
public:
    Output() { m_buffer.reserve(writeBlock + 4096); }
    ~Output() { flush(); }
    void append(QByteArrayView bytes)
    {
        m_buffer.append(bytes);
        if (m_buffer.size() >= writeBlock)
            flush();
    }
    void append(char c) { m_buffer.append(c); }
    void appendNumber(int value)
    {
        char digits[16];
        const auto result = std::to_chars(digits, digits + sizeof digits, value);
        m_buffer.append(digits, result.ptr - digits);
    }
    bool flush()
    {
        qsizetype done = 0;
        while (done < m_buffer.size()) {
            const ssize_t written = ::write(1, m_buffer.constData() + done, size_t(m_buffer.size() - done));
            if (written <= 0) {
                m_failed = true;
                break;
            }
            done += written;
        }
        m_buffer.clear();
        return !m_failed;
    }
    [[nodiscard]] bool failed() const { return m_failed; }

private:
    QByteArray m_buffer;
    bool m_failed = false;
};

void writeItem(Output &out, const char *word, QByteArrayView path, QByteArrayView base, int line,
               int column, QByteArrayView message)
{
    out.append(QByteArrayView(word));
    out.append('\t');
    if (!path.isEmpty() && !base.isEmpty() && path[0] != '/') {
        out.append(base);
        out.append('/');
    }
    out.append(path);
    out.append('\t');
    out.appendNumber(line);
    out.append('\t');
    out.appendNumber(column);
    out.append('\t');
    out.append(message);
    out.append('\n');
}

// One line through the fast scan; bytes that are not UTF-8 become replacement characters first,
// as they would in the build log.
void standardLine(QByteArrayView line, const DiagOptions &options, Output &out)
{
    QByteArray repaired;
    if (!line.isValidUtf8()) {
        repaired = QString::fromUtf8(line).toUtf8();
        line = repaired;
    }
    DiagnosticScan<QByteArrayView> scan;
    if (scanDiagnostic(line, scan))
        writeItem(out, severityWords[int(scan.severity)], scan.path, options.base, scan.line, scan.column, scan.message);
    else if (options.all)
        writeItem(out, "plain", {}, {}, -1, -1, line);
}

void regexpLine(QByteArrayView line, RegexpDiagnosticParser &parser, const DiagOptions &options,
                Output &out)
{
    const QString text = QString::fromUtf8(line);
    Bookmark bookmark;
    if (parser.parseLine(text, bookmark, QString::fromUtf8(options.base)))
        writeItem(out, severityWords[int(bookmark.severity)], bookmark.path.toUtf8(), {}, bookmark.line,
                  bookmark.column, bookmark.message.toUtf8());
    else if (options.all)
        writeItem(out, "plain", {}, {}, -1, -1, text.toUtf8());
}

int diagCommand(const CommandArguments &arguments)
{
    DiagOptions options;
    options.all = arguments.has("--all");
    options.patterns = arguments.values("--regexp");
    options.base = arguments.value("--base").toUtf8();
    if (!arguments.operands().isEmpty())
        return arguments.usageError(QStringLiteral("unexpected argument '%1' (the output comes on standard input)")
                                        .arg(arguments.operands().first()));
    if (options.patterns.size() > RegexpDiagnosticParser::patternCount)
        return arguments.usageError(QStringLiteral("at most %1 patterns").arg(RegexpDiagnosticParser::patternCount));
    RegexpDiagnosticParser regexps(options.patterns);
    const bool useRegexps = !options.patterns.isEmpty();
    Output out;
    const auto handle = [&](QByteArrayView line) {
        if (line.endsWith('\r'))
            line.chop(1);
        if (useRegexps)
            regexpLine(line, regexps, options, out);
        else
            standardLine(line, options, out);
    };
    QByteArray buffer;
    qsizetype start = 0;   // first byte of buffer not yet handled
    for (;;) {
        if (start > 0 && start * 2 > buffer.size()) {
            buffer.remove(0, start);
            start = 0;
        }
        const qsizetype filled = buffer.size();
        buffer.resize(filled + readBlock);
        const ssize_t got = ::read(0, buffer.data() + filled, size_t(readBlock));
        if (got < 0 && errno == EINTR) {
            buffer.resize(filled);
            continue;
        }
        buffer.resize(filled + qMax<ssize_t>(got, 0));
        if (got < 0) {
            std::fprintf(stderr, "tess diag: cannot read standard input: %s\n", std::strerror(errno));
            return 1;
        }
        for (;;) {
            const void *hit = std::memchr(buffer.constData() + start, '\n', size_t(buffer.size() - start));
            if (!hit)
                break;
            const qsizetype end = static_cast<const char *>(hit) - buffer.constData();
            handle(QByteArrayView(buffer).sliced(start, end - start));
            start = end + 1;
        }
        if (buffer.size() - start > lineLimit || (got == 0 && buffer.size() > start)) {
            handle(QByteArrayView(buffer).sliced(start));
            start = buffer.size();
        }
        if (got == 0)
            break;
    }
    if (!out.flush()) {
        std::fprintf(stderr, "tess diag: cannot write standard output\n");
        return 1;
    }
    return 0;
}

constexpr TessOption diagOptions[] = {
    {"--regexp", "PATTERN", "a diagnostic pattern of the project's own (repeatable)"},
    {"--base", "DIR", "directory that relative paths are taken from"},
    {"--all", nullptr, "print the lines that are no diagnostic too, as \"plain\""},
};

constexpr TessCommand diagRows[] = {
    {"diag", "[--regexp PATTERN]... [--base DIR] [--all] < TOOL-OUTPUT",
     "turn tool output into diagnostics: severity, path, line, column, message", diagOptions,
     "gcc -c main.c 2>&1 | tess diag --base src", diagCommand},
};

} // namespace

std::span<const TessCommand> diagCommands()
{
    return diagRows;
}
