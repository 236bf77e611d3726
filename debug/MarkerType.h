#pragma once
#include "foundation/ExpressionValue.h"
#include <QString>

// The type of a marker value (kind 4): a value bound to an object of the debugger, such as a
// function. Operators see a marker through what it stands for.
class MarkerType {
public:
    virtual ~MarkerType();
    // How the marker prints in a view.
    virtual QString text() const = 0;
    // The plain value the marker stands for, which arithmetic and casts use.
    virtual ExpressionValue value() const = 0;
    virtual bool equals(const MarkerType &other) const;
    virtual bool lessThan(const MarkerType &other) const;
};

// The debug layer's marker: a code object of the target (a function) at an address. Two markers
// are equal when they stand for the same object.
class DebugMarkerType : public MarkerType {
public:
    DebugMarkerType(QString name, quint64 address, int addressWidth);
    QString text() const override;
    ExpressionValue value() const override;
    bool equals(const MarkerType &other) const override;
    bool lessThan(const MarkerType &other) const override;

    const QString &name() const { return m_name; }
    quint64 address() const { return m_address; }

private:
    QString m_name;
    quint64 m_address;
    int m_addressWidth;
};
