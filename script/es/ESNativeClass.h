#pragma once
#include "script/es/ESClass.h"
#include "script/es/ESValue.h"
#include <QString>
#include <QStringList>
#include <memory>
#include <span>
#include <vector>

class ESContext;
struct ESObject;
struct ESProperty;

// One call of a native function: its result goes into arguments[0] (the first argument slot,
// which exists even when no argument was passed).
struct ESNativeCall {
    ESContext &context;
    ESObject *function;
    ESValue thisValue;   // undefined for a construction
    int argumentCount;
    ESValue *arguments;

    ESValue argument(int index) const
    {
        return index < argumentCount ? arguments[index] : ESValue::undefined();
    }
    void setResult(ESValue value) const { arguments[0] = value; }
};

using ESNativeCallHandler = void (*)(ESNativeCall &call);
// Returns the new object, or null to ask for the generic construction path.
using ESNativeConstructHandler = ESObject *(*)(ESNativeCall &call);

// Where a row's function is installed.
namespace ESNativeRowFlag {
constexpr int Method = 0;        // on the prototype
constexpr int Constructor = 1;   // in the global object, by defineConstructor
constexpr int Static = 2;        // on the constructor (or on the class's single object)
} // namespace ESNativeRowFlag

// One native function of a class: its spec and its handlers. A class's table is the switch
// on `builtinId`: ids index the table, and an id with no row fails as a bad signature.
struct ESNativeFunctionRow {
    const char *name;
    int length;
    int id;
    int flags;
    const char *help;
    ESNativeCallHandler call;             // null: the id cannot be called
    ESNativeConstructHandler construct;   // null: the id cannot be constructed
};

// Base of the native classes: `call` and `construct` dispatch on the function object's
// `builtinId` through the class's rows, and `installFunctions` puts the rows in place.
// A class is a table: one row per function (the constructor is id 0 with the Constructor flag,
// statics carry the Static flag, the rest go on the prototype), each with its handler. Adding a
// function is adding a row and its handler; an id without a row fails as a bad signature.
class ESNativeClass : public ESClass {
public:
    ESNativeClass(QString className, QString scriptName, std::span<const ESNativeFunctionRow> rows);
    void call(ESContext &context, ESObject *function, ESValue thisValue, int argumentCount,
              ESValue *arguments) override;
    ESObject *construct(ESContext &context, ESObject *function, int argumentCount,
                        ESValue *arguments) override;
    // Fills the class's prototype and constructor; run once (TypeError twice) per context.
    virtual void initialise(ESContext &context) = 0;

    const QString scriptName;   // the constructor's name in the global object

protected:
    // Installs every row: the constructor (returned, or null) in the global object, statics on
    // `staticHolder` or else on the constructor, methods on `prototype`.
    ESObject *installFunctions(ESContext &context, ESObject *prototype,
                               ESObject *staticHolder = nullptr);

private:
    const ESNativeFunctionRow *row(int id) const;

    std::span<const ESNativeFunctionRow> m_rows;
};

class ESNativeObject : public ESNativeClass {
public:
    ESNativeObject();
    void initialise(ESContext &context) override;
};

class ESNativeFunction : public ESNativeClass {
public:
    ESNativeFunction();
    void initialise(ESContext &context) override;
};

class ESNativeGlobal : public ESNativeClass {
public:
    ESNativeGlobal();
    void initialise(ESContext &context) override;
    QStringList searchDirectories;   // tried in order by `load`
};

class ESNativeArray : public ESNativeClass {
public:
    ESNativeArray();
    ~ESNativeArray() override;
    void initialise(ESContext &context) override;
    // Reads as the default does, but finds an element's slot without scanning the vector.
    ESValue get(ESContext &context, ESObject *object, ESAtom *atom) override;
    // Keeps "length" in step with the indices stored.
    void put(ESContext &context, ESObject *object, ESAtom *atom, ESValue value) override;
    // The object's own slot for `atom` (an Array instance), or null.
    ESProperty *findOwn(ESObject *object, const ESAtom *atom);
    // The same for an element whose index is known: `atom` must be the atom of `index`.
    ESProperty *findElement(ESObject *object, std::uint32_t index, const ESAtom *atom);
    // An element's own slot found by its index alone, or null when the index does not tell
    // (no such element, or a sparse array): then the caller takes the general path.
    ESProperty *ownElement(ESObject *object, std::uint32_t index);
    // The atom of an element index, remembered for the indices the library walks over.
    ESAtom *indexAtom(ESContext &context, double index);
    // A new Array of the values, built without searching for slots.
    ESObject *newArray(ESContext &context, const std::vector<ESValue> &values);

    struct SlotIndex;

private:
    // The element index a key names, or -1.
    static qint64 elementIndex(const ESAtom *key);
    void record(SlotIndex &index, std::size_t propertyCount, std::uint32_t position,
                const ESAtom *key);
    ESProperty *findIndexed(SlotIndex &index, ESObject *object, const ESAtom *atom);
    SlotIndex &slotIndex(ESObject *object);
    SlotIndex &newSlotIndex(ESObject *object);
    void append(ESObject *object, SlotIndex &index, ESAtom *atom, ESValue value);
    void truncate(ESObject *object, SlotIndex &index, double oldLength, double newLength);

    std::vector<std::unique_ptr<SlotIndex>> m_indices;   // ESObject::reserved - 1 indexes this
    std::vector<ESAtom *> m_indexAtoms;
};

class ESNativeString : public ESNativeClass {
public:
    ESNativeString();
    void initialise(ESContext &context) override;
    // "length" is the wrapped text's length, whatever the vector says; storing it does nothing.
    ESValue get(ESContext &context, ESObject *object, ESAtom *atom) override;
    void put(ESContext &context, ESObject *object, ESAtom *atom, ESValue value) override;
};

class ESNativeBoolean : public ESNativeClass {
public:
    ESNativeBoolean();
    void initialise(ESContext &context) override;
};

class ESNativeNumber : public ESNativeClass {
public:
    ESNativeNumber();
    void initialise(ESContext &context) override;
};

class ESNativeMath : public ESNativeClass {
public:
    ESNativeMath();
    void initialise(ESContext &context) override;
};

class ESNativeDate : public ESNativeClass {
public:
    ESNativeDate();
    void initialise(ESContext &context) override;
};

// The six error types share their functions and differ by name and prototype. Their class
// name is "Error" for all six.
class ESNativeError : public ESNativeClass {
public:
    explicit ESNativeError(QString typeName = QStringLiteral("Error"));
    void initialise(ESContext &context) override;
    // Called at the end of `initialise`.
    virtual void finishInitialise(ESContext &context);

    ESObject *prototypeObject = nullptr;
    ESObject *constructorObject = nullptr;
};

class ESNativeEvalError : public ESNativeError {
public:
    ESNativeEvalError() : ESNativeError(QStringLiteral("EvalError")) {}
};
class ESNativeRangeError : public ESNativeError {
public:
    ESNativeRangeError() : ESNativeError(QStringLiteral("RangeError")) {}
};
class ESNativeReferenceError : public ESNativeError {
public:
    ESNativeReferenceError() : ESNativeError(QStringLiteral("ReferenceError")) {}
};
class ESNativeSyntaxError : public ESNativeError {
public:
    ESNativeSyntaxError() : ESNativeError(QStringLiteral("SyntaxError")) {}
};
class ESNativeTypeError : public ESNativeError {
public:
    ESNativeTypeError() : ESNativeError(QStringLiteral("TypeError")) {}
};
