#include "script/host/Crc32.h"
#include "script/host/HostClasses.h"
#include "script/es/ESContext.h"
#include <QtEndian>

namespace {

using namespace HostArguments;

constexpr HostFunctionRow binaryFileRows[] = {
    {0, "load", 1, nullptr, "<b>BinaryFile.load(path)</b> loads binary file from <i>path</i>."},
    {1, "loadAppend", 1, nullptr, "<b>BinaryFile.loadAppend(path)</b> loads binary file from <i>path</i> and appends it to the binary image."},
    {2, "save", 1, nullptr, "<b>BinaryFile.save(path)</b> saves binary file to <i>path</i>."},
    {3, "saveRange", 3, nullptr, "<b>BinaryFile.saveRange(path, offset, length)</b> saves part of the binary file to <i>path</i>. The <i>offset</i> argument specifies the byte offset to start from. The <i>length</i> argument specifies the maximum number of bytes that should be saved."},
    {4, "peekUint32", 2, nullptr, "<b>BinaryFile.peekUint32(offset, littleEndian)</b> returns a 32-bit word peeked from <i>offset</i>. The <i>littleEndian</i> argument specifies the endianness of the access, if true or undefined it will be little endian, otherwise it will be big endian."},
    {5, "pokeUint32", 3, nullptr, "<b>BinaryFile.pokeUint32(offset, value, littleEndian)</b> poke a <i>value</i> to 32-bit word located at <i>offset</i>. The <i>littleEndian</i> argument specifies the endianness of the access, if true or undefined it will be little endian, otherwise it will be big endian."},
    {6, "peekBytes", 2, nullptr, "<b>BinaryFile.peekBytes(offset, length)</b> returns byte array containing <i>length</i> bytes peeked from <i>offset</i>."},
    {7, "pokeBytes", 2, nullptr, "<b>BinaryFile.pokeBytes(offset, byteArray)</b> poke byte array <i>byteArray</i> to <i>offset</i>."},
    {8, "crc32", 2, nullptr, "<b>BinaryFile.crc32(offset, length)</b> returns the CRC-32 checksum of an address range <i>length</i> bytes long, starting at <i>offset</i>. This function computes a CRC-32 checksum on a block of data using the standard CRC-32 polynomial (0x04C11DB7) with an initial value of 0xFFFFFFFF. Note that this implementation doesn't reflect the input or the output and the result is inverted."},
    {9, "length", 0, nullptr, "<b>BinaryFile.length()</b> returns the length of the binary file in bytes."},
    {10, "resize", 2, nullptr, "<b>BinaryFile.resize(length, fill)</b> resizes the binary image to <i>length</i> bytes. If the operation extends the size, the binary image will be padded with bytes of value <i>fill</i>."},
};

} // namespace

BinaryFileESClass::BinaryFileESClass() : HostClass(QStringLiteral("BinaryFile"), binaryFileRows) {}

qsizetype BinaryFileESClass::offset(ESNativeCall &call, int index, qint64 size,
                                    const char *function) const
{
    const ESValue value = call.argument(index);
    const double number = call.context.toNumber(value);
    // Written as a negated test so that NaN fails it too.
    if (!(number >= 0 && number == qint64(number) && number + double(size) <= double(m_image.size())))
        call.context.throwRangeError(QStringLiteral("%1: offset %2 with %3 bytes is outside the "
                                                    "image of %4 bytes")
                                         .arg(QLatin1String(function), call.context.toESString(value))
                                         .arg(size)
                                         .arg(m_image.size()));
    return qsizetype(number);
}

bool BinaryFileESClass::callHost(int id, ESNativeCall &call)
{
    ESContext &context = call.context;
    switch (id) {
    case 0: load(call, false); return true;
    case 1: load(call, true); return true;
    case 2: save(call, false); return true;
    case 3: save(call, true); return true;
    case 4: {
        const qsizetype at = offset(call, 0, 4, "BinaryFile.peekUint32");
        const char *word = m_image.constData() + at;
        const std::uint32_t value = flag(call, 1, true) ? qFromLittleEndian<quint32>(word)
                                                        : qFromBigEndian<quint32>(word);
        call.setResult(ESValue::fromNumber(value));
        return true;
    }
    case 5: {
        const qsizetype at = offset(call, 0, 4, "BinaryFile.pokeUint32");
        const std::uint32_t value = ESContext::toUint32(context.toNumber(call.argument(1)));
        char *word = m_image.data() + at;
        if (flag(call, 2, true))
            qToLittleEndian<quint32>(value, word);
        else
            qToBigEndian<quint32>(value, word);
        call.setResult(ESValue::undefined());
        return true;
    }
    case 6: {
        const qint64 length = integer(call, 1, "BinaryFile.peekBytes", 0, maxByteArrayLength);
        const qsizetype at = offset(call, 0, length, "BinaryFile.peekBytes");
        call.setResult(ESValue::fromObject(context.newArray(m_image.mid(at, qsizetype(length)))));
        return true;
    }
    case 7: {
        const QByteArray bytes = HostArguments::bytes(call, 1, "BinaryFile.pokeBytes");
        const qsizetype at = offset(call, 0, bytes.size(), "BinaryFile.pokeBytes");
        std::copy(bytes.cbegin(), bytes.cend(), m_image.begin() + at);
        call.setResult(ESValue::undefined());
        return true;
    }
    case 8: {
        const qint64 length = integer(call, 1, "BinaryFile.crc32", 0, maxImageSize);
        const qsizetype at = offset(call, 0, length, "BinaryFile.crc32");
        call.setResult(ESValue::fromNumber(
            unreflectedCrc32(QByteArrayView(m_image.constData() + at, qsizetype(length)))));
        return true;
    }
    case 9: call.setResult(ESValue::fromNumber(double(m_image.size()))); return true;
    case 10: {
        const qint64 length = integer(call, 0, "BinaryFile.resize", 0, maxImageSize);
        const char fill = char(ESContext::toUint8(context.toNumber(call.argument(1))));
        m_image.resize(qsizetype(length), fill);
        call.setResult(ESValue::undefined());
        return true;
    }
    default: return false;
    }
}

void BinaryFileESClass::load(ESNativeCall &call, bool append)
{
    const char *function = append ? "BinaryFile.loadAppend" : "BinaryFile.load";
    const QString path = HostArguments::text(call, 0, function);
    const qint64 room = append ? maxImageSize - m_image.size() : maxImageSize;
    const QByteArray bytes = HostFiles::read(call, path, room, function);
    if (append)
        m_image += bytes;
    else
        m_image = bytes;
    call.setResult(ESValue::undefined());
}

void BinaryFileESClass::save(ESNativeCall &call, bool range)
{
    const char *function = range ? "BinaryFile.saveRange" : "BinaryFile.save";
    const QString path = HostArguments::text(call, 0, function);
    QByteArrayView bytes(m_image);
    if (range) {
        const qint64 length = integer(call, 2, function, 0, maxImageSize);
        const qsizetype at = offset(call, 1, 0, function);
        bytes = bytes.sliced(at, qMin<qsizetype>(qsizetype(length), m_image.size() - at));
    }
    const QString problem = HostFiles::write(path, bytes.toByteArray());
    if (!problem.isEmpty())
        call.context.throwError(QStringLiteral("%1: %2: %3").arg(QLatin1String(function), path, problem));
    call.setResult(ESValue::undefined());
}
