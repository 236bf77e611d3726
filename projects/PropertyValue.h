#pragma once
#include <QString>
#include <memory>
#include <vector>

class PropertyClass;

// An instance of a property on some object. The row says what the property is; where the value
// lives is the subclass's business, so it is reached only through the virtual operations.
class PropertyValue {
public:
    explicit PropertyValue(PropertyClass *propertyClass) : m_class(propertyClass) {}
    PropertyValue(const PropertyValue &) = delete;
    PropertyValue &operator=(const PropertyValue &) = delete;
    virtual ~PropertyValue();

    // What the property grid needs beyond reading and writing: whether this object holds a value
    // of its own (rather than showing an inherited one or the default), dropping that value,
    // whether the value may be edited at all, and the text to show for it.
    [[nodiscard]] virtual bool isSet() const = 0;
    virtual void unset() = 0;
    [[nodiscard]] virtual bool isReadOnly() const;
    [[nodiscard]] virtual QString displayValue() const;

    virtual void setValue(const QString &value) = 0;
    [[nodiscard]] virtual QString value() const = 0;

    PropertyClass *propertyClass() const { return m_class; }

private:
    PropertyClass *m_class;   // not owned: rows outlive their values
};

// A value that holds its own text.
class SimplePropertyValue : public PropertyValue {
public:
    explicit SimplePropertyValue(PropertyClass *propertyClass, QString value = {});

    bool isSet() const override { return m_set; }
    void unset() override;
    void setValue(const QString &value) override;
    QString value() const override;

private:
    QString m_value;
    bool m_set;
};

// The values one object shows, owned; kept in the order of the rows' names on request.
class PropertyValueList {
public:
    PropertyValue *append(std::unique_ptr<PropertyValue> value);   // returns an observer
    [[nodiscard]] PropertyValue *find(const QString &name) const;
    void sortByName();

    [[nodiscard]] const std::vector<std::unique_ptr<PropertyValue>> &values() const
    {
        return m_values;
    }
    [[nodiscard]] bool empty() const { return m_values.empty(); }

private:
    std::vector<std::unique_ptr<PropertyValue>> m_values;
};

// The comparison the list sorts by: the names of the two values' rows.
[[nodiscard]] bool propertyNameLess(const PropertyValue &a, const PropertyValue &b);
