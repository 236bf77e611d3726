#pragma once
#include "debug/CodeBuffer.h"
#include "debug/LoadFileFactory.h"
#include "debug/LoadFileInterface.h"
#include "foundation/HException.h"
#include "tests/support/TestSupport.h"
#include <QByteArray>
#include <QString>
#include <QTemporaryDir>
#include <algorithm>
#include <vector>

// Helpers of the load-file and transport tests: records built by hand, with checksums computed
// here rather than by the writers under test, and images in a form that compares.
namespace LoadFileTest {

// The message `action` raises as HException, or "(no error)".
template <typename Action>
QString raisedMessage(Action action)
{
    try {
        action();
    } catch (const HException &exception) {
        return exception.message();
    }
    return QStringLiteral("(no error)");
}

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

// A stretch of bytes at an address, as handed to a writer or expected back from a reader.
struct Block {
    quint32 address;
    QByteArray bytes;
};

// Blocks in address order as "ADDRESS:BYTES" (hex), adjacent blocks joined: the image they make.
inline QByteArray imageDump(std::vector<Block> blocks)
{
    std::stable_sort(blocks.begin(), blocks.end(), [](const Block &a, const Block &b) { return a.address < b.address; });
    QByteArray text;
    quint64 end = ~quint64(0);
    for (const Block &block : blocks) {
        if (block.bytes.isEmpty())
            continue;
        if (block.address != end)
            text += (text.isEmpty() ? "" : " ") + QByteArray::number(block.address, 16).toUpper() + ':';
        text += hexOf(block.bytes);
        end = quint64(block.address) + quint64(block.bytes.size());
    }
    return text;
}

// The image a load file holds, in the same form: how its records were split does not show.
inline QByteArray imageDump(LoadFileInterface &file)
{
    std::vector<Block> blocks;
    for (int i = 0; i < file.sectionCount(); ++i) {
        LoadFileSectionInterface *section = file.section(i);
        blocks.push_back({section->address(), QByteArray(reinterpret_cast<const char *>(section->data(false)), section->size())});
    }
    return imageDump(blocks);
}

// Writes the blocks through the writer of `type` (with the header "ab" for S-records) and
// returns the file; `oneByteAtATime` feeds them by addByte instead of addBytes.
inline QByteArray writeImage(const QString &path, const QString &type, const std::vector<Block> &blocks,
                       quint32 entry, bool oneByteAtATime = false)
{
    CodeBufferOptions options;
    options.header = QStringLiteral("ab");
    const std::unique_ptr<CodeBuffer> buffer = LoadFileFactory::createBuffer(path, type, options);
    for (const Block &block : blocks) {
        buffer->setAddress(block.address);
        const auto *bytes = reinterpret_cast<const uchar *>(block.bytes.constData());
        if (oneByteAtATime) {
            for (const char byte : block.bytes)
                buffer->addByte(uchar(byte));
        } else {
            buffer->addBytes(bytes, block.bytes.size());
        }
    }
    buffer->finish(entry);
    return TestSupport::readFile(path);
}

// Writes `bytes` to `name` in `directory` and returns the path.
inline QString writeInput(const QTemporaryDir &directory, const QString &name, const QByteArray &bytes)
{
    const QString path = directory.filePath(name);
    TestSupport::writeFile(path, bytes);
    return path;
}

} // namespace LoadFileTest
