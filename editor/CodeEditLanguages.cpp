#include "editor/CodeEditLanguages.h"

using namespace CodeEditScan;
using Fold = KeywordSet::Fold;

const char16_t *CodeEditLineParser::parse(const char16_t *input, char16_t *output, int *blockDelta)
{
    Output out(output);
    if (!input) {
        out.finish();
        return nullptr;
    }
    const char16_t *end = scan(input, out, blockDelta);
    out.finish();
    return end + 1;
}

namespace {

bool isQuote(char16_t c)
{
    return c == '"' || c == '\'';
}

const char16_t *numberAt(const char16_t *p, Output &out)
{
    const char16_t *end = numberEnd(p);
    out.run(ClassLiteral, p, end);
    return end;
}

// Continues a literal that a backslash carried over from the line before.
const char16_t *continuedString(const char16_t *p, Output &out, qint32 &state)
{
    const char16_t quote = char16_t(state);
    state = 0;
    return stringBody(p, quote, out, state);
}

} // namespace

// ---- Assembly

CodeEditAssemblyParser::CodeEditAssemblyParser()
    : m_registers{"r0",  "R0",  "r1",  "R1",  "r2",  "R2",  "r3",  "R3",  "r4",  "R4",
                  "r5",  "R5",  "r6",  "R6",  "r7",  "R7",  "r8",  "R8",  "r9",  "R9",
                  "r10", "R10", "r11", "R11", "r12", "R12", "r13", "R13", "r14", "R14",
                  "r15", "R15", "sr",  "SR",  "pc",  "PC",  "sp",  "SP"}
{
}

const char16_t *CodeEditAssemblyParser::scan(const char16_t *input, Output &out, int *blockDelta)
{
    const char16_t *p = input;
    if (state == 1)
        p = blockCommentBody(p, out, state);
    else if (isQuote(char16_t(state)))
        p = continuedString(p, out, state);
    else
        state = 0;
    while (const char16_t c = *p) {
        if (state == 1)
            break;
        if ((c == ';' || c == '@' || c == '#') && (p == input || isBlank(p[-1]))) {
            p = lineComment(p, 1, out);
        } else if (c == '/' && p[1] == '*') {
            out.run(ClassComment, p, p + 2);
            state = 1;
            p = blockCommentBody(commentStart(p + 2, out), out, state);
        } else if (isQuote(c)) {
            p = quotedString(p, out, state);
        } else if (c == '.' && isWordStart(p[1])) {
            const char16_t *end = skipWord(p + 1);
            out.run(ClassPreprocessor, p, end);
            p = end;
        } else if (c == '$' && isHexDigit(p[1])) {
            const char16_t *end = p + 1;
            while (isLetterOrDigit(*end))
                ++end;
            out.run(ClassLiteral, p, end);
            p = end;
        } else if (isDigit(c)) {
            p = numberAt(p, out);
        } else if (isWordStart(c)) {
            const char16_t *end = p;
            while (isWordPart(*end) || *end == '.')
                ++end;
            char16_t code = ClassText;
            if (*end == ':')
                code = ClassFunction, ++end;
            else if (m_registers.contains(std::u16string_view(p, size_t(end - p))))
                code = ClassRegister;
            out.run(code, p, end);
            p = end;
        } else {
            p = otherCharacter(p, out, blockDelta);
        }
    }
    return p;
}

bool CodeEditAssemblyParser::isCode(QStringView text, int column) const
{
    return isCodeAt(text, column, state);
}

// ---- Python

CodeEditPythonParser::CodeEditPythonParser()
    : m_keywords{"and",   "as",     "assert", "async",    "await",  "break", "class", "continue",
                 "def",   "del",    "elif",   "else",     "except", "exec",  "False", "finally",
                 "for",   "from",   "global", "if",       "import", "in",    "is",    "lambda",
                 "None",  "nonlocal", "not",  "or",       "pass",   "print", "raise", "return",
                 "True",  "try",    "while",  "with",     "yield"}
{
}

namespace {

// The body of a triple-quoted string up to and with its closing delimiter, which sets `state`
// to 0.
const char16_t *tripleBody(const char16_t *p, char16_t quote, Output &out, qint32 &state)
{
    out.setClass(ClassString);
    while (*p) {
        if (*p == '\\' && p[1]) {
            p = escapeAt(p, out);
        } else if (p[0] == quote && p[1] == quote && p[2] == quote) {
            out.run(ClassStringDelimiter, p, p + 3);
            state = 0;
            return p + 3;
        } else {
            out.put(*p++);
        }
    }
    return p;
}

} // namespace

