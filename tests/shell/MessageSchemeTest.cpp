#include "shell/MessageScheme.h"
#include "tests/support/TestSupport.h"
#include <QAction>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

// A scheme file in a temporary folder, loaded, and its merged menus as readable text.
class Scheme : public ::testing::Test {
protected:
    QString write(const QString &name, const QByteArray &text)
    {
        const QString path = directory.filePath(name);
        TestSupport::writeFile(path, text);
        return path;
    }

    bool load(const QByteArray &installed, const QString &name = {}, const QByteArray &user = {})
    {
        return scheme.load(write(QStringLiteral("installed.xml"), installed),
                           user.isEmpty() ? QString() : write(QStringLiteral("user.xml"), user), name);
    }

    // "Menu: entry entry ..." per merged menu, entries by name (a separator is "-").
    QString menus() const
    {
        QString text;
        for (const XMLNode *menu = scheme.menus()->firstChild(); menu; menu = menu->nextSibling()) {
            const auto *element = static_cast<const XMLElement *>(menu);
            text += QString::fromUtf8(element->attribute("name")) + u':';
            for (const XMLNode *entry = element->firstChild(); entry; entry = entry->nextSibling()) {
                const auto *child = static_cast<const XMLElement *>(entry);
                const char *name = child->attribute("name");
                text += u' ' + (name ? QString::fromUtf8(name) : QStringLiteral("-"));
            }
            text += u'\n';
        }
        return text;
    }

    QTemporaryDir directory;
    MessageScheme scheme;
};

const QByteArray standard =
    "<messagescheme><messagescheme name=\"Standard\">"
    "<definemenu name=\"File\"><item name=\"Open\"/><item name=\"Save\"/><separator/><item name=\"Exit\"/></definemenu>"
    "<item name=\"Open\" text=\"Open\" menutext=\"&amp;Open...\" statustip=\"Opens a file.\"/>"
    "<item name=\"Exit\" text=\"Exit\" whatsthis=\"Ends it.\\nSaves nothing.\"/>"
    "</messagescheme></messagescheme>";

struct InsertCase {
    const char *name;
    QByteArray extension;   // definemenu elements laid over the File menu above
    QString menus;
};

class SchemeInsertion : public Scheme, public ::testing::WithParamInterface<InsertCase> {};

TEST_P(SchemeInsertion, PutsTheEntriesWhereTheDefinitionSays)
{
    QByteArray text = standard;
    text.replace("</messagescheme></messagescheme>", GetParam().extension + "</messagescheme></messagescheme>");
    ASSERT_TRUE(load(text));
    EXPECT_EQ(menus(), GetParam().menus);
    EXPECT_TRUE(scheme.messages().isEmpty()) << scheme.messages().join(u'\n').toStdString();
}

