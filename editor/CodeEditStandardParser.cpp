#include "editor/CodeEditStandardParser.h"

using namespace CodeEditScan;

namespace {

constexpr int maximumRawDelimiter = 16;

// First non-blank character of the line is '#' and its last is a backslash: the directive goes
// on in the next line.
bool continuesDirective(const char16_t *line, const char16_t *end)
{
    const char16_t *p = line;
    while (isBlank(*p))
        ++p;
    return *p == '#' && end > line && end[-1] == '\\';
}

} // namespace

const char16_t *CodeEditStandardParser::parse(const char16_t *input, char16_t *output, int *blockDelta)
{
    Output out(output);
    if (!input) {
        out.finish();
        return nullptr;
    }
    const char16_t *p = input;
    switch (state) {
    case 1:
        p = blockComment(p, out);
        break;
    case 2: {
        const char16_t *end = lineEnd(p);
        out.run(ClassPreprocessor, p, end);
        state = end > input && end[-1] == '\\' ? 2 : 0;
        out.finish();
        return end + 1;
    }
    case 3:
    case 4:
        p = docText(p, out, state, docGenVocabulary(), ClassComment);
        break;
    case 5:
        p = rawBody(p, out);
        break;
    case '"':
    case '\'': {
        const char16_t quote = char16_t(state);
        state = 0;
        p = stringBody(p, quote, out, state);
        break;
    }
    default:
        state = 0;
        break;
    }
    if (state == 0 && *p)
        p = code(p, out, blockDelta);
    if (state == 0 && continuesDirective(input, p))
        state = 2;
    out.finish();
    return p + 1;
}

// Code from `p` until the line ends or a comment or literal runs past it.
const char16_t *CodeEditStandardParser::code(const char16_t *p, Output &out, int *blockDelta)
{
    while (const char16_t c = *p) {
        if (state != 0)
            return lineEnd(p);
        if (c == '/' && p[1] == '*') {
            out.run(ClassComment, p, p + 2);
            if (p[2] == '!') {
                out.put(p[2]);
                state = 3;
                p = commentStart(p + 3, out);
                p = docText(p, out, state, docGenVocabulary(), ClassComment);
            } else {
                state = 1;
                p = blockComment(commentStart(p + 2, out), out);
            }
        } else if (c == '"' || c == '\'') {
            p = quotedString(p, out, state);
        } else if (int consumed = 0; isWordStart(c) && isRawStringStart(p, &consumed, &stateText)) {
            out.run(ClassStringDelimiter, p, p + consumed);
            state = 5;
            p = rawBody(p + consumed, out);
        } else if (c == '#') {
            const char16_t *end = p + 1;
            while (isLetterOrDigit(*end))
                ++end;
            out.run(ClassPreprocessor, p, end);
            p = end;
        } else if (c == '/' && p[1] == '/') {
            p = lineComment(p, 2, out);
        } else if (isWordStart(c)) {
            p = word(p, out);
        } else if (c == '\\') {
            const char16_t *end = p + 1;
            while (isLetterOrDigit(*end))
                ++end;
            out.run(ClassText, p, end);
            p = end;
        } else if (isDigit(c) || (c == '.' && isDigit(p[1]))) {
            const char16_t *end = numberEnd(p);
            out.run(ClassLiteral, p, end);
            p = end;
        } else {
            if (c == '{')
                ++*blockDelta;
            else if (c == '}')
                --*blockDelta;
            out.setClass(isPunctuation(c) ? ClassOperator : ClassText);
            out.put(c);
            ++p;
        }
    }
    return p;
}

const char16_t *CodeEditStandardParser::word(const char16_t *p, Output &out)
{
    const char16_t *end = skipWord(p);
    const std::u16string_view text(p, size_t(end - p));
    char16_t code = ClassText;
    if (keywords.contains(text) || userKeywords.contains(text))
        code = ClassKeyword;
    else if (!m_caseSensitive && keywordsFolded.contains(text))
        code = ClassKeyword;
    else if (!m_caseSensitive && preprocessor.contains(text))
        code = ClassPreprocessor;
    else if (*end == '(')
        code = ClassFunction;
    out.run(code, p, end);
    return end;
}

const char16_t *CodeEditStandardParser::blockComment(const char16_t *p, Output &out)
{
    return blockCommentBody(p, out, state);
}

const char16_t *CodeEditStandardParser::rawBody(const char16_t *p, Output &out)
{
    out.setClass(ClassString);
    while (*p) {
        int consumed = 0;
        if (*p == ')' && isRawStringEnd(p, &consumed, stateText)) {
            out.run(ClassStringDelimiter, p, p + consumed);
            state = 0;
            stateText.clear();
            return p + consumed;
        }
        out.put(*p++);
    }
    return p;
}

bool CodeEditStandardParser::isRawStringStart(const char16_t *, int *, QString *) const
{
    return false;
}

bool CodeEditStandardParser::isRawStringEnd(const char16_t *, int *, const QString &) const
{
    return false;
}

bool CodeEditStandardParser::isCode(QStringView text, int column) const
{
    return isCodeAt(text, column, state);
}

bool CodeEditRawStringParser::isRawStringStart(const char16_t *text, int *consumed, QString *delimiter) const
{
    const char16_t *p = text;
    if (p[0] == 'u' && p[1] == '8')
        p += 2;
    else if (*p == 'L' || *p == 'u' || *p == 'U')
        ++p;
    if (p[0] != 'R' || p[1] != '"')
        return false;
    p += 2;
    const char16_t *open = p;
    while (*open && *open != '(') {
        if (isBlank(*open) || *open == ')' || *open == '\\' || *open == '"' || open - p >= maximumRawDelimiter)
            return false;
        ++open;
    }
    if (*open != '(')
        return false;
    *delimiter = QString::fromUtf16(p, open - p);
    *consumed = int(open + 1 - text);
    return true;
}

bool CodeEditRawStringParser::isRawStringEnd(const char16_t *text, int *consumed, const QString &delimiter) const
{
    const qsizetype length = delimiter.size();
    const char16_t *d = reinterpret_cast<const char16_t *>(delimiter.utf16());
    for (qsizetype i = 0; i < length; ++i) {
        if (text[1 + i] != d[i])
            return false;
    }
    if (text[1 + length] != '"')
        return false;
    *consumed = int(length + 2);
    return true;
}
