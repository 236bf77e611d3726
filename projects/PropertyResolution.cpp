// How a value is found for an element in a configuration, and the macros that expand it.
#include "foundation/PropertyClass.h"
#include "projects/StandardProjectSystem.h"
#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <iterator>

namespace {

// Macros the build derives from a property of the element: expanded values of directories.
struct DerivedMacro {
    const char *name;
    ProjectProperty row;
};

constexpr DerivedMacro derivedMacros[] = {
    {"IntDir", ProjectProperty::BuildIntermediateDirectory},
    {"OutDir", ProjectProperty::BuildOutputDirectory},
    {"RootOutDir", ProjectProperty::BuildRootOutputDirectory},
    {"ToolChainDir", ProjectProperty::BuildToolchainDirectory},
};
constexpr std::size_t derivedCount = std::size(derivedMacros);

// The macros in which a file differs from the folder or project that holds it.
const std::array<QString, 8> &fileMacroNames()
{
    static const std::array<QString, 8> names = {
        QStringLiteral("ProjectNodeName"), QStringLiteral("InputPath"),
        QStringLiteral("InputName"),       QStringLiteral("InputExt"),
        QStringLiteral("InputFileName"),   QStringLiteral("InputDir"),
        QStringLiteral("RelInputPath"),    QStringLiteral("RelInputDir"),
    };
    return names;
}

const QString &derivedName(std::size_t index)
{
    static const std::array<QString, derivedCount> names = {
        QStringLiteral("IntDir"), QStringLiteral("OutDir"), QStringLiteral("RootOutDir"),
        QStringLiteral("ToolChainDir")};
    return names[index];
}

// The extensions a build gives its outputs.
constexpr const char *executableExtension = ".elf";
constexpr const char *libraryExtension = ".a";
constexpr const char *objectExtension = ".o";
constexpr const char *packageExtension = ".qvPackage";

QString latin(const char *text)
{
    return QString::fromLatin1(text);
}

// A value that a build macro can never hold, to find out whether an expansion looked a macro up.
QString probeValue()
{
    return QString(QChar(1));
}

// `relative` below `directory`, with "." and ".." folded only when there are any.
QString joinPath(const QString &directory, const QString &relative)
{
    if (relative.startsWith(u'/') || directory.isEmpty())
        return QDir::cleanPath(relative);
    const QString joined = directory + u'/' + relative;
    if (relative.contains(QLatin1String("./")) || relative.contains(QLatin1String("//"))
        || relative.endsWith(u'.'))
        return QDir::cleanPath(joined);
    return joined;
}

void layOver(MacroTable &table, const QString &definitions, QSet<QString> &userKeys)
{
    QString text = definitions;
    text.remove(u'\r').remove(u'\n');
    const MacroTable parsed = parseMacroDefinitions(text);
    for (auto it = parsed.constBegin(); it != parsed.constEnd(); ++it) {
        table.insert(it.key(), it.value());
        userKeys.insert(it.key());
    }
}

} // namespace

// A text expanded once for all files below one holder: the file macros stand as placeholders
// to be filled in per file. `places` alternate with the literal runs of `literals`:
// literals[0] places[0] literals[1] ... places[n-1] literals[n].
struct ExpansionTemplate {
    bool valid = false;
    QStringList literals;
    std::vector<int> places;   // index into fileMacroNames()
    unsigned wanted = 0;       // bit i: places holds i
};

struct StandardProjectSystem::MacroCacheEntry {
    MacroTable table;
    QSet<QString> userKeys;   // defined by `macros`: the build's own values do not replace them
    bool userDefinesFileMacro = false;   // userKeys holds one of fileMacroNames()
    std::array<bool, derivedCount> userDefinesDerived{};
    // Per derived macro: true when the value in `table` is what every file below gets that
    // holds neither a value of the row nor macros of its own; false when the expansion looked
    // up a macro that differs per file.
    std::array<bool, derivedCount> fileReusable{};
    // Texts expanded for the files below, by unexpanded text (see expandForFile).
    mutable QHash<QString, ExpansionTemplate> templates;
    mutable const ExpansionTemplate *lastTemplate = nullptr;   // files ask for one text in a row
    mutable QString lastTemplateText;
};

