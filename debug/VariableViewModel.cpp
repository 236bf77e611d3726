#include "debug/VariableViewModel.h"
#include "debug/BaseType.h"
#include "debug/DebugExpressionParser.h"
#include "debug/TextVariableView.h"

namespace {

constexpr const char *columnNames[] = {"Name", "Value", "Type", "Address", "Size"};
static_assert(std::size(columnNames) == VariableViewModel::ColumnCount);

// The expression of a member or element of `parent`: a plain name needs no parentheses.
QString operandOf(const QString &parent)
{
    for (const QChar c : parent) {
        if (!c.isLetterOrNumber() && c != u'_' && c != u'.' && c != u'[' && c != u']' && c != u':')
            return u'(' + parent + u')';
    }
    return parent;
}

} // namespace

VariableViewItem::VariableViewItem(QString name, QString expression, VariableViewItem *parent)
    : m_name(std::move(name)), m_expression(std::move(expression)), m_parent(parent)
{
}

VariableViewItem::~VariableViewItem() = default;

VariableViewModel::VariableViewModel(DebugExpressionParser &parser, QObject *parent)
    : QAbstractItemModel(parent), m_parser(parser)
{
}

VariableViewModel::~VariableViewModel() = default;

VariableViewItem *VariableViewModel::itemAt(const QModelIndex &index) const
{
    return index.isValid() ? static_cast<VariableViewItem *>(index.internalPointer()) : nullptr;
}

QModelIndex VariableViewModel::indexOf(VariableViewItem *item, int column) const
{
    const auto &siblings = item->parent() ? item->parent()->children() : m_watches;
    for (size_t row = 0; row < siblings.size(); ++row) {
        if (siblings[row].get() == item)
            return createIndex(int(row), column, item);
    }
    return {};
}

void VariableViewModel::evaluate(VariableViewItem &item, bool markChanges)
{
    const QString before = item.m_value;
    item.m_type.clear();
    item.m_address.clear();
    item.m_size.clear();
    item.m_expandable = false;
    try {
        if (!item.m_tree)
            item.m_tree = m_parser.parse(item.m_expression);
        const ExpressionValue value = item.m_tree->evaluate();
        const BaseType *type = m_parser.typeOf(value);
        const BaseType *resolved = resolvedType(type);
        TextVariableView view;
        view.walk(m_parser, QString(), value, item.m_radix);
        item.m_value = view.text();
        item.m_type = type->name();
        if (type->size() >= 0)
            item.m_size = QString::number(type->size());
        if (const DebugLocation *location = DebugExpressionParser::locationOf(value); location && location->hasAddress)
            item.m_address = QStringLiteral("0x%1").arg(location->address, 8, 16, QLatin1Char('0'));
        item.m_expandable = resolved && (resolved->kind() == TypeKind::Struct || resolved->kind() == TypeKind::Array
                                         || resolved->kind() == TypeKind::Pointer);
    } catch (const ParserException &exception) {
        item.m_value = exception.message();
    }
    item.m_changed = markChanges && item.m_value != before;
}

QModelIndex VariableViewModel::addWatch(const QString &expression)
{
    const int row = int(m_watches.size());
    beginInsertRows({}, row, row);
    auto item = std::make_unique<VariableViewItem>(expression, expression, nullptr);
    evaluate(*item, false);
    m_watches.push_back(std::move(item));
    endInsertRows();
    return createIndex(row, 0, m_watches.back().get());
}

void VariableViewModel::removeWatch(const QModelIndex &index)
{
    VariableViewItem *item = itemAt(index);
    if (!item || item->parent())
        return;
    beginRemoveRows({}, index.row(), index.row());
    m_watches.erase(m_watches.begin() + index.row());
    endRemoveRows();
}

void VariableViewModel::setRadix(const QModelIndex &index, Radix radix)
{
    VariableViewItem *item = itemAt(index);
    if (!item)
        return;
    item->m_radix = radix;
    evaluate(*item, false);
    emit dataChanged(indexOf(item, 0), indexOf(item, ColumnCount - 1));
}

