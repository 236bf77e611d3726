#pragma once
#include "script/es/ESValue.h"
#include <QString>

class ESAtom;
class ESContext;
struct ESObject;

// The table of operations that gives an object its behaviour; one instance per class per
// context. The slot order of the virtual operations is part of the engine's contract.
class ESClass {
public:
    explicit ESClass(QString name) : name(std::move(name)) {}
    virtual ~ESClass();
    ESClass(const ESClass &) = delete;
    ESClass &operator=(const ESClass &) = delete;

    // Reads `atom` along the prototype chain, comparing keys by pointer; undefined at the end.
    virtual ESValue get(ESContext &context, ESObject *object, ESAtom *atom);
    // Writes the object's own vector: overwrites a found slot unless it is ReadOnly, otherwise
    // appends with flags 0. Deleted slots are never reused.
    virtual void put(ESContext &context, ESObject *object, ESAtom *atom, ESValue value);
    // Query slots no class overrides; they answer 0.
    virtual int queryFirst(ESContext &context, ESObject *object, ESAtom *atom);
    virtual int querySecond(ESContext &context, ESObject *object, ESAtom *atom);
    virtual int queryThird(ESContext &context, ESObject *object, ESAtom *atom);
    // A slot no class overrides; it answers undefined.
    virtual void defaultResult(ESContext &context, ESObject *object, ESValue &result);
    // Writes its result into arguments[0]; the default writes undefined.
    virtual void call(ESContext &context, ESObject *function, ESValue thisValue, int argumentCount,
                      ESValue *arguments);
    // Returns the new object, or null to ask for the generic path.
    virtual ESObject *construct(ESContext &context, ESObject *function, int argumentCount,
                                ESValue *arguments);
    // Makes the object a host class exposes under `name` in the global object.
    virtual ESObject *installGlobal(ESContext &context);

    static ESValue defaultGet(const ESObject *object, const ESAtom *atom);
    static void defaultPut(ESObject *object, ESAtom *atom, ESValue value);

    const QString name;
    // True for a class whose get and put are the defaults: the interpreter may then read and
    // write an instance's own slots directly. Set by the context for the classes it knows.
    bool plainProperties = false;
};

// The class of the objects that hold a function's arguments and locals when the function's
// names are visible to closures or `with`.
class ESActivation : public ESClass {
public:
    ESActivation() : ESClass(QStringLiteral("activation")) {}
};