// The macros of one file: its own few over the table of the element that holds it.
struct StandardProjectSystem::FileMacros {
    const MacroCacheEntry *base = nullptr;
    MacroTable overlay;
};

QString StandardProjectSystem::resolveProperty(const ProjectElement *element,
                                               const PropertyClass *propertyClass,
                                               const QString &configuration,
                                               PropertyTrace *trace) const
{
    const QString common = QStringLiteral("Common");
    const bool isCommon = configuration == common;
    const bool aggregate = propertyClass->type == PropertyClass::List;
    const QString &name = propertyClass->name;
    QString value;
    bool found = false;
    // True when the search stops at this contribution.
    auto take = [&](const ProjectElement *at, const QString &holderName) {
        const QString *stored = at->findValue(holderName, name);
        if (!stored)
            return false;
        if (trace)
            trace->push_back({*stored, at, holderName, false});
        found = true;
        if (!aggregate) {
            value = *stored;
            return true;
        }
        value = value.isEmpty() ? *stored : *stored + u';' + value;
        return false;
    };
    for (const ProjectElement *at = element; at; at = at->parentElement()) {
        if (at->configurations().empty())
            continue;
        if (take(at, configuration))
            break;
        if (isCommon)
            continue;
        bool stop = false;
        for (const QString &inherited : inheritedConfigurations(at, configuration)) {
            if ((stop = take(at, inherited)))
                break;
        }
        if (stop || take(at, common))
            break;
    }
    if (!found || aggregate) {
        if (!aggregate)
            value = propertyClass->defaultValue;
        if (trace)
            trace->push_back({propertyClass->defaultValue, nullptr, QString(), true});
    }
    return value;
}

bool StandardProjectSystem::holdsValue(const ProjectElement *element,
                                       const PropertyClass *row) const
{
    for (const auto &[configuration, holder] : element->configurations())
        if (element->findValue(configuration, row->name))
            return true;
    return false;
}

namespace {

// What the top of the tree defines for every element below it.
void addTopMacros(MacroTable &table, const QString &configuration)
{
    table.insert(QStringLiteral("Configuration"), configuration);
    table.insert(QStringLiteral("EXE"), latin(executableExtension));
    table.insert(QStringLiteral("LIB"), latin(libraryExtension));
    table.insert(QStringLiteral("OBJ"), latin(objectExtension));
    table.insert(QStringLiteral("PackageExt"), latin(packageExtension));
}

// The element's own names and places by its kind, over the table its parent left.
void addElementMacros(const StandardProjectSystem &system, const ProjectElement *element,
                      const QString &configuration, MacroTable &table)
{
    const QString name = element->elementName();
    table.insert(QStringLiteral("ProjectNodeName"), name);
    switch (element->kind()) {
    case ProjectElement::Kind::Solution: {
        const QFileInfo file(element->filePath().text());
        table.insert(QStringLiteral("SolutionDir"), file.absolutePath());
        table.insert(QStringLiteral("SolutionPath"), file.absoluteFilePath());
        table.insert(QStringLiteral("SolutionFileName"), file.fileName());
        table.insert(QStringLiteral("SolutionExt"), file.suffix());
        table.insert(QStringLiteral("SolutionName"),
                     name.isEmpty() ? file.completeBaseName() : name);
        break;
    }
    case ProjectElement::Kind::Project: {
        table.insert(QStringLiteral("ProjectName"), name);
        table.insert(QStringLiteral("FolderName"), QString());
        table.insert(QStringLiteral("FolderPath"), QString());
        const QString directory = expandMacros(
            PropertyClassList::global(), table,
            system.resolveProperty(element, system.propertyClass(ProjectProperty::ProjectDirectory),
                            configuration),
            true, true);
        const QString base = QFileInfo(element->filePath().text()).absolutePath();
        table.insert(QStringLiteral("ProjectDir"),
                     directory.isEmpty() ? base : joinPath(base, directory));
        break;
    }
    case ProjectElement::Kind::Folder: {
        const QString above = table.value(QStringLiteral("FolderPath"));
        table.insert(QStringLiteral("FolderName"), name);
        table.insert(QStringLiteral("FolderPath"), above.isEmpty() ? name : above + u'/' + name);
        break;
    }
    default:
        break;
    }
}

} // namespace

