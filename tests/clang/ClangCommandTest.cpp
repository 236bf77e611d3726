// `tess clang` end to end: the real indexer and libclang on a small C project, the in-process
// form against the indexer, batches, and bad input of every kind.
#include "clang/LibClang.h"
#include "foundation/HException.h"
#include "tests/clang/ClangTestSupport.h"
#include "tests/support/TestSupport.h"
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>
#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <signal.h>

using TestSupport::ProgramRun;

namespace {

const QString shapes = QStringLiteral(TESS_TEST_DATA "/data/shapes");
const QString shapesC = shapes + QStringLiteral("/src/shapes.c");
const QString shapesH = shapes + QStringLiteral("/include/shapes.h");
const QString includes = QStringLiteral("-I") + shapes + QStringLiteral("/include");

bool libclangLoads()
{
    static const bool loads = [] {
        try {
            LibClang library(QLatin1String(LibClang::defaultLibrary));
            return true;
        } catch (const HException &) {
            return false;
        }
    }();
    return loads;
}

// The line and column (from 1) of the `occurrence`-th `needle` in the file, plus `offset`
// bytes: the places the tests ask about, found rather than counted by hand.
QString position(const QString &path, const QByteArray &needle, int offset = 0, int occurrence = 1)
{
    const QByteArray text = TestSupport::readFile(path);
    qsizetype at = -1;
    for (int i = 0; i < occurrence; ++i)
        at = text.indexOf(needle, at + 1);
    if (at < 0)
        return QStringLiteral("0 0");
    at += offset;
    const qsizetype lineStart = text.lastIndexOf('\n', at - 1) + 1;
    return QStringLiteral("%1 %2").arg(text.left(at).count('\n') + 1).arg(at - lineStart + 1);
}

ProgramRun tess(const QStringList &arguments, const QByteArray &input = {},
                const QStringList &environment = {})
{
    return TestSupport::runProgram(TestSupport::binPath(QStringLiteral("tess")), arguments, input,
                                   {}, environment);
}

// `tess clang OP FILE [LINE COL] ...`, the position given as "LINE COL".
ProgramRun clang(const QString &op, const QString &file, const QString &at, QStringList extra = {})
{
    QStringList arguments = {QStringLiteral("clang"), op, file};
    if (!at.isEmpty())
        arguments += at.split(u' ');
    return tess(arguments + extra);
}

// Tests that need libclang itself skip on a machine without it.
template <typename Base>
class NeedsLibclang : public Base {
protected:
    void SetUp() override
    {
        if (!libclangLoads())
            GTEST_SKIP() << "libclang 14 is not installed";
    }
};

using ClangCommand = NeedsLibclang<::testing::Test>;

// Completion at the end of `typed`, written over the call to dump() in an editor buffer of
// shapes.c that travels as an unsaved file.
ProgramRun completeInBuffer(const QByteArray &typed)
{
    QTemporaryDir scratch;
    QByteArray text = TestSupport::readFile(shapesC);
    text.replace("    dump(&square);", "    " + typed);
    const QString edited = scratch.filePath(QStringLiteral("edited.c"));
    TestSupport::writeFile(edited, text);
    return clang(QStringLiteral("complete"), shapesC, position(edited, typed, int(typed.size())),
                 {QStringLiteral("--unsaved"), shapesC + u'=' + edited, QStringLiteral("--"),
                  includes});
}

TEST_F(ClangCommand, CompletesTheMembersAfterAnArrow)
{
    const ProgramRun run = completeInBuffer("(&square)->");
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(run.out, "count\tFieldDecl\tint count\n"
                       "name\tFieldDecl\tconst char * name\n"
                       "points\tFieldDecl\tstruct point[16] points\n");
}

TEST_F(ClangCommand, ThePrefixBeforeThePointFiltersWithoutRegardToCase)
{
    const ProgramRun run = completeInBuffer("square.CO");
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(run.out, "count\tFieldDecl\tint count\n");
}

TEST_F(ClangCommand, CompletionStillAnswersInAHalfWrittenFile)
{
    QTemporaryDir scratch;
    const QString path = scratch.filePath(QStringLiteral("half.c"));
    TestSupport::writeFile(path, "struct s { int alpha; int beta; };\n"
                                 "int f(struct s *p)\n{\n    if (p->\n");
    const ProgramRun run = clang(QStringLiteral("complete"), path, QStringLiteral("4 12"));
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(run.out, "alpha\tFieldDecl\tint alpha\nbeta\tFieldDecl\tint beta\n");
}

struct AnswerCase {
    const char *name;
    const char *op;
    QString file;
    QString at;
    QByteArray expected; // %S stands for the data folder
};

QByteArray expand(QByteArray text)
{
    return text.replace("%S", shapes.toUtf8());
}

std::vector<AnswerCase> answerCases()
{
    return {
        {"definitionOfACalledFunction", "definition", shapesC,
         position(shapesC, "polygon_add(&square", 3),
         "%S/src/shapes.c:8:5\tFunctionDecl\tpolygon_add\n"},
        {"definitionOfATypedef", "definition", shapesC, position(shapesC, "polygon_t square", 0),
         "%S/include/shapes.h:16:3\tTypedefDecl\tpolygon_t\n"},
        {"definitionOfAField", "definition", shapesC, position(shapesC, "polygon->count >=", 9),
         "%S/include/shapes.h:14:9\tFieldDecl\tcount\n"},
        {"definitionOfAMacro", "definition", shapesC, position(shapesC, "MAX_POINTS * 2", 4),
         "%S/include/shapes.h:4:9\tmacro definition\tMAX_POINTS\n"},
        {"declarationWithoutDefinition", "definition", shapesC,
         position(shapesC, "polygon_clear(&square", 2),
         "%S/include/shapes.h:22:6\tFunctionDecl\tpolygon_clear\n"},
        {"definitionAtTheEndOfAName", "definition", shapesC, position(shapesC, "favourite + ", 9),
         "%S/src/shapes.c:6:13\tVarDecl\tfavourite\n"},
        {"referencesIncludeTheDeclaration", "refs", shapesC, position(shapesC, "SQUARE(limit)", 8),
         "%S/src/shapes.c:3:18\n%S/src/shapes.c:49:48\n"},
        {"referencesOfAField", "refs", shapesC, position(shapesC, "polygon->count >=", 10),
         "%S/src/shapes.c:10:18\n%S/src/shapes.c:12:30\n%S/src/shapes.c:13:21\n"
         "%S/src/shapes.c:19:34\n%S/src/shapes.c:21:67\n%S/src/shapes.c:45:26\n"},
        {"referencesOfAMacro", "refs", shapesC, position(shapesC, "MAX_POINTS)", 3),
         "%S/src/shapes.c:3:26\n%S/src/shapes.c:10:27\n"},
        {"referencesFromAMacroDefinition", "refs", shapesH, position(shapesH, "MAX_POINTS 16", 2),
         "%S/include/shapes.h:4:9\n%S/include/shapes.h:13:25\n"},
        {"definitionAtAMacroDefinition", "definition", shapesH, position(shapesH, "SQUARE(x)", 0),
         "%S/include/shapes.h:5:9\tmacro definition\tSQUARE\n"},
        {"skippedRanges", "skipped", shapesC, {}, "27-32\n34-39\n"},
        {"evaluateAConstant", "eval", shapesC, position(shapesC, "limit = ", 1), "32\n"},
        {"evaluateAFloat", "eval", shapesC, position(shapesC, "ratio", 2), "1.5\n"},
        {"evaluateAString", "eval", shapesC, position(shapesC, "greeting =", 3), "hello\n"},
        {"evaluateAnEnumerator", "eval", shapesC, position(shapesC, "GREEN;", 2), "4\n"},
        {"symbolsOfTheHeader",
         "symbols",
         shapesH,
         {},
         "2:9\tmacro definition\tSHAPES_H\n4:9\tmacro definition\tMAX_POINTS\n"
         "5:9\tmacro definition\tSQUARE\n7:8\tStructDecl\tpoint\n8:9\tFieldDecl\tx\n"
         "9:9\tFieldDecl\ty\n12:16\tStructDecl\tpolygon\n13:18\tFieldDecl\tpoints\n"
         "14:9\tFieldDecl\tcount\n15:17\tFieldDecl\tname\n16:3\tTypedefDecl\tpolygon_t\n"
         "18:6\tEnumDecl\tcolour\n18:15\tEnumConstantDecl\tRED\n18:20\tEnumConstantDecl\tGREEN\n"
         "18:31\tEnumConstantDecl\tBLUE\n20:5\tFunctionDecl\tpolygon_add\n"
         "21:8\tFunctionDecl\tpolygon_area\n22:6\tFunctionDecl\tpolygon_clear\n"},
        {"symbolsOfTheSourceHaveNoLocals",
         "symbols",
         shapesC,
         {},
         "3:18\tVarDecl\tlimit\n4:14\tVarDecl\tratio\n5:26\tVarDecl\tgreeting\n"
         "6:13\tVarDecl\tfavourite\n8:5\tFunctionDecl\tpolygon_add\n"
         "16:8\tFunctionDecl\tpolygon_area\n40:9\tmacro "
         "definition\tdump\n43:5\tFunctionDecl\tmain\n"},
    };
}

class ClangAnswers : public NeedsLibclang<::testing::TestWithParam<AnswerCase>> {};

TEST_P(ClangAnswers, ThroughTheIndexer)
{
    const ProgramRun run = clang(QString::fromLatin1(GetParam().op), GetParam().file, GetParam().at,
                                 {QStringLiteral("--"), includes});
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(run.out, expand(GetParam().expected));
}

TEST_P(ClangAnswers, InProcessTheSame)
{
    const ProgramRun run = clang(QString::fromLatin1(GetParam().op), GetParam().file, GetParam().at,
                                 {QStringLiteral("--in-process"), QStringLiteral("--"), includes});
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(run.out, expand(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(Shapes, ClangAnswers, ::testing::ValuesIn(answerCases()),
                         [](const auto &info) { return std::string(info.param.name); });

TEST_F(ClangCommand, TheSolutionGivesTheArgumentsOfItsConfiguration)
{
    const QString solution = shapes + QStringLiteral("/shapes.qvProject");
    const ProgramRun debug = clang(QStringLiteral("skipped"), shapesC, {},
                                   {QStringLiteral("--solution"), solution,
                                    QStringLiteral("--config"), QStringLiteral("Debug")});
    EXPECT_EQ(debug.exitCode, 0) << debug.err.constData();
    EXPECT_EQ(debug.out, "27-32\n39-41\n");
    const ProgramRun release =
        clang(QStringLiteral("skipped"), shapesC, {},
              {QStringLiteral("--solution"), solution, QStringLiteral("--config"),
               QStringLiteral("Release"), QStringLiteral("--project"), QStringLiteral("Shapes")});
    EXPECT_EQ(release.exitCode, 0) << release.err.constData();
    EXPECT_EQ(release.out, "27-32\n34-39\n");
    const ProgramRun header =
        clang(QStringLiteral("definition"), shapesC, position(shapesC, "polygon_t square", 0),
              {QStringLiteral("--solution"), solution, QStringLiteral("--config"),
               QStringLiteral("Debug")});
    EXPECT_EQ(header.out, expand("%S/include/shapes.h:16:3\tTypedefDecl\tpolygon_t\n"));
}

TEST_F(ClangCommand, AFileOutsideTheSolutionIsAnError)
{
    const ProgramRun run =
        clang(QStringLiteral("symbols"), shapesH, {},
              {QStringLiteral("--solution"), shapes + QStringLiteral("/shapes.qvProject"),
               QStringLiteral("--config"), QStringLiteral("Debug")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "tess clang symbols: " + shapesH.toUtf8() + " is not a file of "
                           + shapes.toUtf8() + "/shapes.qvProject\n");
}

TEST_F(ClangCommand, ABatchEditsCompletesAndSurvivesAKilledIndexer)
{
    QTemporaryDir scratch;
    const QString path = scratch.filePath(QStringLiteral("batch.c"));
    TestSupport::writeFile(path,
                           "struct s { int alpha; int beta; };\nvoid f(struct s *p)\n{\n\n}\n");
    const QByteArray script = "edit " + path.toUtf8()
                              + " 4     p->\n"
                                "complete "
                              + path.toUtf8()
                              + " 4 8\n"
                                "# a comment, then a blank line\n\n"
                                "edit "
                              + path.toUtf8()
                              + " 4     p->be\n"
                                "complete "
                              + path.toUtf8()
                              + " 4 10\n"
                                "kill-indexer\n"
                                "symbols "
                              + path.toUtf8()
                              + "\n"
                                "definition "
                              + path.toUtf8() + " 4 5\n";
    const ProgramRun run = tess({QStringLiteral("clang"), QStringLiteral("batch")}, script);
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(run.out, "alpha\tFieldDecl\tint alpha\nbeta\tFieldDecl\tint beta\n\n"
                       "beta\tFieldDecl\tint beta\n\n"
                       "1:8\tStructDecl\ts\n1:16\tFieldDecl\talpha\n1:27\tFieldDecl\tbeta\n"
                       "2:6\tFunctionDecl\tf\n\n"
                           + path.toUtf8() + ":2:18\tParmDecl\tp\n\n");
    EXPECT_EQ(run.err, "tess clang batch: indexer restarted\n");
    // The edits lived in the buffer only.
    EXPECT_EQ(TestSupport::readFile(path),
              "struct s { int alpha; int beta; };\nvoid f(struct s *p)\n{\n\n}\n");
}

TEST_F(ClangCommand, ABatchReportsBadLinesAndGoesOn)
{
    QTemporaryDir scratch;
    const QString path = scratch.filePath(QStringLiteral("a.c"));
    TestSupport::writeFile(path, "int x = 3;\n");
    const QByteArray script = "frobnicate a.c\n"
                              "eval "
                              + path.toUtf8()
                              + " 1\n"
                                "edit "
                              + path.toUtf8()
                              + " 9 int y;\n"
                                "eval "
                              + path.toUtf8() + " 1 5\n";
    const ProgramRun run = tess({QStringLiteral("clang"), QStringLiteral("batch")}, script);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "\n\n3\n\n");
    EXPECT_EQ(run.err, "tess clang batch: line 1: unknown request 'frobnicate'\n"
                       "tess clang batch: line 2: give eval FILE LINE COL\n"
                       "tess clang batch: line 3: "
                           + path.toUtf8() + " has no line 9\n");
}

struct BadInputCase {
    const char *name;
    QStringList arguments;
    int exitCode;
    QByteArray error; // the start of standard error
};

std::vector<BadInputCase> badInputCases()
{
    const QString missing = shapes + QStringLiteral("/src/missing.c");
    return {
        {"missingFile",
         {"eval", missing, "1", "1"},
         2,
         "tess clang eval: no such file: " + missing.toUtf8()},
        {"lineZero", {"eval", shapesC, "0", "1"}, 2, "tess clang eval: bad position '0 1'"},
        {"columnNotANumber", {"refs", shapesC, "3", "x"}, 2, "tess clang refs: bad position '3 x'"},
        {"missingColumn",
         {"definition", shapesC, "3"},
         2,
         "tess clang definition: give FILE LINE COL"},
        {"argumentsWithoutDashes",
         {"symbols", shapesC, "-DX"},
         2,
         "tess clang symbols: unknown option '-DX'"},
        {"extraOperand",
         {"symbols", shapesC, "other.c"},
         2,
         "tess clang symbols: unexpected argument 'other.c' (compiler arguments go after --)"},
        {"configWithoutSolution",
         {"symbols", shapesC, "--config", "Debug"},
         2,
         "tess clang symbols: --config and --project need --solution FILE"},
        {"badTimeout",
         {"symbols", shapesC, "--timeout", "0"},
         2,
         "tess clang symbols: bad --timeout '0'"},
        {"badUnsaved",
         {"symbols", shapesC, "--unsaved", "nothing"},
         2,
         "tess clang symbols: bad --unsaved 'nothing'"},
        {"linePastTheEnd",
         {"definition", shapesC, "400", "1"},
         1,
         "tess clang definition: " + shapesC.toUtf8()
             + ":400:1: past the end of the file, which has 50 lines"},
        {"columnPastTheEnd",
         {"complete", shapesC, "3", "90"},
         1,
         "tess clang complete: " + shapesC.toUtf8()
             + ":3:90: past the end of the line, which has 40 bytes"},
        {"nothingAtAKeyword",
         {"definition", shapesC, "3", "2"},
         1,
         "tess clang definition: nothing at " + shapesC.toUtf8() + ":3:2"},
        {"nothingToEvaluate",
         {"eval", shapesC, "8", "1"},
         1,
         "tess clang eval: nothing to evaluate at " + shapesC.toUtf8() + ":8:1"},
        {"libraryMissing",
         {"symbols", shapesC, "--libclang", "/nonexistent/libclang.so"},
         1,
         "tess clang symbols: Failed to load libclang.dll /nonexistent/libclang.so"},
        {"libraryMissingInProcess",
         {"symbols", shapesC, "--in-process", "--libclang", "/nonexistent/libclang.so"},
         1,
         "tess clang symbols: Failed to load libclang.dll /nonexistent/libclang.so\n"},
        {"notALibrary",
         {"symbols", shapesC, "--libclang", shapesC},
         1,
         "tess clang symbols: Failed to load libclang.dll " + shapesC.toUtf8() + "\n"},
        {"noLibrary",
         {"symbols", shapesC, "--libclang", ""},
         1,
         "tess clang symbols: no code intelligence: the libclang path is empty\n"},
    };
}

class ClangBadInput : public NeedsLibclang<::testing::TestWithParam<BadInputCase>> {};

TEST_P(ClangBadInput, GetsAClearMessage)
{
    const ProgramRun run = tess(QStringList{QStringLiteral("clang")} + GetParam().arguments);
    EXPECT_EQ(run.exitCode, GetParam().exitCode) << run.err.constData();
    EXPECT_TRUE(run.err.startsWith(GetParam().error)) << run.err.constData();
    EXPECT_TRUE(run.out.isEmpty()) << run.out.constData();
}

INSTANTIATE_TEST_SUITE_P(Arguments, ClangBadInput, ::testing::ValuesIn(badInputCases()),
                         [](const auto &info) { return std::string(info.param.name); });

TEST_F(ClangCommand, AnEmptyFileHasNoSymbols)
{
    QTemporaryDir scratch;
    const QString path = scratch.filePath(QStringLiteral("empty.c"));
    TestSupport::writeFile(path, "");
    const ProgramRun run = clang(QStringLiteral("symbols"), path, {});
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(run.out, "");
    const ProgramRun complete = clang(QStringLiteral("complete"), path, QStringLiteral("1 1"));
    EXPECT_TRUE(complete.exitCode == 0 || complete.exitCode == 1) << complete.err.constData();
}

TEST_F(ClangCommand, ABinaryFileFailsOrAnswersButNeverCrashes)
{
    QTemporaryDir scratch;
    const QString path = scratch.filePath(QStringLiteral("binary.c"));
    QByteArray bytes;
    for (int i = 0; i < 4096; ++i)
        bytes.append(char((i * 7919) % 256));
    TestSupport::writeFile(path, bytes);
    for (const char *op : {"symbols", "skipped"}) {
        const ProgramRun run = clang(QString::fromLatin1(op), path, {});
        EXPECT_TRUE(run.exitCode == 0 || run.exitCode == 1) << op << ": " << run.err.constData();
    }
    const ProgramRun complete = clang(QStringLiteral("complete"), path, QStringLiteral("1 1"));
    EXPECT_TRUE(complete.exitCode == 0 || complete.exitCode == 1) << complete.err.constData();
}

TEST_F(ClangCommand, AnUnsavedBufferLargerThanTheAreaIsRefused)
{
    QTemporaryDir scratch;
    const QString big = scratch.filePath(QStringLiteral("big.c"));
    {
        QFile file(big);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_TRUE(file.resize(qint64(0x10000000) + 1));
    }
    const ProgramRun run = clang(QStringLiteral("symbols"), shapesC, {},
                                 {QStringLiteral("--unsaved"), shapesC + u'=' + big});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(
        run.err.startsWith("tess clang symbols: The request for " + shapesC.toUtf8() + " needs "))
        << run.err.constData();
    EXPECT_TRUE(run.err.endsWith("bytes, more than the 268435456 bytes of the shared area\n"));
}

// The stand-in indexer through the command line: crashes, hangs, and two environments side by
// side, each with its own names.
TEST_F(ClangCommand, AnIndexerThatCrashesFailsTheRequest)
{
    const ProgramRun run =
        tess({QStringLiteral("clang"), QStringLiteral("symbols"), shapesC,
              QStringLiteral("--libclang"), QStringLiteral("crash")},
             {}, {QStringLiteral("TESS_CLANG_INDEXER=") + ClangTest::fakeIndexer()});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "tess clang symbols: Indexer has terminated unexpectedly\n");
}

TEST_F(ClangCommand, AnIndexerThatHangsIsGivenUpAtTheDeadline)
{
    const ProgramRun run =
        tess({QStringLiteral("clang"), QStringLiteral("batch"), QStringLiteral("--timeout"),
              QStringLiteral("1"), QStringLiteral("--libclang"), QStringLiteral("hang")},
             "symbols " + shapesC.toUtf8() + "\nskipped " + shapesC.toUtf8() + "\n",
             {QStringLiteral("TESS_CLANG_INDEXER=") + ClangTest::fakeIndexer()});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "\n\n");
    EXPECT_EQ(run.err, "tess clang batch: Indexer did not answer within 1 s\n"
                       "tess clang batch: indexer restarted\n"
                       "tess clang batch: Indexer did not answer within 1 s\n");
}

TEST_F(ClangCommand, TwoEnvironmentsSideBySideUseTheirOwnNames)
{
    QProcess first;
    QProcess second;
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    variables.insert(QStringLiteral("TESS_CLANG_INDEXER"), ClangTest::fakeIndexer());
    const QStringList arguments = {
        QStringLiteral("clang"),   QStringLiteral("eval"), shapesC,
        QStringLiteral("3"),       QStringLiteral("1"),    QStringLiteral("--libclang"),
        QStringLiteral("name:500")};
    std::map<QProcess *, qint64> pids;
    for (QProcess *process : {&first, &second}) {
        process->setProcessEnvironment(variables);
        process->start(TestSupport::binPath(QStringLiteral("tess")), arguments);
        ASSERT_TRUE(process->waitForStarted(10000));
        pids[process] = process->processId();
    }
    for (QProcess *process : {&first, &second}) {
        ASSERT_TRUE(process->waitForFinished(60000));
        EXPECT_EQ(process->exitCode(), 0) << process->readAllStandardError().constData();
        EXPECT_EQ(process->readAllStandardOutput(),
                  "index_" + QByteArray::number(pids[process]) + "_shared_memory\n");
    }
}

TEST_F(ClangCommand, TheIndexerEndsAndRemovesTheNamesWhenTheEnvironmentDies)
{
    QProcess environment;
    environment.start(TestSupport::binPath(QStringLiteral("tess")),
                      {QStringLiteral("clang"), QStringLiteral("batch")});
    ASSERT_TRUE(environment.waitForStarted(10000));
    environment.write("symbols " + shapesH.toUtf8() + "\n");
    while (!environment.readAllStandardOutput().contains("SHAPES_H"))
        ASSERT_TRUE(environment.waitForReadyRead(60000));
    const IndexerNames names(pid_t(environment.processId()));
    const QString area = QStringLiteral("/dev/shm/") + QLatin1String(names.sharedMemory);
    EXPECT_TRUE(QFile::exists(area));
    ::kill(pid_t(environment.processId()), SIGKILL);
    environment.waitForFinished(10000);
    QElapsedTimer clock;
    clock.start();
    while (QFile::exists(area) && !clock.hasExpired(20000))
        QThread::msleep(50);
    EXPECT_FALSE(QFile::exists(area));
    EXPECT_FALSE(
        QFile::exists(QStringLiteral("/dev/shm/sem.") + QLatin1String(names.callSemaphore + 1)));
}

// The same questions to the language server of the same libclang version, through the small
// client the benchmark drives it with: the places must agree, and so must the candidates.
TEST_F(ClangCommand, AnswersAsTheLanguageServerDoes)
{
    if (QStandardPaths::findExecutable(QStringLiteral("clangd-14")).isEmpty()
        || QStandardPaths::findExecutable(QStringLiteral("python3")).isEmpty())
        GTEST_SKIP() << "clangd-14 or python3 is not installed";
    QByteArray script;
    const auto ask = [&](const char *op, const QByteArray &needle, int offset) {
        script +=
            op + (' ' + shapesC.toUtf8() + ' ' + position(shapesC, needle, offset).toUtf8() + '\n');
    };
    ask("definition", "polygon_add(&square", 3);
    ask("definition", "polygon_t square", 2);
    ask("definition", "MAX_POINTS * 2", 4);
    ask("definition", "polygon_clear(&square", 2);
    ask("definition", "point b =", 2);
    ask("refs", "SQUARE(limit)", 8);
    ask("refs", "polygon->count >=", 10);
    ask("refs", "MAX_POINTS)", 3);
    ask("refs", "twice +=", 1);
    ask("complete", "polygon->count >=", 9);
    ask("complete", "b.x *", 2);
    const ProgramRun server = TestSupport::runProgram(
        QStringLiteral("python3"),
        {QStringLiteral(TESS_SOURCE_DIR "/bench/clang/lsp.py"), QStringLiteral("--"), includes},
        script);
    ASSERT_EQ(server.exitCode, 0) << server.err.constData();
    const ProgramRun ours = tess(
        {QStringLiteral("clang"), QStringLiteral("batch"), QStringLiteral("--"), includes}, script);
    ASSERT_EQ(ours.exitCode, 0) << ours.err.constData();
    const QList<QByteArray> theirs = server.out.split('\n');
    const QList<QByteArray> mine = ours.out.split('\n');
    ASSERT_EQ(mine.count(QByteArray()), theirs.count(QByteArray()));
    // Answer by answer: our places carry the kind and name behind a tab, and the server ranks
    // candidates its own way, so completions compare as sets of names.
    qsizetype i = 0, j = 0;
    for (int answer = 0; answer < theirs.count(QByteArray()); ++answer) {
        QList<QByteArray> a, b;
        for (; i < theirs.size() && !theirs[i].isEmpty(); ++i)
            a.append(theirs[i]);
        for (; j < mine.size() && !mine[j].isEmpty(); ++j)
            b.append(mine[j].split('\t').first());
        ++i;
        ++j;
        std::sort(a.begin(), a.end());
        std::sort(b.begin(), b.end());
        EXPECT_EQ(a, b) << "answer " << answer + 1;
    }
}

TEST(ClangPrograms, LinkNoLibclang)
{
    for (const char *program : {"tess", "index"}) {
        const ProgramRun run = TestSupport::runProgram(
            QStringLiteral("ldd"), {TestSupport::binPath(QString::fromLatin1(program))});
        ASSERT_EQ(run.exitCode, 0) << run.err.constData();
        EXPECT_TRUE(run.out.contains("libQt6Core")) << run.out.constData();
        EXPECT_FALSE(run.out.contains("libclang")) << program;
    }
}

} // namespace