void VariableViewModel::expand(const QModelIndex &index)
{
    VariableViewItem *item = itemAt(index);
    if (!item || item->m_expanded || !item->m_expandable)
        return;
    item->m_expanded = true;
    std::vector<std::unique_ptr<VariableViewItem>> children;
    const QString operand = operandOf(item->m_expression);
    try {
        const ExpressionValue value = item->m_tree->evaluate();
        const BaseType *resolved = resolvedType(m_parser.typeOf(value));
        if (resolved->kind() == TypeKind::Struct) {
            for (const StructField &field : static_cast<const StructType *>(resolved)->fields()) {
                if (!field.name.isEmpty())
                    children.push_back(std::make_unique<VariableViewItem>(field.name, operand + u'.' + field.name, item));
            }
        } else if (resolved->kind() == TypeKind::Array) {
            TextVariableView limits;
            const qint64 count = qMin<qint64>(static_cast<const ArrayType *>(resolved)->count(), limits.elementLimit());
            for (qint64 i = 0; i < count; ++i) {
                const QString position = u'[' + QString::number(i) + u']';
                children.push_back(std::make_unique<VariableViewItem>(position, operand + position, item));
            }
        } else {
            children.push_back(std::make_unique<VariableViewItem>(u'*' + item->m_name, QStringLiteral("*") + operand, item));
        }
    } catch (const ParserException &) {
        return;
    }
    if (children.empty())
        return;
    for (auto &child : children) {
        child->m_radix = item->m_radix;
        evaluate(*child, false);
    }
    beginInsertRows(index.siblingAtColumn(0), 0, int(children.size()) - 1);
    item->m_children = std::move(children);
    endInsertRows();
}

void VariableViewModel::updateTree(VariableViewItem &item)
{
    evaluate(item, true);
    for (auto &child : item.m_children)
        updateTree(*child);
}

void VariableViewModel::update()
{
    for (auto &watch : m_watches)
        updateTree(*watch);
    if (!m_watches.empty())
        emit dataChanged(index(0, 0), index(int(m_watches.size()) - 1, ColumnCount - 1));
}

QModelIndex VariableViewModel::index(int row, int column, const QModelIndex &parent) const
{
    const VariableViewItem *owner = itemAt(parent);
    const auto &rows = owner ? owner->children() : m_watches;
    if (row < 0 || size_t(row) >= rows.size() || column < 0 || column >= ColumnCount)
        return {};
    return createIndex(row, column, rows[size_t(row)].get());
}

QModelIndex VariableViewModel::parent(const QModelIndex &child) const
{
    const VariableViewItem *item = itemAt(child);
    return item && item->parent() ? indexOf(item->parent(), 0) : QModelIndex();
}

int VariableViewModel::rowCount(const QModelIndex &parent) const
{
    if (parent.isValid() && parent.column() != 0)
        return 0;
    const VariableViewItem *item = itemAt(parent);
    return int(item ? item->children().size() : m_watches.size());
}

int VariableViewModel::columnCount(const QModelIndex &) const
{
    return ColumnCount;
}

bool VariableViewModel::hasChildren(const QModelIndex &parent) const
{
    const VariableViewItem *item = itemAt(parent);
    return item ? item->m_expandable : !m_watches.empty();
}

QVariant VariableViewModel::data(const QModelIndex &index, int role) const
{
    const VariableViewItem *item = itemAt(index);
    if (!item)
        return {};
    if (role == ChangedRole)
        return item->m_changed;
    if (role != Qt::DisplayRole && role != Qt::EditRole)
        return {};
    switch (index.column()) {
    case NameColumn: return item->m_name;
    case ValueColumn: return item->m_value;
    case TypeColumn: return item->m_type;
    case AddressColumn: return item->m_address;
    default: return item->m_size;
    }
}

QVariant VariableViewModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section >= ColumnCount)
        return {};
    return QString::fromLatin1(columnNames[section]);
}

Qt::ItemFlags VariableViewModel::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    const Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    return index.column() == ValueColumn ? flags | Qt::ItemIsEditable : flags;
}

bool VariableViewModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    VariableViewItem *item = itemAt(index);
    if (!item || role != Qt::EditRole || index.column() != ValueColumn)
        return false;
    m_lastError.clear();
    try {
        if (!item->m_tree)
            item->m_tree = m_parser.parse(item->m_expression);
        const std::unique_ptr<Expression> text = m_parser.parse(value.toString());
        (void)item->m_tree->store(text->evaluate());
    } catch (const ParserException &exception) {
        m_lastError = exception.message();
        return false;
    }
    update();
    return true;
}
