#include "clang/ClangEngine.h"
#include "clang/LibClang.h"
#include "foundation/HException.h"
#include <QFile>
#include <algorithm>

namespace C = LibClangConstant;

namespace {

// Files larger than this are not read to check a position: the check then leaves it to libclang.
constexpr qint64 positionCheckLimit = qint64(256) << 20;

bool isIdentifierByte(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_'
           || (static_cast<unsigned char>(c) & 0x80) != 0;
}

bool isInvalid(int kind)
{
    return kind >= C::cursorFirstInvalid && kind <= C::cursorLastInvalid;
}

// Where a cursor's name is written: its spelling location, or where it was expanded when the
// name was made by the preprocessor and has no file of its own.
void nameLocation(const LibClang &lib, CXSourceLocation location, CXFile &file, unsigned &line,
                  unsigned &column)
{
    unsigned offset = 0;
    lib.clang_getSpellingLocation(location, &file, &line, &column, &offset);
    if (!file)
        lib.clang_getInstantiationLocation(location, &file, &line, &column, &offset);
}

ClangSymbol describe(const LibClang &lib, CXCursor cursor)
{
    ClangSymbol symbol;
    CXFile file = nullptr;
    unsigned line = 0;
    unsigned column = 0;
    nameLocation(lib, lib.clang_getCursorLocation(cursor), file, line, column);
    symbol.line = int(line);
    symbol.column = int(column);
    if (file)
        symbol.path = lib.take(lib.clang_getFileName(file));
    symbol.kind = lib.clang_getCursorKind(cursor);
    symbol.definition = lib.clang_isCursorDefinition(cursor) != 0;
    symbol.kindSpelling = lib.take(lib.clang_getCursorKindSpelling(symbol.kind));
    symbol.name = lib.take(lib.clang_getCursorSpelling(cursor));
    symbol.usr = lib.take(lib.clang_getCursorUSR(cursor));
    return symbol;
}

// State of the walk that collects a file's declarations.
struct IndexWalk {
    const LibClang &lib;
    CXFile file;
    std::vector<ClangSymbol> &symbols;
};

bool inFile(const IndexWalk &walk, CXCursor cursor)
{
    CXFile file = nullptr;
    unsigned line = 0;
    unsigned column = 0;
    nameLocation(walk.lib, walk.lib.clang_getCursorLocation(cursor), file, line, column);
    return file && walk.lib.clang_File_isEqual(file, walk.file);
}

void record(IndexWalk &walk, CXCursor cursor)
{
    ClangSymbol symbol = describe(walk.lib, cursor);
    // An unnamed struct or union is listed through its typedef or variable; its fields still are.
    if (!symbol.name.isEmpty())
        walk.symbols.push_back(std::move(symbol));
}

// Declarations at file scope and inside tags; function bodies hold only locals and are not
// entered.
int visitDeclaration(CXCursor cursor, CXCursor parent, CXClientData data)
{
    IndexWalk &walk = *static_cast<IndexWalk *>(data);
    const int kind = walk.lib.clang_getCursorKind(cursor);
    switch (kind) {
    case C::cursorStructDecl:
    case C::cursorUnionDecl:
    case C::cursorEnumDecl:
        if (inFile(walk, cursor))
            record(walk, cursor);
        return C::childVisitRecurse;
    case C::cursorLinkageSpec:
        return C::childVisitRecurse;
    case C::cursorFieldDecl:
    case C::cursorEnumConstantDecl:
    case C::cursorTypedefDecl:
    case C::cursorFunctionDecl:
    case C::cursorMacroDefinition:
        if (inFile(walk, cursor))
            record(walk, cursor);
        return C::childVisitContinue;
    case C::cursorVarDecl: {
        const int parentKind = walk.lib.clang_getCursorKind(parent);
        if ((parentKind == C::cursorTranslationUnit || parentKind == C::cursorLinkageSpec)
            && inFile(walk, cursor))
            record(walk, cursor);
        return C::childVisitContinue;
    }
    default:
        return C::childVisitContinue;
    }
}

struct ReferenceWalk {
    const LibClang &lib;
    std::vector<ClangLocation> &locations;
};

int visitReference(void *context, CXCursor, CXSourceRange range)
{
    ReferenceWalk &walk = *static_cast<ReferenceWalk *>(context);
    CXFile file = nullptr;
    unsigned line = 0;
    unsigned column = 0;
    nameLocation(walk.lib, walk.lib.clang_getRangeStart(range), file, line, column);
    walk.locations.push_back({int(line), int(column)});
    return C::visitContinue;
}

// The search for the innermost cursor of the syntax tree whose name is written at a place.
struct NameSearch {
    const LibClang &lib;
    CXFile file;
    unsigned line;
    unsigned column;
    CXCursor found;
};

int visitForName(CXCursor cursor, CXCursor, CXClientData data)
{
    NameSearch &search = *static_cast<NameSearch *>(data);
    const LibClang &lib = search.lib;
    const int kind = lib.clang_getCursorKind(cursor);
    if (kind >= C::cursorFirstPreprocessing && kind <= C::cursorLastPreprocessing)
        return C::childVisitContinue;
    const CXSourceRange extent = lib.clang_getCursorExtent(cursor);
    CXFile file = nullptr;
    unsigned first = 0, last = 0, column = 0, offset = 0;
    lib.clang_getSpellingLocation(lib.clang_getRangeStart(extent), &file, &first, &column, &offset);
    if (!file || !lib.clang_File_isEqual(file, search.file))
        return C::childVisitContinue;
    lib.clang_getSpellingLocation(lib.clang_getRangeEnd(extent), &file, &last, &column, &offset);
    if (search.line < first || search.line > last)
        return C::childVisitContinue;
    unsigned line = 0;
    nameLocation(lib, lib.clang_getCursorLocation(cursor), file, line, column);
    if (line == search.line && column == search.column && file
        && lib.clang_File_isEqual(file, search.file))
        search.found = cursor;
    return C::childVisitRecurse;
}

// The text of a completion candidate with its result type in front: "int add(int a, int b)".
QString completionText(const LibClang &lib, CXCompletionString string, QString &typedText)
{
    QString resultType;
    QString body;
    const unsigned chunks = lib.clang_getNumCompletionChunks(string);
    for (unsigned i = 0; i < chunks; ++i) {
        const int kind = lib.clang_getCompletionChunkKind(string, i);
        if (kind == C::chunkOptional || kind == C::chunkInformative)
            continue;
        const QString text = lib.take(lib.clang_getCompletionChunkText(string, i));
        if (kind == C::chunkResultType)
            resultType = text;
        else if (kind == C::chunkVerticalSpace)
            body += u' ';
        else
            body += text;
        if (kind == C::chunkTypedText)
            typedText += text;
    }
    return resultType.isEmpty() ? body : resultType + u' ' + body;
}

bool completionBefore(const ClangCompletion &a, const ClangCompletion &b)
{
    if (a.priority != b.priority)
        return a.priority < b.priority;
    const int folded = a.typedText.compare(b.typedText, Qt::CaseInsensitive);
    if (folded != 0)
        return folded < 0;
    return a.typedText < b.typedText;
}

} // namespace

