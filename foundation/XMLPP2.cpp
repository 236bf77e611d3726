#include "foundation/XMLPP2.h"
#include "foundation/ExpressionParser.h"
#include "foundation/PropertyClass.h"
#include <QDir>
#include <QFileInfo>
#include <QRegExp>
#include <QSet>
#include <cstring>
#include <vector>

namespace {

const QString prefix = QStringLiteral("XmlPP::processConditionals(): ");

QString utf8(const char *text)
{
    return QString::fromUtf8(text ? text : "");
}

QString attributeText(const XMLElement *element, const char *name)
{
    return utf8(element->attribute(name));
}

bool has(const XMLElement *element, const char *name)
{
    return element->hasAttribute(name) != 0;
}

bool isElement(const XMLNode *node)
{
    return node && node->kind() == XMLNode::Kind::Element;
}

QString tagOf(const XMLElement *element)
{
    return utf8(element->name());
}

// Unlinks `node` from its parent's chain, knowing the node in front of it.
void unlink(XMLNode *node, XMLNode *previous)
{
    XMLNode *next = node->nextSibling();
    if (previous)
        previous->setNextSibling(next);
    else if (node->parent())
        node->parent()->setFirstChild(next);
    node->setNextSibling(nullptr);
    node->setParent(nullptr);
}

// Deletes a node that is no longer linked anywhere.
void destroy(XMLNode *node)
{
    node->setNextSibling(nullptr);
    delete node;
}

qint64 countElements(const XMLNode *top)
{
    qint64 count = 0;
    std::vector<const XMLNode *> pending{top};
    while (!pending.empty()) {
        const XMLNode *node = pending.back();
        pending.pop_back();
        if (!isElement(node))
            continue;
        ++count;
        for (const XMLNode *child = node->firstChild(); child; child = child->nextSibling())
            pending.push_back(child);
    }
    return count;
}

QString hex(quint32 value)
{
    return QStringLiteral("0x") + QString::number(value, 16).toUpper();
}

// The canonical form when the file exists, so that two spellings of one file compare equal.
QString identityOf(const QString &path)
{
    const QFileInfo info(path);
    const QString canonical = info.canonicalFilePath();
    return canonical.isEmpty() ? QDir::cleanPath(info.absoluteFilePath()) : canonical;
}

} // namespace

// The state of one level of the walk: each nested level has its own table and switch.
struct XMLPP2::Walk {
    QString fileName;
    MacroTable table;
    bool expandMacros;
};

const XMLPP2::Directive XMLPP2::directives[] = {
    {"if", &XMLPP2::handleIf},           {"ifnot", &XMLPP2::handleIfnot},
    {"ifex", &XMLPP2::handleIfex},       {"ifdef", &XMLPP2::handleIfdef},
    {"ifndef", &XMLPP2::handleIfndef},   {"switch", &XMLPP2::handleSwitch},
    {"include", &XMLPP2::handleInclude}, {"define", &XMLPP2::handleDefine},
    {"for", &XMLPP2::handleFor},         {"xmldef", &XMLPP2::handleXmldef},
    {"xmlput", &XMLPP2::handleXmlput},   {"foreach", &XMLPP2::handleForeach},
};

XMLPP2::XMLPP2(int keepData) : QXMLDocument(keepData) {}

XMLPP2::~XMLPP2() = default;

int XMLPP2::load(const QString &path, const QString &macroDefinitions, bool expandMacros)
{
    if (!QXMLDocument::load(path))
        return 0;
    processNodes(root(), path, parseMacroDefinitions(macroDefinitions), expandMacros);
    return 1;
}

void XMLPP2::error(const QString &message)
{
    if (m_messages.size() < maxKeptMessages)
        m_messages.append(message);
}

bool XMLPP2::mayInclude(const QString &) const
{
    return true;
}

void XMLPP2::processNodes(XMLNode *firstNode, const QString &fileName, MacroTable macros,
                          bool expandMacros)
{
    if (!firstNode)
        return;
    XMLNode *parent = firstNode->parent();
    if (!parent) {
        processTopLevel(firstNode, fileName, std::move(macros), expandMacros);
        return;
    }
    XMLNode *previous = nullptr;
    for (XMLNode *node = parent->firstChild(); node && node != firstNode;
         node = node->nextSibling())
        previous = node;
    Walk walk{fileName, std::move(macros), expandMacros};
    walkChain(firstNode, previous, walk);
}

