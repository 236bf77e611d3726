#pragma once
#include "foundation/PropertyClass.h"
#include <QStringList>

// A row read at run time from a tool chain's generic options file. Besides the declaration it
// carries how its value becomes options of the tools that list it.
class GenericPropertyClass : public PropertyClass {
public:
    GenericPropertyClass(QString name, QString title, int type, QString defaultValue = {},
                         QString description = {});

    // The option text of the enumeration entry `value` (';'-separated options), empty when the
    // row is no enumeration or has no text for it.
    [[nodiscard]] QString optionOfChoice(const QString &value) const;

    QStringList tools;          // "assembler", "compiler", "c_compiler", "cpp_compiler", "linker"
    QString optionPrefix;       // each value part is passed as "-" + prefix + part
    QString condition;          // empty: applies always; else only when the caller's text matches
    QStringList choiceOptions;  // parallel to choiceValues
    QString group;              // the `group` element that enclosed the row, if any
};
