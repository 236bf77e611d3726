#pragma once
#include "buildengine/BuildFlags.h"
#include "buildengine/Builder.h"
#include <functional>
#include <vector>

// One slot of the scheduler. There is no thread: the walker runs synchronously against this
// builder, which records what it asks for (plan), and the polling loop then plays the recording
// into the real builder and idler (replay), returning whenever a tool is still running.
class BuildThread : public Builder, public Idler {
public:
    enum class RecordKind : quint8 {
        BeginStep = 0,
        EndStep = 1,
        StartCommand = 2,
        FinishCommand = 3,
        BeginGroup = 4,
        Step = 5,
        EndGroup = 6,
        AcceptOutput = 7,
    };
    struct Record {
        RecordKind kind;
        ProjectElement *element = nullptr;
        QString text;            // a step's title or a group's label
        QString configuration;
        int count = 0;
        QString workingDirectory = {};
        QStringList arguments = {};
        QString outputPath = {};
    };
    // The walk to plan: it calls the builder and idler it is given and returns whether it built.
    using Walk = std::function<bool(Builder &builder, Idler &idler)>;

    BuildThread(BuildItem item, Builder &target, Idler &targetIdler, BuildState &state);

    void plan(const Walk &walk);
    // Plays the recording on; true once all of it has been played (or abandoned on failure).
    [[nodiscard]] bool replay();

    [[nodiscard]] const BuildItem &item() const { return m_item; }
    [[nodiscard]] Builder &target() const { return m_target; }
    [[nodiscard]] bool result() const { return m_result; }
    [[nodiscard]] const std::vector<Record> &records() const { return m_records; }

    // Builder: recorded, except for messages, which go straight to the target.
    void beginStep(ProjectElement *element, const QString &title, const QString &configuration,
                   int count) override;
    void endStep(ProjectElement *element, const QString &configuration) override;
    bool runCommand(const QString &workingDirectory, const QStringList &arguments,
                    const QString &outputPath) override;
    void addError(const QString &text) override { m_target.addError(text); }
    void addWarning(const QString &text) override { m_target.addWarning(text); }
    void addNote(const QString &text) override { m_target.addNote(text); }
    void addDetail(const QString &text) override { m_target.addDetail(text); }
    void addInformation(const QString &text) override { m_target.addInformation(text); }
    bool acceptOutput(const QString &path) override;
    [[nodiscard]] bool makesFiles() const override { return m_target.makesFiles(); }

    // Idler: recorded; planning pumps no events.
    void beginGroup(ProjectElement *element, const QString &label, const QString &configuration,
                    int stepCount) override;
    void step(ProjectElement *element, const QString &configuration) override;
    void endGroup(ProjectElement *element, const QString &configuration) override;

private:
    BuildItem m_item;
    Builder &m_target;
    Idler &m_targetIdler;
    BuildState &m_state;
    bool m_result = false;
    std::vector<Record> m_records;
    size_t m_cursor = 0;
    ProjectElement *m_stepElement = nullptr;   // of the last recorded step: its commands' owner
};
