#include "script/es/ESParser.h"
#include "script/es/ESAtom.h"
#include "script/es/ESCode.h"
#include "script/es/ESCodeGenerator.h"
#include "script/es/ESObject.h"
#include <iterator>

namespace {

// Nesting beyond this depth (blocks, parentheses, operator chains) is refused with a
// SyntaxError, so neither the parser nor the generator can exhaust the native stack.
constexpr int maxNesting = 1000;

constexpr int assignmentOperators[] = {
    '=', ESToken::MulAssign, ESToken::DivAssign, ESToken::ModAssign, ESToken::AddAssign,
    ESToken::SubAssign, ESToken::ShlAssign, ESToken::ShrAssign, ESToken::UshrAssign,
    ESToken::AndAssign, ESToken::XorAssign, ESToken::OrAssign};

// Binary operator levels from low to high; all left-associative.
struct BinaryLevel {
    int operators[4];
};
constexpr BinaryLevel binaryLevels[] = {
    {{ESToken::OrOr}}, {{ESToken::AndAnd}}, {{'|'}}, {{'^'}}, {{'&'}},
    {{ESToken::Eq, ESToken::Ne}}, {{'<', '>', ESToken::Le, ESToken::Ge}},
    {{ESToken::Shl, ESToken::Shr, ESToken::Ushr}}, {{'+', '-'}}, {{'*', '/', '%'}},
};
constexpr int binaryLevelCount = int(std::size(binaryLevels));

bool isAssignmentOperator(int token)
{
    for (const int op : assignmentOperators) {
        if (op == token)
            return true;
    }
    return false;
}

bool onLevel(int level, int token)
{
    for (const int op : binaryLevels[level].operators) {
        if (op != 0 && op == token)
            return true;
    }
    return false;
}

// Appends to a chain of Sequence nodes kept by its head and tail.
struct Chain {
    ESNode *head = nullptr;
    ESNode *tail = nullptr;
    int count = 0;
};

} // namespace

ESParser::ESParser(ESContext &context) : m_compiler(context), m_lexer(m_compiler) {}

ESParser::~ESParser() = default;

std::unique_ptr<ESCode> ESParser::compileProgram()
{
    auto code = std::make_unique<ESCode>();
    m_script = node(ESToken::Function);
    m_script->code = code.get();
    m_function = m_script;
    m_script->children[0] = parseStatementList(ESToken::End);
    if (peek() != ESToken::End)
        expect(ESToken::End);
    generatePending();
    ESCodeGenerator(m_compiler, m_listing).generateScript(m_script);
    return code;
}

ESObject *ESParser::compileFunction(const QString &parameterText, const QString &bodyText)
{
    ESCode scriptCode;
    m_script = node(ESToken::Function);
    m_script->code = &scriptCode;
    ESNode *function = node(ESToken::Function);
    function->parentFunction = m_script;
    auto code = std::make_unique<ESCode>();
    function->code = code.get();
    function->functionIndex = m_compiler.addCode(std::move(code));
    m_function = function;

    setSource(parameterText);
    parseParameters(ESToken::End);
    expect(ESToken::End);
    setSource(bodyText);
    function->children[0] = parseStatementList(ESToken::End);
    expect(ESToken::End);
    m_pending.push_back(function);
    generatePending();

    ESObject *result = m_compiler.globalClosure(function->functionIndex);
    result->primitive = ESValue::fromAtom(m_compiler.intern(QStringLiteral("anonymous")));
    return result;
}

// Functions are generated once their whole body is read, innermost first.
void ESParser::generatePending()
{
    ESCodeGenerator generator(m_compiler, m_listing);
    for (ESNode *function : m_pending)
        generator.generateFunction(function);
    m_pending.clear();
}

void ESParser::syntaxError(const QString &message, int line)
{
    m_compiler.syntaxError(line > 0 ? line : m_lexer.line(), message);
}

void ESParser::expect(int token)
{
    const int found = next();
    if (found != token)
        syntaxError(QStringLiteral("expected ") + ESLexer::tokenName(token) + QStringLiteral(" found ")
                    + ESLexer::tokenName(found));
}

void ESParser::semicolon()
{
    const int token = peek();
    if (token == ';') {
        next();
        return;
    }
    if (token == '}' || token == ESToken::End || m_lexer.peeked().newlineBefore)
        return;
    expect(';');
}

