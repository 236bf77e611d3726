// The changing commands of `tess sc` against what git then reports, and the errors: paths
// outside the working copy, folders not under control, corrupt repositories.
#include "tests/sourcecontrol/GitRepository.h"
#include <QFile>
#include <functional>

namespace {

QByteArray status(const GitRepository &repository)
{
    return repository.git({"status", "--porcelain"}).out;
}

GitRepository &committed(GitRepository &repository, const QStringList &names)
{
    for (const QString &name : names)
        repository.write(name, name.toUtf8() + "\n");
    repository.commitAll(QStringLiteral("first"));
    return repository;
}

TEST(ScAdd, StagesFilesWithAnyNames)
{
    GitRepository repository;
    committed(repository, {"a.c"});
    for (const char *name : {"new.c", "with space.c", ">", "2>", "quote\".c"})
        repository.write(QString::fromUtf8(name), "x\n");
    repository.write("dir/inner.c", "x\n");
    const auto run = tess({"sc", "add", "new.c", "with space.c", ">", "2>", "quote\".c", "dir"},
                          repository.path());
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(status(repository),
              "A  2>\nA  >\nA  dir/inner.c\nA  new.c\nA  \"quote\\\".c\"\nA  \"with space.c\"\n");
}

TEST(ScAdd, APathOutsideTheWorkingCopyRefusesTheWholeCommand)
{
    GitRepository repository;
    committed(repository, {"a.c"});
    repository.write("new.c", "x\n");
    QTemporaryDir elsewhere;
    const auto run =
        tess({"sc", "add", "new.c", "../" + QFileInfo(repository.path()).fileName() + "-x/y.c"},
             repository.path());
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.startsWith("tess sc add: outside the working copy: ../"))
        << run.err.constData();
    const auto absolute = tess({"sc", "add", "new.c", elsewhere.path()}, repository.path());
    EXPECT_EQ(absolute.exitCode, 1);
    EXPECT_EQ(absolute.err,
              "tess sc add: outside the working copy: " + elsewhere.path().toUtf8() + "\n");
    EXPECT_EQ(status(repository), "?? new.c\n");
}

TEST(ScRemove, TakesFilesOffTheDiskUnlessCached)
{
    GitRepository repository;
    committed(repository, {"a.c", "b.c", "dir/c.c"});
    const auto removed = tess({"sc", "remove", "a.c", "dir"}, repository.path());
    EXPECT_EQ(removed.exitCode, 0) << removed.err.constData();
    EXPECT_FALSE(QFile::exists(repository.file("a.c")));
    const auto cached = tess({"sc", "remove", "--cached", "b.c"}, repository.path());
    EXPECT_EQ(cached.exitCode, 0) << cached.err.constData();
    EXPECT_TRUE(QFile::exists(repository.file("b.c")));
    EXPECT_EQ(status(repository), "D  a.c\nD  b.c\nD  dir/c.c\n?? b.c\n");
}

TEST(ScCommit, RecordsTheIndexWithTheGivenAuthorAndRefusesAnEmptyOne)
{
    GitRepository repository;
    committed(repository, {"a.c"});
    repository.write("a.c", "changed\n");
    repository.write("unstaged.c", "x\n");
    repository.git({"add", "a.c"});
    const auto run =
        tess({"sc", "commit", "-m", "Blink faster", "--author", "Ann Other <ann@example.invalid>"},
             repository.path());
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(repository.git({"log", "-1", "--format=%an <%ae>|%s"}).out,
              "Ann Other <ann@example.invalid>|Blink faster\n");
    EXPECT_EQ(status(repository), "?? unstaged.c\n");
    const auto again = tess({"sc", "commit", "-m", "again"}, repository.path());
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_EQ(again.err, "tess sc commit: nothing to commit\n");
    EXPECT_EQ(repository.git({"rev-list", "--count", "HEAD"}).out, "2\n");
}

TEST(ScCommit, NeedsAMessage)
{
    GitRepository repository;
    const auto run = tess({"sc", "commit"}, repository.path());
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.err.startsWith("tess sc commit: give the message with -m MESSAGE\n"))
        << run.err.constData();
}

