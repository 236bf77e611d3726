#include "shell/MessageScheme.h"
#include "shell/SchemeFile.h"
#include <QAction>
#include <QFile>

namespace {

// Kept messages of one load; a file of a hundred thousand bad elements says so in a few lines.
constexpr int maxMessages = 100;
// Schemes based on schemes based on ...: deeper than this is a mistake in the files.
constexpr int maxBaseDepth = 32;

bool isElement(const XMLNode *node, const char *tag = nullptr)
{
    return node && node->kind() == XMLNode::Kind::Element
           && (!tag || qstrcmp(static_cast<const XMLElement *>(node)->name(), tag) == 0);
}

// Every element of that tag, `top` included, depth first in document order.
void collectSchemes(const XMLElement *top, std::vector<const XMLElement *> &result)
{
    std::vector<const XMLElement *> pending{top};
    while (!pending.empty()) {
        const XMLElement *element = pending.back();
        pending.pop_back();
        if (qstrcmp(element->name(), MessageScheme::rootName) != 0)
            continue;
        result.push_back(element);
        std::vector<const XMLElement *> children;
        for (const XMLNode *child = element->firstChild(); child; child = child->nextSibling()) {
            if (isElement(child, MessageScheme::rootName))
                children.push_back(static_cast<const XMLElement *>(child));
        }
        pending.insert(pending.end(), children.rbegin(), children.rend());
    }
}

QString stripMnemonic(const QString &text)
{
    QString result;
    result.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text.at(i) == u'&' && i + 1 < text.size())
            ++i;
        result.append(text.at(i));
    }
    return result;
}

} // namespace

MessageScheme::MessageScheme() : m_menuDocument(std::make_unique<XMLDocument>())
{
    m_menuDocument->setRoot(new XMLElement(xmlDuplicate("menus")));
}

MessageScheme::~MessageScheme() = default;

void MessageScheme::note(const QString &message)
{
    if (m_messages.size() < maxMessages)
        m_messages.append(message);
    else if (m_messages.size() == maxMessages)
        m_messages.append(QStringLiteral("(further messages are left out)"));
}

bool MessageScheme::load(const QString &installedPath, const QString &userPath, const QString &name)
{
    m_menuDocument = std::make_unique<XMLDocument>();
    m_menuDocument->setRoot(new XMLElement(xmlDuplicate("menus")));
    m_menuIndex.clear();
    m_lastInsertedAfter.clear();
    m_menuSizes.clear();
    m_texts.clear();
    m_textOrder.clear();
    m_name.clear();
    m_user.reset();
    m_installed = SchemeFile::read(installedPath, rootName, &m_messages);
    m_loaded = m_installed != nullptr;
    if (!m_loaded)
        return false;
    if (!userPath.isEmpty() && QFile::exists(userPath))
        m_user = SchemeFile::read(userPath, rootName, &m_messages);
    const XMLElement *scheme = nullptr;
    const SchemeFile *home = nullptr;
    for (const SchemeFile *document : {m_user.get(), m_installed.get()}) {
        if (document && !scheme && !name.isEmpty()) {
            scheme = findScheme(document, name);
            home = document;
        }
    }
    if (!scheme) {
        std::vector<const XMLElement *> all;
        collectSchemes(m_installed->root(), all);
        for (const XMLElement *candidate : all) {
            if (!attributeString(candidate, "name").isEmpty()) {
                scheme = candidate;
                break;
            }
        }
        scheme = scheme ? scheme : m_installed->root();
        home = m_installed.get();
        if (!name.isEmpty()) {
            note(QStringLiteral("message scheme '%1' not found; '%2' is used instead")
                     .arg(name, attributeString(scheme, "name")));
        }
    }
    m_name = attributeString(scheme, "name");
    std::vector<const XMLElement *> layers;
    QStringList seen;
    collectLayers(scheme, home, layers, seen);
    for (const XMLElement *layer : layers)
        mergeLayer(layer);
    return true;
}

const XMLElement *MessageScheme::findScheme(const SchemeFile *document, const QString &name)
{
    std::vector<const XMLElement *> all;
    collectSchemes(document->root(), all);
    for (const XMLElement *scheme : all) {
        if (attributeString(scheme, "name") == name)
            return scheme;
    }
    return nullptr;
}

QStringList MessageScheme::schemeNames() const
{
    QStringList names;
    for (const SchemeFile *document : {m_installed.get(), m_user.get()}) {
        if (!document)
            continue;
        std::vector<const XMLElement *> all;
        collectSchemes(document->root(), all);
        for (const XMLElement *scheme : all) {
            const QString name = attributeString(scheme, "name");
            if (!name.isEmpty() && !names.contains(name))
                names.append(name);
        }
    }
    return names;
}

