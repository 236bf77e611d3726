#include "shell/ProjectViews.h"
#include "foundation/Report.h"
#include "projects/ProjectElement.h"
#include "projects/SolutionSession.h"
#include "projects/StandardProjectSystem.h"
#include "shell/DocumentHost.h"
#include "shell/ProjectPropertiesView.h"
#include "shell/ProjectTreeModel.h"
#include "shell/SettingsFile.h"
#include "shell/ShellPaths.h"
#include "shell/VarnelAction.h"
#include "shell/VarnelWindow.h"
#include "tests/shell/ShellTestSupport.h"
#include "tests/support/TestSupport.h"
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFont>
#include <QTest>
#include <QTreeView>
#include <gtest/gtest.h>

namespace
{

const QByteArray solutionText = R"xml(<!DOCTYPE Tessbench_Project_File>
<Tessbench_Project_File>
  <solution Name="Demo" version="2" target="0">
    <project Name="App" c_preprocessor_definitions="APP" build_intermediate_directory="Out/$(Configuration)/$(ProjectName)">
      <configuration Name="Debug" c_user_include_directories="inc/debug" />
      <folder Name="Source Files">
        <file file_name="src/main.c">
          <configuration Name="Release" c_preprocessor_definitions="FAST" />
        </file>
        <file file_name="src/util.c" />
      </folder>
      <folder Name="Listed" path="listed" filter="*.h" />
    </project>
    <project Name="Lib" project_type="Library">
      <file file_name="lib.c" />
    </project>
    <configuration Name="Base" hidden="Yes" build_quietly="Yes" />
    <configuration Name="Debug" inherited_configurations="Base" c_preprocessor_definitions="DEBUG" build_debug_information="Yes" />
    <configuration Name="Release" inherited_configurations="Base" c_preprocessor_definitions="NDEBUG" build_debug_information="No" />
  </solution>
</Tessbench_Project_File>
)xml";

// A document area that notes what it is asked to open.
class RecordingDocuments : public DocumentHost
{
public:
    bool openDocument(const QString &path, int, int) override
    {
        opened.append(path);
        return true;
    }
    EditCommandInterface *currentEditor() const override { return nullptr; }
    QString currentPath() const override { return {}; }
    QString currentText() const override { return {}; }
    QStringList openPaths() const override { return opened; }
    bool saveAll() override { return true; }
    QStringList opened;
};

// The rows of the tree as indented lines, every row expanded.
void dumpRows(const ProjectTreeModel &model, const QModelIndex &parent, int depth, QString &out)
{
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex index = model.index(row, 0, parent);
        out += QString(depth * 2, u' ') + index.data().toString() + u'\n';
        dumpRows(model, index, depth + 1, out);
    }
}

// A main window with the test's solution open, in a private home, the prompts answered by the
// test and files opened in a recording document area.
class ProjectViewsTest : public ::testing::Test
{
protected:
    ProjectViewsTest()
    {
        setReportMask(0);
        TestSupport::writeFile(path("Demo.qvProject"), solutionText);
        for (const char *file :
             {"src/main.c", "src/util.c", "lib.c", "listed/a.h", "listed/b.h", "listed/c.txt"}) {
            QDir().mkpath(QFileInfo(path(QLatin1String(file))).path());
            TestSupport::writeFile(path(QLatin1String(file)), "int x;\n");
        }
        QString problem;
        settings.load(ShellPaths::settingsFile(), &problem);
        window = std::make_unique<VarnelWindow>(&settings, VarnelWindow::Options{});
        views = window->projectViews();
        views->setDocuments(&documents);
        views->setPrompts({[this](const QString &question) {
                               questions.append(question);
                               return confirmAnswer;
                           },
                           [this](const QString &) { return chosenFiles; },
                           [this](const QString &, const QString &) { return nameAnswer; }});
        EXPECT_TRUE(window->openSolution(path("Demo.qvProject")));
    }
    ~ProjectViewsTest() override { window.reset(); }

