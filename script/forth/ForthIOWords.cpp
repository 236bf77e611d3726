#include "script/forth/ForthIOWords.h"
#include "script/forth/ScriptEngine.h"
#include <QRegularExpression>

namespace {

QString popString(ScriptEngine &engine)
{
    const QString text = engine.dataStack.top().toStringValue();
    engine.dataStack.drop(1);
    return text;
}

QString parseQuoted(ScriptEngine &engine)
{
    bool found = false;
    const QString text = engine.parse(QLatin1Char('"'), &found);
    if (!found)
        forthThrow(-39, QStringLiteral("unexpected EOF: unterminated string"));
    return text;
}

// Accumulates digits of the current base into the double number (lo, hi), returning how
// many characters were used. Shared by >NUMBER and CONVERT.
qsizetype accumulate(ScriptEngine &engine, const QString &text, quint64 &lo, quint64 &hi)
{
    const unsigned radix = unsigned(engine.base());
    qsizetype pos = 0;
    for (; pos < text.size(); ++pos) {
        const unsigned digit = Cell::digitValue(text.at(pos));
        if (digit >= radix)
            break;
        const unsigned __int128 value =
            ((unsigned __int128)hi << 64 | lo) * radix + digit;
        lo = quint64(value);
        hi = quint64(value >> 64);
    }
    return pos;
}

// ( ud string -- ud' rest ): the unconverted rest of the string.
void toNumber(ScriptEngine &engine)
{
    ForthStack &stack = engine.dataStack;
    stack.need(3);
    const QString text = stack.at(0).toStringValue();
    quint64 hi = quint64(stack.at(1).toInteger());
    quint64 lo = quint64(stack.at(2).toInteger());
    const qsizetype used = accumulate(engine, text, lo, hi);
    stack.drop(3);
    stack.pushInteger(qint64(lo));
    stack.pushInteger(qint64(hi));
    stack.push(Cell::fromString(text.mid(used)));
}

QString spaces(ScriptEngine &engine, qint64 count)
{
    if (count > engine.limits().stringLength)
        forthThrow(-17);
    return QString(qMax<qint64>(count, 0), QLatin1Char(' '));
}

} // namespace

void PWord::run(ScriptEngine &engine)
{
    // ( char -- string ): skips leading delimiters, then parses up to the next one.
    const qint64 code = engine.dataStack.top().toInteger();
    engine.dataStack.drop(1);
    Source *const source = engine.source();
    if (!source) {
        engine.dataStack.push(Cell::fromString({}));
        return;
    }
    const QChar delimiter{char16_t(code)};
    const bool blank = code == ' ';
    while (source->pos < source->buffer.size()) {
        const QChar c = source->buffer.at(source->pos);
        if (!(c == delimiter || (blank && c.unicode() <= ' ')))
            break;
        ++source->pos;
    }
    const QString text = blank ? engine.parseName() : engine.parse(delimiter);
    engine.dataStack.push(engine.makeString(text));
}

void PParse::run(ScriptEngine &engine)
{
    const qint64 code = engine.dataStack.top().toInteger();
    engine.dataStack.drop(1);
    engine.dataStack.push(engine.makeString(engine.parse(QChar(char16_t(code)))));
}

void PQuery::run(ScriptEngine &engine)
{
    engine.refillSource();
}

void PRefill::run(ScriptEngine &engine)
{
    engine.dataStack.pushInteger(engine.refillSource() ? -1 : 0);
}

void PSourceId::run(ScriptEngine &engine)
{
    const Source *const source = engine.source();
    engine.dataStack.pushInteger(source ? source->sourceId() : 0);
}

void PSaveInput::run(ScriptEngine &engine)
{
    const Source *const source = engine.source();
    engine.dataStack.room(3);
    engine.dataStack.pushInteger(source ? source->pos : 0);
    engine.dataStack.pushInteger(source ? source->lineNumber : 0);
    engine.dataStack.pushInteger(2);
}

void PRestoreInput::run(ScriptEngine &engine)
{
    // Only a position in the current line can be restored; anything else fails with true.
    ForthStack &stack = engine.dataStack;
    const qint64 count = stack.top().toInteger();
    if (count < 0 || count >= stack.depth())
        forthThrow(-24);
    Source *const source = engine.source();
    bool restored = false;
    if (count == 2 && source && stack.at(1).toInteger() == source->lineNumber) {
        source->pos = qint32(qBound<qint64>(0, stack.at(2).toInteger(), source->buffer.size()));
        restored = true;
    }
    stack.drop(int(count) + 1);
    stack.pushInteger(restored ? 0 : -1);
}

void PParen::run(ScriptEngine &engine)
{
    engine.parseAcrossLines(QLatin1Char(')'));
}

void PBackslash::run(ScriptEngine &engine)
{
    if (Source *const source = engine.source())
        source->pos = qint32(source->buffer.size());
}

