#include "editor/CodeEditStandardLanguages.h"

using namespace CodeEditScan;
using Fold = KeywordSet::Fold;

CodeEditCParser::CodeEditCParser() : CodeEditRawStringParser(true)
{
    keywords = KeywordSet{
        "_Alignas", "_Alignof", "_Atomic", "_Bool", "_Complex", "_Imaginary", "_Noreturn",
        "_Static_assert", "_Thread_local", "alignas", "alignof", "and", "and_eq", "asm", "auto",
        "bitand", "bitor", "bool", "break", "case", "catch", "char", "char16_t", "char32_t",
        "class", "compl", "const", "constexpr", "const_cast", "continue", "decltype", "default",
        "delete", "do", "double", "dynamic_cast", "else", "enum", "explicit", "export", "extern",
        "false", "final", "float", "for", "friend", "goto", "if", "inline", "int", "long",
        "mutable", "namespace", "new", "noexcept", "noreturn", "not", "not_eq", "nullptr",
        "operator", "or", "or_eq", "overload", "override", "private", "protected", "public",
        "register", "reinterpret_cast", "restrict", "return", "short", "signed", "sizeof",
        "static", "static_assert", "static_cast", "struct", "switch", "template", "this",
        "thread_local", "throw", "true", "try", "typedef", "typeid", "typename", "union",
        "unsigned", "using", "virtual", "void", "volatile", "while", "xor", "xor_eq", "size_t",
        "ptrdiff_t", "wchar_t", "sfrb", "sfrw", "__code", "__monitor", "__interrupt",
        "__toplevel", "__packed", "__attribute__", "__asm__", "__inline__", "__label__"};
}

CodeEditJavaParser::CodeEditJavaParser() : CodeEditStandardParser(true)
{
    keywords = KeywordSet{
        "abstract", "boolean", "break", "byte", "case", "catch", "char", "class", "const",
        "continue", "default", "do", "double", "else", "extends", "final", "finally", "float",
        "for", "goto", "if", "implements", "import", "instanceof", "int", "interface", "long",
        "native", "new", "package", "private", "protected", "public", "return", "short",
        "static", "super", "switch", "synchronized", "this", "throw", "throws", "transient",
        "try", "void", "volatile", "while", "true", "false", "null"};
}

CodeEditJavaScriptParser::CodeEditJavaScriptParser() : CodeEditStandardParser(true)
{
    keywords = KeywordSet{
        "break", "case", "catch", "continue", "default", "delete", "do", "else", "finally", "for",
        "function", "if", "in", "instanceof", "new", "return", "switch", "this", "throw", "try",
        "typeof", "var", "void", "while", "with", "abstract", "boolean", "byte", "char", "class",
        "const", "debugger", "double", "enum", "export", "extends", "final", "float", "goto",
        "implements", "import", "int", "interface", "long", "native", "package", "private",
        "protected", "public", "short", "static", "super", "synchronized", "throws", "transient",
        "volatile"};
}

CodeEditIARLinkScriptParser::CodeEditIARLinkScriptParser() : CodeEditStandardParser(false)
{
    // The directives and qualifiers of the linker configuration language, and the commands of
    // the other common linker script form that shares the .ld extension.
    keywordsFolded = KeywordSet({
        "define", "memory", "region", "block", "overlay", "symbol", "exported", "initialize",
        "by", "copy", "manually", "zero", "do", "not", "place", "at", "in", "start", "end",
        "size", "with", "alignment", "align", "fixed", "order", "readonly", "readwrite", "ro",
        "rw", "section", "object", "keep", "export", "include", "if", "else", "isdefinedsymbol",
        "minimum", "maximum", "expanding", "first", "last", "static", "packed", "packing", "none",
        "auto", "smallest", "compress1", "compress2", "compress3", "lz77", "zeros", "noinit",
        "code", "data", "const", "from", "to", "image", "root", "alphabetical", "use", "init_array",
        "ro_code", "ro_data", "rw_code", "rw_data", "zi", "zeroinit", "to_end", "from_end",
        "sections", "entry", "provide", "provide_hidden", "origin", "length", "output_format",
        "output_arch", "search_dir", "input", "group", "output", "assert", "extern", "absolute",
        "addr", "loadaddr", "sizeof", "defined", "discard", "sort", "sort_by_name",
        "sort_by_alignment", "fill", "byte", "short", "long", "quad", "noload", "startup"},
                                Fold::Lower);
}

