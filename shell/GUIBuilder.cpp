#include "shell/GUIBuilder.h"
#include "foundation/XMLDocument.h"
#include "shell/Actions.h"
#include "shell/KeyMap.h"
#include "shell/MessageScheme.h"
#include "shell/SchemeFile.h"
#include "shell/SettingsFile.h"
#include "shell/VarnelAction.h"
#include "shell/WidgetStrip.h"
#include <QDockWidget>
#include <QHBoxLayout>
#include <QMainWindow>
#include <QMenuBar>
#include <QSplitter>
#include <QToolBar>
#include <QToolButton>
#include <QWidgetAction>

namespace {

GUIBuilder *current = nullptr;

const QString prefix = QStringLiteral("GUIBuilder::iterateAndPopulate(): ");

// Descriptions nest menus and strips; deeper than this is a runaway file, not a window.
constexpr int maxDepth = 64;
// A description with a hundred thousand faults reports the first ones and a count.
constexpr int maxMessages = 1000;
// Entries of one menu, tool bar or strip. Nobody reads a longer menu, and adding to a container
// costs time in proportion to what it holds, so a runaway description would take hours.
constexpr int maxEntries = 1000;
// Entries of one build: a thousand menus of a thousand entries each are still a runaway file.
constexpr qint64 maxBuildEntries = 100000;

bool isYes(const XMLElement *element, const char *name)
{
    const QString value = attributeString(element, name).toLower();
    return value == QLatin1String("yes") || value == QLatin1String("true");
}

int stretchOf(const XMLElement *element)
{
    return isYes(element, "stretchable") ? 1 : 0;
}

int boundedNumber(const XMLElement *element, const char *name, int fallback, int low, int high)
{
    bool ok = false;
    const int value = attributeString(element, name).toInt(&ok);
    return ok ? qBound(low, value, high) : fallback;
}

Qt::ToolBarArea toolBarArea(const QString &text)
{
    if (text == QLatin1String("bottom"))
        return Qt::BottomToolBarArea;
    if (text == QLatin1String("left"))
        return Qt::LeftToolBarArea;
    if (text == QLatin1String("right"))
        return Qt::RightToolBarArea;
    return Qt::TopToolBarArea;
}

} // namespace

const GUIBuilder::Tag GUIBuilder::tags[] = {
    {"option", &GUIBuilder::addOption, true},       {"property", &GUIBuilder::addProperty, true},
    {"panel", &GUIBuilder::addPanel, true},         {"menu", &GUIBuilder::addMenu, true},
    {"dropdown", &GUIBuilder::addDropdown, true},   {"item", &GUIBuilder::addItem, true},
    {"stretch", &GUIBuilder::addStretch, true},     {"space", &GUIBuilder::addSpace, true},
    {"split", &GUIBuilder::addStrip, true},         {"strip", &GUIBuilder::addStrip, true},
    {"stack", &GUIBuilder::addStrip, true},         {"group", &GUIBuilder::addStrip, true},
    {"separator", &GUIBuilder::addSeparator, true}, {"tip", &GUIBuilder::addTip, false},
    {"title", &GUIBuilder::addTitle, false},        {"placeholder", &GUIBuilder::addPlaceholder, true},
    {"template", &GUIBuilder::addTemplate, true},   {"key", &GUIBuilder::addKey, false},
};

GUIBuilder::GUIBuilder(QObject *parent) : QObject(parent)
{
    current = this;
}

GUIBuilder::~GUIBuilder()
{
    if (current == this)
        current = nullptr;
}

GUIBuilder *GUIBuilder::instance()
{
    return current;
}

void GUIBuilder::setSettings(SettingsFile *settings)
{
    if (m_settings)
        disconnect(m_settings, nullptr, this, nullptr);
    m_settings = settings;
    if (settings)
        connect(settings, &SettingsFile::changed, this, &GUIBuilder::environmentSettingChanged);
}

void GUIBuilder::setPropertyAccess(PropertyAccessInterface *access)
{
    m_propertyAccess = access;
    for (const BoundEntry &entry : m_entries)
        refreshEntry(entry);
}

void GUIBuilder::registerObject(const QString &name, QObject *object)
{
    m_objects.insert(name, object);
}

