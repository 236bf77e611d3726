#include "shell/ProjectViews.h"
#include "shell/BuildViews.h"
#include "foundation/PropertyClass.h"
#include "foundation/Report.h"
#include "foundation/XMLDocument.h"
#include "projects/ProjectElement.h"
#include "projects/ProjectSystem.h"
#include "projects/PropertyValue.h"
#include "projects/SolutionSession.h"
#include "projects/StandardProjectSystem.h"
#include "shell/DocumentHost.h"
#include "shell/ProjectPropertiesView.h"
#include "shell/ProjectTreeModel.h"
#include "shell/VarnelAction.h"
#include "shell/VarnelWindow.h"
#include <QComboBox>
#include <QDir>
#include <QDockWidget>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QInputDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QSaveFile>
#include <QStatusBar>
#include <QTreeView>
#include <QVBoxLayout>

namespace
{

const QString common = QStringLiteral("Common");

// The element that stands for the file holding `element`: the top of its imported part, or
// the solution.
const ProjectElement *fileOwner(const ProjectElement *element)
{
    const ProjectElement *at = element;
    while (at && !at->isImported() && at->parentElement())
        at = at->parentElement();
    return at;
}

// Why `element` may not change: it is part of an imported file that does not allow it (the
// import's can_modify_solution is not "Yes"). Empty when it may.
QString lockedImport(const ProjectElement *element)
{
    const ProjectElement *owner = fileOwner(element);
    if (!owner || !owner->isImported() ||
        qstrcmp(owner->attribute("can_modify_solution"), "Yes") == 0)
        return {};
    return QStringLiteral("'%1' is imported from %2, which may not be changed")
        .arg(element->elementName(), owner->importFileName());
}

// The project's directory, absolute, as the build sees it.
QString projectDirectory(const StandardProjectSystem &system, const ProjectElement *element)
{
    return QDir::cleanPath(system.expand(element, common, QStringLiteral("$(ProjectDir)")));
}

bool holdsName(const ProjectElement *parent, const QString &name)
{
    for (const ProjectElement *child : parent->children()) {
        if (child->elementName() == name)
            return true;
    }
    return false;
}

bool contains(const ProjectElement *ancestor, const ProjectElement *element)
{
    for (const ProjectElement *at = element; at; at = at->parentElement()) {
        if (at == ancestor)
            return true;
    }
    return false;
}

ProjectElement *firstProject(ProjectElement *element)
{
    for (ProjectElement *child : element ? element->children() : std::vector<ProjectElement *>{}) {
        if (child->kind() == ProjectElement::Kind::Project)
            return child;
        if (ProjectElement *found = firstProject(child))
            return found;
    }
    return nullptr;
}

// A dock whose body stacks its parts without margins; the body's layout is a QVBoxLayout.
QDockWidget *makeDock(QWidget *window, const QString &title, const QString &name)
{
    auto *dock = new QDockWidget(title, window);
    dock->setObjectName(name);
    auto *body = new QWidget(dock);
    auto *layout = new QVBoxLayout(body);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    dock->setWidget(body);
    return dock;
}

// Actions of the explorer's context menu, in order; null for a separator.
constexpr const char *contextActions[] = {
    "ProjectSetActiveProject", nullptr,          "ProjectAddNewFile",     "ProjectAddExistingItem",
    "ProjectNewFolder",        nullptr,          "ProjectExplorerDelete", nullptr,
    "ProjectReload",           "ViewProperties",
};

} // namespace

ProjectViews::ProjectViews(VarnelWindow *window) : QObject(window), m_window(window)
{
    setObjectName(QStringLiteral("ProjectViews"));
    m_prompts.confirm = [window](const QString &question) {
        return QMessageBox::question(window, QStringLiteral("Tessmark"), question) ==
               QMessageBox::Yes;
    };
    m_prompts.chooseFiles = [window](const QString &directory) {
        return QFileDialog::getOpenFileNames(window, QStringLiteral("Add Existing Files"),
                                             directory);
    };
    m_prompts.askName = [window](const QString &title, const QString &label) {
        return QInputDialog::getText(window, title, label).trimmed();
    };
    createProjectDock();
    createPropertiesDock();
    connect(window, &VarnelWindow::solutionChanged, this, &ProjectViews::solutionOpened);
    connect(window, &VarnelWindow::solutionClosing, this, &ProjectViews::solutionClosing);
    connect(window, &VarnelWindow::activeChanged, this, &ProjectViews::activeChanged);
}

