#pragma once
#include <QByteArray>
#include <QString>
#include <QStringView>
#include <optional>

class QTextCodec;

// A character encoding of documents: UTF-8, UTF-16 in either byte order and ISO-8859-1 by Qt's
// own converters, everything else the system knows (Windows-1252 and the like) through
// QTextCodec. Decoding tells whether the bytes were clean; encoding refuses a character the
// encoding has no bytes for, so no text is silently lost either way.
class TextCodec {
public:
    enum class Kind { Utf8, Utf16LE, Utf16BE, Latin1, Other };

    // By name, in any case, with the usual aliases ("utf8", "latin1", "cp1252"); empty when the
    // system knows no such encoding.
    [[nodiscard]] static std::optional<TextCodec> find(const QString &name);
    // The encoding of the user's locale.
    [[nodiscard]] static TextCodec locale();

    [[nodiscard]] Kind kind() const { return m_kind; }
    // The name the document shows: "UTF-8", "UTF-16LE", "UTF-16BE", "ISO-8859-1", or the
    // system's name of another encoding ("windows-1252").
    [[nodiscard]] QString name() const;

    // Appends the text of `bytes`; false when some bytes were not valid in this encoding (they
    // come out as replacement characters).
    bool decode(const char *data, qsizetype size, QString &text) const;
    // Appends the bytes of `text`; false when a character cannot be encoded.
    bool encode(QStringView text, QByteArray &bytes) const;

private:
    TextCodec(Kind kind, QTextCodec *codec) : m_kind(kind), m_codec(codec) {}

    Kind m_kind;
    QTextCodec *m_codec;   // Other only; owned by Qt
};