// The root has no parent to splice into, so it is walked below a stand-in parent that the
// document owns meanwhile; afterwards the first element left at the top is the root.
void XMLPP2::processTopLevel(XMLNode *firstNode, const QString &fileName, MacroTable macros,
                             bool expandMacros)
{
    const bool isRoot = firstNode == root();
    auto *holder = new XMLElement(xmlDuplicate("#document"));
    for (XMLNode *node = firstNode; node; node = node->nextSibling())
        node->setParent(holder);
    holder->setFirstChild(firstNode);
    if (isRoot)
        setRoot(holder);
    Walk walk{fileName, std::move(macros), expandMacros};
    walkChain(firstNode, nullptr, walk);

    XMLNode *chain = holder->firstChild();
    holder->setFirstChild(nullptr);
    XMLElement *newRoot = nullptr;
    while (chain) {
        XMLNode *node = chain;
        chain = node->nextSibling();
        node->setParent(nullptr);
        node->setNextSibling(nullptr);
        if (isRoot && !newRoot && isElement(node))
            newRoot = static_cast<XMLElement *>(node);
        else if (isRoot)
            delete node;   // a document holds one root
        else
            node->setNextSibling(chain);
    }
    if (isRoot)
        setRoot(newRoot);
    delete holder;
}

void XMLPP2::walkChildren(XMLNode *parent, const QString &fileName, MacroTable macros,
                          bool expandMacros)
{
    if (!parent->firstChild())
        return;
    if (m_depth >= m_limits.nesting) {
        const QString tag = isElement(parent) ? tagOf(static_cast<XMLElement *>(parent)) : "";
        error(prefix + QStringLiteral("<%1> in %2 is nested deeper than %3 levels")
                           .arg(tag, fileName)
                           .arg(m_limits.nesting));
        return;
    }
    ++m_depth;
    Walk walk{fileName, std::move(macros), expandMacros};
    walkChain(parent->firstChild(), nullptr, walk);
    --m_depth;
}

void XMLPP2::walkChain(XMLNode *node, XMLNode *previous, Walk &walk)
{
    while (node) {
        if (!isElement(node)) {   // text and CDATA at a processed level stay as they are
            previous = node;
            node = node->nextSibling();
            continue;
        }
        auto *element = static_cast<XMLElement *>(node);
        if (walk.expandMacros)
            expandAttributes(element, walk.table);
        Handler handler = nullptr;
        for (const Directive &directive : directives)
            if (std::strcmp(element->name(), directive.tag) == 0)
                handler = directive.handler;
        const Cursor cursor = handler ? (this->*handler)(element, previous, walk)
                                      : keep(element, walk);
        previous = cursor.previous;
        node = cursor.next;
    }
}

// ---- The three endings of a directive.

XMLPP2::Cursor XMLPP2::keep(XMLElement *element, Walk &walk)
{
    walkChildren(element, walk.fileName, walk.table, walk.expandMacros);
    return {element, element->nextSibling()};
}

XMLPP2::Cursor XMLPP2::remove(XMLElement *element, XMLNode *previous)
{
    XMLNode *next = element->nextSibling();
    unlink(element, previous);
    destroy(element);
    return {previous, next};
}

// Walks the children of `selected`, moves what is left of them to where `directive` stands
// and deletes the directive (with `selected` when that is one of its children).
XMLPP2::Cursor XMLPP2::hoist(XMLElement *directive, XMLNode *previous, XMLNode *selected,
                             const QString &fileName, MacroTable macros, bool expandMacros)
{
    walkChildren(selected, fileName, std::move(macros), expandMacros);
    XMLNode *chain = selected->firstChild();
    selected->setFirstChild(nullptr);
    return replaceByChain(directive, previous, chain);
}

