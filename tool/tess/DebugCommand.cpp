// `tess debug`: the debugger's front end on an ELF file with its DWARF, without a target: the
// memory is the image's sections at their addresses, overlaid by dumps taken from the board.
// `eval` prints expressions, `vars` the globals and file statics, `type` layouts, `mem` bytes.
#include "debug/BaseType.h"
#include "debug/DebugExpressionParser.h"
#include "debug/DwarfDebugger.h"
#include "debug/MemoryDump.h"
#include "debug/PrintFormat.h"
#include "debug/QVariantBuilder.h"
#include "debug/TextVariableView.h"
#include "foundation/HException.h"
#include "tool/tess/Commands.h"
#include <QFile>
#include <QJsonDocument>
#include <QTextStream>
#include <algorithm>
#include <cstdio>

namespace {

constexpr qint64 maxDumpLength = qint64(16) << 20;
constexpr qint64 maxListSize = qint64(256) << 20;

void writeLine(FILE *to, const QString &text)
{
    const QByteArray bytes = text.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), to);
}

struct RadixName {
    const char *name;
    Radix radix;
};
constexpr RadixName radixNames[] = {
    {"hex", Radix::Hexadecimal}, {"dec", Radix::Decimal}, {"udec", Radix::UnsignedDecimal},
    {"oct", Radix::Octal},       {"bin", Radix::Binary},  {"char", Radix::Character},
};

// What the options of every form share, read once.
struct Session {
    std::unique_ptr<DwarfDebugger> engine;
    std::unique_ptr<DebugExpressionParser> parser;
    Radix radix = Radix::Decimal;
    int depth = 8;
    int elements = 100;
};

// Opens the ELF (the first operand) and lays the dumps over it. A usage error is printed and
// the session is empty.
std::optional<Session> openSession(const CommandArguments &arguments)
{
    if (arguments.operands().isEmpty()) {
        arguments.usageError(QStringLiteral("no ELF file given"));
        return std::nullopt;
    }
    Session session;
    const QString radix = arguments.value("--radix", QStringLiteral("dec"));
    const auto named = std::find_if(std::begin(radixNames), std::end(radixNames),
                                    [&](const RadixName &row) { return radix == QLatin1String(row.name); });
    if (named == std::end(radixNames)) {
        arguments.usageError(QStringLiteral("bad radix '%1' (hex, dec, udec, oct, bin or char)").arg(radix));
        return std::nullopt;
    }
    session.radix = named->radix;
    const std::optional<qint64> depth = arguments.integer("--depth", 0, 1000, 8);
    const std::optional<qint64> elements = arguments.integer("--elements", 0, 100000000, 100);
    if (!depth || !elements)
        return std::nullopt;
    session.depth = int(*depth);
    session.elements = int(*elements);
    try {
        session.engine = std::make_unique<DwarfDebugger>(arguments.operands().constFirst());
        for (const QString &memory : arguments.values("--memory")) {
            const qsizetype at = memory.lastIndexOf(u'@');
            bool ok = false;
            const quint64 address = at > 0 ? memory.mid(at + 1).toULongLong(&ok, 0) : 0;
            if (!ok) {
                arguments.usageError(QStringLiteral("bad --memory '%1' (FILE@ADDRESS expected)").arg(memory));
                return std::nullopt;
            }
            session.engine->addDump(memory.left(at), address);
        }
    } catch (const HException &exception) {
        // An unusable image or dump ends every form alike, with the file named first.
        std::fflush(stdout);
        std::fprintf(stderr, "tess debug: %s\n", exception.message().toLocal8Bit().constData());
        return std::nullopt;
    }
    session.parser = std::make_unique<DebugExpressionParser>(*session.engine);
    return session;
}

PrintLimits limitsOf(const Session &session)
{
    return PrintLimits{session.depth, session.elements};
}

QString textOf(Session &session, const ExpressionValue &value, Radix radix)
{
    return valueText(*session.parser, value, radix, limitsOf(session));
}

