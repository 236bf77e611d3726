#include "buildengine/CommandLine.h"
#include "tests/support/TestSupport.h"
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

struct SplitCase {
    const char *name;
    const char *text;
    QStringList expected;
};

class CommandLineSplit : public ::testing::TestWithParam<SplitCase> {};

TEST_P(CommandLineSplit, SplitsAtBlanksOutsideQuotes)
{
    EXPECT_EQ(splitCommandLine(QString::fromUtf8(GetParam().text)), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, CommandLineSplit,
    ::testing::Values(
        SplitCase{"plain", "cc -c a.c", {"cc", "-c", "a.c"}},
        SplitCase{"manyBlanks", "  cc   -c\ta.c  ", {"cc", "-c", "a.c"}},
        SplitCase{"quotedBlank", "cp \"my file.c\" out", {"cp", "my file.c", "out"}},
        SplitCase{"quotesInsideWord", "-DX=\"a b\"c", {"-DX=a bc"}},
        SplitCase{"escapedQuote", "echo \\\"hi\\\"", {"echo", "\"hi\""}},
        SplitCase{"emptyQuotes", "a \"\" b", {"a", "", "b"}},
        SplitCase{"backslashStays", "a\\b c\\", {"a\\b", "c\\"}},
        SplitCase{"ampersandsStay", "a && b", {"a", "&&", "b"}},
        SplitCase{"empty", "", {}}),
    [](const auto &info) { return std::string(info.param.name); });

class OptionsSplit : public ::testing::TestWithParam<SplitCase> {};

TEST_P(OptionsSplit, SplitsAtSemicolons)
{
    EXPECT_EQ(splitOptions(QString::fromUtf8(GetParam().text)), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Values, OptionsSplit,
    ::testing::Values(SplitCase{"two", "-O2;-g", {"-O2", "-g"}},
                      SplitCase{"escapedSemicolon", "a\\;b;c", {"a;b", "c"}},
                      SplitCase{"escapedBackslash", "a\\\\;b", {"a\\", "b"}},
                      SplitCase{"blankKept", "-D X;", {"-D X"}},
                      SplitCase{"emptyParts", ";;a;;", {"a"}},
                      SplitCase{"empty", "", {}}),
    [](const auto &info) { return std::string(info.param.name); });

struct OptionsFileCase {
    const char *name;
    QByteArray text;
    bool ok;
    QStringList expected;
    const char *error;   // behind "<path>:"
};

class OptionsFile : public ::testing::TestWithParam<OptionsFileCase> {};

TEST_P(OptionsFile, ReadsOptionLines)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("opts.txt"));
    TestSupport::writeFile(path, GetParam().text);
    QStringList options{QStringLiteral("kept")};
    QString error;
    ASSERT_EQ(readOptionsFile(path, options, &error), GetParam().ok);
    EXPECT_EQ(options, QStringList{QStringLiteral("kept")} + GetParam().expected);
    EXPECT_EQ(error.isEmpty() ? std::string() : error.mid(path.size() + 1).toStdString(),
              GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    Files, OptionsFile,
    ::testing::Values(
        OptionsFileCase{"lines", "-O2\n-g\n", true, {"-O2", "-g"}, ""},
        OptionsFileCase{"noFinalNewline", "-O2\n-Wall", true, {"-O2", "-Wall"}, ""},
        OptionsFileCase{"comments", "# hash\n// slashes\n-a\n", true, {"-a"}, ""},
        OptionsFileCase{"blockCommentSpansLines", "-a /* one\ntwo\nthree */ -b\n-c\n", true,
                        {"-a", "-b", "-c"}, ""},
        OptionsFileCase{"slashesLineIgnoresBlockOpener", "// see /* here\n-x\n", true, {"-x"}, ""},
        OptionsFileCase{"shortLinesSkipped", "a\n\n-b\n", true, {"-b"}, ""},
        OptionsFileCase{"lineAtLimit", QByteArray(1023, 'x') + '\n', true,
                        {QString(1023, u'x')}, ""},
        OptionsFileCase{"lineOverLimit", "-a\n" + QByteArray(1024, 'x') + '\n', false, {},
                        "2: line longer than 1023 characters"},
        OptionsFileCase{"unterminatedComment", "-a\n/* open\n-b\n", false, {},
                        "2: comment \"/*\" is not closed"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(OptionsFileReading, MissingFileFails)
{
    QStringList options;
    EXPECT_FALSE(readOptionsFile(QStringLiteral("/nonexistent/opts"), options));
    EXPECT_TRUE(options.isEmpty());
}

TEST(CommandLineDisplay, QuotesArgumentsWithBlanks)
{
    EXPECT_EQ(displayCommandLine({"cc", "-c", "my file.c", "-o", "a.o"}),
              QStringLiteral("cc -c \"my file.c\" -o a.o"));
}

struct ToolCase {
    const char *name;
    QStringList arguments;
    QStringList expected;
};

class ShippedTool : public ::testing::TestWithParam<ToolCase> {};

TEST_P(ShippedTool, ReplacesOnlyExactFirstWord)
{
    EXPECT_EQ(resolveShippedTool(GetParam().arguments, QStringLiteral("/opt/t")), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Commands, ShippedTool,
    ::testing::Values(
        ToolCase{"rm", {"rm", "-f", "x"}, {"/opt/t/bin/rm", "-f", "x"}},
        ToolCase{"cp", {"cp", "a", "b"}, {"/opt/t/bin/cp", "a", "b"}},
        ToolCase{"xmlcp", {"xmlcp", "a"}, {"/opt/t/bin/xmlcp", "a"}},
        ToolCase{"mkhdr", {"mkhdr"}, {"/opt/t/bin/mkhdr"}},
        ToolCase{"chmod", {"chmod", "-w", "f"}, {"/opt/t/bin/chmod", "-w", "f"}},
        ToolCase{"absoluteRmKept", {"/bin/rm", "x"}, {"/bin/rm", "x"}},
        ToolCase{"laterWordKept", {"echo", "rm"}, {"echo", "rm"}},
        ToolCase{"empty", {}, {}}),
    [](const auto &info) { return std::string(info.param.name); });

} // namespace
