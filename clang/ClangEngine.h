#pragma once
#include "clang/LibClangApi.h"
#include "clang/Protocol.h"
#include <QByteArray>
#include <vector>

class LibClang;

// Runs requests on libclang: the work the indexer does for each request it is sent, and the
// work the in-process form does in each start call. Every failure becomes a failed reply, so a
// request can never take its caller down short of a crash inside the library.
class ClangEngine {
public:
    // `keptUnits`: how many parsed translation units stay for later requests, which then
    // reparse them instead of parsing anew; 0 disposes of each unit at the end of its job.
    // `displayDiagnostics`: libclang prints each parse's diagnostics on standard error.
    ClangEngine(const LibClang &library, int keptUnits, bool displayDiagnostics);
    ClangEngine(const ClangEngine &) = delete;
    ClangEngine &operator=(const ClangEngine &) = delete;
    ~ClangEngine();

    [[nodiscard]] ClangReply run(const ClangRequest &request);

    // How many translation units are kept now.
    [[nodiscard]] int keptUnits() const { return int(m_units.size()); }

private:
    struct Unit {
        QByteArray key; // main file, arguments and parse options
        CXTranslationUnit handle = nullptr;
    };
    class Job;

    // The unit for the request's main file and arguments: a kept one (reparsed when `reparse`
    // is set) or a new one. Throws HException when libclang cannot parse it.
    CXTranslationUnit unitFor(const ClangRequest &request, unsigned options, bool reparse,
                              std::vector<CXUnsavedFile> &unsaved);
    CXTranslationUnit parse(const ClangRequest &request, unsigned options,
                            std::vector<CXUnsavedFile> &unsaved);
    void disposeUnits(std::size_t keep);

    const LibClang &m_library;
    CXIndex m_index = nullptr;
    int m_keptUnits;
    std::vector<Unit> m_units; // least recently used first
};
