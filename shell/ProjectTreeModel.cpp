#include "shell/ProjectTreeModel.h"
#include "projects/ProjectElement.h"
#include <QApplication>
#include <QDir>
#include <QFont>
#include <QStyle>

ProjectTreeModel::ProjectTreeModel(QObject *parent) : QAbstractItemModel(parent)
{
    QStyle *style = QApplication::style();
    m_solutionIcon = style->standardIcon(QStyle::SP_DirHomeIcon);
    m_projectIcon = style->standardIcon(QStyle::SP_DriveHDIcon);
    m_folderIcon = style->standardIcon(QStyle::SP_DirIcon);
    m_dynamicFolderIcon = style->standardIcon(QStyle::SP_DirLinkIcon);
    m_fileIcon = style->standardIcon(QStyle::SP_FileIcon);
}

ProjectTreeModel::~ProjectTreeModel() = default;

void ProjectTreeModel::setRoot(ProjectElement *solution)
{
    beginResetModel();
    m_root = solution;
    m_activeProject = nullptr;
    m_rows.clear();
    endResetModel();
}

void ProjectTreeModel::setActiveProject(ProjectElement *project)
{
    if (project == m_activeProject)
        return;
    const QModelIndex before = indexOf(m_activeProject);
    m_activeProject = project;
    const QModelIndex after = indexOf(project);
    if (before.isValid())
        emit dataChanged(before, before, {Qt::FontRole});
    if (after.isValid())
        emit dataChanged(after, after, {Qt::FontRole});
}

ProjectElement *ProjectTreeModel::element(const QModelIndex &index) const
{
    return index.isValid() ? static_cast<ProjectElement *>(index.internalPointer()) : nullptr;
}

int ProjectTreeModel::rowOf(const ProjectElement *element) const
{
    const ProjectElement *parent = element->parentElement();
    if (!parent)
        return 0;
    auto found = m_rows.find(element);
    if (found == m_rows.end()) {
        const auto &siblings = parent->children();
        for (size_t i = 0; i < siblings.size(); ++i)
            m_rows.emplace(siblings[i], int(i));
        found = m_rows.find(element);
        if (found == m_rows.end()) // not wired under its parent: survivable, never shown
            return -1;
    }
    return found->second;
}

QModelIndex ProjectTreeModel::indexOf(const ProjectElement *element) const
{
    if (!element || !m_root)
        return {};
    if (element == m_root)
        return createIndex(0, 0, const_cast<ProjectElement *>(element));
    const int row = rowOf(element);
    return row < 0 ? QModelIndex() : createIndex(row, 0, const_cast<ProjectElement *>(element));
}

QModelIndex ProjectTreeModel::index(int row, int column, const QModelIndex &parent) const
{
    if (!m_root || column != 0 || row < 0)
        return {};
    if (!parent.isValid())
        return row == 0 ? createIndex(0, 0, m_root) : QModelIndex();
    const auto &children = element(parent)->children();
    if (size_t(row) >= children.size())
        return {};
    return createIndex(row, 0, children[size_t(row)]);
}

QModelIndex ProjectTreeModel::parent(const QModelIndex &child) const
{
    const ProjectElement *at = element(child);
    if (!at || at == m_root)
        return {};
    return indexOf(at->parentElement());
}

int ProjectTreeModel::rowCount(const QModelIndex &parent) const
{
    if (!m_root)
        return 0;
    if (!parent.isValid())
        return 1;
    return int(element(parent)->children().size());
}

int ProjectTreeModel::columnCount(const QModelIndex &) const
{
    return 1;
}

QIcon ProjectTreeModel::iconOf(const ProjectElement *element) const
{
    switch (element->kind()) {
    case ProjectElement::Kind::Solution:
        return m_solutionIcon;
    case ProjectElement::Kind::Project:
        return m_projectIcon;
    case ProjectElement::Kind::Folder:
        return element->findProperty(QStringLiteral("path")) ? m_dynamicFolderIcon : m_folderIcon;
    case ProjectElement::Kind::File:
        return m_fileIcon;
    case ProjectElement::Kind::Configuration:
    case ProjectElement::Kind::Other:
        break;
    }
    return {};
}

QVariant ProjectTreeModel::data(const QModelIndex &index, int role) const
{
    const ProjectElement *at = element(index);
    if (!at)
        return {};
    switch (role) {
    case Qt::DisplayRole:
        if (at->kind() == ProjectElement::Kind::Solution)
            return QStringLiteral("Solution '%1'").arg(at->elementName());
        return at->elementName();
    case Qt::DecorationRole:
        return iconOf(at);
    case Qt::FontRole:
        if (at == m_activeProject) {
            QFont bold;
            bold.setBold(true);
            return bold;
        }
        if (at->isImported() || at->isDynamic()) {
            QFont italic;
            italic.setItalic(true);
            return italic;
        }
        return {};
    case Qt::ToolTipRole: {
        const bool standsForFile = at->kind() == ProjectElement::Kind::File ||
                                   at->kind() == ProjectElement::Kind::Solution;
        QString tip =
            standsForFile ? QDir::toNativeSeparators(at->filePath().text()) : at->elementName();
        if (at->isImported())
            tip += QStringLiteral("\nimported from %1").arg(at->importFileName());
        if (at->isDynamic())
            tip += QStringLiteral("\nlisted from the folder's directory");
        return tip;
    }
    default:
        return {};
    }
}

void ProjectTreeModel::beginInsert(const ProjectElement *parent, int row)
{
    beginInsertRows(indexOf(parent), row, row);
}

void ProjectTreeModel::endInsert()
{
    m_rows.clear();
    endInsertRows();
}

void ProjectTreeModel::beginRemove(const ProjectElement *parent, int row)
{
    // The bold row may go with the subtree: forget it before it is deleted.
    const ProjectElement *removed = parent->children().at(size_t(row));
    for (const ProjectElement *at = m_activeProject; at; at = at->parentElement()) {
        if (at == removed) {
            m_activeProject = nullptr;
            break;
        }
    }
    beginRemoveRows(indexOf(parent), row, row);
}

void ProjectTreeModel::endRemove()
{
    m_rows.clear();
    endRemoveRows();
}

void ProjectTreeModel::elementChanged(const ProjectElement *element)
{
    const QModelIndex index = indexOf(element);
    if (index.isValid())
        emit dataChanged(index, index);
}

void ProjectTreeModel::reset()
{
    beginResetModel();
    m_rows.clear();
    endResetModel();
}
