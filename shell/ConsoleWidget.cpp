#include "shell/ConsoleWidget.h"
#include "script/forth/ScriptEngine.h"
#include <QApplication>
#include <QClipboard>
#include <QFileInfo>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QScrollBar>
#include <QStyle>
#include <QTextBlock>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

// Text waiting for the output is shown at this pace, so a script that prints in a tight loop
// pays for one layout per interval rather than one per line.
constexpr int flushMilliseconds = 40;
constexpr qsizetype maxPending = qsizetype(1) << 20;

} // namespace

ConsoleWidget::ConsoleWidget(QWidget *parent)
    : QWidget(parent),
      m_output(new QPlainTextEdit(this)),
      m_input(new QLineEdit(this)),
      m_stop(new QToolButton(this)),
      m_flushTimer(new QTimer(this))
{
    m_output->setObjectName(QStringLiteral("ConsoleOutput"));
    m_output->setReadOnly(true);
    m_output->setUndoRedoEnabled(false);
    m_output->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_output->setMaximumBlockCount(maxOutputLines);
    m_output->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_output->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_output, &QWidget::customContextMenuRequested, this, [this](const QPoint &position) {
        QMenu *menu = createContextMenu(position);
        menu->setAttribute(Qt::WA_DeleteOnClose);
        menu->popup(m_output->viewport()->mapToGlobal(position));
    });
    m_input->setObjectName(QStringLiteral("ConsoleInput"));
    m_input->setFont(m_output->font());
    m_input->installEventFilter(this);
    connect(m_input, &QLineEdit::returnPressed, this, &ConsoleWidget::enter);
    m_stop->setObjectName(QStringLiteral("ConsoleStop"));
    m_stop->setIcon(style()->standardIcon(QStyle::SP_BrowserStop));
    m_stop->setToolTip(QStringLiteral("Stop"));
    m_stop->setEnabled(false);
    connect(m_stop, &QToolButton::clicked, this, &ConsoleWidget::stopRequested);
    m_flushTimer->setSingleShot(true);
    m_flushTimer->setInterval(flushMilliseconds);
    connect(m_flushTimer, &QTimer::timeout, this, &ConsoleWidget::flush);

    auto *inputRow = new QHBoxLayout;
    inputRow->setContentsMargins(0, 0, 0, 0);
    inputRow->addWidget(m_input, 1);
    inputRow->addWidget(m_stop);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    layout->addWidget(m_output, 1);
    layout->addLayout(inputRow);
    setFocusProxy(m_input);
}

void ConsoleWidget::print(const QString &text)
{
    if (m_lineLength + text.size() <= maxLineLength) {
        m_pending += text;
        const qsizetype lastBreak = text.lastIndexOf(u'\n');
        m_lineLength = lastBreak < 0 ? m_lineLength + text.size() : text.size() - lastBreak - 1;
    } else {
        m_pending.reserve(m_pending.size() + text.size() + text.size() / maxLineLength + 1);
        for (const QChar c : text) {
            if (c == u'\n') {
                m_lineLength = 0;
            } else if (m_lineLength == maxLineLength) {
                m_pending += u'\n';
                m_lineLength = 0;
            }
            if (c != u'\n')
                ++m_lineLength;
            m_pending += c;
        }
    }
    if (m_pending.size() > maxPending)
        flush();
    else if (!m_flushTimer->isActive())
        m_flushTimer->start();
}

void ConsoleWidget::flush()
{
    m_flushTimer->stop();
    if (m_pending.isEmpty())
        return;
    QScrollBar *bar = m_output->verticalScrollBar();
    const bool atEnd = bar->value() == bar->maximum();
    QTextCursor cursor(m_output->document());
    cursor.movePosition(QTextCursor::End);
    cursor.insertText(m_pending);
    m_pending.clear();
    if (atEnd)
        bar->setValue(bar->maximum());
}

void ConsoleWidget::clear()
{
    m_pending.clear();
    m_lineLength = 0;
    m_flushTimer->stop();
    m_output->clear();
}

QString ConsoleWidget::outputText()
{
    flush();
    return m_output->toPlainText();
}

