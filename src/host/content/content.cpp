#include "content/content.h"

#include "content/confinement.h"
#include "content/contenthost.h"
#include "content/failures.h"
#include "content/networknames.h"

#include <model/cmrequestcontext.h>
#include <model/cmroot.h>
#include <tavo/tavokeys.h>
#include <tavo/tavoroles.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <utility>

#include <dirent.h>

namespace {

Result<void> check(const Content::RowsQuery& query)
{
    if (query.first < 0)
        return Failure::wrongUse(QStringLiteral("the first row is below 0"));
    if (query.last < -1)
        return Failure::wrongUse(QStringLiteral("the last row is below -1"));
    if (query.version < 0)
        return Failure::wrongUse(QStringLiteral("the rows version is below 0"));
    return {};
}

Content::Page pageOf(const TavoRowsRoles& answer)
{
    Content::Page page;
    page.count = answer.rowsCount();
    page.rows = answer.rows();
    const TavoRoles roles = answer.roles();
    if (answer.hasRowsVersion())
        page.version = answer.rowsVersion();
    if (roles.field(TavoRoles::Title()).isValid())
        page.title = roles.title();
    if (roles.field(TavoRoles::ContainerType()).isValid())
        page.containerType = roles.containerType();
    return page;
}

/// The error that keeps the directory from being read, 0 for none or if it is not a directory. A worker that cannot
/// read a directory, for example because no file descriptor is left, takes it for an empty one.
int readError(const QByteArray& localPath)
{
    DIR* const directory = opendir(localPath.constData());
    if (!directory)
        return errno == ENOTDIR || errno == ENOENT ? 0 : errno;
    closedir(directory);
    return 0;
}

/// All texts in the value, at any depth.
void collectTexts(const QVariant& value, QStringList& texts)
{
    switch (value.userType()) {
    case QMetaType::QVariantList:
    case QMetaType::QStringList:
        for (const QVariant& element : value.toList())
            collectTexts(element, texts);
        break;
    case QMetaType::QVariantHash:
        for (const QVariant& element : value.toHash())
            collectTexts(element, texts);
        break;
    case QMetaType::QVariantMap:
        for (const QVariant& element : value.toMap())
            collectTexts(element, texts);
        break;
    default:
        texts.append(value.toString());
    }
}

/// Fails if the thread's request was cancelled or has exceeded its limit: its items are incomplete then.
Result<void> checkContext()
{
    const CMRequestContext* const context = CMRequestContext::current();
    if (context && context->isCancelled())
        return Failures::cancelled();
    if (context && context->isExhausted())
        return Failures::tooLarge();
    return {};
}

/// The items that network clients may see: a walk follows links to files, wherever they lead.
QVariantList publicItems(const Mount& mount, const QVariantList& items)
{
    QVariantList shown;
    std::copy_if(items.cbegin(), items.cend(), std::back_inserter(shown), [&mount](const QVariant& item) {
        const CMPath path = CMPath::fromEncoded(item.value<QVariantHash>().value(TavoRoles::Path()).toString());
        return isPublic(mount, path.base());
    });
    return shown;
}

QVariantHash servicesOf(const Mount& tree)
{
    return {
        {QStringLiteral("preparePlaylist"), tree.preparePlaylist().toEncoded()},
        {QStringLiteral("prepareLibrary"), tree.prepareLibrary().toEncoded()},
        {QStringLiteral("countFiles"), tree.countFiles().toEncoded()}};
}

QVariantHash description(const Mount& mount)
{
    QString prefix = mount.path(QString()).toEncoded();
    prefix.chop(1);
    QVariantHash fields{
        {QStringLiteral("prefix"), prefix},
        {QStringLiteral("title"), mount.title.toString()},
        {QStringLiteral("kind"), mount.kind},
        {QStringLiteral("contextMenu"), mount.contextMenu().toEncoded()}};
    if (mount.isTree())
        fields.insert(QStringLiteral("services"), servicesOf(mount));
    return fields;
}

/// Waits for an answer that comes later, but not longer than the thread's request may take. A worker without a tree
/// answers every value.
void waitForAnswer(const CMVoidReply& reply)
{
    constexpr int step = 50;
    while (!reply.waitForFinished(step) && checkContext()) {
    }
}

QVariantHash description(const Limits& limits)
{
    return {
        {QStringLiteral("values"), limits.values},
        {QStringLiteral("items"), limits.items},
        {QStringLiteral("open"), limits.openPaths},
        {QStringLiteral("message"), limits.message}};
}

} // namespace

