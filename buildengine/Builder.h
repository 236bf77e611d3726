#pragma once
#include <QString>
#include <QStringList>
#include <vector>

class ProjectElement;

// The two flags every loop of a build tests after each step: set by the user's cancel and by a
// failed tool. Cleared only when a build starts (and `failed` again by keep-going).
struct BuildState {
    bool stopped = false;
    bool failed = false;
};

// Sees each line of a tool's output before the diagnostic parser does.
class ToolContext {
public:
    virtual ~ToolContext();
    virtual void outputLine(const QString &line) = 0;
};

// What the build walker asks to have done: steps with titles, commands to run and messages.
// The walker's purpose (build, clean, dry run, export) lies in the builder it is given.
class Builder {
public:
    virtual ~Builder();
    // Forgets the stack of open log groups.
    virtual void reset() {}
    virtual void beginStep(ProjectElement *element, const QString &title,
                           const QString &configuration, int count) = 0;
    virtual void endStep(ProjectElement *element, const QString &configuration) = 0;
    // Runs a command and waits; false if it could not run or failed.
    virtual bool runCommand(const QString &workingDirectory, const QStringList &arguments,
                            const QString &outputPath) = 0;
    // Starts a command without waiting; finishCommand then says when it has ended.
    virtual bool startCommand(const QString &workingDirectory, const QStringList &arguments,
                              const QString &outputPath)
    {
        return runCommand(workingDirectory, arguments, outputPath);
    }
    // False while the command still runs.
    virtual bool finishCommand(ProjectElement *element, const QString &outputPath) { return true; }
    virtual void addError(const QString &text) = 0;
    virtual void addWarning(const QString &text) = 0;
    virtual void addNote(const QString &text) = 0;
    virtual void addDetail(const QString &text) = 0;
    virtual void addInformation(const QString &text) = 0;
    virtual void closeGroups() {}
    [[nodiscard]] virtual ToolContext *toolContext() { return nullptr; }
    // True in every builder of this system; a refusal fails the step and removes the output.
    [[nodiscard]] virtual bool acceptOutput(const QString &path) { return true; }
    // False for a builder that only lists what would run: the walker then writes none of the
    // files it makes for the tools (unity files, list files, directories).
    [[nodiscard]] virtual bool makesFiles() const { return true; }
    // Makes the log group the idler holds for the element (or its nearest ancestor) current.
    virtual void adoptGroup(ProjectElement *element, const QString &configuration) {}
};

// Told of the build's progress, and given the time between steps.
class Idler {
public:
    virtual ~Idler();
    virtual void idle(int busyCount) {}
    virtual void beginGroup(ProjectElement *element, const QString &label,
                            const QString &configuration, int stepCount) {}
    virtual void step(ProjectElement *element, const QString &configuration) {}
    virtual void endGroup(ProjectElement *element, const QString &configuration) {}
    virtual void finished() {}
    // Called while `busyBuilders` run tools; waits until one of them may have news.
    virtual void idleWith(int busyCount, const std::vector<Builder *> &busyBuilders)
    {
        idle(busyCount);
    }
};

// A dry run: every operation does nothing and succeeds, so no file is ever touched.
class NullBuilder : public Builder {
public:
    void beginStep(ProjectElement *, const QString &, const QString &, int) override {}
    void endStep(ProjectElement *, const QString &) override {}
    bool runCommand(const QString &, const QStringList &, const QString &) override
    {
        return true;
    }
    void addError(const QString &) override {}
    void addWarning(const QString &) override {}
    void addNote(const QString &) override {}
    void addDetail(const QString &) override {}
    void addInformation(const QString &) override {}
};
