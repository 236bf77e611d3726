#pragma once
#include <vector>

class pcode;
class PBranch;
class PCFA;

// Entries of the control-flow stack that compiling words push and pop.
class CSEntry {
public:
    virtual ~CSEntry() = default;
};

// A forward branch waiting for its target.
class CSOrig : public CSEntry {
public:
    explicit CSOrig(PBranch *branch) : branch(branch) {}
    PBranch *branch;
};

// A backward branch target.
class CSDest : public CSEntry {
public:
    explicit CSDest(pcode *label) : label(label) {}
    pcode *label;
};

// A definition being compiled, closed by `;`.
class CSColonSys : public CSEntry {
public:
    explicit CSColonSys(PCFA *definition) : definition(definition) {}
    PCFA *definition;
};

// A DO loop: the branches that jump behind it (?DO's skip and each LEAVE).
class CSDoSys : public CSEntry {
public:
    std::vector<PBranch *> exits;
};

// An OF clause: its branch to the next clause.
class CSOfSys : public CSEntry {
public:
    explicit CSOfSys(PBranch *branch) : branch(branch) {}
    PBranch *branch;
};

// A CASE: the ENDOF branches to its end.
class CSCaseSys : public CSEntry {
public:
    std::vector<PBranch *> exits;
};
