#include "debug/DwarfDebugger.h"
#include "debug/ElfObjectFile.h"
#include "debug/MemoryAccessException.h"
#include "foundation/HException.h"
#include <QFile>
#include <QFileInfo>
#include <dwarf.h>
#include <elfutils/libdw.h>
#include <elfutils/libdwfl.h>
#include <fcntl.h>
#include <libelf.h>
#include <cstdlib>
#include <limits>
#include <unistd.h>

namespace {

// Bounds on walks over DWARF that a crafted file could make endless or deep.
constexpr int maxScopeDepth = 32;
constexpr int maxDiesPerWalk = 1000000;

// The engine never goes looking for separate debug files: what is not in the file given is not
// there.
int noSeparateDebugInfo(Dwfl_Module *, void **, const char *, Dwarf_Addr, const char *,
                        const char *, GElf_Word, char **)
{
    return -1;
}

char *noDebugInfoPath = nullptr;
const Dwfl_Callbacks offlineCallbacks = {
    dwfl_build_id_find_elf,
    noSeparateDebugInfo,
    dwfl_offline_section_address,
    &noDebugInfoPath,
};

std::string_view viewOf(const char *text)
{
    return text ? std::string_view(text) : std::string_view();
}

std::string_view viewOf(const QByteArray &text)
{
    return std::string_view(text.constData(), size_t(text.size()));
}

// Whether a source path names `file`: the same path, its base name, or a tail of it.
bool sourceMatches(const QString &source, const QString &file)
{
    if (source == file)
        return true;
    if (!file.contains(u'/'))
        return QFileInfo(source).fileName() == file;
    return source.endsWith(u'/' + file);
}

} // namespace

DwarfDebugger::DwarfDebugger(const QString &path) : m_path(path)
{
    open(path);
}

DwarfDebugger::~DwarfDebugger() = default;

void DwarfDebugger::DwflEnd::operator()(Dwfl *dwfl) const
{
    dwfl_end(dwfl);
}

