#include "script/es/ESCodeGenerator.h"
#include "script/es/ESAtom.h"
#include "script/es/ESCode.h"
#include "script/es/ESCompilerContext.h"
#include "script/es/ESContext.h"
#include "script/es/ESObject.h"
#include <cmath>

namespace {

constexpr int chainEnd = 65535;

// Serial number of the hidden enumeration variables, shared by every compilation.
int hiddenVariableSerial = 0;

int op(ESOp code)
{
    return int(code);
}

// The instruction that applies a binary or compound operator.
ESOp operatorCode(int token)
{
    switch (token) {
    case '+': case ESToken::AddAssign: return ESOp::ADD;
    case '-': case ESToken::SubAssign: return ESOp::SUB;
    case '*': case ESToken::MulAssign: return ESOp::MUL;
    case '/': case ESToken::DivAssign: return ESOp::DIV;
    case '%': case ESToken::ModAssign: return ESOp::MOD;
    case '&': case ESToken::AndAssign: return ESOp::BITAND;
    case '|': case ESToken::OrAssign: return ESOp::BITOR;
    case '^': case ESToken::XorAssign: return ESOp::BITXOR;
    case ESToken::Shl: case ESToken::ShlAssign: return ESOp::SHL;
    case ESToken::Shr: case ESToken::ShrAssign: return ESOp::SHR;
    case ESToken::Ushr: case ESToken::UshrAssign: return ESOp::USHR;
    case '<': return ESOp::LT;
    case ESToken::Le: return ESOp::LE;
    case ESToken::Eq: return ESOp::EQ;
    case ESToken::Ne: return ESOp::NE;
    default: return ESOp::RETU;   // not an operator
    }
}

bool isCompoundAssignment(int kind)
{
    return kind >= ESToken::AndAssign && kind <= ESToken::ModAssign;
}

bool isLoop(int kind)
{
    return kind == ESToken::While || kind == ESToken::Do || kind == ESToken::For
           || kind == ESToken::ForVar || kind == ESToken::ForIn || kind == ESToken::ForVarIn;
}

} // namespace

// Top-level code runs at once and once only, so one pass serves: its names are global slots.
void ESCodeGenerator::generateScript(ESNode *script)
{
    m_function = script;
    m_code = script->code;
    m_withDepth = 0;
    m_statements.clear();
    generateList(script->children[0], true);
    emitCode(op(ESOp::RET));
    m_code->verify();
    appendListing(*m_code, QStringLiteral("script"));
}

void ESCodeGenerator::syntaxError(const QString &message, int line)
{
    m_compiler.syntaxError(line, message);
}

void ESCodeGenerator::appendListing(const ESCode &code, const QString &title)
{
    if (!m_listing)
        return;
    *m_listing += QStringLiteral("; ") + title + QLatin1Char('\n') + m_compiler.listing(code)
                  + QLatin1Char('\n');
}

// Up to two passes: when the first finds that the function's names must live in an activation
// object (closures, `with`, `arguments`) or that it calls eval, the code is generated again.
void ESCodeGenerator::generateFunction(ESNode *function)
{
    m_function = function;
    m_code = function->code;
    generateBody(function);
    if (m_code->needsActivation || m_code->usesArguments) {
        m_code->bytes.clear();
        m_code->lineTable.clear();
        generateBody(function);
    }
    m_code->verify();
    QString title = QStringLiteral("function #%1").arg(function->functionIndex);
    appendListing(*m_code, title);
}

void ESCodeGenerator::generateBody(ESNode *function)
{
    m_withDepth = 0;
    m_statements.clear();
    m_generateLine = function->line;
    if (m_code->usesArguments) {
        // Not through generatePut: the store itself is no mention of `arguments`, so it must
        // not move the function's names into an activation.
        emitCode(op(ESOp::DUP));
        emitPut(m_compiler.names().arguments);
    }
    generateList(function->children[0]);
    emitCode(op(ESOp::RETU));
}

void ESCodeGenerator::generateList(ESNode *list, bool lastWanted)
{
    for (ESNode *item = list->children[0]; item; item = item->children[1])
        generateStatement(item->children[0]);
    ESNode *last = list->children[2];
    for (ESNode *item = list->children[1]; item; item = item->children[1]) {
        ESNode *statement = item->children[0];
        if (lastWanted && item == last && statement->kind == ESToken::ExpressionStatement) {
            m_generateLine = statement->line;
            generateExpression(statement->children[0], true);
            return;
        }
        generateStatement(statement);
    }
    if (lastWanted)
        emitCode(op(ESOp::UNDEFINED));
}

