#include "buildengine/DiagnosticParser.h"
#include "tests/support/TestSupport.h"
#include <QFile>
#include <gtest/gtest.h>

namespace {

struct LineCase {
    const char *name;
    const char *line;
    bool diagnostic;
    Severity severity;
    const char *path;
    int line_;
    int column;
    const char *message;
};

class StandardLine : public ::testing::TestWithParam<LineCase> {};

TEST_P(StandardLine, ClassifiesLine)
{
    const LineCase &c = GetParam();
    StandardDiagnosticParser parser;
    Bookmark bookmark;
    const bool parsed = parser.parseLine(QString::fromUtf8(c.line), bookmark, QStringLiteral("/base"));
    ASSERT_EQ(parsed, c.diagnostic);
    if (!parsed)
        return;
    EXPECT_EQ(bookmark.severity, c.severity);
    EXPECT_EQ(bookmark.path.toStdString(), c.path);
    EXPECT_EQ(bookmark.line, c.line_);
    EXPECT_EQ(bookmark.column, c.column);
    EXPECT_EQ(bookmark.message.toStdString(), c.message);
    EXPECT_EQ(bookmark.text.toStdString(), c.line);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, StandardLine,
    ::testing::Values(
        LineCase{"warningWithLineOnly", "file.c:12: warning: x", true, Severity::Warning,
                 "/base/file.c", 12, -1, "x"},
        LineCase{"warningWithoutLocation", "warning: x", true, Severity::Warning, "", -1, -1, "x"},
        LineCase{"noteWithColumn", "file.c:12:3: note: x", true, Severity::Note, "/base/file.c",
                 12, 3, "x"},
        LineCase{"errorBeatsEarlierWarning", "a.c:1: warning: see error: here", true,
                 Severity::Error, "/base/a.c", 1, -1, "here"},
        LineCase{"capitalErrorMarker", "Error: cannot open x", true, Severity::Error, "", -1, -1,
                 "cannot open x"},
        LineCase{"infoIsNote", "/abs/x.s:4: Info: aligned", true, Severity::Note, "/abs/x.s", 4,
                 -1, "aligned"},
        LineCase{"fatalErrorIsError", "f.c:1:10: fatal error: m.h: No such file", true,
                 Severity::Error, "/base/f.c", 1, 10, "m.h: No such file"},
        LineCase{"locationWithTextIsError", "Makefile:12: *** missing separator.  Stop.", true,
                 Severity::Error, "/base/Makefile", 12, -1, "*** missing separator.  Stop."},
        LineCase{"locationWithoutLineIsMessage", "main.cpp: In function 'int main()':", true,
                 Severity::Plain, "/base/main.cpp", -1, -1, "In function 'int main()':"},
        LineCase{"includeChainInsideLine", "In file included from /usr/include/a.h:3,", true,
                 Severity::Plain, "/usr/include/a.h", 3, -1,
                 "In file included from /usr/include/a.h:3,"},
        LineCase{"dotSlashAfterBlank", "In file included from ./helper.h:1:", true,
                 Severity::Plain, "/base/./helper.h", 1, -1, "In file included from ./helper.h:1:"},
        LineCase{"blankInAbsolutePath", "/my dir/a.c:3:1: error: bad", true, Severity::Error,
                 "/my dir/a.c", 3, 1, "bad"},
        LineCase{"toolNameIsNoFile", "collect2: error: ld returned 1 exit status", true,
                 Severity::Error, "", -1, -1, "ld returned 1 exit status"},
        LineCase{"hugeLineNumberSaturates", "a.c:99999999999999999999: error: x", true,
                 Severity::Error, "/base/a.c", 100000000, -1, "x"},
        LineCase{"plainText", "compilation terminated.", false, Severity::Plain, "", 0, 0, ""},
        LineCase{"relativeIncludeIsPlain", "In file included from helper.h:1,", false,
                 Severity::Plain, "", 0, 0, ""},
        LineCase{"caretLine", "    5 |     char *p = x;", false, Severity::Plain, "", 0, 0, ""},
        LineCase{"emptyLine", "", false, Severity::Plain, "", 0, 0, ""},
        LineCase{"colonAlone", ":", false, Severity::Plain, "", 0, 0, ""},
        LineCase{"markerWithoutBlank", "a:warning:x", false, Severity::Plain, "", 0, 0, ""}),
    [](const auto &info) { return std::string(info.param.name); });

// What tess diag --all prints for a line, built from the QString parser.
QByteArray describe(const QString &line)
{
    static constexpr const char *words[] = {"message", "message", "note", "warning", "error", "fatal"};
    StandardDiagnosticParser parser;
    Bookmark bookmark;
    if (!parser.parseLine(line, bookmark, QString()))
        return "plain\t\t-1\t-1\t" + line.toUtf8() + '\n';
    return QByteArray(words[int(bookmark.severity)]) + '\t' + bookmark.path.toUtf8() + '\t'
        + QByteArray::number(bookmark.line) + '\t' + QByteArray::number(bookmark.column) + '\t'
        + bookmark.message.toUtf8() + '\n';
}

class CapturedOutput : public ::testing::TestWithParam<const char *> {};

// Real output of the compilers on small broken files, against a reviewed reading of it.
TEST_P(CapturedOutput, MatchesGolden)
{
    const QString name = QString::fromUtf8(GetParam());
    const QByteArray text = TestSupport::readFile(QStringLiteral(TESS_TEST_DATA "/data/") + name + ".txt");
    ASSERT_FALSE(text.isEmpty());
    QByteArray described;
    for (const QByteArray &line : text.split('\n')) {
        if (!line.isEmpty())
            described += describe(QString::fromUtf8(line));
    }
    TestSupport::expectGolden(QStringLiteral(TESS_TEST_DATA "/golden/diag-") + name + ".txt", described);
}

// The byte scan and the UTF-16 scan must read every line alike.
TEST_P(CapturedOutput, ByteScanAgreesWithTextScan)
{
    const QByteArray text = TestSupport::readFile(QStringLiteral(TESS_TEST_DATA "/data/")
                                                  + QString::fromUtf8(GetParam()) + ".txt");
    for (const QByteArray &line : text.split('\n')) {
        const QString wide = QString::fromUtf8(line);
        DiagnosticScan<QByteArrayView> bytes;
        DiagnosticScan<QStringView> chars;
        ASSERT_EQ(scanDiagnostic(QByteArrayView(line), bytes), scanDiagnostic(QStringView(wide), chars))
            << line.constData();
        EXPECT_EQ(bytes.severity, chars.severity) << line.constData();
        EXPECT_EQ(QString::fromUtf8(bytes.path), chars.path.toString()) << line.constData();
        EXPECT_EQ(QString::fromUtf8(bytes.message), chars.message.toString()) << line.constData();
        EXPECT_EQ(bytes.line, chars.line);
        EXPECT_EQ(bytes.column, chars.column);
    }
}

INSTANTIATE_TEST_SUITE_P(Compilers, CapturedOutput,
                         ::testing::Values("gcc-c", "gcc-cpp", "clang-c", "clang-cpp", "gcc-fatal",
                                           "clang-fatal", "gcc-link"),
                         [](const auto &info) {
                             std::string name = info.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

struct RegexpCase {
    const char *name;
    const char *line;
    bool matched;
    const char *path;
    int line_;
    const char *message;
};

class RegexpLine : public ::testing::TestWithParam<RegexpCase> {};

TEST_P(RegexpLine, FirstMatchingPatternWins)
{
    RegexpDiagnosticParser parser({QString(), QStringLiteral("^\"([^\"]+)\", line (\\d+): (.*)$"),
                                   QStringLiteral("^([^ ]+)\\((\\d+)\\) : (.*)$"),
                                   QStringLiteral("^ERR ([^ ]+) (x+) (.*)$")});
    const RegexpCase &c = GetParam();
    Bookmark bookmark;
    ASSERT_EQ(parser.parseLine(QString::fromUtf8(c.line), bookmark, QStringLiteral("/src")), c.matched);
    if (!c.matched)
        return;
    EXPECT_EQ(bookmark.severity, Severity::Note);
    EXPECT_EQ(bookmark.column, -1);
    EXPECT_EQ(bookmark.path.toStdString(), c.path);
    EXPECT_EQ(bookmark.line, c.line_);
    EXPECT_EQ(bookmark.message.toStdString(), c.message);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, RegexpLine,
    ::testing::Values(
        RegexpCase{"quotedFile", "\"a.s\", line 7: bad operand", true, "/src/a.s", 7, "bad operand"},
        RegexpCase{"parenthesisedLine", "/x/b.c(12) : oops", true, "/x/b.c", 12, "oops"},
        RegexpCase{"nonNumericLine", "ERR c.c xx text", true, "/src/c.c", -1, "text"},
        RegexpCase{"noMatch", "all good", false, "", 0, ""}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(RegexpDiagnosticParsing, EmptyParserUnderstandsNothing)
{
    RegexpDiagnosticParser parser;
    Bookmark bookmark;
    EXPECT_FALSE(parser.parseLine(QStringLiteral("a.c:1: error: x"), bookmark, QString()));
}

} // namespace
