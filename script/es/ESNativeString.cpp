#include "script/es/ESContext.h"
#include "script/es/ESNativeClass.h"

namespace {

void stringCall(ESNativeCall &call)
{
    ESContext &context = call.context;
    call.setResult(ESValue::fromAtom(context.intern(context.toESString(call.arguments[0]))));
}

ESObject *stringConstruct(ESNativeCall &call)
{
    ESContext &context = call.context;
    ESAtom *text = context.intern(context.toESString(call.argument(0)));
    return context.newObject(context.stringPrototype, context.stringClass.get(),
                             ESValue::fromAtom(text));
}

constexpr ESNativeFunctionRow rows[] = {
    {"String", 1, 0, ESNativeRowFlag::Constructor, nullptr, stringCall, stringConstruct},
};

} // namespace

ESNativeString::ESNativeString()
    : ESNativeClass(QStringLiteral("String"), QStringLiteral("String"), rows)
{
}

void ESNativeString::initialise(ESContext &context)
{
    installFunctions(context, context.stringPrototype);
}

ESValue ESNativeString::get(ESContext &context, ESObject *object, ESAtom *atom)
{
    if (atom == context.names().length && object->primitive.tag == ESTag::Atom)
        return ESValue::fromNumber(double(object->primitive.atom->text.size()));
    return defaultGet(object, atom);
}

void ESNativeString::put(ESContext &context, ESObject *object, ESAtom *atom, ESValue value)
{
    if (atom != context.names().length)
        defaultPut(object, atom, value);
}
