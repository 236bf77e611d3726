#pragma once
#include "debug/CodeBuffer.h"
#include <map>
#include <memory>

// Collects bytes in a sparse image of 4 KB pages and writes the span from the lowest to the
// highest address written, with gaps in the fill byte (0xFF by default). The file has no address
// of its own: it starts at the lowest address written.
class BinaryBuffer : public CodeBuffer {
public:
    // Raises when the file cannot be created. `maxSize` bounds the span `finish` writes.
    explicit BinaryBuffer(const QString &path, uchar fill = 0xFF, qint64 maxSize = 0xFFFFFFFF);
    ~BinaryBuffer() override;

    void setAddress(quint32 address) override { m_address = address; }
    void addByte(uchar byte) override;
    void addBytes(const uchar *bytes, qsizetype count) override;
    // Raises when the span is over the size limit; the file is then not written.
    void finish(quint32 entryPoint) override;

    // The bytes from the lowest to the highest address written; 0 when none was.
    [[nodiscard]] quint64 spanSize() const;

    static constexpr int pageShift = 12;
    static constexpr quint32 pageSize = quint32(1) << pageShift;

private:
    uchar *page(quint32 number);
    void noteWritten(quint32 first, quint32 last);

    CodeBufferFile m_out;
    std::map<quint32, std::unique_ptr<uchar[]>> m_pages;
    quint32 m_lastNumber = 0;
    uchar *m_lastPage = nullptr;   // the page of m_lastNumber, or null
    uchar m_fill;
    qint64 m_maxSize;
    quint64 m_lowest = ~quint64(0);   // none written while above m_highest
    quint64 m_highest = 0;
};
