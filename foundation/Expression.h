#pragma once
#include "foundation/ExpressionValue.h"
#include <QList>
#include <QString>
#include <QStringList>
#include <memory>
#include <vector>

class ExpressionParser;

// A node of the expression tree. Nodes own their operands and observe the parser that made them,
// which must outlive them; through it they reach symbols, registers and memory.
class Expression {
public:
    explicit Expression(ExpressionParser *parser) : m_parser(parser) {}

    [[nodiscard]] virtual ExpressionValue evaluate() const = 0;
    // The printed form, as the debugger's views show the expression.
    [[nodiscard]] virtual QString text() const = 0;
    virtual ~Expression();
    // Stores `value` into what this node denotes and gives the stored value. The default fails
    // with "can't update a constant".
    virtual ExpressionValue store(const ExpressionValue &value) const;
    // A deep copy. The default fails with "cannot duplicate expression".
    [[nodiscard]] virtual std::unique_ptr<Expression> clone() const;

    ExpressionParser *parser() const { return m_parser; }
    // Height of the tree below and including this node; the parser bounds it so that the
    // recursive evaluate, clone and delete stay within the stack.
    int depth() const { return m_depth; }
    // Number of nodes in the tree below and including this node.
    qint64 size() const { return m_size; }

protected:
    // Counts an operand into depth() and size(); constructors call it for each operand.
    void addOperand(const Expression *operand);

    ExpressionParser *m_parser;

private:
    int m_depth = 1;
    qint64 m_size = 1;
};

class UnaryExpression : public Expression {
public:
    UnaryExpression(ExpressionParser *parser, std::unique_ptr<Expression> operand);
    const Expression &operand() const { return *m_operand; }

protected:
    std::unique_ptr<Expression> m_operand;
};

class BinaryExpression : public Expression {
public:
    BinaryExpression(ExpressionParser *parser, std::unique_ptr<Expression> left,
                     std::unique_ptr<Expression> right);
    const Expression &left() const { return *m_left; }
    const Expression &right() const { return *m_right; }

protected:
    std::unique_ptr<Expression> m_left;
    std::unique_ptr<Expression> m_right;
};

// ---- Leaves

class ConstantExpression : public Expression {
public:
    ConstantExpression(ExpressionParser *parser, ExpressionValue value);
    ExpressionValue evaluate() const override { return m_value; }
    QString text() const override;
    std::unique_ptr<Expression> clone() const override;

protected:
    ExpressionValue m_value;
};

class IntegerConstantExpression : public ConstantExpression {
public:
    IntegerConstantExpression(ExpressionParser *parser, qint64 value);
    std::unique_ptr<Expression> clone() const override;
};

class FloatConstantExpression : public ConstantExpression {
public:
    FloatConstantExpression(ExpressionParser *parser, double value);
    std::unique_ptr<Expression> clone() const override;
};

class StringConstantExpression : public ConstantExpression {
public:
    StringConstantExpression(ExpressionParser *parser, const QString &value);
    QString text() const override;
    std::unique_ptr<Expression> clone() const override;
};

// A plain name; `this` asks the parser for the object the debugger stands in.
class IdentifierExpression : public Expression {
public:
    IdentifierExpression(ExpressionParser *parser, QString name);
    const QString &name() const { return m_name; }
    ExpressionValue evaluate() const override;
    QString text() const override { return m_name; }
    ExpressionValue store(const ExpressionValue &value) const override;
    std::unique_ptr<Expression> clone() const override;

private:
    QString m_name;
};

// `a::b::c`; a name from the root (`::a`) has an empty first part.
class ScopedIdentifierExpression : public Expression {
public:
    ScopedIdentifierExpression(ExpressionParser *parser, QStringList parts);
    const QStringList &parts() const { return m_parts; }
    ExpressionValue evaluate() const override;
    QString text() const override;
    ExpressionValue store(const ExpressionValue &value) const override;
    std::unique_ptr<Expression> clone() const override;

private:
    QStringList m_parts;
};

// `@name`: a register of the target.
class RegisterExpression : public Expression {
public:
    RegisterExpression(ExpressionParser *parser, QString name);
    const QString &name() const { return m_name; }
    ExpressionValue evaluate() const override;
    QString text() const override;
    ExpressionValue store(const ExpressionValue &value) const override;
    std::unique_ptr<Expression> clone() const override;

private:
    QString m_name;
};

