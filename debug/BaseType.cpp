#include "debug/BaseType.h"
#include <limits>

namespace {

// Typedef chains longer than this are taken for a loop in the debug information.
constexpr int maxDefinitionSteps = 64;

} // namespace

BaseType::~BaseType() = default;
TypeDefinitionSource::~TypeDefinitionSource() = default;

// ---- SimpleType

SimpleType::SimpleType(ExpressionKind valueKind, int width, bool byteForm)
    : BaseType(TypeKind::Simple, width), m_valueKind(valueKind), m_byteForm(byteForm)
{
}

QString SimpleType::nameOf(ExpressionKind kind, int width, bool byteForm)
{
    if (byteForm && kind == ExpressionKind::Signed && width == 1)
        return QStringLiteral("byte");
    ExpressionValue value;
    value.kind = kind;
    value.width = width;
    return value.typeName();
}

QString SimpleType::name() const
{
    return nameOf(m_valueKind, int(m_size), m_byteForm);
}

std::unique_ptr<BaseType> SimpleType::clone() const
{
    return std::make_unique<SimpleType>(m_valueKind, int(m_size), m_byteForm);
}

// ---- UserType

UserType::UserType(QString name, TypeDefinitionSource *source, quint64 key, bool isTypedef)
    : BaseType(TypeKind::User, -1), m_name(std::move(name)), m_source(source), m_key(key),
      m_isTypedef(isTypedef)
{
}

std::unique_ptr<BaseType> UserType::clone() const
{
    return std::make_unique<UserType>(m_name, m_source, m_key, m_isTypedef);
}

const BaseType *UserType::definition() const
{
    return m_source ? m_source->definitionOf(m_key) : nullptr;
}

qint64 UserType::size() const
{
    const BaseType *type = resolvedType(this);
    return type ? type->size() : -1;
}

const BaseType *resolvedType(const BaseType *type)
{
    for (int step = 0; type && type->kind() == TypeKind::User; ++step) {
        if (step == maxDefinitionSteps)
            return nullptr;
        type = static_cast<const UserType *>(type)->definition();
    }
    return type;
}

// ---- PointerType

PointerType::PointerType(std::unique_ptr<BaseType> target, int width)
    : BaseType(TypeKind::Pointer, width), m_target(std::move(target))
{
}

QString PointerType::name() const
{
    return m_target->name() + QLatin1Char('*');
}

std::unique_ptr<BaseType> PointerType::clone() const
{
    return std::make_unique<PointerType>(m_target->clone(), int(m_size));
}

// ---- ArrayType

namespace {

qint64 arraySize(const BaseType &element, qint64 count)
{
    const qint64 elementSize = element.size();
    if (count < 0 || elementSize < 0)
        return -1;
    if (elementSize > 0 && count > std::numeric_limits<qint64>::max() / elementSize)
        return -1;
    return elementSize * count;
}

QString dimension(qint64 count)
{
    return count < 0 ? QStringLiteral("[]") : QLatin1Char('[') + QString::number(count) + QLatin1Char(']');
}

} // namespace

ArrayType::ArrayType(std::unique_ptr<BaseType> element, qint64 count)
    : BaseType(TypeKind::Array, arraySize(*element, count)), m_element(std::move(element)),
      m_count(count)
{
}

// The dimensions read as C writes them: an array of 2 arrays of 3 ints is "int[2][3]".
QString ArrayType::name() const
{
    QString dimensions = dimension(m_count);
    const BaseType *inner = m_element.get();
    while (inner->kind() == TypeKind::Array) {
        const auto *array = static_cast<const ArrayType *>(inner);
        dimensions += dimension(array->count());
        inner = &array->element();
    }
    return inner->name() + dimensions;
}

std::unique_ptr<BaseType> ArrayType::clone() const
{
    return std::make_unique<ArrayType>(m_element->clone(), m_count);
}

// ---- StructType

StructType::StructType(QString keyword, QString tag, qint64 size)
    : BaseType(TypeKind::Struct, size), m_keyword(std::move(keyword)), m_tag(std::move(tag))
{
}

