#include "debug/HMessage.h"
#include "debug/HSerialLink.h"
#include "foundation/HException.h"
#include "tool/tess/Commands.h"
#include <QElapsedTimer>
#include <QFile>
#include <csignal>
#include <ctime>
#include <cstdio>
#include <vector>

// tess link: the message transport from the command line. `encode` and `decode` show how
// `HMessage` lays out typed fields; `transfer` and `monitor` talk to a serial device.

namespace {

constexpr qint64 maxTransfer = qint64(64) << 20;
constexpr qint64 maxRepeat = 1000000000;

enum class FieldKind { Unsigned8, Signed8, Unsigned16, Signed16, Unsigned32, Pointer,
                       UnsignedVarint, SignedVarint, Bytes, Text, Skip };

struct FieldRow {
    const char *name;
    FieldKind kind;
    int bigEndian;
    qint64 minimum;   // of an encoded value
    qint64 maximum;
};

// -1 is accepted for an unsigned varint: it writes the out-of-range mark.
constexpr FieldRow fieldRows[] = {
    {"u8", FieldKind::Unsigned8, 0, 0, 0xFF},
    {"s8", FieldKind::Signed8, 0, -0x80, 0x7F},
    {"u16le", FieldKind::Unsigned16, 0, 0, 0xFFFF},
    {"u16be", FieldKind::Unsigned16, 1, 0, 0xFFFF},
    {"s16le", FieldKind::Signed16, 0, -0x8000, 0x7FFF},
    {"s16be", FieldKind::Signed16, 1, -0x8000, 0x7FFF},
    {"u32le", FieldKind::Unsigned32, 0, 0, 0xFFFFFFFF},
    {"u32be", FieldKind::Unsigned32, 1, 0, 0xFFFFFFFF},
    {"ptrle", FieldKind::Pointer, 0, 0, 0xFFFFFFFF},
    {"ptrbe", FieldKind::Pointer, 1, 0, 0xFFFFFFFF},
    {"uvar", FieldKind::UnsignedVarint, 0, -1, 0xFFFFFFFF},
    {"svar", FieldKind::SignedVarint, 0, 0, 0},
    {"bytes", FieldKind::Bytes, 0, 0, maxTransfer},
    {"str", FieldKind::Text, 0, 0, maxTransfer},
    {"skip", FieldKind::Skip, 0, 0, maxTransfer},
};

struct Field {
    const FieldRow *row;
    qint64 value = 0;   // a number, or the count of bytes:N, str:N and skip:N
    QByteArray bytes;   // what bytes:HEX and str:TEXT write
};

enum class Direction { Encode, Decode };

const FieldRow *fieldRow(QStringView name)
{
    for (const FieldRow &row : fieldRows) {
        if (name == QLatin1String(row.name))
            return &row;
    }
    return nullptr;
}

// "01 02 ab", "0102AB": pairs of hexadecimal digits, blanks between bytes allowed.
std::optional<QByteArray> parseHex(const QString &text)
{
    QByteArray digits = text.toLatin1();
    digits.replace(' ', QByteArray()).replace('\t', QByteArray());
    if (digits.size() % 2 != 0)
        return std::nullopt;
    for (const char c : std::as_const(digits)) {
        if (!std::isxdigit(uchar(c)))
            return std::nullopt;
    }
    return QByteArray::fromHex(digits);
}

QString hexText(const uchar *bytes, qint64 count)
{
    return QString::fromLatin1(QByteArray::fromRawData(reinterpret_cast<const char *>(bytes), count).toHex(' ').toUpper());
}

// Parses one FIELD argument; an empty text on success, else the usage error.
QString parseField(const QString &text, Direction direction, Field &field)
{
    const qsizetype colon = text.indexOf(u':');
    const QString name = colon < 0 ? text : text.left(colon);
    field.row = fieldRow(name);
    if (!field.row)
        return QStringLiteral("unknown field '%1'").arg(text);
    const FieldKind kind = field.row->kind;
    const bool counted = kind == FieldKind::Bytes || kind == FieldKind::Text || kind == FieldKind::Skip;
    if (direction == Direction::Encode && kind == FieldKind::SignedVarint)
        return QStringLiteral("svar decodes only: '%1'").arg(text);
    if (direction == Direction::Decode && !counted) {
        if (colon >= 0)
            return QStringLiteral("a field to decode takes no value: '%1'").arg(text);
        return {};
    }
    if (colon < 0)
        return QStringLiteral("field '%1' needs a value").arg(text);
    const QString value = text.mid(colon + 1);
    if (direction == Direction::Encode && kind == FieldKind::Bytes) {
        const std::optional<QByteArray> bytes = parseHex(value);
        if (!bytes)
            return QStringLiteral("bad hexadecimal bytes in '%1'").arg(text);
        field.bytes = *bytes;
        return {};
    }
    if (direction == Direction::Encode && kind == FieldKind::Text) {
        field.bytes = value.toUtf8();
        return {};
    }
    bool ok = false;
    field.value = value.toLongLong(&ok, 0);
    if (!ok || field.value < field.row->minimum || field.value > field.row->maximum)
        return QStringLiteral("bad value in '%1' (%2 to %3)").arg(text).arg(field.row->minimum).arg(field.row->maximum);
    return {};
}

// Parses every operand from `first` on as a field; false after a usage error was reported.
bool parseFields(const CommandArguments &arguments, qsizetype first, Direction direction,
                 std::vector<Field> &fields)
{
    const QStringList &operands = arguments.operands();
    if (operands.size() <= first) {
        arguments.usageError(QStringLiteral("no fields given"));
        return false;
    }
    for (qsizetype i = first; i < operands.size(); ++i) {
        Field field;
        if (const QString problem = parseField(operands.at(i), direction, field); !problem.isEmpty()) {
            arguments.usageError(problem);
            return false;
        }
        fields.push_back(field);
    }
    return true;
}

void encodeField(HMessage &message, const Field &field)
{
    const int bigEndian = field.row->bigEndian;
    switch (field.row->kind) {
    case FieldKind::Unsigned8: message.putNext8(quint8(field.value)); break;
    case FieldKind::Signed8: message.putNextS8(qint8(field.value)); break;
    case FieldKind::Unsigned16: message.putNext16(quint16(field.value), bigEndian); break;
    case FieldKind::Signed16: message.putNextS16(qint16(field.value), bigEndian); break;
    case FieldKind::Unsigned32: message.putNext32(quint32(field.value), bigEndian); break;
    case FieldKind::Pointer: message.putNextPointer(quintptr(quint32(field.value)), bigEndian); break;
    case FieldKind::UnsignedVarint: message.putNextVarint(quint32(field.value)); break;
    case FieldKind::SignedVarint: break;
    case FieldKind::Bytes:
    case FieldKind::Text: message.putNextString(field.bytes); break;
    case FieldKind::Skip: message.skip(int(field.value)); break;
    }
}

// A field as read: a number, or the bytes of bytes:N and str:N.
struct Decoded {
    qint64 number = 0;
    QByteArray bytes;
};

// Reads one field at the position.
Decoded decodeField(HMessage &message, const Field &field)
{
    const int bigEndian = field.row->bigEndian;
    Decoded value;
    switch (field.row->kind) {
    case FieldKind::Unsigned8: { quint8 v = 0; message.getNext8(v); value.number = v; break; }
    case FieldKind::Signed8: { qint8 v = 0; message.getNextS8(v); value.number = v; break; }
    case FieldKind::Unsigned16: { quint16 v = 0; message.getNext16(v, bigEndian); value.number = v; break; }
    case FieldKind::Signed16: { qint16 v = 0; message.getNextS16(v, bigEndian); value.number = v; break; }
    case FieldKind::Unsigned32: { quint32 v = 0; message.getNext32(v, bigEndian); value.number = v; break; }
    case FieldKind::Pointer: { quintptr v = 0; message.getNextPointer(v, bigEndian); value.number = qint64(v); break; }
    case FieldKind::UnsignedVarint: {
        // The out-of-range mark reads as -1.
        quint32 v = 0;
        message.getNextUVarint(v);
        value.number = v == quint32(-1) ? -1 : qint64(v);
        break;
    }
    case FieldKind::SignedVarint: { qint32 v = 0; message.getNextVarint(v); value.number = v; break; }
    case FieldKind::Bytes:
    case FieldKind::Text: message.getNextString(value.bytes, quint32(field.value)); break;
    case FieldKind::Skip: message.skip(int(field.value)); break;
    }
    return value;
}

// The line a decoded field prints: decimal, bytes in hexadecimal, text as it is; none for skip:N.
QString fieldLine(const Field &field, const Decoded &value)
{
    switch (field.row->kind) {
    case FieldKind::Bytes:
        return hexText(reinterpret_cast<const uchar *>(value.bytes.constData()), value.bytes.size()) + u'\n';
    case FieldKind::Text: return QString::fromUtf8(value.bytes) + u'\n';
    case FieldKind::Skip: return {};
    default: return QString::number(value.number) + u'\n';
    }
}

void writeOut(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
}

// Times the --repeat loop by the wall clock and by the processor time it took, which a busy
// machine does not inflate.
class RepeatTimer {
public:
    RepeatTimer() : m_cpuStart(std::clock()) { m_wall.start(); }
    void report(const char *what, qint64 repeat, size_t fields) const
    {
        const double count = double(repeat) * double(fields);
        const double wall = double(m_wall.nsecsElapsed()) / 1e6;
        const double cpu = double(std::clock() - m_cpuStart) * 1000.0 / CLOCKS_PER_SEC;
        std::fprintf(stderr, "tess link %s: %.0f fields in %.1f ms (%.1f ms of processor time), %.2f ns each\n",
                     what, count, wall, cpu, wall * 1e6 / count);
    }

private:
    QElapsedTimer m_wall;
    std::clock_t m_cpuStart;
};

int encodeCommand(const CommandArguments &arguments)
{
    std::vector<Field> fields;
    const std::optional<qint64> repeat = arguments.integer("--repeat", 1, maxRepeat, 0);
    if (!repeat || !parseFields(arguments, 0, Direction::Encode, fields))
        return exitUsage;
    try {
        HMessage message;
        if (*repeat > 0) {
            const RepeatTimer timer;
            for (qint64 i = 0; i < *repeat; ++i) {
                message.setPosition(0);
                for (const Field &field : fields)
                    encodeField(message, field);
            }
            timer.report("encode", *repeat, fields.size());
            message.setPosition(0);
            message.setLength(0);
        }
        for (const Field &field : fields)
            encodeField(message, field);
        // A trailing skip leaves zero bytes, as a field put after it would.
        if (message.position() > message.length())
            message.setLength(message.position());
        writeOut(hexText(message.data(), message.length()) + u'\n');
        return exitSuccess;
    } catch (const HException &exception) {
        return arguments.fail(exception.message());
    }
}

int decodeCommand(const CommandArguments &arguments)
{
    std::vector<Field> fields;
    const std::optional<qint64> repeat = arguments.integer("--repeat", 1, maxRepeat, 0);
    if (!repeat || !parseFields(arguments, 1, Direction::Decode, fields))
        return exitUsage;
    const std::optional<QByteArray> bytes = parseHex(arguments.operands().first());
    if (!bytes)
        return arguments.usageError(QStringLiteral("bad hexadecimal bytes '%1'").arg(arguments.operands().first()));
    HMessage message(quint32(bytes->size()));
    message.putNextBytes(bytes->constData(), quint32(bytes->size()));
    QString text;
    try {
        if (*repeat > 0) {
            const RepeatTimer timer;
            for (qint64 i = 0; i < *repeat; ++i) {
                message.setPosition(0);
                for (const Field &field : fields)
                    (void)decodeField(message, field);
            }
            timer.report("decode", *repeat, fields.size());
        }
        message.setPosition(0);
        for (const Field &field : fields)
            text += fieldLine(field, decodeField(message, field));
    } catch (const HException &exception) {
        writeOut(text);
        return arguments.fail(exception.message());
    }
    writeOut(text);
    return exitSuccess;
}

struct LineOptions {
    QString device;
    int baud = 115200;
    int dataBits = 8;
    int parity = HSerialLink::NoParity;
    bool stopBits2 = false;
    int flowControl = HSerialLink::NoFlowControl;
};

// The value's index in `words`, or -1 after a usage error was reported.
int choice(const CommandArguments &arguments, const char *option, std::initializer_list<const char *> words)
{
    const QString value = arguments.value(option, QLatin1String(*words.begin()));
    int index = 0;
    QStringList spelled;
    for (const char *word : words) {
        if (value == QLatin1String(word))
            return index;
        spelled.append(QLatin1String(word));
        ++index;
    }
    arguments.usageError(QStringLiteral("bad value '%1' for %2 (%3)").arg(value, QLatin1String(option), spelled.join(u'|')));
    return -1;
}

// The one DEVICE operand and its line options; false after a usage error was reported.
bool readLineOptions(const CommandArguments &arguments, LineOptions &line)
{
    if (arguments.operands().size() != 1) {
        arguments.usageError(QStringLiteral("give one device"));
        return false;
    }
    line.device = arguments.operands().first();
    const std::optional<qint64> baud = arguments.integer("--baud", 1, 0x7FFFFFFF, 115200);
    const std::optional<qint64> dataBits = baud ? arguments.integer("--data", 5, 8, 8) : std::nullopt;
    if (!baud || !dataBits)
        return false;
    const int parity = choice(arguments, "--parity", {"none", "even", "odd"});
    const int stop = parity < 0 ? -1 : choice(arguments, "--stop", {"1", "2"});
    const int flow = stop < 0 ? -1 : choice(arguments, "--flow", {"none", "soft", "hard"});
    if (flow < 0)
        return false;
    line.baud = int(*baud);
    line.dataBits = int(*dataBits);
    line.parity = parity;
    line.stopBits2 = stop == 1;
    line.flowControl = flow;
    return true;
}

std::unique_ptr<HSerialLink> openLink(const LineOptions &line)
{
    return std::make_unique<HSerialLink>(line.device, line.baud, line.dataBits, line.parity,
                                         line.stopBits2, line.flowControl);
}

std::optional<QByteArray> readSendFile(const CommandArguments &arguments, const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        arguments.fail(QStringLiteral("%1: %2").arg(path, file.errorString()));
        return std::nullopt;
    }
    const QByteArray bytes = file.read(maxTransfer + 1);
    if (bytes.size() > maxTransfer) {
        arguments.fail(QStringLiteral("%1: more than %2 bytes to send").arg(path).arg(maxTransfer));
        return std::nullopt;
    }
    return bytes;
}

