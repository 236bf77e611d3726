// Runs a script file in the main window's console the way ScriptRun does (JavaScript for .js,
// Forth for .fs) and prints how long the run took until its output was on the screen, in
// milliseconds, and the lines the console then held.
#include "shell/ConsoleViews.h"
#include "shell/ConsoleWidget.h"
#include "shell/DocumentHost.h"
#include "shell/FSConsole.h"
#include "shell/JavaScriptConsole.h"
#include "shell/SettingsFile.h"
#include "shell/ShellPaths.h"
#include "shell/VarnelWindow.h"
#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QPlainTextEdit>
#include <cstdio>

namespace {

class OneDocument : public DocumentHost {
public:
    OneDocument(QString path, QString text) : m_path(std::move(path)), m_text(std::move(text)) {}
    bool openDocument(const QString &, int, int) override { return false; }
    EditCommandInterface *currentEditor() const override { return reinterpret_cast<EditCommandInterface *>(1); }
    QString currentPath() const override { return m_path; }
    QString currentText() const override { return m_text; }
    QStringList openPaths() const override { return {m_path}; }
    bool saveAll() override { return true; }

private:
    QString m_path;
    QString m_text;
};

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: consoles-bench SCRIPT.js|SCRIPT.fs\n");
        return 2;
    }
    const QString path = QString::fromLocal8Bit(argv[1]);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "consoles-bench: %s: %s\n", argv[1], qPrintable(file.errorString()));
        return 1;
    }
    OneDocument document(path, QString::fromUtf8(file.readAll()));
    SettingsFile settings;
    QString problem;
    settings.load(ShellPaths::settingsFile(), &problem);
    VarnelWindow window(&settings, VarnelWindow::Options{});
    window.show();
    QCoreApplication::processEvents();
    ConsoleViews *views = window.consoleViews();
    views->setDocuments(&document);
    const bool javaScript = path.endsWith(QLatin1String(".js"));
    ConsoleWidget *console = javaScript ? static_cast<ConsoleWidget *>(views->javaScriptConsole())
                                        : static_cast<ConsoleWidget *>(views->forthConsole());
    QElapsedTimer timer;
    timer.start();
    const bool ok = views->runCurrentDocument();
    console->flush();
    console->output()->viewport()->repaint();
    const double milliseconds = double(timer.nsecsElapsed()) / 1e6;
    std::printf("%.1f ms, %d lines\n", milliseconds, console->output()->document()->blockCount());
    return ok ? 0 : 1;
}
