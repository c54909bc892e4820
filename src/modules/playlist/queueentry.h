#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <memory>

/// Names an entry of the queue: rises by one from 1 and is never used again, also after a restart.
using EntryId = qint64;

/// What an entry plays.
struct QueueItem
{
    /// The encoded path of the item in the worker that has it.
    QString source;
    QString title;
    /// A text of TavoRolesType.
    QString type;
    /// The media record as StoredJson writes it: one block of memory instead of dozens. Null as long as there is none.
    QByteArray mediaJson = {};

    friend bool operator==(const QueueItem& a, const QueueItem& b)
    {
        return a.source == b.source && a.title == b.title && a.type == b.type && a.mediaJson == b.mediaJson;
    }
    friend bool operator!=(const QueueItem& a, const QueueItem& b) { return !(a == b); }
};

struct QueueEntry
{
    EntryId id;
    QueueItem item;
};

/// Queues share their entries.
using QueueEntryPointer = std::shared_ptr<const QueueEntry>;