int transfer(const CommandArguments &arguments, const LineOptions &line, const QByteArray &sending,
             qint64 receiveCount, int timeout)
{
    try {
        const std::unique_ptr<HSerialLink> opened = openLink(line);
        HSerialLink &link = *opened;
        link.setTimeouts(timeout, timeout);
        if (!sending.isEmpty()) {
            QByteArray bytes = sending;
            HMessage message(reinterpret_cast<uchar *>(bytes.data()), quint32(bytes.size()), quint32(bytes.size()));
            message.send(&link);
        }
        if (receiveCount == 0)
            return exitSuccess;
        QByteArray received(receiveCount, Qt::Uninitialized);
        const int count = link.read(received.data(), int(receiveCount));
        writeOut(hexText(reinterpret_cast<const uchar *>(received.constData()), count) + u'\n');
        if (count < receiveCount) {
            const QString why = link.lastError().isEmpty() ? QString() : QStringLiteral(", ") + link.lastError();
            return arguments.fail(QStringLiteral("hardware error: target JTAG adapter data link read timed out (%1 of %2 bytes%3)")
                                      .arg(count).arg(receiveCount).arg(why));
        }
        return exitSuccess;
    } catch (const HException &exception) {
        return arguments.fail(line.device + QStringLiteral(": ") + exception.message());
    }
}

