#pragma once
#include "script/es/ESCompilerContext.h"
#include "script/es/ESLexer.h"
#include "script/es/ESNode.h"
#include <QString>
#include <memory>
#include <vector>

class ESAtom;
class ESCode;
class ESContext;
struct ESObject;

// Turns source text into bytecode: reads it through an ESLexer into a tree of ESNode by
// recursive descent, then hands every function and the script to an ESCodeGenerator. Syntax
// errors are thrown as SyntaxError objects; a code size beyond what a jump operand can hold is
// a fatal error. Lives for one compilation.
class ESParser {
public:
    explicit ESParser(ESContext &context);
    ~ESParser();
    ESParser(const ESParser &) = delete;
    ESParser &operator=(const ESParser &) = delete;

    void setSource(const QString &text) { m_lexer.setSource(text); }
    // When set, every finished code object is appended here in the listing format.
    void setListing(QString *listing) { m_listing = listing; }
    // The script's code; its global variables and functions are defined on the way.
    [[nodiscard]] std::unique_ptr<ESCode> compileProgram();
    // For the Function constructor: a function object named "anonymous".
    [[nodiscard]] ESObject *compileFunction(const QString &parameterText, const QString &bodyText);

private:
    int next() { return m_lexer.next(); }
    int peek() { return m_lexer.peek(); }
    [[noreturn]] void syntaxError(const QString &message, int line = 0);
    void expect(int token);
    void semicolon();
    ESNode *node(int kind, ESNode *a = nullptr, ESNode *b = nullptr, ESNode *c = nullptr,
                 ESNode *d = nullptr);
    ESNode *parseStatementList(int terminator);
    ESNode *parseStatement();
    ESNode *parseHead(int kind);
    ESNode *parseGoverned(int kind);
    ESNode *parseDo();
    ESNode *parseReturn();
    ESNode *parseLabelOrExpression();
    ESNode *parseVarList(int *count);
    ESNode *parseIf();
    ESNode *parseFor();
    ESNode *parseSwitch();
    ESNode *parseTry();
    ESNode *parseJump(int kind);
    ESNode *parseFunction(bool declaration);
    void parseParameters(int terminator);
    ESNode *parseExpression();
    ESNode *parseAssignment();
    ESNode *parseConditional();
    ESNode *parseBinary(int level);
    ESNode *parseUnary();
    ESNode *parsePostfix();
    ESNode *parseMemberChain(bool allowCalls);
    ESNode *parseNew();
    ESNode *parseArguments(ESNode *call);
    ESNode *parsePrimary();
    ESNode *parseArrayLiteral();
    ESNode *parseObjectLiteral();
    ESNode *numberNode(double value);
    void declareVariable(ESAtom *atom, std::uint32_t flags)
    {
        m_compiler.declareVariable(m_function, atom, flags);
    }
    void enterNesting();
    void leaveNesting() { --m_depth; }
    void generatePending();

    ESCompilerContext m_compiler;
    ESLexer m_lexer;
    std::vector<std::unique_ptr<ESNode>> m_nodes;
    std::vector<ESNode *> m_pending;   // finished functions, innermost first
    ESNode *m_script = nullptr;        // the top-level "function"
    ESNode *m_function = nullptr;      // the function being parsed
    int m_depth = 0;
    QString *m_listing = nullptr;
};