void ESCodeGenerator::generateStatement(ESNode *statement)
{
    if (!statement)
        return;
    if (m_compiler.nativeStackLow())
        syntaxError(QStringLiteral("expression or statement nested too deeply"), statement->line);
    m_generateLine = statement->line;
    switch (statement->kind) {
    case ESToken::List:
        generateList(statement);
        break;
    case ESToken::ExpressionStatement:
        generateExpression(statement->children[0], false);
        break;
    case ESToken::Var:
        for (ESNode *item = statement->children[0]; item; item = item->children[1]) {
            if (item->children[0]->kind == '=')
                generateExpression(item->children[0], false);
        }
        break;
    case ESToken::If:
        generateIf(statement);
        break;
    case ESToken::While:
    case ESToken::Do:
        generateLoop(statement);
        break;
    case ESToken::For:
    case ESToken::ForVar:
        generateFor(statement);
        break;
    case ESToken::ForIn:
    case ESToken::ForVarIn:
        generateForIn(statement);
        break;
    case ESToken::Switch:
        generateSwitch(statement);
        break;
    case ESToken::With:
        generateWith(statement);
        break;
    case ESToken::Return:
        generateReturn(statement);
        break;
    case ESToken::Break:
    case ESToken::Continue:
        generateJump(statement);
        break;
    case ESToken::Label:
        generateLabel(statement);
        break;
    default:
        syntaxError(QStringLiteral("??"), statement->line);
    }
}

void ESCodeGenerator::generateIf(ESNode *statement)
{
    int elseChain = chainEnd;
    generateExpression(statement->children[0], true);
    emitJump(op(ESOp::JF), elseChain);
    generateStatement(statement->children[1]);
    if (statement->children[2]) {
        int endChain = chainEnd;
        emitJump(op(ESOp::J), endChain);
        patch(elseChain, m_code->length());
        generateStatement(statement->children[2]);
        patch(endChain, m_code->length());
    } else {
        patch(elseChain, m_code->length());
    }
}

void ESCodeGenerator::generateWith(ESNode *statement)
{
    generateExpression(statement->children[0], true);
    emitCode(op(ESOp::WITH));
    ++m_withDepth;
    generateStatement(statement->children[1]);
    --m_withDepth;
    emitCode(op(ESOp::ENDWITH));
}

void ESCodeGenerator::generateReturn(ESNode *statement)
{
    if (statement->children[0]) {
        generateExpression(statement->children[0], true);
        emitCode(op(ESOp::RET));
    } else {
        emitCode(op(ESOp::RETU));
    }
}

void ESCodeGenerator::generateLabel(ESNode *statement)
{
    statement->breakChain = chainEnd;
    m_statements.push_back(statement);
    generateStatement(statement->children[0]);
    m_statements.pop_back();
    patch(statement->breakChain, m_code->length());
}

void ESCodeGenerator::generateLoop(ESNode *statement)
{
    statement->breakChain = chainEnd;
    statement->continueChain = chainEnd;
    m_statements.push_back(statement);
    const int top = m_code->length();
    if (statement->kind == ESToken::While) {
        generateExpression(statement->children[0], true);
        emitJump(op(ESOp::JF), statement->breakChain);
        generateStatement(statement->children[1]);
        emitJumpTo(op(ESOp::J), top);
        patch(statement->continueChain, top);
    } else {
        generateStatement(statement->children[1]);
        patch(statement->continueChain, m_code->length());
        m_generateLine = statement->line;
        generateExpression(statement->children[0], true);
        emitJumpTo(op(ESOp::JT), top);
    }
    m_statements.pop_back();
    patch(statement->breakChain, m_code->length());
}

// init; J test; top: body; update; test: JT top. A missing test makes the loop run until a
// break or return: the test position jumps to the top unconditionally.
void ESCodeGenerator::generateFor(ESNode *statement)
{
    statement->breakChain = chainEnd;
    statement->continueChain = chainEnd;
    if (ESNode *init = statement->children[0]) {
        if (statement->kind == ESToken::ForVar)
            generateStatement(init);
        else
            generateExpression(init, false);
    }
    int testChain = chainEnd;
    emitJump(op(ESOp::J), testChain);
    m_statements.push_back(statement);
    const int top = m_code->length();
    generateStatement(statement->children[3]);
    patch(statement->continueChain, m_code->length());
    m_generateLine = statement->line;
    if (statement->children[2])
        generateExpression(statement->children[2], false);
    patch(testChain, m_code->length());
    ESNode *test = statement->children[1];
    if (!test) {
        emitJumpTo(op(ESOp::J), top);
    } else if (test->kind == '<') {
        generateExpression(test->children[0], true);
        generateExpression(test->children[1], true);
        emitJumpTo(op(ESOp::JLT), top);
    } else {
        generateExpression(test, true);
        emitJumpTo(op(ESOp::JT), top);
    }
    m_statements.pop_back();
    patch(statement->breakChain, m_code->length());
}