void DwarfDebugger::open(const QString &path)
{
    const auto fail = [&path](const QString &what) { throw HException(path + QStringLiteral(": ") + what); };
    // Tell a file that is no ELF at all from one libdwfl has other troubles with.
    elf_version(EV_CURRENT);
    const QByteArray name = QFile::encodeName(path);
    const int fd = ::open(name.constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        fail(QStringLiteral("cannot open: ") + QString::fromLocal8Bit(strerror(errno)));
    Elf *probe = elf_begin(fd, ELF_C_READ_MMAP, nullptr);
    GElf_Ehdr header;
    const bool isElf = probe && elf_kind(probe) == ELF_K_ELF && gelf_getehdr(probe, &header);
    const bool relocatable = isElf && header.e_type == ET_REL;
    if (probe)
        elf_end(probe);
    ::close(fd);
    if (!isElf)
        fail(QStringLiteral("not an ELF file"));

    m_dwfl.reset(dwfl_begin(&offlineCallbacks));
    if (!m_dwfl)
        fail(QString::fromLatin1(dwfl_errmsg(-1)));
    dwfl_report_begin(m_dwfl.get());
    // A linked image stays at its link addresses, which its own pointers hold; a relocatable
    // object has none, and libdwfl lays its sections out one after another.
    Dwfl_Module *module = relocatable
                              ? dwfl_report_offline(m_dwfl.get(), name.constData(), name.constData(), -1)
                              : dwfl_report_elf(m_dwfl.get(), name.constData(), name.constData(), -1, 0, true);
    dwfl_report_end(m_dwfl.get(), nullptr, nullptr);
    if (!module)
        fail(QString::fromLatin1(dwfl_errmsg(-1)));
    Dwarf_Addr elfBias = 0;
    Elf *elf = dwfl_module_getelf(module, &elfBias);
    if (!elf)
        fail(QString::fromLatin1(dwfl_errmsg(-1)));
    m_object = std::make_unique<ElfObjectFile>(elf, elfBias, path);
    Dwarf_Addr dwarfBias = 0;
    m_dwarf = dwfl_module_getdwarf(module, &dwarfBias);
    m_bias = dwarfBias;
    Dwarf_CU *unit = nullptr;
    Dwarf_Half version = 0;
    uint8_t unitType = 0;
    if (!m_dwarf || dwarf_get_units(m_dwarf, nullptr, &unit, &version, &unitType, nullptr, nullptr) != 0)
        fail(QStringLiteral("no debug information"));
    for (const ElfObjectFile::LoadedSection &section : m_object->loadedSections())
        m_snapshot.addSection(section.address, section.size, section.bytes);
}

void DwarfDebugger::addDump(const QString &file, quint64 address)
{
    QFile dump(file);
    if (!dump.open(QIODevice::ReadOnly))
        throw HException(file + QStringLiteral(": cannot open: ") + dump.errorString());
    if (dump.size() > TargetSnapshot::maxDumpSize)
        throw HException(file + QStringLiteral(": dump too large (%1 bytes, limit %2)")
                                    .arg(dump.size())
                                    .arg(TargetSnapshot::maxDumpSize));
    QByteArray bytes = dump.readAll();
    if (bytes.size() != dump.size())
        throw HException(file + QStringLiteral(": cannot read: ") + dump.errorString());
    if (quint64(bytes.size()) > std::numeric_limits<quint64>::max() - address)
        throw HException(file + QStringLiteral(": dump runs past the end of the address space"));
    m_snapshot.addDump(address, std::move(bytes));
}

// ---- The index

bool DwarfDebugger::dieAt(quint64 key, Dwarf_Die &die)
{
    return dwarf_offdie(m_dwarf, Dwarf_Off(key), &die) != nullptr;
}

template <typename Visit>
void DwarfDebugger::forEachTopLevelDie(Visit visit)
{
    Dwarf_CU *unit = nullptr;
    Dwarf_CU *next = nullptr;
    Dwarf_Half version = 0;
    uint8_t unitType = 0;
    Dwarf_Die unitDie;
    int index = -1;
    while (dwarf_get_units(m_dwarf, unit, &next, &version, &unitType, &unitDie, nullptr) == 0) {
        unit = next;
        if (unitType != DW_UT_compile && unitType != DW_UT_partial)
            continue;
        ++index;
        Dwarf_Die die;
        if (dwarf_child(&unitDie, &die) != 0)
            continue;
        Dwarf_Off last = 0;
        do {
            // A sibling link that points back would walk for ever.
            const Dwarf_Off offset = dwarf_dieoffset(&die);
            if (offset <= last)
                break;
            last = offset;
            visit(die, index);
        } while (dwarf_siblingof(&die, &die) == 0);
    }
}

void DwarfDebugger::ensureIndexed()
{
    if (m_indexed)
        return;
    m_indexed = true;
    Dwarf_CU *unit = nullptr;
    Dwarf_CU *next = nullptr;
    Dwarf_Half version = 0;
    uint8_t unitType = 0;
    Dwarf_Die unitDie;
    while (dwarf_get_units(m_dwarf, unit, &next, &version, &unitType, &unitDie, nullptr) == 0) {
        unit = next;
        if (unitType == DW_UT_compile || unitType == DW_UT_partial)
            m_units.push_back({QString::fromUtf8(dwarf_diename(&unitDie))});
    }
    forEachTopLevelDie([this](Dwarf_Die &die, int index) { indexDie(die, index); });
}

void DwarfDebugger::ensureTypesIndexed()
{
    if (m_typesIndexed)
        return;
    m_typesIndexed = true;
    forEachTopLevelDie([this](Dwarf_Die &die, int) { indexType(die); });
}

void DwarfDebugger::indexDie(Dwarf_Die &die, int unit)
{
    const int tag = dwarf_tag(&die);
    if (tag != DW_TAG_variable && tag != DW_TAG_subprogram)
        return;
    const char *name = dwarf_diename(&die);
    if (!name)
        return;
    if (tag == DW_TAG_subprogram) {
        Dwarf_Addr low = 0;
        if (dwarf_lowpc(&die, &low) == 0)
            m_functions.emplace(viewOf(name), Function{dwarf_dieoffset(&die), low + m_bias, unit});
        return;
    }
    quint64 address = 0;
    if (!staticAddress(die, address))
        return;
    const bool external = dwarf_hasattr_integrate(&die, DW_AT_external);
    const int index = int(m_variables.size());
    m_variables.push_back({viewOf(name), dwarf_dieoffset(&die), address, unit, external});
    const auto [it, inserted] = m_variableByName.emplace(viewOf(name), index);
    if (!inserted && external && !m_variables[size_t(it->second)].external)
        it->second = index;
}

int DwarfDebugger::tagTable(QStringView keyword)
{
    static const char *const keywords[] = {"struct", "union", "class", "enum"};
    for (int i = 0; i < 4; ++i) {
        if (keyword == QLatin1String(keywords[i]))
            return i;
    }
    return -1;
}

int DwarfDebugger::tagTableOf(int dwarfTag)
{
    switch (dwarfTag) {
    case DW_TAG_structure_type: return 0;
    case DW_TAG_union_type: return 1;
    case DW_TAG_class_type: return 2;
    case DW_TAG_enumeration_type: return 3;
    default: return -1;
    }
}

void DwarfDebugger::indexType(Dwarf_Die &die)
{
    const int tag = dwarf_tag(&die);
    const int table = tagTableOf(tag);
    if (tag != DW_TAG_typedef && tag != DW_TAG_base_type && table < 0)
        return;
    const char *name = dwarf_diename(&die);
    if (table < 0) {
        if (name)
            m_typeDies.emplace(viewOf(name), dwarf_dieoffset(&die));
        return;
    }
    if (dwarf_hasattr(&die, DW_AT_declaration))
        return;
    if (name)
        m_tagDies[table].emplace(viewOf(name), dwarf_dieoffset(&die));
    if (tag != DW_TAG_enumeration_type)
        return;
    Dwarf_Die child;
    if (dwarf_child(&die, &child) != 0)
        return;
    Dwarf_Off last = 0;
    do {
        const Dwarf_Off offset = dwarf_dieoffset(&child);
        if (offset <= last)
            return;
        last = offset;
        const char *enumerator = dwarf_diename(&child);
        Dwarf_Attribute attribute;
        if (dwarf_tag(&child) != DW_TAG_enumerator || !enumerator
            || !dwarf_attr(&child, DW_AT_const_value, &attribute))
            continue;
        if (const std::optional<qint64> value = constantOf(attribute))
            m_enumerators.emplace(viewOf(enumerator), EnumeratorEntry{dwarf_dieoffset(&die), *value});
    } while (dwarf_siblingof(&child, &child) == 0);
}

// The address of a variable that lives at a fixed place: DW_OP_addr (or its indexed form),
// optionally plus a constant. Locals on a stack, TLS and location lists have none.
bool DwarfDebugger::staticAddress(Dwarf_Die &die, quint64 &address)
{
    Dwarf_Attribute attribute;
    if (!dwarf_attr(&die, DW_AT_location, &attribute))
        return false;
    Dwarf_Op *operations = nullptr;
    size_t count = 0;
    if (dwarf_getlocation(&attribute, &operations, &count) != 0 || count == 0)
        return false;
    Dwarf_Addr value = 0;
    switch (operations[0].atom) {
    case DW_OP_addr: value = operations[0].number; break;
    case DW_OP_addrx:
    case DW_OP_GNU_addr_index: {
        Dwarf_Attribute result;
        if (dwarf_getlocation_attr(&attribute, &operations[0], &result) != 0
            || dwarf_formaddr(&result, &value) != 0)
            return false;
        break;
    }
    default: return false;
    }
    for (size_t i = 1; i < count; ++i) {
        if (operations[i].atom != DW_OP_plus_uconst)
            return false;
        value += operations[i].number;
    }
    address = value + m_bias;
    return true;
}

// ---- Symbols

const BaseType *DwarfDebugger::variableType(Variable &variable)
{
    if (!variable.type) {
        Dwarf_Die die;
        variable.type = typeOfAttribute(dieAt(variable.die, die) ? &die : nullptr);
    }
    return variable.type;
}

DebugSymbol DwarfDebugger::variableSymbol(Variable &variable)
{
    DebugSymbol symbol;
    symbol.kind = SymbolKind::Variable;
    symbol.name = QString::fromUtf8(variable.name.data(), qsizetype(variable.name.size()));
    symbol.address = variable.address;
    symbol.type = variableType(variable);
    return symbol;
}

std::optional<DebugSymbol> DwarfDebugger::functionSymbol(std::string_view name, const Function &function)
{
    DebugSymbol symbol;
    symbol.kind = SymbolKind::Function;
    symbol.name = QString::fromUtf8(name.data(), qsizetype(name.size()));
    symbol.address = function.address;
    auto &type = m_types[function.die | (quint64(1) << 62)];
    if (!type) {
        Dwarf_Die die;
        if (dieAt(function.die, die))
            type = makeFunction(die, 0);
        else
            type = std::make_unique<UserType>(QStringLiteral("void"));
    }
    symbol.type = type.get();
    return symbol;
}

std::optional<DebugSymbol> DwarfDebugger::enumeratorSymbol(std::string_view name)
{
    ensureTypesIndexed();
    const auto found = m_enumerators.find(name);
    if (found == m_enumerators.end())
        return std::nullopt;
    const EnumeratorEntry *it = &found->second;
    DebugSymbol symbol;
    symbol.kind = SymbolKind::Constant;
    symbol.name = QString::fromUtf8(name.data(), qsizetype(name.size()));
    auto &type = m_types[it->enumDie];
    if (!type) {
        Dwarf_Die die;
        if (dieAt(it->enumDie, die))
            type = makeType(&die, 0);
        else
            type = std::make_unique<UserType>(QStringLiteral("void"));
    }
    symbol.type = type.get();
    symbol.value = it->value;
    return symbol;
}

std::optional<DebugSymbol> DwarfDebugger::findFileLevel(const QString &name, int unit)
{
    const QByteArray utf8 = name.toUtf8();
    if (unit < 0) {
        const auto it = m_variableByName.find(viewOf(utf8));
        if (it != m_variableByName.end())
            return variableSymbol(m_variables[size_t(it->second)]);
    } else {
        for (Variable &variable : m_variables) {
            if (variable.unit == unit && variable.name == viewOf(utf8))
                return variableSymbol(variable);
        }
    }
    const auto function = m_functions.find(viewOf(utf8));
    if (function != m_functions.end() && (unit < 0 || function->second.unit == unit))
        return functionSymbol(function->first, function->second);
    return enumeratorSymbol(viewOf(utf8));
}

std::optional<DebugSymbol> DwarfDebugger::findStaticLocal(const Function &function, const QString &name)
{
    Dwarf_Die die;
    if (!dieAt(function.die, die))
        return std::nullopt;
    const QByteArray utf8 = name.toUtf8();
    int visited = 0;
    // Depth-first through the function's blocks, bounded in depth and in DIEs.
    std::vector<Dwarf_Die> stack{die};
    std::vector<int> depths{0};
    while (!stack.empty() && ++visited < maxDiesPerWalk) {
        Dwarf_Die scope = stack.back();
        const int depth = depths.back();
        stack.pop_back();
        depths.pop_back();
        Dwarf_Die child;
        if (dwarf_child(&scope, &child) != 0)
            continue;
        Dwarf_Off last = 0;
        do {
            const Dwarf_Off offset = dwarf_dieoffset(&child);
            if (offset <= last || ++visited >= maxDiesPerWalk)
                break;
            last = offset;
            const int tag = dwarf_tag(&child);
            quint64 address = 0;
            if (tag == DW_TAG_variable && viewOf(dwarf_diename(&child)) == viewOf(utf8)
                && staticAddress(child, address)) {
                DebugSymbol symbol;
                symbol.name = name;
                symbol.address = address;
                symbol.type = typeOfAttribute(&child);
                return symbol;
            }
            if (tag == DW_TAG_lexical_block && depth < maxScopeDepth) {
                stack.push_back(child);
                depths.push_back(depth + 1);
            }
        } while (dwarf_siblingof(&child, &child) == 0);
    }
    return std::nullopt;
}

int DwarfDebugger::unitNamed(const QString &file) const
{
    for (size_t i = 0; i < m_units.size(); ++i) {
        if (!m_units[i].name.isEmpty() && sourceMatches(m_units[i].name, file))
            return int(i);
    }
    return -1;
}

std::optional<DebugSymbol> DwarfDebugger::findSymbol(const QStringList &scope, const QString &name)
{
    ensureIndexed();
    if (scope.isEmpty() || (scope.size() == 1 && scope.constFirst().isEmpty()))
        return findFileLevel(name, -1);
    if (scope.size() != 1)
        return std::nullopt;
    const QByteArray outer = scope.constFirst().toUtf8();
    const auto function = m_functions.find(viewOf(outer));
    if (function != m_functions.end())
        return findStaticLocal(function->second, name);
    const int unit = unitNamed(scope.constFirst());
    if (unit >= 0)
        return findFileLevel(name, unit);
    return std::nullopt;
}

// ---- Memory, registers, calls

void DwarfDebugger::readMemory(quint64 address, int width, qint64 count, char *destination)
{
    if (width < 1 || count < 0 || count > std::numeric_limits<qint64>::max() / width
        || !m_snapshot.read(address, qint64(width) * count, destination))
        throw MemoryAccessException::at(address);
}

void DwarfDebugger::writeMemory(quint64 address, int width, qint64 count, const char *source)
{
    if (width < 1 || count < 0 || count > std::numeric_limits<qint64>::max() / width
        || !m_snapshot.write(address, qint64(width) * count, source))
        throw MemoryAccessException::at(address);
}

ExpressionValue DwarfDebugger::readRegister(const QString &)
{
    throw ParserException(QStringLiteral("unknown register"));
}

void DwarfDebugger::writeRegister(const QString &, const ExpressionValue &)
{
    throw ParserException(QStringLiteral("unknown register"));
}

ExpressionValue DwarfDebugger::callFunction(quint64, const QList<ExpressionValue> &)
{
    throw ParserException(QStringLiteral("no target to call functions on"));
}

bool DwarfDebugger::bigEndian() const
{
    return m_object->bigEndian();
}

int DwarfDebugger::addressWidth() const
{
    return m_object->addressWidth();
}

// ---- Lists

std::vector<std::unique_ptr<SegmentInformation>> DwarfDebugger::segments()
{
    return m_object->segments();
}

std::vector<std::unique_ptr<SectionInformation>> DwarfDebugger::sections()
{
    return m_object->sections();
}

std::vector<std::unique_ptr<SymbolInformation>> DwarfDebugger::symbols()
{
    return m_object->symbols();
}

std::vector<std::unique_ptr<SymbolInformation>> DwarfDebugger::locals()
{
    return {};
}

std::vector<std::unique_ptr<SymbolInformation>> DwarfDebugger::globals()
{
    ensureIndexed();
    std::vector<std::unique_ptr<SymbolInformation>> result;
    result.reserve(m_variables.size());
    for (Variable &variable : m_variables) {
        const BaseType *type = variableType(variable);
        SymbolInformation::Fields fields;
        fields.name = QString::fromUtf8(variable.name.data(), qsizetype(variable.name.size()));
        fields.typeName = type->name();
        fields.fileName = m_units[size_t(variable.unit)].name;
        fields.address = variable.address;
        fields.size = type->size();
        fields.kind = SymbolKind::Variable;
        fields.external = variable.external;
        fields.type = type;
        fields.addressWidth = addressWidth();
        result.push_back(std::make_unique<SymbolInformation>(std::move(fields)));
    }
    return result;
}

// ---- Lines

DwarfDebugger::SourcePosition DwarfDebugger::sourceAt(quint64 address)
{
    const Dwarf_Addr pc = address - m_bias;
    Dwarf_Die unitDie;
    if (address < m_bias || !dwarf_addrdie(m_dwarf, pc, &unitDie))
        throw ParserException(QStringLiteral("no source at 0x%1").arg(address, 0, 16));
    SourcePosition position;
    if (Dwarf_Line *line = dwarf_getsrc_die(&unitDie, pc)) {
        int number = 0;
        if (const char *source = dwarf_linesrc(line, nullptr, nullptr))
            position.file = QString::fromUtf8(source);
        if (dwarf_lineno(line, &number) == 0)
            position.line = number;
    }
    Dwarf_Die *scopes = nullptr;
    const int count = dwarf_getscopes(&unitDie, pc, &scopes);
    for (int i = 0; i < count; ++i) {
        if (dwarf_tag(&scopes[i]) != DW_TAG_subprogram)
            continue;
        if (const char *name = dwarf_diename(&scopes[i]))
            position.function = QString::fromUtf8(name);
        break;
    }
    std::free(scopes);
    return position;
}

quint64 DwarfDebugger::addressOfLine(const QString &file, int line)
{
    Dwarf_CU *unit = nullptr;
    Dwarf_CU *next = nullptr;
    Dwarf_Half version = 0;
    uint8_t unitType = 0;
    Dwarf_Die unitDie;
    bool found = false;
    Dwarf_Addr best = std::numeric_limits<Dwarf_Addr>::max();
    while (dwarf_get_units(m_dwarf, unit, &next, &version, &unitType, &unitDie, nullptr) == 0) {
        unit = next;
        Dwarf_Lines *lines = nullptr;
        size_t count = 0;
        if (dwarf_getsrclines(&unitDie, &lines, &count) != 0)
            continue;
        for (size_t i = 0; i < count; ++i) {
            Dwarf_Line *entry = dwarf_onesrcline(lines, i);
            int number = 0;
            bool endSequence = false;
            Dwarf_Addr address = 0;
            if (!entry || dwarf_lineno(entry, &number) != 0 || number != line
                || dwarf_lineendsequence(entry, &endSequence) != 0 || endSequence
                || dwarf_lineaddr(entry, &address) != 0)
                continue;
            const char *source = dwarf_linesrc(entry, nullptr, nullptr);
            if (!source || !sourceMatches(QString::fromUtf8(source), file))
                continue;
            found = true;
            best = qMin(best, address);
        }
    }
    if (!found)
        throw ParserException(QStringLiteral("no code at %1:%2").arg(file).arg(line));
    return best + m_bias;
}
