// The bytecode interpreter of ESContext: one switch over the opcodes, with the top of the
// value stack held in `accumulator`.
#include "script/es/ESClass.h"
#include "script/es/ESContext.h"
#include "script/es/ESNativeClass.h"
#include <QSet>
#include <QtEndian>
#include <cstring>
#include <cmath>
#include <cstdio>

namespace {

QStringView textOf(const ESValue &value)
{
    return ESContext::textView(value);
}

bool isCallable(const ESValue &value)
{
    return value.tag == ESTag::Object && value.object && value.object->functionInfo;
}

ESValue numberValue(double number)
{
    return ESValue::fromNumber(number);
}

// The text of a primitive for a concatenation: a string as it is, anything else converted
// into `converted`.
QStringView concatenationText(ESContext &context, const ESValue &value, QString &converted)
{
    if (value.isString())
        return textOf(value);
    converted = context.toESString(value);
    return converted;
}

// ADD: the right operand converts first, then the left; a string on either side joins the
// texts into a plain string, written in place behind a plain left operand that ends its buffer.
ESValue add(ESContext &context, ESValue left, ESValue right)
{
    if (left.tag == ESTag::Number && right.tag == ESTag::Number)
        return numberValue(left.number + right.number);
    right = context.toPrimitive(right, ESHint::Default);
    left = context.toPrimitive(left, ESHint::Default);
    if (left.isString() || right.isString()) {
        QString leftConverted;
        QString rightConverted;
        const QStringView rightText = concatenationText(context, right, rightConverted);
        const QStringView leftText = concatenationText(context, left, leftConverted);
        if (leftText.size() + rightText.size() > context.limits.textLength)
            context.throwRangeError(QStringLiteral("string too long"));
        if (left.tag == ESTag::String)
            return ESValue::fromString(ESString::append(left.string, rightText));
        return ESValue::fromString(ESString::concat(leftText, rightText));
    }
    const double r = context.toNumber(right);
    return numberValue(context.toNumber(left) + r);
}

// The remainder with the sign of the dividend, as fmod gives it; whole numbers take the
// integer division.
double moduloOf(double left, double right)
{
    constexpr double bound = 9007199254740992.0;   // 2^53: every whole number below is exact
    if (left > -bound && left < bound && right > -bound && right < bound && right != 0) {
        const auto l = std::int64_t(left);
        const auto r = std::int64_t(right);
        if (double(l) == left && double(r) == right) {
            const std::int64_t result = l % r;
            return result == 0 ? std::copysign(0.0, left) : double(result);
        }
    }
    return std::fmod(left, right);
}

ESValue arithmetic(ESContext &context, ESOp code, ESValue left, ESValue right)
{
    if (code == ESOp::ADD)
        return add(context, left, right);
    if (code <= ESOp::MODX) {
        const double r = context.toNumber(right);
        const double l = context.toNumber(left);
        switch (code) {
        case ESOp::SUB: return numberValue(l - r);
        case ESOp::MUL: return numberValue(l * r);
        case ESOp::DIV: return numberValue(l / r);
        default: return numberValue(moduloOf(l, r));
        }
    }
    if (code <= ESOp::BITXORX) {
        const std::int32_t r = ESContext::toInt32(context.toNumber(right));
        const std::int32_t l = ESContext::toInt32(context.toNumber(left));
        switch (code) {
        case ESOp::BITAND: return numberValue(l & r);
        case ESOp::BITOR: return numberValue(l | r);
        default: return numberValue(l ^ r);
        }
    }
    // Shifts: the count is masked to five bits, as the machine's shift does.
    const double l = context.toNumber(left);
    const unsigned count = unsigned(ESContext::toInt32(context.toNumber(right))) & 31u;
    switch (code) {
    case ESOp::SHL:
        return numberValue(std::int32_t(std::uint32_t(ESContext::toInt32(l)) << count));
    case ESOp::SHR:
        return numberValue(ESContext::toInt32(l) >> count);
    default:
        return numberValue(ESContext::toUint32(l) >> count);
    }
}

// LT and LE: undefined when either side is NaN, which a condition takes as false.
ESValue compare(ESContext &context, ESValue left, ESValue right, bool orEqual)
{
    if (left.tag == ESTag::Number && right.tag == ESTag::Number) {
        if (std::isnan(left.number) || std::isnan(right.number))
            return ESValue::undefined();
        return ESValue::boolean(orEqual ? left.number <= right.number : left.number < right.number);
    }
    right = context.toPrimitive(right, ESHint::Number);
    left = context.toPrimitive(left, ESHint::Number);
    if (left.isString() && right.isString()) {
        const int order = textOf(left).compare(textOf(right), Qt::CaseSensitive);
        return ESValue::boolean(orEqual ? order <= 0 : order < 0);
    }
    const double r = context.toNumber(right);
    const double l = context.toNumber(left);
    if (std::isnan(l) || std::isnan(r))
        return ESValue::undefined();
    return ESValue::boolean(orEqual ? l <= r : l < r);
}

ESTag foldedTag(const ESValue &value)
{
    return value.tag == ESTag::String ? ESTag::Atom : value.tag;
}

bool sameTypeEqual(const ESValue &a, const ESValue &b)
{
    switch (foldedTag(a)) {
    case ESTag::Undefined:
    case ESTag::Null:
        return true;
    case ESTag::Boolean:
    case ESTag::Number:
        return a.number == b.number;   // false when either is NaN
    case ESTag::Atom:
        return (a.tag == ESTag::Atom && b.tag == ESTag::Atom) ? a.atom == b.atom
                                                              : textOf(a) == textOf(b);
    case ESTag::Object:
        return a.object == b.object;
    default:
        return false;
    }
}

bool equals(ESContext &context, ESValue a, ESValue b)
{
    for (;;) {
        const ESTag ta = foldedTag(a);
        const ESTag tb = foldedTag(b);
        if (ta == tb)
            return sameTypeEqual(a, b);
        if ((ta == ESTag::Undefined && tb == ESTag::Null) || (ta == ESTag::Null && tb == ESTag::Undefined))
            return true;
        if (ta == ESTag::Number && tb == ESTag::Atom) {
            b = numberValue(context.toNumber(b));
        } else if (ta == ESTag::Atom && tb == ESTag::Number) {
            a = numberValue(context.toNumber(a));
        } else if (ta == ESTag::Boolean) {
            a = numberValue(a.number);
        } else if (tb == ESTag::Boolean) {
            b = numberValue(b.number);
        } else if (ta == ESTag::Object && (tb == ESTag::Number || tb == ESTag::Atom)) {
            a = context.toPrimitive(a, ESHint::Default);
        } else if (tb == ESTag::Object && (ta == ESTag::Number || ta == ESTag::Atom)) {
            b = context.toPrimitive(b, ESHint::Default);
        } else {
            return false;
        }
    }
}

bool identical(ESContext &context, const ESValue &a, const ESValue &b)
{
    if (a.tag == ESTag::NotAValue || b.tag == ESTag::NotAValue)
        context.throwTypeError(QStringLiteral("??"));
    if (foldedTag(a) != foldedTag(b))
        return false;
    return sameTypeEqual(a, b);
}

} // namespace

