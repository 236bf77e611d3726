#pragma once
#include <QObject>
#include <QString>
#include <functional>

class VarnelScriptSystem;

// The logic of the script console: one context kept open across inputs, each input's result
// printed (a host function by its help text), errors reported in the script system's words.
// The GUI console wraps it; `tess js -i` drives it from standard input.
class JavaScriptConsoleSession : public QObject {
    Q_OBJECT
public:
    using Printer = std::function<void(const QString &text)>;
    JavaScriptConsoleSession(VarnelScriptSystem &system, Printer print, QObject *parent = nullptr);
    ~JavaScriptConsoleSession() override;

    bool hasContext() const { return m_entered; }

public slots:
    // Runs one input in the kept context; false when it failed.
    bool process(const QString &text);
    // Closes the context: the next input starts clean.
    void deleteContext();
    void stop();

private:
    VarnelScriptSystem &m_system;
    Printer m_print;
    bool m_entered = false;
};
