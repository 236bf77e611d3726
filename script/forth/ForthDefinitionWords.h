#pragma once
#include "script/forth/pcode.h"

// Defining and compiling words, locals and exceptions.
class PColon final : public PNative { public: void run(ScriptEngine &engine) override; };
class PSemicolon final : public PNative { public: void run(ScriptEngine &engine) override; };
class PColonNoName final : public PNative { public: void run(ScriptEngine &engine) override; };
class PCreate final : public PNative { public: void run(ScriptEngine &engine) override; };
class PDoes final : public PNative { public: void run(ScriptEngine &engine) override; };
class PVariable final : public PNative { public: void run(ScriptEngine &engine) override; };
class PConstant final : public PNative { public: void run(ScriptEngine &engine) override; };
class PValue final : public PNative { public: void run(ScriptEngine &engine) override; };
class PTo final : public PNative { public: void run(ScriptEngine &engine) override; };
class PImmediate final : public PNative { public: void run(ScriptEngine &engine) override; };
class PRecurse final : public PNative { public: void run(ScriptEngine &engine) override; };
class PPostpone final : public PNative { public: void run(ScriptEngine &engine) override; };
class PBracketCompile final : public PNative { public: void run(ScriptEngine &engine) override; };
class PCompileComma final : public PNative { public: void run(ScriptEngine &engine) override; };
class PLiteral final : public PNative { public: void run(ScriptEngine &engine) override; };
class PLeftBracket final : public PNative { public: void run(ScriptEngine &engine) override; };
class PRightBracket final : public PNative { public: void run(ScriptEngine &engine) override; };
class PTick final : public PNative { public: void run(ScriptEngine &engine) override; };
class PBracketTick final : public PNative { public: void run(ScriptEngine &engine) override; };
class PChar final : public PNative { public: void run(ScriptEngine &engine) override; };
class PBracketChar final : public PNative { public: void run(ScriptEngine &engine) override; };
class PToBody final : public PNative { public: void run(ScriptEngine &engine) override; };
class PExecute final : public PNative { public: void run(ScriptEngine &engine) override; };
class PExit final : public PNative { public: void run(ScriptEngine &engine) override; };
class PState final : public PNative { public: void run(ScriptEngine &engine) override; };

// POSTPONE of a word that is not immediate: compiles a call to it when the definition that
// holds this instruction runs.
class PPostponeRun final : public pcode {
public:
    explicit PPostponeRun(pcode *word) : word(word) {}
    void run(ScriptEngine &engine) override;
    pcode *word;
};

// (LOCAL) and (TEMP): one name from a string cell; an empty name is the end of a list.
class PParenLocalParen final : public PNative {
public:
    explicit PParenLocalParen(bool takeFromStack) : m_takeFromStack(takeFromStack) {}
    void run(ScriptEngine &engine) override;

private:
    bool m_takeFromStack;
};
class PLocalsBar final : public PNative { public: void run(ScriptEngine &engine) override; };
class PTempsBar final : public PNative { public: void run(ScriptEngine &engine) override; };

class PThrow final : public PNative { public: void run(ScriptEngine &engine) override; };
class PCatch final : public PNative { public: void run(ScriptEngine &engine) override; };
class PAbort final : public PNative { public: void run(ScriptEngine &engine) override; };