ProjectViews::~ProjectViews() = default;

void ProjectViews::setPrompts(Prompts prompts)
{
    m_prompts = std::move(prompts);
}

void ProjectViews::createProjectDock()
{
    m_projectDock =
        makeDock(m_window, QStringLiteral("Project Explorer"), QStringLiteral("ProjectExplorer"));
    QWidget *body = m_projectDock->widget();
    auto *layout = static_cast<QVBoxLayout *>(body->layout());
    auto *header = new QHBoxLayout;
    header->setContentsMargins(4, 2, 4, 0);
    header->addWidget(new QLabel(QStringLiteral("Configuration:"), body));
    m_configurations = new QComboBox(body);
    m_configurations->setObjectName(QStringLiteral("ActiveConfiguration"));
    m_configurations->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    m_configurations->setEnabled(false);
    header->addWidget(m_configurations, 1);
    layout->addLayout(header);
    connect(m_configurations, &QComboBox::activated, this, [this](int index) {
        m_window->setActiveConfiguration(m_configurations->itemText(index));
    });

    m_model = new ProjectTreeModel(this);
    m_tree = new QTreeView(body);
    m_tree->setObjectName(QStringLiteral("ProjectTree"));
    m_tree->setHeaderHidden(true);
    m_tree->setUniformRowHeights(true); // lets the view lay out only the rows it shows
    m_tree->setModel(m_model);
    m_tree->setContextMenuPolicy(Qt::CustomContextMenu);
    m_tree->setExpandsOnDoubleClick(true);
    layout->addWidget(m_tree, 1);
    connect(m_tree->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex &current) { currentChanged(current); });
    connect(m_tree, &QTreeView::activated, this, [this](const QModelIndex &index) {
        const ProjectElement *element = m_model->element(index);
        if (element && element->kind() == ProjectElement::Kind::File)
            openElement(element);
    });
    connect(m_tree, &QTreeView::customContextMenuRequested, this, &ProjectViews::showContextMenu);
    m_tree->installEventFilter(this);
    m_window->addDockWidget(Qt::LeftDockWidgetArea, m_projectDock);
}

void ProjectViews::createPropertiesDock()
{
    m_propertiesDock =
        makeDock(m_window, QStringLiteral("Properties"), QStringLiteral("Properties"));
    QWidget *body = m_propertiesDock->widget();
    auto *layout = static_cast<QVBoxLayout *>(body->layout());
    m_propertiesTitle = new QLabel(body);
    m_propertiesTitle->setObjectName(QStringLiteral("PropertiesTitle"));
    m_propertiesTitle->setContentsMargins(4, 2, 4, 0);
    m_properties = new ProjectPropertiesView(body);
    layout->addWidget(m_propertiesTitle);
    layout->addWidget(m_properties, 1);
    // After the edit has returned: showing the element again replaces the edited row.
    connect(m_properties, &ProjectPropertiesView::valueEdited, this,
            [this](const QString &name, const QString &text) {
                QMetaObject::invokeMethod(
                    this, [this, name, text] { setPropertyValue(name, text); },
                    Qt::QueuedConnection);
            });
    // Under the tree whose element it shows, so the documents keep the width code needs.
    m_window->addDockWidget(Qt::LeftDockWidgetArea, m_propertiesDock);
    m_window->splitDockWidget(m_projectDock, m_propertiesDock, Qt::Vertical);
    m_window->resizeDocks({m_projectDock}, {380}, Qt::Horizontal);
}

// Delete in the tree takes the item out of the solution, as in every explorer. The tree claims
// the key before the window's shortcuts see it, so an editor's Delete does not clash.
bool ProjectViews::eventFilter(QObject *watched, QEvent *event)
{
    const bool press = event->type() == QEvent::KeyPress;
    if (watched != m_tree || (!press && event->type() != QEvent::ShortcutOverride))
        return false;
    const auto *key = static_cast<QKeyEvent *>(event);
    if (key->key() != Qt::Key_Delete || key->modifiers() != Qt::NoModifier)
        return false;
    if (!press) {
        event->accept();
        return true;
    }
    deleteCommand();
    return true;
}

