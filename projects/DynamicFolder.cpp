// Dynamic folders: a folder with a `path` shows the files of that directory.
#include "projects/ProjectTreeWiring.h"
#include "projects/StandardProjectSystem.h"
#include <QDir>
#include <QFileInfo>

namespace {

constexpr int maxScanDepth = 32;
constexpr int maxScannedEntries = 100000;

QString valueOf(const ProjectElement *folder, const char *name)
{
    const QString *value = folder->findValue(QStringLiteral("Common"), QString::fromLatin1(name));
    return value ? *value : QString();
}

bool matchesAny(const QStringList &wildcards, const QString &name)
{
    for (const QString &wildcard : wildcards)
        if (QDir::match(wildcard, name))
            return true;
    return false;
}

struct Scan {
    QString projectDirectory;
    QStringList filters;
    QStringList excludes;
    bool recurse;
    int entries = 0;
};

ProjectElement *addChild(ProjectElement *parent, const char *tag, const char *attribute,
                         const QString &value)
{
    auto *child = new ProjectElement(xmlDuplicate(tag));
    child->setAttribute(xmlDuplicate(attribute), xmlDuplicate(value.toUtf8()));
    child->setDynamic(true);
    child->setFilePath(parent->filePath());
    parent->appendChild(child);
    return child;
}

void scanDirectory(ProjectElement *folder, const QString &directory, int depth, Scan &scan)
{
    const QFileInfoList entries = QDir(directory).entryInfoList(
        QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name | QDir::DirsLast);
    for (const QFileInfo &entry : entries) {
        if (++scan.entries > maxScannedEntries || matchesAny(scan.excludes, entry.fileName()))
            continue;
        if (entry.isDir()) {
            if (scan.recurse && depth < maxScanDepth && !entry.isSymLink())
                scanDirectory(addChild(folder, "folder", "Name", entry.fileName()),
                              entry.filePath(), depth + 1, scan);
        } else if (matchesAny(scan.filters, entry.fileName())) {
            addChild(folder, "file", "file_name",
                     QDir(scan.projectDirectory).relativeFilePath(entry.filePath()));
        }
    }
}

} // namespace

void StandardProjectSystem::scanFolder(ProjectElement *folder)
{
    for (XMLNode *node = folder->firstChild(); node;) {
        XMLNode *next = node->nextSibling();
        const ProjectElement *child = asProjectElement(node);
        if (child && child->isDynamic()) {
            folder->removeChild(node);
            node->setNextSibling(nullptr);
            delete node;
        }
        node = next;
    }
    const QString common = QStringLiteral("Common");
    const QString path = valueOf(folder, "path");
    if (!path.isEmpty()) {
        Scan scan;
        scan.projectDirectory = projectDirectory(folder, common);
        scan.filters = valueOf(folder, "filter").split(u';', Qt::SkipEmptyParts);
        if (scan.filters.isEmpty())
            scan.filters.append(QStringLiteral("*"));
        scan.excludes = valueOf(folder, "exclude").split(u';', Qt::SkipEmptyParts);
        scan.recurse = valueOf(folder, "recurse") == QLatin1String("Yes");
        const QString expanded = expand(folder, common, path);
        scanDirectory(folder,
                      QFileInfo(expanded).isRelative()
                          ? scan.projectDirectory + u'/' + expanded
                          : expanded,
                      0, scan);
    }
    ProjectTreeWiring::wire(folder, folder->filePath());
    invalidateCaches();
}

void StandardProjectSystem::rescanFolder(ProjectElement *folder)
{
    scanFolder(folder);
    assignFilePaths(folder);
}
