#pragma once
#include "foundation/Report.h"
#include <QHash>
#include <QKeySequence>
#include <QList>
#include <QMenu>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QString>
#include <functional>
#include <vector>

class MessageScheme;
class QAbstractButton;
class QAbstractSlider;
class QMainWindow;
class SettingsFile;
class XMLElement;

// A popup menu made by the builder; descriptions examine parents by class name, and this is the
// name of the shell's own menus.
class VarnelPopupMenu : public QMenu {
    Q_OBJECT
public:
    explicit VarnelPopupMenu(const QString &title, QWidget *parent = nullptr) : QMenu(title, parent) {}
};

// Builds menus, tool bars and strips from XML descriptions that name actions. The content of a
// named menu (and of the menu bar and tool bars) comes from the description and then from the
// message scheme's definemenu of that name. Faults in a description are reported on the "warning" and "error" channels and kept in
// messages(); the faulty child is skipped and the build goes on. One instance.
class GUIBuilder : public QObject {
    Q_OBJECT
public:
    // Where `property` entries read and write their values: the active project in the full
    // shell. Without one they are disabled.
    class PropertyAccessInterface {
    public:
        virtual ~PropertyAccessInterface() = default;
        [[nodiscard]] virtual QString propertyValue(const QString &name) const = 0;
        virtual void setPropertyValue(const QString &name, const QString &value) = 0;
    };

    struct Message {
        ReportChannel channel;
        QString text;
    };

    explicit GUIBuilder(QObject *parent = nullptr);
    ~GUIBuilder() override;
    [[nodiscard]] static GUIBuilder *instance();

    void setMessageScheme(const MessageScheme *scheme) { m_scheme = scheme; }
    void setSettings(SettingsFile *settings);
    void setPropertyAccess(PropertyAccessInterface *access);
    // The widget that owns the menus the builder makes (the main window).
    void setMenuOwner(QWidget *owner) { m_menuOwner = owner; }

    // Objects a description may name: dock windows, fields, tool bars. A dock window or tool
    // bar named in a menu stands for the action that shows it.
    void registerObject(const QString &name, QObject *object);
    [[nodiscard]] QObject *namedObject(const QString &name) const;
    [[nodiscard]] QMenu *menu(const QString &name) const;
    [[nodiscard]] QList<QMenu *> menus() const;
    // A placeholder's marker: an invisible action in a menu (insert before it), or an empty
    // widget in a tool bar or strip (fill its layout). Null when the description has none.
    [[nodiscard]] QAction *placeholderAction(const QString &name) const;
    [[nodiscard]] QWidget *placeholderWidget(const QString &name) const;

    // Builds a whole window description: `menubar`, `toolbar` and `ribbon` children of `root`
    // fill the window's menu bar and tool bars; anything else goes to iterateAndPopulate with
    // the window as parent.
    void buildWindow(QMainWindow *window, const XMLElement *root);
    // Walks the children of `element` in order and adds what they describe to `parent`.
    void iterateAndPopulate(QObject *parent, const XMLElement *element);
    // Forgets and deletes what the builder made (menus, tool bars of descriptions, entries),
    // before a rebuild.
    void clear();

    [[nodiscard]] const std::vector<Message> &messages() const { return m_messages; }
    void clearMessages() { m_messages.clear(); }
    [[nodiscard]] qint64 entryCount() const { return m_entryCount; }
    [[nodiscard]] QStringList templates() const { return m_templates; }

signals:
    void statusText(const QString &text);
    void templateInserted(const QString &expansion);
    // A `key` element gave an action keys; the key map counts them as the scheme's.
    void keyAssigned(const QString &action, const QList<QKeySequence> &keys);

public slots:
    void booleanPropertyToggled(int entry);
    void environmentSettingChanged(QString key);
    void menuDestroyed(QObject *menu);
    void sliderValueChanged(int value);
    void menuStatusText(int index);
    void templateSelected(int index);

private:
    enum class Parent { MenuBar, Popup, ToolBar, Strip, Fluent, Split, Action, Other };
    using Handler = void (GUIBuilder::*)(QObject *parent, const XMLElement *element);
    struct Tag {
        const char *name;
        Handler handler;
        bool addsEntry;   // false for what only changes its parent: tip, title, key
    };
    static const Tag tags[];

