#include "EditorTestSupport.h"
#include "editor/RecoveryFile.h"
#include "editor/TextCodec.h"
#include "tests/support/TestSupport.h"
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

using TestSupport::readFile;
using TestSupport::writeFile;

// A document over files in a temporary folder, with its questions recorded.
struct FileDocument : Document {
    explicit FileDocument(const CodeEditSettings &settings = CodeEditSettings())
    {
        edit.setSettings(settings);
    }
    QString path(const QString &name) const { return folder.path() + u'/' + name; }
    bool load(const QString &name) { return edit.load(Path(path(name))); }
    bool save(const QString &name) { return edit.saveAs(Path(path(name))); }
    QStringList files() const { return QDir(folder.path()).entryList(QDir::Files | QDir::Hidden); }

    QTemporaryDir folder;
};

// Sixteen bytes a line in hex, for golden files that show what was written.
QByteArray hexDump(const QByteArray &bytes)
{
    QByteArray dump;
    for (qsizetype i = 0; i < bytes.size(); i += 16)
        dump += bytes.mid(i, 16).toHex(' ') + '\n';
    return dump;
}

struct RoundTripCodec {
    const char *name;
    const char *codec;
    bool bom;
    QString text;   // lines joined by "\n"
};

const RoundTripCodec roundTripCodecs[] = {
    {"utf8", "UTF-8", false, QStringLiteral("int x;\n// \u20ac and \U0001F600\n")},
    {"utf8bom", "UTF-8", true, QStringLiteral("int x;\n// \u00e9\n")},
    {"utf16le", "UTF-16LE", true, QStringLiteral("int x;\n// \u4e2d\n")},
    {"utf16be", "UTF-16BE", true, QStringLiteral("int x;\n// \u4e2d\n")},
    {"latin1", "ISO-8859-1", false, QStringLiteral("int x;\n// caf\u00e9\n")},
    {"windows1252", "windows-1252", false, QStringLiteral("int x;\n// \u20ac 5\n")},
};

constexpr const char *endingNames[] = {"crlf", "lf", "cr"};
constexpr const char *terminators[] = {"\r\n", "\n", "\r"};

struct RoundTripCase {
    int codec;
    int ending;
};

class RoundTrip : public ::testing::TestWithParam<RoundTripCase> {};

// The file's bytes in its encoding, mark and line ending.
QByteArray fileBytes(const RoundTripCodec &codec, int ending, const QString &text)
{
    QString withEndings = text;
    withEndings.replace(u'\n', QLatin1String(terminators[ending]));
    QByteArray bytes;
    EXPECT_TRUE(TextCodec::find(QLatin1String(codec.codec))->encode(withEndings, bytes));
    if (codec.bom) {
        const QString name = QLatin1String(codec.codec);
        bytes.prepend(name == QLatin1String("UTF-8") ? "\xEF\xBB\xBF" : name == QLatin1String("UTF-16LE") ? "\xFF\xFE" : "\xFE\xFF");
    }
    return bytes;
}

TEST_P(RoundTrip, UnchangedSavesAreByteIdenticalAndEditsKeepTheFormat)
{
    const RoundTripCodec &codec = roundTripCodecs[GetParam().codec];
    const int ending = GetParam().ending;
    CodeEditSettings settings;
    settings.defaultCodec = QStringLiteral("windows-1252") == QLatin1String(codec.codec) ? QStringLiteral("windows-1252")
                                                                                         : QStringLiteral("ISO-8859-1");
    FileDocument document(settings);
    const QByteArray original = fileBytes(codec, ending, codec.text);
    writeFile(document.path("in.txt"), original);
    ASSERT_TRUE(document.load("in.txt"));
    EXPECT_EQ(document.edit.codecName(), QLatin1String(codec.codec));
    EXPECT_EQ(document.edit.lineEnding(), ending);
    EXPECT_EQ(document.edit.bomKind() != 0, codec.bom);
    EXPECT_FALSE(document.edit.isModified());
    EXPECT_EQ(document.edit.buffer().toText(), codec.text);
    ASSERT_TRUE(document.save("same.txt"));
    EXPECT_EQ(readFile(document.path("same.txt")), original);

    document.edit.insertText({1, 0}, QStringLiteral("edited\n"), true);
    ASSERT_TRUE(document.save("edited.txt"));
    const QByteArray edited = readFile(document.path("edited.txt"));
    QString expected = codec.text;
    expected.insert(expected.indexOf(u'\n') + 1, QStringLiteral("edited\n"));
    EXPECT_EQ(edited, fileBytes(codec, ending, expected));
    TestSupport::expectGolden(QStringLiteral(TESS_TEST_DATA "/golden/roundtrip-%1-%2.hex")
                                  .arg(QLatin1String(codec.name), QLatin1String(endingNames[ending])),
                              hexDump(edited));
}

