#include "projects/MemoryMap.h"
#include "foundation/ExpressionParser.h"
#include "foundation/HException.h"
#include "foundation/Report.h"
#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <cstring>
#include <strings.h>
#include <vector>

namespace {

constexpr quint64 beyond32Bits = quint64(1) << 32;

// A literal that the expression language reads as the same number: decimal digits, or "0x" and
// hexadecimal digits, maybe behind one "+", with white space around. Most attributes of a map
// are such literals; reading them directly keeps a map of many thousand registers quick.
bool literalValue(QStringView text, qint64 &value)
{
    text = text.trimmed();
    if (text.startsWith(u'+'))
        text = text.mid(1).trimmed();
    int base = 10;
    qsizetype maxDigits = 18;   // below 2^63 whatever the digits
    if (text.startsWith(u"0x")) {
        text = text.mid(2);
        base = 16;
        maxDigits = 15;
    }
    if (text.isEmpty() || text.size() > maxDigits)
        return false;
    qint64 result = 0;
    for (const QChar c : text) {
        const char16_t u = c.unicode();
        const int digit = u >= '0' && u <= '9'                ? u - '0'
                          : base == 16 && u >= 'a' && u <= 'f' ? u - 'a' + 10
                          : base == 16 && u >= 'A' && u <= 'F' ? u - 'A' + 10
                                                               : -1;
        if (digit < 0)
            return false;
        result = result * base + digit;
    }
    value = result;
    return true;
}

bool passesBase(MemoryMapKind kind)
{
    return kind == MemoryMapKind::MemorySegment || kind == MemoryMapKind::ProgramSection
        || kind == MemoryMapKind::RegisterGroup;
}

bool hasPlainSize(MemoryMapKind kind)
{
    return kind == MemoryMapKind::Register || kind == MemoryMapKind::BitField
        || kind == MemoryMapKind::Enum;
}

// The first element from `element` on, depth first in document order, that `matches`. Without
// recursion: maps from packages may nest deeply.
template<typename Predicate>
MemoryMapElement *firstDepthFirst(MemoryMapElement *element, Predicate &&matches)
{
    std::vector<XMLNode *> pending;
    if (element)
        pending.push_back(element);
    while (!pending.empty()) {
        XMLNode *node = pending.back();
        pending.pop_back();
        MemoryMapElement *candidate = asMemoryMapElement(node);
        if (!candidate)
            continue;
        if (matches(candidate))
            return candidate;
        const size_t firstChild = pending.size();
        for (XMLNode *child = node->firstChild(); child; child = child->nextSibling())
            pending.push_back(child);
        std::reverse(pending.begin() + qsizetype(firstChild), pending.end());
    }
    return nullptr;
}

QString percentText(quint64 perMille)
{
    return QStringLiteral("%1.%2%").arg(perMille / 10).arg(perMille % 10);
}

} // namespace

MemoryMap::MemoryMap(quint8 documentFlag)
    : XMLPP2(0), m_documentFlag(documentFlag),
      m_parser(std::make_unique<SimpleExpressionParser>())
{
}

MemoryMap::~MemoryMap() = default;

XMLElement *MemoryMap::createElement(char *name)
{
    auto *element = new MemoryMapElement(name, m_documentFlag);
    const QString include = currentIncludeFile();
    if (!include.isEmpty()) {
        auto it = m_fileIndex.constFind(include);
        if (it == m_fileIndex.cend()) {
            it = m_fileIndex.insert(include, int(m_files.size()));
            m_files.append(include);
        }
        element->setSourceFile(it.value());
    }
    return element;
}

void MemoryMap::error(const QString &message)
{
    report(ReportChannel::Warning, message);
    XMLPP2::error(message);
}

int MemoryMap::load(const QString &path, const QString &macroDefinitions)
{
    m_fileName = path;
    m_macroDefinitions = macroDefinitions;
    m_files = QStringList{path};
    m_fileIndex.clear();
    m_fileIndex.insert(path, 0);
    return XMLPP2::load(path, macroDefinitions, true);
}

std::unique_ptr<MemoryMap> MemoryMap::open(const QString &path, const QString &macroDefinitions)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || QFileInfo(path).isDir())
        throw HException(QStringLiteral("%1: cannot open: %2")
                             .arg(path, QFileInfo(path).isDir() ? QStringLiteral("is a directory")
                                                                 : file.errorString()));
    file.close();
    auto map = std::make_unique<MemoryMap>();
    if (!map->load(path, macroDefinitions))
        throw HException(QStringLiteral("%1:%2: %3")
                             .arg(path)
                             .arg(map->errorLine() + 1)
                             .arg(QString::fromUtf8(map->errorText())));
    if (!map->root())
        throw HException(path + QStringLiteral(": no root element (empty or truncated file)"));
    return map;
}

