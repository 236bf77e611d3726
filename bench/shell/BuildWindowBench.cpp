// The build in the window: opens a solution in a main window, carries out a build action and
// waits for its end, as a user does; optionally feeds the build log a number of diagnostic lines
// with the dock on screen, and saves a picture of the window.
//   build-window-bench --bin BIN [SOLUTION] [--action NAME] [--jobs N] [--log-lines N]
//                      [--screenshot FILE]
#include "buildengine/BuildLog.h"
#include "foundation/Directories.h"
#include "foundation/MacroSession.h"
#include "shell/BuildLogModel.h"
#include "shell/BuildViews.h"
#include "shell/SettingsFile.h"
#include "shell/ShellPaths.h"
#include "shell/VarnelAction.h"
#include "shell/VarnelWindow.h"
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileInfo>
#include <QLabel>
#include <QPixmap>
#include <QTimer>
#include <QTreeView>
#include <cstdio>

namespace {

struct Options {
    QString bin;
    QString solution;
    QString action = QStringLiteral("BuildRebuildSolution");
    QString jobs;
    QString screenshot;
    long logLines = 0;
};

bool readOptions(const QStringList &arguments, Options &options)
{
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        const bool hasValue = i + 1 < arguments.size();
        if (argument == QLatin1String("--bin") && hasValue)
            options.bin = arguments.at(++i);
        else if (argument == QLatin1String("--action") && hasValue)
            options.action = arguments.at(++i);
        else if (argument == QLatin1String("--jobs") && hasValue)
            options.jobs = arguments.at(++i);
        else if (argument == QLatin1String("--screenshot") && hasValue)
            options.screenshot = arguments.at(++i);
        else if (argument == QLatin1String("--log-lines") && hasValue)
            options.logLines = arguments.at(++i).toLong();
        else if (!argument.startsWith(u'-') && options.solution.isEmpty())
            options.solution = argument;
        else
            return false;
    }
    return !options.bin.isEmpty();
}

QString diagnosticLines(long first, long count)
{
    QString text;
    for (long i = first; i < first + count; ++i)
        text += QStringLiteral("/src/module%1.c:%2:%3: %4: value %5 is out of range\n")
                    .arg(i % 97)
                    .arg(i % 5000 + 1)
                    .arg(i % 80 + 1)
                    .arg(i % 3 ? QStringLiteral("warning") : QStringLiteral("error"))
                    .arg(i);
    return text;
}

// The log alone, then the log with its dock on screen, each fed `count` lines in the batches a
// tool's output arrives in. Prints both times.
void measureLog(BuildViews &views, long count)
{
    constexpr long batch = 1000;
    QElapsedTimer timer;
    {
        BuildLog headless;
        timer.start();
        for (long at = 0; at < count; at += batch)
            headless.processOutput(diagnosticLines(at, qMin(batch, count - at)));
        std::printf("log append, headless BuildLog: %ld lines %.1f ms\n", count,
                    double(timer.nsecsElapsed()) / 1e6);
    }
    views.showLog();
    views.model()->clear();
    views.log()->beginGroup(QStringLiteral("Compiling module.c"));
    QElapsedTimer sinceRefresh;
    timer.start();
    sinceRefresh.start();
    for (long at = 0; at < count; at += batch) {
        views.log()->processOutput(diagnosticLines(at, qMin(batch, count - at)));
        if (sinceRefresh.elapsed() >= BuildViews::refreshMilliseconds) {
            views.model()->flush();
            QCoreApplication::processEvents();
            sinceRefresh.restart();
        }
    }
    views.model()->flush();
    views.view()->expandAll();
    views.view()->scrollToBottom();
    views.view()->viewport()->repaint();
    std::printf("log append, window log shown: %ld lines %.1f ms (%d rows below the group)\n", count,
                double(timer.nsecsElapsed()) / 1e6,
                views.model()->rowCount(views.model()->index(0, 0)));
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    Options options;
    if (!readOptions(application.arguments(), options)) {
        std::fprintf(stderr, "usage: build-window-bench --bin BIN [SOLUTION] [--action NAME] [--jobs N] "
                             "[--log-lines N] [--screenshot FILE]\n");
        return 2;
    }
    setUpProgramDirectories();
    // The tools are those of the installation measured, not of this program's folder.
    setInstallationDirectory(QFileInfo(options.bin + QStringLiteral("/..")).canonicalFilePath());
    SettingsFile settings;
    QString problem;
    settings.load(ShellPaths::settingsFile(), &problem);
    if (!options.jobs.isEmpty())
        settings.setValue(QLatin1String(BuildViews::threadsKey), options.jobs);
    VarnelWindow window(&settings, VarnelWindow::Options());
    window.resize(1100, 720);
    window.show();
    BuildViews &views = *window.buildViews();
    int code = 0;
    if (!options.solution.isEmpty()) {
        if (!window.openSolution(QFileInfo(options.solution).absoluteFilePath()))
            return 1;
        VarnelAction *action = window.action(options.action);
        if (!action) {
            std::fprintf(stderr, "build-window-bench: no action %s\n", qPrintable(options.action));
            return 2;
        }
        QEventLoop loop;
        int result = -1;
        QObject::connect(&views, &BuildViews::buildFinished, &loop, [&](int value) {
            result = value;
            loop.quit();
        });
        QElapsedTimer timer;
        timer.start();
        action->trigger();
        if (views.isBuilding())
            loop.exec();
        const auto *errors = window.findChild<QLabel *>(QStringLiteral("BuildErrorsPane"));
        const auto *warnings = window.findChild<QLabel *>(QStringLiteral("BuildWarningsPane"));
        std::printf("window build: %.1f ms, %s, %s, %s\n", double(timer.nsecsElapsed()) / 1e6,
                    qPrintable(views.lastStatus()), qPrintable(errors->text()),
                    qPrintable(warnings->text()));
        code = result >= 2 || result < 0 ? 1 : 0;
    }
    if (options.logLines > 0)
        measureLog(views, options.logLines);
    if (!options.screenshot.isEmpty()) {
        QCoreApplication::processEvents();
        QDir().mkpath(QFileInfo(options.screenshot).absolutePath());
        if (!window.grab().save(options.screenshot, "PNG")) {
            std::fprintf(stderr, "build-window-bench: cannot write %s\n", qPrintable(options.screenshot));
            return 1;
        }
    }
    return code;
}
