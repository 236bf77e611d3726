#include "shell/Actions.h"
#include "shell/KeyMap.h"
#include "shell/KeyboardShortcutsWidget.h"
#include "shell/VarnelAction.h"
#include "tests/support/TestSupport.h"
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

KeyMap::Keys keys(const QString &text)
{
    KeyMap::Keys parsed;
    QString bad;
    EXPECT_TRUE(KeyMap::parseKeys(text, &parsed, &bad)) << bad.toStdString();
    return parsed;
}

class Keys : public ::testing::Test {
protected:
    Keys()
    {
        map.setDefaultKeys(QStringLiteral("FileSave"), keys(QStringLiteral("Ctrl+S")));
        map.setDefaultKeys(QStringLiteral("FileExit"), keys(QStringLiteral("Ctrl+Q")));
        map.setDefaultKeys(QStringLiteral("EditCopy"), keys(QStringLiteral("Ctrl+C; Ctrl+Ins")));
    }

    QString write(const QString &name, const QByteArray &text)
    {
        const QString path = directory.filePath(name);
        TestSupport::writeFile(path, text);
        return path;
    }

    QString text(const QString &action) const { return KeyMap::keysText(map.keys(action)); }

    QTemporaryDir directory;
    KeyMap map;
};

const QByteArray schemes =
    "<keyscheme><keyscheme name=\"Standard\"><item name=\"FileSave\" key=\"Ctrl+Alt+S\"/><item name=\"FileExit\" key=\"\"/>"
    "</keyscheme><keyscheme name=\"Classic\" base=\"Standard\"><item name=\"FileExit\" key=\"Alt+X\"/></keyscheme></keyscheme>";

TEST_F(Keys, TheSchemeLiesOverTheDefaultsAndTheUserOverTheScheme)
{
    ASSERT_TRUE(map.loadScheme(write(QStringLiteral("keyboard.xml"), schemes), QStringLiteral("Standard")));
    EXPECT_EQ(text(QStringLiteral("FileSave")), QStringLiteral("Ctrl+Alt+S"));
    EXPECT_EQ(text(QStringLiteral("FileExit")), QString());   // an empty key removes the default
    EXPECT_EQ(text(QStringLiteral("EditCopy")), QStringLiteral("Ctrl+C; Ctrl+Ins"));
    ASSERT_TRUE(map.loadUser(write(QStringLiteral("user.xml"), "<keyscheme><item name=\"EditCopy\" key=\"Ctrl+Shift+C\"/></keyscheme>")));
    EXPECT_EQ(text(QStringLiteral("EditCopy")), QStringLiteral("Ctrl+Shift+C"));
    EXPECT_EQ(KeyMap::keysText(map.schemeKeys(QStringLiteral("EditCopy"))), QStringLiteral("Ctrl+C; Ctrl+Ins"));
    EXPECT_TRUE(map.isOverridden(QStringLiteral("EditCopy")));
    map.reset(QStringLiteral("EditCopy"));
    EXPECT_EQ(text(QStringLiteral("EditCopy")), QStringLiteral("Ctrl+C; Ctrl+Ins"));
}

TEST_F(Keys, ABasedKeySchemeTakesItsBasesKeys)
{
    ASSERT_TRUE(map.loadScheme(write(QStringLiteral("keyboard.xml"), schemes), QStringLiteral("Classic")));
    EXPECT_EQ(map.schemeName(), QStringLiteral("Classic"));
    EXPECT_EQ(text(QStringLiteral("FileExit")), QStringLiteral("Alt+X"));
    EXPECT_EQ(text(QStringLiteral("FileSave")), QStringLiteral("Ctrl+Alt+S"));
    EXPECT_EQ(map.schemeNames(), (QStringList{QStringLiteral("Standard"), QStringLiteral("Classic")}));
}

TEST_F(Keys, AUsersPartNamedForAnotherSchemeDoesNotApply)
{
    ASSERT_TRUE(map.loadScheme(write(QStringLiteral("keyboard.xml"), schemes), QStringLiteral("Standard")));
    ASSERT_TRUE(map.loadUser(write(QStringLiteral("user.xml"),
                                   "<keyscheme><keyscheme name=\"Classic\"><item name=\"FileSave\" key=\"F2\"/></keyscheme>"
                                   "<keyscheme name=\"Standard\"><item name=\"FileSave\" key=\"F3\"/></keyscheme></keyscheme>")));
    EXPECT_EQ(text(QStringLiteral("FileSave")), QStringLiteral("F3"));
}