const QStringList& entryRoles()
{
    static const QStringList roles = {
        TavoRoles::Path(),  TavoRoles::Title(),     TavoRoles::Type(),     TavoRoles::ContainerPlayable(),
        TavoRoles::Flags(), TavoRoles::MediaData(), TavoRoles::Timestamp()};
    return roles;
}

QVariant Content::Page::toVariant() const
{
    QVariantHash fields{{QStringLiteral("count"), count}, {QStringLiteral("rows"), rows}};
    if (version)
        fields.insert(QStringLiteral("version"), *version);
    if (title)
        fields.insert(QStringLiteral("title"), *title);
    if (containerType)
        fields.insert(QStringLiteral("containerType"), *containerType);
    return fields;
}

Content::Content(ContentHost& host, Reach reach, const Limits& limits) : m_host(&host), m_reach(reach), m_limits(limits)
{
}

QVariantHash Content::describe() const
{
    constexpr int protocol = 1;
    QVariantList roots;
    for (const SharedMount& mount : m_host->mounts())
        roots.append(description(*mount));
    return {
        {QStringLiteral("protocol"), protocol},
        {QStringLiteral("version"), QStringLiteral(TAVO_VERSION)},
        {QStringLiteral("roots"), roots},
        {QStringLiteral("roles"), CMAllRoles()},
        {QStringLiteral("limits"), description(m_limits)}};
}

Content::RowsQuery Content::cut(RowsQuery query) const
{
    const int rows = std::max(1, m_limits.values / std::max(1, query.roles.size()));
    if (query.first <= std::numeric_limits<int>::max() - rows)
        query.last = std::min(query.last, query.first + rows - 1);
    return query;
}

Result<Content::Page> Content::rows(const RowsQuery& query) const
{
    if (const Result<void> valid = check(query); !valid)
        return valid.failure();
    if (query.path == CMPath())
        return rowsOfRoot(cut(query));
    const SharedMount mount = m_host->findMount(query.path.prefix());
    if (!mount)
        return shown(Failures::invalidPath(query.path), query.path);
    Result<Page> page = rowsOf(mount, cut(query));
    if (!page)
        return shown(page.failure(), query.path);
    return page;
}

Result<Content::Page> Content::rowsOfRoot(const RowsQuery& query) const
{
    const CMGetRowsRequest request(query.path, query.first, query.last, query.version, query.roles);
    if (const Result<void> asked = ask(request); !asked)
        return shown(asked.failure(), query.path);
    return pageOf(request.reply().value());
}

Result<Content::Page> Content::rowsOf(const SharedMount& mount, const RowsQuery& query) const
{
    const bool isMenu = query.path.startsWith(mount->contextMenu());
    if (const Result<void> access = isMenu ? Result<void>() : checkAccess(*mount, query.path.base()); !access)
        return access.failure();
    const CMGetRowsRequest request(query.path, query.first, query.last, query.version, query.roles);
    if (const Result<void> asked = ask(request); !asked)
        return asked.failure();
    Page page = pageOf(request.reply().value());
    const bool mayBeUnreadable = page.count == 0 && mount->isTree();
    if (const int error = mayBeUnreadable ? readError(mount->localPath(query.path.base())) : 0; error != 0)
        return Failures::unreadable(query.path, error);
    page.rows = shown(mount, page.rows).toList();
    return page;
}

Result<QVariantList> Content::data(const CMPath& path, const QStringList& roles) const
{
    const SharedMount mount = m_host->findMount(path.prefix());
    if (!mount)
        return shown(Failures::invalidPath(path), path);
    if (const Result<void> access = checkAccess(*mount, path.base()); !access)
        return shown(access.failure(), path);
    const CMGetDataRequest request(path, roles);
    if (const Result<void> asked = ask(request); !asked)
        return shown(asked.failure(), path);
    return shown(mount, request.reply().value()).toList();
}

