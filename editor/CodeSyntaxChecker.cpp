#include "editor/CodeSyntaxChecker.h"
#include "editor/CodeEdit.h"
#include "foundation/XMLDocument.h"

CodeSyntaxChecker::~CodeSyntaxChecker() = default;

bool CodeSyntaxChecker::check(CodeEdit &)
{
    m_lastError.clear();
    return true;
}

void CodeSyntaxChecker::error(const QString &message)
{
    m_lastError = message;
}

void CodeSyntaxChecker::report(CodeEdit &edit, int line, const QString &message)
{
    edit.setCaret({std::max(0, line - 1), 0});
    error(message);
}

bool CodeSyntaxXMLChecker::check(CodeEdit &edit)
{
    CodeSyntaxChecker::check(edit);
    const QByteArray text = edit.buffer().toText().toUtf8();
    XMLDocument document;
    if (document.parseBuffer(text.constData(), text.size()) == 1)
        return true;
    const int line = document.errorLine();
    report(edit, line, QStringLiteral("%1:%2: %3")
                           .arg(edit.fileName().text().isEmpty() ? QStringLiteral("document") : edit.fileName().text())
                           .arg(line)
                           .arg(QString::fromUtf8(document.errorText())));
    return false;
}
