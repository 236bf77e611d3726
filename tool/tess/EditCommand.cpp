// `tess edit`: loads a file into the editor's document model, runs an edit script on it through
// the same operations and undo lists the views use, and writes the result only when told to.
#include "editor/CodeEdit.h"
#include "editor/CodeEditQuestions.h"
#include "editor/CodeEditScript.h"
#include "editor/TextCodec.h"
#include "tool/tess/Commands.h"
#include <QFile>
#include <QFileInfo>
#include <cstdio>

namespace {

constexpr const char *recoveryAnswers[] = {"recover", "discard", "ignore"};
constexpr const char *endingNames[] = {"crlf", "lf", "cr"};

void writeError(const QString &text)
{
    std::fflush(stdout);
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
}

// Messages go to standard error; the one question the command meets, about a recovery file, is
// answered from --recovery.
class CommandQuestions final : public CodeEditQuestionsInterface {
public:
    explicit CommandQuestions(int recoveryAnswer) : m_recoveryAnswer(recoveryAnswer) {}
    void tell(const QString &, const QString &, const QString &message) override
    {
        writeError(QStringLiteral("tess edit: %1\n").arg(message));
    }
    int ask(const QString &title, const QString &question, const QStringList &) override
    {
        if (title != QLatin1String("Recover File"))
            return -1;
        if (m_recoveryAnswer < 0) {
            writeError(QStringLiteral("tess edit: %1\n(left alone: give --recovery recover or --recovery discard)\n")
                           .arg(question.section(u'\n', 0, 0)));
        }
        return m_recoveryAnswer;
    }

private:
    int m_recoveryAnswer;
};

struct Options {
    CodeEditSettings settings;
    QString codec;
    int recoveryAnswer = -1;
};

// Index of `value` in `names`, or -1.
template <size_t N>
int indexOf(const char *const (&names)[N], const QString &value)
{
    for (size_t i = 0; i < N; ++i) {
        if (value == QLatin1String(names[i]))
            return int(i);
    }
    return -1;
}

// Empty on success, else the usage error.
QString checkOptions(const CommandArguments &arguments, Options &options)
{
    if (arguments.operands().size() != 1)
        return QStringLiteral("give one FILE");
    CodeEditSettings &settings = options.settings;
    settings.editReadOnly = true;
    settings.deleteTrailingSpaceOnSave = arguments.has("--delete-trailing-space");
    if (arguments.has("--cleanup-tabs")) {
        constexpr const char *cleanups[] = {"none", "untabify", "tabify"};
        settings.cleanupTabsOnSave = indexOf(cleanups, arguments.value("--cleanup-tabs"));
        if (settings.cleanupTabsOnSave < 0)
            return QStringLiteral("--cleanup-tabs takes none, untabify or tabify");
    }
    if (arguments.has("--default-eol")) {
        settings.defaultLineEnding = indexOf(endingNames, arguments.value("--default-eol"));
        if (settings.defaultLineEnding < 0)
            return QStringLiteral("--default-eol takes lf, crlf or cr");
    }
    for (const char *name : {"--codec", "--default-codec"}) {
        const QString value = arguments.value(name);
        if (!value.isEmpty() && value != QLatin1String("Default") && !TextCodec::find(value))
            return QStringLiteral("unknown encoding '%1' for %2").arg(value, QLatin1String(name));
    }
    options.codec = arguments.value("--codec");
    if (arguments.has("--default-codec"))
        settings.defaultCodec = arguments.value("--default-codec");
    if (arguments.has("--recovery")) {
        options.recoveryAnswer = indexOf(recoveryAnswers, arguments.value("--recovery"));
        if (options.recoveryAnswer < 0)
            return QStringLiteral("--recovery takes ignore, recover or discard");
        if (options.recoveryAnswer == 2)
            options.recoveryAnswer = -1;
    }
    return {};
}

// exitSuccess, or exitUsage after the usage error was printed.
int readOptions(const CommandArguments &arguments, Options &options)
{
    CodeEditSettings &settings = options.settings;
    const auto undoMode = arguments.integer("--undo-mode", 0, 2, settings.undoMode);
    const auto tabSize = arguments.integer("--tab-size", 1, 1000, settings.tabSize);
    const auto maxSize = arguments.integer("--max-size", 0, std::numeric_limits<qint64>::max(),
                                           settings.maximumFileSize);
    if (!undoMode || !tabSize || !maxSize)
        return exitUsage;
    settings.undoMode = int(*undoMode);
    settings.tabSize = int(*tabSize);
    settings.maximumFileSize = *maxSize;
    if (const QString problem = checkOptions(arguments, options); !problem.isEmpty())
        return arguments.usageError(problem);
    return exitSuccess;
}

void writeOutput(QByteArrayView bytes)
{
    std::fwrite(bytes.data(), 1, size_t(bytes.size()), stdout);
}

// Runs one script line; the exit status when the command must stop, else nothing.
std::optional<int> step(CodeEditScript &script, const QString &line, int number)
{
    const CodeEditScript::Result result = script.run(line, number);
    std::fflush(stdout);
    if (result.status == CodeEditScript::Status::BadOp) {
        writeError(QStringLiteral("tess edit: %1\n").arg(result.message));
        return exitUsage;
    }
    if (result.status == CodeEditScript::Status::Failed)
        return exitFailure;
    return std::nullopt;
}

// The lines of --script, each run as it arrives; the exit status when the command must stop.
std::optional<int> runScriptFile(CodeEditScript &script, const QString &path, int &number)
{
    QFile file;
    const bool opened = path == QLatin1String("-") ? file.open(stdin, QIODevice::ReadOnly)
                                                  : (file.setFileName(path), file.open(QIODevice::ReadOnly));
    if (!opened) {
        writeError(QStringLiteral("tess edit: can't read script %1 (%2)\n").arg(path, file.errorString()));
        return exitFailure;
    }
    for (;;) {
        QByteArray line = file.readLine();
        if (line.isEmpty())
            return std::nullopt;
        if (line.endsWith('\n'))
            line.chop(1);
        if (line.endsWith('\r'))
            line.chop(1);
        if (const std::optional<int> status = step(script, QString::fromUtf8(line), ++number))
            return status;
    }
}

int editCommand(const CommandArguments &arguments)
{
    Options options;
    if (readOptions(arguments, options) != exitSuccess)
        return exitUsage;
    CommandQuestions questions(options.recoveryAnswer);
    CodeEdit edit;
    edit.setSettings(options.settings);
    edit.setQuestions(&questions);
    edit.setVisibleLines(CodeEditScript::reach + 2);
    if (!options.codec.isEmpty())
        edit.setCodecName(options.codec);
    const QString file = arguments.operands().first();
    const bool loaded = arguments.has("--new") && !QFileInfo::exists(file) ? edit.newDocument(Path(file))
                                                                           : edit.load(Path(file));
    if (!loaded)
        return exitFailure;
    CodeEditScript script(edit, writeOutput);
    int number = 0;
    if (arguments.has("--script")) {
        if (const std::optional<int> status = runScriptFile(script, arguments.value("--script"), number))
            return *status;
    }
    for (const QString &op : arguments.values("--eval")) {
        if (const std::optional<int> status = step(script, op, ++number))
            return *status;
    }
    if (const CodeEditScript::Result end = script.finish(); end.status != CodeEditScript::Status::Ok) {
        writeError(QStringLiteral("tess edit: %1\n").arg(end.message));
        return exitUsage;
    }
    if (arguments.has("--output") && !edit.saveAs(Path(arguments.value("--output"))))
        return exitFailure;
    return exitSuccess;
}

constexpr TessOption editOptions[] = {
    {"--eval", "OP",
     "run OP after the script (repeatable): insert L:C TEXT, delete L:C L:C, replace L:C L:C TEXT, "
     "type TEXT, caret L:C [virtual], select L:C L:C [block] | none, begin [KIND], end, undo [N], "
     "redo [N], undo-all, redo-all, eol lf|crlf|cr, encoding NAME [bom], save [PATH], "
     "save-copy PATH, autosave, print, echo TEXT, state, undo-list; TEXT is double-quoted",
     "-e"},
    {"--script", "FILE", "run the operations of FILE, one a line; - is standard input"},
    {"--output", "OUT", "at the end, save the document to OUT", "-o"},
    {"--new", nullptr, "a missing FILE starts as an empty document"},
    {"--codec", "NAME", "read and write FILE in encoding NAME instead of detecting it"},
    {"--default-codec", "NAME", "encoding of files that are not UTF-8 (default ISO-8859-1)"},
    {"--default-eol", "lf|crlf|cr", "line ending of files without one, or with mixed ones (default lf)"},
    {"--undo-mode", "0|1|2", "typing merges into undo steps: 0 never, 1 by word (default), 2 always"},
    {"--tab-size", "N", "columns between tab stops (default 4)"},
    {"--max-size", "BYTES", "refuse larger files (default 1073741824)"},
    {"--recovery", "ignore|recover|discard", "what to do with an unsaved version from another session"},
    {"--delete-trailing-space", nullptr, "delete trailing white space when saving"},
    {"--cleanup-tabs", "none|untabify|tabify", "rewrite leading white space when saving"},
};

constexpr TessCommand editRows[] = {
    {"edit",
     "FILE [-e OP]... [--script FILE|-] [-o OUT] [--new] [--codec NAME] [--default-codec NAME] "
     "[--default-eol lf|crlf|cr] [--undo-mode 0|1|2] [--tab-size N] [--max-size BYTES] "
     "[--recovery ignore|recover|discard] [--delete-trailing-space] [--cleanup-tabs none|untabify|tabify]",
     "edit a text file with the editor's undoable operations; write it only when told",
     editOptions,
     "tess edit main.c -e 'insert 1:1 \"// checked\\n\"' -e undo-list -o main-new.c", editCommand},
};

} // namespace

std::span<const TessCommand> editCommands()
{
    return editRows;
}
