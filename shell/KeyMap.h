#pragma once
#include <QHash>
#include <QKeySequence>
#include <QList>
#include <QString>
#include <QStringList>
#include <utility>
#include <vector>

class Actions;

// The keyboard assignments of the actions in three layers: the built-in defaults, the key
// scheme chosen in the settings (the installed "bin/keyboard.xml"), and the user's own
// "keyboard.xml" over both. A key scheme file's root is `keyscheme`; each `keyscheme` element
// with a `name` is a scheme, and `item` elements with `name` (the action) and `key` give an
// action's whole list of keys, several separated by "; " and none for an empty `key`.
class KeyMap {
public:
    static constexpr const char *rootName = "keyscheme";
    using Keys = QList<QKeySequence>;

    struct Clash {
        QKeySequence key;       // the shorter of the two when one starts the other
        QStringList actions;    // sorted
    };

    // The built-in default of an action; it is also the scheme's key until a scheme says else.
    void setDefaultKeys(const QString &action, const Keys &keys);
    // Reads the scheme `name` (the first one when empty or unknown) from an installed key scheme
    // file. False when the file did not load: the built-in defaults stay.
    bool loadScheme(const QString &path, const QString &name);
    // Reads the user's overrides; a missing file is no error. False when it exists and does not
    // load; the scheme's keys stay.
    bool loadUser(const QString &path);
    // A key given by a window description counts as the scheme's.
    void setSchemeKeys(const QString &action, const Keys &keys);

    [[nodiscard]] Keys keys(const QString &action) const;         // in force
    [[nodiscard]] Keys schemeKeys(const QString &action) const;   // without the user's
    [[nodiscard]] bool isOverridden(const QString &action) const { return m_user.contains(action); }
    // The user's change; keys equal to the scheme's drop the override.
    void setKeys(const QString &action, const Keys &keys);
    void reset(const QString &action);

    // Every action with a key in force that is `key`, or starts it, or that `key` starts: such
    // keys cannot both work.
    [[nodiscard]] QStringList actionsUsing(const QKeySequence &key) const;
    [[nodiscard]] std::vector<Clash> clashes() const;
    [[nodiscard]] QStringList actionNames() const;   // every action with a key at any layer, sorted

    // Writes the user's overrides to `path` through a temporary file; false with the reason.
    bool saveUser(const QString &path, QString *message) const;
    // Sets the shortcuts of every action in the dictionary from the keys in force.
    void apply(const Actions &actions) const;

    [[nodiscard]] const QStringList &messages() const { return m_messages; }
    // The messages since the last call, which are then forgotten.
    [[nodiscard]] QStringList takeMessages() { return std::exchange(m_messages, {}); }
    [[nodiscard]] QStringList schemeNames() const { return m_schemeNames; }
    [[nodiscard]] QString schemeName() const { return m_schemeName; }

    // "Ctrl+Y; Ctrl+Shift+Z" to keys; false, with the bad part, when a sequence does not parse.
    [[nodiscard]] static bool parseKeys(const QString &text, Keys *keys, QString *bad);
    [[nodiscard]] static QString keysText(const Keys &keys);

private:
    void readItems(const class XMLElement *scheme, const QString &path, QHash<QString, Keys> &into);
    void note(const QString &message);

    QHash<QString, Keys> m_defaults;
    QHash<QString, Keys> m_scheme;
    QHash<QString, Keys> m_user;
    QStringList m_messages;
    QStringList m_schemeNames;
    QString m_schemeName;
};
