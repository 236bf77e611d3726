#include "projects/GenericPropertyClass.h"

GenericPropertyClass::GenericPropertyClass(QString name, QString title, int type,
                                           QString defaultValue, QString description)
    : PropertyClass(std::move(name), std::move(title), type, std::move(defaultValue),
                    std::move(description))
{
}

QString GenericPropertyClass::optionOfChoice(const QString &value) const
{
    const qsizetype index = choiceValues.indexOf(value);
    return index >= 0 && index < choiceOptions.size() ? choiceOptions.at(index) : QString();
}
