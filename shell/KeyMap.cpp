#include "shell/KeyMap.h"
#include "shell/Actions.h"
#include "shell/SchemeFile.h"
#include "shell/VarnelAction.h"
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QSet>
#include <algorithm>

namespace {

constexpr int maxMessages = 100;

bool isElement(const XMLNode *node, const char *tag)
{
    return node && node->kind() == XMLNode::Kind::Element
           && qstrcmp(static_cast<const XMLElement *>(node)->name(), tag) == 0;
}

// Key scheme elements, the root first, then its children, in document order.
std::vector<const XMLElement *> schemesOf(const XMLElement *root)
{
    std::vector<const XMLElement *> result{root};
    for (const XMLNode *child = root->firstChild(); child; child = child->nextSibling()) {
        if (isElement(child, KeyMap::rootName))
            result.push_back(static_cast<const XMLElement *>(child));
    }
    return result;
}

// Whether one of the two sequences starts the other (or they are equal): the shortcut system
// would then wait for more keys, or never reach the longer one.
bool overlaps(const QKeySequence &a, const QKeySequence &b)
{
    const int common = std::min(a.count(), b.count());
    if (common == 0)
        return false;
    for (int i = 0; i < common; ++i) {
        if (a[i] != b[i])
            return false;
    }
    return true;
}

} // namespace

void KeyMap::note(const QString &message)
{
    if (m_messages.size() < maxMessages)
        m_messages.append(message);
    else if (m_messages.size() == maxMessages)
        m_messages.append(QStringLiteral("(further messages are left out)"));
}

bool KeyMap::parseKeys(const QString &text, Keys *keys, QString *bad)
{
    keys->clear();
    for (const QString &part : text.split(QStringLiteral("; "), Qt::SkipEmptyParts)) {
        const QString trimmed = part.trimmed();
        if (trimmed.isEmpty())
            continue;
        const QKeySequence sequence = QKeySequence::fromString(trimmed, QKeySequence::PortableText);
        bool valid = !sequence.isEmpty();
        for (int i = 0; valid && i < sequence.count(); ++i)
            valid = sequence[i].key() != Qt::Key_unknown && sequence[i].key() != 0;
        if (!valid) {
            *bad = trimmed;
            return false;
        }
        if (!keys->contains(sequence))
            keys->append(sequence);
    }
    return true;
}

QString KeyMap::keysText(const Keys &keys)
{
    QStringList parts;
    for (const QKeySequence &key : keys)
        parts.append(key.toString(QKeySequence::PortableText));
    return parts.join(QStringLiteral("; "));
}

void KeyMap::setDefaultKeys(const QString &action, const Keys &keys)
{
    m_defaults.insert(action, keys);
}

void KeyMap::readItems(const XMLElement *scheme, const QString &path, QHash<QString, Keys> &into)
{
    for (const XMLNode *node = scheme->firstChild(); node; node = node->nextSibling()) {
        if (!isElement(node, "item"))
            continue;
        const auto *item = static_cast<const XMLElement *>(node);
        const QString name = attributeString(item, "name");
        if (name.isEmpty()) {
            note(fileMessage(path, QStringLiteral("line %1: <item> without a name is ignored").arg(item->line() + 1)));
            continue;
        }
        Keys keys;
        QString bad;
        if (!parseKeys(attributeString(item, "key"), &keys, &bad)) {
            note(fileMessage(path, QStringLiteral("line %1: unparsable key sequence '%2' for %3 is ignored")
                                       .arg(item->line() + 1).arg(bad, name)));
            continue;
        }
        into.insert(name, keys);
    }
}

bool KeyMap::loadScheme(const QString &path, const QString &name)
{
    m_scheme.clear();
    m_schemeNames.clear();
    m_schemeName.clear();
    const std::unique_ptr<SchemeFile> document = SchemeFile::read(path, rootName, &m_messages);
    if (!document)
        return false;
    const XMLElement *chosen = nullptr;
    for (const XMLElement *scheme : schemesOf(document->root())) {
        const QString schemeName = attributeString(scheme, "name");
        if (schemeName.isEmpty())
            continue;
        m_schemeNames.append(schemeName);
        if (!chosen && (name.isEmpty() || schemeName == name))
            chosen = scheme;
    }
    if (!chosen) {
        for (const XMLElement *scheme : schemesOf(document->root())) {
            if (!attributeString(scheme, "name").isEmpty()) {
                chosen = scheme;
                break;
            }
        }
        if (!name.isEmpty()) {
            note(QStringLiteral("key scheme '%1' not found; '%2' is used instead")
                     .arg(name, chosen ? attributeString(chosen, "name") : QStringLiteral("the built-in keys")));
        }
    }
    if (!chosen)
        chosen = document->root();
    m_schemeName = attributeString(chosen, "name");
    // A scheme may be based on another of the same file: the base's keys first, its own over them.
    std::vector<const XMLElement *> layers{chosen};
    QString base = attributeString(chosen, "base");
    while (!base.isEmpty() && layers.size() < 32) {
        const XMLElement *found = nullptr;
        for (const XMLElement *scheme : schemesOf(document->root())) {
            if (attributeString(scheme, "name") == base)
                found = scheme;
        }
        if (!found || std::find(layers.begin(), layers.end(), found) != layers.end())
            break;
        layers.push_back(found);
        base = attributeString(found, "base");
    }
    for (auto it = layers.rbegin(); it != layers.rend(); ++it)
        readItems(*it, path, m_scheme);
    return true;
}