void ESParser::enterNesting()
{
    if (++m_depth > maxNesting || m_compiler.nativeStackLow())
        syntaxError(QStringLiteral("expression or statement nested too deeply"));
}

ESNode *ESParser::node(int kind, ESNode *a, ESNode *b, ESNode *c, ESNode *d)
{
    m_nodes.push_back(std::make_unique<ESNode>());
    ESNode *made = m_nodes.back().get();
    made->kind = kind;
    made->children[0] = a;
    made->children[1] = b;
    made->children[2] = c;
    made->children[3] = d;
    made->line = m_lexer.current().line;
    return made;
}

namespace {

void append(Chain &chain, ESNode *sequence)
{
    if (chain.tail)
        chain.tail->children[1] = sequence;
    else
        chain.head = sequence;
    chain.tail = sequence;
    ++chain.count;
}

} // namespace

// A list runs its hoisted function assignments first, then its other statements.
ESNode *ESParser::parseStatementList(int terminator)
{
    Chain functions;
    Chain statements;
    ESNode *list = node(ESToken::List);
    while (peek() != terminator && peek() != ESToken::End) {
        if (peek() == ESToken::Function) {
            ESNode *assignment = parseFunction(true);
            append(functions, node(ESToken::Sequence, node(ESToken::ExpressionStatement, assignment)));
            continue;
        }
        if (ESNode *statement = parseStatement())
            append(statements, node(ESToken::Sequence, statement));
    }
    list->children[0] = functions.head;
    list->children[1] = statements.head;
    list->children[2] = statements.tail;
    return list;
}

ESNode *ESParser::parseStatement()
{
    enterNesting();
    ESNode *result = nullptr;
    switch (peek()) {
    case '{':
        next();
        result = parseStatementList('}');
        expect('}');
        break;
    case ';':
        next();
        break;
    case ESToken::Var: {
        next();
        int count = 0;
        result = parseVarList(&count);
        semicolon();
        break;
    }
    case ESToken::If:
        result = parseIf();
        break;
    case ESToken::While:
    case ESToken::With:
        result = parseGoverned(peek());
        break;
    case ESToken::Do:
        result = parseDo();
        break;
    case ESToken::For:
        result = parseFor();
        break;
    case ESToken::Break:
    case ESToken::Continue:
        result = parseJump(peek());
        break;
    case ESToken::Return:
        result = parseReturn();
        break;
    case ESToken::Switch:
        result = parseSwitch();
        break;
    case ESToken::Throw:
        // The value is checked and dropped: a script cannot raise anything.
        next();
        parseExpression();
        semicolon();
        break;
    case ESToken::Try:
        result = parseTry();
        break;
    default:
        result = parseLabelOrExpression();
        break;
    }
    leaveNesting();
    return result;
}

// A keyword and an expression in parentheses (`if`, `while`, `with`, `switch`): the node of
// the keyword with the expression as its first child.
ESNode *ESParser::parseHead(int kind)
{
    next();
    ESNode *result = node(kind);
    expect('(');
    result->children[0] = parseExpression();
    expect(')');
    return result;
}

// `while (test) body` and `with (object) body`: the head and the statement it governs.
ESNode *ESParser::parseGoverned(int kind)
{
    ESNode *result = parseHead(kind);
    result->children[1] = parseStatement();
    return result;
}

ESNode *ESParser::parseDo()
{
    next();
    ESNode *result = node(ESToken::Do);
    result->children[1] = parseStatement();
    expect(ESToken::While);
    expect('(');
    result->children[0] = parseExpression();
    expect(')');
    return result;
}

ESNode *ESParser::parseReturn()
{
    next();
    if (m_function == m_script)
        syntaxError(ESLexer::tokenName(ESToken::Return) + QStringLiteral(" not in a function"));
    ESNode *result = node(ESToken::Return);
    const int token = peek();
    if (token != ';' && token != '}' && !m_lexer.peeked().newlineBefore)
        result->children[0] = parseExpression();
    semicolon();
    return result;
}

// `name:` labels the statement after it; anything else is an expression statement.
ESNode *ESParser::parseLabelOrExpression()
{
    if (peek() == ESToken::Identifier && m_lexer.colonFollows()) {
        next();
        ESNode *result = node(ESToken::Label);
        result->atom = m_lexer.current().atom;
        expect(':');
        result->children[0] = parseStatement();
        return result;
    }
    ESNode *result = node(ESToken::ExpressionStatement, parseExpression());
    semicolon();
    return result;
}

