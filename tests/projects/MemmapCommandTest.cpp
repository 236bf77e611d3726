#include "foundation/MacroSession.h"
#include "projects/MemoryMap.h"
#include "projects/MemoryMapHeader.h"
#include "tests/support/TestSupport.h"
#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

using TestSupport::binPath;
using TestSupport::readFile;
using TestSupport::runProgram;
using TestSupport::writeFile;

const QString exampleMap = QStringLiteral(TESS_SOURCE_DIR "/examples/memmap/nx32g4.xml");
const QString golden = QStringLiteral(TESS_TEST_DATA "/golden/");

TestSupport::ProgramRun tess(const QStringList &arguments, const QString &directory = {})
{
    return runProgram(binPath(QStringLiteral("tess")), arguments, {}, directory);
}

struct GoldenCase {
    const char *name;
    QStringList arguments;   // "<map>" and "<placement>" stand for the example files
    const char *golden;
};

class MemmapGolden : public ::testing::TestWithParam<GoldenCase> {};

TEST_P(MemmapGolden, MatchesTheGoldenOutput)
{
    const GoldenCase &c = GetParam();
    QStringList arguments;
    for (const QString &argument : c.arguments)
        arguments.append(QString(argument)
                             .replace(QStringLiteral("<map>"), QStringLiteral("nx32g4.xml"))
                             .replace(QStringLiteral("<placement>"), QStringLiteral("placement.xml")));
    // Run beside the example, so that the output names it as the user did.
    const TestSupport::ProgramRun run = tess(arguments, QFileInfo(exampleMap).path());
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.err.toStdString(), "");
    TestSupport::expectGolden(golden + QString::fromLatin1(c.golden), run.out);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MemmapGolden,
    ::testing::Values(
        GoldenCase{"tree", {"memmap", "show", "<map>"}, "memmap-show.txt"},
        GoldenCase{"flat", {"memmap", "show", "<map>", "--flat"}, "memmap-show-flat.txt"},
        GoldenCase{"placementWithDefinitions",
                   {"memmap", "show", "<placement>", "--defs", "STACK_SIZE=0x800;HEAP_SIZE=0"},
                   "memmap-show-placement.txt"},
        GoldenCase{"check", {"memmap", "check", "<map>"}, "memmap-check.txt"}),
    [](const auto &info) { return std::string(info.param.name); });

// Bad maps and bad command lines: the exit code and the message, never a crash.
struct BadCase {
    const char *name;
    QByteArray map;          // written to map.xml in a fresh directory; empty: no file
    QStringList arguments;   // run in that directory
    int exitCode;
    const char *err;         // the start of standard error
};

class MemmapBadInput : public ::testing::TestWithParam<BadCase> {};