// Reads a member of any value. A string is not wrapped: a fresh wrapper has nothing of its own
// but its length, so reading through one is reading String.prototype, and a wrapper would keep
// the string for as long as the context lives.
ESValue ESContext::memberOf(const ESValue &value, ESAtom *atom)
{
    if (value.tag == ESTag::Object && value.object)
        return get(value.object, atom);
    if (value.isString()) {
        if (atom == names().length)
            return ESValue::fromNumber(double(textView(value).size()));
        return get(stringPrototype, atom);
    }
    return get(toObject(value), atom);
}

// The function a member call names, leaving in `self` the `this` it gets. The String library
// works on a string itself; any other method of a string, which may keep its `this`, gets a
// wrapper.
ESValue ESContext::methodOf(ESValue &self, ESAtom *atom)
{
    if (self.tag == ESTag::Object && self.object)
        return get(self.object, atom);
    ESValue function = memberOf(self, atom);
    const bool stringLibrary = self.isString() && function.isObject() && function.object
                               && function.object->builtinId >= 0
                               && function.object->klass == stringClass.get();
    if (!stringLibrary)
        self = ESValue::fromObject(toObject(self));
    return function;
}

void ESContext::stackOverflow()
{
    fatal(QStringLiteral("virtual machine stack too small"));
}

// Lowers the stack pointer, releasing what the entries above it held: entries at and above the
// stack pointer never hold a counted string.
void ESContext::dropTo(std::int32_t pointer)
{
    for (std::int32_t i = pointer; i < stackPointer; ++i) {
        ESValue &entry = stack[i];
        if (entry.tag == ESTag::String) {
            entry.string->release();
            entry.tag = ESTag::Undefined;
        }
    }
    stackPointer = pointer;
}

void ESContext::illegalInstruction(const ESCode &code, int pc)
{
    std::fprintf(stderr, "%s\n", qPrintable(code.listInstruction(*this, pc)));
    throwTypeError(QStringLiteral("??"));
}

// NEXT: steps the enumeration object in TOS; false when it is used up, and then it is popped.
bool ESContext::nextEnumerated()
{
    if (!accumulator.isObject() || !accumulator.object)
        fatal(QStringLiteral("tos isn't a property object"));
    ESObject *list = accumulator.object;
    const ESWellKnownAtoms &atoms = names();
    const double index = toNumber(get(list, atoms.index));
    const double count = toNumber(get(list, atoms.length));
    if (index < count) {
        put(list, atoms.index, ESValue::fromNumber(index + 1));
        accumulator = get(list, atomForIndex(unsigned(index)));
        return true;
    }
    pop();
    return false;
}

// MKARRAY: the elements are the top `count` values, the last in TOS.
void ESContext::makeArray(int count)
{
    push(accumulator);
    ESObject *array = newObject(arrayPrototype, arrayClass.get());
    put(array, names().length, ESValue::fromNumber(0));
    accumulator = ESValue::fromObject(array);
    for (int i = count - 1; i >= 0; --i)
        put(array, atomForIndex(unsigned(i)), std::move(stack[--stackPointer]));
}

