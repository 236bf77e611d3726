#include "debug/ElfObjectFile.h"
#include "foundation/HException.h"
#include <QFile>
#include <fcntl.h>
#include <gelf.h>
#include <libelf.h>
#include <unistd.h>

struct ElfObjectFile::Handle {
    int fd = -1;
    Elf *elf = nullptr;
    ~Handle()
    {
        if (elf)
            elf_end(elf);
        if (fd >= 0)
            ::close(fd);
    }
};

namespace {

QString sectionTypeName(quint32 type)
{
    switch (type) {
    case SHT_NULL: return QStringLiteral("NULL");
    case SHT_PROGBITS: return QStringLiteral("PROGBITS");
    case SHT_SYMTAB: return QStringLiteral("SYMTAB");
    case SHT_STRTAB: return QStringLiteral("STRTAB");
    case SHT_RELA: return QStringLiteral("RELA");
    case SHT_NOBITS: return QStringLiteral("NOBITS");
    case SHT_REL: return QStringLiteral("REL");
    case SHT_DYNSYM: return QStringLiteral("DYNSYM");
    case SHT_INIT_ARRAY: return QStringLiteral("INIT_ARRAY");
    case SHT_FINI_ARRAY: return QStringLiteral("FINI_ARRAY");
    case SHT_NOTE: return QStringLiteral("NOTE");
    default: return QStringLiteral("0x%1").arg(type, 0, 16);
    }
}

QString segmentTypeName(quint32 type)
{
    switch (type) {
    case PT_LOAD: return QStringLiteral("LOAD");
    case PT_DYNAMIC: return QStringLiteral("DYNAMIC");
    case PT_INTERP: return QStringLiteral("INTERP");
    case PT_NOTE: return QStringLiteral("NOTE");
    case PT_PHDR: return QStringLiteral("PHDR");
    case PT_TLS: return QStringLiteral("TLS");
    default: return QStringLiteral("0x%1").arg(type, 0, 16);
    }
}

QString segmentFlags(quint32 flags)
{
    QString text = QStringLiteral("---");
    if (flags & PF_R)
        text[0] = u'r';
    if (flags & PF_W)
        text[1] = u'w';
    if (flags & PF_X)
        text[2] = u'x';
    return text;
}

} // namespace

ElfObjectFile::ElfObjectFile(Elf *elf, quint64 bias, QString path)
    : m_elf(elf), m_bias(bias), m_path(std::move(path))
{
    readHeader();
}

ElfObjectFile::ElfObjectFile(std::unique_ptr<Handle> handle, QString path)
    : m_handle(std::move(handle)), m_elf(m_handle->elf), m_bias(0), m_path(std::move(path))
{
    readHeader();
}

ElfObjectFile::~ElfObjectFile() = default;

std::unique_ptr<ElfObjectFile> ElfObjectFile::open(const QString &path)
{
    elf_version(EV_CURRENT);
    auto handle = std::make_unique<Handle>();
    handle->fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (handle->fd < 0)
        throw HException(path + QStringLiteral(": cannot open: ") + QString::fromLocal8Bit(strerror(errno)));
    handle->elf = elf_begin(handle->fd, ELF_C_READ_MMAP, nullptr);
    if (!handle->elf || elf_kind(handle->elf) != ELF_K_ELF)
        throw HException(path + QStringLiteral(": not an ELF file"));
    return std::unique_ptr<ElfObjectFile>(new ElfObjectFile(std::move(handle), path));
}

void ElfObjectFile::fail(const QString &what) const
{
    throw HException(m_path + QStringLiteral(": ") + what);
}

void ElfObjectFile::readHeader()
{
    if (!m_elf || elf_kind(m_elf) != ELF_K_ELF)
        fail(QStringLiteral("not an ELF file"));
    GElf_Ehdr header;
    if (!gelf_getehdr(m_elf, &header))
        fail(QStringLiteral("not an ELF file"));
    m_bigEndian = header.e_ident[EI_DATA] == ELFDATA2MSB;
    m_addressWidth = header.e_ident[EI_CLASS] == ELFCLASS64 ? 8 : 4;
    m_machine = header.e_machine;
    m_relocatable = header.e_type == ET_REL;
    size_t count = 0;
    if (elf_getshdrnum(m_elf, &count) != 0)
        fail(QStringLiteral("bad section table: ") + QString::fromLatin1(elf_errmsg(-1)));
}

std::vector<std::unique_ptr<SectionInformation>> ElfObjectFile::sections() const
{
    std::vector<std::unique_ptr<SectionInformation>> result;
    size_t stringsIndex = 0;
    if (elf_getshdrstrndx(m_elf, &stringsIndex) != 0)
        return result;
    for (Elf_Scn *section = elf_nextscn(m_elf, nullptr); section; section = elf_nextscn(m_elf, section)) {
        GElf_Shdr header;
        if (!gelf_getshdr(section, &header))
            continue;
        const char *name = elf_strptr(m_elf, stringsIndex, header.sh_name);
        const quint64 address = (header.sh_flags & SHF_ALLOC) ? header.sh_addr + m_bias : header.sh_addr;
        result.push_back(std::make_unique<SectionInformation>(
            QString::fromUtf8(name ? name : ""), sectionTypeName(header.sh_type), address,
            header.sh_size, header.sh_offset));
    }
    return result;
}