const char16_t *CodeEditPythonParser::scan(const char16_t *input, Output &out, int *blockDelta)
{
    const char16_t *p = input;
    if (state == 1 || state == 2)
        p = tripleBody(p, state == 1 ? '"' : '\'', out, state);
    else if (isQuote(char16_t(state)))
        p = continuedString(p, out, state);
    else
        state = 0;
    while (const char16_t c = *p) {
        if (state == 1 || state == 2)
            break;
        if (c == '#') {
            p = lineComment(p, 1, out);
        } else if (isQuote(c) && p[1] == c && p[2] == c) {
            out.run(ClassStringDelimiter, p, p + 3);
            state = c == '"' ? 1 : 2;
            p = tripleBody(p + 3, c, out, state);
        } else if (isQuote(c)) {
            p = quotedString(p, out, state);
        } else if (isWordStart(c)) {
            const char16_t *end = skipWord(p);
            char16_t code = ClassText;
            if (m_keywords.contains(std::u16string_view(p, size_t(end - p))))
                code = ClassKeyword;
            else if (*end == '(')
                code = ClassFunction;
            out.run(code, p, end);
            p = end;
        } else if (isDigit(c) || (c == '.' && isDigit(p[1]))) {
            p = numberAt(p, out);
        } else {
            p = otherCharacter(p, out, blockDelta);
        }
    }
    return p;
}

// ---- Forth

CodeEditForthParser::CodeEditForthParser()
    : m_keywords({"[CHAR]", "[POSTPONE]", "[']", "CONSTANT", "2CONSTANT", "CODE", "CREATE",
                  "VARIABLE", "2VARIABLE", "IF", "THEN", "ELSE", "BEGIN", "UNTIL", "WHILE",
                  "REPEAT", "AGAIN", "AHEAD", "DO", "?DO", "LOOP", "+LOOP", "CASE", "OF", "ENDOF",
                  "ENDCASE"},
                 Fold::Upper)
{
}

QString CodeEditForthParser::delimiters() const
{
    return QStringLiteral("\\[\\]\\(\\)");
}

namespace {

bool sameFolded(const char16_t *p, const char16_t *end, const char *word)
{
    for (; *word; ++word, ++p) {
        if (p == end)
            return false;
        const char16_t c = *p >= 'a' && *p <= 'z' ? char16_t(*p - 32) : *p;
        if (c != char16_t(*word))
            return false;
    }
    return p == end;
}

bool allDigits(const char16_t *p, const char16_t *end, int base)
{
    if (p == end)
        return false;
    for (; p < end; ++p) {
        const char16_t c = *p | 0x20;
        const int value = isDigit(*p) ? *p - '0' : (c >= 'a' && c <= 'z') ? c - 'a' + 10 : 99;
        if (value >= base)
            return false;
    }
    return true;
}

// A number in Forth's forms: $hex, #decimal, %binary, 0x hex or decimal, with a sign before or
// after the base prefix and a trailing '.' for a double number.
bool isForthNumber(const char16_t *p, const char16_t *end)
{
    if (end > p && end[-1] == '.')
        --end;
    if (p < end && *p == '-')
        ++p;
    int base = 10;
    if (p < end && (*p == '$' || *p == '#' || *p == '%')) {
        base = *p == '$' ? 16 : *p == '#' ? 10 : 2;
        if (++p < end && *p == '-')
            ++p;
    }
    if (base == 10 && end - p > 2 && p[0] == '0' && (p[1] | 0x20) == 'x') {
        base = 16;
        p += 2;
    }
    return allDigits(p, end, base);
}

// Comment text up to and with `close`; `state` falls to 0 when it is found.
const char16_t *forthComment(const char16_t *p, char16_t close, Output &out, qint32 &state)
{
    out.setClass(ClassComment);
    while (*p) {
        if (*p == close) {
            out.put(*p);
            state = 0;
            return p + 1;
        }
        out.put(*p++);
    }
    return p;
}

} // namespace