ESObject *ESContext::makeClosure(unsigned codeIndex)
{
    const ESCode &source = *codeObjects[codeIndex];
    auto info = std::make_unique<ESFunctionInfo>();
    info->parameterCount = source.parameterCount;
    info->localCount = source.localCount;
    info->code = std::make_unique<ESCode>(source);
    info->scope = scope;
    ESFunctionInfo *record = info.release();
    ESObject *function = newObject(functionPrototype, functionClass.get(), record, record);
    put(function, names().length, ESValue::fromNumber(source.parameterCount));
    ESObject *prototype = newObject(objectPrototype, objectClass.get());
    put(prototype, names().constructor, ESValue::fromObject(function));
    put(function, names().prototype, ESValue::fromObject(prototype));
    return function;
}

// A snapshot of the enumerable names of the object and its prototype chain, as a plain
// object with the names under "0", "1", ... and the cursor in "index" and "length".
ESObject *ESContext::enumerate(ESValue value)
{
    ESObject *object = toObject(value);
    std::vector<ESAtom *> keys;
    QSet<ESAtom *> seen;
    for (const ESObject *level = object; level; level = level->prototype) {
        for (const ESProperty &property : level->properties) {
            if (!property.key || (property.flags & ESPropertyFlag::DontEnum) || seen.contains(property.key))
                continue;
            seen.insert(property.key);
            keys.push_back(property.key);
        }
    }
    ESObject *list = newObject(objectPrototype, objectClass.get());
    list->properties.reserve(keys.size() + 2);
    for (std::size_t i = 0; i < keys.size(); ++i)
        put(list, atomForIndex(unsigned(i)), ESValue::fromAtom(keys[i]));
    put(list, names().index, ESValue::fromNumber(0));
    put(list, names().length, ESValue::fromNumber(double(keys.size())));
    return list;
}

// Calls the function in TOS with `argumentCount` arguments at the top of the stack. Leaves the
// result in TOS and the stack as it was before the arguments were pushed, plus one entry.
void ESContext::invoke(ESObject *function, ESValue thisValue, int argumentCount)
{
    if (stackPointer > stackSize)
        stackOverflow();
    ESFunctionInfo *info = function->functionInfo;
    if (!info)
        throwTypeError(QStringLiteral("can only call function objects"));
    checkNativeStack();
    const int missing = info->parameterCount - argumentCount;
    if (missing > 0) {
        if (stackPointer + missing > stackSize)
            stackOverflow();
        for (int i = 0; i < missing; ++i)
            stack[stackPointer++] = ESValue::undefined();
        argumentCount = info->parameterCount;
    }
    if (function->builtinId < 0) {
        invokeScript(function, thisValue, argumentCount);
        return;
    }
    ESValue *arguments = stack + stackPointer - argumentCount;
    function->klass->call(*this, function, thisValue, argumentCount, arguments);
    const std::int32_t base = stackPointer - argumentCount;
    accumulator = std::move(stack[base]);
    dropTo(base);
}

void ESContext::invokeScript(ESObject *function, ESValue thisValue, int argumentCount)
{
    const ESFunctionInfo *info = function->functionInfo;
    const ESCode *code = info->code.get();
    if (!code) {   // Function.prototype: callable, does nothing
        dropTo(stackPointer - argumentCount);
        accumulator = ESValue::undefined();
        return;
    }
    ESObject *const savedScope = scope;
    ESObject *const savedThis = thisObject;
    ESValue *const savedArguments = frameArguments;
    const std::int32_t savedCount = frameArgumentCount;
    ESObject *const savedActivation = activationObject;
    frameArgumentCount = argumentCount;
    frameArguments = stack + stackPointer - argumentCount;
    scope = info->scope;
    int locals = 0;
    if (code->needsActivation) {
        enterActivation(*code, argumentCount);
    } else {
        locals = code->localCount;
        if (stackPointer + locals + 1 > stackSize)
            stackOverflow();
        for (int i = 0; i < locals; ++i)
            stack[stackPointer + i] = ESValue::undefined();
        stackPointer += locals;
        activationObject = nullptr;
    }
    thisObject = thisValue.isObject() && thisValue.object ? thisValue.object : globalObject;
    run(*code);
    scope = savedScope;
    thisObject = savedThis;
    frameArguments = savedArguments;
    frameArgumentCount = savedCount;
    activationObject = savedActivation;
    dropTo(stackPointer - (locals + argumentCount + 1));
}

// The function's names live in an object in front of the scope: declared parameters, unnamed
// surplus arguments, then the locals, with the argument values copied in.
void ESContext::enterActivation(const ESCode &code, int argumentCount)
{
    ESObject *activation = newObject(nullptr, activationClass.get());
    std::vector<ESProperty> &cells = activation->properties;
    cells.resize(std::size_t(argumentCount + code.localCount));
    for (int i = 0; i < code.parameterCount; ++i)
        cells[std::size_t(i)] = code.variables[std::size_t(i)];
    for (int i = code.parameterCount; i < argumentCount; ++i)
        cells[std::size_t(i)] = ESProperty{nullptr, ESPropertyFlag::DontEnum, 0, ESValue::undefined()};
    for (int i = 0; i < code.localCount; ++i)
        cells[std::size_t(argumentCount + i)] = code.variables[std::size_t(code.parameterCount + i)];
    for (int i = 0; i < argumentCount; ++i)
        cells[std::size_t(i)].value = frameArguments[i];
    scope = newObject(scope, activationClass.get(), ESValue::fromObject(activation));
    activationObject = activation;
}

