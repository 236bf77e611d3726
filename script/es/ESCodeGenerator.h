#pragma once
#include "script/es/ESNode.h"
#include <QString>
#include <vector>

class ESAtom;
class ESCode;
class ESCompilerContext;

// Walks the parser's tree and emits bytecode into each function node's code object: a
// function in up to two passes (the second when the first finds its names must live in an
// activation object), the script in one. Nesting too deep for the native stack and a misplaced
// break, continue or assignment target are SyntaxErrors at the node's line.
class ESCodeGenerator {
public:
    // With a listing, every finished code object is appended to it.
    ESCodeGenerator(ESCompilerContext &compiler, QString *listing)
        : m_compiler(compiler), m_listing(listing)
    {
    }

    void generateFunction(ESNode *function);
    // The script's code ends with the value of its last expression statement.
    void generateScript(ESNode *script);

private:
    enum class NameCase { Global, Argument, Local, Dynamic };
    struct Resolution {
        NameCase nameCase;
        int index;
    };

    [[noreturn]] void syntaxError(const QString &message, int line);
    void generateBody(ESNode *function);
    void generateStatement(ESNode *statement);
    void generateList(ESNode *list, bool lastWanted = false);
    void generateIf(ESNode *statement);
    void generateWith(ESNode *statement);
    void generateReturn(ESNode *statement);
    void generateLabel(ESNode *statement);
    void generateLoop(ESNode *statement);
    void generateFor(ESNode *statement);
    void generateForIn(ESNode *statement);
    void generateSwitch(ESNode *statement);
    void generateJump(ESNode *statement);
    void generateExpression(ESNode *expression, bool wanted);
    bool generateEffect(ESNode *expression, bool wanted);
    bool generateLiteral(ESNode *expression);
    void generateOperation(ESNode *expression);
    void generateCall(ESNode *call, bool wanted);
    void generateAssignment(ESNode *assignment, bool wanted);
    void generateIncrement(ESNode *expression, bool wanted);
    void generateDelete(ESNode *expression, bool wanted);
    void generateGet(ESAtom *atom);
    void generatePut(ESAtom *atom);
    void emitGet(ESAtom *atom);
    void emitPut(ESAtom *atom);
    void generateStore(ESNode *target, bool lhsMessage = true);
    void generateMemberStore(ESNode *target, ESNode *value, bool wanted);
    bool hasSideEffects(const ESNode *expression);
    Resolution resolve(ESAtom *atom);
    void noteName(ESAtom *atom);
    void markActivation(ESNode *function);
    ESAtom *hiddenVariable();
    ESAtom *hiddenTemporary();
    ESAtom *declareHidden(const QString &name);
    void emitCode(int op);
    void emitCode(int op, unsigned operand);
    void emitCode(int op, unsigned operand, unsigned count);
    void emitOperand(unsigned operand);
    void emitJump(int op, int &chain);
    void emitJumpTo(int op, int target);
    void patch(int chain, int target);
    void appendListing(const ESCode &code, const QString &title);

    ESCompilerContext &m_compiler;
    QString *m_listing;
    ESNode *m_function = nullptr;   // the function being generated
    ESCode *m_code = nullptr;       // its code
    int m_generateLine = 0;
    int m_withDepth = 0;
    std::vector<ESNode *> m_statements;   // the enclosing loops, switches and labels
};