QString StructType::name() const
{
    if (!m_tag.isEmpty())
        return m_keyword + QLatin1Char(' ') + m_tag;
    QStringList members;
    for (const StructField &field : m_fields) {
        QString member = field.type->name() + QLatin1Char(' ') + field.name;
        if (field.isBitField())
            member += QLatin1Char(':') + QString::number(field.bitSize);
        members.append(member + QLatin1Char(';'));
    }
    return m_keyword + QStringLiteral(" {") + members.join(QLatin1Char(' ')) + QLatin1Char('}');
}

std::unique_ptr<BaseType> StructType::clone() const
{
    auto copy = std::make_unique<StructType>(m_keyword, m_tag, m_size);
    for (const StructField &field : m_fields) {
        copy->addField({field.name, field.type->clone(), field.offset, field.bitOffset,
                        field.bitSize, field.unitSize});
    }
    return copy;
}

const StructField *StructType::field(QStringView name) const
{
    for (const StructField &field : m_fields) {
        if (field.name == name)
            return &field;
    }
    return nullptr;
}

// ---- EnumType

EnumType::EnumType(QString tag, ExpressionKind valueKind, int width)
    : BaseType(TypeKind::Enum, width), m_tag(std::move(tag)), m_valueKind(valueKind)
{
}

QString EnumType::name() const
{
    if (!m_tag.isEmpty())
        return QStringLiteral("enum ") + m_tag;
    QStringList names;
    for (const Enumerator &enumerator : m_enumerators)
        names.append(enumerator.name);
    return QStringLiteral("enum {") + names.join(QStringLiteral(", ")) + QLatin1Char('}');
}

std::unique_ptr<BaseType> EnumType::clone() const
{
    auto copy = std::make_unique<EnumType>(m_tag, m_valueKind, int(m_size));
    for (const Enumerator &enumerator : m_enumerators)
        copy->addEnumerator(enumerator);
    return copy;
}

QString EnumType::nameOf(qint64 value) const
{
    for (const Enumerator &enumerator : m_enumerators) {
        if (enumerator.value == value)
            return enumerator.name;
    }
    return {};
}

// ---- FunctionType

FunctionType::FunctionType(std::unique_ptr<BaseType> result,
                           std::vector<std::unique_ptr<BaseType>> parameters, bool variadic)
    : BaseType(TypeKind::Function, 1), m_result(std::move(result)),
      m_parameters(std::move(parameters)), m_variadic(variadic)
{
}

QString FunctionType::name() const
{
    QStringList parameters;
    for (const auto &parameter : m_parameters)
        parameters.append(parameter->name());
    if (m_variadic)
        parameters.append(QStringLiteral("..."));
    if (parameters.isEmpty())
        parameters.append(QStringLiteral("void"));
    const QString result = m_result ? m_result->name() : QStringLiteral("void");
    return result + QStringLiteral(" (") + parameters.join(QStringLiteral(", ")) + QLatin1Char(')');
}

std::unique_ptr<BaseType> FunctionType::clone() const
{
    std::vector<std::unique_ptr<BaseType>> parameters;
    for (const auto &parameter : m_parameters)
        parameters.push_back(parameter->clone());
    return std::make_unique<FunctionType>(m_result ? m_result->clone() : nullptr,
                                          std::move(parameters), m_variadic);
}

// ---- RegisterType

RegisterType::RegisterType(int bits, std::vector<Field> fields)
    : BaseType(TypeKind::Register, (bits + 7) / 8), m_bits(bits), m_fields(std::move(fields))
{
}

QString RegisterType::name() const
{
    QStringList fields;
    for (const Field &field : m_fields) {
        fields.append(field.name + QLatin1Char(':') + QString::number(field.bitOffset)
                      + QLatin1Char(':') + QString::number(field.bitSize));
    }
    return QString::number(m_bits) + QStringLiteral(" {") + fields.join(QStringLiteral(", "))
           + QLatin1Char('}');
}

std::unique_ptr<BaseType> RegisterType::clone() const
{
    return std::make_unique<RegisterType>(m_bits, m_fields);
}
