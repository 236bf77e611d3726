#pragma once
#include "buildengine/BuildFlags.h"
#include "buildengine/BuildKind.h"
#include "buildengine/ConfigurationMap.h"
#include "buildengine/Builder.h"
#include "buildengine/PropertyValues.h"
#include "foundation/Macros.h"
#include "projects/ProjectCatalogue.h"
#include <QDateTime>
#include <QHash>
#include <QPair>
#include <QSet>
#include <QStringList>
#include <ctime>
#include <memory>
#include <optional>
#include <vector>

class GenericOptions;
struct BuildRequest;
class ProjectElement;
class StandardProjectSystem;
class ToolCommandLines;
struct CompileRequest;
struct ToolStep;

// The build walker over the open solution: which items a build consists of, in which order and
// how many at once, and for each element whether it is out of date and what runs to bring it
// up to date. Every front end starts a build the one way, build(BuildRequest); BuildPlan makes
// its items and BuildSchedule runs them, asking this class for each element's steps. One build
// at a time; its shared state is the stopped and failed flags.
class BuildEngine {
public:
    // Results of build.
    static constexpr int UpToDate = 0;
    static constexpr int Built = 1;
    static constexpr int Failed = 2;
    static constexpr int Stopped = 3;
    static constexpr int maxThreads = 128;

    explicit BuildEngine(StandardProjectSystem &system);
    ~BuildEngine();

    [[nodiscard]] StandardProjectSystem &system() const { return m_system; }
    // The command lines of the tool steps, with the generic options of the project walked last.
    [[nodiscard]] ToolCommandLines &toolCommands() const { return *m_tools; }
    [[nodiscard]] BuildState &state() { return m_state; }

    // Plans and runs `request`: one of the results above, or Refused when it names no element
    // or no builder. Forgets what was learnt of the tree first.
    int build(const BuildRequest &request);
    static constexpr int Refused = -1;
    // Forgets what was learnt of the tree.
    void clearCaches();
    // Sets the stopped flag; the caller terminates its builders' tools.
    void cancelBuild(const std::vector<Builder *> &builders);

    // Brings one element up to date; true when it built (under NoExecute: would build).
    bool buildElement(ProjectElement *element, const QString &configuration, Builder &builder,
                      Idler &idler, uint flags);

    // ---- What the walker and the exporters ask of an element
    [[nodiscard]] BuildKind kindOf(const ProjectElement *element,
                                   const QString &configuration) const;
    // The element's output; with `absolute` a relative name is taken from the project directory.
    [[nodiscard]] QString outputName(const ProjectElement *element, const QString &configuration,
                                     bool absolute) const;
    [[nodiscard]] QString dependencyFileName(const ProjectElement *element,
                                             const QString &configuration, bool forBuild) const;
    [[nodiscard]] QString projectDirectory(const ProjectElement *element,
                                           const QString &configuration) const;
    // Outputs of the link step besides the output itself: map file and other formats.
    [[nodiscard]] QStringList outputsOfLink(const ProjectElement *project,
                                            const QString &configuration) const;
    [[nodiscard]] QStringList collectObjects(const ProjectElement *first,
                                             const QString &configuration, uint flags) const;
    [[nodiscard]] QString unityFileName(const ProjectElement *folder,
                                        const QString &configuration) const;
    [[nodiscard]] QStringList dependencyNames(const ProjectElement *project,
                                              const QString &configuration) const;
    [[nodiscard]] ProjectElement *findProject(const ProjectElement *from,
                                              const QString &name) const;
    [[nodiscard]] int countSteps(const ProjectElement *element, const QString &configuration,
                                 uint flags) const;
    [[nodiscard]] QString itemLabel(const ProjectElement *element, const QString &configuration,
                                    uint flags) const;
    [[nodiscard]] QStringList batchConfigurations(const ProjectElement *project,
                                                  const QString &configuration, bool batch) const;

    // ---- Time stamps, in whole seconds
    static bool fileTime(const QString &directory, const QString &path, std::time_t &time,
                         Builder &builder, bool quiet);
    static bool newestCheck(const QString &directory, const QStringList &files, std::time_t time,
                            const QString &output, Builder &builder, bool quiet);
    bool propertiesChanged(const ProjectElement *element, const QString &configuration,
                           std::time_t time, BuildKind kind, Builder &builder, bool quiet) const;
    static QString timeText(std::time_t time);

