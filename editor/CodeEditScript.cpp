#include "editor/CodeEditScript.h"
#include "editor/CodeEdit.h"
#include "editor/TextCodec.h"
#include "editor/TextFileReader.h"
#include <QObject>
#include <algorithm>
#include <cctype>

namespace {

using Status = CodeEditScript::Status;
using Result = CodeEditScript::Result;

Result bad(const QString &message)
{
    return {Status::BadOp, message};
}

Result outcome(bool ok)
{
    return {ok ? Status::Ok : Status::Failed, QString()};
}

constexpr const char *endingNames[] = {"crlf", "lf", "cr", "unknown"};
constexpr const char *bomNames[] = {"none", "utf-8", "utf-16le", "utf-16be"};

// The text of a quoted argument from just after its opening quote; `i` ends after the closing one.
std::optional<QString> unquote(const QString &line, qsizetype &i, QString &error)
{
    QString text;
    while (i < line.size()) {
        const QChar c = line[i++];
        if (c == u'"')
            return text;
        if (c != u'\\') {
            text += c;
            continue;
        }
        if (i >= line.size())
            break;
        const QChar escape = line[i++];
        switch (escape.unicode()) {
        case 'n': text += u'\n'; continue;
        case 't': text += u'\t'; continue;
        case 'r': text += u'\r'; continue;
        case '\\': text += u'\\'; continue;
        case '"': text += u'"'; continue;
        case 'x':
        case 'u': {
            const int digits = escape == u'x' ? 2 : 4;
            const QStringView hex = QStringView(line).mid(i, digits);
            bool ok = hex.size() == digits && std::all_of(hex.begin(), hex.end(), [](QChar c) {
                          return c.unicode() < 128 && std::isxdigit(c.unicode());
                      });
            const ushort value = ok ? hex.toUShort(&ok, 16) : 0;
            if (!ok) {
                error = QStringLiteral("bad escape '\\%1' (it takes %2 hexadecimal digits)").arg(escape).arg(digits);
                return std::nullopt;
            }
            i += digits;
            text += QChar(value);
            continue;
        }
        default:
            error = QStringLiteral("bad escape '\\%1'").arg(escape);
            return std::nullopt;
        }
    }
    error = QStringLiteral("text without its closing quote");
    return std::nullopt;
}

// The position an operation names, 1-based "L:C".
std::optional<CodeEditBufferPosition> parsePosition(const QString &word)
{
    const qsizetype colon = word.indexOf(u':');
    if (colon < 0)
        return std::nullopt;
    bool lineOk = false;
    bool columnOk = false;
    const int line = word.left(colon).toInt(&lineOk);
    const int column = word.mid(colon + 1).toInt(&columnOk);
    if (!lineOk || !columnOk || line < 1 || column < 1 || word[0] == u'+' || word[colon + 1] == u'+')
        return std::nullopt;
    return CodeEditBufferPosition{line - 1, column - 1};
}

// LF, CR and TAB as the escapes that show them on one line.
QString visible(QString text)
{
    return text.replace(u'\n', QLatin1String("\\n")).replace(u'\r', QLatin1String("\\r")).replace(u'\t', QLatin1String("\\t"));
}

// Writes lines joined by LF as UTF-8, in pieces, so printing a large document builds no copy of it.
class PrintWriter final : public CodeEditLineWriter {
public:
    explicit PrintWriter(const std::function<void(QByteArrayView)> &output) : m_output(output) {}
    ~PrintWriter() override { m_output(m_bytes); }
    RawResult rawLines(const CodeEditLoadedText &source, const CodeEditLoadedRun &run) override
    {
        if (source.form != CodeEditLoadedText::Form::Utf8 || (run.terminator != LineEndingLf && run.terminator != LineEndingUnknown))
            return RawResult::Declined;
        separate();
        m_bytes.append(source.bytes.constData() + run.begin, run.end - run.begin);
        flushLarge();
        return RawResult::Written;
    }
    bool line(int, QStringView text) override
    {
        separate();
        m_bytes += text.toUtf8();
        flushLarge();
        return true;
    }

private:
    void separate()
    {
        if (!m_first)
            m_bytes += '\n';
        m_first = false;
    }
    void flushLarge()
    {
        if (m_bytes.size() < (1 << 20))
            return;
        m_output(m_bytes);
        m_bytes.resize(0);
    }
    const std::function<void(QByteArrayView)> &m_output;
    QByteArray m_bytes;
    bool m_first = true;
};

} // namespace

