#include "clang/Protocol.h"
#include "foundation/HException.h"
#include <cstring>
#include <limits>

namespace {

// Header slots, by the offset / 4 they sit at.
enum HeaderSlot { slotCommand, slotCount, slotOptions, slotArguments, slotExtra, slotFlags };

void putHeader(char *area, HeaderSlot slot, qint32 value)
{
    std::memcpy(area + slot * 4, &value, 4);
}

qint32 getHeader(const char *area, HeaderSlot slot)
{
    qint32 value;
    std::memcpy(&value, area + slot * 4, 4);
    return value;
}

// Counts the bytes of a payload, or writes them: the two passes share one encoder so that the
// size checked is the size written.
class Sink {
public:
    explicit Sink(char *to) : m_to(to) {}
    void bytes(const char *data, std::size_t length)
    {
        if (m_to && length > 0)
            std::memcpy(m_to + m_used, data, length);
        m_used += length;
    }
    void int32(qint32 value) { bytes(reinterpret_cast<const char *>(&value), 4); }
    void string(const QByteArray &text) { bytes(text.constData(), std::size_t(text.size()) + 1); }
    [[nodiscard]] std::size_t used() const { return m_used; }

private:
    char *m_to; // null: count only
    std::size_t m_used = 0;
};

// The request's strings in UTF-8, converted once for both passes.
struct EncodedRequest {
    QByteArray source;
    QByteArray main;
    QList<QByteArray> unsavedNames;
    QList<QByteArray> arguments;
};

void encodeUnsaved(const ClangRequest &request, const EncodedRequest &text, Sink &sink)
{
    for (std::size_t i = 0; i < request.unsaved.size(); ++i) {
        sink.string(text.unsavedNames.at(qsizetype(i)));
        const QByteArray &contents = request.unsaved[i].contents;
        sink.int32(qint32(contents.size()));
        sink.bytes(contents.constData(), std::size_t(contents.size()));
    }
}

void encodeRequest(const ClangRequest &request, const EncodedRequest &text, Sink &sink)
{
    if (request.command == ClangCommand::Completion) {
        sink.string(text.main);
        encodeUnsaved(request, text, sink);
        for (const QByteArray &argument : text.arguments)
            sink.string(argument);
        sink.string(text.source);
        return;
    }
    sink.string(text.source);
    encodeUnsaved(request, text, sink);
    for (const QByteArray &argument : text.arguments)
        sink.string(argument);
    sink.string(text.main);
    if (isPositional(request.command)) {
        sink.int32(request.line);
        sink.int32(request.column);
    }
}

// Reads a payload with every access checked against the end of the area.
class Reader {
public:
    Reader(const char *area, std::size_t size, const char *what)
        : m_area(area), m_size(size), m_what(what)
    {
        if (size < protocolHeaderSize)
            fail(0);
    }
    [[noreturn]] void fail(std::size_t at) const
    {
        throw HException(QStringLiteral("Indexer %1 cut short or malformed at byte %2")
                             .arg(QLatin1String(m_what))
                             .arg(at));
    }
    qint32 int32()
    {
        if (m_size - m_pos < 4)
            fail(m_pos);
        qint32 value;
        std::memcpy(&value, m_area + m_pos, 4);
        m_pos += 4;
        return value;
    }
    QByteArray string()
    {
        const void *end = std::memchr(m_area + m_pos, 0, m_size - m_pos);
        if (!end)
            fail(m_pos);
        const std::size_t length = std::size_t(static_cast<const char *>(end) - (m_area + m_pos));
        QByteArray text(m_area + m_pos, qsizetype(length));
        m_pos += length + 1;
        return text;
    }
    QString text() { return QString::fromUtf8(string()); }
    QByteArray bytes(qint32 length)
    {
        if (length < 0 || std::size_t(length) > m_size - m_pos)
            fail(m_pos);
        QByteArray data(m_area + m_pos, length);
        m_pos += std::size_t(length);
        return data;
    }
    // A count of records of at least `smallest` bytes each: one that could not fit the rest of
    // the area is malformed, and is refused before anything is allocated for it.
    std::size_t count(qint32 value, std::size_t smallest) const
    {
        if (value < 0 || std::size_t(value) > (m_size - m_pos) / smallest)
            fail(m_pos);
        return std::size_t(value);
    }

private:
    const char *m_area;
    std::size_t m_size;
    std::size_t m_pos = protocolHeaderSize;
    const char *m_what;
};

std::vector<ClangUnsavedFile> decodeUnsaved(Reader &reader, std::size_t count)
{
    std::vector<ClangUnsavedFile> files(count);
    for (ClangUnsavedFile &file : files) {
        file.name = reader.text();
        file.contents = reader.bytes(reader.int32());
    }
    return files;
}

QStringList decodeArguments(Reader &reader, std::size_t count)
{
    QStringList arguments;
    arguments.reserve(qsizetype(count));
    for (std::size_t i = 0; i < count; ++i)
        arguments.append(reader.text());
    return arguments;
}

void encodeSymbol(const ClangSymbol &symbol, Sink &sink)
{
    sink.int32(symbol.line);
    sink.int32(symbol.column);
    sink.int32(symbol.kind);
    sink.int32(symbol.definition ? 1 : 0);
    sink.string(symbol.path.toUtf8());
    sink.string(symbol.kindSpelling.toUtf8());
    sink.string(symbol.name.toUtf8());
    sink.string(symbol.usr.toUtf8());
}

ClangSymbol decodeSymbol(Reader &reader)
{
    ClangSymbol symbol;
    symbol.line = reader.int32();
    symbol.column = reader.int32();
    symbol.kind = reader.int32();
    symbol.definition = reader.int32() != 0;
    symbol.path = reader.text();
    symbol.kindSpelling = reader.text();
    symbol.name = reader.text();
    symbol.usr = reader.text();
    return symbol;
}

// The payload of a valid reply and its record count.
qint32 encodeReply(ClangCommand command, const ClangReply &reply, Sink &sink)
{
    switch (command) {
    case ClangCommand::Completion:
        for (const ClangCompletion &completion : reply.completions) {
            sink.int32(completion.priority);
            sink.int32(completion.kind);
            sink.int32(completion.availability);
            sink.string(completion.typedText.toUtf8());
            sink.string(completion.kindSpelling.toUtf8());
            sink.string(completion.text.toUtf8());
        }
        return qint32(reply.completions.size());
    case ClangCommand::Ranges:
        for (const ClangRange &range : reply.ranges) {
            sink.int32(range.first);
            sink.int32(range.last);
            sink.string(range.text.toUtf8());
        }
        return qint32(reply.ranges.size());
    case ClangCommand::Index:
    case ClangCommand::CursorReferenced:
        for (const ClangSymbol &symbol : reply.symbols)
            encodeSymbol(symbol, sink);
        return qint32(reply.symbols.size());
    case ClangCommand::References:
        for (const ClangLocation &location : reply.locations) {
            sink.int32(location.line);
            sink.int32(location.column);
        }
        return qint32(reply.locations.size());
    case ClangCommand::CursorEvaluate:
        if (reply.evaluation.isNull())
            return 0;
        sink.string(reply.evaluation.toUtf8());
        return 1;
    }
    return 0;
}

void decodeReply(ClangCommand command, Reader &reader, qint32 count, ClangReply &reply)
{
    switch (command) {
    case ClangCommand::Completion:
        reply.completions.resize(reader.count(count, 15));
        for (ClangCompletion &completion : reply.completions) {
            completion.priority = reader.int32();
            completion.kind = reader.int32();
            completion.availability = reader.int32();
            completion.typedText = reader.text();
            completion.kindSpelling = reader.text();
            completion.text = reader.text();
        }
        return;
    case ClangCommand::Ranges:
        reply.ranges.resize(reader.count(count, 9));
        for (ClangRange &range : reply.ranges) {
            range.first = reader.int32();
            range.last = reader.int32();
            range.text = reader.text();
        }
        return;
    case ClangCommand::Index:
    case ClangCommand::CursorReferenced:
        reply.symbols.reserve(reader.count(count, 20));
        for (qint32 i = 0; i < count; ++i)
            reply.symbols.push_back(decodeSymbol(reader));
        return;
    case ClangCommand::References:
        reply.locations.resize(reader.count(count, 8));
        for (ClangLocation &location : reply.locations) {
            location.line = reader.int32();
            location.column = reader.int32();
        }
        return;
    case ClangCommand::CursorEvaluate:
        if (reader.count(count, 1) > 1)
            reader.fail(protocolHeaderSize);
        if (count == 1)
            reply.evaluation = reader.text();
        return;
    }
}

std::size_t writeFailure(const QString &reason, char *area, std::size_t size)
{
    QByteArray text = reason.toUtf8();
    text.truncate(
        qsizetype(qMin<std::size_t>(std::size_t(text.size()), size - protocolHeaderSize - 1)));
    putHeader(area, slotCommand, qint32(ClangStatus::Failed));
    putHeader(area, slotCount, 0);
    Sink sink(area + protocolHeaderSize);
    sink.string(text);
    return protocolHeaderSize + sink.used();
}

EncodedRequest encodedText(const ClangRequest &request)
{
    EncodedRequest text{request.sourcePath.toUtf8(), request.mainPath.toUtf8(), {}, {}};
    for (const ClangUnsavedFile &file : request.unsaved) {
        if (file.contents.size() > std::numeric_limits<qint32>::max())
            throw HException(QStringLiteral("Unsaved file %1 is too large to pass to the indexer")
                                 .arg(file.name));
        text.unsavedNames.append(file.name.toUtf8());
    }
    for (const QString &argument : request.arguments)
        text.arguments.append(argument.toUtf8());
    return text;
}

} // namespace

