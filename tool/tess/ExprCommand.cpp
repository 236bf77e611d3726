#include "foundation/ExpressionParser.h"
#include "tool/tess/Commands.h"
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

int exprCommand(const CommandArguments &arguments)
{
    const std::optional<qint64> repeat = arguments.integer("--repeat", 1, maxRepeat, 0);
    if (!repeat)
        return exitUsage;
    const QStringList &texts = arguments.operands();
    if (texts.isEmpty())
        return arguments.usageError(QStringLiteral("no expression given"));
    SimpleExpressionParser parser;
    int status = 0;
    for (const QString &text : std::as_const(texts)) {
        if (*repeat > 0) {
            QElapsedTimer timer;
            timer.start();
            bool ok = false;
            for (qint64 i = 0; i < *repeat; ++i)
                (void)parser.evaluate(text, &ok);
            reportTime(text, *repeat, timer.nsecsElapsed());
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

constexpr TessOption exprOptions[] = {
    {"--repeat", "N", "evaluate each N times first and report the time per evaluation"},
};

constexpr TessCommand exprRows[] = {
    {"expr", "[--repeat N] [--] EXPRESSION...",
     "evaluate expressions of the preprocessor's language and print type and value", exprOptions,
     "tess expr '(1 << 4) | 3' '\"a\" + \"b\"'", exprCommand},
};

} // namespace

std::span<const TessCommand> exprCommands()
{
    return exprRows;
}
