#include "shell/EditorArea.h"
#include "editor/CodeEdit.h"
#include "foundation/Path.h"
#include "shell/CodeEditView.h"
#include "shell/MessageLog.h"
#include "shell/SettingsFile.h"
#include "shell/VarnelAction.h"
#include "shell/VarnelWindow.h"
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QHBoxLayout>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSaveFile>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTabWidget>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

// What the area keeps of a document besides its view: the file as last read or written, so a
// change on disk can be told from our own save.
struct EditorArea::Document {
    QString path;        // absolute; empty for a new document not yet saved
    QString title;       // "Untitled 1" for a new document
    QDateTime modified;
    qint64 size = -1;
    bool missing = false;   // the file went away while the document was open
    bool recoveryFailed = false;   // said once; the timer leaves the document alone after that
    bool binary = false;    // NUL bytes: saved only when edited, never for line endings alone
    // What the window's commands were last enabled for: undo, redo, a selection.
    int commandState = -1;
};

namespace {

constexpr int statusMilliseconds = 8000;
// The editor's context menu; an empty name is a separator.
constexpr const char *contextCommands[] = {
    "EditUndo", "EditRedo", "", "EditCut", "EditCopy", "EditPaste", "EditDelete", "", "EditSelectAll",
    "EditToggleComment", "", "EditFind", "EditGoToLine",
};
// How often edited documents are written to their recovery files.
constexpr int recoveryMilliseconds = 30000;
// Sessions larger than this are not ours.
constexpr qint64 largestSession = 16 * 1024 * 1024;

QString absolute(const QString &path)
{
    return QFileInfo(path).absoluteFilePath();
}

// No one may write the file: its mode says so even to a user whom the system would let write
// (the superuser), since the mode is what the user set.
bool readOnlyOnDisk(const QFileInfo &info)
{
    constexpr QFile::Permissions anyWrite = QFile::WriteOwner | QFile::WriteGroup | QFile::WriteOther;
    return info.exists() && (!info.isWritable() || !(info.permissions() & anyWrite));
}

// The editor's settings as the environment keeps them; a missing or unreadable value keeps the
// document's default.
struct NumberSetting {
    const char *key;
    int CodeEditSettings::*field;
    int lowest;
    int highest;
};

struct YesNoSetting {
    const char *key;
    bool CodeEditSettings::*field;
};

constexpr NumberSetting numberSettings[] = {
    {"Text Editor/Undo Mode", &CodeEditSettings::undoMode, 0, 2},
    {"Text Editor/Default Line Endings", &CodeEditSettings::defaultLineEnding, 0, 2},
    {"Text Editor/Cleanup Tabs On Save", &CodeEditSettings::cleanupTabsOnSave, 0, 2},
    {"Text Editor/Tab Size", &CodeEditSettings::tabSize, 1, 32},
};

constexpr YesNoSetting yesNoSettings[] = {
    {"Text Editor/Detect UTF-8", &CodeEditSettings::detectUtf8},
    {"Text Editor/Delete Trailing Space On Save", &CodeEditSettings::deleteTrailingSpaceOnSave},
    {"Text Editor/Edit Read Only", &CodeEditSettings::editReadOnly},
    {"Text Editor/Insert Tabs", &CodeEditSettings::insertTabs},
};

CodeEditSettings editorSettings(const SettingsFile &file)
{
    CodeEditSettings settings;
    for (const NumberSetting &row : numberSettings) {
        bool ok = false;
        const int value = file.value(QLatin1String(row.key)).toInt(&ok);
        if (ok && value >= row.lowest && value <= row.highest)
            settings.*row.field = value;
    }
    for (const YesNoSetting &row : yesNoSettings)
        settings.*row.field = file.isYes(QLatin1String(row.key), settings.*row.field);
    settings.defaultCodec = file.value(QStringLiteral("Text Editor/Default Codec"), settings.defaultCodec);
    return settings;
}

bool looksBinary(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.read(64 * 1024).contains('\0');
}

} // namespace

