#pragma once
#include "editor/CodeEditQuestions.h"
#include "shell/DocumentHost.h"
#include <QDateTime>
#include <QHash>
#include <QObject>
#include <QPointer>
#include <QString>
#include <memory>

class CodeEditView;
class QCheckBox;
class QFileSystemWatcher;
class QLabel;
class QLineEdit;
class QStackedWidget;
class QTabWidget;
class QWidget;
class VarnelWindow;

// Asks the user through message boxes: the questions of the documents (save before closing,
// recover, reload) and their messages (a file that cannot be read or written).
class MessageBoxQuestions final : public CodeEditQuestionsInterface {
public:
    explicit MessageBoxQuestions(QWidget *parent) : m_parent(parent) {}
    void tell(const QString &caption, const QString &title, const QString &message) override;
    int ask(const QString &title, const QString &question, const QStringList &answers) override;

private:
    QPointer<QWidget> m_parent;
};

// The documents of the window: a tab per open file, each a CodeEditView, shown in place of the
// start page while any is open. It opens, saves, reloads and closes them, follows their files on
// disk, and keeps the open documents of a solution in the session file beside it.
class EditorArea : public QObject, public DocumentHost {
    Q_OBJECT
public:
    // The area makes its widget, which the window puts in its centre with `startPage` showing
    // while no document is open.
    EditorArea(VarnelWindow *window, QWidget *startPage);
    ~EditorArea() override;

    [[nodiscard]] QWidget *widget() const;
    // Where the documents ask and tell; null restores the message boxes. Not owned.
    void setQuestions(CodeEditQuestionsInterface *questions);

    // DocumentHost
    bool openDocument(const QString &path, int line = 0, int column = 0) override;
    [[nodiscard]] EditCommandInterface *currentEditor() const override;
    [[nodiscard]] QString currentPath() const override;
    [[nodiscard]] QString currentText() const override;
    [[nodiscard]] QStringList openPaths() const override;
    bool saveAll() override;

    [[nodiscard]] int count() const;
    [[nodiscard]] CodeEditView *view(int index) const;
    [[nodiscard]] CodeEditView *currentView() const;
    [[nodiscard]] int currentIndex() const;
    void setCurrentIndex(int index);
    [[nodiscard]] QString tabText(int index) const;
    [[nodiscard]] QString pathOf(const CodeEditView *view) const;

    // Commands of the File and Window menus.
    CodeEditView *newDocument();
    bool save(CodeEditView *view);
    // With an empty path, asks for one.
    bool saveAs(CodeEditView *view, const QString &path = QString());
    // Asks about unsaved changes unless `force`; false when the user kept the document.
    bool closeDocument(CodeEditView *view, bool force = false);
    bool closeAll(bool force = false);
    void nextTab(int delta);
    void openFileDialog();
    void showFind();
    void findAgain(bool forward);
    void goToLineDialog();

    // Sessions: the documents, their carets, the current tab and the window's layout.
    [[nodiscard]] static QString sessionPathFor(const QString &solutionPath);
    bool writeSession(const QString &solutionPath);
    // False, with a note in the messages, when the file is missing or damaged.
    bool restoreSession(const QString &solutionPath);

    // Writes each edited document with a file to its recovery file, from which the next session
    // offers to restore it should this one end without saving. Runs on a timer.
    void writeRecoveries();

    // A file of an open document changed on disk: reload it (asking when it was edited), or
    // note that it was deleted or made read-only.
    void checkFile(const QString &path);

signals:
    void currentViewChanged(CodeEditView *view);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    struct Document;
    CodeEditView *addView(const QString &path);
    [[nodiscard]] int indexOf(const QString &path) const;
    [[nodiscard]] Document *documentOf(const CodeEditView *view) const;
    void refreshTab(CodeEditView *view);
    void refreshStatus();
    void watch(const QString &path);
    void remember(CodeEditView *view);
    void reload(CodeEditView *view);
    void say(const QString &text);
    void makeFindBar();
    void focusChanged(QWidget *now);
    void hookToolBarFind(QWidget *focused);
    bool closeForWindow();
    bool mayClose(CodeEditView *view);

    VarnelWindow *m_window;
    QStackedWidget *m_stack;
    QWidget *m_documentsPage;
    QTabWidget *m_tabs;
    QWidget *m_findBar = nullptr;
    QLineEdit *m_findText = nullptr;
    QCheckBox *m_findCase = nullptr;
    QFileSystemWatcher *m_watcher;
    QPointer<QLabel> m_caretPane;      // the status bar's panes, once found
    QPointer<QLabel> m_readOnlyPane;
    QString m_solutionPath;   // the open solution, kept for its session after the window let go
    std::unique_ptr<MessageBoxQuestions> m_messageBoxes;
    CodeEditQuestionsInterface *m_questions;
    QHash<const CodeEditView *, std::shared_ptr<Document>> m_documents;
    int m_untitled = 0;
};
