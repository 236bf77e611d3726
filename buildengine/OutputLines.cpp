#include "buildengine/OutputLines.h"
#include <QTextCodec>
#include <QTextDecoder>

namespace {

QTextCodec *codecFor(const QByteArray &name)
{
    QTextCodec *codec = QTextCodec::codecForName(name);
    return codec ? codec : QTextCodec::codecForName("UTF-8");
}

void appendLine(QStringList &lines, QStringView line)
{
    if (line.endsWith(u'\r'))
        line.chop(1);
    lines.append(line.toString());
}

} // namespace

OutputLines::OutputLines(const QByteArray &codecName)
    : m_decoder(std::make_unique<QTextDecoder>(codecFor(codecName)))
{
}

OutputLines::~OutputLines() = default;

QStringList OutputLines::add(const QByteArray &bytes)
{
    m_pending += m_decoder->toUnicode(bytes);
    QStringList lines;
    qsizetype start = 0;
    for (;;) {
        const qsizetype newline = m_pending.indexOf(u'\n', start);
        if (newline < 0)
            break;
        appendLine(lines, QStringView(m_pending).sliced(start, newline - start));
        start = newline + 1;
    }
    while (m_pending.size() - start > lineLimit) {
        lines.append(m_pending.mid(start, lineLimit));
        start += lineLimit;
    }
    m_pending.remove(0, start);
    return lines;
}

QStringList OutputLines::finish()
{
    QStringList lines;
    if (!m_pending.isEmpty())
        appendLine(lines, m_pending);
    m_pending.clear();
    return lines;
}
