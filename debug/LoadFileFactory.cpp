#include "debug/LoadFileFactory.h"
#include "debug/BinaryBuffer.h"
#include "debug/BinaryLoadFile.h"
#include "debug/HByteStream.h"
#include "debug/HexBuffer.h"
#include "debug/HexLoadFile.h"
#include "debug/IntelHexBuffer.h"
#include "debug/IntelHexLoadFile.h"
#include "debug/SRecordBuffer.h"
#include "debug/SRecordLoadFile.h"
#include "debug/TIHexBuffer.h"
#include "debug/TIHexLoadFile.h"
#include "debug/TekHexBuffer.h"
#include <algorithm>

namespace {

struct ExtensionRow {
    const char *extension;
    const char *typeName;
};

// Only these spellings count; a mixed-case extension names no type.
constexpr ExtensionRow extensionRows[] = {
    {".bin", "bin"},   {".BIN", "bin"},   {".rom", "bin"},  {".ROM", "bin"},
    {".hex", "ihex"},  {".HEX", "ihex"},  {".lst", "hex"},  {".LST", "hex"},
    {".txt", "tihex"}, {".TXT", "tihex"}, {".s19", "srec"}, {".S19", "srec"},
    {".srec", "srec"}, {".SREC", "srec"},
};

struct FormatRow {
    const char *typeName;
    const char *patterns;
    const char *title;
};

constexpr FormatRow formatRows[] = {
    {"bin", "*.bin *.rom", "Binary"},
    {"ihex", "*.hex", "Intel Hex"},
    {"hex", "*.lst", "Hex"},
    {"tihex", "*.txt", "TI Hex"},
    {"srec", "*.s19 *.srec", "Motorola S-Record"},
};

bool isHexDigit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

} // namespace

std::unique_ptr<LoadFileInterface> LoadFileFactory::create(const QString &path,
                                                           const QString &typeName, qint64 maxSize)
{
    if (typeName == QLatin1String("bin"))
        return std::make_unique<BinaryLoadFile>(path, maxSize);
    if (typeName == QLatin1String("ihex"))
        return std::make_unique<IntelHexLoadFile>(path);
    if (typeName == QLatin1String("hex"))
        return std::make_unique<HexLoadFile>(path);
    if (typeName == QLatin1String("tihex"))
        return std::make_unique<TIHexLoadFile>(path);
    if (typeName == QLatin1String("srec"))
        return std::make_unique<SRecordLoadFile>(path);
    return nullptr;
}

QString LoadFileFactory::guessType(const QString &path)
{
    if (path.size() < 4)
        return {};
    for (const ExtensionRow &row : extensionRows) {
        if (path.endsWith(QLatin1String(row.extension), Qt::CaseSensitive))
            return QLatin1String(row.typeName);
    }
    return {};
}

QList<LoadFileFormat> LoadFileFactory::formats()
{
    QList<LoadFileFormat> formats;
    for (const FormatRow &row : formatRows)
        formats.append({QLatin1String(row.typeName), QLatin1String(row.patterns), QLatin1String(row.title)});
    return formats;
}

QString LoadFileFactory::typeOfContent(const QString &path)
{
    HFileInputByteStream stream(path);
    char head[9] = {};
    const qint64 count = stream.read(head, sizeof head);
    if (count >= 1 && head[0] == ':')
        return QStringLiteral("ihex");
    if (count >= 2 && head[0] == 'S' && head[1] >= '0' && head[1] <= '9')
        return QStringLiteral("srec");
    if (count >= 1 && head[0] == '@')
        return QStringLiteral("tihex");
    if (count == 9 && std::all_of(head, head + 8, isHexDigit) && head[8] == ' ')
        return QStringLiteral("hex");
    return QStringLiteral("bin");
}

std::unique_ptr<CodeBuffer> LoadFileFactory::createBuffer(const QString &path,
                                                          const QString &typeName,
                                                          const CodeBufferOptions &options)
{
    if (typeName == QLatin1String("bin"))
        return std::make_unique<BinaryBuffer>(path, options.fill, options.maxSize);
    if (typeName == QLatin1String("ihex"))
        return std::make_unique<IntelHexBuffer>(path);
    if (typeName == QLatin1String("hex"))
        return std::make_unique<HexBuffer>(path);
    if (typeName == QLatin1String("tihex"))
        return std::make_unique<TIHexBuffer>(path);
    if (typeName == QLatin1String("srec"))
        return std::make_unique<SRecordBuffer>(path, options.header);
    if (typeName == QLatin1String("tek"))
        return std::make_unique<TekHexBuffer>(path);
    return nullptr;
}
