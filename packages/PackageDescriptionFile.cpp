#include "packages/PackageDescriptionFile.h"
#include "foundation/HException.h"
#include <QFile>
#include <cstring>

namespace {

constexpr qint64 maxDescriptionSize = qint64(16) << 20;

bool isElement(const XMLNode *node, const char *name)
{
    return node->kind() == XMLNode::Kind::Element
           && std::strcmp(static_cast<const XMLElement *>(node)->name(), name) == 0;
}

} // namespace

QString crc32Text(quint32 crc)
{
    return QStringLiteral("0x%1").arg(crc, 8, 16, QLatin1Char('0'));
}

PackageDescriptionFile::PackageDescriptionFile() : m_document(1) {}

PackageDescriptionFile::~PackageDescriptionFile() = default;

void PackageDescriptionFile::parse(const QByteArray &bytes, const QString &name)
{
    delete m_document.takeRoot();
    m_package = nullptr;
    if (!m_document.parseBuffer(bytes.constData(), bytes.size())) {
        throw HException(QStringLiteral("bad package description %1: %2 at line %3")
                             .arg(name, QString::fromUtf8(m_document.errorText()))
                             .arg(m_document.errorLine() + 1));   // the parser counts from 0
    }
    m_package = m_document.root() ? findElement(m_document.root(), "package", true) : nullptr;
    if (!m_package)
        throw HException(QStringLiteral("bad package description %1: no package element").arg(name));
}

void PackageDescriptionFile::load(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw HException(QStringLiteral("cannot read %1").arg(path));
    if (file.size() > maxDescriptionSize)
        throw HException(QStringLiteral("bad package description %1: larger than %2 bytes").arg(path).arg(maxDescriptionSize));
    parse(file.readAll(), path);
}

QByteArray PackageDescriptionFile::toBytes()
{
    return m_document.saveBuffer(2, 0);
}

QString PackageDescriptionFile::attribute(const char *name) const
{
    const char *const value = m_package ? m_package->attribute(name) : nullptr;
    return value ? QString::fromUtf8(value) : QString();
}

void PackageDescriptionFile::setAttribute(const char *name, const QString &value)
{
    if (m_package)
        m_package->setAttribute(xmlDuplicate(name), xmlDuplicate(value.toUtf8()));
}

std::vector<PackageDescriptionFile::InstalledFile> PackageDescriptionFile::installedFiles() const
{
    std::vector<InstalledFile> files;
    if (!m_package)
        return files;
    for (const XMLNode *node = m_package->firstChild(); node; node = node->nextSibling()) {
        if (!isElement(node, "installed_file"))
            continue;
        const auto *element = static_cast<const XMLElement *>(node);
        InstalledFile file;
        file.fileName = QString::fromUtf8(element->attribute("file_name"));
        const QString crc = QString::fromUtf8(element->attribute("crc32"));
        bool ok = false;
        file.crc32 = crc.startsWith(QLatin1String("0x")) ? crc.mid(2).toUInt(&ok, 16) : 0;
        file.hasCrc32 = ok;
        if (!file.fileName.isEmpty())
            files.push_back(file);
    }
    return files;
}

void PackageDescriptionFile::setInstalledFiles(const std::vector<InstalledFile> &files)
{
    if (!m_package)
        return;
    for (XMLNode *node = m_package->firstChild(); node;) {
        XMLNode *const next = node->nextSibling();
        if (isElement(node, "installed_file")) {
            m_package->removeChild(node);
            node->setNextSibling(nullptr);
            delete node;
        }
        node = next;
    }
    for (const InstalledFile &file : files) {
        XMLElement *const element = m_document.createElement(xmlDuplicate("installed_file"));
        element->setAttribute(xmlDuplicate("file_name"), xmlDuplicate(file.fileName.toUtf8()));
        element->setAttribute(xmlDuplicate("crc32"), xmlDuplicate(crc32Text(file.crc32).toUtf8()));
        m_package->appendChild(element);
    }
}

PackageDescriptionFile::Compatibility PackageDescriptionFile::compatibility() const
{
    Compatibility result;
    const QString text = attribute("compatibility");
    if (text.isEmpty())
        return result;
    result.given = true;
    const QStringList parts = text.split(u':');
    bool ok = false;
    const int release = parts.first().trimmed().toInt(&ok);
    if (ok)
        result.release = release;
    if (parts.size() > 1)
        result.minimumVersion = parts.at(1).trimmed();
    return result;
}
