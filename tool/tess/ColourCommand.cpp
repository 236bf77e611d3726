// `tess colour`: colours a file with the editor's syntax parsers and prints the marked lines as
// diffable text, terminal colours or a web page; edits through the buffer show what the rescan
// after each of them parsed.
#include "editor/CodeEdit.h"
#include "editor/CodeEditParser.h"
#include "editor/CodeEditQuestions.h"
#include "editor/CodeEditSyntax.h"
#include "tool/tess/Commands.h"
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <cstdio>

namespace {

// The document's messages go to standard error; its one question, about a recovery file, stays
// unanswered, so the file is coloured as it stands.
class CommandQuestions final : public CodeEditQuestionsInterface {
public:
    explicit CommandQuestions(const CommandArguments &arguments) : m_arguments(arguments) {}
    void tell(const QString &, const QString &, const QString &message) override { m_arguments.fail(message); }
    int ask(const QString &, const QString &, const QStringList &) override { return -1; }

private:
    const CommandArguments &m_arguments;
};

enum class Format { Marks, Ansi, Html };

// One --edit or --erase, in command-line order.
struct Change {
    CodeEditBufferPosition position;   // from 0
    QString text;                      // inserted
    qint64 erase = -1;                 // characters removed; -1 for an insertion
};

struct Options {
    Format format = Format::Marks;
    int tabSize = 4;
    bool showWhitespace = false;
    bool states = false;
    bool stats = false;
    int firstLine = 1;
    int lastLine = std::numeric_limits<int>::max();
    std::vector<Change> changes;
};

// TEXT of --edit with its escapes \n, \t, \\ and \: undone; empty when an escape is unknown.
std::optional<QString> unescape(QStringView text)
{
    QString result;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != u'\\') {
            result.append(text[i]);
            continue;
        }
        if (++i == text.size())
            return std::nullopt;
        switch (text[i].unicode()) {
        case 'n': result.append(u'\n'); break;
        case 't': result.append(u'\t'); break;
        case '\\': result.append(u'\\'); break;
        case ':': result.append(u':'); break;
        default: return std::nullopt;
        }
    }
    return result;
}

// "L:C:REST" with L and C from 1.
std::optional<Change> readChange(const QString &value, bool erase)
{
    const qsizetype first = value.indexOf(u':');
    const qsizetype second = first < 0 ? -1 : value.indexOf(u':', first + 1);
    if (second < 0)
        return std::nullopt;
    bool lineOk = false;
    bool columnOk = false;
    const int line = value.left(first).toInt(&lineOk);
    const int column = value.mid(first + 1, second - first - 1).toInt(&columnOk);
    if (!lineOk || !columnOk || line < 1 || column < 1)
        return std::nullopt;
    Change change;
    change.position = {line - 1, column - 1};
    const QStringView rest = QStringView(value).mid(second + 1);
    if (erase) {
        bool ok = false;
        change.erase = rest.toLongLong(&ok);
        if (!ok || change.erase < 0)
            return std::nullopt;
        return change;
    }
    const std::optional<QString> text = unescape(rest);
    if (!text)
        return std::nullopt;
    change.text = *text;
    return change;
}

// Empty on success, else the usage error.
QString readOptions(const CommandArguments &arguments, Options &options)
{
    const QString format = arguments.value("--format", QStringLiteral("marks"));
    if (format == QLatin1String("ansi"))
        options.format = Format::Ansi;
    else if (format == QLatin1String("html"))
        options.format = Format::Html;
    else if (format != QLatin1String("marks"))
        return QStringLiteral("--format takes marks, ansi or html, not '%1'").arg(format);
    options.showWhitespace = arguments.has("--show-whitespace");
    options.states = arguments.has("--states");
    options.stats = arguments.has("--rescan-stats");
    if (arguments.has("--lines")) {
        const QString range = arguments.value("--lines");
        const QStringList ends = range.split(u'-');
        bool firstOk = false;
        bool lastOk = ends.size() == 1 || ends[1].isEmpty();
        options.firstLine = ends[0].toInt(&firstOk);
        if (ends.size() == 1)
            options.lastLine = options.firstLine;
        else if (!ends[1].isEmpty())
            options.lastLine = ends[1].toInt(&lastOk);
        if (ends.size() > 2 || !firstOk || !lastOk || options.firstLine < 1 || options.lastLine < options.firstLine)
            return QStringLiteral("bad --lines '%1' (give A-B, from line 1)").arg(range);
    }
    for (const CommandArguments::Item &item : arguments.items()) {
        if (!item.option)
            continue;
        const bool erase = qstrcmp(item.option->name, "--erase") == 0;
        if (!erase && qstrcmp(item.option->name, "--edit") != 0)
            continue;
        const std::optional<Change> change = readChange(item.value, erase);
        if (!change) {
            return erase ? QStringLiteral("bad --erase '%1' (give L:C:N)").arg(item.value)
                         : QStringLiteral("bad --edit '%1' (give L:C:TEXT; escapes \\n \\t \\\\ \\:)").arg(item.value);
        }
        options.changes.push_back(*change);
    }
    return {};
}

