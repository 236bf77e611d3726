#pragma once
#include <QObject>
#include <QString>

class ScriptEngine;
class ForthScriptMessageInterface;

// The interactive face of the engine: a banner, then one line at a time; "OK" follows a line
// that ran without error. A failing line's text reaches the host through the engine's error
// channel, and the engine is reset for the next line.
class FSConsoleSession : public QObject {
    Q_OBJECT
public:
    FSConsoleSession(ScriptEngine &engine, ForthScriptMessageInterface &messages,
              QObject *parent = nullptr);
    void showBanner();
    // Lines that ended in an uncaught throw since the console was made.
    int failedLines() const { return m_failedLines; }

signals:
    void inputReady(const QString &line);

public slots:
    void process(const QString &line);

private:
    ScriptEngine &m_engine;
    ForthScriptMessageInterface &m_messages;
    int m_failedLines = 0;
};
