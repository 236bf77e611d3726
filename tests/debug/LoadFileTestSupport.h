#pragma once
#include "debug/LoadFileInterface.h"
#include "tests/support/TestSupport.h"
#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

// Records built by hand for the reader tests, with checksums computed here rather than by the
// writers under test.
namespace LoadFileTest {

inline QByteArray hexOf(const QByteArray &bytes)
{
    return bytes.toHex().toUpper();
}

// "S" + type + count + address + data + one's complement checksum. `address` and `data` are hex.
inline QByteArray sRecord(char type, const QByteArray &address, const QByteArray &data)
{
    const QByteArray body = QByteArray::fromHex(address + data);
    const int count = int(body.size()) + 1;
    unsigned sum = unsigned(count);
    for (const char c : body)
        sum += uchar(c);
    return QByteArray("S") + type + hexOf(QByteArray(1, char(count))) + hexOf(body)
           + hexOf(QByteArray(1, char(~sum & 0xFF)));
}

// ":" + count + address + type + data + two's complement checksum.
inline QByteArray intelRecord(int type, quint16 address, const QByteArray &data)
{
    const QByteArray bytes = QByteArray::fromHex(data);
    QByteArray body;
    body.append(char(bytes.size()));
    body.append(char(address >> 8));
    body.append(char(address & 0xFF));
    body.append(char(type));
    body.append(bytes);
    unsigned sum = 0;
    for (const char c : std::as_const(body))
        sum += uchar(c);
    return ":" + hexOf(body) + hexOf(QByteArray(1, char((0x100 - (sum & 0xFF)) & 0xFF)));
}

// The sections in file order as "ADDRESS:BYTES" (hex, empty bytes shown as "-"), then
// "entry ADDRESS" if the file has one.
inline QByteArray dump(LoadFileInterface &file)
{
    QByteArray text;
    for (int i = 0; i < file.sectionCount(); ++i) {
        LoadFileSectionInterface *section = file.section(i);
        if (!text.isEmpty())
            text += ' ';
        const QByteArray bytes(reinterpret_cast<const char *>(section->data(false)), section->size());
        text += QByteArray::number(section->address(), 16).toUpper() + ':'
                + (bytes.isEmpty() ? QByteArray("-") : hexOf(bytes));
    }
    if (file.hasEntryPoint())
        text += " entry " + QByteArray::number(file.entryPoint(), 16).toUpper();
    return text;
}

// Writes `bytes` to `name` in `directory` and returns the path.
inline QString writeInput(const QTemporaryDir &directory, const QString &name, const QByteArray &bytes)
{
    const QString path = directory.filePath(name);
    TestSupport::writeFile(path, bytes);
    return path;
}

} // namespace LoadFileTest
