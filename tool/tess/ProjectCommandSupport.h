#pragma once
#include <QString>
#include <QStringList>

class ProjectElement;
class SolutionSession;

// Loads the solution for a command, its names and paths as the file spells them (macros not
// expanded); on failure prints the reason to standard error and returns false.
[[nodiscard]] bool loadForCommand(SolutionSession &session, const QString &path);

// The path of names below the solution by which ELEMENT arguments name an element; the solution
// itself has the empty path.
[[nodiscard]] QString elementPath(const ProjectElement *element);

// Prints the text and a newline to standard error and returns the failing exit status.
int printCommandError(const QString &text);