int transferCommand(const CommandArguments &arguments)
{
    LineOptions line;
    if (!readLineOptions(arguments, line))
        return exitUsage;
    const std::optional<qint64> timeout = arguments.integer("--timeout", 0, 0x7FFFFFFF, 1000);
    const std::optional<qint64> receive = timeout ? arguments.integer("--receive", 0, maxTransfer, 0) : std::nullopt;
    if (!timeout || !receive)
        return exitUsage;
    if (arguments.has("--send") && arguments.has("--send-file"))
        return arguments.usageError(QStringLiteral("give either --send or --send-file"));
    QByteArray sending;
    if (arguments.has("--send")) {
        const std::optional<QByteArray> bytes = parseHex(arguments.value("--send"));
        if (!bytes)
            return arguments.usageError(QStringLiteral("bad hexadecimal bytes '%1'").arg(arguments.value("--send")));
        sending = *bytes;
    } else if (arguments.has("--send-file")) {
        const std::optional<QByteArray> bytes = readSendFile(arguments, arguments.value("--send-file"));
        if (!bytes)
            return exitFailure;
        sending = *bytes;
    }
    return transfer(arguments, line, sending, *receive, int(*timeout));
}

// Set by SIGINT and SIGTERM; the monitor loop ends when it sees it.
volatile std::sig_atomic_t interrupted = 0;

