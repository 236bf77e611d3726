#pragma once
#include "foundation/MacroSession.h"
#include <QString>
#include <memory>

class ProjectElement;
class StandardProjectSystem;

// What every command, window and script host that works on a solution starts from: the macro
// session the project system expands with, the project system, and the solution it loaded. The
// session owns all three; they go in the reverse order, the macros last.
class SolutionSession {
public:
    struct LoadOptions {
        bool expandMacros = true;       // off: names and paths are kept as the file spells them
        bool runLoadCommands = true;    // off for untrusted files: no load_command runs
    };

    // `installation` is $(VarnelDir) when this session makes the macro system; see MacroSession.
    explicit SolutionSession(const QString &installation = QString());
    ~SolutionSession();
    SolutionSession(const SolutionSession &) = delete;
    SolutionSession &operator=(const SolutionSession &) = delete;

    // Loads the solution file (relative paths from the current directory), closing any solution
    // loaded before. Throws SolutionLoadError.
    ProjectElement *load(const QString &path, const LoadOptions &options);
    ProjectElement *load(const QString &path) { return load(path, LoadOptions()); }

    StandardProjectSystem &system() const { return *m_system; }
    ProjectElement *solution() const { return m_solution; }
    PropertyClassList &macros() const { return m_macros.macros(); }

private:
    MacroSession m_macros;
    std::unique_ptr<StandardProjectSystem> m_system;
    ProjectElement *m_solution = nullptr;
};
