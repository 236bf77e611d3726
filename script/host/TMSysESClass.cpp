#include "script/host/Crc32.h"
#include "script/host/HostClasses.h"
#include "script/host/VarnelScriptSystem.h"
#include "script/es/ESContext.h"
#include "script/es/ESObject.h"
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSaveFile>

namespace {

using namespace HostArguments;

constexpr HostFunctionRow tmsysRows[] = {
    {0, "renameFile", 2, nullptr, "<b>TMSys.renameFile(oldPath, newPath)</b> renames file <i>oldPath</i> to be <i>newPath</i>."},
    {1, "copyFile", 2, nullptr, "<b>TMSys.copyFile(srcPath, destPath)</b> copies file <i>srcPath</i> to <i>destPath</i>."},
    {2, "removeFile", 1, nullptr, "<b>TMSys.removeFile(path)</b> deletes file <i>path</i>."},
    {3, "fileExists", 1, nullptr, "<b>TMSys.fileExists(path)</b> returns true if file <i>path</i> exists."},
    {4, "fileSize", 1, nullptr, "<b>TMSys.fileSize(path)</b> return the number of bytes in file <i>path</i>."},
    {5, "makeDirectory", 1, nullptr, "<b>TMSys.makeDirectory(path)</b> create the directory <i>path</i>."},
    {6, "removeDirectory", 1, nullptr, "<b>TMSys.removeDirectory(path)</b> remove the directory <i>path</i>."},
    {7, "writeStringToFile", 2, nullptr, "<b>TMSys.writeStringToFile(path, string)</b> creates a file <i>path</i> containing <i>string</i>."},
    {8, "readStringFromFile", 1, nullptr, "<b>TMSys.readStringFromFile(path)</b> returns the string contained in the file <i>path</i>."},
    {9, "writeByteArrayToFile", 2, nullptr, "<b>TMSys.writeByteArrayToFile(path, array)</b> creates a file <i>path</i> containing the byte array <i>array</i>."},
    {10, "readByteArrayFromFile", 1, nullptr, "<b>TMSys.readByteArrayFromFile(path)</b> returns the byte array contained in the file <i>path</i>."},
    {11, "crc32", 1, nullptr, "<b>TMSys.crc32(array)</b> returns the CRC-32 checksum of the byte array <i>array</i>. This function computes a CRC-32 checksum on a block of data using the standard CRC-32 polynomial (0x04C11DB7) with an initial value of 0xFFFFFFFF. Note that this implementation doesn't reflect the input or the output and the result is inverted."},
    {12, "run", 2, nullptr, "<b>TMSys.run(cmd, wait)</b> runs command line <i>cmd</i> optionally waits for it to complete if <i>wait</i> is true."},
    {13, "getRunStdout", 0, nullptr, "<b>TMSys.getRunStdout()</b> returns the stdout output from the last <i>TMSys.run()</i> call."},
    {14, "getRunStderr", 0, nullptr, "<b>TMSys.getRunStderr()</b> returns the stderr output from the last <i>TMSys.run()</i> call."},
    {15, "packU32", 4, nullptr, "<b>TMSys.packU32(array, offset, number, le)</b> packs <i>number</i> into the <i>array</i> at <i>offset</i>."},
    {16, "unpackU32", 3, nullptr, "<b>TMSys.unpackU32(array, offset, le)</b> returns the number unpacked from the <i>array</i> at <i>offset</i>."},
    {17, "popup", 1, nullptr, "<b>TMSys.popup(text)</b> prompt the user with text and return true for yes and false for no."},
    {18, "appendStringToFile", 2, nullptr, "<b>TMSys.appendStringToFile(path, string)</b> appends <i>string</i> to the end of the file <i>path</i>."},
};

// Text files a script reads whole are held as one string of the engine.
constexpr qint64 maxTextFile = qint64(1) << 27;

ESValue boolean(bool value)
{
    return ESValue::boolean(value);
}

// The array argument that packU32 and unpackU32 work on.
ESObject *arrayArgument(ESNativeCall &call, const char *function)
{
    const ESValue value = call.argument(0);
    if (!value.isObject() || !value.object || !call.context.isArray(value.object))
        call.context.throwTypeError(QStringLiteral("%1: argument 1 must be an array")
                                        .arg(QLatin1String(function)));
    return value.object;
}

void packU32(ESNativeCall &call)
{
    ESContext &context = call.context;
    ESObject *array = arrayArgument(call, "TMSys.packU32");
    const qint64 at = integer(call, 1, "TMSys.packU32", 0, maxByteArrayLength - 4);
    const std::uint32_t number = ESContext::toUint32(context.toNumber(call.argument(2)));
    const bool little = flag(call, 3, true);
    for (int i = 0; i < 4; ++i) {
        const int shift = little ? 8 * i : 8 * (3 - i);
        context.put(array, context.valueToAtom(ESValue::fromNumber(double(at + i))),
                    ESValue::fromNumber(double((number >> shift) & 0xFF)));
    }
    call.setResult(ESValue::undefined());
}

void unpackU32(ESNativeCall &call)
{
    ESContext &context = call.context;
    ESObject *array = arrayArgument(call, "TMSys.unpackU32");
    const qint64 at = integer(call, 1, "TMSys.unpackU32", 0, maxByteArrayLength - 4);
    const bool little = flag(call, 2, true);
    const double length = context.toNumber(context.get(array, context.names().length));
    if (!(double(at + 4) <= length))
        context.throwRangeError(QStringLiteral("TMSys.unpackU32: offset %1 leaves fewer than 4 "
                                               "bytes in an array of %2")
                                    .arg(at)
                                    .arg(context.toESString(ESValue::fromNumber(length))));
    std::uint32_t number = 0;
    for (int i = 0; i < 4; ++i) {
        const ESValue element =
            context.get(array, context.valueToAtom(ESValue::fromNumber(double(at + i))));
        const std::uint32_t byte = ESContext::toUint32(context.toNumber(element)) & 0xFF;
        number |= byte << (little ? 8 * i : 8 * (3 - i));
    }
    call.setResult(ESValue::fromNumber(double(number)));
}

bool appendText(const QString &path, const QString &text)
{
    QFile file(path);
    if (QFileInfo(path).isDir() || !file.open(QIODevice::WriteOnly | QIODevice::Append))
        return false;
    const QByteArray bytes = text.toUtf8();
    return file.write(bytes) == bytes.size();
}

// Copies through a temporary file beside the destination, so a failed copy leaves it intact.
bool copyFile(const QString &from, const QString &to)
{
    if (!QFileInfo(from).isFile() || QFileInfo(to).isDir())
        return false;
    QFile source(from);
    QSaveFile target(to);
    if (!source.open(QIODevice::ReadOnly) || !target.open(QIODevice::WriteOnly))
        return false;
    char buffer[1 << 16];
    for (;;) {
        const qint64 count = source.read(buffer, sizeof buffer);
        if (count < 0)
            return false;
        if (count == 0)
            break;
        if (target.write(buffer, count) != count)
            return false;
    }
    return target.commit();
}

} // namespace