void noteInterrupt(int)
{
    interrupted = 1;
}

int monitorCommand(const CommandArguments &arguments)
{
    LineOptions line;
    if (!readLineOptions(arguments, line))
        return exitUsage;
    // Without SA_RESTART, so that Ctrl-C also ends the wait in poll.
    struct sigaction action = {};
    action.sa_handler = noteInterrupt;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    try {
        const std::unique_ptr<HSerialLink> link = openLink(line);
        link->setTimeouts(200, 1000);
        char buffer[4096];
        while (!interrupted) {
            const int count = link->readAvailable(buffer, int(sizeof buffer));
            if (count < 0)
                return arguments.fail(line.device + QStringLiteral(": ") + link->lastError());
            if (count > 0) {
                std::fwrite(buffer, 1, size_t(count), stdout);
                std::fflush(stdout);
            }
        }
        return exitSuccess;
    } catch (const HException &exception) {
        return arguments.fail(line.device + QStringLiteral(": ") + exception.message());
    }
}

constexpr TessOption encodeOptions[] = {
    {"--repeat", "N", "encode the fields N times first and report the time per field"},
};

constexpr TessOption decodeOptions[] = {
    {"--repeat", "N", "decode the fields N times first and report the time per field"},
};

constexpr TessOption lineOptions[] = {
    {"--baud", "N", "line speed (default 115200; other than the standard rates asked as custom)"},
    {"--data", "BITS", "data bits, 5 to 8 (default 8)"},
    {"--parity", "none|even|odd", "parity (default none)"},
    {"--stop", "1|2", "stop bits (default 1)"},
    {"--flow", "none|soft|hard", "flow control (default none)"},
};

