#include "foundation/Report.h"
#include "shell/Actions.h"
#include "shell/GUIBuilder.h"
#include "shell/MessageScheme.h"
#include "shell/SettingsFile.h"
#include "shell/ShellViews.h"
#include "shell/VarnelAction.h"
#include "tests/shell/ShellTestSupport.h"
#include "tests/support/TestSupport.h"
#include <QMainWindow>
#include <QMenuBar>
#include <QSignalSpy>
#include <QSlider>
#include <QTemporaryDir>
#include <QToolBar>
#include <gtest/gtest.h>

namespace {

// A window with a handful of actions, a builder and, when a test gives one, a message scheme.
class Builder : public ::testing::Test {
protected:
    Builder()
    {
        for (const char *name : {"FileSave", "FileExit", "EditCopy", "BuildBuildSolution", "DebugStart"})
            (new VarnelAction(&window, &window, QLatin1String(name)))->setText(QLatin1String(name));
        window.setObjectName(QStringLiteral("Window"));
        builder.registerObject(QStringLiteral("Window"), &window);
        window.menuBar()->setObjectName(QStringLiteral("Bar"));
        builder.setMenuOwner(&window);
        setReportMask(0);   // the messages are read from the builder, not from standard error
    }
    ~Builder() override { setReportMask(0); }

    // Builds a window description and returns the builder's messages.
    QStringList build(const QByteArray &description)
    {
        const auto document = ShellTest::parse(description);
        builder.buildWindow(&window, document->root());
        return messages();
    }

    QStringList messages() const
    {
        QStringList lines;
        for (const GUIBuilder::Message &message : builder.messages())
            lines.append((message.channel == ReportChannel::Error ? QStringLiteral("error: ") : QStringLiteral("warning: ")) + message.text);
        return lines;
    }

    QString tree() const { return ShellViews::menuTreeText(window); }

    void useScheme(const QByteArray &scheme)
    {
        TestSupport::writeFile(directory.filePath(QStringLiteral("scheme.xml")), scheme);
        ASSERT_TRUE(this->scheme.load(directory.filePath(QStringLiteral("scheme.xml")), {}, {}));
        builder.setMessageScheme(&this->scheme);
    }

