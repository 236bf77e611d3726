#pragma once
#include <span>

// When a command of the window can run, besides having something that carries it out.
enum class EnableRule : unsigned char {
    Always,         // needs nothing
    Solution,       // a solution is open
    SolutionIdle,   // a solution is open and no build runs
    Building,       // a build runs
    Document,       // a document window is open
    Editor,         // the focused editor's answer for the row's command number
    Debugging,      // a debug session is active
    Browser,        // the help browser has the focus
    Script,         // a script runs
};

enum class ActionKind : unsigned char {
    Plain,
    Toggle,     // checkable
    Deferred,   // runs after the event that chose it (it may close the window it came from)
    Multi,      // stands for the members that name it in multiMembers
};

// One command of the window: its name, default label (with its mnemonic), default key in
// portable text (several separated by "; "), and when it is enabled. `command` is the number an
// editor answers for (see EditCommands.h), -1 for commands that are not an editor's.
struct ActionRow {
    const char *name;
    const char *text;
    const char *key;
    EnableRule rule;
    int command = -1;
    ActionKind kind = ActionKind::Plain;
};

// Every command of the shell, in the order of the menus that hold most of them.
[[nodiscard]] std::span<const ActionRow> actionRows();

// The members of a multi action, each with the name of the action that stands for it.
struct MultiMember {
    const char *multi;
    const char *member;
};
[[nodiscard]] std::span<const MultiMember> multiMembers();