QString MemoryMap::location(const XMLNode *node) const
{
    const MemoryMapElement *element = asMemoryMapElement(node);
    const int file = element ? element->sourceFile() : 0;
    const QString name = file < m_files.size() ? m_files.at(file) : m_fileName;
    return QStringLiteral("%1:%2").arg(name).arg(node ? node->line() + 1 : 0);
}

// ---- Addresses

void MemoryMap::calculateAddresses(MemoryMapElement *element, quint32 base)
{
    m_problems.clear();
    if (element)
        calculate(element, base, 0);
}

void MemoryMap::calculateAddresses()
{
    calculateAddresses(mapRoot(), 0);
}

void MemoryMap::calculate(MemoryMapElement *element, qint64 base, int depth)
{
    if (depth >= maxNesting) {
        m_problems.push_back({element, nullptr, {},
                              QStringLiteral("is nested deeper than %1 elements").arg(maxNesting),
                              true});
        return;
    }
    const MemoryMapKind kind = element->kind();
    qint64 childBase = base;
    if (element->hasStart()) {
        if (passesBase(kind))
            childBase = computeStart(element, base);
        else if (kind == MemoryMapKind::Register)
            (void)computeStart(element, base);
        else if (kind == MemoryMapKind::BitField || kind == MemoryMapKind::Enum)
            (void)computeStart(element, 0);
    }
    if (element->hasSize())
        computeSize(element);
    for (XMLNode *node = element->firstChild(); node; node = node->nextSibling()) {
        if (MemoryMapElement *child = asMemoryMapElement(node))
            calculate(child, childBase, depth + 1);
    }
}

qint64 MemoryMap::computeStart(MemoryMapElement *element, qint64 base)
{
    const QString text = element->startText();
    bool ok = false;
    const qint64 value = evaluate(element, "start", text, &ok);
    const qint64 start = !ok ? 0 : text.startsWith(u'+') ? qint64(quint64(value) + quint64(base))
                                                         : value;
    element->setStart(quint32(quint64(start)));
    element->setParsedValue(start);
    return start;
}

void MemoryMap::computeSize(MemoryMapElement *element)
{
    const QString text = element->sizeText();
    const MemoryMapKind kind = element->kind();
    if (passesBase(kind)) {
        bool ok = false;
        const qint64 value = evaluate(element, "size", text, &ok);
        if (!ok)
            return;
        element->setSize(quint32(quint64(value)));
        if (value < 0)
            m_problems.push_back({element, "size", text, QStringLiteral("is negative"), false});
        else if (quint64(value) >= beyond32Bits)
            m_problems.push_back(
                {element, "size", text, QStringLiteral("does not fit 32 bits"), false});
    } else if (hasPlainSize(kind)) {
        bool ok = false;
        const quint64 value = plainNumber(text, &ok);
        element->setSize(quint32(value));
        if (!ok)
            m_problems.push_back(
                {element, "size", text, QStringLiteral("is not a plain number"), false});
        else if (value >= beyond32Bits)
            m_problems.push_back(
                {element, "size", text, QStringLiteral("does not fit 32 bits"), false});
    }
}

qint64 MemoryMap::evaluate(const MemoryMapElement *element, const char *attribute,
                           const QString &text, bool *ok)
{
    qint64 value = 0;
    if (literalValue(text, value)) {
        *ok = true;
        return value;
    }
    value = m_parser->toLongLong(text, ok);
    if (!*ok) {
        const QString &why = m_parser->errorMessage();
        m_problems.push_back({element, attribute, text,
                              QStringLiteral("does not evaluate (%1)")
                                  .arg(why.isEmpty() ? QStringLiteral("no value") : why),
                              true});
    }
    return value;
}

QString MemoryMap::problemText(const EvaluationProblem &problem)
{
    if (!problem.attribute)
        return describe(problem.element) + u' ' + problem.message;
    return QStringLiteral("%1 %2 '%3' %4")
        .arg(describe(problem.element), QLatin1String(problem.attribute), problem.text,
             problem.message);
}

int MemoryMap::compareByStart(const MemoryMapElement *a, const MemoryMapElement *b)
{
    if (b->start() < a->start())
        return -1;
    return b->start() == a->start() ? 0 : 1;
}

