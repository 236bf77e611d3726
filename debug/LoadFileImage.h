#pragma once
#include <QString>
#include <optional>
#include <vector>

class CodeBuffer;
class LoadFileInterface;
class LoadFileSectionInterface;

// The sections of a load file in address order, as a program image: what `tess load` prints and
// converts. Sections of equal address keep their file order.
class LoadFileImage {
public:
    explicit LoadFileImage(LoadFileInterface &file);

    const std::vector<LoadFileSectionInterface *> &sections() const { return m_sections; }
    // The lowest address that two sections both hold, if any.
    [[nodiscard]] std::optional<quint32> firstDoubledAddress() const;
    // The number of bytes in all sections.
    [[nodiscard]] quint64 byteCount() const;
    // The first address held and the one after the last; equal when the image is empty.
    [[nodiscard]] quint64 lowest() const;
    [[nodiscard]] quint64 end() const;
    // CRC-32 of the section bytes in address order, gaps skipped.
    [[nodiscard]] quint32 crc32() const;
    // Each section's bytes at its address; adjacent sections run on in one stretch.
    void writeTo(CodeBuffer &buffer) const;

private:
    std::vector<LoadFileSectionInterface *> m_sections;
};
