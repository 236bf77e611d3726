#pragma once
#include <QString>
#include <QStringList>

class ScriptEngine;

// An input source of the outer interpreter: the current line and the parse position in it.
class Source {
public:
    explicit Source(QString name) : name(std::move(name)) {}
    virtual ~Source() = default;
    // Loads the next line into `buffer`; false when the source has no more.
    virtual bool refill(ScriptEngine &engine) = 0;
    // SOURCE-ID: -1 for a string, 0 for the user's input, a file handle for a file.
    virtual qint64 sourceId() const = 0;

    QString name;
    QString buffer;
    qint32 pos = 0;          // >IN
    qint32 lineNumber = 0;   // of the line in `buffer`, from 1
};

// Lines of a text held in memory.
class LineSource : public Source {
public:
    LineSource(QString name, const QString &text);
    bool refill(ScriptEngine &engine) override;

private:
    QStringList m_lines;
    qsizetype m_next = 0;
};

class StringSource : public LineSource {
public:
    using LineSource::LineSource;
    qint64 sourceId() const override { return -1; }
};

// A file's text, read whole when the file is included.
class FileSource : public LineSource {
public:
    FileSource(QString path, const QString &text, qint64 fileId)
        : LineSource(std::move(path), text), m_fileId(fileId) {}
    qint64 sourceId() const override { return m_fileId; }

private:
    qint64 m_fileId;
};

// The user's input: the console hands one line at a time.
class UserSource : public LineSource {
public:
    using LineSource::LineSource;
    qint64 sourceId() const override { return 0; }
};
