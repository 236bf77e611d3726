#include "script/es/ESContext.h"
#include "script/es/ESClass.h"
#include "script/es/ESNativeClass.h"
#include "script/es/ESParser.h"
#include <pthread.h>
#include <algorithm>

namespace {

// Entries beyond `stackSize` that the array really has: a native call writes its result into the
// first argument slot, which may be the entry just past the last one in use.
constexpr std::int32_t stackSlack = 16;
constexpr int poolBlock = 64;

// The lowest address the engine lets the native stack reach: a script recursion or a deeply
// nested source raises the fatal error while a safe margin of the thread's stack is left.
const char *nativeStackLimit()
{
    const char *here = static_cast<const char *>(__builtin_frame_address(0));
    pthread_attr_t attributes;
    void *address = nullptr;
    std::size_t size = 0;
    if (pthread_getattr_np(pthread_self(), &attributes) == 0) {
        pthread_attr_getstack(&attributes, &address, &size);
        pthread_attr_destroy(&attributes);
    }
    const char *low = static_cast<const char *>(address);
    constexpr std::size_t fallback = std::size_t(1) << 20;
    std::size_t usable = low && here > low ? std::size_t(here - low) : fallback;
    usable = std::min(usable, std::size_t(256) << 20);
    const std::size_t margin = std::max(std::size_t(256) << 10, usable / 4);
    return here - usable + margin;
}

} // namespace

ESFunctionInfo::~ESFunctionInfo() = default;

ESContext::ESContext(ContinuePolling polling, const ESLimits &limits)
    : limits(limits), m_atoms(ESAtomTable::instance()), m_pollsContinue(polling == ContinuePolling::On)
{
    objectClass = std::make_unique<ESNativeObject>();
    booleanClass = std::make_unique<ESNativeBoolean>();
    arrayClass = std::make_unique<ESNativeArray>();
    globalClass = std::make_unique<ESNativeGlobal>();
    errorClass = std::make_unique<ESNativeError>();
    rangeErrorClass = std::make_unique<ESNativeRangeError>();
    referenceErrorClass = std::make_unique<ESNativeReferenceError>();
    syntaxErrorClass = std::make_unique<ESNativeSyntaxError>();
    typeErrorClass = std::make_unique<ESNativeTypeError>();
    evalErrorClass = std::make_unique<ESNativeEvalError>();
    numberClass = std::make_unique<ESNativeNumber>();
    mathClass = std::make_unique<ESNativeMath>();
    stringClass = std::make_unique<ESNativeString>();
    functionClass = std::make_unique<ESNativeFunction>();
    dateClass = std::make_unique<ESNativeDate>();
    activationClass = std::make_unique<ESActivation>();

    // The classes whose get and put are the defaults; Array and String have their own.
    for (ESClass *klass : std::initializer_list<ESClass *>{
             objectClass.get(), booleanClass.get(), globalClass.get(), errorClass.get(),
             rangeErrorClass.get(), referenceErrorClass.get(), syntaxErrorClass.get(),
             typeErrorClass.get(), evalErrorClass.get(), numberClass.get(), mathClass.get(),
             functionClass.get(), dateClass.get(), activationClass.get()})
        klass->plainProperties = true;

    stackSize = std::max(limits.stackEntries, std::int32_t(64));
    m_stackStorage.reset(static_cast<ESValue *>(
        std::calloc(std::size_t(stackSize + stackSlack), sizeof(ESValue))));
    if (!m_stackStorage)
        fatal(QStringLiteral("virtual machine stack too small"));
    stack = m_stackStorage.get();
    m_nativeStackLimit = nativeStackLimit();

    const QString globalText = QStringLiteral("[object global]");
    m_globalText = newString(globalText);
    globalObject = newObject(nullptr, globalClass.get(), ESValue::fromAtom(intern(globalText)));
    thisObject = globalObject;
    createPrototypes();
    initialiseClasses();
}

void ESContext::createPrototypes()
{
    objectPrototype = newObject(nullptr, objectClass.get());
    functionPrototype = newObject(objectPrototype, functionClass.get());
    arrayPrototype = newObject(objectPrototype, arrayClass.get());
    stringPrototype = newObject(objectPrototype, stringClass.get());
    numberPrototype = newObject(objectPrototype, numberClass.get());
    booleanPrototype = newObject(objectPrototype, booleanClass.get());
    datePrototype = newObject(objectPrototype, dateClass.get());
    globalObject->prototype = objectPrototype;
}

