#pragma once
#include <QString>
#include <QTreeWidget>

class ProjectElement;
class StandardProjectSystem;

// The resolved properties of one element in one configuration, grouped under the catalogue's
// section headings in catalogue order: name, value as stored (macros unexpanded; the tip shows
// it expanded) and where the value comes from, from the resolution's trace. Values the element
// holds itself are in bold. A double click on a row edits its value; the view only reports the
// text, and whoever stores it shows the element again.
class ProjectPropertiesView : public QTreeWidget
{
    Q_OBJECT
public:
    enum Column { NameColumn, ValueColumn, OriginColumn };

    explicit ProjectPropertiesView(QWidget *parent = nullptr);

    // Shows `element` in `configuration`; a null system or element empties the view.
    void showElement(const StandardProjectSystem *system, const ProjectElement *element,
                     const QString &configuration);
    void clearElement() { showElement(nullptr, nullptr, {}); }
    // The row of a property by its key, null when it is not shown.
    [[nodiscard]] QTreeWidgetItem *findRow(const QString &name) const;

signals:
    // The user gave a property a new value (as shown, so an enumeration's choice); empty: the
    // element's own value goes and the value is found elsewhere again.
    void valueEdited(const QString &name, const QString &text);

private:
    const ProjectElement *m_element = nullptr;
    QString m_configuration;
    quint64 m_generation = 0;
};