ClangCommand commandOf(ClangOperation operation)
{
    static constexpr ClangCommand commands[] = {
        ClangCommand::Completion,     ClangCommand::Completion,       ClangCommand::Ranges,
        ClangCommand::Index,          ClangCommand::CursorReferenced, ClangCommand::References,
        ClangCommand::CursorEvaluate,
    };
    static_assert(std::size(commands) == clangOperationNames.size());
    return commands[qBound(0, int(operation), int(std::size(commands)) - 1)];
}

bool isPositional(ClangCommand command)
{
    return command == ClangCommand::CursorReferenced || command == ClangCommand::References
           || command == ClangCommand::CursorEvaluate;
}

std::size_t requestSize(const ClangRequest &request)
{
    Sink counter(nullptr);
    encodeRequest(request, encodedText(request), counter);
    return protocolHeaderSize + counter.used();
}

std::size_t writeRequest(const ClangRequest &request, char *area, std::size_t size)
{
    const EncodedRequest text = encodedText(request);
    Sink counter(nullptr);
    encodeRequest(request, text, counter);
    const std::size_t total = protocolHeaderSize + counter.used();
    if (total > size) {
        throw HException(QStringLiteral("The request for %1 needs %2 bytes, more than the %3 "
                                        "bytes of the shared area")
                             .arg(request.mainPath)
                             .arg(total)
                             .arg(size));
    }
    putHeader(area, slotCommand, qint32(request.command));
    putHeader(area, slotCount, qint32(request.unsaved.size()));
    if (request.command == ClangCommand::Completion) {
        putHeader(area, slotOptions, request.line);
        putHeader(area, slotArguments, request.column);
        putHeader(area, slotExtra, qint32(request.arguments.size()));
    } else {
        putHeader(area, slotOptions, qint32(request.parseOptions));
        putHeader(area, slotArguments, qint32(request.arguments.size()));
        putHeader(area, slotExtra, request.operationFlag);
    }
    putHeader(area, slotFlags, request.flags);
    Sink writer(area + protocolHeaderSize);
    encodeRequest(request, text, writer);
    return total;
}