TEST_F(Keys, UnparsableSequencesAreSkippedWithTheirLine)
{
    ASSERT_TRUE(map.loadUser(write(QStringLiteral("user.xml"),
                                   "<keyscheme>\n<item name=\"FileSave\" key=\"Ctrl+Frob\"/>\n<item name=\"FileExit\" key=\"F4\"/>\n"
                                   "<item key=\"F5\"/></keyscheme>")));
    const QStringList messages = map.takeMessages();
    ASSERT_EQ(messages.size(), 2);
    EXPECT_TRUE(messages.at(0).endsWith(QStringLiteral("user.xml: line 2: unparsable key sequence 'Ctrl+Frob' for FileSave is ignored")))
        << messages.at(0).toStdString();
    EXPECT_TRUE(messages.at(1).endsWith(QStringLiteral("line 4: <item> without a name is ignored")));
    EXPECT_EQ(text(QStringLiteral("FileSave")), QStringLiteral("Ctrl+S"));
    EXPECT_EQ(text(QStringLiteral("FileExit")), QStringLiteral("F4"));
}

TEST_F(Keys, AKeySchemeThatDoesNotLoadLeavesTheDefaults)
{
    EXPECT_FALSE(map.loadScheme(write(QStringLiteral("keyboard.xml"), "<keyscheme name=\"x\"><item name="), QString()));
    EXPECT_FALSE(map.loadScheme(write(QStringLiteral("other.xml"), "<messagescheme/>"), QString()));
    EXPECT_FALSE(map.loadUser(write(QStringLiteral("user.xml"), "garbage")));
    EXPECT_EQ(map.takeMessages().size(), 3);
    EXPECT_EQ(text(QStringLiteral("FileSave")), QStringLiteral("Ctrl+S"));
    EXPECT_TRUE(map.loadUser(directory.filePath(QStringLiteral("missing.xml"))));   // a first run
}

struct ClashCase {
    const char *name;
    const char *saveKeys;
    const char *exitKeys;
    QString clashKey;   // empty: no clash
};

class KeyClash : public Keys, public ::testing::WithParamInterface<ClashCase> {};

TEST_P(KeyClash, IsFoundWhenOneSequenceStartsTheOther)
{
    map.setKeys(QStringLiteral("FileSave"), keys(QLatin1String(GetParam().saveKeys)));
    map.setKeys(QStringLiteral("FileExit"), keys(QLatin1String(GetParam().exitKeys)));
    const std::vector<KeyMap::Clash> clashes = map.clashes();
    if (GetParam().clashKey.isEmpty()) {
        EXPECT_TRUE(clashes.empty());
        return;
    }
    ASSERT_EQ(clashes.size(), 1u);
    EXPECT_EQ(clashes.front().key.toString(QKeySequence::PortableText), GetParam().clashKey);
    EXPECT_EQ(clashes.front().actions, (QStringList{QStringLiteral("FileExit"), QStringLiteral("FileSave")}));
}