QObject *GUIBuilder::namedObject(const QString &name) const
{
    if (QObject *object = m_objects.value(name))
        return object;
    return m_menus.value(name);
}

QMenu *GUIBuilder::menu(const QString &name) const
{
    return static_cast<QMenu *>(m_menus.value(name));
}

QList<QMenu *> GUIBuilder::menus() const
{
    QList<QMenu *> result;
    for (auto it = m_menus.cbegin(); it != m_menus.cend(); ++it)
        result.append(static_cast<QMenu *>(it.value()));
    return result;
}

QAction *GUIBuilder::placeholderAction(const QString &name) const
{
    return m_placeholderActions.value(name);
}

QWidget *GUIBuilder::placeholderWidget(const QString &name) const
{
    return m_placeholderWidgets.value(name);
}

void GUIBuilder::warn(const QString &text)
{
    if (m_messages.size() < maxMessages)
        report(ReportChannel::Warning, text);
    m_messages.push_back({ReportChannel::Warning, text});
}

void GUIBuilder::fail(const QString &text)
{
    if (m_messages.size() < maxMessages)
        report(ReportChannel::Error, text);
    m_messages.push_back({ReportChannel::Error, text});
}

GUIBuilder::Parent GUIBuilder::kindOf(const QObject *object)
{
    if (object->inherits("QMenuBar"))
        return Parent::MenuBar;
    if (object->inherits("QMenu"))
        return Parent::Popup;
    if (object->inherits("QToolBar"))
        return Parent::ToolBar;
    if (object->inherits("FluentPanel"))
        return Parent::Fluent;
    if (object->inherits("WidgetStrip"))
        return Parent::Strip;
    if (object->inherits("QSplitter"))
        return Parent::Split;
    if (object->inherits("QAction"))
        return Parent::Action;
    return Parent::Other;
}

QString GUIBuilder::requireName(const XMLElement *element)
{
    const QString name = attributeString(element, "name");
    if (name.isEmpty())
        fail(prefix + QStringLiteral("object without attribute name."));
    return name;
}

void GUIBuilder::iterateAndPopulate(QObject *parent, const XMLElement *element)
{
    if (!parent || !element)
        return;
    if (m_depth >= maxDepth) {
        fail(prefix + QStringLiteral("<%1> nests deeper than %2 levels; its content is left out.")
                          .arg(QString::fromUtf8(element->name()))
                          .arg(maxDepth));
        return;
    }
    ++m_depth;
    for (const XMLNode *node = element->firstChild(); node; node = node->nextSibling()) {
        if (node->kind() == XMLNode::Kind::Element)
            populate(parent, static_cast<const XMLElement *>(node));
    }
    --m_depth;
}

void GUIBuilder::populate(QObject *parent, const XMLElement *child)
{
    const Tag *tag = std::find_if(std::begin(tags), std::end(tags),
                                  [child](const Tag &t) { return qstrcmp(t.name, child->name()) == 0; });
    if (tag == std::end(tags))
        fail(prefix + QStringLiteral("bad tag name <") + QString::fromUtf8(child->name()));
    else if (!tag->addsEntry || !isFull(parent))   // nothing is made for a full container
        (this->*tag->handler)(parent, child);
}

void GUIBuilder::buildWindow(QMainWindow *window, const XMLElement *root)
{
    if (!root)
        return;
    m_menuOwner = window;
    for (const XMLNode *node = root->firstChild(); node; node = node->nextSibling()) {
        if (node->kind() != XMLNode::Kind::Element)
            continue;
        const auto *child = static_cast<const XMLElement *>(node);
        const char *tag = child->name();
        if (qstrcmp(tag, "menubar") == 0) {
            QMenuBar *bar = window->menuBar();
            if (const QString name = attributeString(child, "name"); !name.isEmpty())
                bar->setObjectName(name);
            iterateAndPopulate(bar, child);
            fillFromScheme(bar);
        } else if (qstrcmp(tag, "toolbar") == 0 || qstrcmp(tag, "ribbon") == 0) {
            addToolBar(window, child, qstrcmp(tag, "ribbon") == 0);
        } else {
            // Anything else is a child of the window itself, with the usual rules.
            populate(window, child);
        }
    }
}

