#include "tests/support/TestSupport.h"
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

using TestSupport::binPath;
using TestSupport::readFile;
using TestSupport::runProgram;
using TestSupport::writeFile;

const QString exampleTemplates =
    QStringLiteral(TESS_SOURCE_DIR "/examples/memmap/templates/project_templates.xml");

TestSupport::ProgramRun tess(const QStringList &arguments, const QString &directory)
{
    return runProgram(binPath(QStringLiteral("tess")), arguments, {}, directory);
}

// Every file under `directory`, relative to it, sorted.
QStringList filesUnder(const QString &directory)
{
    QStringList files;
    QDirIterator it(directory, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext())
        files.append(QDir(directory).relativeFilePath(it.next()));
    files.sort();
    return files;
}

// A project made from each example template builds with the build engine, from a solution that
// did not exist before; the sources come out of the template and the header from the map.
struct NewCase {
    const char *name;
    const char *templateName;
    QStringList choices;     // --choice values
    QStringList toOpen;      // what `new` prints, relative to the solution's directory
    QStringList files;       // what is on disk after the build, at least; empty: no build
    QByteArray inSolution;   // a text the saved solution holds
};

class TemplateNew : public ::testing::TestWithParam<NewCase> {};

TEST_P(TemplateNew, MakesAProjectThatBuilds)
{
    const NewCase &c = GetParam();
    QTemporaryDir directory;
    QStringList arguments = {QStringLiteral("template"), QStringLiteral("new"),
                             QStringLiteral("Demo.qvProject"), QString::fromLatin1(c.templateName),
                             QStringLiteral("p"), QStringLiteral("--templates"), exampleTemplates};
    for (const QString &choice : c.choices)
        arguments << QStringLiteral("--choice") << choice;
    const TestSupport::ProgramRun made = tess(arguments, directory.path());
    ASSERT_EQ(made.exitCode, 0) << made.err.toStdString();
    QStringList toOpen;
    for (const QString &path : c.toOpen)
        toOpen.append(directory.path() + u'/' + path);
    EXPECT_EQ(QString::fromUtf8(made.out).split(u'\n', Qt::SkipEmptyParts), toOpen);
    EXPECT_TRUE(readFile(directory.filePath(QStringLiteral("Demo.qvProject"))).contains(c.inSolution));
    if (c.files.isEmpty()) {
        EXPECT_EQ(filesUnder(directory.path()), QStringList{"Demo.qvProject"});
        return;
    }

    const TestSupport::ProgramRun built =
        tess({QStringLiteral("build"), QStringLiteral("Demo.qvProject"), QStringLiteral("-j"),
              QStringLiteral("2")},
             directory.path());
    ASSERT_EQ(built.exitCode, 0) << built.out.toStdString() << built.err.toStdString();
    const QStringList files = filesUnder(directory.path());
    for (const QString &file : c.files)
        EXPECT_TRUE(files.contains(file)) << file.toStdString() << " not in\n"
                                          << files.join(u'\n').toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    Cases, TemplateNew,
    ::testing::Values(
        NewCase{"bareMetalWithSource",
                "BareMetalExecutable",
                {"clock=PLL"},
                {"p/main.c"},
                {"p/main.c", "p/startup.c", "p/nx32g4_regs.h", "p/Output/Debug/Exe/p.elf"},
                "c_preprocessor_definitions=\"CLOCK_PLL\""},
        NewCase{"staticLibraryByTitle",
                "Static library",
                {"optimisation=speed", "build_treat_warnings_as_errors=Yes"},
                {"p/p.c", "p/p.h"},
                {"p/p.c", "p/p.h", "p/Output/Debug/Exe/p.a"},
                "c_additional_options=\"-O2\""},
        NewCase{"staticLibraryWithoutSource",
                "StaticLibrary",
                {"with_source=No"},
                {},
                {},
                "with_source=\"No\""}),
    [](const auto &info) { return std::string(info.param.name); });

