#include "projects/StandardProjectSystem.h"
#include "tests/projects/SolutionFixture.h"
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>

namespace {

using TestSupport::readFile;

struct FileText {
    const char *name;
    const char *text;
};

struct BrokenSolution {
    const char *name;
    std::vector<FileText> files;
    const char *load;      // the file handed to the loader
    const char *message;   // "<dir>" stands for the test directory
};

QByteArray wrapped(const char *solution)
{
    return SolutionFixture::file(solution);
}

class SolutionLoadFailure : public ::testing::TestWithParam<BrokenSolution> {};

TEST_P(SolutionLoadFailure, ReportsTheCulprit)
{
    const BrokenSolution &c = GetParam();
    SolutionFixture fixture;
    for (const FileText &file : c.files)
        fixture.write(QString::fromUtf8(file.name), file.text);
    const QString directory = QFileInfo(fixture.directory.path()).canonicalFilePath();
    const QString expected = QString::fromUtf8(c.message).replace(QStringLiteral("<dir>"), directory);
    const QString message = [&] {
        try {
            fixture.system.loadSolution(directory, QString::fromUtf8(c.load), false);
        } catch (const SolutionLoadError &error) {
            return error.message();
        }
        return QStringLiteral("loaded");
    }();
    EXPECT_EQ(message.toStdString(), expected.toStdString());
    EXPECT_EQ(fixture.system.solution(), nullptr) << "a failed load leaves no solution open";
}

std::string nestedFolders(int depth)
{
    std::string text = "<Tessbench_Project_File><solution Name=\"S\"><project Name=\"P\">";
    for (int i = 0; i < depth; ++i)
        text += "<folder Name=\"f\">";
    for (int i = 0; i < depth; ++i)
        text += "</folder>";
    return text + "</project></solution></Tessbench_Project_File>";
}

const std::string deepText = nestedFolders(250);

INSTANTIATE_TEST_SUITE_P(
    Cases, SolutionLoadFailure,
    ::testing::Values(
        BrokenSolution{"missingFile", {}, "nope.qvProject", "<dir>/nope.qvProject does not exist"},
        BrokenSolution{"directory", {}, ".", "<dir>/. cannot access"},
        BrokenSolution{"malformedXml",
                       {{"s.qvProject", "<Tessbench_Project_File><solution><project></solution>"}},
                       "s.qvProject", "<dir>/s.qvProject is a malformed solution file (bad XML)"},
        BrokenSolution{"wrongRoot", {{"s.qvProject", "<Board_Memory_Definition_File/>"}},
                       "s.qvProject", "<dir>/s.qvProject not a solution file"},
        BrokenSolution{"emptyFile", {{"s.qvProject", ""}}, "s.qvProject",
                       "<dir>/s.qvProject not a solution file"},
        BrokenSolution{"rootWithoutSolution",
                       {{"s.qvProject", "<Tessbench_Project_File><project Name=\"P\"/></Tessbench_Project_File>"}},
                       "s.qvProject", "<dir>/s.qvProject not a solution file"},
        BrokenSolution{"missingImport",
                       {{"s.qvProject", "<Tessbench_Project_File><solution>\n<import file_name=\"lib/$(Part).qvProject\" macros=\"Part=gpio\"/></solution></Tessbench_Project_File>"}},
                       "s.qvProject", "<dir>/lib/gpio.qvProject does not exist"},
        BrokenSolution{"importWithoutFileName",
                       {{"s.qvProject", "<Tessbench_Project_File><solution>\n\n<import/></solution></Tessbench_Project_File>"}},
                       "s.qvProject", "<dir>/s.qvProject:3: import without a file_name"},
        BrokenSolution{"importCycle",
                       {{"a.qvProject", "<Tessbench_Project_File><solution><import file_name=\"b.qvProject\"/></solution></Tessbench_Project_File>"},
                        {"b.qvProject", "<Tessbench_Project_File><project Name=\"B\"><import file_name=\"a.qvProject\"/></project></Tessbench_Project_File>"}},
                       "a.qvProject",
                       "<dir>/a.qvProject is imported by itself: <dir>/a.qvProject -> <dir>/b.qvProject -> <dir>/a.qvProject"},
        BrokenSolution{"importOfItself",
                       {{"a.qvProject", "<Tessbench_Project_File><solution><import file_name=\"a.qvProject\"/></solution></Tessbench_Project_File>"}},
                       "a.qvProject",
                       "<dir>/a.qvProject is imported by itself: <dir>/a.qvProject -> <dir>/a.qvProject"},
        BrokenSolution{"duplicateProject",
                       {{"s.qvProject", "<Tessbench_Project_File><solution>\n<project Name=\"P\"/>\n<project Name=\"P\"/></solution></Tessbench_Project_File>"}},
                       "s.qvProject", "<dir>/s.qvProject:3: duplicate project name 'P'"},
        BrokenSolution{"duplicateFile",
                       {{"s.qvProject", "<Tessbench_Project_File><solution><project Name=\"P\">\n<file file_name=\"a.c\"/><file file_name=\"a.c\"/></project></solution></Tessbench_Project_File>"}},
                       "s.qvProject", "<dir>/s.qvProject:2: duplicate file name 'a.c'"},
        BrokenSolution{"duplicateConfiguration",
                       {{"s.qvProject", "<Tessbench_Project_File><solution>\n<configuration Name=\"Debug\"/>\n<configuration Name=\"Debug\"/></solution></Tessbench_Project_File>"}},
                       "s.qvProject", "<dir>/s.qvProject:3: duplicate configuration 'Debug'"},
        BrokenSolution{"duplicateInImportedPart",
                       {{"s.qvProject", "<Tessbench_Project_File><solution><import file_name=\"p.qvProject\"/></solution></Tessbench_Project_File>"},
                        {"p.qvProject", "<Tessbench_Project_File>\n<project Name=\"P\"><folder Name=\"F\"/>\n<folder Name=\"F\"/></project></Tessbench_Project_File>"}},
                       "s.qvProject", "<dir>/p.qvProject:3: duplicate folder name 'F'"},
        BrokenSolution{"configurationWithoutName",
                       {{"s.qvProject", "<Tessbench_Project_File><solution><configuration/></solution></Tessbench_Project_File>"}},
                       "s.qvProject", "<dir>/s.qvProject:1: configuration without a Name"},
        BrokenSolution{"fileOutsideProject",
                       {{"s.qvProject", "<Tessbench_Project_File><solution>\n<file file_name=\"a.c\"/></solution></Tessbench_Project_File>"}},
                       "s.qvProject", "<dir>/s.qvProject:2: a file cannot stand inside a solution"},
        BrokenSolution{"projectInProject",
                       {{"s.qvProject", "<Tessbench_Project_File><solution><project Name=\"A\"><project Name=\"B\"/></project></solution></Tessbench_Project_File>"}},
                       "s.qvProject", "<dir>/s.qvProject:1: a project cannot stand inside a project"},
        BrokenSolution{"nestedTooDeeply", {{"s.qvProject", deepText.c_str()}}, "s.qvProject",
                       "<dir>/s.qvProject:1: elements nested too deeply"},
        BrokenSolution{"loadCommandFails",
                       {{"s.qvProject", "<Tessbench_Project_File><solution load_command=\"sh -c &quot;exit 3&quot; &amp;&amp; touch after\"/></Tessbench_Project_File>"}},
                       "s.qvProject", "solution load command failed (3) sh -c \"exit 3\""},
        BrokenSolution{"loadCommandMissing",
                       {{"s.qvProject", "<Tessbench_Project_File><solution load_command=\"true &amp;&amp; no-such-program-tess\"/></Tessbench_Project_File>"}},
                       "s.qvProject", "solution load command \"no-such-program-tess\" not found"},
        BrokenSolution{"templatesMissing",
                       {{"s.qvProject", "<Tessbench_Project_File><solution templates_file=\"$(SolutionDir)/t.xml\"/></Tessbench_Project_File>"}},
                       "s.qvProject", "<dir>/t.xml does not exist"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(SolutionLoad, LoadCommandsRunInOrderInTheSolutionDirectoryWithTheirEnvironment)
{
    SolutionFixture fixture;
    fixture.load("<solution load_command=\"sh -c &quot;echo $GREETING &gt; one&quot; &amp;&amp; "
                 "cp one two\" load_command_environment=\"GREETING=hello;OTHER=x\"/>");
    EXPECT_EQ(readFile(fixture.path("two")), QByteArray("hello\n"));
}

TEST(SolutionLoad, FailedLoadCommandStopsTheRest)
{
    SolutionFixture fixture;
    EXPECT_ANY_THROW(fixture.load(
        "<solution load_command=\"false &amp;&amp; touch after\"/>"));
    EXPECT_FALSE(QFile::exists(fixture.path("after")));
}

TEST(SolutionLoad, LoadCommandsCanBeTurnedOff)
{
    SolutionFixture fixture;
    fixture.system.setRunLoadCommands(false);
    EXPECT_NE(fixture.load("<solution load_command=\"touch ran\"/>"), nullptr);
    EXPECT_FALSE(QFile::exists(fixture.path("ran")));
}

class Replacement : public ProjectFileNotFoundErrorHandler, public TemplateNotFoundErrorHandler {
public:
    QString path;
    QStringList asked;
    QString fileNotFound(const QString &missing) override
    {
        asked.append(missing);
        return path;
    }
    bool templateNotFound(const QString &missing) override
    {
        asked.append(missing);
        return true;
    }
};

TEST(SolutionLoad, HandlersFindMissingFilesAndExcuseMissingTemplates)
{
    SolutionFixture fixture;
    fixture.write(QStringLiteral("elsewhere.qvProject"),
                  wrapped("<project Name=\"Lib\" project_type=\"Library\"/>"));
    fixture.write(QStringLiteral("s.qvProject"),
                  wrapped("<solution templates_file=\"none.xml\"><import file_name=\"lib.qvProject\"/></solution>"));
    Replacement handler;
    handler.path = fixture.path(QStringLiteral("elsewhere.qvProject"));
    ProjectElement *solution = fixture.system.loadSolution(fixture.directory.path(),
                                                           QStringLiteral("s.qvProject"), false,
                                                           {&handler, &handler});
    ASSERT_NE(solution, nullptr);
    EXPECT_NE(fixture.system.findElement(QStringLiteral("Lib")), nullptr);
    EXPECT_EQ(handler.asked.size(), 2);
    EXPECT_EQ(fixture.system.templates(), nullptr);
}

TEST(SolutionLoad, SamePathTwiceIsRefused)
{
    SolutionFixture fixture;
    fixture.load("<solution/>");
    EXPECT_EQ(fixture.loadError(QStringLiteral("s.qvProject")),
              fixture.path(QStringLiteral("s.qvProject")) + QStringLiteral(" solution already loaded"));
}

TEST(SolutionLoad, ImportMacrosReachTheImportedFile)
{
    SolutionFixture fixture;
    QDir(fixture.directory.path()).mkdir(QStringLiteral("parts"));
    fixture.write(QStringLiteral("parts/gpio.qvProject"),
                  wrapped("<ifdef name=\"Variant\"><project Name=\"Gpio\" template_name=\"lib\"/></ifdef>"
                          "<ifndef name=\"Variant\"><project Name=\"Wrong\"/></ifndef>"));
    fixture.load("<solution><import file_name=\"parts/$(Part).qvProject\" macros=\"Part=gpio;Variant=1\"/></solution>");
    const ProjectElement *project = fixture.system.findElement(QStringLiteral("Gpio"));
    ASSERT_NE(project, nullptr);
    EXPECT_EQ(project->importFileName(), QStringLiteral("parts/$(Part).qvProject"));
    EXPECT_EQ(fixture.system.findElement(QStringLiteral("Wrong")), nullptr);
    EXPECT_EQ(fixture.system.templateElements().value(QStringLiteral("lib")).size(), 1);
}

// Loading and saving a file we wrote gives the same bytes back; imports stay imports.
TEST(SolutionSave, ExampleSolutionRoundTripsByteForByte)
{
    SolutionFixture fixture;
    const QString example = QStringLiteral(TESS_SOURCE_DIR "/examples/solution/Blinky.qvProject");
    fixture.system.loadSolution(QString(), example, false);
    const QString out = fixture.path(QStringLiteral("out.qvProject"));
    fixture.system.saveSolution(out);
    EXPECT_EQ(readFile(out), readFile(example));
    EXPECT_TRUE(readFile(out).contains("<import file_name=\"bsp/BoardSupport.qvProject\" />"));
}

TEST(SolutionSave, OlderVersionIsBroughtToTwoAndTargetIsAdded)
{
    SolutionFixture fixture;
    fixture.load("<solution Name=\"S\" version=\"1\"><project Name=\"P\"/></solution>");
    EXPECT_EQ(fixture.system.solutionFileBytes(fixture.system.solution()),
              QByteArray("<!DOCTYPE Tessbench_Project_File>\n<Tessbench_Project_File>\n"
                         "  <solution Name=\"S\" version=\"2\" target=\"0\">\n"
                         "    <project Name=\"P\" />\n  </solution>\n</Tessbench_Project_File>\n"));
}

TEST(SolutionSave, DynamicFolderWritesOnlyItsConfigurations)
{
    SolutionFixture fixture;
    QDir(fixture.directory.path()).mkpath(QStringLiteral("src/sub"));
    for (const char *name : {"src/a.c", "src/b.h", "src/sub/c.c", "src/sub/skip.c"})
        fixture.write(QString::fromUtf8(name), "x");
    fixture.load("<solution Name=\"S\"><project Name=\"P\"><folder Name=\"Src\" path=\"src\" "
                 "filter=\"*.c\" exclude=\"skip*\" recurse=\"Yes\"><configuration Name=\"Debug\" "
                 "build_quietly=\"Yes\"/></folder></project></solution>");
    StandardProjectSystem &system = fixture.system;
    ASSERT_NE(system.findElement(QStringLiteral("P/Src/a.c")), nullptr);
    const ProjectElement *nested = system.findElement(QStringLiteral("P/Src/sub/c.c"));
    ASSERT_NE(nested, nullptr);
    EXPECT_EQ(nested->filePath().text(), fixture.path(QStringLiteral("src/sub/c.c")));
    EXPECT_EQ(system.findElement(QStringLiteral("P/Src/b.h")), nullptr);
    EXPECT_EQ(system.findElement(QStringLiteral("P/Src/sub/skip.c")), nullptr);
    EXPECT_EQ(system.resolveProperty(nested, system.propertyClass(ProjectProperty::BuildQuietly),
                                     QStringLiteral("Debug")),
              QStringLiteral("Yes"));
    const QByteArray saved = system.solutionFileBytes(system.solution());
    EXPECT_TRUE(saved.contains("<configuration Name=\"Debug\" build_quietly=\"Yes\" />"));
    EXPECT_FALSE(saved.contains("<file"));
}

class RecordingSaveHandler : public ProjectFileSaveErrorHandler {
public:
    QString message;
    bool saveFailed(const QString &, const QString &text) override
    {
        message = text;
        return true;
    }
};

TEST(SolutionSave, UnwritableTargetLeavesTheOldFileAndReports)
{
    SolutionFixture fixture;
    fixture.load("<solution Name=\"S\"/>");
    fixture.write(QStringLiteral("plain"), "not a directory");
    const QString target = fixture.path(QStringLiteral("plain/out.qvProject"));
    EXPECT_THROW(fixture.system.saveSolution(target), SolutionSaveError);
    RecordingSaveHandler handler;
    fixture.system.saveSolution(target, &handler);
    EXPECT_TRUE(handler.message.startsWith(QStringLiteral("couldn't write ") + target));
    EXPECT_EQ(readFile(fixture.path(QStringLiteral("plain"))), QByteArray("not a directory"));
    // A target that is a directory stays one.
    QDir(fixture.directory.path()).mkdir(QStringLiteral("taken"));
    EXPECT_THROW(fixture.system.saveSolution(fixture.path(QStringLiteral("taken"))),
                 SolutionSaveError);
    EXPECT_TRUE(QFileInfo(fixture.path(QStringLiteral("taken"))).isDir());
}

TEST(SolutionSave, SaveReplacesTheFileWhole)
{
    SolutionFixture fixture;
    fixture.load("<solution Name=\"S\"><project Name=\"P\"/></solution>");
    fixture.system.saveSolution();
    const QByteArray first = readFile(fixture.path(QStringLiteral("s.qvProject")));
    fixture.system.closeSolution();
    fixture.system.loadSolution(fixture.directory.path(), QStringLiteral("s.qvProject"), false);
    fixture.system.saveSolution();
    EXPECT_EQ(readFile(fixture.path(QStringLiteral("s.qvProject"))), first);
}

} // namespace

TEST(SolutionTree, EachNodeFindsItsProjectAndSolution)
{
    SolutionFixture fixture;
    fixture.write("s.qvProject",
                  SolutionFixture::file(
                      "<solution Name=\"top\" version=\"2\">"
                      "<project Name=\"app\"><folder Name=\"src\"><folder Name=\"deep\">"
                      "<file file_name=\"main.c\"/></folder></folder></project>"
                      "<project Name=\"lib\"><file file_name=\"lib.c\"/></project>"
                      "</solution>"));
    ASSERT_EQ(fixture.loadError(QStringLiteral("s.qvProject")).toStdString(), "loaded");
    const struct {
        const char *path;
        const char *project;   // null: none
    } cases[] = {
        {"", nullptr},
        {"app", "app"},
        {"app/src", "app"},
        {"app/src/deep/main.c", "app"},
        {"lib/lib.c", "lib"},
    };
    for (const auto &c : cases) {
        const ProjectElement *element = fixture.system.findElement(QString::fromUtf8(c.path));
        ASSERT_NE(element, nullptr) << c.path;
        const ProjectElement *project = element->project();
        EXPECT_EQ(project ? project->elementName().toStdString() : std::string("(none)"),
                  c.project ? c.project : "(none)")
            << c.path;
        ASSERT_NE(element->solution(), nullptr) << c.path;
        EXPECT_EQ(element->solution(), fixture.system.solution()) << c.path;
    }
}
