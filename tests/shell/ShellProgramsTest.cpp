// The shell as programs: tessmark's single-instance hand-over between two real processes, its
// screenshot under a virtual X server, and `tess shell` on good and bad files.
#include "shell/SettingsFile.h"
#include "shell/VarnelApplication.h"
#include "tests/shell/ShellTestSupport.h"
#include "tests/support/TestSupport.h"
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QLocalSocket>
#include <QProcess>
#include <QStandardPaths>
#include <QThread>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

using TestSupport::binPath;
using TestSupport::runProgram;

QProcessEnvironment offscreen()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    return environment;
}

bool waitFor(const std::function<bool()> &condition, int milliseconds = 30000)
{
    const QDeadlineTimer deadline(milliseconds);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QThread::msleep(50);
    }
    return true;
}

TEST(SingleInstance, ASecondTessmarkHandsItsFilesToTheFirstAndEnds)
{
    ShellTest::TemporaryHome home;
    QProcess first;
    first.setProcessEnvironment(offscreen());
    first.start(binPath(QStringLiteral("tessmark")), {});
    ASSERT_TRUE(first.waitForStarted(10000));
    const QString name = VarnelApplication::instanceName(home.userFolder());
    ASSERT_TRUE(waitFor([&] {
        QLocalSocket probe;
        probe.connectToServer(name);
        return probe.waitForConnected(200);
    })) << first.readAllStandardError().constData();

    // A peer that sends rubbish is dropped and the link goes on working.
    QLocalSocket rubbish;
    rubbish.connectToServer(name);
    ASSERT_TRUE(rubbish.waitForConnected(5000));
    rubbish.write(QByteArray(16, '\xff'));
    rubbish.waitForBytesWritten(5000);
    EXPECT_TRUE(waitFor([&] { return rubbish.state() == QLocalSocket::UnconnectedState || !rubbish.waitForReadyRead(100); }));

    // A copy: the window keeps a session beside the solution and recovery files for documents.
    ASSERT_EQ(runProgram(QStringLiteral("cp"), {QStringLiteral("-R"), QStringLiteral(TESS_SOURCE_DIR "/examples/solution"), home.path()}).exitCode, 0);
    ASSERT_TRUE(QFile::copy(QStringLiteral(TESS_SOURCE_DIR "/README.md"), home.path() + QStringLiteral("/README.md")));
    const QString solution = home.path() + QStringLiteral("/solution/Blinky.qvProject");
    QProcess second;
    second.setProcessEnvironment(offscreen());
    second.start(binPath(QStringLiteral("tessmark")), {solution, home.path() + QStringLiteral("/README.md")});
    ASSERT_TRUE(second.waitForFinished(30000));
    EXPECT_EQ(second.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(second.exitCode(), 0) << second.readAllStandardError().constData();

    // The first one opened the solution, which puts it in the saved recent list.
    const bool opened = waitFor([&] {
        SettingsFile settings;
        QString problem;
        return settings.load(home.userFolder() + QStringLiteral("/settings.xml"), &problem)
               && settings.list(QStringLiteral("Environment/Recent Solutions")) == QStringList{solution};
    });
    first.terminate();
    if (!first.waitForFinished(10000))
        first.kill();
    const QByteArray said = first.readAllStandardError();
    EXPECT_TRUE(opened) << said.constData();
    EXPECT_TRUE(said.contains("tessmark: handed over by another instance: " + solution.toUtf8())) << said.constData();
    // Files that are not solutions open as documents now.
    EXPECT_FALSE(said.contains("README.md is not opened")) << said.constData();
}

TEST(SingleInstance, AHandOverMessageReadsBackAndRubbishDoesNot)
{
    const QStringList paths = {QStringLiteral("/a/b.c"), QStringLiteral("/\xc3\xa9/d"), QString()};
    QStringList read;
    ASSERT_TRUE(VarnelApplication::decodeHandOver(VarnelApplication::encodeHandOver(paths), &read));
    EXPECT_EQ(read, paths);
    const QByteArray message = VarnelApplication::encodeHandOver(paths);
    for (qsizetype cut = 0; cut < message.size(); ++cut)
        EXPECT_FALSE(VarnelApplication::decodeHandOver(message.left(cut), &read)) << cut;
    EXPECT_FALSE(VarnelApplication::decodeHandOver(message + "x", &read));
    QByteArray wrongMagic = message;
    wrongMagic[0] = 'X';
    EXPECT_FALSE(VarnelApplication::decodeHandOver(wrongMagic, &read));
    QByteArray hugeCount = message;
    hugeCount[8] = '\x7f';   // the count's high byte
    EXPECT_FALSE(VarnelApplication::decodeHandOver(hugeCount, &read));
}

TEST(Tessmark, RefusesUnknownOptionsAndAnswersHelpAndVersion)
{
    const auto bad = runProgram(binPath(QStringLiteral("tessmark")), {QStringLiteral("--print"), QStringLiteral("menus"), QStringLiteral("--frob")});
    EXPECT_EQ(bad.exitCode, 2);
    EXPECT_TRUE(bad.err.startsWith("tessmark: unknown option '--frob'\nusage: tessmark [SOLUTION]")) << bad.err.constData();
    const auto help = runProgram(binPath(QStringLiteral("tessmark")), {QStringLiteral("--help")});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(help.out.startsWith("usage: tessmark [SOLUTION] [FILE...] [--new-instance] [--scheme NAME]\n"));
    const auto version = runProgram(binPath(QStringLiteral("tessmark")), {QStringLiteral("--version")});
    EXPECT_TRUE(version.out.startsWith("tessmark (Tessmark) "));
}

// The main window with a menu open, on a virtual X server; the picture stays in the build tree.
TEST(Screenshot, ShowsTheMainWindowWithAMenuOpen)
{
    const QString xvfb = QStandardPaths::findExecutable(QStringLiteral("xvfb-run"));
    if (xvfb.isEmpty())
        GTEST_SKIP() << "xvfb-run is not installed (scripts/install-deps.sh core installs it)";
    ShellTest::TemporaryHome home;
    const QString folder = QStringLiteral(TESS_BUILD_DIR "/tests/screenshots");
    QDir().mkpath(folder);
    const auto shoot = [&](const QString &file, const QStringList &more) {
        return runProgram(xvfb, QStringList{QStringLiteral("-a"), QStringLiteral("-s"), QStringLiteral("-screen 0 1280x800x24"),
                                            binPath(QStringLiteral("tessmark")), QStringLiteral("--new-instance"),
                                            QStringLiteral("--screenshot"), folder + u'/' + file} + more);
    };
    const auto open = shoot(QStringLiteral("main-window-menu.png"), {QStringLiteral("--open-menu"), QStringLiteral("EditMenu")});
    ASSERT_EQ(open.exitCode, 0) << open.err.constData();
    const auto closed = shoot(QStringLiteral("main-window.png"), {});
    ASSERT_EQ(closed.exitCode, 0) << closed.err.constData();
    const QImage withMenu(folder + QStringLiteral("/main-window-menu.png"));
    const QImage without(folder + QStringLiteral("/main-window.png"));
    ASSERT_FALSE(withMenu.isNull());
    ASSERT_EQ(withMenu.size(), without.size());
    EXPECT_GE(withMenu.width(), 800);
    EXPECT_GE(withMenu.height(), 500);
    // Under the Edit title the menu covers the tool bars and the project explorer, much of which
    // is as white as the menu; far to the right both pictures show the same properties dock.
    const auto differing = [&](const QRect &area) {
        int count = 0;
        for (int y = area.top(); y <= area.bottom(); ++y) {
            for (int x = area.left(); x <= area.right(); ++x)
                count += withMenu.pixel(x, y) != without.pixel(x, y);
        }
        return double(count) / double(area.width() * area.height());
    };
    EXPECT_GT(differing(QRect(60, 60, 200, 300)), 0.1);
    EXPECT_LT(differing(QRect(withMenu.width() - 200, 250, 150, 150)), 0.01);
}

struct CheckCase {
    const char *name;
    QByteArray file;
    int status;
    QByteArray err;   // what standard error must hold
};

class TessShellCheck : public ::testing::TestWithParam<CheckCase> {};

TEST_P(TessShellCheck, SaysWhatIsWrongAndNeverCrashes)
{
    ShellTest::TemporaryHome home;
    const QString path = home.path() + QStringLiteral("/checked.xml");
    // A case without content is a pipe that nobody writes to.
    if (GetParam().file.isEmpty())
        ASSERT_EQ(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    else
        TestSupport::writeFile(path, GetParam().file);
    const auto run = runProgram(binPath(QStringLiteral("tess")), {QStringLiteral("shell"), QStringLiteral("check"), path});
    EXPECT_EQ(run.exitCode, GetParam().status) << run.err.constData();
    EXPECT_TRUE(run.err.contains(GetParam().err)) << run.err.constData();
    EXPECT_TRUE(run.out.startsWith(path.toUtf8() + ": ")) << run.out.constData();
}

QByteArray manyItems(int count)
{
    QByteArray text = "<gui><toolbar name=\"Many\">";
    for (int i = 0; i < count; ++i)
        text += "<item name=\"FileSave\"/>";
    return text + "</toolbar></gui>";
}

QByteArray manyMenus(int count)
{
    QByteArray text = "<gui><menubar name=\"Bar\">";
    for (int i = 0; i < count; ++i)
        text += "<menu name=\"M" + QByteArray::number(i) + "\" caption=\"M\"><item name=\"FileSave\"/></menu>";
    return text + "</menubar></gui>";
}

INSTANTIATE_TEST_SUITE_P(Files, TessShellCheck, ::testing::Values(
    CheckCase{"cleanDescription", "<gui><toolbar name=\"T\"><item name=\"FileSave\"/></toolbar></gui>", 0, ""},
    CheckCase{"notXml", "just some words", 1, "checked.xml: no XML element in the file"},
    CheckCase{"truncated", "<gui><toolbar name=\"T\"><item name=\"FileS", 1, "checked.xml: no XML element in the file"},
    CheckCase{"unknownTag", "<gui><toolbar name=\"T\"><frob/></toolbar></gui>", 1,
              "error: GUIBuilder::iterateAndPopulate(): bad tag name <frob\n"},
    CheckCase{"unknownAction", "<gui><toolbar name=\"T\"><item name=\"NoSuch\"/></toolbar></gui>", 1,
              "error: GUIBuilder::iterateAndPopulate(): varnel action NoSuch isn't in the dictionary.\n"},
    CheckCase{"objectChildCycle", "<gui><toolbar name=\"T\"><strip name=\"S\"><item name=\"T.S\"/></strip></toolbar></gui>", 1,
              "warning: GUIBuilder::iterateAndPopulate(): S would contain itself; it is left out.\n"},
    CheckCase{"hundredThousandItems", manyItems(100000), 1,
              "warning: GUIBuilder::iterateAndPopulate(): Many holds 1000 entries; the rest is left out.\n"},
    // Regression: every menu beyond the limit was still made, and tearing down a hundred
    // thousand menus that were never shown took longer than anyone waits.
    CheckCase{"hundredThousandMenus", manyMenus(100000), 1,
              "warning: GUIBuilder::iterateAndPopulate(): Bar holds 1000 entries; the rest is left out.\n"},
    CheckCase{"pipe", {}, 1, "checked.xml: not a regular file"},
    CheckCase{"messageSchemeWithABadMenu",
              "<messagescheme name=\"S\"><definemenu name=\"MainMenuBar\"><menu name=\"M\" caption=\"M\"/></definemenu>"
              "<definemenu name=\"M\"><separator/><stretch/><item name=\"Unknown\"/></definemenu></messagescheme>",
              1, "warning: GUIBuilder::iterateAndPopulate(): bad widget for stretch\n"},
    CheckCase{"keySchemeWithABadSequence", "<keyscheme><item name=\"FileSave\" key=\"Ctrl+Whatever\"/></keyscheme>", 1,
              "unparsable key sequence 'Ctrl+Whatever' for FileSave is ignored"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(TessShell, PrintsTheMenusOfTheShippedSchemes)
{
    ShellTest::TemporaryHome home;
    const auto run = runProgram(binPath(QStringLiteral("tess")), {QStringLiteral("shell"), QStringLiteral("menus")});
    ASSERT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_TRUE(run.err.isEmpty()) << run.err.constData();
    EXPECT_TRUE(run.out.startsWith("MainMenuBar/FileMenu\t&File\t\tmenu\n"));
    EXPECT_TRUE(run.out.contains("\nMainMenuBar/FileMenu/FileExit\tE&xit\tCtrl+Q\tenabled\n"));
    EXPECT_TRUE(run.out.contains("\nMainMenuBar/EditMenu/EditUndo\t&Undo\tCtrl+Z\tdisabled\n"));
    EXPECT_TRUE(run.out.contains("\nBuildToolBar/DebugStart\t&Start Debugging\t\tdisabled\n"));
    const auto classic = runProgram(binPath(QStringLiteral("tess")), {QStringLiteral("shell"), QStringLiteral("menus"), QStringLiteral("--scheme"), QStringLiteral("Classic")});
    EXPECT_TRUE(classic.out.contains("\nMainMenuBar/FileMenu/FileExit\t&Quit\tAlt+X; Ctrl+Q\tenabled\n")) << classic.out.left(2000).constData();
    EXPECT_TRUE(classic.out.contains("\nMainMenuBar/FavoritesMenu\tF&avorites\t\tmenu\n"));
}

TEST(TessShell, PrintsTheKeysInForceAndTheirClashes)
{
    ShellTest::TemporaryHome home;
    const auto clean = runProgram(binPath(QStringLiteral("tess")), {QStringLiteral("shell"), QStringLiteral("keys")});
    ASSERT_EQ(clean.exitCode, 0) << clean.err.constData();
    EXPECT_TRUE(clean.out.contains("\nFileSave\tCtrl+S\tFile\tSave\n")) << clean.out.constData();
    EXPECT_FALSE(clean.out.contains("clash"));
    const QString keys = home.path() + QStringLiteral("/keys.xml");
    TestSupport::writeFile(keys, "<keyscheme><item name=\"FileSave\" key=\"Ctrl+Q\"/></keyscheme>");
    const auto clashing = runProgram(binPath(QStringLiteral("tess")), {QStringLiteral("shell"), QStringLiteral("keys"), QStringLiteral("--keys"), keys});
    EXPECT_TRUE(clashing.out.endsWith("clash\tCtrl+Q\tFileExit FileSave\n")) << clashing.out.constData();
}

} // namespace
