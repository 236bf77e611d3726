#include "debug/PrintFormat.h"
#include "debug/BaseType.h"
#include "debug/DebugExpressionParser.h"
#include "debug/SymbolicDebuggerInterface.h"
#include "debug/TextVariableView.h"

namespace {

// A string format reads at most this much of the target's memory.
constexpr qint64 maxStringLength = 4096;

} // namespace

QString valueText(DebugExpressionParser &parser, const ExpressionValue &value, Radix radix,
                  PrintLimits limits)
{
    TextVariableView view;
    view.setDepthLimit(limits.depth);
    view.setElementLimit(limits.elements);
    view.walk(parser, QString(), value, radix);
    return view.text();
}

QString formattedValue(DebugExpressionParser &parser, SymbolicDebuggerInterface &engine,
                       const ExpressionValue &value, QChar letter, PrintLimits limits)
{
    switch (letter.unicode()) {
    case 'b': return valueText(parser, value, Radix::Binary, limits);
    case 'c': return valueText(parser, value, Radix::Character, limits);
    case 'd': return valueText(parser, value, Radix::Decimal, limits);
    case 'o': return valueText(parser, value, Radix::Octal, limits);
    case 'u': return valueText(parser, value, Radix::UnsignedDecimal, limits);
    case 'x': return valueText(parser, value, Radix::Hexadecimal, limits);
    case 's':
        return VariableListBuilder::escape(
            QString::fromLatin1(parser.readString(value, maxStringLength)), true);
    case 'e': case 'f': case 'g': case 'i': case 'p': break;
    default: throw ParserException(QStringLiteral("unknown format '%1'").arg(letter));
    }
    const BaseType *resolved = resolvedType(parser.typeOf(value));
    if (value.kind == aggregateKind || !value.isNumeric())
        throw ParserException(QStringLiteral("format '%1' needs a number, not %2")
                                  .arg(letter)
                                  .arg(resolved ? resolved->name() : value.typeName()));
    const ExpressionValue plain = value.normalised();
    switch (letter.unicode()) {
    case 'i': return QString::number(ExpressionValue::fromSigned(plain.integer, plain.width).integer);
    case 'e': return QString::asprintf("%e", plain.toDouble());
    case 'f': return QString::asprintf("%f", plain.toDouble());
    case 'g': return QString::asprintf("%g", plain.toDouble());
    default:
        return VariableListBuilder::format(
            ExpressionValue::fromUnsigned(quint64(plain.toLongLong()), engine.addressWidth()), 16,
            true, false, engine.addressWidth());
    }
}
