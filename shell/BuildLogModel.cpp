#include "shell/BuildLogModel.h"
#include "buildengine/BuildLog.h"
#include <QApplication>
#include <QFileInfo>
#include <QStyle>
#include <algorithm>
#include <vector>

namespace {

int depthOf(const BuildLogItem *item)
{
    int depth = 0;
    for (const BuildLogItem *at = item->parent(); at; at = at->parent())
        ++depth;
    return depth;
}

QString location(const Bookmark &bookmark)
{
    QString text = QFileInfo(bookmark.path).fileName();
    if (bookmark.line >= 0)
        text += u':' + QString::number(bookmark.line);
    if (bookmark.column >= 0)
        text += u':' + QString::number(bookmark.column);
    return text;
}

QString countsText(const LogCounts &counts)
{
    QStringList parts;
    if (counts.errors)
        parts << QStringLiteral("%1 error%2").arg(counts.errors).arg(counts.errors == 1 ? "" : "s");
    if (counts.warnings)
        parts << QStringLiteral("%1 warning%2").arg(counts.warnings).arg(counts.warnings == 1 ? "" : "s");
    if (counts.notes)
        parts << QStringLiteral("%1 note%2").arg(counts.notes).arg(counts.notes == 1 ? "" : "s");
    return parts.join(QStringLiteral(", "));
}

} // namespace

BuildLogModel::BuildLogModel(BuildLog *log, QObject *parent)
    : QAbstractItemModel(parent), m_log(log)
{
    QStyle *style = QApplication::style();
    m_error = style->standardIcon(QStyle::SP_MessageBoxCritical);
    m_warning = style->standardIcon(QStyle::SP_MessageBoxWarning);
    m_note = style->standardIcon(QStyle::SP_MessageBoxInformation);
    m_success = style->standardIcon(QStyle::SP_DialogApplyButton);
    connect(log, &BuildLog::itemAdded, this, &BuildLogModel::added);
    // A script may clear the log on its own; the log's old items are gone by then, so the view
    // forgets every row it had.
    connect(log, &BuildLog::cleared, this, [this] {
        if (!m_clearing)
            reset();
    });
    showSubtree(log->root());
}

BuildLogItem *BuildLogModel::item(const QModelIndex &index) const
{
    return index.isValid() ? static_cast<BuildLogItem *>(index.internalPointer()) : m_log->root();
}

QModelIndex BuildLogModel::indexOf(const BuildLogItem *item) const
{
    if (!item || item == m_log->root() || !isShown(item))
        return {};
    return createIndex(m_rows.value(item), 0, const_cast<BuildLogItem *>(item));
}

void BuildLogModel::setRawOutput(bool raw)
{
    if (raw == m_raw)
        return;
    m_raw = raw;
    // Every shown row's text changes, at any depth: the view lays out again what it shows.
    emit layoutAboutToBeChanged();
    emit layoutChanged();
}

void BuildLogModel::added(BuildLogItem *item)
{
    BuildLogItem *parent = item->parent();
    if (!parent)
        return;
    m_rows.insert(item, int(parent->children().size()) - 1);
    m_pending.insert(parent);
}

bool BuildLogModel::isShown(const BuildLogItem *item) const
{
    for (const BuildLogItem *at = item; at->parent(); at = at->parent()) {
        const auto row = m_rows.constFind(at);
        if (row == m_rows.cend() || *row >= m_shown.value(at->parent(), 0))
            return false;
    }
    return true;
}

void BuildLogModel::showSubtree(const BuildLogItem *item)
{
    std::vector<const BuildLogItem *> stack{item};
    while (!stack.empty()) {
        const BuildLogItem *at = stack.back();
        stack.pop_back();
        const auto &children = at->children();
        if (children.empty())
            continue;
        m_shown.insert(at, int(children.size()));
        for (const auto &child : children)
            stack.push_back(child.get());
    }
}

