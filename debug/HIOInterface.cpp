#include "debug/HIOInterface.h"

HIOInterface::~HIOInterface() = default;

void HIOInterface::setBaud(int)
{
}

int HIOInterface::baudRate() const
{
    return 0;
}

void HIOInterface::setDtr(bool)
{
}

void HIOInterface::setRts(bool)
{
}

int HIOInterface::lineState()
{
    return 0;
}
