#include "clang/LibClang.h"
#include "foundation/HException.h"
#include <QFile>
#include <dlfcn.h>
#include <type_traits>

namespace {

// Hands each function member with its library name to `visit`, in the order of resolution.
template <typename Visit> void forEachFunction(Visit &&visit)
{
    visit(&LibClang::clang_createIndex, "clang_createIndex");
    visit(&LibClang::clang_disposeIndex, "clang_disposeIndex");
    visit(&LibClang::clang_disposeTranslationUnit, "clang_disposeTranslationUnit");
    visit(&LibClang::clang_parseTranslationUnit2, "clang_parseTranslationUnit2");
    visit(&LibClang::clang_reparseTranslationUnit, "clang_reparseTranslationUnit");
    visit(&LibClang::clang_defaultReparseOptions, "clang_defaultReparseOptions");
    visit(&LibClang::clang_codeCompleteAt, "clang_codeCompleteAt");
    visit(&LibClang::clang_defaultCodeCompleteOptions, "clang_defaultCodeCompleteOptions");
    visit(&LibClang::clang_sortCodeCompletionResults, "clang_sortCodeCompletionResults");
    visit(&LibClang::clang_disposeCodeCompleteResults, "clang_disposeCodeCompleteResults");
    visit(&LibClang::clang_codeCompleteGetNumDiagnostics, "clang_codeCompleteGetNumDiagnostics");
    visit(&LibClang::clang_codeCompleteGetDiagnostic, "clang_codeCompleteGetDiagnostic");
    visit(&LibClang::clang_getCompletionChunkKind, "clang_getCompletionChunkKind");
    visit(&LibClang::clang_getCompletionChunkText, "clang_getCompletionChunkText");
    visit(&LibClang::clang_getCompletionAvailability, "clang_getCompletionAvailability");
    visit(&LibClang::clang_getCompletionPriority, "clang_getCompletionPriority");
    visit(&LibClang::clang_getNumCompletionChunks, "clang_getNumCompletionChunks");
    visit(&LibClang::clang_disposeString, "clang_disposeString");
    visit(&LibClang::clang_getCString, "clang_getCString");
    visit(&LibClang::clang_getCursor, "clang_getCursor");
    visit(&LibClang::clang_getCursorUSR, "clang_getCursorUSR");
    visit(&LibClang::clang_getCursorSpelling, "clang_getCursorSpelling");
    visit(&LibClang::clang_getCursorKind, "clang_getCursorKind");
    visit(&LibClang::clang_getCursorKindSpelling, "clang_getCursorKindSpelling");
    visit(&LibClang::clang_getCursorDefinition, "clang_getCursorDefinition");
    visit(&LibClang::clang_getCursorReferenced, "clang_getCursorReferenced");
    visit(&LibClang::clang_getCursorLocation, "clang_getCursorLocation");
    visit(&LibClang::clang_getCursorExtent, "clang_getCursorExtent");
    visit(&LibClang::clang_getCursorDisplayName, "clang_getCursorDisplayName");
    visit(&LibClang::clang_getCursorType, "clang_getCursorType");
    visit(&LibClang::clang_getTypeSpelling, "clang_getTypeSpelling");
    visit(&LibClang::clang_getCursorResultType, "clang_getCursorResultType");
    visit(&LibClang::clang_isFunctionTypeVariadic, "clang_isFunctionTypeVariadic");
    visit(&LibClang::clang_getCXXAccessSpecifier, "clang_getCXXAccessSpecifier");
    visit(&LibClang::clang_tokenize, "clang_tokenize");
    visit(&LibClang::clang_getTokenKind, "clang_getTokenKind");
    visit(&LibClang::clang_getTokenSpelling, "clang_getTokenSpelling");
    visit(&LibClang::clang_getTokenLocation, "clang_getTokenLocation");
    visit(&LibClang::clang_getTokenExtent, "clang_getTokenExtent");
    visit(&LibClang::clang_disposeTokens, "clang_disposeTokens");
    visit(&LibClang::clang_getLocation, "clang_getLocation");
    visit(&LibClang::clang_getLocationForOffset, "clang_getLocationForOffset");
    visit(&LibClang::clang_equalLocations, "clang_equalLocations");
    visit(&LibClang::clang_getSpellingLocation, "clang_getSpellingLocation");
    visit(&LibClang::clang_getFile, "clang_getFile");
    visit(&LibClang::clang_File_isEqual, "clang_File_isEqual");
    visit(&LibClang::clang_getNullCursor, "clang_getNullCursor");
    visit(&LibClang::clang_getNullLocation, "clang_getNullLocation");
    visit(&LibClang::clang_isCursorDefinition, "clang_isCursorDefinition");
    visit(&LibClang::clang_Cursor_isNull, "clang_Cursor_isNull");
    visit(&LibClang::clang_equalCursors, "clang_equalCursors");
    visit(&LibClang::clang_getInstantiationLocation, "clang_getInstantiationLocation");
    visit(&LibClang::clang_getFileName, "clang_getFileName");
    visit(&LibClang::clang_getNumDiagnostics, "clang_getNumDiagnostics");
    visit(&LibClang::clang_getDiagnostic, "clang_getDiagnostic");
    visit(&LibClang::clang_getDiagnosticSeverity, "clang_getDiagnosticSeverity");
    visit(&LibClang::clang_getDiagnosticLocation, "clang_getDiagnosticLocation");
    visit(&LibClang::clang_getDiagnosticSpelling, "clang_getDiagnosticSpelling");
    visit(&LibClang::clang_getDiagnosticNumRanges, "clang_getDiagnosticNumRanges");
    visit(&LibClang::clang_getDiagnosticRange, "clang_getDiagnosticRange");
    visit(&LibClang::clang_getRange, "clang_getRange");
    visit(&LibClang::clang_getRangeStart, "clang_getRangeStart");
    visit(&LibClang::clang_getRangeEnd, "clang_getRangeEnd");
    visit(&LibClang::clang_disposeDiagnostic, "clang_disposeDiagnostic");
    visit(&LibClang::clang_findReferencesInFile, "clang_findReferencesInFile");
    visit(&LibClang::clang_visitChildren, "clang_visitChildren");
    visit(&LibClang::clang_getTranslationUnitCursor, "clang_getTranslationUnitCursor");
    visit(&LibClang::clang_hashCursor, "clang_hashCursor");
    visit(&LibClang::clang_getSkippedRanges, "clang_getSkippedRanges");
    visit(&LibClang::clang_disposeSourceRangeList, "clang_disposeSourceRangeList");
    visit(&LibClang::clang_Cursor_Evaluate, "clang_Cursor_Evaluate");
    visit(&LibClang::clang_EvalResult_getKind, "clang_EvalResult_getKind");
    visit(&LibClang::clang_EvalResult_getAsInt, "clang_EvalResult_getAsInt");
    visit(&LibClang::clang_EvalResult_getAsDouble, "clang_EvalResult_getAsDouble");
    visit(&LibClang::clang_EvalResult_getAsStr, "clang_EvalResult_getAsStr");
    visit(&LibClang::clang_EvalResult_dispose, "clang_EvalResult_dispose");
    visit(&LibClang::clang_Cursor_getRawCommentText, "clang_Cursor_getRawCommentText");
    visit(&LibClang::clang_Cursor_getParsedComment, "clang_Cursor_getParsedComment");
    visit(&LibClang::clang_Comment_getKind, "clang_Comment_getKind");
    visit(&LibClang::clang_VerbatimBlockLineComment_getText,
          "clang_VerbatimBlockLineComment_getText");
    visit(&LibClang::clang_FullComment_getAsHTML, "clang_FullComment_getAsHTML");
    visit(&LibClang::clang_FullComment_getAsXML, "clang_FullComment_getAsXML");
    visit(&LibClang::clang_getCursorLexicalParent, "clang_getCursorLexicalParent");
    visit(&LibClang::clang_getIncludedFile, "clang_getIncludedFile");
    visit(&LibClang::clang_getInclusions, "clang_getInclusions");
}

} // namespace

