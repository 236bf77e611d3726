#include "buildengine/BuildLog.h"
#include "buildengine/DiagnosticParser.h"
#include <QStringList>

namespace {

constexpr const char *severityNames[] = {"", "", "note", "warning", "error", "error"};

[[nodiscard]] bool propagates(int type)
{
    return (type & LogItemFlag::NoPropagation) == 0;
}

void count(LogCounts &counts, Severity severity)
{
    switch (severity) {
    case Severity::Error:
    case Severity::Fatal:
        ++counts.errors;
        break;
    case Severity::Warning:
        ++counts.warnings;
        break;
    case Severity::Note:
        ++counts.notes;
        break;
    case Severity::Plain:
        break;
    }
}

void appendText(const BuildLogItem &item, int depth, QString &out)
{
    out += QString(depth * 2, u' ');
    const auto severity = static_cast<size_t>(item.shownSeverity());
    if (severity < std::size(severityNames) && severityNames[severity][0] != '\0')
        out += QLatin1String(severityNames[severity]) + QLatin1String(": ");
    out += item.text();
    const Bookmark &bookmark = item.bookmark();
    if (bookmark.hasLocation())
        out += QStringLiteral(" [%1:%2:%3]").arg(bookmark.path).arg(bookmark.line).arg(bookmark.column);
    out += u'\n';
    for (const auto &child : item.children())
        appendText(*child, depth + 1, out);
}

} // namespace

BuildLogItem::BuildLogItem(BuildLogItem *parent, QString text, int type, Bookmark bookmark)
    : m_parent(parent), m_text(std::move(text)), m_type(type), m_shown(severityOf(type)),
      m_bookmark(std::move(bookmark)), m_startTime(QDateTime::currentDateTime())
{
}

BuildLog::BuildLog(QObject *parent)
    : QObject(parent), m_root(std::make_unique<BuildLogItem>(nullptr, QString(), 0)),
      m_parser(std::make_unique<StandardDiagnosticParser>())
{
}

BuildLog::~BuildLog() = default;

BuildLogItem *BuildLog::currentGroup() const
{
    return m_openGroups.empty() ? m_root.get() : m_openGroups.back();
}

BuildLogItem *BuildLog::addItem(BuildLogItem *parent, const QString &text, int type,
                                const Bookmark &bookmark)
{
    if (!parent)
        parent = currentGroup();
    auto owned = std::make_unique<BuildLogItem>(parent, text, type, bookmark);
    BuildLogItem *item = owned.get();
    parent->m_children.push_back(std::move(owned));
    const Severity severity = item->severity();
    for (BuildLogItem *above = parent; above && propagates(type); above = above->m_parent) {
        count(above->m_counts, severity);
        above->m_shown = qMax(above->m_shown, severity);
    }
    emit itemAdded(item);
    return item;
}

BuildLogItem *BuildLog::openGroup(BuildLogItem *parent, const QString &title)
{
    return addItem(parent, title, 0);
}

LogCounts BuildLog::counts() const
{
    LogCounts total;
    for (const auto &item : m_root->m_children) {
        total.errors += item->m_counts.errors;
        total.warnings += item->m_counts.warnings;
        total.notes += item->m_counts.notes;
        if (propagates(item->type()))
            count(total, item->severity());
    }
    return total;
}

QString BuildLog::text(const BuildLogItem *from) const
{
    QString out;
    if (from) {
        appendText(*from, 0, out);
        return out;
    }
    for (const auto &item : m_root->m_children)
        appendText(*item, 0, out);
    return out;
}

void BuildLog::beginGroup(const QString &title)
{
    m_openGroups.push_back(openGroup(nullptr, title));
}

void BuildLog::endGroup()
{
    if (!m_openGroups.empty())
        m_openGroups.pop_back();
}

void BuildLog::addError(const QString &text)
{
    addItem(nullptr, text, int(Severity::Error));
    emit error(text);
}

void BuildLog::addWarning(const QString &text)
{
    addItem(nullptr, text, int(Severity::Warning));
    emit warning(text);
}