XMLPP2::Cursor XMLPP2::replaceByChain(XMLNode *node, XMLNode *previous, XMLNode *chain)
{
    XMLNode *parent = node->parent();
    XMLNode *next = node->nextSibling();
    unlink(node, previous);
    destroy(node);
    if (!chain)
        return {previous, next};
    XMLNode *last = chain;
    for (XMLNode *link = chain; link; link = link->nextSibling()) {
        link->setParent(parent);
        last = link;
    }
    if (previous)
        previous->setNextSibling(chain);
    else
        parent->setFirstChild(chain);
    last->setNextSibling(next);
    return {last, next};
}

XMLPP2::Cursor XMLPP2::conditional(XMLElement *element, XMLNode *previous, Walk &walk,
                                   bool taken)
{
    if (!taken)
        return remove(element, previous);
    return hoist(element, previous, element, walk.fileName, walk.table, walk.expandMacros);
}

// ---- Conditionals.

int XMLPP2::matchesIf(XMLElement *element, Walk &walk)
{
    const std::span<const XMLAttribute> attributes = element->attributes();
    if (attributes.size() != 1) {
        error(prefix + QStringLiteral("one condition required for <if[not]>"));
        return -1;
    }
    const QString value = walk.table[utf8(attributes[0].name)];
    const QStringList items = utf8(attributes[0].value).split(u',', Qt::SkipEmptyParts);
    return items.contains(value) ? 1 : 0;
}

XMLPP2::Cursor XMLPP2::handleIf(XMLElement *element, XMLNode *previous, Walk &walk)
{
    const int match = matchesIf(element, walk);
    return match < 0 ? keep(element, walk) : conditional(element, previous, walk, match == 1);
}

XMLPP2::Cursor XMLPP2::handleIfnot(XMLElement *element, XMLNode *previous, Walk &walk)
{
    const int match = matchesIf(element, walk);
    return match < 0 ? keep(element, walk) : conditional(element, previous, walk, match == 0);
}

XMLPP2::Cursor XMLPP2::handleIfex(XMLElement *element, XMLNode *previous, Walk &walk)
{
    const QString text = attributeText(element, "expression");
    if (text.isEmpty())
        return keep(element, walk);
    if (!m_parser)
        m_parser = std::make_unique<SimpleExpressionParser>();
    bool ok = false;
    const QString expanded = expandMacros(PropertyClassList::global(), walk.table, text, false,
                                          false);
    const bool value = m_parser->toBoolean(expanded, &ok);
    return conditional(element, previous, walk, ok && value);
}

XMLPP2::Cursor XMLPP2::handleIfdef(XMLElement *element, XMLNode *previous, Walk &walk)
{
    return conditional(element, previous, walk,
                       walk.table.contains(attributeText(element, "name")));
}

XMLPP2::Cursor XMLPP2::handleIfndef(XMLElement *element, XMLNode *previous, Walk &walk)
{
    return conditional(element, previous, walk,
                       !walk.table.contains(attributeText(element, "name")));
}

XMLPP2::Cursor XMLPP2::handleSwitch(XMLElement *element, XMLNode *previous, Walk &walk)
{
    const QString value = walk.table[attributeText(element, "name")];
    XMLNode *selected = nullptr;
    XMLNode *fallback = nullptr;
    for (XMLNode *child = element->firstChild(); child && !selected; child = child->nextSibling()) {
        if (!isElement(child))
            continue;
        const auto *candidate = static_cast<const XMLElement *>(child);
        if (std::strcmp(candidate->name(), "case") == 0) {
            const QStringList values =
                attributeText(candidate, "value").split(u',', Qt::SkipEmptyParts);
            if (values.contains(value))
                selected = child;
        } else if (std::strcmp(candidate->name(), "default") == 0) {
            fallback = child;
        }
    }
    if (!selected)
        selected = fallback;
    if (!selected)
        return remove(element, previous);
    return hoist(element, previous, selected, walk.fileName, walk.table, walk.expandMacros);
}

// ---- Definitions.

int XMLPP2::evaluateInteger(const QString &text, bool *ok)
{
    if (!m_parser)
        m_parser = std::make_unique<SimpleExpressionParser>();
    bool evaluated = false;
    const int value = m_parser->toInteger(text, &evaluated);
    if (ok)
        *ok = evaluated;
    return evaluated ? value : 0;
}

