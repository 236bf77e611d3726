#include "packages/PackageSystemPackageInfo.h"
#include "foundation/XMLDocument.h"
#include <iterator>

namespace {

QString attributeOf(const XMLElement *element, const char *name)
{
    const char *const value = element->attribute(name);
    return value ? QString::fromUtf8(value) : QString();
}

struct TextAttribute {
    const char *name;
    QString PackageSystemPackageInfo::*field;
};

constexpr TextAttribute textAttributes[] = {
    {"name", &PackageSystemPackageInfo::name},
    {"version", &PackageSystemPackageInfo::version},
    {"md5", &PackageSystemPackageInfo::md5},
    {"filetype", &PackageSystemPackageInfo::filetype},
    {"installation_directory", &PackageSystemPackageInfo::installationDirectory},
    {"installation_directory_prompt", &PackageSystemPackageInfo::installationDirectoryPrompt},
    {"installation_directory_global_macro_name", &PackageSystemPackageInfo::installationDirectoryGlobalMacroName},
    {"title", &PackageSystemPackageInfo::title},
    {"description", &PackageSystemPackageInfo::description},
    {"cpu_manufacturer", &PackageSystemPackageInfo::cpuManufacturer},
    {"cpu_name", &PackageSystemPackageInfo::cpuName},
    {"cpu_family", &PackageSystemPackageInfo::cpuFamily},
    {"board_manufacturer", &PackageSystemPackageInfo::boardManufacturer},
    {"board_name", &PackageSystemPackageInfo::boardName},
    {"compatibility", &PackageSystemPackageInfo::compatibility},
    {"url", &PackageSystemPackageInfo::url},
};

struct ListAttribute {
    const char *name;
    QStringList PackageSystemPackageInfo::*field;
};

constexpr ListAttribute listAttributes[] = {
    {"dependencies", &PackageSystemPackageInfo::dependencies},
    {"dependents", &PackageSystemPackageInfo::dependents},
    {"dependent_types", &PackageSystemPackageInfo::dependentTypes},
    {"replaces", &PackageSystemPackageInfo::replaces},
    {"uninstalls", &PackageSystemPackageInfo::uninstalls},
    {"evaluates", &PackageSystemPackageInfo::evaluates},
};

constexpr const char *statusTexts[] = {"not installed", "installed", "update available"};
static_assert(std::size(statusTexts) == int(PackageSystemPackageInfo::PackageStatus::UpdateAvailable) + 1);

constexpr const char *menuTexts[] = {
    "&Install Selected Packages",  "&Update Selected Packages", "&Remove Selected Packages",
    "Re&install Selected Packages", "&Cancel Action for Selected Packages",
};
static_assert(std::size(menuTexts) == int(PackageSystemPackageInfo::Action::None) + 1);

QString joined(const QString &a, const QString &b)
{
    return (a + u' ' + b).trimmed();
}

} // namespace

PackageSystemPackageInfo PackageSystemPackageInfo::fromElement(const XMLElement *element)
{
    PackageSystemPackageInfo info;
    for (const TextAttribute &attribute : textAttributes)
        info.*attribute.field = attributeOf(element, attribute.name);
    for (const ListAttribute &attribute : listAttributes)
        info.*attribute.field = packageNameList(attributeOf(element, attribute.name));
    if (info.filetype.isEmpty())
        info.filetype = QStringLiteral("qvPackage");
    return info;
}

PackageSystemPackageInfo::PackageStatus PackageSystemPackageInfo::status() const
{
    if (!installed)
        return PackageStatus::NotInstalled;
    if (!availableVersion.isEmpty() && compareVersions(availableVersion, installedVersion) > 0)
        return PackageStatus::UpdateAvailable;
    return PackageStatus::Installed;
}

QString PackageSystemPackageInfo::displayTitle() const
{
    if (!title.isEmpty())
        return title;
    if (!boardManufacturer.isEmpty() || !boardName.isEmpty())
        return joined(boardManufacturer, boardName) + QStringLiteral(" Board Support Package");
    if (!cpuManufacturer.isEmpty() || !cpuName.isEmpty())
        return joined(cpuManufacturer, cpuName) + QStringLiteral(" CPU Support Package");
    return name;
}

QString PackageSystemPackageInfo::displayDescription() const
{
    if (!description.isEmpty())
        return description;
    QString subject = displayTitle();
    if (subject.endsWith(QLatin1String(" Support Package")))
        subject.chop(16);
    return hasExamples ? QStringLiteral("This package contains project templates, system files and example "
                                        "programs for the <b>%1</b>.").arg(subject)
                       : QStringLiteral("This package contains project templates and system files for the "
                                        "<b>%1</b>.").arg(subject);
}

QString PackageSystemPackageInfo::statusText(PackageStatus status)
{
    return QString::fromLatin1(statusTexts[int(status)]);
}

QString PackageSystemPackageInfo::menuText(Action action)
{
    return QString::fromLatin1(menuTexts[int(action)]);
}

PackageVersion packageVersion(const QString &text)
{
    PackageVersion version;
    version.parseVersion(text);
    return version;
}

int compareVersions(const QString &a, const QString &b)
{
    const PackageVersion left = packageVersion(a);
    const PackageVersion right = packageVersion(b);
    if (left.major != right.major)
        return left.major < right.major ? -1 : 1;
    if (left.minor != right.minor)
        return left.minor < right.minor ? -1 : 1;
    return 0;
}

QStringList packageNameList(const QString &text)
{
    QStringList names;
    for (const QString &part : text.split(u';', Qt::SkipEmptyParts)) {
        const QString name = part.trimmed();
        if (!name.isEmpty())
            names.append(name);
    }
    return names;
}

bool deliversExamples(const QStringList &fileNames)
{
    for (const QString &name : fileNames) {
        const QStringList parts = name.split(u'/');
        for (qsizetype i = 0; i + 1 < parts.size(); ++i) {
            if (parts.at(i) == QLatin1String("examples"))
                return true;
        }
    }
    return false;
}
