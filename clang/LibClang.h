#pragma once
#include "clang/LibClangApi.h"
#include <QString>
#include <QStringList>

// libclang opened with dlopen and the functions of it that the code intelligence calls,
// resolved with dlsym: nothing of ours links the library, so a machine without it still runs
// everything else. The members are named as the library names them.
class LibClang {
public:
    // The library's default name on this system (the C interface of version 14).
    static constexpr const char *defaultLibrary = "libclang-14.so.1";

    // Throws HException "Failed to load libclang.dll <path>" when the library cannot be opened,
    // and names the first missing function when it lacks one.
    explicit LibClang(const QString &libraryPath);
    LibClang(const LibClang &) = delete;
    LibClang &operator=(const LibClang &) = delete;
    virtual ~LibClang();

    // The names resolved, in resolution order: one per member below.
    [[nodiscard]] static QStringList functionNames();

    // Index and translation units.
    CXIndex (*clang_createIndex)(int excludeDeclarationsFromPCH, int displayDiagnostics) = nullptr;
    void (*clang_disposeIndex)(CXIndex index) = nullptr;
    void (*clang_disposeTranslationUnit)(CXTranslationUnit unit) = nullptr;
    int (*clang_parseTranslationUnit2)(CXIndex index, const char *sourceFilename,
                                       const char *const *commandLineArgs, int argumentCount,
                                       CXUnsavedFile *unsavedFiles, unsigned unsavedCount,
                                       unsigned options, CXTranslationUnit *unit) = nullptr;
    int (*clang_reparseTranslationUnit)(CXTranslationUnit unit, unsigned unsavedCount,
                                        CXUnsavedFile *unsavedFiles, unsigned options) = nullptr;
    unsigned (*clang_defaultReparseOptions)(CXTranslationUnit unit) = nullptr;

    // Code completion.
    CXCodeCompleteResults *(*clang_codeCompleteAt)(CXTranslationUnit unit, const char *fileName,
                                                   unsigned line, unsigned column,
                                                   CXUnsavedFile *unsavedFiles,
                                                   unsigned unsavedCount,
                                                   unsigned options) = nullptr;
    unsigned (*clang_defaultCodeCompleteOptions)() = nullptr;
    void (*clang_sortCodeCompletionResults)(CXCompletionResult *results, unsigned count) = nullptr;
    void (*clang_disposeCodeCompleteResults)(CXCodeCompleteResults *results) = nullptr;
    unsigned (*clang_codeCompleteGetNumDiagnostics)(CXCodeCompleteResults *results) = nullptr;
    CXDiagnostic (*clang_codeCompleteGetDiagnostic)(CXCodeCompleteResults *results,
                                                    unsigned index) = nullptr;
    int (*clang_getCompletionChunkKind)(CXCompletionString string, unsigned chunk) = nullptr;
    CXString (*clang_getCompletionChunkText)(CXCompletionString string, unsigned chunk) = nullptr;
    int (*clang_getCompletionAvailability)(CXCompletionString string) = nullptr;
    unsigned (*clang_getCompletionPriority)(CXCompletionString string) = nullptr;
    unsigned (*clang_getNumCompletionChunks)(CXCompletionString string) = nullptr;

    // Strings.
    void (*clang_disposeString)(CXString string) = nullptr;
    const char *(*clang_getCString)(CXString string) = nullptr;

    // Cursors and types.
    CXCursor (*clang_getCursor)(CXTranslationUnit unit, CXSourceLocation location) = nullptr;
    CXString (*clang_getCursorUSR)(CXCursor cursor) = nullptr;
    CXString (*clang_getCursorSpelling)(CXCursor cursor) = nullptr;
    int (*clang_getCursorKind)(CXCursor cursor) = nullptr;
    CXString (*clang_getCursorKindSpelling)(int kind) = nullptr;
    CXCursor (*clang_getCursorDefinition)(CXCursor cursor) = nullptr;
    CXCursor (*clang_getCursorReferenced)(CXCursor cursor) = nullptr;
    CXSourceLocation (*clang_getCursorLocation)(CXCursor cursor) = nullptr;
    CXSourceRange (*clang_getCursorExtent)(CXCursor cursor) = nullptr;
    CXString (*clang_getCursorDisplayName)(CXCursor cursor) = nullptr;
    CXType (*clang_getCursorType)(CXCursor cursor) = nullptr;
    CXString (*clang_getTypeSpelling)(CXType type) = nullptr;
    CXType (*clang_getCursorResultType)(CXCursor cursor) = nullptr;
    unsigned (*clang_isFunctionTypeVariadic)(CXType type) = nullptr;
    int (*clang_getCXXAccessSpecifier)(CXCursor cursor) = nullptr;

    // Tokens.
    void (*clang_tokenize)(CXTranslationUnit unit, CXSourceRange range, CXToken **tokens,
                           unsigned *count) = nullptr;
    int (*clang_getTokenKind)(CXToken token) = nullptr;
    CXString (*clang_getTokenSpelling)(CXTranslationUnit unit, CXToken token) = nullptr;
    CXSourceLocation (*clang_getTokenLocation)(CXTranslationUnit unit, CXToken token) = nullptr;
    CXSourceRange (*clang_getTokenExtent)(CXTranslationUnit unit, CXToken token) = nullptr;
    void (*clang_disposeTokens)(CXTranslationUnit unit, CXToken *tokens, unsigned count) = nullptr;