TEST(ScRevert, BringsFilesBackAndLeavesAddedOnesUntracked)
{
    GitRepository repository;
    committed(repository, {"changed.c", "staged.c", "deleted.c", "removed.c", "dir/x.c", "same.c"});
    repository.write("changed.c", "edit\n");
    repository.write("staged.c", "edit\n");
    repository.git({"add", "staged.c"});
    QFile::remove(repository.file("deleted.c"));
    repository.git({"rm", "-q", "removed.c"});
    repository.write("dir/x.c", "edit\n");
    repository.write("added.c", "new\n");
    repository.git({"add", "added.c"});
    repository.write("same.c", "kept edit\n");
    const auto run =
        tess({"sc", "revert", "changed.c", "staged.c", "deleted.c", "removed.c", "dir", "added.c"},
             repository.path());
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(status(repository), " M same.c\n?? added.c\n");
    EXPECT_EQ(TestSupport::readFile(repository.file("changed.c")), "changed.c\n");
    EXPECT_EQ(TestSupport::readFile(repository.file("deleted.c")), "deleted.c\n");
    EXPECT_EQ(TestSupport::readFile(repository.file("dir/x.c")), "dir/x.c\n");
    EXPECT_EQ(TestSupport::readFile(repository.file("added.c")), "new\n");
}

TEST(ScRevert, APathGitDoesNotKnowChangesNothing)
{
    GitRepository repository;
    committed(repository, {"a.c"});
    repository.write("a.c", "edit\n");
    repository.write("untracked.c", "u\n");
    const auto run = tess({"sc", "revert", "a.c", "untracked.c"}, repository.path());
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.contains("untracked.c")) << run.err.constData();
    EXPECT_EQ(status(repository), " M a.c\n?? untracked.c\n");
}

TEST(ScRevert, BeforeTheFirstCommitAnAddedFileBecomesUntracked)
{
    GitRepository repository;
    repository.write("a.c", "a\n");
    repository.git({"add", "a.c"});
    const auto run = tess({"sc", "revert", "a.c"}, repository.path());
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(status(repository), "?? a.c\n");
}

TEST(ScDiff, IsGitsUnifiedDiffAgainstTheLastCommit)
{
    GitRepository repository;
    committed(repository, {"a.c", "src/b.c", "src/c.c"});
    repository.write("a.c", "a.c\nmore\n");
    repository.write("src/b.c", "other\n");
    repository.git({"add", "src/b.c"});
    QFile::remove(repository.file("src/c.c"));
    const auto all = tess({"sc", "diff"}, repository.path());
    EXPECT_EQ(all.exitCode, 0) << all.err.constData();
    EXPECT_EQ(all.out, repository.git({"diff", "HEAD"}).out);
    EXPECT_TRUE(all.out.contains("+more\n"));
    const auto some = tess({"sc", "diff", "b.c"}, repository.file("src"));
    EXPECT_EQ(some.out, repository.git({"diff", "HEAD", "--", "b.c"}, "src").out);
    EXPECT_FALSE(some.out.contains("a.c"));
}

TEST(ScDiff, BeforeTheFirstCommitEverythingStagedIsNew)
{
    GitRepository repository;
    repository.write("a.c", "a\n");
    repository.git({"add", "a.c"});
    const auto run = tess({"sc", "diff"}, repository.path());
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_TRUE(run.out.contains("new file mode 100644\n")) << run.out.constData();
    EXPECT_TRUE(run.out.contains("+a\n"));
}

TEST(ScLog, PrintsHashAuthorDateAndSubjectAsGitFormatsThem)
{
    GitRepository repository;
    committed(repository, {"a.c"});
    repository.write("b.c", "b\n");
    repository.commitAll(QStringLiteral("Second\twith a tab"));
    repository.write("a.c", "again\n");
    repository.commitAll(QString::fromUtf8("Third, caf\xc3\xa9"));
    const QString format = QStringLiteral("--format=%H%x09%an%x09%aI%x09%s");
    const auto all = tess({"sc", "log"}, repository.path());
    EXPECT_EQ(all.exitCode, 0) << all.err.constData();
    EXPECT_EQ(all.out, repository.git({"log", format}).out);
    EXPECT_EQ(all.out.count('\n'), 3);
    const auto limited = tess({"sc", "log", "-n", "1", "a.c"}, repository.path());
    EXPECT_EQ(limited.out, repository.git({"log", "-n", "1", format, "--", "a.c"}).out);
    const auto ofFile = tess({"sc", "log", "b.c"}, repository.path());
    EXPECT_EQ(ofFile.out, repository.git({"log", format, "--", "b.c"}).out);
    EXPECT_TRUE(ofFile.out.endsWith("\tSecond\twith a tab\n")) << ofFile.out.constData();
}

