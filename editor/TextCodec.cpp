#include "editor/TextCodec.h"
#include <QStringDecoder>
#include <QStringEncoder>
#include <QTextCodec>
#include <QtEndian>

namespace {

struct KnownName {
    const char *folded;   // lower case, without '-' and '_'
    TextCodec::Kind kind;
};

constexpr KnownName knownNames[] = {
    {"utf8", TextCodec::Kind::Utf8},        {"utf16le", TextCodec::Kind::Utf16LE},
    {"utf16be", TextCodec::Kind::Utf16BE},  {"iso88591", TextCodec::Kind::Latin1},
    {"latin1", TextCodec::Kind::Latin1},    {"l1", TextCodec::Kind::Latin1},
};

constexpr const char *kindNames[] = {"UTF-8", "UTF-16LE", "UTF-16BE", "ISO-8859-1"};

std::optional<TextCodec::Kind> knownKind(const QString &name)
{
    QString folded = name.trimmed().toLower();
    folded.remove(u'-');
    folded.remove(u'_');
    for (const KnownName &known : knownNames) {
        if (folded == QLatin1String(known.folded))
            return known.kind;
    }
    return std::nullopt;
}

// A surrogate without its partner has no UTF-8 form.
bool hasLoneSurrogate(QStringView text)
{
    const qsizetype size = text.size();
    for (qsizetype i = 0; i < size; ++i) {
        const char16_t unit = text[i].unicode();
        if (unit < 0xD800 || unit > 0xDFFF)
            continue;
        if (unit >= 0xDC00 || i + 1 >= size || !text[i + 1].isLowSurrogate())
            return true;
        ++i;
    }
    return false;
}

bool decodeWith(QStringConverter::Encoding encoding, const char *data, qsizetype size, QString &text)
{
    // The mark, when there was one, is gone already: a U+FEFF left at the start is text.
    QStringDecoder decoder(encoding, QStringConverter::Flag::Stateless | QStringConverter::Flag::ConvertInitialBom);
    const qsizetype start = text.size();
    text.resize(start + decoder.requiredSpace(size));
    QChar *end = decoder.appendToBuffer(text.data() + start, QByteArrayView(data, size));
    text.resize(end - text.constData());
    return !decoder.hasError();
}

} // namespace

std::optional<TextCodec> TextCodec::find(const QString &name)
{
    if (const std::optional<Kind> kind = knownKind(name))
        return TextCodec(*kind, nullptr);
    QTextCodec *codec = QTextCodec::codecForName(name.trimmed().toLatin1());
    if (!codec)
        return std::nullopt;
    if (const std::optional<Kind> kind = knownKind(QString::fromLatin1(codec->name())))
        return TextCodec(*kind, nullptr);
    return TextCodec(Kind::Other, codec);
}

TextCodec TextCodec::locale()
{
    QTextCodec *codec = QTextCodec::codecForLocale();
    if (const std::optional<Kind> kind = knownKind(QString::fromLatin1(codec->name())))
        return TextCodec(*kind, nullptr);
    return TextCodec(Kind::Other, codec);
}

QString TextCodec::name() const
{
    if (m_kind == Kind::Other)
        return QString::fromLatin1(m_codec->name());
    return QString::fromLatin1(kindNames[int(m_kind)]);
}

bool TextCodec::decode(const char *data, qsizetype size, QString &text) const
{
    switch (m_kind) {
    case Kind::Latin1:
        text += QLatin1String(data, size);
        return true;
    case Kind::Utf8:
        return decodeWith(QStringConverter::Utf8, data, size, text);
    case Kind::Utf16LE:
        return decodeWith(QStringConverter::Utf16LE, data, size, text) && size % 2 == 0;
    case Kind::Utf16BE:
        return decodeWith(QStringConverter::Utf16BE, data, size, text) && size % 2 == 0;
    case Kind::Other:
        break;
    }
    QTextCodec::ConverterState state(QTextCodec::IgnoreHeader);
    text += m_codec->toUnicode(data, int(qMin<qsizetype>(size, INT_MAX)), &state);
    return state.invalidChars == 0 && state.remainingChars == 0 && size <= INT_MAX;
}

bool TextCodec::encode(QStringView text, QByteArray &bytes) const
{
    switch (m_kind) {
    case Kind::Latin1:
        for (const QChar c : text) {
            if (c.unicode() > 0xFF)
                return false;
        }
        bytes += text.toLatin1();
        return true;
    case Kind::Utf8: {
        if (hasLoneSurrogate(text))
            return false;
        QStringEncoder encoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
        const qsizetype start = bytes.size();
        bytes.resize(start + encoder.requiredSpace(text.size()));
        char *end = encoder.appendToBuffer(bytes.data() + start, text);
        bytes.resize(end - bytes.constData());
        return true;
    }
    case Kind::Utf16LE:
    case Kind::Utf16BE: {
        // Unit for unit, so text read from UTF-16 goes back unchanged, lone surrogates too.
        const qsizetype start = bytes.size();
        bytes.resize(start + 2 * text.size());
        if (m_kind == Kind::Utf16LE)
            qToLittleEndian<quint16>(text.utf16(), text.size(), bytes.data() + start);
        else
            qToBigEndian<quint16>(text.utf16(), text.size(), bytes.data() + start);
        return true;
    }
    case Kind::Other:
        break;
    }
    if (text.size() > INT_MAX)
        return false;
    QTextCodec::ConverterState state(QTextCodec::IgnoreHeader);
    bytes += m_codec->fromUnicode(text.constData(), int(text.size()), &state);
    return state.invalidChars == 0;
}
