#include "script/es/ESNativeClass.h"
#include "script/es/ESContext.h"
#include <QFile>
#include <cmath>
#include <limits>

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
// The text part of a file read by load() may not be larger than this.
constexpr qint64 maxLoadSize = qint64(64) << 20;

// eval(text): a text runs in this context with no file name; what it throws is swallowed.
void evalCall(ESNativeCall &call)
{
    const ESValue source = call.argument(0);
    if (!source.isString()) {
        call.setResult(source);
        return;
    }
    ESContext &context = call.context;
    const QString text = context.toESString(source);
    const ESCompletion completion = context.evaluate(QString(), text);
    call.setResult(completion.kind == ESCompletion::Normal ? completion.value
                                                           : ESValue::undefined());
}

// The first blank-separated word of the argument, or the empty text.
QString firstWord(ESNativeCall &call)
{
    const QStringList words =
        call.context.toESString(call.argument(0)).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    return words.isEmpty() ? QString() : words.first();
}

// A strict parse: the whole word must be a 32-bit integer in the radix, else NaN. Without a
// radix "0x" means 16 and a leading "0" means 8.
void parseInt(ESNativeCall &call)
{
    const QString word = firstWord(call);
    const ESValue radixValue = call.argument(1);
    int radix = 10;
    if (radixValue.isUndefined()) {
        if (word.startsWith(QLatin1String("0x")))
            radix = 16;
        else if (word.startsWith(QLatin1Char('0')))
            radix = 8;
    } else {
        radix = ESContext::toInt32(call.context.toNumber(radixValue));
    }
    if (radix != 0 && (radix < 2 || radix > 36)) {
        call.setResult(ESValue::fromNumber(notANumber));
        return;
    }
    bool ok = false;
    const int value = word.toInt(&ok, radix);
    call.setResult(ESValue::fromNumber(ok ? double(value) : notANumber));
}

// Parsed in single precision and widened, so "0.1" reads as 0.10000000149011612.
void parseFloat(ESNativeCall &call)
{
    bool ok = false;
    const float value = firstWord(call).toFloat(&ok);
    call.setResult(ESValue::fromNumber(ok ? double(value) : notANumber));
}

void isNaN(ESNativeCall &call)
{
    call.setResult(ESValue::boolean(std::isnan(call.context.toNumber(call.argument(0)))));
}

void isFinite(ESNativeCall &call)
{
    call.setResult(ESValue::boolean(std::isfinite(call.context.toNumber(call.argument(0)))));
}

// The file's bytes up to the first NUL, read in pieces so that only the text part must fit.
QByteArray readText(ESContext &context, QFile &file)
{
    constexpr qint64 piece = qint64(1) << 20;
    QByteArray bytes;
    for (;;) {
        const QByteArray chunk = file.read(piece);
        const qsizetype end = chunk.indexOf('\0');
        bytes += end >= 0 ? chunk.left(end) : chunk;
        if (bytes.size() > maxLoadSize) {
            context.throwError(QStringLiteral("load: %1: script too large (limit %2 bytes)")
                                   .arg(file.fileName())
                                   .arg(maxLoadSize));
        }
        if (end >= 0 || chunk.size() < piece)
            return bytes;
    }
}

// One try of load(): false when the file cannot be opened.
bool loadFile(ESContext &context, const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray bytes = readText(context, file);
    context.checkNativeStack();   // a file that loads itself ends here
    const ESCompletion completion = context.evaluate(path, QString::fromLatin1(bytes));
    if (completion.kind == ESCompletion::Thrown)
        throw ESException(completion.value);
    return true;
}

void load(ESNativeCall &call)
{
    ESContext &context = call.context;
    const QString path = context.toESString(call.argument(0));
    bool loaded = loadFile(context, path);
    for (qsizetype i = 0; !loaded && i < context.globalClass->searchDirectories.size(); ++i) {
        const QString directory = context.globalClass->searchDirectories.at(i);
        loaded = loadFile(context, directory + QLatin1Char('/') + path);
    }
    call.setResult(ESValue::boolean(loaded));
}

constexpr ESNativeFunctionRow rows[] = {
    {"eval", 1, 1, ESNativeRowFlag::Static, nullptr, evalCall, nullptr},
    {"parseInt", 2, 2, ESNativeRowFlag::Static, nullptr, parseInt, nullptr},
    {"parseFloat", 1, 3, ESNativeRowFlag::Static, nullptr, parseFloat, nullptr},
    {"isNaN", 1, 4, ESNativeRowFlag::Static, nullptr, isNaN, nullptr},
    {"isFinite", 1, 5, ESNativeRowFlag::Static, nullptr, isFinite, nullptr},
    {"load", 1, 6, ESNativeRowFlag::Static, nullptr, load, nullptr},
};

} // namespace

ESNativeGlobal::ESNativeGlobal() : ESNativeClass(QStringLiteral("global"), QStringLiteral("global"), rows)
{
}

void ESNativeGlobal::initialise(ESContext &context)
{
    ESObject *global = context.globalObject;
    context.put(global, context.intern(QStringLiteral("NaN")), ESValue::fromNumber(notANumber));
    context.put(global, context.intern(QStringLiteral("Infinity")),
                ESValue::fromNumber(std::numeric_limits<double>::infinity()));
    context.put(global, context.intern(QStringLiteral("undefined")), ESValue::undefined());
    installFunctions(context, nullptr, global);
}
