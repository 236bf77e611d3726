// tessmark: the IDE's main window. A second `tessmark FILE` hands its files to the instance
// already running for the user and ends; `--print` and `--check` build everything without a
// screen and print what was built, for `tess shell`.
#include "foundation/Directories.h"
#include "foundation/MacroSession.h"
#include "foundation/PropertyClass.h"
#include "foundation/Report.h"
#include "shell/ConsoleViews.h"
#include "shell/GUIBuilder.h"
#include "shell/MessageLog.h"
#include "shell/MessageScheme.h"
#include "shell/SchemeFile.h"
#include "shell/SettingsFile.h"
#include "shell/ShellPaths.h"
#include "shell/ShellViews.h"
#include "shell/VarnelApplication.h"
#include "shell/VarnelWindow.h"
#include <QDir>
#include <QFile>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QMenuBar>
#include <QPainter>
#include <QScreen>
#include <QTimer>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>

namespace {

constexpr int exitSuccess = 0;
constexpr int exitFailure = 1;
constexpr int exitUsage = 2;

const char usage[] = "usage: tessmark [SOLUTION] [FILE...] [--new-instance] [--scheme NAME]\n";

const char help[] =
    "The Tessmark IDE. A second tessmark hands its files to the one already running\n"
    "for the user and ends, unless --new-instance is given.\n"
    "\n"
    "options:\n"
    "  --new-instance      run on its own: neither hand over nor take files from others\n"
    "  --scheme NAME       use the message scheme NAME (and the key scheme of that name)\n"
    "  --key-scheme NAME   use the key scheme NAME\n"
    "  --print WHAT        without a screen: print 'menus' or 'keys' and end (tess shell)\n"
    "  --keys FILE         read the user's key assignments from FILE\n"
    "  --check FILE        without a screen: run a window description, message scheme or\n"
    "                      key scheme through the builder, print its messages and end\n"
    "  --timings           print start-up and build times on standard error\n"
    "  --screenshot FILE   save a PNG of the window once painted and end\n"
    "  --open-menu NAME    with --screenshot: open the menu NAME first\n"
    "  --forth TEXT        type TEXT into the Forth console, shown, once the window is up\n"
    "  --quit-after-paint  end once the window has been painted\n"
    "  --help, --version\n";

struct Options {
    QStringList paths;
    bool newInstance = false;
    QString scheme;
    QString keyScheme;
    QString print;
    QString keys;
    QString check;
    QString screenshot;
    QString openMenu;
    QString forth;
    bool timings = false;
    bool quitAfterPaint = false;
};

void write(FILE *to, const QString &text)
{
    const QByteArray bytes = text.toLocal8Bit();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), to);
}

int usageError(const QString &message)
{
    write(stderr, QStringLiteral("tessmark: %1\n").arg(message) + QLatin1String(usage));
    return exitUsage;
}

// GNU-style options; the application object has taken its own (-platform and the like) out.
std::optional<Options> parse(QStringList arguments, QString *error)
{
    Options options;
    const struct {
        const char *name;
        QString Options::*value;
    } valued[] = {
        {"--scheme", &Options::scheme},     {"--key-scheme", &Options::keyScheme},
        {"--print", &Options::print},       {"--keys", &Options::keys},
        {"--check", &Options::check},       {"--screenshot", &Options::screenshot},
        {"--open-menu", &Options::openMenu}, {"--forth", &Options::forth},
    };
    bool optionsEnded = false;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString argument = arguments.at(i);
        if (optionsEnded || !argument.startsWith(QLatin1String("--")) || argument == QLatin1String("-")) {
            options.paths.append(argument);
            continue;
        }
        if (argument == QLatin1String("--")) {
            optionsEnded = true;
            continue;
        }
        const qsizetype equals = argument.indexOf(u'=');
        const QString name = equals < 0 ? argument : argument.left(equals);
        bool known = false;
        for (const auto &option : valued) {
            if (name != QLatin1String(option.name))
                continue;
            known = true;
            if (equals >= 0) {
                options.*option.value = argument.mid(equals + 1);
            } else if (i + 1 < arguments.size()) {
                options.*option.value = arguments.at(++i);
            } else {
                *error = QStringLiteral("option '%1' needs a value").arg(name);
                return std::nullopt;
            }
        }
        if (known)
            continue;
        if (equals < 0 && name == QLatin1String("--new-instance"))
            options.newInstance = true;
        else if (equals < 0 && name == QLatin1String("--timings"))
            options.timings = true;
        else if (equals < 0 && name == QLatin1String("--quit-after-paint"))
            options.quitAfterPaint = true;
        else {
            *error = QStringLiteral("unknown option '%1'").arg(argument);
            return std::nullopt;
        }
    }
    if (!options.print.isEmpty() && options.print != QLatin1String("menus") && options.print != QLatin1String("keys")) {
        *error = QStringLiteral("--print takes 'menus' or 'keys', not '%1'").arg(options.print);
        return std::nullopt;
    }
    return options;
}