const char16_t *CodeEditForthParser::scan(const char16_t *input, Output &out, int *)
{
    const char16_t *p = input;
    if (state == 1 || state == 2)
        p = forthComment(p, state == 1 ? ')' : '}', out, state);
    else
        state = 0;
    while (*p && state == 0) {
        if (isBlank(*p)) {
            out.setClass(ClassText);
            out.put(*p++);
            continue;
        }
        const char16_t *end = p;
        while (*end && !isBlank(*end))
            ++end;
        p = forthWord(p, end, out);
    }
    return p;
}

// One word from `p` to `end`, and what it takes of the text after it.
const char16_t *CodeEditForthParser::forthWord(const char16_t *p, const char16_t *end, Output &out)
{
    const size_t length = size_t(end - p);
    if (length == 1 && *p == '\\') {
        const char16_t *stop = lineEnd(p);
        out.run(ClassComment, p, stop);
        return stop;
    }
    if (length == 1 && (*p == '(' || *p == '{')) {
        state = *p == '(' ? 1 : 2;
        out.run(ClassComment, p, end);
        return forthComment(end, *p == '(' ? ')' : '}', out, state);
    }
    if (length == 1 && (*p == ':' || *p == ';')) {
        out.run(ClassKeyword, p, end);
        if (*p == ';')
            return end;
        while (isBlank(*end))
            out.put(*end++);
        const char16_t *name = end;
        while (*end && !isBlank(*end))
            ++end;
        out.run(ClassFunction, name, end);
        return end;
    }
    if (sameFolded(p, end, ".\"") || sameFolded(p, end, "S\"") || sameFolded(p, end, "C\"")
        || sameFolded(p, end, "ABORT\"")) {
        out.run(ClassStringDelimiter, p, end);
        const char16_t *close = end;
        while (*close && *close != '"')
            ++close;
        out.run(ClassString, end, close);
        if (!*close)
            return close;
        out.run(ClassStringDelimiter, close, close + 1);
        return close + 1;
    }
    char16_t code = ClassText;
    if (isForthNumber(p, end))
        code = ClassLiteral;
    else if (m_keywords.contains(std::u16string_view(p, length)))
        code = ClassKeyword;
    out.run(code, p, end);
    return end;
}

// ---- CMake

CodeEditCMakeParser::CodeEditCMakeParser()
    : m_commands(
          {"add_compile_definitions", "add_compile_options", "add_custom_command",
           "add_custom_target", "add_definitions", "add_dependencies", "add_executable",
           "add_library", "add_link_options", "add_subdirectory", "add_test",
           "aux_source_directory", "block", "break", "build_command", "cmake_host_system_information",
           "cmake_language", "cmake_minimum_required", "cmake_parse_arguments", "cmake_path",
           "cmake_policy", "configure_file", "continue", "create_test_sourcelist", "ctest_build",
           "ctest_configure", "ctest_coverage", "ctest_empty_binary_directory", "ctest_memcheck",
           "ctest_read_custom_files", "ctest_run_script", "ctest_sleep", "ctest_start",
           "ctest_submit", "ctest_test", "ctest_update", "ctest_upload", "define_property", "else",
           "elseif", "enable_language", "enable_testing", "endblock", "endforeach", "endfunction",
           "endif", "endmacro", "endwhile", "exec_program", "execute_process", "export",
           "export_library_dependencies", "file", "find_file", "find_library", "find_package",
           "find_path", "find_program", "foreach", "function", "get_cmake_property",
           "get_directory_property", "get_filename_component", "get_property",
           "get_source_file_property", "get_target_property", "get_test_property", "if",
           "include", "include_directories", "include_external_msproject", "include_guard",
           "include_regular_expression", "install", "install_files", "install_programs",
           "install_targets", "link_directories", "link_libraries", "list", "load_cache", "macro",
           "make_directory", "mark_as_advanced", "math", "message", "option", "project", "remove",
           "remove_definitions", "return", "separate_arguments", "set", "set_directory_properties",
           "set_property", "set_source_files_properties", "set_target_properties",
           "set_tests_properties", "site_name", "source_group", "string", "subdirs",
           "target_compile_definitions", "target_compile_features", "target_compile_options",
           "target_include_directories", "target_link_directories", "target_link_libraries",
           "target_link_options", "target_precompile_headers", "target_sources", "try_compile",
           "try_run", "unset", "variable_watch", "while", "write_file"},
          Fold::Lower)
{
}