TEST_P(MemmapBadInput, FailsWithAClearMessage)
{
    const BadCase &c = GetParam();
    QTemporaryDir directory;
    if (!c.map.isEmpty())
        writeFile(directory.filePath(QStringLiteral("map.xml")), c.map);
    const TestSupport::ProgramRun run = tess(c.arguments, directory.path());
    EXPECT_EQ(run.exitCode, c.exitCode) << run.err.toStdString();
    EXPECT_TRUE(run.err.startsWith(c.err)) << run.err.toStdString();
    EXPECT_FALSE(QFileInfo::exists(directory.filePath(QStringLiteral("out.h"))));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MemmapBadInput,
    ::testing::Values(
        BadCase{"missingFile", {}, {"memmap", "show", "map.xml"}, 1,
                "tess memmap show: map.xml: cannot open: "},
        BadCase{"directory", {}, {"memmap", "show", "."}, 1,
                "tess memmap show: .: cannot open: is a directory"},
        BadCase{"notXml", "<Board_Memory_Definition_File><Register name=\"a\">",
                {"memmap", "header", "map.xml", "-o", "out.h"}, 1, "tess memmap header: map.xml:"},
        BadCase{"onlyWhiteSpace", "  \n", {"memmap", "check", "map.xml"}, 1,
                "tess memmap check: map.xml: no root element"},
        BadCase{"headerWithoutOutput", "<Board_Memory_Definition_File/>",
                {"memmap", "header", "map.xml"}, 2,
                "tess memmap header: give the header to write with -o OUT.h"},
        BadCase{"usageWithoutElf", "<Board_Memory_Definition_File/>",
                {"memmap", "usage", "map.xml"}, 2, "tess memmap usage: give the memory-map file"},
        BadCase{"usageOfANonElf", "<Board_Memory_Definition_File/>",
                {"memmap", "usage", "map.xml", "map.xml"}, 1, "tess memmap usage: "},
        BadCase{"headerOfABadStart",
                "<Board_Memory_Definition_File>\n<RegisterGroup name=\"G\" start=\"1/0\"/>"
                "</Board_Memory_Definition_File>",
                {"memmap", "header", "map.xml", "-o", "out.h"}, 1,
                "tess memmap header: map.xml:2: "},
        BadCase{"headerWithOneNameForTwoAddresses",
                "<Board_Memory_Definition_File>\n<RegisterGroup name=\"A B\" start=\"0x10\"/>\n"
                "<RegisterGroup name=\"A_B\" start=\"0x20\"/></Board_Memory_Definition_File>",
                {"memmap", "header", "map.xml", "-o", "out.h"}, 1,
                "tess memmap header: map.xml:3: RegisterGroup 'A_B' makes A_B_BASE 0x00000020U, "
                "which map.xml:2 made 0x00000010U\n"},
        BadCase{"checkFindsProblems",
                "<Board_Memory_Definition_File>\n<MemorySegment name=\"A\" start=\"0\" size=\"8\"/>\n"
                "<MemorySegment name=\"A\" start=\"4\" size=\"8\"/></Board_Memory_Definition_File>",
                {"memmap", "check", "map.xml"}, 1, ""}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(MemmapCheck, ReportsAnIncludeCycleAndEnds)
{
    QTemporaryDir directory;
    writeFile(directory.filePath(QStringLiteral("map.xml")),
              "<Board_Memory_Definition_File><include filename=\"part.xml\"/>"
              "</Board_Memory_Definition_File>");
    writeFile(directory.filePath(QStringLiteral("part.xml")),
              "<RegisterGroup name=\"P\" start=\"0\"><include filename=\"map.xml\"/></RegisterGroup>");
    const TestSupport::ProgramRun run =
        tess({QStringLiteral("memmap"), QStringLiteral("check"), QStringLiteral("map.xml")},
             directory.path());
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.out.contains("include cycle")) << run.out.toStdString();
}

TEST(MemmapHeader, FailedWriteKeepsTheOldHeader)
{
    QTemporaryDir directory;
    const QString header = directory.filePath(QStringLiteral("out.h"));
    writeFile(header, "old\n");
    writeFile(directory.filePath(QStringLiteral("map.xml")),
              "<Board_Memory_Definition_File>\n<RegisterGroup name=\"G\" start=\"zz\"/>"
              "</Board_Memory_Definition_File>");
    const TestSupport::ProgramRun run =
        tess({QStringLiteral("memmap"), QStringLiteral("header"), QStringLiteral("map.xml"),
              QStringLiteral("-o"), header},
             directory.path());
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(readFile(header), "old\n");
}

// The C preprocessor and compiler read the header: every register's address and every field's
// position and mask must be what the map computes.
class MemmapHeaderCompiles : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_map = MemoryMap::open(exampleMap, QString());
        m_map->calculateAddresses();
    }

    // Static assertions over the header's macros, from the map as this process computes it.
    QByteArray assertions(const QString &prefix) const
    {
        QByteArray text = "#include \"out.h\"\n";
        int count = 0;
        for (const MemoryMapElement *element : MemoryMap::elementsInOrder(m_map->mapRoot())) {
            if (element->kind() != MemoryMapKind::Register)
                continue;
            const QString name = prefix + macroPath(element);
            text += QStringLiteral("_Static_assert(%1_ADDRESS == %2u, \"%1\");\n")
                        .arg(name)
                        .arg(element->start())
                        .toUtf8();
            for (const XMLNode *node = element->firstChild(); node; node = node->nextSibling()) {
                const MemoryMapElement *field = asMemoryMapElement(node);
                if (!field || field->kind() != MemoryMapKind::BitField)
                    continue;
                const QString fieldName = name + u'_' + MemoryMapHeader::identifier(field->nameText());
                const quint64 mask = ((quint64(1) << MemoryMap::fieldBits(field)) - 1) << field->start();
                text += QStringLiteral("_Static_assert(%1_BIT == %2 && %1_MASK == %3u, \"%1\");\n")
                            .arg(fieldName)
                            .arg(field->start())
                            .arg(mask)
                            .toUtf8();
            }
            ++count;
        }
        EXPECT_GT(count, 30);
        return text;
    }
    static QString macroPath(const MemoryMapElement *element)
    {
        QString path = MemoryMapHeader::identifier(element->nameText());
        for (const XMLNode *node = element->parent(); node; node = node->parent()) {
            const MemoryMapElement *outer = asMemoryMapElement(node);
            if (outer && outer->kind() == MemoryMapKind::RegisterGroup)
                path = MemoryMapHeader::identifier(outer->nameText()) + u'_' + path;
        }
        return path;
    }

    MacroSession m_macros;
    std::unique_ptr<MemoryMap> m_map;
};

