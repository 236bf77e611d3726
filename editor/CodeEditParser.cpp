#include "editor/CodeEditParser.h"
#include "editor/CodeEditScan.h"
#include <QChar>
#include <algorithm>
#include <array>

namespace {

struct StyleRow {
    int code;
    const char *name;
};
constexpr StyleRow styleRows[] = {
    {ClassText, "Text"}, {ClassLiteral, "Literal"}, {ClassComment, "Comment"},
    {ClassKeyword, "Keyword"}, {ClassDisassembly, "Disassembly"}, {ClassXmlMarkup, "XML Markup"},
    {ClassPreprocessor, "Preprocessor Control"}, {ClassOperator, "Operator"},
    {ClassRegister, "Register"}, {ClassFunction, "Function"}, {ClassFixme, "FIXME"},
    {ClassAttention, "ATTENTION"}, {ClassLint, "Lint"}, {ClassDocKeyword, "DocGen Keyword"},
    {ClassDocArgument, "DocGen Argument"}, {ClassDocCode, "DocGen Code/Verbatim"},
    {ClassXmlAttribute, "XML Attribute"}, {ClassString, "String"},
    {ClassStringDelimiter, "String Delimiter"}, {ClassStringEscape, "String Escape"},
    {ClassXmlDelimiter, "XML Delimiter"},
};
static_assert(std::size(styleRows) == 21);

// The tag lists as the settings hold them, and the sets made of them on first use after a change.
struct TagSettings {
    QString fixme = QLatin1String(defaultFixmeTags);
    QString attention = QLatin1String(defaultAttentionTags);
    QString lint = QLatin1String(defaultLintTags);
    bool stale = true;
    CodeEditScan::CommentTags tags;
};

TagSettings &tagSettings()
{
    static TagSettings settings;
    return settings;
}

CodeEditScan::KeywordSet tagSet(const QString &list)
{
    CodeEditScan::KeywordSet set;
    std::vector<QByteArray> words;
    for (const QString &word : list.split(u';', Qt::SkipEmptyParts))
        words.push_back(word.trimmed().toUtf8());
    std::vector<const char *> pointers;
    for (const QByteArray &word : words)
        pointers.push_back(word.constData());
    return CodeEditScan::KeywordSet(pointers);
}

} // namespace

QString styleName(int code)
{
    for (const StyleRow &row : styleRows) {
        if (row.code == code)
            return QString::fromLatin1(row.name);
    }
    return {};
}

void setCommentTagSettings(const QString &fixme, const QString &attention, const QString &lint)
{
    TagSettings &settings = tagSettings();
    settings.fixme = fixme;
    settings.attention = attention;
    settings.lint = lint;
    settings.stale = true;
}

CodeEditParser::~CodeEditParser() = default;

QString CodeEditParser::delimiters() const
{
    return QStringLiteral("\\{\\}\\[\\]\\(\\)");
}

bool CodeEditParser::isCode(QStringView, int) const
{
    return true;
}