StandardProjectSystem *ProjectViews::system() const
{
    SolutionSession *session = m_window->solutionSession();
    return session ? &session->system() : nullptr;
}

void ProjectViews::say(const QString &text, bool failure)
{
    m_lastMessage = text;
    if (failure)
        report(ReportChannel::Error, text);
    m_window->statusBar()->showMessage(text, 8000);
}

// ---- Following the window

void ProjectViews::solutionOpened()
{
    SolutionSession *session = m_window->solutionSession();
    ProjectElement *solution = session ? session->solution() : nullptr;
    m_model->setRoot(solution);
    fillConfigurations();
    if (!solution) {
        m_properties->clearElement();
        return;
    }
    // The solution and its projects open; folders wait for the user, so a large solution
    // lays out a screenful of rows.
    const QModelIndex top = m_model->index(0, 0);
    m_tree->expand(top);
    for (int row = 0; row < m_model->rowCount(top); ++row) {
        const QModelIndex child = m_model->index(row, 0, top);
        if (m_model->element(child)->kind() == ProjectElement::Kind::Project)
            m_tree->expand(child);
    }
    activeChanged();
}

void ProjectViews::solutionClosing()
{
    m_model->setRoot(nullptr);
    m_properties->clearElement();
    m_propertiesTitle->clear();
    m_configurations->clear();
    m_configurations->setEnabled(false);
}

void ProjectViews::fillConfigurations()
{
    m_configurations->clear();
    StandardProjectSystem *projects = system();
    if (!projects) {
        m_configurations->setEnabled(false);
        return;
    }
    m_configurations->addItems(projects->publicConfigurations());
    m_configurations->setCurrentIndex(m_configurations->findText(m_window->activeConfiguration()));
    m_configurations->setEnabled(m_configurations->count() > 0);
}

void ProjectViews::activeChanged()
{
    StandardProjectSystem *projects = system();
    m_shown = nullptr;
    if (!projects || !m_model->root()) {
        m_properties->clearElement();
        m_propertiesTitle->clear();
        return;
    }
    m_model->setActiveProject(m_window->activeProject());
    const QString configuration = m_window->activeConfiguration();
    if (m_configurations->currentText() != configuration) {
        int index = m_configurations->findText(configuration);
        if (index < 0 && !configuration.isEmpty()) { // a private one chosen by a script
            m_configurations->addItem(configuration);
            index = m_configurations->count() - 1;
        }
        m_configurations->setCurrentIndex(index);
    }
    m_shown = m_window->selectedElement();
    if (!m_shown)
        m_shown = m_window->activeProject() ? m_window->activeProject() : m_model->root();
    m_properties->showElement(projects, m_shown, configuration.isEmpty() ? common : configuration);
    m_propertiesTitle->setText(
        QStringLiteral("<b>%1</b> in %2")
            .arg(m_shown->elementName().toHtmlEscaped(),
                 (configuration.isEmpty() ? common : configuration).toHtmlEscaped()));
}

void ProjectViews::currentChanged(const QModelIndex &current)
{
    ProjectElement *element = m_model->element(current);
    if (element != m_window->selectedElement())
        m_window->setSelectedElement(element);
}

void ProjectViews::selectElement(const ProjectElement *element)
{
    const QModelIndex index = m_model->indexOf(element);
    if (index.isValid())
        m_tree->setCurrentIndex(index);
}

void ProjectViews::showContextMenu(const QPoint &position)
{
    const QModelIndex index = m_tree->indexAt(position);
    if (index.isValid())
        m_tree->setCurrentIndex(index);
    QMenu menu(m_tree);
    menu.setObjectName(QStringLiteral("ProjectExplorerMenu"));
    for (const char *name : contextActions) {
        if (!name)
            menu.addSeparator();
        else if (VarnelAction *action = m_window->action(QLatin1String(name)))
            menu.addAction(action);
    }
    m_window->updateGUI();
    menu.exec(m_tree->viewport()->mapToGlobal(position));
}

// ---- Opening

