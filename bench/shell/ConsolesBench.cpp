// Runs a script file in the main window's console the way ScriptRun does (JavaScript for .js,
// Forth for .fs) and prints how long the run took until its output was on the screen, in
// milliseconds, and the lines the console then held. With --headless it runs the same file in
// the same process as `tess js` / `tess forth` do, its output written to standard output, and
// prints the time on standard error: the floor the console is measured against.
#include "script/forth/ScriptEngine.h"
#include "script/host/HostServices.h"
#include "script/host/VarnelScriptSystem.h"
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

class StdoutMessages : public ForthScriptMessageInterface {
public:
    void type(const QString &text) override { std::fputs(text.toUtf8().constData(), stdout); }
    void error(const QString &text) override { std::fprintf(stderr, "%s\n", text.toUtf8().constData()); }
};

bool runHeadless(const QString &path, const QString &text)
{
    if (!path.endsWith(QLatin1String(".js"))) {
        StdoutMessages messages;
        ScriptEngine engine(&messages);
        return !engine.evaluateText(text, path);
    }
    VarnelScriptSystem system;
    system.setReporter([](const QString &, const QString &message) {
        std::fprintf(stderr, "%s\n", message.toUtf8().constData());
    });
    HostServices services;
    services.system = &system;
    services.output = [](const QString &line) { std::fprintf(stdout, "%s\n", line.toUtf8().constData()); };
    system.setHostHook([&services](MyESContext &context) { installHostClasses(context, services); });
    QStringList results;
    return system.evaluate(text, path, false, results);
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const bool headless = argc == 3 && qstrcmp(argv[1], "--headless") == 0;
    if (argc != 2 && !headless) {
        std::fprintf(stderr, "usage: consoles-bench [--headless] SCRIPT.js|SCRIPT.fs\n");
        return 2;
    }
    const QString path = QString::fromLocal8Bit(argv[argc - 1]);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "consoles-bench: %s: %s\n", qPrintable(path), qPrintable(file.errorString()));
        return 1;
    }
    if (headless) {
        const QString text = QString::fromUtf8(file.readAll());
        QElapsedTimer timer;
        timer.start();
        const bool ok = runHeadless(path, text);
        std::fflush(stdout);
        std::fprintf(stderr, "%.1f ms\n", double(timer.nsecsElapsed()) / 1e6);
        return ok ? 0 : 1;
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
