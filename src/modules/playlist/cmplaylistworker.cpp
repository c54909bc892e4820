#include "cmplaylistworker.h"

#include "commandvalue.h"
#include "model/cmconnect.h"
#include "model/cmversion.h"
#include "playlisttext.h"
#include "refusal.h"
#include "tavo/tavokeys.h"
#include "tavo/tavoroles.h"

#include <QDateTime>

#include <algorithm>
#include <limits>
#include <random>
#include <utility>

namespace {

constexpr int mostOutputs = 256;

const QString playerBase = QStringLiteral("player");

PlaylistEngine::Settings settingsFrom(const QVariantHash& configuration)
{
    PlaylistEngine::Settings settings;
    settings.directory = configuration.value(TavoPlaylist_StateDirectory()).toString();
    settings.firstVersion = CMVersion::next();
    settings.seed = std::random_device()();
    settings.clock = [] { return QDateTime::currentMSecsSinceEpoch(); };
    return settings;
}

QVariantHash withServiceId(QVariantHash configuration)
{
    if (configuration.value(TavoService_Id()).toString().isEmpty())
        configuration.insert(TavoService_Id(), QStringLiteral("playlist"));
    return configuration;
}

int versionAfter(int version)
{
    return version == std::numeric_limits<int>::max() ? 1 : version + 1;
}

/// The rows of the page that the request asks for, of `count` rows in all.
template<typename Row>
QVariantList pageOf(const CMGetRowsRequest& request, int count, const Row& row)
{
    QVariantList rows;
    const int last = std::min(request.last(), count - 1);
    for (int i = std::max(request.first(), 0); i <= last; ++i)
        rows.append(QVariant(row(i)));
    return rows;
}

} // namespace

extern "C" Q_DECL_EXPORT CMWorker* worker_create(void* /*host*/, const QVariantHash& configuration)
{
    return new CMPlaylistWorker(configuration);
}

CMPlaylistWorker::CMPlaylistWorker(const QVariantHash& configuration)
    : CMWorker(withServiceId(configuration), QStringLiteral("CMPlaylistWorker")), m_rows(*this),
      m_engine(settingsFrom(configuration), [this](const auto& publication) { publish(publication); }),
      m_additions(m_engine, prefix())
{
    {
        const std::lock_guard lock(m_mutex);
        m_snapshot = {m_engine.playlist(), CMVersion::next(), CMVersion::next()};
    }
    cmConnect(
        subscribe(), &CMSubscribe::rowsPathAdded, this, &CMPlaylistWorker::subscribePathAdded, Qt::DirectConnection);
    cmConnect(
        subscribe(), &CMSubscribe::rowsPathRemoved, this, &CMPlaylistWorker::subscribePathRemoved,
        Qt::DirectConnection);
}

CMPlaylistWorker::~CMPlaylistWorker() = default;

CMPlaylistWorker::Snapshot CMPlaylistWorker::snapshot() const
{
    const std::lock_guard lock(m_mutex);
    return m_snapshot;
}

void CMPlaylistWorker::publish(const PlaylistEngine::Publication& publication)
{
    Snapshot published;
    {
        const std::lock_guard lock(m_mutex);
        m_snapshot.playlist = publication.playlist;
        if (publication.hasNewPlayer)
            m_snapshot.playerVersion = versionAfter(m_snapshot.playerVersion);
        if (publication.hasNewOutputs)
            m_snapshot.outputsVersion = versionAfter(m_snapshot.outputsVersion);
        published = m_snapshot;
    }
    if (publication.hasNewRows)
        announce(QString(), published.playlist->version());
    if (publication.hasNewPlayer)
        announce(playerBase, published.playerVersion);
    if (publication.hasNewOutputs)
        announce(PlaylistRows::outputBase(), published.outputsVersion);
}

void CMPlaylistWorker::announce(const QString& base, int version)
{
    subscribe()->rowsChanged(addPrefix(base), {CMSubscribe::RowsChangeReset()}, version, -1);
}

bool CMPlaylistWorker::connectChange(const CMPath& path, CMChangeReceiver* receiver)
{
    const QString& base = path.base();
    const bool isList = base.isEmpty() || base == playerBase || base == PlaylistRows::outputBase();
    const QString output = PlaylistRows::outputAt(base);
    if (!isList && (output.isEmpty() || !mayOffer(output)))
        return false;
    return CMWorker::connectChange(path, receiver);
}

bool CMPlaylistWorker::mayOffer(const QString& name) const
{
    const std::lock_guard lock(m_mutex);
    return m_offered.size() < mostOutputs || m_offered.contains(name);
}

void CMPlaylistWorker::subscribePathAdded(const CMPath& path)
{
    const QString name = PlaylistRows::outputAt(path.base());
    if (name.isEmpty())
        return;
    {
        const std::lock_guard lock(m_mutex);
        m_offered.insert(name);
    }
    m_engine.post({}, [name](Playlist& playlist, qint64) { return playlist.offerOutput(name); }, {});
}

void CMPlaylistWorker::subscribePathRemoved(const CMPath& path)
{
    const QString name = PlaylistRows::outputAt(path.base());
    if (name.isEmpty())
        return;
    {
        const std::lock_guard lock(m_mutex);
        m_offered.remove(name);
    }
    m_engine.post({}, [name](Playlist& playlist, qint64 now) { return playlist.withdrawOutput(name, now); }, {});
}