void ESContext::callFunction(ESObject *function, ESValue thisValue, int argumentCount,
                             const ESValue *arguments, ESValue &result)
{
    if (stackPointer + argumentCount + 1 > stackSize)
        stackOverflow();
    stack[stackPointer++] = accumulator;
    for (int i = 0; i < argumentCount; ++i)
        stack[stackPointer++] = arguments[i];
    accumulator = ESValue::fromObject(function);
    invoke(function, thisValue.isObject() ? thisValue : ESValue::fromObject(globalObject),
           argumentCount);
    result = accumulator;
    accumulator = std::move(stack[--stackPointer]);
}

ESObject *ESContext::constructObject(ESObject *function, int argumentCount, const ESValue *arguments)
{
    if (function->builtinId >= 0) {
        if (stackPointer + argumentCount + 1 > stackSize)
            stackOverflow();
        // The class may use the argument cells, so they are copied to the top of the stack.
        const std::int32_t base = stackPointer;
        for (int i = 0; i < argumentCount; ++i)
            stack[stackPointer++] = arguments[i];
        ESObject *made = function->klass->construct(*this, function, argumentCount, stack + base);
        dropTo(base);
        if (made)
            return made;
    }
    const ESValue prototype = get(function, names().prototype);
    ESObject *object = newObject(prototype.isObject() && prototype.object ? prototype.object
                                                                           : objectPrototype,
                                 objectClass.get());
    ESValue result;
    callFunction(function, ESValue::fromObject(object), argumentCount, arguments, result);
    if (result.isObject() && result.object)
        return result.object;
    if (!object) {
        throwError(toESString(function->primitive)
                   + QStringLiteral(" failed to generate an object"));
    }
    return object;
}

namespace {

// Stack entries at and above the stack pointer hold no plain string. So a push moves the
// accumulator's two words into its entry without releasing what was there, and a pop leaves
// its entry empty; a number left above the stack pointer needs no clearing.
inline void moveWords(ESValue &to, const ESValue &from)
{
    to.tag = from.tag;
    to.bits = from.bits;
}

// An element index a number names: a whole number from 0 below 2^32 - 1.
inline bool elementIndex(const ESValue &key, std::uint32_t &index)
{
    if (key.tag != ESTag::Number || !(key.number >= 0 && key.number < 4294967295.0))
        return false;
    index = std::uint32_t(key.number);
    return double(index) == key.number;
}

} // namespace

inline void ESContext::push(const ESValue &value)
{
    if (stackPointer >= stackSize) [[unlikely]]
        stackOverflow();
    moveWords(stack[stackPointer++], accumulator);
    moveWords(accumulator, value);   // `value` may be the accumulator itself (DUP)
    if (accumulator.tag == ESTag::String)
        accumulator.string->retain();
}

inline void ESContext::pushNumber(double number)
{
    if (stackPointer >= stackSize) [[unlikely]]
        stackOverflow();
    moveWords(stack[stackPointer++], accumulator);
    accumulator.tag = ESTag::Number;
    accumulator.number = number;
}

inline void ESContext::pop()
{
    if (accumulator.tag == ESTag::String)
        accumulator.string->release();
    ESValue &entry = stack[--stackPointer];
    moveWords(accumulator, entry);
    entry.tag = ESTag::Undefined;
}

ESObject *ESContext::memberObject(const ESValue &value)
{
    return value.tag == ESTag::Object && value.object ? value.object : toObject(value);
}

// Member reads and writes of a plain object go to the slot where the same instruction found the
// name last time, when that slot still holds it; a slot is where a name stays until deleted.
ESValue ESContext::cachedGet(ESObject *object, ESAtom *atom, std::uint32_t &hint)
{
    if (!object->klass->plainProperties)
        return get(object, atom);
    std::vector<ESProperty> &properties = object->properties;
    if (hint < properties.size() && properties[hint].key == atom)
        return properties[hint].value;
    for (std::size_t i = 0; i < properties.size(); ++i) {
        if (properties[i].key == atom) {
            hint = std::uint32_t(i);
            return properties[i].value;
        }
    }
    return ESClass::defaultGet(object->prototype, atom);
}

void ESContext::cachedPut(ESObject *object, ESAtom *atom, ESValue &&value, std::uint32_t &hint)
{
    if (!object->klass->plainProperties)
        return put(object, atom, std::move(value));
    std::vector<ESProperty> &properties = object->properties;
    if (!(hint < properties.size() && properties[hint].key == atom)) {
        ESClass::defaultPut(object, atom, std::move(value));
        for (std::size_t i = properties.size(); i-- > 0;) {
            if (properties[i].key == atom) {
                hint = std::uint32_t(i);
                break;
            }
        }
        return;
    }
    ESProperty &property = properties[hint];
    if (!(property.flags & ESPropertyFlag::ReadOnly))
        property.value = std::move(value);
}

