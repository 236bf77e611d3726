#include "debug/CodeBuffer.h"
#include "debug/LoadFileFactory.h"
#include "debug/LoadFileImage.h"
#include "debug/LoadFileInterface.h"
#include "foundation/HException.h"
#include "tool/tess/Commands.h"
#include <QFileInfo>
#include <cstdio>

// tess load: the load-file readers and writers from the command line. `formats` lists the
// types, `info` shows a file's sections, entry point and checksum, `convert` writes a file in
// another format.

namespace {

constexpr qint64 defaultMaxSize = qint64(256) << 20;
constexpr qint64 addressMax = 0xFFFFFFFF;
const char *const readerTypes = "bin, ihex, hex, tihex, srec";

QString hex32(quint64 value)
{
    return QStringLiteral("0x") + QString::number(value, 16).toUpper().rightJustified(8, u'0');
}

void writeOut(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
}

bool isReaderType(const QString &type)
{
    const QList<LoadFileFormat> formats = LoadFileFactory::formats();
    return std::any_of(formats.begin(), formats.end(),
                       [&](const LoadFileFormat &format) { return format.typeName == type; });
}

// A reader's message, with the file named in front unless the message names it already.
QString aboutFile(const QString &path, const QString &message)
{
    return message.contains(path) ? message : path + QStringLiteral(": ") + message;
}

// The input of `info` and `convert`, as the options describe it.
struct Input {
    QString path;
    QString type;   // empty: from the name or the content
    std::optional<qint64> address;
    qint64 maxSize = defaultMaxSize;
};

// Reads the input options; false after a usage error was reported.
bool readInputOptions(const CommandArguments &arguments, Input &input)
{
    input.type = arguments.value("--from");
    if (!input.type.isEmpty() && !isReaderType(input.type)) {
        arguments.usageError(QStringLiteral("unknown input type '%1' (%2)").arg(input.type, QLatin1String(readerTypes)));
        return false;
    }
    const std::optional<qint64> address = arguments.integer("--address", 0, addressMax, -1);
    const std::optional<qint64> maxSize = arguments.integer("--max-size", 1, addressMax, defaultMaxSize);
    if (!address || !maxSize)
        return false;
    if (*address >= 0)
        input.address = *address;
    input.maxSize = *maxSize;
    return true;
}

// The load file, with the binary's address applied. Raises the reader's error. Null, with the
// usage error's status in `status`, when --address was given for a text input.
std::unique_ptr<LoadFileInterface> openInput(const CommandArguments &arguments, Input &input, int &status)
{
    if (input.type.isEmpty())
        input.type = LoadFileFactory::guessType(input.path);
    if (input.type.isEmpty())
        input.type = LoadFileFactory::typeOfContent(input.path);
    if (input.address && input.type != QLatin1String("bin")) {
        status = arguments.usageError(QStringLiteral("--address applies to a binary input, and %1 is %2")
                                          .arg(input.path, input.type));
        return nullptr;
    }
    std::unique_ptr<LoadFileInterface> file = LoadFileFactory::create(input.path, input.type, input.maxSize);
    if (input.address)
        file->setLoadAddress(quint32(*input.address));
    return file;
}

int formatsCommand(const CommandArguments &arguments)
{
    if (!arguments.operands().isEmpty())
        return arguments.usageError(QStringLiteral("no operands expected"));
    QString text;
    for (const LoadFileFormat &format : LoadFileFactory::formats())
        text += QStringLiteral("%1 %2 %3\n").arg(format.typeName, -6).arg(format.patterns, -13).arg(format.title);
    text += QStringLiteral("%1 %2 %3\n").arg(QStringLiteral("tek"), -6).arg(QStringLiteral("-"), -13).arg(QStringLiteral("Tektronix extended (write only)"));
    writeOut(text);
    return exitSuccess;
}

QString infoText(LoadFileInterface &file, const QString &type)
{
    QString text = QStringLiteral("format %1\n").arg(type);
    const LoadFileImage image(file);
    for (int i = 0; i < file.sectionCount(); ++i) {
        const LoadFileSectionInterface *section = file.section(i);
        const QString end = section->size() ? hex32(quint64(section->address()) + section->size() - 1)
                                            : QStringLiteral("-");
        text += QStringLiteral("section %1 %2 %3\n").arg(hex32(section->address()), end).arg(section->size());
    }
    if (file.hasEntryPoint())
        text += QStringLiteral("entry %1\n").arg(hex32(file.entryPoint()));
    text += QStringLiteral("size %1\ncrc32 %2\n").arg(image.byteCount()).arg(hex32(image.crc32()));
    return text;
}

int infoCommand(const CommandArguments &arguments)
{
    if (arguments.operands().size() != 1)
        return arguments.usageError(QStringLiteral("give one input file"));
    Input input;
    input.path = arguments.operands().first();
    if (!readInputOptions(arguments, input))
        return exitUsage;
    try {
        int status = exitSuccess;
        const std::unique_ptr<LoadFileInterface> file = openInput(arguments, input, status);
        if (!file)
            return status;
        writeOut(infoText(*file, input.type));
        return exitSuccess;
    } catch (const HException &exception) {
        return arguments.fail(aboutFile(input.path, exception.message()));
    }
}

struct Output {
    QString path;
    QString type;
    std::optional<qint64> entry;
    CodeBufferOptions options;
};

// Reads the output options; false after a usage error was reported.
bool readOutputOptions(const CommandArguments &arguments, Output &output, qint64 maxSize)
{
    output.type = arguments.value("--to");
    if (output.type.isEmpty())
        output.type = LoadFileFactory::guessType(output.path);
    if (output.type.isEmpty()) {
        arguments.usageError(QStringLiteral("cannot tell the output type of '%1'; give --to").arg(output.path));
        return false;
    }
    if (!isReaderType(output.type) && output.type != QLatin1String("tek")) {
        arguments.usageError(QStringLiteral("unknown output type '%1' (%2, tek)").arg(output.type, QLatin1String(readerTypes)));
        return false;
    }
    const std::optional<qint64> entry = arguments.integer("--entry", 0, addressMax, -1);
    const std::optional<qint64> fill = arguments.integer("--fill", 0, 0xFF, 0xFF);
    if (!entry || !fill)
        return false;
    if (*entry >= 0)
        output.entry = *entry;
    if (arguments.has("--fill") && output.type != QLatin1String("bin")) {
        arguments.usageError(QStringLiteral("--fill applies to a binary output"));
        return false;
    }
    if (arguments.has("--header") && output.type != QLatin1String("srec")) {
        arguments.usageError(QStringLiteral("--header applies to an S-record output"));
        return false;
    }
    output.options.fill = uchar(*fill);
    output.options.maxSize = maxSize;
    output.options.header = arguments.value("--header", QFileInfo(output.path).fileName());
    return true;
}

// Writes the image; raises the writer's errors, which name the output.
void writeImage(const LoadFileImage &image, const Output &output, quint32 entry)
{
    const std::unique_ptr<CodeBuffer> buffer = LoadFileFactory::createBuffer(output.path, output.type, output.options);
    image.writeTo(*buffer);
    buffer->finish(entry);
}

int convertCommand(const CommandArguments &arguments)
{
    if (arguments.operands().size() != 2)
        return arguments.usageError(QStringLiteral("give an input and an output file"));
    Input input;
    input.path = arguments.operands().at(0);
    Output output;
    output.path = arguments.operands().at(1);
    if (!readInputOptions(arguments, input) || !readOutputOptions(arguments, output, input.maxSize))
        return exitUsage;
    std::unique_ptr<LoadFileInterface> file;
    std::optional<LoadFileImage> image;
    try {
        int status = exitSuccess;
        file = openInput(arguments, input, status);
        if (!file)
            return status;
        image.emplace(*file);
    } catch (const HException &exception) {
        return arguments.fail(aboutFile(input.path, exception.message()));
    }
    if (const std::optional<quint32> doubled = image->firstDoubledAddress())
        return arguments.fail(QStringLiteral("%1: sections overlap at %2").arg(input.path, hex32(*doubled)));
    // Checked before the writer exists, so a vast gap costs nothing.
    const quint64 span = image->end() - image->lowest();
    if (output.type == QLatin1String("bin") && span > quint64(output.options.maxSize)) {
        return arguments.fail(QStringLiteral("%1: binary image of %2 bytes from %3 is over the limit of %4 bytes (--max-size)")
                                  .arg(output.path)
                                  .arg(span)
                                  .arg(hex32(image->lowest()))
                                  .arg(output.options.maxSize));
    }
    try {
        const quint32 entry = output.entry ? quint32(*output.entry) : file->hasEntryPoint() ? file->entryPoint() : 0;
        writeImage(*image, output, entry);
        return exitSuccess;
    } catch (const HException &exception) {
        return arguments.fail(exception.message());
    }
}

constexpr TessOption infoOptions[] = {
    {"--from", "TYPE", "read IN as TYPE (bin, ihex, hex, tihex, srec); else by its name or content"},
    {"--address", "ADDR", "load address of a binary input (default 0)"},
    {"--max-size", "N", "refuse a binary input over N bytes (default 256 MiB)"},
};

constexpr TessOption convertOptions[] = {
    {"--from", "TYPE", "read IN as TYPE (bin, ihex, hex, tihex, srec); else by its name or content"},
    {"--to", "TYPE", "write OUT as TYPE (the same, or tek); else by its name"},
    {"--address", "ADDR", "load address of a binary input (default 0)"},
    {"--entry", "ADDR", "entry point written (default the input's, else 0)"},
    {"--fill", "BYTE", "byte of the gaps in a binary output (default 0xFF)"},
    {"--header", "TEXT", "S-record header text (default OUT's file name)"},
    {"--max-size", "N", "refuse a binary input or output over N bytes (default 256 MiB)"},
};

constexpr TessCommand loadRows[] = {
    {"load formats", "", "list the load-file types with their file patterns and titles", {},
     "tess load formats", formatsCommand},
    {"load info", "IN [--from TYPE] [--address ADDR] [--max-size N]",
     "show a load file's sections in file order, entry point, size and CRC-32", infoOptions,
     "tess load info firmware.hex", infoCommand},
    {"load convert", "IN OUT [--from TYPE] [--to TYPE|tek] [--address ADDR] [--entry ADDR] [--fill BYTE] [--header TEXT] [--max-size N]",
     "write a load file in another format, sections in address order", convertOptions,
     "tess load convert firmware.bin firmware.s19 --address 0x08000000", convertCommand},
};

} // namespace

std::span<const TessCommand> loadCommands()
{
    return loadRows;
}
