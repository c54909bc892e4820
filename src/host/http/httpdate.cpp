#include "http/httpdate.h"

#include <QDateTime>
#include <QLocale>

#include <array>

namespace {

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
    const QDateTime moment = QDateTime::fromSecsSinceEpoch(time, Qt::UTC);
    return QLocale::c().toString(moment, QStringLiteral("ddd, dd MMM yyyy HH:mm:ss 'GMT'")).toLatin1();
}

std::optional<std::time_t> fromHttpDate(const QByteArray& text)
{
    // The oldest form pads the day with a space.
    const QString words = QString::fromLatin1(text).simplified();
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