TMSysESClass::TMSysESClass(const HostServices &services)
    : HostClass(QStringLiteral("TMSys"), tmsysRows), m_services(services)
{
}

bool TMSysESClass::callHost(int id, ESNativeCall &call)
{
    ESContext &context = call.context;
    switch (id) {
    case 0: {
        const QString from = text(call, 0, "TMSys.renameFile");
        const QString to = text(call, 1, "TMSys.renameFile");
        call.setResult(boolean(QFileInfo(from).isFile() && QFile::rename(from, to)));
        return true;
    }
    case 1:
        call.setResult(boolean(copyFile(text(call, 0, "TMSys.copyFile"), text(call, 1, "TMSys.copyFile"))));
        return true;
    case 2: {
        const QString path = text(call, 0, "TMSys.removeFile");
        call.setResult(boolean(!QFileInfo(path).isDir() && QFile::remove(path)));
        return true;
    }
    case 3: call.setResult(boolean(QFileInfo::exists(text(call, 0, "TMSys.fileExists")))); return true;
    case 4: {
        const QFileInfo info(text(call, 0, "TMSys.fileSize"));
        call.setResult(ESValue::fromNumber(info.isFile() ? double(info.size()) : -1.0));
        return true;
    }
    case 5: call.setResult(boolean(QDir().mkpath(text(call, 0, "TMSys.makeDirectory")))); return true;
    case 6: call.setResult(boolean(QDir().rmdir(text(call, 0, "TMSys.removeDirectory")))); return true;
    case 7:
        call.setResult(boolean(HostFiles::write(text(call, 0, "TMSys.writeStringToFile"),
                                                text(call, 1, "TMSys.writeStringToFile").toUtf8())
                                   .isEmpty()));
        return true;
    case 8: {
        const QString path = text(call, 0, "TMSys.readStringFromFile");
        call.setResult(string(context, QString::fromUtf8(HostFiles::read(call, path, maxTextFile, "TMSys.readStringFromFile"))));
        return true;
    }
    case 9: {
        const QString path = text(call, 0, "TMSys.writeByteArrayToFile");
        call.setResult(boolean(HostFiles::write(path, bytes(call, 1, "TMSys.writeByteArrayToFile")).isEmpty()));
        return true;
    }
    case 10: {
        const QString path = text(call, 0, "TMSys.readByteArrayFromFile");
        call.setResult(ESValue::fromObject(context.newArray(HostFiles::read(call, path, maxByteArrayLength, "TMSys.readByteArrayFromFile"))));
        return true;
    }
    case 11: call.setResult(ESValue::fromNumber(unreflectedCrc32(bytes(call, 0, "TMSys.crc32")))); return true;
    case 12: call.setResult(run(call)); return true;
    case 13: call.setResult(string(context, m_runStdout)); return true;
    case 14: call.setResult(string(context, m_runStderr)); return true;
    case 15: packU32(call); return true;
    case 16: unpackU32(call); return true;
    case 17: {
        const QString question = context.toESString(call.argument(0));
        const bool yes = m_services.system
                         && m_services.system->popupAnswer() == VarnelScriptSystem::Yes;
        if (m_services.note)
            m_services.note(QStringLiteral("TMSys.popup: %1: answered %2")
                                .arg(question, yes ? QStringLiteral("yes") : QStringLiteral("no")));
        call.setResult(boolean(yes));
        return true;
    }
    case 18:
        call.setResult(boolean(appendText(text(call, 0, "TMSys.appendStringToFile"),
                                          text(call, 1, "TMSys.appendStringToFile"))));
        return true;
    default: return false;
    }
}

