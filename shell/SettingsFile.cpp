#include "shell/SettingsFile.h"
#include "foundation/QXMLDocument.h"
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace {

// A settings file is small; anything far larger is not ours.
constexpr qint64 maxSettingsFileSize = 64 << 20;

QString attributeText(const XMLElement *element, const char *name)
{
    return QString::fromUtf8(element->attribute(name));
}

XMLElement *newElement(const char *name)
{
    return new XMLElement(xmlDuplicate(name));
}

void setAttributeText(XMLElement *element, const char *name, const QString &value)
{
    element->setAttribute(xmlDuplicate(name), xmlDuplicate(value.toUtf8()));
}

} // namespace

SettingsFile::SettingsFile(QObject *parent) : QObject(parent)
{
}

bool SettingsFile::load(const QString &path, QString *message)
{
    m_path = path;
    m_values.clear();
    m_lists.clear();
    m_modified = false;
    m_keepBrokenFile = false;
    const QFileInfo info(path);
    if (!info.exists())
        return true;
    const auto refuse = [&](const QString &why) {
        *message = QStringLiteral("%1: %2; the defaults are used").arg(QDir::toNativeSeparators(path), why);
        m_keepBrokenFile = info.isFile();
        return false;
    };
    if (!info.isFile())
        return refuse(QStringLiteral("not a file"));
    if (info.size() > maxSettingsFileSize)
        return refuse(QStringLiteral("too large for a settings file (%1 bytes)").arg(info.size()));
    QXMLDocument document;
    if (!document.load(path))
        return refuse(QString::fromLocal8Bit(document.errorText()));
    const XMLElement *root = document.root();
    if (!root || qstrcmp(root->name(), rootName) != 0) {
        return refuse(QStringLiteral("not a settings file (root <%1>, expected <%2>)")
                          .arg(root ? QString::fromUtf8(root->name()) : QStringLiteral("none"),
                               QLatin1String(rootName)));
    }
    for (const XMLNode *node = root->firstChild(); node; node = node->nextSibling()) {
        if (node->kind() != XMLNode::Kind::Element)
            continue;
        const auto *element = static_cast<const XMLElement *>(node);
        const QString key = attributeText(element, "name");
        if (key.isEmpty())
            continue;
        if (qstrcmp(element->name(), "setting") == 0) {
            m_values.insert(key, attributeText(element, "value"));
        } else if (qstrcmp(element->name(), "list") == 0) {
            QStringList items;
            for (const XMLNode *item = element->firstChild(); item; item = item->nextSibling()) {
                if (item->kind() == XMLNode::Kind::Element)
                    items.append(attributeText(static_cast<const XMLElement *>(item), "value"));
            }
            m_lists.insert(key, items);
        }
    }
    return true;
}

bool SettingsFile::save(QString *message)
{
    if (m_path.isEmpty()) {
        *message = QStringLiteral("no settings file is named");
        return false;
    }
    const QString directory = QFileInfo(m_path).absolutePath();
    if (!QDir().mkpath(directory)) {
        *message = QStringLiteral("cannot make the folder %1 for the settings").arg(QDir::toNativeSeparators(directory));
        return false;
    }
    XMLDocument document;
    document.setXmlVersion(xmlDuplicate("1.0"));
    document.setXmlEncoding(xmlDuplicate("UTF-8"));
    document.setDocType(xmlDuplicate(rootName));
    XMLElement *root = newElement(rootName);
    document.setRoot(root);
    setAttributeText(root, "version", QStringLiteral("1"));
    for (auto it = m_values.cbegin(); it != m_values.cend(); ++it) {
        XMLElement *setting = newElement("setting");
        setAttributeText(setting, "name", it.key());
        setAttributeText(setting, "value", it.value());
        root->appendChild(setting);
    }
    for (auto it = m_lists.cbegin(); it != m_lists.cend(); ++it) {
        XMLElement *list = newElement("list");
        setAttributeText(list, "name", it.key());
        for (const QString &item : it.value()) {
            XMLElement *entry = newElement("item");
            setAttributeText(entry, "value", item);
            list->appendChild(entry);
        }
        root->appendChild(list);
    }
    if (m_keepBrokenFile) {
        QFile::remove(m_path + QStringLiteral(".bad"));
        QFile::copy(m_path, m_path + QStringLiteral(".bad"));
    }
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly)) {
        *message = QStringLiteral("cannot write %1: %2").arg(QDir::toNativeSeparators(m_path), file.errorString());
        return false;
    }
    const QByteArray bytes = document.saveBuffer(2, 0);
    if (file.write(bytes) != bytes.size() || !file.commit()) {
        *message = QStringLiteral("cannot write %1: %2").arg(QDir::toNativeSeparators(m_path), file.errorString());
        return false;
    }
    m_modified = false;
    m_keepBrokenFile = false;
    return true;
}

QString SettingsFile::value(const QString &key, const QString &fallback) const
{
    return m_values.value(key, fallback);
}

void SettingsFile::setValue(const QString &key, const QString &value)
{
    const auto it = m_values.constFind(key);
    if (it != m_values.cend() && it.value() == value)
        return;
    m_values.insert(key, value);
    m_modified = true;
    emit changed(key);
}

void SettingsFile::remove(const QString &key)
{
    if (m_values.remove(key) + m_lists.remove(key) == 0)
        return;
    m_modified = true;
    emit changed(key);
}

bool SettingsFile::isYes(const QString &key, bool fallback) const
{
    const auto it = m_values.constFind(key);
    if (it == m_values.cend())
        return fallback;
    return it.value() == QLatin1String("Yes");
}

void SettingsFile::setYes(const QString &key, bool yes)
{
    setValue(key, yes ? QStringLiteral("Yes") : QStringLiteral("No"));
}

void SettingsFile::setList(const QString &key, const QStringList &items)
{
    const auto it = m_lists.constFind(key);
    if (it != m_lists.cend() && it.value() == items)
        return;
    m_lists.insert(key, items);
    m_modified = true;
    emit changed(key);
}

void SettingsFile::clear(const QString &prefix)
{
    QStringList gone;
    for (auto it = m_values.begin(); it != m_values.end();) {
        if (it.key().startsWith(prefix)) {
            gone.append(it.key());
            it = m_values.erase(it);
        } else {
            ++it;
        }
    }
    for (auto it = m_lists.begin(); it != m_lists.end();) {
        if (it.key().startsWith(prefix)) {
            gone.append(it.key());
            it = m_lists.erase(it);
        } else {
            ++it;
        }
    }
    if (gone.isEmpty())
        return;
    m_modified = true;
    for (const QString &key : std::as_const(gone))
        emit changed(key);
}

QStringList SettingsFile::keys() const
{
    QStringList result = m_values.keys();
    result.append(m_lists.keys());
    result.sort();
    return result;
}
