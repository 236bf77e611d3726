// The host front end bin/cc, run for real with a gcc on its PATH that writes down the line it
// was given instead of compiling.
#include "tests/support/TestSupport.h"
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

// Runs with nothing else on its PATH: shell built-ins only.
constexpr const char *recordingDriver = "#!/bin/sh\n"
                                        "printf '%s\\n' \"${0##*/}\" \"$@\" > \"${0%/*}/line.txt\"\n";

struct FrontEndCase {
    const char *name;
    QStringList arguments;   // "-inputfiles list.ind" reads `listFile`
    QByteArray listFile;
    const char *expected;    // the driver's line, blank-separated
};

void PrintTo(const FrontEndCase &row, std::ostream *stream)
{
    *stream << row.name;
}

class FrontEndLine : public ::testing::TestWithParam<FrontEndCase> {};

TEST_P(FrontEndLine, HandsTheDriverThisLine)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    for (const char *driver : {"gcc", "g++"}) {
        const QString path = dir.filePath(QLatin1String(driver));
        TestSupport::writeFile(path, recordingDriver);
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    TestSupport::writeFile(dir.filePath(QStringLiteral("list.ind")), GetParam().listFile);
    QProcess frontEnd;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("PATH"), dir.path());
    frontEnd.setProcessEnvironment(environment);
    frontEnd.setWorkingDirectory(dir.path());
    frontEnd.start(TestSupport::binPath(QStringLiteral("cc")), GetParam().arguments);
    ASSERT_TRUE(frontEnd.waitForFinished(30000));
    ASSERT_EQ(frontEnd.exitCode(), 0) << frontEnd.readAllStandardError().toStdString();
    const QByteArray line = TestSupport::readFile(dir.filePath(QStringLiteral("line.txt")));
    EXPECT_EQ(QString::fromUtf8(line).split(u'\n', Qt::SkipEmptyParts).join(u' ').toStdString(),
              GetParam().expected);
}

const QStringList linkHead{"-v", "-inputfiles", "list.ind", "-printf=i", "-scanf=i"};

INSTANTIATE_TEST_SUITE_P(
    Links, FrontEndLine,
    ::testing::Values(
        FrontEndCase{"linkerLibrariesAfterTheObjects",
                     linkHead + QStringList{"-Wl,-lm", "-Wl,-lpthread", "-o", "app"}, "a.o\nb.o\n",
                     "gcc a.o b.o -Wl,-lm -Wl,-lpthread -o app"},
        FrontEndCase{"archivesThenLibrariesInTheOrderGiven",
                     linkHead + QStringList{"-Wl,-L/opt/x/lib", "-Wl,-lfoo", "-Wl,-lbar", "-o", "app"},
                     "a.o\nlibdep.a\n/usr/lib/libz.so\nb.o\n",
                     "gcc -Wl,-L/opt/x/lib a.o b.o libdep.a /usr/lib/libz.so -Wl,-lfoo -Wl,-lbar "
                     "-o app"},
        FrontEndCase{"switchesTravelWithTheirLibraries",
                     linkHead + QStringList{"-Wl,-Bstatic", "-Wl,-lfoo", "-Wl,-Bdynamic",
                                            "-Wl,--as-needed,-lbar", "-Wl,--gc-sections", "-o", "app"},
                     "a.o\n",
                     "gcc -Wl,--gc-sections a.o -Wl,-Bstatic -Wl,-lfoo -Wl,-Bdynamic "
                     "-Wl,--as-needed,-lbar -o app"},
        FrontEndCase{"groupAroundArchives",
                     linkHead + QStringList{"-Wl,--start-group", "-Wl,-lx", "-Wl,-ly",
                                            "-Wl,--end-group", "-o", "app"},
                     "a.o\n", "gcc a.o -Wl,--start-group -Wl,-lx -Wl,-ly -Wl,--end-group -o app"},
        FrontEndCase{"libraryNameInTheNextOption",
                     linkHead + QStringList{"-Wl,-l", "-Wl,m", "-Wl,--library", "-Wl,dl", "-o", "app"},
                     "a.o\n", "gcc a.o -Wl,-l -Wl,m -Wl,--library -Wl,dl -o app"},
        FrontEndCase{"searchPathsAndOtherOptionsStayInFront",
                     linkHead + QStringList{"-Wl,--library-path=/opt/lib", "-Wl,-Map=x.map",
                                            "-Wl,--library=ssl", "-o", "app"},
                     "a.o\n",
                     "gcc -Wl,--library-path=/opt/lib -Wl,-Map=x.map a.o -Wl,--library=ssl -o app"},
        FrontEndCase{"versionedSharedObjectsAreLibraries",
                     linkHead + QStringList{"-o", "app"},
                     "libfoo.so.1.2\nweird.so.o\nlib.so/a.o\nlist.a.o\n",
                     "gcc weird.so.o lib.so/a.o list.a.o libfoo.so.1.2 -o app"},
        FrontEndCase{"librariesNamedInTheListFile", linkHead + QStringList{"-o", "app"},
                     "-lm\na.o\n", "gcc a.o -lm -o app"},
        FrontEndCase{"directLibraryOptions",
                     QStringList{"-L/opt/lib", "-lfoo", "-l", "bar", "a.o", "-o", "app"}, "",
                     "gcc -L/opt/lib a.o -lfoo -lbar -o app"},
        FrontEndCase{"noStandardLibrariesMarkIsNotALibrary",
                     linkHead + QStringList{"-l-", "-o", "app"}, "a.o\n", "gcc a.o -o app"},
        FrontEndCase{"cppLinkKeepsTheOrder",
                     linkHead + QStringList{"-exceptions", "-Wl,-lstdc++fs", "-o", "app"}, "a.o\n",
                     "g++ a.o -Wl,-lstdc++fs -o app"},
        FrontEndCase{"compileIsUnchanged",
                     QStringList{"-v", "-c", "-xc", "s.c", "-Isrc", "-o", "s.o"}, "",
                     "gcc -c -x c -Isrc s.c -o s.o"}),
    [](const auto &info) { return std::string(info.param.name); });

} // namespace
