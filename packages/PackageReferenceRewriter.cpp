#include "packages/PackageReferenceRewriter.h"
#include <QFileInfo>
#include <QRegularExpression>
#include <cstring>

namespace {

constexpr char referenceStart[] = "$(VarnelDir)/";
constexpr qsizetype referenceStartLength = sizeof referenceStart - 1;
constexpr char rewrittenMacro[] = "$(PackagesDir)";
constexpr qsizetype replacedMacroLength = sizeof "$(VarnelDir)" - 1;

constexpr const char *rewrittenSuffixes[] = {"xml", "htm", "qvProject"};

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}

bool opensReference(char c)
{
    return isBlank(c) || c == '"' || c == '>' || c == ';';
}

bool closesReference(char c)
{
    return isBlank(c) || c == '"' || c == '<' || c == ';';
}

// "$(...)" and "*" stand for any text; everything else is literal.
QRegularExpression referencePattern(const QString &reference)
{
    QString pattern;
    qsizetype i = 0;
    while (i < reference.size()) {
        if (reference.at(i) == u'*') {
            pattern += QStringLiteral(".*");
            ++i;
            continue;
        }
        if (reference.mid(i, 2) == QLatin1String("$(")) {
            const qsizetype close = reference.indexOf(u')', i + 2);
            if (close > 0) {
                pattern += QStringLiteral(".*");
                i = close + 1;
                continue;
            }
        }
        qsizetype next = i + 1;
        while (next < reference.size() && reference.at(next) != u'*' && reference.mid(next, 2) != QLatin1String("$("))
            ++next;
        pattern += QRegularExpression::escape(reference.mid(i, next - i));
        i = next;
    }
    return QRegularExpression(QRegularExpression::anchoredPattern(pattern),
                              QRegularExpression::DotMatchesEverythingOption);
}

} // namespace

PackageDeliveredPaths::PackageDeliveredPaths(const QStringList &files)
{
    for (const QString &file : files) {
        m_paths.insert(file);
        for (qsizetype slash = file.indexOf(u'/'); slash > 0; slash = file.indexOf(u'/', slash + 1))
            m_paths.insert(file.left(slash));
    }
}

bool PackageDeliveredPaths::matches(const QString &reference) const
{
    QString path = reference;
    if (path.endsWith(u'/'))
        path.chop(1);
    if (path.isEmpty())
        return false;
    if (!path.contains(u'*') && !path.contains(QLatin1String("$(")))
        return m_paths.contains(path);
    const QRegularExpression pattern = referencePattern(path);
    for (const QString &candidate : m_paths) {
        if (pattern.match(candidate).hasMatch())
            return true;
    }
    return false;
}

PackageReferenceRewriter::PackageReferenceRewriter(std::shared_ptr<const PackageDeliveredPaths> delivered)
    : m_delivered(std::move(delivered))
{
}

bool PackageReferenceRewriter::appliesTo(const QString &fileName)
{
    const QString suffix = QFileInfo(fileName).suffix();
    for (const char *known : rewrittenSuffixes) {
        if (suffix.compare(QLatin1String(known), Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

void PackageReferenceRewriter::write(const char *data, qint64 size, const Sink &sink)
{
    const char *const end = data + size;
    while (data < end) {
        const char *const newline = static_cast<const char *>(std::memchr(data, '\n', size_t(end - data)));
        if (!newline) {
            m_pending.append(data, end - data);
            return;
        }
        m_pending.append(data, newline + 1 - data);
        data = newline + 1;
        rewriteLine(m_pending, sink);
        m_previous = '\n';
        m_pending.clear();
    }
}

void PackageReferenceRewriter::finish(const Sink &sink)
{
    if (!m_pending.isEmpty())
        rewriteLine(m_pending, sink);
    m_pending.clear();
}

void PackageReferenceRewriter::rewriteLine(const QByteArray &line, const Sink &sink)
{
    QByteArray out;
    qsizetype copied = 0;
    for (qsizetype at = line.indexOf(referenceStart); at >= 0; at = line.indexOf(referenceStart, at + 1)) {
        const char before = at > 0 ? line.at(at - 1) : m_previous;
        if (!before || !opensReference(before))
            continue;
        qsizetype end = at + referenceStartLength;
        while (end < line.size() && !closesReference(line.at(end)))
            ++end;
        if (end >= line.size())
            break;   // no closing delimiter: not a reference, and none can follow on this line
        const QString path = QString::fromUtf8(line.constData() + at + referenceStartLength, end - at - referenceStartLength);
        if (!m_delivered->matches(path))
            continue;
        out.append(line.constData() + copied, at - copied);
        out.append(rewrittenMacro);
        copied = at + replacedMacroLength;
    }
    if (copied == 0) {
        sink(line.constData(), line.size());
        return;
    }
    out.append(line.constData() + copied, line.size() - copied);
    sink(out.constData(), out.size());
}

QByteArray PackageReferenceRewriter::rewrite(const QByteArray &text, const PackageDeliveredPaths &delivered)
{
    // The filter holds a shared pointer; a non-owning one serves for the call.
    PackageReferenceRewriter rewriter(std::shared_ptr<const PackageDeliveredPaths>(&delivered, [](const auto *) {}));
    QByteArray out;
    const Sink sink = [&](const char *data, qint64 size) { out.append(data, size); };
    rewriter.write(text.constData(), text.size(), sink);
    rewriter.finish(sink);
    return out;
}