// --- message boxes

void MessageBoxQuestions::tell(const QString &caption, const QString &title, const QString &message)
{
    QMessageBox box(QMessageBox::Warning, caption.isEmpty() ? title : caption + QStringLiteral(": ") + title, message,
                    QMessageBox::Ok, m_parent);
    box.exec();
}

int MessageBoxQuestions::ask(const QString &title, const QString &question, const QStringList &answers)
{
    QMessageBox box(QMessageBox::Question, title, question, QMessageBox::NoButton, m_parent);
    QList<QAbstractButton *> buttons;
    for (const QString &answer : answers)
        buttons.append(box.addButton(answer, QMessageBox::ActionRole));
    box.exec();
    return int(buttons.indexOf(box.clickedButton()));
}

// --- the area

EditorArea::EditorArea(VarnelWindow *window, QWidget *startPage)
    : QObject(window),
      m_window(window),
      m_stack(new QStackedWidget(window)),
      m_documentsPage(new QWidget(m_stack)),
      m_tabs(new QTabWidget(m_documentsPage)),
      m_watcher(new QFileSystemWatcher(this)),
      m_messageBoxes(std::make_unique<MessageBoxQuestions>(window)),
      m_questions(m_messageBoxes.get())
{
    m_stack->setObjectName(QStringLiteral("DocumentArea"));
    m_tabs->setObjectName(QStringLiteral("DocumentTabs"));
    m_tabs->setTabsClosable(true);
    m_tabs->setMovable(true);
    m_tabs->setDocumentMode(true);
    auto *layout = new QVBoxLayout(m_documentsPage);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_tabs, 1);
    makeFindBar();
    layout->addWidget(m_findBar);
    if (startPage)
        m_stack->addWidget(startPage);
    m_stack->addWidget(m_documentsPage);
    connect(m_tabs, &QTabWidget::tabCloseRequested, this, [this](int index) { closeDocument(view(index)); });
    connect(m_tabs, &QTabWidget::currentChanged, this, [this] {
        CodeEditView *current = currentView();
        if (current)
            m_window->setEditor(current);
        refreshStatus();
        emit currentViewChanged(current);
    });
    connect(m_watcher, &QFileSystemWatcher::fileChanged, this, &EditorArea::checkFile);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget *, QWidget *now) { focusChanged(now); });
    connect(window, &VarnelWindow::solutionChanged, this, [this](const QString &path) {
        m_solutionPath = path;
        if (!path.isEmpty())
            restoreSession(path);
    });
    connect(window, &VarnelWindow::solutionClosing, this, [this] {
        if (m_solutionPath.isEmpty())
            return;
        writeSession(m_solutionPath);
        closeAll();
    });
    connect(window->settings(), &SettingsFile::changed, this, [this](const QString &key) {
        if (!key.startsWith(QLatin1String("Text Editor/")))
            return;
        const CodeEditSettings settings = editorSettings(*m_window->settings());
        for (int index = 0; index < count(); ++index) {
            view(index)->edit().setSettings(settings);
            view(index)->documentReset();
        }
    });
    auto *recovery = new QTimer(this);
    connect(recovery, &QTimer::timeout, this, &EditorArea::writeRecoveries);
    recovery->start(recoveryMilliseconds);
    window->installEventFilter(this);
}

EditorArea::~EditorArea()
{
    disconnect(qApp, nullptr, this, nullptr);
}

QWidget *EditorArea::widget() const
{
    return m_stack;
}

void EditorArea::setQuestions(CodeEditQuestionsInterface *questions)
{
    m_questions = questions ? questions : m_messageBoxes.get();
    for (int index = 0; index < count(); ++index)
        view(index)->edit().setQuestions(m_questions);
}

int EditorArea::count() const
{
    return m_tabs->count();
}

CodeEditView *EditorArea::view(int index) const
{
    return qobject_cast<CodeEditView *>(m_tabs->widget(index));
}

CodeEditView *EditorArea::currentView() const
{
    return qobject_cast<CodeEditView *>(m_tabs->currentWidget());
}

