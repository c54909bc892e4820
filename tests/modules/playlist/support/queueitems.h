#pragma once

#include "queue.h"
#include "storedjson.h"

#include <QString>
#include <QVariant>

#include <vector>

inline QueueItem makeItem(int number)
{
    const QString name = QString::number(number);
    return {
        QStringLiteral("/file/Album/%1.opus").arg(name), QStringLiteral("Track %1").arg(name), QStringLiteral("audio"),
        StoredJson::fromValue(
            QVariantHash{{QStringLiteral("metaData"), QVariantHash{{QStringLiteral("title"), name}}}})};
}

inline std::vector<QueueItem> makeItems(int count)
{
    std::vector<QueueItem> items;
    for (int i = 1; i <= count; ++i)
        items.push_back(makeItem(i));
    return items;
}

/// A queue of `count` entries with the ids from 1.
inline Queue makeQueue(int count)
{
    Queue queue;
    (void)queue.append(makeItems(count)).change;
    return queue;
}
