#include "debug/MemoryAccessException.h"

MemoryAccessException::~MemoryAccessException() = default;

MemoryAccessException MemoryAccessException::at(quint64 address)
{
    return MemoryAccessException(
        QStringLiteral("cannot access memory at 0x%1").arg(address, 8, 16, QLatin1Char('0')));
}
