#pragma once
#include <QString>
#include <QStringList>
#include <optional>
#include <span>
#include <vector>

// The one command-line convention of `tess`: GNU-style long options ("--config NAME" or
// "--config=NAME"), a few short ones ("-j N", "-e TEXT"), "--" ending the options, "-" an operand
// meaning standard input. `tess help COMMAND` and `tess COMMAND --help` print a command's help
// from the same rows the dispatcher runs, so the two cannot drift apart. Usage errors exit 2.

// One option of a command. `value` names its argument ("NAME"); null for a flag. `alias` is a
// second spelling accepted as well: a short form, or an older single-dash one kept for scripts.
struct TessOption {
    const char *name;
    const char *value;
    const char *help;
    const char *alias = nullptr;
};

class CommandArguments;

// A command of `tess`, or one form of a command with subcommands ("load info"): each form has
// its own row, and `tess help load` shows them all.
struct TessCommand {
    const char *name;       // "build", "load info"
    const char *synopsis;   // operands and options after the name
    const char *summary;    // one line in `tess help`
    std::span<const TessOption> options;
    const char *example;    // a whole command line
    int (*run)(const CommandArguments &arguments);
};

// Exit statuses shared by every command.
constexpr int exitSuccess = 0;
constexpr int exitFailure = 1;
constexpr int exitUsage = 2;
constexpr int exitStopped = 3;   // stopped by an interrupt or a script's instruction budget

// The arguments of one command, parsed against its option rows.
class CommandArguments {
public:
    // An option with its value, or an operand (option null), in command-line order.
    struct Item {
        const TessOption *option;
        QString value;
    };

    // Null and a message in `error` when the arguments break the command's options.
    [[nodiscard]] static std::optional<CommandArguments> parse(const TessCommand &command,
                                                               const QStringList &arguments,
                                                               QString *error);

    const TessCommand &command() const { return *m_command; }
    // "--help" was among the options: the dispatcher prints the help instead of running.
    [[nodiscard]] bool helpRequested() const { return m_helpRequested; }
    [[nodiscard]] bool has(const char *name) const;
    // The last value given for the option, else `fallback`.
    [[nodiscard]] QString value(const char *name, const QString &fallback = {}) const;
    [[nodiscard]] QStringList values(const char *name) const;
    const QStringList &operands() const { return m_operands; }
    // How many operands came before "--": all of them when there was none.
    [[nodiscard]] qsizetype operandsBeforeDashes() const
    {
        return m_dashesAt < 0 ? m_operands.size() : m_dashesAt;
    }
    const std::vector<Item> &items() const { return m_items; }

    // The option's value as a whole number in [minimum, maximum]; `fallback` when absent. A bad
    // value is a usage error: the message is printed and the result is empty.
    [[nodiscard]] std::optional<qint64> integer(const char *name, qint64 minimum, qint64 maximum,
                                                qint64 fallback) const;

    // "tess NAME: message" and the synopsis on standard error; returns exitUsage.
    int usageError(const QString &message) const;
    // "tess NAME: message" on standard error; returns exitFailure.
    int fail(const QString &message) const;

private:
    const TessCommand *m_command = nullptr;
    std::vector<Item> m_items;
    QStringList m_operands;
    bool m_helpRequested = false;
    qsizetype m_dashesAt = -1;   // operands before "--", -1 without one
};

// The usage line of a command form: "usage: tess NAME SYNOPSIS".
[[nodiscard]] QString commandUsage(const TessCommand &command);
// The whole help of a command form: usage, summary, one line per option, the example.
[[nodiscard]] QString commandHelp(const TessCommand &command);

// The rows of each command file, in the order `tess help` lists them.
std::span<const TessCommand> buildCommands();
std::span<const TessCommand> clangCommands();
std::span<const TessCommand> commandsCommands();
std::span<const TessCommand> debugCommands();
std::span<const TessCommand> depsCommands();
std::span<const TessCommand> diagCommands();
std::span<const TessCommand> colourCommands();
std::span<const TessCommand> editCommands();
std::span<const TessCommand> exprCommands();
std::span<const TessCommand> forthCommands();
std::span<const TessCommand> jsCommands();
std::span<const TessCommand> linkCommands();
std::span<const TessCommand> loadCommands();
std::span<const TessCommand> memmapCommands();
std::span<const TessCommand> pkgCommands();
std::span<const TessCommand> propertyCommands();
std::span<const TessCommand> scCommands();
std::span<const TessCommand> shellCommands();
std::span<const TessCommand> solutionCommands();
std::span<const TessCommand> templateCommands();
