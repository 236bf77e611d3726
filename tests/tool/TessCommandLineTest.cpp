#include "tests/support/TestSupport.h"
#include <QRegularExpression>
#include <gtest/gtest.h>

namespace {

TestSupport::ProgramRun tess(const QStringList &arguments)
{
    return TestSupport::runProgram(TestSupport::binPath(QStringLiteral("tess")), arguments);
}

// The command forms `tess help` lists ("build", "property get"), read from its own output so the
// test follows the table as commands are added.
QStringList listedCommands()
{
    const auto run = tess({"help"});
    QStringList names;
    bool inList = false;
    for (const QByteArray &line : run.out.split('\n')) {
        if (line == "commands:") {
            inList = true;
        } else if (inList && line.startsWith("  ")) {
            // Name and summary are separated by at least two blanks.
            names.append(QString::fromUtf8(line.trimmed()).section(QRegularExpression(QStringLiteral("\\s{2,}")), 0, 0));
        }
    }
    return names;
}

TEST(TessCommandLine, HelpListsCommandsAndVersionAnswers)
{
    const auto help = tess({"help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(help.out.startsWith("usage: tess COMMAND [ARGUMENTS]\n"));
    EXPECT_EQ(tess({"--help"}).out, help.out);
    const QStringList names = listedCommands();
    for (const char *name : {"build", "js", "forth", "property get", "solution save"})
        EXPECT_TRUE(names.contains(QLatin1String(name))) << name;
    const auto version = tess({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_TRUE(version.out.startsWith("tess (Tessmark) ")) << version.out.constData();
}

TEST(TessCommandLine, EveryCommandHasHelpAndRefusesBadOptionsWithStatusTwo)
{
    const QStringList names = listedCommands();
    ASSERT_GE(names.size(), 10);
    for (const QString &name : names) {
        const QStringList words = name.split(u' ');
        const QByteArray usage = "usage: tess " + name.toUtf8();
        const auto help = tess(words + QStringList{"--help"});
        EXPECT_EQ(help.exitCode, 0) << name.toStdString();
        EXPECT_TRUE(help.out.startsWith(usage)) << help.out.constData();
        const QByteArray example = help.out.mid(help.out.indexOf("\nexample:\n  "));
        EXPECT_TRUE(example.contains("tess " + name.toUtf8())) << help.out.constData();
        EXPECT_TRUE(tess(QStringList{"help"} + words).out.contains(usage)) << name.toStdString();
        const auto bad = tess(words + QStringList{"--no-such-option"});
        EXPECT_EQ(bad.exitCode, 2) << name.toStdString();
        EXPECT_TRUE(bad.err.startsWith("tess " + name.toUtf8() + ": unknown option '--no-such-option'\n" + usage))
            << bad.err.constData();
        EXPECT_TRUE(bad.out.isEmpty()) << name.toStdString();
    }
}

struct UsageCase {
    const char *name;
    QStringList arguments;
    QByteArray errStart;
};

class TessUsage : public ::testing::TestWithParam<UsageCase> {};

TEST_P(TessUsage, ExitsTwoWithTheSynopsisOnStandardError)
{
    const auto run = tess(GetParam().arguments);
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.err.startsWith(GetParam().errStart)) << run.err.constData();
    EXPECT_TRUE(run.out.isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Cases, TessUsage, ::testing::Values(
    UsageCase{"noCommand", {}, "usage: tess COMMAND [ARGUMENTS]\n"},
    UsageCase{"unknownCommand", {"frobnicate"}, "tess: unknown command 'frobnicate'\nusage: tess COMMAND"},
    UsageCase{"helpOfUnknown", {"help", "frobnicate"}, "tess: unknown command 'frobnicate'\n"},
    UsageCase{"unknownSubcommand", {"solution", "burn"}, "tess solution: unknown subcommand 'burn'\nusage: tess solution show FILE\n"},
    UsageCase{"missingValue", {"build", "x.qvProject", "--config"}, "tess build: option '--config' needs a value (NAME)\n"},
    UsageCase{"valueOnFlag", {"build", "x.qvProject", "--rebuild=yes"}, "tess build: option '--rebuild' takes no value\n"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(TessCommandLine, LongOptionsTakeTheirValueAfterAnEqualsSignAndDashesEndTheOptions)
{
    const auto equals = tess({"js", "--eval=1 + 2"});
    EXPECT_EQ(equals.exitCode, 0) << equals.err.constData();
    EXPECT_EQ(equals.out, "3\n");
    // After "--" and for texts such as "-1", a leading dash is an operand, not an option.
    const auto operands = tess({"expr", "-1", "--", "--repeat"});
    EXPECT_EQ(operands.exitCode, 1);
    EXPECT_EQ(operands.out, "long long -1\n");
    EXPECT_TRUE(operands.err.startsWith("tess expr: --repeat: ")) << operands.err.constData();
}

TEST(TessCommandLine, AScriptErrorQuotesAtMostTwoHundredCharactersOfItsLine)
{
    const QString line = QStringLiteral("var x = 1;") + QString(300, u' ') + QStringLiteral("null.nosuch;");
    const auto run = tess({"js", "-e", line});
    EXPECT_EQ(run.exitCode, 1);
    const QByteArray quoted = "Source line in error: " + line.left(200).toUtf8() + "...\n";
    EXPECT_TRUE(run.err.endsWith(quoted)) << run.err.constData();
}

} // namespace
