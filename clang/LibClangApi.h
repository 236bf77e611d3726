#pragma once
#include <cstdint>

// The types of libclang's C interface that the code intelligence uses, declared from its
// documentation so that nothing of ours needs the library's headers at build time: the library
// is opened at run time only. Layouts follow the documented C structs byte for byte; enums of
// the interface travel as `int` (same size and passing convention). Only the constants in use
// are named.

extern "C" {

using CXIndex = void *;
using CXTranslationUnit = struct CXTranslationUnitImpl *;
using CXClientData = void *;
using CXFile = void *;
using CXDiagnostic = void *;
using CXCompletionString = void *;
using CXEvalResult = void *;

struct CXUnsavedFile {
    const char *Filename;
    const char *Contents;
    unsigned long Length;
};

struct CXString {
    const void *data;
    unsigned private_flags;
};

struct CXSourceLocation {
    const void *ptr_data[2];
    unsigned int_data;
};

struct CXSourceRange {
    const void *ptr_data[2];
    unsigned begin_int_data;
    unsigned end_int_data;
};

struct CXSourceRangeList {
    unsigned count;
    CXSourceRange *ranges;
};

struct CXCursor {
    int kind;
    int xdata;
    const void *data[3];
};

struct CXType {
    int kind;
    void *data[2];
};

struct CXToken {
    unsigned int_data[4];
    void *ptr_data;
};

struct CXCompletionResult {
    int CursorKind;
    CXCompletionString CompletionString;
};

struct CXCodeCompleteResults {
    CXCompletionResult *Results;
    unsigned NumResults;
};

struct CXComment {
    const void *ASTNode;
    CXTranslationUnit TranslationUnit;
};

struct CXCursorAndRangeVisitor {
    void *context;
    int (*visit)(void *context, CXCursor cursor, CXSourceRange range);
};

using CXCursorVisitor = int (*)(CXCursor cursor, CXCursor parent, CXClientData data);
using CXInclusionVisitor = void (*)(CXFile includedFile, CXSourceLocation *inclusionStack,
                                    unsigned includeLength, CXClientData data);

} // extern "C"

// Constants of the interface, by their documented values.
namespace LibClangConstant {

// Translation unit flags; the requests carry combinations of the first three.
constexpr unsigned detailedPreprocessingRecord = 0x1;
constexpr unsigned precompiledPreamble = 0x4;
constexpr unsigned cacheCompletionResults = 0x8;
constexpr unsigned skipFunctionBodies = 0x40;
constexpr unsigned createPreambleOnFirstParse = 0x100;
constexpr unsigned keepGoing = 0x200;

// Results of clang_parseTranslationUnit2.
constexpr int errorSuccess = 0;

// Results of visitors.
constexpr int childVisitBreak = 0;
constexpr int childVisitContinue = 1;
constexpr int childVisitRecurse = 2;
constexpr int visitBreak = 0;
constexpr int visitContinue = 1;

// Cursor kinds.
constexpr int cursorStructDecl = 2;
constexpr int cursorUnionDecl = 3;
constexpr int cursorEnumDecl = 5;
constexpr int cursorFieldDecl = 6;
constexpr int cursorEnumConstantDecl = 7;
constexpr int cursorFunctionDecl = 8;
constexpr int cursorVarDecl = 9;
constexpr int cursorTypedefDecl = 20;
constexpr int cursorLinkageSpec = 23;
constexpr int cursorFirstDecl = 1;
constexpr int cursorLastDecl = 39;
constexpr int cursorFirstInvalid = 70;
constexpr int cursorLastInvalid = 73;
constexpr int cursorTranslationUnit = 300;
constexpr int cursorFirstPreprocessing = 500;
constexpr int cursorMacroDefinition = 501;
constexpr int cursorMacroExpansion = 502;
constexpr int cursorLastPreprocessing = 503;

// Completion chunk kinds.
constexpr int chunkOptional = 0;
constexpr int chunkTypedText = 1;
constexpr int chunkInformative = 4;
constexpr int chunkCurrentParameter = 5;
constexpr int chunkResultType = 15;
constexpr int chunkVerticalSpace = 20;

// Availability of a completion.
constexpr int availabilityNotAvailable = 2;

// Token kinds.
constexpr int tokenIdentifier = 2;

// Kinds of an evaluation result.
constexpr int evalInt = 1;
constexpr int evalFloat = 2;
constexpr int evalObjCStrLiteral = 3;
constexpr int evalStrLiteral = 4;
constexpr int evalCFStr = 5;

} // namespace LibClangConstant
