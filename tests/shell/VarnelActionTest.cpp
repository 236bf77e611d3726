#include "shell/Actions.h"
#include "shell/EditCommands.h"
#include "shell/ProxyAction.h"
#include "shell/VarnelAction.h"
#include "tests/shell/ShellTestSupport.h"
#include <QApplication>
#include <QLineEdit>
#include <QSignalSpy>
#include <QWidget>
#include <gtest/gtest.h>

namespace {

TEST(VarnelActions, EnterTheDictionaryWhenMadeAndLeaveWhenDestroyed)
{
    Actions actions;
    {
        VarnelAction save(nullptr, nullptr, QStringLiteral("FileSave"));
        EXPECT_EQ(actions.find(QStringLiteral("FileSave")), &save);
        EXPECT_EQ(Actions::instance(), &actions);
    }
    EXPECT_EQ(actions.find(QStringLiteral("FileSave")), nullptr);
    EXPECT_EQ(actions.size(), 0);
}

TEST(VarnelActions, ASecondActionOfANameTakesTheEntryAndTheFirstLeavesItAlone)
{
    Actions actions;
    VarnelAction second(nullptr, nullptr, QStringLiteral("X"));
    {
        VarnelAction third(nullptr, nullptr, QStringLiteral("X"));
        EXPECT_EQ(actions.find(QStringLiteral("X")), &third);
    }
    EXPECT_EQ(actions.find(QStringLiteral("X")), nullptr);
    auto *again = new VarnelAction(nullptr, nullptr, QStringLiteral("Y"));
    VarnelAction *kept = actions.find(QStringLiteral("Y"));
    {
        VarnelAction other(nullptr, nullptr, QStringLiteral("Z"));
        EXPECT_EQ(actions.find(QStringLiteral("Y")), kept);
    }
    delete again;
}

TEST(VarnelActions, ActivateRunsOnlyWhenEnabledAndOldSignatureStringsConnect)
{
    Actions actions;
    VarnelAction action(nullptr, nullptr, QStringLiteral("A"));
    QSignalSpy activated(&action, SIGNAL(activated()));
    QSignalSpy enable(&action, SIGNAL(enableChanged()));
    action.activate();
    EXPECT_EQ(activated.size(), 1);
    action.setEnabled(false);
    EXPECT_EQ(enable.size(), 1);
    action.activate();
    EXPECT_EQ(activated.size(), 1);
}

TEST(VarnelActions, AToolButtonTogglesAToggleAction)
{
    Actions actions;
    VarnelAction toggle(nullptr, nullptr, QStringLiteral("T"), true);
    QSignalSpy toggled(&toggle, &QAction::toggled);
    toggle.toolToggled(true);
    toggle.toolToggled(true);
    EXPECT_TRUE(toggle.isChecked());
    EXPECT_EQ(toggled.size(), 1);
    toggle.toolToggled(false);
    EXPECT_FALSE(toggle.isChecked());
}

TEST(VarnelActions, AnActionWhoseTargetDiesIsDisabled)
{
    Actions actions;
    auto *target = new QObject;
    VarnelAction action(nullptr, target, QStringLiteral("A"));
    EXPECT_TRUE(action.isEnabled());
    delete target;
    EXPECT_FALSE(action.isEnabled());
    EXPECT_EQ(action.target(), nullptr);
}

TEST(DeferredVarnelActions, RunOnceAfterTheChoosingEventReturned)
{
    Actions actions;
    DeferredVarnelAction action(nullptr, nullptr, QStringLiteral("FileExit"));
    int runs = 0;
    QObject::connect(&action, &DeferredVarnelAction::deferredActivated, [&] { ++runs; });
    action.trigger();
    action.trigger();
    EXPECT_EQ(runs, 0);
    QApplication::processEvents();
    EXPECT_EQ(runs, 1);
    action.trigger();
    QApplication::processEvents();
    EXPECT_EQ(runs, 2);
}

TEST(MultiActions, AreEnabledWhenAnyMemberIsAndRunTheSelectedOne)
{
    Actions actions;
    MultiAction multi(nullptr, nullptr, QStringLiteral("DebugStart"));
    VarnelAction first(nullptr, nullptr, QStringLiteral("First"));
    VarnelAction second(nullptr, nullptr, QStringLiteral("Second"));
    first.setEnabled(false);
    second.setEnabled(false);
    multi.addMember(&first);
    multi.addMember(&second);
    EXPECT_FALSE(multi.isEnabled());
    second.setEnabled(true);
    EXPECT_TRUE(multi.isEnabled());
    QSignalSpy firstRuns(&first, &QAction::triggered);
    QSignalSpy secondRuns(&second, &QAction::triggered);
    // The first member is selected but disabled: the one that can run, runs.
    multi.trigger();
    EXPECT_EQ(firstRuns.size(), 0);
    EXPECT_EQ(secondRuns.size(), 1);
    EXPECT_EQ(multi.selected(), &second);
    first.setEnabled(true);
    first.trigger();
    EXPECT_EQ(multi.selected(), &first);
    multi.activateSelected();
    EXPECT_EQ(firstRuns.size(), 2);
}

TEST(ProxyActions, ForwardToTheFocusedWidgetsOwnActionElseToTheFallback)
{
    Actions actions;
    VarnelAction copy(nullptr, nullptr, QStringLiteral("EditCopy"));
    ProxyAction proxy(nullptr, &copy);
    QWidget window;
    auto *log = new QLineEdit(&window);
    auto *other = new QLineEdit(&window);
    QAction localCopy;
    proxy.setLocalAction(log, &localCopy);
    int fallbacks = 0;
    proxy.setFallback([&] { ++fallbacks; return true; });
    QSignalSpy local(&localCopy, &QAction::triggered);
    window.show();
    QApplication::setActiveWindow(&window);
    log->setFocus();
    QApplication::processEvents();
    ASSERT_EQ(QApplication::focusWidget(), log);
    EXPECT_EQ(proxy.localAction(), &localCopy);
    copy.trigger();
    EXPECT_EQ(local.size(), 1);
    EXPECT_EQ(fallbacks, 0);
    other->setFocus();
    QApplication::processEvents();
    EXPECT_EQ(proxy.localAction(), nullptr);
    copy.trigger();
    EXPECT_EQ(local.size(), 1);
    EXPECT_EQ(fallbacks, 1);
    delete log;
    EXPECT_EQ(proxy.localAction(), nullptr);
}

struct RuleCase {
    const char *name;
    int command;
    bool editable;
    bool undo;
    bool redo;
    bool enabled;
};

class EditCommandRule : public ::testing::TestWithParam<RuleCase> {};

TEST_P(EditCommandRule, FollowsTheGroupOfTheNumber)
{
    ShellTest::StubEdit edit;
    edit.editable = GetParam().editable;
    edit.undoable = GetParam().undo;
    edit.redoable = GetParam().redo;
    EXPECT_EQ(edit.isCommandEnabled(GetParam().command), GetParam().enabled);
}

INSTANTIATE_TEST_SUITE_P(Cases, EditCommandRule, ::testing::Values(
    RuleCase{"undoWithNothingToUndo", EditCommand::undo, true, false, true, false},
    RuleCase{"undoWithSomething", EditCommand::undo, true, true, false, true},
    RuleCase{"undoInAReadOnlyDocument", EditCommand::undo, false, true, false, false},
    RuleCase{"redoAllWithSomething", EditCommand::redoAll, true, false, true, true},
    RuleCase{"redoAllWithNothing", EditCommand::redoAll, true, true, false, false},
    RuleCase{"cutWhenEditable", EditCommand::firstModifying, true, false, false, true},
    RuleCase{"cutWhenReadOnly", EditCommand::firstModifying, false, false, false, false},
    RuleCase{"lastModifyingWhenReadOnly", EditCommand::lastModifying, false, false, false, false},
    RuleCase{"copyWhenReadOnly", EditCommand::firstReading, false, false, false, true},
    RuleCase{"lastNumberedWhenReadOnly", EditCommand::lastNumberedCommand, false, false, false, true},
    RuleCase{"aboveTheNumberedAlways", EditCommand::lastNumberedCommand + 1, false, false, false, true},
    RuleCase{"farAboveAlways", 100000, false, false, false, true},
    RuleCase{"negativeNever", -1, true, true, true, false}),
    [](const auto &info) { return std::string(info.param.name); });

} // namespace
