#pragma once
#include <QString>
#include <QStringList>
#include <QWidget>

class AutocompleteInterface;

class QLineEdit;
class QMenu;
class QPlainTextEdit;
class QTimer;
class QToolButton;

// An interactive console: an output area and an input line with a history. A line typed and
// entered is emitted as inputReady. The output menu copies a line or all, clears, and opens the
// file and line that a message names.
class ConsoleWidget : public QWidget {
    Q_OBJECT
public:
    // Lines the output keeps; older ones are dropped as new ones come.
    static constexpr int maxOutputLines = 50000;
    static constexpr int maxHistory = 500;
    // A longer line is broken: a program that prints without end of line must not make one line
    // that every later append has to lay out again.
    static constexpr int maxLineLength = 4096;

    explicit ConsoleWidget(QWidget *parent = nullptr);

    // Appends text to the output. It is shown within a moment, or at once by flush().
    void print(const QString &text);
    void flush();
    void clear();
    [[nodiscard]] QString outputText();
    [[nodiscard]] QPlainTextEdit *output() const { return m_output; }
    [[nodiscard]] QLineEdit *input() const { return m_input; }
    [[nodiscard]] QToolButton *stopButton() const { return m_stop; }
    [[nodiscard]] const QStringList &history() const { return m_history; }

    // Tab completes the word before the caret from these (null: Tab moves the focus).
    void setCompletions(const AutocompleteInterface *completions) { m_completions = completions; }

    // While busy the input waits and the stop button is live.
    void setBusy(bool busy);
    [[nodiscard]] bool isBusy() const { return m_busy; }

    // The menu for the output line at `position` (viewport coordinates); the caller owns it.
    [[nodiscard]] QMenu *createContextMenu(const QPoint &position);

    // The file and line a message names: "FILE:LINE:..." or "... At line LINE of FILE". Only an
    // existing file counts; false when the text names none.
    [[nodiscard]] static bool findLocation(const QString &line, QString *file, int *lineNumber);

signals:
    void inputReady(const QString &line);
    void stopRequested();
    void busyChanged(bool busy);
    void locateRequested(const QString &file, int line);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void enter();
    void recall(int step);
    void complete();

    QPlainTextEdit *m_output;
    QLineEdit *m_input;
    QToolButton *m_stop;
    QTimer *m_flushTimer;
    const AutocompleteInterface *m_completions = nullptr;
    QString m_pending;
    qsizetype m_lineLength = 0;   // characters since the last end of line, shown or pending
    QStringList m_history;
    int m_historyIndex = 0;   // m_history.size(): the line being typed
    QString m_typed;          // what was typed before walking the history
    bool m_busy = false;
};