namespace {

// `${...}` from `p`, nested references included; to the line end when it is not closed.
const char16_t *variableEnd(const char16_t *p)
{
    int depth = 0;
    for (; *p; ++p) {
        if (p[0] == '$' && p[1] == '{') {
            ++depth;
            ++p;
        } else if (*p == '}' && --depth == 0) {
            return p + 1;
        }
    }
    return p;
}

// A quoted argument after its opening quote: escapes, variables, and the closing quote, which
// sets `state` to 0. An argument not closed on this line goes on in the next.
const char16_t *cmakeQuoted(const char16_t *p, Output &out, qint32 &state)
{
    state = '"';
    out.setClass(ClassString);
    while (*p) {
        if (*p == '\\' && p[1]) {
            p = escapeAt(p, out);
        } else if (p[0] == '$' && p[1] == '{') {
            const char16_t *end = variableEnd(p);
            out.run(ClassPreprocessor, p, end);
            out.setClass(ClassString);
            p = end;
        } else if (*p == '"') {
            out.run(ClassStringDelimiter, p, p + 1);
            state = 0;
            return p + 1;
        } else {
            out.put(*p++);
        }
    }
    return p;
}

} // namespace

const char16_t *CodeEditCMakeParser::scan(const char16_t *input, Output &out, int *blockDelta)
{
    const char16_t *p = input;
    if (state == '"')
        p = cmakeQuoted(p, out, state);
    else
        state = 0;
    while (const char16_t c = *p) {
        if (state != 0)
            break;
        if (c == '#') {
            p = lineComment(p, 1, out);
        } else if (c == '"') {
            out.run(ClassStringDelimiter, p, p + 1);
            p = cmakeQuoted(p + 1, out, state);
        } else if (c == '$' && p[1] == '{') {
            const char16_t *end = variableEnd(p);
            out.run(ClassPreprocessor, p, end);
            p = end;
        } else if (isWordStart(c)) {
            const char16_t *end = skipWord(p);
            char16_t code = ClassText;
            if (m_commands.contains(std::u16string_view(p, size_t(end - p))))
                code = ClassKeyword;
            else if (*end == '(')
                code = ClassFunction;
            out.run(code, p, end);
            p = end;
        } else if (isDigit(c)) {
            p = numberAt(p, out);
        } else {
            p = otherCharacter(p, out, blockDelta);
        }
    }
    return p;
}

// ---- Device tree

namespace {

bool isDtsNamePart(char16_t c)
{
    return isWordPart(c) || c == '-' || c == ',' || c == '.' || c == '+' || c == '?' || c == '#';
}

const char16_t *dtsNameEnd(const char16_t *p)
{
    while (isDtsNamePart(*p))
        ++p;
    return p;
}

// A line of the C preprocessor: '#' and one of its directives.
bool isDirectiveLine(const char16_t *p)
{
    while (isBlank(*p))
        ++p;
    if (*p != '#')
        return false;
    ++p;
    while (isBlank(*p))
        ++p;
    const char16_t *end = skipWord(p);
    static const KeywordSet directives{"include", "define", "undef", "if", "ifdef", "ifndef", "else",
                                       "elif", "endif", "error", "pragma", "warning", "line"};
    return directives.contains(std::u16string_view(p, size_t(end - p)));
}

// `/name/` at `p`: the end after its closing slash, or null.
const char16_t *dtsDirectiveEnd(const char16_t *p)
{
    const char16_t *end = p + 1;
    while (isWordPart(*end) || *end == '-')
        ++end;
    return end > p + 1 && *end == '/' ? end + 1 : nullptr;
}

} // namespace

