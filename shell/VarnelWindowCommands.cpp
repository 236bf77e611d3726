// The commands the main window carries out itself: the window's own layout, the status bar,
// folders, preferences and help.
#include "foundation/Directories.h"
#include "foundation/Report.h"
#include "shell/ActionTable.h"
#include "shell/PreferencesDialog.h"
#include "shell/SettingsFile.h"
#include "shell/ShellPaths.h"
#include "shell/ShellViews.h"
#include "shell/VarnelAction.h"
#include "shell/VarnelWindow.h"
#include <QApplication>
#include <QClipboard>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDir>
#include <QDockWidget>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QStatusBar>
#include <QToolBar>
#include <QVBoxLayout>

namespace {

// Yes/no settings that the build reads, each shown by a checkable command.
struct BuildSetting {
    const char *action;
    const char *key;
};

constexpr BuildSetting buildSettings[] = {
    {"BuildShowCommandLinesOn", "Environment/Build/Show Command Lines"},
    {"BuildAutoBuildBeforeDebug", "Environment/Build/Build Before Debugging"},
    {"BuildShowBuildInformation", "Environment/Build/Show Build Information"},
    {"BuildShowRawErrorOutput", "Environment/Build/Show Raw Error Output"},
};

void openFolder(const QString &folder)
{
    QDir().mkpath(folder);
    if (!openWithDesktop(folder))
        report(ReportChannel::Warning, QStringLiteral("no file manager could be started for %1").arg(folder));
}

} // namespace

const VarnelWindow::CommandRow VarnelWindow::commandRows[] = {
    {"FileExit", &VarnelWindow::fileExit},
    {"FileSaveAllAndExit", &VarnelWindow::fileExit},
    {"FileOpenSolution", &VarnelWindow::fileOpenSolution},
    {"FileCloseSolution", &VarnelWindow::fileCloseSolution},
    {"OpenVarnelDirectory", &VarnelWindow::openInstallationFolder},
    {"OpenVarnelUserDirectory", &VarnelWindow::openUserFolder},
    {"OpenPackagesDirectory", &VarnelWindow::openPackagesFolder},
    {"OpenProjectDirectory", &VarnelWindow::openProjectFolder},
    {"EditClearClipboard", &VarnelWindow::clearClipboard},
    {"ViewFullScreen", &VarnelWindow::toggleFullScreen},
    {"ViewToggleDocks", &VarnelWindow::toggleDocks},
    {"ViewToggleDockTitles", &VarnelWindow::toggleDockTitles},
    {"HideAllToolbars", &VarnelWindow::hideAllToolBars},
    {"ShowAllToolbars", &VarnelWindow::showAllToolBars},
    {"ToggleStatusBar", &VarnelWindow::toggleStatusBar},
    {"HideStatusBar", &VarnelWindow::hideStatusBar},
    {"ShowStatusBar", &VarnelWindow::showStatusBar},
    {"ToggleStatusBarSizeGrip", &VarnelWindow::toggleSizeGrip},
    {"CopyStatusBarMessage", &VarnelWindow::copyStatusMessage},
    {"WindowReverseLayout", &VarnelWindow::reverseLayout},
    {"WindowResetLayout", &VarnelWindow::resetLayout},
    {"RestoreDefaultWindowSettings", &VarnelWindow::restoreDefaultWindowSettings},
    {"RestoreDefaultEnvironmentSettings", &VarnelWindow::restoreDefaultEnvironmentSettings},
    {"ToolOptions", &VarnelWindow::showPreferences},
    {"ToolPreferences", &VarnelWindow::showPreferences},
    {"HelpKeyboardMap", &VarnelWindow::showKeyboardMap},
    {"HelpAbout", &VarnelWindow::showAbout},
    {"HideVarnel", &VarnelWindow::minimize},
};