void BuildLog::addNote(const QString &text)
{
    addItem(nullptr, text, int(Severity::Note));
    emit note(text);
}

void BuildLog::addSuccess(const QString &text)
{
    addItem(nullptr, text, int(Severity::Plain));
    emit message(text);
}

void BuildLog::addMessage(const QString &text)
{
    if (text == QLatin1String("Idle"))
        return;
    addItem(nullptr, text, int(Severity::Plain));
    emit message(text);
}

void BuildLog::processOutput(const QString &text)
{
    QStringList lines = text.split(u'\n');
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    for (QString &line : lines) {
        if (line.endsWith(u'\r'))
            line.chop(1);
        Bookmark bookmark;
        if (m_parser->parseLine(line, bookmark, QString()))
            addProcessedOutput(bookmark);
        else
            addPlainOutput(line);
    }
}

void BuildLog::addProcessedOutput(const Bookmark &bookmark)
{
    addItem(nullptr, bookmark.text.isEmpty() ? bookmark.message : bookmark.text,
            int(bookmark.severity), bookmark);
}

void BuildLog::addPlainOutput(const QString &text)
{
    if (m_showUnparsed)
        addItem(nullptr, text, int(Severity::Plain));
}

void BuildLog::addResult(const QString &text, bool failed)
{
    const int type = failed ? int(Severity::Error) | LogItemFlag::ClosingFailed
                            : LogItemFlag::Closing;
    m_openGroups.clear();
    addItem(m_root.get(), text, type | LogItemFlag::NoPropagation);
}

void BuildLog::terminated()
{
    m_openGroups.clear();
    addItem(m_root.get(), QStringLiteral("Build terminated"),
            int(Severity::Error) | LogItemFlag::ClosingFailed | LogItemFlag::NoPropagation);
}

void BuildLog::clear()
{
    m_openGroups.clear();
    m_located = nullptr;
    m_root = std::make_unique<BuildLogItem>(nullptr, QString(), 0);
    emit cleared();
}

void BuildLog::fileLinesChanged(const QString &path, int line, int delta)
{
    std::vector<BuildLogItem *> pending{m_root.get()};
    while (!pending.empty()) {
        BuildLogItem *item = pending.back();
        pending.pop_back();
        Bookmark &bookmark = item->m_bookmark;
        if (bookmark.line >= line && bookmark.path == path)
            bookmark.line = qMax(line, bookmark.line + delta);
        for (const auto &child : item->m_children)
            pending.push_back(child.get());
    }
}

std::vector<BuildLogItem *> BuildLog::locatableItems() const
{
    std::vector<BuildLogItem *> items;
    std::vector<BuildLogItem *> pending{m_root.get()};
    while (!pending.empty()) {
        BuildLogItem *item = pending.back();
        pending.pop_back();
        if (item->m_bookmark.hasLocation() && item->severity() != Severity::Plain)
            items.push_back(item);
        for (auto it = item->m_children.rbegin(); it != item->m_children.rend(); ++it)
            pending.push_back(it->get());
    }
    return items;
}

void BuildLog::locate(int step)
{
    const std::vector<BuildLogItem *> items = locatableItems();
    if (items.empty())
        return;
    const auto found = std::find(items.begin(), items.end(), m_located);
    qsizetype index = found == items.end() ? (step > 0 ? -1 : qsizetype(items.size()))
                                           : found - items.begin();
    const qsizetype size = qsizetype(items.size());
    index = ((index + step) % size + size) % size;
    m_located = items[size_t(index)];
    emit locateBookmark(m_located->m_bookmark);
}

void BuildLog::locateItem(BuildLogItem *item)
{
    m_located = item;
    if (item && item->m_bookmark.hasLocation())
        emit locateBookmark(item->m_bookmark);
}

void BuildLog::locateNext()
{
    locate(1);
}

void BuildLog::locatePrevious()
{
    locate(-1);
}

QString BuildLog::copy() const
{
    return m_located ? text(m_located) : QString();
}

QString BuildLog::copyAll() const
{
    return text();
}

void BuildLog::showView(int view)
{
    m_view = view;
    emit viewChanged(view);
}
