#pragma once
#include "script/es/ESNode.h"
#include <QHash>
#include <QString>
#include <memory>
#include <vector>

class ESAtom;
class ESCode;
class ESContext;
struct ESObject;

// Turns source text into bytecode: a hand-written lexer, a recursive-descent parser that
// builds a tree of ESNode, and a generator that walks the tree in up to two passes per
// function. Syntax errors are thrown as SyntaxError objects; a code size beyond what a jump
// operand can hold is a fatal error. Lives for one compilation.
class ESParser {
public:
    explicit ESParser(ESContext &context);
    ~ESParser();
    ESParser(const ESParser &) = delete;
    ESParser &operator=(const ESParser &) = delete;

    void setSource(const QString &text);
    // When set, every finished code object is appended here in the listing format.
    void setListing(QString *listing) { m_listing = listing; }
    // The script's code; its global variables and functions are defined on the way.
    [[nodiscard]] std::unique_ptr<ESCode> compileProgram();
    // For the Function constructor: a function object named "anonymous".
    [[nodiscard]] ESObject *compileFunction(const QString &parameterText, const QString &bodyText);

    static QString tokenName(int token);

private:
    struct Token {
        int type = ESToken::End;
        ESAtom *atom = nullptr;
        double number = 0;
        int line = 1;
        bool newlineBefore = false;
    };
    enum class NameCase { Global, Argument, Local, Dynamic };
    struct Resolution {
        NameCase nameCase;
        int index;
    };
    struct StatementEntry {
        ESNode *node;
    };

    // Lexer (ESLexer.cpp).
    int next();
    int peek();
    void lex(Token &token);
    bool skipBlanksAndComments(Token &token);
    void lexString(Token &token, QChar quote);
    void lexNumber(Token &token);
    void lexIdentifier(Token &token);
    bool lexOperator(Token &token, QChar c);
    bool colonFollows() const;

    // Parser (ESParser.cpp).
    [[noreturn]] void syntaxError(const QString &message, int line = 0);
    void expect(int token);
    void semicolon();
    ESNode *node(int kind, ESNode *a = nullptr, ESNode *b = nullptr, ESNode *c = nullptr,
                 ESNode *d = nullptr);
    ESNode *parseStatementList(int terminator);
    ESNode *parseStatement();
    ESNode *parseVarList(int *count);
    ESNode *parseIf();
    ESNode *parseFor();
    ESNode *parseSwitch();
    ESNode *parseTry();
    ESNode *parseJump(int kind);
    ESNode *parseFunction(bool declaration);
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
    void declareVariable(ESAtom *atom, std::uint32_t flags);
    void declareParameter(ESAtom *atom);
    void enterNesting();
    void leaveNesting() { --m_depth; }

    // Generator (ESCodeGenerator.cpp).
    void generateFunction(ESNode *function);
    void generateBody(ESNode *function);
    void generateStatement(ESNode *statement);
    void generateList(ESNode *list, bool lastWanted = false);
    void generateLoop(ESNode *statement);
    void generateFor(ESNode *statement);
    void generateForIn(ESNode *statement);
    void generateSwitch(ESNode *statement);
    void generateJump(ESNode *statement);
    void generateExpression(ESNode *expression, bool wanted);
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
    int globalSlot(ESAtom *atom);
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

    ESContext &m_context;
    QString m_text;
    qsizetype m_pos = 0;
    int m_line = 1;
    Token m_current;
    Token m_peek;
    bool m_hasPeek = false;
    QHash<QString, int> m_keywords;

    std::vector<std::unique_ptr<ESNode>> m_nodes;
    std::vector<ESNode *> m_pending;   // finished functions, innermost first
    ESNode *m_script = nullptr;        // the top-level "function"
    ESNode *m_function = nullptr;      // the function being parsed or generated
    int m_depth = 0;

    ESCode *m_code = nullptr;          // the code being generated
    int m_generateLine = 0;
    int m_withDepth = 0;
    std::vector<StatementEntry> m_statements;
    QHash<ESAtom *, int> m_globalSlots;
    QString *m_listing = nullptr;
};