// The position `count` characters after `start`, a line end counting one; nothing when the text
// ends first.
std::optional<CodeEditBufferPosition> advance(const CodeEditBuffer &buffer, CodeEditBufferPosition start, qint64 count)
{
    CodeEditBufferPosition at = start;
    while (count > 0) {
        const qint64 left = buffer.lineLength(at.line) - at.column;
        if (count <= left)
            return CodeEditBufferPosition{at.line, at.column + qint32(count)};
        if (at.line + 1 >= buffer.lineCount())
            return std::nullopt;
        count -= left + 1;
        at = {at.line + 1, 0};
    }
    return at;
}

// Applies one change; false when its position lies outside the text.
bool apply(CodeEditBuffer &buffer, const Change &change)
{
    const CodeEditBufferPosition at = change.position;
    if (at.line >= buffer.lineCount() || at.column > buffer.lineLength(at.line))
        return false;
    if (change.erase < 0) {
        buffer.insert(at, change.text);
        return true;
    }
    const std::optional<CodeEditBufferPosition> end = advance(buffer, at, change.erase);
    if (!end)
        return false;
    buffer.remove(at, *end);
    return true;
}

// ---- Output

constexpr const char *ansiColours[styleCount] = {
    nullptr, "35", "32", "1;34", "36", "34", "33", "31", "1;35", "1;36", "1;41;37", "1;43;30",
    "45;37", "1;32", "4;32", "2;32", "36", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, "35", "1;35", "1;33", "1;34",
};