void ESCodeGenerator::generateForIn(ESNode *statement)
{
    statement->breakChain = chainEnd;
    statement->continueChain = chainEnd;
    ESAtom *hidden = hiddenVariable();
    ESNode *target = statement->children[0];
    if (statement->kind == ESToken::ForVarIn) {
        ESNode *first = target->children[0]->children[0];
        if (first->kind == '=') {
            generateExpression(first, false);
            first = first->children[0];
        }
        target = first;
    }
    generateExpression(statement->children[1], true);
    emitCode(op(ESOp::ENUM));
    generatePut(hidden);
    int nextChain = chainEnd;
    emitJump(op(ESOp::J), nextChain);
    m_statements.push_back(statement);
    const int top = m_code->length();
    generateStore(target, false);
    generateStatement(statement->children[3]);
    m_generateLine = statement->line;
    patch(nextChain, m_code->length());
    patch(statement->continueChain, m_code->length());
    generateGet(hidden);
    emitJumpTo(op(ESOp::NEXT), top);
    m_statements.pop_back();
    patch(statement->breakChain, m_code->length());
}

// The discriminant stays on the stack while the cases are tested by identity; the matching
// JT_DROP removes it, and after the last test it is dropped before going to the default.
void ESCodeGenerator::generateSwitch(ESNode *statement)
{
    statement->breakChain = chainEnd;
    generateExpression(statement->children[0], true);
    std::vector<int> bodyChains;
    for (ESNode *item = statement->children[1]; item; item = item->children[1]) {
        ESNode *clause = item->children[0];
        bodyChains.push_back(chainEnd);
        if (clause->kind != ESToken::Case)
            continue;
        m_generateLine = clause->line;
        emitCode(op(ESOp::DUP));
        generateExpression(clause->children[0], true);
        emitCode(op(ESOp::IDENTITY));
        emitJump(op(ESOp::JT_DROP), bodyChains.back());
    }
    emitCode(op(ESOp::DROP));
    int defaultChain = chainEnd;
    bool hasDefault = false;
    for (ESNode *item = statement->children[1]; item; item = item->children[1])
        hasDefault = hasDefault || item->children[0]->kind == ESToken::Default;
    emitJump(op(ESOp::J), hasDefault ? defaultChain : statement->breakChain);
    m_statements.push_back(statement);
    std::size_t index = 0;
    for (ESNode *item = statement->children[1]; item; item = item->children[1], ++index) {
        ESNode *clause = item->children[0];
        patch(bodyChains[index], m_code->length());
        if (clause->kind == ESToken::Default)
            patch(defaultChain, m_code->length());
        for (ESNode *body = clause->children[1]; body; body = body->children[1])
            generateStatement(body->children[0]);
    }
    m_statements.pop_back();
    patch(statement->breakChain, m_code->length());
}

void ESCodeGenerator::generateJump(ESNode *statement)
{
    const bool isBreak = statement->kind == ESToken::Break;
    ESNode *target = nullptr;
    for (auto it = m_statements.rbegin(); it != m_statements.rend() && !target; ++it) {
        ESNode *candidate = *it;
        if (statement->atom) {
            if (candidate->kind == ESToken::Label && candidate->atom == statement->atom)
                target = candidate;
        } else if (isLoop(candidate->kind) || (isBreak && candidate->kind == ESToken::Switch)) {
            target = candidate;
        }
    }
    if (!target && statement->atom)
        syntaxError(QStringLiteral("can't find label ") + statement->atom->text, statement->line);
    if (!target) {
        syntaxError(isBreak ? QStringLiteral("'break' not in a 'for' or 'while' loop")
                            : QStringLiteral("'continue' not in a 'for' or 'while' loop"),
                    statement->line);
    }
    if (isBreak) {
        emitJump(op(ESOp::J), target->breakChain);
        return;
    }
    if (target->kind == ESToken::Label) {
        ESNode *loop = target->children[0];
        while (loop && loop->kind == ESToken::Label)
            loop = loop->children[0];
        if (!loop || !isLoop(loop->kind))
            syntaxError(QStringLiteral("labeled 'continue' doesn't mark a loop"), statement->line);
        target = loop;
    }
    emitJump(op(ESOp::J), target->continueChain);
}

