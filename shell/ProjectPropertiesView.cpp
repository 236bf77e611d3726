#include "shell/ProjectPropertiesView.h"
#include "foundation/PropertyClass.h"
#include "projects/ProjectElement.h"
#include "projects/StandardProjectSystem.h"
#include <QHash>
#include <QHeaderView>
#include <QSignalBlocker>

namespace
{

// Sections that belong to one kind of element; every other section applies to all kinds.
struct KindSection {
    const char *section;
    ProjectElement::Kind kind;
};

constexpr KindSection kindSections[] = {
    {"File Options", ProjectElement::Kind::File},
    {"Folder Options", ProjectElement::Kind::Folder},
    {"Project Options", ProjectElement::Kind::Project},
    {"Solution Options", ProjectElement::Kind::Solution},
};

bool appliesTo(const QString &section, ProjectElement::Kind kind)
{
    for (const KindSection &row : kindSections) {
        if (section == QLatin1String(row.section))
            return kind == row.kind;
    }
    return true;
}

// How the origin column names an element: its names from the solution down.
QString elementLabel(const ProjectElement *element)
{
    if (!element->parentElement())
        return QStringLiteral("solution");
    QStringList names;
    for (const ProjectElement *at = element; at && at->parentElement(); at = at->parentElement())
        names.prepend(at->elementName());
    return names.join(u'/');
}

// The contributions in the order of the value: the trace runs from the element up, a list
// gathers from the solution down.
QString originText(const PropertyTrace &trace)
{
    QStringList parts;
    for (auto it = trace.rbegin(); it != trace.rend(); ++it) {
        if (!it->isDefault)
            parts.append(
                QStringLiteral("%1 [%2]").arg(elementLabel(it->element), it->configuration));
    }
    return parts.isEmpty() ? QStringLiteral("(default)") : parts.join(QStringLiteral("; "));
}

} // namespace

ProjectPropertiesView::ProjectPropertiesView(QWidget *parent) : QTreeWidget(parent)
{
    setObjectName(QStringLiteral("PropertiesTree"));
    setColumnCount(3);
    setHeaderLabels({QStringLiteral("Property"), QStringLiteral("Value"), QStringLiteral("From")});
    setRootIsDecorated(true);
    setUniformRowHeights(true);
    setAlternatingRowColors(true);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    header()->setSectionResizeMode(QHeaderView::Interactive);
    header()->resizeSection(NameColumn, 150);
    header()->resizeSection(ValueColumn, 110);
    header()->setStretchLastSection(true);
    connect(this, &QTreeWidget::itemDoubleClicked, this, [this](QTreeWidgetItem *item) {
        if (item->flags() & Qt::ItemIsEditable)
            editItem(item, ValueColumn);
    });
    connect(this, &QTreeWidget::itemChanged, this, [this](QTreeWidgetItem *item, int column) {
        if (column == ValueColumn && item->parent())
            emit valueEdited(item->text(NameColumn), item->text(ValueColumn));
    });
}

void ProjectPropertiesView::showElement(const StandardProjectSystem *system,
                                        const ProjectElement *element, const QString &configuration)
{
    const quint64 generation = system ? system->cacheGeneration() : 0;
    if (element && element == m_element && configuration == m_configuration &&
        generation == m_generation && topLevelItemCount() > 0)
        return;
    m_element = element;
    m_configuration = configuration;
    m_generation = generation;
    const QSignalBlocker quiet(this); // filling is no edit
    setUpdatesEnabled(false);
    clear();
    if (!system || !element) {
        setUpdatesEnabled(true);
        return;
    }
    QHash<QString, QTreeWidgetItem *> sections;
    QList<QTreeWidgetItem *> order;
    for (const auto &row : system->propertyClasses().classes()) {
        if (!row->shownInGrid || dynamic_cast<const MacroPropertyClass *>(row.get()) ||
            !appliesTo(row->section, element->kind()))
            continue;
        // A name with a row per kind of project (the output file name) shows the row in force.
        const PropertyClass *used = system->classFor(row->name, element, configuration);
        if (used && used != row.get())
            continue;
        PropertyTrace trace;
        const QString value = system->resolveProperty(element, row.get(), configuration, &trace);
        const QString section = row->section.isEmpty() ? QStringLiteral("Other") : row->section;
        QTreeWidgetItem *&group = sections[section];
        if (!group) {
            group = new QTreeWidgetItem({section});
            QFont font = group->font(NameColumn);
            font.setBold(true);
            group->setFont(NameColumn, font);
            group->setFirstColumnSpanned(true);
            order.append(group);
        }
        auto *item =
            new QTreeWidgetItem(group, {row->name, row->displayValue(value), originText(trace)});
        item->setFlags(item->flags() | Qt::ItemIsEditable);
        const QString title = row->title.isEmpty() ? row->name : row->title;
        item->setToolTip(NameColumn, title);
        item->setToolTip(ValueColumn, system->expand(element, configuration, value));
        const bool ownValue = !trace.empty() && trace.front().element == element;
        if (ownValue) {
            QFont font = item->font(ValueColumn);
            font.setBold(true);
            item->setFont(ValueColumn, font);
        }
    }
    addTopLevelItems(order);
    for (QTreeWidgetItem *group : std::as_const(order))
        group->setFirstColumnSpanned(true);
    expandAll();
    setUpdatesEnabled(true);
}

QTreeWidgetItem *ProjectPropertiesView::findRow(const QString &name) const
{
    for (int i = 0; i < topLevelItemCount(); ++i) {
        const QTreeWidgetItem *group = topLevelItem(i);
        for (int j = 0; j < group->childCount(); ++j) {
            if (group->child(j)->text(NameColumn) == name)
                return group->child(j);
        }
    }
    return nullptr;
}
