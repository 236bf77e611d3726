#pragma once
#include "clang/ClangInterface.h"
#include <QByteArray>
#include <QString>
#include <cstddef>
#include <vector>

// The conversation of the environment with its indexer through the shared area. Both processes
// encode and decode with these routines, so the layouts cannot drift apart.
//
// The area starts with a header of six 32-bit integers in host order; the payload follows at
// offset 24. Strings are UTF-8 with a terminating NUL, an absent one a single NUL.
//
// Request, common form: header {command, unsaved count, parse options, argument count,
// operation flag, flags}; payload: source name, each unsaved file (name, 32-bit length, bytes),
// each argument, the main path, and for the operations at a position line and column last.
// Request, completion form: header {command, unsaved count, line, column, argument count,
// flags}; payload: main path, the unsaved files, each argument, the source name.
// Reply: header {status, record count}; a status other than 0 carries one string, the reason.

constexpr std::size_t sharedAreaSize = 0x10000000;
constexpr std::size_t protocolHeaderSize = 24;

// Command numbers of the header, one per operation.
enum class ClangCommand : qint32 {
    Completion = 0,
    Index = 1,
    CursorReferenced = 2,
    Ranges = 3,
    References = 4,
    CursorEvaluate = 5,
};
constexpr int clangCommandCount = 6;

[[nodiscard]] ClangCommand commandOf(ClangOperation operation);
// True for the commands whose request ends with a line and a column.
[[nodiscard]] bool isPositional(ClangCommand command);

struct ClangRequest {
    ClangCommand command = ClangCommand::Completion;
    QString sourcePath; // empty: absent
    std::vector<ClangUnsavedFile> unsaved;
    QStringList arguments;
    QString mainPath;
    quint32 parseOptions = 0; // the common form only
    qint32 line = 0;
    qint32 column = 0;
    qint32 operationFlag = 0; // the common form only
    qint32 flags = 0;
};

enum class ClangStatus : qint32 { Valid = 0, Failed = 1 };

struct ClangReply {
    ClangStatus status = ClangStatus::Valid;
    QString error; // why it failed
    std::vector<ClangCompletion> completions;
    std::vector<ClangRange> ranges;
    std::vector<ClangSymbol> symbols; // index and cursor referenced
    std::vector<ClangLocation> locations;
    QString evaluation; // null: nothing to evaluate
};

// The bytes the request takes in the area, header included.
[[nodiscard]] std::size_t requestSize(const ClangRequest &request);
// Writes the request into an area of `size` bytes; the number of bytes used. Throws
// HException when it does not fit, before anything is written.
std::size_t writeRequest(const ClangRequest &request, char *area, std::size_t size);
// Throws HException on a request that is cut short or malformed.
[[nodiscard]] ClangRequest readRequest(const char *area, std::size_t size);

// A reply too large for the area is replaced by a failure that says so.
std::size_t writeReply(ClangCommand command, const ClangReply &reply, char *area, std::size_t size);
// Throws HException on a reply that is cut short or malformed.
[[nodiscard]] ClangReply readReply(ClangCommand command, const char *area, std::size_t size);

// The requests of the interface's start calls.
[[nodiscard]] ClangRequest completionRequest(const QString &mainPath, int line, int column,
                                             const std::vector<ClangUnsavedFile> &unsaved,
                                             const QStringList &arguments, unsigned flags,
                                             const QString &sourcePath, bool prefixFromToken);
[[nodiscard]] ClangRequest unitRequest(ClangCommand command, const ClangUnit &unit,
                                       unsigned parseOptions, int line = 0, int column = 0);

// Where the caller of a start call wants its result: one destination per operation, each null
// until its start call.
struct ClangDestinations {
    std::vector<ClangCompletion> *completions = nullptr;
    std::vector<ClangRange> *ranges = nullptr;
    std::vector<ClangSymbol> *symbols = nullptr;
    std::vector<ClangLocation> *locations = nullptr;
    QString *evaluation = nullptr;
};

// Moves the reply's records into the destination of the command. A failed reply throws its
// reason as HException.
void deliverReply(ClangCommand command, ClangReply &&reply, const ClangDestinations &to);