ESAtom *ESCodeGenerator::hiddenVariable()
{
    return declareHidden(QStringLiteral("CG%1").arg(++hiddenVariableSerial));
}

// The one hidden variable of a function (or global of a script) that holds a value across a
// store. Nothing runs between its store and its read, so one name serves every use.
ESAtom *ESCodeGenerator::hiddenTemporary()
{
    return declareHidden(QStringLiteral("CG0"));
}

ESAtom *ESCodeGenerator::declareHidden(const QString &name)
{
    ESAtom *atom = m_compiler.intern(name);
    m_compiler.declareVariable(m_function, atom, ESPropertyFlag::DontEnum | ESPropertyFlag::DontDelete);
    return atom;
}

bool ESCodeGenerator::hasSideEffects(const ESNode *expression)
{
    if (!expression)
        return false;
    const int kind = expression->kind;
    if (kind == '=' || isCompoundAssignment(kind) || kind == ESToken::Delete
        || kind == ESToken::Inc || kind == ESToken::Dec || kind == ESToken::PostInc
        || kind == ESToken::PostDec || kind == ESToken::Call || kind == ESToken::NewCall
        || kind == ESToken::New)
        return true;
    if (kind == ESToken::Function)
        return false;
    for (const ESNode *child : expression->children) {
        if (hasSideEffects(child))
            return true;
    }
    return false;
}

void ESCodeGenerator::generateExpression(ESNode *expression, bool wanted)
{
    if (!wanted && !hasSideEffects(expression))
        return;
    if (m_compiler.nativeStackLow())
        syntaxError(QStringLiteral("expression or statement nested too deeply"), expression->line);
    m_generateLine = expression->line;
    if (generateEffect(expression, wanted))
        return;
    if (!generateLiteral(expression))
        generateOperation(expression);
    if (!wanted)
        emitCode(op(ESOp::DROP));
}

// The forms that leave a value only when it is wanted: assignments, increments, calls,
// delete, the comma, void and the conditional. False for any other form.
bool ESCodeGenerator::generateEffect(ESNode *expression, bool wanted)
{
    const int kind = expression->kind;
    ESNode *const first = expression->children[0];
    ESNode *const second = expression->children[1];
    if (kind == '=' || isCompoundAssignment(kind)) {
        generateAssignment(expression, wanted);
        return true;
    }
    if (kind == ESToken::Inc || kind == ESToken::Dec || kind == ESToken::PostInc
        || kind == ESToken::PostDec) {
        generateIncrement(expression, wanted);
        return true;
    }
    if (kind == ESToken::Call) {
        generateCall(expression, wanted);
        return true;
    }
    if (kind == ESToken::Delete) {
        generateDelete(expression, wanted);
        return true;
    }
    if (kind == ',') {
        generateExpression(first, false);
        generateExpression(second, wanted);
        return true;
    }
    if (kind == ESToken::Void) {
        if (hasSideEffects(first)) {
            generateExpression(first, wanted);
            if (wanted)
                emitCode(op(ESOp::VOID));
        } else if (wanted) {
            emitCode(op(ESOp::UNDEFINED));
        }
        return true;
    }
    if (kind == ESToken::Conditional) {
        int elseChain = chainEnd;
        int endChain = chainEnd;
        generateExpression(first, true);
        emitJump(op(ESOp::JF), elseChain);
        generateExpression(second, wanted);
        emitJump(op(ESOp::J), endChain);
        patch(elseChain, m_code->length());
        generateExpression(expression->children[2], wanted);
        patch(endChain, m_code->length());
        return true;
    }
    return false;
}

