#include "buildengine/BuildEngine.h"
#include "buildengine/BuildLog.h"
#include "buildengine/BuildOperation.h"
#include "buildengine/BuildRequest.h"
#include "buildengine/ExportBuilder.h"
#include "buildengine/VarnelBuilder.h"
#include "foundation/Directories.h"
#include "foundation/MacroSession.h"
#include "foundation/PropertyClass.h"
#include "projects/StandardProjectSystem.h"
#include "tests/support/TestSupport.h"
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <algorithm>
#include <memory>
#include <utime.h>

namespace {

// Stands in for the front end: records its arguments, writes its output and a dependency file
// naming the source and every header.h beside it, and fails when fail-<output name> exists.
// A source holding the word "hang" sleeps until it is stopped.
constexpr const char *frontEnd = R"sh(#!/bin/sh
here=$(dirname "$0")
echo "$@" >> "$here/../calls.log"
out= dep= src=
while [ $# -gt 0 ]; do
  case "$1" in
    -o) out=$2; shift ;;
    -depend) dep=$2; shift ;;
    -inputfiles) shift ;;
    -*) ;;
    *) src=$1 ;;
  esac
  shift
done
if [ -f "$here/fail-$(basename "$out")" ]; then
  echo "$src:3:7: error: broken on purpose" >&2
  echo partial > "$out"
  exit 1
fi
if [ -n "$src" ] && grep -q hang "$src" 2>/dev/null; then sleep 30; fi
echo built > "$out"
if [ -n "$dep" ]; then
  headers=""
  [ -f "$(dirname "$src")/header.h" ] && headers="$(dirname "$src")/header.h"
  echo "$out: $src $headers" > "$dep"
fi
)sh";

constexpr qint64 baseTime = 1700000000;

class BuildEngineTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        m_macros = std::make_unique<MacroSession>(path("install"));
        write("install/bin/cc", frontEnd);
        QFile::setPermissions(path("install/bin/cc"), QFile::ReadOwner | QFile::WriteOwner
                                                          | QFile::ExeOwner);
    }
    void TearDown() override
    {
        m_engine.reset();
        m_system.reset();
        m_macros.reset();
    }

    QString path(const QString &relative) const { return m_dir.filePath(relative); }
    void write(const QString &relative, const QByteArray &bytes) const
    {
        QDir().mkpath(QFileInfo(path(relative)).absolutePath());
        TestSupport::writeFile(path(relative), bytes);
    }
    void setTime(const QString &relative, qint64 seconds) const
    {
        const utimbuf times{std::time_t(seconds), std::time_t(seconds)};
        ASSERT_EQ(::utime(QFile::encodeName(path(relative)).constData(), &times), 0) << relative.toStdString();
    }
    qint64 timeOf(const QString &relative) const
    {
        return QFileInfo(path(relative)).lastModified().toSecsSinceEpoch();
    }
    void load(const QByteArray &projects)
    {
        write("s.qvProject", "<Tessbench_Project_File><solution Name=\"s\" version=\"2\">"
                             "<configuration Name=\"Debug\"/>"
                             + projects + "</solution></Tessbench_Project_File>\n");
        m_system = std::make_unique<StandardProjectSystem>();
        m_system->loadSolution(m_dir.path(), QStringLiteral("s.qvProject"), true);
        m_engine = std::make_unique<BuildEngine>(*m_system);
    }
    QStringList calls() const
    {
        return QString::fromUtf8(TestSupport::readFile(path("install/calls.log")))
            .split(u'\n', Qt::SkipEmptyParts);
    }
    void clearCalls() const { QFile::remove(path("install/calls.log")); }
    ProjectElement *element(const QString &name) const { return m_system->findElement(name); }

    int build(uint flags = BuildFlag::Quiet, int threads = 1, ProjectElement *node = nullptr,
              const std::function<void(BuildEngine &, std::vector<VarnelBuilder *> &)> &onIdle = {})
    {
        BuildLog log;
        VarnelIdler idler(log);
        std::vector<std::unique_ptr<VarnelBuilder>> owned;
        std::vector<Builder *> builders;
        std::vector<VarnelBuilder *> varnel;
        for (int i = 0; i < threads; ++i) {
            owned.push_back(std::make_unique<VarnelBuilder>(log, idler, m_engine->state()));
            builders.push_back(owned.back().get());
            varnel.push_back(owned.back().get());
        }
        if (onIdle)
            idler.setIdleHook([&] { onIdle(*m_engine, varnel); });
        BuildRequest request;
        request.element = node ? node : m_system->solution();
        request.configuration = QStringLiteral("Debug");
        request.operation = *buildOperation(findBuildOperation({BuildNode::Selection}));
        request.flags = flags;
        request.threads = threads;
        request.builders = builders;
        request.idler = &idler;
        const int result = m_engine->build(request);
        m_log = log.text();
        return result;
    }

    QTemporaryDir m_dir;
    std::unique_ptr<MacroSession> m_macros;
    std::unique_ptr<StandardProjectSystem> m_system;
    std::unique_ptr<BuildEngine> m_engine;
    QString m_log;
};