// ---- Building

MemoryMapElement *MemoryMap::addElement(MemoryMapElement *parent, const char *tag,
                                        const QString &name, const QString &start,
                                        const QString &size, const QString &access,
                                        const QString &description)
{
    auto *element = static_cast<MemoryMapElement *>(createElement(xmlDuplicate(tag)));
    const std::pair<const char *, const QString *> attributes[] = {
        {"name", &name}, {"start", &start}, {"size", &size},
        {"access", &access}, {"description", &description},
    };
    for (const auto &[key, value] : attributes) {
        if (!value->isEmpty())
            element->setAttribute(xmlDuplicate(key), xmlDuplicate(value->toUtf8()));
    }
    if (parent)
        parent->appendChild(element);
    return element;
}

MemoryMapElement *MemoryMap::addRegisterGroup(MemoryMapElement *parent, const QString &name,
                                              const QString &start, const QString &size,
                                              const QString &access, const QString &description)
{
    return addElement(parent, "RegisterGroup", name, start, size, access, description);
}

MemoryMapElement *MemoryMap::addRegister(MemoryMapElement *parent, const QString &name,
                                         const QString &start, const QString &size,
                                         const QString &access, const QString &description)
{
    return addElement(parent, "Register", name, start, size, access, description);
}

MemoryMapElement *MemoryMap::addBitField(MemoryMapElement *parent, const QString &name,
                                         const QString &start, const QString &size,
                                         const QString &access, const QString &description)
{
    return addElement(parent, "BitField", name, start, size, access, description);
}

// ---- Look-ups

MemoryMapElement *MemoryMap::findElement(MemoryMapElement *element, MemoryMapKind kind,
                                         const char *attribute, const char *text,
                                         bool caseSensitive)
{
    return firstDepthFirst(element, [&](const MemoryMapElement *candidate) {
        if (candidate->kind() != kind)
            return false;
        if (!attribute)
            return true;
        const char *value = candidate->attribute(attribute);
        return value && text
            && (caseSensitive ? std::strcmp(value, text) : strcasecmp(value, text)) == 0;
    });
}

MemoryMapElement *MemoryMap::findByName(MemoryMapElement *element, MemoryMapKind kind,
                                        const QString &name)
{
    return firstDepthFirst(element, [&](const MemoryMapElement *candidate) {
        return candidate->kind() == kind && candidate->nameText() == name;
    });
}

std::unique_ptr<MemoryMapElement> MemoryMap::cloneTree(const MemoryMapElement *element)
{
    if (!element)
        return nullptr;
    auto top = std::make_unique<MemoryMapElement>(*element);
    std::vector<std::pair<const MemoryMapElement *, MemoryMapElement *>> pending{{element, top.get()}};
    while (!pending.empty()) {
        const auto [source, copy] = pending.back();
        pending.pop_back();
        for (const XMLNode *node = source->firstChild(); node; node = node->nextSibling()) {
            const MemoryMapElement *child = asMemoryMapElement(node);
            if (!child)
                continue;
            auto *childCopy = new MemoryMapElement(*child);
            copy->appendChild(childCopy);
            pending.emplace_back(child, childCopy);
        }
    }
    return top;
}

quint32 MemoryMap::registerBytes(const MemoryMapElement *element)
{
    return element->hasSize() ? element->size() : 4;
}

quint32 MemoryMap::fieldBits(const MemoryMapElement *element)
{
    return element->hasSize() ? element->size() : 1;
}

QString MemoryMap::hexText(quint64 value)
{
    return QStringLiteral("0x") + QString::number(value, 16).toUpper().rightJustified(8, u'0');
}

std::vector<MemoryMapElement *> MemoryMap::elementsInOrder(MemoryMapElement *top)
{
    std::vector<MemoryMapElement *> result;
    (void)firstDepthFirst(top, [&](MemoryMapElement *element) {
        result.push_back(element);
        return false;
    });
    return result;
}

QString MemoryMap::describe(const MemoryMapElement *element)
{
    const QString tag = QString::fromUtf8(element->XMLElement::name());
    return element->hasName() ? QStringLiteral("%1 '%2'").arg(tag, element->nameText())
                              : tag + QStringLiteral(" (unnamed)");
}

QString MemoryMap::usagePercent(quint64 part, quint64 whole)
{
    if (whole == 0)
        return percentText(0);
    return percentText(quint64((unsigned __int128)part * 1000 / whole));
}
