// A solution in a git working copy: the refresh gives each file element its state, and the
// menu commands work on the same working copy.
#include "projects/ProjectElement.h"
#include "sourcecontrol/PendingChangesWindow.h"
#include "sourcecontrol/SourceCodeControlSystemInterface.h"
#include "sourcecontrol/SourceControl.h"
#include "sourcecontrol/SourceControlLog.h"
#include "sourcecontrol/SourceControlMenu.h"
#include "sourcecontrol/SourceControlProviders.h"
#include "tests/projects/SolutionFixture.h"
#include "tests/sourcecontrol/GitRepository.h"
#include <QDeadlineTimer>
#include <QFile>
#include <gtest/gtest.h>

namespace {

const QByteArray solutionText = R"(<!DOCTYPE Tessbench_Project_File>
<Tessbench_Project_File>
  <solution Name="Demo" version="2">
    <project Name="App">
      <folder Name="Source">
        <file file_name="src/main.c" />
        <file file_name="src/util.c" />
        <file file_name="src/new.c" />
        <file file_name="gen/deep/made.c" />
      </folder>
      <file file_name="build/app.o" />
      <file file_name="with space.c" />
    </project>
    <project Name="Elsewhere" source_code_control_directory="%PLAIN%">
      <file file_name="%PLAIN%/x.c" />
    </project>
  </solution>
</Tessbench_Project_File>
)";

// The working copy the tests share: a committed solution, then changes of every kind.
void makeWorkingCopy(const GitRepository &repository, const QString &plainFolder)
{
    repository.write(".gitignore", "build/\n");
    for (const char *name : {"src/main.c", "src/util.c"})
        repository.write(QLatin1String(name), "int x;\n");
    QByteArray solution = solutionText;
    solution.replace("%PLAIN%", plainFolder.toUtf8());
    repository.write("demo.qvProject", solution);
    repository.commitAll(QStringLiteral("Start"));
    repository.write("src/main.c", "int y;\n");
    repository.write("src/new.c", "new\n");
    repository.write("gen/deep/made.c", "made\n");
    repository.write("build/app.o", "object\n");
    repository.write("with space.c", "spaced\n");
    repository.git({"add", "with space.c"});
}

TEST(SolutionStatusCommand, PrintsProjectLettersAndPathOfEveryFileElement)
{
    GitRepository repository;
    QTemporaryDir plain;
    makeWorkingCopy(repository, plain.path());
    const auto run = tess({"sc", "status", "--solution", "demo.qvProject"}, repository.path());
    EXPECT_EQ(run.out, "App\t M\tsrc/main.c\n"
                       "App\t  \tsrc/util.c\n"
                       "App\t??\tsrc/new.c\n"
                       "App\t??\tgen/deep/made.c\n"
                       "App\t!!\tbuild/app.o\n"
                       "App\tA \twith space.c\n");
    // The second project names a folder that no provider controls.
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "tess sc status: not under source control: "
                           + QFileInfo(plain.path()).canonicalFilePath().toUtf8() + "\n");
}

TEST(SolutionStatusCommand, TheBackgroundThreadGivesTheSameAnswer)
{
    GitRepository repository;
    QTemporaryDir plain;
    makeWorkingCopy(repository, plain.path());
    const auto quick = tess({"sc", "status", "--solution", "demo.qvProject"}, repository.path());
    const auto threaded =
        tess({"sc", "status", "--solution", "demo.qvProject", "--background", "--log"},
             repository.path());
    EXPECT_EQ(threaded.out, quick.out);
    EXPECT_TRUE(threaded.err.contains("Updating status for App\n")) << threaded.err.constData();
    EXPECT_TRUE(threaded.err.contains("Source control information is now up to date\n"));
}

// The refresh, the explorer and the menus through the library, with the shipped provider.
class SolutionInWorkingCopy : public ::testing::Test {
protected:
    SolutionInWorkingCopy()
    {
        makeWorkingCopy(repository, plain.path());
        QString error;
        EXPECT_TRUE(providers.load(TestSupport::binPath(QStringLiteral("scproviders.xml")), &error))
            << error.toStdString();
        SourceControlProvider *git = providers.find(QStringLiteral("Git"));
        control.setProvider(git->interface(), git->entry().name);
        solution =
            fixture.system.loadSolution(repository.path(), QStringLiteral("demo.qvProject"), false);
        control.setProjectSystem(&fixture.system, QStringLiteral("Common"));
        log.setKeptLines(200);
    }

    ProjectElement *element(const QString &path) const { return fixture.system.findElement(path); }
    QByteArray letters(const QString &path) const
    {
        const SourceControlState *state = element(path)->sourceControlState();
        return state ? QByteArray() + state->index + state->workTree : QByteArray("none");
    }

    const bool application = (ensureApplication(), true);
    GitRepository repository;
    QTemporaryDir plain;
    SolutionFixture fixture;
    SourceControlLog log;
    SourceControlProviders providers{&log};
    SourceControl control{log};
    ProjectElement *solution = nullptr;
};

