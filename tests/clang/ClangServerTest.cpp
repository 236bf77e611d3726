// The environment's side of the indexer link against a stand-in indexer: the bytes of every
// request and reply, the states, stopping, and indexers that crash, hang or are killed.
#include "foundation/HException.h"
#include "tests/clang/ClangTestSupport.h"
#include <QFile>
#include <functional>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace ClangTest;

namespace {

// What the start calls fill.
struct Results {
    std::vector<ClangCompletion> completions;
    std::vector<ClangRange> ranges;
    std::vector<ClangSymbol> symbols;
    std::vector<ClangLocation> locations;
    QString evaluation;
};

ClangUnit sampleUnit(const QString &sourcePath = {})
{
    return {QStringLiteral("/src/main.c"),
            {QStringLiteral("-DX=1"), QStringLiteral("-I/inc")},
            {{QStringLiteral("/src/buf.h"), QByteArray("int b;\n")}},
            sourcePath};
}

// The common request form of the sample unit, written out by hand.
Bytes commonRequest(qint32 command, qint32 options, const QByteArray &source)
{
    Bytes bytes;
    bytes.int32(command).int32(1).int32(options).int32(2).int32(0).int32(0);
    bytes.string(source).string("/src/buf.h").int32(7).raw("int b;\n");
    bytes.string("-DX=1").string("-I/inc").string("/src/main.c");
    return bytes;
}

QString describe(const Results &results)
{
    QString text;
    for (const ClangCompletion &c : results.completions)
        text += QStringLiteral("%1 %2 %3 %4|%5|%6\n")
                    .arg(c.priority)
                    .arg(c.kind)
                    .arg(c.availability)
                    .arg(c.typedText, c.kindSpelling, c.text);
    for (const ClangRange &r : results.ranges)
        text += QStringLiteral("%1-%2 %3\n").arg(r.first).arg(r.last).arg(r.text);
    for (const ClangSymbol &s : results.symbols)
        text += QStringLiteral("%1:%2 %3 %4 %5|%6|%7|%8\n")
                    .arg(s.line)
                    .arg(s.column)
                    .arg(s.kind)
                    .arg(s.definition)
                    .arg(s.path, s.kindSpelling, s.name, s.usr);
    for (const ClangLocation &l : results.locations)
        text += QStringLiteral("%1:%2\n").arg(l.line).arg(l.column);
    if (!results.evaluation.isNull())
        text += QStringLiteral("=%1\n").arg(results.evaluation);
    return text;
}

struct OperationCase {
    const char *name;
    std::function<void(ClangServer &, Results &)> start;
    std::function<bool(ClangServer &)> collect;
    QByteArray request;  // the bytes the start call must leave in the area
    QByteArray reply;    // a reply the stand-in "sends"
    const char *decoded; // what the collect call makes of it
};

Bytes symbolRecord(qint32 line, qint32 column, qint32 kind, qint32 definition, const char *path,
                   const char *kindSpelling, const char *name, const char *usr)
{
    Bytes bytes;
    bytes.int32(line).int32(column).int32(kind).int32(definition);
    bytes.string(path).string(kindSpelling).string(name).string(usr);
    return bytes;
}

std::vector<OperationCase> operationCases()
{
    std::vector<OperationCase> cases;
    {
        Bytes request;
        request.int32(0).int32(1).int32(12).int32(9).int32(2).int32(3);
        request.string("/src/main.c").string("/src/buf.h").int32(7).raw("int b;\n");
        request.string("-DX=1").string("-I/inc").string("/src/a.h");
        Bytes reply = Bytes::reply(0, 2);
        reply.int32(50).int32(6).int32(0).string("count").string("FieldDecl").string("int count");
        reply.int32(34)
            .int32(8)
            .int32(1)
            .string("Count")
            .string("FunctionDecl")
            .string("void Count()");
        cases.push_back(
            {"completion",
             [](ClangServer &server, Results &results) {
                 const ClangUnit unit = sampleUnit();
                 server.startCompletion(unit.mainPath, 12, 9, unit.unsaved, unit.arguments,
                                        ClangCompletionFlag::includeMacros,
                                        QStringLiteral("/src/a.h"), true, &results.completions);
             },
             [](ClangServer &server) { return server.collectCompletion(); }, request.data,
             reply.data,
             "50 6 0 count|FieldDecl|int count\n34 8 1 Count|FunctionDecl|void Count()\n"});
    }
    {
        Bytes reply = Bytes::reply(0, 2);
        reply.int32(3).int32(5).string("/src/main.c").int32(9).int32(9).string("/src/main.c");
        cases.push_back(
            {"ranges",
             [](ClangServer &server, Results &results) {
                 server.startRanges(sampleUnit(), ClangParse::detailed, &results.ranges);
             },
             [](ClangServer &server) { return server.collectRanges(); },
             commonRequest(3, 9, "").data, reply.data, "3-5 /src/main.c\n9-9 /src/main.c\n"});
    }
    {
        Bytes reply = Bytes::reply(0, 1);
        reply.raw(
            symbolRecord(4, 8, 2, 1, "/src/main.c", "StructDecl", "point", "c:@S@point").data);
        cases.push_back({"index",
                         [](ClangServer &server, Results &results) {
                             server.startIndex(sampleUnit(QStringLiteral("/src/a.h")),
                                               ClangParse::detailedSkipBodies, &results.symbols);
                         },
                         [](ClangServer &server) { return server.collectIndex(); },
                         commonRequest(1, 73, "/src/a.h").data, reply.data,
                         "4:8 2 1 /src/main.c|StructDecl|point|c:@S@point\n"});
    }
    {
        Bytes request = commonRequest(2, 9, "");
        request.int32(21).int32(7);
        Bytes reply = Bytes::reply(0, 1);
        reply.raw(symbolRecord(30, 5, 8, 1, "/src/main.c", "FunctionDecl", "add", "c:@F@add").data);
        cases.push_back({"cursorReferenced",
                         [](ClangServer &server, Results &results) {
                             server.startCursorReferenced(sampleUnit(), ClangParse::detailed, 21, 7,
                                                          &results.symbols);
                         },
                         [](ClangServer &server) { return server.collectCursorReferenced(); },
                         request.data, reply.data,
                         "30:5 8 1 /src/main.c|FunctionDecl|add|c:@F@add\n"});
    }
    {
        Bytes request = commonRequest(4, 9, "");
        request.int32(21).int32(7);
        Bytes reply = Bytes::reply(0, 3);
        reply.int32(2).int32(5).int32(21).int32(7).int32(40).int32(12);
        cases.push_back({"references",
                         [](ClangServer &server, Results &results) {
                             server.startReferences(sampleUnit(), ClangParse::detailed, 21, 7,
                                                    &results.locations);
                         },
                         [](ClangServer &server) { return server.collectReferences(); },
                         request.data, reply.data, "2:5\n21:7\n40:12\n"});
    }
    {
        Bytes request = commonRequest(5, 8, "");
        request.int32(3).int32(11);
        Bytes reply = Bytes::reply(0, 1);
        reply.string("32");
        cases.push_back({"cursorEvaluate",
                         [](ClangServer &server, Results &results) {
                             server.startCursorEvaluate(sampleUnit(), ClangParse::plain, 3, 11,
                                                        &results.evaluation);
                         },
                         [](ClangServer &server) { return server.collectCursorEvaluate(); },
                         request.data, reply.data, "=32\n"});
    }
    return cases;
}

class HeldIndexer : public ::testing::Test {
protected:
    Messages messages;
    std::unique_ptr<ClangServer> server =
        std::make_unique<ClangServer>(QStringLiteral("hold"), fakeSettings(messages));
};

class IndexerConversation : public ::testing::TestWithParam<OperationCase> {
protected:
    Messages messages;
    std::unique_ptr<ClangServer> server =
        std::make_unique<ClangServer>(QStringLiteral("hold"), fakeSettings(messages));
};

TEST_P(IndexerConversation, WritesTheRequestByteForByte)
{
    Results results;
    GetParam().start(*server, results);
    const QByteArray written(server->data(), GetParam().request.size());
    EXPECT_EQ(written.toHex(' '), GetParam().request.toHex(' '));
    EXPECT_TRUE(server->busy());
    answerHeld(*server, Bytes::reply(0, 0).data);
    EXPECT_TRUE(collectWithin([&] { return GetParam().collect(*server); }));
}

TEST_P(IndexerConversation, DecodesTheReplyIntoTheDestination)
{
    Results results;
    GetParam().start(*server, results);
    answerHeld(*server, GetParam().reply);
    ASSERT_TRUE(collectWithin([&] { return GetParam().collect(*server); }));
    EXPECT_EQ(describe(results), QString::fromUtf8(GetParam().decoded));
    EXPECT_EQ(server->currentOperation(), ClangOperation::None);
    EXPECT_TRUE(messages.traces.isEmpty()) << messages.traces.join(QString()).toStdString();
}

TEST_P(IndexerConversation, ZeroRecordsAreSuccessWithAnEmptyList)
{
    Results results;
    results.completions.resize(1);
    results.ranges.resize(1);
    results.symbols.resize(1);
    results.locations.resize(1);
    results.evaluation = QStringLiteral("old");
    GetParam().start(*server, results);
    answerHeld(*server, Bytes::reply(0, 0).data);
    ASSERT_TRUE(collectWithin([&] { return GetParam().collect(*server); }));
    // Only the destination of this operation is replaced; the others keep what they had.
    EXPECT_EQ(describe(results).count(u'\n'), 4);
}

TEST_P(IndexerConversation, CollectingBeforeTheReplyLeavesTheOperationRunning)
{
    Results results;
    GetParam().start(*server, results);
    const ClangOperation running = server->currentOperation();
    for (int i = 0; i < 20; ++i)
        EXPECT_FALSE(GetParam().collect(*server));
    EXPECT_TRUE(server->busy());
    EXPECT_EQ(server->currentOperation(), running);
    EXPECT_FALSE(server->poll());
    answerHeld(*server, GetParam().reply);
    ASSERT_TRUE(collectWithin([&] { return GetParam().collect(*server); }));
    EXPECT_EQ(describe(results), QString::fromUtf8(GetParam().decoded));
}

TEST_P(IndexerConversation, AFailedReplyThrowsItsReason)
{
    Results results;
    GetParam().start(*server, results);
    Bytes reply = Bytes::reply(1, 0);
    reply.string("libclang could not parse /src/main.c (error 1)");
    answerHeld(*server, reply.data);
    try {
        collectWithin([&] { return GetParam().collect(*server); });
        ADD_FAILURE() << "no exception";
    } catch (const HException &error) {
        EXPECT_EQ(error.message(),
                  QStringLiteral("libclang could not parse /src/main.c (error 1)"));
    }
    EXPECT_EQ(server->currentOperation(), ClangOperation::None);
}

INSTANTIATE_TEST_SUITE_P(Operations, IndexerConversation, ::testing::ValuesIn(operationCases()),
                         [](const auto &info) { return std::string(info.param.name); });

TEST_F(HeldIndexer, AnAbsentSourceNameIsOneNulByte)
{
    std::vector<ClangSymbol> symbols;
    server->startIndex(sampleUnit(), ClangParse::detailed, &symbols);
    EXPECT_EQ(server->data()[24], '\0');
    EXPECT_EQ(QByteArray(server->data() + 25), QByteArray("/src/buf.h"));
    answerHeld(*server, Bytes::reply(0, 0).data);
    EXPECT_TRUE(collectWithin([&] { return server->collectIndex(); }));
}

TEST_F(HeldIndexer, AReplyWithAnImpossibleCountIsRefused)
{
    std::vector<ClangLocation> locations;
    server->startReferences(sampleUnit(), ClangParse::detailed, 1, 1, &locations);
    answerHeld(*server, Bytes::reply(0, 0x7fffffff).int32(1).int32(2).data);
    EXPECT_THROW(collectWithin([&] { return server->collectReferences(); }), HException);
    EXPECT_TRUE(locations.empty());
}

TEST_F(HeldIndexer, StopThrowsALateResultAway)
{
    std::vector<ClangSymbol> symbols;
    server->startCursorReferenced(sampleUnit(), ClangParse::detailed, 2, 3, &symbols);
    server->stop();
    answerHeld(*server,
               Bytes::reply(0, 1).raw(symbolRecord(1, 1, 8, 1, "/a", "K", "n", "u").data).data);
    ASSERT_TRUE(collectWithin([&] { return server->poll(); }));
    EXPECT_FALSE(server->collectCursorReferenced());
    EXPECT_TRUE(symbols.empty());
    EXPECT_EQ(server->currentOperation(), ClangOperation::None);
    // The link is idle again: the next request is answered.
    QString value;
    server->startCursorEvaluate(sampleUnit(), ClangParse::plain, 1, 1, &value);
    answerHeld(*server, Bytes::reply(0, 1).string("7").data);
    ASSERT_TRUE(collectWithin([&] { return server->collectCursorEvaluate(); }));
    EXPECT_EQ(value, QStringLiteral("7"));
}

TEST_F(HeldIndexer, ARequestStartedWhileAnotherRunsWaitsForTheIndexer)
{
    std::vector<ClangSymbol> symbols;
    server->startCursorReferenced(sampleUnit(), ClangParse::detailed, 2, 3, &symbols);
    QString value;
    server->startCursorEvaluate(sampleUnit(), ClangParse::plain, 4, 5, &value);
    EXPECT_EQ(messages.traces,
              QStringList({QStringLiteral("ClangServer::setOperation CE m_busy\n"),
                           QStringLiteral("ClangServer::setOperation CE!=NONE\n")}));
    // The first answer is thrown away; then the second request reaches the area.
    answerHeld(*server,
               Bytes::reply(0, 1).raw(symbolRecord(1, 1, 8, 1, "/a", "K", "n", "u").data).data);
    const auto *slot = reinterpret_cast<const int *>(server->data() + 20);
    ASSERT_TRUE(collectWithin([&] {
        EXPECT_FALSE(server->poll());
        return __atomic_load_n(slot, __ATOMIC_ACQUIRE) != holdRelease;
    }));
    EXPECT_EQ(QByteArray(server->data(), 4), Bytes().int32(5).data);
    answerHeld(*server, Bytes::reply(0, 1).string("9").data);
    ASSERT_TRUE(collectWithin([&] { return server->collectCursorEvaluate(); }));
    EXPECT_EQ(value, QStringLiteral("9"));
    EXPECT_TRUE(symbols.empty());
}

struct TraceCase {
    const char *name;
    std::function<void(ClangServer &)> act;
    QStringList traces;
};

std::vector<TraceCase> traceCases()
{
    const auto startIndex = [](ClangServer &server) {
        static std::vector<ClangSymbol> symbols;
        server.startIndex(sampleUnit(), ClangParse::detailed, &symbols);
    };
    return {
        {"collectWhenIdle",
         [](ClangServer &server) { EXPECT_FALSE(server.collectIndex()); },
         {"ClangServer::checkOperation NONE!=IC\n", "ClangServer::checkOperation IC !m_busy\n"}},
        {"collectAnotherOperation",
         [=](ClangServer &server) {
             startIndex(server);
             EXPECT_FALSE(server.collectRanges());
         },
         {"ClangServer::checkOperation IC!=GRCSL\n"}},
        {"startAfterStop",
         [=](ClangServer &server) {
             startIndex(server);
             server.stop();
             EXPECT_FALSE(server.collectIndex());
             startIndex(server);
         },
         {"ClangServer::checkOperation IC m_stop\n", "ClangServer::setOperation IC m_busy\n",
          "ClangServer::setOperation IC m_stop\n", "ClangServer::setOperation IC!=NONE\n"}},
    };
}

class LinkTraces : public ::testing::TestWithParam<TraceCase> {};

TEST_P(LinkTraces, NameTheOperationAndTheComplaint)
{
    Messages messages;
    {
        ClangServer server(QStringLiteral("hold"), fakeSettings(messages));
        GetParam().act(server);
    }
    EXPECT_EQ(messages.traces, GetParam().traces);
}

INSTANTIATE_TEST_SUITE_P(States, LinkTraces, ::testing::ValuesIn(traceCases()),
                         [](const auto &info) { return std::string(info.param.name); });

TEST(IndexerFailure, AKilledIndexerFailsTheRequestAndIsRestartedForTheNext)
{
    Messages messages;
    ClangServer server(QStringLiteral("hold"), fakeSettings(messages));
    std::vector<ClangSymbol> symbols;
    server.startIndex(sampleUnit(), ClangParse::detailed, &symbols);
    ::kill(server.pid(), SIGKILL);
    try {
        collectWithin([&] { return server.collectIndex(); });
        ADD_FAILURE() << "no exception";
    } catch (const HException &error) {
        EXPECT_EQ(error.message(), QStringLiteral("Indexer has terminated unexpectedly"));
    }
    EXPECT_FALSE(server.busy());
    EXPECT_TRUE(messages.notices.isEmpty());
    QString value;
    server.startCursorEvaluate(sampleUnit(), ClangParse::plain, 1, 1, &value);
    EXPECT_EQ(messages.notices, QStringList(QStringLiteral("indexer restarted")));
    answerHeld(server, Bytes::reply(0, 1).string("1").data);
    ASSERT_TRUE(collectWithin([&] { return server.collectCursorEvaluate(); }));
    EXPECT_EQ(value, QStringLiteral("1"));
}

TEST(IndexerFailure, ACrashReachesTheCallerAsAFailedRequest)
{
    Messages messages;
    ClangServer server(QStringLiteral("crash"), fakeSettings(messages));
    std::vector<ClangRange> ranges;
    server.startRanges(sampleUnit(), ClangParse::detailed, &ranges);
    EXPECT_THROW(collectWithin([&] { return server.collectRanges(); }), HException);
    EXPECT_EQ(server.currentOperation(), ClangOperation::None);
}

TEST(IndexerFailure, AHangingIndexerIsKilledAtTheDeadline)
{
    Messages messages;
    ClangServer server(QStringLiteral("hang"), fakeSettings(messages, 1));
    const pid_t indexer = server.pid();
    std::vector<ClangRange> ranges;
    server.startRanges(sampleUnit(), ClangParse::detailed, &ranges);
    try {
        collectWithin([&] { return server.collectRanges(); });
        ADD_FAILURE() << "no exception";
    } catch (const HException &error) {
        EXPECT_EQ(error.message(), QStringLiteral("Indexer did not answer within 1 s"));
    }
    EXPECT_FALSE(server.running());
    EXPECT_NE(::kill(indexer, 0), 0);
}

bool nameExists(const char *name)
{
    return QFile::exists(QStringLiteral("/dev/shm/")
                         + QString::fromLatin1(name).remove(0, name[0] == '/'));
}

bool semaphoreExists(const char *name)
{
    return QFile::exists(QStringLiteral("/dev/shm/sem.") + QString::fromLatin1(name + 1));
}

TEST(IndexerNames, AreMadeFromTheProcessNumberAndRemovedByTheDestructor)
{
    Messages messages;
    const IndexerNames names(::getpid());
    EXPECT_EQ(QByteArray(names.sharedMemory),
              "index_" + QByteArray::number(::getpid()) + "_shared_memory");
    EXPECT_EQ(QByteArray(names.callSemaphore),
              "/index_" + QByteArray::number(::getpid()) + "_call_semaphore");
    EXPECT_EQ(QByteArray(names.returnSemaphore),
              "/index_" + QByteArray::number(::getpid()) + "_ret_semaphore");
    {
        ClangServer server(QStringLiteral("hold"), fakeSettings(messages));
        EXPECT_TRUE(nameExists(names.sharedMemory));
        EXPECT_TRUE(semaphoreExists(names.callSemaphore));
        EXPECT_TRUE(semaphoreExists(names.returnSemaphore));
        EXPECT_EQ(server.size(), 0x10000000u);
    }
    EXPECT_FALSE(nameExists(names.sharedMemory));
    EXPECT_FALSE(semaphoreExists(names.callSemaphore));
    EXPECT_FALSE(semaphoreExists(names.returnSemaphore));
}

TEST(IndexerNames, ASecondServerInOneProcessIsRefused)
{
    Messages messages;
    ClangServer server(QStringLiteral("hold"), fakeSettings(messages));
    EXPECT_THROW(ClangServer(QStringLiteral("hold"), fakeSettings(messages)), HException);
    EXPECT_TRUE(nameExists(server.names().sharedMemory));
}

// A process number that no process has now: a child that has ended and been reaped.
pid_t deadProcessNumber()
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(0);
    ::waitpid(child, nullptr, 0);
    return child;
}