// `var a = 1, b`: a chain of assignments (or bare names), each name declared on the way.
ESNode *ESParser::parseVarList(int *count)
{
    Chain chain;
    ESNode *list = node(ESToken::Var);
    for (;;) {
        expect(ESToken::Identifier);
        ESNode *name = node(ESToken::Identifier);
        name->atom = m_lexer.current().atom;
        declareVariable(name->atom, ESPropertyFlag::DontEnum | ESPropertyFlag::DontDelete);
        ESNode *item = name;
        if (peek() == '=') {
            next();
            item = node('=', name, parseAssignment());
        }
        append(chain, node(ESToken::Sequence, item));
        if (peek() != ',')
            break;
        next();
    }
    list->children[0] = chain.head;
    *count = chain.count;
    return list;
}

ESNode *ESParser::parseIf()
{
    ESNode *result = parseGoverned(ESToken::If);
    if (peek() == ESToken::Else) {
        next();
        result->children[2] = parseStatement();
    }
    return result;
}

ESNode *ESParser::parseFor()
{
    next();
    ESNode *result = node(ESToken::For);
    expect('(');
    ESNode *init = nullptr;
    int variables = 0;
    if (peek() == ESToken::Var) {
        next();
        init = parseVarList(&variables);
    } else if (peek() != ';') {
        init = parseExpression();
    }
    if (peek() == ESToken::In) {
        next();
        if (variables > 1)
            syntaxError(QStringLiteral("too many variables in for-in expression"));
        result->kind = variables ? ESToken::ForVarIn : ESToken::ForIn;
        result->children[0] = init;
        result->children[1] = parseExpression();
        expect(')');
        result->children[3] = parseStatement();
        return result;
    }
    result->kind = variables ? ESToken::ForVar : ESToken::For;
    result->children[0] = init;
    expect(';');
    if (peek() != ';')
        result->children[1] = parseExpression();
    expect(';');
    if (peek() != ')')
        result->children[2] = parseExpression();
    expect(')');
    result->children[3] = parseStatement();
    return result;
}

ESNode *ESParser::parseSwitch()
{
    ESNode *result = parseHead(ESToken::Switch);
    expect('{');
    Chain clauses;
    bool hasDefault = false;
    while (peek() != '}') {
        const int token = next();
        ESNode *clause = nullptr;
        if (token == ESToken::Case) {
            clause = node(ESToken::Case, parseExpression());
        } else if (token == ESToken::Default) {
            if (hasDefault)
                syntaxError(QStringLiteral("default case already defined"));
            hasDefault = true;
            clause = node(ESToken::Default);
        } else {
            syntaxError(QStringLiteral("expected 'case' or 'default' but found '") + ESLexer::tokenName(token)
                        + QStringLiteral("'"));
        }
        expect(':');
        Chain body;
        while (peek() != ESToken::Case && peek() != ESToken::Default && peek() != '}'
               && peek() != ESToken::End) {
            if (ESNode *statement = parseStatement())
                append(body, node(ESToken::Sequence, statement));
        }
        clause->children[1] = body.head;
        append(clauses, node(ESToken::Sequence, clause));
    }
    next();
    result->children[1] = clauses.head;
    return result;
}

// `try` never catches: there are no handler instructions. Its block runs as a plain block,
// followed by the `finally` block when there is one; the `catch` block is parsed, checked and
// dropped. An error inside the block therefore ends the script as it would outside.
ESNode *ESParser::parseTry()
{
    next();
    expect('{');
    Chain blocks;
    append(blocks, node(ESToken::Sequence, parseStatementList('}')));
    expect('}');
    bool clause = false;
    if (peek() == ESToken::Catch) {
        next();
        expect('(');
        expect(ESToken::Identifier);
        expect(')');
        expect('{');
        parseStatementList('}');
        expect('}');
        clause = true;
    }
    if (peek() == ESToken::Finally) {
        next();
        expect('{');
        append(blocks, node(ESToken::Sequence, parseStatementList('}')));
        expect('}');
        clause = true;
    }
    if (!clause)
        syntaxError(QStringLiteral("'catch' or 'finally' clause expected after 'try'"));
    ESNode *list = node(ESToken::List);
    list->children[1] = blocks.head;
    list->children[2] = blocks.tail;
    return list;
}

