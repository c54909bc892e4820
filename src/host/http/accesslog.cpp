#include "http/accesslog.h"

#include "http/router.h"

#include <QByteArrayList>

QByteArray accessLine(const Access& access)
{
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(access.duration).count();
    const QByteArrayList parts = {
        access.method.isEmpty() ? "-" : loggedPath(access.method),
        access.target.isEmpty() ? "-" : loggedPath(access.target),
        QByteArray::number(access.status),
        QByteArray::number(access.bytes),
        QByteArray::number(qint64{milliseconds}) + "ms",
        access.client.toText()};
    return parts.join(' ');
}