bool ProjectViews::openElement(const ProjectElement *element)
{
    if (!element || element->kind() != ProjectElement::Kind::File)
        return false;
    const QString path = element->filePath().text();
    DocumentHost *documents = m_documents ? m_documents : m_window->documents();
    if (!documents) {
        say(QStringLiteral("Cannot open %1: there is no document area")
                .arg(QDir::toNativeSeparators(path)),
            true);
        return false;
    }
    return documents->openDocument(path);
}

// ---- Editing the tree

namespace {

// The build walks the tree it was started on: the tree stays as it is until the build ends.
QString buildRunning(const VarnelWindow *window)
{
    const BuildViews *builds = window->buildViews();
    return builds && builds->isBuilding()
               ? QStringLiteral("a build is running; change the solution when it ends")
               : QString();
}

} // namespace

QString ProjectViews::refusal(const ProjectElement *element) const
{
    if (QString why = buildRunning(m_window); !why.isEmpty())
        return why;
    if (!element)
        return QStringLiteral("select a project or folder first");
    if (element->isDynamic() || (element->kind() == ProjectElement::Kind::Folder &&
                                 element->findProperty(QStringLiteral("path"))))
        return QStringLiteral("'%1' lists the files of its directory; put the file there")
            .arg(element->elementName());
    return lockedImport(element);
}

ProjectElement *ProjectViews::addTarget()
{
    ProjectElement *element = m_window->selectedElement();
    if (element && element->kind() == ProjectElement::Kind::File)
        element = element->parentElement();
    if (!element || element->kind() == ProjectElement::Kind::Solution)
        element = m_window->activeProject();
    if (!element)
        say(QStringLiteral("The solution has no project to add to."), true);
    return element;
}

bool ProjectViews::mayAdd(const ProjectElement *target, const QString &name, const QString &asked)
{
    QString why = refusal(target);
    if (why.isEmpty() && holdsName(target, name))
        why = QStringLiteral("'%1' already holds an item of that name").arg(target->elementName());
    if (!why.isEmpty())
        say(QStringLiteral("Cannot add %1: %2").arg(asked, why), true);
    return why.isEmpty();
}

ProjectElement *ProjectViews::insertNode(ProjectElement *target, const char *tag,
                                         const QByteArray &attribute, const QString &value,
                                         const QString &name)
{
    StandardProjectSystem *projects = system();
    if (!projects || !target || !mayAdd(target, name, name))
        return nullptr;
    auto *node = new ProjectElement(xmlDuplicate(tag));
    node->setAttribute(xmlDuplicate(attribute), xmlDuplicate(value.toUtf8()));
    const int row = int(target->children().size());
    m_model->beginInsert(target, row);
    target->appendChild(node);
    try {
        projects->wireTree(projects->solution());
    } catch (const SolutionLoadError &error) {
        // The tree refused the new node: take it out again, and the tree is as it was.
        target->removeChild(node);
        node->setNextSibling(nullptr);
        delete node;
        projects->wireTree(projects->solution());
        m_model->endInsert();
        m_model->reset();
        say(QStringLiteral("Cannot add %1: %2").arg(name, error.message()), true);
        return nullptr;
    }
    projects->projectChanged(target->project());
    m_model->endInsert();
    save(target);
    return node;
}

bool ProjectViews::addExistingFiles(ProjectElement *target, const QStringList &paths)
{
    StandardProjectSystem *projects = system();
    if (!projects || !target)
        return false;
    const QDir directory(projectDirectory(*projects, target));
    bool all = true;
    for (const QString &path : paths) {
        const QString absolute = QFileInfo(path).absoluteFilePath();
        const QString name = directory.relativeFilePath(absolute);
        all = insertNode(target, "file", "file_name", name, QFileInfo(absolute).fileName()) && all;
    }
    return all;
}

