// Times the editor view on a large file, in process on the offscreen platform:
//   open FILE [RUNS]   load the file into a new view and paint its first screen, RUNS times
//   type FILE [KEYS]   a key typed in the middle of the file, each to the next paint
//   scroll FILE        Page Down from the top to the bottom, each page to the next paint
// Each prints one line: the step's name, the median, the largest and the count, in
// milliseconds, then the lines in sight.
#include "editor/CodeEdit.h"
#include "foundation/Path.h"
#include "shell/CodeEditView.h"
#include <QApplication>
#include <QElapsedTimer>
#include <QTest>
#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

namespace {

constexpr int viewWidth = 1000;
constexpr int viewHeight = 700;

struct Figures {
    double median = 0;
    double largest = 0;
    size_t count = 0;
};

Figures figuresOf(std::vector<double> values)
{
    Figures figures;
    figures.count = values.size();
    if (values.empty())
        return figures;
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    figures.median = values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
    figures.largest = values.back();
    return figures;
}

void print(const char *step, const std::vector<double> &values, int lines)
{
    const Figures figures = figuresOf(values);
    std::printf("%s median %.3f max %.3f count %zu lines %d\n", step, figures.median, figures.largest, figures.count, lines);
}

double millisecondsSince(const QElapsedTimer &timer)
{
    return double(timer.nsecsElapsed()) / 1e6;
}

// A shown view with the file in it, painted once.
std::unique_ptr<CodeEditView> openView(const QString &path)
{
    auto view = std::make_unique<CodeEditView>();
    view->resize(viewWidth, viewHeight);
    view->show();
    if (!QTest::qWaitForWindowExposed(view.get())) {
        std::fprintf(stderr, "shell-editor-bench: the view was never shown\n");
        return nullptr;
    }
    if (!view->edit().load(Path(path))) {
        std::fprintf(stderr, "shell-editor-bench: cannot load %s\n", qPrintable(path));
        return nullptr;
    }
    view->chooseSyntaxForFile(path);
    view->documentReset();
    view->viewport()->repaint();
    return view;
}

int openSteps(const QString &path, int runs)
{
    std::vector<double> times;
    int lines = 0;
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer timer;
        timer.start();
        std::unique_ptr<CodeEditView> view = openView(path);
        if (!view)
            return 1;
        times.push_back(millisecondsSince(timer));
        lines = view->linesPaintedLastTime();
    }
    print("open", times, lines);
    return 0;
}

int typeSteps(const QString &path, int keys)
{
    std::unique_ptr<CodeEditView> view = openView(path);
    if (!view)
        return 1;
    const int middle = view->edit().numberOfLines() / 2;
    view->setFocus();
    view->goToLine(middle);
    view->viewport()->repaint();
    std::vector<double> times;
    for (int key = 0; key < keys; ++key) {
        // Words and spaces in turn, so the undo grouping merges and breaks as in real typing.
        const char character = key % 6 == 5 ? ' ' : char('a' + key % 26);
        QElapsedTimer timer;
        timer.start();
        QTest::keyClick(view.get(), character);
        view->viewport()->repaint();
        times.push_back(millisecondsSince(timer));
    }
    print("type", times, view->linesPaintedLastTime());
    return 0;
}

int scrollSteps(const QString &path)
{
    std::unique_ptr<CodeEditView> view = openView(path);
    if (!view)
        return 1;
    view->setFocus();
    const int last = view->edit().numberOfLines() - 1;
    std::vector<double> times;
    times.reserve(size_t(last / std::max(1, view->visibleLines() - 1) + 1));
    while (view->caretPosition().line < last) {
        const int before = view->caretPosition().line;
        QElapsedTimer timer;
        timer.start();
        QTest::keyClick(view.get(), Qt::Key_PageDown);
        view->viewport()->repaint();
        times.push_back(millisecondsSince(timer));
        if (view->caretPosition().line <= before) {
            std::fprintf(stderr, "shell-editor-bench: Page Down stopped at line %d\n", before + 1);
            return 1;
        }
    }
    print("scroll", times, view->linesPaintedLastTime());
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() < 3) {
        std::fprintf(stderr, "usage: shell-editor-bench open|type|scroll FILE [COUNT]\n");
        return 2;
    }
    const QString step = arguments[1];
    const QString path = arguments[2];
    const int count = arguments.size() > 3 ? std::max(1, arguments[3].toInt()) : 0;
    if (step == QLatin1String("open"))
        return openSteps(path, count ? count : 5);
    if (step == QLatin1String("type"))
        return typeSteps(path, count ? count : 500);
    if (step == QLatin1String("scroll"))
        return scrollSteps(path);
    std::fprintf(stderr, "shell-editor-bench: no step '%s' (open, type or scroll)\n", qPrintable(step));
    return 2;
}
