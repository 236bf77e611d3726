#pragma once
#include "foundation/XMLDocument.h"
#include <QHash>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <vector>

class QAction;
class SchemeFile;

// What the user reads: the texts of the actions and the content of the menus, from a message
// scheme. A scheme file's root is `messagescheme`; each `messagescheme` element with a `name`,
// the root included, is a scheme. A scheme extends its base, the one named by its `base`
// attribute and, for a scheme of the user's file, the installed scheme of the same name: the
// base's menus and texts come first and the scheme's own go over them. A definemenu that
// extends a menu inserts its entries after or before the entry of the menu that has the name
// given by insert-after or insert-before (an item, or a submenu or placeholder), or appends
// them when there is no such entry. A merged menu holds at most maxMenuEntries entries, as many
// as the builder shows.
class MessageScheme {
public:
    static constexpr const char *rootName = "messagescheme";
    static constexpr int maxMenuEntries = 1000;

    // The texts of one action; an empty member was not given.
    struct Texts {
        QString text;        // label and tool tip
        QString menuText;    // label in menus, when it differs
        QString statusTip;
        QString whatsThis;   // "\n" in the file is a line break here
        // Which of the four the scheme gave; a given empty text clears the base's.
        bool hasText = false;
        bool hasMenuText = false;
        bool hasStatusTip = false;
        bool hasWhatsThis = false;
    };

    MessageScheme();
    ~MessageScheme();
    MessageScheme(const MessageScheme &) = delete;
    MessageScheme &operator=(const MessageScheme &) = delete;

    // Reads the installed file and, when `userPath` names an existing file, the user's file over
    // it, and merges the scheme `name` (the first scheme of the installed file when empty or
    // unknown). False when the installed file did not load: the scheme is then empty and the
    // built-in texts stay. messages() tells what went wrong either way.
    bool load(const QString &installedPath, const QString &userPath, const QString &name);

    [[nodiscard]] const QStringList &messages() const { return m_messages; }
    [[nodiscard]] bool isLoaded() const { return m_loaded; }
    [[nodiscard]] QString name() const { return m_name; }   // the scheme in force
    [[nodiscard]] QStringList schemeNames() const;           // every scheme of both files

    // The merged `definemenu` of that name, or null.
    [[nodiscard]] const XMLElement *menuDefinition(const QString &menu) const;
    [[nodiscard]] QStringList menuNames() const;
    [[nodiscard]] const XMLElement *menus() const { return m_menuDocument->root(); }
    // The texts given for an action, merged over the scheme's bases; null when none.
    [[nodiscard]] const Texts *texts(const QString &action) const;
    [[nodiscard]] QStringList textNames() const { return m_textOrder; }

    // Sets the texts on every action `resolve` finds (names with a dot stand for
    // object.child); names it cannot find are skipped. Returns how many were set.
    int applyTexts(const std::function<QAction *(const QString &)> &resolve) const;
    static void applyTexts(QAction *action, const Texts &texts);

private:
    void collectLayers(const XMLElement *scheme, const SchemeFile *document,
                       std::vector<const XMLElement *> &layers, QStringList &seen);
    [[nodiscard]] static const XMLElement *findScheme(const SchemeFile *document, const QString &name);
    void note(const QString &message);
    void mergeLayer(const XMLElement *layer);
    void mergeMenu(const XMLElement *definition);
    void mergeList(const XMLElement *list, const char *defaultMenu);
    void mergeTexts(const XMLElement *item);
    [[nodiscard]] XMLElement *menuElement(const QString &name);
    // Whether the merged menu takes another entry (counting it); says once when it is full.
    bool hasRoom(const XMLElement *menu);

    std::unique_ptr<SchemeFile> m_installed;
    std::unique_ptr<SchemeFile> m_user;
    std::unique_ptr<XMLDocument> m_menuDocument;   // root <menus>: the merged definemenu elements
    QHash<QString, XMLElement *> m_menuIndex;
    QHash<const XMLElement *, int> m_menuSizes;   // entries of each merged menu
    // Where the last clone went behind an insert-after point, so that two definitions at one
    // point keep the order in which they were read.
    QHash<const XMLNode *, XMLNode *> m_lastInsertedAfter;
    QHash<QString, Texts> m_texts;
    QStringList m_textOrder;
    QStringList m_messages;
    QString m_name;
    bool m_loaded = false;
};