QVariantList CMPlaylistWorker::getDataImpl(CMVoidReply& reply, const QString& path, const QStringList& roles)
{
    const std::shared_ptr<const Playlist> playlist = snapshot().playlist;
    if (path.isEmpty() || path == PlaylistRows::outputBase())
        return m_rows.container(path, roles);
    if (path == playerBase)
        return m_rows.player(playlist->player(), QDateTime::currentMSecsSinceEpoch(), roles);
    const std::optional<EntryId> id = PlaylistRows::entryAt(path);
    if (const QueueEntry* const entry = id ? playlist->queue().find(*id) : nullptr)
        return m_rows.entry(*entry, roles);
    if (const QString output = PlaylistRows::outputAt(path); playlist->outputs().contains(output))
        return m_rows.output(output, roles);
    reply.setError(createErrorInvalidPath(addPrefix(path)));
    return {};
}

void CMPlaylistWorker::getDataRequest(const CMGetDataRequest& request)
{
    CMReply<QVariantList> reply = request.reply();
    const QVariantList values = getDataImpl(reply, request.path().base(), request.roles());
    reply.setValue(values);
}

void CMPlaylistWorker::getRowsRequest(const CMGetRowsRequest& request)
{
    const QString& base = request.path().base();
    const Snapshot now = snapshot();
    if (base.isEmpty()) {
        const Queue& queue = now.playlist->queue();
        return sendPage(request, queue.size(), now.playlist->version(), queuePage(queue, request));
    }
    const QStringList& outputs = now.playlist->outputs();
    if (base == PlaylistRows::outputBase())
        return sendPage(request, outputs.size(), now.outputsVersion, outputsPage(outputs, request));
    if (base == playerBase)
        return sendPage(request, 0, now.playerVersion, {});
    if (outputs.contains(PlaylistRows::outputAt(base)))
        return sendPage(request, 0, now.outputsVersion, {});
    if (request.path().startsWith(addPrefix(TavoContextMenuPath())))
        return sendMenu(request);
    request.reply().setError(createErrorInvalidPath(request.path()));
}

QVariantList CMPlaylistWorker::queuePage(const Queue& queue, const CMGetRowsRequest& request) const
{
    return pageOf(request, queue.size(), [&](int index) { return m_rows.entry(queue.at(index), request.roles()); });
}

QVariantList CMPlaylistWorker::outputsPage(const QStringList& names, const CMGetRowsRequest& request) const
{
    return pageOf(request, names.size(), [&](int index) { return m_rows.output(names.at(index), request.roles()); });
}

void CMPlaylistWorker::sendPage(const CMGetRowsRequest& request, int count, int version, const QVariantList& rows) const
{
    if (request.rowsVersion() > 0 && request.rowsVersion() != version)
        return request.reply().setError(createErrorInvalidRowsVersion(request.path(), request.rowsVersion(), version));
    TavoRowsRoles answer;
    answer.setRowsCount(count);
    answer.setRowsVersion(version);
    answer.setRows(rows);
    request.reply().setValue(answer);
}

void CMPlaylistWorker::sendMenu(const CMGetRowsRequest& request) const
{
    QString encoded;
    static_cast<void>(request.path().startsWith(addPrefix(TavoContextMenuPath()), &encoded));
    const CMPath item = CMPath::fromEncoded(encoded);
    const std::shared_ptr<const Playlist> playlist = snapshot().playlist;
    const std::optional<EntryId> id =
        item.prefix() == prefix() ? PlaylistRows::entryAt(item.base()) : std::optional<EntryId>();
    const QueueEntry* const entry = id ? playlist->queue().find(*id) : nullptr;
    if (!entry)
        return request.reply().setError(
            {CMError::DefaultName(), playlistText(QT_TRANSLATE_NOOP("Playlist", "Invalid context menu request"))});
    const QVariantList rows = m_rows.menu(*playlist, *entry, request.roles());
    TavoRoles roles;
    roles.setTitle(playlistText(QT_TRANSLATE_NOOP("Playlist", "Queue Context Menu")));
    roles.setContainerType(TavoRolesContainerType::ContextMenu);
    TavoRowsRoles answer;
    answer.setRowsCount(rows.size());
    answer.setRows(rows);
    answer.setRoles(roles);
    request.reply().setValue(answer);
}

void CMPlaylistWorker::setDataRequest(const CMSetDataRequest& request)
{
    const QString& base = request.path().base();
    CMReply<QVariant> reply = request.reply();
    const std::optional<CommandValue::Content> content = CommandValue::unwrap(request.value());
    if (!content)
        return reply.setError(Refusal::invalidValue(base, "{value, version, operation}"));
    const auto answer = [reply](const Outcome& outcome) mutable {
        if (outcome)
            reply.setValue(outcome.answer);
        else
            reply.setError(outcome.error);
    };
    PlaylistCommands::Read read = PlaylistCommands::read(base, content->value);
    if (const auto* const addition = std::get_if<PlaylistCommands::Addition>(&read))
        return m_additions.add(content->guard, *addition, answer);
    if (auto* const restoration = std::get_if<PlaylistCommands::Restoration>(&read))
        return m_additions.restore(content->guard, std::move(*restoration), answer);
    if (auto* const command = std::get_if<PlaylistEngine::Command>(&read))
        return m_engine.post(content->guard, std::move(*command), answer);
    const auto* const error = std::get_if<CMError>(&read);
    reply.setError(error ? *error : createErrorInvalidPath(request.path()));
}