bool KeyMap::loadUser(const QString &path)
{
    m_user.clear();
    if (!QFileInfo::exists(path))
        return true;
    const std::unique_ptr<SchemeFile> document = SchemeFile::read(path, rootName, &m_messages);
    if (!document)
        return false;
    // Items at the root apply to every scheme; a named part applies to its scheme only.
    for (const XMLElement *scheme : schemesOf(document->root())) {
        const QString schemeName = attributeString(scheme, "name");
        if (scheme == document->root() || schemeName == m_schemeName)
            readItems(scheme, path, m_user);
    }
    return true;
}

void KeyMap::setSchemeKeys(const QString &action, const Keys &keys)
{
    m_scheme.insert(action, keys);
}

KeyMap::Keys KeyMap::schemeKeys(const QString &action) const
{
    const auto it = m_scheme.constFind(action);
    return it != m_scheme.cend() ? it.value() : m_defaults.value(action);
}

KeyMap::Keys KeyMap::keys(const QString &action) const
{
    const auto it = m_user.constFind(action);
    return it != m_user.cend() ? it.value() : schemeKeys(action);
}

void KeyMap::setKeys(const QString &action, const Keys &keys)
{
    if (keys == schemeKeys(action))
        m_user.remove(action);
    else
        m_user.insert(action, keys);
}

void KeyMap::reset(const QString &action)
{
    m_user.remove(action);
}

QStringList KeyMap::actionNames() const
{
    QSet<QString> names;
    for (const QHash<QString, Keys> *layer : {&m_defaults, &m_scheme, &m_user}) {
        for (auto it = layer->cbegin(); it != layer->cend(); ++it)
            names.insert(it.key());
    }
    QStringList sorted(names.cbegin(), names.cend());
    sorted.sort();
    return sorted;
}

QStringList KeyMap::actionsUsing(const QKeySequence &key) const
{
    QStringList result;
    for (const QString &action : actionNames()) {
        const Keys assigned = keys(action);
        if (std::any_of(assigned.cbegin(), assigned.cend(), [&](const QKeySequence &k) { return overlaps(k, key); }))
            result.append(action);
    }
    return result;
}

std::vector<KeyMap::Clash> KeyMap::clashes() const
{
    // Every key in force with its action, sorted by key so that overlapping keys stand together.
    struct Use {
        QKeySequence key;
        QString action;
    };
    std::vector<Use> uses;
    for (const QString &action : actionNames()) {
        for (const QKeySequence &key : keys(action))
            uses.push_back({key, action});
    }
    std::sort(uses.begin(), uses.end(), [](const Use &a, const Use &b) {
        return a.key < b.key || (a.key == b.key && a.action < b.action);
    });
    std::vector<Clash> result;
    for (size_t i = 0; i < uses.size(); ++i) {
        Clash clash{uses[i].key, {uses[i].action}};
        // A sequence that starts another sorts right in front of it; gather the run.
        size_t j = i + 1;
        for (; j < uses.size() && overlaps(uses[i].key, uses[j].key); ++j) {
            if (!clash.actions.contains(uses[j].action))
                clash.actions.append(uses[j].action);
        }
        if (clash.actions.size() > 1) {
            clash.actions.sort();
            result.push_back(clash);
        }
        i = j - 1;
    }
    return result;
}

bool KeyMap::saveUser(const QString &path, QString *message) const
{
    XMLDocument document;
    document.setXmlVersion(xmlDuplicate("1.0"));
    document.setXmlEncoding(xmlDuplicate("UTF-8"));
    auto *root = new XMLElement(xmlDuplicate(rootName));
    document.setRoot(root);
    QStringList names = m_user.keys();
    names.sort();
    for (const QString &name : std::as_const(names)) {
        auto *item = new XMLElement(xmlDuplicate("item"));
        item->setAttribute(xmlDuplicate("name"), xmlDuplicate(name.toUtf8()));
        item->setAttribute(xmlDuplicate("key"), xmlDuplicate(keysText(m_user.value(name)).toUtf8()));
        root->appendChild(item);
    }
    const QString directory = QFileInfo(path).absolutePath();
    if (!QDir().mkpath(directory)) {
        *message = QStringLiteral("cannot make the folder %1").arg(QDir::toNativeSeparators(directory));
        return false;
    }
    QSaveFile file(path);
    const QByteArray bytes = document.saveBuffer(2, 0);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        *message = QStringLiteral("cannot write %1: %2").arg(QDir::toNativeSeparators(path), file.errorString());
        return false;
    }
    return true;
}

void KeyMap::apply(const Actions &actions) const
{
    for (VarnelAction *action : actions.sorted())
        action->setShortcuts(keys(action->objectName()));
}
