#include "editor/TextCodec.h"
#include "editor/TextFileReader.h"
#include <gtest/gtest.h>
#include <string>

namespace {

struct BomCase {
    const char *name;
    QByteArray bytes;
    int kind;
};

class ByteOrderMark : public ::testing::TestWithParam<BomCase> {};

TEST_P(ByteOrderMark, IsReadFromTheFirstBytes)
{
    EXPECT_EQ(bomKindOf(GetParam().bytes), GetParam().kind);
}

INSTANTIATE_TEST_SUITE_P(Marks, ByteOrderMark, ::testing::Values(
    BomCase{"utf8", "\xEF\xBB\xBF" "a", BomUtf8},
    BomCase{"utf8MarkAlone", "\xEF\xBB\xBF", BomUtf8},
    BomCase{"utf8TooShort", "\xEF\xBB", BomNone},
    BomCase{"littleEndian", "\xFF\xFE", BomUtf16LE},
    BomCase{"bigEndian", "\xFE\xFF", BomUtf16BE},
    BomCase{"bigEndianFirstByteAlone", "\xFE" "a", BomUtf16BE},
    BomCase{"oneByteNotTested", "\xFE", BomNone},
    BomCase{"plain", "ab", BomNone},
    BomCase{"empty", "", BomNone}),
    [](const auto &info) { return std::string(info.param.name); });

struct Utf8TestCase {
    const char *name;
    QByteArray bytes;
    bool passes;
};

class Utf8Test : public ::testing::TestWithParam<Utf8TestCase> {};

TEST_P(Utf8Test, AcceptsWhatTheRuleAccepts)
{
    EXPECT_EQ(passesUtf8Test(GetParam().bytes.constData(), GetParam().bytes.size()), GetParam().passes);
}

INSTANTIATE_TEST_SUITE_P(Bytes, Utf8Test, ::testing::Values(
    Utf8TestCase{"empty", "", true},
    Utf8TestCase{"ascii", "int main() { return 0; }\n", true},
    Utf8TestCase{"nulAndControls", QByteArray("a\0b\x01\x1f", 5), true},
    Utf8TestCase{"delFails", "abc\x7f", false},
    Utf8TestCase{"delAfterLongAscii", "0123456789abcdef0123456789\x7f", false},
    Utf8TestCase{"continuationAloneFails", "\x80", false},
    Utf8TestCase{"byte191Fails", "\xbf", false},
    Utf8TestCase{"twoBytes", "caf\xc3\xa9", true},
    Utf8TestCase{"threeBytes", "\xe2\x82\xac", true},
    Utf8TestCase{"fourBytes", "\xf0\x9f\x98\x80", true},
    Utf8TestCase{"fiveBytesPass", "\xf8\x88\x80\x80\x80", true},
    Utf8TestCase{"sixBytesPass", "\xfc\x84\x80\x80\x80\x80", true},
    Utf8TestCase{"overlongPasses", "\xc0\x80", true},
    Utf8TestCase{"surrogatePasses", "\xed\xa0\x80", true},
    Utf8TestCase{"byte254Fails", "\xfe\x80", false},
    Utf8TestCase{"byte255Fails", "\xff", false},
    Utf8TestCase{"badContinuation", "\xc3\x41", false},
    Utf8TestCase{"runsOut", "ab\xe2\x82", false}),
    [](const auto &info) { return std::string(info.param.name); });

struct CodecCase {
    const char *name;
    QByteArray bytes;
    const char *forced;     // codecName
    const char *codec;      // chosen
    int bomKind;
    QByteArray firstLine;   // as UTF-8
    bool unclean = false;
};

class CodecChoice : public ::testing::TestWithParam<CodecCase> {};

TEST_P(CodecChoice, FollowsNameMarkTestAndDefault)
{
    const CodecCase &c = GetParam();
    TextFileOptions options;
    options.codecName = QString::fromLatin1(c.forced);
    options.defaultCodec = QStringLiteral("ISO-8859-1");
    const TextFileContent content = readTextFile(c.bytes, options);
    ASSERT_TRUE(content.ok);
    EXPECT_EQ(content.codecName.toStdString(), c.codec);
    EXPECT_EQ(content.bomKind, c.bomKind);
    EXPECT_EQ(content.unclean, c.unclean);
    CodeEditBuffer buffer;
    buffer.setLoadedText(content.text, content.runs, content.longestLine);
    EXPECT_EQ(buffer.text(0).toUtf8(), c.firstLine);
}

INSTANTIATE_TEST_SUITE_P(Files, CodecChoice, ::testing::Values(
    CodecCase{"asciiIsUtf8", "abc\n", "", "UTF-8", BomNone, "abc"},
    CodecCase{"utf8", "caf\xc3\xa9", "", "UTF-8", BomNone, "caf\xc3\xa9"},
    CodecCase{"latin1ByDefault", "caf\xe9", "", "ISO-8859-1", BomNone, "caf\xc3\xa9"},
    CodecCase{"delTakesDefault", "a\x7f", "", "ISO-8859-1", BomNone, "a\x7f"},
    CodecCase{"overlongTakesDefault", "a\xc0\x80", "", "ISO-8859-1", BomNone, "a\xc3\x80\xc2\x80"},
    CodecCase{"surrogateTakesDefault", "\xed\xa0\x80", "", "ISO-8859-1", BomNone, "\xc3\xad\xc2\xa0\xc2\x80"},
    CodecCase{"fiveByteFormTakesDefault", "\xf8\x88\x80\x80\x80", "", "ISO-8859-1", BomNone, "\xc3\xb8\xc2\x88\xc2\x80\xc2\x80\xc2\x80"},
    CodecCase{"utf8Mark", "\xEF\xBB\xBFx\xc3\xa9", "", "UTF-8", BomUtf8, "x\xc3\xa9"},
    CodecCase{"utf8MarkOverInvalidText", "\xEF\xBB\xBFx\xff", "", "ISO-8859-1", BomNone, "\xc3\xaf\xc2\xbb\xc2\xbfx\xc3\xbf"},
    CodecCase{"utf16le", QByteArray("\xFF\xFEh\0i\0", 6), "", "UTF-16LE", BomUtf16LE, "hi"},
    CodecCase{"utf16be", QByteArray("\xFE\xFF\0h\0i", 6), "", "UTF-16BE", BomUtf16BE, "hi"},
    CodecCase{"utf16OddLengthTakesDefault", QByteArray("\xFF\xFEh\0i", 5), "", "ISO-8859-1", BomNone, QByteArray("\xc3\xbf\xc3\xbeh\0i", 7)},
    CodecCase{"forcedNameWins", "caf\xc3\xa9", "ISO-8859-1", "ISO-8859-1", BomNone, "caf\xc3\x83\xc2\xa9"},
    CodecCase{"forcedWindows1252", "\x80" "5", "windows-1252", "windows-1252", BomNone, "\xe2\x82\xac" "5"},
    CodecCase{"forcedUtf8Unclean", "a\xff", "UTF-8", "UTF-8", BomNone, "a\xef\xbf\xbd", true},
    CodecCase{"feffKeptInsideText", "a\n\xEF\xBB\xBF" "b", "", "UTF-8", BomNone, "a"},
    CodecCase{"secondMarkIsText", "\xEF\xBB\xBF\xEF\xBB\xBFx", "", "UTF-8", BomUtf8, "\xEF\xBB\xBFx"},
    CodecCase{"secondUtf16MarkIsText", QByteArray("\xFF\xFE\xFF\xFEx\0", 6), "", "UTF-16LE", BomUtf16LE, "\xEF\xBB\xBFx"},
    CodecCase{"defaultNameDetects", "caf\xc3\xa9", "Default", "UTF-8", BomNone, "caf\xc3\xa9"}),
    [](const auto &info) { return std::string(info.param.name); });

struct EndingCase {
    const char *name;
    QByteArray bytes;
    int ending;
    bool inconsistent;
    int lines;
};

class LineEndings : public ::testing::TestWithParam<EndingCase> {};

TEST_P(LineEndings, AreDetectedAndComparedWithTheLastOne)
{
    const TextFileContent content = readTextFile(GetParam().bytes, TextFileOptions());
    EXPECT_EQ(content.lineEnding, GetParam().ending);
    EXPECT_EQ(content.inconsistent, GetParam().inconsistent);
    int lines = 0;
    for (const CodeEditLoadedRun &run : content.runs)
        lines += run.lineCount;
    EXPECT_EQ(lines, GetParam().lines);
}

INSTANTIATE_TEST_SUITE_P(Files, LineEndings, ::testing::Values(
    EndingCase{"empty", "", LineEndingUnknown, false, 1},
    EndingCase{"noTerminator", "abc", LineEndingUnknown, false, 1},
    EndingCase{"lf", "a\nb\n", LineEndingLf, false, 3},
    EndingCase{"crlf", "a\r\nb\r\n", LineEndingCrLf, false, 3},
    EndingCase{"cr", "a\rb\r", LineEndingCr, false, 3},
    EndingCase{"crlfThenLf", "a\r\nb\n", LineEndingLf, true, 3},
    EndingCase{"crThenCrlf", "a\rb\r\n", LineEndingCrLf, true, 3},
    EndingCase{"lfCr", "a\n\rb", LineEndingCr, true, 3},
    EndingCase{"crlfSplitLater", "x\r\n\r\n\r\n", LineEndingCrLf, false, 4}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(LoadedRuns, HoldAFewHundredLinesAndKnowTheirTerminators)
{
    QByteArray bytes;
    for (int i = 0; i < 1000; ++i)
        bytes += QByteArray::number(i) + (i == 600 ? "\r\n" : "\n");
    const TextFileContent content = readTextFile(bytes, TextFileOptions());
    int lines = 0;
    bool mixedSeen = false;
    for (const CodeEditLoadedRun &run : content.runs) {
        EXPECT_LE(run.lineCount, 256);
        EXPECT_TRUE(run.ascii);
        mixedSeen |= run.terminator == -1;
        lines += run.lineCount;
    }
    EXPECT_TRUE(mixedSeen);
    EXPECT_TRUE(content.inconsistent);
    EXPECT_EQ(lines, 1001);
}

struct EncodeCase {
    const char *name;
    const char *codec;
    QString text;
    QByteArray bytes;   // empty when the text cannot be encoded
};

class Encoding : public ::testing::TestWithParam<EncodeCase> {};

TEST_P(Encoding, RefusesCharactersWithoutBytes)
{
    const std::optional<TextCodec> codec = TextCodec::find(QLatin1String(GetParam().codec));
    ASSERT_TRUE(codec);
    QByteArray bytes;
    EXPECT_EQ(codec->encode(GetParam().text, bytes), !GetParam().bytes.isEmpty());
    if (!GetParam().bytes.isEmpty()) {
        EXPECT_EQ(bytes, GetParam().bytes);
    }
}

INSTANTIATE_TEST_SUITE_P(Texts, Encoding, ::testing::Values(
    EncodeCase{"latin1", "latin1", QStringLiteral("caf\u00e9"), "caf\xe9"},
    EncodeCase{"latin1Euro", "ISO-8859-1", QStringLiteral("\u20ac"), ""},
    EncodeCase{"windows1252Euro", "cp1252", QStringLiteral("\u20ac"), "\x80"},
    EncodeCase{"windows1252Han", "windows-1252", QStringLiteral("\u4e2d"), ""},
    EncodeCase{"utf8Pair", "utf8", QStringLiteral("\U0001F600"), "\xf0\x9f\x98\x80"},
    EncodeCase{"utf8LoneSurrogate", "UTF-8", QString(QChar(0xd800)), ""},
    EncodeCase{"utf16LoneSurrogateKept", "UTF-16LE", QString(QChar(0xd800)), QByteArray("\x00\xd8", 2)},
    EncodeCase{"utf16be", "utf-16be", QStringLiteral("hi"), QByteArray("\0h\0i", 4)}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(CodecNames, UnknownNamesAreNotFound)
{
    EXPECT_FALSE(TextCodec::find(QStringLiteral("no-such-encoding")));
    EXPECT_EQ(TextCodec::find(QStringLiteral("Latin1"))->name(), QStringLiteral("ISO-8859-1"));
    EXPECT_EQ(TextCodec::find(QStringLiteral("utf_16le"))->name(), QStringLiteral("UTF-16LE"));
}

} // namespace