LibClang::LibClang(const QString &libraryPath)
{
    // RTLD_LOCAL keeps the library's symbols to itself: its LLVM must not meet another one that
    // a provider library or the program brought in.
    // An empty name would open the program itself.
    if (!libraryPath.isEmpty())
        m_handle = ::dlopen(QFile::encodeName(libraryPath).constData(), RTLD_NOW | RTLD_LOCAL);
    if (!m_handle)
        throw HException(QStringLiteral("Failed to load libclang.dll %1").arg(libraryPath));
    try {
        resolveAll(libraryPath);
    } catch (...) {
        ::dlclose(m_handle);
        throw;
    }
}

LibClang::~LibClang()
{
    ::dlclose(m_handle);
}

void LibClang::resolveAll(const QString &libraryPath)
{
    forEachFunction([&](auto member, const char *name) {
        using Pointer = std::remove_reference_t<decltype(this->*member)>;
        void *const address = ::dlsym(m_handle, name);
        if (!address) {
            throw HException(QStringLiteral("Failed to load libclang.dll %1: it has no %2")
                                 .arg(libraryPath, QLatin1String(name)));
        }
        this->*member = reinterpret_cast<Pointer>(address);
    });
}

QStringList LibClang::functionNames()
{
    QStringList names;
    forEachFunction([&](auto, const char *name) { names.append(QLatin1String(name)); });
    return names;
}

QString LibClang::take(CXString string) const
{
    return QString::fromUtf8(takeBytes(string));
}

QByteArray LibClang::takeBytes(CXString string) const
{
    const char *text = clang_getCString(string);
    QByteArray bytes(text ? text : "");
    clang_disposeString(string);
    return bytes;
}
