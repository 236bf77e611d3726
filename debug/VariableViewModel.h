#pragma once
#include "debug/VariableListBuilder.h"
#include <QAbstractItemModel>
#include <QString>
#include <memory>
#include <vector>

class DebugExpressionParser;
class Expression;

// One row of a variable view: its expression, the radix it shows in, and the children made when
// it is expanded (members, elements, the target of a pointer).
class VariableViewItem {
public:
    VariableViewItem(QString name, QString expression, VariableViewItem *parent);
    ~VariableViewItem();

    const QString &name() const { return m_name; }
    const QString &expression() const { return m_expression; }
    VariableViewItem *parent() const { return m_parent; }
    const std::vector<std::unique_ptr<VariableViewItem>> &children() const { return m_children; }

private:
    friend class VariableViewModel;

    QString m_name;
    QString m_expression;
    VariableViewItem *m_parent;
    std::unique_ptr<Expression> m_tree; // null when the text did not parse
    Radix m_radix = Radix::Decimal;
    bool m_expanded = false;
    bool m_expandable = false;
    bool m_changed = false;
    // The cells as last evaluated.
    QString m_value;
    QString m_type;
    QString m_address;
    QString m_size;
    std::vector<std::unique_ptr<VariableViewItem>> m_children;
};

// The rows of the watch, locals and globals windows without the widgets: columns for name,
// value, type, address and size; a radix per row; children made on expansion; values that
// changed since the last update marked; a value edited by storing the text's value through the
// row's expression. A failure shows its text in the value column.
class VariableViewModel : public QAbstractItemModel {
    Q_OBJECT
public:
    enum Column { NameColumn, ValueColumn, TypeColumn, AddressColumn, SizeColumn, ColumnCount };
    // data() of this role tells whether the value changed at the last update.
    static constexpr int ChangedRole = Qt::UserRole + 1;

    explicit VariableViewModel(DebugExpressionParser &parser, QObject *parent = nullptr);
    ~VariableViewModel() override;

    // A top-level row for `expression`, evaluated at once.
    QModelIndex addWatch(const QString &expression);
    void removeWatch(const QModelIndex &index);
    void setRadix(const QModelIndex &index, Radix radix);
    // Makes the children of a struct, array or pointer row.
    void expand(const QModelIndex &index);
    // Evaluates every row again and marks those whose value changed.
    void update();
    // The message of the last edit that failed.
    const QString &lastError() const { return m_lastError; }

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &child) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    bool hasChildren(const QModelIndex &parent = {}) const override;
    // Editing the value cell evaluates the text and stores it through the row's expression.
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;

private:
    VariableViewItem *itemAt(const QModelIndex &index) const;
    QModelIndex indexOf(VariableViewItem *item, int column) const;
    void evaluate(VariableViewItem &item, bool markChanges);
    void updateTree(VariableViewItem &item);

    DebugExpressionParser &m_parser;
    std::vector<std::unique_ptr<VariableViewItem>> m_watches;
    QString m_lastError;
};
