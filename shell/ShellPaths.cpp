#include "shell/ShellPaths.h"
#include "foundation/Directories.h"

namespace ShellPaths {

QString userFolder()
{
    return userDataDirectory() + QStringLiteral("/Tessmark");
}

QString userFile(const QString &name)
{
    return userFolder() + u'/' + name;
}

QString installedFile(const QString &name)
{
    return installationDirectory() + QStringLiteral("/bin/") + name;
}

QString builtInFile(const QString &name)
{
    return QStringLiteral(":/tessmark/") + name;
}

QString settingsFile()
{
    return userFile(QStringLiteral("settings.xml"));
}

} // namespace ShellPaths