ClangRequest readRequest(const char *area, std::size_t size)
{
    Reader reader(area, size, "request");
    ClangRequest request;
    const qint32 command = getHeader(area, slotCommand);
    if (command < 0 || command >= clangCommandCount)
        throw HException(QStringLiteral("Indexer request with unknown command %1").arg(command));
    request.command = ClangCommand(command);
    request.flags = getHeader(area, slotFlags);
    const qint32 unsavedCount = getHeader(area, slotCount);
    if (request.command == ClangCommand::Completion) {
        request.line = getHeader(area, slotOptions);
        request.column = getHeader(area, slotArguments);
        request.mainPath = reader.text();
        request.unsaved = decodeUnsaved(reader, reader.count(unsavedCount, 5));
        request.arguments = decodeArguments(reader, reader.count(getHeader(area, slotExtra), 1));
        request.sourcePath = reader.text();
        return request;
    }
    request.parseOptions = quint32(getHeader(area, slotOptions));
    request.operationFlag = getHeader(area, slotExtra);
    request.sourcePath = reader.text();
    request.unsaved = decodeUnsaved(reader, reader.count(unsavedCount, 5));
    request.arguments = decodeArguments(reader, reader.count(getHeader(area, slotArguments), 1));
    request.mainPath = reader.text();
    if (isPositional(request.command)) {
        request.line = reader.int32();
        request.column = reader.int32();
    }
    return request;
}

