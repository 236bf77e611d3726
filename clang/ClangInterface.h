#pragma once
#include <QByteArray>
#include <QString>
#include <QStringList>
#include <array>
#include <functional>
#include <memory>
#include <vector>

// An editor buffer that differs from its file on disk: libclang reads `contents` instead.
struct ClangUnsavedFile {
    QString name; // absolute path, as the compiler names the file
    QByteArray contents;
};

// What a translation unit is made of. `sourcePath` is the file whose positions a request
// names, when that is not the main file (a header open in the editor); empty otherwise.
struct ClangUnit {
    QString mainPath;
    QStringList arguments; // compiler arguments, without the main file
    std::vector<ClangUnsavedFile> unsaved;
    QString sourcePath;
};

// One completion candidate.
struct ClangCompletion {
    int priority = 0; // smaller is likelier
    int kind = 0;     // the cursor kind of the candidate
    int availability = 0;
    QString typedText;    // what the user types
    QString kindSpelling; // "FieldDecl"
    QString text;         // the whole candidate with its result type: "int count"
};

// One range of lines of a file, first and last from 1, with the file's path.
struct ClangRange {
    int first = 0;
    int last = 0;
    QString text;
};

// A declaration: a symbol of an index, or the entity a cursor refers to.
struct ClangSymbol {
    int line = 0;   // from 1
    int column = 0; // from 1, in bytes
    int kind = 0;   // the cursor kind
    bool definition = false;
    QString path;
    QString kindSpelling;
    QString name;
    QString usr; // unique across translation units
};

// A place in a file, line and column from 1 (the column in bytes).
struct ClangLocation {
    int line = 0;
    int column = 0;
    friend bool operator==(const ClangLocation &, const ClangLocation &) = default;
};

// Operation codes; the names below are indexed by them and serve only the traces.
enum class ClangOperation : qint32 {
    None = 0,
    Completion = 1,
    Ranges = 2,
    Index = 3,
    CursorReferenced = 4,
    References = 5,
    CursorEvaluate = 6,
};
constexpr std::array<const char *, 7> clangOperationNames = {"NONE", "SCCA", "GRCSL", "IC",
                                                             "GCR",  "ISR",  "CE"};
[[nodiscard]] const char *clangOperationName(ClangOperation operation);

// Flags of startCompletion.
namespace ClangCompletionFlag {
constexpr unsigned includeMacros = 0x1;
// The extra flag: the identifier before the point is the prefix the candidates must start with
// (without regard to case), and completion runs at its start.
constexpr unsigned prefixFromToken = 0x2;
} // namespace ClangCompletionFlag

// Parse options a request carries: libclang's cached-completion, detailed-preprocessing and
// skip-function-bodies flags. Detail makes macros visible to definitions and references.
namespace ClangParse {
constexpr unsigned plain = 8;
constexpr unsigned detailed = 9;
constexpr unsigned skipBodies = 72;
constexpr unsigned detailedSkipBodies = 73;
} // namespace ClangParse

// The code intelligence as the editor sees it. Every operation is a pair: the start call hands
// over the request and where the result goes; the collect call, polled on a timer, returns
// false until the result is there, then fills the destination and returns true. One operation
// at a time. Failures are HException.
class ClangInterface {
public:
    virtual ~ClangInterface();

    // True when the running operation has finished (or none runs).
    virtual bool poll() = 0;
    // The running operation's result is to be thrown away.
    virtual void stop() = 0;

    virtual void startCompletion(const QString &mainPath, int line, int column,
                                 const std::vector<ClangUnsavedFile> &unsaved,
                                 const QStringList &arguments, unsigned flags,
                                 const QString &sourcePath, bool prefixFromToken,
                                 std::vector<ClangCompletion> *destination) = 0;
    [[nodiscard]] virtual bool collectCompletion() = 0;
    // Lines the preprocessor skipped in the file.
    virtual void startRanges(const ClangUnit &unit, unsigned parseOptions,
                             std::vector<ClangRange> *destination) = 0;
    [[nodiscard]] virtual bool collectRanges() = 0;
    // The declarations of the file: functions, file-scope variables, tags, fields, enumerators,
    // typedefs and macros.
    virtual void startIndex(const ClangUnit &unit, unsigned parseOptions,
                            std::vector<ClangSymbol> *destination) = 0;
    [[nodiscard]] virtual bool collectIndex() = 0;
    // The definition of what is referenced at the position, else its declaration; nothing when
    // no identifier is there.
    virtual void startCursorReferenced(const ClangUnit &unit, unsigned parseOptions, int line,
                                       int column, std::vector<ClangSymbol> *destination) = 0;
    [[nodiscard]] virtual bool collectCursorReferenced() = 0;
    // The places in the file that refer to what is referenced at the position, declarations
    // included.
    virtual void startReferences(const ClangUnit &unit, unsigned parseOptions, int line, int column,
                                 std::vector<ClangLocation> *destination) = 0;
    [[nodiscard]] virtual bool collectReferences() = 0;
    // The value of the expression or variable at the position; a null string when it has none.
    virtual void startCursorEvaluate(const ClangUnit &unit, unsigned parseOptions, int line,
                                     int column, QString *destination) = 0;
    [[nodiscard]] virtual bool collectCursorEvaluate() = 0;
};

// How the environment wants its code intelligence.
struct ClangSettings {
    QString libraryPath;         // empty: no code intelligence
    bool separateProcess = true; // the indexer program rather than the library in-process
    QString indexerProgram;      // empty: <installation>/bin/index
    int timeoutSeconds = 60;     // a request unanswered this long kills the indexer
    std::function<void(const QString &)> trace;  // complaints of the state checks; null: off
    std::function<void(const QString &)> notice; // "indexer restarted"; null: dropped
};

// The form the settings ask for, or null when no library is set. The constructors' failures
// reach the caller as HException; it then runs without code intelligence.
[[nodiscard]] std::unique_ptr<ClangInterface> createClangInterface(const ClangSettings &settings);
