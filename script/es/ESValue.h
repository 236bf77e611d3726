#pragma once
#include "script/es/ESString.h"
#include <cstdint>

class ESAtom;
struct ESObject;

// The kind of a value. Tags 4 and 7 are one script type (string): literals, names and every
// text used as a key are interned atoms (7); texts computed at run time (concatenations and
// the library's results) are plain strings (4) until something needs their atom.
enum class ESTag : std::uint32_t {
    Undefined = 0,
    Null = 1,
    Boolean = 2,   // payload is the double 1.0 or 0.0
    Number = 3,
    String = 4,    // payload points to an ESString, counted by the values that hold it
    Object = 5,    // a null pointer means "no object" in internal results
    NotAValue = 6, // never produced; every conversion treats it as an unknown type
    Atom = 7,
};

// A script value: a tag and a 64-bit payload, two machine words and never boxed. Only a plain
// string is counted: copying and destroying any other value is copying two words.
struct ESValue {
    ESTag tag = ESTag::Undefined;
    union {
        double number = 0.0;
        ESAtom *atom;
        ESObject *object;
        ESString *string;
        std::uint64_t bits;
    };

    constexpr ESValue() = default;
    constexpr ESValue(const ESValue &other) noexcept : tag(other.tag), bits(other.bits)
    {
        if (tag == ESTag::String)
            string->retain();
    }
    constexpr ESValue(ESValue &&other) noexcept : tag(other.tag), bits(other.bits)
    {
        other.tag = ESTag::Undefined;
    }
    constexpr ESValue &operator=(const ESValue &other) noexcept
    {
        if (other.tag == ESTag::String)
            other.string->retain();
        if (tag == ESTag::String)
            string->release();
        tag = other.tag;
        bits = other.bits;
        return *this;
    }
    constexpr ESValue &operator=(ESValue &&other) noexcept
    {
        if (this != &other) {
            if (tag == ESTag::String)
                string->release();
            tag = other.tag;
            bits = other.bits;
            other.tag = ESTag::Undefined;
        }
        return *this;
    }
    constexpr ~ESValue()
    {
        if (tag == ESTag::String)
            string->release();
    }

    static constexpr ESValue undefined() { return {}; }
    static constexpr ESValue null()
    {
        ESValue v;
        v.tag = ESTag::Null;
        return v;
    }
    static constexpr ESValue boolean(bool b)
    {
        ESValue v;
        v.tag = ESTag::Boolean;
        v.number = b ? 1.0 : 0.0;
        return v;
    }
    static constexpr ESValue fromNumber(double d)
    {
        ESValue v;
        v.tag = ESTag::Number;
        v.number = d;
        return v;
    }
    static ESValue fromAtom(ESAtom *a)
    {
        ESValue v;
        v.tag = ESTag::Atom;
        v.atom = a;
        return v;
    }
    static ESValue fromObject(ESObject *o)
    {
        ESValue v;
        v.tag = ESTag::Object;
        v.object = o;
        return v;
    }
    // Takes a count of `s`, which may be a new string.
    static ESValue fromString(ESString *s)
    {
        s->retain();
        ESValue v;
        v.tag = ESTag::String;
        v.string = s;
        return v;
    }

    bool isUndefined() const { return tag == ESTag::Undefined; }
    bool isNumber() const { return tag == ESTag::Number; }
    bool isString() const { return tag == ESTag::Atom || tag == ESTag::String; }
    bool isObject() const { return tag == ESTag::Object; }
    // The literal true: the only value that the logical not turns into false.
    bool isTrue() const { return tag == ESTag::Boolean && number == 1.0; }
};

static_assert(sizeof(ESValue) == 16);
