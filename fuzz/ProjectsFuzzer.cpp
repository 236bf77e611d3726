// Loads arbitrary bytes as a solution file: the project system must answer with a load error
// or a tree, never crash. Load commands are off: the input is untrusted.
#include "foundation/MacroSession.h"
#include "projects/SolutionSession.h"
#include "projects/StandardProjectSystem.h"
#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const MacroSession macros(QStringLiteral("/opt/tess"));
    static QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("fuzz.qvProject"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return 0;
    file.write(reinterpret_cast<const char *>(data), qint64(size));
    file.close();
    SolutionSession session;   // shares the macros above
    StandardProjectSystem &system = session.system();
    try {
        SolutionSession::LoadOptions options;
        options.expandMacros = false;
        options.runLoadCommands = false;
        ProjectElement *solution = session.load(path, options);
        for (const ProjectElement *child : solution->children())
            (void)system.expandedProperty(
                child, system.propertyClass(ProjectProperty::BuildOutputFileName),
                QStringLiteral("Debug"));
        (void)system.solutionFileBytes(solution);
    } catch (const HException &) {
    }
    return 0;
}
