#pragma once
#include "script/es/ESValue.h"
#include <cstdint>
#include <memory>
#include <vector>

class ESAtom;
class ESClass;
class ESCode;

// Flag bits of a property. Only the compiler sets them (on its variable tables); at run time
// every property that `put` creates has flags 0.
namespace ESPropertyFlag {
constexpr std::uint32_t ReadOnly = 1;
constexpr std::uint32_t DontEnum = 2;
constexpr std::uint32_t DontDelete = 4;
constexpr std::uint32_t Parameter = 8;
} // namespace ESPropertyFlag

// One slot of an object's property vector, also a row of a function's variable table. A null
// key marks a deleted slot: it stays in the vector and is never reused.
struct ESProperty {
    ESAtom *key = nullptr;
    std::uint32_t flags = 0;
    std::uint32_t reserved = 0;
    ESValue value;
};
static_assert(sizeof(ESProperty) == 32);

// What a call needs of a function. For a native function only `parameterCount` is used.
struct ESFunctionInfo {
    std::int32_t parameterCount = 0;
    std::int32_t localCount = 0;
    std::unique_ptr<ESCode> code;   // owned; null for a native function
    ESObject *scope = nullptr;      // the scope chain captured at closure creation
    ~ESFunctionInfo();
};
static_assert(sizeof(ESFunctionInfo) == 24);

// The pooled object record. Records are never freed one by one: they live as long as their
// context. A scope node is a record whose `prototype` is the next outer node and whose
// `primitive` holds the object searched at that level.
struct ESObject {
    ESObject *prototype = nullptr;
    ESValue primitive;   // wrapped primitive, function name (atom) or scope-node object
    ESFunctionInfo *functionInfo = nullptr;    // null: not callable
    ESFunctionInfo *constructInfo = nullptr;   // same pointer as functionInfo for a script function
    ESClass *klass = nullptr;
    std::vector<ESProperty> properties;
    std::int32_t reserved = 0;
    std::int32_t builtinId = -1;   // -1 for a script function, else the native class's id
    ESObject *nextFree = nullptr;
    ESObject *nextAllocated = nullptr;

    ESObject *scopeObject() const { return primitive.object; }
};
static_assert(sizeof(ESObject) == 96);

// Describes a native function when it is installed.
struct ESNativeFunctionSpec {
    ESAtom *name = nullptr;
    ESAtom *fullName = nullptr;   // as "Array.prototype.join"
    std::int32_t length = 0;
    std::int32_t id = 0;
    std::int32_t flags = 0;
    const char *help = nullptr;   // an HTML-marked line or null
};
