#pragma once
#include "foundation/Report.h"
#include <QObject>
#include <QString>
#include <QStringList>

// Collects what the "error" and "warning" channels report while the shell runs, and the
// shell's own notes, for the Messages window; each line also goes to standard error, so a
// shell started from a terminal shows its problems there. One instance; it installs itself as
// the channels' sink while it lives.
class MessageLog : public QObject {
    Q_OBJECT
public:
    explicit MessageLog(QObject *parent = nullptr);
    ~MessageLog() override;
    [[nodiscard]] static MessageLog *instance();

    void append(ReportChannel channel, const QString &text);
    void note(const QString &text);   // a plain line of the shell's own
    [[nodiscard]] const QStringList &lines() const { return m_lines; }

    // Lines kept for the window; older ones drop off.
    static constexpr qsizetype maxLines = 5000;

signals:
    void lineAdded(const QString &line);

private:
    void add(const QString &line);
    QStringList m_lines;
};
