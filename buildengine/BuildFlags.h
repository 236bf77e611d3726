#pragma once
#include <QString>

class ProjectElement;

// The flag word a walk of the tree runs under. Bits 16-31 of an item's word carry the number of
// steps of its project, for the progress display.
namespace BuildFlag {
constexpr uint RemoveOutputs = 0x0001;   // with NoExecute a clean, without it a rebuild
constexpr uint Force = 0x0002;           // everything is out of date
constexpr uint NoExecute = 0x0004;       // run nothing: remove outputs or answer "would build"
constexpr uint Quiet = 0x0008;           // no "is up to date" lines and no reasons
constexpr uint SelfOnly = 0x0010;        // do not descend into children
constexpr uint AnalyzeOnly = 0x0040;     // run only the static analyzer on C and C++ files
constexpr uint KeepGoing = 0x0080;
constexpr uint NoLabel = 0x0100;
constexpr uint NoDependencyFile = 0x0200;
constexpr uint DisableUnity = 0x0400;
constexpr uint ShowCommandLines = 0x0800;
constexpr uint ProjectLevelParallel = 0x1000;
constexpr uint ProjectHead = 0x2000;   // the item opens a project's group
constexpr uint ProjectTail = 0x4000;   // the item closes it and runs its post-build command
constexpr uint LowMask = 0xffff;
constexpr int StepShift = 16;
} // namespace BuildFlag

// One unit of scheduling. A null element is a barrier: nothing after it starts before
// everything before it has ended.
struct BuildItem {
    ProjectElement *element = nullptr;
    QString configuration;
    uint flags = 0;
    QString label;

    [[nodiscard]] bool isBarrier() const { return element == nullptr; }
};
