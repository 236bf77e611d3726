#include "foundation/Directories.h"
#include <QProcess>
#include <QStringList>

namespace {

QString &storedBinaryDirectory()
{
    static QString directory;
    return directory;
}

QString &storedInstallationDirectory()
{
    static QString directory;
    return directory;
}

QString environment(const char *name)
{
    return qEnvironmentVariable(name);
}

} // namespace

QString binaryDirectory()
{
    return storedBinaryDirectory();
}

void setBinaryDirectory(const QString &directory)
{
    storedBinaryDirectory() = directory;
}

QString installationDirectory()
{
    return storedInstallationDirectory();
}

void setInstallationDirectory(const QString &directory)
{
    storedInstallationDirectory() = directory;
}

QString userHomeDirectory()
{
    return environment("HOME");
}

QString documentsDirectory()
{
    return userHomeDirectory() + QStringLiteral("/Documents");
}

QString desktopDirectory()
{
    return userHomeDirectory() + QStringLiteral("/Desktop");
}

QString userDataDirectory()
{
    return userHomeDirectory() + QStringLiteral("/.local/share");
}

QString systemDataDirectory()
{
    return QStringLiteral("/usr/share");
}

QString temporaryDirectory()
{
    for (const char *name : {"TMP", "TEMP", "TMPDIR"}) {
        const QString value = environment(name);
        if (!value.isEmpty())
            return value;
    }
    return QStringLiteral("/tmp");
}

bool openWithDesktop(const QString &url)
{
    return QProcess::startDetached(QStringLiteral("xdg-open"), QStringList{url});
}