const char16_t *CodeEditDTSParser::scan(const char16_t *input, Output &out, int *blockDelta)
{
    const char16_t *p = input;
    if (state == 1) {
        p = blockCommentBody(p, out, state);
    } else if (isQuote(char16_t(state))) {
        p = continuedString(p, out, state);
    } else {
        state = 0;
        if (isDirectiveLine(p)) {
            const char16_t *end = lineEnd(p);
            out.run(ClassPreprocessor, p, end);
            return end;
        }
    }
    while (const char16_t c = *p) {
        if (state != 0)
            break;
        const char16_t *directive = nullptr;
        if (c == '/' && p[1] == '/') {
            p = lineComment(p, 2, out);
        } else if (c == '/' && p[1] == '*') {
            out.run(ClassComment, p, p + 2);
            state = 1;
            p = blockCommentBody(commentStart(p + 2, out), out, state);
        } else if (c == '/' && (directive = dtsDirectiveEnd(p))) {
            out.run(ClassPreprocessor, p, directive);
            p = directive;
        } else if (isQuote(c)) {
            p = quotedString(p, out, state);
        } else if (c == '&' && (isDtsNamePart(p[1]) || p[1] == '{')) {
            const char16_t *end = p + 1;
            if (*end == '{') {
                while (*end && *end != '}')
                    ++end;
                end += *end ? 1 : 0;
            } else {
                end = dtsNameEnd(end);
            }
            out.run(ClassFunction, p, end);
            p = end;
        } else if (isDigit(c)) {
            p = numberAt(p, out);
        } else if (isWordStart(c) || c == '#') {
            const char16_t *end = dtsNameEnd(p);
            if (*end == ':' && end[1] != ':')
                out.run(ClassFunction, p, ++end);
            else
                out.run(ClassText, p, end);
            p = end;
        } else {
            p = otherCharacter(p, out, blockDelta);
        }
    }
    return p;
}

// ---- XML

QString CodeEditXMLParser::delimiters() const
{
    return QStringLiteral("\\<\\>");
}

namespace {

// `&name;` or `&#...;` at `p`: its end, or null.
const char16_t *entityEnd(const char16_t *p)
{
    const char16_t *end = p + 1;
    if (*end == '#')
        ++end;
    const char16_t *name = end;
    while (isWordPart(*end) || *end == '.' || *end == '-')
        ++end;
    return end > name && *end == ';' ? end + 1 : nullptr;
}

bool startsWith(const char16_t *p, const char *text)
{
    for (; *text; ++text, ++p) {
        if (*p != char16_t(*text))
            return false;
    }
    return true;
}

} // namespace

const char16_t *CodeEditXMLParser::scan(const char16_t *input, Output &out, int *)
{
    if (state != 1 && state != 2 && state != 4)
        state = 0;
    const char16_t *p = input;
    while (const char16_t c = *p) {
        const char16_t *end = nullptr;
        switch (state) {
        case 1:
            out.setClass(ClassComment);
            if (startsWith(p, "-->")) {
                out.put(p, p + 3);
                state = 0;
                p += 3;
            } else {
                out.put(*p++);
            }
            break;
        case 2:
            if (c == '>' || ((c == '/' || c == '?') && p[1] == '>')) {
                end = p + (c == '>' ? 1 : 2);
                out.run(ClassXmlDelimiter, p, end);
                state = 0;
                p = end;
            } else if (c == '=') {
                out.run(ClassXmlDelimiter, p, p + 1);
                ++p;
            } else if (isQuote(c)) {
                out.run(ClassStringDelimiter, p, p + 1);
                stateText = QChar(c);
                state = 4;
                ++p;
            } else {
                out.setClass(ClassXmlAttribute);
                out.put(*p++);
            }
            break;
        case 4:
            if (!stateText.isEmpty() && c == stateText[0].unicode()) {
                out.run(ClassStringDelimiter, p, p + 1);
                stateText.clear();
                state = 2;
                ++p;
            } else if (c == '&' && (end = entityEnd(p))) {
                out.run(ClassStringEscape, p, end);
                p = end;
            } else {
                out.setClass(ClassString);
                out.put(*p++);
            }
            break;
        default:
            if (startsWith(p, "<!--")) {
                out.run(ClassComment, p, p + 4);
                state = 1;
                p += 4;
            } else if (c == '<') {
                end = p + (p[1] == '/' || p[1] == '?' || p[1] == '!' ? 2 : 1);
                out.run(ClassXmlDelimiter, p, end);
                p = end;
                while (*end && !isBlank(*end) && *end != '>' && *end != '/' && *end != '?')
                    ++end;
                out.run(ClassXmlMarkup, p, end);
                p = end;
                state = 2;
            } else if (c == '&' && (end = entityEnd(p))) {
                out.run(ClassStringEscape, p, end);
                p = end;
            } else {
                out.setClass(ClassText);
                out.put(*p++);
            }
            break;
        }
    }
    return p;
}

// ---- Languages of words

const char16_t *CodeEditWordParser::special(const char16_t *, Output &)
{
    return nullptr;
}