    QString path(const QString &relative) const { return directory.filePath(relative); }
    QString rows() const
    {
        QString out;
        dumpRows(*views->model(), {}, 0, out);
        return out;
    }
    ProjectElement *find(const char *elementPath) const
    {
        return window->solutionSession()->system().findElement(QLatin1String(elementPath));
    }
    void select(const char *elementPath)
    {
        ProjectElement *element = find(elementPath);
        ASSERT_NE(element, nullptr) << elementPath;
        views->selectElement(element);
    }
    void run(const char *action)
    {
        window->updateGUI();
        VarnelAction *command = window->action(QLatin1String(action));
        ASSERT_TRUE(command->isEnabled()) << action;
        command->trigger();
        QCoreApplication::processEvents();
    }
    // The saved solution, loaded again from disk, as `tess solution show` would see it.
    QStringList savedNames(const char *elementPath) const
    {
        SolutionSession session;
        SolutionSession::LoadOptions options;
        options.expandMacros = false;
        session.load(path("Demo.qvProject"), options);
        QStringList names;
        if (const ProjectElement *element =
                session.system().findElement(QLatin1String(elementPath))) {
            for (const ProjectElement *child : element->children())
                names.append(child->elementName());
        } else {
            names.append(QStringLiteral("(missing)"));
        }
        return names;
    }
    QString property(const char *name, int column) const
    {
        const QTreeWidgetItem *row = views->properties()->findRow(QLatin1String(name));
        return row ? row->text(column) : QStringLiteral("(not shown)");
    }

    ShellTest::TemporaryHome home;
    QTemporaryDir directory;
    SettingsFile settings;
    std::unique_ptr<VarnelWindow> window;
    ProjectViews *views = nullptr;
    RecordingDocuments documents;
    QStringList questions;
    bool confirmAnswer = true;
    QStringList chosenFiles;
    QString nameAnswer;
};

TEST_F(ProjectViewsTest, ShowsTheSolutionWithItsProjectsFoldersFilesAndListedFiles)
{
    EXPECT_EQ(rows(), QStringLiteral("Solution 'Demo'\n"
                                     "  App\n"
                                     "    Source Files\n"
                                     "      main.c\n"
                                     "      util.c\n"
                                     "    Listed\n"
                                     "      a.h\n"
                                     "      b.h\n"
                                     "  Lib\n"
                                     "    lib.c\n"));
    const QModelIndex top = views->model()->index(0, 0);
    EXPECT_TRUE(views->tree()->isExpanded(top));
    EXPECT_TRUE(views->tree()->isExpanded(views->model()->index(0, 0, top)));
    EXPECT_FALSE(
        views->tree()->isExpanded(views->model()->index(0, 0, views->model()->index(0, 0, top))));
    // Every index leads back to its parent, so the view can walk the tree both ways.
    const QModelIndex listed = views->model()->indexOf(find("App/Listed"));
    EXPECT_EQ(views->model()->parent(views->model()->index(1, 0, listed)), listed);
}

TEST_F(ProjectViewsTest, TheActiveProjectIsBoldAndMovesWithTheCommand)
{
    const auto bold = [this](const char *name) {
        return views->model()->indexOf(find(name)).data(Qt::FontRole).value<QFont>().bold();
    };
    EXPECT_EQ(window->activeProject(), find("App"));
    EXPECT_TRUE(bold("App"));
    select("Lib/lib.c");
    EXPECT_EQ(window->selectedElement(), find("Lib/lib.c"));
    run("ProjectSetActiveProject");
    EXPECT_EQ(window->activeProject(), find("Lib"));
    EXPECT_TRUE(bold("Lib"));
    EXPECT_FALSE(bold("App"));
}

