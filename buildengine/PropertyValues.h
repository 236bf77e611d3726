#pragma once
#include "buildengine/ConfigurationMap.h"
#include "foundation/Macros.h"
#include <QPair>
#include <QString>

class ProjectElement;
class PropertyClass;
class StandardProjectSystem;

// Raw values of project properties, remembered until the project system drops its caches
// (which every edit does). A file that holds no value of a row has the value of the element
// above it, so the thousands of files of a folder share one lookup per row and configuration
// instead of each walking up the tree.
//
// Rows must live as long as the project system: the catalogue's rows do; those of a generic
// options file come and go and are never asked for here.
class PropertyValues {
public:
    explicit PropertyValues(const StandardProjectSystem &system) : m_system(system) {}

    [[nodiscard]] const StandardProjectSystem &system() const { return m_system; }
    [[nodiscard]] QString value(const ProjectElement *element, const PropertyClass *row,
                                const QString &configuration) const;
    // The value expanded with the element's macros, `extra` laid over them.
    [[nodiscard]] QString expanded(const ProjectElement *element, const PropertyClass *row,
                                   const QString &configuration,
                                   const MacroTable &extra = {}) const;

private:
    using Key = QPair<const ProjectElement *, const PropertyClass *>;
    QString lookUp(const ProjectElement *element, const PropertyClass *row,
                   const QString &configuration, QHash<Key, QString> &values) const;

    const StandardProjectSystem &m_system;
    mutable ConfigurationMap<Key, QString> m_values;
    mutable quint64 m_generation = 0;   // of the system's caches the values were read in
};
