#pragma once
#include "script/es/ESAtom.h"
#include "script/es/ESCode.h"
#include "script/es/ESException.h"
#include "script/es/ESObject.h"
#include "script/es/ESValue.h"
#include <QByteArray>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <vector>

class ESClass;
class ESActivation;
class ESNativeArray;
class ESNativeBoolean;
class ESNativeDate;
class ESNativeError;
class ESNativeFunction;
class ESNativeGlobal;
class ESNativeMath;
class ESNativeNumber;
class ESNativeObject;
class ESNativeString;

// Hints of toPrimitive.
namespace ESHint {
constexpr int Number = 3;
constexpr int String = 4;
constexpr int Default = 6;
} // namespace ESHint

// Bounds that keep a hostile script from exhausting the process. The defaults suit scripts; a
// fuzzer lowers them.
struct ESLimits {
    std::int32_t stackEntries = 0x100000;   // 1,048,576 values, 16 MiB
    qsizetype textLength = qsizetype(1) << 27;   // the longest string built at run time
    double walkLength = double(1 << 22);   // elements an Array method walks over
    qsizetype splitParts = qsizetype(1) << 22;   // parts of one String.prototype.split
};

// One script session: the value stack and machine registers, the object pool, one instance of
// every native class and the compiled functions. Non-copyable; a context belongs to the thread
// that runs it. Objects made in it live until it is destroyed.
class ESContext {
public:
    // On: a subclass overrides shouldContinue and wants it polled before every instruction.
    enum class ContinuePolling { Off, On };

    explicit ESContext(ContinuePolling polling = ContinuePolling::Off, const ESLimits &limits = {});
    virtual ~ESContext();
    ESContext(const ESContext &) = delete;
    ESContext &operator=(const ESContext &) = delete;

    // Polled before every instruction when enabled; false stops the run at once.
    virtual bool shouldContinue();

    const ESLimits limits;

    // --- Machine state; the field order is the engine's contract.
    ESValue accumulator;   // top of the value stack, kept apart from `stack`
    ESValue scratch;
    ESValue *stack = nullptr;
    std::int32_t stackSize = 0;
    std::int32_t stackPointer = 0;   // index of the first free entry
    ESObject *scope = nullptr;       // head of the scope chain
    ESObject *objectPrototype = nullptr;
    ESObject *functionPrototype = nullptr;
    ESObject *stringPrototype = nullptr;
    ESObject *numberPrototype = nullptr;
    ESObject *booleanPrototype = nullptr;
    ESObject *arrayPrototype = nullptr;
    ESObject *datePrototype = nullptr;
    ESObject *globalObject = nullptr;
    ESObject *thisObject = nullptr;
    ESValue *frameArguments = nullptr;
    std::int32_t frameArgumentCount = 0;
    std::unique_ptr<ESNativeGlobal> globalClass;
    std::unique_ptr<ESNativeArray> arrayClass;
    std::unique_ptr<ESNativeFunction> functionClass;
    std::unique_ptr<ESNativeError> errorClass;
    std::unique_ptr<ESNativeError> evalErrorClass;
    std::unique_ptr<ESNativeNumber> numberClass;
    std::unique_ptr<ESNativeString> stringClass;
    std::unique_ptr<ESNativeBoolean> booleanClass;
    std::unique_ptr<ESNativeError> referenceErrorClass;
    std::unique_ptr<ESNativeError> rangeErrorClass;
    std::unique_ptr<ESNativeError> syntaxErrorClass;
    std::unique_ptr<ESNativeError> typeErrorClass;
    std::unique_ptr<ESNativeDate> dateClass;
    std::unique_ptr<ESNativeObject> objectClass;
    std::unique_ptr<ESNativeMath> mathClass;
    std::unique_ptr<ESActivation> activationClass;
    ESObject *allObjects = nullptr;
    ESObject *freeObjects = nullptr;
    // The source line of the instruction being run; see syncLine.
    std::uint32_t currentLine = 0;
    QString sourceText;
    QString fileName;
    std::vector<std::unique_ptr<ESCode>> codeObjects;   // CLOSURE's operand indexes this
    // The activation object of the running function, or null when its names live on the stack.
    ESObject *activationObject = nullptr;

