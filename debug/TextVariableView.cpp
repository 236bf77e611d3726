#include "debug/TextVariableView.h"
#include "debug/BaseType.h"
#include "debug/DebugExpressionParser.h"

void TextVariableView::clear()
{
    m_text.clear();
    m_depth = 0;
    m_itemsInLine.assign(1, 0);
    m_truncated = false;
}

void TextVariableView::startItem(const QString &name)
{
    if (m_itemsInLine.back()++ > 0)
        m_text += u',';
    if (m_depth > 0 && !name.isEmpty())
        m_text += name + u'=';
}

void TextVariableView::addValue(const QString &name, Radix radix, const ExpressionValue &value,
                                const DebugLocation *location, int width)
{
    startItem(name);
    if (location && value.isInteger()) {
        const BaseType *resolved = resolvedType(location->type);
        if (resolved && resolved->kind() == TypeKind::Enum) {
            const QString enumerator = static_cast<const EnumType *>(resolved)->nameOf(value.normalised().integer);
            if (!enumerator.isEmpty()) {
                m_text += enumerator;
                return;
            }
        }
    }
    m_text += format(value, radix, width);
}

void TextVariableView::beginStruct(const QString &name, const ExpressionValue &, const DebugLocation *)
{
    startItem(name);
    m_text += u'{';
    ++m_depth;
    m_itemsInLine.push_back(0);
}

void TextVariableView::endStruct()
{
    m_text += u'}';
    --m_depth;
    m_itemsInLine.pop_back();
}

void TextVariableView::beginArray(const QString &name, const ExpressionValue &, const DebugLocation *)
{
    startItem(name);
    m_text += u'[';
    ++m_depth;
    m_itemsInLine.push_back(0);
}

void TextVariableView::endArray()
{
    m_text += u']';
    --m_depth;
    m_itemsInLine.pop_back();
}

void TextVariableView::beginPointer(const QString &name, const ExpressionValue &value,
                                    const DebugLocation *location)
{
    addValue(name, Radix::Hexadecimal, value, location, value.width);
    m_text += QStringLiteral(" -> ");
    m_itemsInLine.push_back(0);
}

void TextVariableView::endPointer()
{
    m_itemsInLine.pop_back();
}

void TextVariableView::addEllipsis()
{
    startItem(QString());
    m_text += QStringLiteral("...");
    m_truncated = true;
}

void TextVariableView::addFailure(const QString &name, const QString &message)
{
    startItem(name);
    m_text += u'<' + message + u'>';
}

void TextVariableView::finish()
{
}