int EditorArea::currentIndex() const
{
    return m_tabs->currentIndex();
}

void EditorArea::setCurrentIndex(int index)
{
    m_tabs->setCurrentIndex(index);
}

QString EditorArea::tabText(int index) const
{
    return m_tabs->tabText(index);
}

EditorArea::Document *EditorArea::documentOf(const CodeEditView *view) const
{
    return m_documents.value(view).get();
}

QString EditorArea::pathOf(const CodeEditView *view) const
{
    const Document *document = documentOf(view);
    return document ? document->path : QString();
}

int EditorArea::indexOf(const QString &path) const
{
    for (int index = 0; index < count(); ++index) {
        if (pathOf(view(index)) == path)
            return index;
    }
    return -1;
}

void EditorArea::say(const QString &text)
{
    m_window->statusBar()->showMessage(text, statusMilliseconds);
    if (MessageLog *log = MessageLog::instance())
        log->note(text);
}

// --- DocumentHost

CodeEditView *EditorArea::addView(const QString &path)
{
    auto *view = new CodeEditView(m_tabs);
    view->edit().setQuestions(m_questions);
    view->edit().setSettings(editorSettings(*m_window->settings()));
    auto document = std::make_shared<Document>();
    document->path = path;
    if (path.isEmpty())
        document->title = QStringLiteral("Untitled %1").arg(++m_untitled);
    m_documents.insert(view, document);
    connect(view, &CodeEditView::caretChanged, this, [this, view] {
        if (view != currentView())
            return;
        refreshStatus();
        // The shortcuts of Undo, Cut and the like must work at once, not at the window's next
        // update; the update runs only when what they depend on changed.
        Document *document = documentOf(view);
        const int state = int(view->canUndo()) | int(view->canRedo()) << 1 | int(view->edit().hasSelection()) << 2
                          | int(view->isEditable()) << 3;
        if (document && state != document->commandState) {
            document->commandState = state;
            m_window->updateGUI();
        }
    });
    connect(view, &CodeEditView::modificationChanged, this, [this, view] { refreshTab(view); });
    view->setContextMenuPolicy(Qt::ActionsContextMenu);
    for (const char *name : contextCommands) {
        if (!*name) {
            auto *separator = new QAction(view);
            separator->setSeparator(true);
            view->addAction(separator);
        } else if (QAction *action = m_window->action(QLatin1String(name))) {
            view->addAction(action);
        }
    }
    connect(view, &CodeEditView::gotFocus, this, [this](CodeEditView *focused) { m_window->setEditor(focused); });
    connect(&view->edit(), &CodeEdit::statusMessage, this, [this](const QString &text) {
        m_window->statusBar()->showMessage(text, statusMilliseconds);
    });
    connect(&view->edit(), &CodeEdit::readOnlyFileEdit, this, [this, view] {
        m_window->statusBar()->showMessage(QStringLiteral("%1 is read-only").arg(m_tabs->tabText(m_tabs->indexOf(view))),
                                           statusMilliseconds);
    });
    return view;
}

bool EditorArea::openDocument(const QString &path, int line, int column)
{
    const QString file = absolute(path);
    int index = indexOf(file);
    if (index < 0) {
        CodeEditView *view = addView(file);
        if (!view->edit().load(Path(file))) {   // the document told the user why
            m_documents.remove(view);
            delete view;
            return false;
        }
        if (readOnlyOnDisk(QFileInfo(file)))
            view->edit().setReadOnly(1, false);
        documentOf(view)->binary = looksBinary(file);
        view->chooseSyntaxForFile(file);
        view->documentReset();
        remember(view);
        watch(file);
        index = m_tabs->addTab(view, QString());
        refreshTab(view);
        m_stack->setCurrentWidget(m_documentsPage);
    }
    m_tabs->setCurrentIndex(index);
    CodeEditView *current = view(index);
    if (line > 0)
        current->setCaretPosition({line - 1, column > 0 ? column - 1 : 0});
    current->setFocus();
    m_window->setEditor(current);
    return true;
}

