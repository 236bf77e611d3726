#include "foundation/ExpressionParser.h"
#include <QElapsedTimer>
#include <QLocale>
#include <QStringList>
#include <cstdio>

// tess expr: evaluates each argument as the preprocessor's `ifex` and `define` do, without
// symbols, and prints "<type> <value>" per line; a failure goes to standard error with the
// language's own message. --repeat N evaluates each one N times first and reports the time per
// evaluation on standard error.

namespace {

constexpr qint64 maxRepeat = 1000000000;

QString valueText(const ExpressionValue &value)
{
    switch (value.kind) {
    case ExpressionKind::Boolean:
        return value.integer ? QStringLiteral("true") : QStringLiteral("false");
    case ExpressionKind::Unsigned: return QString::number(quint64(value.integer));
    case ExpressionKind::Float:
        return QString::number(value.floating, 'g', QLocale::FloatingPointShortest);
    case ExpressionKind::String: return QLatin1Char('"') + value.text + QLatin1Char('"');
    default: return QString::number(value.integer);
    }
}

void reportTime(const QString &text, qint64 repeat, qint64 nanoseconds)
{
    std::fprintf(stderr, "tess expr: %s: %lld evaluations, %.3f us each\n", qPrintable(text),
                 static_cast<long long>(repeat), double(nanoseconds) / 1000.0 / double(repeat));
}

} // namespace

int exprCommand(const QStringList &arguments)
{
    qint64 repeat = 0;
    QStringList texts;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        if (arguments.at(i) == QLatin1String("--repeat") && i + 1 < arguments.size()) {
            bool ok = false;
            repeat = arguments.at(++i).toLongLong(&ok);
            if (!ok || repeat < 1 || repeat > maxRepeat) {
                std::fprintf(stderr, "tess expr: bad repeat count '%s'\n", qPrintable(arguments.at(i)));
                return 1;
            }
        } else {
            texts << arguments.at(i);
        }
    }
    if (texts.isEmpty()) {
        std::fprintf(stderr, "usage: tess expr [--repeat N] EXPRESSION...\n");
        return 1;
    }
    SimpleExpressionParser parser;
    int status = 0;
    for (const QString &text : std::as_const(texts)) {
        if (repeat > 0) {
            QElapsedTimer timer;
            timer.start();
            bool ok = false;
            for (qint64 i = 0; i < repeat; ++i)
                (void)parser.evaluate(text, &ok);
            reportTime(text, repeat, timer.nsecsElapsed());
        }
        bool ok = false;
        const ExpressionValue value = parser.evaluate(text, &ok);
        if (ok) {
            std::printf("%s %s\n", qPrintable(value.typeName()), qPrintable(valueText(value)));
        } else {
            const QString message =
                parser.errorMessage().isEmpty() ? QStringLiteral("no value") : parser.errorMessage();
            std::fprintf(stderr, "tess expr: %s: %s\n", qPrintable(text), qPrintable(message));
            status = 1;
        }
    }
    return status;
}
