#include "buildengine/DependencyFile.h"
#include "tool/tess/Commands.h"
#include <QFile>
#include <QStringList>
#include <cstdio>

// tess deps: reads dependency files as a compile step does and prints, for each, the number of
// names after the source and the file's name; with --names the names themselves, one a line.
// "@LIST" reads the file names from LIST, one a line.

namespace {

[[nodiscard]] bool expandArguments(const QStringList &arguments, QStringList &files)
{
    for (const QString &argument : arguments) {
        if (argument.startsWith(u'@')) {
            QFile list(argument.mid(1));
            if (!list.open(QIODevice::ReadOnly)) {
                std::fprintf(stderr, "tess deps: cannot open %s\n", qPrintable(list.fileName()));
                return false;
            }
            const QList<QByteArray> lines = list.readAll().split('\n');
            for (const QByteArray &line : lines) {
                if (!line.isEmpty())
                    files.append(QFile::decodeName(line));
            }
        } else {
            files.append(argument);
        }
    }
    return true;
}

int depsCommand(const CommandArguments &arguments)
{
    QStringList files;
    const bool names = arguments.has("--names");
    if (!expandArguments(arguments.operands(), files))
        return exitFailure;
    if (files.isEmpty())
        return arguments.usageError(QStringLiteral("no dependency file given"));
    qsizetype total = 0;
    int status = 0;
    for (const QString &file : std::as_const(files)) {
        QString error;
        const QStringList dependencies = readDependencyFile(file, &error);
        if (!error.isEmpty()) {
            std::fprintf(stderr, "tess deps: %s\n", qPrintable(error));
            status = 1;
        }
        total += dependencies.size();
        if (names) {
            for (const QString &name : dependencies)
                std::printf("%s\n", name.toUtf8().constData());
        } else {
            std::printf("%lld %s\n", static_cast<long long>(dependencies.size()),
                        QFile::encodeName(file).constData());
        }
    }
    if (!names)
        std::printf("%lld total\n", static_cast<long long>(total));
    return status;
}

constexpr TessOption depsOptions[] = {
    {"--names", nullptr, "print the names themselves, one a line"},
};

constexpr TessCommand depsRows[] = {
    {"deps", "[--names] FILE|@LIST...",
     "read make-style dependency files as a compile step does; @LIST names one file a line",
     depsOptions, "tess deps --names Output/Debug/Obj/main.d", depsCommand},
};

} // namespace

std::span<const TessCommand> depsCommands()
{
    return depsRows;
}