// obj[key] with the key in TOS and the object in `scratch`: an Array's element by its number
// without making the number's atom.
ESValue ESContext::indexedGet(const ESValue &holder, const ESValue &key)
{
    std::uint32_t index = 0;
    if (holder.tag == ESTag::Object && holder.object && holder.object->klass == arrayClass.get()
        && elementIndex(key, index)) {
        if (const ESProperty *element = arrayClass->ownElement(holder.object, index))
            return element->value;
    }
    return memberOf(holder, valueToAtom(key));
}

void ESContext::indexedPut(const ESValue &holder, const ESValue &key, ESValue &&value)
{
    std::uint32_t index = 0;
    if (holder.tag == ESTag::Object && holder.object && holder.object->klass == arrayClass.get()
        && elementIndex(key, index)) {
        if (ESProperty *element = arrayClass->ownElement(holder.object, index)) {
            if (!(element->flags & ESPropertyFlag::ReadOnly))
                element->value = std::move(value);
            return;
        }
    }
    put(memberObject(holder), valueToAtom(key), std::move(value));
}

// The slow half of the binary operators: conversions, strings, objects.
void ESContext::binarySlow(ESOp operation)
{
    scratch = std::move(stack[--stackPointer]);
    switch (operation) {
    case ESOp::LT:
    case ESOp::LE:
        accumulator = compare(*this, scratch, accumulator, operation == ESOp::LE);
        return;
    case ESOp::EQ:
    case ESOp::NE: {
        const bool equal = equals(*this, scratch, accumulator);
        accumulator = ESValue::boolean(operation == ESOp::EQ ? equal : !equal);
        return;
    }
    case ESOp::IDENTITY:
    case ESOp::NOTIDENTITY: {
        const bool same = identical(*this, scratch, accumulator);
        accumulator = ESValue::boolean(operation == ESOp::IDENTITY ? same : !same);
        return;
    }
    default:
        accumulator = arithmetic(*this, operation, scratch, accumulator);
    }
}

// Read-modify-write of a member: the right-hand side lowest, then the object, then the key. A
// number member of a plain object found where the hint says, with a number to apply, changes
// in place.
void ESContext::memberAssign(ESOp operation, std::uint32_t &hint)
{
    const ESValue &holderEntry = stack[stackPointer - 1];
    const ESValue &rightEntry = stack[stackPointer - 2];
    if (accumulator.tag == ESTag::Atom && holderEntry.tag == ESTag::Object && holderEntry.object
        && holderEntry.object->klass->plainProperties && rightEntry.tag == ESTag::Number
        && (operation == ESOp::ADD || operation == ESOp::SUB || operation == ESOp::MUL
            || operation == ESOp::DIV)) {
        std::vector<ESProperty> &properties = holderEntry.object->properties;
        if (hint < properties.size() && properties[hint].key == accumulator.atom
            && properties[hint].value.tag == ESTag::Number
            && !(properties[hint].flags & ESPropertyFlag::ReadOnly)) {
            double &value = properties[hint].value.number;
            const double right = rightEntry.number;
            value = operation == ESOp::ADD   ? value + right
                    : operation == ESOp::SUB ? value - right
                    : operation == ESOp::MUL ? value * right
                                             : value / right;
            stackPointer -= 2;   // an object and a number: nothing counted to release
            accumulator = ESValue::fromNumber(value);
            return;
        }
    }
    if (accumulator.tag == ESTag::Atom && holderEntry.tag == ESTag::Object && holderEntry.object
        && holderEntry.object->klass->plainProperties) {
        const std::vector<ESProperty> &properties = holderEntry.object->properties;
        for (std::size_t i = 0; i < properties.size(); ++i) {
            if (properties[i].key == accumulator.atom) {
                hint = std::uint32_t(i);
                break;
            }
        }
    }
    const ESValue key = std::move(accumulator);
    const ESValue holder = std::move(stack[--stackPointer]);
    ESObject *object = memberObject(holder);
    ESAtom *atom = valueToAtom(key);
    const ESValue old = get(object, atom);
    const ESValue right = std::move(stack[--stackPointer]);
    accumulator = arithmetic(*this, operation, old, right);
    put(object, atom, accumulator);
}

// ++ and -- on a name found by the scope chain: the key in TOS names it, whatever object
// lies below.
void ESContext::nameIncrement(ESOp operation)
{
    ESAtom *name = valueToAtom(accumulator);
    ESValue value;
    lookupName(name, value);
    const double step = operation == ESOp::PREINCX || operation == ESOp::POSTINCX ? 1 : -1;
    const double changed = toNumber(value) + step;
    storeName(name, ESValue::fromNumber(changed));
    const bool prefix = operation == ESOp::PREINCX || operation == ESOp::PREDECX;
    accumulator = ESValue::fromNumber(prefix ? changed : changed - step);
}

inline void ESContext::stepNumber(ESValue &slot, double step)
{
    if (slot.tag == ESTag::Number)
        slot.number += step;
    else
        slot = ESValue::fromNumber(toNumber(slot) + step);
}