    // --- Objects and names.
    ESObject *newObject(ESObject *prototype, ESClass *klass);
    ESObject *newObject(ESObject *prototype, ESClass *klass, ESFunctionInfo *functionInfo,
                        ESFunctionInfo *constructInfo);
    ESObject *newObject(ESObject *prototype, ESClass *klass, ESValue primitive);
    ESAtom *intern(const QString &text) { return m_atoms.intern(text); }
    ESAtom *atomForIndex(unsigned index) { return m_atoms.atomForIndex(index); }
    ESAtom *valueToAtom(const ESValue &value);
    // A plain string (tag 4) of `text`: what the engine makes of every text computed at run time.
    [[nodiscard]] static ESValue newString(QStringView text)
    {
        return ESValue::fromString(ESString::make(text));
    }
    // The characters of a string value of either tag; a view of a plain string lives until the
    // next append to it (see ESString).
    static QStringView textView(const ESValue &value)
    {
        return value.tag == ESTag::Atom ? QStringView(value.atom->text) : value.string->view();
    }
    const ESWellKnownAtoms &names() const { return m_atoms.names(); }

    ESValue get(ESObject *object, ESAtom *atom);
    void put(ESObject *object, ESAtom *atom, ESValue value);
    // `flags` is accepted and ignored: at run time no property is read-only, hidden or fixed.
    void defineProperty(ESObject *object, std::uint32_t flags, ESAtom *atom, ESValue value);
    ESObject *defineFunction(ESObject *holder, const ESNativeFunctionSpec &spec,
                             ESObject *prototype, ESClass *klass);
    ESObject *defineConstructor(const ESNativeFunctionSpec &spec, ESObject *prototypeObject,
                                ESClass *klass);

    // Scope-chain access; a name found nowhere reads as undefined from the global object.
    ESObject *lookupName(ESAtom *atom, ESValue &value);
    void storeName(ESAtom *atom, ESValue value);
    bool deleteName(ESAtom *atom);

    static bool hasOwn(const ESObject *object, const ESAtom *atom);
    static bool hasInChain(const ESObject *object, const ESAtom *atom);
    static bool isEnumerableOwn(const ESObject *object, const ESAtom *atom);
    static bool deleteOwn(ESObject *object, const ESAtom *atom);
    static bool isPrototypeIn(const ESObject *prototype, ESValue value);

    bool isString(const ESObject *object) const;
    bool isBoolean(const ESObject *object) const;
    bool isNumber(const ESObject *object) const;
    bool isDate(const ESObject *object) const;
    bool isArray(const ESObject *object) const;
    bool isFunction(const ESObject *object) const;
    static ESValue argument(int count, const ESValue *arguments, int index)
    {
        return index < count ? arguments[index] : ESValue::undefined();
    }

    // --- Arrays for host code: "length" is set first, then the elements by index.
    ESObject *newArray(int count, const ESValue *values);
    ESObject *newArray(const QByteArray &bytes);
    ESObject *newArray(std::span<const std::int32_t> elements);
    ESObject *newArray(std::span<const std::uint32_t> elements);
    ESObject *newArray(std::span<const std::uint16_t> elements);
    ESObject *newArray(const QStringList &texts);
    QByteArray arrayBytes(ESValue value);
    std::vector<std::uint16_t> arrayUint16(ESValue value);
    std::vector<std::uint32_t> arrayUint32(ESValue value);