XMLPP2::Cursor XMLPP2::handleDefine(XMLElement *element, XMLNode *previous, Walk &walk)
{
    const QString name = attributeText(element, "name");
    const auto evaluated = [&](const char *attribute, bool hexadecimal) {
        const QString text = expandMacros(PropertyClassList::global(), walk.table,
                                          attributeText(element, attribute), false, false);
        bool ok = false;
        const int value = evaluateInteger(text, &ok);
        if (ok)
            walk.table.insert(name, hexadecimal ? hex(quint32(value)) : QString::number(value));
    };
    if (!has(element, "name"))
        error(prefix + QStringLiteral("missing name in <define>"));
    else if (has(element, "value"))
        walk.table.insert(name, attributeText(element, "value"));
    else if (has(element, "expression"))
        evaluated("expression", false);
    else if (has(element, "hex_expression"))
        evaluated("hex_expression", true);
    else
        error(prefix + QStringLiteral("missing value or expression in <define>"));
    if (has(element, "expand_macros"))
        walk.expandMacros = attributeText(element, "expand_macros") == QLatin1String("Yes");
    return remove(element, previous);
}

XMLPP2::Cursor XMLPP2::handleXmldef(XMLElement *element, XMLNode *previous, Walk &walk)
{
    if (!has(element, "name"))
        return keep(element, walk);
    XMLNode *next = element->nextSibling();
    unlink(element, previous);
    m_xmldefs[attributeText(element, "name")].reset(element);
    return {previous, next};
}

XMLPP2::Cursor XMLPP2::handleXmlput(XMLElement *element, XMLNode *previous, Walk &walk)
{
    const QString name = attributeText(element, "name");
    const auto definition = m_xmldefs.find(name);
    if (!has(element, "name") || definition == m_xmldefs.end()) {
        error(prefix + QStringLiteral("xmlput cannot fine xmldef named ") + name);
        return keep(element, walk);
    }
    if (!takeElements(countElements(definition->second.get())))
        return {element, element->nextSibling()};
    const std::unique_ptr<XMLNode> clone(cloneNode(definition->second.get(), nullptr));
    if ((walk.expandMacros || has(element, "expand_macros")) && has(element, "macros")) {
        const QString definitions = attributeText(element, "macros").remove(u'\n');
        const MacroTable merged = mergeMacros(walk.table, parseMacroDefinitions(definitions));
        expandAttributes(element, merged);
        return hoist(element, previous, clone.get(), walk.fileName, merged, true);
    }
    if (walk.expandMacros)
        expandAttributes(element, walk.table);
    return hoist(element, previous, clone.get(), walk.fileName, walk.table, walk.expandMacros);
}

// ---- Attribute expansion and cloning.

void XMLPP2::expandAttributes(XMLElement *element, const MacroTable &macros)
{
    const PropertyClassList *system = PropertyClassList::global();
    const char macroCharacter = system ? char(system->macroCharacter.toLatin1()) : '$';
    std::vector<std::pair<QByteArray, QByteArray>> changes;
    for (const XMLAttribute &attribute : element->attributes()) {
        if (!attribute.value || !std::strchr(attribute.value, macroCharacter))
            continue;
        const QString value = utf8(attribute.value);
        bool truncated = false;
        const QString expanded = expandMacros(system, macros, value, false, false, &truncated);
        if (truncated) {
            error(prefix + QStringLiteral("attribute %1 of <%2> expands beyond %3 characters")
                               .arg(utf8(attribute.name), tagOf(element))
                               .arg(maxExpandedLength));
            continue;
        }
        if (expanded != value)
            changes.emplace_back(QByteArray(attribute.name), expanded.toUtf8());
    }
    for (const auto &[name, value] : changes)
        element->setAttribute(xmlDuplicate(name), xmlDuplicate(value));
}

bool XMLPP2::takeElements(qint64 count)
{
    if (m_createdElements + count <= m_limits.createdElements) {
        m_createdElements += count;
        return true;
    }
    if (!m_elementLimitReported)
        error(prefix + QStringLiteral("directives would make more than %1 elements")
                           .arg(m_limits.createdElements));
    m_elementLimitReported = true;
    return false;
}

