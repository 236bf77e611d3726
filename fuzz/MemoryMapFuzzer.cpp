// Loads arbitrary bytes as a memory-map file with its directives, calculates the addresses and
// runs what tools do with a map: the check, the register header and the usage of a program.
// Bad input must end in a message, never a crash. Includes reach only the scratch directory.
#include "foundation/HException.h"
#include "foundation/MacroSession.h"
#include "foundation/Report.h"
#include "projects/MemoryMap.h"
#include "projects/MemoryMapCheck.h"
#include "projects/MemoryMapHeader.h"
#include "projects/MemoryUsage.h"
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <cstddef>
#include <cstdint>

namespace {

struct Scratch {
    MacroSession macros{QStringLiteral("/opt/tess")};
    QTemporaryDir directory;
    QString root = QFileInfo(directory.path()).canonicalFilePath();
};

Scratch &scratch()
{
    static Scratch *instance = [] {
        auto *made = new Scratch;
        setReportMask(0);
        QFile part(made->directory.filePath(QStringLiteral("part.xml")));
        if (part.open(QIODevice::WriteOnly))
            part.write("<RegisterGroup name=\"P\" start=\"+0x100\" size=\"0x10\">"
                       "<Register name=\"R\" start=\"+4\"/><include filename=\"map.xml\"/>"
                       "</RegisterGroup>");
        return made;
    }();
    return *instance;
}

class FuzzedMap : public MemoryMap {
protected:
    bool mayInclude(const QString &path) const override
    {
        const QString canonical = QFileInfo(path).canonicalFilePath();
        return !canonical.isEmpty() && canonical.startsWith(scratch().root + u'/');
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size > (1 << 18))
        return 0;
    Scratch &made = scratch();
    const QString path = made.directory.filePath(QStringLiteral("map.xml"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return 0;
    file.write(reinterpret_cast<const char *>(data), qint64(size));
    file.close();

    FuzzedMap map;
    XMLPP2::Limits limits;
    limits.nesting = 64;
    limits.includeDepth = 6;
    limits.includeFiles = 40;
    limits.createdElements = 20000;
    limits.loopRounds = 50000;
    map.setLimits(limits);
    if (!map.load(path, QStringLiteral("A=1;B=0x10")) || !map.root())
        return 0;
    map.calculateAddresses();
    const MemoryMapCheck check(map);
    try {
        (void)MemoryMapHeader::write(map, {});
    } catch (const HException &) {
    }
    const std::vector<PlacedSection> sections = {
        {QStringLiteral(".text"), 0x08000000, 0x08000000, 0x1000, true},
        {QStringLiteral(".data"), 0x20000000, 0x08001000, 0x100, true},
        {QStringLiteral(".bss"), 0x20000100, 0x20000100, 0xFFFFFFFF, false},
    };
    const MemoryUsage usage(map, sections);
    (void)usage.table();
    return 0;
}
