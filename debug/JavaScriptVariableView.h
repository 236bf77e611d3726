#pragma once
#include "debug/VariableListBuilder.h"
#include "script/es/ESValue.h"
#include <QString>
#include <vector>

class ESContext;
struct ESObject;

// A value as a script value, for Debug.evaluate: structs become objects, arrays become arrays,
// numbers and booleans stay themselves; enumerators that match, pointers, markers and the
// failures of members become strings, as in the text view.
class JavaScriptVariableView : public VariableListBuilder {
public:
    explicit JavaScriptVariableView(ESContext &context) : m_context(context) {}

    void addValue(const QString &name, Radix radix, const ExpressionValue &value,
                  const DebugLocation *location, int width) override;
    void beginStruct(const QString &name, const ExpressionValue &value,
                     const DebugLocation *location) override;
    void endStruct() override;
    void beginArray(const QString &name, const ExpressionValue &value,
                    const DebugLocation *location) override;
    void endArray() override;
    void beginPointer(const QString &name, const ExpressionValue &value,
                      const DebugLocation *location) override;
    void endPointer() override;
    void addEllipsis() override;
    void addFailure(const QString &name, const QString &message) override;
    void finish() override;

    // The value of the last walk; objects live as long as the context.
    ESValue result() const { return m_result; }

private:
    struct Level {
        QString name;
        bool isArray = false;
        bool cut = false;
        ESObject *object = nullptr;     // a struct's
        std::vector<ESValue> elements;  // an array's
    };
    void add(const QString &name, ESValue value);
    ESValue text(const QString &text);
    void close();

    ESContext &m_context;
    std::vector<Level> m_levels;
    ESValue m_result;
};
