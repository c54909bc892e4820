#pragma once

#include "rpc/message.h"

#include <QHash>
#include <QString>

#include <list>

/// The messages to one client, in order: those that are pending, and the one that is being written. For one thread at a
/// time.
class PendingMessages
{
public:
    /// A message, or the rest of one, and its key if another one may replace it.
    struct Entry
    {
        Message message;
        /// Null: nothing may replace the message.
        QString key = {};
    };

    /// If a message is pending under the same key, the new one takes its place and true is returned. Otherwise nothing
    /// happens.
    [[nodiscard]] bool replace(const Entry& entry);
    void append(Entry entry);
    /// No later message replaces one that is pending now.
    void endReplacing() { m_latest.clear(); }
    /// The first message, which is being written from now on. Call only if there is one.
    [[nodiscard]] Message takeFirst();
    /// No message is being written any more.
    void endWriting() { m_writtenBytes = 0; }
    /// Drops what is pending.
    void clear();

    [[nodiscard]] bool isEmpty() const { return m_entries.empty(); }
    /// Of all pending messages.
    [[nodiscard]] qint64 bytes() const { return m_bytes; }
    /// With the message that is being written.
    [[nodiscard]] qint64 heldBytes() const { return m_bytes + m_writtenBytes; }
    /// True if enough is pending to keep the client busy, including the message that is being written.
    [[nodiscard]] bool isFull() const;

private:
    std::list<Entry> m_entries;
    /// The message of each key that may still be replaced.
    QHash<QString, std::list<Entry>::iterator> m_latest;
    qint64 m_bytes = 0;
    qint64 m_writtenBytes = 0;
};
