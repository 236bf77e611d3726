#include "foundation/PackageVersion.h"
#include <QStringList>

void PackageVersion::parseVersion(const QString &version)
{
    text = version;
    const QStringList parts = version.split(QLatin1Char('.'), Qt::SkipEmptyParts);
    const auto number = [](const QString &part) {
        bool ok = false;
        const uint value = part.toUInt(&ok, 10);
        return ok ? quint32(value) : 0u;
    };
    major = parts.isEmpty() ? 0 : number(parts[0]);
    minor = parts.size() < 2 ? 0 : number(parts[1]);
}
