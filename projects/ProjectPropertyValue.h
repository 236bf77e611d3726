#pragma once
#include "projects/PropertyValue.h"

class ProjectElement;
class StandardProjectSystem;

// The value of one property on one element, seen through a configuration. Reading runs the
// resolution of the project system; writing stores into the element's holder for that
// configuration and logs the change.
class ProjectPropertyValue : public PropertyValue {
public:
    ProjectPropertyValue(StandardProjectSystem &system, ProjectElement *element,
                         PropertyClass *propertyClass, QString configuration);

    bool isSet() const override;
    void unset() override;
    // A list is read from this element's holder alone, without gathering the ancestors' items.
    QString value() const override;
    // Stores; a row with a companion row also stores there what its mapping gives.
    void setValue(const QString &value) override;

    ProjectElement *element() const { return m_element; }
    const QString &configuration() const { return m_configuration; }

protected:
    StandardProjectSystem &system() const { return m_system; }

private:
    StandardProjectSystem &m_system;
    ProjectElement *m_element;
    QString m_configuration;
};

// project_directory: the project's file paths follow the value.
class ProjectDirectoryProjectPropertyValue : public ProjectPropertyValue {
public:
    using ProjectPropertyValue::ProjectPropertyValue;
    void setValue(const QString &value) override;
};

// macros: every expansion below the element follows the value.
class ProjectMacrosProjectPropertyValue : public ProjectPropertyValue {
public:
    using ProjectPropertyValue::ProjectPropertyValue;
    void setValue(const QString &value) override;
};

// public_configurations: the solution's declared public configurations, ';'-joined.
class PublicConfigurationsProjectPropertyValue : public ProjectPropertyValue {
public:
    using ProjectPropertyValue::ProjectPropertyValue;
    QString value() const override;
    void setValue(const QString &value) override;
};

class PrivateConfigurationsProjectPropertyValue : public ProjectPropertyValue {
public:
    using ProjectPropertyValue::ProjectPropertyValue;
    QString value() const override;
    void setValue(const QString &value) override;
};

// inherited_configurations of the value's configuration, as declared on the element.
class InheritedConfigurationsProjectPropertyValue : public ProjectPropertyValue {
public:
    using ProjectPropertyValue::ProjectPropertyValue;
    QString value() const override;
    // An empty text clears the list; any other text is stored as one entry.
    void setValue(const QString &value) override;
};

// A group row: choosing a member also stores the member's settings.
class PropertyValueGroupValue : public ProjectPropertyValue {
public:
    using ProjectPropertyValue::ProjectPropertyValue;
    void setValue(const QString &value) override;
};

// A dynamic folder's own settings (path, filter, recurse, exclude): held here and stored on
// the folder, whose files are listed again.
class DynamicFolderPropertyValue : public SimplePropertyValue {
public:
    DynamicFolderPropertyValue(StandardProjectSystem &system, ProjectElement *folder,
                               PropertyClass *propertyClass);
    void setValue(const QString &value) override;
    void unset() override;

private:
    StandardProjectSystem &m_system;
    ProjectElement *m_folder;
};
