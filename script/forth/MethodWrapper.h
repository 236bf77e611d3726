#pragma once
#include "script/forth/pcode.h"
#include <memory>

class ScriptEngine;

// A host command bound to a Forth word: what a host word does lives in a wrapper, so the engine
// needs to know nothing of the window, the editor or the debugger that a host gives it.
class MethodWrapper {
public:
    virtual ~MethodWrapper() = default;
    virtual void invoke(ScriptEngine &engine) = 0;
};

// The dictionary entry of a host word: running it invokes its wrapper.
class Unwrapper : public PCFA {
public:
    explicit Unwrapper(std::unique_ptr<MethodWrapper> wrapper)
        : PCFA(Op::Run), m_wrapper(std::move(wrapper)) {}
    void run(ScriptEngine &engine) override { m_wrapper->invoke(engine); }

private:
    std::unique_ptr<MethodWrapper> m_wrapper;
};
