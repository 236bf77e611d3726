#include "shell/SchemeFile.h"
#include "foundation/Report.h"
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

// The product's name and maker as the scheme files may quote them.
constexpr const char *schemeMacros = "VARNEL_NAME=Tessmark;OWNER=Tessmark";

} // namespace

void SchemeFile::error(const QString &message)
{
    XMLPP2::error(message);
    report(ReportChannel::Warning, fileMessage(m_path, message));
}

std::unique_ptr<SchemeFile> SchemeFile::read(const QString &path, const char *rootName,
                                             QStringList *messages)
{
    // A pipe without a writer would block the open for ever, and a device never ends.
    if (const QFileInfo info(path); info.exists() && !info.isFile()) {
        messages->append(fileMessage(path, QStringLiteral("not a regular file")));
        return nullptr;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        messages->append(fileMessage(path, QStringLiteral("cannot read: %1").arg(file.errorString())));
        return nullptr;
    }
    // Read in pieces up to the limit: the size a file states is not trusted (a device or a
    // file that grows says something else), and one read of the limit would take it all.
    QByteArray bytes;
    bytes.reserve(qsizetype(qBound<qint64>(0, file.size(), maxFileSize)));
    while (bytes.size() <= maxFileSize) {
        const QByteArray piece = file.read(qMin<qint64>(qint64(1) << 20, maxFileSize + 1 - bytes.size()));
        if (piece.isEmpty())
            break;
        bytes += piece;
    }
    if (bytes.size() > maxFileSize) {
        messages->append(fileMessage(path, QStringLiteral("too large (more than %1 bytes)").arg(maxFileSize)));
        return nullptr;
    }
    if (bytes.startsWith("\xEF\xBB\xBF"))
        bytes.remove(0, 3);
    auto document = std::make_unique<SchemeFile>();
    document->m_path = path;
    if (!document->parseBuffer(bytes.constData(), bytes.size())) {
        messages->append(fileMessage(path, QStringLiteral("line %1: %2")
                                               .arg(document->errorLine() + 1)
                                               .arg(QString::fromLocal8Bit(document->errorText()))));
        return nullptr;
    }
    if (!document->root()) {
        messages->append(fileMessage(path, QStringLiteral("no XML element in the file")));
        return nullptr;
    }
    document->processNodes(document->root(), path, parseMacroDefinitions(QLatin1String(schemeMacros)), true);
    const XMLElement *root = document->root();
    if (!root) {
        messages->append(fileMessage(path, QStringLiteral("nothing is left after the directives")));
        return nullptr;
    }
    if (rootName && qstrcmp(root->name(), rootName) != 0) {
        messages->append(fileMessage(path, QStringLiteral("the root is <%1>, not <%2>")
                                               .arg(QString::fromUtf8(root->name()), QLatin1String(rootName))));
        return nullptr;
    }
    return document;
}

QString fileMessage(const QString &path, const QString &text)
{
    return QStringLiteral("%1: %2").arg(QDir::toNativeSeparators(path), text);
}

QString attributeString(const XMLElement *element, const char *name)
{
    return QString::fromUtf8(element->attribute(name));
}
