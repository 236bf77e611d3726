#include "debug/JavaScriptVariableView.h"
#include "debug/BaseType.h"
#include "debug/DebugExpressionParser.h"
#include "script/es/ESContext.h"
#include "script/es/ESNativeClass.h"

ESValue JavaScriptVariableView::text(const QString &text)
{
    return ESValue::fromAtom(m_context.intern(text));
}

void JavaScriptVariableView::add(const QString &name, ESValue value)
{
    if (m_levels.empty()) {
        m_result = value;
        return;
    }
    Level &level = m_levels.back();
    if (level.isArray)
        level.elements.push_back(value);
    else
        m_context.put(level.object, m_context.intern(name), value);
}

void JavaScriptVariableView::addValue(const QString &name, Radix radix, const ExpressionValue &value,
                                      const DebugLocation *location, int width)
{
    const ExpressionValue plain = value.normalised();
    const BaseType *resolved = location ? resolvedType(location->type) : nullptr;
    if (resolved && resolved->kind() == TypeKind::Enum && plain.isInteger()) {
        const QString enumerator = static_cast<const EnumType *>(resolved)->nameOf(plain.integer);
        if (!enumerator.isEmpty()) {
            add(name, text(enumerator));
            return;
        }
    }
    if (resolved && resolved->kind() == TypeKind::Pointer) {
        add(name, text(format(value, Radix::Hexadecimal, width)));
        return;
    }
    switch (plain.kind) {
    case ExpressionKind::Boolean: add(name, ESValue::boolean(plain.integer != 0)); break;
    case ExpressionKind::Signed:
    case ExpressionKind::Unsigned:
    case ExpressionKind::Float: add(name, ESValue::fromNumber(plain.toDouble())); break;
    default: add(name, text(format(value, radix, width))); break;
    }
}

void JavaScriptVariableView::beginStruct(const QString &name, const ExpressionValue &, const DebugLocation *)
{
    Level level;
    level.name = name;
    level.object = m_context.newObject(m_context.objectPrototype, m_context.objectClass.get());
    m_levels.push_back(std::move(level));
}

void JavaScriptVariableView::beginArray(const QString &name, const ExpressionValue &, const DebugLocation *)
{
    Level level;
    level.name = name;
    level.isArray = true;
    m_levels.push_back(std::move(level));
}

void JavaScriptVariableView::close()
{
    Level level = std::move(m_levels.back());
    m_levels.pop_back();
    ESValue value;
    if (level.isArray && level.cut && level.elements.empty()) {
        value = text(QStringLiteral("[...]"));
    } else if (level.isArray) {
        if (level.cut)
            level.elements.push_back(text(QStringLiteral("...")));
        value = ESValue::fromObject(m_context.newArray(int(level.elements.size()), level.elements.data()));
    } else if (level.cut && level.object->properties.empty()) {
        value = text(QStringLiteral("{...}"));
    } else {
        value = ESValue::fromObject(level.object);
    }
    add(level.name, value);
}

void JavaScriptVariableView::endStruct()
{
    close();
}

void JavaScriptVariableView::endArray()
{
    close();
}

void JavaScriptVariableView::beginPointer(const QString &name, const ExpressionValue &value,
                                          const DebugLocation *location)
{
    addValue(name, Radix::Hexadecimal, value, location, value.width);
}

void JavaScriptVariableView::endPointer()
{
}

void JavaScriptVariableView::addEllipsis()
{
    if (!m_levels.empty())
        m_levels.back().cut = true;
}

void JavaScriptVariableView::addFailure(const QString &name, const QString &message)
{
    add(name, text(u'<' + message + u'>'));
}

void JavaScriptVariableView::finish()
{
    while (!m_levels.empty())
        close();
}
