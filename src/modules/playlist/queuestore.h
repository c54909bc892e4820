#pragma once

#include "player.h"
#include "playlist.h"
#include "queue.h"

#include <QString>
#include <QVariant>
#include <QtGlobal>

#include <deque>
#include <memory>
#include <optional>

/// A text of a client's, and the answer that it gets again.
struct Operation
{
    QString text;
    QVariantHash answer;
};

/// Keeps a playlist in the file queue.sqlite of a directory: all of it, but for the outputs and the order of shuffle.
///
/// SQLite writes ahead and hands what a transaction changes to the system before it returns; it does not wait for the
/// disk, which would take tens of milliseconds an edit on a memory card. So a stored change survives the process,
/// however it ends; after a power failure the last ones may be missing, and the file is sound.
///
/// The file is locked for other processes as long as the store lives. If it is damaged, or not of this store or of this
/// version of it, it is set aside with a warning, and a new one is begun. If it cannot be used for another reason,
/// nothing is stored, and save() says why.
///
/// Belongs to the thread that makes it. There has to be a QCoreApplication.
class QueueStore
{
public:
    static constexpr int mostOperations = 1000;

    /// What was stored.
    struct Content
    {
        Queue queue = {};
        PlayerState player = {};
        /// 0: nothing was stored.
        int version = 0;
        int lastEdit = 0;
        /// The oldest first.
        std::deque<Operation> operations = {};
    };

    /// `directory` is created if it is missing. Empty: nothing is kept, which is no error.
    explicit QueueStore(const QString& directory);
    ~QueueStore();
    Q_DISABLE_COPY_MOVE(QueueStore)

    /// What was stored when the store was made; to be called once.
    [[nodiscard]] Content takeContent();

    /// Stores in one transaction what `change` has made of the queue, and the rest of the playlist; writes
    /// nothing if nothing of it is new. Returns why it failed, after which the file is as it was; an empty text stands
    /// for success.
    [[nodiscard]] QString
    save(const Playlist& playlist, const QueueChange& change, const std::optional<Operation>& operation);

    /// Moves what SQLite has written ahead into the database, if it is much, and waits for the disk. To be called after
    /// each save(), when nobody waits for its result any more: only this keeps the log short.
    void checkpoint();

private:
    class Connection;

    void open(const QString& directory);

    std::unique_ptr<Connection> m_connection;
    Content m_content;
    /// Why nothing can be stored.
    QString m_failure;
};