    // Locations and files.
    CXSourceLocation (*clang_getLocation)(CXTranslationUnit unit, CXFile file, unsigned line,
                                          unsigned column) = nullptr;
    CXSourceLocation (*clang_getLocationForOffset)(CXTranslationUnit unit, CXFile file,
                                                   unsigned offset) = nullptr;
    unsigned (*clang_equalLocations)(CXSourceLocation a, CXSourceLocation b) = nullptr;
    void (*clang_getSpellingLocation)(CXSourceLocation location, CXFile *file, unsigned *line,
                                      unsigned *column, unsigned *offset) = nullptr;
    CXFile (*clang_getFile)(CXTranslationUnit unit, const char *fileName) = nullptr;
    int (*clang_File_isEqual)(CXFile a, CXFile b) = nullptr;
    CXCursor (*clang_getNullCursor)() = nullptr;
    CXSourceLocation (*clang_getNullLocation)() = nullptr;
    unsigned (*clang_isCursorDefinition)(CXCursor cursor) = nullptr;
    int (*clang_Cursor_isNull)(CXCursor cursor) = nullptr;
    unsigned (*clang_equalCursors)(CXCursor a, CXCursor b) = nullptr;
    void (*clang_getInstantiationLocation)(CXSourceLocation location, CXFile *file, unsigned *line,
                                           unsigned *column, unsigned *offset) = nullptr;
    CXString (*clang_getFileName)(CXFile file) = nullptr;

    // Diagnostics and ranges.
    unsigned (*clang_getNumDiagnostics)(CXTranslationUnit unit) = nullptr;
    CXDiagnostic (*clang_getDiagnostic)(CXTranslationUnit unit, unsigned index) = nullptr;
    int (*clang_getDiagnosticSeverity)(CXDiagnostic diagnostic) = nullptr;
    CXSourceLocation (*clang_getDiagnosticLocation)(CXDiagnostic diagnostic) = nullptr;
    CXString (*clang_getDiagnosticSpelling)(CXDiagnostic diagnostic) = nullptr;
    unsigned (*clang_getDiagnosticNumRanges)(CXDiagnostic diagnostic) = nullptr;
    CXSourceRange (*clang_getDiagnosticRange)(CXDiagnostic diagnostic, unsigned index) = nullptr;
    CXSourceRange (*clang_getRange)(CXSourceLocation begin, CXSourceLocation end) = nullptr;
    CXSourceLocation (*clang_getRangeStart)(CXSourceRange range) = nullptr;
    CXSourceLocation (*clang_getRangeEnd)(CXSourceRange range) = nullptr;
    void (*clang_disposeDiagnostic)(CXDiagnostic diagnostic) = nullptr;

    // Walking the tree.
    int (*clang_findReferencesInFile)(CXCursor cursor, CXFile file,
                                      CXCursorAndRangeVisitor visitor) = nullptr;
    unsigned (*clang_visitChildren)(CXCursor parent, CXCursorVisitor visitor,
                                    CXClientData data) = nullptr;
    CXCursor (*clang_getTranslationUnitCursor)(CXTranslationUnit unit) = nullptr;
    unsigned (*clang_hashCursor)(CXCursor cursor) = nullptr;
    CXSourceRangeList *(*clang_getSkippedRanges)(CXTranslationUnit unit, CXFile file) = nullptr;
    void (*clang_disposeSourceRangeList)(CXSourceRangeList *ranges) = nullptr;

    // Evaluation.
    CXEvalResult (*clang_Cursor_Evaluate)(CXCursor cursor) = nullptr;
    int (*clang_EvalResult_getKind)(CXEvalResult result) = nullptr;
    int (*clang_EvalResult_getAsInt)(CXEvalResult result) = nullptr;
    double (*clang_EvalResult_getAsDouble)(CXEvalResult result) = nullptr;
    const char *(*clang_EvalResult_getAsStr)(CXEvalResult result) = nullptr;
    void (*clang_EvalResult_dispose)(CXEvalResult result) = nullptr;

    // Comments.
    CXString (*clang_Cursor_getRawCommentText)(CXCursor cursor) = nullptr;
    CXComment (*clang_Cursor_getParsedComment)(CXCursor cursor) = nullptr;
    int (*clang_Comment_getKind)(CXComment comment) = nullptr;
    CXString (*clang_VerbatimBlockLineComment_getText)(CXComment comment) = nullptr;
    CXString (*clang_FullComment_getAsHTML)(CXComment comment) = nullptr;
    CXString (*clang_FullComment_getAsXML)(CXComment comment) = nullptr;

    // Inclusions.
    CXCursor (*clang_getCursorLexicalParent)(CXCursor cursor) = nullptr;
    CXFile (*clang_getIncludedFile)(CXCursor cursor) = nullptr;
    void (*clang_getInclusions)(CXTranslationUnit unit, CXInclusionVisitor visitor,
                                CXClientData data) = nullptr;

    // The text of a CXString, which is disposed of.
    [[nodiscard]] QString take(CXString string) const;
    [[nodiscard]] QByteArray takeBytes(CXString string) const;

private:
    void resolveAll(const QString &libraryPath);

    void *m_handle = nullptr;
};
