#pragma once
#include "script/es/ESNode.h"
#include <QHash>
#include <QString>

class ESAtom;
class ESCompilerContext;

// Tokens of the 16-bit source text with one token of look-ahead. Identifiers and strings come
// as atoms; an unknown character or a broken string or number is a SyntaxError at its line.
class ESLexer {
public:
    struct Token {
        int type = ESToken::End;   // a character or an ESToken
        ESAtom *atom = nullptr;
        double number = 0;
        int line = 1;
        bool newlineBefore = false;
    };

    explicit ESLexer(ESCompilerContext &compiler);

    void setSource(const QString &text);
    // Moves to the next token and returns its type.
    int next();
    // The type of the token after the current one, read once.
    int peek();
    const Token &current() const { return m_current; }
    // The token peek() read.
    const Token &peeked() const { return m_peek; }
    // The line the reading position is on.
    int line() const { return m_line; }
    // True when only blanks stand between the reading position and a colon: a label follows.
    bool colonFollows() const;

    static QString tokenName(int token);

private:
    void lex(Token &token);
    bool skipBlanksAndComments(Token &token);
    void lexString(Token &token, QChar quote);
    void lexNumber(Token &token);
    void lexIdentifier(Token &token);
    bool lexOperator(Token &token, QChar c);
    [[noreturn]] void syntaxError(const QString &message);

    ESCompilerContext &m_compiler;
    QString m_text;
    qsizetype m_pos = 0;
    int m_line = 1;
    Token m_current;
    Token m_peek;
    bool m_hasPeek = false;
    QHash<QString, int> m_keywords;
};
