#include "shell/SettingsFile.h"
#include "tests/shell/ShellTestSupport.h"
#include "tests/support/TestSupport.h"
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

class Settings : public ::testing::Test {
protected:
    QString path(const QString &name = QStringLiteral("settings.xml")) const { return directory.filePath(name); }
    QTemporaryDir directory;
};

TEST_F(Settings, ValuesAndListsSurviveASaveAndALoad)
{
    SettingsFile settings;
    QString message;
    ASSERT_TRUE(settings.load(path(), &message));   // no file yet: a first run
    settings.setValue(QStringLiteral("Environment/Message Scheme"), QStringLiteral("Classic"));
    settings.setYes(QStringLiteral("Environment/Build/Show Command Lines"), true);
    settings.setValue(QStringLiteral("Window/Odd"), QStringLiteral("a \"quoted\" <value> & \xc3\xa9\ttab"));
    settings.setList(QStringLiteral("Environment/Recent Solutions"), {QStringLiteral("/a/b.qvProject"), QStringLiteral("/c.qvProject")});
    ASSERT_TRUE(settings.save(&message)) << message.toStdString();
    EXPECT_FALSE(settings.isModified());
    EXPECT_TRUE(TestSupport::readFile(path()).startsWith("<?xml  version=\"1.0\" encoding=\"UTF-8\" ?>\n"
                                                         "<!DOCTYPE Tessmark_Settings_File>\n<Tessmark_Settings_File version=\"1\">\n"));
    SettingsFile again;
    ASSERT_TRUE(again.load(path(), &message));
    EXPECT_EQ(again.keys(), settings.keys());
    for (const QString &key : settings.keys()) {
        EXPECT_EQ(again.value(key), settings.value(key)) << key.toStdString();
        EXPECT_EQ(again.list(key), settings.list(key)) << key.toStdString();
    }
    EXPECT_TRUE(again.isYes(QStringLiteral("Environment/Build/Show Command Lines")));
}

TEST_F(Settings, ChangesAreSignalledOnceAndClearTakesAPrefix)
{
    SettingsFile settings;
    QSignalSpy changed(&settings, &SettingsFile::changed);
    settings.setValue(QStringLiteral("Window/A"), QStringLiteral("1"));
    settings.setValue(QStringLiteral("Window/A"), QStringLiteral("1"));
    settings.setValue(QStringLiteral("Environment/B"), QStringLiteral("2"));
    EXPECT_EQ(changed.size(), 2);
    settings.clear(QStringLiteral("Window/"));
    EXPECT_EQ(changed.size(), 3);
    EXPECT_FALSE(settings.contains(QStringLiteral("Window/A")));
    EXPECT_TRUE(settings.contains(QStringLiteral("Environment/B")));
}

struct BrokenCase {
    const char *name;
    QByteArray text;
    QString why;
};

class BrokenSettings : public Settings, public ::testing::WithParamInterface<BrokenCase> {};

TEST_P(BrokenSettings, LeaveTheDefaultsAndAreKeptAsideOnTheNextSave)
{
    TestSupport::writeFile(path(), GetParam().text);
    SettingsFile settings;
    QString message;
    EXPECT_FALSE(settings.load(path(), &message));
    EXPECT_EQ(message, path() + QStringLiteral(": ") + GetParam().why + QStringLiteral("; the defaults are used"));
    EXPECT_TRUE(settings.keys().isEmpty());
    settings.setValue(QStringLiteral("A"), QStringLiteral("1"));
    ASSERT_TRUE(settings.save(&message));
    EXPECT_EQ(TestSupport::readFile(path(QStringLiteral("settings.xml.bad"))), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Cases, BrokenSettings, ::testing::Values(
    BrokenCase{"notXml", "not XML", "not a settings file (root <none>, expected <Tessmark_Settings_File>)"},
    BrokenCase{"otherRoot", "<keyscheme/>", "not a settings file (root <keyscheme>, expected <Tessmark_Settings_File>)"},
    BrokenCase{"mismatched", "<Tessmark_Settings_File><setting></list></Tessmark_Settings_File>", "tagName mismatch"},
    BrokenCase{"truncated", "<Tessmark_Settings_File><setting name=\"A\" value=\"1\"/><set", "not a settings file (root <none>, expected <Tessmark_Settings_File>)"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(Settings, AFolderThatCannotBeMadeFailsTheSave)
{
    TestSupport::writeFile(path(QStringLiteral("home")), "a file where the folder should be");
    SettingsFile settings;
    QString message;
    ASSERT_TRUE(settings.load(path(QStringLiteral("home/Tessmark/settings.xml")), &message));
    settings.setValue(QStringLiteral("A"), QStringLiteral("1"));
    EXPECT_FALSE(settings.save(&message));
    EXPECT_TRUE(message.startsWith(QStringLiteral("cannot make the folder "))) << message.toStdString();
    EXPECT_EQ(settings.value(QStringLiteral("A")), QStringLiteral("1"));
}

// A write that runs out of room fails like a full disk; the file from before must stay.
TEST_F(Settings, AFailedWriteLeavesThePreviousFileIntact)
{
    SettingsFile settings;
    QString message;
    ASSERT_TRUE(settings.load(path(), &message));
    settings.setValue(QStringLiteral("A"), QStringLiteral("1"));
    ASSERT_TRUE(settings.save(&message));
    const QByteArray before = TestSupport::readFile(path());
    settings.setValue(QStringLiteral("Big"), QString(200000, u'x'));
    bool saved = false;
    {
        const ShellTest::FileSizeLimit limit(4096);
        saved = settings.save(&message);
    }
    EXPECT_FALSE(saved);
    EXPECT_TRUE(message.startsWith(QStringLiteral("cannot write "))) << message.toStdString();
    EXPECT_EQ(TestSupport::readFile(path()), before);
    EXPECT_TRUE(settings.isModified());
}

} // namespace