Result<QVariant> Content::set(const CMPath& service, const QVariant& value) const
{
    const SharedMount mount = m_host->findMount(service.prefix());
    if (!mount)
        return shown(Failures::invalidPath(service), service);
    if (const Result<void> valid = checkValue(mount, service, value); !valid)
        return shown(valid.failure(), service);
    const CMSetDataRequest request(service, value);
    if (const Result<void> asked = ask(request, mount->isTree() ? Answers::AtOnce : Answers::Later); !asked)
        return shown(asked.failure(), service);
    if (const Result<void> complete = checkContext(); !complete)
        return complete.failure();
    const QVariant answer = request.reply().value();
    const bool hasItems = mount->isTree() && mount->isWalk(service) && answer.userType() == QMetaType::QVariantList;
    return shown(mount, hasItems && m_reach == Reach::Network ? publicItems(*mount, answer.toList()) : answer);
}

bool Content::isWalk(const CMPath& service) const
{
    const QString& prefix = service.prefix();
    if (m_host->isRoot(prefix))
        return Mount{prefix, {}, {}}.isWalk(service);
    const SharedMount mount = m_host->mountAt(prefix);
    return mount && mount->isWalk(service);
}

bool Content::isListing(const CMPath& path) const
{
    const QString& prefix = path.prefix();
    return m_host->isRoot(prefix) && !path.startsWith(Mount{prefix, {}, {}}.contextMenu());
}

Result<Content::Page> Content::menu(const CMPath& item, const QStringList& roles) const
{
    const SharedMount mount = m_host->findMount(item.prefix());
    if (!mount)
        return shown(Failures::invalidPath(item), item);
    RowsQuery query;
    query.path = mount->path(mount->contextMenu().base() + QLatin1Char('/') + item.toEncoded());
    query.roles = roles;
    return rows(query);
}

Result<void> Content::checkAccess(const Mount& mount, const QString& base) const
{
    if (!mount.isTree())
        return {};
    const bool isServed = m_reach == Reach::Network ? isPublic(mount, base) : isConfined(mount.rootDirectory, base);
    if (isServed)
        return {};
    return Failures::accessViolation(base, mount.rootDirectory);
}

Result<void> Content::checkValue(const SharedMount& mount, const CMPath& service, const QVariant& value) const
{
    if (mount->isTree() && service == mount->countFiles())
        return checkAccess(*mount, value.toString());
    QStringList texts;
    collectTexts(value, texts);
    if (mount->isWalk(service) && texts.size() > m_limits.items)
        return Failure::wrongUse(QStringLiteral("there are more than %1 paths").arg(m_limits.items));
    // A worker that prepares items takes every path as one of its own, whatever the prefix.
    const bool isPreparation = mount->isTree() && mount->isWalk(service);
    for (const QString& text : qAsConst(texts)) {
        const CMPath path = CMPath::fromEncoded(text);
        const SharedMount owner = isPreparation ? mount : m_host->findMount(path.prefix());
        if (Result<void> access = owner ? checkAccess(*owner, path.base()) : Result<void>(); !access)
            return access;
    }
    return {};
}

Result<void> Content::ask(const CMRequest& request, Answers answers) const
{
    try {
        CMRoot()->request(request);
    } catch (...) {
        return Failures::fromException();
    }
    const CMVoidReply reply = request.voidReply();
    if (answers == Answers::Later)
        waitForAnswer(reply);
    if (reply.isError())
        return Failures::refused(reply.error());
    if (const Result<void> complete = checkContext(); !reply.isFinished() && !complete)
        return complete.failure();
    if (!reply.isFinished())
        return Failures::unanswered(request.path());
    return {};
}

Failure Content::shown(Failure failure, const CMPath& path) const
{
    return Failures::shownTo(m_reach, std::move(failure), path);
}

QVariant Content::shown(const SharedMount& mount, const QVariant& value) const
{
    if (m_reach == Reach::Local)
        return value;
    return withNetworkNames(value, [this, &mount](const QString& serviceId) {
        return mount->isTree() ? mount : m_host->mountAt(serviceId);
    });
}