void GUIBuilder::addToolBar(QMainWindow *window, const XMLElement *element, bool ribbon)
{
    const QString name = requireName(element);
    if (name.isEmpty())
        return;
    auto *bar = window->findChild<QToolBar *>(name, Qt::FindDirectChildrenOnly);
    if (!bar && m_objects.value(name)) {
        fail(prefix + name + QStringLiteral(" used in <%1>, but isn't a tool bar.").arg(QString::fromUtf8(element->name())));
        return;
    }
    if (!bar) {
        const Qt::ToolBarArea area = toolBarArea(attributeString(element, "area"));
        if (isYes(element, "break"))
            window->addToolBarBreak(area);
        bar = new QToolBar(attributeString(element, "title"), window);
        bar->setObjectName(name);
        window->addToolBar(area, bar);
        m_made.append(bar);
        registerObject(name, bar);
    }
    if (attributeString(element, "visible").toLower() == QLatin1String("no"))
        bar->hide();
    QObject *content = bar;
    if (ribbon) {
        auto *panels = new FluentPanel(bar);
        panels->setObjectName(name + QStringLiteral("Panels"));
        bar->addWidget(panels);
        content = panels;
    }
    iterateAndPopulate(content, element);
    fillFromScheme(content, name);
}

void GUIBuilder::clear()
{
    m_entries.clear();
    m_templates.clear();
    m_placeholderActions.clear();
    m_placeholderWidgets.clear();
    m_filledFromScheme.clear();
    m_describedKeys.clear();
    m_added.clear();
    for (auto it = m_objects.begin(); it != m_objects.end();) {
        if (!it.value() || m_made.contains(it.value()))
            it = m_objects.erase(it);
        else
            ++it;
    }
    const QList<QPointer<QObject>> made = std::exchange(m_made, {});
    for (const QPointer<QObject> &object : made)
        delete object.data();
    m_menus.clear();
    m_entryCount = 0;
    m_granted = 0;
    m_buildFull = false;
}

// --- menus

QMenu *GUIBuilder::menuNamed(const QString &name, const QString &caption, bool create)
{
    if (QMenu *existing = menu(name)) {
        if (!caption.isEmpty())
            existing->setTitle(caption);
        return existing;
    }
    if (!create)
        return nullptr;
    auto *menu = new VarnelPopupMenu(caption, m_menuOwner);
    menu->setObjectName(name);
    m_menus.insert(name, static_cast<QObject *>(menu));
    m_made.append(menu);
    connect(menu, &QObject::destroyed, this, &GUIBuilder::menuDestroyed);
    connect(menu, &QMenu::hovered, this, [this, menu](QAction *action) {
        m_hoveredMenu = menu;
        menuStatusText(int(menu->actions().indexOf(action)));
    });
    return menu;
}

void GUIBuilder::fillFromScheme(QObject *container, const QString &name)
{
    if (!m_scheme || m_filledFromScheme.contains(container))
        return;
    const XMLElement *definition = m_scheme->menuDefinition(name.isEmpty() ? container->objectName() : name);
    if (!definition)
        return;
    m_filledFromScheme.insert(container);
    iterateAndPopulate(container, definition);
}

bool GUIBuilder::menuContains(const QMenu *outer, const QObject *inner)
{
    QSet<const QMenu *> seen;
    std::vector<const QMenu *> pending{outer};
    while (!pending.empty()) {
        const QMenu *menu = pending.back();
        pending.pop_back();
        if (seen.contains(menu))
            continue;
        seen.insert(menu);
        for (const QAction *action : menu->actions()) {
            if (const QMenu *sub = action->menu()) {
                if (sub == inner)
                    return true;
                pending.push_back(sub);
            }
        }
    }
    return false;
}

bool GUIBuilder::hasRoom(QObject *parent)
{
    // What the builder added counts, not what the container holds: adding an entry it holds
    // already moves it and costs as much.
    if (isFull(parent))
        return false;
    ++m_added[parent];
    ++m_granted;
    return true;
}

