#include "script/forth/ForthException.h"
#include <algorithm>
#include <iterator>

namespace {

struct CodeText {
    qint32 code;
    const char *text;
};

// -3 and -4 carry each other's usual meaning in this system; scripts rely on the texts.
constexpr CodeText codeTexts[] = {
    {-1, "abort thrown"},
    {-2, "abort thrown"},
    {-3, "stack underflow"},
    {-4, "stack overflow"},
    {-5, "return stack overflow"},
    {-6, "return stack underflow"},
    {-7, "loop stack overflow"},
    {-9, "invalid address"},
    {-10, "divide by zero"},
    {-12, "argument type mismatch"},
    {-13, "undefined word"},
    {-14, "interpreting a compile-only word"},
    {-17, "string buffer overflow"},
    {-20, "write error"},
    {-21, "unsupported operation"},
    {-22, "control structure mismatch"},
    {-23, "misaligned address"},
    {-24, "invalid argument"},
    {-25, "return stack imbalance"},
    {-26, "loop parameters unavailable"},
    {-27, "invalid recursion"},
    {-28, "user interrupt"},
    {-30, "olsolescent feature"},
    {-31, ">BODY error"},
    {-36, "invalid file position"},
    {-37, "file I/O exception"},
    {-38, "non-existent file"},
    {-39, "unexpected EOF"},
    {-49, "search order overflow"},
    {-50, "search order underflow"},
    {-53, "exception stack overflow"},
    {-57, "receive/transmit exception"},
    {-256, "no current definition"},
    {-257, "LEAVE not in DO"},
    {-264, "no DO loop"},
    {-265, "host execution of this word not supported"},
    {-266, "invalid wordlist"},
    {-267, "unimplemented word"},
    {-268, "no store method defined"},
    {-269, "out of context"},
    {-270, "sealed definition"},
};

} // namespace

ForthException::ForthException(qint32 code, QString message)
    : code(code), message(message.isNull() ? codeText(code) : std::move(message))
{
}

QString ForthException::codeText(qint32 code)
{
    const auto it = std::find_if(std::begin(codeTexts), std::end(codeTexts),
                                 [code](const CodeText &entry) { return entry.code == code; });
    if (it != std::end(codeTexts))
        return QString::fromLatin1(it->text);
    if (code >= -270 && code <= -1)
        return QStringLiteral("");
    return QStringLiteral("%1 THROW undefined").arg(code);
}

QString ForthException::report() const
{
    QString text;
    if (located)
        text = QStringLiteral("%1:%2: ").arg(sourceFile).arg(sourceLine);
    if (!word.isEmpty())
        text += word + QStringLiteral(": ");
    return text + message + QStringLiteral(" (throw %1)").arg(code);
}

void forthThrow(qint32 code, const QString &message)
{
    throw ForthException(code, message);
}
