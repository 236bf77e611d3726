#include "projects/PropertyValue.h"
#include "foundation/PropertyClass.h"
#include <algorithm>

PropertyValue::~PropertyValue() = default;

bool PropertyValue::isReadOnly() const
{
    return false;
}

QString PropertyValue::displayValue() const
{
    return m_class ? m_class->displayValue(value()) : value();
}

SimplePropertyValue::SimplePropertyValue(PropertyClass *propertyClass, QString value)
    : PropertyValue(propertyClass), m_value(std::move(value)), m_set(!m_value.isNull())
{
}

void SimplePropertyValue::unset()
{
    m_value.clear();
    m_set = false;
}

void SimplePropertyValue::setValue(const QString &value)
{
    m_value = value;
    m_set = true;
}

QString SimplePropertyValue::value() const
{
    if (m_set || !propertyClass())
        return m_value;
    return propertyClass()->defaultValue;
}

PropertyValue *PropertyValueList::append(std::unique_ptr<PropertyValue> value)
{
    m_values.push_back(std::move(value));
    return m_values.back().get();
}

PropertyValue *PropertyValueList::find(const QString &name) const
{
    for (const std::unique_ptr<PropertyValue> &value : m_values)
        if (value->propertyClass() && value->propertyClass()->name == name)
            return value.get();
    return nullptr;
}

void PropertyValueList::sortByName()
{
    std::stable_sort(m_values.begin(), m_values.end(),
                     [](const auto &a, const auto &b) { return propertyNameLess(*a, *b); });
}

bool propertyNameLess(const PropertyValue &a, const PropertyValue &b)
{
    const QString nameA = a.propertyClass() ? a.propertyClass()->name : QString();
    const QString nameB = b.propertyClass() ? b.propertyClass()->name : QString();
    return nameA < nameB;
}