bool GUIBuilder::isFull(QObject *parent)
{
    if (m_granted >= maxBuildEntries) {
        if (!std::exchange(m_buildFull, true))
            warn(prefix + QStringLiteral("the description holds more than %1 entries; the rest is left out.").arg(maxBuildEntries));
        return true;
    }
    int &added = m_added[parent];
    if (added < maxEntries)
        return false;
    if (added == maxEntries) {
        ++added;
        warn(prefix + QStringLiteral("%1 holds %2 entries; the rest is left out.").arg(parent->objectName()).arg(maxEntries));
    }
    return true;
}

bool GUIBuilder::addMenuTo(QObject *parent, QMenu *menu)
{
    if (!hasRoom(parent))
        return false;
    switch (kindOf(parent)) {
    case Parent::MenuBar:
        static_cast<QMenuBar *>(parent)->addMenu(menu);
        break;
    case Parent::Popup: {
        auto *outer = static_cast<QMenu *>(parent);
        if (outer == menu || menuContains(menu, outer)) {
            warn(prefix + QStringLiteral("menu %1 would contain itself; it is left out of %2.")
                              .arg(menu->objectName(), outer->objectName()));
            return false;
        }
        outer->addMenu(menu);
        break;
    }
    default:
        warn(prefix + QStringLiteral("adding a menu to widget '%1' which isn't a popup menu nor menu bar ")
                          .arg(parent->objectName()));
        return false;
    }
    ++m_entryCount;
    return true;
}

void GUIBuilder::addMenu(QObject *parent, const XMLElement *element)
{
    const QString name = requireName(element);
    if (name.isEmpty())
        return;
    if (QObject *object = m_objects.value(name); object && !qobject_cast<QMenu *>(object)) {
        fail(prefix + name + QStringLiteral(" used in <menu>, but isn't a menu."));
        return;
    }
    const Parent kind = kindOf(parent);
    if (kind != Parent::MenuBar && kind != Parent::Popup) {
        warn(prefix + QStringLiteral("adding a menu to widget '%1' which isn't a popup menu nor menu bar ")
                          .arg(parent->objectName()));
        return;
    }
    QString caption = attributeString(element, "caption");
    if (caption.isEmpty() && m_scheme) {
        if (const XMLElement *definition = m_scheme->menuDefinition(name))
            caption = attributeString(definition, "caption");
    }
    const bool isNew = !m_menus.contains(name);
    if (isNew && caption.isEmpty()) {
        warn(prefix + QStringLiteral("menu %1 has an empty caption.").arg(name));
        caption = QStringLiteral("Empty menu caption");
    }
    QMenu *menu = menuNamed(name, caption, true);
    if (!addMenuTo(parent, menu))
        return;
    iterateAndPopulate(menu, element);
    fillFromScheme(menu);
}

void GUIBuilder::addDropdown(QObject *parent, const XMLElement *element)
{
    const QString actionName = attributeString(element, "action");
    const QString menuName = attributeString(element, "menu");
    if (actionName.isEmpty())
        warn(prefix + QStringLiteral("dropdown without action name."));
    if (menuName.isEmpty())
        warn(prefix + QStringLiteral("dropdown without menu name."));
    if (actionName.isEmpty() || menuName.isEmpty())
        return;
    const Parent kind = kindOf(parent);
    if (kind != Parent::ToolBar && kind != Parent::Strip) {
        warn(prefix + QStringLiteral("dropdown not on toolbar or widget strip."));
        return;
    }
    VarnelAction *action = Actions::instance() ? Actions::instance()->find(actionName) : nullptr;
    if (!action) {
        warn(prefix + QStringLiteral("dropdown action ") + actionName + QStringLiteral(" isn't an action or doesn't exist."));
        return;
    }
    QObject *named = m_objects.value(menuName);
    const XMLElement *definition = m_scheme ? m_scheme->menuDefinition(menuName) : nullptr;
    QMenu *menu = named ? qobject_cast<QMenu *>(named)
                        : menuNamed(menuName, definition ? attributeString(definition, "caption") : QString(), definition != nullptr);
    if (!menu) {
        warn(prefix + QStringLiteral("dropdown menu ") + menuName + QStringLiteral(" isn't a menu."));
        return;
    }
    fillFromScheme(menu);
    auto *button = new QToolButton;
    button->setObjectName(actionName + QStringLiteral("Dropdown"));
    button->setMenu(menu);
    button->setPopupMode(QToolButton::MenuButtonPopup);
    button->setAutoRaise(true);
    const QString label = attributeString(element, "label");
    if (label.isEmpty()) {
        button->setDefaultAction(action);
    } else {
        // A button with its own label follows the action by hand: as the button of a default
        // action it would take the action's text on every change.
        button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        button->setProperty("action", QVariant::fromValue<QObject *>(action));
        const auto follow = [button, action, label] {
            button->setText(label);
            button->setIcon(action->icon());
            button->setToolTip(action->toolTip());
            button->setEnabled(action->isEnabled());
        };
        follow();
        connect(action, &QAction::changed, button, follow);
        connect(button, &QToolButton::clicked, action, &QAction::trigger);
    }
    if (isYes(element, "big")) {
        button->setIconSize(QSize(32, 32));
        button->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    }
    if (!addWidgetTo(parent, button, element))
        delete button;
}

