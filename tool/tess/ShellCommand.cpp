// `tess shell`: the shell's menus, keys and descriptions without a screen. The shell is the one
// part that links the widget library, so these run the `tessmark` program beside `tess` in its
// headless mode instead of linking it here.
#include "tool/tess/Commands.h"
#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>

namespace {

// Runs tessmark with `arguments`, its output going straight to ours; its status is ours.
int runShell(const CommandArguments &arguments, QStringList shellArguments)
{
    const QString program = QCoreApplication::applicationDirPath() + QStringLiteral("/tessmark");
    if (!QFileInfo(program).isExecutable())
        return arguments.fail(QStringLiteral("cannot run %1: no such program").arg(program));
    if (arguments.has("--scheme"))
        shellArguments << QStringLiteral("--scheme") << arguments.value("--scheme");
    if (arguments.has("--keys"))
        shellArguments << QStringLiteral("--keys") << arguments.value("--keys");
    if (arguments.has("--timings"))
        shellArguments << QStringLiteral("--timings");
    QProcess shell;
    shell.setProcessChannelMode(QProcess::ForwardedChannels);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    shell.setProcessEnvironment(environment);
    shell.start(program, shellArguments);
    if (!shell.waitForStarted(-1))
        return arguments.fail(QStringLiteral("cannot run %1: %2").arg(program, shell.errorString()));
    shell.waitForFinished(-1);
    if (shell.exitStatus() != QProcess::NormalExit)
        return arguments.fail(QStringLiteral("%1 ended abnormally").arg(program));
    return shell.exitCode();
}

// `tess shell menus` and `tess shell keys`: tessmark's --print of the same name.
template <const char *what>
int printCommand(const CommandArguments &arguments)
{
    if (!arguments.operands().isEmpty())
        return arguments.usageError(QStringLiteral("no operands expected"));
    return runShell(arguments, {QStringLiteral("--print"), QLatin1String(what)});
}

constexpr char menus[] = "menus";
constexpr char keys[] = "keys";

int checkCommand(const CommandArguments &arguments)
{
    if (arguments.operands().size() != 1)
        return arguments.usageError(QStringLiteral("give one file"));
    return runShell(arguments, {QStringLiteral("--check"), arguments.operands().first()});
}

constexpr TessOption viewOptions[] = {
    {"--scheme", "NAME", "use the message scheme NAME and the key scheme of that name"},
    {"--keys", "FILE", "read the user's key assignments from FILE instead of the user folder's"},
};

constexpr TessOption checkOptions[] = {
    {"--timings", nullptr, "print how long building took"},
};

constexpr TessCommand shellRows[] = {
    {"shell menus", "[--scheme NAME] [--keys FILE]",
     "print the built menu and tool bar tree (path, text, keys, state) and the builder's warnings",
     viewOptions, "tess shell menus --scheme Classic", printCommand<menus>},
    {"shell keys", "[--scheme NAME] [--keys FILE]", "print the key assignments in force and any clashes",
     viewOptions, "tess shell keys --keys my-keyboard.xml", printCommand<keys>},
    {"shell check", "FILE [--timings]",
     "run a window description, message scheme or key scheme through the builder; status 1 if it says anything",
     checkOptions, "tess shell check gui.xml", checkCommand},
};

} // namespace

std::span<const TessCommand> shellCommands()
{
    return shellRows;
}