ESNode *ESParser::parseJump(int kind)
{
    next();
    ESNode *result = node(kind);
    if (peek() == ESToken::Identifier) {
        next();
        result->atom = m_lexer.current().atom;
    }
    semicolon();
    return result;
}

// A function's parameters and body compile into a code object of their own, registered in the
// context at once; the node joins the pending list when its body is complete. A named function
// comes back as the assignment of the function to its name.
ESNode *ESParser::parseFunction(bool declaration)
{
    next();
    const int line = m_lexer.current().line;
    ESAtom *name = nullptr;
    if (declaration || peek() == ESToken::Identifier) {
        expect(ESToken::Identifier);
        name = m_lexer.current().atom;
    }
    ESNode *function = node(ESToken::Function);
    function->line = line;
    function->parentFunction = m_function;
    auto code = std::make_unique<ESCode>();
    function->code = code.get();
    function->functionIndex = m_compiler.addCode(std::move(code));
    if (name)
        declareVariable(name, 0);

    ESNode *const outer = m_function;
    m_function = function;
    expect('(');
    parseParameters(')');
    expect(')');
    expect('{');
    function->children[0] = parseStatementList('}');
    expect('}');
    m_function = outer;
    m_pending.push_back(function);
    if (!name)
        return function;
    ESNode *target = node(ESToken::Identifier);
    target->atom = name;
    target->line = line;
    ESNode *assignment = node('=', target, function);
    assignment->line = line;
    return assignment;
}

// Names separated by commas up to `terminator`, each a parameter of the function being read.
void ESParser::parseParameters(int terminator)
{
    if (peek() == terminator)
        return;
    for (;;) {
        expect(ESToken::Identifier);
        m_compiler.declareParameter(m_function, m_lexer.current().atom);
        if (peek() != ',')
            break;
        next();
    }
}

ESNode *ESParser::parseExpression()
{
    ESNode *left = parseAssignment();
    const int depth = m_depth;
    while (peek() == ',') {
        next();
        enterNesting();
        left = node(',', left, parseAssignment());
    }
    m_depth = depth;
    return left;
}

ESNode *ESParser::parseAssignment()
{
    enterNesting();
    ESNode *left = parseConditional();
    if (isAssignmentOperator(peek())) {
        const int op = next();
        ESNode *assignment = node(op, left);
        assignment->children[1] = parseAssignment();
        left = assignment;
    }
    leaveNesting();
    return left;
}

ESNode *ESParser::parseConditional()
{
    ESNode *test = parseBinary(0);
    if (peek() != '?')
        return test;
    next();
    ESNode *result = node(ESToken::Conditional, test);
    result->children[1] = parseAssignment();
    expect(':');
    result->children[2] = parseAssignment();
    return result;
}

ESNode *ESParser::parseBinary(int level)
{
    if (level == binaryLevelCount)
        return parseUnary();
    ESNode *left = parseBinary(level + 1);
    const int depth = m_depth;
    while (onLevel(level, peek())) {
        const int op = next();
        enterNesting();
        ESNode *made = node(op, left);
        made->children[1] = parseBinary(level + 1);
        left = made;
    }
    m_depth = depth;
    return left;
}

ESNode *ESParser::parseUnary()
{
    int kind = peek();
    switch (kind) {
    case ESToken::Delete:
    case ESToken::Void:
    case ESToken::Typeof:
    case ESToken::Inc:
    case ESToken::Dec:
    case '~':
    case '!':
        break;
    case '+':
        kind = ESToken::Plus;
        break;
    case '-':
        kind = ESToken::Negate;
        break;
    default:
        return parsePostfix();
    }
    next();
    enterNesting();
    ESNode *result = node(kind);
    result->children[0] = parseUnary();
    leaveNesting();
    return result;
}

ESNode *ESParser::parsePostfix()
{
    ESNode *operand = parseMemberChain(true);
    const int token = peek();
    if ((token == ESToken::Inc || token == ESToken::Dec) && !m_lexer.peeked().newlineBefore) {
        next();
        return node(token == ESToken::Inc ? ESToken::PostInc : ESToken::PostDec, operand);
    }
    return operand;
}