void PDotParen::run(ScriptEngine &engine)
{
    engine.type(engine.parseAcrossLines(QLatin1Char(')')));
}

void PDotQuote::run(ScriptEngine &engine)
{
    const QString text = parseQuoted(engine);
    if (engine.compiling())
        engine.compile(std::make_unique<PTypeRun>(text));
    else
        engine.type(text);
}

void PTypeRun::run(ScriptEngine &engine)
{
    engine.type(text);
}

void PSQuote::run(ScriptEngine &engine)
{
    const Cell text = engine.makeString(parseQuoted(engine));
    if (engine.compiling())
        engine.compileLiteral(text);
    else
        engine.dataStack.push(text);
}

void PDot::run(ScriptEngine &engine)
{
    const QString text = engine.text(engine.dataStack.top());
    engine.dataStack.drop(1);
    engine.type(text + QLatin1Char(' '));
}

void PDotR::run(ScriptEngine &engine)
{
    ForthStack &stack = engine.dataStack;
    stack.need(2);
    const qint64 width = stack.at(0).toInteger();
    const QString text = engine.text(stack.at(1));
    stack.drop(2);
    engine.type(spaces(engine, width - text.size()) + text);
}

void PDotS::run(ScriptEngine &engine)
{
    ForthStack &stack = engine.dataStack;
    QString text = QStringLiteral("<%1> ").arg(stack.depth());
    for (int i = stack.depth() - 1; i >= 0; --i)
        text += engine.text(stack.at(i)) + QLatin1Char(' ');
    engine.type(text);
}

void PEmit::run(ScriptEngine &engine)
{
    const qint64 code = engine.dataStack.top().toInteger();
    engine.dataStack.drop(1);
    const char32_t point = code >= 0 && code <= 0x10FFFF ? char32_t(code) : U'\uFFFD';
    engine.type(QString::fromUcs4(&point, 1));
}

void PType::run(ScriptEngine &engine)
{
    // ( string -- ) or ( addr u -- ) with one character per cell.
    ForthStack &stack = engine.dataStack;
    if (stack.top().type == CellType::String) {
        engine.type(popString(engine));
        return;
    }
    stack.need(2);
    const qint64 count = stack.at(0).toInteger();
    const Cell address = stack.at(1);
    PMemory *const region = address.toRegion();
    if (count > region->size())
        forthThrow(-9, QStringLiteral("cell fetch outside allotted region"));
    QString text;
    for (qint64 i = 0; i < count; ++i)
        text += QChar(char16_t(region->fetch(address.integer + i).toInteger()));
    stack.drop(2);
    engine.type(text);
}

void PCR::run(ScriptEngine &engine)
{
    engine.type(QStringLiteral("\n"));
}

void PSpace::run(ScriptEngine &engine)
{
    engine.type(QStringLiteral(" "));
}

void PSpaces::run(ScriptEngine &engine)
{
    const qint64 count = engine.dataStack.top().toInteger();
    engine.dataStack.drop(1);
    engine.type(spaces(engine, count));
}

void PToNumber::run(ScriptEngine &engine)
{
    toNumber(engine);
}

void PConvert::run(ScriptEngine &engine)
{
    toNumber(engine);
}

void PBase::run(ScriptEngine &engine)
{
    engine.dataStack.push(Cell::fromAddress(engine.baseRegion(), 0));
}

void PSetBase::run(ScriptEngine &engine)
{
    engine.baseRegion()->cells.front().setInteger(m_base);
}

void PEvaluate::run(ScriptEngine &engine)
{
    engine.evaluate(popString(engine));
}

void PHTMLEscape::run(ScriptEngine &engine)
{
    const QString text = popString(engine);
    QString escaped;
    for (const QChar c : text) {
        const char16_t code = c.unicode();
        if ((code >= '0' && code <= '9') || (code >= 'A' && code <= 'Z')
            || (code >= 'a' && code <= 'z'))
            escaped += c;
        else
            escaped += QLatin1Char('%') + QString::number(code, 16).rightJustified(2, QLatin1Char('0'));
    }
    engine.dataStack.push(engine.makeString(escaped));
}

void PCommaComma::run(ScriptEngine &engine)
{
    ForthStack &stack = engine.dataStack;
    stack.need(2);
    const QString joined = engine.text(stack.at(1)) + engine.text(stack.at(0));
    Cell result = engine.makeString(joined);
    stack.drop(2);
    stack.push(std::move(result));
}

void PStringArg::run(ScriptEngine &engine)
{
    ForthStack &stack = engine.dataStack;
    stack.need(2);
    const QString format = stack.at(1).toStringValue();
    const QString argument = engine.text(stack.at(0));
    // Without a marker the format stays as it is (and the string class stays quiet).
    static const QRegularExpression marker(QStringLiteral("%\\d"));
    Cell result = engine.makeString(format.contains(marker) ? format.arg(argument) : format);
    stack.drop(2);
    stack.push(std::move(result));
}
