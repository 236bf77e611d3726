#pragma once
#include <cstdint>

class ESAtom;
struct ESObject;
class QString;

// The kind of a value. Tags 4 and 7 are one script type (string); nearly every string is an
// interned atom (7), a plain text (4) is made only for the global object's default value.
enum class ESTag : std::uint32_t {
    Undefined = 0,
    Null = 1,
    Boolean = 2,   // payload is the double 1.0 or 0.0
    Number = 3,
    String = 4,    // payload points to a QString owned by the context
    Object = 5,    // a null pointer means "no object" in internal results
    NotAValue = 6, // never produced; every conversion treats it as an unknown type
    Atom = 7,
};

// A script value: a tag and a 64-bit payload, copied in two machine words and never boxed.
struct ESValue {
    ESTag tag = ESTag::Undefined;
    union {
        double number = 0.0;
        ESAtom *atom;
        ESObject *object;
        const QString *string;
    };

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

    bool isUndefined() const { return tag == ESTag::Undefined; }
    bool isNumber() const { return tag == ESTag::Number; }
    bool isString() const { return tag == ESTag::Atom || tag == ESTag::String; }
    bool isObject() const { return tag == ESTag::Object; }
    // The literal true: the only value that the logical not turns into false.
    bool isTrue() const { return tag == ESTag::Boolean && number == 1.0; }
};

static_assert(sizeof(ESValue) == 16);
