#include "script/es/ESContext.h"
#include "script/es/ESNativeClass.h"

namespace {

ESObject *thisObject(ESNativeCall &call)
{
    return call.context.toObject(call.thisValue);
}

ESObject *makeObject(ESNativeCall &call)
{
    ESContext &context = call.context;
    const ESValue value = call.argument(0);
    if (value.tag == ESTag::Undefined || value.tag == ESTag::Null)
        return context.newObject(context.objectPrototype, context.objectClass.get());
    return context.toObject(value);
}

void objectCall(ESNativeCall &call)
{
    call.setResult(ESValue::fromObject(makeObject(call)));
}

void toString(ESNativeCall &call)
{
    ESObject *object = thisObject(call);
    const QString text = QStringLiteral("[object ") + object->klass->name + QLatin1Char(']');
    call.setResult(ESValue::fromAtom(call.context.intern(text)));
}

void valueOf(ESNativeCall &call)
{
    call.setResult(ESValue::fromObject(thisObject(call)));
}

void hasOwnProperty(ESNativeCall &call)
{
    ESObject *object = thisObject(call);
    ESAtom *atom = call.context.valueToAtom(call.argument(0));
    call.setResult(ESValue::boolean(ESContext::hasOwn(object, atom)));
}

void isPrototypeOf(ESNativeCall &call)
{
    ESObject *object = thisObject(call);
    call.setResult(ESValue::boolean(ESContext::isPrototypeIn(object, call.argument(0))));
}

void propertyIsEnumerable(ESNativeCall &call)
{
    ESObject *object = thisObject(call);
    ESAtom *atom = call.context.valueToAtom(call.argument(0));
    call.setResult(ESValue::boolean(ESContext::isEnumerableOwn(object, atom)));
}

constexpr ESNativeFunctionRow rows[] = {
    {"Object", 1, 0, ESNativeRowFlag::Constructor, nullptr, objectCall, makeObject},
    {"toString", 0, 2, ESNativeRowFlag::Method, nullptr, toString, nullptr},
    {"toLocaleString", 0, 3, ESNativeRowFlag::Method, nullptr, toString, nullptr},
    {"valueOf", 0, 4, ESNativeRowFlag::Method, nullptr, valueOf, nullptr},
    {"hasOwnProperty", 1, 5, ESNativeRowFlag::Method, nullptr, hasOwnProperty, nullptr},
    {"isPrototypeOf", 1, 6, ESNativeRowFlag::Method, nullptr, isPrototypeOf, nullptr},
    {"propertyIsEnumerable", 1, 7, ESNativeRowFlag::Method, nullptr, propertyIsEnumerable, nullptr},
};

} // namespace

ESNativeObject::ESNativeObject() : ESNativeClass(QStringLiteral("Object"), QStringLiteral("Object"), rows)
{
}

void ESNativeObject::initialise(ESContext &context)
{
    installFunctions(context, context.objectPrototype);
}
