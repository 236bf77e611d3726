#pragma once
#include "script/host/HostServices.h"
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

class ThreadsWindowESContext;
class ThreadsWindowScriptObjectClass;

// The script behind the threads view (the project's debug_threads_script): loaded into its own
// context with the Threads object, then driven through its entry points `update()` and
// `getregs(ARGUMENT)`. Each call is cut off after 1,000,000 instructions without an error.
class ThreadsWindowScript {
public:
    using Reporter = std::function<void(const QString &title, const QString &text)>;
    ThreadsWindowScript(const HostServices &services, int limit, Reporter reporter);
    ~ThreadsWindowScript();

    // Reads and runs the script file; false after "Cannot open: PATH" or a script error, both
    // reported under "Threads Window".
    bool load(const QString &path);
    // Runs `update()`: the rows are then in rows().
    bool update();
    // Runs `getregs(ARGUMENT)` and gives its result as text.
    bool getRegisters(const QString &argument, QString &result);
    // The rows the view shows, as text lines (see ThreadsWindowScriptObjectClass::viewText).
    QStringList rows() const;

private:
    bool run(const QString &text, QString *result);
    HostServices m_services;
    int m_limit;
    Reporter m_reporter;
    std::unique_ptr<ThreadsWindowESContext> m_context;
    std::unique_ptr<ThreadsWindowScriptObjectClass> m_threads;
    QString m_path;
};
