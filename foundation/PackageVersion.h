#pragma once
#include <QString>

// A package's version text and the two numbers read from it.
struct PackageVersion {
    QString text;
    quint32 major = 0;
    quint32 minor = 0;

    // "major.minor[.anything]": empty parts are skipped, a part that is no number counts as 0.
    void parseVersion(const QString &version);
};
