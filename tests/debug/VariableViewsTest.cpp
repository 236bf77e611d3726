#include "debug/DebugExpressionParser.h"
#include "debug/DwarfDebugger.h"
#include "debug/JavaScriptVariableView.h"
#include "debug/MarkerType.h"
#include "debug/QVariantBuilder.h"
#include "debug/TextVariableView.h"
#include "debug/VariableViewModel.h"
#include "script/es/ESContext.h"
#include "tests/debug/DebugTestSupport.h"
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

// The test layout built for the host, with an engine and parser over it.
class VariableViews : public ::testing::Test {
protected:
    void SetUp() override
    {
        const QString image = DebugTestSupport::builtOnce(QStringLiteral("layout-views"), QStringLiteral("gcc"),
                                                          QStringLiteral("layout.c"), {QStringLiteral("-g"), QStringLiteral("-O0")});
        if (image.isEmpty())
            GTEST_SKIP() << "gcc is not installed";
        m_engine = std::make_unique<DwarfDebugger>(image);
        m_parser = std::make_unique<DebugExpressionParser>(*m_engine);
    }
    ExpressionValue value(const char *text)
    {
        bool ok = false;
        const ExpressionValue result = m_parser->evaluate(QString::fromLatin1(text), &ok);
        EXPECT_TRUE(ok) << text << ": " << m_parser->errorMessage().toStdString();
        return result;
    }

    std::unique_ptr<DwarfDebugger> m_engine;
    std::unique_ptr<DebugExpressionParser> m_parser;
};

TEST_F(VariableViews, TextCutsDepthAndElementsAndMarksTheCut)
{
    TextVariableView view;
    view.setDepthLimit(1);
    view.walk(*m_parser, QString(), value("message"), Radix::Hexadecimal);
    EXPECT_EQ(view.text(), QStringLiteral("{kind=0x01,{...},pair={...}}"));
    EXPECT_TRUE(view.truncated());
    view.clear();
    view.setDepthLimit(8);
    view.setElementLimit(2);
    view.walk(*m_parser, QString(), value("path"), Radix::Decimal);
    EXPECT_EQ(view.text(), QStringLiteral("[{x=1,y=2},{x=3,y=4},...]"));
    view.clear();
    view.walk(*m_parser, QString(), value("ring_head"), Radix::Decimal);
    EXPECT_TRUE(view.text().startsWith(QStringLiteral("0x0000000000"))) << "pointers print in hex, padded";
    EXPECT_FALSE(view.truncated());
}

TEST_F(VariableViews, QVariantTreeHoldsMapsListsAndNumbers)
{
    QVariantBuilder builder;
    builder.setElementLimit(2);
    builder.walk(*m_parser, QString(), value("flag_set"), Radix::Decimal);
    const QVariantMap flags = builder.result().toMap();
    EXPECT_EQ(flags.value(QStringLiteral("mid")).toLongLong(), -7);
    EXPECT_EQ(flags.value(QStringLiteral("wide")).toULongLong(), 0xABCDEu);
    EXPECT_EQ(flags.value(QStringLiteral("on")).typeId(), QMetaType::Bool);
    EXPECT_EQ(flags.value(QStringLiteral("tint")).toString(), QStringLiteral("GREEN"));
    builder.walk(*m_parser, QString(), value("grid"), Radix::Decimal);
    const QVariantList rows = builder.result().toList();
    ASSERT_EQ(rows.size(), 2);
    EXPECT_EQ(rows[0].toList(), (QVariantList{1, 2, QStringLiteral("...")}));
    builder.walk(*m_parser, QString(), value("*huge_pointer"), Radix::Decimal);
    EXPECT_EQ(builder.result().toList().value(0).toString(), QStringLiteral("<cannot access memory at 0x00000000>"));
}

TEST_F(VariableViews, ScriptValuesAreObjectsArraysAndNumbers)
{
    ESContext context;
    JavaScriptVariableView view(context);
    view.walk(*m_parser, QString(), value("path"), Radix::Decimal);
    const ESValue path = view.result();
    ASSERT_TRUE(path.isObject());
    EXPECT_TRUE(context.isArray(path.object));
    context.put(context.globalObject, context.intern(QStringLiteral("path")), path);
    view.walk(*m_parser, QString(), value("shade"), Radix::Decimal);
    context.put(context.globalObject, context.intern(QStringLiteral("shade")), view.result());
    view.walk(*m_parser, QString(), value("truth"), Radix::Decimal);
    context.put(context.globalObject, context.intern(QStringLiteral("truth")), view.result());
    const ESCompletion completion = context.evaluate(
        QString(), QStringLiteral("path.length + ':' + (path[2].x + path[1].y) + ':' + shade + ':' + (typeof truth) + truth"));
    EXPECT_EQ(context.toESString(completion.value), QStringLiteral("3:9:BLUE:booleantrue"));
}

