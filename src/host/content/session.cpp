#include "content/session.h"

#include "content/confinement.h"
#include "content/host.h"
#include "content/localpath.h"

#include <model/cmroot.h>
#include <tavo/tavokeys.h>
#include <tavo/tavoroles.h>

#include <QThread>

#include <algorithm>
#include <cerrno>
#include <utility>

#include <dirent.h>
#include <malloc.h>

namespace {

constexpr int longListing = 100'000;
/// In this thread, since it gave back its memory.
thread_local bool hasListedMuch = false;

Failure refused(const CMError& error)
{
    return {Failure::Kind::Refused, error.message(), error.name(), error.title()};
}

Failure invalidPath(const CMPath& path)
{
    return refused(CMAbstractWorker::createErrorInvalidPath(path));
}

Failure notOpen(const CMPath& path)
{
    return refused({TavoErrorInvalidPath(), TrString({"Session", "'%1' is not open"}, path.toEncoded())});
}

Failure unreadable(const CMPath& path, int errorNumber)
{
    const QList<TrArg> arguments = {path.toEncoded(), qt_error_string(errorNumber)};
    return refused({CMError::DefaultName(), TrString({"Session", "'%1' cannot be read: %2"}, arguments)});
}

Failure unanswered(const CMPath& path)
{
    return {Failure::Kind::Unanswered, QStringLiteral("'%1' gives no answer").arg(path.toEncoded())};
}

/// One path for one directory: the worker looks up by the cleaned path what it has stored by the joined one.
bool isNormal(const QString& base)
{
    if (base.isEmpty())
        return true;
    const auto segments = base.splitRef(QLatin1Char('/'));
    return !base.contains(QChar::Null) && std::none_of(segments.cbegin(), segments.cend(), [](const QStringRef& name) {
        return name.isEmpty() || name == QLatin1String(".") || name == QLatin1String("..");
    });
}

std::optional<Failure> misuse(const Session::RowsQuery& query)
{
    if (query.first < 0)
        return Failure::wrongUse(QStringLiteral("the first row is below 0"));
    if (query.last < -1)
        return Failure::wrongUse(QStringLiteral("the last row is below -1"));
    if (query.version < 0)
        return Failure::wrongUse(QStringLiteral("the rows version is below 0"));
    return std::nullopt;
}

Session::Page pageOf(const TavoRowsRoles& answer)
{
    Session::Page page;
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

template<typename Function>
void runInThreadOf(const CMWorker& worker, Function&& function)
{
    // Not a call of the worker itself: what is queued for that is delivered in the middle of opening and closing.
    CMSubscribe* const context = worker.subscribe();
    if (context->thread() == QThread::currentThread())
        function();
    else
        QMetaObject::invokeMethod(context, std::forward<Function>(function), Qt::BlockingQueuedConnection);
}

} // namespace

const QStringList& entryRoles()
{
    static const QStringList roles = {
        TavoRoles::Path(),  TavoRoles::Title(),     TavoRoles::Type(),     TavoRoles::ContainerPlayable(),
        TavoRoles::Flags(), TavoRoles::MediaData(), TavoRoles::Timestamp()};
    return roles;
}

QVariant Session::Page::toVariant() const
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

Session::Session(Host& host, ChangeHandler handler) : m_host(host)
{
    runInThreadOf(m_host.worker(), [this, &handler] {
        m_openPaths = std::make_unique<OpenPaths>(m_host.worker(), std::move(handler));
    });
}

Session::~Session()
{
    runInThreadOf(m_host.worker(), [this] { m_openPaths.reset(); });
}

Session::Description Session::describe() const
{
    const CMWorker& worker = m_host.worker();
    QString prefix = worker.addPrefix(QString()).toEncoded();
    prefix.chop(1);
    return {
        prefix,
        m_host.rootDirectory(),
        CMAllRoles(),
        worker.addPrefix(TavoPlayListPrepareItems()),
        worker.addPrefix(TavoMusicLibraryPrepareItems()),
        worker.addPrefix(TavoFilesystemCountFilesPathSuffix()),
        m_host.contextMenu()};
}

Result<Session::Page> Session::rows(const RowsQuery& query) const
{
    if (std::optional<Failure> failure = misuse(query))
        return *failure;
    const bool isMenu = query.path.startsWith(m_host.contextMenu());
    if (std::optional<Failure> failure = isMenu ? std::nullopt : accessViolation(query.path.base()))
        return *failure;
    const CMGetRowsRequest request(query.path, query.first, query.last, query.version, query.roles);
    if (std::optional<Failure> failure = ask(request))
        return *failure;
    Page page = pageOf(request.reply().value());
    if (const int error = page.count == 0 ? readError(query.path) : 0; error != 0)
        return unreadable(query.path, error);
    hasListedMuch = hasListedMuch || page.count >= longListing;
    return page;
}

void Session::giveBackMemory()
{
    // The allocator would keep what the names took, which may be more than a small device has to spare.
    if (std::exchange(hasListedMuch, false))
        malloc_trim(0);
}

Result<QVariantList> Session::data(const CMPath& path, const QStringList& roles) const
{
    if (std::optional<Failure> failure = accessViolation(path.base()))
        return *failure;
    const CMGetDataRequest request(path, roles);
    if (std::optional<Failure> failure = ask(request))
        return *failure;
    return request.reply().value();
}

Result<QVariant> Session::set(const CMPath& path, const QVariant& value) const
{
    for (const QString& base : basesIn(path, value)) {
        if (std::optional<Failure> failure = accessViolation(base))
            return *failure;
    }
    const CMSetDataRequest request(path, value);
    if (std::optional<Failure> failure = ask(request))
        return *failure;
    return request.reply().value();
}

Result<Session::Page> Session::menu(const CMPath& item, const QStringList& roles) const
{
    RowsQuery query;
    query.path = m_host.worker().addPrefix(m_host.contextMenu().base() + QLatin1Char('/') + item.toEncoded());
    query.roles = roles;
    return rows(query);
}

Result<Done> Session::open(const CMPath& path)
{
    std::optional<Result<Done>> result;
    runInThreadOf(m_host.worker(), [this, &path, &result] { result = openHere(path); });
    return *result;
}

Result<Done> Session::close(const CMPath& path)
{
    bool closed = false;
    runInThreadOf(m_host.worker(), [this, &path, &closed] { closed = m_openPaths->close(path); });
    if (!closed)
        return notOpen(path);
    return Done();
}

Result<Done> Session::openHere(const CMPath& path)
{
    if (!isOpenable(path))
        return invalidPath(path);
    const Result<QVariantList> type = data(path, {TavoRoles::Type()});
    if (!type)
        return type.failure();
    if (type.value().value(0).toString() != TavoRolesType::Container())
        return invalidPath(path);
    const QVector<CMPath> needed = lineage(path);
    const auto isReadable = [this](const CMPath& directory) { return readError(directory) == 0; };
    if (!std::all_of(needed.cbegin(), needed.cend(), isReadable) || !m_openPaths->open(path))
        return refusal(path);
    return Done();
}

bool Session::isOpenable(const CMPath& path) const
{
    return path.prefix() == m_host.worker().prefix() && isNormal(path.base()) && !path.startsWith(m_host.contextMenu());
}

Failure Session::refusal(const CMPath& path) const
{
    for (const CMPath& needed : lineage(path)) {
        const Result<Page> emptyPage = rows({needed, 0, -1, 0, {}});
        if (!emptyPage)
            return emptyPage.failure();
    }
    return invalidPath(path);
}

int Session::readError(const CMPath& path) const
{
    DIR* const directory = opendir(localPath(m_host.worker(), path).constData());
    if (!directory)
        return errno == ENOTDIR || errno == ENOENT ? 0 : errno;
    closedir(directory);
    return 0;
}

std::optional<Failure> Session::accessViolation(const QString& base) const
{
    const QString& root = m_host.rootDirectory();
    if (isConfined(root, base))
        return std::nullopt;
    const QList<TrArg> arguments = {base, root};
    return refused(
        {TavoErrorAccessViolation(), TrString({"Session", "Access violation: path '%1' is outside '%2'"}, arguments)});
}

QStringList Session::basesIn(const CMPath& service, const QVariant& value) const
{
    const CMWorker& worker = m_host.worker();
    if (service == worker.addPrefix(TavoFilesystemCountFilesPathSuffix()))
        return {value.toString()};
    QStringList bases;
    if (service == worker.addPrefix(TavoPlayListPrepareItems()) ||
        service == worker.addPrefix(TavoMusicLibraryPrepareItems())) {
        for (const QVariant& item : value.value<QVariantList>())
            bases.append(CMPath::fromEncoded(item.toString()).base());
    }
    return bases;
}

std::optional<Failure> Session::ask(const CMRequest& request) const
{
    if (request.path().prefix() != m_host.worker().prefix())
        return invalidPath(request.path());
    CMRoot()->request(request);
    const CMVoidReply reply = request.voidReply();
    if (reply.isError())
        return refused(reply.error());
    // The worker answers before it returns, or never.
    if (!reply.isFinished())
        return unanswered(request.path());
    return std::nullopt;
}
