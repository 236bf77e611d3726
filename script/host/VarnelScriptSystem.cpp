#include "script/host/VarnelScriptSystem.h"
#include "foundation/HException.h"
#include "foundation/Report.h"
#include "script/es/ESObject.h"

VarnelScriptSystem::VarnelScriptSystem(QObject *parent) : ScriptSystem(parent) {}

bool VarnelScriptSystem::evaluate(const QString &text, const QString &fileName,
                                  bool processEvents, QStringList &results)
{
    results.clear();
    return run(text, fileName, processEvents, [&](ESContext &context, ESValue value) {
        results = resultList(context, value);
    });
}

QStringList VarnelScriptSystem::resultList(ESContext &context, ESValue value)
{
    QStringList results;
    if (value.isUndefined())
        return results;
    if (value.isObject() && value.object && context.isArray(value.object)) {
        ESObject *array = value.object;
        const double length = context.toNumber(context.get(array, context.names().length));
        for (double i = 0; i < length && i < double(maxResultElements); ++i) {
            const ESValue element = context.get(array, context.valueToAtom(ESValue::fromNumber(i)));
            results.append(context.toESString(element, 10));
        }
        return results;
    }
    results.append(context.toESString(value));
    return results;
}

bool VarnelScriptSystem::evaluate(const QString &text, const QString &fileName,
                                  bool processEvents, QVariant &result)
{
    result = QVariant();
    return run(text, fileName, processEvents, [&](ESContext &context, ESValue value) {
        switch (value.tag) {
        case ESTag::Undefined: break;
        case ESTag::Null: break;
        case ESTag::Boolean: result = value.number != 0.0; break;
        case ESTag::Number: result = value.number; break;
        default: result = context.toESString(value); break;
        }
    });
}

bool VarnelScriptSystem::run(const QString &text, const QString &fileName, bool processEvents,
                             const std::function<void(ESContext &, ESValue)> &take)
{
    return run({Source{fileName, text}}, processEvents, take);
}

bool VarnelScriptSystem::evaluate(const std::vector<Source> &sources, bool processEvents,
                                  QStringList &results)
{
    results.clear();
    return run(sources, processEvents, [&](ESContext &context, ESValue value) {
        results = resultList(context, value);
    });
}

bool VarnelScriptSystem::run(const std::vector<Source> &sources, bool processEvents,
                             const std::function<void(ESContext &, ESValue)> &take)
{
    enter(processEvents);
    // A nested run (a host function running a script) reports its own errors; the outcome of
    // this run is kept apart from it.
    if (depth() == 1)
        m_scriptError.clear();
    Outcome outcome = Outcome::Success;
    const QString fileName = sources.empty() ? QString() : sources.back().fileName;
    try {
        ESValue value;
        bool ran = true;
        for (const Source &source : sources) {
            ran = evaluateInContext(source.text, source.fileName, value);
            if (!ran || stopRequested() || budgetSpent())
                break;
        }
        if (ran)
            take(*context(), value);
        else
            outcome = Outcome::Error;
    } catch (const ESFatalError &error) {
        outcome = Outcome::Fatal;
        reportFatal(error.message);
    } catch (const HException &error) {
        outcome = Outcome::Error;
        report(QStringLiteral("Script runtime error"), error.message());
    } catch (...) {
        outcome = Outcome::Fatal;
        reportFatal(QStringLiteral("unexpected failure"));
    }
    if (outcome == Outcome::Success && depth() == 1 && !m_scriptError.isEmpty()) {
        outcome = Outcome::Error;
        report(m_productName + QStringLiteral(" Script runtime error ") + fileName, m_scriptError);
    }
    leave();
    m_outcome = outcome;
    return outcome == Outcome::Success;
}

bool VarnelScriptSystem::evaluateInContext(const QString &text, const QString &fileName,
                                           ESValue &result)
{
    ESContext &current = *context();
    const ESCompletion completion = current.evaluate(fileName, text);
    if (completion.kind == ESCompletion::Thrown) {
        m_outcome = Outcome::Error;
        reportThrown(current, completion.value, fileName);
        return false;
    }
    result = completion.value;
    return true;
}

void VarnelScriptSystem::reportThrown(ESContext &context, ESValue value, const QString &fileName)
{
    if (!value.isObject() || !value.object) {
        report(QStringLiteral("Script runtime error"),
               QStringLiteral("Uncaught exception: ") + context.toESString(value));
        return;
    }
    ESObject *error = value.object;
    const auto property = [&](const char *name) {
        return context.get(error, context.intern(QString::fromLatin1(name)));
    };
    const QString message = context.toESString(property("message"));
    QString text = message;
    const ESValue line = property("lineNumber");
    if (!line.isUndefined()) {
        text += QStringLiteral("\nAt line ") + context.toESString(line);
        const ESValue file = property("fileName");
        if (!file.isUndefined())
            text += QStringLiteral(" of ") + context.toESString(file);
        text += QStringLiteral("\n\nSource line in error: ")
                + elidedSourceLine(context.toESString(property("sourceLine")));
    }
    if (message == QLatin1String("not a function object") && m_projectScriptFile.isEmpty()) {
        text += QStringLiteral("\n\nNote that no ") + m_productName
                + QStringLiteral(" Script File has been specified. If the script being executed "
                                 "calls\n")
                + m_productName
                + QStringLiteral(" Script File functions then this is the cause of the error.");
    }
    report(m_productName + QStringLiteral(" Script runtime error ") + fileName, text);
}

void VarnelScriptSystem::report(const QString &title, const QString &text)
{
    if (m_reporter)
        m_reporter(title, text);
}

void VarnelScriptSystem::reportFatal(const QString &text)
{
    m_outcome = Outcome::Fatal;
    report(QStringLiteral("Script Fatal Error"), text);
}
