#pragma once
#include <QHash>
#include <QString>
#include <vector>

class KeyMap;
class QMainWindow;
class VarnelWindow;

// Text views of a built window, for `tess shell` and the Keyboard Map: the same code serves the
// screen and the headless listings.
namespace ShellViews {

struct Entry {
    QString path;   // object names from the menu bar or tool bar down, "/"-separated
    QString text;   // as shown, with its mnemonic
    QString keys;   // portable text, "; "-separated
    QString state;  // "enabled", "disabled", "menu", "separator", "widget"
};

// Every entry of the menu bar and the tool bars, in order, submenus after their entry.
[[nodiscard]] std::vector<Entry> menuTree(const QMainWindow &window);
// One line per entry: path, text, keys and state separated by tabs.
[[nodiscard]] QString menuTreeText(const QMainWindow &window);
// The first menu path of each action that is in a menu: "File/Recent Solutions".
[[nodiscard]] QHash<QString, QString> actionMenuPaths(const QMainWindow &window);
// Each action with keys in force, with its keys, menu path and text; then the clashes.
[[nodiscard]] QString keyMapText(const VarnelWindow &window);
// A menu title or action text without its mnemonic marks.
[[nodiscard]] QString plainText(const QString &text);

} // namespace ShellViews