XMLElement *XMLPP2::cloneExpanded(const XMLElement *element, const MacroTable &macros)
{
    const PropertyClassList *system = PropertyClassList::global();
    const char macroCharacter = system ? char(system->macroCharacter.toLatin1()) : '$';
    const auto copyOf = [&](const XMLElement *source) -> XMLElement * {
        if (!takeElements(1))
            return nullptr;
        XMLElement *copy = createElement(xmlDuplicate(source->name()));
        copy->setLine(source->line());
        for (const XMLAttribute &attribute : source->attributes()) {
            QByteArray value(attribute.value ? attribute.value : "");
            if (value.contains(macroCharacter))
                value = expandMacros(system, macros, utf8(attribute.value), false, false)
                            .toUtf8();
            copy->setAttribute(xmlDuplicate(attribute.name), xmlDuplicate(value));
        }
        return copy;
    };
    XMLElement *top = copyOf(element);
    // Iterative, so that any depth of fragment copies without deep recursion.
    std::vector<std::pair<const XMLElement *, XMLElement *>> pending;
    if (top)
        pending.emplace_back(element, top);
    while (!pending.empty()) {
        const auto [source, copy] = pending.back();
        pending.pop_back();
        for (const XMLNode *child = source->firstChild(); child; child = child->nextSibling()) {
            if (!isElement(child))
                continue;
            const auto *childElement = static_cast<const XMLElement *>(child);
            XMLElement *childCopy = copyOf(childElement);
            if (!childCopy)
                break;
            copy->appendChild(childCopy);
            pending.emplace_back(childElement, childCopy);
        }
    }
    return top;
}

// ---- Loops.

bool XMLPP2::appendRound(const XMLElement *loop, const MacroTable &round, Chain &chain)
{
    for (XMLNode *child = loop->firstChild(); isElement(child); child = child->nextSibling()) {
        XMLElement *clone = cloneExpanded(static_cast<const XMLElement *>(child), round);
        if (!clone)
            return false;
        if (chain.last)
            chain.last->setNextSibling(clone);
        else
            chain.first = clone;
        chain.last = clone;
    }
    return true;
}

XMLPP2::Cursor XMLPP2::replaceByClones(XMLElement *loop, XMLNode *previous, const Chain &chain)
{
    const Cursor cursor = replaceByChain(loop, previous, chain.first);
    return {previous, chain.first ? chain.first : cursor.next};
}

XMLPP2::Cursor XMLPP2::handleFor(XMLElement *element, XMLNode *previous, Walk &walk)
{
    if (!has(element, "index") || !has(element, "start") || !has(element, "end")
        || !has(element, "incr") || !element->firstChild()) {
        error(prefix
              + QStringLiteral("<for index=\"i\" start=\"0\" end=\"32\" incr=\"1\">"));
        return remove(element, previous);
    }
    const auto evaluated = [&](const char *name) {
        return evaluateInteger(expandMacros(PropertyClassList::global(), walk.table,
                                            attributeText(element, name), false, false));
    };
    const qint32 offset = has(element, "add") ? evaluated("add")
                          : has(element, "sub") ? qint32(0u - quint32(evaluated("sub")))
                                                : 0;
    const qint32 mul = has(element, "mul") ? evaluated("mul") : 1;
    const qint32 start = evaluateInteger(attributeText(element, "start"));
    const qint32 end = evaluateInteger(attributeText(element, "end"));
    const qint32 incr = evaluateInteger(attributeText(element, "incr"));
    const QString index = attributeText(element, "index");
    Chain chain;
    if (start < end && isElement(element->firstChild())) {
        if (incr == 0) {
            error(prefix + QStringLiteral("<for index=\"%1\"> never ends: incr is 0").arg(index));
            return remove(element, previous);
        }
        // 32-bit values that wrap around as they grow, shown unsigned.
        quint32 i = quint32(start);
        quint32 ap = quint32(mul) * quint32(start) + quint32(offset);
        quint32 alpha = quint32(start) + 65u;
        qint64 rounds = 0;
        // One table whose five values are replaced each round: no map is rebuilt per round.
        MacroTable round;
        const MacroTable::iterator value = round.insert(index, {});
        const MacroTable::iterator alphaValue = round.insert(index + QStringLiteral("_alpha"), {});
        const MacroTable::iterator hexValue = round.insert(index + QStringLiteral("_hex"), {});
        const MacroTable::iterator apValue = round.insert(index + QStringLiteral("_ap"), {});
        const MacroTable::iterator apHexValue = round.insert(index + QStringLiteral("_ap_hex"), {});
        do {
            *value = QString::number(i);
            *alphaValue = QString(QChar(char16_t(alpha)));
            *hexValue = hex(i);
            *apValue = QString::number(ap);
            *apHexValue = hex(ap);
            if (!appendRound(element, round, chain))
                break;
            if (++rounds >= m_limits.loopRounds) {
                error(prefix + QStringLiteral("<for index=\"%1\"> stopped after %2 rounds")
                                   .arg(index)
                                   .arg(rounds));
                break;
            }
            i += quint32(incr);
            ap += quint32(mul) * quint32(incr);
            alpha += quint32(incr);
        } while (end > qint32(i));
    }
    return replaceByClones(element, previous, chain);
}

