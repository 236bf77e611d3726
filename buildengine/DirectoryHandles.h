#pragma once
#include <QByteArray>
#include <QHash>
#include <sys/stat.h>

// Open handles of the directories a build looks into. The walk stats and reads thousands of
// files that sit in a few directories; through a handle of the directory the system resolves
// one name instead of the whole path every time. File times themselves are never kept.
//
// A handle stays valid while its directory exists; a directory removed and made again during
// one build makes its files look missing, which only makes them out of date. The build clears
// the handles when it starts. Main thread only.
class DirectoryHandles {
public:
    DirectoryHandles() = default;
    DirectoryHandles(const DirectoryHandles &) = delete;
    DirectoryHandles &operator=(const DirectoryHandles &) = delete;
    ~DirectoryHandles();

    // The handles of the build walker.
    static DirectoryHandles &shared();

    // stat() of an encoded path; a relative path is taken as it stands.
    [[nodiscard]] bool stat(const QByteArray &path, struct stat &info);
    // open() of an encoded path for reading; -1 on failure.
    [[nodiscard]] int openForReading(const QByteArray &path);
    void clear();

private:
    // The handle of the directory part of an absolute path and the offset of the name in it;
    // -1 when the path has no directory part or the directory can't be opened.
    [[nodiscard]] int handleOf(const QByteArray &path, qsizetype &nameAt);

    // Enough for the directories of a large solution; beyond it they are all closed and the
    // table starts again, so a build never holds more descriptors than this.
    static constexpr qsizetype maxHandles = 256;
    QHash<QByteArray, int> m_handles;
};