void BuildLogModel::flush()
{
    if (m_pending.isEmpty())
        return;
    // Outer groups first: a group shown now brings its whole subtree along, so its own
    // pending children need no insertion of their own.
    std::vector<std::pair<int, BuildLogItem *>> groups;
    groups.reserve(size_t(m_pending.size()));
    for (BuildLogItem *group : std::as_const(m_pending))
        groups.emplace_back(depthOf(group), group);
    m_pending.clear();
    std::sort(groups.begin(), groups.end(),
              [](const auto &a, const auto &b) { return a.first < b.first; });
    QSet<const BuildLogItem *> changed;
    for (const auto &[depth, group] : groups) {
        if (!isShown(group))
            continue;
        const int shown = m_shown.value(group, 0);
        const int total = int(group->children().size());
        if (shown >= total)
            continue;
        beginInsertRows(indexOf(group), shown, total - 1);
        m_shown.insert(group, total);
        for (int row = shown; row < total; ++row)
            showSubtree(group->children()[size_t(row)].get());
        endInsertRows();
        for (const BuildLogItem *at = group; at && at != m_log->root(); at = at->parent())
            changed.insert(at);
    }
    // Icons and counts of the groups follow what reached them from below.
    for (const BuildLogItem *group : std::as_const(changed)) {
        const QModelIndex at = indexOf(group);
        emit dataChanged(at, at.siblingAtColumn(LocationColumn));
    }
}

void BuildLogModel::clear()
{
    beginResetModel();
    m_clearing = true;
    m_log->clear();
    m_clearing = false;
    m_shown.clear();
    m_rows.clear();
    m_pending.clear();
    endResetModel();
}

void BuildLogModel::reset()
{
    beginResetModel();
    m_shown.clear();
    m_rows.clear();
    m_pending.clear();
    endResetModel();
}

QModelIndex BuildLogModel::index(int row, int column, const QModelIndex &parent) const
{
    const BuildLogItem *group = item(parent);
    if (row < 0 || column < 0 || column >= ColumnCount || row >= m_shown.value(group, 0))
        return {};
    return createIndex(row, column, group->children()[size_t(row)].get());
}

QModelIndex BuildLogModel::parent(const QModelIndex &index) const
{
    if (!index.isValid())
        return {};
    const BuildLogItem *group = item(index)->parent();
    if (!group || group == m_log->root())
        return {};
    return createIndex(m_rows.value(group), 0, const_cast<BuildLogItem *>(group));
}

int BuildLogModel::rowCount(const QModelIndex &parent) const
{
    if (parent.column() > 0)
        return 0;
    return m_shown.value(item(parent), 0);
}

int BuildLogModel::columnCount(const QModelIndex &) const
{
    return ColumnCount;
}

QString BuildLogModel::message(const BuildLogItem &item) const
{
    const Bookmark &bookmark = item.bookmark();
    if (m_raw || bookmark.message.isEmpty() || !bookmark.hasLocation())
        return item.text();
    return bookmark.message;
}

QIcon BuildLogModel::icon(const BuildLogItem &item) const
{
    switch (item.shownSeverity()) {
    case Severity::Error:
    case Severity::Fatal:
        return m_error;
    case Severity::Warning:
        return m_warning;
    case Severity::Note:
        return m_note;
    case Severity::Plain:
        break;
    }
    return (item.type() & LogItemFlag::Closing) ? m_success : QIcon();
}

QVariant BuildLogModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    const BuildLogItem &logItem = *item(index);
    const bool first = index.column() == MessageColumn;
    switch (role) {
    case Qt::DisplayRole:
        if (first)
            return message(logItem);
        if (logItem.bookmark().hasLocation())
            return location(logItem.bookmark());
        return logItem.children().empty() ? QVariant() : QVariant(countsText(logItem.counts()));
    case Qt::DecorationRole:
        return first ? QVariant(icon(logItem)) : QVariant();
    case Qt::ToolTipRole:
        if (logItem.bookmark().hasLocation())
            return logItem.bookmark().text.isEmpty() ? logItem.text() : logItem.bookmark().text;
        return logItem.text();
    default:
        return {};
    }
}

QVariant BuildLogModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    return section == MessageColumn ? QStringLiteral("Message") : QStringLiteral("Location");
}
