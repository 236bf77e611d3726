#include "shell/ForthHostWords.h"
#include "script/forth/ForthException.h"
#include "script/forth/ScriptEngine.h"

namespace {

using Edit = EditCommandInterface;

constexpr ForthHostWords::EditorWord editorWordTable[] = {
    {"EDIT-SCROLL-UP", &Edit::scrollUp},
    {"EDIT-SCROLL-DOWN", &Edit::scrollDown},
    {"EDIT-CHAR-LEFT", &Edit::charLeft},
    {"EDIT-CHAR-LEFT-EXTEND", &Edit::charLeftExtend},
    {"EDIT-CHAR-RIGHT", &Edit::charRight},
    {"EDIT-CHAR-RIGHT-EXTEND", &Edit::charRightExtend},
    {"EDIT-WORD-LEFT", &Edit::wordLeft},
    {"EDIT-WORD-LEFT-EXTEND", &Edit::wordLeftExtend},
    {"EDIT-WORD-RIGHT", &Edit::wordRight},
    {"EDIT-WORD-RIGHT-EXTEND", &Edit::wordRightExtend},
    {"EDIT-LINE-START-TOGGLE", &Edit::lineStartToggle},
    {"EDIT-LINE-START-TOGGLE-EXTEND", &Edit::lineStartToggleExtend},
    {"EDIT-LINE-END", &Edit::lineEnd},
    {"EDIT-LINE-END-EXTEND", &Edit::lineEndExtend},
    {"EDIT-PAGE-UP", &Edit::pageUp},
    {"EDIT-PAGE-UP-EXTEND", &Edit::pageUpExtend},
    {"EDIT-PAGE-DOWN", &Edit::pageDown},
    {"EDIT-PAGE-DOWN-EXTEND", &Edit::pageDownExtend},
    {"EDIT-UNDO", &Edit::undo},
    {"EDIT-REDO", &Edit::redo},
    {"EDIT-UNDO-ALL", &Edit::undoAll},
    {"EDIT-REDO-ALL", &Edit::redoAll},
    {"EDIT-CUT", &Edit::cut},
    {"EDIT-COPY", &Edit::copy},
    {"EDIT-PASTE", &Edit::paste},
};

// The debugger's stepping commands are actions it adds to the window when it is attached; until
// then these words find no action and do nothing.
constexpr ForthHostWords::ActionWord actionWordTable[] = {
    {"EDIT-FIND-INCREMENTAL", "EditFindIncremental"},
    {"EDIT-FIND-DIALOG", "EditFind"},
    {"DEBUG-GO", "DebugGo"},
    {"DEBUG-BREAK", "DebugBreak"},
    {"DEBUG-STOP", "DebugStop"},
    {"DEBUG-STEP-OVER", "DebugStepOver"},
    {"DEBUG-STEP-INTO", "DebugStepInto"},
    {"DEBUG-STEP-OUT", "DebugStepOut"},
    {"DEBUG-FRAME-UP", "DebugFrameUp"},
    {"DEBUG-FRAME-DOWN", "DebugFrameDown"},
    {"DEBUG-SHOW-NEXT", "DebugShowNext"},
    {"HELP-ABOUT", "HelpAbout"},
    {"HELP-HELP", "HelpF1Help"},
    {"HELP-FAQ", "HelpFAQ"},
};

void addHostWord(ScriptEngine &engine, const QString &name, std::unique_ptr<MethodWrapper> wrapper)
{
    engine.addWord(name, std::make_unique<Unwrapper>(std::move(wrapper)), WordFlags::plain);
}

} // namespace

void EditorMethodWrapper::invoke(ScriptEngine &)
{
    if (EditCommandInterface *editor = m_host.focusedEditor())
        (editor->*m_member)();
}

void EditorInsert::invoke(ScriptEngine &engine)
{
    // The string is taken even with no editor, so the stack is the same either way.
    const QString text = engine.dataStack.pop().toStringValue();
    if (EditCommandInterface *editor = m_host.focusedEditor())
        editor->insertText(text);
}

void DebuggingQuery::invoke(ScriptEngine &engine)
{
    engine.dataStack.pushInteger(m_debugger.isDebugging() ? -1 : 0);
}

void ActionWrapper::invoke(ScriptEngine &)
{
    m_host.triggerAction(m_action);
}

void PrintLocalsWrapper::invoke(ScriptEngine &)
{
    DebuggerStateInterface &debugger = m_host.debugger();
    if (!debugger.isDebugging()) {
        m_host.print(QStringLiteral("no debug session: no locals\n"));
        return;
    }
    for (const QString &line : debugger.localsText())
        m_host.print(line + u'\n');
}

void LaunchBrowserWrapper::invoke(ScriptEngine &engine)
{
    const QString url = engine.dataStack.pop().toStringValue();
    if (!m_host.openUrl(url))
        forthThrow(-21, QStringLiteral("no web browser could open \"%1\"").arg(url));
}

std::span<const ForthHostWords::EditorWord> ForthHostWords::editorWords()
{
    return editorWordTable;
}

std::span<const ForthHostWords::ActionWord> ForthHostWords::actionWords()
{
    return actionWordTable;
}

void ForthHostWords::install(ScriptEngine &engine, ForthHostInterface &host)
{
    for (const EditorWord &word : editorWordTable)
        addHostWord(engine, QLatin1String(word.word), std::make_unique<EditorMethodWrapper>(host, word.member));
    addHostWord(engine, QStringLiteral("EDIT-INSERT"), std::make_unique<EditorInsert>(host));
    addHostWord(engine, QStringLiteral("DEBUGGING?"), std::make_unique<DebuggingQuery>(host.debugger()));
    for (const ActionWord &word : actionWordTable)
        addHostWord(engine, QLatin1String(word.word), std::make_unique<ActionWrapper>(host, QLatin1String(word.action)));
    addHostWord(engine, QStringLiteral(".LOCALS"), std::make_unique<PrintLocalsWrapper>(host));
    addHostWord(engine, QStringLiteral("LAUNCH-BROWSER"), std::make_unique<LaunchBrowserWrapper>(host));
}
