#include "tests/support/TestSupport.h"
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

using TestSupport::readFile;
using TestSupport::writeFile;

// `tess edit` on a file of a temporary folder, with any "@" in the arguments standing for the
// folder.
struct EditRun {
    QTemporaryDir folder;
    QString path(const QString &name) const { return folder.path() + u'/' + name; }
    TestSupport::ProgramRun run(QStringList arguments, const QByteArray &input = {})
    {
        for (QString &argument : arguments)
            argument.replace(u'@', folder.path());
        return TestSupport::runProgram(TestSupport::binPath(QStringLiteral("tess")),
                                       QStringList{QStringLiteral("edit")} + arguments, input);
    }
    QStringList files() const { return QDir(folder.path()).entryList(QDir::Files | QDir::Hidden); }
};

struct ScriptCase {
    const char *name;
    QByteArray file;          // in.txt
    QStringList arguments;    // after "tess edit @/in.txt"
    QByteArray out;           // standard output
    QByteArray saved = {};    // @/out.txt when given
};

class EditScripts : public ::testing::TestWithParam<ScriptCase> {};

TEST_P(EditScripts, PrintWhatTheOperationsDid)
{
    const ScriptCase &c = GetParam();
    EditRun edit;
    writeFile(edit.path("in.txt"), c.file);
    const auto run = edit.run(QStringList{QStringLiteral("@/in.txt")} + c.arguments);
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(run.out, c.out);
    EXPECT_EQ(readFile(edit.path("in.txt")), c.file);   // nothing is written unless asked
    if (!c.saved.isNull()) {
        EXPECT_EQ(readFile(edit.path("out.txt")), c.saved);
    } else {
        EXPECT_EQ(edit.files(), QStringList{QStringLiteral("in.txt")});
    }
}