std::vector<RoundTripCase> roundTripCases()
{
    std::vector<RoundTripCase> cases;
    for (int codec = 0; codec < int(std::size(roundTripCodecs)); ++codec) {
        for (int ending = 0; ending < 3; ++ending)
            cases.push_back({codec, ending});
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Codecs, RoundTrip, ::testing::ValuesIn(roundTripCases()), [](const auto &info) {
    return std::string(roundTripCodecs[info.param.codec].name) + "_" + endingNames[info.param.ending];
});

struct IdenticalCase {
    const char *name;
    QByteArray bytes;
    const char *codec;
};

class UneditedSave : public ::testing::TestWithParam<IdenticalCase> {};

TEST_P(UneditedSave, LosesNoByte)
{
    FileDocument document;
    writeFile(document.path("in"), GetParam().bytes);
    ASSERT_TRUE(document.load("in"));
    EXPECT_EQ(document.edit.codecName().toStdString(), GetParam().codec);
    ASSERT_TRUE(document.save("out"));
    EXPECT_EQ(readFile(document.path("out")), GetParam().bytes);
    EXPECT_TRUE(document.questions.told.empty());
}

QByteArray allBytesButTerminators()
{
    QByteArray bytes;
    for (int round = 0; round < 3; ++round) {
        for (int b = 0; b < 256; ++b) {
            if (b != '\n' && b != '\r')
                bytes += char(b);
            if (b % 37 == 0)
                bytes += '\n';
        }
    }
    return bytes;
}

INSTANTIATE_TEST_SUITE_P(Files, UneditedSave, ::testing::Values(
    IdenticalCase{"empty", "", "UTF-8"},
    IdenticalCase{"finalTerminator", "a\nb\n", "UTF-8"},
    IdenticalCase{"nulBytes", QByteArray("a\0b\n\0\0\n", 7), "UTF-8"},
    IdenticalCase{"binary", allBytesButTerminators(), "ISO-8859-1"},
    IdenticalCase{"invalidUtf8", "ok\n\xff\xfe\x80 bad\n\xc3", "ISO-8859-1"},
    IdenticalCase{"overlongUtf8", "\xc0\xaf\n", "ISO-8859-1"},
    IdenticalCase{"markThenInvalid", "\xEF\xBB\xBF\xff\n", "ISO-8859-1"},
    IdenticalCase{"bigEndianFirstByteOnly", "\xFE" "ab\n", "UTF-16BE"},
    IdenticalCase{"tenMegabyteLine", QByteArray(10 << 20, 'x') + "\nend", "UTF-8"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(MixedEndings, LoadModifiedWithAMessageAndSaveWithOneEnding)
{
    CodeEditSettings settings;
    settings.defaultLineEnding = LineEndingCrLf;
    FileDocument document(settings);
    writeFile(document.path("mixed.txt"), "a\r\nb\nc\rd");
    ASSERT_TRUE(document.load("mixed.txt"));
    EXPECT_TRUE(document.edit.isModified());
    EXPECT_EQ(document.edit.lineEnding(), LineEndingCrLf);
    ASSERT_EQ(document.questions.told.size(), 1u);
    EXPECT_EQ(document.questions.told[0],
              "Code Editor|Inconsistent line endings|This file " + document.path("mixed.txt").toStdString()
                  + " has inconsistent line endings; all line endings have been changed to native line endings");
    ASSERT_TRUE(document.save("mixed.txt"));
    EXPECT_EQ(readFile(document.path("mixed.txt")), "a\r\nb\r\nc\r\nd");
    EXPECT_FALSE(document.edit.isModified());
}

TEST(LoadFailures, MissingOrTooLargeFilesLeaveTheDocumentAlone)
{
    CodeEditSettings settings;
    settings.maximumFileSize = 10;
    FileDocument document(settings);
    writeFile(document.path("small"), "keep me");
    ASSERT_TRUE(document.load("small"));
    document.edit.insertText({0, 0}, QStringLiteral("still "), true);
    writeFile(document.path("large"), "eleven byte");
    EXPECT_FALSE(document.load("large"));
    EXPECT_FALSE(document.load("missing"));
    EXPECT_FALSE(document.load("."));
    EXPECT_EQ(document.text(), "still keep me");
    EXPECT_EQ(document.edit.fileName().text(), document.path("small"));
    const std::string large = document.path("large").toStdString();
    const std::string missing = document.path("missing").toStdString();
    EXPECT_EQ(document.questions.told,
              (std::vector<std::string>{
                  "Code Editor|Can't read file|File " + large + " is too large to edit (11 bytes, the limit is 10)",
                  "Code Editor|Can't read file|Can't open " + missing + " for reading",
                  "Code Editor|Can't read file|Can't open " + document.path(".").toStdString() + " for reading"}));
}

struct SaveFailureCase {
    const char *name;
    void (*breakFolder)(const QString &folder);
};

class SaveFailure : public ::testing::TestWithParam<SaveFailureCase> {};

TEST_P(SaveFailure, TellsAndKeepsTheOldFilesAndTheDocument)
{
    FileDocument document;
    const QString folder = document.path("sub");
    ASSERT_TRUE(QDir().mkpath(folder));
    writeFile(folder + "/a.txt", "old\n");
    writeFile(document.path("keep.txt"), "kept\n");
    ASSERT_TRUE(document.edit.load(Path(folder + "/a.txt")));
    document.edit.insertText({0, 0}, QStringLiteral("new "), true);
    GetParam().breakFolder(folder);
    EXPECT_FALSE(document.edit.save());
    EXPECT_EQ(document.questions.told.back(),
              "Code Editor|Can't write file|Can't open " + (folder + "/a.txt").toStdString() + " for writing");
    EXPECT_TRUE(document.edit.isModified());
    EXPECT_EQ(document.text(), "new old\n");
    EXPECT_EQ(readFile(document.path("keep.txt")), "kept\n");
    EXPECT_EQ(document.files(), (QStringList{QStringLiteral("keep.txt")}) + (QFileInfo(folder).isFile() ? QStringList{QStringLiteral("sub")} : QStringList()));
}

INSTANTIATE_TEST_SUITE_P(Folders, SaveFailure, ::testing::Values(
    SaveFailureCase{"folderVanished", [](const QString &folder) { QDir(folder).removeRecursively(); }},
    SaveFailureCase{"folderNowAFile", [](const QString &folder) {
        QDir(folder).removeRecursively();
        writeFile(folder, "a file");
    }}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(SaveFailures, UnencodableTextRefusesTheSaveAndKeepsTheFile)
{
    FileDocument document;
    writeFile(document.path("latin.txt"), "caf\xe9\nok\n");
    ASSERT_TRUE(document.load("latin.txt"));
    document.edit.insertText({1, 2}, QStringLiteral(" \u20ac"), true);
    EXPECT_FALSE(document.edit.save());
    EXPECT_EQ(document.questions.told.back(), "Code Editor|Can't write file|Can't encode line 2 in ISO-8859-1");
    EXPECT_EQ(readFile(document.path("latin.txt")), "caf\xe9\nok\n");
    EXPECT_EQ(document.files(), QStringList{QStringLiteral("latin.txt")});
    document.edit.setCodecName(QStringLiteral("UTF-8"));
    EXPECT_TRUE(document.edit.save());
    EXPECT_EQ(readFile(document.path("latin.txt")), "caf\xc3\xa9\nok \xe2\x82\xac\n");
}

TEST(Saving, KeepsTheModeAndWritesThroughLinks)
{
    FileDocument document;
    writeFile(document.path("target.c"), "x\n");
    ASSERT_EQ(::chmod(QFile::encodeName(document.path("target.c")).constData(), 0640), 0);
    ASSERT_TRUE(QFile::link(document.path("target.c"), document.path("link.c")));
    ASSERT_TRUE(document.load("link.c"));
    document.edit.insertText({0, 0}, QStringLiteral("y"), true);
    ASSERT_TRUE(document.edit.save());
    EXPECT_TRUE(QFileInfo(document.path("link.c")).isSymLink());
    EXPECT_EQ(readFile(document.path("target.c")), "yx\n");
    struct stat status;
    ASSERT_EQ(::stat(QFile::encodeName(document.path("target.c")).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
    EXPECT_FALSE(document.edit.isModified());
    EXPECT_EQ(document.edit.fileSize(), 3);
}

TEST(Saving, CopyLeavesTheDocumentAsItWas)
{
    FileDocument document;
    writeFile(document.path("a.txt"), "one\n");
    ASSERT_TRUE(document.load("a.txt"));
    document.edit.insertText({1, 0}, QStringLiteral("two"), true);
    ASSERT_TRUE(document.edit.saveCopyAs(Path(document.path("copy.txt"))));
    EXPECT_EQ(readFile(document.path("copy.txt")), "one\ntwo");
    EXPECT_EQ(readFile(document.path("a.txt")), "one\n");
    EXPECT_TRUE(document.edit.isModified());
    EXPECT_EQ(document.edit.fileName().text(), document.path("a.txt"));
}

TEST(Saving, CleanUpSettingsRunBeforeWriting)
{
    CodeEditSettings settings;
    settings.deleteTrailingSpaceOnSave = true;
    settings.cleanupTabsOnSave = 1;
    FileDocument document(settings);
    writeFile(document.path("a.c"), "\tx;  \n  \ty\n");
    ASSERT_TRUE(document.load("a.c"));
    ASSERT_TRUE(document.edit.save());
    EXPECT_EQ(readFile(document.path("a.c")), "    x;\n    y\n");
    EXPECT_FALSE(document.edit.isModified());
    EXPECT_EQ(document.edit.undoCount(), 2);
}

TEST(NewDocument, StartsEmptyInUtf8WithTheDefaultEnding)
{
    CodeEditSettings settings;
    settings.defaultLineEnding = LineEndingCr;
    FileDocument document(settings);
    ASSERT_TRUE(document.edit.newDocument(Path(document.path("new.txt"))));
    EXPECT_EQ(document.edit.numberOfLines(), 1);
    document.type(QStringLiteral("a\nb"));
    ASSERT_TRUE(document.edit.save());
    EXPECT_EQ(readFile(document.path("new.txt")), "a\rb");
}

TEST(QueryClose, AsksAboutUnsavedChanges)
{
    FileDocument document;
    writeFile(document.path("a.txt"), "a");
    ASSERT_TRUE(document.load("a.txt"));
    EXPECT_TRUE(document.edit.queryClose());
    document.edit.insertText({0, 0}, QStringLiteral("b"), true);
    document.questions.replies = {2, 1, 0};
    EXPECT_FALSE(document.edit.queryClose());
    EXPECT_TRUE(document.edit.queryClose());
    EXPECT_TRUE(document.edit.queryClose());
    EXPECT_EQ(readFile(document.path("a.txt")), "ba");
    const std::string name = document.path("a.txt").toStdString();
    EXPECT_EQ(document.questions.asked.front(),
              "File " + name + " is modified|Do you want to save the changes made to " + name + "|Save,Discard,Cancel");
}

// Recovery files live under $XDG_DATA_HOME, pointed at a temporary folder for each test.
class Recovery : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_saved = qgetenv("XDG_DATA_HOME");
        qputenv("XDG_DATA_HOME", data.path().toUtf8());
    }
    void TearDown() override { qputenv("XDG_DATA_HOME", m_saved); }

    QTemporaryDir data;

private:
    QByteArray m_saved;
};

TEST_F(Recovery, AnAutosavedTextIsOfferedAndRecovered)
{
    FileDocument first;
    writeFile(first.path("a.c"), "int a;\n");
    ASSERT_TRUE(first.load("a.c"));
    first.edit.insertText({1, 0}, QStringLiteral("int b;"), true);
    ASSERT_TRUE(first.edit.writeRecovery());
    const QString recovery = first.edit.recoveryPath();
    EXPECT_TRUE(recovery.startsWith(data.path() + QStringLiteral("/Tessmark/unsaved/a.c.")));
    EXPECT_EQ(readFile(recovery), "int a;\nint b;");

    FileDocument locked;
    ASSERT_TRUE(locked.edit.load(Path(first.path("a.c"))));
    EXPECT_TRUE(locked.questions.asked.empty());   // the first document still holds it

    first.edit.close(true);   // closing deliberately drops the recovery file
    EXPECT_FALSE(QFile::exists(recovery));
}

TEST_F(Recovery, TheNextSessionChoosesRecoverOrDiscard)
{
    QString recovery;
    FileDocument crashed;
    writeFile(crashed.path("a.c"), "int a;\n");
    {
        auto session = std::make_unique<Document>();
        ASSERT_TRUE(session->edit.load(Path(crashed.path("a.c"))));
        session->edit.insertText({1, 0}, QStringLiteral("int b;"), true);
        ASSERT_TRUE(session->edit.writeRecovery());
        recovery = session->edit.recoveryPath();
    }   // the session ends without deciding: the file stays
    ASSERT_TRUE(QFile::exists(recovery));

    FileDocument recovering;
    recovering.questions.replies = {0};
    ASSERT_TRUE(recovering.edit.load(Path(crashed.path("a.c"))));
    ASSERT_EQ(recovering.questions.asked.size(), 1u);
    EXPECT_EQ(recovering.questions.asked[0],
              "Recover File|An unsaved version of " + crashed.path("a.c").toStdString()
                  + " from another session has been found.\n\nDo you want to recover this file or "
                    "discard the changes?|Recover,Discard");
    EXPECT_EQ(recovering.text(), "int a;\nint b;");
    EXPECT_TRUE(recovering.edit.isModified());
    recovering.edit.undo();
    EXPECT_EQ(recovering.text(), "int a;\n");
    recovering.edit.redo();
    ASSERT_TRUE(recovering.edit.save());
    EXPECT_FALSE(QFile::exists(recovery));   // saved: nothing left to recover
    EXPECT_EQ(readFile(crashed.path("a.c")), "int a;\nint b;");

    {
        Document session;
        ASSERT_TRUE(session.edit.load(Path(crashed.path("a.c"))));
        session.edit.insertText({0, 0}, QStringLiteral("//"), true);
        ASSERT_TRUE(session.edit.writeRecovery());
    }
    FileDocument discarding;
    discarding.questions.replies = {1};
    ASSERT_TRUE(discarding.edit.load(Path(crashed.path("a.c"))));
    EXPECT_EQ(discarding.text(), "int a;\nint b;");
    EXPECT_FALSE(discarding.edit.isModified());
    EXPECT_FALSE(QFile::exists(recovery));
    EXPECT_FALSE(QDir(CodeEditRecoveryFile::folder()).exists());
}

} // namespace
