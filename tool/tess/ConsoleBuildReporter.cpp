#include "tool/tess/ConsoleBuildReporter.h"
#include "buildengine/BuildLog.h"
#include <cstdio>

namespace {

void print(const QString &text)
{
    std::fprintf(stdout, "%s\n", text.toUtf8().constData());
    std::fflush(stdout);
}

} // namespace

void ConsoleBuildReporter::stepBegun(const BuildLogItem *project, const QString &title, int done,
                                     int total)
{
    heading(project);
    print(QStringLiteral("[%1/%2] %3").arg(done).arg(qMax(done, total)).arg(title.trimmed()));
}

void ConsoleBuildReporter::itemAdded(const BuildLogItem *project, const BuildLogItem &item)
{
    if ((item.type() & LogItemFlag::Detail) && !m_verbose)
        return;
    heading(project);
    static const char *const words[] = {"", "", "note", "warning", "error", "error"};
    const int severity = int(item.severity());
    const Bookmark &bookmark = item.bookmark();
    if (severity < 2 || severity > 5) {
        print(item.text());
    } else if (bookmark.hasLocation()) {
        QString location = bookmark.path;
        if (bookmark.line >= 0)
            location += u':' + QString::number(bookmark.line);
        if (bookmark.column >= 0)
            location += u':' + QString::number(bookmark.column);
        print(QStringLiteral("%1: %2: %3").arg(location, QLatin1String(words[severity]),
                                               bookmark.message));
    } else {
        print(QStringLiteral("%1: %2").arg(QLatin1String(words[severity]),
                                           bookmark.message.isEmpty() ? item.text()
                                                                      : bookmark.message));
    }
}

void ConsoleBuildReporter::heading(const BuildLogItem *project)
{
    if (project == m_project)
        return;
    m_project = project;
    if (project)
        print(QStringLiteral("------ %1 ------").arg(project->text()));
}