struct CodeEditScript::Parsed {
    struct Token {
        QString text;
        bool quoted;
    };
    std::vector<Token> tokens;
    size_t next = 0;

    bool atEnd() const { return next >= tokens.size(); }
    std::optional<QString> word()
    {
        if (atEnd() || tokens[next].quoted)
            return std::nullopt;
        return tokens[next++].text;
    }
    std::optional<QString> text()
    {
        if (atEnd() || !tokens[next].quoted)
            return std::nullopt;
        return tokens[next++].text;
    }
    bool optionalWord(const char *expected)
    {
        if (atEnd() || tokens[next].quoted || tokens[next].text != QLatin1String(expected))
            return false;
        ++next;
        return true;
    }
    // True when nothing is left; otherwise `error` says what was too much.
    bool finished(const QString &op, Result &error) const
    {
        if (atEnd())
            return true;
        error = bad(QStringLiteral("unexpected '%1' after %2").arg(tokens[next].text, op));
        return false;
    }
};

CodeEditScript::CodeEditScript(CodeEdit &edit, std::function<void(QByteArrayView)> output)
    : m_edit(edit), m_output(std::move(output))
{
}

void CodeEditScript::write(const QString &text)
{
    m_output(text.toUtf8());
}

Result CodeEditScript::run(const QString &line, int number)
{
    Result result = runLine(line, number);
    if (result.status == Status::BadOp)
        result.message = QStringLiteral("script line %1: %2").arg(number).arg(result.message);
    return result;
}

Result CodeEditScript::runLine(const QString &line, int number)
{
    m_lineNumber = number;
    Parsed parsed;
    qsizetype i = 0;
    while (i < line.size()) {
        if (line[i].isSpace()) {
            ++i;
            continue;
        }
        if (parsed.tokens.empty() && line[i] == u'#')
            return {};
        if (line[i] == u'"') {
            QString error;
            ++i;
            const std::optional<QString> text = unquote(line, i, error);
            if (!text)
                return bad(error);
            parsed.tokens.push_back({*text, true});
            continue;
        }
        const qsizetype start = i;
        while (i < line.size() && !line[i].isSpace() && line[i] != u'"')
            ++i;
        parsed.tokens.push_back({line.mid(start, i - start), false});
    }
    if (parsed.tokens.empty())
        return {};
    const std::optional<QString> op = parsed.word();
    if (!op)
        return bad(QStringLiteral("an operation starts with its name, not with text"));
    return execute(*op, parsed);
}

Result CodeEditScript::finish()
{
    if (m_beginLines.empty())
        return {};
    return bad(QStringLiteral("script line %1: begin without its end").arg(m_beginLines.back()));
}

// Every operation reads all its arguments before it acts, so a bad line changes nothing.
const CodeEditScript::OpRow CodeEditScript::opRows[] = {
    {"insert", &CodeEditScript::insertOp},   {"delete", &CodeEditScript::rangeOp},
    {"replace", &CodeEditScript::rangeOp},   {"type", &CodeEditScript::typeOp},
    {"caret", &CodeEditScript::caretOp},     {"select", &CodeEditScript::selectOp},
    {"begin", &CodeEditScript::beginOp},     {"end", &CodeEditScript::endOp},
    {"undo", &CodeEditScript::undoOp},       {"redo", &CodeEditScript::undoOp},
    {"undo-all", &CodeEditScript::undoOp},   {"redo-all", &CodeEditScript::undoOp},
    {"eol", &CodeEditScript::eolOp},         {"encoding", &CodeEditScript::encodingOp},
    {"save", &CodeEditScript::saveOp},       {"save-copy", &CodeEditScript::saveOp},
    {"autosave", &CodeEditScript::saveOp},   {"print", &CodeEditScript::reportOp},
    {"echo", &CodeEditScript::reportOp},     {"state", &CodeEditScript::reportOp},
    {"undo-list", &CodeEditScript::reportOp},
};

