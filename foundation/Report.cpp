#include "foundation/Report.h"
#include <cstdio>

namespace {

int mask = 0;
ReportSink sink = nullptr;

void writeToStandardError(ReportChannel channel, const QString &message)
{
    const char *label = channel == ReportChannel::Error ? "error" : "warning";
    std::fprintf(stderr, "%s: %s\n", label, message.toLocal8Bit().constData());
}

} // namespace

int reportMask()
{
    return mask;
}

void setReportMask(int newMask)
{
    mask = newMask;
}

void setReportSink(ReportSink newSink)
{
    sink = newSink;
}

void report(ReportChannel channel, const QString &message)
{
    if ((mask & int(channel)) == 0)
        return;
    (sink ? sink : writeToStandardError)(channel, message);
}

QString elidedSourceLine(const QString &line)
{
    constexpr qsizetype limit = 200;
    return line.size() <= limit ? line : line.left(limit) + QStringLiteral("...");
}
