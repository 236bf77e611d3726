#pragma once
#include "shell/ConsoleWidget.h"

class JavaScriptConsoleSession;
class VarnelScriptSystem;

// The JavaScript console: one context kept across inputs, each input's result printed, errors
// as "Uncaught exception: " and the message. A running script keeps the window alive (the
// context lets the event loop turn between instructions), so Stop works while it loops.
class JavaScriptConsole : public ConsoleWidget {
    Q_OBJECT
public:
    explicit JavaScriptConsole(VarnelScriptSystem &system, QWidget *parent = nullptr);
    [[nodiscard]] bool hasContext() const;
    // Runs a whole script (a document) in the console's context when one is open, else in a
    // fresh one; its output and errors come here. False when it failed or was stopped.
    bool runScript(const QString &text, const QString &fileName);

public slots:
    void deleteContext();
    void process(const QString &text);
    void stop();

private:
    void printLine(const QString &text) { print(text + u'\n'); }
    void printError(const QString &text);
    void noteStopped();

    VarnelScriptSystem &m_system;
    JavaScriptConsoleSession *m_session;
};
