#include "buildengine/PropertyValues.h"
#include "foundation/PropertyClass.h"
#include "projects/StandardProjectSystem.h"
#include "tests/support/TestSupport.h"
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <functional>
#include <memory>

namespace {

// Values at every level: the solution, a project, folders (one nested), a file with values of
// its own in two configurations, and files with none; a list row that adds up along the tree;
// a configuration that inherits another.
constexpr const char *solutionText =
    "<!DOCTYPE Tessbench_Project_File>\n<Tessbench_Project_File>\n"
    "<solution Name=\"S\" version=\"2\" c_preprocessor_definitions=\"TOP\">\n"
    " <configuration Name=\"Debug\" build_quietly=\"Yes\"/>\n"
    " <configuration Name=\"Release\" inherited_configurations=\"Debug\"/>\n"
    " <project Name=\"App\" c_preprocessor_definitions=\"APP\">\n"
    "  <configuration Name=\"Common\" project_type=\"Executable\"/>\n"
    "  <configuration Name=\"Release\" build_quietly=\"No\" c_additional_options=\"-O2\"/>\n"
    "  <folder Name=\"Source\" c_preprocessor_definitions=\"SRC\">\n"
    "   <file file_name=\"a.c\"/>\n"
    "   <file file_name=\"b.c\" c_preprocessor_definitions=\"B\">\n"
    "    <configuration Name=\"Debug\" build_quietly=\"No\" c_additional_options=\"-g3\"/>\n"
    "   </file>\n"
    "   <folder Name=\"Deep\">\n"
    "    <file file_name=\"deep/c.c\"/>\n"
    "   </folder>\n"
    "  </folder>\n"
    "  <file file_name=\"top.c\"/>\n"
    " </project>\n"
    "</solution>\n</Tessbench_Project_File>\n";

class PropertyValuesTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_macros = PropertyClassList::createMacroSystem();
        PropertyClassList::setGlobal(m_macros.get());
        m_macros->defineSystemMacro(QStringLiteral("VarnelDir"), QStringLiteral("/opt/tess"),
                                    QString());
        ASSERT_TRUE(m_directory.isValid());
        TestSupport::writeFile(m_directory.filePath(QStringLiteral("s.qvProject")), solutionText);
        m_system.loadSolution(m_directory.path(), QStringLiteral("s.qvProject"), false);
    }
    void TearDown() override
    {
        m_system.closeSolution();
        PropertyClassList::setGlobal(nullptr);
    }

    // Every node of the tree, solution first.
    std::vector<const ProjectElement *> nodes() const
    {
        std::vector<const ProjectElement *> all;
        const std::function<void(const ProjectElement *)> walk = [&](const ProjectElement *at) {
            all.push_back(at);
            for (const ProjectElement *child : at->children()) {
                if (child->isNode())
                    walk(child);
            }
        };
        walk(m_system.solution());
        return all;
    }
    // Asks for every row the test looks at, for every node and configuration, and compares
    // with the project system's own answer.
    void expectSameAsTheSystem(const PropertyValues &values) const
    {
        for (int pass = 0; pass < 2; ++pass) {   // the second pass answers from what was kept
            for (const char *configuration : {"Debug", "Release", "Common"}) {
                for (const ProjectProperty property : rows) {
                    const PropertyClass *row = m_system.propertyClass(property);
                    for (const ProjectElement *node : nodes()) {
                        const QString name = QString::fromLatin1(configuration);
                        EXPECT_EQ(values.value(node, row, name).toStdString(),
                                  m_system.resolveProperty(node, row, name).toStdString())
                            << row->name.toStdString() << " of " << node->elementName().toStdString()
                            << " in " << configuration << ", pass " << pass;
                    }
                }
            }
        }
    }

    static constexpr ProjectProperty rows[] = {
        ProjectProperty::BuildQuietly, ProjectProperty::CAdditionalOptions,
        ProjectProperty::CPreprocessorDefinitions, ProjectProperty::ProjectType,
        ProjectProperty::BuildObjectFileName};

    std::unique_ptr<PropertyClassList> m_macros;
    QTemporaryDir m_directory;
    StandardProjectSystem m_system;
};

} // namespace

TEST_F(PropertyValuesTest, AnswerAsThePropertySystemDoesForEveryElement)
{
    const PropertyValues values(m_system);
    expectSameAsTheSystem(values);
}

TEST_F(PropertyValuesTest, AnEditIsSeenAtOnce)
{
    const PropertyValues values(m_system);
    expectSameAsTheSystem(values);
    // A value given to a file that had none, and one taken from the folder above the others.
    ProjectElement *file = m_system.findElement(QStringLiteral("App/Source/a.c"));
    ProjectElement *folder = m_system.findElement(QStringLiteral("App/Source"));
    ASSERT_NE(file, nullptr);
    ASSERT_NE(folder, nullptr);
    const PropertyClass *definitions =
        m_system.propertyClass(ProjectProperty::CPreprocessorDefinitions);
    m_system.storeValue(file, definitions, QStringLiteral("Debug"), QStringLiteral("ONLY_A"));
    m_system.storeValue(folder, definitions, QStringLiteral("Common"), QString());
    EXPECT_EQ(values.value(file, definitions, QStringLiteral("Debug")),
              QStringLiteral("TOP;APP;ONLY_A"));
    expectSameAsTheSystem(values);
}
