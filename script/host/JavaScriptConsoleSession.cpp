#include "script/host/JavaScriptConsoleSession.h"
#include "script/host/VarnelScriptSystem.h"
#include <QRegularExpression>

namespace {

// The help of a host function as the console shows it: its HTML as plain text. Empty for any
// other value.
QString helpText(ESContext &context, ESValue value)
{
    if (!value.isObject() || !value.object || !value.object->functionInfo)
        return {};
    const ESValue help = context.get(value.object, context.intern(QStringLiteral("help")));
    if (!help.isString())
        return {};
    static const QRegularExpression tag(QStringLiteral("<[^>]*>"));
    QString text = context.toESString(help);
    text.remove(tag);
    text.replace(QLatin1String("&lt;"), QLatin1String("<"));
    text.replace(QLatin1String("&gt;"), QLatin1String(">"));
    text.replace(QLatin1String("&amp;"), QLatin1String("&"));
    return text;
}

} // namespace

JavaScriptConsoleSession::JavaScriptConsoleSession(VarnelScriptSystem &system, Printer print, QObject *parent)
    : QObject(parent), m_system(system), m_print(std::move(print))
{
}

JavaScriptConsoleSession::~JavaScriptConsoleSession()
{
    deleteContext();
}

bool JavaScriptConsoleSession::process(const QString &text)
{
    if (!m_entered) {
        m_system.enter(m_system.processEvents());
        m_entered = true;
    }
    m_system.clearStopRequest();
    try {
        ESValue value;
        if (!m_system.evaluateInContext(text, QString(), value))
            return false;
        if (const QString help = helpText(*m_system.context(), value); !help.isEmpty()) {
            m_print(help);
            return true;
        }
        for (const QString &line : VarnelScriptSystem::resultList(*m_system.context(), value))
            m_print(line);
        return true;
    } catch (const ESFatalError &error) {
        // A fatal error leaves the context unusable: the next input gets a fresh one.
        m_system.reportFatal(error.message);
        deleteContext();
        return false;
    }
}

void JavaScriptConsoleSession::deleteContext()
{
    if (!m_entered)
        return;
    m_entered = false;
    m_system.leave();
}

void JavaScriptConsoleSession::stop()
{
    m_system.requestStop();
}
