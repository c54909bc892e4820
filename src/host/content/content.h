#pragma once

#include "content/limits.h"
#include "content/mount.h"
#include "content/result.h"

#include <model/cmrequest.h>

#include <QStringList>
#include <QVariant>

#include <limits>
#include <memory>
#include <optional>

class ContentHost;

/// The roles of a file's or directory's row.
[[nodiscard]] const QStringList& entryRoles();

/// The requests that clients may make, each complete in itself.
///
/// A worker ends the process on a broken invariant and cannot know its clients: this class refuses every request that
/// would break one. It has no state but its settings and is cheap to make and to copy. All functions may be called from
/// any thread and may wait for the disk; a walk stops soon after the thread's CMRequestContext was cancelled. The host
/// must outlive it.
class Content
{
public:
    struct RowsQuery
    {
        CMPath path;
        /// From 0.
        int first = 0;
        /// Inclusive, from -1; a page whose last row comes before its first is empty.
        int last = std::numeric_limits<int>::max();
        /// The version that the client's rows have; 0: it has none.
        int version = 0;
        QStringList roles = entryRoles();
    };

    struct Page
    {
        /// Rows of the container; the page may have fewer, and fewer than asked for where the limit cuts it.
        int count = 0;
        QVariantList rows;
        /// None for a context menu.
        std::optional<int> version;
        /// Of a context menu only.
        std::optional<QString> title;
        std::optional<int> containerType;

        /// A hash of the members that have values, by their names.
        [[nodiscard]] QVariant toVariant() const;
    };

    explicit Content(ContentHost& host, Reach reach = Reach::Local, const Limits& limits = Limits::none());

    [[nodiscard]] const Limits& limits() const { return m_limits; }
    [[nodiscard]] Reach reach() const { return m_reach; }

    /// The mounts, roles and limits, as clients read them.
    [[nodiscard]] QVariantHash describe() const;
    /// The query with a last row that keeps the answer within the limit, as rows() takes it.
    [[nodiscard]] RowsQuery cut(RowsQuery query) const;
    /// The path "/" has the mounts as rows.
    [[nodiscard]] Result<Page> rows(const RowsQuery& query) const;
    /// The values of one entry, in the order of the roles.
    [[nodiscard]] Result<QVariantList> data(const CMPath& path, const QStringList& roles) const;
    /// The service's answer to the value.
    [[nodiscard]] Result<QVariant> set(const CMPath& service, const QVariant& value) const;
    /// Whether the service may walk a whole tree, if its root is there. Never waits.
    [[nodiscard]] bool isWalk(const CMPath& service) const;
    /// Whether the path is in a tree of directories, and a page of its rows costs a listing of all its entries. Never
    /// waits.
    [[nodiscard]] bool isListing(const CMPath& path) const;
    /// The context menu of an item.
    [[nodiscard]] Result<Page> menu(const CMPath& item, const QStringList& roles) const;

private:
    using SharedMount = std::shared_ptr<const Mount>;

    [[nodiscard]] Result<Page> rowsOfRoot(const RowsQuery& query) const;
    [[nodiscard]] Result<Page> rowsOf(const SharedMount& mount, const RowsQuery& query) const;
    /// Refuses bases that lead out of the root directory; workers let some of them through.
    [[nodiscard]] Result<void> checkAccess(const Mount& mount, const QString& base) const;
    /// Checks every path in the value.
    [[nodiscard]] Result<void> checkValue(const SharedMount& mount, const CMPath& service, const QVariant& value) const;
    enum class Answers {
        /// The worker answers before it returns, or never.
        AtOnce,
        /// The worker may answer later.
        Later
    };

    /// Has the worker answer the request.
    [[nodiscard]] Result<void> ask(const CMRequest& request, Answers answers = Answers::AtOnce) const;
    /// The failure as the client may see it.
    [[nodiscard]] Failure shown(Failure failure, const CMPath& path) const;
    [[nodiscard]] QVariant shown(const SharedMount& mount, const QVariant& value) const;

    ContentHost* m_host;
    Reach m_reach;
    Limits m_limits;
};
