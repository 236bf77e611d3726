#pragma once
#include "projects/ProjectTemplateFile.h"
#include <QString>
#include <QStringList>
#include <memory>
#include <optional>
#include <vector>

class StandardProjectSystem;
class XMLElement;

// One template: the `project` element of a template file that holds it.
struct ProjectTemplateNode {
    const XMLElement *element = nullptr;
    const ProjectTemplateFile *file = nullptr;

    [[nodiscard]] QString name() const;
    [[nodiscard]] QString title() const;         // the name when the template gives none
    [[nodiscard]] QString description() const;
};
using ProjectTemplateNodeList = std::vector<ProjectTemplateNode>;

// The template files a new project can come from, in the order they were added: the caller
// adds the sources it wants searched first first. Sources are the installation's
// "targets/project_templates.xml", the template files of installed packages and a solution's
// templates_file.
class ProjectTemplates {
public:
    static constexpr const char *installationFile = "/targets/project_templates.xml";

    ProjectTemplates();
    ~ProjectTemplates();

    // Reads one file. False when it cannot be read or parsed; problems() says why.
    bool addFile(const QString &path);
    // The installation's templates, when it has a file of them.
    void addInstallation(const QString &installationDirectory);
    // The template files of the packages installed in `packagesDirectory`: each installed file
    // whose name ends in "project_templates.xml", as "packages/*_package.xml" list them.
    void addPackages(const QString &packagesDirectory);
    // The solution's templates_file, as the project system read it when it loaded the solution.
    void addSolution(const StandardProjectSystem &system);

    // Every template of every file, in order.
    [[nodiscard]] ProjectTemplateNodeList nodes() const;
    // The first template of that name, else the first of that title.
    [[nodiscard]] std::optional<ProjectTemplateNode> find(const QString &nameOrTitle) const;
    // The files read, in order.
    [[nodiscard]] std::vector<const ProjectTemplateFile *> files() const { return m_files; }
    // "file: why" for each file that would not load.
    [[nodiscard]] const QStringList &problems() const { return m_problems; }

private:
    std::vector<std::unique_ptr<ProjectTemplateFile>> m_owned;
    std::vector<const ProjectTemplateFile *> m_files;
    QStringList m_problems;
};