// Constants, names, literals and function expressions: one value each. False for any other.
bool ESCodeGenerator::generateLiteral(ESNode *expression)
{
    ESNode *const first = expression->children[0];
    switch (expression->kind) {
    case ESToken::Number: {
        const double constant = m_function->code->numbers[std::size_t(expression->number)];
        static constexpr ESOp small[] = {ESOp::NUM_0, ESOp::NUM_1, ESOp::NUM_2, ESOp::NUM_3,
                                         ESOp::NUM_4};
        if (constant >= 0 && constant <= 4 && constant == double(int(constant))
            && !(constant == 0 && std::signbit(constant)))
            emitCode(op(small[int(constant)]));
        else
            emitCode(op(ESOp::NUM), unsigned(expression->number));
        break;
    }
    case ESToken::String:
        emitCode(op(ESOp::STR), unsigned(expression->atom->index));
        break;
    case ESToken::Identifier:
        generateGet(expression->atom);
        break;
    case ESToken::This:
        emitCode(op(ESOp::THIS));
        break;
    case ESToken::True:
        emitCode(op(ESOp::TRUE_));
        break;
    case ESToken::False:
        emitCode(op(ESOp::FALSE_));
        break;
    case ESToken::Null:
        emitCode(op(ESOp::NULL_));
        break;
    case ESToken::ArrayInit:
        for (ESNode *item = first; item; item = item->children[1]) {
            if (item->children[0]->kind == ESToken::Elision)
                emitCode(op(ESOp::UNDEFINED));
            else
                generateExpression(item->children[0], true);
        }
        emitCode(op(ESOp::MKARRAY), unsigned(expression->number));
        break;
    case ESToken::ObjectInit:
        emitCode(op(ESOp::NEWOBJ));
        for (ESNode *item = first; item; item = item->children[1]) {
            generateExpression(item->children[0]->children[0], true);
            emitCode(op(ESOp::INITF), unsigned(item->children[0]->atom->index));
        }
        break;
    case ESToken::Function:
        emitCode(op(ESOp::CLOSURE), unsigned(expression->functionIndex));
        break;
    default:
        return false;
    }
    return true;
}

// Member and index reads, construction and the operators: one value each.
void ESCodeGenerator::generateOperation(ESNode *expression)
{
    const int kind = expression->kind;
    ESNode *const first = expression->children[0];
    ESNode *const second = expression->children[1];
    switch (kind) {
    case ESToken::Member:
        generateExpression(first, true);
        emitCode(op(ESOp::GETF), unsigned(expression->atom->index));
        break;
    case ESToken::Index:
        generateExpression(first, true);
        generateExpression(second, true);
        emitCode(op(ESOp::GETX));
        break;
    case ESToken::NewCall:
        for (ESNode *item = second; item; item = item->children[1])
            generateExpression(item->children[0], true);
        generateExpression(first, true);
        emitCode(op(ESOp::NEWA), unsigned(expression->number));
        break;
    case ESToken::New:
        generateExpression(first, true);
        emitCode(op(ESOp::NEW));
        break;
    case ESToken::OrOr:
    case ESToken::AndAnd: {
        int endChain = chainEnd;
        generateExpression(first, true);
        emitJump(op(kind == ESToken::OrOr ? ESOp::LOGOR : ESOp::LOGAND), endChain);
        generateExpression(second, true);
        patch(endChain, m_code->length());
        break;
    }
    case '>':
    case ESToken::Ge:
        // The right operand is evaluated first.
        generateExpression(second, true);
        generateExpression(first, true);
        emitCode(op(kind == '>' ? ESOp::LT : ESOp::LE));
        break;
    case ESToken::Typeof:
    case '~':
    case '!':
    case ESToken::Plus:
    case ESToken::Negate: {
        if (kind == ESToken::Negate && first->kind == ESToken::Number
            && m_function->code->numbers[std::size_t(first->number)] == 1) {
            emitCode(op(ESOp::NUM_M1));
            break;
        }
        generateExpression(first, true);
        const ESOp unary = kind == ESToken::Typeof ? ESOp::TYPEOF
                           : kind == '~'          ? ESOp::BITNOT
                           : kind == '!'          ? ESOp::LOGNOT
                           : kind == ESToken::Plus ? ESOp::POS
                                                   : ESOp::NEG;
        emitCode(op(unary));
        break;
    }
    default: {
        const ESOp binary = operatorCode(kind);
        if (binary == ESOp::RETU)
            syntaxError(QStringLiteral("??"), expression->line);
        generateExpression(first, true);
        generateExpression(second, true);
        emitCode(op(binary));
        break;
    }
    }
}

