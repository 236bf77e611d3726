#pragma once
#include <QString>
#include <functional>

class MyESContext;
class ScriptBuildSession;
class ScriptDebugSession;
class VarnelScriptSystem;

// What the host classes of a context reach: the script system, where text for the output
// terminal and notes for the user go, and the build and debug sessions (null: not available).
struct HostServices {
    VarnelScriptSystem *system = nullptr;
    std::function<void(const QString &text)> output;   // a line for the output terminal
    std::function<void(const QString &text)> note;     // a line for the user, beside the output
    ScriptBuildSession *build = nullptr;
    ScriptDebugSession *debug = nullptr;
    int threadsLimit = 64;   // the project's "Threads Maximum"
};

// Installs every host class into the context: TMSys, WScript, Script, BinaryFile, Build, Debug,
// Threads, Varnel and ESQObject (on the script system's own properties).
void installHostClasses(MyESContext &context, const HostServices &services);