INSTANTIATE_TEST_SUITE_P(Cases, SchemeInsertion, ::testing::Values(
    InsertCase{"appendsWithoutAPoint", "<definemenu name=\"File\"><item name=\"A\"/></definemenu>",
               "File: Open Save - Exit A\n"},
    InsertCase{"afterAnItem", "<definemenu name=\"File\" insert-after=\"Open\"><item name=\"A\"/><item name=\"B\"/></definemenu>",
               "File: Open A B Save - Exit\n"},
    InsertCase{"beforeAnItem", "<definemenu name=\"File\" insert-before=\"Exit\"><item name=\"A\"/><item name=\"B\"/></definemenu>",
               "File: Open Save - A B Exit\n"},
    InsertCase{"beforeTheFirstItem", "<definemenu name=\"File\" insert-before=\"Open\"><item name=\"A\"/></definemenu>",
               "File: A Open Save - Exit\n"},
    InsertCase{"afterAMissingItemAppendsSilently", "<definemenu name=\"File\" insert-after=\"Nowhere\"><item name=\"A\"/></definemenu>",
               "File: Open Save - Exit A\n"},
    InsertCase{"twoAtOnePointAfterKeepTheirOrder",
               "<definemenu name=\"File\" insert-after=\"Open\"><item name=\"A\"/></definemenu>"
               "<definemenu name=\"File\" insert-after=\"Open\"><item name=\"B\"/><item name=\"C\"/></definemenu>",
               "File: Open A B C Save - Exit\n"},
    InsertCase{"twoAtOnePointBeforeKeepTheirOrder",
               "<definemenu name=\"File\" insert-before=\"Save\"><item name=\"A\"/></definemenu>"
               "<definemenu name=\"File\" insert-before=\"Save\"><item name=\"B\"/></definemenu>",
               "File: Open A B Save - Exit\n"},
    InsertCase{"aNewMenuIsAdded", "<definemenu name=\"Tools\"><item name=\"T\"/></definemenu>",
               "File: Open Save - Exit\nTools: T\n"},
    InsertCase{"aDefinitionWithoutNameIsIgnored", "<definemenu><item name=\"T\"/></definemenu>",
               "File: Open Save - Exit\n"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(Scheme, TextsGoToTheActionsItNamesAndUnknownNamesAreSkipped)
{
    ASSERT_TRUE(load(standard));
    QAction open;
    int asked = 0;
    const int applied = scheme.applyTexts([&](const QString &name) -> QAction * {
        ++asked;
        return name == QLatin1String("Open") ? &open : nullptr;
    });
    EXPECT_EQ(asked, 2);
    EXPECT_EQ(applied, 1);
    EXPECT_EQ(open.text(), QStringLiteral("&Open..."));
    EXPECT_EQ(open.iconText(), QStringLiteral("Open"));
    EXPECT_EQ(open.toolTip(), QStringLiteral("Open"));
    EXPECT_EQ(open.statusTip(), QStringLiteral("Opens a file."));
}

TEST_F(Scheme, ABackslashNInWhatsThisIsALineBreak)
{
    ASSERT_TRUE(load(standard));
    ASSERT_NE(scheme.texts(QStringLiteral("Exit")), nullptr);
    EXPECT_EQ(scheme.texts(QStringLiteral("Exit"))->whatsThis, QStringLiteral("Ends it.\nSaves nothing."));
}

TEST_F(Scheme, TheProductMacrosAreSet)
{
    ASSERT_TRUE(load("<messagescheme name=\"S\"><item name=\"About\" text=\"About $(VARNEL_NAME) by $(OWNER)\"/></messagescheme>"));
    EXPECT_EQ(scheme.texts(QStringLiteral("About"))->text, QStringLiteral("About Tessmark by Tessmark"));
}

TEST_F(Scheme, ABasedSchemeLiesOverItsBase)
{
    QByteArray text = standard;
    text.replace("</messagescheme></messagescheme>",
                 "</messagescheme><messagescheme name=\"Classic\" base=\"Standard\">"
                 "<definemenu name=\"File\" insert-after=\"Save\"><item name=\"SaveAll\"/></definemenu>"
                 "<item name=\"Exit\" text=\"Quit\"/></messagescheme></messagescheme>");
    ASSERT_TRUE(load(text, QStringLiteral("Classic")));
    EXPECT_EQ(scheme.name(), QStringLiteral("Classic"));
    EXPECT_EQ(menus(), QStringLiteral("File: Open Save SaveAll - Exit\n"));
    const MessageScheme::Texts *exit = scheme.texts(QStringLiteral("Exit"));
    EXPECT_EQ(exit->text, QStringLiteral("Quit"));
    // What the derived scheme does not say comes from the base.
    EXPECT_EQ(exit->whatsThis, QStringLiteral("Ends it.\nSaves nothing."));
    EXPECT_EQ(scheme.schemeNames(), (QStringList{QStringLiteral("Standard"), QStringLiteral("Classic")}));
}

TEST_F(Scheme, TheUsersSchemeOfTheSameNameExtendsTheInstalledOne)
{
    ASSERT_TRUE(load(standard, QStringLiteral("Standard"),
                     "<messagescheme name=\"Standard\"><definemenu name=\"File\" insert-before=\"Exit\"><item name=\"Mine\"/></definemenu>"
                     "<item name=\"Open\" statustip=\"Opens one of my files.\"/></messagescheme>"));
    EXPECT_EQ(menus(), QStringLiteral("File: Open Save - Mine Exit\n"));
    EXPECT_EQ(scheme.texts(QStringLiteral("Open"))->statusTip, QStringLiteral("Opens one of my files."));
    EXPECT_EQ(scheme.texts(QStringLiteral("Open"))->menuText, QStringLiteral("&Open..."));
}

TEST_F(Scheme, SchemesBasedOnEachOtherStopWithAMessage)
{
    ASSERT_TRUE(load("<messagescheme><messagescheme name=\"A\" base=\"B\"><item name=\"X\" text=\"a\"/></messagescheme>"
                     "<messagescheme name=\"B\" base=\"A\"><item name=\"X\" text=\"b\"/></messagescheme></messagescheme>",
                     QStringLiteral("A")));
    ASSERT_EQ(scheme.messages().size(), 1);
    EXPECT_TRUE(scheme.messages().first().endsWith(QStringLiteral("message scheme 'A' is based on itself"))) << scheme.messages().first().toStdString();
    EXPECT_EQ(scheme.texts(QStringLiteral("X"))->text, QStringLiteral("a"));
}

TEST_F(Scheme, DialogsAndWindowsBecomeItemsOfTheirMenus)
{
    ASSERT_TRUE(load("<messagescheme name=\"S\"><definemenu name=\"Help\"><item name=\"About\"/></definemenu>"
                     "<dialogs menu=\"Help\"><dialog name=\"Prefs\" url=\"p.htm\" open-action=\"ToolPreferences\" style=\"\"/></dialogs>"
                     "<windows><window name=\"Log\" url=\"log.htm\" style=\"docked\"/></windows></messagescheme>"));
    EXPECT_EQ(menus(), QStringLiteral("Help: About Prefs\nWindowsMenu: Log\n"));
    const XMLElement *prefs = static_cast<const XMLElement *>(scheme.menuDefinition(QStringLiteral("Help"))->lastChild());
    EXPECT_STREQ(prefs->name(), "item");
    EXPECT_STREQ(prefs->attribute("url"), "p.htm");
    EXPECT_STREQ(prefs->attribute("open-action"), "ToolPreferences");
    EXPECT_FALSE(prefs->hasAttribute("style"));
    const XMLElement *log = static_cast<const XMLElement *>(scheme.menuDefinition(QStringLiteral("WindowsMenu"))->firstChild());
    EXPECT_STREQ(log->attribute("style"), "docked");
}

TEST_F(Scheme, AnUnknownSchemeNameFallsBackToTheFirstWithAMessage)
{
    ASSERT_TRUE(load(standard, QStringLiteral("Nope")));
    EXPECT_EQ(scheme.name(), QStringLiteral("Standard"));
    EXPECT_EQ(scheme.messages(), QStringList{QStringLiteral("message scheme 'Nope' not found; 'Standard' is used instead")});
}

struct BrokenCase {
    const char *name;
    QByteArray text;
    QString message;   // the end of the one message
};

class BrokenScheme : public Scheme, public ::testing::WithParamInterface<BrokenCase> {};

TEST_P(BrokenScheme, DoesNotLoadAndSaysWhy)
{
    EXPECT_FALSE(load(GetParam().text));
    ASSERT_EQ(scheme.messages().size(), 1);
    EXPECT_TRUE(scheme.messages().first().endsWith(GetParam().message)) << scheme.messages().first().toStdString();
    EXPECT_EQ(scheme.menus()->firstChild(), nullptr);
}

INSTANTIATE_TEST_SUITE_P(Cases, BrokenScheme, ::testing::Values(
    BrokenCase{"notXml", "this is not XML at all", "no XML element in the file"},
    BrokenCase{"empty", "", "no XML element in the file"},
    BrokenCase{"truncated", "<messagescheme name=\"S\"><definemenu name=\"File\"><item name=\"Op", "no XML element in the file"},
    BrokenCase{"mismatched", "<messagescheme>\n<definemenu></item></messagescheme>", "line 2: tagName mismatch"},
    BrokenCase{"wrongRoot", "<keyscheme name=\"S\"/>", "the root is <keyscheme>, not <messagescheme>"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(Scheme, UnknownElementsAreIgnoredWithANote)
{
    ASSERT_TRUE(load("<messagescheme name=\"S\">\n<frob/><item name=\"A\" text=\"a\"/></messagescheme>"));
    EXPECT_EQ(scheme.messages(), QStringList{QStringLiteral("message scheme 'S': unknown element <frob> on line 2 is ignored")});
    EXPECT_EQ(scheme.texts(QStringLiteral("A"))->text, QStringLiteral("a"));
}

TEST_F(Scheme, AHundredThousandItemsLoadUpToTheLimitOfAMenu)
{
    QByteArray text = "<messagescheme name=\"S\"><definemenu name=\"Big\">";
    for (int i = 0; i < 100000; ++i)
        text += "<item name=\"A" + QByteArray::number(i) + "\"/>";
    text += "</definemenu></messagescheme>";
    ASSERT_TRUE(load(text));
    int count = 0;
    for (const XMLNode *node = scheme.menuDefinition(QStringLiteral("Big"))->firstChild(); node; node = node->nextSibling())
        ++count;
    EXPECT_EQ(count, MessageScheme::maxMenuEntries);
    EXPECT_EQ(scheme.messages(), QStringList{QStringLiteral("message scheme 'S': menu Big holds 1000 entries; the rest is left out")});
}

// Regression: each definition searched the whole grown menu for its insertion point and the
// check of such a file ran for hours.
TEST_F(Scheme, AHundredThousandDefinitionsAtOnePointKeepTheirOrderAndStopAtTheLimit)
{
    QByteArray text = "<messagescheme name=\"S\"><definemenu name=\"M\"><item name=\"First\"/><item name=\"Last\"/></definemenu>";
    for (int i = 0; i < 100000; ++i)
        text += "<definemenu name=\"M\" insert-after=\"First\"><item name=\"A" + QByteArray::number(i) + "\"/></definemenu>";
    text += "</messagescheme>";
    ASSERT_TRUE(load(text));
    const QStringList entries = menus().trimmed().split(u' ');
    ASSERT_EQ(entries.size(), 1 + MessageScheme::maxMenuEntries);
    EXPECT_EQ(entries.mid(0, 4), (QStringList{QStringLiteral("M:"), QStringLiteral("First"), QStringLiteral("A0"), QStringLiteral("A1")}));
    EXPECT_EQ(entries.back(), QStringLiteral("Last"));
    EXPECT_EQ(entries.at(entries.size() - 2), QStringLiteral("A997"));
    EXPECT_EQ(scheme.messages().size(), 1);
}

TEST_F(Scheme, APipeIsRefusedRatherThanWaitedFor)
{
    const QString pipe = directory.filePath(QStringLiteral("pipe.xml"));
    ASSERT_EQ(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    EXPECT_FALSE(scheme.load(pipe, {}, {}));
    EXPECT_EQ(scheme.messages(), QStringList{pipe + QStringLiteral(": not a regular file")});
}

} // namespace