// The loop variables of a foreach with their entries, read in attribute order: split_by,
// expand_macros and the exclusions change how the attributes behind them are read.
std::vector<XMLPP2::LoopVariable> XMLPP2::foreachVariables(const XMLElement *element,
                                                           const MacroTable &table)
{
    QString separator = QStringLiteral(",");
    bool expand = false;
    QStringList excluded;
    QSet<QString> excludedSet;
    QList<QRegExp> patterns;
    std::vector<LoopVariable> variables;
    for (const XMLAttribute &attribute : element->attributes()) {
        const QString name = utf8(attribute.name);
        QString value = utf8(attribute.value);
        if (expand)
            value = expandMacros(PropertyClassList::global(), table, value, false, false);
        if (name == QLatin1String("split_by")) {
            separator = value;
            continue;
        }
        if (name == QLatin1String("expand_macros")) {
            expand = true;
            continue;
        }
        value.remove(u'\r').remove(u'\n');
        const QStringList items = value.split(separator);
        if (name == QLatin1String("exclude_entries")) {
            excluded += items;
            excludedSet.unite(QSet<QString>(items.begin(), items.end()));
            continue;
        }
        if (name == QLatin1String("exclude_wildcard")) {
            for (const QString &pattern : items)
                patterns.append(QRegExp(pattern, Qt::CaseSensitive, QRegExp::Wildcard));
            continue;
        }
        const QSet<QString> present(items.begin(), items.end());
        for (const QString &entry : std::as_const(excluded))
            if (!present.contains(entry))
                error(prefix + QStringLiteral("exclude_entries cannot find entry named ") + entry);
        LoopVariable variable{name, {}};
        for (const QString &item : items) {
            bool matched = excludedSet.contains(item);
            for (qsizetype p = 0; p < patterns.size() && !matched; ++p)
                matched = patterns.at(p).indexIn(item) >= 0;
            if (!matched)
                variable.entries.append(item);
        }
        variables.push_back(std::move(variable));
    }
    return variables;
}

XMLPP2::Cursor XMLPP2::handleForeach(XMLElement *element, XMLNode *previous, Walk &walk)
{
    const std::vector<LoopVariable> variables = foreachVariables(element, walk.table);
    // The cartesian product, the first variable running slowest, through one table whose
    // values are replaced as the positions move.
    Chain chain;
    std::vector<qsizetype> position(variables.size(), 0);
    MacroTable round;
    std::vector<MacroTable::iterator> values;
    bool done = !isElement(element->firstChild());
    for (const LoopVariable &variable : variables) {
        done = done || variable.entries.isEmpty();
        values.push_back(round.insert(variable.name, {}));
    }
    while (!done) {
        for (size_t v = 0; v < variables.size(); ++v)
            *values[v] = variables[v].entries.at(position[v]);
        if (!appendRound(element, round, chain))
            break;
        qsizetype v = qsizetype(variables.size()) - 1;
        while (v >= 0 && ++position[size_t(v)] == variables[size_t(v)].entries.size())
            position[size_t(v--)] = 0;
        done = v < 0;
    }
    return replaceByClones(element, previous, chain);
}

// ---- Includes.

