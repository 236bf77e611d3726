// Loads arbitrary bytes as a solution file: the project system must answer with a load error
// or a tree, never crash. Load commands are off: the input is untrusted.
#include "foundation/PropertyClass.h"
#include "projects/StandardProjectSystem.h"
#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static std::unique_ptr<PropertyClassList> macros = PropertyClassList::createMacroSystem();
    PropertyClassList::setGlobal(macros.get());
    static QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("fuzz.qvProject"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return 0;
    file.write(reinterpret_cast<const char *>(data), qint64(size));
    file.close();
    StandardProjectSystem system;
    system.setRunLoadCommands(false);
    try {
        ProjectElement *solution = system.loadSolution(QString(), path, false);
        for (const ProjectElement *child : solution->children())
            (void)system.expandedProperty(
                child, system.propertyClass(ProjectProperty::BuildOutputFileName),
                QStringLiteral("Debug"));
        (void)system.solutionFileBytes(solution);
    } catch (const HException &) {
    }
    return 0;
}
