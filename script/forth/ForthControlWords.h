#pragma once
#include "script/forth/pcode.h"

// Control structures, compiled through the control-flow stack, and conditional text.
class PIf final : public PNative { public: void run(ScriptEngine &engine) override; };
class PElse final : public PNative { public: void run(ScriptEngine &engine) override; };
class PThen final : public PNative { public: void run(ScriptEngine &engine) override; };
class PAhead final : public PNative { public: void run(ScriptEngine &engine) override; };
class PBegin final : public PNative { public: void run(ScriptEngine &engine) override; };
class PAgain final : public PNative { public: void run(ScriptEngine &engine) override; };
class PUntil final : public PNative { public: void run(ScriptEngine &engine) override; };
class PWhile final : public PNative { public: void run(ScriptEngine &engine) override; };
class PRepeat final : public PNative { public: void run(ScriptEngine &engine) override; };
class PDo final : public PNative { public: void run(ScriptEngine &engine) override; };
class PQuestionDo final : public PNative { public: void run(ScriptEngine &engine) override; };
class PLoop final : public PNative { public: void run(ScriptEngine &engine) override; };
class PPlusLoop final : public PNative { public: void run(ScriptEngine &engine) override; };
class PLeave final : public PNative { public: void run(ScriptEngine &engine) override; };
class PUnloop final : public PNative { public: void run(ScriptEngine &engine) override; };
class PI final : public PNative { public: void run(ScriptEngine &engine) override; };
class PJ final : public PNative { public: void run(ScriptEngine &engine) override; };
class PCase final : public PNative { public: void run(ScriptEngine &engine) override; };
class POf final : public PNative { public: void run(ScriptEngine &engine) override; };
class PEndOf final : public PNative { public: void run(ScriptEngine &engine) override; };
class PEndCase final : public PNative { public: void run(ScriptEngine &engine) override; };

// ( x1 x2 -- | x1 ): equal cells fall into the clause, others branch to the next one.
class POfBranch final : public PBranch {
public:
    POfBranch() : PBranch(nullptr, Op::Run) {}
    void run(ScriptEngine &engine) override;
};

class PBracketIf final : public PNative { public: void run(ScriptEngine &engine) override; };
class PBracketElse final : public PNative { public: void run(ScriptEngine &engine) override; };
class PBracketThen final : public PNative { public: void run(ScriptEngine &engine) override; };
class PBracketDefined final : public PNative { public: void run(ScriptEngine &engine) override; };
class PBracketUndefined final : public PNative { public: void run(ScriptEngine &engine) override; };
