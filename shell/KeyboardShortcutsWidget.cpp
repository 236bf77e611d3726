#include "shell/KeyboardShortcutsWidget.h"
#include "shell/Actions.h"
#include "shell/ShellViews.h"
#include "shell/VarnelAction.h"
#include <QGridLayout>
#include <QHeaderView>
#include <QKeySequenceEdit>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QTreeWidget>

namespace {

constexpr int nameRole = Qt::UserRole;

} // namespace

KeyboardShortcutsWidget::KeyboardShortcutsWidget(const KeyMap &keys, const Actions &actions,
                                                 const QHash<QString, QString> &menuPaths, QWidget *parent)
    : QWidget(parent), m_keys(keys)
{
    m_tree = new QTreeWidget(this);
    m_tree->setObjectName(QStringLiteral("ShortcutActions"));
    m_tree->setColumnCount(3);
    m_tree->setHeaderLabels({QStringLiteral("Command"), QStringLiteral("Keys"), QStringLiteral("Name")});
    m_tree->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    QHash<QString, QTreeWidgetItem *> groups;
    const auto groupOf = [&](const QString &path) {
        QTreeWidgetItem *&group = groups[path];
        if (!group) {
            group = new QTreeWidgetItem(m_tree, {path});
            group->setFlags(Qt::ItemIsEnabled);
        }
        return group;
    };
    for (VarnelAction *action : actions.sorted()) {
        const QString name = action->objectName();
        const QString text = ShellViews::plainText(action->text());
        m_texts.insert(name, text);
        auto *item = new QTreeWidgetItem(groupOf(menuPaths.value(name, QStringLiteral("(in no menu)"))),
                                         {text, KeyMap::keysText(m_keys.keys(name)), name});
        item->setData(0, nameRole, name);
        m_items.insert(name, item);
    }
    m_tree->sortItems(0, Qt::AscendingOrder);
    m_tree->expandAll();

    m_assigned = new QListWidget(this);
    m_assigned->setObjectName(QStringLiteral("AssignedKeys"));
    m_edit = new QKeySequenceEdit(this);
    m_edit->setObjectName(QStringLiteral("TypedSequence"));
    m_assign = new QPushButton(QStringLiteral("&Assign"), this);
    m_remove = new QPushButton(QStringLiteral("&Remove"), this);
    m_reset = new QPushButton(QStringLiteral("Re&set"), this);
    m_check = new QPushButton(QStringLiteral("&Check"), this);
    m_status = new QLabel(this);
    m_status->setWordWrap(true);

    auto *grid = new QGridLayout(this);
    grid->addWidget(m_tree, 0, 0, 1, 3);
    grid->addWidget(new QLabel(QStringLiteral("Keys of the command:"), this), 1, 0);
    grid->addWidget(m_assigned, 2, 0, 3, 1);
    grid->addWidget(m_remove, 2, 1);
    grid->addWidget(m_reset, 3, 1);
    grid->addWidget(new QLabel(QStringLiteral("Press the new keys:"), this), 5, 0);
    grid->addWidget(m_edit, 6, 0);
    grid->addWidget(m_assign, 6, 1);
    grid->addWidget(m_check, 6, 2);
    grid->addWidget(m_status, 7, 0, 1, 3);

    connect(m_tree, &QTreeWidget::currentItemChanged, this, &KeyboardShortcutsWidget::actionChanged);
    connect(m_edit, &QKeySequenceEdit::keySequenceChanged, this,
            [this](const QKeySequence &sequence) { keySequenceChanged(sequence.toString(QKeySequence::PortableText)); });
    connect(m_assigned, &QListWidget::currentRowChanged, this, [this] { m_remove->setEnabled(m_assigned->currentRow() >= 0); });
    connect(m_remove, &QPushButton::clicked, this, &KeyboardShortcutsWidget::removeClicked);
    connect(m_assign, &QPushButton::clicked, this, &KeyboardShortcutsWidget::assignClicked);
    connect(m_reset, &QPushButton::clicked, this, &KeyboardShortcutsWidget::resetClicked);
    connect(m_check, &QPushButton::clicked, this, &KeyboardShortcutsWidget::checkClicked);
    actionChanged();
    keySequenceChanged(QString());
}

QString KeyboardShortcutsWidget::currentAction() const
{
    const QTreeWidgetItem *item = m_tree->currentItem();
    return item ? item->data(0, nameRole).toString() : QString();
}

bool KeyboardShortcutsWidget::selectAction(const QString &name)
{
    QTreeWidgetItem *item = m_items.value(name);
    if (!item)
        return false;
    m_tree->setCurrentItem(item);
    return true;
}