ProjectElement *ProjectViews::addNewFile(ProjectElement *target, const QString &name)
{
    StandardProjectSystem *projects = system();
    if (!projects || !target)
        return nullptr;
    const QDir directory(projectDirectory(*projects, target));
    const QString path = QDir::cleanPath(directory.absoluteFilePath(name));
    if (!mayAdd(target, QFileInfo(path).fileName(), name))
        return nullptr;
    // A file that is already there is added as it is; a new one is made empty.
    if (!QFileInfo::exists(path)) {
        QSaveFile file(path);
        if (!QDir().mkpath(QFileInfo(path).path()) || !file.open(QIODevice::WriteOnly) ||
            !file.commit()) {
            say(QStringLiteral("Cannot make %1: %2")
                    .arg(QDir::toNativeSeparators(path), file.errorString()),
                true);
            return nullptr;
        }
    }
    ProjectElement *file = insertNode(target, "file", "file_name", directory.relativeFilePath(path),
                                      QFileInfo(path).fileName());
    if (file && (m_documents || m_window->documents()))
        openElement(file);
    return file;
}

ProjectElement *ProjectViews::addFolder(ProjectElement *target, const QString &name)
{
    if (name.isEmpty() || name.contains(u'/')) {
        say(QStringLiteral("Cannot add folder '%1': a folder name is not empty and has no '/'")
                .arg(name),
            true);
        return nullptr;
    }
    return insertNode(target, "folder", "Name", name, name);
}

bool ProjectViews::removeElement(ProjectElement *element)
{
    StandardProjectSystem *projects = system();
    if (!projects || !element)
        return false;
    ProjectElement *parent = element->parentElement();
    if (!parent) {
        say(QStringLiteral("The solution itself cannot be removed; close it instead."), true);
        return false;
    }
    if (element->isDynamic()) {
        say(QStringLiteral("Cannot remove %1: it is listed from its folder's directory")
                .arg(element->elementName()),
            true);
        return false;
    }
    // An imported part goes as a whole, from the file that imports it.
    const QString why = refusal(element->isImported() ? parent : element);
    if (!why.isEmpty()) {
        say(QStringLiteral("Cannot remove %1: %2").arg(element->elementName(), why), true);
        return false;
    }
    if (contains(element, m_window->selectedElement()))
        m_window->setSelectedElement(nullptr);
    // Nothing that outlives the element may point into it while it goes.
    const bool wasActive = contains(element, m_window->activeProject());
    if (wasActive)
        m_window->setActiveProject(nullptr);
    const QString name = element->elementName();
    const int row = m_model->indexOf(element).row();
    XMLNode *xmlParent = element->parent();
    m_model->beginRemove(parent, row);
    xmlParent->removeChild(element);
    element->setNextSibling(nullptr);
    delete element;
    projects->wireTree(projects->solution());
    projects->projectChanged(parent->project());
    m_model->endRemove();
    if (wasActive)
        m_window->setActiveProject(firstProject(projects->solution()));
    else
        activeChanged();
    if (save(parent))
        say(QStringLiteral("Removed %1 from the solution; the files on disk are kept").arg(name));
    return true;
}

bool ProjectViews::save(const ProjectElement *element)
{
    StandardProjectSystem *projects = system();
    auto *owner = const_cast<ProjectElement *>(fileOwner(element));
    if (!projects || !owner)
        return false;
    try {
        projects->saveElement(owner);
    } catch (const SolutionSaveError &error) {
        say(QStringLiteral("The solution is kept as edited but not saved: %1").arg(error.message()),
            true);
        return false;
    }
    say(QStringLiteral("Saved %1").arg(QDir::toNativeSeparators(owner->filePath().text())));
    return true;
}

bool ProjectViews::setPropertyValue(const QString &name, const QString &text)
{
    StandardProjectSystem *projects = system();
    if (!projects || !m_shown)
        return false;
    // What names an element is the element's own, the same in every configuration.
    const bool naming = name == QLatin1String("Name") || name == QLatin1String("file_name");
    const QString configuration = m_window->activeConfiguration().isEmpty() || naming
                                      ? common
                                      : m_window->activeConfiguration();
    PropertyClass *row = projects->classFor(name, m_shown, configuration);
    QString why = [&] {
        if (QString running = buildRunning(m_window); !running.isEmpty())
            return running;
        if (!row)
            return QStringLiteral("no such property");
        if (m_shown->isDynamic())
            return QStringLiteral("it is listed from its folder's directory and keeps no values");
        return lockedImport(m_shown);
    }();
    std::unique_ptr<PropertyValue> value =
        row ? projects->propertyValue(m_shown, row, configuration) : nullptr;
    if (why.isEmpty() && value->isReadOnly())
        why = QStringLiteral("the value is read-only");
    if (why.isEmpty())
        why = nameClash(name, text);
    if (!why.isEmpty()) {
        say(QStringLiteral("Cannot set %1 of %2: %3").arg(name, m_shown->elementName(), why), true);
        activeChanged();
        return false;
    }
    if (text.isEmpty())
        value->unset();
    else
        value->setValue(row->storedValue(text));
    // A new name or file moves the element in the tree and its file on disk.
    try {
        projects->wireTree(projects->solution());
    } catch (const SolutionLoadError &error) { // survivable: the names were checked above
        say(error.message(), true);
        m_model->reset();
    }
    projects->projectChanged(StandardProjectSystem::projectOf(m_shown));
    m_model->elementChanged(m_shown);
    save(m_shown);
    activeChanged();
    return true;
}

