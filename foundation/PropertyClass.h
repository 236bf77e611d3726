#pragma once
#include "foundation/Macros.h"
#include <QMap>
#include <QString>
#include <QStringList>
#include <memory>
#include <vector>

// The declaration of one named property: its kind, where the grid shows it, its default.
// Values live elsewhere (in project elements or the environment's settings). Subclasses add
// their own meaning of the value mapping; rows are owned by the PropertyClassList holding them.
class PropertyClass {
public:
    // The row's kind, kept as the number files and tables use.
    enum Type : int {
        Boolean = 0,     // "Yes" / "No"
        Text = 4,
        List = 7,        // items separated by `;`, aggregated along the project tree
        Directory = 8,
        Enumeration = 10,
    };

    PropertyClass(QString name, QString title, int type, QString defaultValue = {},
                  QString description = {}, QString category = QStringLiteral("General"),
                  QString section = {});
    virtual ~PropertyClass();

    // The text shown for a stored value and the value stored for a shown text; through the
    // choices of an enumeration, unchanged for every other kind.
    [[nodiscard]] virtual QString displayValue(const QString &value) const;
    [[nodiscard]] virtual QString storedValue(const QString &display) const;
    // Maps `value` through the row's enumeration for the companion row `alternative`; true
    // when it gives a value to store there too. The plain row has nothing to map.
    [[nodiscard]] virtual bool mapValue(const QString &value, QString &mapped) const;

    QString name;          // the key as it stands in files
    QString title;
    QString category;      // almost always "General"
    QString section;
    QString help;          // empty until a help page names the row
    QString defaultValue;
    QString description;   // rich text for the grid
    quint8 flag = 0;       // set by rows that need a second state, unused by the plain row
    quint8 shownInGrid = 1;
    int type = Text;
    QStringList choices;
    QStringList choiceValues;
    PropertyClass *alternative = nullptr;   // companion row, not owned
};

// A macro as a row: the name reads `$(Name)`, the title is the bare name.
class MacroPropertyClass : public PropertyClass {
public:
    MacroPropertyClass(const QString &macroName, const QString &description);
};

// An owning list of property rows. The process-wide one is also the macro system: it holds the
// system macros, the user's global macros and the macro character.
class PropertyClassList {
public:
    PropertyClassList();
    ~PropertyClassList();
    PropertyClassList(const PropertyClassList &) = delete;
    PropertyClassList &operator=(const PropertyClassList &) = delete;

    // The list made at start-up with the system macros defined (dates, host, target).
    [[nodiscard]] static std::unique_ptr<PropertyClassList> createMacroSystem();
    // The process-wide macro system; null until `main` sets the one it owns.
    [[nodiscard]] static PropertyClassList *global();
    static void setGlobal(PropertyClassList *list);

    PropertyClass *append(std::unique_ptr<PropertyClass> row);   // returns an observer
    [[nodiscard]] PropertyClass *findClass(const QString &name) const;
    [[nodiscard]] const std::vector<std::unique_ptr<PropertyClass>> &classes() const
    {
        return m_classes;
    }

    // Sets a system macro; a non-empty description also adds its MacroPropertyClass row.
    void defineSystemMacro(const QString &name, const QString &value,
                           const QString &description);
    [[nodiscard]] QString macroDescription(const QString &name) const
    {
        return m_macroDescriptions.value(name);
    }

    MacroTable macros;         // the system macros
    MacroTable globalMacros;   // defined by the user for the whole environment
    QChar macroCharacter = u'$';

private:
    std::vector<std::unique_ptr<PropertyClass>> m_classes;
    QMap<QString, QString> m_macroDescriptions;
};