// One request against the units of the engine.
class ClangEngine::Job {
public:
    Job(ClangEngine &engine, const ClangRequest &request);
    void run(ClangReply &reply);

private:
    void complete(ClangReply &reply);
    void index(ClangReply &reply);
    void cursorReferenced(ClangReply &reply);
    void references(ClangReply &reply);
    void ranges(ClangReply &reply);
    void evaluate(ClangReply &reply);

    // The text of the file positions refer to, from the unsaved files or the disk.
    QByteArray positionBuffer() const;
    // The bytes of the request's line; throws HException for a position past the end.
    QByteArray checkedLine() const;
    CXFile positionFile(CXTranslationUnit unit) const;
    // The cursor of the token under the position (or ending at it); a null cursor when there is
    // none, or, with `identifiersOnly`, when it is not an identifier.
    CXCursor tokenCursor(CXTranslationUnit unit, bool identifiersOnly) const;
    // The entity the token under the position refers to; null when nothing is there.
    CXCursor referencedAt(CXTranslationUnit unit) const;
    [[noreturn]] void fail(const QString &text) const;

    ClangEngine &m_engine;
    const LibClang &m_lib;
    const ClangRequest &m_request;
    QString m_path; // the file positions refer to
    QByteArray m_pathBytes;
    std::vector<QByteArray> m_names;
    std::vector<CXUnsavedFile> m_unsaved;
};