TEST_F(SolutionInWorkingCopy, RefreshGivesEveryFileElementItsState)
{
    std::vector<ProjectElement *> redrawn;
    QObject::connect(&control, &SourceControl::statusChanged,
                     [&](ProjectElement *at) { redrawn.push_back(at); });
    control.refresh(element(QStringLiteral("App")));
    control.waitUntilUpToDate();
    EXPECT_EQ(letters(QStringLiteral("App/Source/main.c")), " M");
    EXPECT_EQ(letters(QStringLiteral("App/Source/util.c")), "  ");
    EXPECT_EQ(letters(QStringLiteral("App/Source/made.c")), "??");
    EXPECT_EQ(letters(QStringLiteral("App/app.o")), "!!");
    EXPECT_EQ(element(QStringLiteral("App/Source/main.c"))->sourceControlState()->status,
              QStringLiteral("Modified"));
    EXPECT_EQ(element(QStringLiteral("App/Source/util.c"))->sourceControlState()->status,
              QStringLiteral("Unchanged"));
    EXPECT_EQ(element(QStringLiteral("App/with space.c"))->sourceControlState()->status,
              QStringLiteral("Added"));
    EXPECT_EQ(redrawn, std::vector<ProjectElement *>({element(QStringLiteral("App"))}));
    EXPECT_TRUE(log.keptLines().contains(QStringLiteral("Updating status for App")));
}

TEST_F(SolutionInWorkingCopy, LoadingTheSolutionAgainRefreshesItAndClosingItPurges)
{
    fixture.system.closeSolution();
    EXPECT_TRUE(log.keptLines().contains(QStringLiteral("Purging current source control status")));
    fixture.system.loadSolution(repository.path(), QStringLiteral("demo.qvProject"), false);
    control.waitUntilUpToDate();
    EXPECT_EQ(letters(QStringLiteral("App/Source/main.c")), " M");
    EXPECT_EQ(letters(QStringLiteral("App/app.o")), "!!");
    EXPECT_EQ(sourceControlMenu(control).size(), 7U);
    control.setProvider(nullptr, QString());
    EXPECT_TRUE(sourceControlMenu(control).empty());
}

TEST_F(SolutionInWorkingCopy, APeriodicRefreshSeesChangesMadeOutside)
{
    control.refresh(element(QStringLiteral("App")));
    control.waitUntilUpToDate();
    EXPECT_EQ(letters(QStringLiteral("App/Source/util.c")), "  ");
    repository.write("src/util.c", "changed outside\n");
    control.setRefreshInterval(1);
    const QDeadlineTimer patience(60000);
    while (letters(QStringLiteral("App/Source/util.c")) != " M" && !patience.hasExpired())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
    control.setRefreshInterval(0);
    control.waitUntilUpToDate();
    EXPECT_EQ(letters(QStringLiteral("App/Source/util.c")), " M");
}

TEST_F(SolutionInWorkingCopy, AFolderIsUpdatedAsPartOfItsProject)
{
    control.refresh(element(QStringLiteral("App/Source")));
    control.waitUntilUpToDate();
    EXPECT_TRUE(log.keptLines().contains(QStringLiteral("Updating status for Source in App")));
    EXPECT_EQ(letters(QStringLiteral("App/Source/main.c")), " M");
    EXPECT_EQ(letters(QStringLiteral("App/app.o")), "none");
}

TEST_F(SolutionInWorkingCopy, ExplorerShowsProviderStatusAndLastChange)
{
    control.refreshAll();
    control.waitUntilUpToDate();
    const QString head = QString::fromLatin1(repository.git({"rev-parse", "HEAD"}).out.trimmed());
    const auto rows =
        vcsShowSourceControlExplorer(control, element(QStringLiteral("App/Source/main.c")));
    ASSERT_EQ(rows.size(), 3U);
    EXPECT_EQ(rows[0].property, QStringLiteral("sccs_provider_name"));
    EXPECT_EQ(rows[0].value, QStringLiteral("Git"));
    EXPECT_EQ(rows[1].property, QStringLiteral("sccs_provider_status"));
    EXPECT_EQ(rows[1].value, QStringLiteral("Modified"));
    EXPECT_EQ(rows[2].property, QStringLiteral("sccs_local_status"));
    EXPECT_EQ(rows[2].value,
              QStringLiteral(" M, last changed in %1 by Test Author").arg(head.left(12)));
    EXPECT_EQ(element(QStringLiteral("App/Source/main.c"))->sourceControlState()->revision, head);
    // The second project's working copy failed: its file has no state.
    const auto elsewhere =
        vcsShowSourceControlExplorer(control, element(QStringLiteral("Elsewhere")));
    ASSERT_EQ(elsewhere.size(), 3U);
    EXPECT_TRUE(elsewhere[1].value.isEmpty());
    EXPECT_TRUE(control.errors(SourceControl::directoryKey(plain.path()))
                    .startsWith(QLatin1String("not under source control: ")));
}

