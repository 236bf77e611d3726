#pragma once
#include <QString>

class CodeEdit;

// Serves the checkSyntax command: looks at a document's whole text and reports the first error
// it finds through error(), with the caret put on its line. The base knows no syntax and finds
// nothing.
class CodeSyntaxChecker {
public:
    virtual ~CodeSyntaxChecker();
    // True when no error was found.
    virtual bool check(CodeEdit &edit);
    [[nodiscard]] const QString &lastError() const { return m_lastError; }

protected:
    // The environment shows the message; the base keeps it for lastError().
    virtual void error(const QString &message);
    // Reports `message` about line `line` (from 1) of `edit` and moves the caret there.
    void report(CodeEdit &edit, int line, const QString &message);

private:
    QString m_lastError;
};

// XML documents: the first error of the XML parser.
class CodeSyntaxXMLChecker : public CodeSyntaxChecker {
public:
    bool check(CodeEdit &edit) override;
};