QString jsonOf(Session &session, const ExpressionValue &value)
{
    QVariantBuilder builder;
    builder.setDepthLimit(session.depth);
    builder.setElementLimit(session.elements);
    builder.walk(*session.parser, QString(), value, session.radix);
    const QVariant tree = builder.result();
    // A lone scalar is no JSON document; it goes into a one-element array and comes out again.
    const QByteArray json = QJsonDocument::fromVariant(QVariantList{tree}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(json.mid(1, json.size() - 2));
}

// The expressions in order: operands after the ELF, and the lines of each --file at its place.
std::optional<QStringList> expressionsOf(const CommandArguments &arguments)
{
    QStringList expressions;
    bool elfSeen = false;
    for (const CommandArguments::Item &item : arguments.items()) {
        if (!item.option) {
            if (elfSeen)
                expressions.append(item.value);
            elfSeen = true;
            continue;
        }
        if (qstrcmp(item.option->name, "--file") != 0)
            continue;
        QFile list;
        const bool opened = item.value == QLatin1String("-") ? list.open(stdin, QIODevice::ReadOnly)
                                                            : (list.setFileName(item.value), list.open(QIODevice::ReadOnly));
        if (!opened || list.size() > maxListSize) {
            arguments.usageError(QStringLiteral("%1: cannot read: %2").arg(item.value, opened ? QStringLiteral("too large") : list.errorString()));
            return std::nullopt;
        }
        const QByteArray bytes = list.readAll();
        for (const QByteArray &line : bytes.split('\n')) {
            const QString text = QString::fromUtf8(line).trimmed();
            if (!text.isEmpty())
                expressions.append(text);
        }
    }
    return expressions;
}

int debugEval(const CommandArguments &arguments)
{
    const QString format = arguments.value("--format");
    if (arguments.has("--format") && (format.size() != 1 || !QLatin1String(printFormatLetters).contains(format)))
        return arguments.usageError(QStringLiteral("bad format '%1' (one of b c d e f g i o p s u x)").arg(format));
    std::optional<QStringList> expressions = expressionsOf(arguments);
    if (!expressions)
        return exitUsage;
    std::optional<Session> session = openSession(arguments);
    if (!session)
        return exitUsage;
    if (expressions->isEmpty())
        return arguments.usageError(QStringLiteral("no expression given"));
    const bool json = arguments.has("--json");
    int status = exitSuccess;
    for (const QString &text : std::as_const(*expressions)) {
        try {
            const std::unique_ptr<Expression> tree = session->parser->parse(text);
            const ExpressionValue value = tree->evaluate();
            const QString line = json                ? jsonOf(*session, value)
                                 : !format.isEmpty() ? formattedValue(*session->parser, *session->engine, value, format.at(0), limitsOf(*session))
                                                     : textOf(*session, value, session->radix);
            writeLine(stdout, line);
        } catch (const ParserException &exception) {
            std::fflush(stdout);
            writeLine(stderr, QStringLiteral("tess debug eval: %1: %2").arg(text, exception.message()));
            status = exitFailure;
        }
    }
    return status;
}

int debugVars(const CommandArguments &arguments)
{
    if (arguments.operands().size() > 1)
        return arguments.usageError(QStringLiteral("unexpected operand '%1'").arg(arguments.operands().at(1)));
    std::optional<Session> session = openSession(arguments);
    if (!session)
        return exitUsage;
    std::vector<std::unique_ptr<SymbolInformation>> globals = session->engine->globals();
    std::stable_sort(globals.begin(), globals.end(), [](const auto &a, const auto &b) { return a->name() < b->name(); });
    int status = exitSuccess;
    for (const auto &symbol : globals) {
        QString value;
        try {
            value = textOf(*session, session->parser->valueAt(symbol->type(), symbol->address()), session->radix);
        } catch (const ParserException &exception) {
            value = u'<' + exception.message() + u'>';
            status = exitFailure;
        }
        writeLine(stdout, QStringLiteral("%1\t%2\t%3\t0x%4\t%5")
                              .arg(symbol->name(), value, symbol->typeName())
                              .arg(symbol->address(), 8, 16, QLatin1Char('0'))
                              .arg(symbol->size()));
    }
    return status;
}

// The lines of `tess debug type` for one type.
QStringList layoutOf(const BaseType &type)
{
    const qint64 size = type.size();
    QString head = type.name() + u'\t' + (size < 0 ? QStringLiteral("?") : QString::number(size));
    if (type.kind() == TypeKind::User && static_cast<const UserType &>(type).isTypedef()) {
        const BaseType *target = static_cast<const UserType &>(type).definition();
        head += QStringLiteral("\t= ") + (target ? target->name() : QStringLiteral("?"));
    }
    QStringList lines{head};
    const BaseType *resolved = resolvedType(&type);
    if (resolved && resolved->kind() == TypeKind::Struct) {
        for (const StructField &field : static_cast<const StructType *>(resolved)->fields()) {
            QString line = QStringLiteral("%1\t%2\t%3").arg(field.offset).arg(field.name, field.type->name());
            if (field.isBitField())
                line += QStringLiteral("\t%1:%2").arg(field.bitOffset).arg(field.bitSize);
            lines.append(line);
        }
    } else if (resolved && resolved->kind() == TypeKind::Enum) {
        for (const Enumerator &enumerator : static_cast<const EnumType *>(resolved)->enumerators())
            lines.append(QStringLiteral("%1\t%2").arg(enumerator.name).arg(enumerator.value));
    }
    return lines;
}

int debugType(const CommandArguments &arguments)
{
    if (arguments.operands().size() < 2)
        return arguments.usageError(QStringLiteral("no type or expression given"));
    std::optional<Session> session = openSession(arguments);
    if (!session)
        return exitUsage;
    int status = exitSuccess;
    for (const QString &text : arguments.operands().mid(1)) {
        try {
            const BaseType *type = session->parser->parseType(text.simplified());
            if (!type) {
                const std::unique_ptr<Expression> tree = session->parser->parse(text);
                type = session->parser->typeOf(tree->evaluate());
            }
            for (const QString &line : layoutOf(*type))
                writeLine(stdout, line);
        } catch (const ParserException &exception) {
            std::fflush(stdout);
            writeLine(stderr, QStringLiteral("tess debug type: %1: %2").arg(text, exception.message()));
            status = exitFailure;
        }
    }
    return status;
}

int debugMem(const CommandArguments &arguments)
{
    if (arguments.operands().size() != 3)
        return arguments.usageError(QStringLiteral("ELF, ADDRESS and LENGTH expected"));
    bool ok = false;
    const QString lengthText = arguments.operands().at(2);
    const qint64 length = lengthText.toLongLong(&ok, 0);
    if (!ok || length < 0 || length > maxDumpLength)
        return arguments.usageError(QStringLiteral("bad length '%1' (0 to %2 bytes)").arg(lengthText).arg(maxDumpLength));
    const std::optional<qint64> width = arguments.integer("--width", 1, 8, 1);
    if (!width)
        return exitUsage;
    if (*width != 1 && *width != 2 && *width != 4 && *width != 8)
        return arguments.usageError(QStringLiteral("bad width '%1' (1, 2, 4 or 8)").arg(*width));
    std::optional<Session> session = openSession(arguments);
    if (!session)
        return exitUsage;
    const QString addressText = arguments.operands().at(1);
    quint64 address = 0;
    try {
        const std::unique_ptr<Expression> tree = session->parser->parse(addressText);
        const ExpressionValue value = tree->evaluate();
        const DebugLocation *location = DebugExpressionParser::locationOf(value);
        if (value.kind == aggregateKind && location && location->hasAddress)
            address = location->address;
        else if (value.kind == ExpressionKind::Marker)
            address = quint64(session->parser->markerValue(value).normalised().integer);
        else if (value.isInteger())
            address = quint64(value.normalised().integer);
        else
            throw ParserException(QStringLiteral("address expected, not ") + session->parser->typeOf(value)->name());
    } catch (const ParserException &exception) {
        writeLine(stderr, QStringLiteral("tess debug mem: %1: %2").arg(addressText, exception.message()));
        return exitFailure;
    }
    std::unique_ptr<MemoryDump> dump = *width == 1 ? std::make_unique<MemoryDump>(*session->engine)
                                                   : std::make_unique<EntryDumper>(*session->engine, int(*width), session->engine->bigEndian());
    const bool complete = dump->dump(address, length, [](const QString &line) { writeLine(stdout, line); });
    return complete ? exitSuccess : exitFailure;
}

constexpr TessOption evalOptions[] = {
    {"--memory", "FILE@ADDRESS", "lay the bytes of FILE over the image at ADDRESS (repeatable; later ones win)", "-m"},
    {"--radix", "RADIX", "hex, dec, udec, oct, bin or char (default dec)", "-r"},
    {"--format", "LETTER", "print as Debug.print does: b c d e f g i o p s u x", "-f"},
    {"--depth", "N", "nesting levels shown (default 8; 0 cuts the value itself)"},
    {"--elements", "N", "array elements shown (default 100)"},
    {"--json", nullptr, "print each value as JSON"},
    {"--file", "LIST", "evaluate the lines of LIST too, at its place ('-': standard input)"},
};

constexpr TessOption varsOptions[] = {
    {"--memory", "FILE@ADDRESS", "lay the bytes of FILE over the image at ADDRESS (repeatable; later ones win)", "-m"},
    {"--radix", "RADIX", "hex, dec, udec, oct, bin or char (default dec)", "-r"},
    {"--depth", "N", "nesting levels shown (default 8; 0 cuts the value itself)"},
    {"--elements", "N", "array elements shown (default 100)"},
};

constexpr TessOption typeOptions[] = {
    {"--memory", "FILE@ADDRESS", "lay the bytes of FILE over the image at ADDRESS (repeatable; later ones win)", "-m"},
};

constexpr TessOption memOptions[] = {
    {"--memory", "FILE@ADDRESS", "lay the bytes of FILE over the image at ADDRESS (repeatable; later ones win)", "-m"},
    {"--width", "N", "print entries of N bytes (1, 2, 4 or 8) in the target's byte order"},
};

constexpr TessCommand debugRows[] = {
    {"debug eval",
     "ELF [--memory FILE@ADDRESS]... [--radix RADIX] [--format LETTER] [--depth N] [--elements N] "
     "[--json] [--file LIST|-]... EXPRESSION...",
     "evaluate expressions on an ELF image and memory dumps, one line each", evalOptions,
     "tess debug eval firmware.elf --memory ram.bin@0x20000000 'sensors[1].celsius * 2' config", debugEval},
    {"debug vars", "ELF [--memory FILE@ADDRESS]... [--radix RADIX] [--depth N] [--elements N]",
     "list globals and file statics: name, value, type, address, size", varsOptions,
     "tess debug vars firmware.elf --radix hex", debugVars},
    {"debug type", "ELF [--memory FILE@ADDRESS]... TYPE|EXPRESSION...",
     "show the layout of types: size, members with offsets and bit-fields, enumerators", typeOptions,
     "tess debug type firmware.elf 'struct sensor' config", debugType},
    {"debug mem", "ELF [--memory FILE@ADDRESS]... [--width N] ADDRESS LENGTH",
     "dump target memory in hexadecimal and text; ADDRESS is an expression", memOptions,
     "tess debug mem firmware.elf '&config' 32", debugMem},
};

} // namespace

std::span<const TessCommand> debugCommands()
{
    return debugRows;
}
