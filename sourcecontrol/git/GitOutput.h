#pragma once
#include "sourcecontrol/SourceControlResults.h"
#include <QByteArray>
#include <QString>
#include <vector>

// Readers of the machine-readable output of git, for the git provider. Each takes the whole
// output of one command and fails with a message that quotes the first record it cannot read.

// `git status --porcelain=v2 -z`: changed entries, then untracked ("??") and ignored ("!!")
// ones, in git's order; a rename carries the path it came from.
[[nodiscard]] bool readStatus(const QByteArray &output, std::vector<SourceControlFileStatus> &files,
                              QString *error);

// `git log -z --format=%H%x09%an%x09%aI%x09%s`, newest first.
[[nodiscard]] bool readLog(const QByteArray &output, std::vector<SourceControlLogEntry> &entries,
                           QString *error);

// `git log -z --name-only --format=%x01%H%x09%an`: the newest change of each file named, with
// its revision and author, in the order the files first appear.
[[nodiscard]] bool readHistory(const QByteArray &output,
                               std::vector<SourceControlFileStatus> &files, QString *error);

// The provider's words for two porcelain letters ("Modified", "Untracked", "Conflicted" ...).
[[nodiscard]] QString statusWords(char index, char workTree);
