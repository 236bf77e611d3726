#pragma once
#include <QString>
#include <QStringList>
#include <memory>
#include <vector>

class CodeEditParser;
class CodeEditBuffer;

// A syntax a document can be coloured with.
struct CodeEditSyntax {
    QString name;          // "c", "python"
    QString title;         // as the menu shows it, with its '&' for the shortcut
    QStringList extensions;
    CodeEditParser *parser;
};

// The syntaxes known to the environment, found by name or by file name. Owns the parsers; one
// parser serves every document of its syntax.
class CodeEditSyntaxRegistry {
public:
    // The syntax number of a document without a parser.
    static constexpr int noSyntax = 39321;

    CodeEditSyntaxRegistry();
    ~CodeEditSyntaxRegistry();
    CodeEditSyntaxRegistry(const CodeEditSyntaxRegistry &) = delete;
    CodeEditSyntaxRegistry &operator=(const CodeEditSyntaxRegistry &) = delete;

    // Enters the syntax; each extension, in lower case, now finds it, even when an earlier
    // syntax had claimed the extension.
    void registerSyntax(const QStringList &extensions, const QString &name, const QString &title,
                        std::unique_ptr<CodeEditParser> parser);

    [[nodiscard]] const std::vector<CodeEditSyntax> &syntaxes() const { return m_syntaxes; }
    [[nodiscard]] const CodeEditSyntax *byName(const QString &name) const;
    [[nodiscard]] const CodeEditSyntax *byExtension(const QString &extension) const;
    // The whole file name first (CMakeLists.txt), then its extension; null for plain text.
    [[nodiscard]] const CodeEditSyntax *forFileName(const QString &path) const;
    // The syntax of a number as setSyntaxHighlight takes it: an index into syntaxes(), and
    // noSyntax or any other number for none.
    [[nodiscard]] const CodeEditSyntax *byNumber(int number) const;
    // Gives `buffer` the parser of syntax `number`, or none.
    void setSyntaxHighlight(CodeEditBuffer &buffer, int number) const;

private:
    std::vector<CodeEditSyntax> m_syntaxes;
    std::vector<std::unique_ptr<CodeEditParser>> m_parsers;
    std::vector<std::pair<QString, int>> m_extensions;   // lower-case extension, syntax index
};

// Registers every syntax of the editor, in the order their menu lists them.
void registerStandardSyntaxes(CodeEditSyntaxRegistry &registry);