    // An entry bound to a setting (`option`) or a property (`property`).
    struct BoundEntry {
        bool isSetting;
        QString key;
        QPointer<QAction> action;
        QPointer<QAbstractButton> check;
        QPointer<QAbstractSlider> slider;
    };

    void populate(QObject *parent, const XMLElement *child);
    void addToolBar(QMainWindow *window, const XMLElement *element, bool ribbon);
    void warn(const QString &text);
    void fail(const QString &text);
    [[nodiscard]] static Parent kindOf(const QObject *object);
    [[nodiscard]] QString requireName(const XMLElement *element);

    void addMenu(QObject *parent, const XMLElement *element);
    void addDropdown(QObject *parent, const XMLElement *element);
    void addItem(QObject *parent, const XMLElement *element);
    void addOption(QObject *parent, const XMLElement *element);
    void addProperty(QObject *parent, const XMLElement *element);
    void addPanel(QObject *parent, const XMLElement *element);
    void addStretch(QObject *parent, const XMLElement *element);
    void addSpace(QObject *parent, const XMLElement *element);
    void addSeparator(QObject *parent, const XMLElement *element);
    void addStrip(QObject *parent, const XMLElement *element);
    void addTip(QObject *parent, const XMLElement *element);
    void addTitle(QObject *parent, const XMLElement *element);
    void addPlaceholder(QObject *parent, const XMLElement *element);
    void addTemplate(QObject *parent, const XMLElement *element);
    void addKey(QObject *parent, const XMLElement *element);

    // The menu of that name, made (and filled from the scheme) when it does not exist yet; null
    // with the error reported when the name belongs to something else.
    QMenu *menuNamed(const QString &name, const QString &caption, bool create);
    // Adds the scheme's definemenu of `name` (the container's object name when empty) to the
    // container, once.
    void fillFromScheme(QObject *container, const QString &name = {});
    [[nodiscard]] QObject *resolveItem(const QString &name, const XMLElement *element) const;
    bool addActionTo(QObject *parent, QAction *action, const XMLElement *element);
    bool addMenuTo(QObject *parent, QMenu *menu);
    bool addWidgetTo(QObject *parent, QWidget *widget, const XMLElement *element);
    [[nodiscard]] static bool menuContains(const QMenu *outer, const QObject *inner);
    // Whether `parent` takes another entry (counting it); says once when it is full.
    bool hasRoom(QObject *parent);
    // Whether `parent` takes no more entries, or the whole build has taken its last one; says
    // each once.
    bool isFull(QObject *parent);
    // A check box in a strip, a checkable entry elsewhere, telling `changed` its state; false
    // when the parent takes no such entry.
    bool addCheck(QObject *parent, const XMLElement *element, const QString &name, const QString &caption,
                  const std::function<void(bool)> &changed, BoundEntry &entry);
    void bindEntry(BoundEntry entry);
    void refreshEntry(const BoundEntry &entry);

    const MessageScheme *m_scheme = nullptr;
    QPointer<SettingsFile> m_settings;
    PropertyAccessInterface *m_propertyAccess = nullptr;
    QPointer<QWidget> m_menuOwner;
    QHash<QString, QPointer<QObject>> m_objects;
    // The builder's menus by name, as plain objects: menuDestroyed() takes each out while it is
    // being destroyed, when it is no menu any more.
    QHash<QString, QObject *> m_menus;
    QSet<const QObject *> m_filledFromScheme;
    QHash<const QAction *, QList<QKeySequence>> m_describedKeys;
    QHash<const QObject *, int> m_added;   // entries added to each container
    QHash<QString, QPointer<QAction>> m_placeholderActions;
    QHash<QString, QPointer<QWidget>> m_placeholderWidgets;
    QList<QPointer<QObject>> m_made;   // top-level things a clear() deletes
    std::vector<BoundEntry> m_entries;
    QStringList m_templates;
    std::vector<Message> m_messages;
    QPointer<QMenu> m_hoveredMenu;
    int m_changingEntry = -1;
    int m_depth = 0;
    qint64 m_entryCount = 0;
    qint64 m_granted = 0;       // entries of every kind that hasRoom let in
    bool m_buildFull = false;   // the build has taken its last entry and said so
};