struct HeaderCase {
    const char *name;
    QString program;        // "tess" or "mkhdr"
    QStringList arguments;  // "<map>" for the example map; the header is out.h
    QString prefix;         // what the macros start with
};

class MemmapHeaderPrograms : public MemmapHeaderCompiles,
                             public ::testing::WithParamInterface<HeaderCase> {};

TEST_P(MemmapHeaderPrograms, CompilesWithTheMapsAddressesAndMasks)
{
    const HeaderCase &c = GetParam();
    QTemporaryDir directory;
    QStringList arguments;
    for (const QString &argument : c.arguments)
        arguments.append(argument == QLatin1String("<map>") ? exampleMap : argument);
    const TestSupport::ProgramRun write = runProgram(binPath(c.program), arguments, {}, directory.path());
    ASSERT_EQ(write.exitCode, 0) << write.err.toStdString();
    const QByteArray header = readFile(directory.filePath(QStringLiteral("out.h")));
    EXPECT_TRUE(header.contains("#ifndef OUT_H\n#define OUT_H\n"));
    writeFile(directory.filePath(QStringLiteral("check.c")), assertions(c.prefix));
    // Twice: the include guard must hold.
    writeFile(directory.filePath(QStringLiteral("twice.c")),
              "#include \"out.h\"\n#include \"check.c\"\n");
    const TestSupport::ProgramRun compile = runProgram(
        QStringLiteral("gcc"),
        {QStringLiteral("-std=c11"), QStringLiteral("-Wall"), QStringLiteral("-Werror"),
         QStringLiteral("-fsyntax-only"), QStringLiteral("twice.c")},
        {}, directory.path());
    EXPECT_EQ(compile.exitCode, 0) << compile.err.toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MemmapHeaderPrograms,
    ::testing::Values(
        HeaderCase{"tess", QStringLiteral("tess"),
                   {QStringLiteral("memmap"), QStringLiteral("header"), QStringLiteral("<map>"),
                    QStringLiteral("-o"), QStringLiteral("out.h")},
                   QString()},
        HeaderCase{"tessWithPrefix", QStringLiteral("tess"),
                   {QStringLiteral("memmap"), QStringLiteral("header"), QStringLiteral("<map>"),
                    QStringLiteral("-o"), QStringLiteral("out.h"), QStringLiteral("--prefix"),
                    QStringLiteral("NX_")},
                   QStringLiteral("NX_")},
        HeaderCase{"mkhdr", QStringLiteral("mkhdr"), {QStringLiteral("<map>"), QStringLiteral("out.h")},
                   QString()}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(MemmapHeader, MkhdrAndTessWriteTheSameMacros)
{
    QTemporaryDir directory;
    const TestSupport::ProgramRun fromTess =
        tess({QStringLiteral("memmap"), QStringLiteral("header"), exampleMap, QStringLiteral("-o"),
              QStringLiteral("a.h")},
             directory.path());
    const TestSupport::ProgramRun fromMkhdr = runProgram(
        binPath(QStringLiteral("mkhdr")), {exampleMap, QStringLiteral("b.h"), QStringLiteral("A_H")},
        {}, directory.path());
    ASSERT_EQ(fromTess.exitCode, 0) << fromTess.err.toStdString();
    ASSERT_EQ(fromMkhdr.exitCode, 0) << fromMkhdr.err.toStdString();
    const auto macros = [](const QByteArray &text) {
        QList<QByteArray> lines = text.split('\n');
        lines.removeIf([](const QByteArray &line) { return !line.startsWith("#"); });
        return lines;
    };
    EXPECT_EQ(macros(readFile(directory.filePath(QStringLiteral("a.h")))),
              macros(readFile(directory.filePath(QStringLiteral("b.h")))));
}

} // namespace
