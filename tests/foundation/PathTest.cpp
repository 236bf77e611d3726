#include "foundation/Path.h"
#include "tests/support/TestSupport.h"
#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

TEST(PathSharing, SelfAssignmentLeavesItIntact)
{
    Path path(QStringLiteral("/a/b/c.txt"));
    const Path &alias = path;
    path = alias;
    EXPECT_EQ(path.text(), "/a/b/c.txt");
    Path copy = path;
    copy = copy;
    path = std::move(path);
    EXPECT_EQ(copy.text(), "/a/b/c.txt");
    EXPECT_EQ(path.text(), "/a/b/c.txt");
}

TEST(PathSharing, ChangingOneCopyLeavesTheOther)
{
    Path original(QStringLiteral("one"));
    Path copy = original;
    copy.setText(QStringLiteral("two"));
    EXPECT_EQ(original.text(), "one");
    EXPECT_EQ(copy.text(), "two");
    EXPECT_TRUE(Path().isEmpty());
}

TEST(PathFileInfo, IsDroppedWhenTheTextChanges)
{
    QTemporaryDir directory;
    const QString file = directory.filePath(QStringLiteral("data.bin"));
    TestSupport::writeFile(file, "12345");
    Path path(directory.filePath(QStringLiteral("absent.bin")));
    EXPECT_FALSE(path.exists());
    path.setText(file);
    EXPECT_TRUE(path.exists());
    EXPECT_EQ(path.size(), 5);
    EXPECT_EQ(path.fileName(), "data.bin");
    EXPECT_EQ(path.extension(), "bin");
    EXPECT_EQ(path.directory(), directory.path());
    EXPECT_TRUE(path.modificationTime().isValid());
}

struct TextCase {
    const char *name;
    const char *path;
    const char *base;   // unused by normalised
    const char *expected;
};

class PathNormalised : public ::testing::TestWithParam<TextCase> {};

TEST_P(PathNormalised, FoldsDotsTextually)
{
    EXPECT_EQ(Path(QString::fromUtf8(GetParam().path)).normalised().text(),
              QString::fromUtf8(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(Texts, PathNormalised,
                         ::testing::Values(TextCase{"dotAndDotDot", "a/./b/../c", "", "a/c"},
                                           TextCase{"leadingDotDotKept", "../a", "", "../a"},
                                           TextCase{"doubleDotDotStacks", "../../a/..", "", "../.."},
                                           TextCase{"doubledSlashes", "/x//y///z/", "", "/x/y/z"},
                                           TextCase{"allGone", "a/..", "", ""},
                                           TextCase{"rootStays", "/./", "", "/"}),
                         [](const auto &info) { return std::string(info.param.name); });

class PathRelativeTo : public ::testing::TestWithParam<TextCase> {};

TEST_P(PathRelativeTo, WalksUpFromBase)
{
    const Path path(QString::fromUtf8(GetParam().path));
    EXPECT_EQ(path.relativeTo(Path(QString::fromUtf8(GetParam().base))).text(),
              QString::fromUtf8(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, PathRelativeTo,
    ::testing::Values(TextCase{"siblingTree", "/a/b/c.txt", "/a/x/y", "../../b/c.txt"},
                      TextCase{"ownDirectoryGivesFileName", "/a/b/c.txt", "/a/b", "c.txt"},
                      TextCase{"baseBelowPath", "/a", "/a/b/c", "../.."},
                      TextCase{"nothingInCommonStaysAbsolute", "/p/q", "/r/s", "/p/q"},
                      TextCase{"dotBaseLeavesPath", "some/rel", ".", "some/rel"},
                      TextCase{"emptyPathStaysEmpty", "", "/a", ""}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(PathAbsolute, JoinsRelativeToBaseAndNormalises)
{
    EXPECT_EQ(Path(QStringLiteral("../src/./x.c")).absolute(Path(QStringLiteral("/p/build"))).text(),
              "/p/src/x.c");
    EXPECT_EQ(Path(QStringLiteral("/abs/../y")).absolute(Path(QStringLiteral("/p"))).text(), "/y");
    const Path relative(QStringLiteral("x/y.txt"));
    EXPECT_EQ(relative.absolute(Path(QStringLiteral("/base"))).relativeTo(Path(QStringLiteral("/base"))).text(),
              relative.text());
}

TEST(CompareFiles, SameBytesOnly)
{
    QTemporaryDir directory;
    const auto file = [&](const char *name, const QByteArray &bytes) {
        const QString path = directory.filePath(QString::fromLatin1(name));
        TestSupport::writeFile(path, bytes);
        return path;
    };
    const QByteArray big(200000, 'x');
    QByteArray bigChanged = big;
    bigChanged[150000] = 'y';
    const QString a = file("a", big);
    EXPECT_TRUE(compareFiles(a, file("b", big)));
    EXPECT_FALSE(compareFiles(a, file("c", bigChanged)));
    EXPECT_FALSE(compareFiles(a, file("d", big + "z")));
    EXPECT_FALSE(compareFiles(a, directory.filePath(QStringLiteral("missing"))));
    EXPECT_TRUE(compareFiles(file("e", ""), file("f", "")));
}

} // namespace
