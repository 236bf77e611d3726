#pragma once
#include <QString>

// The one failure of the Forth engine: a throw code and its text. The outer interpreter adds
// where it happened (source, line and the word at fault) on its way out.
class ForthException {
public:
    explicit ForthException(qint32 code, QString message = {});

    qint32 code;
    QString message;
    QString sourceFile;
    qint32 sourceLine = 0;
    QString word;
    bool located = false;

    // The text of a throw code without a specific message: the table text, "" for codes of the
    // reserved range that have none, "%ld THROW undefined" outside it.
    static QString codeText(qint32 code);
    // "file:line: word: message (throw code)", the form hosts print.
    QString report() const;
};

// Throws the code with its table text, or with `message` when one is given.
[[noreturn]] void forthThrow(qint32 code, const QString &message = {});
