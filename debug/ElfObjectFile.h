#pragma once
#include "debug/ObjectFileInterface.h"
#include <QString>
#include <memory>
#include <vector>

typedef struct Elf Elf;

// An ELF file read through libelf: its sections, segments and symbol table, and the bytes of the
// sections that occupy memory. Addresses are where the file is placed: its own addresses plus a
// bias (libdwfl places a relocatable object's sections one after another).
class ElfObjectFile : public ObjectFileInterface {
public:
    // Observes `elf`, which must outlive this object. Throws HException when the file is not a
    // usable ELF file, naming `path`.
    ElfObjectFile(Elf *elf, quint64 bias, QString path);
    ~ElfObjectFile() override;

    // Opens `path` and owns the handle. Throws HException "PATH: not an ELF file" and the like.
    [[nodiscard]] static std::unique_ptr<ElfObjectFile> open(const QString &path);

    std::vector<std::unique_ptr<SectionInformation>> sections() const override;
    std::vector<std::unique_ptr<SegmentInformation>> segments() const override;
    std::vector<std::unique_ptr<SymbolInformation>> symbols() const override;

    // A section that occupies memory on the target. `bytes` null: it reads as zeros (.bss).
    struct LoadedSection {
        QString name;
        quint64 address = 0;
        // Where the program header stores the bytes: for initialised data that start-up code
        // copies to RAM this is the copy in flash. Equal to address otherwise.
        quint64 loadAddress = 0;
        quint64 size = 0;
        const char *bytes = nullptr; // into the file's mapping, valid while the handle lives
    };
    // Throws HException when a section's bytes lie outside the file.
    [[nodiscard]] std::vector<LoadedSection> loadedSections() const;

    bool bigEndian() const { return m_bigEndian; }
    int addressWidth() const { return m_addressWidth; }
    int machine() const { return m_machine; }
    bool isRelocatable() const { return m_relocatable; }
    const QString &path() const { return m_path; }

private:
    struct Handle;

    ElfObjectFile(std::unique_ptr<Handle> handle, QString path);
    void readHeader();
    [[nodiscard]] quint64 loadAddressOf(quint64 address, quint64 offset, quint64 size) const;
    [[noreturn]] void fail(const QString &what) const;

    std::unique_ptr<Handle> m_handle; // set when this object opened the file itself
    Elf *m_elf;
    quint64 m_bias;
    QString m_path;
    bool m_bigEndian = false;
    int m_addressWidth = 4;
    int m_machine = 0;
    bool m_relocatable = false;
};
