#include "buildengine/DependencyFile.h"
#include "tests/support/TestSupport.h"
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

struct DependencyCase {
    const char *name;
    const char *text;
    QStringList expected;
};

class DependencyText : public ::testing::TestWithParam<DependencyCase> {};

TEST_P(DependencyText, ListsNamesAfterTheSource)
{
    EXPECT_EQ(parseDependencies(QByteArrayView(GetParam().text)), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Files, DependencyText,
    ::testing::Values(
        DependencyCase{"oneLine", "a.o: a.c b.h c.h\n", {"b.h", "c.h"}},
        DependencyCase{"continuedLines",
                       "obj/a.o: src/a.c /usr/include/stdio.h \\\n /usr/include/x.h \\\n\tlast.h\n",
                       {"/usr/include/stdio.h", "/usr/include/x.h", "last.h"}},
        DependencyCase{"escapedBlank", "a.o: a.c a\\ b.h c.h\n", {"a b.h", "c.h"}},
        DependencyCase{"phonyTargetsSkipped", "a.o: a.c b.h\n\nb.h:\n", {"b.h"}},
        DependencyCase{"secondRuleAppends", "a.o: a.c b.h\nx.o: x.c y.h\n", {"b.h", "x.c", "y.h"}},
        DependencyCase{"crlfLines", "a.o: a.c \\\r\n b.h\r\n", {"b.h"}},
        DependencyCase{"noFinalNewline", "a.o: a.c b.h", {"b.h"}},
        DependencyCase{"manyBlanks", "a.o:    a.c     b.h   \n", {"b.h"}},
        DependencyCase{"onlyTheSource", "a.o: a.c\n", {}},
        DependencyCase{"ruleWithoutSeparator", "garbage line\n", {}},
        DependencyCase{"binaryGarbage", "\x01\x02: \xff\xfe\n\0\0", {}},
        DependencyCase{"empty", "", {}}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(DependencyFileReading, MissingFileGivesEmptyList)
{
    QString error;
    EXPECT_TRUE(readDependencyFile(QStringLiteral("/nonexistent/dir/x.d"), &error).isEmpty());
    EXPECT_TRUE(error.isEmpty());
}

TEST(DependencyFileReading, ReadsFileAndKeepsLongLine)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("a.d"));
    const QByteArray longName(10 * 1024 * 1024, 'n');
    TestSupport::writeFile(path, "a.o: a.c " + longName + " \\\n  z.h\n");
    const QStringList names = readDependencyFile(path);
    ASSERT_EQ(names.size(), 2);
    EXPECT_EQ(names.at(0).size(), longName.size());
    EXPECT_EQ(names.at(1), QStringLiteral("z.h"));
}

TEST(DependencyFileReading, FilesAroundTheSizeOfTheFirstReadAreReadWhole)
{
    // The reader takes a first block of 8 KiB and reads on only when that came back full.
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("a.d"));
    for (const int size : {8190, 8191, 8192, 8193, 8194, 16384, 16385}) {
        const QByteArray head = "a.o: a.c ";
        const QByteArray tail = " z.h\n";
        const QByteArray name(size - head.size() - tail.size(), 'n');
        TestSupport::writeFile(path, head + name + tail);
        const QStringList names = readDependencyFile(path);
        ASSERT_EQ(names.size(), 2) << size;
        EXPECT_EQ(names.at(0).size(), name.size()) << size;
        EXPECT_EQ(names.at(1), QStringLiteral("z.h")) << size;
    }
}

} // namespace
