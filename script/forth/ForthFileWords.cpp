#include "script/forth/ForthFileWords.h"
#include "script/forth/ScriptEngine.h"
#include <QFile>

namespace {

constexpr qint64 binFlag = 4;
constexpr qint64 ioError = -37;
constexpr qint64 noFile = -38;

QString popString(ScriptEngine &engine)
{
    const QString text = engine.dataStack.top().toStringValue();
    engine.dataStack.drop(1);
    return text;
}

qint64 popInteger(ScriptEngine &engine)
{
    const qint64 value = engine.dataStack.top().toInteger();
    engine.dataStack.drop(1);
    return value;
}

void open(ScriptEngine &engine, bool create)
{
    ForthStack &stack = engine.dataStack;
    stack.need(2);
    const qint64 method = stack.at(0).toInteger();
    const QString name = stack.at(1).toStringValue();
    stack.drop(2);
    qint64 ior = 0;
    const qint64 handle = engine.openFile(name, method < 0 || method >= 8 ? -1 : int(method),
                                          create, &ior);
    stack.pushInteger(handle);
    stack.pushInteger(ior);
}

// ( addr u fileid ) of READ-FILE and READ-LINE: the region and a checked cell count.
struct Buffer {
    PMemory *region;
    qint64 index;
    qint64 count;
};

Buffer popBuffer(ScriptEngine &engine, QFile **file)
{
    ForthStack &stack = engine.dataStack;
    stack.need(3);
    *file = engine.file(stack.at(0).toInteger());
    const qint64 count = stack.at(1).toInteger();
    const Cell address = stack.at(2);
    PMemory *const region = address.toRegion();
    if (count < 0 || count > region->size() || address.integer < 0
        || address.integer > region->size() - count)
        forthThrow(-9, QStringLiteral("cell store outside allotted region"));
    stack.drop(3);
    return {region, address.integer, count};
}

void storeBytes(const Buffer &buffer, const QByteArray &bytes)
{
    for (qsizetype i = 0; i < bytes.size(); ++i)
        buffer.region->cells[size_t(buffer.index + i)] = Cell::fromInteger(uchar(bytes.at(i)));
}

// ( string fileid -- ior ) or ( addr u fileid -- ior ) with one character per cell.
void write(ScriptEngine &engine, bool newline)
{
    ForthStack &stack = engine.dataStack;
    stack.need(2);
    QFile *const file = engine.file(stack.at(0).toInteger());
    QByteArray bytes;
    if (stack.at(1).type == CellType::String) {
        bytes = stack.at(1).text.value().toUtf8();
        stack.drop(2);
    } else {
        stack.need(3);
        const qint64 count = stack.at(1).toInteger();
        const Cell address = stack.at(2);
        PMemory *const region = address.toRegion();
        if (count < 0 || count > region->size())
            forthThrow(-9, QStringLiteral("cell fetch outside allotted region"));
        for (qint64 i = 0; i < count; ++i)
            bytes += char(region->fetch(address.integer + i).toInteger());
        stack.drop(3);
    }
    if (newline)
        bytes += '\n';
    stack.pushInteger(file && file->write(bytes) == bytes.size() ? 0 : ioError);
}

} // namespace

void FBin::run(ScriptEngine &engine)
{
    engine.dataStack.top().setInteger(engine.dataStack.top().toInteger() | binFlag);
}

void FRO::run(ScriptEngine &engine) { engine.dataStack.pushInteger(0); }
void FWO::run(ScriptEngine &engine) { engine.dataStack.pushInteger(1); }
void FRW::run(ScriptEngine &engine) { engine.dataStack.pushInteger(2); }

void FOpenFile::run(ScriptEngine &engine) { open(engine, false); }
void FCreateFile::run(ScriptEngine &engine) { open(engine, true); }

void FCloseFile::run(ScriptEngine &engine)
{
    engine.dataStack.pushInteger(engine.closeFile(popInteger(engine)));
}

void FDeleteFile::run(ScriptEngine &engine)
{
    const QString path = engine.resolveFileName(popString(engine));
    engine.dataStack.pushInteger(!path.isEmpty() && QFile::remove(path) ? 0 : noFile);
}

