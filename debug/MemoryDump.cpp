#include "debug/MemoryDump.h"
#include "debug/MemoryAccessException.h"
#include "debug/MemoryBlock.h"
#include "debug/SymbolicDebuggerInterface.h"

MemoryDump::~MemoryDump() = default;

bool MemoryDump::dump(quint64 address, qint64 length, const std::function<void(const QString &)> &line)
{
    bool complete = true;
    for (qint64 done = 0; done < length; done += bytesPerLine) {
        const int count = int(qMin<qint64>(bytesPerLine, length - done));
        const quint64 at = address + quint64(done);
        unsigned char bytes[bytesPerLine] = {};
        bool readable[bytesPerLine];
        try {
            m_target.readMemory(at, 1, count, reinterpret_cast<char *>(bytes));
            std::fill(readable, readable + count, true);
        } catch (const MemoryAccessException &) {
            // Byte by byte, so that what can be read still shows.
            for (int i = 0; i < count; ++i) {
                try {
                    m_target.readMemory(at + quint64(i), 1, 1, reinterpret_cast<char *>(bytes + i));
                    readable[i] = true;
                } catch (const MemoryAccessException &) {
                    readable[i] = false;
                    complete = false;
                }
            }
        }
        line(formatLine(at, bytes, readable, count));
    }
    return complete;
}

QString MemoryDump::formatLine(quint64 address, const unsigned char *bytes, const bool *readable,
                               int count) const
{
    QString text = QStringLiteral("0x%1: ").arg(address, 8, 16, QLatin1Char('0'));
    QString characters;
    for (int i = 0; i < count; ++i) {
        if (i > 0)
            text += u' ';
        text += readable[i] ? QStringLiteral("%1").arg(bytes[i], 2, 16, QLatin1Char('0')) : QStringLiteral("??");
        characters += readable[i] && bytes[i] >= 32 && bytes[i] < 127 ? QChar(bytes[i]) : QChar(u'.');
    }
    return text + QStringLiteral("  ") + characters;
}

EntryDumper::EntryDumper(SymbolicDebuggerInterface &target, int entryWidth, bool bigEndian)
    : MemoryDump(target), m_entryWidth(entryWidth == 2 || entryWidth == 4 || entryWidth == 8 ? entryWidth : 1),
      m_bigEndian(bigEndian)
{
}

QString EntryDumper::formatLine(quint64 address, const unsigned char *bytes, const bool *readable,
                                int count) const
{
    QString text = QStringLiteral("0x%1:").arg(address, 8, 16, QLatin1Char('0'));
    for (int i = 0; i < count; i += m_entryWidth) {
        const int width = qMin(m_entryWidth, count - i);
        bool whole = true;
        for (int j = 0; j < width; ++j)
            whole = whole && readable[i + j];
        text += u' ';
        if (!whole) {
            text += QString(width * 2, u'?');
            continue;
        }
        const quint64 entry = MemoryWords::decode(reinterpret_cast<const char *>(bytes + i), width, m_bigEndian);
        text += QStringLiteral("%1").arg(entry, width * 2, 16, QLatin1Char('0'));
    }
    return text;
}