EditCommandInterface *EditorArea::currentEditor() const
{
    return currentView();
}

QString EditorArea::currentPath() const
{
    return pathOf(currentView());
}

QString EditorArea::currentText() const
{
    const CodeEditView *view = currentView();
    return view ? view->edit().buffer().toText() : QString();
}

QStringList EditorArea::openPaths() const
{
    QStringList paths;
    for (int index = 0; index < count(); ++index) {
        if (const QString path = pathOf(view(index)); !path.isEmpty())
            paths.append(path);
    }
    return paths;
}

bool EditorArea::saveAll()
{
    bool all = true;
    for (int index = 0; index < count(); ++index) {
        CodeEditView *each = view(index);
        if (each->edit().isModified() && !pathOf(each).isEmpty())
            all = save(each) && all;
    }
    return all;
}

// --- files

void EditorArea::remember(CodeEditView *view)
{
    Document *document = documentOf(view);
    if (!document)
        return;
    const QFileInfo info(document->path);
    document->modified = info.lastModified();
    document->size = info.exists() ? info.size() : -1;
    document->missing = !info.exists();
}

void EditorArea::watch(const QString &path)
{
    if (!path.isEmpty() && QFileInfo::exists(path) && !m_watcher->files().contains(path))
        m_watcher->addPath(path);
}

void EditorArea::refreshTab(CodeEditView *view)
{
    const int index = m_tabs->indexOf(view);
    const Document *document = documentOf(view);
    if (index < 0 || !document)
        return;
    const QString name = document->path.isEmpty() ? document->title : QFileInfo(document->path).fileName();
    m_tabs->setTabText(index, view->edit().isModified() ? name + u'*' : name);
    m_tabs->setTabToolTip(index, document->path.isEmpty() ? document->title : QDir::toNativeSeparators(document->path));
}

void EditorArea::refreshStatus()
{
    const CodeEditView *view = currentView();
    // Found once: the search walks the whole window, and this runs on every key.
    if (!m_caretPane)
        m_caretPane = m_window->findChild<QLabel *>(QStringLiteral("ToggleCaretPositionStatusPane"));
    if (!m_readOnlyPane)
        m_readOnlyPane = m_window->findChild<QLabel *>(QStringLiteral("ToggleReadOnlyStatusPane"));
    if (m_caretPane)
        m_caretPane->setText(view ? view->edit().statusText() : QString());
    if (m_readOnlyPane)
        m_readOnlyPane->setText(view && view->edit().isReadOnly() ? QStringLiteral("READ") : QString());
}

CodeEditView *EditorArea::newDocument()
{
    CodeEditView *view = addView(QString());
    view->edit().newDocument(Path());
    view->documentReset();
    const int index = m_tabs->addTab(view, QString());
    refreshTab(view);
    m_stack->setCurrentWidget(m_documentsPage);
    m_tabs->setCurrentIndex(index);
    view->setFocus();
    m_window->setEditor(view);
    return view;
}

bool EditorArea::save(CodeEditView *view)
{
    Document *document = documentOf(view);
    if (!document)
        return false;
    if (document->path.isEmpty())
        return saveAs(view);
    // A file made read-only under us is not replaced behind the user's back.
    const QFileInfo info(document->path);
    if (readOnlyOnDisk(info)) {
        m_questions->tell(QStringLiteral("Code Editor"), QStringLiteral("Can't write file"),
                          QStringLiteral("%1 is read-only; the document keeps its changes (use Save As to write them elsewhere)")
                              .arg(document->path));
        return false;
    }
    // A binary file read with mixed line endings counts as modified; writing it unedited would
    // only rewrite its line breaks, so it stays as it is.
    if (document->binary && view->edit().undoCount() == 0 && !document->missing) {
        view->edit().setUnmodified();
        refreshTab(view);
        return true;
    }
    if (!view->edit().save())   // the document told the user why; its text stays
        return false;
    remember(view);
    watch(document->path);
    refreshTab(view);
    refreshStatus();
    m_window->statusBar()->showMessage(QStringLiteral("Saved %1").arg(QFileInfo(document->path).fileName()), statusMilliseconds);
    return true;
}