ClangEngine::Job::Job(ClangEngine &engine, const ClangRequest &request)
    : m_engine(engine), m_lib(engine.m_library), m_request(request),
      m_path(request.sourcePath.isEmpty() ? request.mainPath : request.sourcePath),
      m_pathBytes(m_path.toUtf8())
{
    m_names.reserve(request.unsaved.size());
    for (const ClangUnsavedFile &file : request.unsaved) {
        m_names.push_back(file.name.toUtf8());
        m_unsaved.push_back({m_names.back().constData(), file.contents.constData(),
                             static_cast<unsigned long>(file.contents.size())});
    }
}

void ClangEngine::Job::fail(const QString &text) const
{
    throw HException(text);
}

void ClangEngine::Job::run(ClangReply &reply)
{
    if (m_request.mainPath.isEmpty())
        fail(QStringLiteral("No main file given"));
    switch (m_request.command) {
    case ClangCommand::Completion:
        return complete(reply);
    case ClangCommand::Index:
        return index(reply);
    case ClangCommand::CursorReferenced:
        return cursorReferenced(reply);
    case ClangCommand::Ranges:
        return ranges(reply);
    case ClangCommand::References:
        return references(reply);
    case ClangCommand::CursorEvaluate:
        return evaluate(reply);
    }
}

QByteArray ClangEngine::Job::positionBuffer() const
{
    for (const ClangUnsavedFile &file : m_request.unsaved) {
        if (file.name == m_path)
            return file.contents;
    }
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly))
        fail(QStringLiteral("Cannot read %1: %2").arg(m_path, file.errorString()));
    if (file.size() > positionCheckLimit)
        fail(QStringLiteral("%1 is too large (%2 bytes)").arg(m_path).arg(file.size()));
    return file.readAll();
}

QByteArray ClangEngine::Job::checkedLine() const
{
    const QByteArray buffer = positionBuffer();
    const int line = m_request.line;
    qsizetype start = line < 1 ? -1 : 0;
    for (int i = 1; i < line && start >= 0; ++i) {
        const qsizetype end = buffer.indexOf('\n', start);
        start = end < 0 ? -1 : end + 1;
    }
    if (start < 0) {
        const qsizetype lines =
            buffer.count('\n') + (buffer.endsWith('\n') || buffer.isEmpty() ? 0 : 1);
        fail(QStringLiteral("%1:%2:%3: past the end of the file, which has %4 lines")
                 .arg(m_path)
                 .arg(line)
                 .arg(m_request.column)
                 .arg(lines));
    }
    qsizetype end = buffer.indexOf('\n', start);
    if (end < 0)
        end = buffer.size();
    const QByteArray text = buffer.mid(start, end - start);
    if (m_request.column < 1 || m_request.column > text.size() + 1) {
        fail(QStringLiteral("%1:%2:%3: past the end of the line, which has %4 bytes")
                 .arg(m_path)
                 .arg(line)
                 .arg(m_request.column)
                 .arg(text.size()));
    }
    return text;
}

CXFile ClangEngine::Job::positionFile(CXTranslationUnit unit) const
{
    CXFile file = m_lib.clang_getFile(unit, m_pathBytes.constData());
    if (!file)
        fail(QStringLiteral("%1 is not part of the translation unit of %2")
                 .arg(m_path, m_request.mainPath));
    return file;
}

