#include "script/forth/Cell.h"
#include "script/forth/ForthException.h"
#include "script/forth/pcode.h"
#include <cstdio>

CellText::CellText(const QString &value) : d(new Data{1, value}) {}

void CellText::assign(Data *other)
{
    if (other)
        ++other->refs;
    reset();
    d = other;
}

CellText &CellText::operator=(CellText &&other) noexcept
{
    if (this != &other) {
        reset();
        d = std::exchange(other.d, nullptr);
    }
    return *this;
}

const QString &CellText::value() const
{
    static const QString empty;
    return d ? d->value : empty;
}

void CellText::release()
{
    if (--d->refs == 0)
        delete d;
}

Cell Cell::fromInteger(qint64 value)
{
    Cell cell;
    cell.type = CellType::Integer;
    cell.integer = value;
    return cell;
}

Cell Cell::fromFloat(double value)
{
    Cell cell;
    cell.type = CellType::Float;
    cell.floating = value;
    return cell;
}

Cell Cell::fromString(const QString &value)
{
    Cell cell;
    cell.type = CellType::String;
    cell.text = CellText(value);
    return cell;
}

Cell Cell::fromCode(pcode *word)
{
    Cell cell;
    cell.type = CellType::CodeAddress;
    cell.code = word;
    return cell;
}

Cell Cell::fromAddress(PMemory *region, qint64 index)
{
    Cell cell;
    cell.type = CellType::DataAddress;
    cell.memory = region;
    cell.integer = index;
    return cell;
}

qint64 Cell::toInteger() const
{
    switch (type) {
    case CellType::Integer:
        return integer;
    case CellType::Empty:
        return 0;   // fresh memory reads as zero
    case CellType::DataAddress:
    case CellType::CodeAddress:
        forthThrow(-24, QStringLiteral("unrelocated literal required"));
    default:
        forthThrow(-24, QStringLiteral("integer required"));
    }
}

double Cell::toFloat() const
{
    if (type != CellType::Float)
        forthThrow(-24, QStringLiteral("float required"));
    return floating;
}

const QString &Cell::toStringValue() const
{
    if (type != CellType::String)
        forthThrow(-24, QStringLiteral("string required"));
    return text.value();
}

pcode *Cell::toCode() const
{
    if (type != CellType::CodeAddress || !code)
        forthThrow(-9, QStringLiteral("not a code address"));
    return code;
}

PMemory *Cell::toRegion() const
{
    if (type != CellType::DataAddress || !memory)
        forthThrow(-9, QStringLiteral("not a data address"));
    return memory;
}

unsigned Cell::digitValue(QChar c)
{
    const char16_t u = c.unicode();
    if (u >= '0' && u <= '9')
        return u - '0';
    if (u >= 'A' && u <= 'Z')
        return u - 'A' + 10;
    if (u >= 'a' && u <= 'z')
        return u - 'a' + 10;
    return 99;
}

QString Cell::integerText(qint64 value, int base)
{
    if (base < 2 || base > 36)
        base = 10;
    quint64 magnitude = value < 0 ? 0 - quint64(value) : quint64(value);
    char digits[72];
    int pos = sizeof digits;
    do {
        const int digit = int(magnitude % quint64(base));
        digits[--pos] = char(digit < 10 ? '0' + digit : 'A' + digit - 10);
        magnitude /= quint64(base);
    } while (magnitude);
    if (value < 0)
        digits[--pos] = '-';
    return QString::fromLatin1(digits + pos, int(sizeof digits) - pos);
}

QString Cell::toText(int base) const
{
    switch (type) {
    case CellType::String:
        return text.value();
    case CellType::Float: {
        char buffer[64];
        std::snprintf(buffer, sizeof buffer, "%g", floating);
        return QString::fromLatin1(buffer);
    }
    case CellType::Integer:
        return integerText(integer, base);
    case CellType::DataAddress:
        return QStringLiteral("#<DATA-ADDRESS %1+%2>")
            .arg(memory ? memory->name : QString())
            .arg(integer);
    case CellType::CodeAddress:
        return QStringLiteral("#<CODE-ADDRESS %1>").arg(code ? code->name : QString());
    case CellType::Empty:
        break;
    }
    return QStringLiteral("#<EMPTY>");
}
