#pragma once
#include <QAbstractItemModel>
#include <QIcon>
#include <unordered_map>

class ProjectElement;

// The solution tree as an item model: one row per solution, project, folder and file, straight
// over the wired ProjectElement tree, so nothing is copied and a view asks only for the rows it
// shows. The solution is the one top-level row.
//
// The model does not own the tree. Whoever edits it wraps the edit in the begin/end calls below
// (or reset()), and calls setRoot(nullptr) before the tree goes away.
class ProjectTreeModel : public QAbstractItemModel
{
    Q_OBJECT
public:
    explicit ProjectTreeModel(QObject *parent = nullptr);
    ~ProjectTreeModel() override;

    void setRoot(ProjectElement *solution);
    [[nodiscard]] ProjectElement *root() const { return m_root; }
    // Shown in bold; null: none.
    void setActiveProject(ProjectElement *project);

    [[nodiscard]] ProjectElement *element(const QModelIndex &index) const;
    [[nodiscard]] QModelIndex indexOf(const ProjectElement *element) const;

    // Around a change of `parent`'s children (an element added at `row`, or the one at `row`
    // taken out): the tree is rewired between the two calls.
    void beginInsert(const ProjectElement *parent, int row);
    void endInsert();
    void beginRemove(const ProjectElement *parent, int row);
    void endRemove();
    // The element's name or look changed.
    void elementChanged(const ProjectElement *element);
    // After a change the model cannot follow row by row (a rescan, a failed edit undone).
    void reset();

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &child) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

private:
    [[nodiscard]] int rowOf(const ProjectElement *element) const;
    [[nodiscard]] QIcon iconOf(const ProjectElement *element) const;

    ProjectElement *m_root = nullptr;
    ProjectElement *m_activeProject = nullptr;
    // The row of each element whose parent's children were asked for: a folder of thousands of
    // files would otherwise be searched for every parent() a view asks. Cleared on any change.
    mutable std::unordered_map<const ProjectElement *, int> m_rows;
    QIcon m_solutionIcon, m_projectIcon, m_folderIcon, m_dynamicFolderIcon, m_fileIcon;
};