INSTANTIATE_TEST_SUITE_P(Cases, KeyClash, ::testing::Values(
    ClashCase{"sameKey", "Ctrl+S", "Ctrl+S", QStringLiteral("Ctrl+S")},
    ClashCase{"secondKeyOfOne", "F2; Ctrl+K", "Ctrl+K", QStringLiteral("Ctrl+K")},
    ClashCase{"chordPrefix", "Ctrl+K", "Ctrl+K, X", QStringLiteral("Ctrl+K")},
    ClashCase{"differentChords", "Ctrl+K, S", "Ctrl+K, X", QString()},
    ClashCase{"differentKeys", "Ctrl+S", "Ctrl+Q", QString()},
    ClashCase{"modifiersCount", "Ctrl+S", "Ctrl+Shift+S", QString()}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(Keys, TheUsersKeysAreWrittenAndReadBack)
{
    map.setKeys(QStringLiteral("FileSave"), keys(QStringLiteral("F2; Ctrl+K, S")));
    map.setKeys(QStringLiteral("FileExit"), {});
    map.setKeys(QStringLiteral("EditCopy"), keys(QStringLiteral("Ctrl+C; Ctrl+Ins")));   // the scheme's: no override
    const QString path = directory.filePath(QStringLiteral("sub/keyboard.xml"));
    QString message;
    ASSERT_TRUE(map.saveUser(path, &message)) << message.toStdString();
    EXPECT_EQ(TestSupport::readFile(path).toStdString(),
              "<?xml  version=\"1.0\" encoding=\"UTF-8\" ?>\n<keyscheme>\n"
              "  <item name=\"FileExit\" key=\"\" />\n"
              "  <item name=\"FileSave\" key=\"F2; Ctrl+K, S\" />\n</keyscheme>\n");
    KeyMap again;
    again.setDefaultKeys(QStringLiteral("FileExit"), keys(QStringLiteral("Ctrl+Q")));
    ASSERT_TRUE(again.loadUser(path));
    EXPECT_EQ(KeyMap::keysText(again.keys(QStringLiteral("FileSave"))), QStringLiteral("F2; Ctrl+K, S"));
    EXPECT_TRUE(again.keys(QStringLiteral("FileExit")).isEmpty());
}

TEST_F(Keys, AFailedSaveLeavesTheOldFile)
{
    const QString path = write(QStringLiteral("keyboard.xml"), "<keyscheme/>\n");
    // A folder where the file's folder should be: nothing can be written there.
    const QString blocked = write(QStringLiteral("blocked"), "a file") + QStringLiteral("/keyboard.xml");
    map.setKeys(QStringLiteral("FileSave"), keys(QStringLiteral("F2")));
    QString message;
    EXPECT_FALSE(map.saveUser(blocked, &message));
    EXPECT_TRUE(message.startsWith(QStringLiteral("cannot make the folder"))) << message.toStdString();
    EXPECT_EQ(TestSupport::readFile(path), "<keyscheme/>\n");
}

TEST_F(Keys, ApplySetsTheShortcutsOfTheDictionary)
{
    Actions actions;
    VarnelAction save(nullptr, nullptr, QStringLiteral("FileSave"));
    VarnelAction other(nullptr, nullptr, QStringLiteral("Other"));
    other.setShortcut(QKeySequence(QStringLiteral("F9")));
    map.apply(actions);
    EXPECT_EQ(save.shortcuts(), keys(QStringLiteral("Ctrl+S")));
    EXPECT_TRUE(other.shortcuts().isEmpty());
}

// The key editor on its own copy of the map.
class ShortcutEditor : public Keys {
protected:
    ShortcutEditor()
    {
        for (const char *name : {"FileSave", "FileExit", "EditCopy"})
            (new VarnelAction(&owner, nullptr, QLatin1String(name)))->setText(QLatin1String(name) + QStringLiteral(" text"));
    }

    Actions actions;
    QObject owner;
};

TEST_F(ShortcutEditor, AssignsAFreeSequenceAndRefusesAClash)
{
    KeyboardShortcutsWidget editor(map, actions, {{QStringLiteral("FileSave"), QStringLiteral("File")}});
    ASSERT_TRUE(editor.selectAction(QStringLiteral("FileSave")));
    editor.setTypedSequence(QKeySequence(QStringLiteral("Ctrl+Q")));
    editor.assignClicked();
    EXPECT_EQ(editor.statusText(), QStringLiteral("Ctrl+Q is not assigned: it clashes with FileExit (FileExit text). Remove it there first."));
    EXPECT_EQ(KeyMap::keysText(editor.keyMap().keys(QStringLiteral("FileSave"))), QStringLiteral("Ctrl+S"));
    EXPECT_FALSE(editor.isChanged());
    editor.setTypedSequence(QKeySequence(QStringLiteral("F6")));
    editor.assignClicked();
    EXPECT_EQ(KeyMap::keysText(editor.keyMap().keys(QStringLiteral("FileSave"))), QStringLiteral("Ctrl+S; F6"));
    EXPECT_TRUE(editor.isChanged());
    // The original map is untouched until the dialog is accepted.
    EXPECT_EQ(text(QStringLiteral("FileSave")), QStringLiteral("Ctrl+S"));
}

TEST_F(ShortcutEditor, RemovesResetsAndChecks)
{
    KeyboardShortcutsWidget editor(map, actions, {});
    ASSERT_TRUE(editor.selectAction(QStringLiteral("EditCopy")));
    editor.selectKey(0);
    editor.removeClicked();
    EXPECT_EQ(KeyMap::keysText(editor.keyMap().keys(QStringLiteral("EditCopy"))), QStringLiteral("Ctrl+Ins"));
    editor.setTypedSequence(QKeySequence(QStringLiteral("Ctrl+C")));
    editor.checkClicked();
    EXPECT_EQ(editor.statusText(), QStringLiteral("Ctrl+C is free."));
    editor.setTypedSequence(QKeySequence(QStringLiteral("Ctrl+Ins")));
    editor.checkClicked();
    EXPECT_EQ(editor.statusText(), QStringLiteral("Ctrl+Ins is used by EditCopy (EditCopy text): Ctrl+Ins."));
    editor.resetClicked();
    EXPECT_EQ(KeyMap::keysText(editor.keyMap().keys(QStringLiteral("EditCopy"))), QStringLiteral("Ctrl+C; Ctrl+Ins"));
    EXPECT_FALSE(editor.keyMap().isOverridden(QStringLiteral("EditCopy")));
}

TEST_F(ShortcutEditor, SavesTheUsersKeys)
{
    KeyboardShortcutsWidget editor(map, actions, {});
    ASSERT_TRUE(editor.selectAction(QStringLiteral("FileExit")));
    editor.selectKey(0);
    editor.removeClicked();
    const QString path = directory.filePath(QStringLiteral("keyboard.xml"));
    QString message;
    ASSERT_TRUE(editor.save(path, &message));
    KeyMap again;
    again.setDefaultKeys(QStringLiteral("FileExit"), keys(QStringLiteral("Ctrl+Q")));
    ASSERT_TRUE(again.loadUser(path));
    EXPECT_TRUE(again.keys(QStringLiteral("FileExit")).isEmpty());
}

} // namespace
