#pragma once

#include "cmfileworker.h"

#include <memory>

/// Gives tests access to the worker's private members.
class CMFileWorkerInspector
{
public:
    explicit CMFileWorkerInspector(CMFileWorker& worker) : m_worker(worker) {}

    struct Record
    {
        int rowCount;
        int version;

        friend bool operator==(const Record& a, const Record& b)
        {
            return a.rowCount == b.rowCount && a.version == b.version;
        }
    };

    [[nodiscard]] QMutex& mutex() const { return m_worker.m_mutex; }
    [[nodiscard]] const QString& serviceId() const { return m_worker.m_serviceId; }
    [[nodiscard]] const QString& rootPath() const { return m_worker.m_rootPath; }
    [[nodiscard]] CMPath& contextMenuPath() const { return m_worker.m_contextMenuPath; }
    [[nodiscard]] const QDir& rootDir() const { return m_worker.m_rootDir; }
    [[nodiscard]] const QStringList& filterPatterns() const { return m_worker.m_filter; }
    [[nodiscard]] const QStringList& playlistPatterns() const { return m_worker.m_playlistPatterns; }
    [[nodiscard]] int& rowsVersion() const { return m_worker.m_rowsVersion; }
    [[nodiscard]] QFileSystemWatcher* watcher() const { return m_worker.m_watcher; }
    [[nodiscard]] QHash<QString, int>& watchCounts() const { return m_worker.m_watchCounts; }
    [[nodiscard]] int albumArtWidth() const { return m_worker.m_albumArtWidth; }

    [[nodiscard]] bool hasRecord(const QString& path) const { return m_worker.m_cache.contains(path); }
    [[nodiscard]] int recordCount() const { return m_worker.m_cache.size(); }
    /// {-2, -2} if there is none.
    [[nodiscard]] Record record(const QString& path) const
    {
        const CMFileWorker::CacheItem item = m_worker.m_cache.value(path, {-2, -2});
        return {item.rowCount, item.version};
    }
    void setRecord(const QString& path, int rowCount, int version) const
    {
        m_worker.m_cache.insert(path, {rowCount, version});
    }

    /// In the order in which the class declares them.
    [[nodiscard]] QVector<const void*> memberAddresses() const
    {
        return {&m_worker.m_mutex,   &m_worker.m_serviceId,   &m_worker.m_rootPath,         &m_worker.m_contextMenuPath,
                &m_worker.m_rootDir, &m_worker.m_filter,      &m_worker.m_playlistPatterns, &m_worker.m_rowsVersion,
                &m_worker.m_watcher, &m_worker.m_watchCounts, &m_worker.m_albumArtWidth,    &m_worker.m_cache};
    }

    [[nodiscard]] CMError errorAccessViolation(const QString& path) const
    {
        return m_worker.errorAccessViolation(path);
    }
    [[nodiscard]] CMError errorNoReadPermission(const QString& path) const
    {
        return m_worker.errorNoReadPermission(path);
    }
    [[nodiscard]] QStringList entryList(CMVoidReply& reply, const QString& path) const
    {
        return m_worker.entryList(reply, path);
    }
    [[nodiscard]] bool filter(const QString& name, bool isDir) const { return m_worker.filter(name, isDir); }
    void sendRowsReply(const QVariantList& rows, const TrString& title, const CMGetRowsRequest& request) const
    {
        m_worker.sendRowsReply(rows, title, request);
    }
    [[nodiscard]] QVariantList
    prepareItems(const CMSetDataRequest& request, const TagReader& reader, const QStringList& patterns) const
    {
        return m_worker.prepareItems(request, reader, patterns);
    }
    [[nodiscard]] QVariantList
    prepareItems(const QStringList& itemIds, const TagReader& reader, const QStringList& patterns) const
    {
        return m_worker.prepareItems(itemIds, reader, patterns);
    }
    void addWatch(const QString& path) const { m_worker.addWatch(path); }
    void removeWatch(const QString& path) const { m_worker.removeWatch(path); }
    void onWatcherChanged(const QString& path) const { m_worker.on_watcherChanged(path); }
    void watcherChanged(const QString& path, const QStringList& entries) const
    {
        m_worker.watcherChanged(path, entries);
    }

private:
    CMFileWorker& m_worker;
};