bool wants(int argc, char **argv, const char *option)
{
    const size_t length = std::strlen(option);
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--") == 0)
            return false;
        if (std::strncmp(argv[i], option, length) == 0 && (argv[i][length] == 0 || argv[i][length] == '='))
            return true;
    }
    return false;
}

// Whether the X display named by $DISPLAY can be there: a local display needs its socket. Qt
// ends the process when it cannot reach the display, so the shell asks first.
bool displayReachable(QString *why)
{
    if (qEnvironmentVariableIsSet("QT_QPA_PLATFORM") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY"))
        return true;
    const QString display = qEnvironmentVariable("DISPLAY");
    if (display.isEmpty()) {
        *why = QStringLiteral("no display: DISPLAY is not set (tess shell works without one)");
        return false;
    }
    if (display.startsWith(u':')) {
        const QString number = display.mid(1).section(u'.', 0, 0);
        const QString socket = QStringLiteral("/tmp/.X11-unix/X") + number;
        if (!QFileInfo::exists(socket)) {
            *why = QStringLiteral("no display: %1 has no X server (%2 is missing)").arg(display, socket);
            return false;
        }
    }
    return true;
}

// Headless runs print the channels as the tools do and count what was said.
int reportedCount = 0;

void countingSink(ReportChannel channel, const QString &message)
{
    ++reportedCount;
    write(stderr, (channel == ReportChannel::Error ? QStringLiteral("error: ") : QStringLiteral("warning: ")) + message + u'\n');
}

// Builds the menus of the scheme that the description did not reach, so their faults show too.
void buildEveryMenu(VarnelWindow &window)
{
    GUIBuilder *builder = window.builder();
    const MessageScheme *scheme = window.messageScheme();
    for (const QString &name : scheme->menuNames()) {
        if (builder->menu(name))
            continue;
        VarnelPopupMenu scratch(name);
        scratch.setObjectName(name);
        builder->iterateAndPopulate(&scratch, scheme->menuDefinition(name));
    }
}

int check(VarnelWindow &window, const Options &options)
{
    buildEveryMenu(window);
    const qint64 entries = window.builder()->entryCount();
    write(stdout, QStringLiteral("%1: %2 menu entries and tool bar entries built, %3 messages\n")
                      .arg(options.check).arg(entries).arg(reportedCount));
    if (options.timings) {
        write(stdout, QStringLiteral("description built in %1 ms, %2 ms of processor time (schemes, keys and description %3 ms)\n")
                          .arg(window.descriptionMilliseconds(), 0, 'f', 2)
                          .arg(window.descriptionCpuMilliseconds(), 0, 'f', 2)
                          .arg(window.buildMilliseconds(), 0, 'f', 2));
    }
    return reportedCount == 0 ? exitSuccess : exitFailure;
}

// What --check FILE is, by its root.
void aimCheck(const QString &path, VarnelWindow::Options &windowOptions)
{
    QStringList problems;
    const std::unique_ptr<SchemeFile> file = SchemeFile::read(path, nullptr, &problems);
    const char *root = file && file->root() ? file->root()->name() : "";
    if (qstrcmp(root, MessageScheme::rootName) == 0)
        windowOptions.messageSchemePath = path;
    else if (qstrcmp(root, KeyMap::rootName) == 0)
        windowOptions.userKeysPath = path;
    else
        windowOptions.descriptionPath = path;
}

void saveScreenshot(VarnelWindow &window, const Options &options)
{
    QPixmap shot;
    QMenu *menu = options.openMenu.isEmpty() ? nullptr : window.builder()->menu(options.openMenu);
    if (QScreen *screen = window.screen(); screen && QGuiApplication::platformName() == QLatin1String("xcb")) {
        QRect area = window.frameGeometry();
        if (menu && menu->isVisible())
            area = area.united(menu->geometry());
        shot = screen->grabWindow(0, area.x(), area.y(), area.width(), area.height());
    }
    if (shot.isNull()) {
        shot = window.grab();
        if (menu && menu->isVisible()) {
            QPainter painter(&shot);
            painter.drawPixmap(menu->geometry().topLeft() - window.geometry().topLeft(), menu->grab());
        }
    }
    QDir().mkpath(QFileInfo(options.screenshot).absolutePath());
    if (!shot.save(options.screenshot, "PNG")) {
        write(stderr, QStringLiteral("tessmark: cannot write %1\n").arg(options.screenshot));
        QCoreApplication::exit(exitFailure);
        return;
    }
    write(stdout, QStringLiteral("%1: %2x%3\n").arg(options.screenshot).arg(shot.width()).arg(shot.height()));
    QCoreApplication::exit(exitSuccess);
}

// Runs `then` once, right after the window's first paint has finished.
class FirstPaint : public QObject {
public:
    FirstPaint(QWidget *window, std::function<void()> then) : m_then(std::move(then)) { window->installEventFilter(this); }
    bool eventFilter(QObject *object, QEvent *event) override
    {
        if (event->type() == QEvent::Paint && m_then) {
            object->removeEventFilter(this);
            QTimer::singleShot(0, this, std::exchange(m_then, nullptr));
        }
        return false;
    }

private:
    std::function<void()> m_then;
};

// The runtime folder, the platform and the display, before the application object exists. An
// empty text when the window can be made, else why it cannot.
QString prepareEnvironment(bool headless)
{
    // Without a session the runtime folder is unset; Qt then uses this folder and says so on
    // every start, which would litter the output of tess shell.
    if (!qEnvironmentVariableIsSet("XDG_RUNTIME_DIR")) {
        const QString runtime = QDir::tempPath() + QStringLiteral("/runtime-") + qEnvironmentVariable("USER", QStringLiteral("user"));
        if (QDir().mkpath(runtime) && QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner))
            qputenv("XDG_RUNTIME_DIR", runtime.toLocal8Bit());
    }
    if (headless) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        return {};
    }
    QString why;
    return displayReachable(&why) ? QString() : why;
}

