#include "projects/ProjectTemplateInstance.h"
#include "foundation/HException.h"
#include "projects/StandardProjectSystem.h"
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QSet>

namespace {

constexpr qint64 copyChunk = 256 * 1024;

bool copyBytes(QFile &from, QIODevice &to)
{
    QByteArray buffer;
    while (!from.atEnd()) {
        buffer = from.read(copyChunk);
        if (buffer.isEmpty() || to.write(buffer) != buffer.size())
            return false;
    }
    return true;
}

} // namespace

// What create() has made on disk, taken away again unless the whole creation succeeds.
class ProjectTemplateInstance::Undo {
public:
    Undo() = default;
    Undo(const Undo &) = delete;
    Undo &operator=(const Undo &) = delete;
    ~Undo()
    {
        if (m_kept)
            return;
        for (auto it = m_files.crbegin(); it != m_files.crend(); ++it)
            QFile::remove(*it);
        for (auto it = m_directories.crbegin(); it != m_directories.crend(); ++it)
            QDir(*it).removeRecursively();   // it did not exist before: all in it is ours
    }

    void madeFile(const QString &path) { m_files.append(path); }
    void keep() { m_kept = true; }

    // Makes `directory` and what is missing above it, remembering the outermost one made.
    bool makeDirectory(const QString &directory)
    {
        QString outermost;
        for (QString at = QDir::cleanPath(directory); !QFileInfo::exists(at);
             at = QFileInfo(at).path()) {
            outermost = at;
            if (at == QFileInfo(at).path())
                break;
        }
        if (outermost.isEmpty())
            return QFileInfo(directory).isDir();
        if (!QDir().mkpath(directory))
            return false;
        m_directories.append(outermost);
        return true;
    }

private:
    QStringList m_files;
    QStringList m_directories;
    bool m_kept = false;
};

ProjectTemplateInstance::ProjectTemplateInstance(StandardProjectSystem &system,
                                                 const ProjectTemplateNode &node,
                                                 const QString &projectName)
    : m_system(system), m_node(node)
{
    ProjectElement *solution = system.solution();
    if (!solution)
        throw HException(QStringLiteral("no solution is open"));
    if (projectName.isEmpty() || projectName.contains(u'/') || projectName.contains(u'\\')
        || projectName == QLatin1String(".") || projectName == QLatin1String(".."))
        throw HException(QStringLiteral("'%1' cannot name a project").arg(projectName));
    for (const ProjectElement *child : solution->children()) {
        if (child->kind() == ProjectElement::Kind::Project && child->elementName() == projectName)
            throw HException(QStringLiteral("the solution already has a project named '%1'")
                                 .arg(projectName));
    }
    m_project = new ProjectElement(xmlDuplicate("project"));
    m_project->setProperty(QStringLiteral("Name"), projectName);
    m_project->setProperty(QStringLiteral("project_directory"), projectName);
    m_project->setProperty(QStringLiteral("template_name"), node.name());
    // The project lives in the solution file: its directory and macros are reckoned from there.
    m_project->setFilePath(solution->filePath());
    solution->appendChild(m_project);
    system.wireTree(solution);
    m_directory = QDir::cleanPath(QFileInfo(system.solutionPath().text()).absolutePath()
                                  + u'/' + projectName);
    m_walk = std::make_unique<ProjectTemplateWalk>(system, node, m_project);
}

ProjectTemplateInstance::~ProjectTemplateInstance()
{
    if (m_created || !m_project)
        return;
    if (ProjectElement *solution = m_system.solution()) {
        solution->removeChild(m_project);
        m_project->setNextSibling(nullptr);
        delete m_project;
        m_system.wireTree(solution);
    }
}

QStringList ProjectTemplateInstance::create(bool force)
{
    if (QFileInfo::exists(m_directory) && !force)
        throw HException(QStringLiteral("project directory %1 exists").arg(m_directory));
    m_walk->apply();
    checkCopies(force);
    Undo undo;
    if (!undo.makeDirectory(m_directory))
        throw HException(QStringLiteral("cannot make the project directory %1").arg(m_directory));
    copySources(undo, force);
    m_system.saveSolution();
    undo.keep();
    m_created = true;
    for (ProjectElement *folder : m_walk->dynamicFolders())
        m_system.rescanFolder(folder);
    return m_walk->openedFiles();
}

void ProjectTemplateInstance::checkCopies(bool force) const
{
    QSet<QString> destinations;
    for (const ProjectTemplateCopy &copy : m_walk->copies()) {
        if (!QFileInfo(copy.source).isFile())
            throw HException(QStringLiteral("%1: no such template source file").arg(copy.source));
        if (!copy.destination.startsWith(m_directory + u'/'))
            throw HException(QStringLiteral("the template would write %1 outside the project directory %2")
                                 .arg(copy.destination, m_directory));
        if (destinations.contains(copy.destination))
            throw HException(QStringLiteral("the template makes %1 twice").arg(copy.destination));
        destinations.insert(copy.destination);
        if (!force && QFileInfo::exists(copy.destination))
            throw HException(QStringLiteral("%1 exists").arg(copy.destination));
    }
}

void ProjectTemplateInstance::copySources(Undo &undo, bool force)
{
    for (const ProjectTemplateCopy &copy : m_walk->copies()) {
        const QString directory = QFileInfo(copy.destination).path();
        if (!undo.makeDirectory(directory))
            throw HException(QStringLiteral("cannot make the directory %1").arg(directory));
        QFile from(copy.source);
        if (!from.open(QIODevice::ReadOnly))
            throw HException(QStringLiteral("cannot read %1: %2").arg(copy.source, from.errorString()));
        bool written = false;
        QString why;
        if (force && QFileInfo::exists(copy.destination)) {
            QSaveFile to(copy.destination);
            written = to.open(QIODevice::WriteOnly) && copyBytes(from, to) && to.flush() && to.commit();
            why = to.errorString();
        } else {
            QFile to(copy.destination);
            if (to.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
                undo.madeFile(copy.destination);
                written = copyBytes(from, to) && to.flush();
            }
            why = to.errorString();
        }
        if (!written)
            throw HException(QStringLiteral("cannot write %1: %2").arg(copy.destination, why));
        ++m_copied;
    }
}