std::size_t writeReply(ClangCommand command, const ClangReply &reply, char *area, std::size_t size)
{
    if (reply.status != ClangStatus::Valid)
        return writeFailure(reply.error, area, size);
    Sink counter(nullptr);
    encodeReply(command, reply, counter);
    const std::size_t total = protocolHeaderSize + counter.used();
    if (total > size) {
        return writeFailure(QStringLiteral("The reply needs %1 bytes, more than the %2 bytes of "
                                           "the shared area")
                                .arg(total)
                                .arg(size),
                            area, size);
    }
    Sink writer(area + protocolHeaderSize);
    const qint32 count = encodeReply(command, reply, writer);
    putHeader(area, slotCommand, qint32(ClangStatus::Valid));
    putHeader(area, slotCount, count);
    return total;
}

ClangReply readReply(ClangCommand command, const char *area, std::size_t size)
{
    Reader reader(area, size, "reply");
    ClangReply reply;
    const qint32 status = getHeader(area, slotCommand);
    const qint32 count = getHeader(area, slotCount);
    if (status != qint32(ClangStatus::Valid)) {
        reply.status = ClangStatus::Failed;
        reply.error = reader.text();
        return reply;
    }
    decodeReply(command, reader, count, reply);
    return reply;
}

ClangRequest completionRequest(const QString &mainPath, int line, int column,
                               const std::vector<ClangUnsavedFile> &unsaved,
                               const QStringList &arguments, unsigned flags,
                               const QString &sourcePath, bool prefixFromToken)
{
    ClangRequest request;
    request.command = ClangCommand::Completion;
    request.mainPath = mainPath;
    request.line = line;
    request.column = column;
    request.unsaved = unsaved;
    request.arguments = arguments;
    request.flags = qint32(flags | (prefixFromToken ? ClangCompletionFlag::prefixFromToken : 0));
    request.sourcePath = sourcePath;
    return request;
}

ClangRequest unitRequest(ClangCommand command, const ClangUnit &unit, unsigned parseOptions,
                         int line, int column)
{
    ClangRequest request;
    request.command = command;
    request.sourcePath = unit.sourcePath;
    request.unsaved = unit.unsaved;
    request.arguments = unit.arguments;
    request.mainPath = unit.mainPath;
    request.parseOptions = parseOptions;
    request.line = line;
    request.column = column;
    return request;
}

void deliverReply(ClangCommand command, ClangReply &&reply, const ClangDestinations &to)
{
    if (reply.status != ClangStatus::Valid)
        throw HException(reply.error);
    switch (command) {
    case ClangCommand::Completion:
        if (to.completions)
            *to.completions = std::move(reply.completions);
        return;
    case ClangCommand::Ranges:
        if (to.ranges)
            *to.ranges = std::move(reply.ranges);
        return;
    case ClangCommand::Index:
    case ClangCommand::CursorReferenced:
        if (to.symbols)
            *to.symbols = std::move(reply.symbols);
        return;
    case ClangCommand::References:
        if (to.locations)
            *to.locations = std::move(reply.locations);
        return;
    case ClangCommand::CursorEvaluate:
        if (to.evaluation)
            *to.evaluation = reply.evaluation;
        return;
    }
}