// --- items

QObject *GUIBuilder::resolveItem(const QString &name, const XMLElement *element) const
{
    if (Actions *actions = Actions::instance()) {
        if (VarnelAction *action = actions->find(name))
            return action;
    }
    if (const qsizetype dot = name.indexOf(u'.'); dot > 0) {
        QObject *object = namedObject(name.left(dot));
        return object ? object->findChild<QObject *>(name.mid(dot + 1)) : nullptr;
    }
    if (QObject *object = namedObject(name))
        return object;
    const QString opener = attributeString(element, "open-action");
    if (!opener.isEmpty() && Actions::instance())
        return Actions::instance()->find(opener);
    return nullptr;
}

bool GUIBuilder::addActionTo(QObject *parent, QAction *action, const XMLElement *element)
{
    if (!hasRoom(parent))
        return false;
    switch (kindOf(parent)) {
    case Parent::MenuBar:
        static_cast<QMenuBar *>(parent)->addAction(action);
        break;
    case Parent::Popup:
        static_cast<QMenu *>(parent)->addAction(action);
        break;
    case Parent::ToolBar:
        static_cast<QToolBar *>(parent)->addAction(action);
        break;
    case Parent::Strip:
        static_cast<WidgetStrip *>(parent)->addButton(action, stretchOf(element));
        break;
    default:
        warn(prefix + QStringLiteral("adding a widget to an object which isn't a popup menu, menu bar, nor toolbar."));
        return false;
    }
    ++m_entryCount;
    return true;
}

bool GUIBuilder::addWidgetTo(QObject *parent, QWidget *widget, const XMLElement *element)
{
    auto *parentWidget = qobject_cast<QWidget *>(parent);
    if (widget == parentWidget || (parentWidget && widget->isAncestorOf(parentWidget))) {
        warn(prefix + QStringLiteral("%1 would contain itself; it is left out.").arg(widget->objectName()));
        return false;
    }
    if (!hasRoom(parent))
        return false;
    switch (kindOf(parent)) {
    case Parent::ToolBar:
        static_cast<QToolBar *>(parent)->addWidget(widget);
        break;
    case Parent::Strip:
        static_cast<WidgetStrip *>(parent)->addWidget(widget, stretchOf(element));
        break;
    case Parent::Split:
        static_cast<QSplitter *>(parent)->addWidget(widget);
        break;
    case Parent::Popup: {
        auto *menu = static_cast<QMenu *>(parent);
        auto *holder = new QWidgetAction(menu);
        holder->setDefaultWidget(widget);
        menu->addAction(holder);
        break;
    }
    default:
        warn(prefix + QStringLiteral("adding a widget to an object which isn't a popup menu, menu bar, nor toolbar."));
        return false;
    }
    ++m_entryCount;
    return true;
}

