#pragma once
#include "foundation/Path.h"
#include <vector>

class ProjectElement;

// Links a parsed solution tree up so that it can be walked and searched fast: parents and
// children of the nodes, the configuration holders of each node, the inherited configurations
// it declares. Checks that the tree is one: nodes in their places, no two siblings of the same
// name, no configuration twice, a bounded depth. Throws SolutionLoadError naming the file and
// line of the culprit.
class ProjectTreeWiring {
public:
    static constexpr int maxDepth = 200;

    // `sourceFile` is the file `root` came from; imported parts name their own.
    static void wire(ProjectElement *root, const Path &sourceFile);

private:
    struct Pending {
        ProjectElement *element;
        Path sourceFile;
        int depth;
    };
    static void wireOne(const Pending &pending, std::vector<Pending> &stack);
    static void addConfiguration(ProjectElement *owner, ProjectElement *configuration,
                                 const Path &sourceFile);
};