XMLElement *XMLPP2::loadInclude(const QString &path)
{
    XMLElement *saved = root();
    const bool loaded = QXMLDocument::load(path) != 0;
    XMLElement *result = root();
    setRoot(saved);
    if (!loaded && result) {
        error(prefix + QStringLiteral("error \"") + utf8(errorText())
              + QStringLiteral("\" in include file ") + path + QStringLiteral(" line:")
              + QString::number(errorLine()));
    } else if (!result) {
        error(prefix + QStringLiteral("error: include file '%1' is empty").arg(path));
    }
    if (!loaded || !result) {
        if (result && result != saved)
            delete result;
        return nullptr;
    }
    return result;
}

XMLPP2::Cursor XMLPP2::handleInclude(XMLElement *element, XMLNode *previous, Walk &walk)
{
    if (!has(element, "filename")) {
        error(prefix + QStringLiteral("missing filename in <include>"));
        return keep(element, walk);
    }
    QString path = expandMacros(PropertyClassList::global(), MacroTable(),
                                attributeText(element, "filename"), false, true);
    if (QDir::isRelativePath(path))
        path = QFileInfo(walk.fileName).path() + u'/' + path;
    const Cursor stay{element, element->nextSibling()};
    const QString identity = identityOf(path);
    if (m_includeChain.size() >= m_limits.includeDepth) {
        const qsizetype first = m_includeChain.lastIndexOf(identity);
        if (first >= 0)
            error(prefix + QStringLiteral("include cycle: ")
                  + (m_includeChain.mid(first) << identity).join(QStringLiteral(" -> ")));
        else
            error(prefix + QStringLiteral("includes nested deeper than %1 levels at %2")
                               .arg(m_limits.includeDepth)
                               .arg(path));
        return stay;
    }
    if (++m_includeCount > m_limits.includeFiles) {
        error(prefix + QStringLiteral("more than %1 include files read, %2 refused")
                           .arg(m_limits.includeFiles)
                           .arg(path));
        return stay;
    }
    if (!mayInclude(path)) {
        error(prefix + QStringLiteral("include file %1 is not allowed here").arg(path));
        return stay;
    }
    m_includeFiles.append(path);
    XMLElement *newRoot = loadInclude(path);
    if (!newRoot) {
        m_includeFiles.removeLast();
        return stay;
    }

    XMLNode *parent = element->parent();
    XMLNode *next = element->nextSibling();
    unlink(element, previous);
    const std::unique_ptr<XMLElement> include(element);
    newRoot->setParent(parent);
    if (previous)
        previous->setNextSibling(newRoot);
    else
        parent->setFirstChild(newRoot);
    newRoot->setNextSibling(next);

    const bool envelope = std::strcmp(newRoot->name(), "envelope") == 0;
    m_includeChain.append(identity);
    walkIncluded(include.get(), newRoot, path, walk);
    m_includeChain.removeLast();
    m_includeFiles.removeLast();
    const QStringList inherited =
        attributeText(include.get(), "inherit_attributes").split(u';', Qt::SkipEmptyParts);
    for (const QString &name : inherited) {
        const QByteArray key = name.toUtf8();
        if (const char *value = include->attribute(key.constData()))
            newRoot->setAttribute(xmlDuplicate(key), xmlDuplicate(value));
    }
    if (!envelope && !has(include.get(), "no_root"))
        return {newRoot, next};
    XMLNode *chain = newRoot->firstChild();
    newRoot->setFirstChild(nullptr);
    return replaceByChain(newRoot, previous, chain);
}

// The table logic of xmlput, with the attributes of the included root expanded.
void XMLPP2::walkIncluded(XMLElement *include, XMLElement *newRoot, const QString &path,
                          Walk &walk)
{
    if ((walk.expandMacros || has(include, "expand_macros")) && has(include, "macros")) {
        const QString definitions = attributeText(include, "macros").remove(u'\n');
        const MacroTable merged = mergeMacros(walk.table, parseMacroDefinitions(definitions));
        expandAttributes(newRoot, merged);
        walkChildren(newRoot, path, merged, true);
        return;
    }
    if (walk.expandMacros)
        expandAttributes(newRoot, walk.table);
    walkChildren(newRoot, path, walk.table, walk.expandMacros);
}