// Templates and command lines that must be refused, leaving the solution and the disk as they
// were.
struct RefusedCase {
    const char *name;
    QByteArray templates;    // written to t.xml; empty: the example templates
    QStringList arguments;   // after "template new Demo.qvProject"; "<t>" for the templates file
    int exitCode;
    const char *err;         // a text standard error holds
};

class TemplateRefused : public ::testing::TestWithParam<RefusedCase> {};

const QByteArray solution = "<!DOCTYPE Tessbench_Project_File>\n<Tessbench_Project_File>\n"
                            "  <solution Name=\"Demo\" version=\"2\">\n"
                            "    <project Name=\"old\" />\n  </solution>\n"
                            "</Tessbench_Project_File>\n";

TEST_P(TemplateRefused, LeavesEverythingAsItWas)
{
    const RefusedCase &c = GetParam();
    QTemporaryDir directory;
    const QString root = directory.filePath(QStringLiteral("work"));
    QDir().mkpath(root + QStringLiteral("/taken"));
    writeFile(root + QStringLiteral("/Demo.qvProject"), solution);
    writeFile(root + QStringLiteral("/src.c"), "int x;\n");
    QString templates = exampleTemplates;
    if (!c.templates.isEmpty()) {
        templates = directory.filePath(QStringLiteral("t.xml"));
        writeFile(templates, c.templates);
    }
    const QStringList before = filesUnder(directory.path());
    QStringList arguments = {QStringLiteral("template"), QStringLiteral("new"),
                             QStringLiteral("Demo.qvProject")};
    for (const QString &argument : c.arguments)
        arguments.append(argument == QLatin1String("<t>") ? templates : argument);
    const TestSupport::ProgramRun run = tess(arguments, root);
    EXPECT_EQ(run.exitCode, c.exitCode) << run.err.toStdString();
    EXPECT_TRUE(run.err.contains(c.err)) << run.err.toStdString();
    EXPECT_EQ(readFile(root + QStringLiteral("/Demo.qvProject")), solution);
    EXPECT_EQ(filesUnder(directory.path()), before);
    EXPECT_EQ(QDir(root).entryList(QDir::Dirs | QDir::NoDotAndDotDot), QStringList{"taken"});
}

QByteArray templateWith(const QByteArray &body)
{
    return "<Project_Templates><project name=\"T\">" + body + "</project></Project_Templates>";
}