struct CommandCase {
    const char *name;
    QStringList arguments;
};

const CommandCase everyCommand[] = {
    {"status", {"sc", "status"}},
    {"add", {"sc", "add", "a.c"}},
    {"remove", {"sc", "remove", "a.c"}},
    {"commit", {"sc", "commit", "-m", "x"}},
    {"revert", {"sc", "revert", "a.c"}},
    {"diff", {"sc", "diff"}},
    {"log", {"sc", "log"}},
};

class ScOutsideAnyWorkingCopy : public ::testing::TestWithParam<CommandCase> {};

TEST_P(ScOutsideAnyWorkingCopy, SaysSoAndFails)
{
    QTemporaryDir plain;
    TestSupport::writeFile(plain.filePath("a.c"), "a\n");
    const QString directory = QFileInfo(plain.path()).canonicalFilePath();
    const auto run = tess(GetParam().arguments, plain.path());
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "tess " + GetParam().arguments.mid(0, 2).join(u' ').toUtf8()
                           + ": not under source control: " + directory.toUtf8() + "\n");
    EXPECT_TRUE(run.out.isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Commands, ScOutsideAnyWorkingCopy, ::testing::ValuesIn(everyCommand),
                         [](const auto &info) { return std::string(info.param.name); });

// A broken repository: the command fails with git's own complaint and writes nothing in .git.
struct CorruptCase {
    const char *name;
    std::function<void(const GitRepository &)> corrupt;
    QByteArray complaint;
};

void dropHeadTreeObject(const GitRepository &repository)
{
    const QByteArray tree = repository.git({"rev-parse", "HEAD^{tree}"}).out.trimmed();
    QFile::remove(repository.file(".git/objects/" + tree.left(2) + "/" + tree.mid(2)));
}

const CorruptCase corruptCases[] = {
    {"garbageHead",
     [](const GitRepository &r) { TestSupport::writeFile(r.file(".git/HEAD"), "garbage\n"); },
     "git refuses the working copy"},
    {"truncatedIndex",
     [](const GitRepository &r) {
         QFile index(r.file(".git/index"));
         ASSERT_TRUE(index.resize(10));
     },
     "index file smaller than expected"},
    {"missingObjects", dropHeadTreeObject, "git status: error: bad tree object HEAD"},
};

class ScCorruptRepository : public ::testing::TestWithParam<CorruptCase> {};

TEST_P(ScCorruptRepository, FailsClearlyAndRewritesNothing)
{
    GitRepository repository;
    committed(repository, {"a.c", "src/b.c"});
    repository.write("a.c", "changed\n");
    GetParam().corrupt(repository);
    const auto before = repository.gitFolderSnapshot();
    for (const QStringList &mode : {QStringList{}, QStringList{"--background"}}) {
        const auto run = tess(QStringList{"sc", "status"} + mode, repository.path());
        EXPECT_EQ(run.exitCode, 1) << run.out.constData();
        EXPECT_TRUE(run.err.startsWith("tess sc status: ")) << run.err.constData();
        EXPECT_TRUE(run.err.contains(GetParam().complaint)) << run.err.constData();
    }
    const auto diff = tess({"sc", "diff"}, repository.path());
    EXPECT_EQ(diff.exitCode, 1);
    EXPECT_EQ(repository.gitFolderSnapshot(), before);
}

INSTANTIATE_TEST_SUITE_P(Damage, ScCorruptRepository, ::testing::ValuesIn(corruptCases),
                         [](const auto &info) { return std::string(info.param.name); });

TEST(ScMissingDirectory, IsReportedAsSuch)
{
    const auto run = tess({"sc", "status", "-C", "/nonexistent/folder"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "tess sc status: no such directory: /nonexistent/folder\n");
}

}   // namespace
