#include "script/forth/FSConsole.h"
#include "script/forth/ScriptEngine.h"

FSConsole::FSConsole(ScriptEngine &engine, ForthScriptMessageInterface &messages, QObject *parent)
    : QObject(parent), m_engine(engine), m_messages(messages)
{
    connect(this, &FSConsole::inputReady, this, &FSConsole::process);
}

void FSConsole::showBanner()
{
    m_messages.type(QStringLiteral("Dorrin ForthScript Interpreter v1.0.0\n"));
}

void FSConsole::process(const QString &line)
{
    if (m_engine.interpretLine(line))
        ++m_failedLines;
    else
        m_messages.type(QStringLiteral("OK\n"));
}