CXCursor ClangEngine::Job::tokenCursor(CXTranslationUnit unit, bool identifiersOnly) const
{
    const QByteArray line = checkedLine();
    const CXFile file = positionFile(unit);
    const unsigned row = unsigned(m_request.line);
    const CXSourceRange range =
        m_lib.clang_getRange(m_lib.clang_getLocation(unit, file, row, 1),
                             m_lib.clang_getLocation(unit, file, row, unsigned(line.size()) + 1));
    CXToken *tokens = nullptr;
    unsigned count = 0;
    m_lib.clang_tokenize(unit, range, &tokens, &count);
    // The token that holds the position, else the one that ends right before it: the point
    // just behind a name, as editors place it.
    const CXToken *holding = nullptr;
    const CXToken *ending = nullptr;
    const unsigned column = unsigned(m_request.column);
    for (unsigned i = 0; i < count && !holding; ++i) {
        const CXSourceRange extent = m_lib.clang_getTokenExtent(unit, tokens[i]);
        CXFile at = nullptr;
        unsigned startLine = 0, startColumn = 0, endLine = 0, endColumn = 0, offset = 0;
        m_lib.clang_getSpellingLocation(m_lib.clang_getRangeStart(extent), &at, &startLine,
                                        &startColumn, &offset);
        m_lib.clang_getSpellingLocation(m_lib.clang_getRangeEnd(extent), &at, &endLine, &endColumn,
                                        &offset);
        if (startLine != row || startColumn > column)
            continue;
        if (column < endColumn || endLine > row)
            holding = &tokens[i];
        else if (column == endColumn)
            ending = &tokens[i];
    }
    const auto usable = [&](const CXToken *token) {
        return token
               && (!identifiersOnly || m_lib.clang_getTokenKind(*token) == C::tokenIdentifier);
    };
    const CXToken *found = usable(holding) ? holding : usable(ending) ? ending : nullptr;
    CXCursor cursor = m_lib.clang_getNullCursor();
    if (found) {
        const CXSourceLocation location = m_lib.clang_getTokenLocation(unit, *found);
        cursor = m_lib.clang_getCursor(unit, location);
        if (m_lib.clang_getCursorKind(cursor) == C::cursorMacroExpansion
            && !m_lib.clang_equalLocations(m_lib.clang_getCursorLocation(cursor), location)) {
            // A token among a macro's arguments: what it names is in the syntax tree, which the
            // lookup by location does not reach through the expansion.
            CXFile at = nullptr;
            unsigned line = 0, tokenColumn = 0;
            nameLocation(m_lib, location, at, line, tokenColumn);
            NameSearch search{m_lib, file, line, tokenColumn, m_lib.clang_getNullCursor()};
            m_lib.clang_visitChildren(m_lib.clang_getTranslationUnitCursor(unit), visitForName,
                                      &search);
            cursor = search.found;
        }
    }
    if (tokens)
        m_lib.clang_disposeTokens(unit, tokens, count);
    return cursor;
}

CXCursor ClangEngine::Job::referencedAt(CXTranslationUnit unit) const
{
    const CXCursor cursor = tokenCursor(unit, true);
    if (m_lib.clang_Cursor_isNull(cursor) || isInvalid(m_lib.clang_getCursorKind(cursor)))
        return m_lib.clang_getNullCursor();
    // The name of a #define refers to nothing in the library's eyes, yet it is what its uses
    // refer to: at the definition, the definition itself is meant.
    if (m_lib.clang_getCursorKind(cursor) == C::cursorMacroDefinition)
        return cursor;
    const CXCursor referenced = m_lib.clang_getCursorReferenced(cursor);
    if (m_lib.clang_Cursor_isNull(referenced) || isInvalid(m_lib.clang_getCursorKind(referenced)))
        return m_lib.clang_getNullCursor();
    return referenced;
}

void ClangEngine::Job::complete(ClangReply &reply)
{
    const QByteArray line = checkedLine();
    int column = m_request.column;
    QByteArray prefix;
    if (m_request.flags & ClangCompletionFlag::prefixFromToken) {
        int start = column - 1;
        while (start > 0 && isIdentifierByte(line.at(start - 1)))
            --start;
        prefix = line.mid(start, column - 1 - start);
        column = start + 1;
    }
    const CXTranslationUnit unit = m_engine.unitFor(m_request, ClangParse::plain, false, m_unsaved);
    unsigned options = m_lib.clang_defaultCodeCompleteOptions();
    if (m_request.flags & ClangCompletionFlag::includeMacros)
        options |= ClangCompletionFlag::includeMacros;
    else
        options &= ~ClangCompletionFlag::includeMacros;
    CXCodeCompleteResults *results = m_lib.clang_codeCompleteAt(
        unit, m_pathBytes.constData(), unsigned(m_request.line), unsigned(column), m_unsaved.data(),
        unsigned(m_unsaved.size()), options);
    if (!results)
        fail(QStringLiteral("%1:%2:%3: completion failed")
                 .arg(m_path)
                 .arg(m_request.line)
                 .arg(column));
    const QString prefixText = QString::fromUtf8(prefix);
    for (unsigned i = 0; i < results->NumResults; ++i) {
        const CXCompletionResult &result = results->Results[i];
        ClangCompletion completion;
        completion.availability = m_lib.clang_getCompletionAvailability(result.CompletionString);
        if (completion.availability == C::availabilityNotAvailable)
            continue;
        completion.text = completionText(m_lib, result.CompletionString, completion.typedText);
        if (!completion.typedText.startsWith(prefixText, Qt::CaseInsensitive))
            continue;
        completion.priority = int(m_lib.clang_getCompletionPriority(result.CompletionString));
        completion.kind = result.CursorKind;
        completion.kindSpelling = m_lib.take(m_lib.clang_getCursorKindSpelling(result.CursorKind));
        reply.completions.push_back(std::move(completion));
    }
    m_lib.clang_disposeCodeCompleteResults(results);
    std::stable_sort(reply.completions.begin(), reply.completions.end(), completionBefore);
}