void VarnelWindow::connectCommands()
{
    for (const CommandRow &row : commandRows)
        addCommand(QLatin1String(row.action), [this, run = row.run] { (this->*run)(); });
    for (const BuildSetting &setting : buildSettings) {
        VarnelAction *toggle = m_byName.value(QLatin1String(setting.action));
        const QString key = QLatin1String(setting.key);
        toggle->setChecked(m_settings->isYes(key));
        addCommand(QLatin1String(setting.action), [this, toggle, key] { m_settings->setYes(key, toggle->isChecked()); });
        connect(m_settings, &SettingsFile::changed, toggle, [this, toggle, key](const QString &changed) {
            if (changed == key)
                toggle->setChecked(m_settings->isYes(key));
        });
    }
}

void VarnelWindow::chooseSchemes(const QString &messageScheme, const QString &keyScheme)
{
    m_settings->setValue(QLatin1String(messageSchemeKey), messageScheme);
    m_settings->setValue(QLatin1String(keySchemeKey), keyScheme);
    m_options.messageScheme.clear();
    m_options.keyScheme.clear();
    applySchemes();
}

void VarnelWindow::fileExit()
{
    close();
}

void VarnelWindow::fileOpenSolution()
{
    const QString start = m_solutionPath.isEmpty() ? documentsDirectory() : QFileInfo(m_solutionPath).absolutePath();
    const QString path = QFileDialog::getOpenFileName(this, QStringLiteral("Open Solution"), start,
                                                      QStringLiteral("Solutions (*.qvProject);;All files (*)"));
    if (!path.isEmpty())
        openSolution(path);
}

void VarnelWindow::fileCloseSolution()
{
    closeSolution();
}

void VarnelWindow::openInstallationFolder()
{
    openFolder(installationDirectory());
}

void VarnelWindow::openUserFolder()
{
    openFolder(ShellPaths::userFolder());
}

void VarnelWindow::openPackagesFolder()
{
    openFolder(ShellPaths::userFile(QStringLiteral("packages")));
}

void VarnelWindow::openProjectFolder()
{
    if (!m_solutionPath.isEmpty())
        openFolder(QFileInfo(m_solutionPath).absolutePath());
}

void VarnelWindow::clearClipboard()
{
    QApplication::clipboard()->clear();
    showStatus(QStringLiteral("The clipboard is empty."));
}

void VarnelWindow::toggleFullScreen()
{
    if (m_byName.value(QStringLiteral("ViewFullScreen"))->isChecked())
        showFullScreen();
    else
        showNormal();
}

void VarnelWindow::toggleDocks()
{
    const QList<QDockWidget *> docks = findChildren<QDockWidget *>(QString(), Qt::FindDirectChildrenOnly);
    bool anyVisible = false;
    for (const QDockWidget *dock : docks)
        anyVisible = anyVisible || dock->isVisible();
    for (QDockWidget *dock : docks) {
        if (anyVisible) {
            dock->setProperty("hiddenByToggle", dock->isVisible());
            dock->hide();
        } else if (dock->property("hiddenByToggle").toBool() || !dock->property("hiddenByToggle").isValid()) {
            dock->show();
        }
    }
}

void VarnelWindow::toggleDockTitles()
{
    const bool titles = m_byName.value(QStringLiteral("ViewToggleDockTitles"))->isChecked();
    for (QDockWidget *dock : findChildren<QDockWidget *>(QString(), Qt::FindDirectChildrenOnly)) {
        QWidget *old = dock->titleBarWidget();
        dock->setTitleBarWidget(titles ? nullptr : new QWidget(dock));
        delete old;
    }
}

void VarnelWindow::hideAllToolBars()
{
    for (QToolBar *bar : findChildren<QToolBar *>(QString(), Qt::FindDirectChildrenOnly))
        bar->hide();
}

void VarnelWindow::showAllToolBars()
{
    for (QToolBar *bar : findChildren<QToolBar *>(QString(), Qt::FindDirectChildrenOnly))
        bar->show();
}

