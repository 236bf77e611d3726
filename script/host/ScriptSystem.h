#pragma once
#include "script/es/ESClass.h"
#include "script/es/ESContext.h"
#include <QObject>
#include <QStringList>
#include <atomic>
#include <functional>
#include <memory>
#include <vector>

class ScriptSystem;

// The context of a script run: polled before every instruction, it lets the event loop run
// every `eventSlice` instructions when asked to, and stops the run once the system's stop flag is set or the instruction
// budget is spent. It owns the host classes the scripting hook installed into it.
class MyESContext : public ESContext {
public:
    MyESContext(ScriptSystem &system, bool processEvents);
    ~MyESContext() override;
    bool shouldContinue() override;

    // Keeps a host class alive as long as the context and returns it.
    template <typename Class>
    Class *adopt(std::unique_ptr<Class> hostClass)
    {
        Class *observer = hostClass.get();
        m_hostClasses.push_back(std::move(hostClass));
        return observer;
    }
    ScriptSystem &system() const { return m_system; }

    const bool processEvents;
    static constexpr int eventSlice = 512;

private:
    ScriptSystem &m_system;
    int m_sinceEvents = 0;
    std::vector<std::unique_ptr<ESClass>> m_hostClasses;
};

// The context of a script that runs beside the interface: every eleventh poll lets events in.
class MyESContext2 : public ESContext {
public:
    MyESContext2() : ESContext(ContinuePolling::On) {}
    bool shouldContinue() override;
    bool keepRunning = true;

private:
    int m_counter = 0;   // 0 to 10
};

// The context of a threads-view script: cut off, without an error, from the 1,000,000th
// instruction on.
class ThreadsWindowESContext : public ESContext {
public:
    static constexpr qint64 instructionLimit = 1000000;
    ThreadsWindowESContext() : ESContext(ContinuePolling::On) {}
    bool shouldContinue() override { return ++m_counter < instructionLimit; }
    void resetBudget() { m_counter = 0; }

private:
    qint64 m_counter = 0;
};

// Owns the one shared script context and the rules for entering it. The outermost `enter`
// makes the context, the outermost `leave` destroys it, so nothing a run defines survives it.
class ScriptSystem : public QObject {
    Q_OBJECT
    Q_PROPERTY(int depth READ depth)
    Q_PROPERTY(bool running READ isRunning)
public:
    // Entries may nest four deep; the fifth is refused.
    static constexpr int depthLimit = 5;
    using HostHook = std::function<void(MyESContext &context)>;

    explicit ScriptSystem(QObject *parent = nullptr);
    ~ScriptSystem() override;

    // Installs the host classes into each new context.
    void setHostHook(HostHook hook) { m_hostHook = std::move(hook); }
    // Directories `load` tries after "$(VarnelDir)/bin".
    void setSearchDirectories(const QStringList &directories) { m_searchDirectories = directories; }
    // Instructions a run may take (0: no limit); the budget applies to each outermost run.
    void setInstructionBudget(qint64 budget) { m_instructionBudget = budget; }

    // Throws HException "script recursion limit reached" when the entry would be the fifth;
    // the refused entry leaves the depth as it was.
    void enter(bool processEvents);
    void leave();

    int depth() const { return m_depth; }
    ESContext *context() const { return m_context.get(); }
    // The outermost run was cut off by its instruction budget.
    bool budgetSpent() const { return m_budgetSpent; }

    virtual bool isRunning() const { return m_depth > 0; }
    virtual bool stopRequested() const { return m_stopRequested.load(std::memory_order_relaxed); }

    // A console clears the request before each input of its kept context.
    void clearStopRequest() { m_stopRequested.store(false); }

public slots:
    // Safe from a signal handler: it only sets the flag the next poll reads.
    virtual void requestStop();

signals:
    // A run began or the last one ended: a window enables its stop action and disables start.
    void runningChanged(bool running);

private:
    friend class MyESContext;
    bool poll();

    int m_depth = 0;
    std::atomic<bool> m_stopRequested{false};
    std::unique_ptr<MyESContext> m_context;
    HostHook m_hostHook;
    QStringList m_searchDirectories;
    qint64 m_instructionBudget = 0;
    qint64 m_executed = 0;
    bool m_budgetSpent = false;
};