TEST_F(ProjectViewsTest, TheComboListsThePublicConfigurationsAndSetsTheActiveOne)
{
    QComboBox *combo = views->configurations();
    QStringList items;
    for (int i = 0; i < combo->count(); ++i)
        items.append(combo->itemText(i));
    EXPECT_EQ(items, QStringList({QStringLiteral("Debug"), QStringLiteral("Release")}));
    EXPECT_EQ(combo->currentText(), QStringLiteral("Debug"));
    emit combo->activated(1);
    EXPECT_EQ(window->activeConfiguration(), QStringLiteral("Release"));
    window->setActiveConfiguration(QStringLiteral("Debug"));
    EXPECT_EQ(combo->currentText(), QStringLiteral("Debug"));
}

struct OriginCase {
    const char *name;
    const char *element;
    const char *configuration;
    const char *property;
    const char *value;
    const char *origin;
    bool own; // the element holds a value itself: shown in bold
};

class ProjectPropertiesOrigin : public ProjectViewsTest,
                                public ::testing::WithParamInterface<OriginCase>
{
};

TEST_P(ProjectPropertiesOrigin, ShowsTheValueAndWhereItComesFrom)
{
    const OriginCase &c = GetParam();
    window->setActiveConfiguration(QLatin1String(c.configuration));
    select(c.element);
    EXPECT_EQ(property(c.property, ProjectPropertiesView::ValueColumn), QLatin1String(c.value));
    EXPECT_EQ(property(c.property, ProjectPropertiesView::OriginColumn), QLatin1String(c.origin));
    const QTreeWidgetItem *row = views->properties()->findRow(QLatin1String(c.property));
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->font(ProjectPropertiesView::ValueColumn).bold(), c.own);
}

INSTANTIATE_TEST_SUITE_P(
    Properties, ProjectPropertiesOrigin,
    ::testing::Values(
        OriginCase{"listGathersAncestorsFirstInDebug", "App/Source Files/main.c", "Debug",
                   "c_preprocessor_definitions", "DEBUG;APP", "solution [Debug]; App [Common]",
                   false},
        OriginCase{"listGathersTheFilesOwnInRelease", "App/Source Files/main.c", "Release",
                   "c_preprocessor_definitions", "NDEBUG;APP;FAST",
                   "solution [Release]; App [Common]; App/Source Files/main.c [Release]", true},
        OriginCase{"inheritedConfigurationGives", "App/Source Files/util.c", "Debug",
                   "build_quietly", "Yes", "solution [Base]", false},
        OriginCase{"debugValueOfTheSolution", "App", "Debug", "build_debug_information", "Yes",
                   "solution [Debug]", false},
        OriginCase{"releaseValueOfTheSolution", "App", "Release", "build_debug_information", "No",
                   "solution [Release]", false},
        OriginCase{"projectsOwnDebugList", "App", "Debug", "c_user_include_directories",
                   "inc/debug", "App [Debug]", true},
        OriginCase{"nothingSetGivesTheDefault", "App", "Release", "c_user_include_directories", "",
                   "(default)", false},
        OriginCase{"macrosStayUnexpanded", "App/Source Files/util.c", "Debug",
                   "build_intermediate_directory", "Out/$(Configuration)/$(ProjectName)",
                   "App [Common]", false}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(ProjectViewsTest, AddedFilesAndFoldersAreSavedAndTheFileIsMadeOnDisk)
{
    select("App/Source Files/main.c");
    nameAnswer = QStringLiteral("src/extra.c");
    run("ProjectAddNewFile");
    EXPECT_TRUE(QFileInfo::exists(path("src/extra.c")));
    EXPECT_EQ(documents.opened, QStringList{path("src/extra.c")});
    nameAnswer = QStringLiteral("Headers");
    run("ProjectNewFolder");
    select("App/Source Files/Headers");
    chosenFiles = {path("listed/c.txt"), path("lib.c")};
    run("ProjectAddExistingItem");
    EXPECT_EQ(savedNames("App/Source Files"),
              QStringList({QStringLiteral("main.c"), QStringLiteral("util.c"),
                           QStringLiteral("extra.c"), QStringLiteral("Headers")}));
    EXPECT_EQ(savedNames("App/Source Files/Headers"),
              QStringList({QStringLiteral("c.txt"), QStringLiteral("lib.c")}));
    const QByteArray saved = TestSupport::readFile(path("Demo.qvProject"));
    EXPECT_TRUE(saved.contains(R"(file_name="src/extra.c")")) << saved.constData();
    EXPECT_TRUE(saved.contains(R"(file_name="listed/c.txt")")) << saved.constData();
    EXPECT_TRUE(saved.contains("Out/$(Configuration)/$(ProjectName)")) << saved.constData();
    EXPECT_TRUE(rows().contains(QStringLiteral("      Headers\n        c.txt\n        lib.c\n")))
        << rows().toStdString();
    // The new file is where the build looks for it.
    EXPECT_EQ(find("App/Source Files/extra.c")->filePath().text(), path("src/extra.c"));
}

TEST_F(ProjectViewsTest, RemovingAsksFirstAndKeepsTheFileOnDisk)
{
    select("App/Source Files/util.c");
    confirmAnswer = false;
    run("ProjectExplorerDelete");
    ASSERT_EQ(questions.size(), 1);
    EXPECT_TRUE(questions[0].contains(QStringLiteral("util.c")));
    EXPECT_NE(find("App/Source Files/util.c"), nullptr);
    confirmAnswer = true;
    run("ProjectExplorerDelete");
    EXPECT_EQ(find("App/Source Files/util.c"), nullptr);
    // The selection moves to a neighbour, never stays on the element that is gone.
    const ProjectElement *selected = window->selectedElement();
    EXPECT_TRUE(!selected || selected == find("App/Source Files/main.c") ||
                selected == find("App/Source Files"));
    EXPECT_EQ(savedNames("App/Source Files"), QStringList{QStringLiteral("main.c")});
    EXPECT_TRUE(QFileInfo::exists(path("src/util.c")));
    EXPECT_FALSE(rows().contains(QStringLiteral("util.c")));
}

TEST_F(ProjectViewsTest, DeleteInTheTreeAsksAndRemoves)
{
    window->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get(), 5000));
    // An editor that takes Delete too: the tree with the focus still has the key.
    ShellTest::StubEdit editor;
    window->setEditor(&editor);
    ASSERT_TRUE(window->action(QStringLiteral("EditDelete"))->isEnabled());
    select("Lib/lib.c");
    views->tree()->setFocus();
    QTest::keyClick(views->tree(), Qt::Key_Delete);
    window->setEditor(nullptr);
    ASSERT_EQ(questions.size(), 1);
    EXPECT_EQ(savedNames("Lib"), QStringList());
}