    Actions actions;
    QMainWindow window;
    GUIBuilder builder;
    MessageScheme scheme;
    QTemporaryDir directory;
};

const QString prefix = QStringLiteral("GUIBuilder::iterateAndPopulate(): ");

// One fault per case: the exact message, and that the rest of the description was still built.
struct FaultCase {
    const char *name;
    QByteArray description;
    QStringList messages;
    QString builtAfterwards;   // a line the tree must still hold
};

class BuilderFault : public Builder, public ::testing::WithParamInterface<FaultCase> {};

TEST_P(BuilderFault, ReportsTheFaultAndBuildsTheRest)
{
    QStringList expected;
    for (const QString &message : GetParam().messages)
        expected.append(message.left(message.indexOf(u':') + 2) + prefix + message.mid(message.indexOf(u':') + 2));
    EXPECT_EQ(build(GetParam().description), expected);
    EXPECT_TRUE(tree().contains(GetParam().builtAfterwards)) << tree().toStdString();
}

const QByteArray tail = "<toolbar name=\"Tail\" title=\"Tail\"><item name=\"FileExit\"/></toolbar>";

INSTANTIATE_TEST_SUITE_P(Faults, BuilderFault, ::testing::Values(
    FaultCase{"dropdownWithoutAction",
              "<gui><toolbar name=\"T\"><dropdown menu=\"M\"/></toolbar>" + tail + "</gui>",
              {"warning: dropdown without action name."}, "Tail/FileExit\tFileExit"},
    FaultCase{"dropdownWithoutMenu",
              "<gui><toolbar name=\"T\"><dropdown action=\"FileSave\"/></toolbar>" + tail + "</gui>",
              {"warning: dropdown without menu name."}, "Tail/FileExit"},
    FaultCase{"dropdownWithNeither",
              "<gui><toolbar name=\"T\"><dropdown/></toolbar>" + tail + "</gui>",
              {"warning: dropdown without action name.", "warning: dropdown without menu name."}, "Tail/FileExit"},
    FaultCase{"dropdownOnAMenuIsRefusedAndTheMenuBuilt",
              "<gui><menubar><menu name=\"M\" caption=\"&amp;File\"><dropdown action=\"FileSave\" menu=\"M\"/>"
              "<item name=\"FileExit\"/></menu></menubar></gui>",
              {"warning: dropdown not on toolbar or widget strip."}, "Bar/M/FileExit\tFileExit\t\tenabled"},
    FaultCase{"dropdownOfAnUnknownAction",
              "<gui><menubar><menu name=\"M\" caption=\"M\"/></menubar><toolbar name=\"T\"><dropdown action=\"Nope\" menu=\"M\"/></toolbar>" + tail + "</gui>",
              {"warning: dropdown action Nope isn't an action or doesn't exist."}, "Tail/FileExit"},
    FaultCase{"dropdownOfSomethingThatIsNoMenu",
              "<gui><toolbar name=\"T\"><dropdown action=\"FileSave\" menu=\"Tail\"/></toolbar>" + tail + "</gui>",
              {"warning: dropdown menu Tail isn't a menu."}, "Tail/FileExit"},
    FaultCase{"itemWithoutName",
              "<gui><toolbar name=\"T\"><item/><item name=\"FileSave\"/></toolbar></gui>",
              {"error: object without attribute name."}, "T/FileSave"},
    FaultCase{"itemOfAnUnknownAction",
              "<gui><toolbar name=\"T\"><item name=\"NoSuchAction\"/><item name=\"FileSave\"/></toolbar></gui>",
              {"error: varnel action NoSuchAction isn't in the dictionary."}, "T/FileSave"},
    FaultCase{"menuNamedAfterSomethingElse",
              "<gui><toolbar name=\"T\"><item name=\"FileSave\"/></toolbar><menubar><menu name=\"T\" caption=\"x\"/></menubar></gui>",
              {"error: T used in <menu>, but isn't a menu."}, "T/FileSave"},
    FaultCase{"menuOnAToolBar",
              "<gui><toolbar name=\"T\"><menu name=\"M\" caption=\"M\"/><item name=\"FileSave\"/></toolbar></gui>",
              {"warning: adding a menu to widget 'T' which isn't a popup menu nor menu bar "}, "T/FileSave"},
    FaultCase{"itemInAnItem",
              "<gui><toolbar name=\"T\"><item name=\"FileSave\"><item name=\"FileExit\"/></item></toolbar></gui>",
              {"warning: adding a widget to an object which isn't a popup menu, menu bar, nor toolbar."}, "T/FileSave"},
    FaultCase{"stretchInAMenu",
              "<gui><menubar><menu name=\"M\" caption=\"M\"><stretch/><item name=\"FileSave\"/></menu></menubar></gui>",
              {"warning: bad widget for stretch"}, "Bar/M/FileSave"},
    FaultCase{"spaceInTheMenuBar",
              "<gui><menubar><space width=\"8\"/><menu name=\"M\" caption=\"M\"><item name=\"FileSave\"/></menu></menubar></gui>",
              {"warning: bad widget for space"}, "Bar/M/FileSave"},
    FaultCase{"separatorInTheMenuBar",
              "<gui><menubar><separator/><menu name=\"M\" caption=\"M\"><item name=\"FileSave\"/></menu></menubar></gui>",
              {"warning: bad widget for separator"}, "Bar/M/FileSave"},
    FaultCase{"unknownTag",
              "<gui><toolbar name=\"T\"><frob x=\"1\"/><item name=\"FileSave\"/></toolbar></gui>",
              {"error: bad tag name <frob"}, "T/FileSave"},
    FaultCase{"emptyMenuCaption",
              "<gui><menubar><menu name=\"M\"><item name=\"FileSave\"/></menu></menubar></gui>",
              {"warning: menu M has an empty caption."}, "Bar/M\tEmpty menu caption\t\tmenu"},
    FaultCase{"menuInsideItself",
              "<gui><menubar><menu name=\"M\" caption=\"M\"><menu name=\"M\"/><item name=\"FileSave\"/></menu></menubar></gui>",
              {"warning: menu M would contain itself; it is left out of M."}, "Bar/M/FileSave"},
    FaultCase{"stripHoldingItselfThroughObjectChild",
              "<gui><toolbar name=\"T\"><strip name=\"S\"><item name=\"T.S\"/><item name=\"FileSave\"/></strip></toolbar></gui>",
              {"warning: S would contain itself; it is left out."}, "T/S/FileSave"},
    FaultCase{"stripHoldingItsOwnParentThroughTheWindow",
              "<gui><toolbar name=\"T\"><strip name=\"S\"><strip name=\"Inner\"><item name=\"Window.S\"/></strip></strip><item name=\"FileSave\"/></toolbar></gui>",
              {"warning: S would contain itself; it is left out."}, "T/FileSave"},
    FaultCase{"keyOutsideAnItem",
              "<gui><toolbar name=\"T\"><key sequence=\"Ctrl+K\"/><item name=\"FileSave\"/></toolbar></gui>",
              {"warning: <key> outside an <item>."}, "T/FileSave"},
    FaultCase{"unparsableKey",
              "<gui><toolbar name=\"T\"><item name=\"FileSave\"><key sequence=\"Ctrl+Frobnicate\"/></item></toolbar></gui>",
              {"warning: key 'Ctrl+Frobnicate' of FileSave isn't a key sequence."}, "T/FileSave"},
    FaultCase{"panelOutsideARibbon",
              "<gui><toolbar name=\"T\"><panel name=\"P\" title=\"x\"/><item name=\"FileSave\"/></toolbar></gui>",
              {"warning: panel P is only allowed in a ribbon."}, "T/FileSave"},
    FaultCase{"toolBarNamedAfterADockWindow",
              "<gui><toolbar name=\"Window\"><item name=\"FileSave\"/></toolbar>" + tail + "</gui>",
              {"error: Window used in <toolbar>, but isn't a tool bar."}, "Tail/FileExit"},
    FaultCase{"menuAtTheTopOfTheDescription",
              "<gui><menu name=\"M\" caption=\"M\"/>" + tail + "</gui>",
              {"warning: adding a menu to widget 'Window' which isn't a popup menu nor menu bar "}, "Tail/FileExit"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(Builder, BuildsMenusToolBarsAndStripsInDescriptionOrder)
{
    const QStringList said = build(
        "<gui><menubar><menu name=\"FileMenu\" caption=\"&amp;File\"><item name=\"FileSave\"/><separator/>"
        "<menu name=\"Sub\" caption=\"&amp;More\"><item name=\"EditCopy\"/></menu><item name=\"FileExit\"/></menu></menubar>"
        "<toolbar name=\"Main\" title=\"Main\"><item name=\"FileSave\"/><space width=\"10\"/>"
        "<dropdown action=\"BuildBuildSolution\" menu=\"Sub\"/><strip name=\"S\"><item name=\"EditCopy\"/><stretch/></strip></toolbar></gui>");
    EXPECT_TRUE(said.isEmpty()) << said.join(u'\n').toStdString();
    EXPECT_EQ(tree(), QStringLiteral("Bar/FileMenu\t&File\t\tmenu\n"
                                     "Bar/FileMenu/FileSave\tFileSave\t\tenabled\n"
                                     "Bar/FileMenu/-\t\t\tseparator\n"
                                     "Bar/FileMenu/Sub\t&More\t\tmenu\n"
                                     "Bar/FileMenu/Sub/EditCopy\tEditCopy\t\tenabled\n"
                                     "Bar/FileMenu/FileExit\tFileExit\t\tenabled\n"
                                     "Main\tMain\t\ttool bar\n"
                                     "Main/FileSave\tFileSave\t\tenabled\n"
                                     "Main/BuildBuildSolution\tBuildBuildSolution\t\tenabled\n"
                                     "Main/Sub\t&More\t\tmenu\n"
                                     "Main/S\t\t\twidget\n"
                                     "Main/S/EditCopy\tEditCopy\t\tenabled\n"));
    EXPECT_EQ(builder.menu(QStringLiteral("Sub"))->objectName(), QStringLiteral("Sub"));
}

TEST_F(Builder, AMenuOfAnExistingNameIsReusedAndGrows)
{
    build("<gui><menubar><menu name=\"M\" caption=\"M\"><item name=\"FileSave\"/></menu></menubar>"
          "<toolbar name=\"T\"><dropdown action=\"FileSave\" menu=\"M\"/></toolbar></gui>");
    QMenu *menu = builder.menu(QStringLiteral("M"));
    ASSERT_NE(menu, nullptr);
    const auto document = ShellTest::parse("<more><menu name=\"M\"><item name=\"FileExit\"/></menu></more>");
    QMenu other(QStringLiteral("Other"));
    builder.iterateAndPopulate(&other, document->root());
    EXPECT_EQ(builder.menu(QStringLiteral("M")), menu);
    ASSERT_EQ(menu->actions().size(), 2);
    EXPECT_EQ(menu->actions().at(1)->objectName(), QStringLiteral("FileExit"));
    EXPECT_EQ(other.actions().first()->menu(), menu);
}

TEST_F(Builder, MenusTakeTheirContentFromTheSchemeAfterTheirOwn)
{
    useScheme("<messagescheme name=\"S\"><definemenu name=\"Bar\"><menu name=\"EditMenu\" caption=\"&amp;Edit\"/></definemenu>"
              "<definemenu name=\"FileMenu\"><item name=\"FileExit\"/></definemenu>"
              "<definemenu name=\"EditMenu\"><item name=\"EditCopy\"/></definemenu></messagescheme>");
    build("<gui><menubar name=\"Bar\"><menu name=\"FileMenu\" caption=\"&amp;File\"><item name=\"FileSave\"/></menu></menubar></gui>");
    EXPECT_TRUE(messages().isEmpty()) << messages().join(u'\n').toStdString();
    EXPECT_EQ(tree(), QStringLiteral("Bar/FileMenu\t&File\t\tmenu\n"
                                     "Bar/FileMenu/FileSave\tFileSave\t\tenabled\n"
                                     "Bar/FileMenu/FileExit\tFileExit\t\tenabled\n"
                                     "Bar/EditMenu\t&Edit\t\tmenu\n"
                                     "Bar/EditMenu/EditCopy\tEditCopy\t\tenabled\n"));
}

TEST_F(Builder, MenusThatHoldEachOtherThroughTheSchemeStop)
{
    useScheme("<messagescheme name=\"S\"><definemenu name=\"A\"><item name=\"FileSave\"/><menu name=\"B\" caption=\"B\"/></definemenu>"
              "<definemenu name=\"B\"><item name=\"FileExit\"/><menu name=\"A\" caption=\"A\"/></definemenu></messagescheme>");
    build("<gui><menubar><menu name=\"A\" caption=\"A\"/></menubar></gui>");
    EXPECT_EQ(messages(), QStringList{QStringLiteral("warning: ") + prefix + QStringLiteral("menu A would contain itself; it is left out of B.")});
    EXPECT_TRUE(tree().contains(QStringLiteral("Bar/A/B/FileExit"))) << tree().toStdString();
}

TEST_F(Builder, NestingBeyondTheLimitIsCutWithAnError)
{
    QByteArray deep = "<gui><menubar>";
    for (int i = 0; i < 200; ++i)
        deep += "<menu name=\"M" + QByteArray::number(i) + "\" caption=\"x\">";
    for (int i = 0; i < 200; ++i)
        deep += "</menu>";
    deep += "</menubar>" + tail + "</gui>";
    const QStringList said = build(deep);
    ASSERT_EQ(said.size(), 1);
    EXPECT_TRUE(said.first().startsWith(QStringLiteral("error: ") + prefix + QStringLiteral("<menu> nests deeper than 64 levels")));
    EXPECT_TRUE(tree().contains(QStringLiteral("Tail/FileExit")));
}

TEST_F(Builder, AKeyOfAnItemAssignsTheActionAndTellsTheKeyMap)
{
    QSignalSpy assigned(&builder, &GUIBuilder::keyAssigned);
    build("<gui><toolbar name=\"T\"><item name=\"FileSave\"><key sequence=\"Ctrl+Alt+S\"/><key sequence=\"F2; F3\"/></item></toolbar></gui>");
    VarnelAction *save = actions.find(QStringLiteral("FileSave"));
    EXPECT_EQ(save->shortcuts(), (QList<QKeySequence>{QKeySequence(QStringLiteral("Ctrl+Alt+S")), QKeySequence(Qt::Key_F2), QKeySequence(Qt::Key_F3)}));
    ASSERT_EQ(assigned.size(), 2);
    EXPECT_EQ(assigned.last().at(0).toString(), QStringLiteral("FileSave"));
}

TEST_F(Builder, ATemplateInsertsItsExpansionAndKeepsADoubledAmpersand)
{
    QSignalSpy inserted(&builder, &GUIBuilder::templateInserted);
    build("<gui><menubar><menu name=\"M\" caption=\"M\"><template caption=\"Logical &amp;&amp;&amp;&amp; and\" expansion=\"a &amp;&amp; b\"/>"
          "</menu></menubar></gui>");
    QAction *entry = builder.menu(QStringLiteral("M"))->actions().first();
    EXPECT_EQ(entry->text(), QStringLiteral("Logical &&&& and"));
    entry->trigger();
    ASSERT_EQ(inserted.size(), 1);
    EXPECT_EQ(inserted.first().first().toString(), QStringLiteral("a && b"));
}

TEST_F(Builder, AnOptionFollowsItsSettingBothWays)
{
    SettingsFile settings;
    builder.setSettings(&settings);
    build("<gui><menubar><menu name=\"M\" caption=\"M\"><option name=\"Environment/Build/Show Command Lines\" caption=\"Lines\"/></menu></menubar>"
          "<toolbar name=\"T\"><strip name=\"S\"><option name=\"Environment/Build/Show Command Lines\" caption=\"Lines\"/></strip></toolbar></gui>");
    QAction *entry = builder.menu(QStringLiteral("M"))->actions().first();
    ASSERT_TRUE(entry->isCheckable());
    EXPECT_FALSE(entry->isChecked());
    entry->trigger();
    EXPECT_EQ(settings.value(QStringLiteral("Environment/Build/Show Command Lines")), QStringLiteral("Yes"));
    EXPECT_TRUE(tree().contains(QStringLiteral("T/S/Lines\tLines\t\tchecked"))) << tree().toStdString();
    settings.setYes(QStringLiteral("Environment/Build/Show Command Lines"), false);
    EXPECT_FALSE(entry->isChecked());
    EXPECT_TRUE(tree().contains(QStringLiteral("T/S/Lines\tLines\t\tunchecked")));
}

class FakeProperties : public GUIBuilder::PropertyAccessInterface {
public:
    QString propertyValue(const QString &name) const override { return values.value(name); }
    void setPropertyValue(const QString &name, const QString &value) override { values.insert(name, value); }
    QMap<QString, QString> values;
};

TEST_F(Builder, APropertyEntryIsDisabledWithoutAProjectAndWritesThrough)
{
    build("<gui><menubar><menu name=\"M\" caption=\"M\"><property name=\"build_debug\" caption=\"Debug\"/></menu></menubar></gui>");
    QAction *entry = builder.menu(QStringLiteral("M"))->actions().first();
    EXPECT_FALSE(entry->isEnabled());
    FakeProperties properties;
    properties.values.insert(QStringLiteral("build_debug"), QStringLiteral("Yes"));
    builder.setPropertyAccess(&properties);
    EXPECT_TRUE(entry->isEnabled());
    EXPECT_TRUE(entry->isChecked());
    entry->trigger();
    EXPECT_EQ(properties.values.value(QStringLiteral("build_debug")), QStringLiteral("No"));
    builder.setPropertyAccess(nullptr);
}

TEST_F(Builder, AnIntegerPropertyIsASliderThatWritesThrough)
{
    FakeProperties properties;
    properties.values.insert(QStringLiteral("build_optimization_level"), QStringLiteral("2"));
    builder.setPropertyAccess(&properties);
    build("<gui><toolbar name=\"T\"><property name=\"build_optimization_level\" type=\"integer\" min=\"0\" max=\"3\"/></toolbar></gui>");
    auto *slider = window.findChild<QSlider *>(QStringLiteral("build_optimization_level"));
    ASSERT_NE(slider, nullptr);
    EXPECT_EQ(slider->maximum(), 3);
    EXPECT_EQ(slider->value(), 2);
    slider->setValue(3);
    EXPECT_EQ(properties.values.value(QStringLiteral("build_optimization_level")), QStringLiteral("3"));
    builder.setPropertyAccess(nullptr);
    EXPECT_FALSE(slider->isEnabled());
}

TEST_F(Builder, AnItemOfADialogOrWindowRunsItsOpeningAction)
{
    const QStringList said = build("<gui><menubar><menu name=\"Help\" caption=\"Help\">"
                                   "<item name=\"PreferencesDialog\" url=\"p.htm\" open-action=\"FileSave\"/>"
                                   "<item name=\"NoDialog\" open-action=\"NoAction\"/></menu></menubar></gui>");
    EXPECT_EQ(said, QStringList{QStringLiteral("error: ") + prefix + QStringLiteral("varnel action NoDialog isn't in the dictionary.")});
    EXPECT_EQ(builder.menu(QStringLiteral("Help"))->actions().value(0), actions.find(QStringLiteral("FileSave")));
}

TEST_F(Builder, APlaceholderMarksWhereCodeFillsIn)
{
    build("<gui><menubar><menu name=\"M\" caption=\"M\"><item name=\"FileSave\"/><placeholder name=\"Here\"/><item name=\"FileExit\"/></menu></menubar>"
          "<toolbar name=\"T\"><placeholder name=\"Field\"/></toolbar></gui>");
    QAction *marker = builder.placeholderAction(QStringLiteral("Here"));
    ASSERT_NE(marker, nullptr);
    EXPECT_FALSE(marker->isVisible());
    QMenu *menu = builder.menu(QStringLiteral("M"));
    menu->insertAction(marker, actions.find(QStringLiteral("EditCopy")));
    EXPECT_EQ(menu->actions().indexOf(actions.find(QStringLiteral("EditCopy"))), 1);
    EXPECT_NE(builder.placeholderWidget(QStringLiteral("Field")), nullptr);
}

TEST_F(Builder, AHighlightedEntryShowsItsStatusTip)
{
    actions.find(QStringLiteral("FileSave"))->setStatusTip(QStringLiteral("Saves the document."));
    build("<gui><menubar><menu name=\"M\" caption=\"M\"><item name=\"FileExit\"/><item name=\"FileSave\"/></menu></menubar></gui>");
    QSignalSpy status(&builder, &GUIBuilder::statusText);
    emit builder.menu(QStringLiteral("M"))->hovered(actions.find(QStringLiteral("FileSave")));
    ASSERT_EQ(status.size(), 1);
    EXPECT_EQ(status.first().first().toString(), QStringLiteral("Saves the document."));
}

TEST_F(Builder, ADestroyedMenuIsForgotten)
{
    build("<gui><menubar><menu name=\"M\" caption=\"M\"><item name=\"FileExit\"/></menu></menubar></gui>");
    delete builder.menu(QStringLiteral("M"));
    EXPECT_EQ(builder.menu(QStringLiteral("M")), nullptr);
    EXPECT_TRUE(build("<gui><menubar><menu name=\"M\" caption=\"M\"><item name=\"FileSave\"/></menu></menubar></gui>").isEmpty());
    EXPECT_EQ(builder.menu(QStringLiteral("M"))->actions().size(), 1);
}

TEST_F(Builder, ClearRemovesWhatWasBuiltSoARebuildStartsAfresh)
{
    build("<gui><menubar><menu name=\"M\" caption=\"M\"><item name=\"FileExit\"/></menu></menubar><toolbar name=\"T\"><item name=\"FileSave\"/></toolbar></gui>");
    builder.clear();
    window.menuBar()->clear();
    EXPECT_EQ(builder.menu(QStringLiteral("M")), nullptr);
    EXPECT_TRUE(window.findChildren<QToolBar *>().isEmpty());
    EXPECT_TRUE(tree().isEmpty()) << tree().toStdString();
}

TEST_F(Builder, TheRibbonHoldsPanelsWithTitles)
{
    const QStringList said = build("<gui><ribbon name=\"R\" title=\"Ribbon\"><panel name=\"P\" title=\"Files\"><item name=\"FileSave\"/>"
                                   "<group name=\"G\" title=\"Group\"><item name=\"FileExit\"/></group></panel></ribbon></gui>");
    EXPECT_TRUE(said.isEmpty()) << said.join(u'\n').toStdString();
    EXPECT_EQ(tree(), QStringLiteral("R\tRibbon\t\ttool bar\n"
                                     "R/RPanels\t\t\twidget\n"
                                     "R/RPanels/P\tFiles\t\twidget\n"
                                     "R/RPanels/P/FileSave\tFileSave\t\tenabled\n"
                                     "R/RPanels/P/G\tGroup\t\twidget\n"
                                     "R/RPanels/P/G/FileExit\tFileExit\t\tenabled\n"));
}

int reported = 0;

TEST_F(Builder, ManyFaultsAreAllKeptButOnlyTheFirstThousandReported)
{
    reported = 0;
    setReportSink([](ReportChannel, const QString &) { ++reported; });
    setReportMask(reportErrors | reportWarnings);
    QByteArray description = "<gui><toolbar name=\"T\">";
    for (int i = 0; i < 3000; ++i)
        description += "<item name=\"Missing\"/>";
    description += "<item name=\"FileSave\"/></toolbar></gui>";
    EXPECT_EQ(build(description).size(), 3000);
    EXPECT_EQ(reported, 1000);
    EXPECT_TRUE(tree().contains(QStringLiteral("T/FileSave")));
    setReportSink(nullptr);
}

// Regression: menus past a full menu bar were still made, each one costing more to tear down.
TEST_F(Builder, NothingIsMadeForAFullContainerAndABuildStopsAtItsLimit)
{
    QByteArray description = "<gui><menubar>";
    for (int i = 0; i < 1200; ++i)
        description += "<menu name=\"M" + QByteArray::number(i) + "\" caption=\"M\"><item name=\"FileSave\"/></menu>";
    description += "</menubar><toolbar name=\"T\">";
    for (int i = 0; i < 100; ++i)
        description += "<strip name=\"S" + QByteArray::number(i) + "\"><item name=\"FileSave\"/></strip>";
    description += "</toolbar></gui>";
    EXPECT_EQ(build(description), QStringList{QStringLiteral("warning: ") + prefix + QStringLiteral("Bar holds 1000 entries; the rest is left out.")});
    EXPECT_EQ(builder.menus().size(), 1000);
    EXPECT_EQ(builder.menu(QStringLiteral("M1000")), nullptr);

    builder.clear();
    QByteArray runaway = "<gui><menubar>";
    for (int menu = 0; menu < 101; ++menu) {
        runaway += "<menu name=\"R" + QByteArray::number(menu) + "\" caption=\"R\">";
        for (int i = 0; i < 999; ++i)
            runaway += "<separator/>";
        runaway += "</menu>";
    }
    runaway += "</menubar></gui>";
    const QStringList said = build(runaway);
    EXPECT_EQ(said.last(), QStringLiteral("warning: ") + prefix + QStringLiteral("the description holds more than 100000 entries; the rest is left out."));
    EXPECT_EQ(builder.menus().size(), 100);
    EXPECT_EQ(builder.menu(QStringLiteral("R100")), nullptr);
}

} // namespace
