#pragma once
#include <QString>
#include <QStringList>
#include <memory>

class PropertyClassList;
class ProjectElement;
class StandardProjectSystem;

// What the solution and property subcommands share: the macro system the project system
// expands with, a loaded solution, and how an element is named on the command line.
class ProjectCommandSession {
public:
    ProjectCommandSession();
    ~ProjectCommandSession();

    // Loads the solution; on failure prints the reason to standard error and returns false.
    [[nodiscard]] bool load(const QString &path);
    StandardProjectSystem &system() { return *m_system; }

private:
    std::unique_ptr<PropertyClassList> m_macroSystem;   // null when one was set up already
    std::unique_ptr<StandardProjectSystem> m_system;
};

// The path of names below the solution by which ELEMENT arguments name an element; the solution
// itself has the empty path.
[[nodiscard]] QString elementPath(const ProjectElement *element);

// Prints the text and a newline to standard error and returns the failing exit status.
int printCommandError(const QString &text);
