#include "debug/MarkerType.h"

MarkerType::~MarkerType() = default;

bool MarkerType::equals(const MarkerType &other) const
{
    return this == &other;
}

bool MarkerType::lessThan(const MarkerType &other) const
{
    return this < &other;
}

DebugMarkerType::DebugMarkerType(QString name, quint64 address, int addressWidth)
    : m_name(std::move(name)), m_address(address), m_addressWidth(addressWidth)
{
}

// "0x00401126 <main>": the address padded to 32 bits at least, then the object's name.
QString DebugMarkerType::text() const
{
    return QStringLiteral("0x%1 <%2>")
        .arg(m_address, qMax(8, m_addressWidth * 2), 16, QLatin1Char('0'))
        .arg(m_name);
}

ExpressionValue DebugMarkerType::value() const
{
    return ExpressionValue::fromUnsigned(m_address, m_addressWidth);
}

bool DebugMarkerType::equals(const MarkerType &other) const
{
    const auto *marker = dynamic_cast<const DebugMarkerType *>(&other);
    return marker ? marker->m_address == m_address : MarkerType::equals(other);
}

bool DebugMarkerType::lessThan(const MarkerType &other) const
{
    const auto *marker = dynamic_cast<const DebugMarkerType *>(&other);
    return marker ? m_address < marker->m_address : MarkerType::lessThan(other);
}
