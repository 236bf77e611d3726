#pragma once
#include "clang/ClangInterface.h"
#include "clang/LibClang.h"
#include "clang/Protocol.h"
#include <memory>

class ClangEngine;

// The code intelligence in-process: libclang in our own address space, for where a separate
// indexer is not wanted. Each start call does the whole job at once and keeps the result for
// the collect call; no translation unit outlives its job. A crash inside libclang takes the
// process with it, which is what the separate indexer is for.
class ClangDLL : public ClangInterface, public LibClang {
public:
    // Throws HException "Failed to load libclang.dll <path>".
    explicit ClangDLL(const QString &libraryPath);
    ~ClangDLL() override;

    bool poll() override { return true; }
    void stop() override;

    void startCompletion(const QString &mainPath, int line, int column,
                         const std::vector<ClangUnsavedFile> &unsaved, const QStringList &arguments,
                         unsigned flags, const QString &sourcePath, bool prefixFromToken,
                         std::vector<ClangCompletion> *destination) override;
    bool collectCompletion() override { return collect(ClangOperation::Completion); }
    void startRanges(const ClangUnit &unit, unsigned parseOptions,
                     std::vector<ClangRange> *destination) override;
    bool collectRanges() override { return collect(ClangOperation::Ranges); }
    void startIndex(const ClangUnit &unit, unsigned parseOptions,
                    std::vector<ClangSymbol> *destination) override;
    bool collectIndex() override { return collect(ClangOperation::Index); }
    void startCursorReferenced(const ClangUnit &unit, unsigned parseOptions, int line, int column,
                               std::vector<ClangSymbol> *destination) override;
    bool collectCursorReferenced() override { return collect(ClangOperation::CursorReferenced); }
    void startReferences(const ClangUnit &unit, unsigned parseOptions, int line, int column,
                         std::vector<ClangLocation> *destination) override;
    bool collectReferences() override { return collect(ClangOperation::References); }
    void startCursorEvaluate(const ClangUnit &unit, unsigned parseOptions, int line, int column,
                             QString *destination) override;
    bool collectCursorEvaluate() override { return collect(ClangOperation::CursorEvaluate); }

private:
    void begin(ClangOperation operation, const ClangRequest &request);
    bool collect(ClangOperation operation);

    std::unique_ptr<ClangEngine> m_engine;
    ClangOperation m_operation = ClangOperation::None;
    ClangReply m_reply;
    ClangDestinations m_destinations;
};