// `new` takes a member expression without calls; an argument list right after it belongs to
// this `new`, so `new new X(a)` gives (a) to the inner one.
ESNode *ESParser::parseNew()
{
    next();
    enterNesting();
    ESNode *target = parseMemberChain(false);
    ESNode *result = nullptr;
    if (peek() == '(')
        result = parseArguments(node(ESToken::NewCall, target));
    else
        result = node(ESToken::New, target);
    leaveNesting();
    return result;
}

ESNode *ESParser::parseMemberChain(bool allowCalls)
{
    ESNode *object = peek() == ESToken::New ? parseNew() : parsePrimary();
    const int depth = m_depth;
    for (;;) {
        const int token = peek();
        if (token == '.') {
            next();
            enterNesting();
            expect(ESToken::Identifier);
            object = node(ESToken::Member, object);
            object->atom = m_lexer.current().atom;
        } else if (token == '[') {
            next();
            enterNesting();
            ESNode *key = parseExpression();
            expect(']');
            // A constant key is folded into a named access, with the key's text computed now.
            if (key->kind == ESToken::String || key->kind == ESToken::Number) {
                ESAtom *atom = key->atom;
                if (key->kind == ESToken::Number)
                    atom = m_compiler.numberAtom(m_function->code->numbers[std::size_t(key->number)]);
                object = node(ESToken::Member, object);
                object->atom = atom;
            } else {
                object = node(ESToken::Index, object, key);
            }
        } else if (token == '(' && allowCalls) {
            enterNesting();
            object = parseArguments(node(ESToken::Call, object));
        } else {
            break;
        }
    }
    m_depth = depth;
    return object;
}

ESNode *ESParser::parseArguments(ESNode *call)
{
    expect('(');
    Chain arguments;
    if (peek() != ')') {
        for (;;) {
            append(arguments, node(ESToken::Sequence, parseAssignment()));
            if (peek() != ',')
                break;
            next();
        }
    }
    expect(')');
    call->children[1] = arguments.head;
    call->number = arguments.count;
    return call;
}

ESNode *ESParser::numberNode(double value)
{
    ESNode *result = node(ESToken::Number);
    result->number = m_function->code->addNumber(value);
    return result;
}

ESNode *ESParser::parsePrimary()
{
    const int token = peek();
    switch (token) {
    case ESToken::Identifier:
    case ESToken::String: {
        next();
        ESNode *result = node(token);
        result->atom = m_lexer.current().atom;
        return result;
    }
    case ESToken::Number:
        next();
        return numberNode(m_lexer.current().number);
    case ESToken::This:
    case ESToken::True:
    case ESToken::False:
    case ESToken::Null:
        next();
        return node(token);
    case '(': {
        next();
        ESNode *inner = parseExpression();
        expect(')');
        return inner;
    }
    case '[':
        return parseArrayLiteral();
    case '{':
        return parseObjectLiteral();
    case ESToken::Function:
        return parseFunction(false);
    default:
        next();
        syntaxError(QStringLiteral("expected an expression, found ") + ESLexer::tokenName(token));
    }
}

ESNode *ESParser::parseArrayLiteral()
{
    next();
    ESNode *result = node(ESToken::ArrayInit);
    Chain elements;
    if (peek() == ']') {
        next();
        return result;
    }
    for (;;) {
        const int token = peek();
        ESNode *element = token == ',' || token == ']' ? node(ESToken::Elision) : parseAssignment();
        append(elements, node(ESToken::Sequence, element));
        const int after = next();
        if (after == ']')
            break;
        if (after != ',')
            syntaxError(QStringLiteral("']' or ',' expected, found ") + ESLexer::tokenName(after));
    }
    result->children[0] = elements.head;
    result->number = elements.count;
    return result;
}

ESNode *ESParser::parseObjectLiteral()
{
    next();
    ESNode *result = node(ESToken::ObjectInit);
    Chain pairs;
    while (peek() != '}') {
        const int token = next();
        ESAtom *key = nullptr;
        if (token == ESToken::Identifier || token == ESToken::String)
            key = m_lexer.current().atom;
        else if (token == ESToken::Number)
            key = m_compiler.numberAtom(m_lexer.current().number);
        else
            syntaxError(QStringLiteral("number, string, or identifier expected in object initialiser"));
        expect(':');
        ESNode *pair = node(ESToken::Pair, parseAssignment());
        pair->atom = key;
        append(pairs, node(ESToken::Sequence, pair));
        if (peek() != ',')
            break;
        next();
    }
    expect('}');
    result->children[0] = pairs.head;
    return result;
}
