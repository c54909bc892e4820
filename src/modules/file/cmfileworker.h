#pragma once

#include "i18n/trstring.h"
#include "model/cmerror.h"
#include "model/cmpath.h"
#include "model/cmrequest.h"
#include "model/cmworker.h"
#include "tavo/tavokeys.h"

#include <QDir>
#include <QFileSystemWatcher>
#include <QHash>
#include <QMutex>
#include <QStringList>

#include <optional>

class TagReader;
class TavoNameMatcher;
struct dirent;

/// Serves one local directory tree, the root: directories are containers, files that match the playable patterns are
/// items, hidden entries are never shown. Directories that clients have opened are watched.
///
/// Requests may come from any thread and run in it. Opening, closing and the watcher's notifications belong to the
/// thread that made the worker. Opening a directory whose record exists already ends the process.
class CMFileWorker : public CMWorker
{
    Q_OBJECT
public:
    /// The configuration is read once. Without a root that exists the root path is empty.
    explicit CMFileWorker(const QVariantHash& configuration);
    ~CMFileWorker() override;

    void getDataRequest(const CMGetDataRequest& request) override;
    void getRowsRequest(const CMGetRowsRequest& request) override;
    void setDataRequest(const CMSetDataRequest& request) override;

    /// `path` is relative to the root, or absolute; the entry need not exist.
    [[nodiscard]] QVariantList getDataImpl(CMVoidReply& reply, const QString& path, const QStringList& roles) override;

Q_SIGNALS:
    /// Makes the directory at this absolute path look changed, later.
    void fakeDirectoryChanged(const QString& path);

private Q_SLOTS:
    void on_watcherChanged(const QString& path);
    void subscribePathAdded(const CMPath& pathWithPrefix);
    void subscribePathRemoved(const CMPath& pathWithPrefix);

private:
    friend class CMFileWorkerInspector;

    class Entry;
    class NamePatterns;
    class ScannedDirectory;

    struct CacheItem
    {
        /// Entries of the listing when the record was written; -1: opened, never listed.
        int rowCount;
        int version;
    };

    struct Listing
    {
        QStringList names;
        int total;
        /// 0: the directory has no record.
        int version;
    };

    /// The names of the directory's rows in their order: directories, then playable files. On refusal the reply has
    /// the error; the list is empty then, and also if the directory cannot be read.
    [[nodiscard]] QStringList entryList(CMVoidReply& reply, const QString& path);
    /// Appends the shown directories' names and releases all directories. An unknown type is found out and stored.
    void takeDirectories(ScannedDirectory& scanned, const QDir& dir, QStringList& names) const;
    /// Appends the shown files' names and releases all entries that are left.
    void takeFiles(ScannedDirectory& scanned, QStringList& names) const;
    /// The name of a file that filter() shows; decodes it only if that is needed to decide, or to log the decision.
    [[nodiscard]] std::optional<QString>
    shownFile(const dirent& entry, const TavoNameMatcher& playable, bool isFilterLogged) const;
    /// Whether the entry is shown; logs the name of a file that no pattern matches.
    [[nodiscard]] bool filter(const QString& name, bool isDir) const;

    /// The listing that agrees with the directory's record; none if the reply was given an error.
    [[nodiscard]] std::optional<Listing>
    consistentListing(const CMGetRowsRequest& request, const QString& absolutePath);
    /// The page that the request asks for; none if the reply was given an error.
    [[nodiscard]] std::optional<QVariantList>
    buildRows(const CMGetRowsRequest& request, const QString& absolutePath, const QStringList& names);
    void sendContextMenu(const CMGetRowsRequest& request);
    void sendRowsReply(const QVariantList& rows, const TrString& title, CMGetRowsRequest request);

    [[nodiscard]] QVariant roleValue(const QString& role, Entry& entry) const;
    [[nodiscard]] QVariant mediaData(Entry& entry) const;

    void countFiles(const CMSetDataRequest& request);
    [[nodiscard]] QVariantList
    prepareItems(const CMSetDataRequest& request, const TagReader& reader, const QStringList& patterns);
    [[nodiscard]] QVariantList
    prepareItems(const QStringList& itemIds, const TagReader& reader, const QStringList& patterns);
    /// The items of a file, or of all files below a directory; none if nothing playable has this id.
    [[nodiscard]] QVariantList
    prepareItem(const QString& itemId, const TagReader& reader, const NamePatterns& patterns);

    [[nodiscard]] CMError errorAccessViolation(const QString& path) const;
    [[nodiscard]] CMError errorNoReadPermission(const QString& path) const;

    /// The absolute path as the requested one is joined to the root, `..` and all.
    [[nodiscard]] QString joinedPath(const QString& path) const;
    /// QDir::relativeFilePath() of the root.
    [[nodiscard]] QString relativePath(const QString& absolutePath) const;
    [[nodiscard]] bool isInsideRoot(const QString& absolutePath) const;

    /// The next rows version; 1 follows the largest.
    [[nodiscard]] int renewRowsVersion();
    /// Call with m_mutex held, as removeWatch().
    void addWatch(QString path);
    void removeWatch(QString path);
    /// Records the directory's new listing, or its removal, and notifies its clients.
    void watcherChanged(const QString& path, const QStringList& entries);
    /// Call with m_mutex held.
    void emulateChangesOfDeleted(const CMPath& rowPath);

    /// Guards the records and the watch counts; taken before CMVersion::mutex(). Recursive, because a rows request
    /// reports the change that it finds.
    QMutex m_mutex{QMutex::Recursive};
    QString m_serviceId;
    /// Canonical; empty if the configured root does not exist.
    QString m_rootPath = QStringLiteral("/");
    CMPath m_contextMenuPath;
    QDir m_rootDir{m_rootPath};
    /// Wildcard patterns of playable names.
    QStringList m_filter;
    QStringList m_playlistPatterns = TavoPlayListPatterns();
    int m_rowsVersion;
    /// A child of the worker.
    QFileSystemWatcher* m_watcher;
    /// By watched path: the calls of addWatch() that no removeWatch() has matched.
    QHash<QString, int> m_watchCounts;
    /// Pixels.
    int m_albumArtWidth;
    /// By absolute path.
    QHash<QString, CacheItem> m_cache;
};
