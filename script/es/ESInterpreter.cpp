// The bytecode interpreter of ESContext: one switch over the opcodes, with the top of the
// value stack held in `accumulator`.
#include "script/es/ESClass.h"
#include "script/es/ESContext.h"
#include "script/es/ESNativeClass.h"
#include "script/es/ESParser.h"
#include <QSet>
#include <cmath>
#include <cstdio>

namespace {

// A concatenation longer than this raises a RangeError instead of exhausting memory.
constexpr qsizetype maxStringLength = qsizetype(1) << 27;

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
        if (leftText.size() + rightText.size() > maxStringLength)
            context.throwRangeError(QStringLiteral("string too long"));
        if (left.tag == ESTag::String)
            return ESValue::fromString(ESString::append(left.string, rightText));
        return ESValue::fromString(ESString::concat(leftText, rightText));
    }
    const double r = context.toNumber(right);
    return numberValue(context.toNumber(left) + r);
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
        default: return numberValue(std::fmod(l, r));
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
    while (stackPointer > pointer)
        stack[--stackPointer] = ESValue();
    stackPointer = pointer;
}

void ESContext::illegalInstruction(const ESCode &code, int pc)
{
    std::fprintf(stderr, "%s\n", qPrintable(code.listInstruction(*this, pc)));
    throwTypeError(QStringLiteral("??"));
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

ESCompletion ESContext::evaluate(const QString &file, const QString &text)
{
    // Registers are put back on every exit, so a caught error leaves the caller's frame intact.
    struct Saved {
        ESContext &context;
        std::int32_t stackPointer = context.stackPointer;
        ESValue accumulator = context.accumulator;
        ESObject *scope = context.scope;
        ESObject *thisObject = context.thisObject;
        ESValue *frameArguments = context.frameArguments;
        std::int32_t frameArgumentCount = context.frameArgumentCount;
        ESObject *activationObject = context.activationObject;
        QString sourceText = context.sourceText;
        QString fileName = context.fileName;
        ~Saved()
        {
            context.dropTo(stackPointer);
            context.accumulator = accumulator;
            context.scope = scope;
            context.thisObject = thisObject;
            context.frameArguments = frameArguments;
            context.frameArgumentCount = frameArgumentCount;
            context.activationObject = activationObject;
            context.sourceText = sourceText;
            context.fileName = fileName;
        }
    } saved{*this};
    fileName = file;
    sourceText = text;
    ESCompletion completion;
    try {
        ESParser parser(*this);
        parser.setSource(text);
        const std::unique_ptr<ESCode> code = parser.compileProgram();
        run(*code);
        completion.value = accumulator;
    } catch (const ESException &exception) {
        completion.kind = ESCompletion::Thrown;
        completion.value = exception.value;
    }
    return completion;
}

namespace {

// Push and pop with TOS held in the accumulator. A push past `stackSize` is the fatal error.
// `value` is taken by value: it may be the accumulator itself (DUP).
inline void push(ESContext &context, ESValue value, std::int32_t limit)
{
    if (context.stackPointer >= limit) [[unlikely]]
        ESContext::fatal(QStringLiteral("virtual machine stack too small"));
    context.stack[context.stackPointer++] = std::move(context.accumulator);
    context.accumulator = std::move(value);
}

inline void pop(ESContext &context)
{
    context.accumulator = std::move(context.stack[--context.stackPointer]);
}

ESObject *memberObject(ESContext &context, const ESValue &value)
{
    return value.tag == ESTag::Object && value.object ? value.object : context.toObject(value);
}

} // namespace

void ESContext::run(const ESCode &code)
{
    const std::uint8_t *const bytes = code.bytes.data();
    const std::uint32_t *const lines = code.lineTable.data();
    const int length = code.length();
    const std::int32_t limit = stackSize;
    const ESWellKnownAtoms &atoms = names();
    int pc = 0;
    const auto operand = [&](int at) { return unsigned(bytes[at]) << 8 | bytes[at + 1]; };
    const auto atomAt = [&](int at) { return m_atoms.atomAt(int(operand(at))); };
    const auto jumpOrNext = [&](bool jump, int size) { pc = jump ? int(operand(pc + 1)) : pc + size; };
    for (;;) {
        if (m_pollsContinue && !shouldContinue())
            return;
        if (pc >= length) [[unlikely]]
            fatal(QStringLiteral("compiler error: code ends without a return"));
        currentLine = lines[pc];
        const ESOp code_ = ESOp(bytes[pc]);
        switch (code_) {
        case ESOp::NUM:
            push(*this, ESValue::fromNumber(code.numbers[operand(pc + 1)]), limit);
            pc += 3;
            break;
        case ESOp::NUM_0: case ESOp::NUM_1: case ESOp::NUM_2: case ESOp::NUM_3: case ESOp::NUM_4:
            push(*this, ESValue::fromNumber(int(code_) - int(ESOp::NUM_0)), limit);
            ++pc;
            break;
        case ESOp::NUM_M1:
            push(*this, ESValue::fromNumber(-1), limit);
            ++pc;
            break;
        case ESOp::NULL_:
            push(*this, ESValue::null(), limit);
            ++pc;
            break;
        case ESOp::TRUE_:
        case ESOp::FALSE_:
            push(*this, ESValue::boolean(code_ == ESOp::TRUE_), limit);
            ++pc;
            break;
        case ESOp::UNDEFINED:
            push(*this, ESValue::undefined(), limit);
            ++pc;
            break;
        case ESOp::THIS:
            push(*this, ESValue::fromObject(thisObject), limit);
            ++pc;
            break;
        case ESOp::STR:
            push(*this, ESValue::fromAtom(atomAt(pc + 1)), limit);
            pc += 3;
            break;
        case ESOp::NEW:
        case ESOp::NEWA: {
            const int count = code_ == ESOp::NEWA ? int(operand(pc + 1)) : 0;
            const ESValue function = accumulator;
            if (!function.isObject() || !function.object || !function.object->constructInfo)
                throwTypeError(QStringLiteral("new must be given a constructor object"));
            ESObject *made = constructObject(function.object, count, stack + stackPointer - count);
            dropTo(stackPointer - count);
            accumulator = ESValue::fromObject(made);
            pc += code_ == ESOp::NEWA ? 3 : 1;
            break;
        }
        case ESOp::DROP:
            pop(*this);
            ++pc;
            break;
        case ESOp::DUP:
            push(*this, accumulator, limit);
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
        case ESOp::NEXT: {
            if (!accumulator.isObject() || !accumulator.object)
                fatal(QStringLiteral("tos isn't a property object"));
            ESObject *list = accumulator.object;
            const double index = toNumber(get(list, atoms.index));
            const double count = toNumber(get(list, atoms.length));
            if (index < count) {
                put(list, atoms.index, ESValue::fromNumber(index + 1));
                accumulator = get(list, atomForIndex(unsigned(index)));
                pc = int(operand(pc + 1));
            } else {
                pop(*this);
                pc += 3;
            }
            break;
        }
        case ESOp::CLOSURE:
            push(*this, ESValue::fromObject(makeClosure(operand(pc + 1))), limit);
            pc += 3;
            break;
        case ESOp::MKARRAY: {
            const int count = int(operand(pc + 1));
            push(*this, accumulator, limit);
            ESObject *array = newObject(arrayPrototype, arrayClass.get());
            put(array, atoms.length, ESValue::fromNumber(0));
            accumulator = ESValue::fromObject(array);
            for (int i = count - 1; i >= 0; --i)
                put(array, atomForIndex(unsigned(i)), std::move(stack[--stackPointer]));
            pc += 3;
            break;
        }
        case ESOp::NEWOBJ:
            push(*this, ESValue::fromObject(newObject(objectPrototype, objectClass.get())), limit);
            ++pc;
            break;
        case ESOp::WITH: {
            ESObject *object = toObject(accumulator);
            scope = newObject(scope, objectClass.get(), ESValue::fromObject(object));
            pop(*this);
            ++pc;
            break;
        }
        case ESOp::ENDWITH:
            if (scope)
                scope = scope->prototype;
            ++pc;
            break;
        case ESOp::INITF: {
            const ESValue value = accumulator;
            pop(*this);
            put(memberObject(*this, accumulator), atomAt(pc + 1), value);
            pc += 3;
            break;
        }
        case ESOp::CALLW: case ESOp::CALLF: case ESOp::CALLG: case ESOp::CALLA: case ESOp::CALLAM:
        case ESOp::CALLL: case ESOp::CALLLM: case ESOp::CALLX: {
            int count = 0;
            ESValue self = ESValue::fromObject(globalObject);
            switch (code_) {
            case ESOp::CALLW: {
                ESValue function;
                self = ESValue::fromObject(lookupName(atomAt(pc + 1), function));
                push(*this, function, limit);
                break;
            }
            case ESOp::CALLF:
                self = std::move(accumulator);
                accumulator = methodOf(self, atomAt(pc + 1));
                break;
            case ESOp::CALLG:
                push(*this, globalObject->properties[operand(pc + 1)].value, limit);
                break;
            case ESOp::CALLA:
                push(*this, frameArguments[operand(pc + 1)], limit);
                break;
            case ESOp::CALLAM:
                push(*this, activationObject->properties[operand(pc + 1)].value, limit);
                break;
            case ESOp::CALLL:
                push(*this, frameArguments[frameArgumentCount + int(operand(pc + 1))], limit);
                break;
            case ESOp::CALLLM:
                push(*this, activationObject->properties[std::size_t(frameArgumentCount) + operand(pc + 1)].value,
                     limit);
                break;
            default: {
                const ESValue key = accumulator;
                pop(*this);
                self = std::move(accumulator);
                accumulator = methodOf(self, valueToAtom(key));
                count = int(operand(pc + 1));
                break;
            }
            }
            if (code_ != ESOp::CALLX)
                count = int(operand(pc + 3));
            if (!isCallable(accumulator))
                throwTypeError(QStringLiteral("not a function object"));
            invoke(accumulator.object, std::move(self), count);
            pc += code_ == ESOp::CALLX ? 3 : 5;
            break;
        }
        case ESOp::GETW: {
            ESValue value;
            lookupName(atomAt(pc + 1), value);
            push(*this, value, limit);
            pc += 3;
            break;
        }
        case ESOp::GETF:
            accumulator = memberOf(accumulator, atomAt(pc + 1));
            pc += 3;
            break;
        case ESOp::GETG:
            push(*this, globalObject->properties[operand(pc + 1)].value, limit);
            pc += 3;
            break;
        case ESOp::GETA:
            push(*this, frameArguments[operand(pc + 1)], limit);
            pc += 3;
            break;
        case ESOp::GETL:
            push(*this, frameArguments[frameArgumentCount + int(operand(pc + 1))], limit);
            pc += 3;
            break;
        case ESOp::GETAM:
            push(*this, activationObject->properties[operand(pc + 1)].value, limit);
            pc += 3;
            break;
        case ESOp::GETLM:
            push(*this, activationObject->properties[std::size_t(frameArgumentCount) + operand(pc + 1)].value,
                 limit);
            pc += 3;
            break;
        case ESOp::GETX: {
            scratch = std::move(stack[--stackPointer]);
            ESAtom *const key = valueToAtom(accumulator);
            accumulator = memberOf(scratch, key);
            ++pc;
            break;
        }
        case ESOp::PUTW:
            storeName(atomAt(pc + 1), accumulator);
            pop(*this);
            pc += 3;
            break;
        case ESOp::PUTF: {
            // The value in TOS, the object below it.
            scratch = accumulator;
            pop(*this);
            put(memberObject(*this, accumulator), atomAt(pc + 1), scratch);
            pop(*this);
            pc += 3;
            break;
        }
        case ESOp::PUTG:
            globalObject->properties[operand(pc + 1)].value = accumulator;
            pop(*this);
            pc += 3;
            break;
        case ESOp::PUTA:
            frameArguments[operand(pc + 1)] = accumulator;
            pop(*this);
            pc += 3;
            break;
        case ESOp::PUTL:
            frameArguments[frameArgumentCount + int(operand(pc + 1))] = accumulator;
            pop(*this);
            pc += 3;
            break;
        case ESOp::PUTAM:
            activationObject->properties[operand(pc + 1)].value = accumulator;
            pop(*this);
            pc += 3;
            break;
        case ESOp::PUTLM:
            activationObject->properties[std::size_t(frameArgumentCount) + operand(pc + 1)].value = accumulator;
            pop(*this);
            pc += 3;
            break;
        case ESOp::PUTX: {
            const ESValue key = accumulator;
            ESObject *object = memberObject(*this, stack[stackPointer - 1]);
            const ESValue value = stack[stackPointer - 2];
            put(object, valueToAtom(key), value);
            dropTo(stackPointer - 2);
            pop(*this);
            ++pc;
            break;
        }
        case ESOp::ADD: {
            scratch = std::move(stack[--stackPointer]);
            if (scratch.tag == ESTag::Number && accumulator.tag == ESTag::Number)
                accumulator.number = scratch.number + accumulator.number;
            else
                accumulator = add(*this, scratch, accumulator);
            ++pc;
            break;
        }
        case ESOp::SUB: case ESOp::MUL: case ESOp::DIV: case ESOp::MOD: case ESOp::BITAND:
        case ESOp::BITOR: case ESOp::BITXOR: case ESOp::SHL: case ESOp::SHR: case ESOp::USHR: {
            scratch = std::move(stack[--stackPointer]);
            if (scratch.tag == ESTag::Number && accumulator.tag == ESTag::Number) {
                if (code_ == ESOp::SUB) {
                    accumulator.number = scratch.number - accumulator.number;
                    ++pc;
                    break;
                }
                if (code_ == ESOp::MUL) {
                    accumulator.number = scratch.number * accumulator.number;
                    ++pc;
                    break;
                }
            }
            accumulator = arithmetic(*this, code_, scratch, accumulator);
            ++pc;
            break;
        }
        case ESOp::ADDX: case ESOp::SUBX: case ESOp::MULX: case ESOp::DIVX: case ESOp::MODX:
        case ESOp::BITANDX: case ESOp::BITORX: case ESOp::BITXORX: {
            const ESValue key = accumulator;
            const ESValue holder = std::move(stack[--stackPointer]);
            ESObject *object = memberObject(*this, holder);
            ESAtom *atom = valueToAtom(key);
            const ESValue old = get(object, atom);
            const ESValue right = std::move(stack[--stackPointer]);
            accumulator = arithmetic(*this, ESOp(int(code_) - 1), old, right);
            put(object, atom, accumulator);
            ++pc;
            break;
        }
        case ESOp::INCG: case ESOp::DECG: {
            ESValue &slot = globalObject->properties[operand(pc + 1)].value;
            slot = ESValue::fromNumber(toNumber(slot) + (code_ == ESOp::INCG ? 1 : -1));
            pc += 3;
            break;
        }
        case ESOp::INCA: case ESOp::DECA: {
            ESValue &slot = frameArguments[operand(pc + 1)];
            slot = ESValue::fromNumber(toNumber(slot) + (code_ == ESOp::INCA ? 1 : -1));
            pc += 3;
            break;
        }
        case ESOp::INCL: case ESOp::DECL: {
            ESValue &slot = frameArguments[frameArgumentCount + int(operand(pc + 1))];
            if (slot.tag == ESTag::Number)
                slot.number += code_ == ESOp::INCL ? 1 : -1;
            else
                slot = ESValue::fromNumber(toNumber(slot) + (code_ == ESOp::INCL ? 1 : -1));
            pc += 3;
            break;
        }
        case ESOp::PREINCX: case ESOp::POSTINCX: case ESOp::PREDECX: case ESOp::POSTDECX: {
            // The key is taken as a scope-chain name; an object below it stays on the stack.
            ESAtom *name = valueToAtom(accumulator);
            ESValue value;
            lookupName(name, value);
            const double step = code_ == ESOp::PREINCX || code_ == ESOp::POSTINCX ? 1 : -1;
            const double changed = toNumber(value) + step;
            storeName(name, ESValue::fromNumber(changed));
            const bool prefix = code_ == ESOp::PREINCX || code_ == ESOp::PREDECX;
            accumulator = ESValue::fromNumber(prefix ? changed : changed - step);
            ++pc;
            break;
        }
        case ESOp::DELETEW:
            push(*this, ESValue::boolean(deleteName(atomAt(pc + 1))), limit);
            pc += 3;
            break;
        case ESOp::DELETEX: {
            const ESValue key = accumulator;
            const ESValue holder = std::move(stack[--stackPointer]);
            ESObject *object = memberObject(*this, holder);
            accumulator = ESValue::boolean(deleteOwn(object, valueToAtom(key)));
            ++pc;
            break;
        }
        case ESOp::LT: case ESOp::LE:
            scratch = std::move(stack[--stackPointer]);
            if (scratch.tag == ESTag::Number && accumulator.tag == ESTag::Number
                && !std::isnan(scratch.number) && !std::isnan(accumulator.number))
                accumulator = ESValue::boolean(code_ == ESOp::LE ? scratch.number <= accumulator.number
                                                                 : scratch.number < accumulator.number);
            else
                accumulator = compare(*this, scratch, accumulator, code_ == ESOp::LE);
            ++pc;
            break;
        case ESOp::EQ: case ESOp::NE: {
            scratch = std::move(stack[--stackPointer]);
            const bool equal = equals(*this, scratch, accumulator);
            accumulator = ESValue::boolean(code_ == ESOp::EQ ? equal : !equal);
            ++pc;
            break;
        }
        case ESOp::IDENTITY: case ESOp::NOTIDENTITY: {
            scratch = std::move(stack[--stackPointer]);
            const bool same = identical(*this, scratch, accumulator);
            accumulator = ESValue::boolean(code_ == ESOp::IDENTITY ? same : !same);
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
        case ESOp::LOGOR: {
            const bool truth = toBoolean(accumulator);
            if (truth == (code_ == ESOp::LOGOR)) {
                pc = int(operand(pc + 1));
            } else {
                pop(*this);
                pc += 3;
            }
            break;
        }
        case ESOp::J:
            pc = int(operand(pc + 1));
            break;
        case ESOp::JT:
        case ESOp::JF: {
            const bool truth = accumulator.tag == ESTag::Boolean ? accumulator.number != 0.0
                                                                 : toBoolean(accumulator);
            pop(*this);
            jumpOrNext(truth == (code_ == ESOp::JT), 3);
            break;
        }
        case ESOp::JT_DROP:
            if (toBoolean(accumulator)) {
                pop(*this);
                pop(*this);
                pc = int(operand(pc + 1));
            } else {
                pop(*this);
                pc += 3;
            }
            break;
        case ESOp::JLT: {
            const ESValue right = accumulator;
            const ESValue left = std::move(stack[--stackPointer]);
            pop(*this);
            bool less = false;
            if (left.tag == ESTag::Number && right.tag == ESTag::Number)
                less = left.number < right.number;
            else
                less = compare(*this, left, right, false).isTrue();
            jumpOrNext(less, 3);
            break;
        }
        case ESOp::RET:
            return;
        case ESOp::RETU:
            push(*this, ESValue::undefined(), limit);
            return;
        default:
            illegalInstruction(code, pc);
        }
    }
}
