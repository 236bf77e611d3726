#pragma once
#include <QString>

// The two report channels of the layers that log instead of failing (the page preprocessor,
// templates, memory maps). One process-wide mask decides what is shown; it starts at 0, so a
// plain run of a tool shows nothing until the environment opens a channel.
enum class ReportChannel { Error = 1, Warning = 2 };

constexpr int reportErrors = 1;     // mask bit of ReportChannel::Error
constexpr int reportWarnings = 2;   // mask bit of ReportChannel::Warning

[[nodiscard]] int reportMask();
void setReportMask(int mask);

// Where shown reports go; the default writes "error: <text>\n" or "warning: <text>\n" to
// standard error. Null restores the default.
using ReportSink = void (*)(ReportChannel channel, const QString &message);
void setReportSink(ReportSink sink);

// Passes `message` to the sink if the mask lets the channel through.
void report(ReportChannel channel, const QString &message);

// A source line quoted in a message: cut to 200 characters and "..." so that a script of one huge
// line does not flood the console.
[[nodiscard]] QString elidedSourceLine(const QString &line);
