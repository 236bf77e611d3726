#include "sourcecontrol/git/GitOutput.h"
#include <QHash>
#include <QList>

namespace {

// Fields before the path, after the record's type letter, of each changed-entry kind.
constexpr int ordinaryFields = 7;   // XY sub mH mI mW hH hI
constexpr int renameFields = 8;   // ... Xscore
constexpr int unmergedFields = 9;   // XY sub m1 m2 m3 mW h1 h2 h3
constexpr qsizetype quotedLimit = 80;

QString quoted(const QByteArray &record)
{
    QByteArray shown = record.left(quotedLimit);
    shown.replace('\t', "\\t");
    shown.replace('\n', "\\n");
    if (record.size() > quotedLimit)
        shown += "...";
    return QString::fromUtf8(shown);
}

bool fail(QString *error, const char *what, const QByteArray &record)
{
    *error =
        QStringLiteral("git %1: unexpected output '%2'").arg(QLatin1String(what), quoted(record));
    return false;
}

// Splits NUL-terminated records; a last record without its NUL counts as well.
QList<QByteArray> records(const QByteArray &output)
{
    QList<QByteArray> list = output.split('\0');
    if (!list.isEmpty() && list.last().isEmpty())
        list.removeLast();
    return list;
}

// The path behind `fields` blank-separated fields that follow the type letter and its blank.
bool pathAfter(const QByteArray &record, int fields, QByteArray &path)
{
    qsizetype at = 2;
    for (int i = 0; i < fields; ++i) {
        const qsizetype blank = record.indexOf(' ', at);
        if (blank < 0)
            return false;
        at = blank + 1;
    }
    path = record.mid(at);
    return !path.isEmpty();
}

char letter(char c)
{
    return c == '.' ? ' ' : c;
}

bool isHex(const QByteArray &text)
{
    for (const char c : text) {
        if (!((c >= '0' && c <= '9') || (c >= 'a' && c <= 'f')))
            return false;
    }
    return !text.isEmpty();
}

}   // namespace

QString statusWords(char index, char workTree)
{
    if (index == '?')
        return QStringLiteral("Untracked");
    if (index == '!')
        return QStringLiteral("Ignored");
    if (index == 'U' || workTree == 'U' || (index == 'A' && workTree == 'A')
        || (index == 'D' && workTree == 'D'))
        return QStringLiteral("Conflicted");
    // The stronger change names the file: a deletion over an addition over a modification.
    struct Word {
        char letter;
        const char *text;
    };
    static constexpr Word words[] = {
        {'D', "Deleted"}, {'A', "Added"},        {'R', "Renamed"},
        {'C', "Copied"},  {'T', "Type changed"}, {'M', "Modified"},
    };
    for (const Word &word : words) {
        if (index == word.letter || workTree == word.letter)
            return QLatin1String(word.text);
    }
    return QStringLiteral("Unchanged");
}

bool readStatus(const QByteArray &output, std::vector<SourceControlFileStatus> &files,
                QString *error)
{
    const QList<QByteArray> list = records(output);
    for (qsizetype i = 0; i < list.size(); ++i) {
        const QByteArray &record = list.at(i);
        if (record.startsWith("# "))
            continue;
        if (record.size() < 3 || record.at(1) != ' ')
            return fail(error, "status", record);
        SourceControlFileStatus file;
        const char type = record.at(0);
        if (type == '?' || type == '!') {
            file.index = file.workTree = type;
            file.path = record.mid(2);
        } else if (type == '1' || type == '2' || type == 'u') {
            if (record.size() < 5 || record.at(4) != ' ')
                return fail(error, "status", record);
            file.index = letter(record.at(2));
            file.workTree = letter(record.at(3));
            const int fields = type == '1'   ? ordinaryFields
                               : type == '2' ? renameFields
                                             : unmergedFields;
            if (!pathAfter(record, fields, file.path))
                return fail(error, "status", record);
            if (type == '2') {
                if (++i >= list.size() || list.at(i).isEmpty())
                    return fail(error, "status", record);
                file.originalPath = list.at(i);
            }
        } else {
            return fail(error, "status", record);
        }
        file.status = statusWords(file.index, file.workTree);
        files.push_back(std::move(file));
    }
    return true;
}

bool readLog(const QByteArray &output, std::vector<SourceControlLogEntry> &entries, QString *error)
{
    for (QByteArray record : records(output)) {
        // Between records git may put a newline of its own.
        if (record.startsWith('\n'))
            record.remove(0, 1);
        const QList<QByteArray> fields = record.split('\t');
        if (fields.size() < 4 || !isHex(fields.at(0)))
            return fail(error, "log", record);
        // A subject may hold tabs of its own: everything after the third one is the subject.
        const qsizetype subjectStart =
            fields.at(0).size() + fields.at(1).size() + fields.at(2).size() + 3;
        entries.push_back({QString::fromLatin1(fields.at(0)), QString::fromUtf8(fields.at(1)),
                           QString::fromUtf8(fields.at(2)),
                           QString::fromUtf8(record.mid(subjectStart))});
    }
    return true;
}

bool readHistory(const QByteArray &output, std::vector<SourceControlFileStatus> &files,
                 QString *error)
{
    QHash<QByteArray, bool> seen;
    QString revision;
    QString author;
    bool firstName = false;
    for (const QByteArray &record : records(output)) {
        const qsizetype tab = record.indexOf('\t');
        const bool header = record.startsWith('\x01') && tab > 1 && isHex(record.mid(1, tab - 1));
        if (header) {
            revision = QString::fromLatin1(record.mid(1, tab - 1));
            author = QString::fromUtf8(record.mid(tab + 1));
            firstName = true;
            continue;
        }
        if (revision.isEmpty())
            return fail(error, "log", record);
        // The name list of a change starts on a line of its own.
        const QByteArray name = firstName && record.startsWith('\n') ? record.mid(1) : record;
        firstName = false;
        if (name.isEmpty() || seen.contains(name))
            continue;
        seen.insert(name, true);
        SourceControlFileStatus file;
        file.path = name;
        file.revision = revision;
        file.author = author;
        files.push_back(std::move(file));
    }
    return true;
}
