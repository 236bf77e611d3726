#include "packages/PackageReferenceRewriter.h"
#include "packages/PackageSystemPackageInfo.h"
#include <gtest/gtest.h>

namespace {

const QStringList delivered = {"acme/include/acme.h", "acme/examples/blinky/main.c", "acme/lib/libacme.a", "b.txt"};

struct RewriteCase {
    const char *name;
    QByteArray text;
    QByteArray expected;
};

class ReferenceRewriting : public ::testing::TestWithParam<RewriteCase> {};

TEST_P(ReferenceRewriting, TurnsDeliveredReferencesIntoPackagesDir)
{
    const PackageDeliveredPaths paths(delivered);
    EXPECT_EQ(PackageReferenceRewriter::rewrite(GetParam().text, paths).toStdString(), GetParam().expected.toStdString());
}

// Fed in pieces of every size, the filter gives what it gives for the whole text.
TEST_P(ReferenceRewriting, GivesTheSameOutputWhateverThePieces)
{
    const auto paths = std::make_shared<const PackageDeliveredPaths>(delivered);
    for (qsizetype piece = 1; piece <= GetParam().text.size(); ++piece) {
        PackageReferenceRewriter rewriter(paths);
        QByteArray out;
        const PackageContentFilter::Sink sink = [&](const char *data, qint64 size) { out.append(data, size); };
        for (qsizetype at = 0; at < GetParam().text.size(); at += piece)
            rewriter.write(GetParam().text.constData() + at, std::min(piece, GetParam().text.size() - at), sink);
        rewriter.finish(sink);
        EXPECT_EQ(out.toStdString(), GetParam().expected.toStdString()) << "pieces of " << piece;
    }
}

INSTANTIATE_TEST_SUITE_P(
    References, ReferenceRewriting,
    ::testing::Values(
        RewriteCase{"quotedFile", "<f name=\"$(VarnelDir)/acme/include/acme.h\"/>", "<f name=\"$(PackagesDir)/acme/include/acme.h\"/>"},
        RewriteCase{"notDelivered", "<f name=\"$(VarnelDir)/other/x.h\"/>", "<f name=\"$(VarnelDir)/other/x.h\"/>"},
        RewriteCase{"bothOfAList", "x=\"$(VarnelDir)/b.txt;$(VarnelDir)/acme/lib/libacme.a\"",
                    "x=\"$(PackagesDir)/b.txt;$(PackagesDir)/acme/lib/libacme.a\""},
        RewriteCase{"listWithAStranger", "x=\"$(VarnelDir)/nope;$(VarnelDir)/b.txt\"", "x=\"$(VarnelDir)/nope;$(PackagesDir)/b.txt\""},
        RewriteCase{"elementText", "<path>$(VarnelDir)/b.txt</path>", "<path>$(PackagesDir)/b.txt</path>"},
        RewriteCase{"startOfTextHasNoDelimiter", "$(VarnelDir)/b.txt\n", "$(VarnelDir)/b.txt\n"},
        RewriteCase{"startOfALine", "a\n$(VarnelDir)/b.txt\n", "a\n$(PackagesDir)/b.txt\n"},
        RewriteCase{"endOfTextEndsNothing", " $(VarnelDir)/b.txt", " $(VarnelDir)/b.txt"},
        RewriteCase{"macroIsAWildcard", " $(VarnelDir)/acme/$(Board)/acme.h ", " $(PackagesDir)/acme/$(Board)/acme.h "},
        RewriteCase{"starIsAWildcard", " $(VarnelDir)/acme/*.c ", " $(PackagesDir)/acme/*.c "},
        RewriteCase{"starMatchingNothing", " $(VarnelDir)/acme/*.cpp ", " $(VarnelDir)/acme/*.cpp "},
        RewriteCase{"deliveredFolder", " $(VarnelDir)/acme/include ", " $(PackagesDir)/acme/include "},
        RewriteCase{"folderWithSlash", " $(VarnelDir)/acme/include/ ", " $(PackagesDir)/acme/include/ "},
        RewriteCase{"caseMatters", " $(VarnelDir)/ACME/include ", " $(VarnelDir)/ACME/include "},
        RewriteCase{"greaterThanDoesNotClose", ">$(VarnelDir)/b.txt>x<", ">$(VarnelDir)/b.txt>x<"},
        RewriteCase{"otherMacroUntouched", " $(ProjectDir)/b.txt ", " $(ProjectDir)/b.txt "},
        RewriteCase{"bareMacro", " $(VarnelDir) ", " $(VarnelDir) "},
        RewriteCase{"crlfLines", "a\r\n $(VarnelDir)/b.txt\r\n", "a\r\n $(PackagesDir)/b.txt\r\n"}),
    [](const auto &info) { return std::string(info.param.name); });

struct SuffixCase {
    const char *name;
    const char *file;
    bool rewritten;
};

class RewrittenSuffixes : public ::testing::TestWithParam<SuffixCase> {};

TEST_P(RewrittenSuffixes, AreXmlHtmAndQvProjectInAnyCase)
{
    EXPECT_EQ(PackageReferenceRewriter::appliesTo(QString::fromLatin1(GetParam().file)), GetParam().rewritten);
}

INSTANTIATE_TEST_SUITE_P(Suffixes, RewrittenSuffixes,
                         ::testing::Values(SuffixCase{"xml", "a/b_package.xml", true}, SuffixCase{"upperXml", "A.XML", true},
                                           SuffixCase{"htm", "doc/index.htm", true}, SuffixCase{"html", "doc/index.html", false},
                                           SuffixCase{"project", "x/Blinky.qvProject", true},
                                           SuffixCase{"projectLower", "x/blinky.qvproject", true},
                                           SuffixCase{"source", "main.c", false}, SuffixCase{"noSuffix", "Makefile", false}),
                         [](const auto &info) { return std::string(info.param.name); });

struct TitleCase {
    const char *name;
    PackageSystemPackageInfo info;
    const char *title;
    const char *description;
};

PackageSystemPackageInfo infoOf(const char *title, const char *cpuMaker, const char *cpu, const char *boardMaker,
                                const char *board, bool examples)
{
    PackageSystemPackageInfo info;
    info.name = QStringLiteral("pkg");
    info.title = QString::fromLatin1(title);
    info.cpuManufacturer = QString::fromLatin1(cpuMaker);
    info.cpuName = QString::fromLatin1(cpu);
    info.boardManufacturer = QString::fromLatin1(boardMaker);
    info.boardName = QString::fromLatin1(board);
    info.hasExamples = examples;
    return info;
}

class MadeUpTexts : public ::testing::TestWithParam<TitleCase> {};

TEST_P(MadeUpTexts, NameTheBoardFirstThenTheCpu)
{
    EXPECT_EQ(GetParam().info.displayTitle().toStdString(), GetParam().title);
    EXPECT_EQ(GetParam().info.displayDescription().toStdString(), GetParam().description);
}

INSTANTIATE_TEST_SUITE_P(
    Titles, MadeUpTexts,
    ::testing::Values(
        TitleCase{"board", infoOf("", "Zeta", "Z80", "Acme", "X1", true), "Acme X1 Board Support Package",
                  "This package contains project templates, system files and example programs for the <b>Acme X1 Board</b>."},
        TitleCase{"cpu", infoOf("", "Zeta", "Z80", "", "", false), "Zeta Z80 CPU Support Package",
                  "This package contains project templates and system files for the <b>Zeta Z80 CPU</b>."},
        TitleCase{"boardNameOnly", infoOf("", "", "", "", "X1", false), "X1 Board Support Package",
                  "This package contains project templates and system files for the <b>X1 Board</b>."},
        TitleCase{"givenTitle", infoOf("Widgets Support Package", "", "", "Acme", "X1", true), "Widgets Support Package",
                  "This package contains project templates, system files and example programs for the <b>Widgets</b>."},
        TitleCase{"nothing", infoOf("", "", "", "", "", false), "pkg",
                  "This package contains project templates and system files for the <b>pkg</b>."}),
    [](const auto &info) { return std::string(info.param.name); });

struct VersionCase {
    const char *name;
    const char *a;
    const char *b;
    int order;
};

class PackageVersions : public ::testing::TestWithParam<VersionCase> {};

TEST_P(PackageVersions, CompareByMajorThenMinorOnly)
{
    const int order = compareVersions(QString::fromLatin1(GetParam().a), QString::fromLatin1(GetParam().b));
    EXPECT_EQ(order < 0 ? -1 : order > 0 ? 1 : 0, GetParam().order);
}

INSTANTIATE_TEST_SUITE_P(Versions, PackageVersions,
                         ::testing::Values(VersionCase{"thirdPartIgnored", "1.2.3", "1.2.9", 0},
                                           VersionCase{"minor", "1.2", "1.10", -1}, VersionCase{"major", "2.0", "1.99", 1},
                                           VersionCase{"missingMinor", "1", "1.0", 0},
                                           VersionCase{"notANumber", "beta", "0.0", 0},
                                           VersionCase{"emptyParts", "1..5", "1.5", 0}),
                         [](const auto &info) { return std::string(info.param.name); });

TEST(PackageStatus, FollowsInstalledAndAvailableVersions)
{
    PackageSystemPackageInfo info;
    EXPECT_EQ(info.status(), PackageSystemPackageInfo::PackageStatus::NotInstalled);
    info.installed = true;
    info.installedVersion = QStringLiteral("1.0");
    EXPECT_EQ(info.status(), PackageSystemPackageInfo::PackageStatus::Installed);
    info.availableVersion = QStringLiteral("1.0.7");
    EXPECT_EQ(info.status(), PackageSystemPackageInfo::PackageStatus::Installed);
    info.availableVersion = QStringLiteral("1.1");
    EXPECT_EQ(info.status(), PackageSystemPackageInfo::PackageStatus::UpdateAvailable);
    EXPECT_TRUE(deliversExamples({QStringLiteral("acme/examples/blinky/main.c")}));
    EXPECT_FALSE(deliversExamples({QStringLiteral("acme/examples")}));
}

} // namespace