// The function named by a call instruction, pushed over the last argument, and the `this` it
// gets.
ESValue ESContext::callee(ESOp operation, const std::uint8_t *at, ESValue *locals)
{
    const unsigned slot = unsigned(at[0]) << 8 | at[1];
    switch (operation) {
    case ESOp::CALLW: {
        ESValue function;
        ESObject *holder = lookupName(m_atoms.atomAt(int(slot)), function);
        push(function);
        return ESValue::fromObject(holder);
    }
    case ESOp::CALLF: {
        ESValue self = std::move(accumulator);
        accumulator = methodOf(self, m_atoms.atomAt(int(slot)));
        return self;
    }
    case ESOp::CALLG:
        push(globalObject->properties[slot].value);
        break;
    case ESOp::CALLA:
        push(frameArguments[slot]);
        break;
    case ESOp::CALLL:
        push(locals[slot]);
        break;
    case ESOp::CALLAM:
        push(activationObject->properties[slot].value);
        break;
    case ESOp::CALLLM:
        push(activationObject->properties[std::size_t(frameArgumentCount) + slot].value);
        break;
    default: {   // CALLX
        const ESValue key = std::move(accumulator);
        pop();
        ESValue self = std::move(accumulator);
        accumulator = methodOf(self, valueToAtom(key));
        return self;
    }
    }
    return ESValue::fromObject(globalObject);
}