QTreeWidgetItem *KeyboardShortcutsWidget::itemOf(const QString &action) const
{
    return m_items.value(action);
}

void KeyboardShortcutsWidget::setTypedSequence(const QKeySequence &sequence)
{
    m_edit->setKeySequence(sequence);
    keySequenceChanged(sequence.toString(QKeySequence::PortableText));
}

void KeyboardShortcutsWidget::selectKey(int row)
{
    m_assigned->setCurrentRow(row);
}

QString KeyboardShortcutsWidget::statusText() const
{
    return m_status->text();
}

QString KeyboardShortcutsWidget::describe(const QString &action) const
{
    return QStringLiteral("%1 (%2)").arg(action, m_texts.value(action));
}

void KeyboardShortcutsWidget::showKeys()
{
    const QString action = currentAction();
    m_assigned->clear();
    const KeyMap::Keys keys = m_keys.keys(action);
    for (const QKeySequence &key : keys)
        m_assigned->addItem(key.toString(QKeySequence::NativeText));
    if (QTreeWidgetItem *item = itemOf(action))
        item->setText(1, KeyMap::keysText(keys));
    m_remove->setEnabled(false);
    m_reset->setEnabled(!action.isEmpty() && m_keys.isOverridden(action));
    m_assign->setEnabled(!action.isEmpty() && !m_typed.isEmpty());
}

void KeyboardShortcutsWidget::actionChanged()
{
    m_status->clear();
    showKeys();
}

void KeyboardShortcutsWidget::keySequenceChanged(QString text)
{
    KeyMap::Keys keys;
    QString bad;
    m_typed = KeyMap::parseKeys(text, &keys, &bad) && keys.size() == 1 ? keys.first() : QKeySequence();
    m_assign->setEnabled(!currentAction().isEmpty() && !m_typed.isEmpty());
    m_check->setEnabled(!m_typed.isEmpty());
}

void KeyboardShortcutsWidget::assignClicked()
{
    const QString action = currentAction();
    if (action.isEmpty() || m_typed.isEmpty())
        return;
    const QString typed = m_typed.toString(QKeySequence::NativeText);
    KeyMap::Keys keys = m_keys.keys(action);
    if (keys.contains(m_typed)) {
        m_status->setText(QStringLiteral("%1 already has %2.").arg(describe(action), typed));
        return;
    }
    QStringList users = m_keys.actionsUsing(m_typed);
    users.removeAll(action);
    if (!users.isEmpty()) {
        QStringList described;
        for (const QString &user : std::as_const(users))
            described.append(describe(user));
        m_status->setText(QStringLiteral("%1 is not assigned: it clashes with %2. Remove it there first.")
                              .arg(typed, described.join(QStringLiteral(", "))));
        return;
    }
    keys.append(m_typed);
    m_keys.setKeys(action, keys);
    m_changed = true;
    m_status->setText(QStringLiteral("%1 now runs %2.").arg(typed, describe(action)));
    showKeys();
    emit changed();
}

void KeyboardShortcutsWidget::removeClicked()
{
    const QString action = currentAction();
    const int row = m_assigned->currentRow();
    KeyMap::Keys keys = m_keys.keys(action);
    if (action.isEmpty() || row < 0 || row >= keys.size())
        return;
    const QKeySequence removed = keys.takeAt(row);
    m_keys.setKeys(action, keys);
    m_changed = true;
    m_status->setText(QStringLiteral("%1 no longer runs %2.").arg(removed.toString(QKeySequence::NativeText), describe(action)));
    showKeys();
    emit changed();
}

void KeyboardShortcutsWidget::resetClicked()
{
    const QString action = currentAction();
    if (action.isEmpty())
        return;
    m_keys.reset(action);
    m_changed = true;
    m_status->setText(QStringLiteral("%1 has the scheme's keys again.").arg(describe(action)));
    showKeys();
    emit changed();
}

void KeyboardShortcutsWidget::checkClicked()
{
    if (m_typed.isEmpty())
        return;
    const QString typed = m_typed.toString(QKeySequence::NativeText);
    const QStringList users = m_keys.actionsUsing(m_typed);
    if (users.isEmpty()) {
        m_status->setText(QStringLiteral("%1 is free.").arg(typed));
        return;
    }
    QStringList described;
    for (const QString &user : users)
        described.append(describe(user) + QStringLiteral(": ") + KeyMap::keysText(m_keys.keys(user)));
    m_status->setText(QStringLiteral("%1 is used by %2.").arg(typed, described.join(QStringLiteral("; "))));
}

bool KeyboardShortcutsWidget::save(const QString &path, QString *message) const
{
    return m_keys.saveUser(path, message);
}
