#pragma once
#include "tests/support/TestSupport.h"
#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QMap>
#include <QTemporaryDir>
#include <gtest/gtest.h>

// A working copy in a temporary folder, made and changed with the real git, and the programs
// the tests compare: `tess sc` against `git` itself.
class GitRepository {
public:
    GitRepository()
    {
        git({"init", "-q", "-b", "main"});
        git({"config", "user.name", "Test Author"});
        git({"config", "user.email", "author@example.invalid"});
        git({"config", "core.autocrlf", "false"});
    }

    QString path() const { return m_directory.path(); }
    QString file(const QString &relative) const { return m_directory.filePath(relative); }

    // Runs git in the working copy, or in a folder below it. A failure fails the test unless
    // the caller expects one.
    TestSupport::ProgramRun git(const QStringList &arguments, const QString &below = {},
                                bool mayFail = false) const
    {
        const QString directory = below.isEmpty() ? path() : file(below);
        const auto run = TestSupport::runProgram(QStringLiteral("git"), arguments, {}, directory);
        if (!mayFail) {
            EXPECT_EQ(run.exitCode, 0)
                << "git " << arguments.join(u' ').toStdString() << ": " << run.err.constData();
        }
        return run;
    }

    void write(const QString &relative, const QByteArray &bytes) const
    {
        QDir().mkpath(QFileInfo(file(relative)).path());
        TestSupport::writeFile(file(relative), bytes);
    }

    void commitAll(const QString &message = QStringLiteral("change")) const
    {
        git({"add", "-A"});
        git({"commit", "-q", "-m", message});
    }

    // Every file below .git with a digest of its bytes: what "nothing in .git rewritten" means.
    QMap<QString, QByteArray> gitFolderSnapshot() const
    {
        QMap<QString, QByteArray> snapshot;
        QDirIterator it(file(QStringLiteral(".git")), QDir::Files | QDir::Hidden,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString name = it.next();
            snapshot.insert(name, QCryptographicHash::hash(TestSupport::readFile(name),
                                                           QCryptographicHash::Sha1));
        }
        return snapshot;
    }

private:
    QTemporaryDir m_directory;
};

inline TestSupport::ProgramRun tess(const QStringList &arguments,
                                    const QString &workingDirectory = {})
{
    return TestSupport::runProgram(TestSupport::binPath(QStringLiteral("tess")), arguments, {},
                                   workingDirectory);
}

// The one application object the refresh's events and timers need, made on first use.
inline void ensureApplication()
{
    static int argc = 1;
    static char name[] = "sourcecontrol_tests";
    static char *argv[] = {name, nullptr};
    static QCoreApplication application(argc, argv);
}