TEST_F(SolutionInWorkingCopy, PendingChangesRunCommandsOnTheSelection)
{
    control.setOptions({});
    control.refreshDirectory(repository.path(), QStringLiteral("Demo"));
    control.waitUntilUpToDate();
    PendingChangesWindow window(control, repository.path());
    std::vector<QByteArray> pending;
    for (const SourceControlFileStatus &file : window.changes())
        pending.push_back(QByteArray() + file.index + file.workTree + ' ' + file.path);
    EXPECT_EQ(pending, std::vector<QByteArray>(
                           {" M src/main.c", "A  with space.c", "?? gen/", "?? src/new.c"}));
    window.setSelection({"src/new.c"});
    ASSERT_TRUE(window.runVCS(PendingChangesWindow::Add))
        << window.lastResults().errors.toStdString();
    control.waitUntilUpToDate();   // the shown status is refreshed after the command
    pending.clear();
    for (const SourceControlFileStatus &file : window.changes())
        pending.push_back(QByteArray() + file.index + file.workTree + ' ' + file.path);
    EXPECT_EQ(pending, std::vector<QByteArray>(
                           {" M src/main.c", "A  src/new.c", "A  with space.c", "?? gen/"}));
    window.setSelection({"../outside.c"});
    EXPECT_FALSE(window.runVCS(PendingChangesWindow::Revert));
    EXPECT_EQ(window.lastResults().errors,
              QStringLiteral("outside the working copy: ../outside.c"));
    EXPECT_FALSE(window.runVCS(PendingChangesWindow::commandCount));
    EXPECT_EQ(window.lastResults().errors, QStringLiteral("no source control command 6"));
}

TEST_F(SolutionInWorkingCopy, CompareLogAndTheCommittedCopy)
{
    const SourceControlResults compared = vcsCompare(control, repository.path(), {"src/main.c"});
    EXPECT_EQ(compared.output, repository.git({"diff", "HEAD", "--", "src/main.c"}).out);
    const SourceControlResults logged = showLog(control, repository.path(), QString(), 0);
    ASSERT_EQ(logged.log.size(), 1U);
    EXPECT_EQ(logged.log.front().subject, QStringLiteral("Start"));
    EXPECT_EQ(logged.log.front().author, QStringLiteral("Test Author"));
    const SourceControlResults copy =
        committedCopy(control, repository.file("src"), QStringLiteral("main.c"));
    EXPECT_EQ(copy.output, "int x;\n");
}

TEST_F(SolutionInWorkingCopy, SwitchBranchesAndMergeByProviderOrForTheMergeWindow)
{
    repository.git({"stash", "-u", "-q"});
    repository.git({"branch", "feature"});
    SourceControlResults listed = vcsSwitchBranch(control, repository.path(), QString());
    EXPECT_EQ(listed.branches, QStringList({"feature", "main"}));
    EXPECT_EQ(listed.currentBranch, QStringLiteral("main"));
    const SourceControlResults switched =
        vcsSwitchBranch(control, repository.path(), QStringLiteral("feature"));
    ASSERT_TRUE(switched.errors.isEmpty()) << switched.errors.toStdString();
    EXPECT_EQ(switched.currentBranch, QStringLiteral("feature"));
    repository.write("src/main.c", "feature side\n");
    repository.commitAll(QStringLiteral("Feature"));
    repository.git({"checkout", "-q", "main"});
    repository.write("src/util.c", "main side\n");
    repository.commitAll(QStringLiteral("Main"));

    const SourceControlResults merged =
        vcsMerge(control, repository.path(), QStringLiteral("feature"), true);
    EXPECT_TRUE(merged.errors.isEmpty()) << merged.errors.toStdString();
    EXPECT_EQ(repository.git({"log", "-1", "--format=%p"}).out.count(' '), 1);   // a merge commit

    repository.git({"checkout", "-q", "-b", "other", "HEAD~1"});
    repository.write("src/main.c", "other side\n");
    repository.commitAll(QStringLiteral("Other"));
    repository.git({"checkout", "-q", "main"});
    const SourceControlResults conflicted =
        vcsMerge(control, repository.path(), QStringLiteral("other"), false);
    EXPECT_TRUE(conflicted.errors.isEmpty()) << conflicted.errors.toStdString();
    ASSERT_EQ(conflicted.files.size(), 1U);
    EXPECT_EQ(conflicted.files.front().path, "src/main.c");
    EXPECT_EQ(QByteArray() + conflicted.files.front().index + conflicted.files.front().workTree,
              "UU");
    const SourceControlResults refused =
        vcsSwitchBranch(control, repository.path(), QStringLiteral("--force"));
    EXPECT_EQ(refused.errors, QStringLiteral("bad branch name '--force'"));
}

}   // namespace
