#pragma once
#include "debug/VariableTreeBuilder.h"
#include "script/es/ESValue.h"

class ESContext;

// A value as a script value, for Debug.evaluate: structs become objects and arrays arrays of the
// context, numbers and booleans stay themselves, the rest as VariableTreeBuilder tells. The
// objects live as long as the context.
class JavaScriptVariableView : public VariableTreeBuilder<ESValue> {
public:
    explicit JavaScriptVariableView(ESContext &context) : m_context(context) {}

protected:
    ESValue fromText(const QString &text) override;
    ESValue fromPlain(const ExpressionValue &plain, int width) override;
    ESValue newObject() override;
    void setMember(ESValue &object, const QString &name, const ESValue &member) override;
    bool isEmptyObject(const ESValue &object) const override;
    ESValue newArray(const std::vector<ESValue> &elements) override;

private:
    ESContext &m_context;
};
