#pragma once
// The pieces every syntax parser is built from: the writer of a marked line, character tests,
// keyword sets and the scans shared by several languages (strings, comment tags, the
// documentation vocabulary). Only the parsers include this.
#include "editor/CodeEditParser.h"
#include <QStringList>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>

namespace CodeEditScan {

// Writes a marked line. A switch that would stand directly after another switch replaces it, so
// each input character costs at most one switch and the output stays within 3 characters per
// input character.
struct Output {
    explicit Output(char16_t *output) : out(output) {}
    void setClass(char16_t code)
    {
        if (markCode && out == markCode + 1) {
            *markCode = code;
            current = code;
            return;
        }
        if (code == current)
            return;
        out[0] = markSwitch;
        markCode = out + 1;
        *markCode = code;
        out += 2;
        current = code;
    }
    void put(char16_t c) { *out++ = c; }
    void put(const char16_t *from, const char16_t *to)
    {
        while (from < to)
            *out++ = *from++;
    }
    // Writes [from, to) under `code`.
    void run(char16_t code, const char16_t *from, const char16_t *to)
    {
        if (from == to)
            return;
        setClass(code);
        put(from, to);
    }
    void finish() { *out++ = 0; }

    char16_t *out;
    char16_t *markCode = nullptr;   // the code of the last switch written
    char16_t current = ClassText;
};

constexpr bool isAsciiLetter(char16_t c) { return (c | 0x20) >= 'a' && (c | 0x20) <= 'z'; }
constexpr bool isDigit(char16_t c) { return c >= '0' && c <= '9'; }
constexpr bool isHexDigit(char16_t c) { return isDigit(c) || ((c | 0x20) >= 'a' && (c | 0x20) <= 'f'); }
constexpr bool isBlank(char16_t c) { return c == ' ' || c == '\t'; }
bool isLetterSlow(char16_t c);
bool isLetterOrNumberSlow(char16_t c);
inline bool isLetter(char16_t c) { return c < 128 ? isAsciiLetter(c) : isLetterSlow(c); }
inline bool isWordStart(char16_t c) { return c == '_' || isLetter(c); }
inline bool isWordPart(char16_t c)
{
    return c < 128 ? (isAsciiLetter(c) || isDigit(c) || c == '_') : isLetterOrNumberSlow(c);
}
inline bool isLetterOrDigit(char16_t c)
{
    return c < 128 ? (isAsciiLetter(c) || isDigit(c)) : isLetterOrNumberSlow(c);
}
// Printable, not a letter or digit, not blank, below 255: C's ispunct over Latin-1.
constexpr bool isPunctuation(char16_t c)
{
    if (c < 128)
        return c > 32 && c < 127 && !isAsciiLetter(c) && !isDigit(c);
    return (c >= 0xA1 && c <= 0xBF && c != 0xAA && c != 0xB5 && c != 0xBA) || c == 0xD7 || c == 0xF7;
}

inline const char16_t *skipWord(const char16_t *p)
{
    while (isWordPart(*p))
        ++p;
    return p;
}
inline const char16_t *lineEnd(const char16_t *p)
{
    while (*p)
        ++p;
    return p;
}

// A set of words, looked up by hash, either as written or folded to one case.
class KeywordSet {
public:
    enum class Fold { None, Lower, Upper };
    KeywordSet() = default;
    KeywordSet(std::initializer_list<const char *> words, Fold fold = Fold::None);
    explicit KeywordSet(std::span<const char *const> words, Fold fold = Fold::None);
    [[nodiscard]] bool contains(std::u16string_view word) const;
    [[nodiscard]] bool empty() const { return m_words.empty(); }
    [[nodiscard]] QStringList words() const;

private:
    struct Hash {
        using is_transparent = void;
        size_t operator()(std::u16string_view word) const { return std::hash<std::u16string_view>()(word); }
    };
    std::unordered_set<std::u16string, Hash, std::equal_to<>> m_words;
    Fold m_fold = Fold::None;
    size_t m_longest = 0;
};

// The comment tag lists: "Text Editor/FIXME Tags", "Text Editor/ATTENTION Tags" and the lint list.
struct CommentTags {
    KeywordSet fixme;
    KeywordSet attention;
    KeywordSet lint;
};
const CommentTags &commentTags();

// After a comment opener: blanks, then a tag word under its tag class, then the comment class.
// Stops at `stop` when given (the end of the comment on this line). Returns where it stopped.
const char16_t *commentStart(const char16_t *p, Output &out, const char16_t *stop = nullptr);
// A line comment from `p` to the end of the line, `opener` characters of it the opener.
const char16_t *lineComment(const char16_t *p, int opener, Output &out);

// The body of a string literal after its opening quote (or from the start of a continued line):
// escapes under ClassStringEscape, the closing quote under ClassStringDelimiter. Sets `state` to
// the quote when a backslash ends the line, else leaves it alone.
const char16_t *stringBody(const char16_t *p, char16_t quote, Output &out, qint32 &state);
// A backslash and the character after it as an escape; the string goes on after them.
inline const char16_t *escapeAt(const char16_t *p, Output &out)
{
    out.run(ClassStringEscape, p, p + 2);
    out.setClass(ClassString);
    return p + 2;
}
// A quote and its string.
const char16_t *quotedString(const char16_t *p, Output &out, qint32 &state);

// Inside a block comment: up to and with "*/", which sets `state` to 0.
const char16_t *blockCommentBody(const char16_t *p, Output &out, qint32 &state);
// The small scan of isCode for languages with C's strings and comments, from `state` (1 a block
// comment, a quote a continued literal).
bool isCodeAt(QStringView text, int column, qint32 state);
// One character that is nothing else: a brace counts as a block opener or closer when the
// language has blocks, punctuation is an operator, the rest is text.
inline const char16_t *otherCharacter(const char16_t *p, Output &out, int *blockDelta, bool blocks = true)
{
    const char16_t c = *p;
    if (blocks && c == '{')
        ++*blockDelta;
    else if (blocks && c == '}')
        --*blockDelta;
    out.setClass(isPunctuation(c) ? ClassOperator : ClassText);
    out.put(c);
    return p + 1;
}

// A number from `p`: letters, digits and '.', and '+' or '-' right after an exponent letter.
const char16_t *numberEnd(const char16_t *p);

// The documentation vocabulary: command words, and how far each command's argument reaches.
struct DocVocabulary {
    enum class Argument { None, Word, Line };
    std::span<const std::pair<const char *, Argument>> commands;
    [[nodiscard]] Argument find(std::u16string_view word, bool *known) const;
};
const DocVocabulary &docGenVocabulary();
const DocVocabulary &qvDocVocabulary();

// Documentation text in `state` 3 (text) or 4 (code block). In a comment (`baseClass`
// ClassComment) "*/" ends the scan with state 0; elsewhere the scan runs to the line's end.
// Returns where it stopped.
const char16_t *docText(const char16_t *p, Output &out, qint32 &state, const DocVocabulary &vocabulary,
                        char16_t baseClass);

} // namespace CodeEditScan
