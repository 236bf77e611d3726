#pragma once
#include "script/forth/pcode.h"

// Memory words. One cell is one address unit, and one character takes one cell.
class PFetch final : public PNative { public: PFetch() : PNative(Op::Fetch) {} void run(ScriptEngine &engine) override; };
class PStore final : public PNative { public: PStore() : PNative(Op::Store) {} void run(ScriptEngine &engine) override; };
class PPlusStore final : public PNative { public: void run(ScriptEngine &engine) override; };
class PTwoFetch final : public PNative { public: void run(ScriptEngine &engine) override; };
class PTwoStore final : public PNative { public: void run(ScriptEngine &engine) override; };
class PComma final : public PNative { public: void run(ScriptEngine &engine) override; };
class PAllot final : public PNative { public: void run(ScriptEngine &engine) override; };
class PHere final : public PNative { public: void run(ScriptEngine &engine) override; };
class PUnused final : public PNative { public: void run(ScriptEngine &engine) override; };
class PMove final : public PNative { public: void run(ScriptEngine &engine) override; };
class PCharPlus final : public PNative { public: void run(ScriptEngine &engine) override; };
class PChars final : public PNative { public: void run(ScriptEngine &engine) override; };
class PCount final : public PNative { public: void run(ScriptEngine &engine) override; };