QString ProjectViews::nameClash(const QString &property, const QString &text) const
{
    const ProjectElement *parent = m_shown->parentElement();
    const bool named = m_shown->findProperty(QStringLiteral("Name"));
    QString newName;
    if (property == QLatin1String("Name"))
        newName = text.isEmpty() ? QFileInfo(m_shown->elementName()).fileName() : text;
    else if (property == QLatin1String("file_name") && !named)
        newName = QFileInfo(text).fileName();
    if (!parent || newName.isEmpty() || newName == m_shown->elementName())
        return {};
    if (newName.isEmpty() || holdsName(parent, newName))
        return QStringLiteral("'%1' already holds an item called '%2'")
            .arg(parent->elementName(), newName);
    return {};
}

// ---- The commands

void ProjectViews::addExistingItemCommand()
{
    ProjectElement *target = addTarget();
    if (!target)
        return;
    if (const QString why = refusal(target); !why.isEmpty()) {
        say(QStringLiteral("Cannot add files: %1").arg(why), true);
        return;
    }
    const QStringList paths = m_prompts.chooseFiles(projectDirectory(*system(), target));
    if (!paths.isEmpty())
        addExistingFiles(target, paths);
}

void ProjectViews::addNamed(const QString &title, const QString &what, Adder add)
{
    ProjectElement *target = addTarget();
    if (!target)
        return;
    const QString name = m_prompts.askName(
        title, QStringLiteral("%1 name in '%2':").arg(what, target->elementName()));
    if (!name.isEmpty())
        (this->*add)(target, name);
}

void ProjectViews::addNewFileCommand()
{
    addNamed(QStringLiteral("Add New File"), QStringLiteral("File"), &ProjectViews::addNewFile);
}

void ProjectViews::newFolderCommand()
{
    addNamed(QStringLiteral("New Folder"), QStringLiteral("Folder"), &ProjectViews::addFolder);
}

void ProjectViews::deleteCommand()
{
    ProjectElement *element = m_window->selectedElement();
    if (!element) {
        say(QStringLiteral("Select what to remove from the solution first."), true);
        return;
    }
    const QString question =
        QStringLiteral("Remove '%1' from the solution?\nThe files on disk are kept.")
            .arg(element->elementName());
    if (m_prompts.confirm(question))
        removeElement(element);
}

void ProjectViews::setActiveProjectCommand()
{
    ProjectElement *project = StandardProjectSystem::projectOf(m_window->selectedElement());
    if (!project || project->kind() != ProjectElement::Kind::Project) {
        say(QStringLiteral("Select a project, or an item in one, first."), true);
        return;
    }
    m_window->setActiveProject(project);
    say(QStringLiteral("Active project: %1").arg(project->elementName()));
}

void ProjectViews::reloadCommand()
{
    const QString path = m_window->solutionPath();
    if (path.isEmpty())
        return;
    const QString configuration = m_window->activeConfiguration();
    if (m_window->openSolution(path) && m_configurations->findText(configuration) >= 0)
        m_window->setActiveConfiguration(configuration);
}

void ProjectViews::focusConfigurations()
{
    m_projectDock->show();
    m_projectDock->raise();
    m_configurations->setFocus(Qt::OtherFocusReason);
}

void ProjectViews::showProperties()
{
    m_propertiesDock->show();
    m_propertiesDock->raise();
    m_properties->setFocus(Qt::OtherFocusReason);
}