TEST_F(VariableViews, RowsShowColumnsExpandMarkChangesAndStoreEdits)
{
    VariableViewModel model(*m_parser);
    const QModelIndex origin = model.addWatch(QStringLiteral("origin"));
    const QModelIndex broken = model.addWatch(QStringLiteral("nosuch"));
    EXPECT_EQ(model.data(origin.siblingAtColumn(VariableViewModel::ValueColumn)).toString(), QStringLiteral("{x=3,y=-4}"));
    EXPECT_EQ(model.data(origin.siblingAtColumn(VariableViewModel::TypeColumn)).toString(), QStringLiteral("struct point"));
    EXPECT_EQ(model.data(origin.siblingAtColumn(VariableViewModel::SizeColumn)).toString(), QStringLiteral("8"));
    EXPECT_TRUE(model.data(origin.siblingAtColumn(VariableViewModel::AddressColumn)).toString().startsWith(QStringLiteral("0x")));
    EXPECT_EQ(model.data(broken.siblingAtColumn(VariableViewModel::ValueColumn)).toString(), QStringLiteral("nosuch symbol not found"));
    EXPECT_TRUE(model.hasChildren(origin));
    model.expand(origin);
    ASSERT_EQ(model.rowCount(origin), 2);
    const QModelIndex y = model.index(1, VariableViewModel::ValueColumn, origin);
    EXPECT_EQ(model.data(y.siblingAtColumn(0)).toString(), QStringLiteral("y"));
    EXPECT_EQ(model.data(y).toString(), QStringLiteral("-4"));
    model.setRadix(y, Radix::Hexadecimal);
    EXPECT_EQ(model.data(y).toString(), QStringLiteral("0xfffffffc"));
    EXPECT_TRUE(model.setData(y, QStringLiteral("7 * 2")));
    EXPECT_EQ(model.data(y).toString(), QStringLiteral("0x0000000e"));
    EXPECT_TRUE(model.data(origin, VariableViewModel::ChangedRole).toBool());
    EXPECT_FALSE(model.data(broken, VariableViewModel::ChangedRole).toBool());
    EXPECT_FALSE(model.setData(origin.siblingAtColumn(VariableViewModel::ValueColumn), QStringLiteral("1")));
    EXPECT_EQ(model.lastError(), QStringLiteral("cannot store a long long into struct point"));
    model.update();
    EXPECT_FALSE(model.data(origin, VariableViewModel::ChangedRole).toBool());
    const QModelIndex pointer = model.addWatch(QStringLiteral("ring_head"));
    model.expand(pointer);
    ASSERT_EQ(model.rowCount(pointer), 1);
    EXPECT_EQ(model.data(model.index(0, VariableViewModel::ValueColumn, pointer)).toString().left(10), QStringLiteral("{value=10,"));
}

TEST_F(VariableViews, ACloneOfACallCarriesItsArgumentsAndOutlivesItsSource)
{
    std::unique_ptr<Expression> copy;
    {
        const std::unique_ptr<Expression> tree = m_parser->parse(QStringLiteral("twice(counter + 1, path[1].y)"));
        copy = tree->clone();
    }
    EXPECT_EQ(copy->text(), QStringLiteral("twice((counter + 1), path[1].y)"));
    try {
        (void)copy->evaluate();
        FAIL() << "called";
    } catch (const ParserException &exception) {
        EXPECT_EQ(exception.message(), QStringLiteral("no target to call functions on"));
    }
}

TEST_F(VariableViews, FunctionsAreMarkersComparedByWhatTheyStandFor)
{
    const ExpressionValue function = value("twice");
    EXPECT_EQ(function.kind, ExpressionKind::Marker);
    EXPECT_TRUE(VariableListBuilder::format(function, Radix::Decimal, 8).endsWith(QStringLiteral(" <twice>")));
    EXPECT_TRUE(value("twice == twice").integer);
    EXPECT_FALSE(value("twice == main").integer);
    EXPECT_EQ(value("(long)twice + 0").integer, value("(long)&twice").integer);
    const DebugMarkerType a(QStringLiteral("a"), 0x100, 4);
    const DebugMarkerType b(QStringLiteral("b"), 0x100, 4);
    const DebugMarkerType c(QStringLiteral("c"), 0x200, 4);
    EXPECT_TRUE(a.equals(b));
    EXPECT_TRUE(a.lessThan(c));
    EXPECT_EQ(c.text(), QStringLiteral("0x00000200 <c>"));
}

} // namespace
