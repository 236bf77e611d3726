// Feeds arbitrary bytes to everything of the shell that reads files or messages from outside:
// the single-instance hand-over message, a message scheme, a key scheme and a user's
// keyboard.xml, and a window description built by the GUI builder over that scheme. Runs on the
// offscreen platform; the window and its actions are made once.
#include "foundation/Report.h"
#include "shell/Actions.h"
#include "shell/GUIBuilder.h"
#include "shell/KeyMap.h"
#include "shell/MessageScheme.h"
#include "shell/SchemeFile.h"
#include "shell/VarnelAction.h"
#include "shell/VarnelApplication.h"
#include <QApplication>
#include <QFile>
#include <QMainWindow>
#include <QMenuBar>
#include <QTemporaryDir>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace {

struct Shell {
    std::unique_ptr<QApplication> application;
    Actions actions;
    QMainWindow window;
    GUIBuilder builder;
    QTemporaryDir scratch;
};

Shell &shell()
{
    static Shell *made = [] {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        static int argc = 1;
        static char name[] = "shell_fuzzer";
        static char *argv[] = {name, nullptr};
        auto *application = new QApplication(argc, argv);
        auto *shell = new Shell;
        shell->application.reset(application);
        for (const char *action : {"FileSave", "FileExit", "EditCopy", "BuildBuildSolution", "DebugStart"})
            new VarnelAction(&shell->window, &shell->window, QLatin1String(action));
        shell->builder.setMenuOwner(&shell->window);
        shell->builder.registerObject(QStringLiteral("Window"), &shell->window);
        setReportMask(0);
        return shell;
    }();
    return *made;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Shell &state = shell();
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    QStringList paths;
    (void)VarnelApplication::decodeHandOver(bytes, &paths);

    const QString path = state.scratch.filePath(QStringLiteral("input.xml"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return 0;
    file.write(bytes);
    file.close();

    MessageScheme scheme;
    const bool loaded = scheme.load(path, path, QStringLiteral("S"));
    KeyMap keys;
    keys.setDefaultKeys(QStringLiteral("FileSave"), {QKeySequence(QStringLiteral("Ctrl+S"))});
    keys.loadScheme(path, QString());
    keys.loadUser(path);
    (void)keys.clashes();

    QStringList problems;
    const std::unique_ptr<SchemeFile> description = SchemeFile::read(path, nullptr, &problems);
    state.builder.clear();
    state.builder.clearMessages();
    state.window.menuBar()->clear();
    state.builder.setMessageScheme(loaded ? &scheme : nullptr);
    if (description)
        state.builder.buildWindow(&state.window, description->root());
    state.builder.setMessageScheme(nullptr);
    return 0;
}