namespace CodeEditScan {

bool isLetterSlow(char16_t c)
{
    return QChar(c).isLetter();
}

bool isLetterOrNumberSlow(char16_t c)
{
    return QChar(c).isLetterOrNumber();
}

KeywordSet::KeywordSet(std::span<const char *const> words, Fold fold) : m_fold(fold)
{
    for (const char *word : words) {
        std::u16string text;
        for (const char *c = word; *c; ++c)
            text.push_back(char16_t(static_cast<unsigned char>(*c)));
        m_longest = std::max(m_longest, text.size());
        m_words.insert(std::move(text));
    }
}

KeywordSet::KeywordSet(std::initializer_list<const char *> words, Fold fold)
    : KeywordSet(std::span<const char *const>(words.begin(), words.size()), fold)
{
}

bool KeywordSet::contains(std::u16string_view word) const
{
    if (word.size() > m_longest || word.empty())
        return false;
    if (m_fold == Fold::None)
        return m_words.find(word) != m_words.end();
    std::array<char16_t, 64> folded;
    if (word.size() > folded.size())
        return false;
    for (size_t i = 0; i < word.size(); ++i) {
        const char16_t c = word[i];
        if (m_fold == Fold::Lower)
            folded[i] = c >= 'A' && c <= 'Z' ? char16_t(c + 32) : c;
        else
            folded[i] = c >= 'a' && c <= 'z' ? char16_t(c - 32) : c;
    }
    return m_words.find(std::u16string_view(folded.data(), word.size())) != m_words.end();
}

QStringList KeywordSet::words() const
{
    QStringList list;
    for (const std::u16string &word : m_words)
        list.append(QString::fromUtf16(word.data(), qsizetype(word.size())));
    list.sort();
    return list;
}

const CommentTags &commentTags()
{
    TagSettings &settings = tagSettings();
    if (settings.stale) {
        settings.tags.fixme = tagSet(settings.fixme);
        settings.tags.attention = tagSet(settings.attention);
        settings.tags.lint = tagSet(settings.lint);
        settings.stale = false;
    }
    return settings.tags;
}

const char16_t *commentStart(const char16_t *p, Output &out, const char16_t *stop)
{
    out.setClass(ClassComment);
    while (isBlank(*p) && p != stop)
        out.put(*p++);
    const char16_t *end = p;
    while (end != stop && isWordPart(*end))
        ++end;
    if (end == p)
        return p;
    const std::u16string_view word(p, size_t(end - p));
    const CommentTags &tags = commentTags();
    char16_t code = ClassComment;
    if (tags.fixme.contains(word))
        code = ClassFixme;
    else if (tags.attention.contains(word))
        code = ClassAttention;
    else if (tags.lint.contains(word))
        code = ClassLint;
    out.run(code, p, end);
    out.setClass(ClassComment);
    return end;
}

const char16_t *lineComment(const char16_t *p, int opener, Output &out)
{
    out.run(ClassComment, p, p + opener);
    p = commentStart(p + opener, out);
    const char16_t *end = lineEnd(p);
    out.put(p, end);
    return end;
}

const char16_t *stringBody(const char16_t *p, char16_t quote, Output &out, qint32 &state)
{
    out.setClass(ClassString);
    while (const char16_t c = *p) {
        if (c == '\\') {
            out.setClass(ClassStringEscape);
            out.put(c);
            if (!*++p) {
                state = quote;
                return p;
            }
            out.put(*p++);
            out.setClass(ClassString);
        } else if (c == quote) {
            out.setClass(ClassStringDelimiter);
            out.put(c);
            return p + 1;
        } else {
            out.put(c);
            ++p;
        }
    }
    return p;
}

const char16_t *quotedString(const char16_t *p, Output &out, qint32 &state)
{
    out.setClass(ClassStringDelimiter);
    out.put(*p);
    return stringBody(p + 1, *p, out, state);
}

const char16_t *blockCommentBody(const char16_t *p, Output &out, qint32 &state)
{
    out.setClass(ClassComment);
    while (*p) {
        if (p[0] == '*' && p[1] == '/') {
            out.put(p, p + 2);
            state = 0;
            return p + 2;
        }
        out.put(*p++);
    }
    return p;
}

bool isCodeAt(QStringView text, int column, qint32 state)
{
    bool inComment = state == 1 || state == 3 || state == 4;
    QChar quote = state == '"' || state == '\'' ? QChar(state) : QChar();
    const qsizetype end = std::min<qsizetype>(column, text.size());
    for (qsizetype i = 0; i < end; ++i) {
        const QChar c = text[i];
        const QChar next = i + 1 < text.size() ? text[i + 1] : QChar();
        if (inComment) {
            if (c == u'*' && next == u'/') {
                inComment = false;
                ++i;
            }
        } else if (!quote.isNull()) {
            if (c == u'\\')
                ++i;
            else if (c == quote)
                quote = QChar();
        } else if (c == u'"' || c == u'\'') {
            quote = c;
        } else if (c == u'/' && next == u'/') {
            return false;
        } else if (c == u'/' && next == u'*') {
            inComment = true;
            ++i;
        }
    }
    return !inComment && quote.isNull();
}

const char16_t *numberEnd(const char16_t *p)
{
    const char16_t *start = p;
    for (;;) {
        const char16_t c = *p;
        if (c == '.' || isLetterOrDigit(c)) {
            ++p;
        } else if ((c == '+' || c == '-') && p > start) {
            const char16_t before = p[-1] | 0x20;
            if (before != 'e' && before != 'p')
                return p;
            ++p;
        } else {
            return p;
        }
    }
}

namespace {

using Argument = DocVocabulary::Argument;
constexpr std::pair<const char *, Argument> docGenCommands[] = {
    {"code", Argument::None}, {"endcode", Argument::None}, {"include", Argument::Word},
    {"title", Argument::Line}, {"ref", Argument::Word}, {"xref", Argument::Word},
    {"present", Argument::Word},
};
constexpr std::pair<const char *, Argument> qvDocCommands[] = {
    {"code", Argument::None}, {"endcode", Argument::None}, {"include", Argument::Word},
    {"title", Argument::Line}, {"ref", Argument::Word}, {"xref", Argument::Word},
    {"present", Argument::Word}, {"img", Argument::Word}, {"titleref", Argument::Line},
    {"screen", Argument::Word},
};

bool sameWord(std::u16string_view word, const char *name)
{
    size_t i = 0;
    for (; name[i]; ++i) {
        if (i >= word.size() || word[i] != char16_t(name[i]))
            return false;
    }
    return i == word.size();
}

bool commentEndsAt(const char16_t *p, char16_t baseClass)
{
    return baseClass == ClassComment && p[0] == '*' && p[1] == '/';
}

// The reach of a command's argument from `p`: one blank-free word or the rest of the line, never
// past the end of the comment.
const char16_t *argumentEnd(const char16_t *p, Argument argument, char16_t baseClass)
{
    while (*p && !commentEndsAt(p, baseClass) && (argument == Argument::Line || !isBlank(*p)))
        ++p;
    return p;
}

} // namespace

DocVocabulary::Argument DocVocabulary::find(std::u16string_view word, bool *known) const
{
    for (const auto &[name, argument] : commands) {
        if (sameWord(word, name)) {
            *known = true;
            return argument;
        }
    }
    *known = false;
    return Argument::None;
}

const DocVocabulary &docGenVocabulary()
{
    static const DocVocabulary vocabulary{docGenCommands};
    return vocabulary;
}

const DocVocabulary &qvDocVocabulary()
{
    static const DocVocabulary vocabulary{qvDocCommands};
    return vocabulary;
}

const char16_t *docText(const char16_t *p, Output &out, qint32 &state, const DocVocabulary &vocabulary,
                        char16_t baseClass)
{
    while (*p) {
        if (commentEndsAt(p, baseClass)) {
            out.run(ClassComment, p, p + 2);
            state = 0;
            return p + 2;
        }
        if ((*p == '\\' || *p == '@') && isWordStart(p[1])) {
            const char16_t *end = skipWord(p + 1);
            const std::u16string_view word(p + 1, size_t(end - p - 1));
            bool known = false;
            const Argument argument = vocabulary.find(word, &known);
            if (known && (state == 3 || sameWord(word, "endcode"))) {
                out.run(ClassDocKeyword, p, end);
                p = end;
                if (sameWord(word, "code"))
                    state = 4;
                else if (sameWord(word, "endcode"))
                    state = 3;
                if (argument == Argument::None)
                    continue;
                out.setClass(baseClass);
                while (isBlank(*p))
                    out.put(*p++);
                const char16_t *argumentStop = argumentEnd(p, argument, baseClass);
                out.run(ClassDocArgument, p, argumentStop);
                p = argumentStop;
                continue;
            }
        }
        if (state == 4) {
            out.setClass(ClassDocCode);
            out.put(*p++);
            continue;
        }
        if (*p == '<') {
            const char16_t *close = p + 1;
            while (*close && *close != '>' && !commentEndsAt(close, baseClass))
                ++close;
            if (*close == '>') {
                out.run(ClassXmlMarkup, p, close + 1);
                p = close + 1;
                continue;
            }
        }
        out.setClass(baseClass);
        out.put(*p++);
    }
    return p;
}

} // namespace CodeEditScan
