// tess: the command-line front end. Every command is a row of the table below (a command with
// subcommands has one row per form); the dispatcher and `tess help` both read it.
#include "tool/tess/Commands.h"
#include "foundation/MacroSession.h"
#include <QCoreApplication>
#include <cstdio>

namespace {

using CommandRows = std::span<const TessCommand> (*)();

constexpr CommandRows commandFiles[] = {
    buildCommands,    clangCommands,    colourCommands,   commandsCommands, debugCommands,
    depsCommands,     diagCommands,     editCommands,     exprCommands,     forthCommands,
    jsCommands,       linkCommands,     loadCommands,     memmapCommands,   pkgCommands,
    propertyCommands, scCommands,       shellCommands,    solutionCommands, templateCommands,
};

// The command word of a row: "load" of "load info".
QString commandWord(const TessCommand &command)
{
    return QString::fromLatin1(command.name).section(u' ', 0, 0);
}

QString subcommandWord(const TessCommand &command)
{
    return QString::fromLatin1(command.name).section(u' ', 1, 1);
}

std::vector<const TessCommand *> formsOf(const QString &word)
{
    std::vector<const TessCommand *> forms;
    for (const CommandRows rows : commandFiles) {
        for (const TessCommand &command : rows()) {
            if (commandWord(command) == word)
                forms.push_back(&command);
        }
    }
    return forms;
}

void write(FILE *to, const QString &text)
{
    const QByteArray bytes = text.toLocal8Bit();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), to);
}

QString overview()
{
    QString text = QStringLiteral(
        "usage: tess COMMAND [ARGUMENTS]\n"
        "       tess help COMMAND | tess COMMAND --help | tess --version\n\ncommands:\n");
    qsizetype width = 0;
    for (const CommandRows rows : commandFiles) {
        for (const TessCommand &command : rows())
            width = qMax(width, qsizetype(qstrlen(command.name)));
    }
    for (const CommandRows rows : commandFiles) {
        for (const TessCommand &command : rows())
            text += QStringLiteral("  %1  %2\n").arg(QLatin1String(command.name), -int(width)).arg(QLatin1String(command.summary));
    }
    return text;
}

int unknownCommand(const QString &word)
{
    write(stderr, QStringLiteral("tess: unknown command '%1'\n").arg(word) + overview());
    return exitUsage;
}

// `tess help [COMMAND [SUBCOMMAND]]`.
int help(const QStringList &arguments)
{
    if (arguments.isEmpty()) {
        write(stdout, overview());
        return exitSuccess;
    }
    const std::vector<const TessCommand *> forms = formsOf(arguments.first());
    if (forms.empty())
        return unknownCommand(arguments.first());
    QString text;
    for (const TessCommand *form : forms) {
        if (arguments.size() < 2 || subcommandWord(*form) == arguments.at(1))
            text += (text.isEmpty() ? QString() : QStringLiteral("\n")) + commandHelp(*form);
    }
    if (text.isEmpty())
        return unknownCommand(arguments.join(u' '));
    write(stdout, text);
    return exitSuccess;
}

// A command with subcommands named without one, or with an unknown one.
int badSubcommand(const std::vector<const TessCommand *> &forms, const QString &word)
{
    QString text = word.isEmpty() ? QStringLiteral("tess %1: which subcommand?\n").arg(commandWord(*forms.front()))
                                  : QStringLiteral("tess %1: unknown subcommand '%2'\n")
                                        .arg(commandWord(*forms.front()), word);
    for (const TessCommand *form : forms)
        text += commandUsage(*form) + u'\n';
    write(stderr, text);
    return exitUsage;
}

int dispatch(QStringList arguments)
{
    const QString word = arguments.takeFirst();
    if (word == QLatin1String("help") || word == QLatin1String("--help"))
        return help(arguments);
    if (word == QLatin1String("--version")) {
        std::printf("tess (Tessmark) %s\n", TESS_VERSION);
        return exitSuccess;
    }
    const std::vector<const TessCommand *> forms = formsOf(word);
    if (forms.empty())
        return unknownCommand(word);
    const TessCommand *command = forms.front();
    if (!subcommandWord(*command).isEmpty()) {
        const QString sub = arguments.value(0);
        if (sub == QLatin1String("--help"))
            return help({word});
        command = nullptr;
        for (const TessCommand *form : forms) {
            if (subcommandWord(*form) == sub)
                command = form;
        }
        if (!command)
            return badSubcommand(forms, sub);
        arguments.removeFirst();
    }
    QString error;
    const std::optional<CommandArguments> parsed = CommandArguments::parse(*command, arguments, &error);
    if (!parsed) {
        write(stderr, QStringLiteral("tess %1: %2\n%3\n").arg(QLatin1String(command->name), error, commandUsage(*command)));
        return exitUsage;
    }
    if (parsed->helpRequested()) {
        write(stdout, commandHelp(*command));
        return exitSuccess;
    }
    return command->run(*parsed);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    setUpProgramDirectories();
    QStringList arguments = application.arguments();
    arguments.removeFirst();
    if (arguments.isEmpty()) {
        write(stderr, overview());
        return exitUsage;
    }
    return dispatch(arguments);
}