// Arguments first, left to right, then the callee: for a member call the object, then the
// key. A callee that is no name, member or index generates no call at all.
void ESCodeGenerator::generateCall(ESNode *call, bool wanted)
{
    ESNode *callee = call->children[0];
    const unsigned count = unsigned(call->number);
    const int kind = callee->kind;
    if (kind != ESToken::Identifier && kind != ESToken::Member && kind != ESToken::Index) {
        if (wanted)
            emitCode(op(ESOp::UNDEFINED));
        return;
    }
    for (ESNode *item = call->children[1]; item; item = item->children[1])
        generateExpression(item->children[0], true);
    m_generateLine = call->line;
    if (kind == ESToken::Identifier) {
        noteName(callee->atom);
        const Resolution where = resolve(callee->atom);
        const bool activation = m_code->needsActivation;
        switch (where.nameCase) {
        case NameCase::Global:
            emitCode(op(ESOp::CALLG), unsigned(where.index), count);
            break;
        case NameCase::Argument:
            emitCode(op(activation ? ESOp::CALLAM : ESOp::CALLA), unsigned(where.index), count);
            break;
        case NameCase::Local:
            emitCode(op(activation ? ESOp::CALLLM : ESOp::CALLL), unsigned(where.index), count);
            break;
        case NameCase::Dynamic:
            emitCode(op(ESOp::CALLW), unsigned(callee->atom->index), count);
            break;
        }
    } else if (kind == ESToken::Member) {
        generateExpression(callee->children[0], true);
        emitCode(op(ESOp::CALLF), unsigned(callee->atom->index), count);
    } else {
        generateExpression(callee->children[0], true);
        generateExpression(callee->children[1], true);
        emitCode(op(ESOp::CALLX), count);
    }
    if (!wanted)
        emitCode(op(ESOp::DROP));
}

void ESCodeGenerator::generateAssignment(ESNode *assignment, bool wanted)
{
    ESNode *target = assignment->children[0];
    ESNode *value = assignment->children[1];
    const int kind = assignment->kind;
    if (kind == '=') {
        if (target->kind != ESToken::Identifier && target->kind != ESToken::Member
            && target->kind != ESToken::Index)
            syntaxError(QStringLiteral("not lsh?"), assignment->line);
        if (target->kind == ESToken::Member)
            return generateMemberStore(target, value, wanted);
        generateExpression(value, true);
        if (wanted)
            emitCode(op(ESOp::DUP));
        generateStore(target);
        return;
    }
    const ESOp apply = operatorCode(kind);
    if (target->kind == ESToken::Identifier) {
        generateGet(target->atom);
        generateExpression(value, true);
        emitCode(op(apply));
        if (wanted)
            emitCode(op(ESOp::DUP));
        generatePut(target->atom);
        return;
    }
    if (target->kind != ESToken::Member && target->kind != ESToken::Index)
        syntaxError(QStringLiteral("only left-hand-side expressions allowed"), assignment->line);
    generateExpression(value, true);
    generateExpression(target->children[0], true);
    if (target->kind == ESToken::Member)
        emitCode(op(ESOp::STR), unsigned(target->atom->index));
    else
        generateExpression(target->children[1], true);
    emitCode(op(apply) + 1);   // the X form reads, applies and writes the member
    if (!wanted)
        emitCode(op(ESOp::DROP));
}

// `o.p = v`: the object is evaluated before the value, and PUTF takes the value from above the
// object. A wanted value outlives the store in the function's hidden temporary, as nothing
// else can reach below the two operands.
void ESCodeGenerator::generateMemberStore(ESNode *target, ESNode *value, bool wanted)
{
    generateExpression(target->children[0], true);
    generateExpression(value, true);
    m_generateLine = target->line;
    ESAtom *const temporary = wanted ? hiddenTemporary() : nullptr;
    if (temporary) {
        emitCode(op(ESOp::DUP));
        emitPut(temporary);
    }
    emitCode(op(ESOp::PUTF), unsigned(target->atom->index));
    if (temporary)
        emitGet(temporary);
}

// Stores the value in TOS, already computed, into a name, member or index and pops it. The
// value sits below the object and key that the member and index forms push (the order of
// PUTX), as in the variable of a for-in loop.
void ESCodeGenerator::generateStore(ESNode *target, bool lhsMessage)
{
    switch (target->kind) {
    case ESToken::Identifier:
        generatePut(target->atom);
        break;
    case ESToken::Member:
        generateExpression(target->children[0], true);
        emitCode(op(ESOp::STR), unsigned(target->atom->index));
        emitCode(op(ESOp::PUTX));
        break;
    case ESToken::Index:
        generateExpression(target->children[0], true);
        generateExpression(target->children[1], true);
        emitCode(op(ESOp::PUTX));
        break;
    default:
        syntaxError(lhsMessage ? QStringLiteral("not lsh?")
                               : QStringLiteral("only left-hand-side expressions allowed"),
                    target->line);
    }
}

