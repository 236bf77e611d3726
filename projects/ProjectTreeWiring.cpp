#include "projects/ProjectTreeWiring.h"
#include "projects/ProjectElement.h"
#include "projects/ProjectSystem.h"
#include <QSet>
#include <algorithm>

namespace {

using Kind = ProjectElement::Kind;

// Where each kind of node may stand: the kinds its parent may have.
bool fitsUnder(Kind child, Kind parent)
{
    switch (child) {
    case Kind::Solution:
        return parent == Kind::Other || parent == Kind::Solution;
    case Kind::Project:
        return parent == Kind::Solution;
    case Kind::Folder:
    case Kind::File:
        return parent == Kind::Project || parent == Kind::Folder;
    default:
        return false;
    }
}

[[noreturn]] void fail(const XMLNode *node, const Path &sourceFile, const QString &text)
{
    throw SolutionLoadError(
        QStringLiteral("%1:%2: %3").arg(sourceFile.text()).arg(node->line() + 1).arg(text));
}

QString tagOf(const ProjectElement *element)
{
    return QString::fromUtf8(element->name());
}

// The key under which a node must be unique among its siblings: files by what they point at,
// other nodes by name.
QString siblingKey(const ProjectElement *element)
{
    if (element->kind() == Kind::File) {
        const char *name = element->attribute("Name");
        const char *fileName = element->attribute("file_name");
        return QStringLiteral("file:") + QString::fromUtf8(name ? name : fileName);
    }
    return QStringLiteral("node:") + element->elementName();
}

} // namespace

void ProjectTreeWiring::wire(ProjectElement *root, const Path &sourceFile)
{
    std::vector<Pending> stack{{root, sourceFile, 0}};
    while (!stack.empty()) {
        const Pending pending = stack.back();
        stack.pop_back();
        wireOne(pending, stack);
    }
}

void ProjectTreeWiring::wireOne(const Pending &pending, std::vector<Pending> &stack)
{
    ProjectElement *element = pending.element;
    const Path sourceFile = element->isImported() ? element->filePath() : pending.sourceFile;
    if (pending.depth > maxDepth)
        fail(element, sourceFile, QStringLiteral("elements nested too deeply"));
    element->m_children.clear();
    element->m_configurations.clear();
    element->m_inheritedConfigurations.clear();
    element->m_commonChild = nullptr;
    QSet<QString> names;
    const qsizetype firstPending = qsizetype(stack.size());
    for (XMLNode *node = element->firstChild(); node; node = node->nextSibling()) {
        ProjectElement *child = asProjectElement(node);
        if (!child || child->kind() == Kind::Other)
            continue;
        if (child->kind() == Kind::Configuration) {
            if (element->kind() != Kind::Other)
                addConfiguration(element, child, sourceFile);
            continue;
        }
        if (!fitsUnder(child->kind(), element->kind())) {
            fail(child, sourceFile,
                 QStringLiteral("a %1 cannot stand inside %2")
                     .arg(tagOf(child), element->kind() == Kind::Other
                                            ? QStringLiteral("the file's root")
                                            : QStringLiteral("a ") + tagOf(element)));
        }
        const QString key = siblingKey(child);
        if (!child->elementName().isEmpty() || child->kind() == Kind::File) {
            if (names.contains(key))
                fail(child, sourceFile,
                     QStringLiteral("duplicate %1 name '%2'").arg(tagOf(child), key.mid(5)));
            names.insert(key);
        }
        child->m_parentElement = element->kind() == Kind::Other ? nullptr : element;
        if (element->kind() != Kind::Other)
            element->m_children.push_back(child);
        stack.push_back({child, sourceFile, pending.depth + 1});
    }
    // Children are wired in document order: the stack pops the last pushed first.
    std::reverse(stack.begin() + firstPending, stack.end());
    if (!element->m_properties.empty() || element->m_commonChild)
        element->m_configurations.emplace(element->m_configurations.begin(),
                                          QStringLiteral("Common"), element);
}

void ProjectTreeWiring::addConfiguration(ProjectElement *owner, ProjectElement *configuration,
                                         const Path &sourceFile)
{
    const char *rawName = configuration->attribute("Name");
    if (!rawName || !*rawName)
        fail(configuration, sourceFile, QStringLiteral("configuration without a Name"));
    const QString name = QString::fromUtf8(rawName);
    configuration->m_parentElement = owner;
    if (name == QLatin1String("Common")) {
        if (owner->m_commonChild)
            fail(configuration, sourceFile, QStringLiteral("duplicate configuration 'Common'"));
        owner->m_commonChild = configuration;
        return;
    }
    if (owner->holder(name))
        fail(configuration, sourceFile, QStringLiteral("duplicate configuration '%1'").arg(name));
    owner->m_configurations.emplace_back(name, configuration);
    if (const QString *inherited = configuration->findProperty(QStringLiteral("inherited_configurations")))
        owner->m_inheritedConfigurations.emplace_back(name,
                                                      inherited->split(u';', Qt::SkipEmptyParts));
}
