// The git provider: a separate library, loaded by the environment from the provider list. It
// runs the real `git` through the services it is given, always in git's machine-readable forms
// (NUL-separated status and log, unified diff), never reading text meant for people.
#include "sourcecontrol/SourceCodeControlSystemInterface.h"
#include "sourcecontrol/git/GitOutput.h"
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QStandardPaths>
#include <QTemporaryFile>
#include <QtEndian>
#include <memory>

namespace {

// Below this many index entries a status query is quick enough for the main thread.
constexpr quint32 quickIndexEntries = 1000;

// Arguments the process runner would take for a redirection of the child's output: a path or
// name that happens to be one is passed as "./TOKEN", which git reads the same way.
constexpr const char *redirectionTokens[] = {">", "1>", ">>", "1>>", "2>", "2>>", "&>", "&>>"};

QString safeArgument(const QString &argument)
{
    for (const char *token : redirectionTokens) {
        if (argument == QLatin1String(token))
            return QStringLiteral("./") + argument;
    }
    return argument;
}

QStringList safeArguments(const QStringList &paths)
{
    QStringList safe;
    safe.reserve(paths.size());
    for (const QString &path : paths)
        safe.append(safeArgument(path));
    return safe;
}

bool hasNonAscii(const QByteArray &bytes)
{
    for (const char c : bytes) {
        if (static_cast<unsigned char>(c) >= 0x80)
            return true;
    }
    return false;
}

// A folder named `.git` or a `.git` file in `directory` or above it.
bool gitEntryAbove(const QString &directory)
{
    QDir at(directory);
    do {
        if (QFileInfo::exists(at.filePath(QStringLiteral(".git"))))
            return true;
    } while (at.cdUp());
    return false;
}

class GitProvider final : public SourceCodeControlSystemInterface {
public:
    explicit GitProvider(SourceCodeControlSystemProviderInterfaceHelpers *services)
        : m_services(services)
    {
    }

    QString name() const override { return QStringLiteral("Git"); }
    void setProperties(const SourceControlPropertyList &properties) override;
    void setLogin(const QString &, const QString &) override {}
    bool available(QString *reason) override;
    QString version() override;
    QString workingCopyRoot(const QString &directory, QString *error) override;
    bool probe(const QString &directory, const SourceControlOptions &options) override;
    bool queryStatus(const QString &directory, SourceControlResults &results) override;
    bool add(const QString &directory, const QStringList &paths,
             SourceControlResults &results) override;
    bool remove(const QString &directory, const QStringList &paths, bool keepFiles,
                SourceControlResults &results) override;
    bool diff(const QString &directory, const QStringList &paths,
              SourceControlResults &results) override;
    bool commit(const QString &directory, const QString &message, const QString &author,
                SourceControlResults &results) override;
    bool revert(const QString &directory, const QStringList &paths,
                SourceControlResults &results) override;
    bool branches(const QString &directory, SourceControlResults &results) override;
    bool switchBranch(const QString &directory, const QString &branch,
                      SourceControlResults &results) override;
    bool merge(const QString &directory, const QString &branch, bool useProviderMerge,
               SourceControlResults &results) override;
    bool log(const QString &directory, const QString &path, int count,
             SourceControlResults &results) override;
    bool history(const QString &directory, const QStringList &paths,
                 SourceControlResults &results) override;
    bool fileAtRevision(const QString &directory, const QString &path, const QString &revision,
                        SourceControlResults &results) override;

private:
    struct Repository {
        QString root;
        QString index;   // the index file, absolute
    };

    // Runs git; the exit status, or a negative value when it could not be started.
    int git(const QStringList &arguments, const QString &directory, QByteArray *output = nullptr);
    // Runs git and on failure puts what it said into results.errors.
    bool gitOrFail(const QStringList &arguments, const QString &directory,
                   SourceControlResults &results, QByteArray *output = nullptr);
    // The working copy holding `directory`, remembered once found.
    bool locate(const QString &directory, Repository &repository, QString *error);
    // Whether `directory` is in a working copy: its root into results, or the reason into
    // results.errors.
    bool inWorkingCopy(const QString &directory, SourceControlResults &results);
    // Whether a branch name can be given to git: not empty, and not to be taken for an option.
    static bool acceptableBranch(const QString &branch, SourceControlResults &results);
    bool unbornHead(const QString &directory);
    bool readConflicts(const QString &directory, SourceControlResults &results);