bool EditorArea::saveAs(CodeEditView *view, const QString &path)
{
    Document *document = documentOf(view);
    if (!document)
        return false;
    QString target = path;
    if (target.isEmpty()) {
        const QString start = document->path.isEmpty() ? QDir::homePath() : document->path;
        target = QFileDialog::getSaveFileName(m_window, QStringLiteral("Save As"), start);
        if (target.isEmpty())
            return false;
    }
    target = absolute(target);
    if (!view->edit().saveAs(Path(target)))
        return false;
    if (!document->path.isEmpty() && document->path != target)
        m_watcher->removePath(document->path);
    document->path = target;
    view->chooseSyntaxForFile(target);
    remember(view);
    watch(target);
    refreshTab(view);
    refreshStatus();
    return true;
}

bool EditorArea::closeDocument(CodeEditView *view, bool force)
{
    Document *document = documentOf(view);
    if (!document)
        return false;
    m_tabs->setCurrentWidget(view);
    if (!force && !mayClose(view))
        return false;
    const QString path = document->path;
    m_documents.remove(view);
    m_tabs->removeTab(m_tabs->indexOf(view));
    if (!path.isEmpty() && indexOf(path) < 0)
        m_watcher->removePath(path);
    if (m_window->editor() == view)
        m_window->setEditor(currentView());
    view->edit().close(true);
    view->deleteLater();
    if (count() == 0 && m_stack->count() > 1)
        m_stack->setCurrentIndex(0);
    refreshStatus();
    return true;
}

// Asks about unsaved changes; a new document has no file to save into and is saved as.
bool EditorArea::mayClose(CodeEditView *view)
{
    const Document *document = documentOf(view);
    if (!view->edit().isModified())
        return true;
    if (!document->path.isEmpty())
        return view->edit().queryClose();
    const int answer = m_questions->ask(QStringLiteral("File %1 is modified").arg(document->title),
                                        QStringLiteral("Do you want to save the changes made to %1").arg(document->title),
                                        {QStringLiteral("Save"), QStringLiteral("Discard"), QStringLiteral("Cancel")});
    return answer == 1 || (answer == 0 && saveAs(view));
}

bool EditorArea::closeAll(bool force)
{
    for (int index = count() - 1; index >= 0; --index) {
        if (!closeDocument(view(index), force))
            return false;
    }
    return true;
}

void EditorArea::nextTab(int delta)
{
    if (count() == 0)
        return;
    m_tabs->setCurrentIndex((currentIndex() + delta + count()) % count());
    currentView()->setFocus();
}

void EditorArea::openFileDialog()
{
    const QString start = currentPath().isEmpty() ? QDir::homePath() : QFileInfo(currentPath()).absolutePath();
    const QStringList paths = QFileDialog::getOpenFileNames(m_window, QStringLiteral("Open File"), start);
    if (!paths.isEmpty())
        m_window->openPaths(paths);
}

void EditorArea::checkFile(const QString &path)
{
    const int index = indexOf(path);
    if (index < 0)
        return;
    CodeEditView *changed = view(index);
    Document *document = documentOf(changed);
    const QFileInfo info(path);
    if (!info.exists()) {
        if (!document->missing) {
            document->missing = true;
            changed->edit().setForceModified(true);   // its text is now the only copy
            refreshTab(changed);
            say(QStringLiteral("%1 was deleted on disk; the document keeps its text until you save or close it").arg(path));
        }
        return;
    }
    watch(path);   // a file replaced by rename is a new file to the watcher
    const bool wasReadOnly = changed->edit().isReadOnly();
    changed->edit().setReadOnly(readOnlyOnDisk(info) ? 1 : 0, false);
    if (changed->edit().isReadOnly() != wasReadOnly) {
        refreshStatus();
        if (changed->edit().isReadOnly())
            say(QStringLiteral("%1 was made read-only on disk").arg(path));
    }
    if (info.lastModified() == document->modified && info.size() == document->size && !document->missing)
        return;
    if (changed->edit().isModified()) {
        const int answer = m_questions->ask(QStringLiteral("File %1 changed on disk").arg(path),
                                            QStringLiteral("%1 was changed by another program. Reload it and lose "
                                                           "the changes made here?").arg(path),
                                            {QStringLiteral("Reload"), QStringLiteral("Keep My Changes")});
        if (answer != 0) {
            remember(changed);   // asked once for this change
            return;
        }
    }
    reload(changed);
}

