// `tess clang`: the code intelligence from the command line, through the same interface the
// editor uses: completion, definitions, references, symbols, skipped ranges and evaluation at a
// position, one request per run or many in one `batch` against one indexer.
#include "clang/ClangArguments.h"
#include "clang/ClangInterface.h"
#include "clang/ClangServer.h"
#include "clang/LibClang.h"
#include "foundation/HException.h"
#include "projects/SolutionSession.h"
#include "projects/StandardProjectSystem.h"
#include "tool/tess/Commands.h"
#include "tool/tess/ProjectCommandSupport.h"
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <cstdio>
#include <map>
#include <memory>
#include <time.h>

namespace {

// Larger unsaved buffers are refused before they are read.
constexpr qint64 maxUnsavedSize = qint64(1) << 30;
constexpr int defaultTimeoutSeconds = 60;

enum class Op { Complete, Definition, Refs, Symbols, Skipped, Eval };

struct OpInfo {
    const char *word;
    bool positional; // takes LINE and COL
};
constexpr OpInfo opInfo[] = {
    {"complete", true}, {"definition", true}, {"refs", true},
    {"symbols", false}, {"skipped", false},   {"eval", true},
};
static_assert(std::size(opInfo) == std::size_t(Op::Eval) + 1);

std::optional<Op> opNamed(const QString &word)
{
    for (std::size_t i = 0; i < std::size(opInfo); ++i) {
        if (word == QLatin1String(opInfo[i].word))
            return Op(i);
    }
    return std::nullopt;
}

struct Request {
    Op op = Op::Complete;
    QString path; // absolute
    int line = 0;
    int column = 0;
};

void writeBytes(FILE *to, const QByteArray &bytes)
{
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), to);
    std::fflush(to);
}

QString absolutePath(const QString &path, const QString &directory = QDir::currentPath())
{
    return QDir::cleanPath(QDir(directory).absoluteFilePath(path));
}

// A whole number of at least 1, or nothing.
std::optional<int> positiveNumber(const QString &text)
{
    bool ok = false;
    const int value = text.toInt(&ok);
    return ok && value >= 1 ? std::optional<int>(value) : std::nullopt;
}

// The options all forms share, read once.
struct Options {
    QString solution;
    QString configuration;
    QString project;
    QStringList compilerArguments; // after "--"
    QStringList unsaved;           // PATH=TEXTFILE
    ClangSettings settings;
};

QString libraryPath(const CommandArguments &arguments)
{
    if (arguments.has("--libclang"))
        return arguments.value("--libclang");
    if (qEnvironmentVariableIsSet("TESS_LIBCLANG"))
        return qEnvironmentVariable("TESS_LIBCLANG");
    return QLatin1String(LibClang::defaultLibrary);
}

// Reads the options; an empty text on success, else the usage error.
QString readOptions(const CommandArguments &arguments, qsizetype fileOperands, Options &options)
{
    const qsizetype before = arguments.operandsBeforeDashes();
    if (before > fileOperands)
        return QStringLiteral("unexpected argument '%1' (compiler arguments go after --)")
            .arg(arguments.operands().at(fileOperands));
    options.compilerArguments = arguments.operands().mid(before);
    options.solution = arguments.value("--solution");
    options.configuration = arguments.value("--config");
    options.project = arguments.value("--project");
    if (!options.solution.isEmpty() && options.configuration.isEmpty())
        return QStringLiteral("--solution needs --config NAME");
    if (options.solution.isEmpty() && (arguments.has("--config") || arguments.has("--project")))
        return QStringLiteral("--config and --project need --solution FILE");
    options.unsaved = arguments.values("--unsaved");
    for (const QString &entry : std::as_const(options.unsaved)) {
        if (entry.indexOf(u'=') <= 0 || entry.endsWith(u'='))
            return QStringLiteral("bad --unsaved '%1' (PATH=TEXTFILE)").arg(entry);
    }
    bool ok = true;
    const int timeout =
        arguments.value("--timeout", QString::number(defaultTimeoutSeconds)).toInt(&ok);
    if (!ok || timeout < 1)
        return QStringLiteral("bad --timeout '%1' (seconds, at least 1)")
            .arg(arguments.value("--timeout"));
    ClangSettings &settings = options.settings;
    settings.timeoutSeconds = timeout;
    settings.separateProcess = !arguments.has("--in-process");
    settings.libraryPath = libraryPath(arguments);
    if (arguments.has("--trace"))
        settings.trace = [](const QString &text) { writeBytes(stderr, text.toUtf8()); };
    const QByteArray name = arguments.command().name;
    settings.notice = [name](const QString &text) {
        writeBytes(stderr, "tess " + name + ": " + text.toUtf8() + '\n');
    };
    return {};
}