TEST_F(ProjectViewsTest, RemovingTheActiveProjectMakesAnotherActive)
{
    select("App");
    run("ProjectExplorerDelete");
    EXPECT_EQ(window->activeProject(), find("Lib"));
    EXPECT_EQ(savedNames(""), QStringList{QStringLiteral("Lib")});
}

TEST_F(ProjectViewsTest, RefusedEditsSayWhyAndChangeNothing)
{
    const QByteArray before = TestSupport::readFile(path("Demo.qvProject"));
    select("App/Listed");
    nameAnswer = QStringLiteral("new.h");
    run("ProjectAddNewFile");
    EXPECT_TRUE(views->lastMessage().contains(QStringLiteral("lists the files of its directory")))
        << views->lastMessage().toStdString();
    select("App/Listed/a.h");
    run("ProjectExplorerDelete");
    EXPECT_TRUE(
        views->lastMessage().contains(QStringLiteral("listed from its folder's directory")));
    select("App/Source Files");
    nameAnswer = QStringLiteral("main.c");
    run("ProjectAddNewFile");
    EXPECT_EQ(
        views->lastMessage(),
        QStringLiteral("Cannot add main.c: 'Source Files' already holds an item of that name"));
    select("App");
    nameAnswer = QStringLiteral("a/b");
    run("ProjectNewFolder");
    EXPECT_TRUE(views->lastMessage().startsWith(QStringLiteral("Cannot add folder 'a/b'")));
    EXPECT_EQ(TestSupport::readFile(path("Demo.qvProject")), before);
    EXPECT_FALSE(QFileInfo::exists(path("new.h")));
}

