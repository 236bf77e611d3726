// `tess pkg` on archives: black-box runs of the program on real files.
#include "tests/packages/ArchiveBytes.h"
#include "tests/support/TestSupport.h"
#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <utime.h>

using ArchiveBytes::Entry;
using TestSupport::ProgramRun;

namespace {

ProgramRun tess(const QStringList &arguments)
{
    return TestSupport::runProgram(TestSupport::binPath(QStringLiteral("tess")), arguments);
}

// Runs a shell line (for limits such as ulimit -f) with $TESS set to the program.
ProgramRun shell(const QString &line)
{
    return TestSupport::runProgram(QStringLiteral("/bin/sh"),
                                   {QStringLiteral("-c"), QStringLiteral("TESS='%1'; %2").arg(TestSupport::binPath(QStringLiteral("tess")), line)});
}

struct PkgFixture : ::testing::Test {
    QTemporaryDir dir;
    QString path(const QString &name) const { return dir.filePath(name); }

    void makeFile(const QString &name, const QByteArray &bytes, qint64 time, QFile::Permissions permissions = {})
    {
        const QString file = path(name);
        QDir().mkpath(QFileInfo(file).path());
        TestSupport::writeFile(file, bytes);
        if (permissions)
            QFile::setPermissions(file, permissions);
        const utimbuf times{time_t(time), time_t(time)};
        ::utime(QFile::encodeName(file).constData(), &times);
    }

    // Relative path, size, mode and time of every file below `folder`, and its bytes' digest.
    QStringList tree(const QString &folder) const
    {
        QStringList lines;
        QDirIterator it(folder, QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString file = it.next();
            struct stat status = {};
            ::stat(QFile::encodeName(file).constData(), &status);
            lines.append(QStringLiteral("%1 %2 %3 %4 %5")
                             .arg(QDir(folder).relativeFilePath(file))
                             .arg(status.st_size)
                             .arg(status.st_mode & 0777, 0, 8)
                             .arg(qint64(status.st_mtim.tv_sec))
                             .arg(QString::fromLatin1(QCryptographicHash::hash(TestSupport::readFile(file), QCryptographicHash::Md5).toHex())));
        }
        lines.sort();
        return lines;
    }

