#include "buildengine/GenericOptions.h"
#include "buildengine/ToolCommands.h"
#include "foundation/MacroSession.h"
#include "foundation/PropertyClass.h"
#include "projects/StandardProjectSystem.h"
#include "tests/support/TestSupport.h"
#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <map>

namespace {

// A small solution in a temporary directory, with the macro system set up while it lives.
class Solution {
public:
    Solution()
    {
        write("s.qvProject",
              "<!DOCTYPE Tessbench_Project_File>\n<Tessbench_Project_File>\n"
              "<solution Name=\"S\" version=\"2\">\n"
              " <project Name=\"App\">\n"
              "  <configuration Name=\"Common\" project_type=\"Executable\"/>\n"
              "  <folder Name=\"Source\">\n"
              "   <file file_name=\"main.c\"/>\n"
              "   <file file_name=\"my file.cpp\"/>\n"
              "   <file file_name=\"start.s\"/>\n"
              "  </folder>\n"
              " </project>\n"
              " <configuration Name=\"Debug\"/>\n"
              "</solution>\n</Tessbench_Project_File>\n");
        m_system.loadSolution(m_directory.path(), QStringLiteral("s.qvProject"), false);
        m_project = m_system.findElement(QStringLiteral("App"));
        write("opts.txt", "# options\n-Ofast\n/* not\nthis */\n-fno-x\n");
        write("map.xml", "<Board_Memory_Definition_File/>");
        write("place.xml", "<Placement/>");
        write("tools.xml",
              "<generic>\n"
              " <group name=\"Code\">\n"
              "  <property name=\"opt_level\" tool=\"compiler\" type=\"enumeration\" default=\"Size\">\n"
              "   <choice value=\"None\" option=\"\"/>\n"
              "   <choice value=\"Size\" option=\"-Os;-ffunction-sections\"/>\n"
              "  </property>\n"
              " </group>\n"
              " <property name=\"cpu_defs\" tool=\"c_compiler;assembler\" prefix=\"D\" default=\"CPU=1;FAST\"/>\n"
              " <property name=\"other_chain\" tool=\"compiler\" prefix=\"X\" default=\"never\" condition=\"gcc\"/>\n"
              " <property name=\"link_opts\" tool=\"linker\" prefix=\"L\" default=\"$(ProjectName)\"/>\n"
              "</generic>\n");
    }
    ~Solution()
    {
        m_system.closeSolution();
    }

    void write(const char *name, const QByteArray &bytes)
    {
        TestSupport::writeFile(m_directory.filePath(QString::fromUtf8(name)), bytes);
    }
    void set(const std::map<std::string, std::string> &values)
    {
        for (const auto &[name, value] : values) {
            const QString key = QString::fromStdString(name);
            if (const PropertyClass *row = m_system.findClass(key))
                m_system.storeValue(m_project, row, QStringLiteral("Common"), QString::fromStdString(value));
            else   // a row of a generic options file
                m_project->setProperty(key, QString::fromStdString(value));
        }
        m_system.invalidateCaches();
    }
    CompileRequest request(ToolKind kind, const char *element = nullptr)
    {
        CompileRequest request;
        request.element = element ? m_system.findElement(QString::fromUtf8(element)) : m_project;
        request.configuration = QStringLiteral("Debug");
        request.kind = kind;
        const QString base = m_directory.path();
        if (element) {
            request.inputs = {base + u'/' + request.element->elementName()};
            request.output = base + QStringLiteral("/obj/") + request.element->elementName() + QStringLiteral(".o");
            request.dependencyFile = base + QStringLiteral("/obj/x.d");
        } else {
            request.inputs = {base + QStringLiteral("/obj/main.o"), base + QStringLiteral("/obj/start.o")};
            request.output = base + QStringLiteral("/out/App.elf");
        }
        return request;
    }
    // The step as text, the temporary directory shown as "<dir>".
    std::string line(const CompileRequest &request)
    {
        GenericOptions generic(m_system);
        if (!generic.load(request.element, request.configuration))
            return "generic options failed";
        ToolCommandLines lines(m_system, generic);
        ToolStep step;
        QStringList errors;
        if (!lines.standardStep(request, step, errors))
            return errors.join(u'|').replace(m_directory.path(), QStringLiteral("<dir>")).toStdString();
        QString shown = step.title + u'|' + describeStep(step);
        return shown.replace(m_directory.path(), QStringLiteral("<dir>")).toStdString();
    }

