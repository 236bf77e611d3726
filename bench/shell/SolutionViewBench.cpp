// Opening a solution in the main window until its tree is laid out and painted, measured in
// process. The window is built once beforehand, as it is when a user opens a solution; each
// round opens the solution, lays out the rows the explorer shows and paints them, then closes it.
//
// usage: shell-solution-bench FILE [--runs N] [--once]
//   --once  build the window, open FILE, paint the tree and end (for a whole-process timing)
#include "projects/ProjectElement.h"
#include "projects/SolutionSession.h"
#include "shell/ProjectTreeModel.h"
#include "shell/ProjectViews.h"
#include "shell/SettingsFile.h"
#include "shell/VarnelWindow.h"
#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTreeView>
#include <algorithm>
#include <cstdio>
#include <vector>

namespace
{

// Opens the solution and brings the explorer to the screen: every top-level row laid out, the
// visible rows painted. False when the solution did not open.
bool openAndShow(VarnelWindow &window, const QString &path)
{
    if (!window.openSolution(path))
        return false;
    QTreeView *tree = window.projectViews()->tree();
    const ProjectTreeModel *model = window.projectViews()->model();
    const QModelIndex top = model->index(0, 0);
    (void)tree->visualRect(model->index(model->rowCount(top) - 1, 0, top));
    tree->viewport()->repaint();
    QCoreApplication::processEvents();
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // Settings and recent solutions of the benchmark's own, never the user's.
    QTemporaryDir home;
    qputenv("HOME", home.path().toLocal8Bit());
    QApplication application(argc, argv);
    const QStringList arguments = application.arguments().mid(1);
    QString file;
    int runs = 15;
    bool once = false;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == QLatin1String("--runs") && i + 1 < arguments.size())
            runs = std::max(1, arguments[++i].toInt());
        else if (arguments[i] == QLatin1String("--once"))
            once = true;
        else
            file = arguments[i];
    }
    if (file.isEmpty()) {
        std::fprintf(stderr, "usage: shell-solution-bench FILE [--runs N] [--once]\n");
        return 2;
    }
    SettingsFile settings;
    QString problem;
    settings.load(home.filePath(QStringLiteral("settings.xml")), &problem);
    VarnelWindow window(&settings, {});
    window.show();
    QCoreApplication::processEvents();
    if (once)
        return openAndShow(window, file) ? 0 : 1;
    // The project system's share: the same file loaded as the window loads it, without a window.
    std::vector<double> loads;
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer timer;
        timer.start();
        SolutionSession session;
        SolutionSession::LoadOptions options;
        options.expandMacros = false;
        session.load(file, options);
        loads.push_back(double(timer.nsecsElapsed()) / 1e6);
    }
    std::sort(loads.begin(), loads.end());
    std::vector<double> times;
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer timer;
        timer.start();
        if (!openAndShow(window, file)) {
            std::fprintf(stderr, "shell-solution-bench: %s did not open\n", qPrintable(file));
            return 1;
        }
        times.push_back(double(timer.nsecsElapsed()) / 1e6);
        window.closeSolution();
        QCoreApplication::processEvents();
    }
    std::sort(times.begin(), times.end());
    std::printf(
        "open and show in the window: median %.1f ms, min %.1f ms, max %.1f ms over %d runs\n",
        times[times.size() / 2], times.front(), times.back(), runs);
    std::printf("of which loading the solution: median %.1f ms\n", loads[loads.size() / 2]);
    return 0;
}
