#pragma once
#include <QByteArray>
#include <QString>
#include <QStringList>
#include <memory>

class QTextDecoder;

// Turns the bytes a tool writes into lines: decoded with the tool's text codec (UTF-8 unless
// given), split at "\n" with a "\r" before it dropped. The last partial line waits for more;
// bytes split inside a character are kept for the next chunk. A line longer than lineLimit is
// handed on in pieces, so a tool that never writes a newline can't grow us without bound.
class OutputLines {
public:
    static constexpr qsizetype lineLimit = qsizetype(1) << 20;

    explicit OutputLines(const QByteArray &codecName = "UTF-8");
    ~OutputLines();

    // The lines completed by `bytes`.
    [[nodiscard]] QStringList add(const QByteArray &bytes);
    // What remains when the tool has ended: the partial last line, if any.
    [[nodiscard]] QStringList finish();

private:
    std::unique_ptr<QTextDecoder> m_decoder;
    QString m_pending;   // text behind the last newline
};