void GUIBuilder::addItem(QObject *parent, const XMLElement *element)
{
    const QString name = requireName(element);
    if (name.isEmpty())
        return;
    QObject *object = resolveItem(name, element);
    if (auto *dock = qobject_cast<QDockWidget *>(object))
        object = dock->toggleViewAction();
    else if (auto *bar = qobject_cast<QToolBar *>(object))
        object = bar->toggleViewAction();
    if (auto *action = qobject_cast<QAction *>(object)) {
        if (addActionTo(parent, action, element))
            iterateAndPopulate(action, element);
        return;
    }
    if (auto *menu = qobject_cast<QMenu *>(object)) {
        const Parent kind = kindOf(parent);
        if (kind == Parent::MenuBar || kind == Parent::Popup) {
            if (addMenuTo(parent, menu))
                fillFromScheme(menu);
            return;
        }
        // In a tool bar or strip a menu is a button that opens it.
        auto *button = new QToolButton;
        button->setObjectName(name);
        button->setText(menu->title());
        button->setMenu(menu);
        button->setPopupMode(QToolButton::InstantPopup);
        button->setAutoRaise(true);
        if (!addWidgetTo(parent, button, element))
            delete button;
        else
            fillFromScheme(menu);
        return;
    }
    if (auto *widget = qobject_cast<QWidget *>(object)) {
        addWidgetTo(parent, widget, element);
        return;
    }
    fail(prefix + QStringLiteral("varnel action ") + name + QStringLiteral(" isn't in the dictionary."));
}

void GUIBuilder::addKey(QObject *parent, const XMLElement *element)
{
    auto *action = qobject_cast<QAction *>(parent);
    if (!action) {
        warn(prefix + QStringLiteral("<key> outside an <item>."));
        return;
    }
    QString text = attributeString(element, "sequence");
    if (text.isEmpty())
        text = attributeString(element, "key");
    KeyMap::Keys keys;
    QString bad;
    if (!KeyMap::parseKeys(text, &keys, &bad) || keys.isEmpty()) {
        warn(prefix + QStringLiteral("key '%1' of %2 isn't a key sequence.").arg(bad.isEmpty() ? text : bad, action->objectName()));
        return;
    }
    // Several <key> of one item add up.
    KeyMap::Keys &all = m_describedKeys[action];
    for (const QKeySequence &key : std::as_const(keys)) {
        if (!all.contains(key))
            all.append(key);
    }
    action->setShortcuts(all);
    emit keyAssigned(action->objectName(), all);
}

// --- the rest of the table

void GUIBuilder::addStretch(QObject *parent, const XMLElement *)
{
    if (kindOf(parent) != Parent::Strip) {
        warn(prefix + QStringLiteral("bad widget for stretch"));
        return;
    }
    if (hasRoom(parent))
        static_cast<WidgetStrip *>(parent)->addStretch();
}

void GUIBuilder::addSpace(QObject *parent, const XMLElement *element)
{
    const int width = boundedNumber(element, "width", 6, 0, 2000);
    const Parent kind = kindOf(parent);
    if ((kind == Parent::Strip || kind == Parent::ToolBar) && !hasRoom(parent))
        return;
    switch (kind) {
    case Parent::Strip:
        static_cast<WidgetStrip *>(parent)->addSpacing(width);
        break;
    case Parent::ToolBar: {
        auto *space = new QWidget;
        space->setFixedWidth(width);
        static_cast<QToolBar *>(parent)->addWidget(space);
        break;
    }
    default:
        warn(prefix + QStringLiteral("bad widget for space"));
    }
}

void GUIBuilder::addSeparator(QObject *parent, const XMLElement *)
{
    const Parent kind = kindOf(parent);
    if ((kind == Parent::Popup || kind == Parent::ToolBar || kind == Parent::Strip) && !hasRoom(parent))
        return;
    switch (kind) {
    case Parent::Popup:
        static_cast<QMenu *>(parent)->addSeparator();
        break;
    case Parent::ToolBar:
        static_cast<QToolBar *>(parent)->addSeparator();
        break;
    case Parent::Strip:
        static_cast<WidgetStrip *>(parent)->addSeparator();
        break;
    default:
        warn(prefix + QStringLiteral("bad widget for separator"));
    }
}

