// Date: a time value in milliseconds since the epoch, read as wall-clock time. No time zone is
// applied anywhere: the UTC getters and setters are the plain ones under another name.
#include "script/es/ESContext.h"
#include "script/es/ESNativeClass.h"
#include <QDateTime>
#include <QLocale>
#include <cmath>
#include <cstdint>
#include <limits>

namespace {

constexpr double msPerDay = 8.64e7;
constexpr std::int64_t msPerDayWhole = 86400000;
// Times beyond 10^8 days either side of the epoch are not dates: their fields are NaN.
constexpr double maxTime = 8.64e15;
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

// The parts of a date, in the order in which the setters take their arguments. Month counts
// from 0.
enum Part { Year, Month, Day, Hours, Minutes, Seconds, Milliseconds, PartCount };

// What a getter reads: a part, or the day of the week (1 Monday to 7 Sunday).
enum class Field { Year, Month, Day, WeekDay, Hours, Minutes, Seconds, Milliseconds };

bool isValidTime(double time)
{
    return std::isfinite(time) && std::fabs(time) <= maxTime;
}

// Whole milliseconds in range, or NaN. Adding +0 turns -0 into 0.
double clipTime(double time)
{
    return isValidTime(time) ? ESContext::toInteger(time) + 0.0 : notANumber;
}

std::int64_t floorDivide(std::int64_t a, std::int64_t b)
{
    return a / b - ((a % b != 0) && ((a < 0) != (b < 0)));
}

struct CivilDate {
    std::int64_t year;   // 0 is the year before 1
    int month;           // 1 to 12
    int day;             // 1 to 31
};

// Proleptic Gregorian calendar by eras of 400 years (146097 days); day 0 is 1970-01-01.
CivilDate civilFromDays(std::int64_t days)
{
    days += 719468;
    const std::int64_t era = floorDivide(days, 146097);
    const std::int64_t dayOfEra = days - era * 146097;
    const std::int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t shiftedMonth = (5 * dayOfYear + 2) / 153;   // 0 is March
    const int day = int(dayOfYear - (153 * shiftedMonth + 2) / 5 + 1);
    const int month = int(shiftedMonth < 10 ? shiftedMonth + 3 : shiftedMonth - 9);
    return {yearOfEra + era * 400 + (month <= 2), month, day};
}

std::int64_t daysFromCivil(std::int64_t year, int month, int day)
{
    year -= month <= 2;
    const std::int64_t era = floorDivide(year, 400);
    const std::int64_t yearOfEra = year - era * 400;
    const std::int64_t dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

// The calendar value of a valid time, by day number and milliseconds in the day.
struct Calendar {
    std::int64_t dayNumber;
    std::int64_t msInDay;
};

Calendar calendarOf(double time)
{
    const std::int64_t ms = std::int64_t(time);
    const std::int64_t day = floorDivide(ms, msPerDayWhole);
    return {day, ms - day * msPerDayWhole};
}

double fieldOf(double time, Field field)
{
    if (!isValidTime(time))
        return notANumber;
    const Calendar calendar = calendarOf(time);
    switch (field) {
    case Field::Year:
        return double(civilFromDays(calendar.dayNumber).year);
    case Field::Month:
        return civilFromDays(calendar.dayNumber).month - 1;
    case Field::Day:
        return civilFromDays(calendar.dayNumber).day;
    case Field::WeekDay:
        return double((calendar.dayNumber + 3) - floorDivide(calendar.dayNumber + 3, 7) * 7 + 1);
    case Field::Hours:
        return double(calendar.msInDay / 3600000);
    case Field::Minutes:
        return double(calendar.msInDay / 60000 % 60);
    case Field::Seconds:
        return double(calendar.msInDay / 1000 % 60);
    case Field::Milliseconds:
        return double(calendar.msInDay % 1000);
    }
    return notANumber;
}

void partsOf(double time, double (&parts)[PartCount])
{
    const Calendar calendar = calendarOf(time);
    const CivilDate date = civilFromDays(calendar.dayNumber);
    parts[Year] = double(date.year);
    parts[Month] = date.month - 1;
    parts[Day] = date.day;
    parts[Hours] = double(calendar.msInDay / 3600000);
    parts[Minutes] = double(calendar.msInDay / 60000 % 60);
    parts[Seconds] = double(calendar.msInDay / 1000 % 60);
    parts[Milliseconds] = double(calendar.msInDay % 1000);
}

// The time of the parts, which may lie outside their usual ranges (month 13 is January of the
// next year, day 0 the last of the month before); NaN when that is no valid time.
double timeOfParts(const double (&parts)[PartCount])
{
    for (const double part : parts) {
        if (!std::isfinite(part))
            return notANumber;
    }
    // Years and months this far out are well beyond the valid range; the bounds keep the
    // whole-number arithmetic below exact.
    const double month = ESContext::toInteger(parts[Month]);
    if (std::fabs(month) > 1e7)
        return notANumber;
    const double year = ESContext::toInteger(parts[Year]) + std::floor(month / 12);
    if (std::fabs(year) > 400000)
        return notANumber;
    const double monthInYear = month - std::floor(month / 12) * 12;
    const double days = double(daysFromCivil(std::int64_t(year), int(monthInYear) + 1, 1))
                        + ESContext::toInteger(parts[Day]) - 1;
    const double inDay = ESContext::toInteger(parts[Hours]) * 3600000
                         + ESContext::toInteger(parts[Minutes]) * 60000
                         + ESContext::toInteger(parts[Seconds]) * 1000
                         + ESContext::toInteger(parts[Milliseconds]);
    return clipTime(days * msPerDay + inDay);
}

enum class TextForm { DateTime, Date, Time };

// The platform's default text forms: "Thu Jan 1 00:00:00 1970", "Thu Jan 1 1970", "00:00:00".
QString textOf(double time, TextForm form)
{
    if (!isValidTime(time))
        return QStringLiteral("Invalid Date");
    const Calendar calendar = calendarOf(time);
    const CivilDate date = civilFromDays(calendar.dayNumber);
    const QTime clock = QTime::fromMSecsSinceStartOfDay(int(calendar.msInDay));
    const QString timeText = clock.toString(Qt::TextDate);
    if (form == TextForm::Time)
        return timeText;
    const QLocale c = QLocale::c();
    const int weekDay = int(fieldOf(time, Field::WeekDay));
    const QString dayText = c.dayName(weekDay, QLocale::ShortFormat) + QLatin1Char(' ')
                            + c.monthName(date.month, QLocale::ShortFormat) + QLatin1Char(' ')
                            + QString::number(date.day) + QLatin1Char(' ');
    const QString yearText = QString::number(date.year);
    if (form == TextForm::Date)
        return dayText + yearText;
    return dayText + timeText + QLatin1Char(' ') + yearText;
}

// The zone's offset from UTC over one whole UTC minute. Zones change their offset only at whole
// minutes, so the offset found once holds for the rest of that minute; finding it reads the
// zone database, which costs far more than reading the clock.
struct MinuteOffset {
    bool known = false;
    qint64 minuteStart = 0;   // UTC milliseconds since the epoch
    qint64 offset = 0;        // milliseconds
};

// The wall clock as it reads here, taken as if it were UTC.
double wallClockNow()
{
    thread_local MinuteOffset cached;
    const qint64 utc = QDateTime::currentMSecsSinceEpoch();
    if (cached.known && utc >= cached.minuteStart && utc - cached.minuteStart < 60000)
        return double(utc + cached.offset);
    const QDateTime now = QDateTime::currentDateTime();
    const qint64 nowUtc = now.toMSecsSinceEpoch();
    cached.known = true;
    cached.offset = qint64(now.offsetFromUtc()) * 1000;
    cached.minuteStart = nowUtc - (nowUtc % 60000 + 60000) % 60000;
    return double(nowUtc + cached.offset);
}

// new Date() reads the wall clock; any argument leaves the time undefined, which reads as 0.
ESObject *dateConstruct(ESNativeCall &call)
{
    ESContext &context = call.context;
    ESValue time;
    if (call.argumentCount == 0)
        time = ESValue::fromNumber(wallClockNow());
    return context.newObject(context.datePrototype, context.dateClass.get(), time);
}

// Date(...) as a function gives the present date-time as text.
void dateCall(ESNativeCall &call)
{
    const QString text = textOf(wallClockNow(), TextForm::DateTime);
    call.setResult(ESContext::newString(text));
}

ESObject *thisDate(const ESNativeCall &call)
{
    const ESValue self = call.thisValue;
    if (!self.isObject() || !self.object || !call.context.isDate(self.object))
        call.context.throwTypeError(QStringLiteral("Date object required"));
    return self.object;
}

// An undefined time (a Date made with arguments, or Date.prototype) reads as 0.
double timeOf(const ESObject *date)
{
    const ESValue primitive = date->primitive;
    return primitive.isNumber() ? primitive.number : 0.0;
}

double thisTime(const ESNativeCall &call)
{
    return timeOf(thisDate(call));
}

template <TextForm form>
void toText(ESNativeCall &call)
{
    call.setResult(ESContext::newString(textOf(thisTime(call), form)));
}

void getTime(ESNativeCall &call)
{
    call.setResult(ESValue::fromNumber(thisTime(call)));
}

template <Field field>
void getField(ESNativeCall &call)
{
    call.setResult(ESValue::fromNumber(fieldOf(thisTime(call), field)));
}

void getTimezoneOffset(ESNativeCall &call)
{
    thisDate(call);
    call.setResult(ESValue::fromNumber(0));
}

void setTime(ESNativeCall &call)
{
    ESObject *date = thisDate(call);
    const double time = clipTime(call.context.toNumber(call.argument(0)));
    date->primitive = ESValue::fromNumber(time);
    call.setResult(date->primitive);
}

// Replaces up to `count` parts from `first` on by the arguments and rebuilds the time. An
// undefined argument keeps its part: missing arguments are padded with undefined up to the
// function's length, so an explicit undefined cannot be told from an absent one. A date
// without a valid time stays without one, except that setting the year starts from time 0.
template <Part first, int count>
void setParts(ESNativeCall &call)
{
    ESObject *date = thisDate(call);
    double time = timeOf(date);
    if (!isValidTime(time) && first == Year)
        time = 0;
    double parts[PartCount];
    partsOf(isValidTime(time) ? time : 0, parts);
    for (int i = 0; i < count; ++i) {
        const ESValue value = call.argument(i);
        if (!value.isUndefined())
            parts[first + i] = call.context.toNumber(value);
    }
    date->primitive = ESValue::fromNumber(isValidTime(time) ? timeOfParts(parts) : notANumber);
    call.setResult(date->primitive);
}

constexpr int Method = ESNativeRowFlag::Method;

constexpr ESNativeFunctionRow rows[] = {
    {"Date", 7, 0, ESNativeRowFlag::Constructor, nullptr, dateCall, dateConstruct},
    {"toString", 0, 1, Method, nullptr, toText<TextForm::DateTime>, nullptr},
    {"toDateString", 0, 2, Method, nullptr, toText<TextForm::Date>, nullptr},
    {"toTimeString", 0, 3, Method, nullptr, toText<TextForm::Time>, nullptr},
    {"toLocaleString", 0, 4, Method, nullptr, toText<TextForm::DateTime>, nullptr},
    {"toLocaleDateString", 0, 5, Method, nullptr, toText<TextForm::Date>, nullptr},
    {"toLocaleTimeString", 0, 6, Method, nullptr, toText<TextForm::Time>, nullptr},
    {"valueOf", 0, 7, Method, nullptr, getTime, nullptr},
    {"getTime", 0, 8, Method, nullptr, getTime, nullptr},
    {"getFullYear", 0, 9, Method, nullptr, getField<Field::Year>, nullptr},
    {"getUTCFullYear", 0, 10, Method, nullptr, getField<Field::Year>, nullptr},
    {"getMonth", 0, 11, Method, nullptr, getField<Field::Month>, nullptr},
    {"getUTCMonth", 0, 12, Method, nullptr, getField<Field::Month>, nullptr},
    {"getDate", 0, 13, Method, nullptr, getField<Field::Day>, nullptr},
    {"getUTCDate", 0, 14, Method, nullptr, getField<Field::Day>, nullptr},
    {"getDay", 0, 15, Method, nullptr, getField<Field::WeekDay>, nullptr},
    {"getUTCDay", 0, 16, Method, nullptr, getField<Field::WeekDay>, nullptr},
    {"getHours", 0, 17, Method, nullptr, getField<Field::Hours>, nullptr},
    {"getUTCHours", 0, 18, Method, nullptr, getField<Field::Hours>, nullptr},
    {"getMinutes", 0, 19, Method, nullptr, getField<Field::Minutes>, nullptr},
    {"getUTCMinutes", 0, 20, Method, nullptr, getField<Field::Minutes>, nullptr},
    {"getSeconds", 0, 21, Method, nullptr, getField<Field::Seconds>, nullptr},
    {"getUTCSeconds", 0, 22, Method, nullptr, getField<Field::Seconds>, nullptr},
    {"getMilliseconds", 0, 23, Method, nullptr, getField<Field::Milliseconds>, nullptr},
    {"getUTCMilliseconds", 0, 24, Method, nullptr, getField<Field::Milliseconds>, nullptr},
    {"getTimezoneOffset", 0, 25, Method, nullptr, getTimezoneOffset, nullptr},
    {"setTime", 1, 26, Method, nullptr, setTime, nullptr},
    {"setMilliseconds", 1, 27, Method, nullptr, setParts<Milliseconds, 1>, nullptr},
    {"setUTCMilliseconds", 1, 28, Method, nullptr, setParts<Milliseconds, 1>, nullptr},
    {"setSeconds", 2, 29, Method, nullptr, setParts<Seconds, 2>, nullptr},
    {"setUTCSeconds", 2, 30, Method, nullptr, setParts<Seconds, 2>, nullptr},
    // setMinutes has length 2 and setUTCMinutes 3; both take minutes, seconds, milliseconds.
    {"setMinutes", 2, 31, Method, nullptr, setParts<Minutes, 3>, nullptr},
    {"setUTCMinutes", 3, 32, Method, nullptr, setParts<Minutes, 3>, nullptr},
    {"setHours", 4, 33, Method, nullptr, setParts<Hours, 4>, nullptr},
    {"setUTCHours", 4, 34, Method, nullptr, setParts<Hours, 4>, nullptr},
    {"setDate", 1, 35, Method, nullptr, setParts<Day, 1>, nullptr},
    {"setUTCDate", 1, 36, Method, nullptr, setParts<Day, 1>, nullptr},
    {"setMonth", 2, 37, Method, nullptr, setParts<Month, 2>, nullptr},
    {"setUTCMonth", 2, 38, Method, nullptr, setParts<Month, 2>, nullptr},
    {"setFullYear", 3, 39, Method, nullptr, setParts<Year, 3>, nullptr},
    {"setUTCFullYear", 3, 40, Method, nullptr, setParts<Year, 3>, nullptr},
    {"toUTCString", 0, 41, Method, nullptr, toText<TextForm::DateTime>, nullptr},
};

} // namespace

ESNativeDate::ESNativeDate() : ESNativeClass(QStringLiteral("Date"), QStringLiteral("Date"), rows)
{
}

void ESNativeDate::initialise(ESContext &context)
{
    installFunctions(context, context.datePrototype);
}
