#include "shell/MessageLog.h"
#include <cstdio>

namespace {

MessageLog *current = nullptr;

void toLog(ReportChannel channel, const QString &text)
{
    if (current)
        current->append(channel, text);
}

} // namespace

MessageLog::MessageLog(QObject *parent) : QObject(parent)
{
    current = this;
    setReportSink(toLog);
}

MessageLog::~MessageLog()
{
    if (current == this) {
        current = nullptr;
        setReportSink(nullptr);
    }
}

MessageLog *MessageLog::instance()
{
    return current;
}

void MessageLog::append(ReportChannel channel, const QString &text)
{
    add((channel == ReportChannel::Error ? QStringLiteral("error: ") : QStringLiteral("warning: ")) + text);
}

void MessageLog::note(const QString &text)
{
    add(text);
}

void MessageLog::add(const QString &line)
{
    std::fprintf(stderr, "tessmark: %s\n", line.toLocal8Bit().constData());
    if (m_lines.size() >= maxLines)
        m_lines.removeFirst();
    m_lines.append(line);
    emit lineAdded(line);
}