// Prefix and postfix forms with no value wanted share the in-place short form; the activation
// short forms (INCM, INCLM, DECAM, DECLM) have no handler in the interpreter.
void ESCodeGenerator::generateIncrement(ESNode *expression, bool wanted)
{
    const int kind = expression->kind;
    const bool increment = kind == ESToken::Inc || kind == ESToken::PostInc;
    const bool prefix = kind == ESToken::Inc || kind == ESToken::Dec;
    ESNode *target = expression->children[0];
    if (target->kind == ESToken::Member || target->kind == ESToken::Index) {
        generateExpression(target->children[0], true);
        if (target->kind == ESToken::Member)
            emitCode(op(ESOp::STR), unsigned(target->atom->index));
        else
            generateExpression(target->children[1], true);
        emitCode(op(increment ? (prefix ? ESOp::PREINCX : ESOp::POSTINCX)
                          : (prefix ? ESOp::PREDECX : ESOp::POSTDECX)));
        if (!wanted)
            emitCode(op(ESOp::DROP));
        return;
    }
    if (target->kind != ESToken::Identifier)
        syntaxError(QStringLiteral("not lsh?"), expression->line);
    ESAtom *atom = target->atom;
    noteName(atom);
    const Resolution where = resolve(atom);
    if (where.nameCase == NameCase::Dynamic) {
        emitCode(op(ESOp::STR), unsigned(atom->index));
        emitCode(op(increment ? (prefix ? ESOp::PREINCX : ESOp::POSTINCX)
                          : (prefix ? ESOp::PREDECX : ESOp::POSTDECX)));
        if (!wanted)
            emitCode(op(ESOp::DROP));
        return;
    }
    if (!wanted) {
        const bool activation = m_code->needsActivation;
        ESOp shortForm = ESOp::INCG;
        if (where.nameCase == NameCase::Global)
            shortForm = increment ? ESOp::INCG : ESOp::DECG;
        else if (where.nameCase == NameCase::Argument)
            shortForm = increment ? (activation ? ESOp::INCM : ESOp::INCA)
                                  : (activation ? ESOp::DECAM : ESOp::DECA);
        else
            shortForm = increment ? (activation ? ESOp::INCLM : ESOp::INCL)
                                  : (activation ? ESOp::DECLM : ESOp::DECL);
        emitCode(op(shortForm), unsigned(where.index));
        return;
    }
    generateGet(atom);
    emitCode(op(ESOp::POS));
    if (!prefix)
        emitCode(op(ESOp::DUP));
    emitCode(op(ESOp::NUM_1));
    emitCode(op(increment ? ESOp::ADD : ESOp::SUB));
    if (prefix)
        emitCode(op(ESOp::DUP));
    generatePut(atom);
}

void ESCodeGenerator::generateDelete(ESNode *expression, bool wanted)
{
    ESNode *target = expression->children[0];
    switch (target->kind) {
    case ESToken::Identifier:
        noteName(target->atom);
        if (resolve(target->atom).nameCase == NameCase::Dynamic)
            emitCode(op(ESOp::DELETEW), unsigned(target->atom->index));
        else
            emitCode(op(ESOp::FALSE_));
        break;
    case ESToken::Member:
        generateExpression(target->children[0], true);
        emitCode(op(ESOp::STR), unsigned(target->atom->index));
        emitCode(op(ESOp::DELETEX));
        break;
    case ESToken::Index:
        generateExpression(target->children[0], true);
        generateExpression(target->children[1], true);
        emitCode(op(ESOp::DELETEX));
        break;
    default:
        syntaxError(QStringLiteral("not lsh?"), expression->line);
    }
    if (!wanted)
        emitCode(op(ESOp::DROP));
}

void ESCodeGenerator::generateGet(ESAtom *atom)
{
    noteName(atom);
    emitGet(atom);
}

void ESCodeGenerator::generatePut(ESAtom *atom)
{
    noteName(atom);
    emitPut(atom);
}

void ESCodeGenerator::emitGet(ESAtom *atom)
{
    const Resolution where = resolve(atom);
    const bool activation = m_code->needsActivation;
    switch (where.nameCase) {
    case NameCase::Global:
        emitCode(op(ESOp::GETG), unsigned(where.index));
        break;
    case NameCase::Argument:
        emitCode(op(activation ? ESOp::GETAM : ESOp::GETA), unsigned(where.index));
        break;
    case NameCase::Local:
        emitCode(op(activation ? ESOp::GETLM : ESOp::GETL), unsigned(where.index));
        break;
    case NameCase::Dynamic:
        emitCode(op(ESOp::GETW), unsigned(atom->index));
        break;
    }
}

