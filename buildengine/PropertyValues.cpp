#include "buildengine/PropertyValues.h"
#include "foundation/PropertyClass.h"
#include "projects/StandardProjectSystem.h"

namespace {

bool holdsValueOf(const ProjectElement *element, const QString &name)
{
    for (const auto &[configuration, holder] : element->configurations()) {
        if (element->findValue(configuration, name))
            return true;
    }
    return false;
}

} // namespace

QString PropertyValues::value(const ProjectElement *element, const PropertyClass *row,
                              const QString &configuration) const
{
    if (m_generation != m_system.cacheGeneration()) {
        m_values.clear();
        m_generation = m_system.cacheGeneration();
    }
    return lookUp(element, row, configuration, m_values.of(configuration));
}

QString PropertyValues::lookUp(const ProjectElement *element, const PropertyClass *row,
                               const QString &configuration, QHash<Key, QString> &values) const
{
    const Key key(element, row);
    if (const auto it = values.constFind(key); it != values.constEnd())
        return it.value();
    // An element that holds no value of the row in any configuration adds nothing to it: the
    // search passes it by, so the element above answers for it.
    const ProjectElement *parent = element->parentElement();
    const QString found = parent && !holdsValueOf(element, row->name)
                              ? lookUp(parent, row, configuration, values)
                              : m_system.resolveProperty(element, row, configuration);
    // Files are many and each is asked once or twice: only the elements above them are kept.
    if (element->kind() != ProjectElement::Kind::File)
        values.insert(key, found);
    return found;
}

QString PropertyValues::expanded(const ProjectElement *element, const PropertyClass *row,
                                 const QString &configuration, const MacroTable &extra) const
{
    return m_system.expand(element, configuration, value(element, row, configuration), extra);
}
