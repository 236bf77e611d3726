#include "script/forth/FSConsoleSession.h"
#include "script/forth/ScriptEngine.h"

FSConsoleSession::FSConsoleSession(ScriptEngine &engine, ForthScriptMessageInterface &messages, QObject *parent)
    : QObject(parent), m_engine(engine), m_messages(messages)
{
    connect(this, &FSConsoleSession::inputReady, this, &FSConsoleSession::process);
}

void FSConsoleSession::showBanner()
{
    m_messages.type(QStringLiteral("Dorrin ForthScript Interpreter v1.0.0\n"));
}

void FSConsoleSession::process(const QString &line)
{
    if (m_engine.interpretLine(line))
        ++m_failedLines;
    else
        m_messages.type(QStringLiteral("OK\n"));
}
