#pragma once
#include "buildengine/BuildEngine.h"

// What the steps of one element share while it is being walked.
struct BuildEngine::StepContext {
    ProjectElement *element;
    QString configuration;
    Builder &builder;
    Idler &idler;
    uint flags;
    bool forced;
    BuildKind kind;
    QString directory;   // the project directory, where tools run

    [[nodiscard]] bool quiet() const { return flags & BuildFlag::Quiet; }
    [[nodiscard]] bool has(uint flag) const { return flags & flag; }
};
