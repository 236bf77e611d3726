#include "foundation/MacroSession.h"
#include "foundation/PropertyClass.h"
#include "projects/SolutionSession.h"
#include "projects/StandardProjectSystem.h"
#include "tests/support/TestSupport.h"
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <memory>

namespace {

// A solution whose load command leaves a file behind and whose imported project's name holds
// a macro of the import.
QString writeSolution(const QTemporaryDir &directory)
{
    const QString path = directory.filePath(QStringLiteral("s.qvProject"));
    TestSupport::writeFile(path, "<!DOCTYPE Tessbench_Project_File>\n<Tessbench_Project_File>\n"
                                 "<solution Name=\"S\" load_command=\"touch ran\">\n"
                                 " <import file_name=\"part.xml\" macros=\"Board=stm\"/>\n"
                                 "</solution>\n</Tessbench_Project_File>\n");
    TestSupport::writeFile(directory.filePath(QStringLiteral("part.xml")),
                           "<Tessbench_Project_File><project Name=\"App_$(Board)\"/>"
                           "</Tessbench_Project_File>\n");
    return path;
}

} // namespace

TEST(MacroSession, AnInnerSessionSharesTheOuterOneAndLeavesItInForce)
{
    ASSERT_EQ(PropertyClassList::global(), nullptr);
    {
        const MacroSession outer(QStringLiteral("/opt/outer"));
        {
            const MacroSession inner(QStringLiteral("/opt/inner"));
            EXPECT_EQ(&inner.macros(), &outer.macros());
        }
        ASSERT_EQ(PropertyClassList::global(), &outer.macros());
        EXPECT_EQ(expandMacros(PropertyClassList::global(), MacroTable(),
                               QStringLiteral("$(VarnelDir)"), true, true),
                  QStringLiteral("/opt/outer"));
    }
    EXPECT_EQ(PropertyClassList::global(), nullptr);
}

TEST(MacroSession, TheMacrosStayWhileAnySessionSharingThemLives)
{
    ASSERT_EQ(PropertyClassList::global(), nullptr);
    auto first = std::make_unique<MacroSession>(QStringLiteral("/opt/first"));
    auto second = std::make_unique<MacroSession>(QStringLiteral("/opt/second"));
    first.reset();   // the session made first ends first, as when a window opens another solution
    ASSERT_EQ(PropertyClassList::global(), &second->macros());
    EXPECT_EQ(expandMacros(PropertyClassList::global(), MacroTable(),
                           QStringLiteral("$(VarnelDir)"), true, true),
              QStringLiteral("/opt/first"));
    second.reset();
    EXPECT_EQ(PropertyClassList::global(), nullptr);
}

struct LoadOptionsCase {
    const char *name;
    bool expandMacros;
    bool runLoadCommands;
    const char *projectName;
};

class SolutionSessionLoad : public ::testing::TestWithParam<LoadOptionsCase> {};

TEST_P(SolutionSessionLoad, FollowsItsOptions)
{
    const LoadOptionsCase &row = GetParam();
    QTemporaryDir directory;
    const QString path = writeSolution(directory);
    const QString previous = QDir::currentPath();
    QDir::setCurrent(directory.path());
    {
        SolutionSession session(QStringLiteral("/opt/tess"));
        SolutionSession::LoadOptions options;
        options.expandMacros = row.expandMacros;
        options.runLoadCommands = row.runLoadCommands;
        const ProjectElement *solution = session.load(QStringLiteral("s.qvProject"), options);
        ASSERT_NE(solution, nullptr);
        EXPECT_EQ(session.solution(), solution);
        ASSERT_EQ(solution->children().size(), 1u);
        EXPECT_EQ(solution->children().front()->elementName(), QString::fromUtf8(row.projectName));
        EXPECT_EQ(QFile::exists(directory.filePath(QStringLiteral("ran"))), row.runLoadCommands);
        QFile::remove(directory.filePath(QStringLiteral("ran")));
        // A second load replaces the first solution.
        EXPECT_NE(session.load(path, options), nullptr);
    }
    QDir::setCurrent(previous);
    EXPECT_EQ(PropertyClassList::global(), nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    Options, SolutionSessionLoad,
    ::testing::Values(LoadOptionsCase{"expandedWithCommands", true, true, "App_stm"},
                      LoadOptionsCase{"expandedWithoutCommands", true, false, "App_stm"},
                      LoadOptionsCase{"asSpelled", false, false, "App_$(Board)"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(SolutionSession, AFailedLoadThrowsAndKeepsTheSessionUsable)
{
    QTemporaryDir directory;
    SolutionSession session(QStringLiteral("/opt/tess"));
    EXPECT_ANY_THROW(session.load(directory.filePath(QStringLiteral("missing.qvProject"))));
    EXPECT_EQ(session.solution(), nullptr);
    SolutionSession::LoadOptions options;
    options.runLoadCommands = false;
    EXPECT_NE(session.load(writeSolution(directory), options), nullptr);
}