    MacroSession m_macros{QStringLiteral("/opt/tess")};
    QTemporaryDir m_directory;
    StandardProjectSystem m_system;
    ProjectElement *m_project = nullptr;
};

struct LineCase {
    const char *name;
    ToolKind kind;
    const char *element;   // null: the project
    std::map<std::string, std::string> values;
};

class ToolLines : public ::testing::Test, public Solution {};

// Every case's line goes into one golden file, so a review sees the lines side by side.
TEST(ToolLineGolden, StandardFrontEndLines)
{
    const std::vector<LineCase> cases = {
        {"cDefaults", ToolKind::CCompile, "App/Source/main.c", {}},
        {"cQuietWarnings", ToolKind::CCompile, "App/Source/main.c",
         {{"build_quietly", "Yes"}, {"build_treat_warnings_as_errors", "Yes"},
          {"build_suppress_warnings", "Yes"}, {"build_debug_information", "No"}}},
        {"cDefinesIncludesSections", ToolKind::CCompile, "App/Source/main.c",
         {{"c_preprocessor_definitions", "A=1;B"}, {"c_preprocessor_undefinitions", "C"},
          {"c_user_include_directories", "inc;$(ProjectDir)/gen"},
          {"default_code_section", ".text"}, {"default_data_section", ".fastdata"},
          {"default_zeroed_section", ".bss"}, {"default_const_section", ".flash"}}},
        {"cAdditionalOptions", ToolKind::CCompile, "App/Source/main.c",
         {{"c_additional_options", "-x;a\\;b"}, {"c_only_additional_options", "-std=c99"},
          {"cpp_only_additional_options", "-never"}, {"c_additional_options_from_file", "opts.txt"}}},
        {"cppExceptionsRtti", ToolKind::CppCompile, "App/Source/my file.cpp",
         {{"cpp_enable_exceptions", "Yes"}, {"cpp_enable_rtti", "Yes"},
          {"cpp_only_additional_options", "-fcpp"}, {"c_only_additional_options", "-never"}}},
        {"assembler", ToolKind::Assemble, "App/Source/start.s",
         {{"asm_additional_options", "-a1;-a2"}, {"c_additional_options", "-never"}}},
        {"genericOptions", ToolKind::CCompile, "App/Source/main.c",
         {{"build_generic_options_file_name", "tools.xml"}}},
        {"genericOptionsCpp", ToolKind::CppCompile, "App/Source/my file.cpp",
         {{"build_generic_options_file_name", "tools.xml"}, {"opt_level", "None"}}},
        {"genericOptionsAssembler", ToolKind::Assemble, "App/Source/start.s",
         {{"build_generic_options_file_name", "tools.xml"}}},
        {"missingOptionsFile", ToolKind::CppCompile, "App/Source/my file.cpp",
         {{"cpp_only_additional_options_from_file", "nothere.txt"}}},
        {"archive", ToolKind::Archive, nullptr, {{"build_quietly", "Yes"}}},
        {"linkDefaults", ToolKind::Link, nullptr, {}},
        {"linkPrintfLong", ToolKind::Link, nullptr,
         {{"linker_printf_fmt_level", "long"}, {"linker_printf_width_precision_supported", "Yes"},
          {"linker_printf_wchar_enabled", "Yes"}, {"linker_scanf_fmt_level", "long long"},
          {"linker_scanf_character_group_matching_enabled", "Yes"}}},
        {"linkPrintfDoubleLongLong", ToolKind::Link, nullptr,
         {{"linker_printf_fmt_level", "long long"}, {"linker_printf_fp_enabled", "Double"},
          {"linker_scanf_fp_enabled", "Yes"}}},
        {"linkPrintfFloat", ToolKind::Link, nullptr,
         {{"linker_printf_fp_enabled", "Float"}, {"linker_printf_width_precision_supported", "Yes"}}},
        {"linkMemoryMapPlacement", ToolKind::Link, nullptr,
         {{"linker_memory_map_file", "map.xml"}, {"linker_memory_map_macros", "FLASH=1"},
          {"linker_section_placement_file", "$(ProjectDir)/place.xml"},
          {"linker_section_placement_macros", "RAM=2"}, {"linker_section_placements_segments", "ignored"}}},
        {"linkSegmentsWithoutMap", ToolKind::Link, nullptr,
         {{"linker_memory_map_file", "missing.xml"}, {"linker_section_placements_segments", "FLASH RX;RAM RWX"}}},
        {"linkScript", ToolKind::Link, nullptr,
         {{"link_use_linker_script_file", "Yes"}, {"link_linker_script_file", "app.ld"},
          {"linker_memory_map_file", "map.xml"}}},
        {"linkOutputsSymbols", ToolKind::Link, nullptr,
         {{"linker_output_format", "hex"}, {"link_include_standard_libraries", "No"},
          {"linker_map_file", "No"}, {"link_symbol_definitions", "STACK=0x400;HEAP=0"},
          {"linker_keep_symbols", "vectors"}, {"linker_additional_options", "--gc;-z x"},
          {"linker_additional_options_from_file", "opts.txt"},
          {"linker_patch_build_command", "patch $(ProjectName)"}, {"cpp_enable_rtti", "Yes"}}},
        {"linkGenericOptions", ToolKind::Link, nullptr, {{"build_generic_options_file_name", "tools.xml"}}},
    };
    QByteArray text;
    for (const LineCase &c : cases) {
        Solution fresh;   // a case's values must not leak into the next
        fresh.set(c.values);
        text += "== " + QByteArray(c.name) + '\n' + QByteArray::fromStdString(fresh.line(fresh.request(c.kind, c.element))) + '\n';
    }
    TestSupport::expectGolden(QStringLiteral(TESS_TEST_DATA "/golden/tool-lines.txt"), text);
}

TEST_F(ToolLines, ListFileHoldsObjectsAndLibraries)
{
    GenericOptions generic(m_system);
    ToolCommandLines lines(m_system, generic);
    CompileRequest link = request(ToolKind::Link);
    link.libraries = {QStringLiteral("$(ProjectDir)/lib/libx.a")};
    ToolStep step;
    QStringList errors;
    ASSERT_TRUE(lines.standardStep(link, step, errors));
    ASSERT_TRUE(ToolCommandLines::writeListFile(step));
    EXPECT_EQ(TestSupport::readFile(step.listFile),
              (link.inputs.join(u'\n') + u'\n' + m_directory.path() + QStringLiteral("/lib/libx.a\n")).toUtf8());
    EXPECT_TRUE(step.listFile.endsWith(QStringLiteral("/App.ind")));
}

TEST_F(ToolLines, ExternalCommandGetsStepMacrosAndGenericOptions)
{
    write("tools.xml", "<g><property name=\"w\" tool=\"compiler\" prefix=\"W\" default=\"all\"/></g>");
    set({{"build_generic_options_file_name", "tools.xml"},
         {"external_c_compile_command", "gcc -c \"$(InputPath)\" -o $(RelTargetPath) $(Defines) -MF $(RelDependencyPath)"},
         {"c_preprocessor_definitions", "A;B=2"}});
    GenericOptions generic(m_system);
    ASSERT_TRUE(generic.load(m_project, QStringLiteral("Debug")));
    ToolCommandLines lines(m_system, generic);
    const CompileRequest compile = request(ToolKind::CCompile, "App/Source/main.c");
    const ToolStep step = lines.externalStep(compile, m_system.findClass(QStringLiteral("external_c_compile_command")));
    EXPECT_EQ(step.arguments, (QStringList{"gcc", "-c", m_directory.filePath(QStringLiteral("main.c")), "-o",
                                           "obj/main.c.o", "-DA", "-DB=2", "-MF", "obj/x.d", "-Wall"}));
    EXPECT_EQ(step.title, QStringLiteral("Compiling main.c"));
}

TEST_F(ToolLines, GenericOptionsLoadOnlyWhenNameChangesAndBackUpOptions)
{
    write("a.xml", "<g><property name=\"p\" tool=\"linker\" prefix=\"P\"/></g>");
    write("b.xml", "<g><property name=\"q\" tool=\"assembler;linker\" prefix=\"Q\"/></g>");
    write("bad.xml", "<g><property");
    set({{"build_generic_options_file_name", "a.xml"}, {"c_additional_options", "-keep"}});
    GenericOptions generic(m_system);
    ASSERT_TRUE(generic.load(m_project, QStringLiteral("Debug")));
    EXPECT_NE(generic.findClass(QStringLiteral("p")), nullptr);
    EXPECT_EQ(*m_project->findValue(QStringLiteral("Common"), QStringLiteral("c_additional_options_backup")),
              QStringLiteral("-keep"));
    set({{"build_generic_options_file_name", "b.xml"}});
    ASSERT_TRUE(generic.load(m_project, QStringLiteral("Debug")));
    EXPECT_EQ(generic.findClass(QStringLiteral("p")), nullptr);
    EXPECT_EQ(generic.rows(GenericTool::Assembler).size(), 1u);
    EXPECT_EQ(generic.rows(GenericTool::Linker).size(), 1u);
    set({{"build_generic_options_file_name", "bad.xml"}});
    QString error;
    EXPECT_FALSE(generic.load(m_project, QStringLiteral("Debug"), &error));
    EXPECT_TRUE(error.startsWith(m_directory.filePath(QStringLiteral("bad.xml")) + u':')) << error.toStdString();
    EXPECT_TRUE(generic.rows(GenericTool::Linker).empty());
}

} // namespace
