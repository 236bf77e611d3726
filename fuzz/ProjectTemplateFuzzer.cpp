// Loads arbitrary bytes as a project templates file and runs both walks of every template in it
// over a solution in memory: choices collected, the first alternative of each chosen, the
// project made in the tree. Nothing is written to disk; bad input ends in a message.
#include "foundation/HException.h"
#include "foundation/MacroSession.h"
#include "foundation/Report.h"
#include "projects/ProjectTemplateInstance.h"
#include "projects/ProjectTemplates.h"
#include "projects/SolutionSession.h"
#include "projects/StandardProjectSystem.h"
#include <QFile>
#include <QTemporaryDir>
#include <cstddef>
#include <cstdint>

namespace {

struct Scratch {
    MacroSession macros{QStringLiteral("/opt/tess")};
    QTemporaryDir directory;
};

Scratch &scratch()
{
    static Scratch *instance = [] {
        auto *made = new Scratch;
        setReportMask(0);
        QFile solution(made->directory.filePath(QStringLiteral("S.qvProject")));
        if (solution.open(QIODevice::WriteOnly))
            solution.write("<!DOCTYPE Tessbench_Project_File>\n<Tessbench_Project_File>"
                           "<solution Name=\"S\" version=\"2\"><configuration Name=\"Debug\"/>"
                           "<project Name=\"old\"/></solution></Tessbench_Project_File>\n");
        return made;
    }();
    return *instance;
}

void makeEach(StandardProjectSystem &system, const ProjectTemplates &templates)
{
    for (const ProjectTemplateNode &node : templates.nodes()) {
        try {
            ProjectTemplateInstance instance(system, node, QStringLiteral("p"));
            for (const ProjectTemplateChoice &choice : instance.walk().choices()) {
                if (!choice.alternatives.isEmpty())
                    instance.walk().choose(choice.name, choice.alternatives.last());
            }
            instance.walk().apply();
            (void)instance.walk().openedFiles();
            (void)system.solutionFileBytes(system.solution());
        } catch (const HException &) {
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size > (1 << 18))
        return 0;
    // Template files may include any file; a device that never ends is not the walks' concern.
    const QByteArrayView bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    if (bytes.contains("/dev") || bytes.contains("/proc") || bytes.contains("/sys"))
        return 0;
    Scratch &made = scratch();
    const QString path = made.directory.filePath(QStringLiteral("t.xml"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return 0;
    file.write(reinterpret_cast<const char *>(data), qint64(size));
    file.close();
    ProjectTemplates templates;
    if (!templates.addFile(path))
        return 0;
    SolutionSession session;   // shares the macros of the scratch
    SolutionSession::LoadOptions options;
    options.expandMacros = false;
    options.runLoadCommands = false;
    try {
        (void)session.load(made.directory.filePath(QStringLiteral("S.qvProject")), options);
    } catch (const HException &) {
        return 0;
    }
    makeEach(session.system(), templates);
    return 0;
}