const char16_t *CodeEditWordParser::scan(const char16_t *input, Output &out, int *blockDelta)
{
    const char16_t *p = input;
    if (isQuote(char16_t(state)))
        p = continuedString(p, out, state);
    else if (state != 1)
        state = 0;
    while (const char16_t c = *p) {
        if (isQuote(char16_t(state)))
            break;
        if (const int opener = commentOpener(p, input)) {
            p = lineComment(p, opener, out);
        } else if (const char16_t *end = special(p, out)) {
            p = end;
        } else if (c == '"') {
            p = quotedString(p, out, state);
        } else if (isWordStart(c)) {
            const char16_t *end = skipWord(p);
            out.run(m_keywords.contains(std::u16string_view(p, size_t(end - p))) ? ClassKeyword : ClassText,
                    p, end);
            p = end;
        } else if (isDigit(c) || (c == '.' && isDigit(p[1]))) {
            p = numberAt(p, out);
        } else {
            p = otherCharacter(p, out, blockDelta);
        }
    }
    return p;
}

CodeEditVHDLParser::CodeEditVHDLParser()
{
    m_keywords = KeywordSet(
        {"abs", "access", "after", "alias", "all", "and", "architecture", "array", "assert",
         "attribute", "begin", "block", "body", "buffer", "bus", "case", "component",
         "configuration", "constant", "disconnect", "downto", "else", "elsif", "end", "entity",
         "exit", "file", "for", "function", "generate", "generic", "group", "guarded", "if",
         "impure", "in", "inertial", "inout", "is", "label", "library", "linkage", "literal",
         "loop", "map", "mod", "nand", "new", "next", "nor", "not", "null", "of", "on", "open",
         "or", "others", "out", "package", "port", "postponed", "procedure", "process", "pure",
         "range", "record", "register", "reject", "rem", "report", "return", "rol", "ror",
         "select", "severity", "signal", "shared", "sla", "sll", "sra", "srl", "subtype", "then",
         "to", "transport", "type", "unaffected", "units", "until", "use", "variable", "wait",
         "when", "while", "with", "xnor", "xor"},
        Fold::Lower);
}

int CodeEditVHDLParser::commentOpener(const char16_t *p, const char16_t *) const
{
    return p[0] == '-' && p[1] == '-' ? 2 : 0;
}

// A character literal such as '0'; a lone tick is the attribute mark.
const char16_t *CodeEditVHDLParser::special(const char16_t *p, Output &out)
{
    if (p[0] != '\'' || !p[1] || p[2] != '\'')
        return nullptr;
    out.run(ClassStringDelimiter, p, p + 1);
    out.run(ClassString, p + 1, p + 2);
    out.run(ClassStringDelimiter, p + 2, p + 3);
    return p + 3;
}

CodeEditSVFParser::CodeEditSVFParser()
{
    m_keywords = KeywordSet(
        {"enddr", "endir", "frequency", "hdr", "hir", "pio", "piomap", "runtest", "sdr", "sir",
         "state", "tdr", "tir", "trst", "tdi", "tdo", "mask", "smask", "endstate", "maximum",
         "reset", "idle", "drselect", "drcapture", "drshift", "drpause", "drexit1", "drexit2",
         "drupdate", "irselect", "ircapture", "irshift", "irpause", "irexit1", "irexit2",
         "irupdate", "hz", "in", "out", "tck", "inout", "sec", "on", "off", "absent"},
        Fold::Lower);
}

int CodeEditSVFParser::commentOpener(const char16_t *p, const char16_t *) const
{
    if (state == 1)
        return 0;
    return *p == '!' ? 1 : p[0] == '/' && p[1] == '/' ? 2 : 0;
}

namespace {

// The data inside parentheses, up to and with ')', which sets `state` to 0.
const char16_t *svfData(const char16_t *p, Output &out, qint32 &state)
{
    while (*p) {
        if (*p == ')') {
            out.run(ClassOperator, p, p + 1);
            state = 0;
            return p + 1;
        }
        out.setClass(isBlank(*p) ? ClassText : ClassLiteral);
        out.put(*p++);
    }
    return p;
}

} // namespace

const char16_t *CodeEditSVFParser::special(const char16_t *p, Output &out)
{
    if (state == 1)
        return svfData(p, out, state);
    if (*p != '(')
        return nullptr;
    out.run(ClassOperator, p, p + 1);
    state = 1;
    return svfData(p + 1, out, state);
}

