#pragma once
#include "foundation/XMLDocument.h"
#include "shell/EditCommands.h"
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <memory>

class QWidget;

namespace ShellTest {

// A parsed XML text; the document owns the tree.
std::unique_ptr<XMLDocument> parse(const QByteArray &text);

// A private home folder for the length of a test: $HOME points into it, so settings, keyboard.xml
// and the single-instance link are the test's own. The installation is the build tree.
class TemporaryHome {
public:
    TemporaryHome();
    ~TemporaryHome();
    [[nodiscard]] QString path() const { return m_directory.path(); }
    [[nodiscard]] QString userFolder() const;   // $HOME/.local/share/Tessmark
    void writeUserFile(const QString &name, const QByteArray &bytes) const;

private:
    QTemporaryDir m_directory;
    QByteArray m_oldHome;
};

// An editor that answers the shell from three flags.
class StubEdit : public EditCommandInterface {
public:
    bool isEditable() const override { return editable; }
    bool canUndo() const override { return undo; }
    bool canRedo() const override { return redo; }
    bool editable = true;
    bool undo = false;
    bool redo = false;
};

// Closes the modal dialogs that a command opens, so a test can run every command.
class ModalCloser {
public:
    ModalCloser();
    ~ModalCloser();
    [[nodiscard]] int closed() const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace ShellTest
