#pragma once
#include "script/forth/pcode.h"

// Input and output. A string is one cell of type string, never an address and a count.
class PWord final : public PNative { public: void run(ScriptEngine &engine) override; };
class PParse final : public PNative { public: void run(ScriptEngine &engine) override; };
class PQuery final : public PNative { public: void run(ScriptEngine &engine) override; };
class PRefill final : public PNative { public: void run(ScriptEngine &engine) override; };
class PSourceId final : public PNative { public: void run(ScriptEngine &engine) override; };
class PSaveInput final : public PNative { public: void run(ScriptEngine &engine) override; };
class PRestoreInput final : public PNative { public: void run(ScriptEngine &engine) override; };
class PParen final : public PNative { public: void run(ScriptEngine &engine) override; };
class PBackslash final : public PNative { public: void run(ScriptEngine &engine) override; };
class PDotParen final : public PNative { public: void run(ScriptEngine &engine) override; };
class PDotQuote final : public PNative { public: void run(ScriptEngine &engine) override; };
class PSQuote final : public PNative { public: void run(ScriptEngine &engine) override; };
class PDot final : public PNative { public: void run(ScriptEngine &engine) override; };
class PDotR final : public PNative { public: void run(ScriptEngine &engine) override; };
class PDotS final : public PNative { public: void run(ScriptEngine &engine) override; };
class PEmit final : public PNative { public: void run(ScriptEngine &engine) override; };
class PType final : public PNative { public: void run(ScriptEngine &engine) override; };
class PCR final : public PNative { public: void run(ScriptEngine &engine) override; };
class PSpace final : public PNative { public: void run(ScriptEngine &engine) override; };
class PSpaces final : public PNative { public: void run(ScriptEngine &engine) override; };
class PToNumber final : public PNative { public: void run(ScriptEngine &engine) override; };
class PConvert final : public PNative { public: void run(ScriptEngine &engine) override; };
class PBase final : public PNative { public: void run(ScriptEngine &engine) override; };
class PSetBase final : public PNative {
public:
    explicit PSetBase(int base) : m_base(base) {}
    void run(ScriptEngine &engine) override;

private:
    int m_base;
};
class PEvaluate final : public PNative { public: void run(ScriptEngine &engine) override; };

// Own words on strings.
class PHTMLEscape final : public PNative { public: void run(ScriptEngine &engine) override; };
class PCommaComma final : public PNative { public: void run(ScriptEngine &engine) override; };
class PStringArg final : public PNative { public: void run(ScriptEngine &engine) override; };

// Types a text fixed when the definition was compiled (`."`).
class PTypeRun final : public pcode {
public:
    explicit PTypeRun(QString text) : text(std::move(text)) {}
    void run(ScriptEngine &engine) override;
    QString text;
};
