// The shared area's encoding on its own: what one side writes the other reads back, and what a
// cut-short or impossible area makes of the reader.
#include "clang/Protocol.h"
#include "foundation/HException.h"
#include <QByteArray>
#include <gtest/gtest.h>

namespace {

ClangRequest sampleRequest(ClangCommand command)
{
    ClangRequest request;
    request.command = command;
    request.sourcePath = command == ClangCommand::Index ? QStringLiteral("/src/a.h") : QString();
    request.unsaved = {{QStringLiteral("/src/é.c"), QByteArray("int x;\0y", 8)},
                       {QStringLiteral("/src/empty.c"), QByteArray()}};
    request.arguments = {QStringLiteral("-DX=1"), QStringLiteral(""), QStringLiteral("-I/inc")};
    request.mainPath = QStringLiteral("/src/main.c");
    request.parseOptions = command == ClangCommand::Completion ? 0 : 73;
    const bool positioned = command == ClangCommand::Completion || isPositional(command);
    request.line = positioned ? 12 : 0;
    request.column = positioned ? 9 : 0;
    request.flags = command == ClangCommand::Completion ? 3 : 0;
    return request;
}

ClangReply sampleReply()
{
    ClangReply reply;
    reply.completions = {{50, 6, 0, QStringLiteral("count"), QStringLiteral("FieldDecl"),
                          QStringLiteral("int count")}};
    reply.ranges = {{3, 5, QStringLiteral("/src/main.c")}};
    reply.symbols = {{4, 8, 2, true, QStringLiteral("/src/main.c"), QStringLiteral("StructDecl"),
                      QStringLiteral("point"), QStringLiteral("c:@S@point")}};
    reply.locations = {{2, 5}, {21, 7}};
    reply.evaluation = QStringLiteral("3.5");
    return reply;
}

struct CommandCase {
    const char *name;
    ClangCommand command;
};

class ProtocolRoundTrip : public ::testing::TestWithParam<CommandCase> {};

TEST_P(ProtocolRoundTrip, RequestReadsBackAsWritten)
{
    const ClangRequest request = sampleRequest(GetParam().command);
    QByteArray area(4096, '\xAA');
    const std::size_t used = writeRequest(request, area.data(), std::size_t(area.size()));
    EXPECT_EQ(used, requestSize(request));
    const ClangRequest back = readRequest(area.constData(), used);
    EXPECT_EQ(back.command, request.command);
    EXPECT_EQ(back.sourcePath, request.sourcePath);
    ASSERT_EQ(back.unsaved.size(), request.unsaved.size());
    for (std::size_t i = 0; i < back.unsaved.size(); ++i) {
        EXPECT_EQ(back.unsaved[i].name, request.unsaved[i].name);
        EXPECT_EQ(back.unsaved[i].contents, request.unsaved[i].contents);
    }
    EXPECT_EQ(back.arguments, request.arguments);
    EXPECT_EQ(back.mainPath, request.mainPath);
    EXPECT_EQ(back.parseOptions, request.parseOptions);
    EXPECT_EQ(back.line, request.line);
    EXPECT_EQ(back.column, request.column);
    EXPECT_EQ(back.flags, request.flags);
}

TEST_P(ProtocolRoundTrip, ReplyReadsBackAsWritten)
{
    const ClangCommand command = GetParam().command;
    QByteArray area(4096, '\xAA');
    const std::size_t used =
        writeReply(command, sampleReply(), area.data(), std::size_t(area.size()));
    const ClangReply back = readReply(command, area.constData(), used);
    EXPECT_EQ(back.status, ClangStatus::Valid);
    switch (command) {
    case ClangCommand::Completion:
        ASSERT_EQ(back.completions.size(), 1u);
        EXPECT_EQ(back.completions[0].text, QStringLiteral("int count"));
        EXPECT_EQ(back.completions[0].priority, 50);
        break;
    case ClangCommand::Ranges:
        ASSERT_EQ(back.ranges.size(), 1u);
        EXPECT_EQ(back.ranges[0].last, 5);
        break;
    case ClangCommand::Index:
    case ClangCommand::CursorReferenced:
        ASSERT_EQ(back.symbols.size(), 1u);
        EXPECT_EQ(back.symbols[0].usr, QStringLiteral("c:@S@point"));
        EXPECT_TRUE(back.symbols[0].definition);
        break;
    case ClangCommand::References:
        EXPECT_EQ(back.locations, sampleReply().locations);
        break;
    case ClangCommand::CursorEvaluate:
        EXPECT_EQ(back.evaluation, QStringLiteral("3.5"));
        break;
    }
}

// Every prefix of a request or a reply is refused with the reader's message, never read past.
TEST_P(ProtocolRoundTrip, EveryCutShortAreaIsRefused)
{
    const ClangCommand command = GetParam().command;
    QByteArray request(4096, '\0');
    const std::size_t requestUsed = writeRequest(sampleRequest(command), request.data(), 4096);
    QByteArray reply(4096, '\0');
    const std::size_t replyUsed = writeReply(command, sampleReply(), reply.data(), 4096);
    for (std::size_t length = 0; length < requestUsed; ++length) {
        const QByteArray prefix = request.left(qsizetype(length));
        EXPECT_THROW((void)readRequest(prefix.constData(), length), HException) << "at " << length;
    }
    for (std::size_t length = 0; length < replyUsed; ++length) {
        const QByteArray prefix = reply.left(qsizetype(length));
        EXPECT_THROW((void)readReply(command, prefix.constData(), length), HException)
            << "at " << length;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Commands, ProtocolRoundTrip,
    ::testing::Values(CommandCase{"completion", ClangCommand::Completion},
                      CommandCase{"index", ClangCommand::Index},
                      CommandCase{"cursorReferenced", ClangCommand::CursorReferenced},
                      CommandCase{"ranges", ClangCommand::Ranges},
                      CommandCase{"references", ClangCommand::References},
                      CommandCase{"cursorEvaluate", ClangCommand::CursorEvaluate}),
    [](const auto &info) { return std::string(info.param.name); });

struct BrokenCase {
    const char *name;
    qint32 header[6];
    const char *message;
};

class BrokenRequest : public ::testing::TestWithParam<BrokenCase> {};

TEST_P(BrokenRequest, IsRefusedWithAMessage)
{
    QByteArray area(64, '\0');
    std::memcpy(area.data(), GetParam().header, 24);
    try {
        (void)readRequest(area.constData(), std::size_t(area.size()));
        ADD_FAILURE() << "no exception";
    } catch (const HException &error) {
        EXPECT_EQ(error.message(), QString::fromUtf8(GetParam().message));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Headers, BrokenRequest,
    ::testing::Values(
        BrokenCase{"unknownCommand", {9, 0, 0, 0, 0, 0}, "Indexer request with unknown command 9"},
        BrokenCase{
            "negativeCommand", {-1, 0, 0, 0, 0, 0}, "Indexer request with unknown command -1"},
        BrokenCase{"negativeUnsavedCount",
                   {1, -1, 0, 0, 0, 0},
                   "Indexer request cut short or malformed at byte 25"},
        BrokenCase{"hugeUnsavedCount",
                   {1, 0x7fffffff, 0, 0, 0, 0},
                   "Indexer request cut short or malformed at byte 25"},
        BrokenCase{"hugeArgumentCount",
                   {1, 0, 0, 0x7fffffff, 0, 0},
                   "Indexer request cut short or malformed at byte 25"},
        BrokenCase{"hugeCompletionArguments",
                   {0, 0, 1, 1, 0x40000000, 0},
                   "Indexer request cut short or malformed at byte 25"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(ProtocolLimits, ARequestLargerThanTheAreaIsRefusedBeforeWriting)
{
    ClangRequest request = sampleRequest(ClangCommand::Completion);
    request.unsaved.push_back({QStringLiteral("/src/big.c"), QByteArray(5000, 'x')});
    QByteArray area(4096, '\xAA');
    try {
        writeRequest(request, area.data(), std::size_t(area.size()));
        ADD_FAILURE() << "no exception";
    } catch (const HException &error) {
        EXPECT_EQ(error.message(),
                  QStringLiteral("The request for /src/main.c needs %1 bytes, more "
                                 "than the 4096 bytes of the shared area")
                      .arg(requestSize(request)));
    }
    EXPECT_EQ(area, QByteArray(4096, '\xAA'));
}

TEST(ProtocolLimits, AReplyLargerThanTheAreaBecomesAFailure)
{
    ClangReply reply;
    for (int i = 0; i < 200; ++i)
        reply.locations.push_back({i, i});
    QByteArray area(512, '\0');
    const std::size_t used = writeReply(ClangCommand::References, reply, area.data(), 512);
    const ClangReply back = readReply(ClangCommand::References, area.constData(), used);
    EXPECT_EQ(back.status, ClangStatus::Failed);
    EXPECT_EQ(
        back.error,
        QStringLiteral("The reply needs 1624 bytes, more than the 512 bytes of the shared area"));
}

TEST(ProtocolLimits, AnEvaluationWithMoreThanOneStringIsRefused)
{
    QByteArray area(64, '\0');
    const qint32 header[6] = {0, 2, 0, 0, 0, 0};
    std::memcpy(area.data(), header, 24);
    EXPECT_THROW((void)readReply(ClangCommand::CursorEvaluate, area.constData(), 64), HException);
}

} // namespace
