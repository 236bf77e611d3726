#include "projects/ProjectPropertyValue.h"
#include "foundation/PropertyClass.h"
#include "projects/ProjectElement.h"
#include "projects/PropertyValueGroupClass.h"
#include "projects/StandardProjectSystem.h"

ProjectPropertyValue::ProjectPropertyValue(StandardProjectSystem &system,
                                           ProjectElement *element,
                                           PropertyClass *propertyClass, QString configuration)
    : PropertyValue(propertyClass), m_system(system), m_element(element),
      m_configuration(std::move(configuration))
{
}

bool ProjectPropertyValue::isSet() const
{
    return m_element->findValue(m_configuration, propertyClass()->name) != nullptr;
}

void ProjectPropertyValue::unset()
{
    m_system.storeValue(m_element, propertyClass(), m_configuration, QString());
}

QString ProjectPropertyValue::value() const
{
    if (propertyClass()->type == PropertyClass::List) {
        const QString *own = m_element->findValue(m_configuration, propertyClass()->name);
        return own ? *own : QString();
    }
    return m_system.resolveProperty(m_element, propertyClass(), m_configuration);
}

void ProjectPropertyValue::setValue(const QString &value)
{
    m_system.storeValue(m_element, propertyClass(), m_configuration,
                        value.isNull() ? QStringLiteral("") : value);
    QString mapped;
    if (propertyClass()->alternative && propertyClass()->mapValue(value, mapped))
        m_system.storeValue(m_element, propertyClass()->alternative, m_configuration, mapped);
}

void ProjectDirectoryProjectPropertyValue::setValue(const QString &value)
{
    ProjectPropertyValue::setValue(value);
    system().projectChanged(StandardProjectSystem::projectOf(element()));
}

void ProjectMacrosProjectPropertyValue::setValue(const QString &value)
{
    ProjectPropertyValue::setValue(value);
    system().projectChanged(StandardProjectSystem::projectOf(element()));
}

QString PublicConfigurationsProjectPropertyValue::value() const
{
    return system().publicConfigurations().join(u';');
}

void PublicConfigurationsProjectPropertyValue::setValue(const QString &value)
{
    system().setPublicConfigurations(value.split(u';', Qt::SkipEmptyParts));
}

QString PrivateConfigurationsProjectPropertyValue::value() const
{
    return system().privateConfigurations().join(u';');
}

void PrivateConfigurationsProjectPropertyValue::setValue(const QString &value)
{
    system().setPrivateConfigurations(value.split(u';', Qt::SkipEmptyParts));
}

QString InheritedConfigurationsProjectPropertyValue::value() const
{
    const QStringList *inherited = element()->declaredInheritance(configuration());
    return inherited ? inherited->join(u';') : QString();
}

void InheritedConfigurationsProjectPropertyValue::setValue(const QString &value)
{
    system().storeValue(element(), propertyClass(), configuration(),
                        value.isEmpty() ? QString() : value);
    system().wireTree(StandardProjectSystem::solutionOf(element()));
}

void PropertyValueGroupValue::setValue(const QString &value)
{
    ProjectPropertyValue::setValue(value);
    const auto *group = dynamic_cast<const PropertyValueGroupClass *>(propertyClass());
    const PropertyValueGroupClass::Member *member = group ? group->member(value) : nullptr;
    if (!member)
        return;
    for (const auto &[name, setting] : member->settings) {
        if (const PropertyClass *row = system().findClass(name))
            system().storeValue(element(), row, configuration(), setting);
    }
}

DynamicFolderPropertyValue::DynamicFolderPropertyValue(StandardProjectSystem &system,
                                                       ProjectElement *folder,
                                                       PropertyClass *propertyClass)
    : SimplePropertyValue(propertyClass, folder->findProperty(propertyClass->name)
                                             ? *folder->findProperty(propertyClass->name)
                                             : QString()),
      m_system(system), m_folder(folder)
{
}

void DynamicFolderPropertyValue::setValue(const QString &value)
{
    SimplePropertyValue::setValue(value);
    m_system.storeValue(m_folder, propertyClass(), QStringLiteral("Common"), value);
    m_system.rescanFolder(m_folder);
}

void DynamicFolderPropertyValue::unset()
{
    SimplePropertyValue::unset();
    m_system.storeValue(m_folder, propertyClass(), QStringLiteral("Common"), QString());
    m_system.rescanFolder(m_folder);
}
