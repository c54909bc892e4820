#include "terminal/roletext.h"

#include "language/translatable.h"

#include <tavo/tavojson.h>
#include <tavo/tavoroles.h>

#include <QDateTime>

#include <limits>

namespace {

QString nothing()
{
    return QStringLiteral("-");
}

/// Qt's time of an entry that does not exist.
constexpr uint noTime = std::numeric_limits<uint>::max();

QString timeText(uint seconds)
{
    if (seconds == noTime)
        return nothing();
    // For a format of one's own Qt finds out all about the locale, each time.
    return QDateTime::fromSecsSinceEpoch(seconds).toString(Qt::ISODate).replace(QLatin1Char('T'), QLatin1Char(' '));
}

QString flagsText(const QVariantHash& flags)
{
    QStringList set;
    for (auto flag = flags.cbegin(); flag != flags.cend(); ++flag) {
        if (flag->toBool())
            set.append(flag.key());
    }
    set.sort();
    return set.isEmpty() ? nothing() : set.join(QLatin1Char(','));
}

QString plainText(const QVariant& value)
{
    if (value.userType() == QMetaType::Bool)
        return value.toBool() ? translated(QT_TRANSLATE_NOOP("Host", "yes"))
                              : translated(QT_TRANSLATE_NOOP("Host", "no"));
    if (value.canConvert<QString>() && value.userType() != QMetaType::QStringList)
        return value.toString();
    return QString::fromUtf8(TavoJson::write(value).value_or(QByteArray()));
}

} // namespace

QString roleText(const QString& role, const QVariant& value)
{
    if (!value.isValid())
        return nothing();
    if (role == TavoRoles::Timestamp())
        return timeText(value.toUInt());
    if (role == TavoRoles::Flags())
        return flagsText(value.toHash());
    return plainText(value);
}

QString durationText(const QVariant& milliseconds)
{
    if (!milliseconds.isValid())
        return nothing();
    constexpr int minute = 60;
    constexpr int hour = 60 * minute;
    const qint64 seconds = (milliseconds.toLongLong() + 500) / 1000;
    const QString tail = QStringLiteral(":%1").arg(seconds % minute, 2, 10, QLatin1Char('0'));
    if (seconds < hour)
        return QString::number(seconds / minute) + tail;
    return QStringLiteral("%1:%2").arg(seconds / hour).arg(seconds % hour / minute, 2, 10, QLatin1Char('0')) + tail;
}
