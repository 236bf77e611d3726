#pragma once
#include <QString>
#include <QStringView>

// Class codes of a marked line. A marked line is 16-bit text in which markSwitch followed by one
// code switches the class of the text after it; a line starts in ClassText.
enum CodeEditClass : char16_t {
    ClassText = 0,
    ClassLiteral = 1,
    ClassComment = 2,
    ClassKeyword = 3,
    ClassDisassembly = 4,
    ClassXmlMarkup = 5,
    ClassPreprocessor = 6,
    ClassOperator = 7,
    ClassRegister = 8,
    ClassFunction = 9,
    ClassFixme = 10,
    ClassAttention = 11,
    ClassLint = 12,
    ClassDocKeyword = 13,
    ClassDocArgument = 14,
    ClassDocCode = 15,
    ClassXmlAttribute = 16,
    ClassString = 29,
    ClassStringDelimiter = 30,
    ClassStringEscape = 31,
    ClassXmlDelimiter = 32,
};

constexpr char16_t markSwitch = 0xFDD0;
// Codes from styleCount on are no class: the painter keeps the class it has. Two of them bracket
// a misspelt word.
constexpr int styleCount = 36;
constexpr char16_t markMisspeltBegin = 293;
constexpr char16_t markMisspeltEnd = 294;

// The style name of a class code, or an empty string for a code without a style of its own.
[[nodiscard]] QString styleName(int code);

// The comment tag lists, ';'-separated, as "Text Editor/FIXME Tags", "Text Editor/ATTENTION Tags"
// and the lint list hold them. The parsers read them on their next line.
void setCommentTagSettings(const QString &fixme, const QString &attention, const QString &lint);
inline constexpr const char *defaultFixmeTags = "FIXME;TODO;XXX;BUG";
inline constexpr const char *defaultAttentionTags = "ATTENTION;NOTE;WARNING";
inline constexpr const char *defaultLintTags = "lint;NOLINT;PRQA";

// Turns one line of text into a marked line. The state carried from the end of one line to the
// start of the next is `state` and `stateText`: the caller loads them before parse() and reads
// them after. One parser serves every document of its language.
class CodeEditParser {
public:
    virtual ~CodeEditParser();

    // Reads the NUL-terminated `input` and writes its marked line, NUL-terminated, to `output`,
    // which holds at least 4 times the input's length plus 10 characters. Adds 1 for each block
    // opener and -1 for each closer to `*blockDelta`. Returns the address after the input's NUL;
    // a null input gives an empty output and returns null.
    virtual const char16_t *parse(const char16_t *input, char16_t *output, int *blockDelta) = 0;
    // The characters brace matching works on, as regular-expression text.
    [[nodiscard]] virtual QString delimiters() const;
    // True when `column` of the raw line `text`, which starts in `state`, lies in code rather
    // than in a string or a comment.
    [[nodiscard]] virtual bool isCode(QStringView text, int column) const;

    qint32 state = 0;
    QString stateText;
};
