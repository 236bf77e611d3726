#include "debug/JavaScriptVariableView.h"
#include "script/es/ESContext.h"
#include "script/es/ESNativeClass.h"

ESValue JavaScriptVariableView::fromText(const QString &text)
{
    return ESValue::fromAtom(m_context.intern(text));
}

ESValue JavaScriptVariableView::fromPlain(const ExpressionValue &plain, int)
{
    switch (plain.kind) {
    case ExpressionKind::Boolean: return ESValue::boolean(plain.integer != 0);
    case ExpressionKind::String: return fromText(plain.text);
    default: return ESValue::fromNumber(plain.toDouble());
    }
}

ESValue JavaScriptVariableView::newObject()
{
    return ESValue::fromObject(m_context.newObject(m_context.objectPrototype, m_context.objectClass.get()));
}

void JavaScriptVariableView::setMember(ESValue &object, const QString &name, const ESValue &member)
{
    m_context.put(object.object, m_context.intern(name), member);
}

bool JavaScriptVariableView::isEmptyObject(const ESValue &object) const
{
    return object.object->properties.empty();
}

ESValue JavaScriptVariableView::newArray(const std::vector<ESValue> &elements)
{
    return ESValue::fromObject(m_context.newArray(int(elements.size()), elements.data()));
}