void ClangEngine::Job::index(ClangReply &reply)
{
    const CXTranslationUnit unit =
        m_engine.unitFor(m_request, m_request.parseOptions, true, m_unsaved);
    IndexWalk walk{m_lib, positionFile(unit), reply.symbols};
    m_lib.clang_visitChildren(m_lib.clang_getTranslationUnitCursor(unit), visitDeclaration, &walk);
    std::stable_sort(reply.symbols.begin(), reply.symbols.end(),
                     [](const ClangSymbol &a, const ClangSymbol &b) {
                         return a.line != b.line ? a.line < b.line : a.column < b.column;
                     });
}

void ClangEngine::Job::cursorReferenced(ClangReply &reply)
{
    const CXTranslationUnit unit =
        m_engine.unitFor(m_request, m_request.parseOptions, true, m_unsaved);
    const CXCursor referenced = referencedAt(unit);
    if (m_lib.clang_Cursor_isNull(referenced))
        return;
    const CXCursor definition = m_lib.clang_getCursorDefinition(referenced);
    const bool hasDefinition =
        !m_lib.clang_Cursor_isNull(definition) && !isInvalid(m_lib.clang_getCursorKind(definition));
    reply.symbols.push_back(describe(m_lib, hasDefinition ? definition : referenced));
}

void ClangEngine::Job::references(ClangReply &reply)
{
    const CXTranslationUnit unit =
        m_engine.unitFor(m_request, m_request.parseOptions, true, m_unsaved);
    const CXCursor referenced = referencedAt(unit);
    if (m_lib.clang_Cursor_isNull(referenced))
        return;
    ReferenceWalk walk{m_lib, reply.locations};
    m_lib.clang_findReferencesInFile(referenced, positionFile(unit), {&walk, visitReference});
    auto &locations = reply.locations;
    std::sort(locations.begin(), locations.end(),
              [](const ClangLocation &a, const ClangLocation &b) {
                  return a.line != b.line ? a.line < b.line : a.column < b.column;
              });
    locations.erase(std::unique(locations.begin(), locations.end()), locations.end());
}

void ClangEngine::Job::ranges(ClangReply &reply)
{
    const CXTranslationUnit unit =
        m_engine.unitFor(m_request, m_request.parseOptions, true, m_unsaved);
    CXSourceRangeList *list = m_lib.clang_getSkippedRanges(unit, positionFile(unit));
    if (!list)
        return;
    for (unsigned i = 0; i < list->count; ++i) {
        CXFile file = nullptr;
        unsigned first = 0, last = 0, column = 0, offset = 0;
        m_lib.clang_getSpellingLocation(m_lib.clang_getRangeStart(list->ranges[i]), &file, &first,
                                        &column, &offset);
        m_lib.clang_getSpellingLocation(m_lib.clang_getRangeEnd(list->ranges[i]), &file, &last,
                                        &column, &offset);
        reply.ranges.push_back({int(first), int(last), m_path});
    }
    m_lib.clang_disposeSourceRangeList(list);
}

void ClangEngine::Job::evaluate(ClangReply &reply)
{
    const CXTranslationUnit unit =
        m_engine.unitFor(m_request, m_request.parseOptions, true, m_unsaved);
    const CXCursor cursor = tokenCursor(unit, false);
    if (m_lib.clang_Cursor_isNull(cursor) || isInvalid(m_lib.clang_getCursorKind(cursor)))
        return;
    // An expression evaluates by itself; a name that does not is taken to its declaration,
    // whose initializer may.
    CXEvalResult result = m_lib.clang_Cursor_Evaluate(cursor);
    if (!result) {
        const CXCursor referenced = m_lib.clang_getCursorReferenced(cursor);
        if (!m_lib.clang_Cursor_isNull(referenced) && !m_lib.clang_equalCursors(referenced, cursor))
            result = m_lib.clang_Cursor_Evaluate(referenced);
    }
    if (!result)
        return;
    switch (m_lib.clang_EvalResult_getKind(result)) {
    case C::evalInt:
        reply.evaluation = QString::number(m_lib.clang_EvalResult_getAsInt(result));
        break;
    case C::evalFloat:
        reply.evaluation = QString::asprintf("%g", m_lib.clang_EvalResult_getAsDouble(result));
        break;
    case C::evalStrLiteral:
    case C::evalObjCStrLiteral:
    case C::evalCFStr: {
        const char *text = m_lib.clang_EvalResult_getAsStr(result);
        reply.evaluation = QString::fromUtf8(text ? text : "");
        break;
    }
    default:
        break;
    }
    m_lib.clang_EvalResult_dispose(result);
}