TEST(IndexerNames, NamesLeftByADeadEnvironmentAreRemoved)
{
    const IndexerNames stale(deadProcessNumber());
    {
        SharedMemory area;
        area.create(stale.sharedMemory, 4096);
        sem_t *call = openSemaphore(stale.callSemaphore, true);
        sem_t *done = openSemaphore(stale.returnSemaphore, true);
        ASSERT_NE(call, SEM_FAILED);
        ASSERT_NE(done, SEM_FAILED);
        ::sem_post(call);
        ::sem_close(call);
        ::sem_close(done);
    }
    ASSERT_TRUE(nameExists(stale.sharedMemory));
    Messages messages;
    ClangServer server(QStringLiteral("hold"), fakeSettings(messages));
    EXPECT_FALSE(nameExists(stale.sharedMemory));
    EXPECT_FALSE(semaphoreExists(stale.callSemaphore));
    EXPECT_FALSE(semaphoreExists(stale.returnSemaphore));
}

TEST(IndexerNames, AStaleSemaphoreCountOfOurOwnNumberIsGone)
{
    const IndexerNames own(::getpid());
    sem_t *call = openSemaphore(own.callSemaphore, true);
    ASSERT_NE(call, SEM_FAILED);
    ::sem_post(call);
    ::sem_post(call);
    ::sem_close(call);
    Messages messages;
    ClangServer server(QStringLiteral("hold"), fakeSettings(messages));
    // Had the count survived, the stand-in would be waiting for a release already: it is not,
    // so the first real request gets the first answer.
    QString value;
    server.startCursorEvaluate(sampleUnit(), ClangParse::plain, 1, 1, &value);
    answerHeld(server, Bytes::reply(0, 1).string("first").data);
    ASSERT_TRUE(collectWithin([&] { return server.collectCursorEvaluate(); }));
    EXPECT_EQ(value, QStringLiteral("first"));
}

TEST(IndexerStart, AMissingIndexerProgramIsAnError)
{
    Messages messages;
    ClangSettings settings = fakeSettings(messages);
    settings.indexerProgram = QStringLiteral("/nonexistent/bin/index");
    try {
        ClangServer server(QStringLiteral("hold"), settings);
        ADD_FAILURE() << "no exception";
    } catch (const HException &error) {
        EXPECT_TRUE(error.message().startsWith(QStringLiteral("Cannot start the indexer: ")))
            << error.message().toStdString();
    }
    EXPECT_FALSE(nameExists(IndexerNames(::getpid()).sharedMemory));
}

} // namespace
