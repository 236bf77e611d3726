#pragma once
#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>

class DocumentHost;
class ProjectElement;
class ProjectPropertiesView;
class ProjectTreeModel;
class QComboBox;
class QDockWidget;
class QLabel;
class QModelIndex;
class QPoint;
class QTreeView;
class StandardProjectSystem;
class VarnelWindow;

// The project explorer and the properties dock of the main window. The explorer shows the open
// solution's tree, picks the active project and configuration, opens files and edits the tree;
// every edit is written back through the solution writer at once. The properties dock shows
// the selected element's values in the active configuration and where each comes from.
//
// The views hold no state of their own about the solution: the window's session, active
// project, configuration and selection are the truth, and activeChanged() refreshes them.
class ProjectViews : public QObject
{
    Q_OBJECT
public:
    // What the commands ask the user. The window's defaults are dialogs; tests answer instead.
    struct Prompts {
        std::function<bool(const QString &question)> confirm;
        std::function<QStringList(const QString &directory)> chooseFiles;
        // An empty answer cancels.
        std::function<QString(const QString &title, const QString &label)> askName;
    };

    explicit ProjectViews(VarnelWindow *window);
    ~ProjectViews() override;

    void setPrompts(Prompts prompts);
    // Where files open: null (the default) is the window's document area.
    void setDocuments(DocumentHost *documents) { m_documents = documents; }

    [[nodiscard]] QDockWidget *projectDock() const { return m_projectDock; }
    [[nodiscard]] QDockWidget *propertiesDock() const { return m_propertiesDock; }
    [[nodiscard]] QTreeView *tree() const { return m_tree; }
    [[nodiscard]] ProjectTreeModel *model() const { return m_model; }
    [[nodiscard]] QComboBox *configurations() const { return m_configurations; }
    [[nodiscard]] ProjectPropertiesView *properties() const { return m_properties; }
    // What the views last said in the status bar.
    [[nodiscard]] const QString &lastMessage() const { return m_lastMessage; }

    // The edits, each written to the solution file at once. A refused edit says why and
    // returns null/false; a failed save says why and keeps the tree as edited.
    // `target` is a project or folder (a file stands for its folder).
    bool addExistingFiles(ProjectElement *target, const QStringList &paths);
    ProjectElement *addNewFile(ProjectElement *target, const QString &name);
    ProjectElement *addFolder(ProjectElement *target, const QString &name);
    // Takes the element out of the solution; the files on disk stay.
    bool removeElement(ProjectElement *element);
    // Gives the element shown in the properties dock its own value of a property in the active
    // configuration (empty text: takes its own value away), and saves. Name and file_name are
    // the element's in every configuration.
    bool setPropertyValue(const QString &name, const QString &text);
    // Opens a file element in the document area.
    bool openElement(const ProjectElement *element);
    void selectElement(const ProjectElement *element);

    // The commands of the actions: they work on the selection and ask through the prompts.
    void addExistingItemCommand();
    void addNewFileCommand();
    void newFolderCommand();
    void deleteCommand();
    void setActiveProjectCommand();
    void reloadCommand();
    void focusConfigurations();
    void showProperties();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void createProjectDock();
    void createPropertiesDock();
    void solutionOpened();
    void solutionClosing();
    void activeChanged();
    void fillConfigurations();
    void currentChanged(const QModelIndex &current);
    void showContextMenu(const QPoint &position);
    void say(const QString &text, bool failure = false);
    [[nodiscard]] StandardProjectSystem *system() const;
    // Where an add goes for the current selection: a project or folder; null (said) if none.
    [[nodiscard]] ProjectElement *addTarget();
    // Null when `element` may take new children; else why not.
    [[nodiscard]] QString refusal(const ProjectElement *element) const;
    // True when `target` may take a child called `name`; else says why, naming what was asked.
    [[nodiscard]] bool mayAdd(const ProjectElement *target, const QString &name,
                              const QString &asked);
    // Puts a new node under `target`, wires and saves; null (said) when refused.
    ProjectElement *insertNode(ProjectElement *target, const char *tag, const QByteArray &attribute,
                               const QString &value, const QString &name);
    using Adder = ProjectElement *(ProjectViews::*)(ProjectElement *, const QString &);
    // Asks for a name and adds what `add` makes of it to the selection's project or folder.
    void addNamed(const QString &title, const QString &what, Adder add);
    // Why the shown element may not take `text` for `property`: a sibling has the name it would
    // give. Empty when it may.
    [[nodiscard]] QString nameClash(const QString &property, const QString &text) const;
    // Writes the file that holds `element` (the solution or its imported part).
    bool save(const ProjectElement *element);

    VarnelWindow *m_window;
    Prompts m_prompts;
    DocumentHost *m_documents = nullptr;
    QDockWidget *m_projectDock = nullptr;
    QDockWidget *m_propertiesDock = nullptr;
    QTreeView *m_tree = nullptr;
    ProjectTreeModel *m_model = nullptr;
    QComboBox *m_configurations = nullptr;
    ProjectPropertiesView *m_properties = nullptr;
    QLabel *m_propertiesTitle = nullptr; // what the properties are of
    ProjectElement *m_shown = nullptr;   // in the properties dock
    QString m_lastMessage;
};