const StandardProjectSystem::MacroCacheEntry &
StandardProjectSystem::nodeMacros(const ProjectElement *element,
                                  const QString &configuration) const
{
    const QPair<const ProjectElement *, QString> key(element, configuration);
    if (m_lastMacros.first == element && m_lastMacros.second && m_lastConfiguration == configuration)
        return *m_lastMacros.second;
    if (const auto it = m_macroCache.constFind(key); it != m_macroCache.constEnd()) {
        m_lastMacros = {element, it.value().get()};
        m_lastConfiguration = configuration;
        return *it.value();
    }
    auto entry = std::make_shared<MacroCacheEntry>();
    MacroTable &table = entry->table;
    const ProjectElement *parent = element->parentElement();
    if (parent) {
        const MacroCacheEntry &above = nodeMacros(parent, configuration);
        table = above.table;
        entry->userKeys = above.userKeys;
    } else {
        addTopMacros(table, configuration);
    }
    addElementMacros(*this, element, configuration, table);
    const PropertyClass *macrosRow = propertyClass(ProjectProperty::Macros);
    if (!parent || holdsValue(element, macrosRow))
        layOver(table, resolveProperty(element, macrosRow, configuration), entry->userKeys);
    else
        for (const QString &key : std::as_const(entry->userKeys))
            table.insert(key, nodeMacros(parent, configuration).table.value(key));

    MacroTable probe = table;
    for (const QString &fileMacro : fileMacroNames()) {
        probe.insert(fileMacro, probeValue());
        entry->userDefinesFileMacro |= entry->userKeys.contains(fileMacro);
    }
    for (std::size_t i = 0; i < derivedCount; ++i)
        probe.insert(derivedName(i), probeValue());
    for (std::size_t i = 0; i < derivedCount; ++i) {
        const QString &macro = derivedName(i);
        if ((entry->userDefinesDerived[i] = entry->userKeys.contains(macro)))
            continue;
        const QString raw = resolveProperty(element, propertyClass(derivedMacros[i].row),
                                            configuration);
        table.insert(macro, expandMacros(PropertyClassList::global(), table, raw, true, true));
        entry->fileReusable[i] =
            !expandMacros(PropertyClassList::global(), probe, raw, true, true).contains(QChar(1));
    }
    return *m_macroCache.insert(key, std::move(entry)).value();
}

std::array<QString, 8> StandardProjectSystem::fileMacroValues(const ProjectElement *file,
                                                              const MacroTable &table,
                                                              unsigned wanted) const
{
    std::array<QString, 8> values;
    values[0] = file->elementName();
    if (!(wanted & ~1u))
        return values;
    const QString projectDirectory = table.value(QStringLiteral("ProjectDir"));
    QString fileName = QString::fromUtf8(file->attribute("file_name"));
    if (fileName.contains(u'$'))
        fileName = expandMacros(PropertyClassList::global(), table, fileName, true, true);
    const bool plain = !fileName.startsWith(u'/') && !fileName.contains(QLatin1String(".."))
                    && !fileName.contains(QLatin1String("./"))
                    && !fileName.contains(QLatin1String("//"));
    // Paths are made only when asked for; the name parts come from the relative form.
    const bool wantsPath = wanted & (1u << 1 | 1u << 5) || !plain;
    const QString inputPath = wantsPath ? joinPath(projectDirectory, fileName) : QString();
    const QString relative =
        plain ? fileName : QDir(projectDirectory).relativeFilePath(inputPath);
    const QStringView nameSource = plain ? QStringView(fileName) : QStringView(inputPath);
    const QStringView inputFileName = nameSource.mid(nameSource.lastIndexOf(u'/') + 1);
    const qsizetype dot = inputFileName.lastIndexOf(u'.');
    values[1] = inputPath;
    values[2] = (dot < 0 ? inputFileName : inputFileName.left(dot)).toString();
    if (wanted & (1u << 3))
        values[3] = dot < 0 ? QString() : inputFileName.mid(dot + 1).toString();
    if (wanted & (1u << 4))
        values[4] = inputFileName.toString();
    if (wanted & (1u << 5)) {
        const qsizetype slash = inputPath.lastIndexOf(u'/');
        values[5] = slash < 0 ? QString() : inputPath.left(slash);
    }
    values[6] = relative;
    const qsizetype relativeSlash = relative.lastIndexOf(u'/');
    if (wanted & (1u << 7))
        values[7] = relativeSlash < 0 ? QStringLiteral(".") : relative.left(relativeSlash);
    return values;
}

