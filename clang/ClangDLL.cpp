#include "clang/ClangDLL.h"
#include "clang/ClangEngine.h"

ClangDLL::ClangDLL(const QString &libraryPath)
    : LibClang(libraryPath), m_engine(std::make_unique<ClangEngine>(*this, 0, true))
{}

ClangDLL::~ClangDLL() = default;

void ClangDLL::stop()
{
    m_operation = ClangOperation::None;
    m_reply = ClangReply();
}

void ClangDLL::begin(ClangOperation operation, const ClangRequest &request)
{
    m_operation = operation;
    m_reply = m_engine->run(request);
}

bool ClangDLL::collect(ClangOperation operation)
{
    if (m_operation != operation)
        return false;
    m_operation = ClangOperation::None;
    deliverReply(commandOf(operation), std::move(m_reply), m_destinations);
    return true;
}

void ClangDLL::startCompletion(const QString &mainPath, int line, int column,
                               const std::vector<ClangUnsavedFile> &unsaved,
                               const QStringList &arguments, unsigned flags,
                               const QString &sourcePath, bool prefixFromToken,
                               std::vector<ClangCompletion> *destination)
{
    m_destinations.completions = destination;
    begin(ClangOperation::Completion, completionRequest(mainPath, line, column, unsaved, arguments,
                                                        flags, sourcePath, prefixFromToken));
}

void ClangDLL::startRanges(const ClangUnit &unit, unsigned parseOptions,
                           std::vector<ClangRange> *destination)
{
    m_destinations.ranges = destination;
    begin(ClangOperation::Ranges, unitRequest(ClangCommand::Ranges, unit, parseOptions));
}

void ClangDLL::startIndex(const ClangUnit &unit, unsigned parseOptions,
                          std::vector<ClangSymbol> *destination)
{
    m_destinations.symbols = destination;
    begin(ClangOperation::Index, unitRequest(ClangCommand::Index, unit, parseOptions));
}

void ClangDLL::startCursorReferenced(const ClangUnit &unit, unsigned parseOptions, int line,
                                     int column, std::vector<ClangSymbol> *destination)
{
    m_destinations.symbols = destination;
    begin(ClangOperation::CursorReferenced,
          unitRequest(ClangCommand::CursorReferenced, unit, parseOptions, line, column));
}

void ClangDLL::startReferences(const ClangUnit &unit, unsigned parseOptions, int line, int column,
                               std::vector<ClangLocation> *destination)
{
    m_destinations.locations = destination;
    begin(ClangOperation::References,
          unitRequest(ClangCommand::References, unit, parseOptions, line, column));
}

void ClangDLL::startCursorEvaluate(const ClangUnit &unit, unsigned parseOptions, int line,
                                   int column, QString *destination)
{
    m_destinations.evaluation = destination;
    begin(ClangOperation::CursorEvaluate,
          unitRequest(ClangCommand::CursorEvaluate, unit, parseOptions, line, column));
}