Result CodeEditScript::execute(const QString &op, Parsed &arguments)
{
    for (const OpRow &row : opRows) {
        if (op == QLatin1String(row.name))
            return (this->*row.run)(op, arguments);
    }
    return bad(QStringLiteral("unknown operation '%1'").arg(op));
}

std::optional<CodeEditBufferPosition> CodeEditScript::position(Parsed &arguments, Result &error) const
{
    const std::optional<QString> word = arguments.word();
    const std::optional<CodeEditBufferPosition> position = word ? parsePosition(*word) : std::nullopt;
    if (!position) {
        error = bad(word ? QStringLiteral("bad position '%1' (LINE:COLUMN, both from 1)").arg(*word)
                         : QStringLiteral("missing position (LINE:COLUMN)"));
        return std::nullopt;
    }
    const CodeEditBuffer &buffer = m_edit.buffer();
    const int lastLine = buffer.lineCount() - 1;
    const int length = position->line <= lastLine ? buffer.lineLength(position->line) : 0;
    if (position->line - lastLine > reach || position->column - length > reach) {
        error = bad(QStringLiteral("position %1 lies more than %2 lines or columns beyond the text").arg(*word).arg(reach));
        return std::nullopt;
    }
    return position;
}

Result CodeEditScript::insertOp(const QString &op, Parsed &arguments)
{
    Result error;
    const auto at = position(arguments, error);
    if (!at)
        return error;
    const auto text = arguments.text();
    if (!text)
        return bad(QStringLiteral("insert needs a quoted TEXT"));
    if (!arguments.finished(op, error))
        return error;
    m_edit.beginOperation(0, KindPaste);
    m_edit.setCaret(m_edit.insertText(*at, *text, true), true);
    m_edit.endOperation(0);
    return {};
}

// delete L:C L:C, replace L:C L:C TEXT: the range clamped to the text; a replacement within one
// line is one replace action, any other a deletion and an insertion.
Result CodeEditScript::rangeOp(const QString &op, Parsed &arguments)
{
    Result error;
    const auto from = position(arguments, error);
    const auto to = from ? position(arguments, error) : std::nullopt;
    if (!to)
        return error;
    const bool replacing = op == QLatin1String("replace");
    const auto text = replacing ? arguments.text() : QString();
    if (!text)
        return bad(QStringLiteral("replace needs a quoted TEXT"));
    if (!arguments.finished(op, error))
        return error;
    const CodeEditBufferPosition start = std::min(*from, *to);
    const CodeEditBufferPosition end = std::max(*from, *to);
    m_edit.beginOperation(0, replacing ? KindPaste : KindDelete);
    const QString old = m_edit.textBetween(start, end);
    if (replacing && start.line == end.line && !old.isEmpty() && !text->contains(u'\n')
        && start.column < m_edit.buffer().lineLength(start.line)) {
        m_edit.replaceText(start, int(old.size()), *text, true);
        m_edit.setCaret({start.line, start.column + int(text->size())});
    } else {
        m_edit.deleteText(start, end, true);
        m_edit.setCaret(start);
        if (replacing)
            m_edit.setCaret(m_edit.insertText(m_edit.caret(), *text, true), true);
    }
    m_edit.endOperation(0);
    return {};
}

// Each character one typed keystroke (a surrogate pair is one), "\n" a line break.
Result CodeEditScript::typeOp(const QString &op, Parsed &arguments)
{
    Result error;
    const auto text = arguments.text();
    if (!text)
        return bad(QStringLiteral("type needs a quoted TEXT"));
    if (!arguments.finished(op, error))
        return error;
    for (qsizetype i = 0; i < text->size(); ++i) {
        const bool pair = text->at(i).isHighSurrogate() && i + 1 < text->size() && text->at(i + 1).isLowSurrogate();
        if (text->at(i) == u'\n')
            m_edit.insertLineBreak();
        else
            m_edit.typeCharacter(text->mid(i, pair ? 2 : 1));
        i += pair;
    }
    return {};
}

