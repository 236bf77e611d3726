#include "buildengine/OutputLines.h"
#include <gtest/gtest.h>

namespace {

TEST(OutputLineSplitting, KeepsPartialLastLineUntilMoreArrives)
{
    OutputLines lines;
    EXPECT_EQ(lines.add("one\ntw"), QStringList{"one"});
    EXPECT_EQ(lines.add("o\r\nthree"), QStringList{"two"});
    EXPECT_EQ(lines.finish(), QStringList{"three"});
    EXPECT_TRUE(lines.finish().isEmpty());
}

TEST(OutputLineSplitting, JoinsCharacterSplitAcrossChunks)
{
    OutputLines lines;
    const QByteArray text = QStringLiteral("caf\u00e9 \u2018x\u2019\n").toUtf8();
    QStringList got;
    for (const char byte : text)
        got += lines.add(QByteArray(1, byte));
    EXPECT_EQ(got, QStringList{QStringLiteral("caf\u00e9 \u2018x\u2019")});
}

TEST(OutputLineSplitting, InvalidBytesBecomeReplacementCharacters)
{
    OutputLines lines;
    const QStringList got = lines.add("a\xff\xfe" "b\n");
    ASSERT_EQ(got.size(), 1);
    EXPECT_TRUE(got.first().startsWith(u'a'));
    EXPECT_TRUE(got.first().endsWith(u'b'));
    EXPECT_TRUE(got.first().contains(QChar::ReplacementCharacter));
}

TEST(OutputLineSplitting, UsesGivenCodec)
{
    OutputLines lines("ISO-8859-1");
    EXPECT_EQ(lines.add("caf\xe9\n"), QStringList{QStringLiteral("caf\u00e9")});
}

TEST(OutputLineSplitting, CutsOverlongLineIntoPieces)
{
    OutputLines lines;
    const QStringList got = lines.add(QByteArray(OutputLines::lineLimit * 2 + 5, 'x'));
    ASSERT_EQ(got.size(), 2);
    EXPECT_EQ(got.at(0).size(), OutputLines::lineLimit);
    EXPECT_EQ(lines.finish(), QStringList{QString(5, u'x')});
}

} // namespace
