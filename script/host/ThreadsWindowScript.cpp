#include "script/host/ThreadsWindowScript.h"
#include "script/host/DebugScriptObjectClass.h"
#include "script/host/ScriptSystem.h"
#include "script/host/VarnelScriptSystem.h"
#include <QFile>

namespace {

constexpr qint64 maxScriptSize = qint64(16) << 20;
const QString title = QStringLiteral("Threads Window");

} // namespace

ThreadsWindowScript::ThreadsWindowScript(const HostServices &services, int limit, Reporter reporter)
    : m_services(services), m_limit(limit), m_reporter(std::move(reporter))
{
}

ThreadsWindowScript::~ThreadsWindowScript()
{
    m_context.reset();
}

bool ThreadsWindowScript::load(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() > maxScriptSize) {
        m_reporter(title, QStringLiteral("Cannot open: ") + path);
        return false;
    }
    m_path = path;
    m_context.reset();
    m_threads = std::make_unique<ThreadsWindowScriptObjectClass>(m_services, m_limit);
    m_context = std::make_unique<ThreadsWindowESContext>();
    m_threads->installGlobal(*m_context);
    return run(QString::fromUtf8(file.readAll()), nullptr);
}

bool ThreadsWindowScript::update()
{
    return run(QStringLiteral("update()"), nullptr);
}

bool ThreadsWindowScript::getRegisters(const QString &argument, QString &result)
{
    return run(QStringLiteral("getregs(") + argument + QStringLiteral(")"), &result);
}

QStringList ThreadsWindowScript::rows() const
{
    return m_threads ? m_threads->viewText() : QStringList();
}

bool ThreadsWindowScript::run(const QString &text, QString *result)
{
    if (!m_context)
        return false;
    // Each entry point gets a fresh instruction budget.
    m_context->resetBudget();
    try {
        const ESCompletion completion = m_context->evaluate(m_path, text);
        if (completion.kind == ESCompletion::Thrown) {
            VarnelScriptSystem texts;
            texts.setReporter([this](const QString &, const QString &message) { m_reporter(title, message); });
            texts.reportThrown(*m_context, completion.value, m_path);
            return false;
        }
        if (result)
            *result = m_context->toESString(completion.value);
        return true;
    } catch (const ESFatalError &error) {
        m_reporter(title, error.message);
        m_context.reset();
        return false;
    }
}