Result CodeEditScript::caretOp(const QString &op, Parsed &arguments)
{
    Result error;
    const auto at = position(arguments, error);
    if (!at)
        return error;
    const bool keepVirtual = arguments.optionalWord("virtual");
    if (!arguments.finished(op, error))
        return error;
    m_edit.setCaret(*at, keepVirtual);
    return {};
}

Result CodeEditScript::selectOp(const QString &op, Parsed &arguments)
{
    Result error;
    if (arguments.optionalWord("none")) {
        if (!arguments.finished(op, error))
            return error;
        m_edit.clearSelection();
        return {};
    }
    const auto anchor = position(arguments, error);
    const auto end = anchor ? position(arguments, error) : std::nullopt;
    if (!end)
        return error;
    const int mode = arguments.optionalWord("block") ? SelectionBlock : SelectionStream;
    if (!arguments.finished(op, error))
        return error;
    m_edit.setSelection(*anchor, *end, mode);
    m_edit.setCaret(*end, mode == SelectionBlock);
    return {};
}

Result CodeEditScript::beginOp(const QString &op, Parsed &arguments)
{
    Result error;
    int kind = KindMacro;
    if (const std::optional<QString> word = arguments.word()) {
        bool ok = false;
        kind = word->toInt(&ok);
        if (!ok)
            return bad(QStringLiteral("bad kind '%1' (a number)").arg(*word));
    }
    if (!arguments.finished(op, error))
        return error;
    m_edit.beginOperation(0, kind);
    m_beginLines.push_back(m_lineNumber);
    return {};
}

Result CodeEditScript::endOp(const QString &op, Parsed &arguments)
{
    Result error;
    if (!arguments.finished(op, error))
        return error;
    if (m_beginLines.empty())
        return bad(QStringLiteral("end without begin"));
    m_edit.endOperation(0);
    m_beginLines.pop_back();
    return {};
}

// undo [N], redo [N]: stop quietly at the end of the list; undo-all and redo-all say how many.
Result CodeEditScript::undoOp(const QString &op, Parsed &arguments)
{
    Result error;
    const bool all = op.endsWith(QLatin1String("-all"));
    int count = 1;
    if (const std::optional<QString> word = all ? std::nullopt : arguments.word()) {
        bool ok = false;
        count = word->toInt(&ok);
        if (!ok || count < 1)
            return bad(QStringLiteral("bad count '%1'").arg(*word));
    }
    if (!arguments.finished(op, error))
        return error;
    if (m_edit.hasPendingChanges())
        return bad(QStringLiteral("%1 inside an operation that has changed the text").arg(op));
    const bool undoing = op.startsWith(QLatin1String("undo"));
    if (!all) {
        for (int i = 0; i < count && (undoing ? m_edit.undoCount() : m_edit.redoCount()) > 0; ++i)
            undoing ? m_edit.undo() : m_edit.redo();
        return {};
    }
    QString message;
    const QMetaObject::Connection connection =
        QObject::connect(&m_edit, &CodeEdit::statusMessage, [&message](const QString &text) { message = text; });
    undoing ? m_edit.undoAll() : m_edit.redoAll();
    QObject::disconnect(connection);
    write(message + u'\n');
    return {};
}

Result CodeEditScript::eolOp(const QString &op, Parsed &arguments)
{
    Result error;
    const std::optional<QString> word = arguments.word();
    int ending = -1;
    for (int i = LineEndingCrLf; i <= LineEndingCr; ++i)
        ending = word && *word == QLatin1String(endingNames[i]) ? i : ending;
    if (ending < 0)
        return bad(QStringLiteral("eol takes lf, crlf or cr"));
    if (!arguments.finished(op, error))
        return error;
    if (m_edit.lineEnding() != ending)
        m_edit.setForceModified(true);
    m_edit.setLineEnding(ending);
    return {};
}

