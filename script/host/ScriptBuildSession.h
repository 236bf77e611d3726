#pragma once
#include "buildengine/BuildOperation.h"
#include <QString>
#include <QStringList>
#include <functional>

class BuildReporter;
class ProjectElement;
class StandardProjectSystem;

// What the script object Build acts on: an open solution, its build configuration, the active
// project and its target processor. `run` is the one place a build is started from a script.
class ScriptBuildSession {
public:
    // The project properties that list a project's target processors (";"-separated) and name
    // the one selected.
    static constexpr const char *targetProcessorsProperty = "target_processors";
    static constexpr const char *targetProcessorProperty = "target_processor";

    ScriptBuildSession(StandardProjectSystem &system, const QString &configuration,
                       ProjectElement *activeProject);

    // Where the log goes as the build writes it; null: nowhere.
    void setReporter(BuildReporter *reporter) { m_reporter = reporter; }
    void setSettings(const BuildSettings &settings) { m_settings = settings; }
    // Asked while a build runs; true cancels it.
    void setStopCheck(std::function<bool()> check) { m_stopCheck = std::move(check); }
    // Asked before each build: a non-empty text refuses it (run() gives -1 and the text becomes
    // the status), for a host that builds the same tree by other means.
    void setRefusal(std::function<QString()> refusal) { m_refusal = std::move(refusal); }

    // Runs an operation of the build engine's table on the solution and the active project;
    // returns buildTop's value, or -1 when the operation has nothing to act on.
    int run(int operation);
    const QString &lastStatus() const { return m_lastStatus; }

    const QString &configuration() const { return m_configuration; }
    // False when the solution declares no such configuration.
    bool setConfiguration(const QString &name);
    QString activeProjectName() const;
    bool setActiveProject(const QString &name);

    QStringList targetProcessors() const;
    QString targetProcessor() const;
    bool setTargetProcessor(const QString &name);

private:
    StandardProjectSystem &m_system;
    QString m_configuration;
    ProjectElement *m_activeProject;
    BuildReporter *m_reporter = nullptr;
    BuildSettings m_settings;
    std::function<bool()> m_stopCheck;
    std::function<QString()> m_refusal;
    QString m_lastStatus;
};