// The user's folder beside the installation in the macros the window expands with.
void defineUserFolderMacro(const MacroSession &macros)
{
    macros.macros().defineSystemMacro(QStringLiteral("VarnelUserDir"), ShellPaths::userFolder(),
                                      QStringLiteral("The user's own Tessmark folder."));
}

// The window's schemes and keys from the command line; a checked file stands in for its kind.
VarnelWindow::Options windowOptionsFor(const Options &options)
{
    VarnelWindow::Options windowOptions;
    windowOptions.messageScheme = options.scheme;
    windowOptions.keyScheme = options.keyScheme;
    windowOptions.userKeysPath = options.keys;
    if (!options.check.isEmpty()) {
        aimCheck(options.check, windowOptions);
        reportedCount = 0;   // what the settings said is not the checked file's
    }
    return windowOptions;
}

// Files handed over by a second instance open in this window.
void listenForHandOver(VarnelApplication &application, const QString &instance,
                       VarnelWindow &window)
{
    if (QString problem; !application.listen(instance, &problem))
        report(ReportChannel::Warning, problem);
    QObject::connect(&application, &VarnelApplication::argumentsReceived, &window, [&window](const QStringList &received) {
        if (MessageLog *messages = MessageLog::instance())
            messages->note(QStringLiteral("handed over by another instance: %1").arg(received.join(QStringLiteral(", "))));
        window.openPaths(received);
    });
}

// What --print and --check ask for, once the window is made without a screen.
int runHeadless(VarnelWindow &window, const Options &options)
{
    if (!options.check.isEmpty())
        return check(window, options);
    write(stdout, options.print == QLatin1String("menus") ? ShellViews::menuTreeText(window) : ShellViews::keyMapText(window));
    return exitSuccess;
}