constexpr const char *htmlStyle = R"(<style>
body { background: #fdfdf8; color: #1c1c1c; }
pre { font-family: monospace; }
.ts1 { color: #a0309c; } .ts2 { color: #2e7d32; font-style: italic; } .ts3 { color: #1a3fb0; font-weight: bold; }
.ts4 { color: #00796b; } .ts5 { color: #1565c0; } .ts6 { color: #9c6500; } .ts7 { color: #b71c1c; }
.ts8 { color: #6a1b9a; font-weight: bold; } .ts9 { color: #00838f; } .ts10 { background: #ffcdd2; font-weight: bold; }
.ts11 { background: #fff59d; font-weight: bold; } .ts12 { background: #e1bee7; } .ts13 { color: #2e7d32; font-weight: bold; }
.ts14 { color: #2e7d32; text-decoration: underline; } .ts15 { color: #558b2f; } .ts16 { color: #00838f; }
.ts29 { color: #a0309c; } .ts30 { color: #7b1fa2; font-weight: bold; } .ts31 { color: #e65100; } .ts32 { color: #1565c0; }
</style>
)";

void appendEscaped(QString &to, QChar c)
{
    switch (c.unicode()) {
    case '&': to += QLatin1String("&amp;"); break;
    case '<': to += QLatin1String("&lt;"); break;
    case '>': to += QLatin1String("&gt;"); break;
    default: to += c; break;
    }
}

// What stands before a run of each class: "{N}", an SGR sequence or a span's opening tag; made
// once, so a line costs no formatting of numbers.
struct RunOpeners {
    explicit RunOpeners(Format format)
    {
        for (int code = 0; code < styleCount; ++code) {
            if (format == Format::Marks) {
                opener[code] = u'{' + QString::number(code) + u'}';
            } else if (format == Format::Ansi) {
                opener[code] = QStringLiteral("\x1b[0m");
                if (ansiColours[code])
                    opener[code] += QLatin1String("\x1b[") + QLatin1String(ansiColours[code]) + u'm';
            } else if (code != 0) {
                opener[code] = QLatin1String("<span class=\"ts") + QString::number(code) + QLatin1String("\">");
            }
        }
    }
    QString opener[styleCount];
};

// One marked line in the chosen format, without its line end, appended to `to`.
void formatLine(const char16_t *marked, Format format, const RunOpeners &openers, QString &to)
{
    int shown = 0;     // the class the text written so far has
    int current = 0;   // the class of the next character
    const char16_t *run = marked;   // characters not yet copied that need no escaping
    const auto flush = [&](const char16_t *end) {
        if (end > run)
            to.append(QStringView(run, end - run));
    };
    const char16_t *p = marked;
    for (; *p; ++p) {
        const char16_t c = *p;
        if (c == markSwitch) {   // its code may be 0, which is no terminator
            flush(p);
            const char16_t code = *++p;
            run = p + 1;
            if (code < styleCount) {
                current = code;
            } else if (format == Format::Marks && (code == markMisspeltBegin || code == markMisspeltEnd)) {
                to += code == markMisspeltBegin ? QLatin1String("{~}") : QLatin1String("{/~}");
            } else if (format == Format::Ansi && (code == markMisspeltBegin || code == markMisspeltEnd)) {
                to += code == markMisspeltBegin ? QLatin1String("\x1b[4m") : QLatin1String("\x1b[24m");
            }
            continue;
        }
        if (current != shown) {
            flush(p);
            run = p;
            if (format == Format::Html && shown != 0)
                to += QLatin1String("</span>");
            to += openers.opener[current];
            shown = current;
        }
        const bool escaped = format == Format::Html ? (c == '&' || c == '<' || c == '>') : (format == Format::Marks && c == '{');
        if (escaped) {
            flush(p);
            run = p + 1;
            to += c == '&' ? QLatin1String("&amp;") : c == '<' ? QLatin1String("&lt;") : c == '>' ? QLatin1String("&gt;") : QLatin1String("{{");
        }
    }
    flush(p);
    if (format == Format::Ansi && shown != 0)
        to += QLatin1String("\x1b[0m");
    if (format == Format::Html && shown != 0)
        to += QLatin1String("</span>");
}

QString statePrefix(const CodeEditLine &line)
{
    QString state = QString::number(line.startState);
    if (!line.startStateText.isEmpty())
        state += u':' + line.startStateText;
    const char *block = "none";
    switch (line.flags & lineBlockMask) {
    case lineOpensBlock: block = "open"; break;
    case lineClosesBlock: block = "close"; break;
    case lineInsideBlock: block = "inside"; break;
    default: break;
    }
    return state + u'\t' + QString::number(line.blockDepth) + u'\t' + QLatin1String(block) + u'\t';
}

// Gathers the output as text and writes it in large UTF-8 pieces.
class Writer {
public:
    void add(const QString &text)
    {
        m_text += text;
        flushWhenFull();
    }
    // For appending in place; call flushWhenFull() after.
    QString &text() { return m_text; }
    void flushWhenFull()
    {
        if (m_text.size() > (1 << 19))
            flush();
    }
    void flush()
    {
        const QByteArray bytes = m_text.toUtf8();
        std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
        m_text.resize(0);
    }

private:
    QString m_text;
};

void writeDocument(CodeEditBuffer &buffer, const Options &options, const QString &title, Writer &writer)
{
    if (options.format == Format::Html) {
        QString head = QStringLiteral("<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n<title>");
        for (const QChar c : title)
            appendEscaped(head, c);
        writer.add(head + QLatin1String("</title>\n") + QLatin1String(htmlStyle) + QLatin1String("</head>\n<body>\n<pre>"));
    }
    int count = buffer.lineCount();
    if (count > 1 && buffer.lineLength(count - 1) == 0)
        --count;   // the empty line after the last terminator
    const int last = std::min(count, options.lastLine);
    const RunOpeners openers(options.format);
    for (int index = options.firstLine - 1; index < last; ++index) {
        const char16_t *marked = buffer.markedLine(index, options.tabSize, options.showWhitespace);
        QString &text = writer.text();
        if (options.states)
            text += statePrefix(*buffer.line(index));
        formatLine(marked, options.format, openers, text);
        text += u'\n';
        writer.flushWhenFull();
    }
    if (options.format == Format::Html)
        writer.add(QStringLiteral("</pre>\n</body>\n</html>\n"));
    writer.flush();
}

CodeEditSyntaxRegistry &registry()
{
    static CodeEditSyntaxRegistry syntaxes;
    if (syntaxes.syntaxes().empty())
        registerStandardSyntaxes(syntaxes);
    return syntaxes;
}

int listSyntaxes()
{
    Writer writer;
    for (const CodeEditSyntax &syntax : registry().syntaxes()) {
        QString title = syntax.title;
        title.remove(u'&');
        writer.add(syntax.name + u'\t' + title + u'\t' + syntax.extensions.join(u' ') + u'\n');
    }
    writer.flush();
    return exitSuccess;
}

bool loadDocument(const CommandArguments &arguments, CodeEdit &edit, const QString &file)
{
    if (file != QLatin1String("-"))
        return edit.load(Path(file));
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly)) {
        arguments.fail(QStringLiteral("can't read standard input"));
        return false;
    }
    const qint64 limit = edit.settings().maximumFileSize;
    const QByteArray bytes = input.read(limit + 1);
    if (bytes.size() > limit) {
        arguments.fail(QStringLiteral("standard input is too large to colour (more than %1 bytes)").arg(limit));
        return false;
    }
    return edit.loadBytes(bytes);
}

int colourCommand(const CommandArguments &arguments)
{
    if (arguments.has("--list")) {
        if (!arguments.operands().isEmpty())
            return arguments.usageError(QStringLiteral("--list takes no FILE"));
        return listSyntaxes();
    }
    if (arguments.operands().size() != 1)
        return arguments.usageError(QStringLiteral("give one FILE, or - for standard input"));
    Options options;
    const auto tabSize = arguments.integer("--tab-size", 1, 100, 4);
    if (!tabSize)
        return exitUsage;
    options.tabSize = int(*tabSize);
    if (const QString problem = readOptions(arguments, options); !problem.isEmpty())
        return arguments.usageError(problem);
    const QString file = arguments.operands().first();
    const CodeEditSyntax *syntax = nullptr;
    if (arguments.has("--lang")) {
        const QString lang = arguments.value("--lang");
        if (lang != QLatin1String("none")) {
            syntax = registry().byName(lang);
            if (!syntax)
                syntax = registry().byExtension(lang);
            if (!syntax)
                return arguments.usageError(QStringLiteral("unknown language '%1' (see tess colour --list)").arg(lang));
        }
    } else if (file != QLatin1String("-")) {
        syntax = registry().forFileName(file);
    }
    setCommentTagSettings(arguments.value("--fixme-tags", QLatin1String(defaultFixmeTags)),
                          arguments.value("--attention-tags", QLatin1String(defaultAttentionTags)),
                          QLatin1String(defaultLintTags));
    CommandQuestions questions(arguments);
    CodeEdit edit;
    edit.setQuestions(&questions);
    if (!loadDocument(arguments, edit, file))
        return exitFailure;
    CodeEditBuffer &buffer = edit.buffer();
    buffer.setParser(syntax ? syntax->parser : nullptr);
    buffer.rescan();
    Writer writer;
    int number = 0;
    for (const Change &change : options.changes) {
        ++number;
        if (!apply(buffer, change)) {
            return arguments.usageError(QStringLiteral("edit %1: position %2:%3 %4")
                                            .arg(number)
                                            .arg(change.position.line + 1)
                                            .arg(change.position.column + 1)
                                            .arg(change.erase < 0 ? QStringLiteral("lies outside the text")
                                                                  : QStringLiteral("or its length lies outside the text")));
        }
        QElapsedTimer timer;
        timer.start();
        const int parsed = buffer.rescan();
        buffer.markedLine(std::min(change.position.line, buffer.lineCount() - 1), options.tabSize,
                          options.showWhitespace);
        const double milliseconds = double(timer.nsecsElapsed()) / 1e6;
        if (options.stats) {
            writer.add(QStringLiteral("edit %1: rescanned %2 of %3 lines in %4 ms\n")
                           .arg(number)
                           .arg(parsed)
                           .arg(buffer.lineCount())
                           .arg(milliseconds, 0, 'f', 3));
        }
    }
    writeDocument(buffer, options, file == QLatin1String("-") ? QStringLiteral("standard input") : QFileInfo(file).fileName(),
                  writer);
    return exitSuccess;
}

constexpr TessOption colourOptions[] = {
    {"--lang", "NAME|EXT|none", "colour as this syntax (a name of --list or an extension); none: plain"},
    {"--format", "marks|ansi|html", "marks: {N} before each change of class (default); ansi: terminal colours; html: a web page"},
    {"--tab-size", "N", "columns between tab stops (default 4)"},
    {"--show-whitespace", nullptr, "show tabs and spaces as visible characters"},
    {"--lines", "A-B", "print only lines A to B (from 1)"},
    {"--states", nullptr, "start each line with its start state, block depth and block class"},
    {"--fixme-tags", "LIST", "';'-separated comment tags of the FIXME class (default FIXME;TODO;XXX;BUG)"},
    {"--attention-tags", "LIST", "';'-separated comment tags of the ATTENTION class (default ATTENTION;NOTE;WARNING)"},
    {"--edit", "L:C:TEXT", "after colouring, insert TEXT at line L, column C (escapes \\n \\t \\\\ \\:); repeatable"},
    {"--erase", "L:C:N", "after colouring, remove N characters from line L, column C (a line end counts one); repeatable"},
    {"--rescan-stats", nullptr, "print how many lines each edit made the rescan parse, and the time"},
    {"--list", nullptr, "list the syntaxes: NAME, title and extensions"},
};

constexpr TessCommand colourRows[] = {
    {"colour",
     "FILE|- [--lang NAME|EXT|none] [--format marks|ansi|html] [--tab-size N] [--show-whitespace] "
     "[--lines A-B] [--states] [--fixme-tags L] [--attention-tags L] [--edit L:C:TEXT]... "
     "[--erase L:C:N]... [--rescan-stats] | --list",
     "colour a source file with the editor's syntax parsers",
     colourOptions,
     "tess colour main.c --format ansi", colourCommand},
};

} // namespace

std::span<const TessCommand> colourCommands()
{
    return colourRows;
}
