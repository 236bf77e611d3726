#pragma once
#include "foundation/Macros.h"
#include "projects/ProjectTemplates.h"
#include <QHash>
#include <QString>
#include <QStringList>
#include <vector>

class ProjectElement;
class StandardProjectSystem;
class XMLElement;

// One thing a template leaves to the user: a property's value, whether a folder is made, which
// alternative of a `choose` element applies.
struct ProjectTemplateChoice {
    QString name;               // what the user names it by
    QString title;              // the question, or the name
    QStringList alternatives;   // the values offered; empty: any text
    QString defaultValue;
    QString value;              // the default until the user chooses
};

// A file the template asks to open once the project stands.
struct ProjectTemplateFileToOpen {
    const XMLElement *element;
    QString name;
};

// A source file the template copies into the new project.
struct ProjectTemplateCopy {
    QString source;        // absolute
    QString destination;   // absolute, inside the project directory
};

// The two walks over a template. The first collects the choices, with their defaults, and the
// files to open; the second, once the user has decided, makes the template's folders, files,
// properties and configurations in the new project. Nothing is written to disk here: the
// second walk lists the sources to copy.
//
// Elements of the template: folder, file, property, solutionproperty, propertygroup,
// configuration, import and choose (with choice children). Any other tag is skipped.
class ProjectTemplateWalk {
public:
    static constexpr int maxNesting = 100;

    // `project` is the new, empty project, already in the solution and wired: its macros
    // expand the template's names. Null to list the choices alone, with names expanded by the
    // global and system macros; apply() then refuses.
    ProjectTemplateWalk(StandardProjectSystem &system, const ProjectTemplateNode &node,
                        ProjectElement *project);

    // ---- The first walk, run by the constructor.
    [[nodiscard]] const std::vector<ProjectTemplateChoice> &choices() const { return m_choices; }
    [[nodiscard]] const std::vector<ProjectTemplateFileToOpen> &filesToOpen() const
    {
        return m_filesToOpen;
    }
    // Sets a choice. Throws HException for a name the template does not ask for, or a value
    // that is not among the alternatives; the message names the valid ones.
    void choose(const QString &name, const QString &value);

    // ---- The second walk. Throws HException for a file name that would leave the project
    // directory and for a template nested too deeply; the tree may then hold part of the project.
    void apply();
    [[nodiscard]] const std::vector<ProjectTemplateCopy> &copies() const { return m_copies; }
    // The absolute paths of the files to open that the second walk made.
    [[nodiscard]] QStringList openedFiles() const;
    // The dynamic folders made: they list their directory once the sources are in place.
    [[nodiscard]] const std::vector<ProjectElement *> &dynamicFolders() const
    {
        return m_dynamicFolders;
    }

private:
    void collect(const XMLElement *parent, int depth);
    void addChoice(const XMLElement *element, const QString &name, QStringList alternatives,
                   const QString &defaultValue);
    [[nodiscard]] QStringList alternativesOf(const XMLElement *element) const;
    [[nodiscard]] QString valueOf(const XMLElement *element, const QString &name,
                                  const QString &fallback) const;

    void applyChildren(const XMLElement *parent, ProjectElement *current, int depth);
    void applyFolder(const XMLElement *element, ProjectElement *current, int depth);
    void applyFile(const XMLElement *element, ProjectElement *current, int depth);
    void applyProperty(const XMLElement *element, ProjectElement *target, bool group);
    void applyConfiguration(const XMLElement *element);
    void applyImport(const XMLElement *element, ProjectElement *current);
    void applyChoose(const XMLElement *element, ProjectElement *current, int depth);

    [[nodiscard]] ProjectElement *makeNode(const char *tag, ProjectElement *parent);
    void setValue(ProjectElement *element, const QString &name, const QString &configuration,
                  const QString &value);
    [[nodiscard]] QString expanded(const QString &text, const QString &configuration) const;
    // The file name made relative and clean; throws if it would leave the project directory.
    [[nodiscard]] QString checkedFileName(const XMLElement *element, const QString &name) const;
    [[nodiscard]] QString where(const XMLElement *element) const;

    StandardProjectSystem &m_system;
    ProjectTemplateNode m_node;
    ProjectElement *m_project;
    QString m_projectDirectory;
    // Laid over the project's macros: TemplateDir, the folder of the template file, so that a
    // template can name the device files that come with it.
    MacroTable m_templateMacros;
    std::vector<ProjectTemplateChoice> m_choices;
    QHash<QString, size_t> m_choiceIndex;
    std::vector<ProjectTemplateFileToOpen> m_filesToOpen;
    std::vector<ProjectTemplateCopy> m_copies;
    std::vector<ProjectElement *> m_dynamicFolders;
    QHash<const XMLElement *, QString> m_madeFiles;   // template element: the file's path
};