TEST_F(ProjectViewsTest, AFailedSaveKeepsTheOldFileAndTheTreeAsEdited)
{
    const QByteArray before = TestSupport::readFile(path("Demo.qvProject"));
    // A read-only folder stops anyone but root; the file size limit stops root too.
    QFile::setPermissions(directory.path(), QFile::ReadOwner | QFile::ExeOwner);
    ProjectElement *folder = nullptr;
    {
        const ShellTest::FileSizeLimit limit(64);
        folder = views->addFolder(find("Lib"), QStringLiteral("Docs"));
    }
    QFile::setPermissions(directory.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    EXPECT_NE(folder, nullptr);
    EXPECT_TRUE(views->lastMessage().startsWith(
        QStringLiteral("The solution is kept as edited but not saved: couldn't write ")))
        << views->lastMessage().toStdString();
    EXPECT_EQ(TestSupport::readFile(path("Demo.qvProject")), before);
    EXPECT_TRUE(rows().contains(QStringLiteral("  Lib\n    lib.c\n    Docs\n")));
    // The next edit writes both.
    EXPECT_NE(views->addFolder(find("Lib"), QStringLiteral("More")), nullptr);
    EXPECT_EQ(savedNames("Lib"), QStringList({QStringLiteral("lib.c"), QStringLiteral("Docs"),
                                              QStringLiteral("More")}));
}

TEST_F(ProjectViewsTest, DoubleClickAndReturnOpenAFile)
{
    window->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get(), 5000));
    QTreeView *tree = views->tree();
    const QModelIndex index = views->model()->indexOf(find("Lib/lib.c"));
    tree->scrollTo(index);
    const QRect rect = tree->visualRect(index);
    ASSERT_TRUE(rect.isValid());
    // A double click as a mouse gives it: a click, then a second press within the interval.
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, rect.center());
    QTest::mouseDClick(tree->viewport(), Qt::LeftButton, {}, rect.center());
    EXPECT_EQ(documents.opened, QStringList{path("lib.c")});
    tree->setCurrentIndex(views->model()->indexOf(find("App/Source Files/main.c")));
    QTest::keyClick(tree, Qt::Key_Return);
    EXPECT_EQ(documents.opened, QStringList({path("lib.c"), path("src/main.c")}));
    // A folder is not a document: Return on it opens nothing.
    tree->setCurrentIndex(views->model()->indexOf(find("App/Source Files")));
    QTest::keyClick(tree, Qt::Key_Return);
    EXPECT_EQ(documents.opened.size(), 2);
}

TEST_F(ProjectViewsTest, FilesOpenInTheWindowsDocumentArea)
{
    views->setDocuments(nullptr);
    const bool opened = views->openElement(find("Lib/lib.c"));
    if (!window->documents()) { // a window without editors says so and goes on
        EXPECT_FALSE(opened);
        EXPECT_TRUE(views->lastMessage().startsWith(QStringLiteral("Cannot open ")))
            << views->lastMessage().toStdString();
        return;
    }
    EXPECT_TRUE(opened);
    EXPECT_EQ(window->documents()->currentPath(), path("lib.c"));
    EXPECT_EQ(window->documents()->currentText(), QStringLiteral("int x;\n"));
}

TEST_F(ProjectViewsTest, ReloadReadsTheFileAgainAndABrokenFileLeavesTheTree)
{
    QByteArray changed = solutionText;
    changed.replace(R"(<file file_name="lib.c" />)",
                    R"(<file file_name="lib.c" /><file file_name="more.c" />)");
    TestSupport::writeFile(path("Demo.qvProject"), changed);
    window->setActiveConfiguration(QStringLiteral("Release"));
    run("ProjectReload");
    EXPECT_TRUE(rows().endsWith(QStringLiteral("  Lib\n    lib.c\n    more.c\n")))
        << rows().toStdString();
    EXPECT_EQ(window->activeConfiguration(), QStringLiteral("Release"));
    TestSupport::writeFile(path("Demo.qvProject"), "<Tessbench_Project_File><solution");
    run("ProjectReload");
    EXPECT_TRUE(rows().endsWith(QStringLiteral("  Lib\n    lib.c\n    more.c\n")))
        << rows().toStdString();
}

