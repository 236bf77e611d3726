#pragma once
#include "debug/LoadFileInterface.h"
#include <memory>

// A raw image: the whole file, read at construction, as one section named "data" at the load
// address. The section is made on first need and kept while the load address stays.
class BinaryLoadFile : public StandardLoadFile {
public:
    // The largest binary read unless the caller sets a lower limit: a section holds 32 bits' worth.
    static constexpr qint64 maximumSize = 0xFFFFFFFF;
    // How the section list names the one contiguous stretch of a binary.
    static constexpr const char *sectionListTitle = "Contiguous section";

    // Raises "cannot open " + path, "cannot read " + path, or a size over `maxSize` before
    // anything is allocated.
    explicit BinaryLoadFile(const QString &path, qint64 maxSize = maximumSize);
    ~BinaryLoadFile() override;

    bool isEditable() const override { return false; }
    void setLoadAddress(quint32 address) override;
    void relocate(quint32 address) override { setLoadAddress(address); }
    void reload() override;
    // False when the image would reach past 0xFFFFFFFF from the load address.
    bool readSections() override;

    [[nodiscard]] quint32 loadAddress() const { return m_loadAddress; }
    [[nodiscard]] qint64 length() const { return m_length; }

private:
    void readFile();

    quint32 m_loadAddress = 0;
    std::unique_ptr<uchar[]> m_buffer;
    qint64 m_length = 0;
    qint64 m_maxSize;
};
