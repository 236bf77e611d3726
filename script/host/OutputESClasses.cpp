// The small host objects: WScript and Script write to the output terminal, Varnel waits and
// marks a run as failed.
#include "script/host/HostClasses.h"
#include "script/host/VarnelScriptSystem.h"
#include "script/es/ESContext.h"
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

namespace {

constexpr HostFunctionRow wscriptRows[] = {
    {0, "Echo", 1, nullptr, nullptr},
};

constexpr HostFunctionRow builtinScriptRows[] = {
    {1, "Echo", 0, nullptr, "<b>WScript.Echo(s)</b> echos string <i>s</i> to the output terminal."},
};

constexpr HostFunctionRow varnelRows[] = {
    {0, "Delay", 1, "Varnel.prototype.Delay", nullptr},
    {1, "SetError", 1, "Varnel.prototype.SetError", nullptr},
};

// The longest Delay: a day.
constexpr qint64 maxDelay = qint64(24) * 3600 * 1000;

void echo(const HostServices &services, ESNativeCall &call)
{
    if (services.output)
        services.output(call.context.toESString(call.argument(0)));
    call.setResult(ESValue::undefined());
}

} // namespace

WScriptESClass::WScriptESClass(const HostServices &services)
    : HostClass(QStringLiteral("WScript"), wscriptRows), m_services(services)
{
}

bool WScriptESClass::callHost(int id, ESNativeCall &call)
{
    if (id != 0)
        return false;
    echo(m_services, call);
    return true;
}

BuiltinScript::BuiltinScript(const HostServices &services)
    : HostClass(QStringLiteral("Script"), builtinScriptRows), m_services(services)
{
}

bool BuiltinScript::callHost(int id, ESNativeCall &call)
{
    if (id != 1)
        call.context.throwError(QStringLiteral("bad signature in BuiltinScript::call"));
    echo(m_services, call);
    return true;
}

VarnelESClass::VarnelESClass(const HostServices &services)
    : HostClass(QStringLiteral("Varnel"), varnelRows), m_services(services)
{
}

bool VarnelESClass::callHost(int id, ESNativeCall &call)
{
    switch (id) {
    case 0: {
        // Waits in small slices so that a stop request and the interface are served meanwhile.
        const qint64 milliseconds = HostArguments::integer(call, 0, "Varnel.Delay", 0, maxDelay);
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < milliseconds) {
            if (m_services.system && m_services.system->stopRequested())
                break;
            if (m_services.system && m_services.system->processEvents())
                QCoreApplication::processEvents();
            QThread::msleep(qMin<qint64>(10, milliseconds - timer.elapsed() + 1));
        }
        call.setResult(ESValue::undefined());
        return true;
    }
    case 1:
        if (m_services.system)
            m_services.system->setScriptError(call.context.toESString(call.argument(0)));
        call.setResult(ESValue::undefined());
        return true;
    default: return false;
    }
}
