#include "media/httpdate.h"

#include <QDateTime>
#include <QLocale>

#include <array>

namespace {

constexpr std::array days = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr std::array months = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

/// `number`: up to 99.
QByteArray& appendTwoDigits(QByteArray& text, int number)
{
    constexpr int ten = 10;
    return text.append(static_cast<char>('0' + number / ten)).append(static_cast<char>('0' + number % ten));
}

QDateTime parsed(const QString& text, const char* format)
{
    QDateTime time = QLocale::c().toDateTime(text, QLatin1String(format));
    time.setTimeSpec(Qt::UTC);
    return time;
}

/// Two digits of a year mean the one that is not far in the future.
QDateTime withRecentCentury(const QDateTime& time)
{
    constexpr int firstYear = 1970;
    constexpr int century = 100;
    return time.isValid() && time.date().year() < firstYear ? time.addYears(century) : time;
}

} // namespace

QByteArray toHttpDate(std::time_t time)
{
    constexpr qint64 firstYear = 1900;
    constexpr int usualLength = 29;
    std::tm parts{};
    gmtime_r(&time, &parts);
    QByteArray text;
    text.reserve(usualLength);
    text.append(days.at(static_cast<std::size_t>(parts.tm_wday))).append(", ");
    appendTwoDigits(text, parts.tm_mday).append(' ');
    text.append(months.at(static_cast<std::size_t>(parts.tm_mon))).append(' ');
    text.append(QByteArray::number(firstYear + parts.tm_year).rightJustified(4, '0')).append(' ');
    appendTwoDigits(text, parts.tm_hour).append(':');
    appendTwoDigits(text, parts.tm_min).append(':');
    return appendTwoDigits(text, parts.tm_sec).append(" GMT");
}

std::optional<std::time_t> fromHttpDate(const QByteArray& text)
{
    if (text.isEmpty())
        return std::nullopt;
    // The oldest form pads the day with a space.
    const QString words = QString(QLatin1String(text.constData(), text.size())).simplified();
    // The weekday is left out: it cannot be checked where the year has two digits only.
    const QString date = words.mid(words.indexOf(u' ') + 1);
    const std::array<QDateTime, 3> readings = {
        parsed(date, "dd MMM yyyy HH:mm:ss 'GMT'"), withRecentCentury(parsed(date, "dd-MMM-yy HH:mm:ss 'GMT'")),
        parsed(date, "MMM d HH:mm:ss yyyy")};
    for (const QDateTime& reading : readings) {
        if (reading.isValid())
            return reading.toSecsSinceEpoch();
    }
    return std::nullopt;
}
