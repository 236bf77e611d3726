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

// An editor that answers the shell from three flags and notes each command it is given.
class StubEdit : public EditCommandInterface {
public:
    bool isEditable() const override { return editable; }
    bool canUndo() const override { return undoable; }
    bool canRedo() const override { return redoable; }
    void scrollUp() override { calls << QStringLiteral("scrollUp"); }
    void scrollDown() override { calls << QStringLiteral("scrollDown"); }
    void charLeft() override { calls << QStringLiteral("charLeft"); }
    void charLeftExtend() override { calls << QStringLiteral("charLeftExtend"); }
    void charRight() override { calls << QStringLiteral("charRight"); }
    void charRightExtend() override { calls << QStringLiteral("charRightExtend"); }
    void wordLeft() override { calls << QStringLiteral("wordLeft"); }
    void wordLeftExtend() override { calls << QStringLiteral("wordLeftExtend"); }
    void wordRight() override { calls << QStringLiteral("wordRight"); }
    void wordRightExtend() override { calls << QStringLiteral("wordRightExtend"); }
    void lineStartToggle() override { calls << QStringLiteral("lineStartToggle"); }
    void lineStartToggleExtend() override { calls << QStringLiteral("lineStartToggleExtend"); }
    void lineEnd() override { calls << QStringLiteral("lineEnd"); }
    void lineEndExtend() override { calls << QStringLiteral("lineEndExtend"); }
    void pageUp() override { calls << QStringLiteral("pageUp"); }
    void pageUpExtend() override { calls << QStringLiteral("pageUpExtend"); }
    void pageDown() override { calls << QStringLiteral("pageDown"); }
    void pageDownExtend() override { calls << QStringLiteral("pageDownExtend"); }
    void undo() override { calls << QStringLiteral("undo"); }
    void redo() override { calls << QStringLiteral("redo"); }
    void undoAll() override { calls << QStringLiteral("undoAll"); }
    void redoAll() override { calls << QStringLiteral("redoAll"); }
    void cut() override { calls << QStringLiteral("cut"); }
    void copy() override { calls << QStringLiteral("copy"); }
    void paste() override { calls << QStringLiteral("paste"); }
    void insertText(const QString &text) override { calls << QStringLiteral("insertText:") + text; }
    bool editable = true;
    bool undoable = false;
    bool redoable = false;
    QStringList calls;
};

// While it lives, files of the process may grow to `bytes` at most, and a write beyond fails
// instead of ending the process: a failing disk that stops root as well as anyone.
class FileSizeLimit {
public:
    explicit FileSizeLimit(quint64 bytes);
    ~FileSizeLimit();
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

private:
    struct State;
    std::unique_ptr<State> m_state;
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
