#pragma once

#include "content/openpaths.h"
#include "content/result.h"

#include <model/cmpath.h>
#include <model/cmrequest.h>

#include <QStringList>
#include <QVariant>

#include <limits>
#include <memory>
#include <optional>

class Host;

/// The roles that an entry of a file system has.
[[nodiscard]] const QStringList& entryRoles();

/// All that one client can do, whatever carries it. The worker ends the process on a broken invariant and cannot know
/// its clients: the session lets nothing through that would break one.
///
/// Everything may be called from any thread; opening and closing wait for the worker's thread, whose event loop must
/// run. The host must outlive the session.
class Session
{
public:
    using ChangeHandler = OpenPaths::ChangeHandler;

    struct Description
    {
        QString prefix;
        QString rootDirectory;
        QStringList roles;
        CMPath preparePlaylist;
        CMPath prepareLibrary;
        CMPath countFiles;
        CMPath contextMenu;
    };

    struct RowsQuery
    {
        CMPath path;
        /// From 0.
        int first = 0;
        /// Inclusive, from -1; a page whose last row comes before its first is empty.
        int last = std::numeric_limits<int>::max();
        /// That the client's rows have; 0: it has none.
        int version = 0;
        QStringList roles = entryRoles();
    };

    struct Page
    {
        /// Rows of the container, not of the page.
        int count = 0;
        QVariantList rows;
        /// None for a context menu.
        std::optional<int> version;
        /// Of a context menu only.
        std::optional<QString> title;
        std::optional<int> containerType;

        /// Hash of what there is, by the members' names.
        [[nodiscard]] QVariant toVariant() const;
    };

    /// The handler runs in the worker's thread and must not block.
    Session(Host& host, ChangeHandler handler);
    /// Closes what the client has open.
    ~Session();
    Q_DISABLE_COPY_MOVE(Session)

    [[nodiscard]] Description describe() const;
    [[nodiscard]] Result<Page> rows(const RowsQuery& query) const;
    /// The values of one entry, in the order of the roles.
    [[nodiscard]] Result<QVariantList> data(const CMPath& path, const QStringList& roles) const;
    /// What the path's service answers to the value.
    [[nodiscard]] Result<QVariant> set(const CMPath& path, const QVariant& value) const;
    /// The context menu of an item.
    [[nodiscard]] Result<Page> menu(const CMPath& item, const QStringList& roles) const;
    [[nodiscard]] Result<Done> open(const CMPath& path);
    [[nodiscard]] Result<Done> close(const CMPath& path);

    /// Of what this thread has asked for. To be called when the pages are gone: what they lie in cannot be given back
    /// before. Cheap but after long listings.
    static void giveBackMemory();

private:
    [[nodiscard]] Result<Done> openHere(const CMPath& path);
    [[nodiscard]] bool isOpenable(const CMPath& path) const;
    /// Why the worker does not track the path: it may be an ancestor that it cannot read.
    [[nodiscard]] Failure refusal(const CMPath& path) const;
    /// 0 for what is no directory. To the worker a directory that it cannot read is empty, say for want of file
    /// descriptors.
    [[nodiscard]] int readError(const CMPath& path) const;
    /// None if the base stays in the root directory. The worker lets some through that do not.
    [[nodiscard]] std::optional<Failure> accessViolation(const QString& base) const;
    /// Of what a value for the service names.
    [[nodiscard]] QStringList basesIn(const CMPath& service, const QVariant& value) const;
    /// None if the worker has answered.
    [[nodiscard]] std::optional<Failure> ask(const CMRequest& request) const;

    Host& m_host;
    std::unique_ptr<OpenPaths> m_openPaths;
};
