#include "debug/SymbolicDebuggerInterface.h"
#include "debug/ObjectFileInterface.h"

SymbolicDebuggerInterface::~SymbolicDebuggerInterface() = default;
ObjectFileInterface::~ObjectFileInterface() = default;
