#pragma once
#include "script/forth/pcode.h"

// Arithmetic, comparison and the float words. Arithmetic is typed (see ForthArithmetic.h).
class PPlus final : public PNative { public: PPlus() : PNative(Op::Plus) {} void run(ScriptEngine &engine) override; };
class PMinus final : public PNative { public: PMinus() : PNative(Op::Minus) {} void run(ScriptEngine &engine) override; };
class PStar final : public PNative { public: PStar() : PNative(Op::Star) {} void run(ScriptEngine &engine) override; };
class POnePlus final : public PNative { public: POnePlus() : PNative(Op::OnePlus) {} void run(ScriptEngine &engine) override; };
class POneMinus final : public PNative { public: POneMinus() : PNative(Op::OneMinus) {} void run(ScriptEngine &engine) override; };
class PLessThan final : public PNative { public: PLessThan() : PNative(Op::Less) {} void run(ScriptEngine &engine) override; };
class PGreaterThan final : public PNative { public: PGreaterThan() : PNative(Op::Greater) {} void run(ScriptEngine &engine) override; };
class PEquals final : public PNative { public: PEquals() : PNative(Op::Equals) {} void run(ScriptEngine &engine) override; };
class PNotEquals final : public PNative { public: PNotEquals() : PNative(Op::NotEquals) {} void run(ScriptEngine &engine) override; };
class PZeroEquals final : public PNative { public: PZeroEquals() : PNative(Op::ZeroEquals) {} void run(ScriptEngine &engine) override; };
class PSlash final : public PNative { public: void run(ScriptEngine &engine) override; };
class PMod final : public PNative { public: void run(ScriptEngine &engine) override; };
class PSlashMod final : public PNative { public: void run(ScriptEngine &engine) override; };
class PStarSlash final : public PNative { public: void run(ScriptEngine &engine) override; };
class PStarSlashMod final : public PNative { public: void run(ScriptEngine &engine) override; };
class PTwoStar final : public PNative { public: void run(ScriptEngine &engine) override; };
class PTwoSlash final : public PNative { public: void run(ScriptEngine &engine) override; };
class PAbs final : public PNative { public: void run(ScriptEngine &engine) override; };
class PNegate final : public PNative { public: void run(ScriptEngine &engine) override; };
class PMax final : public PNative { public: void run(ScriptEngine &engine) override; };
class PMin final : public PNative { public: void run(ScriptEngine &engine) override; };
class PAnd final : public PNative { public: PAnd() : PNative(Op::And) {} void run(ScriptEngine &engine) override; };
class POr final : public PNative { public: POr() : PNative(Op::Or) {} void run(ScriptEngine &engine) override; };
class PXor final : public PNative { public: PXor() : PNative(Op::Xor) {} void run(ScriptEngine &engine) override; };
class PInvert final : public PNative { public: void run(ScriptEngine &engine) override; };
class PLShift final : public PNative { public: void run(ScriptEngine &engine) override; };
class PRShift final : public PNative { public: void run(ScriptEngine &engine) override; };
class PGreaterEqual final : public PNative { public: void run(ScriptEngine &engine) override; };
class PULessThan final : public PNative { public: void run(ScriptEngine &engine) override; };
class PUGreaterThan final : public PNative { public: void run(ScriptEngine &engine) override; };
class PZeroNotEquals final : public PNative { public: void run(ScriptEngine &engine) override; };
class PZeroLess final : public PNative { public: void run(ScriptEngine &engine) override; };
class PZeroGreater final : public PNative { public: void run(ScriptEngine &engine) override; };
class PZeroGreaterEqual final : public PNative { public: void run(ScriptEngine &engine) override; };
class PWithin final : public PNative { public: void run(ScriptEngine &engine) override; };
class PFloor final : public PNative { public: void run(ScriptEngine &engine) override; };
class PFSin final : public PNative { public: void run(ScriptEngine &engine) override; };
class PFCos final : public PNative { public: void run(ScriptEngine &engine) override; };
class PFTan final : public PNative { public: void run(ScriptEngine &engine) override; };