CodeEditTessBasicParser::CodeEditTessBasicParser()
{
    m_keywords = KeywordSet(
        {"abs", "and", "as", "asc", "atn", "beep", "boolean", "byref", "byval", "call", "case",
         "cdbl", "chain", "chr$", "cint", "circle", "clear", "clng", "close", "cls", "color",
         "common", "const", "cos", "csng", "csrlin", "cvd", "cvi", "cvs", "data", "date$",
         "declare", "def", "defdbl", "defint", "deflng", "defsng", "defstr", "dim", "do",
         "double", "draw", "else", "elseif", "end", "endif", "environ$", "eof", "eqv", "erase",
         "erl", "err", "error", "exit", "exp", "false", "field", "files", "fix", "for", "fre",
         "function", "get", "gosub", "goto", "hex$", "if", "imp", "inkey$", "inp", "input",
         "input$", "instr", "int", "integer", "is", "kill", "lbound", "lcase$", "left$", "len",
         "let", "line", "loc", "locate", "lof", "log", "long", "loop", "lset", "ltrim$", "mid$",
         "mkd$", "mki$", "mks$", "mkdir", "mod", "name", "next", "not", "oct$", "on", "open",
         "option", "or", "out", "output", "peek", "poke", "pos", "preserve", "print", "put",
         "randomize", "read", "redim", "rem", "reset", "restore", "resume", "return", "right$",
         "rmdir", "rnd", "rset", "rtrim$", "run", "select", "sgn", "shared", "shell", "sin",
         "single", "sleep", "space$", "spc", "sqr", "static", "step", "stop", "str$", "string",
         "string$", "sub", "swap", "system", "tab", "tan", "then", "time$", "timer", "to",
         "true", "type", "ubound", "ucase$", "until", "val", "wait", "wend", "while", "width",
         "write", "xor", "peekb", "pokeb", "peekw", "pokew", "delay", "pin", "high", "low",
         "toggle", "adc", "pwm", "serial", "baud", "interrupt", "enable", "disable", "halt"},
        Fold::Lower);
}

int CodeEditTessBasicParser::commentOpener(const char16_t *p, const char16_t *lineStart) const
{
    if (*p == '\'')
        return 1;
    const bool wordStart = p == lineStart || !isWordPart(p[-1]);
    if (wordStart && (p[0] | 0x20) == 'r' && (p[1] | 0x20) == 'e' && (p[2] | 0x20) == 'm'
        && !isWordPart(p[3]) && p[3] != '$')
        return 3;
    return 0;
}

// Words with a type suffix ($, %), and strings in which "" stands for a quote.
const char16_t *CodeEditTessBasicParser::special(const char16_t *p, Output &out)
{
    if (isWordStart(*p)) {
        const char16_t *end = skipWord(p);
        if (*end == '$' || *end == '%')
            ++end;
        const std::u16string_view word(p, size_t(end - p));
        out.run(m_keywords.contains(word) ? ClassKeyword : ClassText, p, end);
        return end;
    }
    if (*p != '"')
        return nullptr;
    out.run(ClassStringDelimiter, p, p + 1);
    ++p;
    out.setClass(ClassString);
    while (*p) {
        if (p[0] == '"' && p[1] == '"') {
            out.run(ClassStringEscape, p, p + 2);
            out.setClass(ClassString);
            p += 2;
        } else if (*p == '"') {
            out.run(ClassStringDelimiter, p, p + 1);
            return p + 1;
        } else {
            out.put(*p++);
        }
    }
    return p;
}

// ---- YAML

const char16_t *CodeEditYAMLParser::scan(const char16_t *input, Output &out, int *blockDelta)
{
    const char16_t *p = input;
    if (isQuote(char16_t(state))) {
        p = continuedString(p, out, state);
    } else {
        state = 0;
        if ((startsWith(p, "---") || startsWith(p, "...")) && (!p[3] || isBlank(p[3]))) {
            out.run(ClassPreprocessor, p, p + 3);
            p += 3;
        } else {
            while (isBlank(*p))
                out.put(*p++);
            while (*p == '-' && (!p[1] || isBlank(p[1]))) {
                out.run(ClassOperator, p, p + 1);
                out.setClass(ClassText);
                ++p;
                while (isBlank(*p))
                    out.put(*p++);
            }
            const char16_t *key = p;
            while (*key && *key != ':' && *key != '#' && !isQuote(*key) && *key != '{' && *key != '[')
                ++key;
            if (key > p && *key == ':' && (!key[1] || isBlank(key[1]))) {
                out.run(ClassKeyword, p, key);
                out.run(ClassOperator, key, key + 1);
                p = key + 1;
            }
        }
    }
    while (const char16_t c = *p) {
        if (state != 0)
            break;
        if (c == '#' && (p == input || isBlank(p[-1]))) {
            p = lineComment(p, 1, out);
        } else if (isQuote(c)) {
            p = quotedString(p, out, state);
        } else if (isDigit(c)) {
            p = numberAt(p, out);
        } else if (isWordStart(c)) {
            const char16_t *end = skipWord(p);
            out.run(ClassText, p, end);
            p = end;
        } else {
            p = otherCharacter(p, out, blockDelta);
        }
    }
    return p;
}

