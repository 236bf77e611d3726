#pragma once
#include "foundation/Path.h"
#include <QString>
#include <QStringList>
#include <memory>
#include <vector>

class CodeEdit;

// What the environment does with files of a type: a package opens its archives, a project its
// solution files. Each operation answers whether it took the file.
class FileTypeHandler {
public:
    virtual ~FileTypeHandler();
    virtual bool open(const Path &path) = 0;
    virtual bool build(const Path &path) = 0;
    virtual bool checkSyntax(CodeEdit &edit) = 0;
};

// An entry of the environment's file-type table: title and icon of its kind of file, the
// extensions that are of it, and the handler its operations go to. Without a handler every
// operation answers false.
class FileType {
public:
    FileType(QString title, QString icon, QStringList extensions);
    virtual ~FileType();
    FileType(const FileType &) = delete;
    FileType &operator=(const FileType &) = delete;

    [[nodiscard]] const QString &title() const { return m_title; }
    [[nodiscard]] const QString &icon() const { return m_icon; }
    [[nodiscard]] const QStringList &extensions() const { return m_extensions; }
    // The extension, in lower case, is one of this type's.
    [[nodiscard]] bool matches(const Path &path) const;
    // The handler is observed, not owned; null removes it.
    void setHandler(FileTypeHandler *handler) { m_handler = handler; }
    [[nodiscard]] FileTypeHandler *handler() const { return m_handler; }

    bool open(const Path &path);
    bool build(const Path &path);
    bool checkSyntax(CodeEdit &edit);

private:
    QString m_title;
    QString m_icon;
    QStringList m_extensions;
    FileTypeHandler *m_handler = nullptr;
};

class CFileType final : public FileType { public: CFileType(); };
class CppFileType final : public FileType { public: CppFileType(); };
class HFileType final : public FileType { public: HFileType(); };
class AsmFileType final : public FileType { public: AsmFileType(); };
class IncFileType final : public FileType { public: IncFileType(); };
class ProjectFileType final : public FileType { public: ProjectFileType(); };
class HtmlFileType final : public FileType { public: HtmlFileType(); };
class JavaScriptFileType final : public FileType { public: JavaScriptFileType(); };
class BinaryFileType final : public FileType { public: BinaryFileType(); };
class PackageFileType final : public FileType { public: PackageFileType(); };
class PythonFileType final : public FileType { public: PythonFileType(); };

// The table of the environment's file types, in the order the file dialogs list them.
[[nodiscard]] std::vector<std::unique_ptr<FileType>> standardFileTypes();
// The first type of `types` the path matches, or null.
[[nodiscard]] FileType *fileTypeOf(const std::vector<std::unique_ptr<FileType>> &types, const Path &path);
