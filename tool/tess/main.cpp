#include "tool/tess/Commands.h"
#include <QCoreApplication>
#include <cstdio>
#include <iterator>

// One declaration and one row per subcommand, kept in step.
int diagCommand(const QStringList &arguments);
int buildCommand(const QStringList &arguments);
int depsCommand(const QStringList &arguments);
int commandsCommand(const QStringList &arguments);
int jsCommand(const QStringList &arguments);
int solutionCommand(const QStringList &arguments);
int propertyCommand(const QStringList &arguments);
int forthCommand(const QStringList &arguments);
int exprCommand(const QStringList &arguments);
namespace {

constexpr TessCommand commands[] = {
    {"help", "tess help", nullptr},
    {"diag", "tess diag [--regexp PATTERN]... [--base DIR] [--all]  < tool output", diagCommand},
    {"deps", "tess deps [--names] FILE|@LIST...", depsCommand},
    {"commands", "tess commands FILE CONFIGURATION [ELEMENT]", commandsCommand},
    {"js", "tess js [--max-instructions N] [--list] (-e TEXT | FILE...)", jsCommand},
    {"build", "tess build SOLUTION [-config NAME] [-project NAME] [-j N] [-rebuild | -clean] [-batch] [-keep-going] [-show-commands] [-verbose] [-export FILE | -makefile FILE]", buildCommand},
    {"solution", "tess solution show FILE | tess solution save FILE OUT", solutionCommand},
    {"property", "tess property get FILE ELEMENT CONFIG NAME [--expand] [--trace] | dump FILE CONFIG NAME [--expand] | list", propertyCommand},
    {"forth", "tess forth [-i] [-e TEXT | FILE]...", forthCommand},
    {"expr", "tess expr [--repeat N] EXPRESSION...", exprCommand},
};

void printUsage(FILE *to)
{
    std::fprintf(to, "usage: tess <command> [arguments]\ncommands:\n");
    for (const TessCommand &command : commands)
        std::fprintf(to, "  %s\n", command.usage);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QStringList arguments = application.arguments();
    if (arguments.size() < 2) {
        printUsage(stderr);
        return 1;
    }
    const QString name = arguments.at(1);
    arguments.remove(0, 2);
    for (const TessCommand &command : commands) {
        if (name == QLatin1String(command.name)) {
            if (!command.run) {
                printUsage(stdout);
                return 0;
            }
            return command.run(arguments);
        }
    }
    std::fprintf(stderr, "tess: unknown command '%s'\n", qPrintable(name));
    printUsage(stderr);
    return 1;
}
