#pragma once
#include <QSaveFile>
#include <QString>
#include <memory>
#include <utility>

// The output file of a code buffer. Bytes collect in a large block that goes out in one write;
// the file appears under its name only by `commit`, which renames a temporary file over it, so a
// failure or an unfinished buffer leaves an older file untouched and nothing behind.
class CodeBufferFile {
public:
    // Raises "cannot create PATH: REASON".
    explicit CodeBufferFile(const QString &path);
    ~CodeBufferFile();

    // Room for `count` bytes (at most `blockSize`), which the caller fills completely. Inline:
    // every record of every text writer passes here.
    [[nodiscard]] char *append(qsizetype count)
    {
        return m_used + count > blockSize ? appendAfterWrite(count) : m_block.get() + std::exchange(m_used, m_used + count);
    }
    void append(const char *bytes, qsizetype count);
    // Writes the rest and renames the file into place. Raises "cannot write PATH: REASON".
    void commit();

    static constexpr qsizetype blockSize = qsizetype(1) << 20;

private:
    void writeBlock();
    char *appendAfterWrite(qsizetype count);

    QSaveFile m_file;
    std::unique_ptr<char[]> m_block;
    qsizetype m_used = 0;
};

// Writes a stream of bytes, each at its address, out in a load-file format. Bytes arrive in
// order; `setAddress` to anything but the next address starts a new record there.
class CodeBuffer {
public:
    virtual ~CodeBuffer();
    virtual void setAddress(quint32 address) = 0;
    virtual void addByte(uchar byte) = 0;
    // Ends the output with the entry point where the format has one, and puts the file in
    // place. A buffer destroyed without `finish` leaves no file.
    virtual void finish(quint32 entryPoint) = 0;
    // The same as `addByte` for each byte in turn.
    virtual void addBytes(const uchar *bytes, qsizetype count);

    // The address the next byte goes to.
    [[nodiscard]] quint32 address() const { return m_address; }

protected:
    quint32 m_address = 0;
};

// The text formats: records of up to 16 bytes, one a line, in upper-case hexadecimal.
class TextCodeBuffer : public CodeBuffer {
public:
    void setAddress(quint32 address) override;
    void addByte(uchar byte) override;
    void addBytes(const uchar *bytes, qsizetype count) override;
    void finish(quint32 entryPoint) override;

    static constexpr int lineBytes = 16;

protected:
    explicit TextCodeBuffer(const QString &path);
    // Writes one record of 1 to 16 bytes that starts at `start`.
    virtual void writeRecord(quint32 start, const uchar *bytes, int count) = 0;
    // Writes what follows the last record.
    virtual void writeEnd(quint32 entryPoint) = 0;
    // Whether a record must end before an address whose low 16 bits are 0.
    virtual bool endsRecordsAt64K() const { return false; }
    void flush();

    CodeBufferFile m_out;

private:
    uchar m_line[lineBytes];
    int m_count = 0;
    quint32 m_start = 0;   // address of m_line[0]
};
