#pragma once
#include "foundation/HException.h"

// A read or write of target memory that failed; the text names the address where the access
// started, as in "cannot access memory at 0x20000100". Each view catches it and shows the text
// in the value's place.
class MemoryAccessException : public HException {
public:
    explicit MemoryAccessException(QString message) : HException(std::move(message)) {}
    ~MemoryAccessException() override;

    // "cannot access memory at 0x%08x"
    [[nodiscard]] static MemoryAccessException at(quint64 address);
};