// Calls `collect` until it has the result, as the editor's timer does.
template <typename Collect> void waitFor(Collect &&collect)
{
    const timespec tick{0, 1000000L};
    while (!collect())
        ::nanosleep(&tick, nullptr);
}

// One interface to the code intelligence, the solution the arguments come from, and the
// buffers that differ from their files.
class ClangSession {
public:
    ClangSession(const CommandArguments &arguments, Options options)
        : m_arguments(arguments), m_options(std::move(options))
    {}

    // Reads the buffers and the solution and makes the interface; the exit status to end with
    // when that fails (the message printed), else exitSuccess.
    int open();
    // Answers one request into `out`; false, with the message printed, when it failed or
    // nothing is at the position.
    bool answer(const Request &request, QByteArray &out);
    // Replaces line `line` of the file's buffer (one past the last adds a line).
    bool edit(const QString &path, int line, const QByteArray &text, QString *error);
    void killIndexer();
    // A FILE operand must be readable, or be one of the buffers.
    [[nodiscard]] bool readable(const QString &path, QString *error) const;

private:
    bool unitFor(const QString &path, ClangUnit &unit, QString &directory);
    bool fail(const QString &message) const
    {
        m_arguments.fail(message);
        return false;
    }

    const CommandArguments &m_arguments;
    Options m_options;
    std::unique_ptr<SolutionSession> m_projects;
    std::map<QString, QByteArray> m_buffers; // by absolute path
    std::unique_ptr<ClangInterface> m_clang;
};

int ClangSession::open()
{
    for (const QString &entry : std::as_const(m_options.unsaved)) {
        const qsizetype equals = entry.indexOf(u'=');
        const QString textFile = entry.mid(equals + 1);
        QFile file(textFile);
        if (!file.open(QIODevice::ReadOnly))
            return m_arguments.usageError(
                QStringLiteral("cannot read %1: %2").arg(textFile, file.errorString()));
        if (file.size() > maxUnsavedSize)
            return m_arguments.fail(
                QStringLiteral("%1 is too large (%2 bytes)").arg(textFile).arg(file.size()));
        m_buffers[absolutePath(entry.left(equals))] = file.readAll();
    }
    if (!m_options.solution.isEmpty()) {
        m_projects = std::make_unique<SolutionSession>();
        if (!loadForCommand(*m_projects, m_options.solution))
            return exitFailure;
    }
    try {
        m_clang = createClangInterface(m_options.settings);
    } catch (const HException &error) {
        return m_arguments.fail(error.message());
    }
    if (!m_clang)
        return m_arguments.fail(QStringLiteral("no code intelligence: the libclang path is empty"));
    return exitSuccess;
}

bool ClangSession::readable(const QString &path, QString *error) const
{
    if (m_buffers.count(path))
        return true;
    const QFileInfo info(path);
    if (!info.exists())
        *error = QStringLiteral("no such file: %1").arg(path);
    else if (!info.isFile() || !info.isReadable())
        *error = QStringLiteral("cannot read %1").arg(path);
    return error->isEmpty();
}

bool ClangSession::unitFor(const QString &path, ClangUnit &unit, QString &directory)
{
    unit.mainPath = path;
    directory = QDir::currentPath();
    if (m_projects) {
        const StandardProjectSystem &system = m_projects->system();
        const ProjectElement *file = findFileElement(system, path, m_options.project);
        if (!file)
            return fail(QStringLiteral("%1 is not a file of %2").arg(path, m_options.solution));
        directory = clangWorkingDirectory(system, file, m_options.configuration);
        unit.arguments = clangArguments(system, file, m_options.configuration);
    }
    // Relative paths among the arguments mean what they mean to the compiler run there.
    unit.arguments.prepend(QStringLiteral("-working-directory=") + directory);
    unit.arguments += m_options.compilerArguments;
    for (const auto &[name, contents] : m_buffers)
        unit.unsaved.push_back({name, contents});
    return true;
}