ClangEngine::ClangEngine(const LibClang &library, int keptUnits, bool displayDiagnostics)
    : m_library(library), m_keptUnits(qMax(0, keptUnits))
{
    m_index = m_library.clang_createIndex(0, displayDiagnostics ? 1 : 0);
    if (!m_index)
        throw HException(QStringLiteral("libclang could not create an index"));
}

ClangEngine::~ClangEngine()
{
    disposeUnits(0);
    m_library.clang_disposeIndex(m_index);
}

ClangReply ClangEngine::run(const ClangRequest &request)
{
    ClangReply reply;
    try {
        Job job(*this, request);
        job.run(reply);
    } catch (const HException &error) {
        reply = ClangReply();
        reply.status = ClangStatus::Failed;
        reply.error = error.message();
    }
    disposeUnits(std::size_t(m_keptUnits));
    return reply;
}

void ClangEngine::disposeUnits(std::size_t keep)
{
    while (m_units.size() > keep) {
        m_library.clang_disposeTranslationUnit(m_units.front().handle);
        m_units.erase(m_units.begin());
    }
}

CXTranslationUnit ClangEngine::unitFor(const ClangRequest &request, unsigned options, bool reparse,
                                       std::vector<CXUnsavedFile> &unsaved)
{
    QByteArray key = request.mainPath.toUtf8();
    for (const QString &argument : request.arguments)
        key += '\0' + argument.toUtf8();
    key += '\0' + QByteArray::number(options);
    const auto kept = std::find_if(m_units.begin(), m_units.end(),
                                   [&](const Unit &unit) { return unit.key == key; });
    if (kept != m_units.end()) {
        Unit unit = *kept;
        m_units.erase(kept);
        const int failed = !reparse ? 0
                                    : m_library.clang_reparseTranslationUnit(
                                        unit.handle, unsigned(unsaved.size()), unsaved.data(),
                                        m_library.clang_defaultReparseOptions(unit.handle));
        if (!failed) {
            m_units.push_back(unit);
            return unit.handle;
        }
        // A unit whose reparse failed is unusable: only disposing of it is allowed.
        m_library.clang_disposeTranslationUnit(unit.handle);
    }
    const CXTranslationUnit handle = parse(request, options, unsaved);
    m_units.push_back({key, handle});
    disposeUnits(std::size_t(qMax(1, m_keptUnits)));
    return handle;
}

CXTranslationUnit ClangEngine::parse(const ClangRequest &request, unsigned options,
                                     std::vector<CXUnsavedFile> &unsaved)
{
    std::vector<QByteArray> arguments;
    arguments.reserve(std::size_t(request.arguments.size()));
    for (const QString &argument : request.arguments)
        arguments.push_back(argument.toUtf8());
    std::vector<const char *> argv;
    for (const QByteArray &argument : arguments)
        argv.push_back(argument.constData());
    // A kept unit is reparsed on every edit: its preamble (the includes at the top) is compiled
    // once, and each reparse and completion starts behind it.
    if (m_keptUnits > 0)
        options |= C::precompiledPreamble | C::createPreambleOnFirstParse;
    const QByteArray main = request.mainPath.toUtf8();
    CXTranslationUnit unit = nullptr;
    const int error = m_library.clang_parseTranslationUnit2(
        m_index, main.constData(), argv.data(), int(argv.size()), unsaved.data(),
        unsigned(unsaved.size()), options, &unit);
    if (error != C::errorSuccess || !unit) {
        throw HException(QStringLiteral("libclang could not parse %1 (error %2)")
                             .arg(request.mainPath)
                             .arg(error));
    }
    return unit;
}