void ConsoleWidget::setBusy(bool busy)
{
    if (busy == m_busy)
        return;
    m_busy = busy;
    m_stop->setEnabled(busy);
    m_input->setReadOnly(busy);
    if (!busy)
        flush();
    emit busyChanged(busy);
}

void ConsoleWidget::enter()
{
    if (m_busy)
        return;
    const QString line = m_input->text();
    m_input->clear();
    if (!line.trimmed().isEmpty() && (m_history.isEmpty() || m_history.last() != line)) {
        m_history.append(line);
        if (m_history.size() > maxHistory)
            m_history.removeFirst();
    }
    m_historyIndex = int(m_history.size());
    m_typed.clear();
    emit inputReady(line);
}

void ConsoleWidget::recall(int step)
{
    const int index = qBound(0, m_historyIndex + step, int(m_history.size()));
    if (index == m_historyIndex)
        return;
    if (m_historyIndex == m_history.size())
        m_typed = m_input->text();
    m_historyIndex = index;
    m_input->setText(index == m_history.size() ? m_typed : m_history.at(index));
}

bool ConsoleWidget::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_input && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent *>(event)->key();
        if (key == Qt::Key_Up || key == Qt::Key_Down) {
            recall(key == Qt::Key_Up ? -1 : 1);
            return true;
        }
        if (key == Qt::Key_Tab && m_completions) {
            complete();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

// Completes the word before the caret as far as its candidates agree; several left are listed.
void ConsoleWidget::complete()
{
    const QString text = m_input->text();
    const int caret = m_input->cursorPosition();
    int start = caret;
    while (start > 0 && !text.at(start - 1).isSpace())
        --start;
    const QString prefix = text.mid(start, caret - start);
    if (prefix.isEmpty())
        return;
    const QStringList candidates = m_completions->completions(prefix);
    if (candidates.isEmpty())
        return;
    QString common = candidates.first();
    for (const QString &candidate : candidates) {
        qsizetype same = 0;
        while (same < common.size() && same < candidate.size() && common.at(same) == candidate.at(same))
            ++same;
        common.truncate(same);
    }
    if (candidates.size() == 1)
        common += u' ';
    m_input->setText(text.left(start) + common + text.mid(caret));
    m_input->setCursorPosition(int(start + common.size()));
    if (candidates.size() > 1 && common == prefix)
        print(candidates.join(u' ') + u'\n');
}

QMenu *ConsoleWidget::createContextMenu(const QPoint &position)
{
    flush();
    const QString line = m_output->cursorForPosition(position).block().text();
    auto *menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("ConsoleMenu"));
    QAction *copyLine = menu->addAction(QStringLiteral("&Copy Line"), this,
                                        [line] { QApplication::clipboard()->setText(line); });
    copyLine->setEnabled(!line.isEmpty());
    menu->addAction(QStringLiteral("Copy &All"), this,
                    [this] { QApplication::clipboard()->setText(outputText()); });
    menu->addAction(QStringLiteral("Clea&r"), this, &ConsoleWidget::clear);
    QString file;
    int lineNumber = 0;
    if (findLocation(line, &file, &lineNumber)) {
        menu->addSeparator();
        menu->addAction(QStringLiteral("&Locate \"%1\", line %2").arg(file).arg(lineNumber), this,
                        [this, file, lineNumber] { emit locateRequested(file, lineNumber); });
    }
    return menu;
}

bool ConsoleWidget::findLocation(const QString &line, QString *file, int *lineNumber)
{
    static const QRegularExpression prefixed(QStringLiteral("^(.+?):(\\d+):"));
    static const QRegularExpression atLine(QStringLiteral("At line (\\d+) of (.+)$"));
    QString name;
    QString number;
    if (const QRegularExpressionMatch match = prefixed.match(line); match.hasMatch()) {
        name = match.captured(1);
        number = match.captured(2);
    } else if (const QRegularExpressionMatch at = atLine.match(line); at.hasMatch()) {
        name = at.captured(2).trimmed();
        number = at.captured(1);
    }
    bool ok = false;
    const int value = number.toInt(&ok);
    if (!ok || value <= 0 || !QFileInfo(name).isFile())
        return false;
    *file = name;
    *lineNumber = value;
    return true;
}
