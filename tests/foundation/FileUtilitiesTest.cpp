#include "foundation/CheckedFile.h"
#include "foundation/Directories.h"
#include "foundation/MD5Sum.h"
#include "foundation/PackageVersion.h"
#include "tests/support/TestSupport.h"
#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <vector>

namespace {

// Answers from a script and records what was asked.
class ScriptedQuestions : public QTx::CheckedFileQuestionsInterface {
public:
    explicit ScriptedQuestions(bool answer) : m_answer(answer) {}
    bool ask(const QString &title, const QString &question) override
    {
        asked.push_back(title + '|' + question);
        return m_answer;
    }
    void tell(const QString &title, const QString &message) override
    {
        told.push_back(title + '|' + message);
    }
    std::vector<QString> asked;
    std::vector<QString> told;

private:
    bool m_answer;
};

class CheckedFileTest : public ::testing::Test {
protected:
    void TearDown() override { QTx::QCheckedFile::setQuestions(nullptr); }
    QTemporaryDir directory;
};

TEST_F(CheckedFileTest, CreatesMissingDirectoryChainWithConsent)
{
    ScriptedQuestions user(true);
    QTx::QCheckedFile::setQuestions(&user);
    const QString nested = directory.filePath(QStringLiteral("a/b/c"));
    QTx::QCheckedFile file(nested + "/out.txt");
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_EQ(file.write("x"), 1);
    file.close();
    EXPECT_TRUE(QFileInfo::exists(nested + "/out.txt"));
    ASSERT_EQ(user.asked.size(), 1u);
    EXPECT_EQ(user.asked[0], "Warning|The directory '" + nested +
                                 "' does not exist.\n\nDo you want to create it?");
}

TEST_F(CheckedFileTest, RefusalLeavesEverythingAlone)
{
    ScriptedQuestions user(false);
    QTx::QCheckedFile::setQuestions(&user);
    const QString nested = directory.filePath(QStringLiteral("a/b"));
    QTx::QCheckedFile file(nested + "/out.txt");
    EXPECT_FALSE(file.open(QIODevice::WriteOnly));
    EXPECT_FALSE(QFileInfo::exists(nested));

    const QString existing = directory.filePath(QStringLiteral("keep.txt"));
    TestSupport::writeFile(existing, "old");
    QTx::QCheckedFile replace(existing, QTx::QCheckedFile::ConfirmReplace);
    EXPECT_FALSE(replace.open(QIODevice::WriteOnly));
    EXPECT_EQ(TestSupport::readFile(existing), "old");
    EXPECT_EQ(user.asked.back(), "Warning|The file '" + existing +
                                     "' already exists.\n\nDo you want to replace it?");
}

TEST_F(CheckedFileTest, ReportsDirectoryThatCannotBeMade)
{
    ScriptedQuestions user(true);
    QTx::QCheckedFile::setQuestions(&user);
    const QString blocker = directory.filePath(QStringLiteral("plain"));
    TestSupport::writeFile(blocker, "a file where a directory should go");
    QTx::QCheckedFile file(blocker + "/sub/out.txt");
    EXPECT_FALSE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(user.told.size(), 1u);
    EXPECT_EQ(user.told[0], "Warning|Cannot create directory '" + blocker + "/sub'.");
}

TEST_F(CheckedFileTest, DefaultConsentsWithoutAsking)
{
    const QString nested = directory.filePath(QStringLiteral("x/y"));
    QTx::QCheckedFile file(nested + "/z.txt");
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
}

struct DigestCase {
    const char *name;
    QByteArray bytes;
    const char *md5;
};

class MD5Digest : public ::testing::TestWithParam<DigestCase> {};

TEST_P(MD5Digest, OfBytesFileAndString)
{
    const DigestCase &c = GetParam();
    EXPECT_EQ(MD5Sum::md5OfBytes(c.bytes.constData(), c.bytes.size()), c.md5);
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("f"));
    TestSupport::writeFile(path, c.bytes);
    EXPECT_EQ(MD5Sum::md5OfFile(path), c.md5);
    EXPECT_EQ(MD5Sum::md5OfString(QString::fromUtf8(c.bytes)), c.md5);
    MD5Sum sum(c.bytes.constData(), c.bytes.size());
    const char *const first = sum.digest();
    EXPECT_EQ(sum.digest(), first);
    EXPECT_STREQ(first, c.md5);
}