void ESCodeGenerator::emitPut(ESAtom *atom)
{
    const Resolution where = resolve(atom);
    const bool activation = m_code->needsActivation;
    switch (where.nameCase) {
    case NameCase::Global:
        emitCode(op(ESOp::PUTG), unsigned(where.index));
        break;
    case NameCase::Argument:
        emitCode(op(activation ? ESOp::PUTAM : ESOp::PUTA), unsigned(where.index));
        break;
    case NameCase::Local:
        emitCode(op(activation ? ESOp::PUTLM : ESOp::PUTL), unsigned(where.index));
        break;
    case NameCase::Dynamic:
        emitCode(op(ESOp::PUTW), unsigned(atom->index));
        break;
    }
}

// `arguments` makes the function and all around it keep their names in activation objects;
// `eval` makes the function store its incoming value in `arguments`. Both declare it.
void ESCodeGenerator::noteName(ESAtom *atom)
{
    const ESWellKnownAtoms &names = m_compiler.names();
    if ((atom != names.arguments && atom != names.eval) || !m_function->parentFunction)
        return;
    if (atom == names.arguments)
        markActivation(m_function);
    else
        m_function->code->usesArguments = true;
    m_compiler.declareVariable(m_function, names.arguments, ESPropertyFlag::DontEnum);
}

void ESCodeGenerator::markActivation(ESNode *function)
{
    for (; function && function->parentFunction; function = function->parentFunction)
        function->code->needsActivation = true;
}

ESCodeGenerator::Resolution ESCodeGenerator::resolve(ESAtom *atom)
{
    if (m_withDepth > 0) {
        markActivation(m_function);
        return {NameCase::Dynamic, 0};
    }
    if (m_function->parentFunction) {
        const ESCode *code = m_function->code;
        for (std::size_t i = 0; i < code->variables.size(); ++i) {
            if (code->variables[i].key != atom)
                continue;
            if (int(i) < code->parameterCount)
                return {NameCase::Argument, int(i)};
            return {NameCase::Local, int(i) - code->parameterCount};
        }
        for (ESNode *outer = m_function->parentFunction; outer && outer->parentFunction;
             outer = outer->parentFunction) {
            for (const ESProperty &variable : outer->code->variables) {
                if (variable.key == atom) {
                    markActivation(m_function->parentFunction);
                    return {NameCase::Dynamic, 0};
                }
            }
        }
    }
    return {NameCase::Global, m_compiler.globalSlot(atom)};
}

void ESCodeGenerator::emitCode(int code)
{
    m_code->bytes.push_back(std::uint8_t(code));
    m_code->lineTable.push_back(std::uint32_t(m_generateLine));
}

void ESCodeGenerator::emitOperand(unsigned operand)
{
    if (operand > 0xffff)
        ESContext::fatal(QStringLiteral("compiler error: operand too large"));
    emitCode(int(operand >> 8));
    emitCode(int(operand & 0xff));
}

void ESCodeGenerator::emitCode(int code, unsigned operand)
{
    emitCode(code);
    emitOperand(operand);
}

void ESCodeGenerator::emitCode(int code, unsigned operand, unsigned count)
{
    emitCode(code);
    emitOperand(operand);
    emitOperand(count);
}

// A forward jump links into `chain` through its own operand; patch() fills the chain later.
void ESCodeGenerator::emitJump(int code, int &chain)
{
    emitCode(code);
    const int position = m_code->length();
    if (position >= chainEnd)
        ESContext::fatal(QStringLiteral("compiler error: patch constant too large"));
    emitOperand(unsigned(chain));
    chain = position;
}

void ESCodeGenerator::emitJumpTo(int code, int target)
{
    if (target >= 65536)
        ESContext::fatal(QStringLiteral("compiler error: patch constant too large"));
    emitCode(code, unsigned(target));
}

void ESCodeGenerator::patch(int chain, int target)
{
    if (chain != chainEnd && target >= 65536)
        ESContext::fatal(QStringLiteral("compiler error: patch constant too large"));
    while (chain != chainEnd) {
        const int following = int(m_code->operandAt(chain));
        m_code->bytes[std::size_t(chain)] = std::uint8_t(target >> 8);
        m_code->bytes[std::size_t(chain) + 1] = std::uint8_t(target & 0xff);
        chain = following;
    }
}