void FFilePosition::run(ScriptEngine &engine)
{
    const QFile *const file = engine.file(popInteger(engine));
    engine.dataStack.room(3);
    engine.dataStack.pushInteger(file ? file->pos() : 0);
    engine.dataStack.pushInteger(0);
    engine.dataStack.pushInteger(file ? 0 : ioError);
}

void FRepositionFile::run(ScriptEngine &engine)
{
    // ( ud fileid -- ior )
    ForthStack &stack = engine.dataStack;
    stack.need(3);
    QFile *const file = engine.file(stack.at(0).toInteger());
    const qint64 position = stack.at(2).toInteger();
    stack.drop(3);
    stack.pushInteger(file && position >= 0 && file->seek(position) ? 0 : -36);
}

void FResizeFile::run(ScriptEngine &engine)
{
    ForthStack &stack = engine.dataStack;
    stack.need(3);
    QFile *const file = engine.file(stack.at(0).toInteger());
    const qint64 size = stack.at(2).toInteger();
    stack.drop(3);
    const bool fits = size >= 0 && size <= engine.limits().fileBytes;
    stack.pushInteger(file && fits && file->resize(size) ? 0 : ioError);
}

void FReadFile::run(ScriptEngine &engine)
{
    QFile *file = nullptr;
    const Buffer buffer = popBuffer(engine, &file);
    if (!file) {
        engine.dataStack.pushInteger(0);
        engine.dataStack.pushInteger(ioError);
        return;
    }
    const QByteArray bytes = file->read(buffer.count);
    storeBytes(buffer, bytes);
    engine.dataStack.pushInteger(bytes.size());
    engine.dataStack.pushInteger(0);
}

void FReadLine::run(ScriptEngine &engine)
{
    // ( addr u fileid -- u2 flag ior ): the line without its end; flag false at the end.
    QFile *file = nullptr;
    const Buffer buffer = popBuffer(engine, &file);
    engine.dataStack.room(3);
    if (!file) {
        engine.dataStack.pushInteger(0);
        engine.dataStack.pushInteger(0);
        engine.dataStack.pushInteger(ioError);
        return;
    }
    if (file->atEnd()) {
        engine.dataStack.pushInteger(0);
        engine.dataStack.pushInteger(0);
        engine.dataStack.pushInteger(0);
        return;
    }
    QByteArray line = file->readLine(buffer.count + 1);
    if (line.endsWith('\n'))
        line.chop(1);
    if (line.endsWith('\r'))
        line.chop(1);
    storeBytes(buffer, line.left(buffer.count));
    engine.dataStack.pushInteger(qMin<qint64>(line.size(), buffer.count));
    engine.dataStack.pushInteger(-1);
    engine.dataStack.pushInteger(0);
}

void FWriteFile::run(ScriptEngine &engine) { write(engine, false); }
void FWriteLine::run(ScriptEngine &engine) { write(engine, true); }

void FIncludeFile::run(ScriptEngine &engine)
{
    const qint64 handle = popInteger(engine);
    QFile *const file = engine.file(handle);
    if (!file)
        forthThrow(-37);
    if (file->size() - file->pos() > (qint64(1) << 26))
        forthThrow(-37, QStringLiteral("file too large: %1").arg(file->fileName()));
    const QString text = QString::fromUtf8(file->readAll());
    engine.interpret(std::make_unique<FileSource>(file->fileName(), text, handle));
}

void FIncluded::run(ScriptEngine &engine)
{
    const QString name = popString(engine);
    const QString path = engine.resolveFileName(name);
    if (path.isEmpty())
        forthThrow(-38, QStringLiteral("non-existent file: %1").arg(name));
    engine.include(path);
}

void FInclude::run(ScriptEngine &engine)
{
    const QString name = engine.requireName();
    const QString path = engine.resolveFileName(name);
    if (path.isEmpty())
        forthThrow(-38, QStringLiteral("non-existent file: %1").arg(name));
    engine.include(path);
}