INSTANTIATE_TEST_SUITE_P(
    KnownValues, MD5Digest,
    ::testing::Values(DigestCase{"empty", "", "d41d8cd98f00b204e9800998ecf8427e"},
                      DigestCase{"abc", "abc", "900150983cd24fb0d6963f7d28e17f72"},
                      DigestCase{"fox", "The quick brown fox jumps over the lazy dog",
                                 "9e107d9d372bb6826bd81d3542a419d6"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(MD5DigestOfFile, UnreadableFileGivesEmptyText)
{
    EXPECT_EQ(MD5Sum::md5OfFile(QStringLiteral("/nonexistent/file")), QString());
}

struct VersionCase {
    const char *name;
    const char *text;
    quint32 major;
    quint32 minor;
};

class PackageVersionParsing : public ::testing::TestWithParam<VersionCase> {};

TEST_P(PackageVersionParsing, TakesFirstTwoParts)
{
    PackageVersion version;
    version.parseVersion(QString::fromUtf8(GetParam().text));
    EXPECT_EQ(version.major, GetParam().major);
    EXPECT_EQ(version.minor, GetParam().minor);
    EXPECT_EQ(version.text, GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Texts, PackageVersionParsing,
                         ::testing::Values(VersionCase{"twoParts", "3.14", 3, 14},
                                           VersionCase{"moreParts", "1.2.3.4", 1, 2},
                                           VersionCase{"emptyPartsDropped", "..7..8", 7, 8},
                                           VersionCase{"notANumber", "x.5", 0, 5},
                                           VersionCase{"majorOnly", "9", 9, 0},
                                           VersionCase{"empty", "", 0, 0}),
                         [](const auto &info) { return std::string(info.param.name); });

struct TemporaryCase {
    const char *name;
    const char *tmp;   // null: unset
    const char *temp;
    const char *tmpdir;
    const char *expected;
};

class TemporaryDirectory : public ::testing::TestWithParam<TemporaryCase> {};

TEST_P(TemporaryDirectory, TriesVariablesInOrder)
{
    const TemporaryCase &c = GetParam();
    const std::pair<const char *, const char *> variables[] = {
        {"TMP", c.tmp}, {"TEMP", c.temp}, {"TMPDIR", c.tmpdir}};
    std::vector<std::pair<const char *, QByteArray>> saved;
    for (const auto &[name, value] : variables) {
        saved.emplace_back(name, qgetenv(name));
        if (value)
            qputenv(name, value);
        else
            qunsetenv(name);
    }
    EXPECT_EQ(temporaryDirectory(), c.expected);
    for (const auto &[name, value] : saved) {
        if (value.isNull())
            qunsetenv(name);
        else
            qputenv(name, value);
    }
}

INSTANTIATE_TEST_SUITE_P(Environment, TemporaryDirectory,
                         ::testing::Values(TemporaryCase{"tmpFirst", "/t1", "/t2", "/t3", "/t1"},
                                           TemporaryCase{"tempSecond", nullptr, "/t2", "/t3", "/t2"},
                                           TemporaryCase{"tmpdirThird", nullptr, nullptr, "/t3", "/t3"},
                                           TemporaryCase{"defaultTmp", nullptr, nullptr, nullptr, "/tmp"}),
                         [](const auto &info) { return std::string(info.param.name); });

TEST(UserDirectories, FollowHome)
{
    const QByteArray saved = qgetenv("HOME");
    qputenv("HOME", "/home/someone");
    EXPECT_EQ(userHomeDirectory(), "/home/someone");
    EXPECT_EQ(documentsDirectory(), "/home/someone/Documents");
    EXPECT_EQ(desktopDirectory(), "/home/someone/Desktop");
    EXPECT_EQ(userDataDirectory(), "/home/someone/.local/share");
    qputenv("HOME", saved);
    EXPECT_EQ(systemDataDirectory(), "/usr/share");
}

} // namespace
