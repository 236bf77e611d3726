#pragma once
#include <QAbstractItemModel>
#include <QHash>
#include <QIcon>
#include <QSet>

class BuildLog;
class BuildLogItem;

// The build log as a tree for a view: one row per log item, the message with its severity icon
// in the first column and where it points (file:line:column) in the second. A build adds items
// far faster than a view can take them one by one, so what the log adds is held back and shown
// in one insertion per group by flush(), which the build window calls a few times a second.
class BuildLogModel : public QAbstractItemModel {
    Q_OBJECT
public:
    enum Column { MessageColumn, LocationColumn, ColumnCount };

    explicit BuildLogModel(BuildLog *log, QObject *parent = nullptr);

    [[nodiscard]] BuildLog *log() const { return m_log; }
    // The log item of a row; the log's root for an invalid index.
    [[nodiscard]] BuildLogItem *item(const QModelIndex &index) const;
    // The row of a shown item; invalid for the root or an item not shown yet.
    [[nodiscard]] QModelIndex indexOf(const BuildLogItem *item) const;
    // Items the log holds that the view does not show yet.
    [[nodiscard]] bool hasPending() const { return !m_pending.isEmpty(); }
    // "Show Raw Error Output": diagnostics read as the tool wrote them, not just their message.
    void setRawOutput(bool raw);
    [[nodiscard]] bool rawOutput() const { return m_raw; }

    // Shows what the log added since the last flush.
    void flush();
    // Empties the log and the view.
    void clear();

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    void added(BuildLogItem *item);
    void reset();
    [[nodiscard]] bool isShown(const BuildLogItem *item) const;
    void showSubtree(const BuildLogItem *item);
    [[nodiscard]] QString message(const BuildLogItem &item) const;
    [[nodiscard]] QIcon icon(const BuildLogItem &item) const;

    BuildLog *m_log;
    // Children shown per item; an item missing here shows none.
    QHash<const BuildLogItem *, int> m_shown;
    // Row of every item below its parent (the log only appends, so it never changes).
    QHash<const BuildLogItem *, int> m_rows;
    // Groups that hold items not shown yet.
    QSet<BuildLogItem *> m_pending;
    QIcon m_error;
    QIcon m_warning;
    QIcon m_note;
    QIcon m_success;
    bool m_raw = false;
    bool m_clearing = false;
};