void ESContext::initialiseClasses()
{
    // The second TypeError run is deliberate: it replaces the first constructor and prototype.
    ESNativeClass *const order[] = {
        objectClass.get(), booleanClass.get(), arrayClass.get(), globalClass.get(),
        errorClass.get(), rangeErrorClass.get(), referenceErrorClass.get(),
        syntaxErrorClass.get(), typeErrorClass.get(), evalErrorClass.get(), numberClass.get(),
        mathClass.get(), stringClass.get(), functionClass.get(), typeErrorClass.get(),
        dateClass.get()};
    for (ESNativeClass *klass : order)
        klass->initialise(*this);

    // Function.prototype is itself callable: a function record without code.
    auto info = std::make_unique<ESFunctionInfo>();
    functionPrototype->functionInfo = info.release();
    functionPrototype->primitive = ESValue::fromAtom(intern(QStringLiteral("Function.prototype")));
    put(functionPrototype, names().length, ESValue::fromNumber(0));
}

ESContext::~ESContext()
{
    // The stack comes from calloc: its entries in use are released by hand, those above the
    // stack pointer hold nothing counted.
    for (std::int32_t i = 0; i < stackPointer; ++i)
        stack[i] = ESValue();
    for (ESObject *object = allObjects; object; object = object->nextAllocated) {
        if (object->constructInfo != object->functionInfo)
            delete object->constructInfo;
        delete object->functionInfo;
    }
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

bool ESContext::shouldContinue()
{
    return true;
}

void ESContext::refillPool()
{
    auto block = std::make_unique<ESObject[]>(poolBlock);
    for (int i = 0; i < poolBlock; ++i) {
        ESObject *object = &block[i];
        object->nextFree = freeObjects;
        freeObjects = object;
        object->nextAllocated = allObjects;
        allObjects = object;
    }
    m_blocks.push_back(std::move(block));
}

ESObject *ESContext::newObject(ESObject *prototype, ESClass *klass)
{
    if (!freeObjects)
        refillPool();
    ESObject *object = freeObjects;
    freeObjects = object->nextFree;
    object->nextFree = nullptr;
    object->prototype = prototype;
    object->klass = klass;
    return object;
}

ESObject *ESContext::newObject(ESObject *prototype, ESClass *klass, ESFunctionInfo *functionInfo,
                               ESFunctionInfo *constructInfo)
{
    ESObject *object = newObject(prototype, klass);
    object->functionInfo = functionInfo;
    object->constructInfo = constructInfo;
    return object;
}

ESObject *ESContext::newObject(ESObject *prototype, ESClass *klass, ESValue primitive)
{
    ESObject *object = newObject(prototype, klass);
    object->primitive = primitive;
    return object;
}

ESValue ESContext::get(ESObject *object, ESAtom *atom)
{
    return object->klass->get(*this, object, atom);
}

void ESContext::put(ESObject *object, ESAtom *atom, ESValue value)
{
    object->klass->put(*this, object, atom, value);
}

void ESContext::defineProperty(ESObject *object, std::uint32_t, ESAtom *atom, ESValue value)
{
    object->klass->put(*this, object, atom, value);
}

ESObject *ESContext::defineFunction(ESObject *holder, const ESNativeFunctionSpec &spec,
                                    ESObject *prototype, ESClass *klass)
{
    auto info = std::make_unique<ESFunctionInfo>();
    info->parameterCount = spec.length;
    ESObject *function = newObject(prototype, klass);
    function->functionInfo = info.release();
    function->primitive = ESValue::fromAtom(spec.fullName);
    function->builtinId = spec.id;
    defineProperty(function, 0, names().length, ESValue::fromNumber(spec.length));
    defineProperty(holder, 0, spec.name, ESValue::fromObject(function));
    if (spec.help) {
        defineProperty(function, 0, intern(QStringLiteral("help")),
                       ESValue::fromAtom(intern(QString::fromUtf8(spec.help))));
    }
    return function;
}

ESObject *ESContext::defineConstructor(const ESNativeFunctionSpec &spec, ESObject *prototypeObject,
                                       ESClass *klass)
{
    ESObject *function = defineFunction(globalObject, spec, functionPrototype, klass);
    function->constructInfo = function->functionInfo;
    defineProperty(function, 0, names().prototype, ESValue::fromObject(prototypeObject));
    defineProperty(prototypeObject, 0, names().constructor, ESValue::fromObject(function));
    return function;
}

ESObject *ESContext::lookupName(ESAtom *atom, ESValue &value)
{
    value = ESValue::undefined();
    for (ESObject *node = scope; node; node = node->prototype) {
        ESObject *object = node->scopeObject();
        if (hasInChain(object, atom)) {
            value = object->klass->get(*this, object, atom);
            return object;
        }
    }
    value = globalObject->klass->get(*this, globalObject, atom);
    return globalObject;
}

void ESContext::storeName(ESAtom *atom, ESValue value)
{
    for (ESObject *node = scope; node; node = node->prototype) {
        ESObject *object = node->scopeObject();
        if (hasInChain(object, atom)) {
            object->klass->put(*this, object, atom, value);
            return;
        }
    }
    globalObject->klass->put(*this, globalObject, atom, value);
}

bool ESContext::deleteName(ESAtom *atom)
{
    for (ESObject *node = scope; node; node = node->prototype) {
        ESObject *object = node->scopeObject();
        if (hasInChain(object, atom))
            return deleteOwn(object, atom);
    }
    return false;
}

bool ESContext::hasOwn(const ESObject *object, const ESAtom *atom)
{
    for (const ESProperty &property : object->properties) {
        if (property.key == atom)
            return true;
    }
    return false;
}

bool ESContext::hasInChain(const ESObject *object, const ESAtom *atom)
{
    for (; object; object = object->prototype) {
        if (hasOwn(object, atom))
            return true;
    }
    return false;
}

bool ESContext::isEnumerableOwn(const ESObject *object, const ESAtom *atom)
{
    for (const ESProperty &property : object->properties) {
        if (property.key == atom)
            return !(property.flags & ESPropertyFlag::DontEnum);
    }
    return false;
}

bool ESContext::deleteOwn(ESObject *object, const ESAtom *atom)
{
    for (ESProperty &property : object->properties) {
        if (property.key != atom)
            continue;
        if (property.flags & ESPropertyFlag::DontDelete)
            return false;
        property = ESProperty{};
        return true;
    }
    return true;
}

bool ESContext::isPrototypeIn(const ESObject *prototype, ESValue value)
{
    if (!value.isObject() || !value.object)
        return false;
    for (const ESObject *object = value.object->prototype; object; object = object->prototype) {
        if (object == prototype)
            return true;
    }
    return false;
}

bool ESContext::isString(const ESObject *object) const
{
    return object->klass == stringClass.get();
}

bool ESContext::isBoolean(const ESObject *object) const
{
    return object->klass == booleanClass.get();
}

bool ESContext::isNumber(const ESObject *object) const
{
    return object->klass == numberClass.get();
}

bool ESContext::isDate(const ESObject *object) const
{
    return object->klass == dateClass.get();
}

bool ESContext::isArray(const ESObject *object) const
{
    return object->klass == arrayClass.get();
}

bool ESContext::isFunction(const ESObject *object) const
{
    return object->klass == functionClass.get();
}

void ESContext::syncLine()
{
    if (m_runFrame)
        currentLine = m_runFrame->code->lineTable[std::size_t(*m_runFrame->pc)];
}

void ESContext::throwError(ESObject *errorConstructor, const QString &message)
{
    syncLine();
    raiseError(errorConstructor, message);
}

void ESContext::raiseError(ESObject *errorConstructor, const QString &message)
{
    const QStringList lines = sourceText.split(QLatin1Char('\n'));
    const ESValue text = ESValue::fromAtom(intern(message));
    ESObject *error = constructObject(errorConstructor, 1, &text);
    if (!fileName.isEmpty())
        put(error, intern(QStringLiteral("fileName")), ESValue::fromAtom(intern(fileName)));
    if (currentLine != 0 && currentLine <= std::uint32_t(lines.size())) {
        put(error, intern(QStringLiteral("lineNumber")), ESValue::fromNumber(currentLine));
        put(error, intern(QStringLiteral("sourceLine")),
            ESValue::fromAtom(intern(lines.at(qsizetype(currentLine - 1)))));
    }
    throw ESException(ESValue::fromObject(error));
}

void ESContext::throwError(const QString &message)
{
    throwError(errorClass->constructorObject, message);
}

void ESContext::throwTypeError(const QString &message)
{
    throwError(typeErrorClass->constructorObject, message);
}

void ESContext::throwRangeError(const QString &message)
{
    throwError(rangeErrorClass->constructorObject, message);
}

void ESContext::fatal(const QString &message)
{
    throw ESFatalError(message);
}

bool ESContext::nativeStackLow() const
{
    return static_cast<const char *>(__builtin_frame_address(0)) < m_nativeStackLimit;
}

void ESContext::checkNativeStack() const
{
    if (nativeStackLow())
        fatal(QStringLiteral("virtual machine stack too small"));
}
