#pragma once
#include <QDateTime>
#include <QFileInfo>
#include <QString>

// A path as the system passes it around: a shared record, so copies cost one pointer and a
// count. The count is not atomic; hand a Path to another thread as a copy made on this one.
class Path {
public:
    Path();
    explicit Path(const QString &text, quint32 flags = 0);
    Path(const Path &other);
    Path(Path &&other) noexcept;
    Path &operator=(const Path &other);
    Path &operator=(Path &&other) noexcept;
    ~Path();

    const QString &text() const;
    void setText(const QString &text);
    quint32 flags() const;
    bool isEmpty() const { return text().isEmpty(); }

    // Made on the first question that needs it and dropped when the text changes.
    const QFileInfo &fileInfo() const;

    // "." and ".." folded away textually; doubled '/' dropped, a leading '/' kept.
    [[nodiscard]] Path normalised() const;
    // This path as seen from the directory `base`; absolute when they share nothing.
    [[nodiscard]] Path relativeTo(const Path &base) const;
    // A relative path joined to `base`, normalised; an absolute one just normalised.
    [[nodiscard]] Path absolute(const Path &base) const;

    bool exists() const;
    qint64 size() const;
    QDateTime modificationTime() const;
    QString directory() const;
    QString fileName() const;
    QString extension() const;   // behind the last '.' of the file name

    bool operator==(const Path &other) const { return text() == other.text(); }

private:
    struct Record;
    void release();
    void detach();

    Record *m_record;
};

// True when both files exist, have the same size and the same bytes.
[[nodiscard]] bool compareFiles(const QString &a, const QString &b);
