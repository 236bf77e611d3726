// `tess sc status` prints exactly what `git status --porcelain` prints for the same tree and
// options, whether the query runs at once or on the background thread.
#include "tests/sourcecontrol/GitRepository.h"
#include <QFile>
#include <functional>

namespace {

struct StatusCase {
    const char *name;
    std::function<void(const GitRepository &)> setUp;
    QStringList options = {};   // given to both programs
    QString below = {};   // run in this folder of the working copy
    bool expectEmpty = false;
};

void committedFiles(const GitRepository &repository, const QStringList &names)
{
    for (const QString &name : names)
        repository.write(name, name.toUtf8() + "\n");
    repository.commitAll();
}

void conflictingBranches(const GitRepository &repository)
{
    committedFiles(repository, {"both.c", "gone.c", "kept.c"});
    repository.git({"checkout", "-q", "-b", "other"});
    repository.write("both.c", "other\n");
    repository.git({"rm", "-q", "gone.c"});
    repository.write("kept.c", "other side\n");
    repository.write("new.c", "other new\n");
    repository.commitAll();
    repository.git({"checkout", "-q", "main"});
    repository.write("both.c", "main\n");
    repository.write("gone.c", "main changed\n");
    repository.git({"rm", "-q", "kept.c"});
    repository.write("new.c", "main new\n");
    repository.commitAll();
    repository.git({"merge", "-q", "other"}, {}, true);
}

const StatusCase statusCases[] = {
    {"clean",
     [](const GitRepository &r) {
         committedFiles(r, {"a.c", "src/b.c"});
     },
     {},
     {},
     true},
    {"modifiedStagedAndDeleted",
     [](const GitRepository &r) {
         committedFiles(r, {"a.c", "b.c", "c.c", "d.c"});
         r.write("a.c", "changed\n");
         r.write("b.c", "staged\n");
         r.git({"add", "b.c"});
         r.write("b.c", "staged then changed\n");
         QFile::remove(r.file("c.c"));
         r.git({"rm", "-q", "d.c"});
     }},
    {"stagedRename",
     [](const GitRepository &r) {
         committedFiles(r, {"old.c", "keep.c"});
         r.git({"mv", "old.c", "new.c"});
     }},
    {"renamedThenModified",
     [](const GitRepository &r) {
         committedFiles(r, {"old.c"});
         r.git({"mv", "old.c", "src.c"});
         r.write("src.c", "old.c\nmore\n");
     }},
    {"addedThenDeleted",
     [](const GitRepository &r) {
         committedFiles(r, {"a.c"});
         r.write("fresh.c", "x\n");
         r.git({"add", "fresh.c"});
         QFile::remove(r.file("fresh.c"));
     }},
    {"untrackedFolderCollapsed",
     [](const GitRepository &r) {
         committedFiles(r, {"a.c"});
         r.write("new/deep/x.c", "x\n");
         r.write("new/y.c", "y\n");
         r.write("loose.c", "z\n");
     }},
    {"untrackedAll",
     [](const GitRepository &r) {
         committedFiles(r, {"a.c"});
         r.write("new/deep/x.c", "x\n");
         r.write("new/y.c", "y\n");
     },
     {"--untracked-files=all"}},
    {"untrackedNo",
     [](const GitRepository &r) {
         committedFiles(r, {"a.c"});
         r.write("a.c", "changed\n");
         r.write("new/y.c", "y\n");
     },
     {"--untracked-files=no"}},
    {"ignoredListed",
     [](const GitRepository &r) {
         r.write(".gitignore", "*.o\nbuild/\n");
         committedFiles(r, {"a.c"});
         r.write("a.o", "o\n");
         r.write("build/out/x.elf", "elf\n");
         r.write("src/b.o", "o\n");
     },
     {"--ignored"}},
    {"ignoredHonoured",
     [](const GitRepository &r) {
         r.write(".gitignore", "*.o\n");
         committedFiles(r, {"a.c"});
         r.write("a.o", "o\n");
         r.write("b.c", "b\n");
     }},
    {"conflictsByIndexStages", conflictingBranches},
    {"namesThatNeedQuoting",
     [](const GitRepository &r) {
         committedFiles(r, {"with space.c", "quote\".c", "back\\slash.c",
                            QString::fromUtf8("caf\xc3\xa9.c"), "tab\there.c"});
         r.write("with space.c", "changed\n");
         r.write("quote\".c", "changed\n");
         r.write("back\\slash.c", "changed\n");
         r.write(QString::fromUtf8("caf\xc3\xa9.c"), "changed\n");
         r.write("tab\there.c", "changed\n");
         r.write("new\nline.c", "n\n");
         r.write(QString::fromUtf8("\xe6\x97\xa5\xe6\x9c\xac/file name.c"), "n\n");
         r.write("bell\a.c", "n\n");
         r.git({"mv", "with space.c", "still spaced.c"});
     }},
    {"nonAsciiUnquotedWhenTheWorkingCopySaysSo",
     [](const GitRepository &r) {
         r.git({"config", "core.quotepath", "false"});
         committedFiles(r, {QString::fromUtf8("na\xc3\xafve.c")});
         r.write(QString::fromUtf8("na\xc3\xafve.c"), "changed\n");
         r.write(QString::fromUtf8("\xc3\xa9t\xc3\xa9 plain.c"), "n\n");
         r.write("tab\tstill quoted.c", "n\n");
     }},
    {"typeChanged",
     [](const GitRepository &r) {
         committedFiles(r, {"link.c", "target.c"});
         QFile::remove(r.file("link.c"));
         QFile::link(QStringLiteral("target.c"), r.file("link.c"));
     }},
    {"pathsLimitTheQuery",
     [](const GitRepository &r) {
         committedFiles(r, {"a.c", "src/b.c", "src/c.c"});
         r.write("a.c", "changed\n");
         r.write("src/b.c", "changed\n");
         r.write("src/new.c", "n\n");
     },
     {"src"}},
    {"fromAFolderPathsStayFromTheRoot",
     [](const GitRepository &r) {
         committedFiles(r, {"a.c", "src/b.c"});
         r.write("a.c", "changed\n");
         r.write("src/b.c", "changed\n");
         r.write("src/inner/new.c", "n\n");
     },
     {},
     "src"},
    {"beforeTheFirstCommit",
     [](const GitRepository &r) {
         r.write("a.c", "a\n");
         r.write("b.c", "b\n");
         r.git({"add", "a.c"});
     }},
};

class GitStatus : public ::testing::TestWithParam<StatusCase> {};

TEST_P(GitStatus, PrintsWhatGitPrints)
{
    const StatusCase &testCase = GetParam();
    GitRepository repository;
    testCase.setUp(repository);
    const QString directory =
        testCase.below.isEmpty() ? repository.path() : repository.file(testCase.below);
    const auto expected =
        repository.git(QStringList{"status", "--porcelain"} + testCase.options, testCase.below);
    ASSERT_EQ(expected.exitCode, 0);
    EXPECT_EQ(expected.out.isEmpty(), testCase.expectEmpty) << expected.out.constData();
    for (const QStringList &mode : {QStringList{}, QStringList{"--background"}}) {
        const auto ours = tess(QStringList{"sc", "status"} + mode + testCase.options, directory);
        EXPECT_EQ(ours.exitCode, 0) << ours.err.constData();
        EXPECT_EQ(ours.out, expected.out) << mode.join(u' ').toStdString();
        EXPECT_TRUE(ours.err.isEmpty()) << ours.err.constData();
    }
}

INSTANTIATE_TEST_SUITE_P(Trees, GitStatus, ::testing::ValuesIn(statusCases),
                         [](const auto &info) { return std::string(info.param.name); });

TEST(GitStatusOptions, DirectoryOptionWorksAsIfStartedThere)
{
    GitRepository repository;
    committedFiles(repository, {"a.c", "src/b.c"});
    repository.write("src/b.c", "changed\n");
    repository.write("src/new.c", "n\n");
    const auto expected = repository.git({"status", "--porcelain", "new.c"}, "src");
    const auto ours = tess({"sc", "status", "-C", repository.file("src"), "new.c"});
    EXPECT_EQ(ours.exitCode, 0) << ours.err.constData();
    EXPECT_EQ(ours.out, expected.out);
    EXPECT_EQ(ours.out, "?? src/new.c\n");
}

TEST(GitStatusOptions, LogShowsTheRefreshStepsOnStandardError)
{
    GitRepository repository;
    committedFiles(repository, {"a.c"});
    repository.write("a.c", "changed\n");
    const auto quick = tess({"sc", "status", "--log"}, repository.path());
    EXPECT_EQ(quick.out, " M a.c\n");
    const QString root = QFileInfo(repository.path()).canonicalFilePath();
    EXPECT_TRUE(quick.err.contains("Probing VCS successful for " + root.toUtf8() + "\n"))
        << quick.err.constData();
    EXPECT_TRUE(quick.err.contains("Received VCS results for " + root.toUtf8() + "\n"));
    EXPECT_TRUE(quick.err.endsWith("Source control information is now up to date\n"));
    const auto threaded = tess({"sc", "status", "--log", "--background"}, repository.path());
    EXPECT_EQ(threaded.out, " M a.c\n");
    EXPECT_TRUE(
        threaded.err.contains("Launching background VCS status query in " + root.toUtf8() + "\n"))
        << threaded.err.constData();
    EXPECT_FALSE(threaded.err.contains("Probing VCS successful"));
}

// Past a thousand index entries the quick check says no, so the query leaves the main thread.
TEST(GitStatusOptions, ALargeIndexTakesTheBackgroundThread)
{
    GitRepository repository;
    for (int i = 0; i < 1000; ++i)
        repository.write(QStringLiteral("f%1.c").arg(i), "x\n");
    repository.commitAll();
    repository.write("f7.c", "changed\n");
    const auto run = tess({"sc", "status", "--log"}, repository.path());
    EXPECT_EQ(run.out, " M f7.c\n");
    EXPECT_TRUE(run.err.contains("Launching background VCS status query in "))
        << run.err.constData();
    EXPECT_FALSE(run.err.contains("Probing VCS successful"));
}

TEST(GitStatusOptions, BadUntrackedModeIsAUsageError)
{
    GitRepository repository;
    const auto run = tess({"sc", "status", "--untracked-files=some"}, repository.path());
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.err.startsWith(
        "tess sc status: bad value 'some' for --untracked-files (no, normal or all)\n"))
        << run.err.constData();
}

}   // namespace