CodeEditXCParser::CodeEditXCParser() : CodeEditStandardParser(true)
{
    keywords = KeywordSet{
        "auto", "else", "return", "union", "break", "enum", "short", "unsigned", "case", "extern",
        "signed", "void", "char", "for", "sizeof", "volatile", "const", "if", "static", "while",
        "continue", "int", "struct", "default", "long", "switch", "do", "register", "typedef",
        "buffered", "inline", "out", "slave", "chan", "isnull", "par", "streaming", "chanend",
        "master", "port", "timer", "core", "null", "select", "transaction", "in", "on", "service",
        "when", "clock", "accept", "claim", "float", "restrict", "asm", "double", "module"};
}

CodeEditMDParser::CodeEditMDParser() : CodeEditStandardParser(true)
{
    keywords = KeywordSet{
        "module", "note", "is", "at", "size", "type", "device", "family", "manufacturer",
        "version", "file", "for", "section", "feature", "memory", "ditto", "w1"};
}

CodeEditSTAPLParser::CodeEditSTAPLParser() : CodeEditStandardParser(true)
{
    keywords = KeywordSet{
        "ACTION", "BOOLEAN", "CALL", "CRC", "DATA", "DRSCAN", "DRSTOP", "ELSE", "ENDDATA",
        "ENDPROC", "EXIT", "EXPORT", "FOR", "GOTO", "IF", "INTEGER", "IRSCAN", "IRSTOP", "LET",
        "NEXT", "NOTE", "POP", "POSTDR", "POSTIR", "PREDR", "PREIR", "PRINT", "PROCEDURE", "PUSH",
        "RETURN", "STATE", "STEP", "THEN", "TO", "USES", "WAIT", "CAPTURE", "COMPARE", "CYCLES",
        "USEC", "MAX", "ABS", "CHR$", "CEIL", "FLOOR", "LOG2", "SQRT", "INT", "LOG", "OPTIONAL",
        "RECOMMENDED", "REQUIRED", "RESET", "IDLE", "DRSELECT", "DRCAPTURE", "DRSHIFT",
        "DREXIT1", "DRPAUSE", "DREXIT2", "DRUPDATE", "IRSELECT", "IRCAPTURE", "IRSHIFT",
        "IREXIT1", "IRPAUSE", "IREXIT2", "IRUPDATE", "TRST", "ON"};
}

CodeEditBatchParser::CodeEditBatchParser() : CodeEditStandardParser(false)
{
    keywordsFolded = KeywordSet({
        "break", "call", "chcp", "chdir", "cd", "cls", "copy", "ctty", "date", "del", "dir",
        "echo", "erase", "exit", "for", "goto", "if", "md", "mkdir", "path", "pause", "prompt",
        "rem", "ren", "rename", "rd", "rmdir", "set", "shift", "time", "type", "ver", "verify",
        "vol"},
                                Fold::Lower);
}

const char16_t *CodeEditBatchParser::parse(const char16_t *input, char16_t *output, int *blockDelta)
{
    if (input && (state == 0 || state == '"' || state == '\'')) {
        const char16_t *p = input;
        while (isBlank(*p))
            ++p;
        if ((p[0] | 0x20) == 'r' && (p[1] | 0x20) == 'e' && (p[2] | 0x20) == 'm' && !isWordPart(p[3])) {
            Output out(output);
            const char16_t *end = lineEnd(input);
            out.put(input, p);
            out.run(ClassComment, p, end);
            out.finish();
            state = 0;
            return end + 1;
        }
    }
    return CodeEditStandardParser::parse(input, output, blockDelta);
}
