#include "editor/LineTracker.h"
#include <algorithm>

LineTracker::LineTracker(Path path, QObject *parent) : QObject(parent), m_path(std::move(path))
{
    setObjectName(QStringLiteral("line-tracker"));
}

int LineTracker::present(int line) const
{
    const auto it = m_lines.find(line);
    return it == m_lines.end() ? -1 : it->second;
}

void LineTracker::clear()
{
    m_lines.clear();
    m_recorded.clear();
}

void LineTracker::track(int line)
{
    m_lines[line] = line;
}

// Lines before `line` stay. An insertion moves the rest down by `delta`; a deletion loses the
// lines in [line, line - delta) and moves the rest up. A lost line stays lost.
void LineTracker::changed(int line, int delta)
{
    if (m_recording)
        m_recorded.emplace_back(line, delta);
    for (auto &[first, now] : m_lines) {
        if (now == -1 || now < line)
            continue;
        if (delta < 0 && now < line - delta)
            now = -1;
        else
            now += delta;
    }
}

FileLineTracker::FileLineTracker(QObject *parent) : QObject(parent) {}

std::vector<LineTracker *>::const_iterator FileLineTracker::find(const Path &path) const
{
    return std::lower_bound(m_trackers.begin(), m_trackers.end(), path.text(),
                            [](const LineTracker *tracker, const QString &text) { return tracker->path().text() < text; });
}

LineTracker *FileLineTracker::tracker(const Path &path) const
{
    const auto it = find(path);
    return it != m_trackers.end() && (*it)->path() == path ? *it : nullptr;
}

void FileLineTracker::clear()
{
    for (LineTracker *tracker : m_trackers)
        delete tracker;
    m_trackers.clear();
}

void FileLineTracker::track(const Path &path, int line)
{
    auto it = find(path);
    if (it == m_trackers.end() || !((*it)->path() == path))
        it = m_trackers.insert(it, new LineTracker(path, this));
    (*it)->track(line);
}

void FileLineTracker::changed(const Path &path, int line, int delta)
{
    if (LineTracker *tracker = this->tracker(path))
        tracker->changed(line, delta);
}
