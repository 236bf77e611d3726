#pragma once
#include <QDialog>
#include <QString>
#include <QStringList>

class KeyboardShortcutsWidget;
class QComboBox;
class VarnelWindow;

// The environment's preferences: which message and key schemes are in force, and the keyboard
// assignments. Accepting writes the user's keys and, when the schemes changed, rebuilds the
// menus with the new ones.
class PreferencesDialog : public QDialog {
    Q_OBJECT
public:
    explicit PreferencesDialog(VarnelWindow *window);

    [[nodiscard]] KeyboardShortcutsWidget *shortcuts() const { return m_shortcuts; }
    [[nodiscard]] QComboBox *messageSchemes() const { return m_messageSchemes; }
    [[nodiscard]] QComboBox *keySchemes() const { return m_keySchemes; }

    // Carries out what the dialog holds; false, with the reason, when the keys could not be
    // written (the keys in force stay as they were).
    bool apply(QString *message);

    void accept() override;

private:
    VarnelWindow *m_window;
    KeyboardShortcutsWidget *m_shortcuts;
    QComboBox *m_messageSchemes;
    QComboBox *m_keySchemes;
};