void ESContext::run(const ESCode &code)
{
    const std::uint8_t *const bytes = code.bytes.data();
    const double *const numbers = code.numbers.data();
    const bool polls = m_pollsContinue;
    // The frame's registers do not change while this code runs: calls restore them.
    ESValue *const arguments = frameArguments;
    ESValue *const locals = frameArguments + frameArgumentCount;
    std::uint32_t *const hints = code.propertyHints();
    int pc = 0;
    // Errors read the line through the frame, so no step stores it.
    struct FrameScope {
        ESContext &context;
        RunFrame frame;
        FrameScope(ESContext &context, const ESCode &code, const int *pc)
            : context(context), frame{&code, pc, context.m_runFrame}
        {
            context.m_runFrame = &frame;
        }
        ~FrameScope() { context.m_runFrame = frame.outer; }
    } frameScope(*this, code, &pc);
    const auto operand = [&](int at) {
        std::uint16_t word;
        std::memcpy(&word, bytes + at, sizeof word);
        return unsigned(qFromBigEndian(word));
    };
    const auto atomAt = [&](int at) { return m_atoms.atomAt(int(operand(at))); };
    const auto jumpOrNext = [&](bool jump) { pc = jump ? int(operand(pc + 1)) : pc + 3; };
    for (;;) {
        if (polls && !shouldContinue())
            return;
        const ESOp op = ESOp(bytes[pc]);
        switch (op) {
        case ESOp::NUM:
            pushNumber(numbers[operand(pc + 1)]);
            pc += 3;
            break;
        case ESOp::NUM_0: case ESOp::NUM_1: case ESOp::NUM_2: case ESOp::NUM_3: case ESOp::NUM_4:
            pushNumber(int(op) - int(ESOp::NUM_0));
            ++pc;
            break;
        case ESOp::NUM_M1:
            pushNumber(-1);
            ++pc;
            break;
        case ESOp::NULL_:
            push(ESValue::null());
            ++pc;
            break;
        case ESOp::TRUE_:
        case ESOp::FALSE_:
            push(ESValue::boolean(op == ESOp::TRUE_));
            ++pc;
            break;
        case ESOp::UNDEFINED:
            push(ESValue::undefined());
            ++pc;
            break;
        case ESOp::THIS:
            push(ESValue::fromObject(thisObject));
            ++pc;
            break;
        case ESOp::STR:
            push(ESValue::fromAtom(atomAt(pc + 1)));
            pc += 3;
            break;
        case ESOp::NEW:
        case ESOp::NEWA: {
            const int count = op == ESOp::NEWA ? int(operand(pc + 1)) : 0;
            const ESValue function = accumulator;
            if (!function.isObject() || !function.object || !function.object->constructInfo)
                throwTypeError(QStringLiteral("new must be given a constructor object"));
            ESObject *made = constructObject(function.object, count, stack + stackPointer - count);
            dropTo(stackPointer - count);
            accumulator = ESValue::fromObject(made);
            pc += op == ESOp::NEWA ? 3 : 1;
            break;
        }
        case ESOp::DROP:
            pop();
            ++pc;
            break;
        case ESOp::DUP:
            push(accumulator);
            ++pc;
            break;
        case ESOp::VOID:
            accumulator = ESValue::undefined();
            ++pc;
            break;
        case ESOp::TYPEOF:
            accumulator = typeOf(accumulator);
            ++pc;
            break;
        case ESOp::ENUM:
            accumulator = ESValue::fromObject(enumerate(accumulator));
            ++pc;
            break;
        case ESOp::NEXT:
            if (nextEnumerated())
                pc = int(operand(pc + 1));
            else
                pc += 3;
            break;
        case ESOp::CLOSURE:
            push(ESValue::fromObject(makeClosure(operand(pc + 1))));
            pc += 3;
            break;
        case ESOp::MKARRAY:
            makeArray(int(operand(pc + 1)));
            pc += 3;
            break;
        case ESOp::NEWOBJ:
            push(ESValue::fromObject(newObject(objectPrototype, objectClass.get())));
            ++pc;
            break;
        case ESOp::WITH: {
            ESObject *object = toObject(accumulator);
            scope = newObject(scope, objectClass.get(), ESValue::fromObject(object));
            pop();
            ++pc;
            break;
        }
        case ESOp::ENDWITH:
            if (scope)
                scope = scope->prototype;
            ++pc;
            break;
        case ESOp::INITF: {
            ESValue value = std::move(accumulator);
            pop();
            cachedPut(memberObject(accumulator), atomAt(pc + 1), std::move(value), hints[pc]);
            pc += 3;
            break;
        }
        case ESOp::CALLW: case ESOp::CALLF: case ESOp::CALLG: case ESOp::CALLA: case ESOp::CALLAM:
        case ESOp::CALLL: case ESOp::CALLLM: case ESOp::CALLX: {
            ESValue self = callee(op, bytes + pc + 1, locals);
            const int count = int(operand(op == ESOp::CALLX ? pc + 1 : pc + 3));
            if (!isCallable(accumulator))
                throwTypeError(QStringLiteral("not a function object"));
            invoke(accumulator.object, std::move(self), count);
            pc += op == ESOp::CALLX ? 3 : 5;
            break;
        }
        case ESOp::GETW: {
            ESValue value;
            lookupName(atomAt(pc + 1), value);
            push(value);
            pc += 3;
            break;
        }
        case ESOp::GETF:
            if (accumulator.tag == ESTag::Object && accumulator.object)
                accumulator = cachedGet(accumulator.object, atomAt(pc + 1), hints[pc]);
            else
                accumulator = memberOf(accumulator, atomAt(pc + 1));
            pc += 3;
            break;
        case ESOp::GETG:
            push(globalObject->properties[operand(pc + 1)].value);
            pc += 3;
            break;
        case ESOp::GETA:
            push(arguments[operand(pc + 1)]);
            pc += 3;
            break;
        case ESOp::GETL:
            push(locals[operand(pc + 1)]);
            pc += 3;
            break;
        case ESOp::GETAM:
            push(activationObject->properties[operand(pc + 1)].value);
            pc += 3;
            break;
        case ESOp::GETLM:
            push(activationObject->properties[std::size_t(frameArgumentCount) + operand(pc + 1)].value);
            pc += 3;
            break;
        case ESOp::GETX:
            scratch = std::move(stack[--stackPointer]);
            accumulator = indexedGet(scratch, accumulator);
            ++pc;
            break;
        case ESOp::PUTW:
            storeName(atomAt(pc + 1), accumulator);
            pop();
            pc += 3;
            break;
        case ESOp::PUTF: {
            // The value in TOS, the object below it.
            ESValue value = std::move(accumulator);
            pop();
            if (accumulator.tag == ESTag::Object && accumulator.object)
                cachedPut(accumulator.object, atomAt(pc + 1), std::move(value), hints[pc]);
            else
                put(memberObject(accumulator), atomAt(pc + 1), std::move(value));
            pop();
            pc += 3;
            break;
        }
        case ESOp::PUTG:
            globalObject->properties[operand(pc + 1)].value = std::move(accumulator);
            pop();
            pc += 3;
            break;
        case ESOp::PUTA:
            arguments[operand(pc + 1)] = std::move(accumulator);
            pop();
            pc += 3;
            break;
        case ESOp::PUTL:
            locals[operand(pc + 1)] = std::move(accumulator);
            pop();
            pc += 3;
            break;
        case ESOp::PUTAM:
            activationObject->properties[operand(pc + 1)].value = std::move(accumulator);
            pop();
            pc += 3;
            break;
        case ESOp::PUTLM:
            activationObject->properties[std::size_t(frameArgumentCount) + operand(pc + 1)].value =
                std::move(accumulator);
            pop();
            pc += 3;
            break;
        case ESOp::PUTX: {
            // TOS the key, then the object, then the value.
            ESValue key = std::move(accumulator);
            pop();
            ESValue holder = std::move(accumulator);
            pop();
            indexedPut(holder, key, std::move(accumulator));
            pop();
            ++pc;
            break;
        }
        case ESOp::ADD: {
            ESValue &left = stack[stackPointer - 1];
            if (left.tag == ESTag::Number && accumulator.tag == ESTag::Number) {
                accumulator.number = left.number + accumulator.number;
                --stackPointer;
            } else {
                scratch = std::move(stack[--stackPointer]);
                accumulator = add(*this, scratch, accumulator);
            }
            ++pc;
            break;
        }
        case ESOp::SUB: case ESOp::MUL: case ESOp::DIV: case ESOp::MOD: {
            const ESValue &left = stack[stackPointer - 1];
            if (left.tag == ESTag::Number && accumulator.tag == ESTag::Number) {
                const double l = left.number;
                const double r = accumulator.number;
                accumulator.number = op == ESOp::SUB   ? l - r
                                     : op == ESOp::MUL ? l * r
                                     : op == ESOp::DIV ? l / r
                                                       : moduloOf(l, r);
                --stackPointer;
            } else {
                binarySlow(op);
            }
            ++pc;
            break;
        }
        case ESOp::BITAND: case ESOp::BITOR: case ESOp::BITXOR: case ESOp::SHL: case ESOp::SHR:
        case ESOp::USHR:
            binarySlow(op);
            ++pc;
            break;
        case ESOp::ADDX: case ESOp::SUBX: case ESOp::MULX: case ESOp::DIVX: case ESOp::MODX:
        case ESOp::BITANDX: case ESOp::BITORX: case ESOp::BITXORX:
            memberAssign(ESOp(int(op) - 1), hints[pc]);
            ++pc;
            break;
        case ESOp::INCG: case ESOp::DECG:
            stepNumber(globalObject->properties[operand(pc + 1)].value, op == ESOp::INCG ? 1 : -1);
            pc += 3;
            break;
        case ESOp::INCA: case ESOp::DECA:
            stepNumber(arguments[operand(pc + 1)], op == ESOp::INCA ? 1 : -1);
            pc += 3;
            break;
        case ESOp::INCL: case ESOp::DECL:
            stepNumber(locals[operand(pc + 1)], op == ESOp::INCL ? 1 : -1);
            pc += 3;
            break;
        case ESOp::PREINCX: case ESOp::POSTINCX: case ESOp::PREDECX: case ESOp::POSTDECX:
            nameIncrement(op);
            ++pc;
            break;
        case ESOp::DELETEW:
            push(ESValue::boolean(deleteName(atomAt(pc + 1))));
            pc += 3;
            break;
        case ESOp::DELETEX: {
            const ESValue key = std::move(accumulator);
            pop();
            const ESValue holder = std::move(accumulator);
            accumulator = ESValue::boolean(deleteOwn(memberObject(holder), valueToAtom(key)));
            ++pc;
            break;
        }
        case ESOp::LT: case ESOp::LE: {
            const ESValue &left = stack[stackPointer - 1];
            if (left.tag == ESTag::Number && accumulator.tag == ESTag::Number
                && !std::isnan(left.number) && !std::isnan(accumulator.number)) {
                const bool result = op == ESOp::LE ? left.number <= accumulator.number
                                                   : left.number < accumulator.number;
                --stackPointer;
                accumulator = ESValue::boolean(result);
            } else {
                binarySlow(op);
            }
            ++pc;
            break;
        }
        case ESOp::EQ: case ESOp::NE: case ESOp::IDENTITY: case ESOp::NOTIDENTITY: {
            const ESValue &left = stack[stackPointer - 1];
            if (left.tag == ESTag::Number && accumulator.tag == ESTag::Number) {
                const bool equal = left.number == accumulator.number;   // false for NaN
                --stackPointer;
                accumulator = ESValue::boolean(op == ESOp::EQ || op == ESOp::IDENTITY ? equal : !equal);
            } else {
                binarySlow(op);
            }
            ++pc;
            break;
        }
        case ESOp::LOGNOT:
            accumulator = ESValue::boolean(!accumulator.isTrue());
            ++pc;
            break;
        case ESOp::BITNOT:
            accumulator = ESValue::fromNumber(~toInt32(toNumber(accumulator)));
            ++pc;
            break;
        case ESOp::POS:
            if (accumulator.tag != ESTag::Number)
                accumulator = ESValue::fromNumber(toNumber(accumulator));
            ++pc;
            break;
        case ESOp::NEG:
            accumulator = ESValue::fromNumber(-toNumber(accumulator));
            ++pc;
            break;
        case ESOp::LOGAND:
        case ESOp::LOGOR:
            if (toBoolean(accumulator) == (op == ESOp::LOGOR)) {
                pc = int(operand(pc + 1));
            } else {
                pop();
                pc += 3;
            }
            break;
        case ESOp::J:
            pc = int(operand(pc + 1));
            break;
        case ESOp::JT:
        case ESOp::JF: {
            const bool truth = accumulator.tag == ESTag::Boolean ? accumulator.number != 0.0
                                                                 : toBoolean(accumulator);
            pop();
            jumpOrNext(truth == (op == ESOp::JT));
            break;
        }
        case ESOp::JT_DROP:
            if (toBoolean(accumulator)) {
                pop();
                pop();
                pc = int(operand(pc + 1));
            } else {
                pop();
                pc += 3;
            }
            break;
        case ESOp::JLT: {
            const ESValue &left = stack[stackPointer - 1];
            bool less = false;
            if (left.tag == ESTag::Number && accumulator.tag == ESTag::Number) {
                less = left.number < accumulator.number;
                --stackPointer;
                pop();
            } else {
                const ESValue right = std::move(accumulator);
                pop();
                const ESValue leftValue = std::move(accumulator);
                pop();
                less = compare(*this, leftValue, right, false).isTrue();
            }
            jumpOrNext(less);
            break;
        }
        case ESOp::RET:
            return;
        case ESOp::RETU:
            push(ESValue::undefined());
            return;
        default:
            illegalInstruction(code, pc);
        }
    }
}
