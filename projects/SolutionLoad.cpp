// Reading a solution file: imports, load commands, templates, and the wiring of the tree.
#include "foundation/PropertyClass.h"
#include "foundation/QXMLDocument.h"
#include "projects/ProjectSystemXMLPP2.h"
#include "projects/ProjectTemplateFile.h"
#include "projects/ProjectTreeWiring.h"
#include "projects/StandardProjectSystem.h"
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <cstring>

namespace {

constexpr const char *solutionRootTag = "Tessbench_Project_File";

[[noreturn]] void failAt(const QString &file, const XMLNode *node, const QString &text)
{
    throw SolutionLoadError(
        QStringLiteral("%1:%2: %3").arg(file).arg(node->line() + 1).arg(text));
}

QString attributeText(const XMLElement *element, const char *name)
{
    const char *value = element->attribute(name);
    return value ? QString::fromUtf8(value) : QString();
}

QString directoryOf(const QString &file)
{
    return QFileInfo(file).absolutePath();
}

QString joinedTo(const QString &directory, const QString &path)
{
    return QFileInfo(path).isRelative() && !directory.isEmpty() ? directory + u'/' + path : path;
}

// Takes the children of `from` out of it, as one sibling chain.
XMLNode *takeChildren(XMLElement *from)
{
    XMLNode *first = from->firstChild();
    for (XMLNode *node = first; node; node = node->nextSibling())
        node->setParent(nullptr);
    from->setFirstChild(nullptr);
    return first;
}

// Sets the file every node below `top` came from, down to the next imported part.
void assignSourceFile(ProjectElement *top, const Path &file)
{
    std::vector<ProjectElement *> stack{top};
    while (!stack.empty()) {
        ProjectElement *element = stack.back();
        stack.pop_back();
        if (element != top && element->isImported())
            continue;
        if (element->kind() != ProjectElement::Kind::File)
            element->setFilePath(file);
        for (XMLNode *node = element->firstChild(); node; node = node->nextSibling())
            if (ProjectElement *child = asProjectElement(node))
                stack.push_back(child);
    }
}

} // namespace

struct StandardProjectSystem::LoadState {
    const SolutionLoadHandlers &handlers;
    bool expandMacros;
    QStringList chain;   // canonical paths of the files being loaded, outermost first
    std::vector<std::unique_ptr<ProjectSystemXMLPP2>> documents;
};

QString StandardProjectSystem::existingPath(const QString &path,
                                            const SolutionLoadHandlers &handlers,
                                            const QString &missingText) const
{
    if (QFileInfo::exists(path))
        return path;
    if (handlers.fileNotFound) {
        const QString replacement = handlers.fileNotFound->fileNotFound(path);
        if (!replacement.isEmpty() && QFileInfo::exists(replacement))
            return replacement;
    }
    throw SolutionLoadError(path + missingText);
}

ProjectElement *StandardProjectSystem::loadSolution(const QString &directory,
                                                    const QString &path, bool expandMacros,
                                                    const SolutionLoadHandlers &handlers)
{
    const QString file =
        existingPath(joinedTo(directory, path), handlers, QStringLiteral(" does not exist"));
    emit progress(QStringLiteral("Loading solution ") + QFileInfo(file).fileName());
    if (m_solution && QFileInfo(m_solution->filePath().text()).canonicalFilePath()
                          == QFileInfo(file).canonicalFilePath())
        throw SolutionLoadError(file + QStringLiteral(" solution already loaded"));
    closeSolution();

    LoadState state{handlers, expandMacros, {}, {}};
    std::unique_ptr<ProjectSystemXMLPP2> document;
    ProjectElement *root = loadFile(file, QString(), state, document);
    ProjectElement *solution = nullptr;
    for (XMLNode *node = root->firstChild(); node && !solution; node = node->nextSibling()) {
        ProjectElement *child = asProjectElement(node);
        if (child && child->kind() == ProjectElement::Kind::Solution)
            solution = child;
    }
    if (!solution)
        throw SolutionLoadError(file + QStringLiteral(" not a solution file"));

    solution->setLastModified(QFileInfo(file).lastModified());
    assignSourceFile(solution, Path(file));
    ProjectTreeWiring::wire(solution, Path(file));
    if (qstrcmp(solution->attribute("version"), "2") != 0)
        solution->setAttribute(xmlDuplicate("version"), xmlDuplicate("2"));

    m_documents.push_back(std::move(document));
    for (auto &imported : state.documents)
        m_documents.push_back(std::move(imported));
    m_solution = solution;
    try {
        scanDynamicFolders(solution);
        assignFilePaths(solution);
        if (m_runLoadCommands)
            runLoadCommands(solution);
        readTemplates(solution, handlers);
    } catch (...) {
        closeSolution();
        throw;
    }
    collectTemplateElements(solution);
    emit solutionLoaded(solution);
    return solution;
}