bool ClangSession::answer(const Request &request, QByteArray &out)
{
    ClangUnit unit;
    QString directory;
    if (!unitFor(request.path, unit, directory))
        return false;
    const QString where =
        QStringLiteral("%1:%2:%3").arg(request.path).arg(request.line).arg(request.column);
    const auto place = [&](const QString &path, int line, int column) {
        return absolutePath(path, directory).toUtf8() + ':' + QByteArray::number(line) + ':'
               + QByteArray::number(column);
    };
    ClangInterface &clang = *m_clang;
    try {
        switch (request.op) {
        case Op::Complete: {
            std::vector<ClangCompletion> completions;
            clang.startCompletion(unit.mainPath, request.line, request.column, unit.unsaved,
                                  unit.arguments, ClangCompletionFlag::includeMacros, {}, true,
                                  &completions);
            waitFor([&] { return clang.collectCompletion(); });
            for (const ClangCompletion &completion : completions)
                out += completion.typedText.toUtf8() + '\t' + completion.kindSpelling.toUtf8()
                       + '\t' + completion.text.toUtf8() + '\n';
            return !completions.empty() || fail(QStringLiteral("no completion at %1").arg(where));
        }
        case Op::Definition: {
            std::vector<ClangSymbol> symbols;
            clang.startCursorReferenced(unit, ClangParse::detailed, request.line, request.column,
                                        &symbols);
            waitFor([&] { return clang.collectCursorReferenced(); });
            for (const ClangSymbol &symbol : symbols)
                out += place(symbol.path, symbol.line, symbol.column) + '\t'
                       + symbol.kindSpelling.toUtf8() + '\t' + symbol.name.toUtf8() + '\n';
            return !symbols.empty() || fail(QStringLiteral("nothing at %1").arg(where));
        }
        case Op::Refs: {
            std::vector<ClangLocation> locations;
            clang.startReferences(unit, ClangParse::detailed, request.line, request.column,
                                  &locations);
            waitFor([&] { return clang.collectReferences(); });
            for (const ClangLocation &location : locations)
                out += place(request.path, location.line, location.column) + '\n';
            return !locations.empty() || fail(QStringLiteral("nothing at %1").arg(where));
        }
        case Op::Symbols: {
            std::vector<ClangSymbol> symbols;
            clang.startIndex(unit, ClangParse::detailedSkipBodies, &symbols);
            waitFor([&] { return clang.collectIndex(); });
            for (const ClangSymbol &symbol : symbols)
                out += QByteArray::number(symbol.line) + ':' + QByteArray::number(symbol.column)
                       + '\t' + symbol.kindSpelling.toUtf8() + '\t' + symbol.name.toUtf8() + '\n';
            return true;
        }
        case Op::Skipped: {
            std::vector<ClangRange> ranges;
            clang.startRanges(unit, ClangParse::detailed, &ranges);
            waitFor([&] { return clang.collectRanges(); });
            for (const ClangRange &range : ranges)
                out +=
                    QByteArray::number(range.first) + '-' + QByteArray::number(range.last) + '\n';
            return true;
        }
        case Op::Eval: {
            QString value;
            clang.startCursorEvaluate(unit, ClangParse::detailed, request.line, request.column,
                                      &value);
            waitFor([&] { return clang.collectCursorEvaluate(); });
            if (value.isNull())
                return fail(QStringLiteral("nothing to evaluate at %1").arg(where));
            out += value.toUtf8() + '\n';
            return true;
        }
        }
    } catch (const HException &error) {
        return fail(error.message());
    }
    return false;
}

bool ClangSession::edit(const QString &path, int line, const QByteArray &text, QString *error)
{
    auto buffer = m_buffers.find(path);
    if (buffer == m_buffers.end()) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly) || file.size() > maxUnsavedSize) {
            *error = QStringLiteral("cannot read %1: %2").arg(path, file.errorString());
            return false;
        }
        buffer = m_buffers.emplace(path, file.readAll()).first;
    }
    QByteArray &bytes = buffer->second;
    qsizetype start = 0;
    for (int i = 1; i < line && start >= 0; ++i) {
        const qsizetype end = bytes.indexOf('\n', start);
        start = end < 0 ? -1 : end + 1;
    }
    if (start < 0) {
        *error = QStringLiteral("%1 has no line %2").arg(path).arg(line);
        return false;
    }
    const qsizetype end = bytes.indexOf('\n', start);
    if (end < 0)
        bytes.replace(start, bytes.size() - start, text + (start == bytes.size() ? "\n" : ""));
    else
        bytes.replace(start, end - start, text);
    return true;
}