// `&operand`
class AddressofExpression : public Expression {
public:
    AddressofExpression(ExpressionParser *parser, std::unique_ptr<Expression> operand);
    const Expression &operand() const { return *m_operand; }
    ExpressionValue evaluate() const override;
    QString text() const override;
    std::unique_ptr<Expression> clone() const override;

private:
    std::unique_ptr<Expression> m_operand;
};

// `(type) operand`
class CastExpression : public Expression {
public:
    CastExpression(ExpressionParser *parser, QString typeName, std::unique_ptr<Expression> operand);
    const QString &typeName() const { return m_typeName; }
    const Expression &operand() const { return *m_operand; }
    ExpressionValue evaluate() const override;
    QString text() const override;
    std::unique_ptr<Expression> clone() const override;

private:
    QString m_typeName;
    std::unique_ptr<Expression> m_operand;
};

// `function(arguments)`: the arguments are evaluated first, in order.
class CallExpression : public Expression {
public:
    CallExpression(ExpressionParser *parser, std::unique_ptr<Expression> function,
                   std::vector<std::unique_ptr<Expression>> arguments);
    const Expression &function() const { return *m_function; }
    const std::vector<std::unique_ptr<Expression>> &arguments() const { return m_arguments; }
    ExpressionValue evaluate() const override;
    QString text() const override;
    std::unique_ptr<Expression> clone() const override;

private:
    std::unique_ptr<Expression> m_function;
    std::vector<std::unique_ptr<Expression>> m_arguments;
};

// `sizeof operand` or `sizeof(type)`: exactly one of the two is set.
class SizeofExpression : public Expression {
public:
    SizeofExpression(ExpressionParser *parser, std::unique_ptr<Expression> operand);
    SizeofExpression(ExpressionParser *parser, QString typeName);
    const Expression *operand() const { return m_operand.get(); }
    const QString &typeName() const { return m_typeName; }
    ExpressionValue evaluate() const override;
    QString text() const override;
    std::unique_ptr<Expression> clone() const override;

private:
    std::unique_ptr<Expression> m_operand;
    QString m_typeName;
};

// `addressof("file", line)`: the code address of a source line.
class AddressofLineExpression : public Expression {
public:
    AddressofLineExpression(ExpressionParser *parser, QString file, int line);
    const QString &file() const { return m_file; }
    int line() const { return m_line; }
    ExpressionValue evaluate() const override;
    QString text() const override;
    std::unique_ptr<Expression> clone() const override;

private:
    QString m_file;
    int m_line;
};

// ---- Unary operators: the parser's unaryOperation does the work.

class OperatorUnaryExpression : public UnaryExpression {
public:
    OperatorUnaryExpression(ExpressionParser *parser, ExpressionOperator op,
                            std::unique_ptr<Expression> operand);
    ExpressionValue evaluate() const override;
    QString text() const override;

private:
    ExpressionOperator m_operator;
};

class LogicalNotExpression : public OperatorUnaryExpression {
public:
    LogicalNotExpression(ExpressionParser *parser, std::unique_ptr<Expression> operand);
    std::unique_ptr<Expression> clone() const override;
};

class BitNotExpression : public OperatorUnaryExpression {
public:
    BitNotExpression(ExpressionParser *parser, std::unique_ptr<Expression> operand);
    std::unique_ptr<Expression> clone() const override;
};

class NegateExpression : public OperatorUnaryExpression {
public:
    NegateExpression(ExpressionParser *parser, std::unique_ptr<Expression> operand);
    std::unique_ptr<Expression> clone() const override;
};

// ---- Binary operators. Both sides are evaluated, left first, and handed to the parser's
// binaryOperation, except where a class says otherwise.

class OperatorBinaryExpression : public BinaryExpression {
public:
    OperatorBinaryExpression(ExpressionParser *parser, ExpressionOperator op,
                             std::unique_ptr<Expression> left, std::unique_ptr<Expression> right);
    ExpressionOperator op() const { return m_operator; }
    ExpressionValue evaluate() const override;
    QString text() const override;

private:
    ExpressionOperator m_operator;
};

// One class per operator, so that the debugger can tell the nodes apart by type.
template <class Derived, ExpressionOperator Op>
class OperatorExpression : public OperatorBinaryExpression {
public:
    OperatorExpression(ExpressionParser *parser, std::unique_ptr<Expression> left,
                       std::unique_ptr<Expression> right)
        : OperatorBinaryExpression(parser, Op, std::move(left), std::move(right))
    {
    }
    std::unique_ptr<Expression> clone() const override
    {
        return std::make_unique<Derived>(m_parser, m_left->clone(), m_right->clone());
    }
};

