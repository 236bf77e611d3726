// mkhdr: writes a C header of register addresses from a memory-map file, as a pre-build step.
//
//   mkhdr MEMORYMAP HEADER [GUARD]
//
// The header is the one `tess memmap header` writes (see projects/MemoryMapHeader.h): each
// segment's and group's base, each register as an lvalue of its width and its address, each bit
// field's first bit and mask, named by the group, register and field they stand in. The map is
// read with its directives; `$(VarnelDir)` in an include names this installation.
#include "foundation/AtomicWrite.h"
#include "foundation/HException.h"
#include "foundation/MacroSession.h"
#include "projects/MemoryMap.h"
#include "projects/MemoryMapHeader.h"
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <cstdio>

namespace {

int fail(const QString &message)
{
    std::fprintf(stderr, "mkhdr: %s\n", message.toLocal8Bit().constData());
    return 1;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 3 || argc > 4) {
        std::fprintf(stderr, "usage: mkhdr MEMORYMAP HEADER [GUARD]\n");
        return 1;
    }
    QCoreApplication application(argc, argv);
    setUpProgramDirectories();
    const MacroSession macros;

    const QString input = QFile::decodeName(argv[1]);
    const QString output = QFile::decodeName(argv[2]);
    MemoryMapHeader::Options options;
    options.guard = argc == 4 ? QString::fromLocal8Bit(argv[3])
                              : MemoryMapHeader::identifier(QFileInfo(output).fileName());
    options.generator = QStringLiteral("mkhdr");
    QByteArray text;
    try {
        const std::unique_ptr<MemoryMap> map = MemoryMap::open(input, QString());
        text = MemoryMapHeader::write(*map, options);
    } catch (const HException &error) {
        return fail(error.message());
    }
    QString why;
    if (!writeAtomically(output, text, &why))
        return fail(QStringLiteral("cannot write %1: %2").arg(output, why));
    return 0;
}
