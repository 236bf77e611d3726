#include "editor/CodeEditBuffer.h"
#include "editor/TextFileReader.h"
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace {

std::vector<std::string> linesOf(const CodeEditBuffer &buffer)
{
    std::vector<std::string> lines;
    for (int i = 0; i < buffer.lineCount(); ++i)
        lines.push_back(buffer.text(i).toStdString());
    return lines;
}

// A buffer holding `bytes` as a loaded UTF-8 file: lines that stay ranges of the bytes.
void loadInto(CodeEditBuffer &buffer, const QByteArray &bytes)
{
    TextFileOptions options;
    const TextFileContent content = readTextFile(bytes, options);
    buffer.setLoadedText(content.text, content.runs, content.longestLine);
}

struct SplitCase {
    const char *name;
    const char *text;
    std::vector<std::string> lines;
};

class BufferLines : public ::testing::TestWithParam<SplitCase> {};

TEST_P(BufferLines, TextWithNTerminatorsHasNPlusOneLines)
{
    CodeEditBuffer buffer;
    buffer.setText(QString::fromUtf8(GetParam().text));
    EXPECT_EQ(linesOf(buffer), GetParam().lines);
}

INSTANTIATE_TEST_SUITE_P(Texts, BufferLines, ::testing::Values(
    SplitCase{"empty", "", {""}},
    SplitCase{"oneLine", "abc", {"abc"}},
    SplitCase{"finalTerminator", "abc\n", {"abc", ""}},
    SplitCase{"onlyTerminators", "\n\n", {"", "", ""}},
    SplitCase{"middle", "a\n\nb", {"a", "", "b"}}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(BufferAccess, IndexOutsideReadsAsEmptyText)
{
    CodeEditBuffer buffer;
    buffer.setText(QStringLiteral("one\ntwo"));
    EXPECT_EQ(buffer.text(-1), QString());
    EXPECT_EQ(buffer.text(2), QString());
    EXPECT_EQ(buffer.lineLength(7), 0);
    EXPECT_EQ(buffer.line(2), nullptr);
    EXPECT_EQ(buffer.text(1), QStringLiteral("two"));
}

struct InsertCase {
    const char *name;
    const char *before;
    CodeEditBufferPosition at;
    const char *text;
    CodeEditBufferPosition end;
    const char *after;
};

class BufferInsert : public ::testing::TestWithParam<InsertCase> {};

TEST_P(BufferInsert, ReturnsTheEndOfTheInsertedText)
{
    const InsertCase &c = GetParam();
    CodeEditBuffer buffer;
    buffer.setText(QString::fromUtf8(c.before));
    EXPECT_EQ(buffer.insert(c.at, QString::fromUtf8(c.text)), c.end);
    EXPECT_EQ(buffer.toText().toStdString(), c.after);
}

INSTANTIATE_TEST_SUITE_P(Inserts, BufferInsert, ::testing::Values(
    InsertCase{"withinLine", "abcd", {0, 2}, "XY", {0, 4}, "abXYcd"},
    InsertCase{"splitsLine", "abcd", {0, 2}, "X\nYZ", {1, 2}, "abX\nYZcd"},
    InsertCase{"manyLines", "ab\ncd", {1, 1}, "1\n2\n3", {3, 1}, "ab\nc1\n2\n3d"},
    InsertCase{"lineBreakOnly", "ab", {0, 1}, "\n", {1, 0}, "a\nb"},
    InsertCase{"atLineCountAppends", "ab", {1, 0}, "x\ny", {2, 1}, "ab\nx\ny"},
    InsertCase{"pastLineCountAppends", "ab", {5, 3}, "z", {1, 1}, "ab\nz"},
    InsertCase{"columnPastEndTakesEnd", "ab", {0, 9}, "!", {0, 3}, "ab!"},
    InsertCase{"emptyTextReturnsPosition", "ab", {0, 1}, "", {0, 1}, "ab"}),
    [](const auto &info) { return std::string(info.param.name); });

struct RemoveCase {
    const char *name;
    const char *before;
    CodeEditBufferPosition start;
    CodeEditBufferPosition end;
    const char *after;
};

class BufferRemove : public ::testing::TestWithParam<RemoveCase> {};

TEST_P(BufferRemove, RemovesTheRangeClampedToTheText)
{
    const RemoveCase &c = GetParam();
    CodeEditBuffer buffer;
    buffer.setText(QString::fromUtf8(c.before));
    buffer.remove(c.start, c.end);
    EXPECT_EQ(buffer.toText().toStdString(), c.after);
}

INSTANTIATE_TEST_SUITE_P(Removes, BufferRemove, ::testing::Values(
    RemoveCase{"withinLine", "abcdef", {0, 1}, {0, 3}, "adef"},
    RemoveCase{"joinsLines", "abc\ndef\nghi", {0, 2}, {2, 1}, "abhi"},
    RemoveCase{"reversedEnds", "abc\ndef", {1, 1}, {0, 1}, "aef"},
    RemoveCase{"endPastText", "abc\ndef", {0, 1}, {9, 9}, "a"},
    RemoveCase{"columnPastLine", "abc\ndef", {0, 7}, {1, 1}, "abcef"},
    RemoveCase{"everything", "abc\ndef", {0, 0}, {1, 3}, ""}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(BufferCounters, InsertionRaisesChangeCountAndEveryChangeAsksForARescan)
{
    CodeEditBuffer buffer;
    buffer.setText(QStringLiteral("abc"));
    buffer.setNeedsRescan(false);
    const quint32 count = buffer.changeCount();
    buffer.insert({0, 1}, QStringLiteral("x"));
    EXPECT_EQ(buffer.changeCount(), count + 1);
    EXPECT_TRUE(buffer.needsRescan());
    buffer.setNeedsRescan(false);
    buffer.remove({0, 0}, {0, 1});
    EXPECT_EQ(buffer.changeCount(), count + 1);
    EXPECT_TRUE(buffer.needsRescan());
    buffer.setNeedsRescan(false);
    buffer.setParser(nullptr);
    EXPECT_TRUE(buffer.needsRescan());
}

TEST(BufferLineRecords, TouchedLinesAreDirtyAndNewLinesStartFresh)
{
    CodeEditBuffer buffer;
    buffer.setText(QStringLiteral("one\ntwo\nthree"));
    for (CodeEditLine *line = buffer.firstLine(); line; line = buffer.nextLine()) {
        line->dirty = 0;
        line->startState = 7;
        line->flags = lineInsideBlock;
    }
    buffer.insert({1, 1}, QStringLiteral("a\nb"));
    EXPECT_EQ(buffer.line(0)->dirty, 0);
    EXPECT_EQ(buffer.line(1)->dirty, 1);
    EXPECT_EQ(buffer.line(1)->flags, lineInsideBlock);   // the split line keeps its marks
    const CodeEditLine *added = buffer.line(2);
    EXPECT_EQ(added->text, QStringLiteral("bwo"));
    EXPECT_EQ(added->dirty, 1);
    EXPECT_EQ(added->startState, -1);
    EXPECT_EQ(added->flags, 0u);
    EXPECT_EQ(added->blockDepth, 0);
    EXPECT_EQ(added->cachedWidth, -1);
    EXPECT_TRUE(added->startStateText.isEmpty());
}

struct LongestCase {
    const char *name;
    const char *text;
    CodeEditBufferPosition start;
    CodeEditBufferPosition end;   // removed when different from start
    const char *inserted;
    int stored;                    // longestLine() after the change
    int longest;                   // longestLength()
};

class BufferLongestLine : public ::testing::TestWithParam<LongestCase> {};

TEST_P(BufferLongestLine, KeepsTheValueOrMarksItUnknown)
{
    const LongestCase &c = GetParam();
    CodeEditBuffer buffer;
    buffer.setText(QString::fromUtf8(c.text));
    ASSERT_GE(buffer.longestLength(), 0);
    if (c.start != c.end)
        buffer.remove(c.start, c.end);
    buffer.insert(c.start, QString::fromUtf8(c.inserted));
    EXPECT_EQ(buffer.longestLine(), c.stored);
    EXPECT_EQ(buffer.longestLength(), c.longest);
}

INSTANTIATE_TEST_SUITE_P(Changes, BufferLongestLine, ::testing::Values(
    LongestCase{"growingLineRaises", "abc\nde", {1, 2}, {1, 2}, "xyz", 5, 5},
    LongestCase{"shorterLineStays", "abc\nde", {1, 0}, {1, 1}, "", 3, 3},
    LongestCase{"longestShrinksUnknown", "abcd\nde", {0, 0}, {0, 1}, "", -1, 3},
    LongestCase{"tieShrinksUnknown", "abc\nxyz", {0, 0}, {0, 1}, "", -1, 3},
    LongestCase{"newLineRaises", "ab", {0, 2}, {0, 2}, "\nabcdef", 6, 6},
    LongestCase{"joinedLinesRaise", "abc\ndef", {0, 3}, {1, 0}, "", 6, 6}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(BufferIteration, FirstAndNextVisitEveryLineInOrder)
{
    CodeEditBuffer buffer;
    QByteArray bytes;
    for (int i = 0; i < 2000; ++i)
        bytes += "line " + QByteArray::number(i) + (i % 3 ? "\n" : "\r\n");
    loadInto(buffer, bytes);
    int count = 0;
    for (CodeEditLine *line = buffer.firstLine(); line; line = buffer.nextLine(), ++count) {
        const QString expected = count < 2000 ? QStringLiteral("line %1").arg(count) : QString();
        ASSERT_EQ(line->text, expected) << count;
    }
    EXPECT_EQ(count, 2001);
    EXPECT_EQ(buffer.lineCount(), 2001);
}

TEST(BufferIteration, AChangeEndsThePass)
{
    CodeEditBuffer buffer;
    buffer.setText(QStringLiteral("a\nb\nc"));
    ASSERT_NE(buffer.firstLine(), nullptr);
    buffer.insert({2, 0}, QStringLiteral("x"));
    EXPECT_EQ(buffer.nextLine(), nullptr);
}

TEST(BufferLoadedText, LinesReadTheSameBeforeAndAfterTheirBlockIsEdited)
{
    QByteArray bytes;
    for (int i = 0; i < 1500; ++i)
        bytes += QByteArray("x").repeated(i % 97) + "\xc3\xa9" + QByteArray::number(i) + '\n';
    CodeEditBuffer buffer;
    loadInto(buffer, bytes);
    std::vector<std::string> expected;
    for (int i = 0; i < 1500; ++i)
        expected.push_back(std::string(size_t(i % 97), 'x') + "\xc3\xa9" + std::to_string(i));
    expected.push_back("");
    EXPECT_EQ(linesOf(buffer), expected);
    EXPECT_EQ(buffer.lineLength(96), 96 + 1 + 2);   // the é is one UTF-16 unit
    EXPECT_EQ(buffer.longestLength(), 96 + 1 + 4);
    buffer.insert({700, 0}, QStringLiteral("!"));
    expected[700].insert(0, "!");
    EXPECT_EQ(linesOf(buffer), expected);
}

TEST(BufferLoadedText, ALineStartingWithFeffKeepsIt)
{
    CodeEditBuffer buffer;
    loadInto(buffer, "x\r\xEF\xBB\xBF\xC3\xA9");
    EXPECT_EQ(buffer.text(1), QStringLiteral("\uFEFF\u00E9"));
    EXPECT_EQ(buffer.lineLength(1), 2);
}

// The block store against a vector of lines: random inserts and removes, with and without line
// breaks, from a loaded text and from set text, keep every line, the count and the longest line.
struct ModelCase {
    const char *name;
    bool loaded;
    unsigned seed;
};

class BufferModel : public ::testing::TestWithParam<ModelCase> {};

TEST_P(BufferModel, RandomEditsMatchAPlainListOfLines)
{
    std::mt19937 random(GetParam().seed);
    std::vector<QString> model;
    QString initial;
    for (int i = 0; i < 3000; ++i)
        initial += QStringLiteral("%1 %2\n").arg(i).arg(QString(int(random() % 40), u'.'));
    for (const QStringView part : QStringView(initial).tokenize(u'\n'))
        model.push_back(part.toString());
    CodeEditBuffer buffer;
    if (GetParam().loaded)
        loadInto(buffer, initial.toUtf8());
    else
        buffer.setText(initial);
    const auto pick = [&](int bound) { return int(random() % unsigned(bound)); };
    for (int step = 0; step < 3000; ++step) {
        const int line = pick(int(model.size()));
        const int column = pick(int(model[line].size()) + 1);
        if (pick(3) == 0 && model.size() > 1) {
            const int lastLine = std::min(int(model.size()) - 1, line + pick(600));
            const int lastColumn = pick(int(model[lastLine].size()) + 1);
            const CodeEditBufferPosition end{lastLine, lastLine == line ? std::max(column, lastColumn) : lastColumn};
            buffer.remove({line, column}, end);
            model[line] = model[line].left(column) + model[end.line].mid(end.column);
            model.erase(model.begin() + line + 1, model.begin() + end.line + 1);
        } else {
            QString text = QString(pick(5), QChar(char16_t(u'a' + step % 26)));
            for (int breaks = pick(4) == 0 ? pick(700) : 0; breaks > 0; --breaks)
                text += QStringLiteral("\nnew%1").arg(breaks);
            const CodeEditBufferPosition end = buffer.insert({line, column}, text);
            const QString tail = model[line].mid(column);
            QStringList parts = text.split(u'\n');
            model[line] = model[line].left(column) + parts.takeFirst();
            int at = line;
            for (const QString &part : parts)
                model.insert(model.begin() + ++at, part);
            ASSERT_EQ(end, (CodeEditBufferPosition{at, int(model[at].size())}));
            model[at] += tail;
        }
        ASSERT_EQ(buffer.lineCount(), int(model.size())) << step;
        if (step % 100 == 0) {
            int longest = 0;
            for (int i = 0; i < int(model.size()); ++i) {
                ASSERT_EQ(buffer.text(i), model[i]) << "step " << step << " line " << i;
                longest = std::max(longest, int(model[i].size()));
            }
            ASSERT_EQ(buffer.longestLength(), longest) << step;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, BufferModel, ::testing::Values(
    ModelCase{"setText1", false, 1}, ModelCase{"setText2", false, 2},
    ModelCase{"loaded1", true, 3}, ModelCase{"loaded2", true, 4}),
    [](const auto &info) { return std::string(info.param.name); });

} // namespace
