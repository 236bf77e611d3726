#pragma once
#include <QString>
#include <QStringList>

// Splits a command template at blanks. Double quotes group and are removed, "\"" is a literal
// double quote, and a blank inside quotes stays; "" gives an empty argument. No other character
// is special: commands run without a shell.
[[nodiscard]] QStringList splitCommandLine(const QString &text);

// Splits an options property at ";"; "\" takes the next character as it is. Empty parts are
// dropped, so an empty property gives no options.
[[nodiscard]] QStringList splitOptions(const QString &text);

// Longest line of an options file, without its newline.
constexpr int optionsLineLimit = 1023;

// Appends the lines of an options file to `options`. Lines starting with "#" or "//" are
// comments, "/*" to "*/" is a comment that may span lines, lines shorter than 2 characters are
// skipped. False if the file can't be opened, or (with a message in `error`) if a line is longer
// than optionsLineLimit or a "/*" comment is not closed; `options` is then left unchanged.
[[nodiscard]] bool readOptionsFile(const QString &path, QStringList &options,
                                   QString *error = nullptr);

// A command line as the log shows it: arguments joined by blanks, one holding a blank in
// double quotes.
[[nodiscard]] QString displayCommandLine(const QStringList &arguments);

// The programs we ship so that these commands work on every host without a shell; a command
// whose first argument is exactly one of them runs "<installation>/bin/<name>".
[[nodiscard]] bool isShippedTool(const QString &program);
[[nodiscard]] QStringList resolveShippedTool(QStringList arguments,
                                             const QString &installationDirectory);