const QByteArray libraryAndProgram =
    "<project Name=\"lib\" project_type=\"Library\">"
    "<file file_name=\"a.c\"/><file file_name=\"b.c\"/></project>"
    "<project Name=\"app\" project_type=\"Executable\" project_dependencies=\"lib\""
    " linker_map_file=\"No\"><file file_name=\"main.c\"/></project>";

void writeSources(const std::function<void(const QString &, const QByteArray &)> &write)
{
    write(QStringLiteral("a.c"), "int a;\n");
    write(QStringLiteral("b.c"), "int b;\n");
    write(QStringLiteral("main.c"), "int main;\n");
}

class BuildUpToDate : public BuildEngineTest {
protected:
    void SetUp() override
    {
        BuildEngineTest::SetUp();
        writeSources([this](const QString &name, const QByteArray &bytes) {
            write(name, bytes);
            setTime(name, baseTime);
        });
        load(libraryAndProgram);
    }
};

} // namespace

TEST_F(BuildUpToDate, FirstBuildRunsEveryStepAndTheSecondNone)
{
    EXPECT_EQ(build(), BuildEngine::Built) << m_log.toStdString();
    const QStringList first = calls();
    ASSERT_EQ(first.size(), 5) << first.join(u'\n').toStdString();
    EXPECT_TRUE(first.at(0).contains(QLatin1String("-c -xc ")));
    EXPECT_TRUE(first.at(2).contains(QLatin1String("-ar -o")));
    EXPECT_TRUE(first.at(4).contains(QLatin1String("-inputfiles")));
    EXPECT_TRUE(QFileInfo::exists(path("Output/Debug/Exe/app.elf")));
    const QStringList list = QString::fromUtf8(
        TestSupport::readFile(path("Output/Debug/Obj/app/app.ind"))).split(u'\n', Qt::SkipEmptyParts);
    EXPECT_EQ(list, QStringList({path("Output/Debug/Obj/app/main.o"),
                                 path("Output/Debug/Exe/lib.a")}));
    clearCalls();
    EXPECT_EQ(build(), BuildEngine::UpToDate);
    EXPECT_TRUE(calls().isEmpty());
}

TEST_F(BuildUpToDate, EqualSecondsAreNotNewerButOneMoreIs)
{
    ASSERT_EQ(build(), BuildEngine::Built);
    const qint64 object = baseTime + 10;
    for (const char *output : {"Output/Debug/Obj/lib/a.o", "Output/Debug/Obj/lib/b.o",
                               "Output/Debug/Obj/app/main.o", "Output/Debug/Exe/lib.a",
                               "Output/Debug/Exe/app.elf"})
        setTime(output, object);
    setTime("a.c", object);
    clearCalls();
    EXPECT_EQ(build(), BuildEngine::UpToDate);
    setTime("a.c", object + 1);
    EXPECT_EQ(build(BuildFlag::Quiet, 1), BuildEngine::Built);
    const QStringList again = calls();
    ASSERT_EQ(again.size(), 3) << again.join(u'\n').toStdString();   // a.o, lib.a, app.elf
    EXPECT_TRUE(again.at(0).contains(QLatin1String("a.c")));
}