// Reads the file again, keeping the caret's line and the view's top where they were.
void EditorArea::reload(CodeEditView *view)
{
    const QString path = pathOf(view);
    const CodeEditBufferPosition caret = view->caretPosition();
    const int top = view->topLine();
    if (!view->edit().load(Path(path)))
        return;
    if (readOnlyOnDisk(QFileInfo(path)))
        view->edit().setReadOnly(1, false);
    view->documentReset();
    view->setTopLine(top);
    view->setCaretPosition({std::min(caret.line, view->edit().numberOfLines() - 1), 0});
    remember(view);
    refreshTab(view);
    m_window->statusBar()->showMessage(QStringLiteral("Reloaded %1").arg(QFileInfo(path).fileName()), statusMilliseconds);
}

void EditorArea::writeRecoveries()
{
    for (int index = 0; index < count(); ++index) {
        CodeEditView *each = view(index);
        Document *document = documentOf(each);
        CodeEdit &edit = each->edit();
        if (document->path.isEmpty() || document->recoveryFailed || !edit.isModified() || edit.recoveryUpToDate())
            continue;
        document->recoveryFailed = !edit.writeRecovery();
    }
}

// --- find and go to line

void EditorArea::makeFindBar()
{
    m_findBar = new QWidget(m_documentsPage);
    m_findBar->setObjectName(QStringLiteral("FindBar"));
    auto *layout = new QHBoxLayout(m_findBar);
    layout->setContentsMargins(6, 3, 6, 3);
    m_findText = new QLineEdit(m_findBar);
    m_findText->setObjectName(QStringLiteral("FindBarText"));
    m_findText->setPlaceholderText(QStringLiteral("Find"));
    m_findCase = new QCheckBox(QStringLiteral("Match &case"), m_findBar);
    auto *next = new QPushButton(QStringLiteral("&Next"), m_findBar);
    auto *previous = new QPushButton(QStringLiteral("&Previous"), m_findBar);
    auto *close = new QToolButton(m_findBar);
    close->setText(QStringLiteral("×"));
    close->setAutoRaise(true);
    layout->addWidget(new QLabel(QStringLiteral("Find:"), m_findBar));
    layout->addWidget(m_findText, 1);
    layout->addWidget(m_findCase);
    layout->addWidget(next);
    layout->addWidget(previous);
    layout->addWidget(close);
    connect(m_findText, &QLineEdit::returnPressed, this, [this] { findAgain(!(QApplication::keyboardModifiers() & Qt::ShiftModifier)); });
    connect(next, &QPushButton::clicked, this, [this] { findAgain(true); });
    connect(previous, &QPushButton::clicked, this, [this] { findAgain(false); });
    connect(close, &QToolButton::clicked, this, [this] {
        m_findBar->hide();
        if (CodeEditView *current = currentView())
            current->setFocus();
    });
    auto *escape = new QAction(m_findBar);
    escape->setShortcut(Qt::Key_Escape);
    escape->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    connect(escape, &QAction::triggered, close, &QToolButton::click);
    m_findBar->addAction(escape);
    m_findBar->hide();
}

