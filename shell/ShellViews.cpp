#include "shell/ShellViews.h"
#include "shell/Actions.h"
#include "shell/KeyMap.h"
#include "shell/VarnelAction.h"
#include "shell/VarnelWindow.h"
#include "shell/WidgetStrip.h"
#include <QCheckBox>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QSet>
#include <QToolBar>
#include <QToolButton>
#include <QWidgetAction>

namespace ShellViews {

namespace {

QString nameOf(const QObject *object, const QString &fallback)
{
    return object->objectName().isEmpty() ? fallback : object->objectName();
}

// `open` holds the menus listed so far: a menu reached again (a tool bar's dropdown, a submenu in
// two places, or inside itself) is listed as an entry without its content.
void addActions(const QString &path, const QList<QAction *> &actions, std::vector<Entry> &entries,
                QSet<const QMenu *> &open);

void addAction(const QString &path, QAction *action, std::vector<Entry> &entries, QSet<const QMenu *> &open)
{
    if (!action->isVisible() && !action->isSeparator())
        return;   // placeholders' markers
    if (action->isSeparator()) {
        entries.push_back({path + QStringLiteral("/-"), QString(), QString(), QStringLiteral("separator")});
        return;
    }
    if (QMenu *menu = action->menu()) {
        const QString menuPath = path + u'/' + nameOf(menu, plainText(menu->title()));
        entries.push_back({menuPath, menu->title(), QString(), QStringLiteral("menu")});
        if (!open.contains(menu)) {
            open.insert(menu);
            addActions(menuPath, menu->actions(), entries, open);
        }
        return;
    }
    if (auto *holder = qobject_cast<QWidgetAction *>(action)) {
        const QWidget *widget = holder->defaultWidget();
        entries.push_back({path + u'/' + nameOf(widget, QStringLiteral("widget")), QString(), QString(), QStringLiteral("widget")});
        return;
    }
    entries.push_back({path + u'/' + nameOf(action, plainText(action->text())), action->text(),
                       KeyMap::keysText(action->shortcuts()),
                       action->isEnabled() ? QStringLiteral("enabled") : QStringLiteral("disabled")});
}

void addActions(const QString &path, const QList<QAction *> &actions, std::vector<Entry> &entries,
                QSet<const QMenu *> &open)
{
    for (QAction *action : actions)
        addAction(path, action, entries, open);
}

// A widget of a tool bar or strip: a button of an action or a menu, a nested strip with its
// entries, or a named field.
void addWidget(const QString &path, QWidget *widget, std::vector<Entry> &entries, QSet<const QMenu *> &open)
{
    if (auto *button = qobject_cast<QToolButton *>(widget)) {
        // A dropdown with a label of its own names its action in a property.
        QAction *action = button->defaultAction();
        if (!action)
            action = qobject_cast<QAction *>(button->property("action").value<QObject *>());
        if (action)
            addAction(path, action, entries, open);
        if (QMenu *menu = button->menu())
            addAction(path, menu->menuAction(), entries, open);
        return;
    }
    if (qobject_cast<WidgetStrip *>(widget) || widget->inherits("FluentPanel") || widget->inherits("QSplitter")) {
        const QString inner = path + u'/' + nameOf(widget, QString::fromLatin1(widget->metaObject()->className()));
        const auto *strip = qobject_cast<WidgetStrip *>(widget);
        entries.push_back({inner, strip ? strip->title() : QString(), QString(), QStringLiteral("widget")});
        for (QObject *child : widget->children()) {
            auto *inside = qobject_cast<QWidget *>(child);
            if (inside && !inside->isWindow())
                addWidget(inner, inside, entries, open);
        }
        return;
    }
    if (auto *check = qobject_cast<QCheckBox *>(widget)) {
        // A check box's object name may be a settings key with slashes: the caption names it here.
        entries.push_back({path + u'/' + plainText(check->text()), check->text(), QString(),
                           check->isEnabled() ? (check->isChecked() ? QStringLiteral("checked") : QStringLiteral("unchecked"))
                                              : QStringLiteral("disabled")});
        return;
    }
    if (!widget->objectName().isEmpty() && !widget->objectName().startsWith(QLatin1String("qt_")))
        entries.push_back({path + u'/' + widget->objectName(), QString(), QString(), QStringLiteral("widget")});
}

} // namespace

QString plainText(const QString &text)
{
    QString result;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text.at(i) == u'&' && i + 1 < text.size())
            ++i;
        result.append(text.at(i));
    }
    return result;
}

std::vector<Entry> menuTree(const QMainWindow &window)
{
    std::vector<Entry> entries;
    QSet<const QMenu *> open;
    const QMenuBar *bar = window.menuBar();
    addActions(nameOf(bar, QStringLiteral("MenuBar")), bar->actions(), entries, open);
    for (QToolBar *toolBar : window.findChildren<QToolBar *>(QString(), Qt::FindDirectChildrenOnly)) {
        const QString path = nameOf(toolBar, QStringLiteral("ToolBar"));
        entries.push_back({path, toolBar->windowTitle(), QString(),
                           toolBar->isHidden() ? QStringLiteral("hidden tool bar") : QStringLiteral("tool bar")});
        for (QAction *action : toolBar->actions()) {
            if (auto *holder = qobject_cast<QWidgetAction *>(action))
                addWidget(path, holder->defaultWidget(), entries, open);
            else
                addAction(path, action, entries, open);
        }
    }
    return entries;
}

QString menuTreeText(const QMainWindow &window)
{
    QString text;
    for (const Entry &entry : menuTree(window))
        text += QStringLiteral("%1\t%2\t%3\t%4\n").arg(entry.path, entry.text, entry.keys, entry.state);
    return text;
}

QHash<QString, QString> actionMenuPaths(const QMainWindow &window)
{
    QHash<QString, QString> paths;
    QSet<const QMenu *> seen;
    struct Pending {
        const QMenu *menu;
        QString path;
    };
    std::vector<Pending> pending;
    for (QAction *action : window.menuBar()->actions()) {
        if (const QMenu *menu = action->menu())
            pending.push_back({menu, plainText(menu->title())});
    }
    // Breadth first, so an action in a top menu and a submenu is shown at the top.
    for (size_t i = 0; i < pending.size(); ++i) {
        const Pending current = pending[i];
        if (seen.contains(current.menu))
            continue;
        seen.insert(current.menu);
        for (QAction *action : current.menu->actions()) {
            if (const QMenu *sub = action->menu())
                pending.push_back({sub, current.path + u'/' + plainText(sub->title())});
            else if (!action->objectName().isEmpty() && !paths.contains(action->objectName()))
                paths.insert(action->objectName(), current.path);
        }
    }
    return paths;
}

QString keyMapText(const VarnelWindow &window)
{
    const QHash<QString, QString> paths = actionMenuPaths(window);
    const KeyMap &keys = window.keyMap();
    QString text;
    for (VarnelAction *action : window.actions()->sorted()) {
        const KeyMap::Keys assigned = keys.keys(action->objectName());
        if (assigned.isEmpty())
            continue;
        text += QStringLiteral("%1\t%2\t%3\t%4\n")
                    .arg(action->objectName(), KeyMap::keysText(assigned),
                         paths.value(action->objectName(), QStringLiteral("-")), plainText(action->text()));
    }
    for (const KeyMap::Clash &clash : keys.clashes())
        text += QStringLiteral("clash\t%1\t%2\n").arg(clash.key.toString(QKeySequence::PortableText), clash.actions.join(u' '));
    return text;
}

} // namespace ShellViews
