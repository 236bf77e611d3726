#pragma once
#include <cstdint>

class ESAtom;
class ESCode;

// Token codes: a single-character token is its character code; longer tokens, keywords and
// the tree's node kinds count from 128, so kinds and tokens share one numbering.
namespace ESToken {
enum : int {
    End = 128, Number, Identifier, String,
    AndAssign, OrAssign, XorAssign, ShlAssign, ShrAssign, UshrAssign, AddAssign, SubAssign,
    MulAssign, DivAssign, ModAssign, OrOr, AndAnd, StrictEq, StrictNe, Eq, Ne, Le, Ge, Shl, Shr,
    Ushr, Inc, Dec,
    Break, Case, Catch, Class, Const, Continue, Debugger, Default, Delete, Do, Else, Enum,
    Export, Extends, Finally, For, Function, If, Import, In, New, Return, Super, Switch, This,
    Throw, Try, Typeof, Var, Void, While, With, True, False, Null,
    Call, NewCall, ForIn, ForVar, ForVarIn, ArrayInit, ObjectInit, TryCatch, TryFinally,
    TryCatchFinally, LineMark, ColumnMark,
    // Node kinds with no spelling in the source.
    List, Sequence, Label, Negate, Plus, PostInc, PostDec, Elision, ExpressionStatement, Pair,
    Member, Index, Conditional,
};
constexpr int firstKeyword = Break;
constexpr int lastKeyword = Null;
} // namespace ESToken

// A node of the syntax tree. Nodes are owned by the parser's arena and freed together after
// generation, so neither a deep tree nor a long chain recurses on destruction.
struct ESNode {
    int breakChain = 65535;      // head of the forward-jump chain of `break` (65535: empty)
    int continueChain = 65535;
    int kind = 0;
    std::int64_t number = 0;     // a number's index in its function's constant table; a count
    ESAtom *atom = nullptr;      // identifier, string, member name or label
    int functionIndex = -1;      // function node: index in the context's codeObjects
    ESNode *children[4] = {};    // function node: children[0] is the body
    int line = 0;
    ESNode *parentFunction = nullptr;   // function node: the enclosing function (null: script)
    ESCode *code = nullptr;             // function node: its code
};
