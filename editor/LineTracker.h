#pragma once
#include "foundation/Path.h"
#include <QObject>
#include <map>
#include <memory>
#include <utility>
#include <vector>

// Follows line numbers of one file through edits, so that breakpoints and other marks stay with
// their text. Fed by CodeEdit::numberOfLinesChanged: an insertion reports the first line that
// moves and a positive delta, a deletion the first line that goes and a negative one.
class LineTracker : public QObject {
    Q_OBJECT
public:
    explicit LineTracker(Path path, QObject *parent = nullptr);

    [[nodiscard]] const Path &path() const { return m_path; }
    void setRecording(bool recording) { m_recording = recording; }
    [[nodiscard]] const std::vector<std::pair<int, int>> &recorded() const { return m_recorded; }
    // Where a tracked line is now: -1 when its text was deleted, or when it is not tracked.
    [[nodiscard]] int present(int line) const;

public slots:
    void clear();
    void track(int line);
    void changed(int line, int delta);

private:
    Path m_path;
    bool m_recording = false;
    std::vector<std::pair<int, int>> m_recorded;
    std::map<int, int> m_lines;   // line first tracked -> present line, -1 once deleted
};

// Line trackers of many files, one child per file, kept sorted by path.
class FileLineTracker : public QObject {
    Q_OBJECT
public:
    explicit FileLineTracker(QObject *parent = nullptr);

    // The file's tracker; null before its first track().
    [[nodiscard]] LineTracker *tracker(const Path &path) const;

public slots:
    void clear();
    void track(const Path &path, int line);
    void changed(const Path &path, int line, int delta);

private:
    std::vector<LineTracker *>::const_iterator find(const Path &path) const;

    std::vector<LineTracker *> m_trackers;   // children of this object, sorted by path
};
