#pragma once
#include "script/forth/pcode.h"

// Stack words: cells move whole, with their type.
class PDrop final : public PNative { public: PDrop() : PNative(Op::Drop) {} void run(ScriptEngine &engine) override; };
class PDup final : public PNative { public: PDup() : PNative(Op::Dup) {} void run(ScriptEngine &engine) override; };
class POver final : public PNative { public: POver() : PNative(Op::Over) {} void run(ScriptEngine &engine) override; };
class PRot final : public PNative { public: PRot() : PNative(Op::Rot) {} void run(ScriptEngine &engine) override; };
class PSwap final : public PNative { public: PSwap() : PNative(Op::Swap) {} void run(ScriptEngine &engine) override; };
class PToR final : public PNative { public: PToR() : PNative(Op::ToR) {} void run(ScriptEngine &engine) override; };
class PRFrom final : public PNative { public: PRFrom() : PNative(Op::RFrom) {} void run(ScriptEngine &engine) override; };
class PRFetch final : public PNative { public: PRFetch() : PNative(Op::RFetch) {} void run(ScriptEngine &engine) override; };
class PMinusRot final : public PNative { public: void run(ScriptEngine &engine) override; };
class PNip final : public PNative { public: void run(ScriptEngine &engine) override; };
class PTuck final : public PNative { public: void run(ScriptEngine &engine) override; };
class PPick final : public PNative { public: void run(ScriptEngine &engine) override; };
class PRoll final : public PNative { public: void run(ScriptEngine &engine) override; };
class PQuestionDup final : public PNative { public: void run(ScriptEngine &engine) override; };
class PTwoDrop final : public PNative { public: void run(ScriptEngine &engine) override; };
class PTwoDup final : public PNative { public: void run(ScriptEngine &engine) override; };
class PTwoOver final : public PNative { public: void run(ScriptEngine &engine) override; };
class PTwoSwap final : public PNative { public: void run(ScriptEngine &engine) override; };
class PDepth final : public PNative { public: void run(ScriptEngine &engine) override; };
class PTwoToR final : public PNative { public: void run(ScriptEngine &engine) override; };
class PTwoRFrom final : public PNative { public: void run(ScriptEngine &engine) override; };
class PTwoRFetch final : public PNative { public: void run(ScriptEngine &engine) override; };