INSTANTIATE_TEST_SUITE_P(Scripts, EditScripts, ::testing::Values(
    ScriptCase{"stateAndPrint", "a\nb\n", {"-e", "state", "-e", "print"},
               "modified=no undo=0 redo=0 caret=1:1 lines=3 eol=lf encoding=UTF-8 bom=none\na\nb\n"},
    ScriptCase{"insertShowsEscapes", "abc", {"-e", "insert 1:2 \"X\\tY\\n\"", "-e", "undo-list", "-e", "state"},
               "undo Paste: Insert \"X\\tY\\n\"\nmodified=yes undo=1 redo=0 caret=2:1 lines=2 eol=lf encoding=UTF-8 bom=none\n"},
    ScriptCase{"typingByWord", "", {"--undo-mode", "1", "-e", "type \"ab cd\"", "-e", "undo-list"},
               "undo Typing: Insert \" \" | Insert \"c\" | Insert \"d\"\nundo Typing: Insert \"a\" | Insert \"b\"\n"},
    ScriptCase{"typingNeverMerged", "", {"--undo-mode=0", "-e", "type \"ab\"", "-e", "undo 1", "-e", "undo-list"},
               "undo Typing: Insert \"a\"\nredo Typing: Insert \"b\"\n"},
    ScriptCase{"undoAllRedoAll", "x", {"-e", "insert 1:1 \"1\"", "-e", "insert 1:1 \"2\"", "-e", "undo-all", "-e", "print",
                                       "-e", "redo-all", "-e", "print"},
               "Undone 2 actions\nxRedone 2 actions\n21x"},
    ScriptCase{"undoPastTheEnds", "x", {"-e", "undo 5", "-e", "redo 3", "-e", "state"},
               "modified=no undo=0 redo=0 caret=1:1 lines=1 eol=lf encoding=UTF-8 bom=none\n"},
    ScriptCase{"deleteClamped", "abc\ndef", {"-e", "delete 1:2 99:99", "-e", "print", "-e", "undo-list"},
               "aundo Delete: Delete \"bc\\ndef\"\n"},
    ScriptCase{"emptyDeleteRecordsNothing", "abc", {"-e", "delete 1:2 1:2", "-e", "state"},
               "modified=no undo=0 redo=0 caret=1:2 lines=1 eol=lf encoding=UTF-8 bom=none\n"},
    ScriptCase{"virtualPositionsMadeToExist", "ab", {"-e", "insert 3:5 \"x\"", "-e", "print", "-e", "undo-list"},
               "ab\n\n    xundo Paste: Insert \"\\n\\n\" | Insert \"    \" | Insert \"x\"\n"},
    ScriptCase{"replaceWithinLine", "abcdef", {"-e", "replace 1:1 1:4 \"xy\"", "-e", "print", "-e", "undo-list", "-e", "state"},
               "xydefundo Paste: Replace \"abc\"\nmodified=yes undo=1 redo=0 caret=1:3 lines=1 eol=lf encoding=UTF-8 bom=none\n"},
    ScriptCase{"replaceAcrossLines", "ab\ncd", {"-e", "replace 1:2 2:2 \"-\\n-\"", "-e", "print"}, "a-\n-d"},
    ScriptCase{"beginEndMakeOneStep", "x", {"-e", "begin 6", "-e", "insert 1:1 \" \"", "-e", "insert 1:1 \" \"", "-e", "end",
                                            "-e", "undo-list"},
               "undo Indent: Insert \" \" | Insert \" \"\n"},
    ScriptCase{"caretThenType", "ab\ncd", {"-e", "caret 2:2", "-e", "type \"Z\\n\"", "-e", "print", "-e", "state"},
               "ab\ncZ\ndmodified=yes undo=2 redo=0 caret=3:1 lines=3 eol=lf encoding=UTF-8 bom=none\n"},
    ScriptCase{"caretClampedUnlessVirtual", "ab", {"-e", "caret 1:9", "-e", "state", "-e", "caret 4:9 virtual", "-e", "state"},
               "modified=no undo=0 redo=0 caret=1:3 lines=1 eol=lf encoding=UTF-8 bom=none\n"
               "modified=no undo=0 redo=0 caret=4:9 lines=1 eol=lf encoding=UTF-8 bom=none\n"},
    ScriptCase{"typeOverSelection", "hello", {"-e", "select 1:2 1:5", "-e", "type \"EY\"", "-e", "print", "-e", "undo-list"},
               "hEYoundo Typing: Delete \"ell\" | Insert \"E\" | Insert \"Y\"\n"},
    ScriptCase{"typeOverBlockSelection", "abcd\nefgh", {"-e", "select 1:2 2:4 block", "-e", "type \"|\"", "-e", "print"},
               "a|d\neh"},
    ScriptCase{"echoEscapes", "", {"-e", "echo \"\\x41\\u00e9\\\\\\\"\""}, "A\xc3\xa9\\\"\n"},
    ScriptCase{"commentsAndBlankOps", "", {"-e", "# a comment", "-e", "   ", "-e", "echo \"ok\""}, "ok\n"},
    ScriptCase{"latin1PrintsUtf8", "caf\xe9", {"-e", "print", "-e", "state"},
               "caf\xc3\xa9modified=no undo=0 redo=0 caret=1:1 lines=1 eol=lf encoding=ISO-8859-1 bom=none\n"},
    ScriptCase{"crlfFile", "a\r\nb", {"-e", "state", "-o", "@/out.txt"},
               "modified=no undo=0 redo=0 caret=1:1 lines=2 eol=crlf encoding=UTF-8 bom=none\n", "a\r\nb"},
    ScriptCase{"eolChangeMarksModified", "a\nb", {"-e", "eol crlf", "-e", "state", "-o", "@/out.txt"},
               "modified=yes undo=0 redo=0 caret=1:1 lines=2 eol=crlf encoding=UTF-8 bom=none\n", "a\r\nb"},
    ScriptCase{"encodingWithMark", "h\xc3\xa9", {"-e", "encoding utf-16le bom", "-e", "state", "-o", "@/out.txt"},
               "modified=yes undo=0 redo=0 caret=1:1 lines=1 eol=lf encoding=UTF-16LE bom=utf-16le\n",
               QByteArray("\xff\xfeh\0\xe9\0", 6)},
    ScriptCase{"saveCopyKeepsState", "a", {"-e", "insert 1:1 \"b\"", "-e", "save-copy @/out.txt", "-e", "state"},
               "modified=yes undo=1 redo=0 caret=1:2 lines=1 eol=lf encoding=UTF-8 bom=none\n", "ba"}),
    [](const auto &info) { return std::string(info.param.name); });

struct ErrorCase {
    const char *name;
    QStringList arguments;   // after "tess edit @/in.txt"
    int exitCode;
    QByteArray err;          // standard error starts with this
};

class EditErrors : public ::testing::TestWithParam<ErrorCase> {};

TEST_P(EditErrors, StopWithAMessageAndTouchNothing)
{
    EditRun edit;
    writeFile(edit.path("in.txt"), "abc\ndef\n");
    const auto run = edit.run(QStringList{QStringLiteral("@/in.txt")} + GetParam().arguments);
    EXPECT_EQ(run.exitCode, GetParam().exitCode);
    QByteArray err = run.err;
    err.replace(edit.folder.path().toUtf8(), "@");
    EXPECT_TRUE(err.startsWith(GetParam().err)) << err.constData();
    EXPECT_EQ(readFile(edit.path("in.txt")), "abc\ndef\n");
    EXPECT_EQ(edit.files(), QStringList{QStringLiteral("in.txt")});
}

