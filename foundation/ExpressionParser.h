#pragma once
#include "foundation/Expression.h"
#include "foundation/Lexer.h"
#include <QList>
#include <QString>
#include <QStringList>
#include <memory>

// The parser of the C-style expression language and the door through which its trees reach the
// world: every name, register, memory access, cast, sizeof and call is a request to one of the
// virtual operations below. ExpressionParser answers none of the symbolic requests itself:
// SimpleExpressionParser refuses each with a fixed message, the debugger's parser answers them
// from the target.
//
// Evaluating text, for example in a preprocessor condition:
//
//     SimpleExpressionParser parser;
//     bool ok = false;
//     const bool taken = parser.toBoolean(QStringLiteral("3 > 2"), &ok);
//     // ok: the text gave a boolean; taken: its value
//
// A parser is not re-entrant: one evaluation at a time per object. Making one is cheap.
class ExpressionParser {
public:
    ExpressionParser();
    virtual ~ExpressionParser();

    // ---- Entry points. Each swallows ParserException: `ok` (may be null) tells whether a
    // result came out, errorMessage() holds the failure's text. An empty text gives an empty
    // value. What follows the first complete expression is ignored ("1 2" gives 1).

    [[nodiscard]] ExpressionValue evaluate(const QString &text, bool *ok = nullptr);
    // The value cut to 32 bits; `ok` is set when any value resulted.
    [[nodiscard]] int toInteger(const QString &text, bool *ok = nullptr);
    // The value as 64 bits; `ok` is set when any value resulted.
    [[nodiscard]] qint64 toLongLong(const QString &text, bool *ok = nullptr);
    // `ok` is set only when the result is of boolean kind: "1" fails, "1 == 1" succeeds.
    [[nodiscard]] bool toBoolean(const QString &text, bool *ok = nullptr);
    // The message of the last failed entry point; empty after a success.
    const QString &errorMessage() const { return m_errorMessage; }

    // Parses the first expression of `text`; throws ParserException. The tree observes this
    // parser, which must outlive it.
    [[nodiscard]] std::unique_ptr<Expression> parse(const QString &text);

    // ---- Requests from the tree, in slot order behind the destructors. Pure ones are what a
    // concrete parser must answer; the others have working or failing defaults.

    // Whether `word` names a type; the default knows the C basic types.
    [[nodiscard]] virtual bool isTypeName(const QString &word) const;
    // The type test behind `(` and `sizeof(`: if the tokens ahead form a type name followed by
    // `)`, consumes the type, leaves the `)` and gives its text; otherwise consumes nothing and
    // returns false.
    [[nodiscard]] virtual bool parseTypeName(QString &typeName);
    virtual ExpressionValue lookupIdentifier(const QString &name) = 0;
    virtual ExpressionValue lookupScopedIdentifier(const QStringList &parts) = 0;
    virtual ExpressionValue lookupRegister(const QString &name) = 0;
    virtual ExpressionValue lookupThis() = 0;
    virtual ExpressionValue lookupThisMember(const QString &name) = 0;
    virtual ExpressionValue cast(const QString &typeName, const ExpressionValue &value) = 0;
    // `base[index]`; `*base` comes here with index 0.
    virtual ExpressionValue dereference(const ExpressionValue &base,
                                        const ExpressionValue &index) = 0;
    // `base.name`; `base->name` comes here with the dereferenced base.
    virtual ExpressionValue member(const ExpressionValue &base, const QString &name) = 0;
    virtual ExpressionValue addressOf(const Expression &operand) = 0;
    virtual ExpressionValue sizeofExpression(const Expression &operand) = 0;
    virtual ExpressionValue sizeofType(const QString &typeName) = 0;
    virtual ExpressionValue call(const Expression &function,
                                 const QList<ExpressionValue> &arguments) = 0;
    // Default: "addressof not implemented".
    virtual ExpressionValue addressOfLine(const QString &file, int line);
    // Writes `value` to where `target` (an evaluated lvalue) lives and gives what was stored.
    // Default: "can't update a constant".
    virtual ExpressionValue update(const ExpressionValue &value, const ExpressionValue &target);
    // Turns a marker (kind 4) operand of an operator into a value the operator understands.
    // Default: the value unchanged, which operators refuse.
    virtual ExpressionValue markerValue(const ExpressionValue &marker);
    // The operators; the defaults apply the language's arithmetic (applyOperator) after
    // passing markers through markerValue.
    virtual ExpressionValue binaryOperation(ExpressionOperator op, const ExpressionValue &left,
                                            const ExpressionValue &right);
    virtual ExpressionValue unaryOperation(ExpressionOperator op, const ExpressionValue &operand);

protected:
    Lexer &lexer() { return m_lexer; }

    // Parses operators of priority `priority` and above; -4 is a whole expression.
    [[nodiscard]] std::unique_ptr<Expression> parseLevel(int priority);
    [[nodiscard]] std::unique_ptr<Expression> parseUnary();

private:
    [[nodiscard]] std::unique_ptr<Expression> parsePrimary(const LexerToken &token);
    [[nodiscard]] std::unique_ptr<Expression> parsePostfix(std::unique_ptr<Expression> node);
    [[nodiscard]] std::unique_ptr<Expression> parseSizeof();
    [[nodiscard]] std::unique_ptr<Expression> parseAddressofLine();
    [[nodiscard]] std::unique_ptr<Expression> parseScopedName(QStringList parts);
    [[nodiscard]] std::unique_ptr<Expression> parseCall(std::unique_ptr<Expression> function);
    [[nodiscard]] std::unique_ptr<Expression> checked(std::unique_ptr<Expression> node) const;
    void expect(CToken token, const char *message);
    [[nodiscard]] ExpressionValue evaluateOrThrow(const QString &text);

    CStyleLexer m_lexer;
    int m_nesting = 0;         // open parseUnary calls, bounded against deep input
    qint64 m_copiedNodes = 0;  // nodes copied by this parse, bounded against doubling input
    QString m_errorMessage;
};

// The parser without symbols, as the preprocessor and the memory maps use it: literals and
// operators only. Each request fails with its fixed message, such as "foo symbol not found".
class SimpleExpressionParser : public ExpressionParser {
public:
    ExpressionValue lookupIdentifier(const QString &name) override;
    ExpressionValue lookupScopedIdentifier(const QStringList &parts) override;
    ExpressionValue lookupRegister(const QString &name) override;
    ExpressionValue lookupThis() override;
    ExpressionValue lookupThisMember(const QString &name) override;
    ExpressionValue cast(const QString &typeName, const ExpressionValue &value) override;
    ExpressionValue dereference(const ExpressionValue &base, const ExpressionValue &index) override;
    ExpressionValue member(const ExpressionValue &base, const QString &name) override;
    ExpressionValue addressOf(const Expression &operand) override;
    ExpressionValue sizeofExpression(const Expression &operand) override;
    ExpressionValue sizeofType(const QString &typeName) override;
    ExpressionValue call(const Expression &function,
                         const QList<ExpressionValue> &arguments) override;
};
