#include "script/forth/Source.h"

LineSource::LineSource(QString name, const QString &text) : Source(std::move(name))
{
    m_lines = text.split(QLatin1Char('\n'));
    if (!m_lines.isEmpty() && m_lines.last().isEmpty() && text.endsWith(QLatin1Char('\n')))
        m_lines.removeLast();
    for (QString &line : m_lines) {
        if (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
    }
}

bool LineSource::refill(ScriptEngine &)
{
    if (m_next >= m_lines.size())
        return false;
    buffer = m_lines.at(m_next++);
    pos = 0;
    ++lineNumber;
    return true;
}
