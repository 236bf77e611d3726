#include "debug/VariableListBuilder.h"
#include "debug/BaseType.h"
#include "debug/DebugExpressionParser.h"
#include "debug/MarkerType.h"

VariableListBuilder::~VariableListBuilder() = default;

namespace {

// Digits a value of `width` bytes takes in `radix`.
int digitsFor(int width, int radix)
{
    const int bits = width * 8;
    switch (radix) {
    case 16: return (bits + 3) / 4;
    case 2: return bits;
    case 8: return (bits + 2) / 3;
    default: return 0;
    }
}

quint64 bitPattern(const ExpressionValue &value)
{
    const int width = value.width;
    const quint64 bits = quint64(value.integer);
    return width >= 1 && width < 8 ? bits & ((quint64(1) << (width * 8)) - 1) : bits;
}

QString prefixOf(int radix)
{
    switch (radix) {
    case 16: return QStringLiteral("0x");
    case 2: return QStringLiteral("0b");
    case 8: return QStringLiteral("0");
    default: return {};
    }
}

} // namespace

QString VariableListBuilder::format(const ExpressionValue &value, int radix, bool isUnsigned,
                                    bool showCharacter, int width)
{
    const ExpressionValue plain = value.normalised();
    switch (plain.kind) {
    case ExpressionKind::Boolean: return plain.integer ? QStringLiteral("true") : QStringLiteral("false");
    case ExpressionKind::String: return escape(plain.text, true);
    case ExpressionKind::Marker: {
        const DebugLocation *location = DebugExpressionParser::locationOf(value);
        if (location && location->marker)
            return location->marker->text();
        return QStringLiteral("0x%1").arg(bitPattern(plain), 8, 16, QLatin1Char('0'));
    }
    case ExpressionKind::Signed:
    case ExpressionKind::Unsigned:
    case ExpressionKind::Float: break;
    default: return QStringLiteral("unknown");
    }
    if (showCharacter) {
        const qint64 code = plain.kind == ExpressionKind::Float ? plain.toLongLong() : plain.integer;
        if (code >= 32 && code <= 126)
            return QStringLiteral("'%1'").arg(QChar(char16_t(code)));
        return QStringLiteral("\\u%1").arg(quint16(code), 4, 16, QLatin1Char('0'));
    }
    if (plain.kind == ExpressionKind::Float)
        return QString::asprintf("%g", plain.floating);
    if (radix == 10) {
        if (plain.kind == ExpressionKind::Signed && !isUnsigned)
            return QString::number(plain.integer);
        return QString::number(bitPattern(plain));
    }
    if (radix < 2 || radix > 36)
        radix = 10;
    QString digits = QString::number(bitPattern(plain), radix);
    const int wanted = digitsFor(width, radix);
    if (wanted > 0)
        digits = digits.size() > wanted ? digits.right(wanted) : digits.rightJustified(wanted, u'0');
    return prefixOf(radix) + digits;
}

QString VariableListBuilder::format(const ExpressionValue &value, Radix radix, int width)
{
    switch (radix) {
    case Radix::UnsignedDecimal: return format(value, 10, true, false, width);
    case Radix::Character: return format(value, 10, false, true, width);
    default: return format(value, int(radix), false, false, width);
    }
}

QString VariableListBuilder::escape(const QString &text, bool quotes)
{
    static const char *const controls[] = {"\\a", "\\b", "\\t", "\\n", "\\v", "\\f", "\\r"};
    QString result;
    result.reserve(text.size() + 2);
    if (quotes)
        result += u'"';
    for (const QChar c : text) {
        const char16_t code = c.unicode();
        if (code >= 7 && code <= 13)
            result += QLatin1String(controls[code - 7]);
        else if (code < 32 || code >= 127)
            result += QStringLiteral("\\%1").arg(int(code), 3, 8, QLatin1Char('0'));
        else
            result += c;
    }
    if (quotes)
        result += u'"';
    return result;
}

// ---- The walk

void VariableListBuilder::walk(DebugExpressionParser &parser, const QString &name,
                               const ExpressionValue &value, Radix radix)
{
    walkValue(parser, name, value, radix, 0);
    finish();
}

void VariableListBuilder::walkValue(DebugExpressionParser &parser, const QString &name,
                                    const ExpressionValue &value, Radix radix, int depth)
{
    const DebugLocation *location = DebugExpressionParser::locationOf(value);
    const BaseType *type = parser.typeOf(value);
    const BaseType *resolved = resolvedType(type);
    if (value.kind == aggregateKind && resolved && resolved->kind() == TypeKind::Struct) {
        beginStruct(name, value, location);
        if (depth >= m_depthLimit)
            addEllipsis();
        else
            walkStruct(parser, *resolved, value, radix, depth);
        endStruct();
        return;
    }
    if (value.kind == aggregateKind && resolved && resolved->kind() == TypeKind::Array) {
        beginArray(name, value, location);
        if (depth >= m_depthLimit)
            addEllipsis();
        else
            walkArray(parser, *resolved, value, radix, depth);
        endArray();
        return;
    }
    if (value.kind == aggregateKind) {
        addFailure(name, QStringLiteral("incomplete type ") + type->name());
        return;
    }
    if (resolved && resolved->kind() == TypeKind::Pointer) {
        addValue(name, Radix::Hexadecimal, value, location, value.width);
        return;
    }
    addValue(name, radix, value, location, value.width);
}

void VariableListBuilder::walkStruct(DebugExpressionParser &parser, const BaseType &type,
                                     const ExpressionValue &value, Radix radix, int depth)
{
    for (const StructField &field : static_cast<const StructType &>(type).fields()) {
        ExpressionValue member;
        try {
            member = parser.fieldValue(value, field);
        } catch (const ParserException &exception) {
            addFailure(field.name, exception.message());
            continue;
        }
        walkValue(parser, field.name, member, radix, depth + 1);
    }
}

void VariableListBuilder::walkArray(DebugExpressionParser &parser, const BaseType &type,
                                    const ExpressionValue &value, Radix radix, int depth)
{
    const qint64 count = static_cast<const ArrayType &>(type).count();
    const qint64 shown = qMin<qint64>(count, m_elementLimit);
    for (qint64 i = 0; i < shown; ++i) {
        ExpressionValue element;
        try {
            element = parser.elementValue(value, i);
        } catch (const ParserException &exception) {
            addFailure(QString(), exception.message());
            continue;
        }
        walkValue(parser, QString(), element, radix, depth + 1);
    }
    if (count > shown || count < 0)
        addEllipsis();
}