void EditorArea::showFind()
{
    CodeEditView *current = currentView();
    if (current && current->edit().hasSelection()) {
        const CodeEdit &edit = current->edit();
        const QString selected = edit.textBetween(edit.selectionAnchor(), edit.selectionEnd());
        if (!selected.contains(u'\n'))
            m_findText->setText(selected);
    }
    m_findBar->show();
    m_findText->setFocus();
    m_findText->selectAll();
}

void EditorArea::findAgain(bool forward)
{
    CodeEditView *current = currentView();
    const QString text = m_findText->text();
    if (!current)
        return;
    if (text.isEmpty()) {
        showFind();
        return;
    }
    if (!current->find(text, forward, m_findCase->isChecked()))
        m_window->statusBar()->showMessage(QStringLiteral("\"%1\" was not found").arg(text), statusMilliseconds);
}

// The tool bar's find field, made anew with each rebuild of the tool bars, searches the current
// document when Return is pressed in it; it is taken up the first time it gets the focus.
void EditorArea::hookToolBarFind(QWidget *focused)
{
    // The combo box holds the focus for its line edit.
    auto *combo = qobject_cast<QComboBox *>(focused);
    if (!combo && focused)
        combo = qobject_cast<QComboBox *>(focused->parentWidget());
    if (!combo || !combo->lineEdit() || combo->objectName() != QLatin1String("FindText")
        || combo->property("searchesDocuments").toBool())
        return;
    combo->setProperty("searchesDocuments", true);
    QLineEdit *field = combo->lineEdit();
    connect(field, &QLineEdit::returnPressed, this, [this, field] {
        m_findText->setText(field->text());
        findAgain(!(QApplication::keyboardModifiers() & Qt::ShiftModifier));
    });
}

void EditorArea::goToLineDialog()
{
    CodeEditView *current = currentView();
    if (!current)
        return;
    bool ok = false;
    const int line = QInputDialog::getInt(m_window, QStringLiteral("Go to Line"),
                                          QStringLiteral("Line (1 - %1):").arg(current->edit().numberOfLines()),
                                          current->caretPosition().line + 1, 1, current->edit().numberOfLines(), 1, &ok);
    if (ok)
        current->goToLine(line);
    current->setFocus();
}

// --- focus and closing

void EditorArea::focusChanged(QWidget *now)
{
    if (!now)
        return;   // the application lost the focus: the editor stays the one in force
    hookToolBarFind(now);
    for (QWidget *widget = now; widget; widget = widget->parentWidget()) {
        if (auto *view = qobject_cast<CodeEditView *>(widget); view && m_documents.contains(view)) {
            m_window->setEditor(view);
            return;
        }
        if (widget == m_documentsPage) {   // the find bar works on the current document
            m_window->setEditor(currentView());
            return;
        }
    }
    const auto *focused = dynamic_cast<const CodeEditView *>(m_window->editor());
    if (m_window->isAncestorOf(now) && focused && m_documents.contains(focused))
        m_window->setEditor(nullptr);
}

bool EditorArea::closeForWindow()
{
    if (!m_solutionPath.isEmpty())
        writeSession(m_solutionPath);
    for (int index = 0; index < count(); ++index) {
        CodeEditView *each = view(index);
        if (each->edit().isModified()) {
            m_tabs->setCurrentIndex(index);
            if (!mayClose(each))
                return false;
        }
    }
    return true;
}

bool EditorArea::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_window && event->type() == QEvent::Close && !closeForWindow()) {
        event->ignore();
        return true;   // the user kept a document open, and with it the window
    }
    return QObject::eventFilter(watched, event);
}

// --- sessions

QString EditorArea::sessionPathFor(const QString &solutionPath)
{
    const QFileInfo info(solutionPath);
    return info.absolutePath() + u'/' + info.completeBaseName() + QStringLiteral(".qvSession");
}

