#pragma once
#include "foundation/QXMLDocument.h"
#include <QString>
#include <optional>
#include <vector>

// The release number a package's `compatibility` field must name to install without a warning.
constexpr int packageCompatibilityRelease = 1;

// A package's description: the XML file "<something>_package.xml" in its archive, and its
// installed copy under "<$(PackagesDir)>/packages/", which also lists what was installed.
// Everything is read from and written to the first `package` element. Failures throw HException.
class PackageDescriptionFile {
public:
    struct InstalledFile {
        QString fileName;   // as named in the archive, relative to the installed directory
        quint32 crc32 = 0;  // of the bytes as installed
        bool hasCrc32 = false;
    };
    // "release[:minimum version]". Not given: no test. Given with a release that is not a
    // number: the release is empty and matches nothing.
    struct Compatibility {
        bool given = false;
        std::optional<int> release;
        QString minimumVersion;
    };

    PackageDescriptionFile();
    ~PackageDescriptionFile();
    PackageDescriptionFile(const PackageDescriptionFile &) = delete;
    PackageDescriptionFile &operator=(const PackageDescriptionFile &) = delete;

    // `name` is quoted in messages: "bad package description <name>: ...".
    void parse(const QByteArray &bytes, const QString &name);
    void load(const QString &path);
    [[nodiscard]] QByteArray toBytes();

    XMLElement *packageElement() const { return m_package; }
    [[nodiscard]] QString attribute(const char *name) const;
    void setAttribute(const char *name, const QString &value);

    [[nodiscard]] std::vector<InstalledFile> installedFiles() const;
    // Replaces every `installed_file` child of the package element.
    void setInstalledFiles(const std::vector<InstalledFile> &files);
    [[nodiscard]] Compatibility compatibility() const;

private:
    QXMLDocument m_document;
    XMLElement *m_package = nullptr;
};

// "0x" and eight lower-case hexadecimal digits.
[[nodiscard]] QString crc32Text(quint32 crc);
