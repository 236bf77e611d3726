#include "shell/FSConsole.h"
#include "script/forth/FSConsoleSession.h"
#include <QCoreApplication>

FSConsole::FSConsole(const ScriptEngine::Registrar &hostWords, QWidget *parent)
    : ConsoleWidget(parent), m_engine(std::make_unique<ScriptEngine>(static_cast<ForthScriptMessageInterface *>(this), hostWords))
{
    setObjectName(QStringLiteral("ForthConsoleWidget"));
    m_session = new FSConsoleSession(*m_engine, *this, this);
    m_engine->setInterruptCheck([this] {
        QCoreApplication::processEvents();
        return m_stopRequested;
    }, pollInterval);
    setCompletions(m_engine.get());
    connect(this, &ConsoleWidget::inputReady, this, &FSConsole::process);
    connect(this, &ConsoleWidget::stopRequested, this, &FSConsole::stop);
    m_session->showBanner();
}

FSConsole::~FSConsole() = default;

void FSConsole::process(const QString &line)
{
    if (isBusy())
        return;
    // The line is echoed as typed; what it prints follows on the same line, as Forth does.
    type(line + u' ');
    setBusy(true);
    m_stopRequested = false;
    m_session->process(line);
    setBusy(false);
}

bool FSConsole::runText(const QString &text, const QString &fileName)
{
    if (isBusy())
        return false;
    if (!m_atLineStart)
        type(QStringLiteral("\n"));
    setBusy(true);
    m_stopRequested = false;
    const bool ok = !m_engine->evaluateText(text, fileName);
    if (!m_atLineStart)
        type(QStringLiteral("\n"));
    setBusy(false);
    return ok;
}

void FSConsole::stop()
{
    m_stopRequested = true;
}

void FSConsole::type(const QString &text)
{
    if (text.isEmpty())
        return;
    print(text);
    m_atLineStart = text.endsWith(u'\n');
}

// An error starts on a line of its own, so the location it begins with can be found again.
void FSConsole::error(const QString &text)
{
    if (!m_atLineStart)
        type(QStringLiteral("\n"));
    type(text + u'\n');
}