StandardProjectSystem::FileMacros
StandardProjectSystem::fileMacros(const ProjectElement *file, const QString &configuration) const
{
    FileMacros macros;
    macros.base = &nodeMacros(file->parentElement(), configuration);
    const MacroCacheEntry &base = *macros.base;
    MacroTable &overlay = macros.overlay;
    const auto &names = fileMacroNames();
    const std::array<QString, 8> values = fileMacroValues(file, base.table, 0xffu);
    for (std::size_t i = 0; i < names.size(); ++i)
        overlay.insert(names[i], values[i]);

    const PropertyClass *macrosRow = propertyClass(ProjectProperty::Macros);
    const bool ownMacros = holdsValue(file, macrosRow);
    QSet<QString> userKeys;
    if (ownMacros) {
        userKeys = base.userKeys;
        MacroTable own = overlay;
        layOver(own, resolveProperty(file, macrosRow, configuration), userKeys);
        overlay = std::move(own);
    } else if (base.userDefinesFileMacro) {
        for (const QString &name : names)
            if (base.userKeys.contains(name))
                overlay.insert(name, base.table.value(name));
    }
    for (std::size_t i = 0; i < derivedCount; ++i) {
        const QString &macro = derivedName(i);
        if (ownMacros ? userKeys.contains(macro) : base.userDefinesDerived[i])
            continue;
        const PropertyClass *row = propertyClass(derivedMacros[i].row);
        if (!ownMacros && base.fileReusable[i] && !holdsValue(file, row))
            continue;   // the holder's value stands for the file too
        overlay.insert(macro, expandMacros(PropertyClassList::global(), overlay, base.table,
                                           resolveProperty(file, row, configuration), true,
                                           true));
    }
    return macros;
}

QString StandardProjectSystem::projectDirectory(const ProjectElement *element,
                                               const QString &configuration) const
{
    const ProjectElement *project = projectOf(element);
    return project ? nodeMacros(project, configuration).table.value(QStringLiteral("ProjectDir"))
                   : QString();
}

MacroTable StandardProjectSystem::macroTable(const ProjectElement *element,
                                             const QString &configuration) const
{
    if (!element)
        return {};
    if (element->kind() == ProjectElement::Kind::File && element->parentElement()) {
        const FileMacros macros = fileMacros(element, configuration);
        return mergeMacros(macros.base->table, macros.overlay);
    }
    return nodeMacros(element, configuration).table;
}

QString StandardProjectSystem::expand(const ProjectElement *element,
                                      const QString &configuration, const QString &text,
                                      const MacroTable &extra) const
{
    if (!element || !text.contains(u'$'))
        return text;
    if (element->kind() == ProjectElement::Kind::File && element->parentElement()) {
        if (extra.isEmpty()) {
            QString expanded;
            if (expandFromTemplate(element, configuration, text, expanded))
                return expanded;
        }
        const FileMacros macros = fileMacros(element, configuration);
        return expandMacros(PropertyClassList::global(),
                            extra.isEmpty() ? macros.overlay : mergeMacros(macros.overlay, extra),
                            macros.base->table, text, true, true);
    }
    const MacroTable &table = nodeMacros(element, configuration).table;
    return expandMacros(PropertyClassList::global(), extra, table, text, true, true);
}

QString StandardProjectSystem::expandedProperty(const ProjectElement *element,
                                                const PropertyClass *propertyClass,
                                                const QString &configuration,
                                                const MacroTable &extra) const
{
    return expand(element, configuration, resolveProperty(element, propertyClass, configuration),
                  extra);
}