INSTANTIATE_TEST_SUITE_P(Scripts, EditErrors, ::testing::Values(
    ErrorCase{"lineZero", {"-e", "insert 0:1 \"x\"", "-o", "@/in.txt"}, 2,
              "tess edit: script line 1: bad position '0:1' (LINE:COLUMN, both from 1)\n"},
    ErrorCase{"farBeyondLines", {"-e", "insert 1:1 \"x\"", "-e", "caret 1004:1"}, 2,
              "tess edit: script line 2: position 1004:1 lies more than 1000 lines or columns beyond the text\n"},
    ErrorCase{"farBeyondColumns", {"-e", "delete 1:1 2:1005"}, 2,
              "tess edit: script line 1: position 2:1005 lies more than 1000 lines or columns beyond the text\n"},
    ErrorCase{"unknownOp", {"-e", "state", "-e", "frobnicate"}, 2, "tess edit: script line 2: unknown operation 'frobnicate'\n"},
    ErrorCase{"unterminatedText", {"-e", "type \"abc"}, 2, "tess edit: script line 1: text without its closing quote\n"},
    ErrorCase{"badEscape", {"-e", "type \"\\q\""}, 2, "tess edit: script line 1: bad escape '\\q'\n"},
    ErrorCase{"shortHexEscape", {"-e", "type \"\\x4\""}, 2, "tess edit: script line 1: bad escape '\\x' (it takes 2 hexadecimal digits)\n"},
    ErrorCase{"unquotedText", {"-e", "insert 1:1 abc"}, 2, "tess edit: script line 1: insert needs a quoted TEXT\n"},
    ErrorCase{"extraWord", {"-e", "state now"}, 2, "tess edit: script line 1: unexpected 'now' after state\n"},
    ErrorCase{"beginWithoutEnd", {"-e", "begin", "-e", "insert 1:1 \"x\"", "-o", "@/out.txt"}, 2,
              "tess edit: script line 1: begin without its end\n"},
    ErrorCase{"endWithoutBegin", {"-e", "end"}, 2, "tess edit: script line 1: end without begin\n"},
    ErrorCase{"undoInsideChangedOperation", {"-e", "begin", "-e", "insert 1:1 \"x\"", "-e", "undo"}, 2,
              "tess edit: script line 3: undo inside an operation that has changed the text\n"},
    ErrorCase{"wordAfterCaretChangesNothing", {"-e", "caret 2:2 virtually", "-o", "@/out.txt"}, 2,
              "tess edit: script line 1: unexpected 'virtually' after caret\n"},
    ErrorCase{"unknownEncoding", {"-e", "encoding klingon"}, 2, "tess edit: script line 1: unknown encoding 'klingon'\n"},
    ErrorCase{"markWithoutUnicode", {"-e", "encoding latin1 bom"}, 2, "tess edit: script line 1: ISO-8859-1 has no byte order mark\n"},
    ErrorCase{"badUndoMode", {"--undo-mode", "3"}, 2, "tess edit: bad value '3' for --undo-mode (a number from 0 to 2)\n"},
    ErrorCase{"badRecovery", {"--recovery", "maybe"}, 2, "tess edit: --recovery takes ignore, recover or discard\n"},
    ErrorCase{"badCodecOption", {"--codec", "klingon"}, 2, "tess edit: unknown encoding 'klingon' for --codec\n"},
    ErrorCase{"tooLarge", {"--max-size", "5", "-o", "@/out.txt"}, 1,
              "tess edit: File @/in.txt is too large to edit (8 bytes, the limit is 5)\n"},
    ErrorCase{"saveIntoMissingFolder", {"-e", "insert 1:1 \"x\"", "-o", "@/gone/out.txt"}, 1,
              "tess edit: Can't open @/gone/out.txt for writing\n"},
    ErrorCase{"unencodable", {"--codec", "latin1", "-e", "insert 1:1 \"\\u20ac\"", "-o", "@/out.txt"}, 1,
              "tess edit: Can't encode line 1 in ISO-8859-1\n"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(EditCommand, MissingFilesFailUnlessNew)
{
    EditRun edit;
    const auto missing = edit.run({"@/none.txt", "-e", "state"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(missing.err, "tess edit: Can't open " + edit.path("none.txt").toUtf8() + " for reading\n");
    EXPECT_TRUE(missing.out.isEmpty());
    const auto fresh = edit.run({"@/none.txt", "--new", "--default-eol", "crlf", "-e", "state", "-e", "type \"a\\nb\"", "-e", "save"});
    EXPECT_EQ(fresh.exitCode, 0) << fresh.err.constData();
    EXPECT_EQ(fresh.out, "modified=no undo=0 redo=0 caret=1:1 lines=1 eol=crlf encoding=UTF-8 bom=none\n");
    EXPECT_EQ(readFile(edit.path("none.txt")), "a\r\nb");
}

TEST(EditCommand, ScriptLinesComeFromAFileOrStandardInputBeforeTheOptions)
{
    EditRun edit;
    writeFile(edit.path("in.txt"), "x");
    writeFile(edit.path("ops.txt"), "# numbered from 1\r\ninsert 1:1 \"a\"\r\n\r\nbogus\r\n");
    const auto fromFile = edit.run({"@/in.txt", "--script", "@/ops.txt", "-e", "print"});
    EXPECT_EQ(fromFile.exitCode, 2);
    EXPECT_EQ(fromFile.err, "tess edit: script line 4: unknown operation 'bogus'\n");
    const auto fromInput = edit.run({"@/in.txt", "--script", "-", "-e", "print"}, "insert 1:2 \"b\"\nprint\necho \"\"\n");
    EXPECT_EQ(fromInput.exitCode, 0) << fromInput.err.constData();
    EXPECT_EQ(fromInput.out, "xb\nxb");
}

TEST(EditCommand, MixedEndingsAreToldAndSavedWithOneEnding)
{
    EditRun edit;
    writeFile(edit.path("in.txt"), "a\r\nb\nc");
    const auto run = edit.run({"@/in.txt", "-e", "state", "-o", "@/out.txt"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "tess edit: This file " + edit.path("in.txt").toUtf8()
                           + " has inconsistent line endings; all line endings have been changed to native line endings\n");
    EXPECT_EQ(run.out, "modified=yes undo=0 redo=0 caret=1:1 lines=3 eol=lf encoding=UTF-8 bom=none\n");
    EXPECT_EQ(readFile(edit.path("out.txt")), "a\nb\nc");
}

TEST(EditCommand, PipesAndDevicesAreRefusedRatherThanWaitedFor)
{
    EditRun edit;
    ASSERT_EQ(::mkfifo(QFile::encodeName(edit.path("pipe")).constData(), 0600), 0);
    for (const QString &path : {edit.path("pipe"), QStringLiteral("/dev/zero"), edit.folder.path()}) {
        const auto run = edit.run({path, "-e", "state"});
        EXPECT_EQ(run.exitCode, 1) << path.toStdString();
        EXPECT_EQ(run.err, "tess edit: Can't open " + path.toUtf8() + " for reading\n");
    }
}

TEST(EditCommand, HugeFilesAreRefusedBeforeReading)
{
    EditRun edit;
    QFile huge(edit.path("huge.bin"));
    ASSERT_TRUE(huge.open(QIODevice::WriteOnly));
    ASSERT_TRUE(huge.resize(qint64(2) << 30));   // sparse: no disk space taken
    huge.close();
    const auto run = edit.run({"@/huge.bin", "--max-size", "4294967296", "-o", "@/out.bin"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "tess edit: File " + edit.path("huge.bin").toUtf8()
                           + " is too large to edit (2147483648 bytes, the limit is 2147483647)\n");
    EXPECT_FALSE(QFile::exists(edit.path("out.bin")));
}

TEST(EditCommand, RecoveryFilesAreLeftAloneUnlessTheOptionSays)
{
    QTemporaryDir data;
    const QByteArray saved = qgetenv("XDG_DATA_HOME");
    qputenv("XDG_DATA_HOME", data.path().toUtf8());
    EditRun edit;
    writeFile(edit.path("in.txt"), "one\n");
    EXPECT_EQ(edit.run({"@/in.txt", "-e", "insert 2:1 \"two\"", "-e", "autosave"}).exitCode, 0);
    const auto ignored = edit.run({"@/in.txt", "-e", "print"});
    EXPECT_EQ(ignored.out, "one\n");
    EXPECT_TRUE(ignored.err.startsWith("tess edit: An unsaved version of " + edit.path("in.txt").toUtf8()
                                       + " from another session has been found.\n(left alone"))
        << ignored.err.constData();
    const auto recovered = edit.run({"@/in.txt", "--recovery", "recover", "-e", "print", "-e", "state"});
    EXPECT_EQ(recovered.out, "one\ntwomodified=yes undo=1 redo=0 caret=1:1 lines=2 eol=lf encoding=UTF-8 bom=none\n");
    const auto discarded = edit.run({"@/in.txt", "--recovery", "discard", "-e", "print"});
    EXPECT_EQ(discarded.out, "one\n");
    EXPECT_TRUE(discarded.err.isEmpty());
    EXPECT_TRUE(edit.run({"@/in.txt", "-e", "print"}).err.isEmpty());
    qputenv("XDG_DATA_HOME", saved);
}

} // namespace
