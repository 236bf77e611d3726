#pragma once
#include "shell/KeyMap.h"
#include <QHash>
#include <QKeySequence>
#include <QString>
#include <QWidget>

class Actions;
class QKeySequenceEdit;
class QLabel;
class QListWidget;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

// Key editing: the actions grouped by their menu path, the keys of the chosen one, and a field
// to type a sequence. Assign adds the typed sequence to the action unless another action uses
// it (or a sequence that starts or extends it); Remove drops the chosen key; Reset puts back
// the scheme's keys; Check lists the actions that use the typed sequence. The widget works on
// its own copy of the key map; save() writes the user's keys, which the dialog does on accept.
class KeyboardShortcutsWidget : public QWidget {
    Q_OBJECT
public:
    KeyboardShortcutsWidget(const KeyMap &keys, const Actions &actions,
                            const QHash<QString, QString> &menuPaths, QWidget *parent = nullptr);

    [[nodiscard]] const KeyMap &keyMap() const { return m_keys; }
    [[nodiscard]] QString currentAction() const;
    bool selectAction(const QString &name);
    // The sequence Assign and Check work on, as if typed.
    void setTypedSequence(const QKeySequence &sequence);
    void selectKey(int row);
    [[nodiscard]] QString statusText() const;
    [[nodiscard]] bool isChanged() const { return m_changed; }
    // Writes the user's keys to `path` through a temporary file.
    bool save(const QString &path, QString *message) const;

signals:
    void changed();

public slots:
    void actionChanged();
    void keySequenceChanged(QString text);
    void removeClicked();
    void assignClicked();
    void resetClicked();
    void checkClicked();

private:
    void showKeys();
    [[nodiscard]] QString describe(const QString &action) const;
    [[nodiscard]] QTreeWidgetItem *itemOf(const QString &action) const;

    KeyMap m_keys;
    QHash<QString, QString> m_texts;   // action name to its label, for messages
    QHash<QString, QTreeWidgetItem *> m_items;
    QTreeWidget *m_tree;
    QListWidget *m_assigned;
    QKeySequenceEdit *m_edit;
    QPushButton *m_assign;
    QPushButton *m_remove;
    QPushButton *m_reset;
    QPushButton *m_check;
    QLabel *m_status;
    QKeySequence m_typed;
    bool m_changed = false;
};
