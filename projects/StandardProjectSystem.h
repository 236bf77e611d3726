#pragma once
#include "foundation/Macros.h"
#include "projects/ProjectCatalogue.h"
#include "projects/ProjectElement.h"
#include "projects/ProjectSystem.h"
#include "projects/PropertyValue.h"
#include <QDateTime>
#include <QHash>
#include <QStringList>
#include <array>
#include <memory>
#include <vector>

class PropertyClass;
class PropertyClassList;
struct ExpansionTemplate;
class ProjectSystemXMLPP2;
class ProjectTemplateFile;

// One contribution to a resolved value: what was found, on which element, for which
// configuration. The row's default, when it is recorded, has no element.
struct PropertyContribution {
    QString text;
    const ProjectElement *element = nullptr;
    QString configuration;
    bool isDefault = false;
};
using PropertyTrace = std::vector<PropertyContribution>;

// One edit of a value, kept for undo and for the build's test of changed properties.
struct PropertyChange {
    enum Flag : quint32 {
        WasUnset = 0x1,        // the holder had no value before; previousValue is meaningless
        CreatedHolder = 0x2,   // the configuration holder was made for this edit
    };
    ProjectElement *element = nullptr;
    const PropertyClass *propertyClass = nullptr;
    QString configuration;
    QString previousValue;
    QDateTime time;
    quint32 flags = 0;
};

struct SolutionLoadHandlers {
    ProjectFileNotFoundErrorHandler *fileNotFound = nullptr;
    TemplateNotFoundErrorHandler *templateNotFound = nullptr;
};

// The project system: owns the open solution's tree, declares the project properties, loads
// and saves solution files and answers what a property's value is for an element in a
// configuration.
//
// Resolution and expansion (resolveProperty, macroTable, expandedProperty) cache per element
// and configuration; every edit through the system drops the caches. Code that edits the XML
// tree by hand, or changes the global macros, calls invalidateCaches() (and wireTree() after a
// change of structure).
class StandardProjectSystem : public ProjectSystem {
    Q_OBJECT
public:
    static constexpr int solutionFileIndent = 2;
    static constexpr int solutionFileWrapWidth = 75;
    static constexpr int maxImportDepth = 32;

    explicit StandardProjectSystem(QObject *parent = nullptr);
    ~StandardProjectSystem() override;

    // ---- The catalogue
    [[nodiscard]] PropertyClass *propertyClass(ProjectProperty id) const
    {
        return m_rows[size_t(id)];
    }
    // The row of a name: a project property first, then a build macro as "$(Name)".
    [[nodiscard]] PropertyClass *findClass(const QString &name) const;
    // The row to read `name` by for an element: build_output_file_name of a library project
    // has its own default.
    [[nodiscard]] PropertyClass *classFor(const QString &name, const ProjectElement *element,
                                          const QString &configuration) const;
    const PropertyClassList &propertyClasses() const override { return *m_classes; }

    // ---- Load and save
    // Loads a solution file (a relative path is taken from `directory` when that is given).
    // Throws SolutionLoadError. The system owns the tree until closeSolution().
    ProjectElement *loadSolution(const QString &directory, const QString &path,
                                 bool expandMacros, const SolutionLoadHandlers &handlers = {});
    // Off: a solution's load_command is not run (for untrusted input such as the fuzzer's).
    void setRunLoadCommands(bool run) { m_runLoadCommands = run; }
    void closeSolution();

    // Writes the solution to `path` (empty: its own file). Imported parts are written as
    // `import` elements; their own files are left alone. Throws SolutionSaveError unless the
    // handler takes the failure.
    void saveSolution(const QString &path = {}, ProjectFileSaveErrorHandler *handler = nullptr);
    // Writes one element that stands for a file (the solution, or the top of an imported part)
    // to `path`, or to its own file when `path` is empty.
    void saveElement(ProjectElement *element, const QString &path = {},
                     ProjectFileSaveErrorHandler *handler = nullptr);
    // Writes a solution file holding an empty solution called `name`, for a project to be added
    // to. Throws SolutionSaveError.
    static void writeNewSolution(const QString &path, const QString &name);
    // The bytes saveElement would write.
    [[nodiscard]] QByteArray solutionFileBytes(ProjectElement *element);

    ProjectElement *solution() const override { return m_solution; }
    [[nodiscard]] const Path &solutionPath() const;
    // The solution's templates_file, read at load; null when it has none.
    [[nodiscard]] const ProjectTemplateFile *templates() const { return m_templates.get(); }
    // Elements that carry template_name, by template.
    [[nodiscard]] const QHash<QString, QList<ProjectElement *>> &templateElements() const
    {
        return m_templateElements;
    }

    // ---- The tree
    // ProjectElement::project() and solution(), for an element that may be null.
    [[nodiscard]] static ProjectElement *projectOf(const ProjectElement *element)
    {
        return element ? element->project() : nullptr;
    }
    [[nodiscard]] static ProjectElement *solutionOf(const ProjectElement *element)
    {
        return element ? element->solution() : nullptr;
    }
    // The element at a path of names below the solution ("Blinky/Source Files/main.c"); the
    // empty path is the solution. A file matches by its name or by its file_name. Null if none.
    [[nodiscard]] ProjectElement *findElement(const QString &path) const;
    // Wires the tree below `root` again: parents, children, configuration holders, declared
    // inheritance, file paths. Throws SolutionLoadError on a structure that cannot be a tree.
    void wireTree(ProjectElement *root);

