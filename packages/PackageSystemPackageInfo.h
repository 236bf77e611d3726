#pragma once
#include "foundation/PackageVersion.h"
#include <QString>
#include <QStringList>
#include <vector>

class XMLElement;

// One known package: what a `package` element of the available list or of a description says,
// and what is installed of it.
class PackageSystemPackageInfo {
public:
    enum class PackageStatus { NotInstalled, Installed, UpdateAvailable };
    // What the package manager's list is asked to do with the package.
    enum class Action { Install, Update, Remove, Reinstall, None };

    // The attributes of a `package` element; absent ones are empty.
    [[nodiscard]] static PackageSystemPackageInfo fromElement(const XMLElement *element);

    QString name;
    QString version;
    QString md5;
    QString filetype;   // "qvPackage" unless the element says "qvArchive"
    QString installationDirectory;
    QString installationDirectoryPrompt;
    QString installationDirectoryGlobalMacroName;
    QStringList dependencies;
    QStringList dependents;
    QStringList dependentTypes;
    QStringList replaces;
    QStringList uninstalls;
    QStringList evaluates;
    QString title;
    QString description;
    QString cpuManufacturer;
    QString cpuName;
    QString cpuFamily;
    QString boardManufacturer;
    QString boardName;
    QString compatibility;
    QString url;   // of the available list: where the package file is

    // What the package system found out about it.
    bool installed = false;
    QString installedVersion;
    QString availableVersion;   // empty when the available list does not name it
    QString descriptionPath;    // the installed description
    QString installedDirectory; // where the files went, absolute
    QStringList installedFiles; // archive names of the files installed
    bool hasExamples = false;   // a delivered folder "examples"
    Action action = Action::None;

    [[nodiscard]] bool isPlainArchive() const { return filetype == QLatin1String("qvArchive"); }
    [[nodiscard]] PackageStatus status() const;
    // The title, or one made up from the board or else the CPU it supports.
    [[nodiscard]] QString displayTitle() const;
    // The description, or one made up from the title.
    [[nodiscard]] QString displayDescription() const;

    [[nodiscard]] static QString statusText(PackageStatus status);
    [[nodiscard]] static QString menuText(Action action);
};

// A version text as two numbers; "1.2.3" and "1.2.9" are equal.
[[nodiscard]] PackageVersion packageVersion(const QString &text);
// Negative, zero or positive as `a` is older than, as new as or newer than `b`.
[[nodiscard]] int compareVersions(const QString &a, const QString &b);
// ";"-separated names, blanks around them dropped.
[[nodiscard]] QStringList packageNameList(const QString &text);
// True when a delivered name has a folder part "examples".
[[nodiscard]] bool deliversExamples(const QStringList &fileNames);
