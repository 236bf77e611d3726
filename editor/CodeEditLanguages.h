#pragma once
#include "editor/CodeEditParser.h"
#include "editor/CodeEditScan.h"

// Parsers of languages outside the C family, each on the base parser with its own scan.

// A parser that scans a line into a marked line; the base handles a null input and the
// terminator.
class CodeEditLineParser : public CodeEditParser {
public:
    const char16_t *parse(const char16_t *input, char16_t *output, int *blockDelta) final;

protected:
    // Writes the line's marks and text; returns the address of the input's NUL.
    virtual const char16_t *scan(const char16_t *input, CodeEditScan::Output &out, int *blockDelta) = 0;
};

// `;`, `@` or `#` at the line start or after a blank comment to the line end; block comments
// (state 1); registers, `name:` labels, `.` directives, `$1F` numbers.
class CodeEditAssemblyParser final : public CodeEditLineParser {
public:
    CodeEditAssemblyParser();
    const char16_t *scan(const char16_t *input, CodeEditScan::Output &out, int *blockDelta) override;
    [[nodiscard]] bool isCode(QStringView text, int column) const override;

private:
    CodeEditScan::KeywordSet m_registers;
};

// `#` comments; triple-quoted strings carried over lines in state 1 (""") and 2 (''').
class CodeEditPythonParser final : public CodeEditLineParser {
public:
    CodeEditPythonParser();
    const char16_t *scan(const char16_t *input, CodeEditScan::Output &out, int *blockDelta) override;

private:
    CodeEditScan::KeywordSet m_keywords;
};

// Blank-separated words; `\`, `( )` (state 1) and `{ }` (state 2) comments; definitions, string
// words and numbers. Braces are comments here, not blocks.
class CodeEditForthParser final : public CodeEditLineParser {
public:
    CodeEditForthParser();
    const char16_t *scan(const char16_t *input, CodeEditScan::Output &out, int *blockDelta) override;
    [[nodiscard]] QString delimiters() const override;

private:
    const char16_t *forthWord(const char16_t *p, const char16_t *end, CodeEditScan::Output &out);
    CodeEditScan::KeywordSet m_keywords;
};

// `#` comments, command names, `${...}` variables, quoted arguments over lines (state 34).
class CodeEditCMakeParser final : public CodeEditLineParser {
public:
    CodeEditCMakeParser();
    const char16_t *scan(const char16_t *input, CodeEditScan::Output &out, int *blockDelta) override;

private:
    CodeEditScan::KeywordSet m_commands;
};

// Device trees: C comments (state 1), `/word/` directives and preprocessor lines, labels and
// references.
class CodeEditDTSParser final : public CodeEditLineParser {
public:
    const char16_t *scan(const char16_t *input, CodeEditScan::Output &out, int *blockDelta) override;
};

// Markup. States: 0 text, 1 comment, 2 inside a tag, 4 in a quoted value (its quote in
// stateText).
class CodeEditXMLParser final : public CodeEditLineParser {
public:
    const char16_t *scan(const char16_t *input, CodeEditScan::Output &out, int *blockDelta) override;
    [[nodiscard]] QString delimiters() const override;
};

// A language of words with line comments and keywords in any case.
class CodeEditWordParser : public CodeEditLineParser {
public:
    const char16_t *scan(const char16_t *input, CodeEditScan::Output &out, int *blockDelta) override;

protected:
    // A comment opener at `p`: its length, else 0.
    [[nodiscard]] virtual int commentOpener(const char16_t *p, const char16_t *lineStart) const = 0;
    // Language-specific tokens before the common ones; null when `p` starts none of them.
    virtual const char16_t *special(const char16_t *p, CodeEditScan::Output &out);
    CodeEditScan::KeywordSet m_keywords;
};

// `--` comments.
class CodeEditVHDLParser final : public CodeEditWordParser {
public:
    CodeEditVHDLParser();

protected:
    int commentOpener(const char16_t *p, const char16_t *lineStart) const override;
    const char16_t *special(const char16_t *p, CodeEditScan::Output &out) override;
};

// `!` and `//` comments; the hexadecimal data between parentheses is a literal (state 1 while
// open).
class CodeEditSVFParser final : public CodeEditWordParser {
public:
    CodeEditSVFParser();

protected:
    int commentOpener(const char16_t *p, const char16_t *lineStart) const override;
    const char16_t *special(const char16_t *p, CodeEditScan::Output &out) override;
};

// Our BASIC: `'` and REM comments, strings with "" for a quote.
class CodeEditTessBasicParser final : public CodeEditWordParser {
public:
    CodeEditTessBasicParser();

protected:
    int commentOpener(const char16_t *p, const char16_t *lineStart) const override;
    const char16_t *special(const char16_t *p, CodeEditScan::Output &out) override;
};

// `#` comments, keys, `-` items, `---` document markers.
class CodeEditYAMLParser final : public CodeEditLineParser {
public:
    const char16_t *scan(const char16_t *input, CodeEditScan::Output &out, int *blockDelta) override;
};

// Headings, bullets and emphasis; no state.
class CodeEditMarkdownParser final : public CodeEditLineParser {
public:
    const char16_t *scan(const char16_t *input, CodeEditScan::Output &out, int *blockDelta) override;
};

// Documentation files: text, commands and their arguments, code blocks in state 4.
class CodeEditDocGenParser : public CodeEditLineParser {
public:
    const char16_t *scan(const char16_t *input, CodeEditScan::Output &out, int *blockDelta) override;

protected:
    [[nodiscard]] virtual const CodeEditScan::DocVocabulary &vocabulary() const;
};

// The same with the longer vocabulary.
class CodeEditQvDocParser final : public CodeEditDocGenParser {
protected:
    [[nodiscard]] const CodeEditScan::DocVocabulary &vocabulary() const override;
};

// Lines of a disassembly listing: the address of a code line, symbol references, comments.
class DisassemblyCodeEditParser final : public CodeEditLineParser {
public:
    const char16_t *scan(const char16_t *input, CodeEditScan::Output &out, int *blockDelta) override;
};
