#pragma once
#include <QString>
#include <functional>
#include <memory>
#include <vector>

class PackageArchive;
struct PackageArchiveFile;

// Writing an archive's files to disk safely: every check runs before the first byte is
// written, the files go to a private staging folder first and reach their places by renames
// only once the whole stream was read and its check value found right. Failures throw
// HException.

// Default bound on the bytes one extraction or installation may write.
constexpr qint64 defaultMaxExtractSize = qint64(4) << 30;

// The name of the staging folders of installations; no archive may deliver into one.
constexpr char stagingFolderName[] = ".tess-staging";

// False for a name that is empty, absolute, has an empty, "." or ".." part or a NUL, or starts
// with the staging folder: such a name could lead out of the folder it is written to.
[[nodiscard]] bool isSafeArchiveName(const QString &name);
// Refuses the archive if a name is empty, absolute, has an empty, "." or ".." part or a NUL byte,
// or starts with the staging folder ("unsafe file name in archive: <name>"), comes twice
// ("duplicate file name in archive: <name>"), or is also a folder of another entry.
void checkArchiveNames(const PackageArchive &archive);
// Refuses entries whose bytes lie outside the contents behind the table, so that no crafted
// offset sends the reader through more data than the files hold.
void checkArchiveContents(const PackageArchive &archive);
// Refuses writing `bytes` above `maxSize` or above the free space where `directory` lies
// ("archive too large").
void checkSpace(qint64 bytes, qint64 maxSize, const QString &directory);

// What stands where a file is to be written.
enum class TargetState { Missing, Existing };
// Walks from `directory` to `directory/name`: a link or a plain file where a folder must be,
// or a folder where the file must be, is refused.
[[nodiscard]] TargetState checkTargetPath(const QString &directory, const QString &name);

// Creates the missing folders of `path`'s parent below `directory`, refusing links on the way;
// the folders made are appended to `created`, outermost first.
void createParentFolders(const QString &directory, const QString &path, QStringList *created = nullptr);

// Rewrites a file's bytes on their way to disk; output goes to the sink in pieces.
class PackageContentFilter {
public:
    using Sink = std::function<void(const char *data, qint64 size)>;
    virtual ~PackageContentFilter();
    virtual void write(const char *data, qint64 size, const Sink &sink) = 0;
    virtual void finish(const Sink &sink) = 0;
};

// A private folder beside the targets that receives the chosen files under numbered names.
// It is deleted with everything in it on destruction unless released.
class PackageStaging {
public:
    struct Item {
        const PackageArchiveFile *file;
        QString targetPath;    // named in messages
        QString stagedPath;    // set by stage()
        quint32 crc32 = 0;     // of the bytes as written, after any filter
    };
    using FilterFactory = std::function<std::unique_ptr<PackageContentFilter>(const Item &item)>;
    using Progress = std::function<void(int done, int total)>;

    // Makes "<parent>/.tess-staging-XXXXXX", removed with the staging; `parent` must exist.
    explicit PackageStaging(const QString &parent);
    // Uses a folder that exists and that someone else (a transaction) removes.
    struct ExistingFolder {
        QString path;
    };
    explicit PackageStaging(ExistingFolder folder) : m_folder(std::move(folder.path)), m_owned(false) {}
    ~PackageStaging();
    PackageStaging(const PackageStaging &) = delete;
    PackageStaging &operator=(const PackageStaging &) = delete;

    const QString &folder() const { return m_folder; }
    // One text for every failure to create or write a file, "%1" the target; by default the
    // archive's own texts name what failed.
    void setWriteFailureText(const QString &text) { m_writeFailureText = text; }
    // Writes each item's file in the order of the stream, then reads the stream to its end.
    void stage(PackageArchive &archive, std::vector<Item> &items, const FilterFactory &filters = {},
               const Progress &progress = {});
    // The folder is left alone from now on; its removal is the caller's.
    void release() { m_owned = false; }

private:
    QString failureText(const char *text, const QString &target) const;

    QString m_folder;
    bool m_owned = true;
    QString m_writeFailureText;
};

// `tess pkg extract`: the chosen files below `directory`. Existing files are replaced only with
// `overwrite` ("cannot overwrite file <path>" otherwise, before anything is written).
void extractArchive(PackageArchive &archive, const QString &directory,
                    const std::vector<const PackageArchiveFile *> &files, bool overwrite, qint64 maxSize);

// Removes a folder tree that we made; links in it are removed, never followed.
void removeTree(const QString &folder);