bool EditorArea::writeSession(const QString &solutionPath)
{
    const QString path = sessionPathFor(solutionPath);
    // A solution that never had a document open gets no session file beside it.
    if (openPaths().isEmpty() && !QFileInfo::exists(path))
        return true;
    const QDir base = QFileInfo(solutionPath).absoluteDir();
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        say(QStringLiteral("%1: the session cannot be written (%2)").arg(path, file.errorString()));
        return false;
    }
    QXmlStreamWriter xml(&file);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("session"));
    for (int index = 0; index < count(); ++index) {
        const CodeEditView *each = view(index);
        const QString document = pathOf(each);
        if (document.isEmpty())
            continue;   // a new document has no file to come back to
        xml.writeStartElement(QStringLiteral("document"));
        xml.writeAttribute(QStringLiteral("path"), base.relativeFilePath(document));
        xml.writeAttribute(QStringLiteral("line"), QString::number(each->caretPosition().line + 1));
        xml.writeAttribute(QStringLiteral("column"), QString::number(each->caretPosition().column + 1));
        xml.writeAttribute(QStringLiteral("top"), QString::number(each->topLine() + 1));
        if (index == currentIndex())
            xml.writeAttribute(QStringLiteral("current"), QStringLiteral("yes"));
        xml.writeEndElement();
    }
    xml.writeTextElement(QStringLiteral("layout"), QString::fromLatin1(m_window->saveState().toBase64()));
    xml.writeEndElement();
    xml.writeEndDocument();
    if (xml.hasError() || !file.commit()) {
        say(QStringLiteral("%1: the session cannot be written (%2)").arg(path, file.errorString()));
        return false;
    }
    return true;
}

bool EditorArea::restoreSession(const QString &solutionPath)
{
    struct Entry {
        QString path;
        int line;
        int column;
        int top;
        bool current;
    };
    const QString path = sessionPathFor(solutionPath);
    QFile file(path);
    if (!QFileInfo(path).isFile())
        return false;
    const auto damaged = [&](const QString &why) {
        say(QStringLiteral("%1: the session is damaged and was ignored (%2)").arg(path, why));
        return false;
    };
    if (file.size() > largestSession)
        return damaged(QStringLiteral("%1 bytes is too large for a session").arg(file.size()));
    if (!file.open(QIODevice::ReadOnly))
        return damaged(file.errorString());
    const QDir base = QFileInfo(solutionPath).absoluteDir();
    QXmlStreamReader xml(&file);
    std::vector<Entry> entries;
    QByteArray layout;
    if (!xml.readNextStartElement() || xml.name() != QLatin1String("session"))
        return damaged(QStringLiteral("no <session> element"));
    while (xml.readNextStartElement()) {
        if (xml.name() == QLatin1String("document")) {
            const QXmlStreamAttributes attributes = xml.attributes();
            entries.push_back({base.absoluteFilePath(attributes.value(QStringLiteral("path")).toString()),
                               attributes.value(QStringLiteral("line")).toInt(), attributes.value(QStringLiteral("column")).toInt(),
                               attributes.value(QStringLiteral("top")).toInt(),
                               attributes.value(QStringLiteral("current")) == QLatin1String("yes")});
            xml.skipCurrentElement();
        } else if (xml.name() == QLatin1String("layout")) {
            layout = QByteArray::fromBase64(xml.readElementText().toLatin1());
        } else {
            xml.skipCurrentElement();
        }
    }
    if (xml.hasError())
        return damaged(QStringLiteral("line %1: %2").arg(xml.lineNumber()).arg(xml.errorString()));
    if (!layout.isEmpty())
        m_window->restoreState(layout);
    int current = -1;
    for (const Entry &entry : entries) {
        if (!QFileInfo(entry.path).isFile()) {
            say(QStringLiteral("%1: %2 of the session is no longer there").arg(path, entry.path));
            continue;
        }
        if (!openDocument(entry.path))
            continue;
        CodeEditView *opened = currentView();
        opened->setTopLine(std::max(0, entry.top - 1));
        opened->setCaretPosition({std::max(0, entry.line - 1), std::max(0, entry.column - 1)});
        opened->setTopLine(std::max(0, entry.top - 1));
        if (entry.current)
            current = currentIndex();
    }
    if (current >= 0)
        setCurrentIndex(current);
    return true;
}
