#pragma once
#include <QString>
#include <memory>

class PropertyClassList;

// The macro system a program expands with, installed as the process-wide one for the session's
// life. It starts with the start-up macros and $(VarnelDir), the installation directory (the one
// above the running program's folder unless `installation` names another). A session made while
// another is in force shares that one, so commands can nest; the macro system stays in force
// until the last session sharing it ends, whichever order they end in (a window opens the next
// solution before it lets go of the one open).
class MacroSession {
public:
    explicit MacroSession(const QString &installation = QString());
    ~MacroSession();
    MacroSession(const MacroSession &) = delete;
    MacroSession &operator=(const MacroSession &) = delete;

    PropertyClassList &macros() const { return *m_macros; }

private:
    // Shared by every session alive that made or joined it; null when the macro system in force
    // was installed by something other than a session.
    std::shared_ptr<PropertyClassList> m_owned;
    PropertyClassList *m_macros = nullptr;
};

// Records the running program's folder and the installation above it, once at start-up.
// `executable` is the program's own path; an empty one asks the process for it.
void setUpProgramDirectories(const QString &executable = QString());
