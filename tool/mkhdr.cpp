// mkhdr: writes a C header of register addresses from a memory-map file.
//
//   mkhdr MEMORYMAP HEADER [GUARD]
//
// Each RegisterGroup and MemorySegment with a name and a start gives "<NAME>_BASE"; each
// Register gives "<NAME>", an lvalue of its width (its size in bytes: 1, 2, 4 or 8; 4 when it
// names none) at its address, and "<NAME>_ADDRESS". A register's start that begins with "+" is
// an offset from the enclosing group. Each BitField (start = first bit, size = bits) gives
// "<REGISTER>_<FIELD>_BIT" and "<REGISTER>_<FIELD>_MASK". Names are made upper case with
// anything that can't stand in a C name turned into "_".
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QXmlStreamReader>
#include <cstdio>
#include <vector>

namespace {

constexpr qint64 inputLimit = qint64(64) * 1024 * 1024;
constexpr int depthLimit = 64;

struct Scope {
    QString name;
    quint64 start = 0;
};

[[nodiscard]] QString identifier(const QString &name)
{
    QString out;
    for (const QChar c : name)
        out += c.isLetterOrNumber() && c.unicode() < 128 ? c.toUpper() : QChar(u'_');
    if (out.isEmpty() || out.at(0).isDigit())
        out.prepend(u'_');
    return out;
}

[[nodiscard]] bool number(QStringView text, quint64 &value)
{
    bool ok = false;
    value = text.startsWith(u"0x", Qt::CaseInsensitive) ? text.mid(2).toULongLong(&ok, 16)
                                                         : text.toULongLong(&ok, 10);
    return ok;
}

[[nodiscard]] const char *typeOfSize(quint64 size)
{
    switch (size) {
    case 1:
        return "uint8_t";
    case 2:
        return "uint16_t";
    case 8:
        return "uint64_t";
    default:
        return "uint32_t";
    }
}

class HeaderWriter {
public:
    explicit HeaderWriter(QXmlStreamReader &reader) : m_reader(reader) {}
    [[nodiscard]] bool write(QByteArray &out, QString &error);

private:
    [[nodiscard]] bool element(QByteArray &out, QString &error);

    QXmlStreamReader &m_reader;
    std::vector<Scope> m_scopes;
};

bool HeaderWriter::element(QByteArray &out, QString &error)
{
    const QXmlStreamAttributes attributes = m_reader.attributes();
    const QStringView tag = m_reader.name();
    const QString name = attributes.value(QLatin1String("name")).toString();
    const QStringView startText = attributes.value(QLatin1String("start"));
    quint64 start = m_scopes.empty() ? 0 : m_scopes.back().start;
    if (!startText.isEmpty()) {
        const bool offset = startText.startsWith(u'+');
        quint64 value = 0;
        if (!number(offset ? startText.mid(1) : startText, value)) {
            error = QStringLiteral("line %1: bad start '%2'").arg(m_reader.lineNumber()).arg(startText);
            return false;
        }
        start = offset ? start + value : value;
    }
    quint64 size = 0;
    const bool sized = number(attributes.value(QLatin1String("size")), size);
    const QString id = identifier(name);
    if (!name.isEmpty() && !startText.isEmpty()) {
        if (tag == u"RegisterGroup" || tag == u"MemorySegment") {
            out += QStringLiteral("#define %1_BASE 0x%2\n").arg(id).arg(start, 0, 16).toUtf8();
        } else if (tag == u"Register") {
            out += QStringLiteral("#define %1 (*(volatile %2 *)0x%3)\n#define %1_ADDRESS 0x%3\n")
                       .arg(id, QLatin1String(typeOfSize(sized ? size : 4)))
                       .arg(start, 0, 16).toUtf8();
        }
    }
    if (tag == u"BitField" && !name.isEmpty() && !m_scopes.empty() && sized && size > 0 && size <= 64) {
        quint64 bit = 0;
        if (number(startText, bit) && bit < 64) {
            const quint64 mask = (size == 64 ? ~quint64(0) : ((quint64(1) << size) - 1)) << bit;
            const QString field = identifier(m_scopes.back().name) + u'_' + id;
            out += QStringLiteral("#define %1_BIT %2\n#define %1_MASK 0x%3\n").arg(field).arg(bit).arg(mask, 0, 16).toUtf8();
        }
    }
    if (m_scopes.size() >= depthLimit) {
        error = QStringLiteral("line %1: elements nested deeper than %2").arg(m_reader.lineNumber()).arg(depthLimit);
        return false;
    }
    m_scopes.push_back({name.isEmpty() && !m_scopes.empty() ? m_scopes.back().name : name, start});
    return true;
}

bool HeaderWriter::write(QByteArray &out, QString &error)
{
    while (!m_reader.atEnd()) {
        switch (m_reader.readNext()) {
        case QXmlStreamReader::StartElement:
            if (!element(out, error))
                return false;
            break;
        case QXmlStreamReader::EndElement:
            if (!m_scopes.empty())
                m_scopes.pop_back();
            break;
        default:
            break;
        }
    }
    if (m_reader.hasError()) {
        error = QStringLiteral("line %1: %2").arg(m_reader.lineNumber()).arg(m_reader.errorString());
        return false;
    }
    return true;
}

int fail(const QString &message)
{
    std::fprintf(stderr, "mkhdr: %s\n", message.toUtf8().constData());
    return 1;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 3 || argc > 4) {
        std::fprintf(stderr, "usage: mkhdr MEMORYMAP HEADER [GUARD]\n");
        return 1;
    }
    const QString input = QFile::decodeName(argv[1]);
    const QString output = QFile::decodeName(argv[2]);
    QFile file(input);
    if (!file.open(QIODevice::ReadOnly))
        return fail(QStringLiteral("cannot open %1").arg(input));
    if (file.size() > inputLimit)
        return fail(QStringLiteral("%1: file too large").arg(input));
    QXmlStreamReader reader(&file);
    const QString guard = argc == 4 ? QString::fromUtf8(argv[3])
                                    : identifier(QFileInfo(output).fileName());
    QByteArray text = "/* Register addresses of " + QFileInfo(input).fileName().toUtf8()
        + ", written by mkhdr. */\n#ifndef " + guard.toUtf8() + "\n#define " + guard.toUtf8()
        + "\n\n#include <stdint.h>\n\n";
    QString error;
    HeaderWriter writer(reader);
    if (!writer.write(text, error))
        return fail(input + QStringLiteral(": ") + error);
    text += "\n#endif\n";
    QSaveFile header(output);
    if (!header.open(QIODevice::WriteOnly) || header.write(text) != text.size() || !header.commit())
        return fail(QStringLiteral("cannot write %1").arg(output));
    return 0;
}
