#pragma once
#include "script/es/ESValue.h"
#include <QString>

// A value raised by script or native code; unwinds to `evaluate` or to a native frame that
// chooses to catch it.
class ESException {
public:
    explicit ESException(ESValue value) : value(value) {}
    ESValue value;
};

// An engine invariant failed or a stack ran out. No script can catch it; the host must.
class ESFatalError {
public:
    explicit ESFatalError(QString message) : message(std::move(message)) {}
    QString message;
};

// The result of `evaluate`.
struct ESCompletion {
    enum Kind { Normal = 0, Thrown = 4 };
    int kind = Normal;
    ESValue value;
    QString target;   // always empty
};