TEST_F(ProjectViewsTest, ClosingTheSolutionEmptiesTheViews)
{
    select("App/Source Files/main.c");
    EXPECT_GT(views->properties()->topLevelItemCount(), 0);
    window->closeSolution();
    EXPECT_EQ(views->model()->rowCount(), 0);
    EXPECT_EQ(views->properties()->topLevelItemCount(), 0);
    EXPECT_EQ(views->configurations()->count(), 0);
}

} // namespace

namespace
{

// The shipped example, copied so the test may write it.
class ExampleSolution : public ProjectViewsTest
{
protected:
    ExampleSolution()
    {
        const QDir from(QStringLiteral(TESS_SOURCE_DIR "/examples/solution"));
        for (const char *file :
             {"Blinky.qvProject", "bsp/BoardSupport.qvProject", "src/main.c", "bsp/gpio.c"}) {
            QDir().mkpath(QFileInfo(example(QLatin1String(file))).path());
            QFile::copy(from.filePath(QLatin1String(file)), example(QLatin1String(file)));
        }
        EXPECT_TRUE(window->openSolution(example(QStringLiteral("Blinky.qvProject"))));
    }
    QString example(const QString &relative) const
    {
        return path(QStringLiteral("example/") + relative);
    }
};

TEST_F(ExampleSolution, AddingAndRemovingAFolderGivesTheFileBackByteForByte)
{
    const QByteArray before = TestSupport::readFile(example(QStringLiteral("Blinky.qvProject")));
    ProjectElement *folder = views->addFolder(find("Blinky"), QStringLiteral("Docs"));
    ASSERT_NE(folder, nullptr);
    EXPECT_NE(TestSupport::readFile(example(QStringLiteral("Blinky.qvProject"))), before);
    ASSERT_TRUE(views->removeElement(folder));
    EXPECT_EQ(TestSupport::readFile(example(QStringLiteral("Blinky.qvProject"))), before);
}

TEST_F(ExampleSolution, AnImportedPartThatMayNotChangeIsLeftAlone)
{
    const QByteArray before =
        TestSupport::readFile(example(QStringLiteral("bsp/BoardSupport.qvProject")));
    EXPECT_EQ(views->addFolder(find("BoardSupport/Drivers"), QStringLiteral("More")), nullptr);
    EXPECT_TRUE(views->lastMessage().contains(
        QStringLiteral("is imported from bsp/BoardSupport.qvProject, which may not be changed")))
        << views->lastMessage().toStdString();
    EXPECT_FALSE(views->removeElement(find("BoardSupport/Drivers/gpio.c")));
    EXPECT_EQ(TestSupport::readFile(example(QStringLiteral("bsp/BoardSupport.qvProject"))), before);
    // The import as a whole goes from the solution that imports it.
    EXPECT_TRUE(views->removeElement(find("BoardSupport")));
    EXPECT_FALSE(
        TestSupport::readFile(example(QStringLiteral("Blinky.qvProject"))).contains("import"));
    EXPECT_EQ(TestSupport::readFile(example(QStringLiteral("bsp/BoardSupport.qvProject"))), before);
}

} // namespace

namespace
{

TEST_F(ExampleSolution, ValuesKeepTheirMacrosAndTheTipShowsThemExpandedForTheElement)
{
    select("Blinky/Source Files/main.c");
    const QTreeWidgetItem *row =
        views->properties()->findRow(QStringLiteral("c_preprocessor_definitions"));
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->text(ProjectPropertiesView::ValueColumn),
              QStringLiteral("__ARM_ARCH_7EM__;BOARD_$(Board:Generic);DEBUG;DEBUG_LED"));
    // The project's own macro decides, not the default written in the solution.
    EXPECT_TRUE(
        row->toolTip(ProjectPropertiesView::ValueColumn).contains(QStringLiteral("BOARD_Nucleo")))
        << row->toolTip(ProjectPropertiesView::ValueColumn).toStdString();
}

} // namespace

