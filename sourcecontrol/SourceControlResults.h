#pragma once
#include <QByteArray>
#include <QString>
#include <QStringList>
#include <vector>

// The plain records that cross between the environment and a provider library. They are
// header-only on purpose: a provider is a separate shared library that links Qt but none of our
// static libraries, so everything it shares with us must be complete in the headers.

// One setting of a provider, from a `property` child of its entry in the provider list.
struct SourceControlProperty {
    QString name;
    QString value;
    QString description;
};
using SourceControlPropertyList = std::vector<SourceControlProperty>;

// What a status query asks for.
struct SourceControlOptions {
    enum class Untracked : quint8 {
        Default,   // as the working copy's own settings say
        No,   // untracked files are not listed
        Normal,   // an untracked folder is listed once, as "dir/"
        All,   // every untracked file is listed
    };
    Untracked untracked = Untracked::Default;
    bool ignored = false;   // list ignored files and folders too
    // Limits the query to these paths, relative to the directory asked about; empty: all.
    QStringList paths;
};

// The state of one file (or collapsed folder) as the provider sees it. Files that are tracked
// and unchanged are not listed by a status query; they are clean, "  ".
struct SourceControlFileStatus {
    // From the working copy's root, '/'-separated, in the bytes the file system uses; a
    // collapsed untracked or ignored folder ends in '/'.
    QByteArray path;
    QByteArray originalPath;   // where a renamed or copied file came from; empty otherwise
    // The two porcelain letters: the index against the last commit, and the working tree
    // against the index. ' ' unchanged; "??" untracked; "!!" ignored; conflicts by their
    // index stages ("UU", "AA", "DU" ...).
    char index = ' ';
    char workTree = ' ';
    QString status;   // the provider's own words ("Modified")
    QString author;   // of the last change, when asked for
    QString revision;   // of the last change, when asked for
};

// One change of a log, newest first.
struct SourceControlLogEntry {
    QString revision;
    QString author;
    QString date;   // ISO 8601 with the author's offset
    QString subject;
};

// Request and answer of one provider operation. `options` is filled by the caller; the provider
// fills what the operation answers and leaves the rest alone.
struct SourceControlResults {
    SourceControlOptions options;
    QString root;   // absolute root of the working copy
    // Whether paths with bytes above 0x7f are shown escaped, as the working copy is set up.
    bool quoteNonAscii = true;
    std::vector<SourceControlFileStatus> files;
    std::vector<SourceControlLogEntry> log;
    QStringList branches;
    QString currentBranch;
    QByteArray output;   // diff text, file contents, a tool's report
    QString errors;   // error text, lines separated by '\n'; empty on success
};