TEST_F(BuildUpToDate, HeaderNamedByTheDependencyFileCounts)
{
    write("header.h", "#define X\n");
    setTime("header.h", baseTime);
    ASSERT_EQ(build(), BuildEngine::Built);
    clearCalls();
    setTime("header.h", timeOf("Output/Debug/Obj/lib/a.o") + 5);
    EXPECT_EQ(build(0), BuildEngine::Built);
    EXPECT_EQ(calls().size(), 5);   // every source lists the header
    EXPECT_TRUE(m_log.contains(QLatin1String("header.h (")) && m_log.contains(QLatin1String("is newer than")))
        << m_log.toStdString();
}

TEST_F(BuildUpToDate, FileInTheFutureIsReportedAsClockSkew)
{
    ASSERT_EQ(build(), BuildEngine::Built);
    setTime("b.c", QDateTime::currentSecsSinceEpoch() + 3600);
    EXPECT_EQ(build(0), BuildEngine::Built);
    EXPECT_TRUE(m_log.contains(QStringLiteral("clock skew detected on %1.").arg(path("b.c"))))
        << m_log.toStdString();
}

TEST_F(BuildUpToDate, TwoSlotsBuildTheSameAsOne)
{
    EXPECT_EQ(build(BuildFlag::Quiet, 2), BuildEngine::Built);
    EXPECT_EQ(calls().size(), 5);
    EXPECT_TRUE(QFileInfo::exists(path("Output/Debug/Exe/app.elf")));
    clearCalls();
    EXPECT_EQ(build(BuildFlag::Quiet, 2), BuildEngine::UpToDate);
    EXPECT_TRUE(calls().isEmpty());
}

TEST_F(BuildUpToDate, FailedStepDeletesItsOutputAndTheNextBuildRetries)
{
    write("install/bin/fail-b.o", "");
    EXPECT_EQ(build(), BuildEngine::Failed);
    EXPECT_FALSE(QFileInfo::exists(path("Output/Debug/Obj/lib/b.o")));
    EXPECT_FALSE(QFileInfo::exists(path("Output/Debug/Exe/app.elf")));
    EXPECT_TRUE(m_log.contains(QLatin1String("error: broken on purpose"))) << m_log.toStdString();
    QFile::remove(path("install/bin/fail-b.o"));
    clearCalls();
    EXPECT_EQ(build(), BuildEngine::Built);
    EXPECT_TRUE(calls().first().contains(QLatin1String("b.c")));
}

TEST_F(BuildUpToDate, KeepGoingBuildsTheRestButStillFails)
{
    write("install/bin/fail-a.o", "");
    EXPECT_EQ(build(BuildFlag::Quiet | BuildFlag::KeepGoing), BuildEngine::Failed);
    EXPECT_TRUE(m_log.contains(QLatin1String(
        "Build failed - continuing because 'keep going on error' has been enabled")));
    EXPECT_TRUE(QFileInfo::exists(path("Output/Debug/Obj/app/main.o")));
}

TEST_F(BuildUpToDate, CleanRemovesOutputsAndDryRunTouchesNothing)
{
    ASSERT_EQ(build(), BuildEngine::Built);
    EXPECT_EQ(build(BuildFlag::RemoveOutputs | BuildFlag::Force | BuildFlag::NoExecute),
              BuildEngine::Built);
    EXPECT_FALSE(QFileInfo::exists(path("Output/Debug/Obj/lib/a.o")));
    EXPECT_FALSE(QFileInfo::exists(path("Output/Debug/Exe/lib.a")));
    EXPECT_TRUE(m_log.contains(QStringLiteral("Remove %1").arg(path("Output/Debug/Exe/app.elf"))));
    QDir(path("Output")).removeRecursively();
    NullBuilder dryRun;
    Idler idler;
    EXPECT_TRUE(m_engine->buildElement(element("app"), QStringLiteral("Debug"), dryRun, idler,
                                       BuildFlag::NoExecute | BuildFlag::Quiet));
    EXPECT_FALSE(QFileInfo::exists(path("Output")));
}