void ClangSession::killIndexer()
{
    if (auto *server = dynamic_cast<ClangServer *>(m_clang.get()))
        server->killIndexer();
}

int runOp(const CommandArguments &arguments, Op op)
{
    const bool positional = opInfo[int(op)].positional;
    const qsizetype fileOperands = positional ? 3 : 1;
    Options options;
    if (const QString problem = readOptions(arguments, fileOperands, options); !problem.isEmpty())
        return arguments.usageError(problem);
    const QStringList &operands = arguments.operands();
    if (arguments.operandsBeforeDashes() < fileOperands)
        return arguments.usageError(positional ? QStringLiteral("give FILE LINE COL")
                                               : QStringLiteral("give FILE"));
    Request request{op, absolutePath(operands.at(0)), 0, 0};
    if (positional) {
        const std::optional<int> line = positiveNumber(operands.at(1));
        const std::optional<int> column = positiveNumber(operands.at(2));
        if (!line || !column)
            return arguments.usageError(QStringLiteral("bad position '%1 %2' (LINE and COL from 1)")
                                            .arg(operands.at(1), operands.at(2)));
        request.line = *line;
        request.column = *column;
    }
    ClangSession session(arguments, std::move(options));
    QString error;
    if (!session.readable(request.path, &error))
        return arguments.usageError(error);
    if (const int status = session.open(); status != exitSuccess)
        return status;
    QByteArray out;
    const bool answered = session.answer(request, out);
    writeBytes(stdout, out);
    return answered ? exitSuccess : exitFailure;
}

// One line of a batch script; false, with `error` set, for a line that is not one.
bool runBatchLine(ClangSession &session, const QString &line, QString *error, bool *failed)
{
    static const QRegularExpression editLine(
        QStringLiteral("^\\s*edit\\s+(\\S+)\\s+(\\S+)(?: (.*))?$"));
    const QStringList words =
        line.split(QRegularExpression(QStringLiteral("\\s+")), Qt::SkipEmptyParts);
    if (words.first() == QLatin1String("kill-indexer") && words.size() == 1) {
        session.killIndexer();
        return true;
    }
    if (words.first() == QLatin1String("edit")) {
        const QRegularExpressionMatch match = editLine.match(line);
        const std::optional<int> number =
            match.hasMatch() ? positiveNumber(match.captured(2)) : std::nullopt;
        if (!number) {
            *error = QStringLiteral("give edit FILE LINE TEXT");
            return false;
        }
        if (!session.edit(absolutePath(match.captured(1)), *number, match.captured(3).toUtf8(),
                          error))
            *failed = true;
        return true;
    }
    const std::optional<Op> op = opNamed(words.first());
    if (!op) {
        *error = QStringLiteral("unknown request '%1'").arg(words.first());
        return false;
    }
    const bool positional = opInfo[int(*op)].positional;
    Request request{*op, absolutePath(words.value(1)), 0, 0};
    if (words.size() != (positional ? 4 : 2)) {
        *error = positional ? QStringLiteral("give %1 FILE LINE COL").arg(words.first())
                            : QStringLiteral("give %1 FILE").arg(words.first());
        return false;
    }
    if (positional) {
        const std::optional<int> number = positiveNumber(words.at(2));
        const std::optional<int> column = positiveNumber(words.at(3));
        if (!number || !column) {
            *error = QStringLiteral("bad position '%1 %2'").arg(words.at(2), words.at(3));
            return false;
        }
        request.line = *number;
        request.column = *column;
    }
    QByteArray out;
    QString unreadable;
    if (!session.readable(request.path, &unreadable)) {
        *error = unreadable;
        return false;
    }
    if (!session.answer(request, out))
        *failed = true;
    writeBytes(stdout, out + '\n');
    return true;
}

