#pragma once
#include "editor/CodeEditParser.h"
#include "editor/CodeEditScan.h"

// The table-driven parser of the C family. States at the start of a line: 0 code, 1 block
// comment, 2 preprocessor line continued by a backslash, 3 documentation comment, 4 its code
// block, 5 raw string (delimiter in stateText), 34 or 39 a literal with that quote continued by
// a backslash. A language of the family only fills the word lists.
class CodeEditStandardParser : public CodeEditParser {
public:
    explicit CodeEditStandardParser(bool caseSensitive) : m_caseSensitive(caseSensitive) {}

    const char16_t *parse(const char16_t *input, char16_t *output, int *blockDelta) override;
    [[nodiscard]] bool isCode(QStringView text, int column) const override;
    // A raw string opening at `text`: how many characters its opener takes, up to and with "(",
    // and its delimiter. None in the base.
    [[nodiscard]] virtual bool isRawStringStart(const char16_t *text, int *consumed, QString *delimiter) const;
    // The raw string closing at `text`, on ")" + delimiter + the quote.
    [[nodiscard]] virtual bool isRawStringEnd(const char16_t *text, int *consumed, const QString &delimiter) const;

protected:
    CodeEditScan::KeywordSet keywords;         // as written
    CodeEditScan::KeywordSet keywordsFolded;   // lower case, for a parser that ignores case
    CodeEditScan::KeywordSet preprocessor;     // lower case, coloured as preprocessor control
    CodeEditScan::KeywordSet userKeywords;     // as written

private:
    const char16_t *code(const char16_t *p, CodeEditScan::Output &out, int *blockDelta);
    const char16_t *blockComment(const char16_t *p, CodeEditScan::Output &out);
    const char16_t *rawBody(const char16_t *p, CodeEditScan::Output &out);
    const char16_t *word(const char16_t *p, CodeEditScan::Output &out);

    bool m_caseSensitive;
};

// Raw strings of C and its relatives: an optional L, u, u8 or U, then R", a delimiter, "(".
class CodeEditRawStringParser : public CodeEditStandardParser {
public:
    using CodeEditStandardParser::CodeEditStandardParser;
    [[nodiscard]] bool isRawStringStart(const char16_t *text, int *consumed, QString *delimiter) const override;
    [[nodiscard]] bool isRawStringEnd(const char16_t *text, int *consumed, const QString &delimiter) const override;
};