void VarnelWindow::toggleStatusBar()
{
    statusBar()->setVisible(m_byName.value(QStringLiteral("ToggleStatusBar"))->isChecked());
}

void VarnelWindow::hideStatusBar()
{
    statusBar()->hide();
    m_byName.value(QStringLiteral("ToggleStatusBar"))->setChecked(false);
}

void VarnelWindow::showStatusBar()
{
    statusBar()->show();
    m_byName.value(QStringLiteral("ToggleStatusBar"))->setChecked(true);
}

void VarnelWindow::toggleSizeGrip()
{
    statusBar()->setSizeGripEnabled(m_byName.value(QStringLiteral("ToggleStatusBarSizeGrip"))->isChecked());
}

void VarnelWindow::copyStatusMessage()
{
    const QString current = statusBar()->currentMessage();
    QApplication::clipboard()->setText(current.isEmpty() ? m_lastStatus : current);
}

// Dock windows on the left go to the right and the other way round.
void VarnelWindow::reverseLayout()
{
    for (QDockWidget *dock : findChildren<QDockWidget *>(QString(), Qt::FindDirectChildrenOnly)) {
        const Qt::DockWidgetArea area = dockWidgetArea(dock);
        if (area == Qt::LeftDockWidgetArea)
            addDockWidget(Qt::RightDockWidgetArea, dock);
        else if (area == Qt::RightDockWidgetArea)
            addDockWidget(Qt::LeftDockWidgetArea, dock);
    }
}

void VarnelWindow::resetLayout()
{
    restoreState(m_defaultState);
}

void VarnelWindow::restoreDefaultWindowSettings()
{
    m_settings->clear(QStringLiteral("Window/"));
    showNormal();
    resize(1100, 720);
    restoreState(m_defaultState);
    for (QLabel *pane : std::as_const(m_statusPanes))
        pane->show();
    statusBar()->show();
    syncToggles();
    saveSettings();
}

void VarnelWindow::restoreDefaultEnvironmentSettings()
{
    const auto answer = QMessageBox::question(this, QStringLiteral("Restore Default Environment Settings"),
                                              QStringLiteral("Set every environment setting back to its default? "
                                                             "The recent solutions are kept."));
    if (answer != QMessageBox::Yes)
        return;
    const QStringList recent = m_settings->list(QLatin1String(recentSolutionsKey));
    m_settings->clear(QStringLiteral("Environment/"));
    m_settings->setList(QLatin1String(recentSolutionsKey), recent);
    m_options.messageScheme.clear();
    m_options.keyScheme.clear();
    applySchemes();
    syncToggles();
    saveSettings();
}

void VarnelWindow::showPreferences()
{
    PreferencesDialog dialog(this);
    dialog.exec();
}

void VarnelWindow::showKeyboardMap()
{
    QDialog dialog(this);
    dialog.setWindowTitle(QStringLiteral("Keyboard Map"));
    auto *text = new QPlainTextEdit(&dialog);
    text->setReadOnly(true);
    text->setLineWrapMode(QPlainTextEdit::NoWrap);
    text->setFont(QFont(QStringLiteral("monospace")));
    text->setPlainText(QStringLiteral("Command\tKeys\tMenu\tText\n") + ShellViews::keyMapText(*this));
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close, &dialog);
    connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    auto *layout = new QVBoxLayout(&dialog);
    layout->addWidget(text);
    layout->addWidget(buttons);
    dialog.resize(900, 600);
    dialog.exec();
}

void VarnelWindow::showAbout()
{
    QMessageBox::about(this, QStringLiteral("About Tessmark"),
                       QStringLiteral("<h3>Tessmark %1</h3><p>An integrated development environment for "
                                      "embedded targets on Linux.</p><p>Installed in %2</p>")
                           .arg(QApplication::applicationVersion(), QDir::toNativeSeparators(installationDirectory())));
}

void VarnelWindow::minimize()
{
    showMinimized();
}
