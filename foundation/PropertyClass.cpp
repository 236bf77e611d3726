#include "foundation/PropertyClass.h"
#include <QDateTime>

namespace {

PropertyClassList *globalList = nullptr;

struct StartupMacro {
    const char *name;
    const char *value;   // nullptr: one of the computed date and time macros
    const char *description;
};

constexpr StartupMacro startupMacros[] = {
    {"Date", nullptr, "Day Month Year e.g. 21 June 2011."},
    {"DateYear", nullptr, "Year e.g. 2011."},
    {"DateMonth", nullptr, "Month e.g. June."},
    {"DateDay", nullptr, "Day e.g. 21."},
    {"Time", nullptr, "Hour:Minutes:Seconds e.g. 15:34:03."},
    {"TimeHour", nullptr, "Hour e.g. 15."},
    {"TimeMinute", nullptr, "Minute e.g. 34."},
    {"TimeSecond", nullptr, "Seconds e.g. 03."},
    {"UnixTime", nullptr, "Seconds since 00:00, Jan 1 1970 UTC"},
    {"HostArch", "x64", "Processor that Tessmark runs on e.g. x64."},
    {"HostOS", "linux", "Operating system that Tessmark runs on e.g. linux."},
    {"HostEXE", "", "File extension of executables on the host, empty on linux."},
    {"HostDLLExt", ".so", "File extension of dynamic libraries on the host e.g. .so."},
    {"HostDLL", ".so_x64", "File extension of dynamic libraries for the host's processor."},
    {"Micro", "", "Name of the selected target e.g. ARM."},
    {"TargetID", "", "Id number of the selected target."},
};

} // namespace

PropertyClass::PropertyClass(QString name, QString title, int type, QString defaultValue,
                             QString description, QString category, QString section)
    : name(std::move(name)), title(std::move(title)), category(std::move(category)),
      section(std::move(section)), defaultValue(std::move(defaultValue)),
      description(std::move(description)), type(type)
{
    if (type == Boolean && this->defaultValue.isEmpty())
        this->defaultValue = QStringLiteral("No");
}

PropertyClass::~PropertyClass() = default;

QString PropertyClass::displayValue(const QString &value) const
{
    const qsizetype index = choiceValues.indexOf(value);
    return index >= 0 && index < choices.size() ? choices.at(index) : value;
}

QString PropertyClass::storedValue(const QString &display) const
{
    const qsizetype index = choices.indexOf(display);
    return index >= 0 && index < choiceValues.size() ? choiceValues.at(index) : display;
}

bool PropertyClass::mapValue(const QString &, QString &) const
{
    return false;
}

MacroPropertyClass::MacroPropertyClass(const QString &macroName, const QString &description)
    : PropertyClass(QStringLiteral("$(") + macroName + u')', macroName, Text, {}, description)
{
}

PropertyClassList::PropertyClassList() = default;
PropertyClassList::~PropertyClassList() = default;

std::unique_ptr<PropertyClassList> PropertyClassList::createMacroSystem()
{
    auto list = std::make_unique<PropertyClassList>();
    const QDateTime now = QDateTime::currentDateTime();
    for (const StartupMacro &macro : startupMacros) {
        const QString name = QLatin1String(macro.name);
        const QString value = macro.value ? QString::fromLatin1(macro.value)
                                          : computedMacroValue(name, now).value_or(QString());
        list->defineSystemMacro(name, value, QString::fromLatin1(macro.description));
    }
    return list;
}

PropertyClassList *PropertyClassList::global()
{
    return globalList;
}

void PropertyClassList::setGlobal(PropertyClassList *list)
{
    globalList = list;
}

PropertyClass *PropertyClassList::append(std::unique_ptr<PropertyClass> row)
{
    m_classes.push_back(std::move(row));
    return m_classes.back().get();
}

PropertyClass *PropertyClassList::findClass(const QString &name) const
{
    for (const std::unique_ptr<PropertyClass> &row : m_classes)
        if (row->name == name)
            return row.get();
    return nullptr;
}

void PropertyClassList::defineSystemMacro(const QString &name, const QString &value,
                                          const QString &description)
{
    macros.insert(name, value);
    m_macroDescriptions.insert(name, description);
    if (!description.isEmpty())
        append(std::make_unique<MacroPropertyClass>(name, description));
}