// The layers of a scheme, deepest base first: the scheme named by `base`, then (for a scheme of
// the user's file) the installed scheme of the same name, then the scheme itself.
void MessageScheme::collectLayers(const XMLElement *scheme, const SchemeFile *document,
                                  std::vector<const XMLElement *> &layers, QStringList &seen)
{
    const QString name = attributeString(scheme, "name");
    const QString key = (document == m_user.get() ? QStringLiteral("user:") : QStringLiteral("installed:")) + name;
    if (seen.contains(key) || seen.size() >= maxBaseDepth) {
        note(fileMessage(document->path(), QStringLiteral("message scheme '%1' is based on itself").arg(name)));
        return;
    }
    seen.append(key);
    const QString base = attributeString(scheme, "base");
    if (!base.isEmpty() && base != name) {
        const XMLElement *found = nullptr;
        const SchemeFile *foundIn = nullptr;
        for (const SchemeFile *candidate : {document, static_cast<const SchemeFile *>(m_installed.get())}) {
            if (candidate && !found) {
                found = findScheme(candidate, base);
                foundIn = candidate;
            }
        }
        if (found)
            collectLayers(found, foundIn, layers, seen);
        else
            note(fileMessage(document->path(), QStringLiteral("message scheme '%1': base scheme '%2' not found").arg(name, base)));
    }
    if (document == m_user.get() && !name.isEmpty()) {
        if (const XMLElement *installed = findScheme(m_installed.get(), name))
            collectLayers(installed, m_installed.get(), layers, seen);
    }
    layers.push_back(scheme);
}

void MessageScheme::mergeLayer(const XMLElement *layer)
{
    for (const XMLNode *node = layer->firstChild(); node; node = node->nextSibling()) {
        if (!isElement(node))
            continue;
        const auto *child = static_cast<const XMLElement *>(node);
        const char *tag = child->name();
        if (qstrcmp(tag, "definemenu") == 0)
            mergeMenu(child);
        else if (qstrcmp(tag, "item") == 0)
            mergeTexts(child);
        else if (qstrcmp(tag, "dialogs") == 0)
            mergeList(child, "DialogsMenu");
        else if (qstrcmp(tag, "windows") == 0)
            mergeList(child, "WindowsMenu");
        else if (qstrcmp(tag, rootName) != 0)
            note(QStringLiteral("message scheme '%1': unknown element <%2> on line %3 is ignored")
                     .arg(m_name, QString::fromUtf8(tag)).arg(child->line() + 1));
    }
}

XMLElement *MessageScheme::menuElement(const QString &name)
{
    if (XMLElement *menu = m_menuIndex.value(name))
        return menu;
    XMLElement *menu = m_menuDocument->createElement(xmlDuplicate("definemenu"));
    menu->setAttribute(xmlDuplicate("name"), xmlDuplicate(name.toUtf8()));
    m_menuDocument->root()->appendChild(menu);
    m_menuIndex.insert(name, menu);
    return menu;
}

bool MessageScheme::hasRoom(const XMLElement *menu)
{
    int &size = m_menuSizes[menu];
    if (size < maxMenuEntries) {
        ++size;
        return true;
    }
    if (size == maxMenuEntries) {
        ++size;
        note(QStringLiteral("message scheme '%1': menu %2 holds %3 entries; the rest is left out")
                 .arg(m_name, attributeString(menu, "name"))
                 .arg(maxMenuEntries));
    }
    return false;
}

