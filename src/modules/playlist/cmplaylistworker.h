#pragma once

#include "additions.h"
#include "model/cmworker.h"
#include "playlistengine.h"
#include "playlistrows.h"

#include <QSet>

#include <mutex>

/// Serves the queue, the player and the outputs that can play it.
///
/// The worker's root has the entries as rows; `player` has the player's state as its value; `outputs` has the outputs
/// as rows. A client offers the output NAME as long as it has `outputs/NAME` open. Commands are set-data requests,
/// which are answered later, from another thread; a path that names no service is refused as invalid.
///
/// Requests may come from any thread and wait for nothing.
class CMPlaylistWorker : public CMWorker
{
    Q_OBJECT
public:
    /// Without a service id its prefix is "playlist". Returns when the stored queue has been read.
    explicit CMPlaylistWorker(const QVariantHash& configuration);
    /// Returns when all commands that reached the queue are stored.
    ~CMPlaylistWorker() override;

    void getDataRequest(const CMGetDataRequest& request) override;
    void getRowsRequest(const CMGetRowsRequest& request) override;
    void setDataRequest(const CMSetDataRequest& request) override;
    /// False for paths that do not change, and beyond 256 outputs.
    [[nodiscard]] bool connectChange(const CMPath& path, CMChangeReceiver* receiver) override;

    /// Of an entry, an output, the player, or the list of these. Errors: invalidPath.
    [[nodiscard]] QVariantList getDataImpl(CMVoidReply& reply, const QString& path, const QStringList& roles) override;

private:
    /// All that requests read, of one moment.
    struct Snapshot
    {
        std::shared_ptr<const Playlist> playlist;
        int playerVersion = 0;
        int outputsVersion = 0;
    };

    /// In the worker's thread.
    void subscribePathAdded(const CMPath& path);
    void subscribePathRemoved(const CMPath& path);

    /// In the engine's thread.
    void publish(const PlaylistEngine::Publication& publication);
    void announce(const QString& base, int version);

    [[nodiscard]] Snapshot snapshot() const;
    /// False if an output of this name would be one too many.
    [[nodiscard]] bool mayOffer(const QString& name) const;
    [[nodiscard]] QVariantList queuePage(const Queue& queue, const CMGetRowsRequest& request) const;
    [[nodiscard]] QVariantList outputsPage(const QStringList& names, const CMGetRowsRequest& request) const;
    void sendPage(const CMGetRowsRequest& request, int count, int version, const QVariantList& rows) const;
    void sendMenu(const CMGetRowsRequest& request) const;

    const PlaylistRows m_rows;

    /// Guards what follows; a leaf.
    mutable std::mutex m_mutex;
    Snapshot m_snapshot;
    QSet<QString> m_offered;

    PlaylistEngine m_engine;
    /// Uses the engine.
    Additions m_additions;
};
