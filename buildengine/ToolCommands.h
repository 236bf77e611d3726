#pragma once
#include "foundation/Macros.h"
#include <QString>
#include <QStringList>
#include <memory>

class GenericOptions;
class ProjectElement;
class PropertyValues;
class PropertyClass;
class StandardProjectSystem;

// One tool run as the build asks for it: the argument list is final (never split again), and a
// list file, when there is one, is written just before the run.
struct ToolStep {
    ProjectElement *element = nullptr;
    QString title;
    QString workingDirectory;
    QStringList arguments;
    QString outputPath;
    QString listFile;            // absolute; empty: the step has none
    QStringList listFileLines;   // one input a line
};

// The build kinds that have a tool line, by the build's numbers for them.
enum class ToolKind : int { CCompile = 2, CppCompile = 3, Assemble = 4, Link = 7, Archive = 8 };

// What a compile, assemble, archive or link step is asked to make.
struct CompileRequest {
    ProjectElement *element = nullptr;
    QString configuration;
    ToolKind kind = ToolKind::CCompile;
    QStringList inputs;       // the single source for kinds 2-4, the objects for 7 and 8
    QString output;           // absolute
    QStringList libraries;    // further inputs of a link, after the objects
    QString dependencyFile;   // empty: the compiler is not asked for one
};

// Turns compile, assemble, archive and link steps into argument lists: the line of the
// standard front end "$(VarnelDir)/bin/cc", or a user's command template for externally built
// projects. Reads every option by property lookup and macro expansion.
class ToolCommandLines {
public:
    // `values`, if given, are shared with the caller (the build walker); otherwise the lines
    // keep their own.
    ToolCommandLines(StandardProjectSystem &system, GenericOptions &generic,
                     const PropertyValues *values = nullptr);
    ~ToolCommandLines();

    // The front end's line for kinds 2, 3, 4, 7 and 8. False with messages in `errors` (the
    // first is the one to show as the error) when an options file can't be read.
    [[nodiscard]] bool standardStep(const CompileRequest &request, ToolStep &step,
                                    QStringList &errors) const;
    // An external command: `commandRow`'s value expanded with the step's macros and `extra`,
    // split, and the tool's generic options appended.
    [[nodiscard]] ToolStep externalStep(const CompileRequest &request,
                                        const PropertyClass *commandRow,
                                        const MacroTable &extra = {}) const;

    // Writes the step's list file ("wt": one input a line); false if it can't be written, and
    // the step must not run then.
    [[nodiscard]] static bool writeListFile(const ToolStep &step);

    // A property's value expanded with the element's macros, `macroMap` laid over them.
    [[nodiscard]] QString expandCommand(const ProjectElement *element,
                                        const PropertyClass *property,
                                        const QString &configuration,
                                        const MacroTable &macroMap) const;
    // The macros an external tool's template may use for this step.
    [[nodiscard]] MacroTable stepMacros(const CompileRequest &request) const;

    [[nodiscard]] QString projectDirectory(const ProjectElement *element,
                                           const QString &configuration) const;
    [[nodiscard]] QString mapFileOf(const QString &output) const;

private:
    void compileOptions(const CompileRequest &request, QStringList &arguments) const;
    [[nodiscard]] bool additionalOptions(const CompileRequest &request, QStringList &arguments,
                                         QStringList &errors) const;
    void linkOptions(const CompileRequest &request, QStringList &arguments) const;
    [[nodiscard]] bool linkAdditionalOptions(const CompileRequest &request,
                                             QStringList &arguments, QStringList &errors) const;
    [[nodiscard]] bool optionsFromFile(const CompileRequest &request, const PropertyClass *row,
                                       const QString &prefix, QStringList &arguments,
                                       QStringList &errors) const;
    [[nodiscard]] QString text(const CompileRequest &request, const PropertyClass *row) const;
    [[nodiscard]] bool yes(const CompileRequest &request, const PropertyClass *row) const;
    [[nodiscard]] QStringList includeDirectories(const CompileRequest &request) const;

    StandardProjectSystem &m_system;
    GenericOptions &m_generic;
    std::unique_ptr<PropertyValues> m_ownValues;
    const PropertyValues &m_values;
};

// A step as one line of text: "<working directory>: <command line>".
[[nodiscard]] QString describeStep(const ToolStep &step);