// Loads one file, solution or imported part, with its imports in place. The document's root is
// the file's root element.
ProjectElement *StandardProjectSystem::loadFile(const QString &path,
                                                const QString &macroDefinitions,
                                                LoadState &state,
                                                std::unique_ptr<ProjectSystemXMLPP2> &document)
{
    const QString canonical = QFileInfo(path).canonicalFilePath();
    if (const qsizetype at = state.chain.indexOf(canonical); at >= 0)
        throw SolutionLoadError(path + QStringLiteral(" is imported by itself: ")
                                + (state.chain.mid(at) << canonical).join(QStringLiteral(" -> ")));
    if (state.chain.size() >= maxImportDepth)
        throw SolutionLoadError(path + QStringLiteral(": imports nested too deeply"));
    QFile access(path);
    if (QFileInfo(path).isDir() || !access.open(QIODevice::ReadOnly))
        throw SolutionLoadError(path + QStringLiteral(" cannot access"));
    access.close();

    document = std::make_unique<ProjectSystemXMLPP2>();
    if (!document->load(path, macroDefinitions, state.expandMacros))
        throw SolutionLoadError(path + QStringLiteral(" is a malformed solution file (bad XML)"));
    ProjectElement *root = asProjectElement(document->root());
    if (!root || std::strcmp(root->name(), solutionRootTag) != 0)
        throw SolutionLoadError(path + QStringLiteral(" not a solution file"));
    state.chain.append(canonical);
    processImports(root, path, state);
    state.chain.removeLast();
    return root;
}

// Puts the content of each imported file in place of its `import` element.
void StandardProjectSystem::processImports(ProjectElement *top, const QString &fromFile,
                                           LoadState &state)
{
    std::vector<ProjectElement *> stack{top};
    while (!stack.empty()) {
        ProjectElement *element = stack.back();
        stack.pop_back();
        XMLNode *node = element->firstChild();
        while (node) {
            ProjectElement *child = asProjectElement(node);
            XMLNode *next = node->nextSibling();
            if (!child || std::strcmp(child->name(), "import") != 0) {
                if (child)
                    stack.push_back(child);
                node = next;
                continue;
            }
            const QString fileName = attributeText(child, "file_name");
            if (fileName.isEmpty())
                failAt(fromFile, child, QStringLiteral("import without a file_name"));
            const QString macros = attributeText(child, "macros");
            const QString expanded = expandMacros(PropertyClassList::global(),
                                                  parseMacroDefinitions(macros), fileName,
                                                  true, true);
            const QString importPath =
                existingPath(joinedTo(directoryOf(fromFile), expanded), state.handlers,
                             QStringLiteral(" does not exist"));
            std::unique_ptr<ProjectSystemXMLPP2> imported;
            ProjectElement *importRoot = loadFile(importPath, macros, state, imported);
            XMLNode *content = takeChildren(importRoot);
            const QDateTime modified = QFileInfo(importPath).lastModified();
            for (XMLNode *part = content; part; part = part->nextSibling()) {
                if (ProjectElement *partElement = asProjectElement(part)) {
                    partElement->setImportFileName(fileName);
                    partElement->setFilePath(Path(importPath));
                    partElement->setLastModified(modified);
                }
            }
            if (content)
                element->insertChildrenAfter(child, content);
            element->removeChild(child);
            child->setNextSibling(nullptr);
            delete child;
            state.documents.push_back(std::move(imported));
            node = next;
        }
    }
}

