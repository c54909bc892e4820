#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

#include <list>

/// Messages that wait for their turn to be written, in order. For one thread at a time.
class PendingMessages
{
public:
    /// A message, or the rest of one, and its key if another one may replace it.
    struct Entry
    {
        QByteArray message;
        /// Null: nothing may replace the message.
        QString key = {};
    };

    /// If a message is pending under the same key, the new one takes its place and true is returned. Otherwise nothing
    /// happens.
    [[nodiscard]] bool replace(const Entry& entry);
    void append(Entry entry);
    /// No later message replaces one that is pending now.
    void endReplacing() { m_latest.clear(); }
    /// Removes the first message. Call only if there is one.
    [[nodiscard]] QByteArray takeFirst();
    void clear();

    [[nodiscard]] bool isEmpty() const { return m_entries.empty(); }
    /// Of all pending messages.
    [[nodiscard]] qint64 bytes() const { return m_bytes; }

private:
    std::list<Entry> m_entries;
    /// The message of each key that may still be replaced.
    QHash<QString, std::list<Entry>::iterator> m_latest;
    qint64 m_bytes = 0;
};
