#pragma once

#include "playlistcommands.h"
#include "playlistengine.h"
#include "walkpool.h"

#include <memory>

/// Walks containers and prepares the entries, in threads of its own that ask other workers through the root worker.
///
/// Several additions are walked at once; what they find is added in the order in which the walks end. Each worker has
/// an ItemPreparation for its entries. Neither a walk nor a worker that waits for a dead mount holds up the others.
class Additions
{
public:
    /// Entries that the playlist has already and that lack their tags are prepared. `ownPrefix` is that of the worker
    /// whose queue it is. The engine must outlive it.
    Additions(PlaylistEngine& engine, const QString& ownPrefix);
    /// Cancels what is under way; additions that have not reached the engine end in an error. Waits for the requests
    /// that it has made last.
    ~Additions();
    Q_DISABLE_COPY_MOVE(Additions)

    /// Finds the items and has the engine add them. An operation that was made before gets its answer at once, one that
    /// is under way the outcome of that. The completion is called once, in any thread. Any thread.
    void
    add(const PlaylistEngine::Guard& guard, const PlaylistCommands::Addition& addition,
        PlaylistEngine::Completion completion);
    /// Has the engine run the command, and then prepares those entries that it brings back without tags. Any thread.
    void restore(
        const PlaylistEngine::Guard& guard, PlaylistCommands::Restoration restoration,
        PlaylistEngine::Completion completion);

private:
    class State;

    PlaylistEngine& m_engine;
    /// Completions that the engine still holds share it.
    const std::shared_ptr<State> m_state;
    WalkPool m_walks;
};
