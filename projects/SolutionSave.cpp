// Writing a solution file: a plain copy of the tree, with imported parts as `import` elements
// and dynamic folders without their listed files.
#include "foundation/AtomicWrite.h"
#include "foundation/PropertyClass.h"
#include "foundation/QXMLDocument.h"
#include "projects/StandardProjectSystem.h"
#include <QFileInfo>
#include <cstring>

namespace {

constexpr const char *solutionRootTag = "Tessbench_Project_File";

void copyAttributes(const XMLElement *from, XMLElement *to, const char *leaveOut)
{
    for (const XMLAttribute &attribute : from->attributes()) {
        if (leaveOut && std::strcmp(attribute.name, leaveOut) == 0)
            continue;
        to->setAttribute(xmlDuplicate(attribute.name), xmlDuplicate(attribute.value));
    }
}

bool isDynamicFolder(const ProjectElement *element)
{
    return element->kind() == ProjectElement::Kind::Folder && element->findProperty(QStringLiteral("path"));
}

// The copy of `element` as its file holds it. Nodes nest at most as deep as the wiring allows,
// so the recursion is bounded; anything else is copied by the document's own deep copy.
XMLElement *copyForSave(QXMLDocument &document, const ProjectElement *element, bool top)
{
    XMLElement *copy = document.createElement(xmlDuplicate(element->name()));
    copyAttributes(element, copy, top ? "file_name" : nullptr);
    const bool onlyConfigurations = isDynamicFolder(element);
    const ProjectElement *lastImport = nullptr;
    for (const XMLNode *node = element->firstChild(); node; node = node->nextSibling()) {
        const ProjectElement *child = asProjectElement(node);
        if (!child) {
            if (!onlyConfigurations)
                document.cloneNode(node, copy);
            continue;
        }
        if (child->isDynamic())
            continue;
        if (onlyConfigurations && child->kind() != ProjectElement::Kind::Configuration)
            continue;
        if (child->isImported()) {
            // The parts of one imported file stand side by side: one `import` for them all.
            if (lastImport && lastImport->filePath() == child->filePath()
                && lastImport->importFileName() == child->importFileName())
                continue;
            lastImport = child;
            XMLElement *import = document.createElement(xmlDuplicate("import"));
            import->setAttribute(xmlDuplicate("file_name"),
                                 xmlDuplicate(child->importFileName().toUtf8()));
            copy->appendChild(import);
            continue;
        }
        lastImport = nullptr;
        if (child->kind() == ProjectElement::Kind::Other)
            document.cloneNode(child, copy);
        else
            copy->appendChild(copyForSave(document, child, false));
    }
    return copy;
}

QString currentTargetId()
{
    const PropertyClassList *system = PropertyClassList::global();
    const QString id = system ? system->macros.value(QStringLiteral("TargetID")) : QString();
    return id.isEmpty() ? QStringLiteral("0") : id;
}

} // namespace

QByteArray StandardProjectSystem::solutionFileBytes(ProjectElement *element)
{
    if (!element->hasAttribute("target"))
        element->setAttribute(xmlDuplicate("target"), xmlDuplicate(currentTargetId().toUtf8()));
    QXMLDocument document(0);
    document.setDocType(xmlDuplicate(solutionRootTag));
    XMLElement *root = document.createElement(xmlDuplicate(solutionRootTag));
    document.setRoot(root);
    root->appendChild(copyForSave(document, element, true));
    return document.saveBuffer(solutionFileIndent, solutionFileWrapWidth);
}

void StandardProjectSystem::writeNewSolution(const QString &path, const QString &name)
{
    QXMLDocument document(0);
    document.setDocType(xmlDuplicate(solutionRootTag));
    XMLElement *root = document.createElement(xmlDuplicate(solutionRootTag));
    document.setRoot(root);
    XMLElement *solution = document.createElement(xmlDuplicate("solution"));
    solution->setAttribute(xmlDuplicate("Name"), xmlDuplicate(name.toUtf8()));
    solution->setAttribute(xmlDuplicate("version"), xmlDuplicate("2"));
    root->appendChild(solution);
    const QByteArray bytes = document.saveBuffer(solutionFileIndent, solutionFileWrapWidth);
    QString why;
    if (!writeAtomically(path, bytes, &why))
        throw SolutionSaveError(QStringLiteral("couldn't write %1: %2").arg(path, why));
}

void StandardProjectSystem::saveElement(ProjectElement *element, const QString &path,
                                        ProjectFileSaveErrorHandler *handler)
{
    const QString file = path.isEmpty() ? element->filePath().text() : path;
    const QByteArray bytes = solutionFileBytes(element);
    QString why;
    if (writeAtomically(file, bytes, &why)) {
        element->setLastModified(QFileInfo(file).lastModified());
        emit fileSaved(Path(file));
        return;
    }
    const QString message = QStringLiteral("couldn't write %1: %2").arg(file, why);
    if (handler && handler->saveFailed(file, message))
        return;
    throw SolutionSaveError(message);
}

void StandardProjectSystem::saveSolution(const QString &path, ProjectFileSaveErrorHandler *handler)
{
    if (!m_solution)
        throw SolutionSaveError(QStringLiteral("no solution is open"));
    saveElement(m_solution, path, handler);
}
