// Installs and removals are all or nothing: a process killed at any step of one leaves, once the
// next run has recovered, the old installation or the new one, never a mix.
#include "foundation/HException.h"
#include "packages/PackageSystem.h"
#include "packages/PackageTransaction.h"
#include "tests/packages/ArchiveBytes.h"
#include "tests/support/TestSupport.h"
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <gtest/gtest.h>
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

using ArchiveBytes::Entry;

namespace {

int killAtStep = 0;

void killWhenReached(int step)
{
    if (step == killAtStep)
        ::raise(SIGKILL);
}

// Every file below `root` but the lock, with its bytes; and every folder.
QStringList snapshot(const QString &root)
{
    QStringList lines;
    QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (path.endsWith(QLatin1String("/.lock")))
            continue;
        const QString name = QDir(root).relativeFilePath(path);
        lines.append(QFileInfo(path).isDir() ? name + u'/' : name + QStringLiteral(": ") + QString::fromUtf8(TestSupport::readFile(path)));
    }
    lines.sort();
    return lines;
}

void copyTree(const QString &from, const QString &to)
{
    QDir(to).removeRecursively();
    QDir().mkpath(to);
    QDirIterator it(from, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QString target = to + u'/' + QDir(from).relativeFilePath(path);
        if (QFileInfo(path).isDir())
            QDir().mkpath(target);
        else if (!path.endsWith(QLatin1String("/.lock")) && QFile::copy(path, target)) {
            QFile copy(target);
            copy.open(QIODevice::ReadWrite);
            copy.setFileTime(QFileInfo(path).lastModified(), QFileDevice::FileModificationTime);
        }
    }
}

class KilledTransactions : public ::testing::Test {
protected:
    QTemporaryDir dir;
    QString root = dir.filePath(QStringLiteral("root"));
    QString pristine = dir.filePath(QStringLiteral("pristine"));

    QString package(const QByteArray &version, const std::vector<Entry> &files, quint32 time)
    {
        std::vector<Entry> entries{{"acme_package.xml", "<package name=\"acme\" version=\"" + version
                                                            + "\" installation_directory=\"$(PackagesDir)/acme\"/>",
                                    0644, time}};
        for (Entry entry : files) {
            entry.time = time;
            entries.push_back(entry);
        }
        const QString file = dir.filePath(QString::fromUtf8("acme-" + version + ".qvPackage"));
        TestSupport::writeFile(file, ArchiveBytes::format2Archive(entries));
        return file;
    }

    static void install(const QString &root, const QString &file)
    {
        PackageSystem system(root, nullptr);
        system.open();
        PackageInstallOptions options;
        PackageCommandLineAnswers answers(options);
        system.installPackages({file}, options, answers);
    }

    static void remove(const QString &root)
    {
        PackageSystem system(root, nullptr);
        system.open();
        system.removePackages({QStringLiteral("acme")}, false);
    }

    // Runs `work` in a child killed at each step in turn, recovers, and checks the state is
    // `before` or `after`. Returns how many kills it made; the run that reaches its end stops.
    int killAtEveryStep(const std::function<void()> &work, const QStringList &before, const QStringList &after)
    {
        for (int step = 1; step < 10000; ++step) {
            copyTree(pristine, root);
            const pid_t child = ::fork();
            if (child == 0) {
                killAtStep = step;
                PackageTransaction::setStepHook(killWhenReached);
                try {
                    work();
                } catch (const HException &) {
                    ::_exit(2);
                }
                ::_exit(0);
            }
            int status = 0;
            ::waitpid(child, &status, 0);
            {
                PackageSystem recovering(root, nullptr);
                recovering.open();
            }
            const QStringList state = snapshot(root);
            if (WIFEXITED(status)) {
                EXPECT_EQ(WEXITSTATUS(status), 0);
                EXPECT_EQ(state, after);
                return step - 1;
            }
            EXPECT_TRUE(state == before || state == after) << "killed at step " << step << ":\n"
                                                           << state.join(u'\n').toStdString();
        }
        ADD_FAILURE() << "the work never ended";
        return 0;
    }
};

TEST_F(KilledTransactions, AnUpdateKilledAtAnyStepLeavesTheOldOrTheNewInstallation)
{
    const QString v1 = package("1.0", {{"include/a.h", "a1"}, {"include/gone.h", "g"}, {"src/x.c", "x1"}}, 1700000000);
    const QString v2 = package("2.0", {{"include/a.h", "a2"}, {"src/x.c", "x2"}, {"new/deep/n.c", "n"}}, 1800000000);
    install(root, v1);
    const QStringList before = snapshot(root);
    copyTree(root, pristine);
    install(root, v2);
    const QStringList after = snapshot(root);
    ASSERT_NE(before, after);
    const int kills = killAtEveryStep([&] { install(root, v2); }, before, after);
    EXPECT_GT(kills, 15);
}

TEST_F(KilledTransactions, ARemovalKilledAtAnyStepLeavesThePackageOrNothing)
{
    install(root, package("1.0", {{"include/a.h", "a"}, {"lib/deep/b.c", "b"}}, 1700000000));
    const QStringList before = snapshot(root);
    copyTree(root, pristine);
    remove(root);
    const QStringList after = snapshot(root);
    const int kills = killAtEveryStep([&] { remove(root); }, before, after);
    EXPECT_GT(kills, 5);
}

// The real program killed at moments spread over a whole installation of many files.
TEST_F(KilledTransactions, TessKilledDuringAnInstallLeavesNoMix)
{
    std::vector<Entry> files;
    for (int i = 0; i < 300; ++i)
        files.push_back({QStringLiteral("f/%1/file%2.h").arg(i % 30).arg(i).toUtf8(), QByteArray::number(i).repeated(20)});
    const QString v1 = package("1.0", files, 1700000000);
    for (Entry &entry : files)
        entry.data += "changed";
    const QString v2 = package("2.0", files, 1800000000);
    install(root, v1);
    const QStringList before = snapshot(root);
    copyTree(root, pristine);
    const QString tess = TestSupport::binPath(QStringLiteral("tess"));
    QElapsedTimer timer;
    timer.start();
    ASSERT_EQ(TestSupport::runProgram(tess, {"pkg", "install", v2, "--root", root}).exitCode, 0);
    const qint64 duration = timer.elapsed();
    const QStringList after = snapshot(root);
    for (int i = 0; i < 5; ++i) {
        copyTree(pristine, root);
        QProcess process;
        process.start(tess, {"pkg", "install", v2, "--root", root});
        ASSERT_TRUE(process.waitForStarted());
        QThread::msleep(unsigned(duration * i / 5));
        process.kill();
        process.waitForFinished();
        ASSERT_EQ(TestSupport::runProgram(tess, {"pkg", "status", "--root", root}).exitCode, 0);
        const QStringList state = snapshot(root);
        EXPECT_TRUE(state == before || state == after) << "killed after " << duration * i / 5 << " ms";
    }
}

} // namespace