// Entries go into the merged menu one by one, up to its limit: the menus stay short, so finding
// an insertion point never walks far however many definitions a scheme holds.
void MessageScheme::mergeMenu(const XMLElement *definition)
{
    const QString name = attributeString(definition, "name");
    if (name.isEmpty())
        return;
    XMLElement *existing = m_menuIndex.value(name);
    if (!existing) {
        existing = m_menuDocument->createElement(xmlDuplicate("definemenu"));
        for (const XMLAttribute &attribute : definition->attributes())
            existing->setAttribute(xmlDuplicate(attribute.name), xmlDuplicate(attribute.value ? attribute.value : ""));
        m_menuDocument->root()->appendChild(existing);
        m_menuIndex.insert(name, existing);
        for (const XMLNode *child = definition->firstChild(); child; child = child->nextSibling()) {
            if (isElement(child) && hasRoom(existing))
                existing->appendChild(m_menuDocument->cloneNode(child, nullptr));
        }
        return;
    }
    const bool after = definition->hasAttribute("insert-after");
    const char *anchorName = definition->attribute(after ? "insert-after" : "insert-before");
    XMLNode *anchor = nullptr;
    XMLNode *beforeAnchor = nullptr;   // the node in front of the anchor, null when it is first
    if (after || definition->hasAttribute("insert-before")) {
        for (XMLNode *child = existing->firstChild(); child; child = child->nextSibling()) {
            if (isElement(child) && qstrcmp(static_cast<XMLElement *>(child)->attribute("name"), anchorName) == 0) {
                anchor = child;
                break;
            }
            beforeAnchor = child;
        }
    }
    XMLNode *previous = anchor && after ? m_lastInsertedAfter.value(anchor, anchor) : beforeAnchor;
    for (const XMLNode *child = definition->firstChild(); child; child = child->nextSibling()) {
        if (!isElement(child) || !hasRoom(existing))
            continue;
        XMLNode *copy = m_menuDocument->cloneNode(child, nullptr);
        if (!anchor)
            existing->appendChild(copy);
        else if (previous)
            existing->insertChildrenAfter(previous, copy);
        else
            existing->prependChild(copy);
        if (anchor)
            previous = copy;
    }
    if (anchor && after)
        m_lastInsertedAfter.insert(anchor, previous);
}

// A list of dialogs or dock windows becomes items of its menu (made if needed), each with the
// help page, the action that opens it and its style.
void MessageScheme::mergeList(const XMLElement *list, const char *defaultMenu)
{
    const QString menuName = list->hasAttribute("menu") ? attributeString(list, "menu") : QLatin1String(defaultMenu);
    XMLElement *menu = menuElement(menuName);
    for (const XMLNode *node = list->firstChild(); node; node = node->nextSibling()) {
        if (!isElement(node, "dialog") && !isElement(node, "window"))
            continue;
        const auto *entry = static_cast<const XMLElement *>(node);
        if (!hasRoom(menu))
            continue;
        XMLElement *item = m_menuDocument->createElement(xmlDuplicate("item"));
        for (const char *attribute : {"name", "url", "open-action", "style"}) {
            const char *value = entry->attribute(attribute);
            if (value && (*value || qstrcmp(attribute, "style") != 0))
                item->setAttribute(xmlDuplicate(attribute), xmlDuplicate(value));
        }
        menu->appendChild(item);
    }
}

void MessageScheme::mergeTexts(const XMLElement *item)
{
    const QString name = attributeString(item, "name");
    if (name.isEmpty())
        return;
    auto it = m_texts.find(name);
    if (it == m_texts.end()) {
        it = m_texts.insert(name, Texts());
        m_textOrder.append(name);
    }
    Texts &texts = it.value();
    const auto take = [item](const char *attribute, QString &text, bool &given) {
        if (item->hasAttribute(attribute)) {
            text = attributeString(item, attribute);
            given = true;
        }
    };
    take("text", texts.text, texts.hasText);
    take("menutext", texts.menuText, texts.hasMenuText);
    take("statustip", texts.statusTip, texts.hasStatusTip);
    take("whatsthis", texts.whatsThis, texts.hasWhatsThis);
    texts.whatsThis.replace(QLatin1String("\\n"), QLatin1String("\n"));
}

const XMLElement *MessageScheme::menuDefinition(const QString &menu) const
{
    return m_menuIndex.value(menu);
}

QStringList MessageScheme::menuNames() const
{
    QStringList names;
    for (const XMLNode *node = menus()->firstChild(); node; node = node->nextSibling()) {
        if (isElement(node))
            names.append(attributeString(static_cast<const XMLElement *>(node), "name"));
    }
    return names;
}

const MessageScheme::Texts *MessageScheme::texts(const QString &action) const
{
    const auto it = m_texts.constFind(action);
    return it == m_texts.cend() ? nullptr : &it.value();
}

int MessageScheme::applyTexts(const std::function<QAction *(const QString &)> &resolve) const
{
    int applied = 0;
    for (const QString &name : m_textOrder) {
        if (QAction *action = resolve(name)) {
            applyTexts(action, m_texts.value(name));
            ++applied;
        }
    }
    return applied;
}

void MessageScheme::applyTexts(QAction *action, const Texts &texts)
{
    if (texts.hasText) {
        action->setIconText(texts.text);
        action->setToolTip(stripMnemonic(texts.text));
    }
    if (texts.hasMenuText)
        action->setText(texts.menuText);
    else if (texts.hasText)
        action->setText(texts.text);
    if (texts.hasStatusTip)
        action->setStatusTip(texts.statusTip);
    if (texts.hasWhatsThis)
        action->setWhatsThis(texts.whatsThis);
}
