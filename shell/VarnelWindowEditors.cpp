#include "shell/CodeEditView.h"
#include "shell/EditorArea.h"
#include "shell/ProxyAction.h"
#include "shell/VarnelAction.h"
#include "shell/VarnelWindow.h"

namespace {

// The Edit menu's commands that only the text editor has, by the editor member they run.
struct ViewCommand {
    const char *action;
    void (CodeEditView::*run)();
};

constexpr ViewCommand viewCommands[] = {
    {"EditSelectAll", &CodeEditView::selectAll},
    {"EditSelectWord", &CodeEditView::selectWord},
    {"EditSelectLine", &CodeEditView::selectLine},
    {"EditIndent", &CodeEditView::indent},
    {"EditOutdent", &CodeEditView::outdent},
    {"EditComment", &CodeEditView::comment},
    {"EditUncomment", &CodeEditView::uncomment},
    {"EditToggleComment", &CodeEditView::toggleComment},
    {"EditDelete", &CodeEditView::deleteForward},
    {"EditDeleteLine", &CodeEditView::deleteLine},
    {"EditDuplicateLine", &CodeEditView::duplicateLine},
};

// The commands any editor of the shell has, so a stand-in editor takes them too.
struct InterfaceCommand {
    const char *action;
    EditCommandMember run;
};

constexpr InterfaceCommand interfaceCommands[] = {
    {"EditUndo", &EditCommandInterface::undo},
    {"EditRedo", &EditCommandInterface::redo},
    {"EditUndoAll", &EditCommandInterface::undoAll},
    {"EditRedoAll", &EditCommandInterface::redoAll},
    {"EditCut", &EditCommandInterface::cut},
    {"EditCopy", &EditCommandInterface::copy},
    {"EditPaste", &EditCommandInterface::paste},
};

} // namespace

// The document area: tabs of text editors over the editor library's buffers, with the start
// page showing while no document is open.
void VarnelWindow::createEditorArea()
{
    m_editorArea = new EditorArea(this, takeCentralWidget());
    m_documents = m_editorArea;
    setCentralWidget(m_editorArea->widget());
    EditorArea *area = m_editorArea;
    addCommand(QStringLiteral("FileOpenFile"), [area] { area->openFileDialog(); });
    addCommand(QStringLiteral("FileNewBlankFile"), [area] { area->newDocument(); });
    addCommand(QStringLiteral("FileSave"), [area] { area->save(area->currentView()); });
    addCommand(QStringLiteral("FileSaveAs"), [area] { area->saveAs(area->currentView()); });
    addCommand(QStringLiteral("FileSaveAll"), [area] { area->saveAll(); });
    addCommand(QStringLiteral("FileClose"), [area] { area->closeDocument(area->currentView()); });
    addCommand(QStringLiteral("WindowCloseTab"), [area] { area->closeDocument(area->currentView()); });
    addCommand(QStringLiteral("WindowCloseAll"), [area] { area->closeAll(); });
    addCommand(QStringLiteral("FileSaveAndClose"), [area] {
        if (area->save(area->currentView()))
            area->closeDocument(area->currentView());
    });
    addCommand(QStringLiteral("EditorNextTab"), [area] { area->nextTab(1); });
    addCommand(QStringLiteral("EditorPrevTab"), [area] { area->nextTab(-1); });
    // The Edit commands go to the focused editor through their proxies, so a view with its own
    // Copy (the messages) keeps it.
    for (const InterfaceCommand &command : interfaceCommands) {
        proxy(QLatin1String(command.action))->setFallback([this, run = command.run] {
            if (!m_editor)
                return false;
            (m_editor->*run)();
            return true;
        });
    }
    const auto onView = [this](const char *action, std::function<void(CodeEditView *)> run) {
        proxy(QLatin1String(action))->setFallback([this, run = std::move(run)] {
            auto *view = dynamic_cast<CodeEditView *>(m_editor);
            if (view)
                run(view);
            return view != nullptr;
        });
    };
    for (const ViewCommand &command : viewCommands)
        onView(command.action, [run = command.run](CodeEditView *view) { (view->*run)(); });
    onView("EditGoToLine", [area](CodeEditView *) { area->goToLineDialog(); });
    onView("EditFind", [area](CodeEditView *) { area->showFind(); });
    onView("EditFindNext", [area](CodeEditView *) { area->findAgain(true); });
    onView("EditFindPrev", [area](CodeEditView *) { area->findAgain(false); });
}