    [[nodiscard]] QStringList publicConfigurations() const;
    [[nodiscard]] QStringList privateConfigurations() const;
    void setPublicConfigurations(const QStringList &names);
    void setPrivateConfigurations(const QStringList &names);
    // The configurations `configuration` inherits, declared on `element` or nearest above it.
    [[nodiscard]] QStringList inheritedConfigurations(const ProjectElement *element,
                                                      const QString &configuration) const;

    // ---- Resolution
    // The value of a property on an element in a configuration, unexpanded: the element's own
    // value for the configuration, then for the configurations it inherits, then for "Common",
    // then the same on each ancestor, else the row's default. A list row gathers every
    // contribution instead, ancestors' items first; its default is never part of the value.
    [[nodiscard]] QString resolveProperty(const ProjectElement *element,
                                          const PropertyClass *propertyClass,
                                          const QString &configuration,
                                          PropertyTrace *trace = nullptr) const;
    // The macros an element defines in a configuration: the build macros (SolutionDir,
    // ProjectDir, ProjectName, Configuration, IntDir, OutDir, InputName, InputPath, EXE, OBJ ...)
    // with the element's `macros` laid over them.
    [[nodiscard]] MacroTable macroTable(const ProjectElement *element,
                                        const QString &configuration) const;
    // `text` expanded with the element's macros, `extra` laid over them, then the global and
    // system macros.
    [[nodiscard]] QString expand(const ProjectElement *element, const QString &configuration,
                                 const QString &text, const MacroTable &extra = {}) const;
    [[nodiscard]] QString expandedProperty(const ProjectElement *element,
                                           const PropertyClass *propertyClass,
                                           const QString &configuration,
                                           const MacroTable &extra = {}) const;
    void invalidateCaches();
    // Counts the calls of invalidateCaches(): a cache kept outside the system is good while
    // this has not changed.
    [[nodiscard]] quint64 cacheGeneration() const { return m_cacheGeneration; }

    // ---- Values
    // The value object the grid and scripts edit a property through.
    [[nodiscard]] std::unique_ptr<PropertyValue> propertyValue(ProjectElement *element,
                                                               PropertyClass *propertyClass,
                                                               const QString &configuration);
    // Writes a value into the element's holder for the configuration, creating the holder if
    // needed, and logs the change. A null text removes the value.
    void storeValue(ProjectElement *element, const PropertyClass *propertyClass,
                    const QString &configuration, const QString &value);
    [[nodiscard]] const std::vector<PropertyChange> &changeLog() const { return m_changeLog; }
    // Recomputes what the project derives from its properties (paths of its files and the
    // caches) after project_directory or macros changed.
    void projectChanged(ProjectElement *project);
    // Lists a dynamic folder's directory again.
    void rescanFolder(ProjectElement *folder);

private:
    struct LoadState;
    struct MacroCacheEntry;
    struct FileMacros;

    void declareCatalogue();
    ProjectElement *loadFile(const QString &path, const QString &macroDefinitions,
                             LoadState &state, std::unique_ptr<ProjectSystemXMLPP2> &document);
    void processImports(ProjectElement *element, const QString &fromFile, LoadState &state);
    void runLoadCommands(ProjectElement *solution);
    void readTemplates(ProjectElement *solution, const SolutionLoadHandlers &handlers);
    void collectTemplateElements(ProjectElement *element);
    [[nodiscard]] QString existingPath(const QString &path, const SolutionLoadHandlers &handlers,
                                       const QString &missingText) const;

    [[nodiscard]] const MacroCacheEntry &nodeMacros(const ProjectElement *element,
                                                    const QString &configuration) const;
    // The absolute directory of the element's project (empty outside any project).
    [[nodiscard]] QString projectDirectory(const ProjectElement *element,
                                           const QString &configuration) const;
    [[nodiscard]] FileMacros fileMacros(const ProjectElement *file,
                                        const QString &configuration) const;
    // The file macros in the order of their names; only those whose bit is set in `wanted`
    // are sure to be filled.
    [[nodiscard]] std::array<QString, 8> fileMacroValues(const ProjectElement *file,
                                                         const MacroTable &table,
                                                         unsigned wanted) const;
    [[nodiscard]] bool sharesHolderMacros(const ProjectElement *file,
                                          const MacroCacheEntry &base) const;
    [[nodiscard]] bool expandFromTemplate(const ProjectElement *file,
                                          const QString &configuration, const QString &text,
                                          QString &expanded) const;
    [[nodiscard]] ExpansionTemplate makeTemplate(const MacroCacheEntry &base,
                                                 const QString &text) const;
    [[nodiscard]] bool holdsValue(const ProjectElement *element, const PropertyClass *row) const;
    void scanFolder(ProjectElement *folder);
    void scanDynamicFolders(ProjectElement *top);
    void assignFilePaths(ProjectElement *top);
    void setDeclaredConfigurations(const QStringList &names, bool hidden);

    std::unique_ptr<PropertyClassList> m_classes;
    std::array<PropertyClass *, projectPropertyCount> m_rows{};
    QHash<QString, PropertyClass *> m_classByName;

    std::vector<std::unique_ptr<ProjectSystemXMLPP2>> m_documents;   // the solution's first
    ProjectElement *m_solution = nullptr;
    std::unique_ptr<ProjectTemplateFile> m_templates;
    QHash<QString, QList<ProjectElement *>> m_templateElements;
    bool m_runLoadCommands = true;

    std::vector<PropertyChange> m_changeLog;
    mutable QHash<QPair<const ProjectElement *, QString>, std::shared_ptr<MacroCacheEntry>>
        m_macroCache;
    // The last lookup of m_macroCache: the files of a folder ask for the same entry in a row.
    mutable std::pair<const ProjectElement *, const MacroCacheEntry *> m_lastMacros{};
    mutable QString m_lastConfiguration;
    quint64 m_cacheGeneration = 0;
};
