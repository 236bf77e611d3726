#pragma once
#include "foundation/ExpressionValue.h"
#include <QString>
#include <QStringList>
#include <memory>
#include <vector>

// The debugger's small type model, enough to print, cast and walk values. Types own the types
// they point to; a named type (a typedef, "struct point", "enum color") is reached through a
// UserType, which only observes its definition, so a self-referencing struct never recurses and
// the definitions stay with the engine that read them. Qualifiers are dropped.

enum class TypeKind { Simple, User, Pointer, Array, Struct, Enum, Function, Register };

class BaseType {
public:
    virtual QString name() const = 0;
    virtual ~BaseType();
    [[nodiscard]] virtual std::unique_ptr<BaseType> clone() const = 0;

    TypeKind kind() const { return m_kind; }
    // Bytes a value of the type takes, -1 when unknown (void, a declared-only struct).
    virtual qint64 size() const { return m_size; }

protected:
    BaseType(TypeKind kind, qint64 size) : m_kind(kind), m_size(size) {}

    TypeKind m_kind;
    qint64 m_size;
};

// A base type, named by kind and width as ExpressionValue names them: a 64-bit `long` is
// "long long", `_Bool` "boolean", an unsigned plain char "unsigned char".
class SimpleType : public BaseType {
public:
    SimpleType(ExpressionKind valueKind, int width, bool byteForm = false);
    QString name() const override;
    std::unique_ptr<BaseType> clone() const override;

    ExpressionKind valueKind() const { return m_valueKind; }
    int width() const { return int(m_size); }

    // The name of a value's kind and width; a one-byte signed integer is "byte" when asked for
    // the byte form, integer widths other than 1, 2, 4 and 8 are "unknown".
    [[nodiscard]] static QString nameOf(ExpressionKind kind, int width, bool byteForm = false);

private:
    ExpressionKind m_valueKind;
    bool m_byteForm;
};

// Who finds the definition behind a name; the engine that made the UserType.
class TypeDefinitionSource {
public:
    virtual ~TypeDefinitionSource();
    // The definition behind `key`, made on first use; null when there is none (a struct only
    // declared, `void`).
    virtual const BaseType *definitionOf(quint64 key) = 0;
};

// A typedef or a tagged type by name. The definition is the engine's and is made when first
// asked for, so reading a type never walks further than it is used.
class UserType : public BaseType {
public:
    // `source` null: a name without definition, such as "void".
    UserType(QString name, TypeDefinitionSource *source = nullptr, quint64 key = 0,
             bool isTypedef = false);
    QString name() const override { return m_name; }
    std::unique_ptr<BaseType> clone() const override;

    qint64 size() const override;
    bool isTypedef() const { return m_isTypedef; }
    const BaseType *definition() const;

private:
    QString m_name;
    TypeDefinitionSource *m_source;
    quint64 m_key;
    bool m_isTypedef;
};

class PointerType : public BaseType {
public:
    PointerType(std::unique_ptr<BaseType> target, int width);
    QString name() const override;
    std::unique_ptr<BaseType> clone() const override;
    const BaseType &target() const { return *m_target; }

private:
    std::unique_ptr<BaseType> m_target;
};

class ArrayType : public BaseType {
public:
    // `count` -1: a dimension that is not known, printed "[]".
    ArrayType(std::unique_ptr<BaseType> element, qint64 count);
    QString name() const override;
    std::unique_ptr<BaseType> clone() const override;
    const BaseType &element() const { return *m_element; }
    qint64 count() const { return m_count; }

private:
    std::unique_ptr<BaseType> m_element;
    qint64 m_count;
};

// One member of a struct or union. A bit-field lives in a storage unit of `unitSize` bytes at
// `offset`; `bitOffset` counts from the unit's least significant bit as the target reads it.
struct StructField {
    QString name;
    std::unique_ptr<BaseType> type;
    qint64 offset = 0;
    int bitOffset = 0;
    int bitSize = 0; // 0: not a bit-field
    int unitSize = 0;

    bool isBitField() const { return bitSize > 0; }
};

class StructType : public BaseType {
public:
    // `keyword` "struct", "union" or "class"; `tag` empty for an anonymous one.
    StructType(QString keyword, QString tag, qint64 size);
    // "struct point", or the members for an anonymous one: "struct {int a; int b;}".
    QString name() const override;
    std::unique_ptr<BaseType> clone() const override;

    void addField(StructField field) { m_fields.push_back(std::move(field)); }
    const std::vector<StructField> &fields() const { return m_fields; }
    const QString &keyword() const { return m_keyword; }
    const QString &tag() const { return m_tag; }
    // The member called `name`, or null.
    const StructField *field(QStringView name) const;

private:
    QString m_keyword;
    QString m_tag;
    std::vector<StructField> m_fields;
};

struct Enumerator {
    QString name;
    qint64 value = 0;
};

// An enumeration: its values are integers of the underlying kind and width.
class EnumType : public BaseType {
public:
    EnumType(QString tag, ExpressionKind valueKind, int width);
    // "enum color", or "enum {RED, GREEN}" for an anonymous one.
    QString name() const override;
    std::unique_ptr<BaseType> clone() const override;

    void addEnumerator(Enumerator enumerator) { m_enumerators.push_back(std::move(enumerator)); }
    const std::vector<Enumerator> &enumerators() const { return m_enumerators; }
    ExpressionKind valueKind() const { return m_valueKind; }
    const QString &tag() const { return m_tag; }
    // The name of `value`, or an empty text when no enumerator has it.
    QString nameOf(qint64 value) const;

private:
    QString m_tag;
    ExpressionKind m_valueKind;
    std::vector<Enumerator> m_enumerators;
};

// The type of a function: what it returns and takes, as "int (int, char*)".
class FunctionType : public BaseType {
public:
    FunctionType(std::unique_ptr<BaseType> result, std::vector<std::unique_ptr<BaseType>> parameters,
                 bool variadic);
    QString name() const override;
    std::unique_ptr<BaseType> clone() const override;

private:
    std::unique_ptr<BaseType> m_result; // null: void
    std::vector<std::unique_ptr<BaseType>> m_parameters;
    bool m_variadic;
};

// A register seen as bit-fields: "32 {EN:0:1, MODE:1:2}", the width in bits first.
class RegisterType : public BaseType {
public:
    struct Field {
        QString name;
        int bitOffset = 0;
        int bitSize = 1;
    };
    RegisterType(int bits, std::vector<Field> fields);
    QString name() const override;
    std::unique_ptr<BaseType> clone() const override;
    int bits() const { return m_bits; }
    const std::vector<Field> &fields() const { return m_fields; }

private:
    int m_bits;
    std::vector<Field> m_fields;
};

// The type behind typedefs and tags: follows UserType definitions (a bounded number of steps,
// so a typedef of itself ends). Null for a name without definition.
[[nodiscard]] const BaseType *resolvedType(const BaseType *type);
