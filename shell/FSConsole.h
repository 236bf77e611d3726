#pragma once
#include "script/forth/ScriptEngine.h"
#include "shell/ConsoleWidget.h"
#include <memory>

class FSConsoleSession;

// The Forth console: the banner, one line at a time through the engine, "OK" after a line that
// ran without error; a failing line's text is printed and the engine reset. The engine lets the
// event loop turn every few thousand steps, and Stop ends a run with the host interrupt (-28).
class FSConsole : public ConsoleWidget, private ForthScriptMessageInterface {
    Q_OBJECT
public:
    // Steps between two looks at the event loop while a program runs.
    static constexpr qint64 pollInterval = 4096;

    // `hostWords` adds the words that drive the environment to the engine's word set.
    explicit FSConsole(const ScriptEngine::Registrar &hostWords = {}, QWidget *parent = nullptr);
    ~FSConsole() override;
    [[nodiscard]] ScriptEngine &engine() { return *m_engine; }
    // Runs a whole text (a document) named `fileName`; false when it failed or was stopped.
    bool runText(const QString &text, const QString &fileName);

public slots:
    void process(const QString &line);
    void stop();

private:
    void type(const QString &text) override;
    void error(const QString &text) override;

    std::unique_ptr<ScriptEngine> m_engine;
    FSConsoleSession *m_session;
    bool m_stopRequested = false;
    bool m_atLineStart = true;
};