class MultiplyExpression
    : public OperatorExpression<MultiplyExpression, ExpressionOperator::Multiply> {
public:
    using OperatorExpression::OperatorExpression;
};
class DivideExpression
    : public OperatorExpression<DivideExpression, ExpressionOperator::Divide> {
public:
    using OperatorExpression::OperatorExpression;
};
class ModExpression
    : public OperatorExpression<ModExpression, ExpressionOperator::Mod> {
public:
    using OperatorExpression::OperatorExpression;
};
class PlusExpression
    : public OperatorExpression<PlusExpression, ExpressionOperator::Plus> {
public:
    using OperatorExpression::OperatorExpression;
};
class MinusExpression
    : public OperatorExpression<MinusExpression, ExpressionOperator::Minus> {
public:
    using OperatorExpression::OperatorExpression;
};
class LshiftExpression
    : public OperatorExpression<LshiftExpression, ExpressionOperator::Lshift> {
public:
    using OperatorExpression::OperatorExpression;
};
class RshiftExpression
    : public OperatorExpression<RshiftExpression, ExpressionOperator::Rshift> {
public:
    using OperatorExpression::OperatorExpression;
};
class LtExpression
    : public OperatorExpression<LtExpression, ExpressionOperator::Lt> {
public:
    using OperatorExpression::OperatorExpression;
};
class LeExpression
    : public OperatorExpression<LeExpression, ExpressionOperator::Le> {
public:
    using OperatorExpression::OperatorExpression;
};
class GtExpression
    : public OperatorExpression<GtExpression, ExpressionOperator::Gt> {
public:
    using OperatorExpression::OperatorExpression;
};
class GeExpression
    : public OperatorExpression<GeExpression, ExpressionOperator::Ge> {
public:
    using OperatorExpression::OperatorExpression;
};
class EqExpression
    : public OperatorExpression<EqExpression, ExpressionOperator::Eq> {
public:
    using OperatorExpression::OperatorExpression;
};
class NeExpression
    : public OperatorExpression<NeExpression, ExpressionOperator::Ne> {
public:
    using OperatorExpression::OperatorExpression;
};
class BitAndExpression
    : public OperatorExpression<BitAndExpression, ExpressionOperator::BitAnd> {
public:
    using OperatorExpression::OperatorExpression;
};
class BitXorExpression
    : public OperatorExpression<BitXorExpression, ExpressionOperator::BitXor> {
public:
    using OperatorExpression::OperatorExpression;
};
class BitOrExpression
    : public OperatorExpression<BitOrExpression, ExpressionOperator::BitOr> {
public:
    using OperatorExpression::OperatorExpression;
};

// `&&`: the right side is evaluated only when the left one is true; gives a boolean.
class LogicalAndExpression : public BinaryExpression {
public:
    using BinaryExpression::BinaryExpression;
    ExpressionValue evaluate() const override;
    QString text() const override;
    std::unique_ptr<Expression> clone() const override;
};

// `||`: the right side is evaluated only when the left one is false; gives a boolean.
class LogicalOrExpression : public BinaryExpression {
public:
    using BinaryExpression::BinaryExpression;
    ExpressionValue evaluate() const override;
    QString text() const override;
    std::unique_ptr<Expression> clone() const override;
};

// `left = right`: evaluates the right side and stores it through the left one.
class AssignExpression : public BinaryExpression {
public:
    using BinaryExpression::BinaryExpression;
    ExpressionValue evaluate() const override;
    QString text() const override;
    std::unique_ptr<Expression> clone() const override;
};

// `left[right]`, and `*left` as `left[0]`: asks the parser to dereference.
class LeftSquareBracketExpression : public BinaryExpression {
public:
    using BinaryExpression::BinaryExpression;
    ExpressionValue evaluate() const override;
    QString text() const override;
    ExpressionValue store(const ExpressionValue &value) const override;
    std::unique_ptr<Expression> clone() const override;
};

// `left.member`, and `left->member` as `left[0].member`; the right side names the member.
class DotExpression : public BinaryExpression {
public:
    DotExpression(ExpressionParser *parser, std::unique_ptr<Expression> left,
                  std::unique_ptr<IdentifierExpression> member);
    const QString &member() const;
    ExpressionValue evaluate() const override;
    QString text() const override;
    ExpressionValue store(const ExpressionValue &value) const override;
    std::unique_ptr<Expression> clone() const override;
};
