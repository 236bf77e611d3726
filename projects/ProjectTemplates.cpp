#include "projects/ProjectTemplates.h"
#include "foundation/QXMLDocument.h"
#include "projects/StandardProjectSystem.h"
#include <QDir>
#include <QFileInfo>
#include <cstring>

namespace {

QString attributeText(const XMLElement *element, const char *name)
{
    const char *value = element ? element->attribute(name) : nullptr;
    return value ? QString::fromUtf8(value) : QString();
}

// The template elements of a file: the `project` children of its root, or the root itself
// when a file holds one template alone.
void appendNodes(const ProjectTemplateFile *file, ProjectTemplateNodeList &nodes)
{
    const XMLElement *root = file->root();
    if (!root)
        return;
    if (std::strcmp(root->name(), "project") == 0) {
        nodes.push_back({root, file});
        return;
    }
    for (const XMLNode *node = root->firstChild(); node; node = node->nextSibling()) {
        if (node->kind() == XMLNode::Kind::Element
            && std::strcmp(static_cast<const XMLElement *>(node)->name(), "project") == 0)
            nodes.push_back({static_cast<const XMLElement *>(node), file});
    }
}

} // namespace

QString ProjectTemplateNode::name() const
{
    return attributeText(element, "name");
}

QString ProjectTemplateNode::title() const
{
    const QString text = attributeText(element, "title");
    return text.isEmpty() ? name() : text;
}

QString ProjectTemplateNode::description() const
{
    return attributeText(element, "description");
}

ProjectTemplates::ProjectTemplates() = default;

ProjectTemplates::~ProjectTemplates() = default;

bool ProjectTemplates::addFile(const QString &path)
{
    auto file = std::make_unique<ProjectTemplateFile>();
    if (!QFileInfo(path).isFile()) {
        m_problems.append(path + QStringLiteral(": no such file"));
        return false;
    }
    if (!file->load(path)) {
        m_problems.append(QStringLiteral("%1:%2: %3")
                              .arg(path)
                              .arg(file->errorLine() + 1)
                              .arg(QString::fromUtf8(file->errorText())));
        return false;
    }
    if (!file->root()) {
        m_problems.append(path + QStringLiteral(": no root element (empty or truncated file)"));
        return false;
    }
    m_files.push_back(file.get());
    m_owned.push_back(std::move(file));
    return true;
}

void ProjectTemplates::addInstallation(const QString &installationDirectory)
{
    const QString path = installationDirectory + QLatin1String(installationFile);
    if (!installationDirectory.isEmpty() && QFileInfo::exists(path))
        addFile(path);
}

void ProjectTemplates::addPackages(const QString &packagesDirectory)
{
    if (packagesDirectory.isEmpty())
        return;
    const QDir descriptions(packagesDirectory + QStringLiteral("/packages"));
    const QStringList names =
        descriptions.entryList({QStringLiteral("*_package.xml")}, QDir::Files, QDir::Name);
    for (const QString &name : names) {
        QXMLDocument description(0);
        if (!description.load(descriptions.filePath(name))) {
            m_problems.append(descriptions.filePath(name)
                              + QStringLiteral(": unreadable package description"));
            continue;
        }
        std::vector<XMLElement *> installed;
        findElements(description.root(), "installed_file", true, installed);
        for (const XMLElement *entry : installed) {
            const QString file = attributeText(entry, "file_name");
            if (file.endsWith(QLatin1String("project_templates.xml")))
                addFile(QDir(packagesDirectory).filePath(file));
        }
    }
}

void ProjectTemplates::addSolution(const StandardProjectSystem &system)
{
    if (const ProjectTemplateFile *file = system.templates())
        m_files.push_back(file);
}

ProjectTemplateNodeList ProjectTemplates::nodes() const
{
    ProjectTemplateNodeList result;
    for (const ProjectTemplateFile *file : m_files)
        appendNodes(file, result);
    return result;
}

std::optional<ProjectTemplateNode> ProjectTemplates::find(const QString &nameOrTitle) const
{
    const ProjectTemplateNodeList all = nodes();
    for (const ProjectTemplateNode &node : all) {
        if (node.name() == nameOrTitle)
            return node;
    }
    for (const ProjectTemplateNode &node : all) {
        if (node.title() == nameOrTitle)
            return node;
    }
    return std::nullopt;
}