// Whether a file takes all its macros from its holder but for the file macros: it holds no
// `macros` and no value of a row a macro is derived from, and the holder's derived macros do
// not depend on the file.
bool StandardProjectSystem::sharesHolderMacros(const ProjectElement *file,
                                               const MacroCacheEntry &base) const
{
    if (base.userDefinesFileMacro)
        return false;
    for (std::size_t i = 0; i < derivedCount; ++i)
        if (!base.fileReusable[i] && !base.userDefinesDerived[i])
            return false;
    for (const auto &[configuration, holder] : file->configurations()) {
        for (const auto &[name, value] : holder->properties()) {
            if (name == propertyClass(ProjectProperty::Macros)->name)
                return false;
            for (std::size_t i = 0; i < derivedCount; ++i)
                if (name == propertyClass(derivedMacros[i].row)->name)
                    return false;
        }
    }
    return true;
}

// `text` expanded for a file by filling its file macros into the expansion made once for its
// holder. Equal to the full expansion whenever it answers: the holder's expansion must have
// left no macro character (so no later pass could have looked at a filled-in value), and the
// filled-in values must hold none either.
bool StandardProjectSystem::expandFromTemplate(const ProjectElement *file,
                                               const QString &configuration,
                                               const QString &text, QString &expanded) const
{
    const MacroCacheEntry &base = nodeMacros(file->parentElement(), configuration);
    if (!sharesHolderMacros(file, base))
        return false;
    if (!base.lastTemplate || base.lastTemplateText != text) {
        auto it = base.templates.find(text);
        if (it == base.templates.end())
            it = base.templates.insert(text, makeTemplate(base, text));
        base.lastTemplate = &it.value();
        base.lastTemplateText = text;
    }
    const ExpansionTemplate &pattern = *base.lastTemplate;
    if (!pattern.valid)
        return false;
    std::array<QString, 8> values;
    if (!pattern.places.empty()) {
        values = fileMacroValues(file, base.table, pattern.wanted);
        for (const int place : pattern.places)
            if (values[size_t(place)].contains(u'$'))
                return false;
    }
    expanded = pattern.literals.first();
    for (std::size_t i = 0; i < pattern.places.size(); ++i) {
        expanded += values[size_t(pattern.places[i])];
        expanded += pattern.literals[qsizetype(i) + 1];
    }
    return true;
}

ExpansionTemplate StandardProjectSystem::makeTemplate(const MacroCacheEntry &base,
                                                      const QString &text) const
{
    ExpansionTemplate pattern;
    constexpr char16_t firstPlaceholder = 0xE000;
    const auto &names = fileMacroNames();
    auto usesPlaceholders = [&](const QString &value) {
        for (const QChar character : value)
            if (character.unicode() >= firstPlaceholder
                && character.unicode() < firstPlaceholder + names.size())
                return true;
        return false;
    };
    // Texts that could reach the clock, or that hold the placeholders themselves, are
    // expanded in full every time.
    auto unsuitable = [&](const QString &value) {
        return usesPlaceholders(value) || value.contains(QLatin1String("Date"))
            || value.contains(QLatin1String("Time"));
    };
    if (unsuitable(text))
        return pattern;
    for (auto it = base.table.constBegin(); it != base.table.constEnd(); ++it)
        if (unsuitable(it.value()))
            return pattern;
    MacroTable overlay;
    for (std::size_t i = 0; i < names.size(); ++i)
        overlay.insert(names[i], QString(QChar(char16_t(firstPlaceholder + i))));
    const QString probe =
        expandMacros(PropertyClassList::global(), overlay, base.table, text, true, true);
    if (probe.contains(u'$'))
        return pattern;
    QString literal;
    for (const QChar character : probe) {
        const char16_t code = character.unicode();
        if (code >= firstPlaceholder && code < firstPlaceholder + names.size()) {
            pattern.literals.append(literal);
            pattern.places.push_back(int(code - firstPlaceholder));
            pattern.wanted |= 1u << (code - firstPlaceholder);
            literal.clear();
        } else {
            literal += character;
        }
    }
    pattern.literals.append(literal);
    pattern.valid = true;
    return pattern;
}

void StandardProjectSystem::invalidateCaches()
{
    ++m_cacheGeneration;
    m_lastMacros = {};
    m_macroCache.clear();
}