// After the first paint: the timings, the screenshot, or the end the options ask for.
void afterFirstPaint(VarnelWindow &window, const Options &options, double painted)
{
    if (options.timings)
        write(stderr, QStringLiteral("tessmark: first paint after %1 ms\n").arg(painted, 0, 'f', 1));
    if (!options.screenshot.isEmpty()) {
        QMenu *menu = options.openMenu.isEmpty() ? nullptr : window.builder()->menu(options.openMenu);
        if (menu)
            window.menuBar()->setActiveAction(menu->menuAction());
        else if (!options.openMenu.isEmpty())
            write(stderr, QStringLiteral("tessmark: no menu %1\n").arg(options.openMenu));
        // A menu needs a moment to open before the picture is taken.
        QTimer::singleShot(menu ? 400 : 100, &window, [&window, &options] { saveScreenshot(window, options); });
    } else if (options.quitAfterPaint) {
        QCoreApplication::exit(exitSuccess);
    }
}

} // namespace

int main(int argc, char **argv)
{
    QElapsedTimer sinceStart;
    sinceStart.start();
    if (wants(argc, argv, "--help")) {
        std::fputs(usage, stdout);
        std::fputs(help, stdout);
        return exitSuccess;
    }
    if (wants(argc, argv, "--version")) {
        std::printf("tessmark (Tessmark) %s\n", TESS_VERSION);
        return exitSuccess;
    }
    const bool headless = wants(argc, argv, "--print") || wants(argc, argv, "--check");
    if (const QString why = prepareEnvironment(headless); !why.isEmpty()) {
        write(stderr, QStringLiteral("tessmark: %1\n").arg(why));
        return exitFailure;
    }
    VarnelApplication application(argc, argv);
    application.setApplicationVersion(QStringLiteral(TESS_VERSION));
    QString error;
    QStringList arguments = application.arguments();
    arguments.removeFirst();
    const std::optional<Options> parsed = parse(arguments, &error);
    if (!parsed)
        return usageError(error);
    const Options &options = *parsed;
    if (!options.check.isEmpty() && !QFileInfo::exists(options.check)) {
        write(stderr, QStringLiteral("tessmark: %1: no such file\n").arg(options.check));
        return exitFailure;
    }

    setUpProgramDirectories();
    const MacroSession macros;
    defineUserFolderMacro(macros);
    setReportMask(reportErrors | reportWarnings);
    std::unique_ptr<MessageLog> log;
    if (headless)
        setReportSink(countingSink);
    else
        log = std::make_unique<MessageLog>();

    QStringList paths;
    for (const QString &path : options.paths)
        paths.append(QFileInfo(path).absoluteFilePath());
    const bool linked = !options.newInstance && !headless && options.screenshot.isEmpty() && !options.quitAfterPaint;
    const QString instance = VarnelApplication::instanceName(ShellPaths::userFolder());
    if (linked && application.handOver(instance, paths))
        return exitSuccess;

    SettingsFile settings;
    if (QString problem; !settings.load(ShellPaths::settingsFile(), &problem))
        report(ReportChannel::Warning, problem);
    const VarnelWindow::Options windowOptions = windowOptionsFor(options);
    const double beforeWindow = double(sinceStart.nsecsElapsed()) / 1e6;
    VarnelWindow window(&settings, windowOptions);
    if (options.timings) {
        write(stderr, QStringLiteral("tessmark: %1 ms to the window, %2 ms to make it (%3 ms reading schemes and building menus)\n")
                          .arg(beforeWindow, 0, 'f', 1)
                          .arg(double(sinceStart.nsecsElapsed()) / 1e6 - beforeWindow, 0, 'f', 1)
                          .arg(window.buildMilliseconds(), 0, 'f', 1));
    }
    if (headless) {
        const int status = runHeadless(window, options);
        // Every object made and never shown left events in the queue; each destroyed object
        // would search the whole queue for its own, so the queue is emptied first.
        QCoreApplication::sendPostedEvents();
        return status;
    }

    if (linked)
        listenForHandOver(application, instance, window);
    FirstPaint firstPaint(&window, [&] { afterFirstPaint(window, options, double(sinceStart.nsecsElapsed()) / 1e6); });
    window.show();
    if (!paths.isEmpty())
        window.openPaths(paths);
    if (!options.forth.isEmpty())
        window.consoleViews()->typeForth(options.forth);
    return application.exec();
}
