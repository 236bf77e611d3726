#include "buildengine/DependencyFile.h"
#include <QFile>
#include <QStringList>
#include <cstdio>

// tess deps: reads dependency files as a compile step does and prints, for each, the number of
// names after the source and the file's name; with --names the names themselves, one a line.
// "@LIST" reads the file names from LIST, one a line.

namespace {

[[nodiscard]] bool expandArguments(const QStringList &arguments, QStringList &files, bool &names)
{
    for (const QString &argument : arguments) {
        if (argument == QLatin1String("--names")) {
            names = true;
        } else if (argument.startsWith(u'@')) {
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

} // namespace

int depsCommand(const QStringList &arguments)
{
    QStringList files;
    bool names = false;
    if (!expandArguments(arguments, files, names))
        return 1;
    if (files.isEmpty()) {
        std::fprintf(stderr, "usage: tess deps [--names] FILE|@LIST...\n");
        return 1;
    }
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
