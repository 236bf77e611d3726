// Data memory, loops, locals, search order, files and output of the script engine.
#include "script/forth/ScriptEngine.h"
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <atomic>

namespace {

std::atomic<int> anonymousRegions{0};   // serial of "(ANON#%d)" across all engines

// Open modes by access method: bit 2 is BIN, which changes nothing on this platform; the low
// bits pick read-only, write-only, read-write, or write-only appending. Opening an existing
// file write-only must not cut it, so W/O opens for reading and writing.
constexpr QIODevice::OpenMode openModes[8] = {
    QIODevice::ReadOnly,
    QIODevice::ReadWrite,
    QIODevice::ReadWrite,
    QIODevice::WriteOnly | QIODevice::Append,
    QIODevice::ReadOnly,
    QIODevice::ReadWrite,
    QIODevice::ReadWrite,
    QIODevice::WriteOnly | QIODevice::Append,
};

} // namespace

PMemory *ScriptEngine::newRegion(const QString &name)
{
    PMemory *const region = m_iAllot.emplace_back(std::make_unique<PIMemory>()).get();
    region->name = name;
    m_currentRegion = region;
    return region;
}

PMemory *ScriptEngine::currentRegion()
{
    if (!m_currentRegion)
        newRegion(QStringLiteral("(ANON#%1)").arg(++anonymousRegions));
    return m_currentRegion;
}

void ScriptEngine::allot(qint64 cells)
{
    PMemory *const region = currentRegion();
    const qint64 size = region->size();
    if (cells < -size)
        forthThrow(-24, QStringLiteral("ALLOT below the start of %1").arg(region->name));
    if (cells > unused())
        forthThrow(-24, QStringLiteral("ALLOT of %1 cells exceeds the data space").arg(cells));
    region->cells.resize(size_t(size + cells));
    m_usedCells += cells;
}

void ScriptEngine::comma(const Cell &cell)
{
    allot(1);
    m_currentRegion->cells.back() = cell;
}

Cell ScriptEngine::here()
{
    PMemory *const region = currentRegion();
    return Cell::fromAddress(region, region->size());
}

Cell ScriptEngine::fetch(const Cell &address) const
{
    const PMemory *const region = address.toRegion();
    return region->fetch(address.integer);
}

void ScriptEngine::store(const Cell &address, const Cell &value)
{
    PMemory *const region = address.toRegion();
    region->store(address.integer, value);
}

void ScriptEngine::pushLoop(qint64 limit, qint64 index, pcode *start)
{
    if (m_loops.size() >= size_t(ForthStack::capacity))
        forthThrow(-7);
    m_loops.push_back({index, limit, start});
}

void ScriptEngine::noLoop()
{
    forthThrow(-26);
}

Cell &ScriptEngine::local(qint32 index)
{
    const size_t slot = size_t(m_localsBase) + size_t(index);
    if (index < 0 || slot >= m_locals.size())
        forthThrow(-269, QStringLiteral("local outside its definition"));
    return m_locals[slot];
}

Wordlist *ScriptEngine::wordlist(qint64 id) const
{
    if (id < 0 || id >= qint64(m_wordlists.size()))
        forthThrow(-266);
    return m_wordlists[size_t(id)].get();
}

Wordlist *ScriptEngine::newWordlist(const QString &name)
{
    if (m_wordlists.size() >= 65536)
        forthThrow(-266, QStringLiteral("too many word lists"));
    return m_wordlists.emplace_back(std::make_unique<Wordlist>(name, qint64(m_wordlists.size())))
        .get();
}

void ScriptEngine::setOrder(const std::vector<qint64> &order)
{
    if (order.size() > 8)
        forthThrow(-49);
    for (const qint64 id : order)
        wordlist(id);
    m_order = order;
}

void ScriptEngine::onlyOrder()
{
    m_order = {0};
}

QString ScriptEngine::resolveFileName(const QString &name) const
{
    if (m_fileRoot.isEmpty())
        return name;
    if (name.isEmpty() || QDir::isAbsolutePath(name) || name.contains(QLatin1Char('\\'))
        || name.split(QLatin1Char('/')).contains(QStringLiteral("..")))
        return {};
    return QDir(m_fileRoot).filePath(name);
}

qint64 ScriptEngine::openFile(const QString &name, int method, bool create, qint64 *ior)
{
    *ior = 0;
    const QString path = resolveFileName(name);
    if (method < 0 || method >= 8 || path.isEmpty()) {
        *ior = -38;
        return 0;
    }
    QIODevice::OpenMode mode = openModes[method];
    if (create)
        mode = (mode & QIODevice::Append) ? mode : (mode | QIODevice::Truncate);
    auto file = std::make_unique<QFile>(path);
    if (!create && !file->exists()) {
        *ior = -38;
        return 0;
    }
    if (!file->open(mode)) {
        *ior = -37;
        return 0;
    }
    for (size_t slot = 0; slot < m_files.size(); ++slot) {
        if (!m_files[slot]) {
            m_files[slot] = std::move(file);
            return qint64(slot) + 1;
        }
    }
    if (qint32(m_files.size()) >= m_limits.openFiles) {
        *ior = -37;
        return 0;
    }
    m_files.push_back(std::move(file));
    return qint64(m_files.size());
}

QFile *ScriptEngine::file(qint64 handle) const
{
    if (handle < 1 || handle > qint64(m_files.size()))
        return nullptr;
    return m_files[size_t(handle - 1)].get();
}

qint64 ScriptEngine::closeFile(qint64 handle)
{
    if (!file(handle))
        return -37;
    m_files[size_t(handle - 1)].reset();
    return 0;
}

void ScriptEngine::type(const QString &text)
{
    if (m_messages)
        m_messages->type(text);
}

void ScriptEngine::message(const QString &text)
{
    if (m_messages)
        m_messages->error(text);
}

int ScriptEngine::base() const
{
    const Cell &cell = m_baseRegion->cells.front();
    if (cell.type != CellType::Integer || cell.integer < 2 || cell.integer > 36)
        return 10;
    return int(cell.integer);
}

Cell ScriptEngine::makeString(const QString &text) const
{
    if (text.size() > m_limits.stringLength)
        forthThrow(-17);
    return Cell::fromString(text);
}
