#include "shell/PreferencesDialog.h"
#include "shell/KeyboardShortcutsWidget.h"
#include "shell/MessageScheme.h"
#include "shell/ShellViews.h"
#include "shell/VarnelWindow.h"
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QMessageBox>
#include <QTabWidget>
#include <QVBoxLayout>

PreferencesDialog::PreferencesDialog(VarnelWindow *window) : QDialog(window), m_window(window)
{
    setWindowTitle(QStringLiteral("Preferences"));
    setObjectName(QStringLiteral("PreferencesDialog"));
    auto *tabs = new QTabWidget(this);

    auto *schemes = new QWidget(tabs);
    auto *form = new QFormLayout(schemes);
    m_messageSchemes = new QComboBox(schemes);
    m_messageSchemes->addItems(window->messageScheme()->schemeNames());
    m_messageSchemes->setCurrentText(window->messageScheme()->name());
    m_keySchemes = new QComboBox(schemes);
    m_keySchemes->addItems(window->keyMap().schemeNames());
    m_keySchemes->setCurrentText(window->keyMap().schemeName());
    form->addRow(QStringLiteral("&Menus and texts:"), m_messageSchemes);
    form->addRow(QStringLiteral("&Keyboard scheme:"), m_keySchemes);
    tabs->addTab(schemes, QStringLiteral("Schemes"));

    m_shortcuts = new KeyboardShortcutsWidget(window->keyMap(), *window->actions(),
                                              ShellViews::actionMenuPaths(*window), tabs);
    tabs->addTab(m_shortcuts, QStringLiteral("Keyboard"));

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(tabs);
    layout->addWidget(buttons);
    resize(760, 620);
}

bool PreferencesDialog::apply(QString *message)
{
    if (m_shortcuts->isChanged() && !m_shortcuts->save(m_window->userKeysPath(), message))
        return false;
    const QString messageScheme = m_messageSchemes->currentText();
    const QString keyScheme = m_keySchemes->currentText();
    const bool schemesChanged = messageScheme != m_window->messageScheme()->name()
                                || keyScheme != m_window->keyMap().schemeName();
    if (schemesChanged)
        m_window->chooseSchemes(messageScheme, keyScheme);
    else if (m_shortcuts->isChanged())
        m_window->applySchemes();
    m_window->saveSettings();
    return true;
}

void PreferencesDialog::accept()
{
    QString message;
    if (!apply(&message)) {
        QMessageBox::warning(this, QStringLiteral("Preferences"),
                             QStringLiteral("The keyboard assignments were not saved: %1").arg(message));
        return;
    }
    QDialog::accept();
}