void GUIBuilder::addStrip(QObject *parent, const XMLElement *element)
{
    const char *tag = element->name();
    QWidget *widget = nullptr;
    if (qstrcmp(tag, "split") == 0) {
        widget = new QSplitter(Qt::Horizontal);
    } else {
        auto *strip = new WidgetStrip(qstrcmp(tag, "stack") == 0 ? Qt::Vertical : Qt::Horizontal);
        if (qstrcmp(tag, "group") == 0) {
            strip->setFrameShape(QFrame::StyledPanel);
            QString title = attributeString(element, "title");
            strip->setTitle(title.isEmpty() ? attributeString(element, "caption") : title);
        }
        widget = strip;
    }
    const QString name = attributeString(element, "name");
    widget->setObjectName(name);
    if (!addWidgetTo(parent, widget, element)) {
        delete widget;
        return;
    }
    if (!name.isEmpty() && !m_objects.contains(name)) {
        registerObject(name, widget);
        m_made.append(widget);
    }
    iterateAndPopulate(widget, element);
}

void GUIBuilder::addPanel(QObject *parent, const XMLElement *element)
{
    const QString name = requireName(element);
    if (name.isEmpty())
        return;
    auto *panels = qobject_cast<FluentPanel *>(parent);
    if (!panels) {
        warn(prefix + QStringLiteral("panel %1 is only allowed in a ribbon.").arg(name));
        return;
    }
    WidgetStrip *strip = panels->addPanel(name, attributeString(element, "title"));
    ++m_entryCount;
    iterateAndPopulate(strip, element);
}

void GUIBuilder::addTip(QObject *parent, const XMLElement *element)
{
    QString text = attributeString(element, "text");
    if (text.isEmpty())
        text = attributeString(element, "caption");
    if (auto *action = qobject_cast<QAction *>(parent))
        action->setToolTip(text);
    else if (auto *widget = qobject_cast<QWidget *>(parent))
        widget->setToolTip(text);
}

void GUIBuilder::addTitle(QObject *parent, const XMLElement *element)
{
    QString text = attributeString(element, "text");
    if (text.isEmpty())
        text = attributeString(element, "caption");
    if (auto *action = qobject_cast<QAction *>(parent))
        action->setText(text);
    else if (auto *menu = qobject_cast<QMenu *>(parent))
        menu->setTitle(text);
    else if (auto *strip = qobject_cast<WidgetStrip *>(parent))
        strip->setTitle(text, qobject_cast<FluentPanel *>(strip->parent()) ? WidgetStrip::TitlePlace::Bottom
                                                                           : WidgetStrip::TitlePlace::Top);
    else if (auto *widget = qobject_cast<QWidget *>(parent))
        widget->setWindowTitle(text);
}

void GUIBuilder::addPlaceholder(QObject *parent, const XMLElement *element)
{
    const QString name = requireName(element);
    if (name.isEmpty())
        return;
    const Parent kind = kindOf(parent);
    if (kind == Parent::Popup || kind == Parent::MenuBar) {
        auto *marker = new QAction(parent);
        marker->setObjectName(name);
        marker->setVisible(false);
        if (addActionTo(parent, marker, element))
            m_placeholderActions.insert(name, marker);
        else
            delete marker;
        return;
    }
    auto *place = new QWidget;
    place->setObjectName(name);
    auto *layout = new QHBoxLayout(place);
    layout->setContentsMargins(0, 0, 0, 0);
    if (addWidgetTo(parent, place, element))
        m_placeholderWidgets.insert(name, place);
    else
        delete place;
}

void GUIBuilder::addTemplate(QObject *parent, const XMLElement *element)
{
    const QString expansion = attributeString(element, "expansion");
    QString caption = attributeString(element, "caption");
    if (caption.isEmpty())
        caption = expansion;
    auto *entry = new QAction(caption, parent);
    const int index = int(m_templates.size());
    m_templates.append(expansion);
    connect(entry, &QAction::triggered, this, [this, index] { templateSelected(index); });
    if (!addActionTo(parent, entry, element))
        delete entry;
}

void GUIBuilder::templateSelected(int index)
{
    if (index >= 0 && index < m_templates.size())
        emit templateInserted(m_templates.at(index));
}

void GUIBuilder::menuDestroyed(QObject *menu)
{
    m_menus.removeIf([menu](const auto &entry) { return entry.value() == menu; });
    m_filledFromScheme.remove(menu);
    m_added.remove(menu);
}

void GUIBuilder::menuStatusText(int index)
{
    if (!m_hoveredMenu)
        return;
    const QList<QAction *> actions = m_hoveredMenu->actions();
    if (index >= 0 && index < actions.size())
        emit statusText(actions.at(index)->statusTip());
}
