#include "projects/StandardProjectSystem.h"
#include "tests/projects/SolutionFixture.h"
#include <gtest/gtest.h>

namespace {

// A solution element's text, where the project's, folder's and file's parts are inserted as
// (attributes, children) pairs: ">" splits them.
QByteArray build(const char *solution, const char *project, const char *folder, const char *file)
{
    auto open = [](const char *part) {
        const QByteArray text(part);
        const qsizetype split = text.indexOf('>');
        return split < 0 ? std::pair{text, QByteArray()}
                         : std::pair{text.left(split), text.mid(split + 1)};
    };
    const auto [solutionAttributes, solutionChildren] = open(solution);
    const auto [projectAttributes, projectChildren] = open(project);
    const auto [folderAttributes, folderChildren] = open(folder);
    const auto [fileAttributes, fileChildren] = open(file);
    return "<solution Name=\"S\" version=\"2\" " + solutionAttributes + ">\n"
         + "<project Name=\"P\" " + projectAttributes + ">\n" + projectChildren
         + "<folder Name=\"F\" " + folderAttributes + ">\n" + folderChildren
         + "<file file_name=\"src/a.c\" " + fileAttributes + ">\n" + fileChildren
         + "</file>\n</folder>\n</project>\n" + solutionChildren
         + "<configuration Name=\"Debug\" inherited_configurations=\"ARM\"/>\n"
           "<configuration Name=\"ARM\" hidden=\"Yes\"/>\n</solution>";
}

struct ResolutionCase {
    const char *name;
    const char *solution;   // attributes, then after '>' extra children
    const char *project;
    const char *folder;
    const char *file;
    const char *element;    // path below the solution
    const char *configuration;
    const char *property;
    const char *value;
    const char *trace;      // contributions, "|"-joined, as "path[configuration]=text"
};

QString describe(const PropertyTrace &trace)
{
    QStringList parts;
    for (const PropertyContribution &contribution : trace) {
        if (contribution.isDefault) {
            parts.append(QStringLiteral("(default)=") + contribution.text);
            continue;
        }
        QStringList names;
        for (const ProjectElement *at = contribution.element; at && at->parentElement();
             at = at->parentElement())
            names.prepend(at->elementName());
        parts.append(names.join(u'/') + u'[' + contribution.configuration + QStringLiteral("]=")
                     + contribution.text);
    }
    return parts.join(u'|');
}

class PropertyResolution : public ::testing::TestWithParam<ResolutionCase> {};

TEST_P(PropertyResolution, FindsValueAndTrace)
{
    const ResolutionCase &c = GetParam();
    SolutionFixture fixture;
    fixture.load(build(c.solution, c.project, c.folder, c.file));
    StandardProjectSystem &system = fixture.system;
    const ProjectElement *element = system.findElement(QString::fromUtf8(c.element));
    ASSERT_NE(element, nullptr);
    const PropertyClass *row = system.findClass(QString::fromUtf8(c.property));
    ASSERT_NE(row, nullptr);
    PropertyTrace trace;
    const QString value =
        system.resolveProperty(element, row, QString::fromUtf8(c.configuration), &trace);
    EXPECT_EQ(value.toStdString(), c.value);
    EXPECT_EQ(describe(trace).toStdString(), c.trace);
    EXPECT_EQ(system.resolveProperty(element, row, QString::fromUtf8(c.configuration)), value)
        << "a trace must not change the value";
}

INSTANTIATE_TEST_SUITE_P(
    Cases, PropertyResolution,
    ::testing::Values(
        ResolutionCase{"projectDebugWinsOverProjectCommon", "",
                       "c_only_additional_options_from_file=\"common\">"
                       "<configuration Name=\"Debug\" c_only_additional_options_from_file=\"debug\"/>",
                       "", "", "P/F/a.c", "Debug", "c_only_additional_options_from_file", "debug",
                       "P[Debug]=debug"},
        ResolutionCase{"fileCommonWinsOverProjectDebug", "",
                       "><configuration Name=\"Debug\" linker_map_file=\"No\"/>", "",
                       "linker_map_file=\"Yes\"", "P/F/a.c", "Debug", "linker_map_file", "Yes",
                       "P/F/a.c[Common]=Yes"},
        ResolutionCase{"listGathersAncestorsFirst", "c_preprocessor_definitions=\"a\"", "", "",
                       "c_preprocessor_definitions=\"b\"", "P/F/a.c", "Debug",
                       "c_preprocessor_definitions", "a;b",
                       "P/F/a.c[Common]=b|[Common]=a|(default)="},
        ResolutionCase{"commonSkipsInheritedConfigurations", "",
                       "><configuration Name=\"ARM\" build_quietly=\"Yes\"/>", "", "", "P/F/a.c",
                       "Common", "build_quietly", "No", "(default)=No"},
        ResolutionCase{"inheritedBeforeCommon", "",
                       "build_quietly=\"No\"><configuration Name=\"ARM\" build_quietly=\"Yes\"/>",
                       "", "", "P/F/a.c", "Debug", "build_quietly", "Yes", "P[ARM]=Yes"},
        ResolutionCase{"unsetGivesDefaultUnexpanded", "", "", "", "", "P/F/a.c", "Debug",
                       "build_object_file_name", "$(IntDir)/$(InputName)$(OBJ)",
                       "(default)=$(IntDir)/$(InputName)$(OBJ)"},
        ResolutionCase{"listOrderWithinAStage", "linker_keep_symbols=\"s\"",
                       "linker_keep_symbols=\"c\">"
                       "<configuration Name=\"ARM\" linker_keep_symbols=\"i\"/>"
                       "<configuration Name=\"Debug\" linker_keep_symbols=\"d\"/>",
                       "", "", "P/F/a.c", "Debug", "linker_keep_symbols", "s;c;i;d",
                       "P[Debug]=d|P[ARM]=i|P[Common]=c|[Common]=s|(default)="},
        ResolutionCase{"listInCommonTakesCommonOnly", "",
                       "linker_keep_symbols=\"c\">"
                       "<configuration Name=\"Debug\" linker_keep_symbols=\"d\"/>",
                       "", "", "P/F/a.c", "Common", "linker_keep_symbols", "c",
                       "P[Common]=c|(default)="},
        ResolutionCase{"unsetListIsEmpty", "", "", "", "", "P/F/a.c", "Debug",
                       "c_system_include_directories", "",
                       "(default)=$(VarnelIncDir:$(VarnelDir)/include)"},
        ResolutionCase{"nearestDeclarationOfInheritance", "",
                       "><configuration Name=\"Debug\" inherited_configurations=\"Flash\"/>"
                       "<configuration Name=\"Flash\" build_quietly=\"Yes\"/>"
                       "<configuration Name=\"ARM\" build_quietly=\"No\"/>",
                       "", "", "P/F/a.c", "Debug", "build_quietly", "Yes", "P[Flash]=Yes"},
        ResolutionCase{"commonConfigurationChildCounts", "",
                       "><configuration Name=\"Common\" build_quietly=\"Yes\"/>", "", "",
                       "P/F/a.c", "Debug", "build_quietly", "Yes", "P[Common]=Yes"},
        ResolutionCase{"ownAttributeBeatsCommonChild", "",
                       "build_quietly=\"No\"><configuration Name=\"Common\" build_quietly=\"Yes\"/>",
                       "", "", "P", "Debug", "build_quietly", "No", "P[Common]=No"},
        ResolutionCase{"emptyFirstContributionIsReplaced", "linker_keep_symbols=\"s\"", "", "",
                       "linker_keep_symbols=\"\"", "P/F/a.c", "Debug", "linker_keep_symbols",
                       "s", "P/F/a.c[Common]=|[Common]=s|(default)="},
        ResolutionCase{"solutionValueReachesFile", "build_quietly=\"Yes\"", "", "", "", "P/F/a.c",
                       "Release", "build_quietly", "Yes", "[Common]=Yes"}),
    [](const auto &info) { return std::string(info.param.name); });

struct ExpansionCase {
    const char *name;
    const char *solution;
    const char *project;
    const char *folder;
    const char *file;
    const char *element;
    const char *configuration;
    const char *property;
    const char *expanded;   // with "<dir>" for the solution's directory
};

class PropertyExpansion : public ::testing::TestWithParam<ExpansionCase> {};

TEST_P(PropertyExpansion, ExpandsWithTheElementsMacros)
{
    const ExpansionCase &c = GetParam();
    SolutionFixture fixture;
    fixture.load(build(c.solution, c.project, c.folder, c.file));
    StandardProjectSystem &system = fixture.system;
    const ProjectElement *element = system.findElement(QString::fromUtf8(c.element));
    ASSERT_NE(element, nullptr);
    const QString configuration = QString::fromUtf8(c.configuration);
    const PropertyClass *row = system.classFor(QString::fromUtf8(c.property), element,
                                               configuration);
    ASSERT_NE(row, nullptr);
    const QString expected = QString::fromUtf8(c.expanded).replace(
        QStringLiteral("<dir>"), QFileInfo(fixture.directory.path()).canonicalFilePath());
    const QString first = system.expandedProperty(element, row, configuration);
    EXPECT_EQ(first.toStdString(), expected.toStdString());
    system.invalidateCaches();
    // The same answer when the file is asked first, before its folder filled the caches.
    EXPECT_EQ(system.expandedProperty(element, row, configuration).toStdString(),
              expected.toStdString());
}

INSTANTIATE_TEST_SUITE_P(
    Cases, PropertyExpansion,
    ::testing::Values(
        ExpansionCase{"objectFileByDefault", "", "", "", "", "P/F/a.c", "Debug",
                      "build_object_file_name", "Output/Debug/Obj/P/a.o"},
        ExpansionCase{"executableOutputByDefault", "", "", "", "", "P", "Release",
                      "build_output_file_name", "Output/Release/Exe/P.elf"},
        ExpansionCase{"libraryOutputByDefault", "", "project_type=\"Library\"", "", "", "P",
                      "Release", "build_output_file_name", "Output/Release/Exe/P.a"},
        ExpansionCase{"intermediateDirectoryPerFile", "", "", "",
                      "build_intermediate_directory=\"obj/$(ProjectNodeName)\"", "P/F/a.c",
                      "Debug", "build_object_file_name", "obj/a.c/a.o"},
        ExpansionCase{"intermediateDirectoryUsingFileMacroFromProject", "",
                      "build_intermediate_directory=\"obj/$(InputExt:none)\"", "", "", "P/F/a.c",
                      "Debug", "build_object_file_name", "obj/c/a.o"},
        ExpansionCase{"fallbackOfFileMacroOnTheFolder", "",
                      "build_intermediate_directory=\"obj/$(InputExt:none)\"", "", "", "P/F",
                      "Debug", "build_intermediate_directory", "obj/none"},
        ExpansionCase{"projectMacrosReachFiles", "",
                      "macros=\"Kind=arm;Opt=2\" build_intermediate_directory=\"o/$(Kind)\"",
                      "", "", "P/F/a.c", "Debug", "build_object_file_name", "o/arm/a.o"},
        ExpansionCase{"fileMacrosOverrideProjectMacros", "",
                      "macros=\"Kind=arm\" build_intermediate_directory=\"o/$(Kind)\"", "",
                      "macros=\"Kind=thumb\"", "P/F/a.c", "Debug", "build_object_file_name",
                      "o/thumb/a.o"},
        ExpansionCase{"userMacroBeatsBuildMacro", "macros=\"OBJ=.obj\"", "", "", "", "P/F/a.c",
                      "Debug", "build_object_file_name", "Output/Debug/Obj/P/a.obj"},
        ExpansionCase{"configurationMacro", "",
                      "><configuration Name=\"Debug\" build_output_directory=\"bin/$(Configuration)\"/>",
                      "", "", "P", "Debug", "build_output_file_name", "bin/Debug/P.elf"},
        ExpansionCase{"inputPathAbsolute", "", "", "", "", "P/F/a.c", "Debug", "file_name",
                      "src/a.c"},
        ExpansionCase{"projectDirectoryMacro", "", "project_directory=\"fw\"", "",
                      "c_only_additional_options_from_file=\"$(ProjectDir)/$(RelInputDir)/$(FolderName)\"",
                      "P/F/a.c", "Debug", "c_only_additional_options_from_file",
                      "<dir>/fw/src/F"},
        ExpansionCase{"solutionMacros", "", "", "",
                      "c_only_additional_options_from_file=\"$(SolutionName)|$(SolutionFileName)|$(SolutionExt)\"",
                      "P/F/a.c", "Debug", "c_only_additional_options_from_file",
                      "S|s.qvProject|qvProject"},
        ExpansionCase{"systemMacrosAfterElementMacros", "", "", "", "", "P", "Debug",
                      "linker_section_placement_file", "/opt/tess/targets/section_placement.xml"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(PropertyValues, SettingAValueLogsTheChangeAndCreatesTheHolder)
{
    SolutionFixture fixture;
    fixture.load(build("", "", "", ""));
    StandardProjectSystem &system = fixture.system;
    ProjectElement *file = system.findElement(QStringLiteral("P/F/a.c"));
    PropertyClass *row = system.propertyClass(ProjectProperty::BuildQuietly);
    const QString release = QStringLiteral("Release");
    std::unique_ptr<PropertyValue> value = system.propertyValue(file, row, release);
    EXPECT_FALSE(value->isSet());
    EXPECT_EQ(value->value(), QStringLiteral("No"));
    value->setValue(QStringLiteral("Yes"));
    EXPECT_TRUE(value->isSet());
    EXPECT_EQ(system.resolveProperty(file, row, release), QStringLiteral("Yes"));
    EXPECT_EQ(system.resolveProperty(file, row, QStringLiteral("Debug")), QStringLiteral("No"));
    ASSERT_EQ(system.changeLog().size(), 1u);
    const PropertyChange &change = system.changeLog().front();
    EXPECT_EQ(change.element, file);
    EXPECT_EQ(change.configuration, release);
    EXPECT_EQ(change.flags, PropertyChange::WasUnset | PropertyChange::CreatedHolder);
    value->setValue(QStringLiteral("No"));
    EXPECT_EQ(system.changeLog().back().previousValue, QStringLiteral("Yes"));
    EXPECT_EQ(system.changeLog().back().flags, 0u);
    value->unset();
    EXPECT_FALSE(value->isSet());
    // The new holder is written as a configuration child of the file.
    EXPECT_TRUE(system.solutionFileBytes(system.solution())
                    .contains("<configuration Name=\"Release\" />"));
}

TEST(PropertyValues, ListValueReadsTheHolderAlone)
{
    SolutionFixture fixture;
    fixture.load(build("c_preprocessor_definitions=\"A\"", "", "", "c_preprocessor_definitions=\"B\""));
    StandardProjectSystem &system = fixture.system;
    ProjectElement *file = system.findElement(QStringLiteral("P/F/a.c"));
    PropertyClass *row = system.propertyClass(ProjectProperty::CPreprocessorDefinitions);
    EXPECT_EQ(system.propertyValue(file, row, QStringLiteral("Common"))->value(),
              QStringLiteral("B"));
    EXPECT_EQ(system.resolveProperty(file, row, QStringLiteral("Common")), QStringLiteral("A;B"));
}

TEST(PropertyValues, MacroEditReachesCachedExpansions)
{
    SolutionFixture fixture;
    fixture.load(build("", "build_intermediate_directory=\"o/$(Kind)\" macros=\"Kind=a\"", "", ""));
    StandardProjectSystem &system = fixture.system;
    ProjectElement *project = system.findElement(QStringLiteral("P"));
    const ProjectElement *file = system.findElement(QStringLiteral("P/F/a.c"));
    const PropertyClass *object = system.propertyClass(ProjectProperty::BuildObjectFileName);
    const QString debug = QStringLiteral("Debug");
    EXPECT_EQ(system.expandedProperty(file, object, debug), QStringLiteral("o/a/a.o"));
    system.propertyValue(project, system.propertyClass(ProjectProperty::Macros),
                         QStringLiteral("Common"))
        ->setValue(QStringLiteral("Kind=b"));
    EXPECT_EQ(system.expandedProperty(file, object, debug), QStringLiteral("o/b/a.o"));
}

TEST(PropertyValues, PublicAndPrivateConfigurationsFollowTheDeclarations)
{
    SolutionFixture fixture;
    fixture.load(build("", "", "", ""));
    StandardProjectSystem &system = fixture.system;
    ProjectElement *solution = system.solution();
    auto value = [&](ProjectProperty id) {
        return system.propertyValue(solution, system.propertyClass(id), QStringLiteral("Common"));
    };
    EXPECT_EQ(value(ProjectProperty::PublicConfigurations)->value(), QStringLiteral("Debug"));
    EXPECT_EQ(value(ProjectProperty::PrivateConfigurations)->value(), QStringLiteral("ARM"));
    value(ProjectProperty::PublicConfigurations)->setValue(QStringLiteral("Debug;Release"));
    EXPECT_EQ(system.publicConfigurations(), (QStringList{"Debug", "Release"}));
    value(ProjectProperty::PrivateConfigurations)->setValue(QStringLiteral("Release"));
    EXPECT_EQ(system.publicConfigurations(), QStringList{"Debug"});
    EXPECT_EQ(system.privateConfigurations(), QStringList{"Release"});
    std::unique_ptr<PropertyValue> inherited = system.propertyValue(
        solution, system.propertyClass(ProjectProperty::InheritedConfigurations),
        QStringLiteral("Debug"));
    EXPECT_EQ(inherited->value(), QStringLiteral("ARM"));
    inherited->setValue(QString());
    EXPECT_EQ(inherited->value(), QString());
    EXPECT_TRUE(system.inheritedConfigurations(solution, QStringLiteral("Debug")).isEmpty());
}

TEST(PropertyCatalogue, ProjectTypeDescriptionNamesEveryChoice)
{
    StandardProjectSystem system;
    const PropertyClass *row = system.propertyClass(ProjectProperty::ProjectType);
    EXPECT_EQ(row->description, QStringLiteral("Specifies the type of project to build. The "
                                               "options are <b>")
                                    + row->choices.join(QStringLiteral(", "))
                                    + QStringLiteral("</b>."));
    EXPECT_EQ(row->choices.size(), 7);
}

TEST(PropertyCatalogue, EveryRowIsFoundByNameAndBuildMacrosAreMacroRows)
{
    StandardProjectSystem system;
    for (int i = 0; i < projectPropertyCount; ++i) {
        const PropertyClass *row = system.propertyClass(ProjectProperty(i));
        if (ProjectProperty(i) == ProjectProperty::BuildOutputFileNameLibrary)
            continue;
        EXPECT_EQ(system.findClass(row->name), row) << row->name.toStdString();
        if (row->type == PropertyClass::Boolean) {
            EXPECT_FALSE(row->defaultValue.isEmpty()) << row->name.toStdString();
        }
    }
    const PropertyClass *intDir = system.findClass(QStringLiteral("IntDir"));
    ASSERT_NE(intDir, nullptr);
    EXPECT_NE(dynamic_cast<const MacroPropertyClass *>(intDir), nullptr);
    EXPECT_EQ(intDir->name, QStringLiteral("$(IntDir)"));
}

} // namespace
