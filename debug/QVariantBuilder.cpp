#include "debug/QVariantBuilder.h"
#include "debug/BaseType.h"
#include "debug/DebugExpressionParser.h"

void QVariantBuilder::add(const QString &name, const QVariant &value)
{
    if (m_levels.empty()) {
        m_result = value;
        return;
    }
    Level &level = m_levels.back();
    if (level.isArray)
        level.elements.append(value);
    else
        level.members.insert(name, value);
}

void QVariantBuilder::addValue(const QString &name, Radix radix, const ExpressionValue &value,
                               const DebugLocation *location, int width)
{
    const ExpressionValue plain = value.normalised();
    const BaseType *resolved = location ? resolvedType(location->type) : nullptr;
    if (resolved && resolved->kind() == TypeKind::Enum && plain.isInteger()) {
        const QString enumerator = static_cast<const EnumType *>(resolved)->nameOf(plain.integer);
        if (!enumerator.isEmpty()) {
            add(name, enumerator);
            return;
        }
    }
    if (resolved && resolved->kind() == TypeKind::Pointer) {
        add(name, format(value, Radix::Hexadecimal, width));
        return;
    }
    switch (plain.kind) {
    case ExpressionKind::Boolean: add(name, plain.integer != 0); break;
    case ExpressionKind::Signed: add(name, plain.integer); break;
    case ExpressionKind::Unsigned: add(name, quint64(plain.integer) & (width >= 8 || width <= 0 ? ~quint64(0) : (quint64(1) << (width * 8)) - 1)); break;
    case ExpressionKind::Float: add(name, plain.floating); break;
    case ExpressionKind::String: add(name, plain.text); break;
    default: add(name, format(value, radix, width)); break;
    }
}

void QVariantBuilder::beginStruct(const QString &name, const ExpressionValue &, const DebugLocation *)
{
    Level level;
    level.name = name;
    m_levels.push_back(std::move(level));
}

void QVariantBuilder::beginArray(const QString &name, const ExpressionValue &, const DebugLocation *)
{
    Level level;
    level.name = name;
    level.isArray = true;
    m_levels.push_back(std::move(level));
}

void QVariantBuilder::close()
{
    Level level = std::move(m_levels.back());
    m_levels.pop_back();
    QVariant value;
    if (level.cut && level.members.isEmpty() && level.elements.isEmpty())
        value = level.isArray ? QStringLiteral("[...]") : QStringLiteral("{...}");
    else if (level.isArray)
        value = level.cut ? level.elements << QStringLiteral("...") : level.elements;
    else
        value = level.members;
    add(level.name, value);
}

void QVariantBuilder::endStruct()
{
    close();
}

void QVariantBuilder::endArray()
{
    close();
}

void QVariantBuilder::beginPointer(const QString &name, const ExpressionValue &value,
                                   const DebugLocation *location)
{
    addValue(name, Radix::Hexadecimal, value, location, value.width);
}

void QVariantBuilder::endPointer()
{
}

void QVariantBuilder::addEllipsis()
{
    if (!m_levels.empty())
        m_levels.back().cut = true;
}

void QVariantBuilder::addFailure(const QString &name, const QString &message)
{
    add(name, QString(u'<' + message + u'>'));
}

void QVariantBuilder::finish()
{
    while (!m_levels.empty())
        close();
}