    // Deletes a file, with "Remove <file>" or "Cannot remove <file>" unless quiet.
    static void removeFile(const QString &path, Builder &builder, bool quiet);

    // ---- Property access
    [[nodiscard]] QString value(const ProjectElement *element, ProjectProperty property,
                                const QString &configuration) const;
    [[nodiscard]] QString expanded(const ProjectElement *element, ProjectProperty property,
                                   const QString &configuration,
                                   const MacroTable &extra = {}) const;

private:
    friend class BuildPlan;
    friend class BuildSchedule;
    struct StepContext;
    bool buildChildren(ProjectElement *element, const QString &configuration, Builder &builder,
                       Idler &idler, uint flags, bool &forced);
    bool buildUnityFolder(ProjectElement *folder, const QString &configuration, Builder &builder,
                          Idler &idler, uint flags, bool &forced);
    struct LinkInputs;
    // The opening every step kind shares, once it knows whether its output is `current`: a
    // current step ends, false, with `upToDateText` (%1: the output) unless quiet; a rebuild or
    // clean removes the output and `others`; under NoExecute the step ends, true, as it would
    // build. Empty when the step goes on to run its tools.
    [[nodiscard]] std::optional<bool> openStep(StepContext &step, bool current,
                                               const QString &output,
                                               const QStringList &others = {},
                                               const char *upToDateText = "'%1' is up to date");
    bool buildCompile(StepContext &step);
    bool buildLink(StepContext &step);
    bool readLinkInputs(StepContext &step, LinkInputs &link);
    [[nodiscard]] bool linkUpToDate(StepContext &step, const LinkInputs &link);
    void runLink(StepContext &step, const LinkInputs &link);
    bool buildArchive(StepContext &step);
    bool buildExternalProject(StepContext &step);
    bool buildStage(StepContext &step);
    bool buildCombine(StepContext &step);
    bool runAnalyzer(StepContext &step);
    bool runCommandSteps(StepContext &step, ProjectProperty commandProperty, ProjectProperty directoryProperty,
                         const QString &title, const QString &separator,
                         const MacroTable &macros, const QString &outputPath);
    bool compileUpToDate(StepContext &step, const QString &output);
    // Loads the generic options file the element's project names; false (reported, the build
    // failed) when it can't be read.
    bool loadGenericOptions(ProjectElement *element, const QString &configuration,
                            Builder &builder);
    // Runs a tool step as one builder step; false (reported, the build failed) when its
    // command line or list file could not be made.
    bool runToolStep(StepContext &step, const CompileRequest &request);
    bool runProjectTool(StepContext &step, const CompileRequest &request);
    bool runExternalTool(StepContext &step, const CompileRequest &request,
                         ProjectProperty commandProperty, const QString &separator);
    [[nodiscard]] CompileRequest compileRequest(StepContext &step, const QString &input,
                                                const QString &output,
                                                bool withDependencyFile) const;
    bool failStep(StepContext &step, const QStringList &errors);
    void setReadOnly(StepContext &step, ProjectProperty property, const QString &output);
    struct CopyStepProperties {
        ProjectProperty command;
        ProjectProperty directory;
        ProjectProperty readOnly;
    };
    bool runCopyStep(StepContext &step, const CopyStepProperties &properties,
                     const QString &title, const MacroTable &macros, const QString &output);
    void dependentInputs(const ProjectElement *project, const QString &configuration,
                         QStringList &libraries) const;
    void runProjectCommand(ProjectElement *project, const QString &configuration,
                           Builder &builder, Idler &idler, bool post, bool forced, bool built);
    void collectInputs(const ProjectElement *element, const QString &configuration,
                       QStringList &inputs) const;

    StandardProjectSystem &m_system;
    PropertyValues m_values;
    std::unique_ptr<GenericOptions> m_generic;
    std::unique_ptr<ToolCommandLines> m_tools;
    // The project whose generic options are loaded, for the length of one build.
    const ProjectElement *m_genericProject = nullptr;
    QString m_genericConfiguration;
    BuildState m_state;
    // Kinds and output names, per element and configuration, for the length of one build: the
    // walker asks for them several times per element and the tree does not change meanwhile.
    mutable ConfigurationMap<const ProjectElement *, BuildKind> m_kinds;
    mutable ConfigurationMap<const ProjectElement *, QString> m_outputs;
};
