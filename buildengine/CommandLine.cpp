#include "buildengine/CommandLine.h"
#include <QFile>
#include <QFileInfo>
#include <array>

namespace {

constexpr std::array<const char *, 5> shippedTools = {"cp", "xmlcp", "mkhdr", "chmod", "rm"};

[[nodiscard]] bool isBlank(QChar c)
{
    return c == u' ' || c == u'\t';
}

// One line of an options file with "/*...*/" comments cut out; `inComment` carries over lines.
[[nodiscard]] QString stripComments(const QString &line, bool &inComment)
{
    QString kept;
    qsizetype pos = 0;
    while (pos < line.size()) {
        if (inComment) {
            const qsizetype close = line.indexOf(QLatin1String("*/"), pos);
            if (close < 0)
                return kept;
            inComment = false;
            pos = close + 2;
            continue;
        }
        const qsizetype open = line.indexOf(QLatin1String("/*"), pos);
        if (open < 0) {
            kept += QStringView(line).sliced(pos);
            return kept;
        }
        kept += QStringView(line).sliced(pos, open - pos);
        inComment = true;
        pos = open + 2;
    }
    return kept;
}

} // namespace

QStringList splitCommandLine(const QString &text)
{
    QStringList arguments;
    QString current;
    bool inToken = false;
    bool quoted = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c == u'\\' && i + 1 < text.size() && text.at(i + 1) == u'"') {
            current += u'"';
            inToken = true;
            ++i;
        } else if (c == u'"') {
            quoted = !quoted;
            inToken = true;
        } else if (isBlank(c) && !quoted) {
            if (inToken)
                arguments.append(current);
            current.clear();
            inToken = false;
        } else {
            current += c;
            inToken = true;
        }
    }
    if (inToken)
        arguments.append(current);
    return arguments;
}

QStringList splitOptions(const QString &text)
{
    QStringList options;
    QString current;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c == u'\\' && i + 1 < text.size()) {
            current += text.at(++i);
        } else if (c == u';') {
            if (!current.isEmpty())
                options.append(current);
            current.clear();
        } else {
            current += c;
        }
    }
    if (!current.isEmpty())
        options.append(current);
    return options;
}

bool readOptionsFile(const QString &path, QStringList &options, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    QStringList read;
    bool inComment = false;
    int commentLine = 0;
    int number = 0;
    while (!file.atEnd()) {
        ++number;
        QByteArray bytes = file.readLine(optionsLineLimit + 2);
        if (bytes.endsWith('\n'))
            bytes.chop(1);
        if (bytes.size() > optionsLineLimit) {
            if (error)
                *error = QStringLiteral("%1:%2: line longer than %3 characters")
                             .arg(path).arg(number).arg(optionsLineLimit);
            return false;
        }
        if (bytes.endsWith('\r'))
            bytes.chop(1);
        if (!inComment) {
            if (bytes.startsWith('#') || bytes.startsWith("//"))
                continue;
            commentLine = number;
        }
        const QString line = stripComments(QString::fromUtf8(bytes), inComment).trimmed();
        if (line.size() < 2)
            continue;
        read.append(line);
    }
    if (inComment) {
        if (error)
            *error = QStringLiteral("%1:%2: comment \"/*\" is not closed").arg(path).arg(commentLine);
        return false;
    }
    options += read;
    return true;
}

QString displayCommandLine(const QStringList &arguments)
{
    QString line;
    for (const QString &argument : arguments) {
        if (!line.isEmpty())
            line += u' ';
        if (argument.contains(u' '))
            line += u'"' + argument + u'"';
        else
            line += argument;
    }
    return line;
}

bool isShippedTool(const QString &program)
{
    for (const char *tool : shippedTools) {
        if (program == QLatin1String(tool))
            return true;
    }
    return false;
}

QStringList resolveShippedTool(QStringList arguments, const QString &installationDirectory)
{
    if (!arguments.isEmpty() && isShippedTool(arguments.first()))
        arguments.first() = installationDirectory + QStringLiteral("/bin/") + arguments.first();
    return arguments;
}
