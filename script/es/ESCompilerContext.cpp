#include "script/es/ESCompilerContext.h"
#include "script/es/ESAtom.h"
#include "script/es/ESClass.h"
#include "script/es/ESCode.h"
#include "script/es/ESContext.h"
#include "script/es/ESNativeClass.h"
#include "script/es/ESNode.h"

ESAtom *ESCompilerContext::intern(const QString &text)
{
    return m_context.intern(text);
}

ESAtom *ESCompilerContext::numberAtom(double number)
{
    return m_context.valueToAtom(ESValue::fromNumber(number));
}

const ESWellKnownAtoms &ESCompilerContext::names() const
{
    return m_context.names();
}

int ESCompilerContext::addCode(std::unique_ptr<ESCode> code)
{
    const int index = int(m_context.codeObjects.size());
    m_context.codeObjects.push_back(std::move(code));
    return index;
}

ESObject *ESCompilerContext::globalClosure(int codeIndex)
{
    ESObject *const savedScope = m_context.scope;
    m_context.scope = nullptr;
    ESObject *result = m_context.makeClosure(unsigned(codeIndex));
    m_context.scope = savedScope;
    return result;
}

QString ESCompilerContext::listing(const ESCode &code) const
{
    return code.listing(m_context);
}

int ESCompilerContext::globalSlot(ESAtom *atom)
{
    std::vector<ESProperty> &globals = m_context.globalObject->properties;
    const auto cached = m_globalSlots.constFind(atom);
    if (cached != m_globalSlots.constEnd() && std::size_t(cached.value()) < globals.size()
        && globals[std::size_t(cached.value())].key == atom)
        return cached.value();
    for (std::size_t i = 0; i < globals.size(); ++i) {
        if (globals[i].key == atom) {
            m_globalSlots.insert(atom, int(i));
            return int(i);
        }
    }
    ESClass::defaultPut(m_context.globalObject, atom, ESValue::undefined());
    const int slot = int(globals.size()) - 1;
    m_globalSlots.insert(atom, slot);
    return slot;
}

void ESCompilerContext::declareVariable(ESNode *function, ESAtom *atom, std::uint32_t flags)
{
    if (!function->parentFunction) {
        globalSlot(atom);
        return;
    }
    ESCode *code = function->code;
    for (const ESProperty &variable : code->variables) {
        if (variable.key == atom)
            return;
    }
    code->variables.push_back(ESProperty{atom, flags, 0, ESValue::undefined()});
    code->localCount = std::int32_t(code->variables.size()) - code->parameterCount;
}

void ESCompilerContext::declareParameter(ESNode *function, ESAtom *atom)
{
    ESCode *code = function->code;
    code->variables.insert(code->variables.begin() + code->parameterCount,
                           ESProperty{atom, ESPropertyFlag::Parameter | ESPropertyFlag::DontDelete,
                                      0, ESValue::undefined()});
    ++code->parameterCount;
}

void ESCompilerContext::syntaxError(int line, const QString &message)
{
    m_context.currentLine = std::uint32_t(line);
    m_context.raiseError(m_context.syntaxErrorClass->constructorObject, message);
}

bool ESCompilerContext::nativeStackLow() const
{
    return m_context.nativeStackLow();
}
