#include "projects/PropertyValueGroupClass.h"

PropertyValueGroupClass::PropertyValueGroupClass(QString name, QString title,
                                                 QString defaultValue, QString description)
    : PropertyClass(std::move(name), std::move(title), Enumeration, std::move(defaultValue),
                    std::move(description))
{
}

void PropertyValueGroupClass::addMember(Member member)
{
    choices.append(member.name);
    choiceValues.append(member.name);
    m_members.push_back(std::move(member));
}

const PropertyValueGroupClass::Member *PropertyValueGroupClass::member(const QString &value) const
{
    for (const Member &candidate : m_members)
        if (candidate.name == value)
            return &candidate;
    return nullptr;
}
