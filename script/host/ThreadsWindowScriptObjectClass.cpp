#include "script/host/DebugScriptObjectClass.h"
#include "script/es/ESContext.h"

namespace {

// The functions carry the full names they have in the debugger's own script object.
constexpr HostFunctionRow threadsRows[] = {
    {0, "clear", 0, "Debug.prototype.clear", nullptr},
    {1, "newqueue", 0, "Debug.prototype.newqueue", nullptr},
    {2, "add", 1, "Debug.prototype.add", nullptr},
    {3, "setColumns", 0, "Debug.prototype.setColumns", nullptr},
    {4, "setSortByNumber", 0, "Debug.prototype.setSortByNumber", nullptr},
    {5, "setColor", 0, "Debug.prototype.setColor", nullptr},
    {6, "setColumns2", 0, "Debug.prototype.setColumns", nullptr},
    {7, "newqueue2", 0, "Debug.prototype.newqueue2", nullptr},
    {8, "add2", 1, "Debug.prototype.add2", nullptr},
    {9, "shown", 1, "Debug.prototype.shown", nullptr},
};

// The texts of an array argument, or of each argument when the first is no array.
QStringList textsOf(ESNativeCall &call)
{
    ESContext &context = call.context;
    QStringList texts;
    const ESValue first = call.argument(0);
    if (first.isObject() && first.object && context.isArray(first.object)) {
        const double length = context.toNumber(context.get(first.object, context.names().length));
        for (double i = 0; i < length && i < HostArguments::maxByteArrayLength; ++i)
            texts.append(context.toESString(context.get(first.object, context.valueToAtom(ESValue::fromNumber(i)))));
        return texts;
    }
    for (int i = 0; i < call.argumentCount; ++i)
        texts.append(context.toESString(call.arguments[i]));
    return texts;
}

} // namespace

ThreadsWindowScriptObjectClass::ThreadsWindowScriptObjectClass(const HostServices &services, int limit)
    : HostClass(QStringLiteral("Threads"), threadsRows), m_services(services), m_limit(limit)
{
}

QString ThreadsWindowScriptObjectClass::limitText(int limit)
{
    return QStringLiteral("Maximum thread number ") + QString::number(limit)
           + QStringLiteral(" to display has been reached. The project property Thread Maximum sets "
                            "this value.");
}

QStringList ThreadsWindowScriptObjectClass::viewText() const
{
    QStringList lines;
    if (!m_columns.isEmpty())
        lines.append(m_columns.join(u'\t'));
    for (const Queue &queue : m_queues) {
        if (!queue.name.isEmpty())
            lines.append(queue.name);
        for (const QStringList &row : queue.rows)
            lines.append(row.join(u'\t'));
    }
    if (m_limitReached)
        lines.append(limitText(m_limit));
    return lines;
}

void ThreadsWindowScriptObjectClass::addRow(ESNativeCall &call)
{
    if (m_rowCount >= m_limit) {
        if (!m_limitReached && m_services.note)
            m_services.note(limitText(m_limit));
        m_limitReached = true;
        call.setResult(ESValue::boolean(false));
        return;
    }
    if (m_queues.empty())
        m_queues.push_back({});
    QStringList row = textsOf(call);
    m_queues.back().rows.push_back(std::move(row));
    ++m_rowCount;
    call.setResult(ESValue::boolean(true));
}

bool ThreadsWindowScriptObjectClass::callHost(int id, ESNativeCall &call)
{
    ESContext &context = call.context;
    switch (id) {
    case 0:
        m_queues.clear();
        m_rowCount = 0;
        m_limitReached = false;
        break;
    case 1:
    case 7: m_queues.push_back({context.toESString(call.argument(0)), {}}); break;
    case 2:
    case 8: addRow(call); return true;
    case 3:
    case 6: m_columns = textsOf(call); break;
    case 4: m_sortByNumber = HostArguments::flag(call, 0, true); break;
    case 5: m_color = context.toESString(call.argument(0)); break;
    case 9:
        if (!call.argument(0).isUndefined())
            m_shown = context.toBoolean(call.argument(0));
        call.setResult(ESValue::boolean(m_shown));
        return true;
    default: return false;
    }
    call.setResult(ESValue::undefined());
    return true;
}