    // --- Conversions, with this engine's departures from the standard (NaN is true, "" is NaN,
    // fractions print with six significant digits).
    bool toBoolean(ESValue value);
    double toNumber(ESValue value);
    static double toInteger(double number);
    static std::int32_t toInt32(double number);
    static std::uint32_t toUint32(double number);
    static std::uint16_t toUint16(double number) { return std::uint16_t(toInt32(number)); }
    static std::uint8_t toUint8(double number) { return std::uint8_t(toInt32(number)); }
    QString toESString(ESValue value, int radix = 10);
    static QString numberToString(double number, int radix = 10);
    ESValue toPrimitive(ESValue value, int hint);
    ESObject *toObject(ESValue value);
    ESValue typeOf(ESValue value);

    // --- Errors. Builds an instance of the error type with fileName, lineNumber and
    // sourceLine when known, and throws it as ESException.
    [[noreturn]] void throwError(ESObject *errorConstructor, const QString &message);
    [[noreturn]] void throwError(const QString &message);
    [[noreturn]] void throwTypeError(const QString &message);
    [[noreturn]] void throwRangeError(const QString &message);
    [[noreturn]] static void fatal(const QString &message);

    // --- Running code.
    void run(const ESCode &code);
    [[nodiscard]] ESCompletion evaluate(const QString &fileName, const QString &text);
    void callFunction(ESObject *function, ESValue thisValue, int argumentCount,
                      const ESValue *arguments, ESValue &result);
    ESObject *constructObject(ESObject *function, int argumentCount, const ESValue *arguments);
    // Raises the engine's fatal error when the native stack is nearly used up.
    void checkNativeStack() const;
    // Sets `currentLine` from the instruction the innermost run is at: the interpreter does not
    // store it at every step, errors ask for it.
    void syncLine();
    bool nativeStackLow() const;

private:
    friend class ESCompilerContext;
    // The code and instruction offset of a running `run`, for the line an error reports.
    struct RunFrame {
        const ESCode *code;
        const int *pc;
        RunFrame *outer;
    };
    RunFrame *m_runFrame = nullptr;
    // throwError at the line in `currentLine` as it stands (the compiler's own line).
    [[noreturn]] void raiseError(ESObject *errorConstructor, const QString &message);
    void createPrototypes();
    void initialiseClasses();
    void refillPool();
    void invoke(ESObject *function, ESValue thisValue, int argumentCount);
    void invokeScript(ESObject *function, ESValue thisValue, int argumentCount);
    void enterActivation(const ESCode &code, int argumentCount);
    ESObject *makeClosure(unsigned codeIndex);
    ESObject *enumerate(ESValue value);
    ESValue memberOf(const ESValue &value, ESAtom *atom);
    ESValue methodOf(ESValue &self, ESAtom *atom);
    // The interpreter loop and its steps (ESInterpreter.cpp).
    void push(const ESValue &value);
    void pushNumber(double number);
    void pop();
    ESObject *memberObject(const ESValue &value);
    ESValue cachedGet(ESObject *object, ESAtom *atom, std::uint32_t &hint);
    void cachedPut(ESObject *object, ESAtom *atom, ESValue &&value, std::uint32_t &hint);
    ESValue indexedGet(const ESValue &holder, const ESValue &key);
    void indexedPut(const ESValue &holder, const ESValue &key, ESValue &&value);
    void binarySlow(ESOp operation);
    void memberAssign(ESOp operation, std::uint32_t &hint);
    void nameIncrement(ESOp operation);
    void stepNumber(ESValue &slot, double step);
    ESValue callee(ESOp operation, const std::uint8_t *at, ESValue *locals);
    bool nextEnumerated();
    void makeArray(int count);
    [[noreturn]] void stackOverflow();
    void dropTo(std::int32_t pointer);
    [[noreturn]] void illegalInstruction(const ESCode &code, int pc);

    ESAtomTable &m_atoms;
    // Zero bits are an undefined value, so the stack comes from calloc: untouched pages cost nothing.
    std::unique_ptr<ESValue[], void (*)(void *)> m_stackStorage{nullptr, std::free};
    std::vector<std::unique_ptr<ESObject[]>> m_blocks;
    ESValue m_globalText;   // the tag-4 "[object global]"
    const char *m_nativeStackLimit = nullptr;
    const bool m_pollsContinue;
};