int batch(const CommandArguments &arguments)
{
    Options options;
    if (const QString problem = readOptions(arguments, 0, options); !problem.isEmpty())
        return arguments.usageError(problem);
    ClangSession session(arguments, std::move(options));
    if (const int status = session.open(); status != exitSuccess)
        return status;
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly))
        return arguments.fail(QStringLiteral("cannot read standard input"));
    bool failed = false;
    for (int number = 1;; ++number) {
        const QByteArray bytes = input.readLine();
        if (bytes.isEmpty())
            break;
        const QString line = QString::fromUtf8(bytes).chopped(bytes.endsWith('\n') ? 1 : 0);
        if (line.trimmed().isEmpty() || line.trimmed().startsWith(u'#'))
            continue;
        QString error;
        if (!runBatchLine(session, line, &error, &failed)) {
            arguments.fail(QStringLiteral("line %1: %2").arg(number).arg(error));
            writeBytes(stdout, "\n");
            failed = true;
        } else if (!error.isEmpty()) {
            arguments.fail(QStringLiteral("line %1: %2").arg(number).arg(error));
        }
    }
    return failed ? exitFailure : exitSuccess;
}

int complete(const CommandArguments &arguments)
{
    return runOp(arguments, Op::Complete);
}
int definition(const CommandArguments &arguments)
{
    return runOp(arguments, Op::Definition);
}
int refs(const CommandArguments &arguments)
{
    return runOp(arguments, Op::Refs);
}
int symbols(const CommandArguments &arguments)
{
    return runOp(arguments, Op::Symbols);
}
int skipped(const CommandArguments &arguments)
{
    return runOp(arguments, Op::Skipped);
}
int eval(const CommandArguments &arguments)
{
    return runOp(arguments, Op::Eval);
}

constexpr TessOption clangOptions[] = {
    {"--solution", "FILE", "take FILE's compiler arguments from this solution's properties"},
    {"--config", "NAME", "the configuration whose properties count (with --solution)"},
    {"--project", "NAME", "look for FILE in this project only (with --solution)"},
    {"--unsaved", "PATH=TEXTFILE",
     "PATH reads as TEXTFILE's text, as an unsaved editor (repeatable)"},
    {"--in-process", nullptr, "run libclang in this process instead of the indexer"},
    {"--libclang", "PATH", "the libclang library (default $TESS_LIBCLANG, else libclang-14.so.1)"},
    {"--timeout", "S", "kill an indexer that has not answered in S seconds (default 60)"},
    {"--trace", nullptr, "show the indexer link's state complaints on standard error"},
};

constexpr const char *positionSynopsis = "FILE LINE COL [options] [-- COMPILER_ARGS]";
constexpr const char *fileSynopsis = "FILE [options] [-- COMPILER_ARGS]";

constexpr TessCommand clangRows[] = {
    {"clang complete", positionSynopsis,
     "completion candidates at a position: TYPED<TAB>KIND<TAB>TEXT", clangOptions,
     "tess clang complete src/main.c 12 9 -- -Iinclude -DDEBUG", complete},
    {"clang definition", positionSynopsis,
     "where what is referenced at a position is defined: PATH:LINE:COL<TAB>KIND<TAB>NAME",
     clangOptions,
     "tess clang definition src/main.c 12 5 --solution Blinky.qvProject --config Debug",
     definition},
    {"clang refs", positionSynopsis,
     "every reference in FILE to what is referenced at a position: PATH:LINE:COL", clangOptions,
     "tess clang refs src/main.c 12 5", refs},
    {"clang symbols", fileSynopsis, "the declarations of FILE: LINE:COL<TAB>KIND<TAB>NAME",
     clangOptions, "tess clang symbols src/main.c -- -Iinclude", symbols},
    {"clang skipped", fileSynopsis, "the line ranges the preprocessor skips in FILE: FIRST-LAST",
     clangOptions, "tess clang skipped src/main.c -- -DDEBUG", skipped},
    {"clang eval", positionSynopsis, "the value of the expression or constant at a position",
     clangOptions, "tess clang eval src/main.c 3 11", eval},
    {"clang batch", "[options] [-- COMPILER_ARGS] < SCRIPT",
     "many requests on one indexer: OP FILE [LINE COL], edit FILE LINE TEXT, kill-indexer",
     clangOptions, "printf 'edit a.c 5 p->\\ncomplete a.c 5 8\\n' | tess clang batch", batch},
};

} // namespace

std::span<const TessCommand> clangCommands()
{
    return clangRows;
}