    SourceCodeControlSystemProviderInterfaceHelpers *m_services;
    QString m_program = QStringLiteral("git");
    bool m_checked = false;
    QString m_unavailable;   // why git cannot run; empty when it can
    QString m_version;
    QHash<QString, Repository> m_repositories;
};

void GitProvider::setProperties(const SourceControlPropertyList &properties)
{
    for (const SourceControlProperty &property : properties) {
        if (property.name == QLatin1String("program") && !property.value.trimmed().isEmpty())
            m_program = property.value.trimmed();
    }
    m_checked = false;
    m_repositories.clear();
}

int GitProvider::git(const QStringList &arguments, const QString &directory, QByteArray *output)
{
    return m_services->runCommand(QStringList{m_program} + arguments, directory, output);
}

bool GitProvider::gitOrFail(const QStringList &arguments, const QString &directory,
                            SourceControlResults &results, QByteArray *output)
{
    const int status = git(arguments, directory, output);
    if (status == 0)
        return true;
    const QString command =
        QStringLiteral("git ") + arguments.value(arguments.first().startsWith(u'-') ? 1 : 0);
    QStringList lines;
    for (const QString &line : m_services->standardErrorLines()) {
        if (!line.trimmed().isEmpty())
            lines.append(command + QStringLiteral(": ") + line);
    }
    if (lines.isEmpty())
        lines.append(
            QStringLiteral("%1 failed in %2 with status %3").arg(command, directory).arg(status));
    results.errors = lines.join(u'\n');
    return false;
}

// Looking the program up costs a few file checks where running it would cost a process on
// every command; its version is asked for only when someone wants to see it.
bool GitProvider::available(QString *reason)
{
    if (!m_checked) {
        m_checked = true;
        m_unavailable.clear();
        if (!m_program.contains(u'/')) {
            if (QStandardPaths::findExecutable(m_program).isEmpty())
                m_unavailable = QStringLiteral("cannot find '%1' in PATH").arg(m_program);
        } else if (const QFileInfo program(m_program);
                   !program.isFile() || !program.isExecutable()) {
            m_unavailable = QStringLiteral("cannot run '%1': no such program").arg(m_program);
        }
    }
    if (reason)
        *reason = m_unavailable;
    return m_unavailable.isEmpty();
}

QString GitProvider::version()
{
    if (!available(nullptr))
        return {};
    if (m_version.isEmpty()) {
        QByteArray output;
        if (git({QStringLiteral("--version")}, QDir::rootPath(), &output) == 0)
            m_version = QString::fromUtf8(output).trimmed();
    }
    return m_version;
}

bool GitProvider::locate(const QString &directory, Repository &repository, QString *error)
{
    const auto known = m_repositories.constFind(directory);
    if (known != m_repositories.cend() && QFileInfo::exists(known->root)) {
        repository = *known;
        return true;
    }
    if (!available(error))
        return false;
    if (!QFileInfo(directory).isDir()) {
        *error = QStringLiteral("no such directory: %1").arg(directory);
        return false;
    }
    QByteArray output;
    const int status = git({QStringLiteral("rev-parse"), QStringLiteral("--show-toplevel"),
                            QStringLiteral("--git-path"), QStringLiteral("index")},
                           directory, &output);
    const QList<QByteArray> lines = output.split('\n');
    if (status != 0 || lines.size() < 2 || lines.at(0).isEmpty()) {
        const QString said = m_services->standardErrorLines().value(0);
        // Without a `.git` anywhere above, the directory simply is not a working copy; with
        // one, git refused a repository that is there, and that is worth saying.
        if (said.contains(QLatin1String("not a git repository")) && !gitEntryAbove(directory))
            error->clear();
        else
            *error = QStringLiteral("%1: git refuses the working copy: %2").arg(directory, said);
        return false;
    }
    repository.root = QFile::decodeName(lines.at(0));
    repository.index = QDir(directory).absoluteFilePath(QFile::decodeName(lines.at(1)));
    m_repositories.insert(directory, repository);
    return true;
}

bool GitProvider::inWorkingCopy(const QString &directory, SourceControlResults &results)
{
    Repository repository;
    QString error;
    if (locate(directory, repository, &error)) {
        results.root = repository.root;
        return true;
    }
    results.errors =
        error.isEmpty() ? QStringLiteral("not under source control: %1").arg(directory) : error;
    return false;
}

bool GitProvider::acceptableBranch(const QString &branch, SourceControlResults &results)
{
    if (!branch.isEmpty() && !branch.startsWith(u'-'))
        return true;
    results.errors = QStringLiteral("bad branch name '%1'").arg(branch);
    return false;
}

QString GitProvider::workingCopyRoot(const QString &directory, QString *error)
{
    Repository repository;
    QString problem;
    const bool found = locate(directory, repository, &problem);
    if (error)
        *error = problem;
    return found ? repository.root : QString();
}

// Reads only the index's header: signature, version and the number of entries.
bool GitProvider::probe(const QString &directory, const SourceControlOptions &)
{
    Repository repository;
    QString error;
    if (!locate(directory, repository, &error))
        return false;
    QFile index(repository.index);
    if (!index.exists())
        return true;   // nothing added yet
    if (!index.open(QIODevice::ReadOnly))
        return false;
    const QByteArray header = index.read(12);
    if (header.size() < 12 || !header.startsWith("DIRC"))
        return false;
    return qFromBigEndian<quint32>(header.constData() + 8) < quickIndexEntries;
}

bool GitProvider::queryStatus(const QString &directory, SourceControlResults &results)
{
    if (!inWorkingCopy(directory, results))
        return false;
    QStringList arguments{QStringLiteral("--no-optional-locks"), QStringLiteral("status"),
                          QStringLiteral("--porcelain=v2"), QStringLiteral("-z")};
    if (results.options.ignored)
        arguments.append(QStringLiteral("--ignored"));
    static constexpr const char *untracked[] = {nullptr, "no", "normal", "all"};
    if (const char *mode = untracked[int(results.options.untracked)])
        arguments.append(QStringLiteral("--untracked-files=") + QLatin1String(mode));
    if (!results.options.paths.isEmpty())
        arguments << QStringLiteral("--") << safeArguments(results.options.paths);
    QByteArray output;
    if (!gitOrFail(arguments, directory, results, &output))
        return false;
    if (!readStatus(output, results.files, &results.errors))
        return false;
    // Whether names outside ASCII are shown escaped is the working copy's setting; it is only
    // worth a question when such a name is there.
    for (const SourceControlFileStatus &file : results.files) {
        if (hasNonAscii(file.path) || hasNonAscii(file.originalPath)) {
            QByteArray setting;
            git({QStringLiteral("config"), QStringLiteral("--type=bool"), QStringLiteral("--get"),
                 QStringLiteral("core.quotepath")},
                directory, &setting);
            results.quoteNonAscii = setting.trimmed() != "false";
            break;
        }
    }
    return true;
}

bool GitProvider::add(const QString &directory, const QStringList &paths,
                      SourceControlResults &results)
{
    return inWorkingCopy(directory, results)
           && gitOrFail(QStringList{QStringLiteral("add"), QStringLiteral("--")}
                            + safeArguments(paths),
                        directory, results);
}

bool GitProvider::remove(const QString &directory, const QStringList &paths, bool keepFiles,
                         SourceControlResults &results)
{
    if (!inWorkingCopy(directory, results))
        return false;
    QStringList arguments{QStringLiteral("rm"), QStringLiteral("-r"), QStringLiteral("-q")};
    if (keepFiles)
        arguments.append(QStringLiteral("--cached"));
    arguments.append(QStringLiteral("--"));
    return gitOrFail(arguments + safeArguments(paths), directory, results);
}

bool GitProvider::unbornHead(const QString &directory)
{
    return git({QStringLiteral("rev-parse"), QStringLiteral("-q"), QStringLiteral("--verify"),
                QStringLiteral("HEAD")},
               directory)
           != 0;
}

bool GitProvider::diff(const QString &directory, const QStringList &paths,
                       SourceControlResults &results)
{
    if (!inWorkingCopy(directory, results))
        return false;
    QString base = QStringLiteral("HEAD");
    if (unbornHead(directory)) {
        // Before the first commit everything differs from the empty tree.
        QByteArray emptyTree;
        if (!gitOrFail({QStringLiteral("hash-object"), QStringLiteral("-t"), QStringLiteral("tree"),
                        QStringLiteral("/dev/null")},
                       directory, results, &emptyTree))
            return false;
        base = QString::fromLatin1(emptyTree.trimmed());
    }
    QStringList arguments{QStringLiteral("--no-optional-locks"),
                          QStringLiteral("diff"),
                          QStringLiteral("--no-color"),
                          QStringLiteral("--no-ext-diff"),
                          base,
                          QStringLiteral("--")};
    return gitOrFail(arguments + safeArguments(paths), directory, results, &results.output);
}

bool GitProvider::commit(const QString &directory, const QString &message, const QString &author,
                         SourceControlResults &results)
{
    if (!inWorkingCopy(directory, results))
        return false;
    if (message.trimmed().isEmpty()) {
        results.errors = QStringLiteral("a commit needs a message");
        return false;
    }
    // Nothing recorded in the index is nothing to commit, unless a merge waits to be concluded.
    const bool nothingStaged =
        git({QStringLiteral("diff"), QStringLiteral("--cached"), QStringLiteral("--quiet")},
            directory)
        == 0;
    if (nothingStaged
        && git({QStringLiteral("rev-parse"), QStringLiteral("-q"), QStringLiteral("--verify"),
                QStringLiteral("MERGE_HEAD")},
               directory)
               != 0) {
        results.errors = QStringLiteral("nothing to commit");
        return false;
    }
    QStringList arguments{QStringLiteral("commit"), QStringLiteral("--message=") + message};
    if (!author.isEmpty())
        arguments.append(QStringLiteral("--author=") + author);
    return gitOrFail(arguments, directory, results, &results.output);
}

// Back to the last commit in two steps, so that a file that was only added leaves the index
// but stays on the disk: the index from the commit, then the tracked files from the index.
bool GitProvider::revert(const QString &directory, const QStringList &paths,
                         SourceControlResults &results)
{
    if (!inWorkingCopy(directory, results))
        return false;
    const bool unborn = unbornHead(directory);
    QStringList check{QStringLiteral("ls-files"), QStringLiteral("-z"),
                      QStringLiteral("--error-unmatch")};
    if (!unborn)
        check.append(QStringLiteral("--with-tree=HEAD"));
    check.append(QStringLiteral("--"));
    QByteArray unused;
    if (!gitOrFail(check + safeArguments(paths), directory, results, &unused))
        return false;
    const QStringList reset =
        unborn ? QStringList{QStringLiteral("rm"), QStringLiteral("-r"), QStringLiteral("-q"),
                             QStringLiteral("--cached"), QStringLiteral("--ignore-unmatch")}
               : QStringList{QStringLiteral("reset"), QStringLiteral("-q"), QStringLiteral("HEAD")};
    if (!gitOrFail(reset + QStringList{QStringLiteral("--")} + safeArguments(paths), directory,
                   results))
        return false;
    QByteArray tracked;
    if (!gitOrFail(
            QStringList{QStringLiteral("ls-files"), QStringLiteral("-z"), QStringLiteral("--")}
                + safeArguments(paths),
            directory, results, &tracked))
        return false;
    if (tracked.isEmpty())
        return true;
    // The list goes through a file: a folder may hold more names than a command line.
    QTemporaryFile list;
    if (!list.open() || list.write(tracked) != tracked.size() || !list.flush()) {
        results.errors =
            QStringLiteral("cannot write the list of files to revert: %1").arg(list.errorString());
        return false;
    }
    // The names are literal: a file called "*.c" brings back that file and no other.
    return gitOrFail({QStringLiteral("--literal-pathspecs"), QStringLiteral("restore"),
                      QStringLiteral("--worktree"), QStringLiteral("--pathspec-file-nul"),
                      QStringLiteral("--pathspec-from-file=") + list.fileName()},
                     directory, results);
}

bool GitProvider::branches(const QString &directory, SourceControlResults &results)
{
    QByteArray output;
    if (!inWorkingCopy(directory, results)
        || !gitOrFail({QStringLiteral("for-each-ref"),
                       QStringLiteral("--format=%(HEAD)%(refname:short)"),
                       QStringLiteral("refs/heads/")},
                      directory, results, &output))
        return false;
    for (const QByteArray &line : output.split('\n')) {
        if (line.size() < 2)
            continue;
        const QString branch = QString::fromUtf8(line.mid(1));
        results.branches.append(branch);
        if (line.at(0) == '*')
            results.currentBranch = branch;
    }
    return true;
}

bool GitProvider::switchBranch(const QString &directory, const QString &branch,
                               SourceControlResults &results)
{
    if (!inWorkingCopy(directory, results))
        return false;
    if (!acceptableBranch(branch, results))
        return false;
    return gitOrFail(
        {QStringLiteral("switch"), QStringLiteral("--no-guess"), QStringLiteral("--quiet"), branch},
        directory, results);
}

bool GitProvider::readConflicts(const QString &directory, SourceControlResults &results)
{
    QByteArray output;
    if (!gitOrFail({QStringLiteral("--no-optional-locks"), QStringLiteral("status"),
                    QStringLiteral("--porcelain=v2"), QStringLiteral("-z"),
                    QStringLiteral("--untracked-files=no")},
                   directory, results, &output))
        return false;
    std::vector<SourceControlFileStatus> files;
    if (!readStatus(output, files, &results.errors))
        return false;
    for (SourceControlFileStatus &file : files) {
        if (file.status == QLatin1String("Conflicted"))
            results.files.push_back(std::move(file));
    }
    return true;
}

bool GitProvider::merge(const QString &directory, const QString &branch, bool useProviderMerge,
                        SourceControlResults &results)
{
    if (!inWorkingCopy(directory, results))
        return false;
    if (!acceptableBranch(branch, results))
        return false;
    QStringList arguments{QStringLiteral("merge")};
    arguments << (useProviderMerge
                      ? QStringList{QStringLiteral("--no-edit")}
                      : QStringList{QStringLiteral("--no-commit"), QStringLiteral("--no-ff")});
    arguments.append(branch);
    const int status = git(arguments, directory, &results.output);
    const QStringList said = m_services->standardErrorLines();
    if (!readConflicts(directory, results))
        return false;
    if (status == 0 || (!useProviderMerge && !results.files.empty()))
        return true;
    if (!results.files.empty()) {
        results.errors = QStringLiteral("git merge: %1 stopped with conflicts in %2 files")
                             .arg(branch)
                             .arg(results.files.size());
    } else {
        results.errors = QStringLiteral("git merge: ")
                         + (said.isEmpty() ? QStringLiteral("failed") : said.join(u'\n'));
    }
    return false;
}

bool GitProvider::log(const QString &directory, const QString &path, int count,
                      SourceControlResults &results)
{
    if (!inWorkingCopy(directory, results))
        return false;
    QStringList arguments{QStringLiteral("--no-optional-locks"), QStringLiteral("log"),
                          QStringLiteral("-z"), QStringLiteral("--format=%H%x09%an%x09%aI%x09%s")};
    if (count > 0)
        arguments.append(QStringLiteral("--max-count=%1").arg(count));
    if (!path.isEmpty())
        arguments << QStringLiteral("--") << safeArgument(path);
    QByteArray output;
    return gitOrFail(arguments, directory, results, &output)
           && readLog(output, results.log, &results.errors);
}

bool GitProvider::history(const QString &directory, const QStringList &paths,
                          SourceControlResults &results)
{
    if (!inWorkingCopy(directory, results))
        return false;
    if (paths.isEmpty() || unbornHead(directory))
        return true;
    QByteArray output;
    return gitOrFail(QStringList{QStringLiteral("--no-optional-locks"), QStringLiteral("log"),
                                 QStringLiteral("-z"), QStringLiteral("--name-only"),
                                 QStringLiteral("--format=%x01%H%x09%an"), QStringLiteral("--")}
                         + safeArguments(paths),
                     directory, results, &output)
           && readHistory(output, results.files, &results.errors);
}

bool GitProvider::fileAtRevision(const QString &directory, const QString &path,
                                 const QString &revision, SourceControlResults &results)
{
    if (!inWorkingCopy(directory, results))
        return false;
    const QString relative =
        QDir(directory).relativeFilePath(QDir(directory).absoluteFilePath(path));
    const QString object =
        (revision.isEmpty() ? QStringLiteral("HEAD") : revision) + QStringLiteral(":./") + relative;
    return gitOrFail({QStringLiteral("cat-file"), QStringLiteral("blob"), object}, directory,
                     results, &results.output);
}

}   // namespace

extern "C" __attribute__((visibility("default"))) SourceCodeControlSystemInterface *
CreateSourceCodeControlSystemInterface(SourceCodeControlSystemProviderInterfaceHelpers *services)
{
    if (!services)
        return nullptr;
    try {
        // Ownership passes to the environment, which hands the object back to the release function.
        return std::make_unique<GitProvider>(services).release();
    } catch (...) {
        return nullptr;
    }
}

extern "C" __attribute__((visibility("default"))) void
ReleaseSourceCodeControlSystemInterface(SourceCodeControlSystemInterface *interface)
{
    delete interface;
}
