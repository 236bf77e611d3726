#pragma once
#include "packages/PackageExtraction.h"
#include <QByteArray>
#include <QSet>
#include <QString>
#include <QStringList>
#include <memory>

// What a package delivers, as paths relative to $(PackagesDir): every file and every folder
// that holds one.
class PackageDeliveredPaths {
public:
    explicit PackageDeliveredPaths(const QStringList &files);
    // `reference` may hold macros "$(...)" and "*", each standing for any text, "/" included.
    [[nodiscard]] bool matches(const QString &reference) const;

private:
    QSet<QString> m_paths;
};

// Rewrites the references of an installed text file that point into this package: a reference
// starts with "$(VarnelDir)/" right after a blank, '"', '>' or ';' and ends before the next
// blank, '"', '<' or ';'. Delimiters are looked at, not consumed, so "a;b" gives two. When the
// rest of the reference matches a delivered path, "$(VarnelDir)" becomes "$(PackagesDir)".
// A reference never spans a line, so the file streams through line by line.
class PackageReferenceRewriter : public PackageContentFilter {
public:
    explicit PackageReferenceRewriter(std::shared_ptr<const PackageDeliveredPaths> delivered);

    void write(const char *data, qint64 size, const Sink &sink) override;
    void finish(const Sink &sink) override;

    // Suffixes "xml", "htm" and "qvProject" in any case; "html" is not one.
    [[nodiscard]] static bool appliesTo(const QString &fileName);
    // The whole text at once, as the filter would give it.
    [[nodiscard]] static QByteArray rewrite(const QByteArray &text, const PackageDeliveredPaths &delivered);

private:
    void rewriteLine(const QByteArray &line, const Sink &sink);

    std::shared_ptr<const PackageDeliveredPaths> m_delivered;
    QByteArray m_pending;   // the unfinished line
    char m_previous = 0;    // last byte of the previous line; 0 at the start of the text
};