constexpr TessOption transferOptions[] = {
    lineOptions[0], lineOptions[1], lineOptions[2], lineOptions[3], lineOptions[4],
    {"--timeout", "MS", "time-out of the send and of the receive (default 1000)"},
    {"--send", "HEX", "bytes to send first, as hexadecimal"},
    {"--send-file", "FILE", "send the bytes of FILE first (at most 64 MiB)"},
    {"--receive", "N", "then receive N bytes (at most 64 MiB) and print them"},
};

constexpr TessCommand linkRows[] = {
    {"link encode", "[--repeat N] FIELD...",
     "lay out typed fields as a message and print its bytes in hexadecimal", encodeOptions,
     "tess link encode u8:1 u32be:0x08000000 uvar:300 str:OK", encodeCommand},
    {"link decode", "[--repeat N] HEX FIELD...",
     "read typed fields from message bytes, one value a line", decodeOptions,
     "tess link decode '01 08 00 00 00 AC 02' u8 u32be uvar", decodeCommand},
    {"link transfer", "DEVICE [--baud N] [--data 5-8] [--parity none|even|odd] [--stop 1|2] [--flow none|soft|hard] [--timeout MS] [--send HEX|--send-file FILE] [--receive N]",
     "send bytes over a serial line, then receive a number of bytes", transferOptions,
     "tess link transfer /dev/ttyUSB0 --baud 115200 --send '50 49 4E 47' --receive 4", transferCommand},
    {"link monitor", "DEVICE [--baud N] [--data 5-8] [--parity none|even|odd] [--stop 1|2] [--flow none|soft|hard]",
     "copy what a serial line receives to standard output until Ctrl-C", lineOptions,
     "tess link monitor /dev/ttyUSB0 --baud 9600", monitorCommand},
};

} // namespace

std::span<const TessCommand> linkCommands()
{
    return linkRows;
}
