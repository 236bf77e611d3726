#pragma once
#include "script/forth/pcode.h"

// Word lists and the search order. A word list is named by its number.
class FForth final : public PNative { public: void run(ScriptEngine &engine) override; };
class FDefinitions final : public PNative { public: void run(ScriptEngine &engine) override; };
class FFind final : public PNative { public: void run(ScriptEngine &engine) override; };
class FForthWordList final : public PNative { public: void run(ScriptEngine &engine) override; };
class FGetCurrent final : public PNative { public: void run(ScriptEngine &engine) override; };
class FGetOrder final : public PNative { public: void run(ScriptEngine &engine) override; };
class FSearchWordList final : public PNative { public: void run(ScriptEngine &engine) override; };
class FSetCurrent final : public PNative { public: void run(ScriptEngine &engine) override; };
class FSetOrder final : public PNative { public: void run(ScriptEngine &engine) override; };
class FWordList final : public PNative { public: void run(ScriptEngine &engine) override; };
class FWords final : public PNative { public: void run(ScriptEngine &engine) override; };
class FAlso final : public PNative { public: void run(ScriptEngine &engine) override; };
class FOrder final : public PNative { public: void run(ScriptEngine &engine) override; };
class FOnly final : public PNative { public: void run(ScriptEngine &engine) override; };
class FPrevious final : public PNative { public: void run(ScriptEngine &engine) override; };
class FVocabulary final : public PNative { public: void run(ScriptEngine &engine) override; };

// A vocabulary's word: puts its list first in the search order.
class FVocabularyChild final : public PNative {
public:
    explicit FVocabularyChild(qint64 list) : list(list) {}
    void run(ScriptEngine &engine) override;
    const qint64 list;
};
