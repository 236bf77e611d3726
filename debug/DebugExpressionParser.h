#pragma once
#include "foundation/ExpressionParser.h"
#include <QHash>
#include <memory>
#include <unordered_map>

class BaseType;
class MarkerType;
class SymbolicDebuggerInterface;
struct StructField;

// Where a value of the debugger lives and what it is: its declared type (typedefs and tags kept,
// so that it prints by the user's names), its address when it is an lvalue, the bit-field
// within its storage unit, and the marker of a code object.
class DebugLocation : public ExpressionLocation {
public:
    const BaseType *type = nullptr; // observed; owned by the engine or the parser
    quint64 address = 0;
    bool hasAddress = false;
    int bitOffset = 0; // from the storage unit's least significant bit
    int bitSize = 0;   // 0: not a bit-field
    int unitSize = 0;  // bytes of the bit-field's storage unit
    std::shared_ptr<const MarkerType> marker;
};

// The kind of a struct, union or array value: nothing is read until a member or element is
// asked for, and arithmetic refuses it ("unsupported binary numeric operation").
constexpr ExpressionKind aggregateKind = ExpressionKind(6);

// The expression parser of the debugger: names, registers, memory, casts, sizeof, calls and
// line addresses are answered by the engine behind SymbolicDebuggerInterface. A scalar is read
// as soon as the tree reaches it, so an unreadable one fails the expression; a struct or array
// is read member by member by whoever walks it.
//
//     DwarfDebugger engine(QStringLiteral("firmware.elf"));
//     DebugExpressionParser parser(engine);
//     bool ok = false;
//     const ExpressionValue value = parser.evaluate(QStringLiteral("sensors[2].celsius"), &ok);
class DebugExpressionParser : public ExpressionParser {
public:
    explicit DebugExpressionParser(SymbolicDebuggerInterface &debugger);
    ~DebugExpressionParser() override;

    bool isTypeName(const QString &word) const override;
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
    ExpressionValue call(const Expression &function, const QList<ExpressionValue> &arguments) override;
    ExpressionValue addressOfLine(const QString &file, int line) override;
    ExpressionValue update(const ExpressionValue &value, const ExpressionValue &target) override;
    ExpressionValue markerValue(const ExpressionValue &marker) override;
    ExpressionValue binaryOperation(ExpressionOperator op, const ExpressionValue &left,
                                    const ExpressionValue &right) override;

    // ---- For the views and commands. Each throws ParserException with the text to show.

    SymbolicDebuggerInterface &debugger() const { return m_debugger; }
    [[nodiscard]] static const DebugLocation *locationOf(const ExpressionValue &value);
    // The declared type of a value, or the simple type of its kind and width.
    [[nodiscard]] const BaseType *typeOf(const ExpressionValue &value);
    // The value of `type` at `address`, read now when it is a scalar.
    [[nodiscard]] ExpressionValue valueAt(const BaseType *type, quint64 address);
    [[nodiscard]] ExpressionValue fieldValue(const ExpressionValue &aggregate, const StructField &field);
    [[nodiscard]] ExpressionValue elementValue(const ExpressionValue &array, qint64 index);
    // A type by its C name with pointers and dimensions: "unsigned char *", "struct point [4]".
    // Null when there is none.
    [[nodiscard]] const BaseType *parseType(const QString &typeName);
    [[nodiscard]] const BaseType *pointerTo(const BaseType *type);
    // The text a char pointer or array holds, up to a NUL and at most `limit` bytes.
    [[nodiscard]] QByteArray readString(const ExpressionValue &value, qint64 limit);

private:
    [[nodiscard]] ExpressionValue load(const BaseType *type, quint64 address, int bitOffset = 0,
                                       int bitSize = 0, int unitSize = 0);
    [[nodiscard]] ExpressionValue symbolValue(const QString &name, const QStringList &scope);
    [[nodiscard]] ExpressionValue addressValue(const BaseType *type, quint64 address);
    [[nodiscard]] ExpressionValue elementOf(const ExpressionValue &base, qint64 index, bool read);
    [[nodiscard]] ExpressionValue memberOf(const ExpressionValue &base, const QString &name, bool read);
    [[nodiscard]] ExpressionValue located(const Expression &operand);
    [[nodiscard]] const BaseType *simpleType(ExpressionKind kind, int width);
    [[nodiscard]] std::optional<ExpressionValue> pointerArithmetic(ExpressionOperator op,
                                                                   const ExpressionValue &left,
                                                                   const ExpressionValue &right);
    void store(const ExpressionValue &value, const DebugLocation &target);

    SymbolicDebuggerInterface &m_debugger;
    std::unordered_map<const BaseType *, std::unique_ptr<BaseType>> m_pointers;
    std::unordered_map<QString, std::unique_ptr<BaseType>> m_parsedTypes;
    QHash<QString, const BaseType *> m_parsedNames;
    std::unordered_map<int, std::unique_ptr<BaseType>> m_simpleTypes;
};