INSTANTIATE_TEST_SUITE_P(
    Cases, TemplateRefused,
    ::testing::Values(
        RefusedCase{"parentInFileName",
                    templateWith("<file name=\"../escaped.c\" source=\"src.c\"/>"),
                    {"T", "p", "--templates", "<t>"}, 1,
                    "file name '../escaped.c' leaves the project directory"},
        RefusedCase{"parentAfterAFolder",
                    templateWith("<file name=\"sub/../../../escaped.c\"/>"),
                    {"T", "p", "--templates", "<t>"}, 1, "leaves the project directory"},
        RefusedCase{"absoluteFileName", templateWith("<file name=\"/tmp/escaped.c\"/>"),
                    {"T", "p", "--templates", "<t>"}, 1,
                    "file name '/tmp/escaped.c' leaves the project directory"},
        RefusedCase{"missingSource", templateWith("<file name=\"a.c\" source=\"nothing.c\"/>"),
                    {"T", "p", "--templates", "<t>"}, 1, "no such template source file"},
        RefusedCase{"sameFileTwice",
                    templateWith("<file name=\"a.c\" source=\"../work/src.c\"/>"
                                 "<file name=\"./a.c\" source=\"../work/src.c\"/>"),
                    {"T", "p", "--templates", "<t>"}, 1, "duplicate file name 'a.c'"},
        RefusedCase{"existingDirectory", {}, {"StaticLibrary", "taken", "--templates", "<t>"}, 1,
                    "exists (--force writes into it)"},
        RefusedCase{"projectNameTaken", {}, {"StaticLibrary", "old", "--templates", "<t>"}, 1,
                    "the solution already has a project named 'old'"},
        RefusedCase{"projectNameWithSlash", {}, {"StaticLibrary", "a/b", "--templates", "<t>"},
                    1, "'a/b' cannot name a project"},
        RefusedCase{"unknownChoice", {},
                    {"StaticLibrary", "p", "--templates", "<t>", "--choice", "colour=red"}, 2,
                    "unknown choice 'colour'; the choices are: with_source, "
                    "build_treat_warnings_as_errors, optimisation"},
        RefusedCase{"unknownValue", {},
                    {"StaticLibrary", "p", "--templates", "<t>", "--choice", "optimisation=fast"},
                    2, "'fast' is not a value of choice 'optimisation'; give one of: size, speed"},
        RefusedCase{"choiceWithoutValue", {},
                    {"StaticLibrary", "p", "--templates", "<t>", "--choice", "optimisation"}, 2,
                    "--choice wants NAME=VALUE"},
        RefusedCase{"unknownTemplate", {}, {"Nothing", "p", "--templates", "<t>"}, 1,
                    "no template 'Nothing'; there are 'BareMetalExecutable', 'StaticLibrary'"},
        RefusedCase{"templatesNotXml", "<Project_Templates><project", {"T", "p", "--templates", "<t>"},
                    1, "t.xml: no root element (empty or truncated file)"},
        RefusedCase{"tooFewOperands", {}, {"StaticLibrary"}, 2, "give the solution file"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(TemplateNewSave, AFailedSaveLeavesTheOldSolutionAndNoProjectDirectory)
{
    QTemporaryDir directory;
    writeFile(directory.filePath(QStringLiteral("Demo.qvProject")), solution);
    // No file may grow: the solution's temporary file cannot be written, so the save fails.
    const TestSupport::ProgramRun run = runProgram(
        QStringLiteral("/bin/sh"),
        {QStringLiteral("-c"),
         QStringLiteral("trap '' XFSZ; ulimit -f 0; exec \"$0\" \"$@\""), binPath(QStringLiteral("tess")),
         QStringLiteral("template"), QStringLiteral("new"), QStringLiteral("Demo.qvProject"),
         QStringLiteral("StaticLibrary"), QStringLiteral("p"), QStringLiteral("--templates"),
         exampleTemplates, QStringLiteral("--choice"), QStringLiteral("with_source=No")},
        {}, directory.path());
    EXPECT_EQ(run.exitCode, 1) << run.err.toStdString();
    EXPECT_FALSE(run.err.isEmpty());
    EXPECT_EQ(readFile(directory.filePath(QStringLiteral("Demo.qvProject"))), solution);
    EXPECT_EQ(filesUnder(directory.path()), QStringList{"Demo.qvProject"});
    EXPECT_FALSE(QFileInfo::exists(directory.filePath(QStringLiteral("p"))));
}

TEST(TemplateNewForce, WritesIntoAnExistingDirectoryAndReplacesItsFiles)
{
    QTemporaryDir directory;
    QDir(directory.path()).mkdir(QStringLiteral("p"));
    writeFile(directory.filePath(QStringLiteral("p/p.c")), "old\n");
    writeFile(directory.filePath(QStringLiteral("p/keep.txt")), "mine\n");
    const QStringList arguments = {QStringLiteral("template"), QStringLiteral("new"),
                                   QStringLiteral("Demo.qvProject"), QStringLiteral("StaticLibrary"),
                                   QStringLiteral("p"), QStringLiteral("--templates"),
                                   exampleTemplates};
    const TestSupport::ProgramRun refused = tess(arguments, directory.path());
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_EQ(readFile(directory.filePath(QStringLiteral("p/p.c"))), "old\n");
    EXPECT_FALSE(QFileInfo::exists(directory.filePath(QStringLiteral("Demo.qvProject"))));
    const TestSupport::ProgramRun forced =
        tess(QStringList(arguments) << QStringLiteral("--force"), directory.path());
    ASSERT_EQ(forced.exitCode, 0) << forced.err.toStdString();
    EXPECT_NE(readFile(directory.filePath(QStringLiteral("p/p.c"))), "old\n");
    EXPECT_EQ(readFile(directory.filePath(QStringLiteral("p/keep.txt"))), "mine\n");
    EXPECT_TRUE(QFileInfo::exists(directory.filePath(QStringLiteral("Demo.qvProject"))));
}

struct ListCase {
    const char *name;
    QStringList arguments;   // "<t>" for the example templates
    int exitCode;
    const char *out;         // exact standard output, "<t>" as above
};

class TemplateListing : public ::testing::TestWithParam<ListCase> {};

TEST_P(TemplateListing, Prints)
{
    const ListCase &c = GetParam();
    QTemporaryDir directory;
    QStringList arguments;
    for (const QString &argument : c.arguments)
        arguments.append(argument == QLatin1String("<t>") ? exampleTemplates : argument);
    const TestSupport::ProgramRun run = tess(arguments, directory.path());
    EXPECT_EQ(run.exitCode, c.exitCode) << run.err.toStdString();
    EXPECT_EQ(run.out.toStdString(),
              QString::fromUtf8(c.out).replace(QStringLiteral("<t>"), exampleTemplates).toStdString());
}

INSTANTIATE_TEST_SUITE_P(
    Cases, TemplateListing,
    ::testing::Values(
        ListCase{"list",
                 {"template", "list", "<t>", "--packages", "."},
                 0,
                 "BareMetalExecutable  Executable (bare metal)  <t>\n"
                 "StaticLibrary        Static library           <t>\n"},
        ListCase{"choicesOfTheLibrary",
                 {"template", "choices", "StaticLibrary", "--templates", "<t>"},
                 0,
                 "with_source=Yes  (Yes|No)  Add an example source file and header\n"
                 "build_treat_warnings_as_errors=No  (Yes|No)  Treat warnings as errors\n"
                 "optimisation=size  (size|speed)  Optimisation of the Release build\n"},
        ListCase{"listOfAMissingFile", {"template", "list", "nothing.xml", "--packages", "."}, 1,
                 ""}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(TemplateWalk, UnknownTagsAreSkippedAndConfigurationsMadeOncePerConfiguration)
{
    QTemporaryDir directory;
    writeFile(directory.filePath(QStringLiteral("t.xml")),
              templateWith("<configuration name=\"Debug\"/><configuration name=\"Release\"/>"
                           "<configuration name=\"$(Configuration) Flash\" "
                           "inherited_configurations=\"$(Configuration);Flash\"/>"
                           "<wizardpage title=\"ignored\"><file name=\"hidden.c\"/></wizardpage>"
                           "<folder name=\"Src\"><mystery/><file name=\"a.c\"/></folder>"
                           "<solutionproperty name=\"build_intermediate_directory\" value=\"Obj\"/>"
                           "<property name=\"c_additional_options\" value=\"-Wall\" value_win32=\"/W4\"/>"));
    const TestSupport::ProgramRun run =
        tess({QStringLiteral("template"), QStringLiteral("new"), QStringLiteral("S.qvProject"),
              QStringLiteral("T"), QStringLiteral("p"), QStringLiteral("--templates"),
              directory.filePath(QStringLiteral("t.xml"))},
             directory.path());
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    const QByteArray saved = readFile(directory.filePath(QStringLiteral("S.qvProject")));
    EXPECT_FALSE(saved.contains("hidden.c"));
    EXPECT_TRUE(saved.contains("file_name=\"a.c\""));
    EXPECT_TRUE(saved.contains("Name=\"Debug Flash\""));
    EXPECT_TRUE(saved.contains("Name=\"Release Flash\""));
    EXPECT_TRUE(saved.contains("inherited_configurations=\"Release;Flash\""));
    EXPECT_FALSE(saved.contains("$(Configuration) Flash"));
    EXPECT_TRUE(saved.contains("build_intermediate_directory=\"Obj\""));
    EXPECT_TRUE(saved.contains("c_additional_options=\"-Wall\""));
    EXPECT_FALSE(saved.contains("/W4"));
}

} // namespace