// The command line goes to the shell; with `wait` the run's output is kept for getRunStdout and
// getRunStderr and the exit status returned, and a stop request ends the child.
ESValue TMSysESClass::run(ESNativeCall &call)
{
    const QString command = text(call, 0, "TMSys.run");
    const bool wait = flag(call, 1, false);
    if (!wait)
        return ESValue::boolean(QProcess::startDetached(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), command}));
    QProcess process;
    process.start(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), command});
    if (!process.waitForStarted())
        call.context.throwError(QStringLiteral("TMSys.run: cannot start '%1': %2").arg(command, process.errorString()));
    while (!process.waitForFinished(50)) {
        if (m_services.system && m_services.system->stopRequested()) {
            process.kill();
            process.waitForFinished();
            break;
        }
    }
    m_runStdout = QString::fromLocal8Bit(process.readAllStandardOutput());
    m_runStderr = QString::fromLocal8Bit(process.readAllStandardError());
    const bool normal = process.exitStatus() == QProcess::NormalExit;
    return ESValue::fromNumber(normal ? process.exitCode() : -1);
}

namespace HostFiles {

QByteArray read(ESNativeCall &call, const QString &path, qint64 limit, const char *function)
{
    const QFileInfo info(path);
    const auto fail = [&](const QString &reason) {
        call.context.throwError(QStringLiteral("%1: %2: %3").arg(QLatin1String(function), path, reason));
    };
    if (info.isDir())
        fail(QStringLiteral("is a directory"));
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        fail(QStringLiteral("cannot open: ") + file.errorString());
    if (file.size() > limit)
        fail(QStringLiteral("too large (%1 bytes, limit %2)").arg(file.size()).arg(limit));
    QByteArray bytes = file.read(limit + 1);
    if (bytes.size() > limit)
        fail(QStringLiteral("too large (limit %1 bytes)").arg(limit));
    return bytes;
}

QString write(const QString &path, const QByteArray &bytes)
{
    if (QFileInfo(path).isDir())
        return QStringLiteral("is a directory");
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        return file.errorString();
    return {};
}

} // namespace HostFiles