// ---- Markdown

namespace {

// The closing asterisks of an emphasis from `p`: `**` when `strong`, else `*`; null when none
// follows on the line. `hopeless` remembers from where the search already failed, so a line full
// of lone asterisks stays linear.
const char16_t *emphasisClose(const char16_t *p, bool strong, const char16_t *&hopeless)
{
    if (hopeless && p >= hopeless)
        return nullptr;
    for (const char16_t *q = p; *q; ++q) {
        if (*q == '*' && (!strong || q[1] == '*'))
            return q;
    }
    hopeless = p;
    return nullptr;
}

} // namespace

const char16_t *CodeEditMarkdownParser::scan(const char16_t *input, Output &out, int *)
{
    state = 0;
    const char16_t *p = input;
    if (*p == '#') {
        const char16_t *end = lineEnd(p);
        out.run(ClassKeyword, p, end);
        return end;
    }
    if (p[0] == '*' && p[1] == ' ') {
        out.run(ClassKeyword, p, p + 1);
        ++p;
    }
    const char16_t *hopelessSingle = nullptr;
    const char16_t *hopelessDouble = nullptr;
    while (*p) {
        if (*p == '*') {
            const bool strong = p[1] == '*';
            const int width = strong ? 2 : 1;
            if (const char16_t *close = emphasisClose(p + width, strong, strong ? hopelessDouble : hopelessSingle)) {
                out.run(ClassDisassembly, p, close + width);
                p = close + width;
                continue;
            }
        }
        out.setClass(ClassComment);
        out.put(*p++);
    }
    return p;
}

// ---- Documentation files

const DocVocabulary &CodeEditDocGenParser::vocabulary() const
{
    return docGenVocabulary();
}

const DocVocabulary &CodeEditQvDocParser::vocabulary() const
{
    return qvDocVocabulary();
}

const char16_t *CodeEditDocGenParser::scan(const char16_t *input, Output &out, int *)
{
    qint32 scanState = state == 4 ? 4 : 3;
    const char16_t *p = docText(input, out, scanState, vocabulary(), ClassText);
    state = scanState == 4 ? 4 : 0;
    return p;
}

// ---- Disassembly

const char16_t *DisassemblyCodeEditParser::scan(const char16_t *input, Output &out, int *)
{
    state = 0;
    const char16_t *p = input;
    if (!(isHexDigit(p[0]) && isHexDigit(p[1]) && isHexDigit(p[2]))) {
        const char16_t *end = lineEnd(p);
        out.run(ClassText, p, end);
        return end;
    }
    const char16_t *space = p;
    while (*space && *space != ' ')
        ++space;
    out.run(ClassDisassembly, p, space);
    p = space;
    while (*p) {
        if (*p == ';') {
            const char16_t *end = lineEnd(p);
            out.run(ClassComment, p, end);
            p = end;
        } else if (*p == '<') {
            const char16_t *close = p + 1;
            while (*close && *close != '>' && *close != '<')
                ++close;
            if (*close != '>') {
                out.setClass(ClassText);
                out.put(*p++);
                continue;
            }
            out.run(ClassOperator, p, p + 1);
            const char16_t *plus = p + 1;
            while (plus < close && *plus != '+')
                ++plus;
            out.run(ClassFunction, p + 1, plus);
            if (plus < close) {
                out.run(ClassOperator, plus, plus + 1);
                out.run(ClassLiteral, plus + 1, close);
            }
            out.run(ClassOperator, close, close + 1);
            p = close + 1;
        } else {
            out.setClass(ClassText);
            out.put(*p++);
        }
    }
    return p;
}
