#pragma once
#include "script/es/ESContext.h"
#include "script/es/ESNativeClass.h"
#include <QString>

// A context for tests: `Echo(x)` appends x's text and a newline to `output`, and an optional
// instruction budget stops runs through shouldContinue.
class EchoContext : public ESContext {
public:
    explicit EchoContext(qint64 budget = 0)
        : ESContext(budget > 0 ? ContinuePolling::On : ContinuePolling::Off), m_budget(budget)
    {
        m_echo.initialise(*this);
    }
    bool shouldContinue() override { return ++executed <= m_budget; }

    QString output;
    qint64 executed = 0;

private:
    class EchoClass : public ESNativeClass {
    public:
        EchoClass() : ESNativeClass(QStringLiteral("Echo"), QStringLiteral("Echo"), rows) {}
        void initialise(ESContext &context) override
        {
            installFunctions(context, nullptr, context.globalObject);
        }
        static void echo(ESNativeCall &call)
        {
            auto &context = static_cast<EchoContext &>(call.context);
            context.output += context.toESString(call.argument(0)) + QLatin1Char('\n');
            call.setResult(ESValue::undefined());
        }
        static constexpr ESNativeFunctionRow rows[] = {
            {"Echo", 1, 0, ESNativeRowFlag::Static, nullptr, echo, nullptr},
        };
    };
    EchoClass m_echo;
    qint64 m_budget;
};

// Runs `source` and describes the outcome in one text: the echoed lines, then "=> value" for
// a defined completion value, or "thrown: message @ line" for an error.
inline QString runScript(EchoContext &context, const QString &source)
{
    const ESCompletion completion = context.evaluate(QStringLiteral("test.js"), source);
    QString text = context.output;
    if (completion.kind == ESCompletion::Thrown) {
        ESValue value = completion.value;
        if (value.isObject()) {
            const ESValue message = context.get(value.object, context.intern(QStringLiteral("message")));
            const ESValue line = context.get(value.object, context.intern(QStringLiteral("lineNumber")));
            text += QStringLiteral("thrown: ") + context.toESString(message) + QStringLiteral(" @ ")
                    + context.toESString(line) + QLatin1Char('\n');
        } else {
            text += QStringLiteral("thrown: ") + context.toESString(value) + QLatin1Char('\n');
        }
    } else if (!completion.value.isUndefined()) {
        text += QStringLiteral("=> ") + context.toESString(completion.value) + QLatin1Char('\n');
    }
    return text;
}

inline QString runScript(const QString &source)
{
    EchoContext context;
    return runScript(context, source);
}
