#pragma once
#include "buildengine/VarnelBuilder.h"

class BuildLogItem;

// Prints a build's log on standard output as the build writes it, grouped by project. `tess
// build` and the scripts of `tess js` show builds alike through it.
class ConsoleBuildReporter : public BuildReporter {
public:
    explicit ConsoleBuildReporter(bool verbose) : m_verbose(verbose) {}
    void stepBegun(const BuildLogItem *project, const QString &title, int done,
                   int total) override;
    void itemAdded(const BuildLogItem *project, const BuildLogItem &item) override;

private:
    // Output is grouped by project: a heading whenever the project changes.
    void heading(const BuildLogItem *project);
    bool m_verbose;
    const BuildLogItem *m_project = nullptr;
};