std::vector<std::unique_ptr<SegmentInformation>> ElfObjectFile::segments() const
{
    std::vector<std::unique_ptr<SegmentInformation>> result;
    size_t count = 0;
    if (elf_getphdrnum(m_elf, &count) != 0)
        return result;
    for (size_t i = 0; i < count; ++i) {
        GElf_Phdr header;
        if (!gelf_getphdr(m_elf, int(i), &header))
            continue;
        result.push_back(std::make_unique<SegmentInformation>(
            segmentTypeName(header.p_type), segmentFlags(header.p_flags), header.p_vaddr + m_bias,
            header.p_memsz, header.p_offset));
    }
    return result;
}

std::vector<std::unique_ptr<SymbolInformation>> ElfObjectFile::symbols() const
{
    std::vector<std::unique_ptr<SymbolInformation>> result;
    for (Elf_Scn *section = elf_nextscn(m_elf, nullptr); section; section = elf_nextscn(m_elf, section)) {
        GElf_Shdr header;
        if (!gelf_getshdr(section, &header) || header.sh_type != SHT_SYMTAB || header.sh_entsize == 0)
            continue;
        Elf_Data *data = elf_getdata(section, nullptr);
        if (!data)
            continue;
        const size_t count = data->d_size / header.sh_entsize;
        for (size_t i = 1; i < count; ++i) {
            GElf_Sym symbol;
            if (!gelf_getsym(data, int(i), &symbol))
                break;
            const char *name = elf_strptr(m_elf, header.sh_link, symbol.st_name);
            const int type = GELF_ST_TYPE(symbol.st_info);
            if (!name || !*name || (type != STT_FUNC && type != STT_OBJECT))
                continue;
            SymbolInformation::Fields fields;
            fields.name = QString::fromUtf8(name);
            fields.address = symbol.st_value + (symbol.st_shndx != SHN_ABS ? m_bias : 0);
            fields.size = qint64(symbol.st_size);
            fields.kind = type == STT_FUNC ? SymbolKind::Function : SymbolKind::Object;
            fields.external = GELF_ST_BIND(symbol.st_info) != STB_LOCAL;
            fields.sectionIndex = symbol.st_shndx;
            fields.fileName = m_path;
            fields.addressWidth = m_addressWidth;
            result.push_back(std::make_unique<SymbolInformation>(std::move(fields)));
        }
    }
    return result;
}

quint64 ElfObjectFile::loadAddressOf(quint64 address, quint64 offset, quint64 size) const
{
    size_t count = 0;
    if (elf_getphdrnum(m_elf, &count) != 0)
        return address + m_bias;
    for (size_t i = 0; i < count; ++i) {
        GElf_Phdr header;
        if (!gelf_getphdr(m_elf, int(i), &header) || header.p_type != PT_LOAD)
            continue;
        const bool inFile = offset >= header.p_offset && size <= header.p_filesz
                         && offset - header.p_offset <= header.p_filesz - size;
        const bool inMemory = address >= header.p_vaddr && address - header.p_vaddr < header.p_memsz;
        if (inFile && inMemory)
            return header.p_paddr + (address - header.p_vaddr) + m_bias;
    }
    return address + m_bias;
}

std::vector<ElfObjectFile::LoadedSection> ElfObjectFile::loadedSections() const
{
    std::vector<LoadedSection> result;
    size_t stringsIndex = 0;
    if (elf_getshdrstrndx(m_elf, &stringsIndex) != 0)
        fail(QStringLiteral("bad section table: ") + QString::fromLatin1(elf_errmsg(-1)));
    for (Elf_Scn *section = elf_nextscn(m_elf, nullptr); section; section = elf_nextscn(m_elf, section)) {
        GElf_Shdr header;
        if (!gelf_getshdr(section, &header))
            fail(QStringLiteral("bad section header: ") + QString::fromLatin1(elf_errmsg(-1)));
        if (!(header.sh_flags & SHF_ALLOC) || header.sh_size == 0)
            continue;
        const char *name = elf_strptr(m_elf, stringsIndex, header.sh_name);
        LoadedSection loaded;
        loaded.name = QString::fromUtf8(name ? name : "");
        loaded.address = header.sh_addr + m_bias;
        loaded.size = header.sh_size;
        loaded.loadAddress = header.sh_type == SHT_NOBITS
                                 ? loaded.address
                                 : loadAddressOf(header.sh_addr, header.sh_offset, header.sh_size);
        if (header.sh_type != SHT_NOBITS) {
            // libelf refuses a section whose bytes lie beyond the end of the file.
            Elf_Data *data = elf_rawdata(section, nullptr);
            if (!data || data->d_size != header.sh_size || !data->d_buf)
                fail(QStringLiteral("section %1 lies outside the file").arg(loaded.name));
            loaded.bytes = static_cast<const char *>(data->d_buf);
        }
        result.push_back(loaded);
    }
    return result;
}