    void makeSourceTree()
    {
        makeFile(QStringLiteral("src/include/acme.h"), "#define ACME 1\n", 1600000000, QFile::ReadOwner | QFile::ReadGroup);
        makeFile(QStringLiteral("src/.hidden"), "secret\n", 1600000100);
        makeFile(QStringLiteral("src/empty.txt"), "", 1600000200);
        makeFile(QStringLiteral("src/tools/run.sh"), "#!/bin/sh\necho hi\n", 1600000300,
                 QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup | QFile::ExeGroup);
        QByteArray image;
        for (quint32 i = 0; i < 300000; ++i)
            image.append(char((i * 7919u) >> (i % 5)));
        makeFile(QStringLiteral("src/firmware/image.bin"), image, 1600000400);
    }
};

struct ModeCase {
    const char *name;
    const char *option;
    const char *compression;
};

class PkgRoundTrip : public PkgFixture, public ::testing::WithParamInterface<ModeCase> {};

TEST_P(PkgRoundTrip, ExtractGivesBackTheTreeWithTimesAndModes)
{
    makeSourceTree();
    const QString archive = path(QStringLiteral("a.qvPackage"));
    const ProgramRun create = tess({"pkg", "create", archive, path(QStringLiteral("src")), GetParam().option});
    ASSERT_EQ(create.exitCode, 0) << create.err.constData();
    const ProgramRun list = tess({"pkg", "list", archive});
    EXPECT_EQ(list.out.toStdString(), "0644 7 2020-09-13 12:28:20 .hidden\n"
                        "0644 0 2020-09-13 12:30:00 empty.txt\n"
                        "0644 300000 2020-09-13 12:33:20 firmware/image.bin\n"
                        "0440 15 2020-09-13 12:26:40 include/acme.h\n"
                        "0750 18 2020-09-13 12:31:40 tools/run.sh\n");
    const ProgramRun longList = tess({"pkg", "list", archive, "--long"});
    EXPECT_TRUE(longList.out.startsWith(QByteArray("format 2 compression ") + GetParam().compression + " files 5\n"))
        << longList.out.constData();
    const ProgramRun extract = tess({"pkg", "extract", archive, path(QStringLiteral("out"))});
    ASSERT_EQ(extract.exitCode, 0) << extract.err.constData();
    EXPECT_EQ(tree(path(QStringLiteral("out"))), tree(path(QStringLiteral("src"))));
    const ProgramRun verify = tess({"pkg", "verify", archive});
    EXPECT_EQ(verify.exitCode, 0);
    EXPECT_TRUE(verify.out.endsWith(QByteArray(", 5 files, 300040 bytes: ok\n"))) << verify.out.constData();
}

INSTANTIATE_TEST_SUITE_P(Modes, PkgRoundTrip,
                         ::testing::Values(ModeCase{"deflate", "--deflate", "zlib"}, ModeCase{"bzip2", "--bzip2", "bzip2"},
                                           ModeCase{"store", "--store", "zlib"}),
                         [](const auto &info) { return std::string(info.param.name); });

TEST_F(PkgFixture, CreateNamesFilesByBaseNameLaterSourcesReplaceAndNamesAreSortedByBytes)
{
    makeFile(QStringLiteral("one/b.txt"), "first", 1600000000);
    makeFile(QStringLiteral("one/Z.txt"), "upper", 1600000000);
    makeFile(QStringLiteral("two/b.txt"), "second", 1600000000);
    makeFile(QStringLiteral("solo.c"), "int x;", 1600000000);
    const QString archive = path(QStringLiteral("a.qvArchive"));
    ASSERT_EQ(tess({"pkg", "create", archive, path(QStringLiteral("one")), path(QStringLiteral("solo.c")),
                    path(QStringLiteral("two/b.txt"))}).exitCode, 0);
    const QByteArray names = tess({"pkg", "list", archive}).out;
    QStringList found;
    for (const QByteArray &line : names.split('\n')) {
        if (!line.isEmpty())
            found.append(QString::fromUtf8(line.mid(line.lastIndexOf(' ') + 1)));
    }
    EXPECT_EQ(found, (QStringList{"Z.txt", "b.txt", "solo.c"}));
    ASSERT_EQ(tess({"pkg", "extract", archive, path(QStringLiteral("out")), "b.txt"}).exitCode, 0);
    EXPECT_EQ(TestSupport::readFile(path(QStringLiteral("out/b.txt"))), "second");
    EXPECT_FALSE(QFileInfo::exists(path(QStringLiteral("out/Z.txt"))));
}

TEST_F(PkgFixture, FindLooksUpNamesAndPatternsAndFailsForMissingOnes)
{
    TestSupport::writeFile(path(QStringLiteral("a")), ArchiveBytes::format2Archive({{"x/y.h", "1"}, {"board_package.xml", "<package/>"}}));
    const ProgramRun found = tess({"pkg", "find", path(QStringLiteral("a")), "x/y.h", "*_package.xml"});
    EXPECT_EQ(found.exitCode, 0);
    EXPECT_EQ(found.out.toStdString(), "0644 1 2023-11-14 22:13:20 x/y.h\n0644 10 2023-11-14 22:13:20 board_package.xml\n");
    const ProgramRun missing = tess({"pkg", "find", path(QStringLiteral("a")), "X/Y.H"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(missing.err, "tess pkg find: no file matching X/Y.H in archive\n");
}

TEST_F(PkgFixture, ExtractRefusesExistingFilesBeforeWritingAnyAndOverwritesOnRequest)
{
    TestSupport::writeFile(path(QStringLiteral("a")), ArchiveBytes::format2Archive({{"new.txt", "new"}, {"old.txt", "replacement"}}));
    makeFile(QStringLiteral("out/old.txt"), "mine", 1600000000);
    const ProgramRun refused = tess({"pkg", "extract", path(QStringLiteral("a")), path(QStringLiteral("out"))});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_EQ(refused.err, "tess pkg extract: cannot overwrite file " + path(QStringLiteral("out/old.txt")).toUtf8() + "\n");
    EXPECT_EQ(QDir(path(QStringLiteral("out"))).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), QStringList{"old.txt"});
    EXPECT_EQ(tess({"pkg", "extract", path(QStringLiteral("a")), path(QStringLiteral("out")), "--overwrite"}).exitCode, 0);
    EXPECT_EQ(TestSupport::readFile(path(QStringLiteral("out/old.txt"))), "replacement");
    const ProgramRun nothing = tess({"pkg", "extract", path(QStringLiteral("a")), path(QStringLiteral("out2")), "*.c"});
    EXPECT_EQ(nothing.err, "tess pkg extract: no file matching *.c in archive\n");
}

TEST_F(PkgFixture, ArchivesInsideOtherFilesOpenAtTheirOffset)
{
    const QByteArray stub(12345, 'S');
    TestSupport::writeFile(path(QStringLiteral("setup.bin")), stub + ArchiveBytes::format2Archive({{"inside.txt", "found"}}, 1));
    const ProgramRun list = tess({"pkg", "list", path(QStringLiteral("setup.bin")), "--offset", "12345", "--long"});
    EXPECT_EQ(list.out.toStdString(), "format 2 compression bzip2 files 1\n0644 5 2023-11-14 22:13:20 48 inside.txt\n");
    EXPECT_EQ(tess({"pkg", "extract", path(QStringLiteral("setup.bin")), path(QStringLiteral("out")), "--offset=12345"}).exitCode, 0);
    EXPECT_EQ(TestSupport::readFile(path(QStringLiteral("out/inside.txt"))), "found");
    const ProgramRun wrong = tess({"pkg", "list", path(QStringLiteral("setup.bin"))});
    EXPECT_EQ(wrong.exitCode, 1);
    EXPECT_EQ(wrong.err, "tess pkg list: unsupported package file format\n");
}

TEST_F(PkgFixture, VerifyReportsTheMd5Texts)
{
    const QByteArray bytes = ArchiveBytes::format2Archive({{"a.txt", "content"}});
    TestSupport::writeFile(path(QStringLiteral("a.qvPackage")), bytes);
    const QByteArray md5 = QCryptographicHash::hash(bytes, QCryptographicHash::Md5).toHex();
    const ProgramRun right = tess({"pkg", "verify", path(QStringLiteral("a.qvPackage")), "--md5", md5});
    EXPECT_EQ(right.exitCode, 0);
    EXPECT_TRUE(right.out.startsWith("Verified correct MD5 sum for a.qvPackage (" + md5 + ")\n")) << right.out.constData();
    const QByteArray zeros(32, '0');
    const ProgramRun wrong = tess({"pkg", "verify", path(QStringLiteral("a.qvPackage")), "--md5", zeros});
    EXPECT_EQ(wrong.exitCode, 1);
    EXPECT_EQ(wrong.out, "Incorrect MD5 sum for a.qvPackage (expected " + zeros + " got " + md5 + ")\n");
    EXPECT_EQ(wrong.err, "tess pkg verify: MD5 verification failed\n");
    TestSupport::writeFile(path(QStringLiteral("b.qvPackage")), bytes.chopped(2));
    const ProgramRun cut = tess({"pkg", "verify", path(QStringLiteral("b.qvPackage"))});
    EXPECT_EQ(cut.exitCode, 1);
    EXPECT_EQ(cut.err, "tess pkg verify: error reading from compressed stream\n");
}

TEST_F(PkgFixture, LinksAreNeverWrittenThrough)
{
    QDir().mkpath(path(QStringLiteral("elsewhere")));
    QDir().mkpath(path(QStringLiteral("out")));
    QFile::link(path(QStringLiteral("elsewhere")), path(QStringLiteral("out/inc")));
    TestSupport::writeFile(path(QStringLiteral("a")), ArchiveBytes::format2Archive({{"inc/a.h", "evil"}}));
    const ProgramRun folder = tess({"pkg", "extract", path(QStringLiteral("a")), path(QStringLiteral("out")), "--overwrite"});
    EXPECT_EQ(folder.exitCode, 1);
    EXPECT_EQ(folder.err, "tess pkg extract: cannot write through link " + path(QStringLiteral("out/inc")).toUtf8() + "\n");
    EXPECT_TRUE(QDir(path(QStringLiteral("elsewhere"))).isEmpty());

    TestSupport::writeFile(path(QStringLiteral("victim")), "keep me");
    QFile::link(path(QStringLiteral("victim")), path(QStringLiteral("out/file.txt")));
    TestSupport::writeFile(path(QStringLiteral("b")), ArchiveBytes::format2Archive({{"file.txt", "from archive"}}));
    EXPECT_EQ(tess({"pkg", "extract", path(QStringLiteral("b")), path(QStringLiteral("out")), "--overwrite"}).exitCode, 0);
    EXPECT_FALSE(QFileInfo(path(QStringLiteral("out/file.txt"))).isSymLink());
    EXPECT_EQ(TestSupport::readFile(path(QStringLiteral("out/file.txt"))), "from archive");
    EXPECT_EQ(TestSupport::readFile(path(QStringLiteral("victim"))), "keep me");
}

// A file size limit makes writes fail as on a full disk: nothing partial is left, and an
// archive being replaced stays as it was.
TEST_F(PkgFixture, AFullDiskLeavesNoPartialFile)
{
    makeSourceTree();
    const QString archive = path(QStringLiteral("a.qvPackage"));
    ASSERT_EQ(tess({"pkg", "create", archive, path(QStringLiteral("src")), "--store"}).exitCode, 0);
    const QByteArray before = TestSupport::readFile(archive);
    const ProgramRun extract = shell(QStringLiteral("trap '' XFSZ; ulimit -f 100; exec \"$TESS\" pkg extract '%1' '%2'")
                                         .arg(archive, path(QStringLiteral("out"))));
    EXPECT_EQ(extract.exitCode, 1);
    EXPECT_TRUE(extract.err.startsWith("tess pkg extract: cannot write to output file " + path(QStringLiteral("out/firmware/image.bin")).toUtf8()))
        << extract.err.constData();
    EXPECT_TRUE(QDir(path(QStringLiteral("out"))).isEmpty());
    makeFile(QStringLiteral("src/firmware/more.bin"), QByteArray(400000, 'm'), 1600000000);
    const ProgramRun create = shell(QStringLiteral("trap '' XFSZ; ulimit -f 100; exec \"$TESS\" pkg create '%1' '%2' --store")
                                        .arg(archive, path(QStringLiteral("src"))));
    EXPECT_EQ(create.exitCode, 1);
    EXPECT_EQ(create.err, "tess pkg create: error writing to compressed stream\n");
    EXPECT_EQ(TestSupport::readFile(archive), before);
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden), QStringList{"a.qvPackage"});
}

TEST_F(PkgFixture, UsageErrorsExitTwo)
{
    EXPECT_EQ(tess({"pkg", "create", path(QStringLiteral("a"))}).exitCode, 2);
    EXPECT_EQ(tess({"pkg", "create", "a", "b", "--bzip2", "--store"}).exitCode, 2);
    EXPECT_EQ(tess({"pkg", "create", "a", "b", "--level", "10"}).exitCode, 2);
    EXPECT_EQ(tess({"pkg", "list"}).exitCode, 2);
    EXPECT_EQ(tess({"pkg", "list", "a", "--offset", "-1"}).exitCode, 2);
    EXPECT_EQ(tess({"pkg", "install", "a", "--keep-newer", "--overwrite-newer"}).exitCode, 2);
    EXPECT_EQ(tess({"pkg", "install", "a", "b", "--md5", "0"}).exitCode, 2);
    EXPECT_EQ(tess({"pkg", "status", "extra"}).exitCode, 2);
    const ProgramRun missing = tess({"pkg", "list", path(QStringLiteral("nothing"))});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(missing.err, "tess pkg list: " + path(QStringLiteral("nothing")).toUtf8() + " does not exist\n");
}

} // namespace
