// tess memmap: memory maps from the command line. `show` prints the tree with the computed
// addresses, `header` writes the register header, `check` finds what a map gets wrong, `usage`
// tells how much of each memory segment a linked program takes.
#include "debug/ElfObjectFile.h"
#include "foundation/AtomicWrite.h"
#include "foundation/HException.h"
#include "foundation/MacroSession.h"
#include "foundation/Report.h"
#include "projects/MemoryMap.h"
#include "projects/MemoryMapCheck.h"
#include "projects/MemoryMapHeader.h"
#include "projects/MemoryUsage.h"
#include "tool/tess/Commands.h"
#include <QFileInfo>
#include <cstdio>

namespace {

void writeOut(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
}

// The map of the first operand, loaded with the --defs macros and its addresses computed.
// Preprocessor messages are shown as warnings, except to `check`, which reports them itself.
std::unique_ptr<MemoryMap> openMap(const CommandArguments &arguments, bool showWarnings)
{
    if (showWarnings)
        setReportMask(reportMask() | reportWarnings);
    std::unique_ptr<MemoryMap> map =
        MemoryMap::open(arguments.operands().first(), arguments.value("--defs"));
    map->calculateAddresses();
    return map;
}

QString range(quint64 start, quint64 bytes)
{
    return bytes == 0 ? MemoryMap::hexText(start)
                      : MemoryMap::hexText(start) + u'-' + MemoryMap::hexText(start + bytes - 1);
}

// One line of the tree: what the element is, where it lies, how big, who may touch it.
QString describeLine(const MemoryMapElement *element)
{
    QString line = QString::fromUtf8(element->XMLElement::name());
    if (element->hasName())
        line += u' ' + element->nameText();
    const bool placed = element->hasStart();
    switch (element->kind()) {
    case MemoryMapKind::MemorySegment:
    case MemoryMapKind::ProgramSection:
    case MemoryMapKind::RegisterGroup:
        if (placed)
            line += QStringLiteral("  ") + range(element->start(), element->size());
        if (element->hasSize())
            line += QStringLiteral("  size %1").arg(element->size());
        break;
    case MemoryMapKind::Register:
        if (placed)
            line += QStringLiteral("  ") + range(element->start(), MemoryMap::registerBytes(element));
        line += QStringLiteral("  size %1").arg(MemoryMap::registerBytes(element));
        break;
    case MemoryMapKind::BitField:
        line += QStringLiteral("  bits %1-%2")
                    .arg(element->start())
                    .arg(element->start() + MemoryMap::fieldBits(element) - 1);
        break;
    case MemoryMapKind::Enum:
        line += QStringLiteral(" = %1").arg(element->parsedValue());
        break;
    case MemoryMapKind::Vector:
        if (placed)
            line += QStringLiteral("  ") + element->startText();
        break;
    default:
        break;
    }
    if (element->hasAccess())
        line += QStringLiteral("  ") + element->access();
    return line;
}

// The groups a register stands in and its name: "GPIOA.MODER".
QString registerPath(const MemoryMapElement *element)
{
    QString path = element->nameText();
    for (const XMLNode *node = element->parent(); node; node = node->parent()) {
        const MemoryMapElement *outer = asMemoryMapElement(node);
        if (outer && outer->kind() == MemoryMapKind::RegisterGroup && outer->hasName())
            path = outer->nameText() + u'.' + path;
    }
    return path;
}

QString flatLine(const MemoryMapElement *element)
{
    QString line = QStringLiteral("%1  %2  %3  %4")
                       .arg(MemoryMap::hexText(element->start()))
                       .arg(MemoryMap::registerBytes(element))
                       .arg(element->hasAccess() ? element->access() : QStringLiteral("-"),
                            registerPath(element));
    for (const XMLNode *node = element->firstChild(); node; node = node->nextSibling()) {
        const MemoryMapElement *field = asMemoryMapElement(node);
        if (!field || field->kind() != MemoryMapKind::BitField)
            continue;
        const quint32 last = field->start() + MemoryMap::fieldBits(field) - 1;
        line += QStringLiteral("  %1[%2:%3]").arg(field->nameText()).arg(last).arg(field->start());
    }
    return line;
}

int show(const CommandArguments &arguments)
{
    if (arguments.operands().size() != 1)
        return arguments.usageError(QStringLiteral("give one memory-map file"));
    const MacroSession macros;
    try {
        const std::unique_ptr<MemoryMap> map = openMap(arguments, true);
        const bool flat = arguments.has("--flat");
        QString text;
        for (const MemoryMapElement *element : MemoryMap::elementsInOrder(map->mapRoot())) {
            if (flat) {
                if (element->kind() == MemoryMapKind::Register)
                    text += flatLine(element) + u'\n';
                continue;
            }
            int depth = 0;
            for (const XMLNode *node = element->parent(); node; node = node->parent())
                ++depth;
            text += QString(depth * 2, u' ') + describeLine(element) + u'\n';
        }
        writeOut(text);
    } catch (const HException &error) {
        return arguments.fail(error.message());
    }
    return exitSuccess;
}

int header(const CommandArguments &arguments)
{
    if (arguments.operands().size() != 1)
        return arguments.usageError(QStringLiteral("give one memory-map file"));
    const QString output = arguments.value("--output");
    if (output.isEmpty())
        return arguments.usageError(QStringLiteral("give the header to write with -o OUT.h"));
    const MacroSession macros;
    try {
        const std::unique_ptr<MemoryMap> map = openMap(arguments, true);
        MemoryMapHeader::Options options;
        options.prefix = arguments.value("--prefix");
        options.guard = arguments.value(
            "--guard", MemoryMapHeader::identifier(QFileInfo(output).fileName()));
        options.generator = QStringLiteral("tess memmap header");
        const QByteArray text = MemoryMapHeader::write(*map, options);
        QString why;
        if (!writeAtomically(output, text, &why))
            return arguments.fail(QStringLiteral("cannot write %1: %2").arg(output, why));
    } catch (const HException &error) {
        return arguments.fail(error.message());
    }
    return exitSuccess;
}

int check(const CommandArguments &arguments)
{
    if (arguments.operands().size() != 1)
        return arguments.usageError(QStringLiteral("give one memory-map file"));
    const MacroSession macros;
    try {
        const std::unique_ptr<MemoryMap> map = openMap(arguments, false);
        const MemoryMapCheck result(*map);
        QString text;
        for (const MemoryMapProblem &problem : result.problems())
            text += problem.location + QStringLiteral(": ") + problem.message + u'\n';
        if (result.problems().empty())
            text = arguments.operands().first() + QStringLiteral(": no problems found\n");
        writeOut(text);
        return result.problems().empty() ? exitSuccess : exitFailure;
    } catch (const HException &error) {
        return arguments.fail(error.message());
    }
}

int usage(const CommandArguments &arguments)
{
    if (arguments.operands().size() != 2)
        return arguments.usageError(QStringLiteral("give the memory-map file and the ELF file"));
    const MacroSession macros;
    try {
        const std::unique_ptr<MemoryMap> map = openMap(arguments, true);
        const std::unique_ptr<ElfObjectFile> elf = ElfObjectFile::open(arguments.operands()[1]);
        std::vector<PlacedSection> sections;
        for (const ElfObjectFile::LoadedSection &loaded : elf->loadedSections())
            sections.push_back({loaded.name, loaded.address, loaded.loadAddress, loaded.size,
                                loaded.bytes != nullptr});
        const MemoryUsage result(*map, sections);
        if (result.segments().empty())
            return arguments.fail(arguments.operands().first()
                                  + QStringLiteral(": no memory segment with a start and a size"));
        QString text = result.table();
        if (result.outsideBytes() > 0)
            text += QStringLiteral("%1 bytes lie outside every segment: %2\n")
                        .arg(result.outsideBytes())
                        .arg(result.outsideSections().join(QStringLiteral(", ")));
        writeOut(text);
    } catch (const HException &error) {
        return arguments.fail(error.message());
    }
    return exitSuccess;
}

constexpr TessOption defsOption = {"--defs", "\"A=1;B=2\"", "macros the map's directives see"};
constexpr TessOption showOptions[] = {
    defsOption,
    {"--flat", nullptr, "one line per register: address, size, access, GROUP.REGISTER, fields"},
};
constexpr TessOption headerOptions[] = {
    {"--output", "OUT.h", "the header to write (required)", "-o"},
    {"--prefix", "P", "put P in front of every macro name"},
    {"--guard", "NAME", "the include guard (default from OUT.h's name)"},
    defsOption,
};
constexpr TessOption checkOptions[] = {defsOption};
constexpr TessOption usageOptions[] = {defsOption};

constexpr TessCommand memmapRows[] = {
    {"memmap show", "FILE [--flat] [--defs \"A=1;B=2\"]",
     "the elements of a memory map with computed start, end, size and access", showOptions,
     "tess memmap show stm32f4.xml --flat", show},
    {"memmap header", "FILE -o OUT.h [--prefix P] [--guard NAME]",
     "write a C header of register addresses, bit positions and masks", headerOptions,
     "tess memmap header stm32f4.xml -o stm32f4_regs.h", header},
    {"memmap check", "FILE",
     "report overlaps, misplaced registers, duplicate names, bad expressions (exit 1 if any)",
     checkOptions, "tess memmap check stm32f4.xml", check},
    {"memmap usage", "MAP ELF",
     "the bytes a linked program takes of each memory segment", usageOptions,
     "tess memmap usage stm32f4.xml firmware.elf", usage},
};

} // namespace

std::span<const TessCommand> memmapCommands()
{
    return memmapRows;
}
