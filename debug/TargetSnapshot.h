#pragma once
#include <QByteArray>
#include <QHash>
#include <QString>
#include <vector>

// The memory of a target that is not running: the sections of the loaded image at their
// addresses (zeros for .bss), overlaid by dumps of memory taken from the board (later ones
// win), overlaid by what stores wrote. Nothing here writes a file.
class TargetSnapshot {
public:
    // A section's bytes, observed (they belong to the file's mapping); null bytes read as zeros.
    void addSection(quint64 address, quint64 size, const char *bytes);
    // A dump's bytes, kept; later dumps win over earlier ones and over the sections.
    void addDump(quint64 address, QByteArray bytes);

    // Copies `length` bytes at `address`; false when any of them is not mapped.
    [[nodiscard]] bool read(quint64 address, qint64 length, char *destination) const;
    // Stores into the snapshot; false (and nothing stored) when any byte is not mapped.
    [[nodiscard]] bool write(quint64 address, qint64 length, const char *source);

    // The largest dump accepted, so that a huge file never becomes one allocation.
    static constexpr qint64 maxDumpSize = qint64(1) << 30;

private:
    struct Region {
        quint64 start;
        quint64 size;
        const char *bytes; // null: zeros
    };
    // Written bytes by page; `written` marks which bytes of the page stores have set.
    struct Page {
        QByteArray bytes;
        QByteArray written;
    };
    static constexpr quint64 pageSize = 4096;

    // The region of highest priority that holds `address`, and how many bytes from there it
    // serves before it ends or one of higher priority begins. -1: none holds it.
    int regionAt(quint64 address, quint64 &run) const;
    bool mapped(quint64 address, qint64 length) const;

    std::vector<Region> m_regions; // by rising priority: sections, then dumps in order given
    std::vector<QByteArray> m_dumps;
    QHash<quint64, Page> m_pages;
};
