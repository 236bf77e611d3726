#pragma once
#include "buildengine/Builder.h"
#include "buildengine/OutputLines.h"
#include "buildengine/Process.h"
#include <QElapsedTimer>
#include <functional>
#include <memory>
#include <vector>

class BuildEngine;
class BuildLog;
class BuildLogItem;
class DiagnosticParser;
class VarnelIdler;

// Follows a build as it happens, for a front end that shows it as text.
class BuildReporter {
public:
    virtual ~BuildReporter();
    // `project` is the group of the project the builder works for (null: none).
    virtual void stepBegun(const BuildLogItem *project, const QString &title, int done,
                           int total) = 0;
    // A message or a line of tool output, as it was added to the log.
    virtual void itemAdded(const BuildLogItem *project, const BuildLogItem &item) = 0;
};

// The builder of a real build: one child process at a time, its output split into lines, each
// through the diagnostic parser into the build log, inside the log group of the current step.
class VarnelBuilder : public Builder, private Process {
public:
    VarnelBuilder(BuildLog &log, VarnelIdler &idler, BuildState &state);
    ~VarnelBuilder() override;

    void setShowCommandLines(bool show) { m_showCommandLines = show; }
    void setInstallationDirectory(const QString &directory) { m_installation = directory; }

    void reset() override;
    void beginStep(ProjectElement *element, const QString &title, const QString &configuration,
                   int count) override;
    void endStep(ProjectElement *element, const QString &configuration) override;
    bool runCommand(const QString &workingDirectory, const QStringList &arguments,
                    const QString &outputPath) override;
    bool startCommand(const QString &workingDirectory, const QStringList &arguments,
                      const QString &outputPath) override;
    bool finishCommand(ProjectElement *element, const QString &outputPath) override;
    void addError(const QString &text) override;
    void addWarning(const QString &text) override;
    void addNote(const QString &text) override;
    void addDetail(const QString &text) override;
    void addInformation(const QString &text) override;
    void closeGroups() override;
    void adoptGroup(ProjectElement *element, const QString &configuration) override;

    // Hands what the running tool wrote so far to the log; false when no tool runs.
    bool pollIdle();
    // Marks the builder terminated and sends the running tool SIGHUP.
    void terminate();
    [[nodiscard]] bool busy() const { return running(); }
    // Adds what becomes readable when the running tool writes or ends; false when that would
    // not tell (no tool runs yet, or the system offers no way to hear of its end).
    bool waitDescriptors(std::vector<pollfd> &descriptors) const
    {
        return Process::waitDescriptors(descriptors);
    }

private:
    void processOutput(bool isError, const QByteArray &bytes) override;
    void outputLine(const QString &line);
    void add(const QString &text, int type);
    [[nodiscard]] BuildLogItem *group() const;
    void commandEnded(const QString &outputPath);
    void removeFailedOutput(const QString &outputPath);

    BuildLog &m_log;
    VarnelIdler &m_idler;
    BuildState &m_state;
    std::unique_ptr<DiagnosticParser> m_parser;
    OutputLines m_stdoutLines;
    OutputLines m_stderrLines;
    BuildLogItem *m_base = nullptr;          // the adopted group; null: the log's root
    std::vector<BuildLogItem *> m_groups;    // steps opened since, innermost last
    QString m_workingDirectory;              // of the running tool, for relative diagnostics
    QString m_runningOutput;
    QString m_installation;
    bool m_showCommandLines = false;
    bool m_killed = false;
};

// The idler of a real build: keeps a log group per open project, waits for running tools and
// lets events in, and counts steps for the progress display.
class VarnelIdler : public Idler {
public:
    // The period of the build's timer loop: while tools run, events (and with them a cancel)
    // are let in at least this often. The end of a tool wakes the loop at once.
    static constexpr int timerMilliseconds = 100;

    explicit VarnelIdler(BuildLog &log);

    // Called on every idle, before events are processed: where a front end checks for cancel.
    void setIdleHook(std::function<void()> hook) { m_hook = std::move(hook); }
    void setReporter(BuildReporter *reporter) { m_reporter = reporter; }
    [[nodiscard]] BuildReporter *reporter() const { return m_reporter; }
    [[nodiscard]] BuildLogItem *groupOf(const ProjectElement *element,
                                        const QString &configuration) const;
    [[nodiscard]] int stepsDone() const { return m_stepsDone; }
    [[nodiscard]] int stepsTotal() const { return m_stepsTotal; }

    void idle(int busyCount) override;
    void beginGroup(ProjectElement *element, const QString &label, const QString &configuration,
                    int stepCount) override;
    void step(ProjectElement *element, const QString &configuration) override;
    void endGroup(ProjectElement *element, const QString &configuration) override;
    void finished() override;
    void idleWith(int busyCount, const std::vector<Builder *> &busyBuilders) override;

private:
    struct OpenGroup {
        const ProjectElement *element;
        QString configuration;
        BuildLogItem *item;
    };
    BuildLog &m_log;
    std::vector<OpenGroup> m_groups;
    std::function<void()> m_hook;
    BuildReporter *m_reporter = nullptr;
    int m_stepsDone = 0;
    int m_stepsTotal = 0;
    QElapsedTimer m_sincePumped;   // since the event loop last ran
};

// The builders of one real build, one per tool that may run at once, all writing to one log;
// and the cancel that stops them. Every front end that builds (the command line, scripts, the
// window) makes its builders here.
class VarnelBuilderSet {
public:
    VarnelBuilderSet(BuildEngine &engine, BuildLog &log, VarnelIdler &idler, int count,
                     bool showCommandLines);
    ~VarnelBuilderSet();

    [[nodiscard]] const std::vector<Builder *> &builders() const { return m_builders; }
    // Sets the engine's stopped flag and sends each running tool SIGHUP.
    void cancel();
    // Asks `wanted` on every idle of the build, and cancels once it says so.
    void cancelWhen(std::function<bool()> wanted);

private:
    BuildEngine &m_engine;
    VarnelIdler &m_idler;
    std::vector<std::unique_ptr<VarnelBuilder>> m_owned;
    std::vector<Builder *> m_builders;
};
