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
#include <vector>

class GenericOptions;
class ProjectElement;
class StandardProjectSystem;
class ToolCommandLines;
struct CompileRequest;
struct ToolStep;

// The build walker over the open solution: which items a build consists of, in which order and
// how many at once, and for each element whether it is out of date and what runs to bring it
// up to date. One build at a time; its shared state is the stopped and failed flags.
class BuildEngine {
public:
    // Results of buildTop.
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

    int buildTop(ProjectElement *element, const QString &configuration, int threads,
                 const std::vector<Builder *> &builders, Idler &idler, uint flags,
                 bool followDependencies, bool batch);
    // Forgets what was learnt of the tree; buildTop does so on entry.
    void clearCaches();
    // Sets the stopped flag; the caller terminates its builders' tools.
    void cancelBuild(const std::vector<Builder *> &builders);

    void collectSolutionItems(ProjectElement *solution, const QString &configuration, uint flags,
                              bool batch, bool atomic, Builder &builder, Idler &idler,
                              std::vector<BuildItem> &items);
    void collectProjectItems(ProjectElement *project, const QString &configuration, uint flags,
                             bool batch, bool dependencies, bool atomic, Builder &builder,
                             Idler &idler, std::vector<BuildItem> &items);
    int scheduleBuild(std::vector<BuildItem> &items, int threads,
                      const std::vector<Builder *> &builders, Idler &idler);
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
    struct StepContext;
    bool buildChildren(ProjectElement *element, const QString &configuration, Builder &builder,
                       Idler &idler, uint flags, bool &forced);
    bool buildUnityFolder(ProjectElement *folder, const QString &configuration, Builder &builder,
                          Idler &idler, uint flags, bool &forced);
    bool buildCompile(StepContext &step);
    bool buildLink(StepContext &step);
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
    void collectFiles(ProjectElement *element, const QString &configuration, uint flags,
                      std::vector<BuildItem> &items) const;
    void collectInputs(const ProjectElement *element, const QString &configuration,
                       QStringList &inputs) const;
    [[nodiscard]] bool canBuildInParallel(const ProjectElement *project,
                                          const QString &configuration) const;
    [[nodiscard]] bool hasItem(const std::vector<BuildItem> &items, const ProjectElement *element,
                               const QString &configuration) const;

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
    // Projects whose dependencies are being collected, outermost first: a project met again
    // while on this chain closes a cycle.
    std::vector<std::pair<const ProjectElement *, QString>> m_collecting;
};
