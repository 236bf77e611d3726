#pragma once
#include <QHash>
#include <QString>
#include <cstdint>
#include <memory>

class ESAtom;
class ESCode;
class ESContext;
struct ESNode;
struct ESObject;
struct ESWellKnownAtoms;

// All the compiler asks of the context it compiles for: names as atoms, the script's global
// slots, a home for each code object, the syntax error and the native stack check. The lexer,
// the parser and the code generator reach the context through this alone. Lives for one
// compilation, so the slots it has looked up are remembered only that long.
class ESCompilerContext {
public:
    explicit ESCompilerContext(ESContext &context) : m_context(context) {}

    ESAtom *intern(const QString &text);
    // The atom of a number used as a property name: 1 is "1", 0.5 is "0.5".
    ESAtom *numberAtom(double number);
    const ESWellKnownAtoms &names() const;

    // Keeps `code` in the context for as long as the context lives; the index is CLOSURE's
    // operand.
    int addCode(std::unique_ptr<ESCode> code);
    // A function object of the code at `codeIndex` whose scope is the global one.
    ESObject *globalClosure(int codeIndex);
    QString listing(const ESCode &code) const;

    // The name's slot in the global object's vector, appended (undefined) when the name is
    // new. Slots never move, so code may address globals by index.
    int globalSlot(ESAtom *atom);
    // Declares a name in `function`; a name of the script (the function node without a parent)
    // is a global slot. Declaring a name twice keeps the first declaration.
    void declareVariable(ESNode *function, ESAtom *atom, std::uint32_t flags);
    // Adds a parameter after those `function` already has.
    void declareParameter(ESNode *function, ESAtom *atom);

    // Throws a SyntaxError object at `line` of the text being compiled.
    [[noreturn]] void syntaxError(int line, const QString &message);
    // True when a recursive step of the compiler should refuse to go deeper.
    bool nativeStackLow() const;

private:
    ESContext &m_context;
    QHash<ESAtom *, int> m_globalSlots;
};
