#include "script/es/ESClass.h"
#include "script/es/ESContext.h"
#include "script/es/ESNativeClass.h"
#include "script/es/ESObject.h"
#include <algorithm>

ESClass::~ESClass() = default;

ESValue ESClass::defaultGet(const ESObject *object, const ESAtom *atom)
{
    for (; object; object = object->prototype) {
        for (const ESProperty &property : object->properties) {
            if (property.key == atom)
                return property.value;
        }
    }
    return ESValue::undefined();
}

void ESClass::defaultPut(ESObject *object, ESAtom *atom, ESValue value)
{
    std::vector<ESProperty> &properties = object->properties;
    for (ESProperty &property : properties) {
        if (property.key == atom) {
            if (!(property.flags & ESPropertyFlag::ReadOnly))
                property.value = value;
            return;
        }
    }
    // Most objects hold a handful of names: room grows from four by doubling.
    if (properties.size() == properties.capacity())
        properties.reserve(std::max<std::size_t>(4, 2 * properties.size()));
    properties.push_back(ESProperty{atom, 0, 0, std::move(value)});
}

ESValue ESClass::get(ESContext &, ESObject *object, ESAtom *atom)
{
    return defaultGet(object, atom);
}

void ESClass::put(ESContext &, ESObject *object, ESAtom *atom, ESValue value)
{
    defaultPut(object, atom, value);
}

int ESClass::queryFirst(ESContext &, ESObject *, ESAtom *)
{
    return 0;
}

int ESClass::querySecond(ESContext &, ESObject *, ESAtom *)
{
    return 0;
}

int ESClass::queryThird(ESContext &, ESObject *, ESAtom *)
{
    return 0;
}

void ESClass::defaultResult(ESContext &, ESObject *, ESValue &result)
{
    result = ESValue::undefined();
}

void ESClass::call(ESContext &, ESObject *, ESValue, int, ESValue *arguments)
{
    arguments[0] = ESValue::undefined();
}

ESObject *ESClass::construct(ESContext &, ESObject *, int, ESValue *)
{
    return nullptr;
}

ESObject *ESClass::installGlobal(ESContext &context)
{
    ESObject *object = context.newObject(context.objectPrototype, context.objectClass.get());
    context.globalClass->put(context, context.globalObject, context.intern(name),
                             ESValue::fromObject(object));
    return object;
}