TEST_F(BuildUpToDate, MissingToolFailsWithItsName)
{
    QFile::remove(path("install/bin/cc"));
    EXPECT_EQ(build(), BuildEngine::Failed);
    EXPECT_TRUE(m_log.contains(QStringLiteral("Error starting process %1").arg(path("install/bin/cc"))))
        << m_log.toStdString();
}

TEST_F(BuildUpToDate, StoppedToolLeavesNoOutput)
{
    write("a.c", "hang\n");
    const int result = build(BuildFlag::Quiet, 1, nullptr,
                             [&](BuildEngine &engine, std::vector<VarnelBuilder *> &builders) {
                                 if (builders.front()->busy() && !engine.state().stopped) {
                                     engine.cancelBuild({});
                                     for (VarnelBuilder *builder : builders)
                                         builder->terminate();
                                 }
                             });
    EXPECT_EQ(result, BuildEngine::Stopped);
    EXPECT_FALSE(QFileInfo::exists(path("Output/Debug/Obj/lib/a.o")));
}

struct BrokenSolution {
    const char *name;
    const char *projects;
    const char *expected;   // in the log
    int result;
};

class BuildWithBrokenInput : public BuildEngineTest,
                             public ::testing::WithParamInterface<BrokenSolution> {};

TEST_P(BuildWithBrokenInput, ReportsAndDoesNotLoop)
{
    writeSources([this](const QString &name, const QByteArray &bytes) { write(name, bytes); });
    write("blocker", "a file where a directory should be\n");
    load(GetParam().projects);
    EXPECT_EQ(build(BuildFlag::Quiet, 2), GetParam().result) << m_log.toStdString();
    EXPECT_TRUE(m_log.contains(QLatin1String(GetParam().expected))) << m_log.toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    Inputs, BuildWithBrokenInput,
    ::testing::Values(
        BrokenSolution{"missingDependency",
                       "<project Name=\"app\" project_dependencies=\"nope\" linker_map_file=\"No\">"
                       "<file file_name=\"main.c\"/></project>",
                       "Can't find project nope", BuildEngine::Built},
        BrokenSolution{"selfDependency",
                       "<project Name=\"app\" project_dependencies=\"app\" linker_map_file=\"No\">"
                       "<file file_name=\"main.c\"/></project>",
                       "Dependency error detected in app", BuildEngine::Built},
        BrokenSolution{"cycle",
                       "<project Name=\"x\" project_type=\"Library\" project_dependencies=\"y\">"
                       "<file file_name=\"a.c\"/></project>"
                       "<project Name=\"y\" project_type=\"Library\" project_dependencies=\"x\">"
                       "<file file_name=\"b.c\"/></project>",
                       "depends on itself", BuildEngine::Built},
        BrokenSolution{"duplicateObject",
                       "<project Name=\"app\" linker_map_file=\"No\"><file file_name=\"a.c\"/>"
                       "<file file_name=\"a.c\" Name=\"again\"/></project>",
                       "has been supplied more than once", BuildEngine::Failed},
        BrokenSolution{"uncreatableDirectory",
                       "<project Name=\"app\" build_intermediate_directory=\"blocker/obj\""
                       " linker_map_file=\"No\"><file file_name=\"a.c\"/></project>",
                       "Error creating directory", BuildEngine::Failed}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(BuildEngineTest, UnityFolderIncludesItsMembersAndCompilesTheRestApart)
{
    writeSources([this](const QString &name, const QByteArray &bytes) { write(name, bytes); });
    load("<project Name=\"lib\" project_type=\"Library\">"
         "<folder Name=\"u\" unity_build_file_name=\"gen/all.c\" unity_build_exclude_filter=\"*b.c\">"
         "<file file_name=\"a.c\"/><file file_name=\"b.c\"/><file file_name=\"main.c\"/>"
         "</folder></project>");
    EXPECT_EQ(build(), BuildEngine::Built) << m_log.toStdString();
    EXPECT_EQ(TestSupport::readFile(path("gen/all.c")),
              QStringLiteral("#include \"%1\"\n#include \"%2\"\n")
                  .arg(path("a.c"), path("main.c"))
                  .toUtf8());
    EXPECT_TRUE(QFileInfo::exists(path("Output/Debug/Obj/lib/all.o")));
    EXPECT_TRUE(QFileInfo::exists(path("Output/Debug/Obj/lib/b.o")));
    const qint64 written = timeOf("gen/all.c");
    setTime("gen/all.c", written - 100);
    setTime("s.qvProject", written - 200);
    EXPECT_EQ(build(), BuildEngine::UpToDate);
    EXPECT_EQ(timeOf("gen/all.c"), written - 100);   // not rewritten when not needed
}

TEST_F(BuildEngineTest, ExportWritesOneCdPerDirectoryAndEscapesBlanksInRules)
{
    write("a b.c", "int a;\n");
    write("main.c", "int m;\n");
    load("<project Name=\"app\" linker_map_file=\"No\"><file file_name=\"a b.c\"/>"
         "<file file_name=\"main.c\"/></project>");
    for (const bool makefile : {false, true}) {
        ExportBuilder exporter(*m_engine, makefile, QStringLiteral("/opt/tess"));
        Idler idler;
        BuildRequest request;
        request.element = m_system->solution();
        request.configuration = QStringLiteral("Debug");
        request.operation =
            *buildOperation(findBuildOperation({BuildNode::Selection, BuildAction::Export}));
        request.flags = BuildFlag::Force | BuildFlag::Quiet;
        request.builders = {&exporter};
        m_engine->build(request);
        const QString text = exporter.text();
        if (makefile) {
            EXPECT_TRUE(text.startsWith(QLatin1String("all: \\\n"))) << text.toStdString();
            EXPECT_TRUE(text.contains(path("a\\ b.c"))) << text.toStdString();
            EXPECT_TRUE(text.contains(QLatin1String("-include "))) << text.toStdString();
        } else {
            EXPECT_EQ(text.count(QStringLiteral("cd \"")), 1) << text.toStdString();
            EXPECT_TRUE(text.contains(QStringLiteral("\"%1\"").arg(path("a b.c"))));
        }
    }
    EXPECT_FALSE(QFileInfo::exists(path("Output/Debug/Obj/app/main.o")));
}

TEST_F(BuildEngineTest, GenericOptionsFileReachesEveryToolLine)
{
    writeSources([this](const QString &name, const QByteArray &bytes) { write(name, bytes); });
    write("chain.xml", "<generic>"
                       "<property name=\"cpu\" tool=\"c_compiler\" prefix=\"D\" default=\"CPU=7\"/>"
                       "<property name=\"entry\" tool=\"linker\" prefix=\"e\" default=\"start\"/>"
                       "</generic>");
    load("<project Name=\"app\" linker_map_file=\"No\""
         " build_generic_options_file_name=\"chain.xml\"><file file_name=\"main.c\"/></project>");
    EXPECT_EQ(build(), BuildEngine::Built) << m_log.toStdString();
    const QStringList lines = calls();
    ASSERT_EQ(lines.size(), 2) << lines.join(u'\n').toStdString();
    EXPECT_TRUE(lines.at(0).contains(QLatin1String(" -DCPU=7 "))) << lines.at(0).toStdString();
    EXPECT_FALSE(lines.at(0).contains(QLatin1String("-estart")));
    EXPECT_TRUE(lines.at(1).contains(QLatin1String(" -estart "))) << lines.at(1).toStdString();

    // A tool chain file that can't be read stops the build before any tool runs.
    write("chain.xml", "<generic><property");
    clearCalls();
    load("<project Name=\"app\" linker_map_file=\"No\""
         " build_generic_options_file_name=\"chain.xml\"><file file_name=\"main.c\"/></project>");
    EXPECT_EQ(build(BuildFlag::Quiet | BuildFlag::Force), BuildEngine::Failed);
    EXPECT_TRUE(m_log.contains(path("chain.xml"))) << m_log.toStdString();
    EXPECT_TRUE(calls().isEmpty());
}

TEST_F(BuildEngineTest, SolutionFileRewrittenDuringBuildIsLeftAloneAndRenewsTheUnityFile)
{
    writeSources([this](const QString &name, const QByteArray &bytes) { write(name, bytes); });
    write("rewrite.sh", "echo '<broken' > s.qvProject\n");
    load("<project Name=\"lib\" project_type=\"Library\" pre_build_command=\"sh rewrite.sh\""
         " pre_build_command_control=\"Always Run\">"
         "<folder Name=\"u\" unity_build_file_name=\"gen/all.c\">"
         "<file file_name=\"a.c\"/><file file_name=\"b.c\"/></folder></project>");
    EXPECT_EQ(build(), BuildEngine::Built) << m_log.toStdString();
    EXPECT_EQ(TestSupport::readFile(path("s.qvProject")), QByteArray("<broken\n"));
    EXPECT_TRUE(QFileInfo::exists(path("Output/Debug/Obj/lib/all.o")));

    // The build goes on from the solution in memory; a solution file newer than the unity file
    // has it written again, and the folder's object with it.
    const qint64 written = timeOf("gen/all.c");
    setTime("gen/all.c", written - 100);
    setTime("Output/Debug/Obj/lib/all.o", written - 100);
    setTime("s.qvProject", written - 50);
    clearCalls();
    EXPECT_EQ(build(), BuildEngine::Built) << m_log.toStdString();
    EXPECT_GT(timeOf("gen/all.c"), written - 50);
    ASSERT_FALSE(calls().isEmpty());
    EXPECT_TRUE(calls().first().contains(path("gen/all.c"))) << calls().first().toStdString();
}

TEST_F(BuildEngineTest, FreedSlotStartsItsNextToolWhileTheOtherRuns)
{
    // Each tool marks its start and end. The tool for a.c is short and the others long, so
    // the slot that ran a.c must start the next file while the other slot's tool still runs.
    write("install/bin/cc",
          QByteArray("#!/bin/sh\nhere=$(dirname \"$0\")\n"
                     "echo begin >> \"$here/../overlap.log\"\n"
                     "case \"$*\" in *a.c*) sleep 0.1 ;; *) sleep 0.6 ;; esac\n"
                     "echo end >> \"$here/../overlap.log\"\n")
              + QByteArray(frontEnd).mid(QByteArray(frontEnd).indexOf('\n') + 1));
    for (const char *name : {"a.c", "b.c", "c.c"})
        write(QLatin1String(name), "int x;\n");
    load("<project Name=\"lib\" project_type=\"Library\"><file file_name=\"a.c\"/>"
         "<file file_name=\"b.c\"/><file file_name=\"c.c\"/></project>");
    EXPECT_EQ(build(BuildFlag::Quiet, 2), BuildEngine::Built) << m_log.toStdString();
    const QString log = QString::fromUtf8(TestSupport::readFile(path("install/overlap.log")));
    EXPECT_TRUE(log.startsWith(QLatin1String("begin\nbegin\nend\nbegin\n"))) << log.toStdString();
}

TEST_F(BuildEngineTest, RequestWithoutElementOrBuilderIsRefused)
{
    load(libraryAndProgram);
    NullBuilder builder;
    BuildRequest request;
    request.configuration = QStringLiteral("Debug");
    request.builders = {&builder};
    EXPECT_EQ(m_engine->build(request), BuildEngine::Refused);
    request.element = m_system->solution();
    request.builders.clear();
    EXPECT_EQ(m_engine->build(request), BuildEngine::Refused);
    request.builders = {&builder};
    request.flags = BuildFlag::NoExecute | BuildFlag::Quiet;
    EXPECT_EQ(m_engine->build(request), BuildEngine::Built);   // would build: nothing is there
}

TEST_F(BuildEngineTest, NextToolStartsAsSoonAsThePreviousEnds)
{
    // Fifty tools one after another, each writing down when it began and when it was about to
    // end. A loop that waited for its timer between tools would leave close to a timer period
    // between one end and the next start; one woken by the tool's end leaves the time it takes
    // to plan and start a tool, which a loaded machine stretches but nowhere near a period.
    write("install/bin/cc", "#!/bin/bash\n"
                            "start=$EPOCHREALTIME\n"
                            "while [ $# -gt 0 ]; do [ \"$1\" = -o ] && out=$2; shift; done\n"
                            ": > \"$out\"\n"
                            "echo \"$start $EPOCHREALTIME\" >> \"$(dirname \"$0\")/../times.log\"\n");
    constexpr int toolCount = 50;
    QByteArray files;
    for (int i = 0; i < toolCount - 1; ++i) {
        const QByteArray name = "f" + QByteArray::number(i) + ".c";
        write(QString::fromLatin1(name), "int x;\n");
        files += "<file file_name=\"" + name + "\"/>";
    }
    load("<project Name=\"lib\" project_type=\"Library\">" + files + "</project>");
    ASSERT_EQ(build(BuildFlag::Quiet, 1), BuildEngine::Built) << m_log.toStdString();
    std::vector<std::pair<double, double>> runs;
    for (QByteArray line : TestSupport::readFile(path("install/times.log")).split('\n')) {
        const QList<QByteArray> times = line.replace(',', '.').split(' ');
        if (times.size() == 2)
            runs.emplace_back(times[0].toDouble(), times[1].toDouble());
    }
    ASSERT_EQ(runs.size(), size_t(toolCount));   // the compiles and the archive
    std::sort(runs.begin(), runs.end());
    std::vector<double> gaps;
    for (size_t i = 1; i < runs.size(); ++i)
        gaps.push_back((runs[i].first - runs[i - 1].second) * 1000.0);
    std::nth_element(gaps.begin(), gaps.begin() + gaps.size() / 2, gaps.end());
    EXPECT_LT(gaps[gaps.size() / 2], VarnelIdler::timerMilliseconds / 2.0);
}

struct OperationCase {
    const char *name;
    BuildOperationQuery query;
    int row;
};

class BuildOperationSearch : public ::testing::TestWithParam<OperationCase> {};

TEST_P(BuildOperationSearch, FindsTheRowAskedFor)
{
    const OperationCase &c = GetParam();
    const int row = findBuildOperation(c.query);
    EXPECT_EQ(row, c.row);
    if (row < 0)
        return;
    // The row found answers every part of the question.
    const BuildOperationInfo &info = *buildOperation(row);
    EXPECT_EQ(info.node, c.query.node);
    EXPECT_EQ(info.action, c.query.action);
    EXPECT_EQ(info.batch, c.query.batch);
    EXPECT_EQ(info.selfOnly, c.query.selfOnly);
    if (c.query.dependencies) {
        EXPECT_EQ(info.dependencies, *c.query.dependencies);
    }
}

using N = BuildNode;
using A = BuildAction;

INSTANTIATE_TEST_SUITE_P(
    Table, BuildOperationSearch,
    ::testing::Values(
        OperationCase{"solutionBuild", {N::Solution, A::Build}, 0},
        OperationCase{"solutionRebuild", {N::Solution, A::Rebuild}, 1},
        OperationCase{"solutionClean", {N::Solution, A::Clean}, 2},
        OperationCase{"solutionBatchBuild", {N::Solution, A::Build, true}, 3},
        OperationCase{"solutionBatchClean", {N::Solution, A::Clean, true}, 5},
        OperationCase{"solutionExportIsBatchOnly", {N::Solution, A::Export}, -1},
        OperationCase{"projectBuild", {N::ActiveProject, A::Build}, 7},
        OperationCase{"projectBatchRebuild", {N::ActiveProject, A::Rebuild, true}, 11},
        OperationCase{"projectBuildAndRun", {N::ActiveProject, A::Run}, 14},
        OperationCase{"compile", {N::Selection, A::Compile}, 15},
        OperationCase{"link", {N::Selection, A::Link, false, true}, 16},
        OperationCase{"linkIsSelfOnly", {N::Selection, A::Link}, -1},
        OperationCase{"selectionBuildFollowsDependencies", {N::Selection, A::Build}, 17},
        OperationCase{"selectionBuildWithout", {N::Selection, A::Build, false, false, false}, 26},
        OperationCase{"selectionRebuildWithout",
                      {N::Selection, A::Rebuild, false, false, false}, 27},
        OperationCase{"selectionCleanWith", {N::Selection, A::Clean, false, false, true}, 19},
        OperationCase{"selectionBatchExport", {N::Selection, A::Export, true}, 24},
        OperationCase{"analyze", {N::Selection, A::Analyze}, 25},
        OperationCase{"dependencyListing", {N::Selection, A::DependencyListing}, 30}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(BuildOperations, RequestOfAnOperationPicksItsNodeAndThreads)
{
    ProjectElement solution(xmlDuplicate("solution"));
    ProjectElement project(xmlDuplicate("project"));
    NullBuilder builder;
    BuildSettings settings;
    settings.threads = 4;
    const BuildTargets targets{&solution, &project, nullptr, QStringLiteral("Debug")};
    const BuildRequest build = buildRequest(7, targets, settings, {&builder}, nullptr);
    EXPECT_EQ(build.element, &project);
    EXPECT_EQ(build.configuration, QStringLiteral("Debug"));
    EXPECT_EQ(build.threads, 4);
    EXPECT_TRUE(build.operation.dependencies);
    const BuildRequest clean = buildRequest(2, targets, settings, {&builder}, nullptr);
    EXPECT_EQ(clean.element, &solution);
    EXPECT_EQ(clean.threads, 1);
    EXPECT_EQ(clean.flags, buildFlags(*buildOperation(2), settings));
    // No selection, and an operation the table does not have: nothing to build.
    EXPECT_EQ(buildRequest(17, targets, settings, {&builder}, nullptr).element, nullptr);
    EXPECT_EQ(buildRequest(buildOperationCount, targets, settings, {&builder}, nullptr).element,
              nullptr);
}

TEST(BuildOperations, TableAndFlags)
{
    const BuildOperationInfo *clean = buildOperation(2);
    ASSERT_NE(clean, nullptr);
    EXPECT_EQ(buildFlags(*clean, {}), 7u);
    EXPECT_EQ(buildFlags(*buildOperation(6), {}), 10u);
    BuildSettings settings;
    settings.disableUnity = true;
    EXPECT_EQ(buildFlags(*buildOperation(24), settings), 10u | BuildFlag::DisableUnity);
    EXPECT_EQ(buildFlags(*buildOperation(1), {}),
              BuildFlag::Force | BuildFlag::RemoveOutputs | BuildFlag::Quiet);
    EXPECT_EQ(buildFlags(*buildOperation(16), {}) & BuildFlag::SelfOnly, BuildFlag::SelfOnly);
    EXPECT_EQ(buildOperation(buildOperationCount), nullptr);
    EXPECT_EQ(buildStatusText(BuildEngine::Stopped, false), QStringLiteral("Build terminated"));
    EXPECT_EQ(buildStatusText(BuildEngine::UpToDate, false), QStringLiteral("Build up to date"));
    EXPECT_EQ(buildStatusText(BuildEngine::Built, true), QStringLiteral("Cleaned"));
}
