#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class ContentHost;

/// A picture for a file or directory, ready to be sent. A value whose copies share the data.
struct Cover
{
    /// "image/jpeg" or "image/png".
    QByteArray mimeType;
    /// A strong validator with its quotes.
    QByteArray etag;
    QByteArray data;
};

/// Finds covers, scales them and keeps the scaled ones on the disk.
///
/// The cover of a file is the front cover in its tags or, without one, the picture of its directory. The cover of a
/// directory is its picture or, without one, the front cover of its first playable file. The picture of a directory is
/// its file cover, folder or front with the extension jpg, jpeg or png, in any case; the first in that order. The same
/// rules as for MediaLibrary say which files and directories are looked at.
///
/// The threads of the store do all work. Each root has its own, so that one that hangs holds up no other: equal
/// requests share one answer, and two pictures of a root are decoded at a time. All functions may be called from any
/// thread.
class CoverStore
{
public:
    struct Settings
    {
        /// Where scaled covers are kept; created if it is missing. Empty: none are kept.
        QString directory = {};
        /// Bytes on the disk; those that were used longest ago are removed first.
        qint64 mostBytes = qint64{256} << 20;
    };

    struct Query
    {
        /// The ID of a root.
        QString prefix;
        /// Decoded; empty for the root directory.
        QString base;
        /// Pixels; the cover gets the next of 100, 200, 400 and 800, and is never scaled up.
        int width = 400;
    };

    /// Gets nothing if there is no cover, whatever the reason.
    using Receive = std::function<void(const std::optional<Cover>&)>;

    /// The host must outlive the store.
    CoverStore(ContentHost& host, const Settings& settings);
    /// Waits for the pictures that are being decoded; call stop() before.
    ~CoverStore();
    Q_DISABLE_COPY_MOVE(CoverStore)

    /// Does not block. `receive` is called once, in a thread of the store or, where there is no such root, too many
    /// wait for it, or after stop(), in this one; it must not block or throw.
    void find(const Query& query, const Receive& receive);

    /// Files that were searched for a picture, since the start.
    [[nodiscard]] qint64 decoded() const;

    /// Answers all waiting and later queries with nothing. False if a thread still works after `patience`: it hangs in
    /// the kernel, and the store must not be destroyed.
    [[nodiscard]] bool stop(std::chrono::milliseconds patience);

private:
    class State;
    std::unique_ptr<State> m_state;
};
