#pragma once
#include <QString>

// Where the shell finds its files.
namespace ShellPaths {
// $(VarnelUserDir): the user's own folder, for the settings, keyboard.xml and user schemes.
[[nodiscard]] QString userFolder();
[[nodiscard]] QString userFile(const QString &name);
// $(VarnelDir)/bin/<name>: the installed schemes and descriptions.
[[nodiscard]] QString installedFile(const QString &name);
// The copy built into the program, used when the installed file does not load.
[[nodiscard]] QString builtInFile(const QString &name);
// The settings file in the user folder.
[[nodiscard]] QString settingsFile();
} // namespace ShellPaths
