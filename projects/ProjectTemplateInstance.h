#pragma once
#include "projects/ProjectTemplateWalk.h"
#include <QString>
#include <QStringList>
#include <memory>

class ProjectElement;
class StandardProjectSystem;

// A new project made from a template in the open solution, from the first walk to the files
// on disk:
//
//     ProjectTemplateInstance instance(system, *templates.find("StaticLibrary"), "Filters");
//     for (const ProjectTemplateChoice &choice : instance.walk().choices())
//         ...;                                         // ask, then instance.walk().choose(...)
//     const QStringList toOpen = instance.create(false);
//
// The project directory is "<solution directory>/<project name>". create() writes all or
// nothing: the template's sources are copied first, then the solution is saved through its
// atomic writer; if either fails, the files and folders it made are removed again and the old
// solution file stays as it was.
class ProjectTemplateInstance {
public:
    // Adds the empty project to the solution and runs the first walk. Throws HException for a
    // name that cannot be a project's (empty, with "/", taken by another project).
    ProjectTemplateInstance(StandardProjectSystem &system, const ProjectTemplateNode &node,
                            const QString &projectName);
    // Takes the project out of the tree again unless create() succeeded.
    ~ProjectTemplateInstance();
    ProjectTemplateInstance(const ProjectTemplateInstance &) = delete;
    ProjectTemplateInstance &operator=(const ProjectTemplateInstance &) = delete;

    [[nodiscard]] ProjectTemplateWalk &walk() { return *m_walk; }
    [[nodiscard]] ProjectElement *project() const { return m_project; }
    [[nodiscard]] const QString &projectDirectory() const { return m_directory; }

    // Runs the second walk, copies the sources and saves the solution; returns the files to
    // open. An existing project directory is refused unless `force`, which also lets copies
    // replace files there. Throws HException (SolutionSaveError for the save).
    [[nodiscard]] QStringList create(bool force);
    // The number of files create() copied.
    [[nodiscard]] int copiedFiles() const { return m_copied; }

private:
    class Undo;

    void checkCopies(bool force) const;
    void copySources(Undo &undo, bool force);

    StandardProjectSystem &m_system;
    ProjectTemplateNode m_node;
    ProjectElement *m_project = nullptr;
    QString m_directory;
    std::unique_ptr<ProjectTemplateWalk> m_walk;
    bool m_created = false;
    int m_copied = 0;
};