Result CodeEditScript::encodingOp(const QString &op, Parsed &arguments)
{
    Result error;
    const std::optional<QString> name = arguments.word();
    const std::optional<TextCodec> codec = name ? TextCodec::find(*name) : std::nullopt;
    if (!codec)
        return bad(name ? QStringLiteral("unknown encoding '%1'").arg(*name) : QStringLiteral("encoding needs a NAME"));
    int bom = BomNone;
    if (arguments.optionalWord("bom")) {
        constexpr TextCodec::Kind marked[] = {TextCodec::Kind::Utf8, TextCodec::Kind::Utf16LE, TextCodec::Kind::Utf16BE};
        for (int kind = 0; kind < 3; ++kind)
            bom = codec->kind() == marked[kind] ? kind + 1 : bom;
        if (bom == BomNone)
            return bad(QStringLiteral("%1 has no byte order mark").arg(codec->name()));
    }
    if (!arguments.finished(op, error))
        return error;
    if (codec->name() != m_edit.codecName() || bom != m_edit.bomKind())
        m_edit.setForceModified(true);
    m_edit.setCodecName(codec->name());
    m_edit.setBomKind(bom);
    return {};
}

// save [PATH], save-copy PATH, autosave; without files allowed, nothing is written.
Result CodeEditScript::saveOp(const QString &op, Parsed &arguments)
{
    Result error;
    std::optional<QString> path;
    if (op != QLatin1String("autosave")) {
        path = arguments.text();
        if (!path)
            path = arguments.word();
    }
    if (op == QLatin1String("save-copy") && !path)
        return bad(QStringLiteral("save-copy needs a PATH"));
    if (!arguments.finished(op, error))
        return error;
    if (!m_filesAllowed)
        return {};
    if (op == QLatin1String("autosave"))
        return outcome(m_edit.writeRecovery());
    if (op == QLatin1String("save-copy"))
        return outcome(m_edit.saveCopyAs(Path(*path)));
    return outcome(path ? m_edit.saveAs(Path(*path)) : m_edit.save());
}

Result CodeEditScript::reportOp(const QString &op, Parsed &arguments)
{
    Result error;
    const std::optional<QString> text = op == QLatin1String("echo") ? arguments.text() : QString();
    if (!text)
        return bad(QStringLiteral("echo needs a quoted TEXT"));
    if (!arguments.finished(op, error))
        return error;
    if (op == QLatin1String("print"))
        printText();
    else if (op == QLatin1String("echo"))
        write(*text + u'\n');
    else if (op == QLatin1String("state"))
        writeState();
    else
        writeUndoList();
    return {};
}

void CodeEditScript::printText()
{
    PrintWriter writer(m_output);
    m_edit.buffer().writeLines(writer);
}

void CodeEditScript::writeState()
{
    const CodeEditBufferPosition caret = m_edit.caret();
    const int ending = std::clamp(m_edit.lineEnding(), 0, 3);
    write(QStringLiteral("modified=%1 undo=%2 redo=%3 caret=%4:%5 lines=%6 eol=%7 encoding=%8 bom=%9\n")
              .arg(QLatin1String(m_edit.isModified() ? "yes" : "no"))
              .arg(m_edit.undoCount())
              .arg(m_edit.redoCount())
              .arg(caret.line + 1)
              .arg(caret.column + 1)
              .arg(m_edit.buffer().lineCount())
              .arg(QLatin1String(endingNames[ending]), m_edit.codecName(),
                   QLatin1String(bomNames[std::clamp(m_edit.bomKind(), 0, 3)])));
}

void CodeEditScript::writeUndoList()
{
    QString text;
    const auto list = [&](const char *word, const CodeEditTransaction *transaction) {
        QStringList descriptions;
        for (const std::unique_ptr<CodeEditAction> &action : transaction->actions)
            descriptions.append(visible(action->description()));
        text += QLatin1String(word) + u' ' + transaction->label() + QStringLiteral(": ")
                + descriptions.join(QStringLiteral(" | ")) + u'\n';
    };
    for (int i = 0; i < m_edit.undoCount(); ++i)
        list("undo", m_edit.undoTransaction(i));
    for (int i = 0; i < m_edit.redoCount(); ++i)
        list("redo", m_edit.redoTransaction(i));
    write(text);
}