namespace
{

TEST_F(ProjectViewsTest, AnEditedValueIsTheElementsOwnForTheConfigurationAndIsSaved)
{
    select("App/Source Files/util.c");
    QTreeWidgetItem *row =
        views->properties()->findRow(QStringLiteral("c_preprocessor_definitions"));
    ASSERT_NE(row, nullptr);
    row->setText(ProjectPropertiesView::ValueColumn,
                 QStringLiteral("EXTRA")); // as the editor commits
    QCoreApplication::processEvents();
    EXPECT_EQ(property("c_preprocessor_definitions", ProjectPropertiesView::ValueColumn),
              QStringLiteral("DEBUG;APP;EXTRA"));
    EXPECT_EQ(property("c_preprocessor_definitions", ProjectPropertiesView::OriginColumn),
              QStringLiteral("solution [Debug]; App [Common]; App/Source Files/util.c [Debug]"));
    SolutionSession saved;
    SolutionSession::LoadOptions options;
    options.expandMacros = false;
    saved.load(path("Demo.qvProject"), options);
    const ProjectElement *file =
        saved.system().findElement(QStringLiteral("App/Source Files/util.c"));
    ASSERT_NE(file, nullptr);
    const QString *value =
        file->findValue(QStringLiteral("Debug"), QStringLiteral("c_preprocessor_definitions"));
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(*value, QStringLiteral("EXTRA"));
    // Clearing it lets the value come from above again.
    views->properties()
        ->findRow(QStringLiteral("c_preprocessor_definitions"))
        ->setText(ProjectPropertiesView::ValueColumn, QString());
    QCoreApplication::processEvents();
    EXPECT_EQ(property("c_preprocessor_definitions", ProjectPropertiesView::ValueColumn),
              QStringLiteral("DEBUG;APP"));
    EXPECT_FALSE(TestSupport::readFile(path("Demo.qvProject")).contains("EXTRA"));
}

TEST_F(ExampleSolution, ValuesOfAnImportedPartThatMayNotChangeStay)
{
    const QByteArray before =
        TestSupport::readFile(example(QStringLiteral("bsp/BoardSupport.qvProject")));
    select("BoardSupport/Drivers/gpio.c");
    EXPECT_FALSE(
        views->setPropertyValue(QStringLiteral("c_preprocessor_definitions"), QStringLiteral("X")));
    EXPECT_TRUE(views->lastMessage().startsWith(QStringLiteral(
        "Cannot set c_preprocessor_definitions of gpio.c: 'gpio.c' is imported from")))
        << views->lastMessage().toStdString();
    EXPECT_EQ(TestSupport::readFile(example(QStringLiteral("bsp/BoardSupport.qvProject"))), before);
}

} // namespace

namespace
{

TEST_F(ProjectViewsTest, RenamingThroughTheNameValueRenamesTheTreeRowAndRefusesASiblingsName)
{
    select("App/Source Files");
    EXPECT_FALSE(views->setPropertyValue(QStringLiteral("Name"), QStringLiteral("Listed")));
    EXPECT_EQ(views->lastMessage(),
              QStringLiteral(
                  "Cannot set Name of Source Files: 'App' already holds an item called 'Listed'"));
    EXPECT_TRUE(views->setPropertyValue(QStringLiteral("Name"), QStringLiteral("Sources")));
    EXPECT_TRUE(rows().contains(QStringLiteral("    Sources\n      main.c\n")))
        << rows().toStdString();
    EXPECT_EQ(savedNames("App"),
              QStringList({QStringLiteral("Sources"), QStringLiteral("Listed")}));
}

} // namespace