void StandardProjectSystem::runLoadCommands(ProjectElement *solution)
{
    const QString common = QStringLiteral("Common");
    const QString commands = attributeText(solution, "load_command");
    if (commands.isEmpty())
        return;
    emit progress(QStringLiteral("Executing load commands"));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const QString settings =
        expand(solution, common, attributeText(solution, "load_command_environment"));
    for (const QString &item : settings.split(u';', Qt::SkipEmptyParts)) {
        const qsizetype equals = item.indexOf(u'=');
        environment.insert(equals < 0 ? item : item.left(equals),
                           equals < 0 ? QString() : item.mid(equals + 1));
    }
    for (const QString &part : expand(solution, common, commands).split(QLatin1String("&&"))) {
        const QString command = part.trimmed();
        QStringList arguments = QProcess::splitCommand(command);
        if (arguments.isEmpty())
            continue;
        QProcess process;
        process.setProgram(arguments.takeFirst());
        process.setArguments(arguments);
        process.setWorkingDirectory(directoryOf(solution->filePath().text()));
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::ForwardedChannels);
        process.start();
        if (!process.waitForStarted(-1))
            throw SolutionLoadError(QStringLiteral("solution load command \"") + command
                                    + QStringLiteral("\" not found"));
        process.waitForFinished(-1);
        const int status =
            process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
        if (status != 0)
            throw SolutionLoadError(QStringLiteral("solution load command failed (%1) %2")
                                        .arg(status)
                                        .arg(command));
    }
}

void StandardProjectSystem::readTemplates(ProjectElement *solution,
                                          const SolutionLoadHandlers &handlers)
{
    const QString name = attributeText(solution, "templates_file");
    if (name.isEmpty())
        return;
    const QString path = joinedTo(directoryOf(solution->filePath().text()),
                                  expand(solution, QStringLiteral("Common"), name));
    auto templates = std::make_unique<ProjectTemplateFile>();
    if (templates->load(path)) {
        m_templates = std::move(templates);
        return;
    }
    if (handlers.templateNotFound && handlers.templateNotFound->templateNotFound(path))
        return;
    throw SolutionLoadError(path + (QFileInfo::exists(path)
                                        ? QStringLiteral(" is a malformed templates file (bad XML)")
                                        : QStringLiteral(" does not exist")));
}

void StandardProjectSystem::collectTemplateElements(ProjectElement *top)
{
    m_templateElements.clear();
    std::vector<ProjectElement *> stack{top};
    while (!stack.empty()) {
        ProjectElement *element = stack.back();
        stack.pop_back();
        if (const char *templateName = element->attribute("template_name"))
            m_templateElements[QString::fromUtf8(templateName)].append(element);
        for (ProjectElement *child : element->children())
            stack.push_back(child);
    }
}

void StandardProjectSystem::scanDynamicFolders(ProjectElement *top)
{
    std::vector<ProjectElement *> stack{top};
    std::vector<ProjectElement *> folders;
    while (!stack.empty()) {
        ProjectElement *element = stack.back();
        stack.pop_back();
        if (element->kind() == ProjectElement::Kind::Folder && !element->isDynamic()
            && element->findProperty(QStringLiteral("path")))
            folders.push_back(element);
        for (ProjectElement *child : element->children())
            stack.push_back(child);
    }
    for (ProjectElement *folder : folders)
        scanFolder(folder);
}

void StandardProjectSystem::assignFilePaths(ProjectElement *top)
{
    const QString common = QStringLiteral("Common");
    std::vector<ProjectElement *> stack{top};
    while (!stack.empty()) {
        ProjectElement *element = stack.back();
        stack.pop_back();
        for (ProjectElement *child : element->children())
            stack.push_back(child);
        if (element->kind() != ProjectElement::Kind::File || !element->parentElement())
            continue;
        const QString directory = projectDirectory(element, common);
        QString fileName = attributeText(element, "file_name");
        if (fileName.contains(u'$'))
            fileName = expand(element->parentElement(), common, fileName);
        element->setFilePath(Path(QFileInfo(fileName).isRelative() && !directory.isEmpty()
                                      ? QDir::cleanPath(directory + u'/' + fileName)
                                      : QDir::cleanPath(fileName)));
    }
}
