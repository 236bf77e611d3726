#pragma once
#include <QString>
#include <QStringList>

class ProjectElement;
class StandardProjectSystem;

// The compiler arguments libclang needs for a file of a solution in a configuration, read
// from the same properties the build reads: the user and system include directories (relative
// ones taken from the project's folder), the definitions and undefinitions, then the additional
// C options. Macros in the values are expanded.
[[nodiscard]] QStringList clangArguments(const StandardProjectSystem &system,
                                         const ProjectElement *file, const QString &configuration);

// The folder relative paths in a file's arguments are taken from: its project's.
[[nodiscard]] QString clangWorkingDirectory(const StandardProjectSystem &system,
                                            const ProjectElement *file,
                                            const QString &configuration);

// The file element that stands for `path` (absolute), in the project named `project` when that
// is not empty; null when the solution has none.
[[nodiscard]] const ProjectElement *findFileElement(const StandardProjectSystem &system,
                                                    const QString &path, const QString &project);
