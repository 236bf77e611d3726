#pragma once
#include "script/forth/MethodWrapper.h"
#include "shell/EditCommands.h"
#include <QString>
#include <QStringList>
#include <span>

class ScriptEngine;

// What the debugger tells the host words: whether a session runs, and the current frame's
// locals already formatted for printing.
class DebuggerStateInterface {
public:
    virtual ~DebuggerStateInterface() = default;
    [[nodiscard]] virtual bool isDebugging() const = 0;
    [[nodiscard]] virtual QStringList localsText() const = 0;
};

// What the Forth host words reach of the environment. The window answers in the shell; tests
// answer with stand-ins.
class ForthHostInterface {
public:
    virtual ~ForthHostInterface() = default;
    // The editor with the focus, or the current document's; null when none is open.
    [[nodiscard]] virtual EditCommandInterface *focusedEditor() const = 0;
    // Triggers the named action of the window; an unknown or disabled one does nothing.
    virtual void triggerAction(const QString &name) = 0;
    [[nodiscard]] virtual DebuggerStateInterface &debugger() const = 0;
    // Text for the console the words run in.
    virtual void print(const QString &text) = 0;
    // Opens the address in the system's web browser; false when none could be started.
    virtual bool openUrl(const QString &url) = 0;
};

// A host word that acts through the window's interface.
class HostWrapper : public MethodWrapper {
public:
    explicit HostWrapper(ForthHostInterface &host) : m_host(host) {}

protected:
    ForthHostInterface &m_host;
};

// Calls a member of the focused editor; with no editor it does nothing.
class EditorMethodWrapper : public HostWrapper {
public:
    EditorMethodWrapper(ForthHostInterface &host, EditCommandMember member) : HostWrapper(host), m_member(member) {}
    void invoke(ScriptEngine &engine) override;

private:
    EditCommandMember m_member;
};

// ( string -- ) inserts the string at the caret of the focused editor.
class EditorInsert : public HostWrapper {
public:
    using HostWrapper::HostWrapper;
    void invoke(ScriptEngine &engine) override;
};

// ( -- flag ) true while a debug session is active.
class DebuggingQuery : public MethodWrapper {
public:
    explicit DebuggingQuery(DebuggerStateInterface &debugger) : m_debugger(debugger) {}
    void invoke(ScriptEngine &engine) override;

private:
    DebuggerStateInterface &m_debugger;
};

// Triggers one action of the window.
class ActionWrapper : public HostWrapper {
public:
    ActionWrapper(ForthHostInterface &host, QString action) : HostWrapper(host), m_action(std::move(action)) {}
    void invoke(ScriptEngine &engine) override;

private:
    QString m_action;
};

// Prints the current frame's locals into the console.
class PrintLocalsWrapper : public HostWrapper {
public:
    using HostWrapper::HostWrapper;
    void invoke(ScriptEngine &engine) override;
};

// ( string -- ) opens the address in the system's web browser.
class LaunchBrowserWrapper : public HostWrapper {
public:
    using HostWrapper::HostWrapper;
    void invoke(ScriptEngine &engine) override;
};

namespace ForthHostWords {
// The editor words and the member each calls.
struct EditorWord {
    const char *word;
    EditCommandMember member;
};
// The words that trigger a window action, and the action.
struct ActionWord {
    const char *word;
    const char *action;
};
[[nodiscard]] std::span<const EditorWord> editorWords();
[[nodiscard]] std::span<const ActionWord> actionWords();
// Adds every host word to the engine (called while the engine registers its word set).
void install(ScriptEngine &engine, ForthHostInterface &host);
} // namespace ForthHostWords
