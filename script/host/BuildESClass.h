#pragma once
#include "script/host/HostClass.h"

class ScriptBuildSession;

// "Build": every solution, project and batch operation of the build engine's table, the build
// configuration, the active project and its target processors.
class BuildESClass : public HostClass {
public:
    // `session` may be null: every function then raises "no solution is open".
    explicit BuildESClass(ScriptBuildSession *session);

protected:
    bool callHost(int id, ESNativeCall &call) override;

private:
    ScriptBuildSession *m_session;
};
