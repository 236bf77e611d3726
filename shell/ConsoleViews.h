#pragma once
#include "shell/ForthHostWords.h"
#include <QObject>
#include <QString>
#include <functional>
#include <memory>

class BuildReporter;
class DocumentHost;
class FSConsole;
class JavaScriptConsole;
class QDockWidget;
class ScriptBuildSession;
class VarnelScriptSystem;
class VarnelWindow;

// The debugger as the host words see it while no debug session can run: never debugging.
class NoDebugSession : public DebuggerStateInterface {
public:
    bool isDebugging() const override { return false; }
    QStringList localsText() const override { return {}; }
};

// The window's consoles and script commands: the JavaScript console over the window's script
// system (its scripts see the open solution through Build), the Forth console with the host
// words that drive the focused editor and the window's actions, running the current document
// as a script, and stopping whatever script runs.
class ConsoleViews : public QObject, public ForthHostInterface {
    Q_OBJECT
public:
    explicit ConsoleViews(VarnelWindow *window);
    ~ConsoleViews() override;

    [[nodiscard]] JavaScriptConsole *javaScriptConsole() const { return m_javaScript; }
    [[nodiscard]] FSConsole *forthConsole() const { return m_forth; }
    [[nodiscard]] QDockWidget *javaScriptDock() const { return m_javaScriptDock; }
    [[nodiscard]] QDockWidget *forthDock() const { return m_forthDock; }
    [[nodiscard]] VarnelScriptSystem *scriptSystem() const { return m_system; }
    // A script runs in one of the consoles.
    [[nodiscard]] bool isRunning() const;

    // Runs the current document by its language (.js, .fs/.fth/.4th) in its console, which is
    // shown. False, with a status message, when there is nothing to run.
    bool runCurrentDocument();
    void stopScripts();
    // Shows the Forth console and enters each line of `text` there, as if typed.
    void typeForth(const QString &text);
    // The documents ScriptRun and the console's Locate use; null (the default): the window's.
    void setDocuments(DocumentHost *documents) { m_documentsOverride = documents; }
    // Where LAUNCH-BROWSER sends an address (tests replace the desktop's browser).
    void setUrlOpener(std::function<bool(const QString &)> opener) { m_openUrl = std::move(opener); }

    // ForthHostInterface
    [[nodiscard]] EditCommandInterface *focusedEditor() const override;
    void triggerAction(const QString &name) override;
    [[nodiscard]] DebuggerStateInterface &debugger() const override { return m_debugger; }
    void print(const QString &text) override;
    bool openUrl(const QString &url) override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QDockWidget *addDock(const QString &title, const QString &name, QWidget *console);
    void locate(const QString &file, int line);
    void busyChanged(bool busy);
    void status(const QString &text);
    [[nodiscard]] DocumentHost *documents() const;

    VarnelWindow *m_window;
    VarnelScriptSystem *m_system;
    JavaScriptConsole *m_javaScript = nullptr;
    FSConsole *m_forth = nullptr;
    QDockWidget *m_javaScriptDock = nullptr;
    QDockWidget *m_forthDock = nullptr;
    mutable NoDebugSession m_debugger;
    std::function<bool(const QString &)> m_openUrl;
    // What Build acts on in a script: the window's solution as the context was made.
    std::unique_ptr<ScriptBuildSession> m_build;
    std::unique_ptr<BuildReporter> m_buildReporter;
    DocumentHost *m_documentsOverride = nullptr;
    bool m_closeWhenIdle = false;   // the window was closed while a script ran
};
