#include "playlistrows.h"

#include "commandvalue.h"
#include "playlisttext.h"
#include "storedjson.h"
#include "tavo/tavoroles.h"

#include <QHash>

namespace {

const QLatin1Char slash('/');

QVariantList values(const QVariantHash& row, const QStringList& roles)
{
    QVariantList values;
    values.reserve(roles.size());
    for (const QString& role : roles)
        values.append(row.value(role));
    return values;
}

QString name(PlayState state)
{
    switch (state) {
    case PlayState::Playing:
        return QStringLiteral("playing");
    case PlayState::Paused:
        return QStringLiteral("paused");
    case PlayState::Stopped:
        break;
    }
    return QStringLiteral("stopped");
}

QString name(Repeat repeat)
{
    switch (repeat) {
    case Repeat::All:
        return QStringLiteral("all");
    case Repeat::One:
        return QStringLiteral("one");
    case Repeat::Off:
        break;
    }
    return QStringLiteral("off");
}

QVariant orNull(const std::optional<EntryId>& id)
{
    return id ? QVariant(*id) : QVariant();
}

QVariant orNull(const QString& text)
{
    return text.isEmpty() ? QVariant() : QVariant(text);
}

QVariantHash playerValue(const PlayerState& state, qint64 now)
{
    return {
        {QStringLiteral("state"), name(state.state)},
        {QStringLiteral("current"), orNull(state.current)},
        {QStringLiteral("next"), orNull(state.next)},
        {QStringLiteral("position"), state.position},
        {QStringLiteral("at"), state.at},
        {QStringLiteral("now"), now},
        {QStringLiteral("serial"), state.serial},
        {QStringLiteral("output"), orNull(state.output)},
        {QStringLiteral("volume"), state.volume},
        {QStringLiteral("repeat"), name(state.repeat)},
        {QStringLiteral("shuffle"), state.shuffle},
        {QStringLiteral("failed"), orNull(state.failed)},
        {QStringLiteral("failure"), orNull(state.failure)}};
}

QVariantHash action(const char* title, const QString& path, const QVariant& value)
{
    return {
        {TavoRoles::Path(), path},
        {TavoRoles::Title(), playlistText(title)},
        {TavoRoles::Type(), TavoRolesType::toString(TavoRolesType::Enum::Action)},
        {TavoRoles::ContainerPlayable(), false},
        {TavoRoles::Value(), value}};
}

/// The encoded path of the container that has the item.
QString folderOf(const QString& source)
{
    const CMPath path = CMPath::fromEncoded(source);
    const int lastSlash = path.base().lastIndexOf(slash);
    return CMPath(path.prefix(), lastSlash < 0 ? QString() : path.base().left(lastSlash)).toEncoded();
}

QVariantHash folderRow(const QString& source)
{
    return {
        {TavoRoles::Path(), folderOf(source)},
        {TavoRoles::Title(), playlistText(QT_TRANSLATE_NOOP("Playlist", "Show Folder"))},
        {TavoRoles::Type(), TavoRolesType::Container()},
        {TavoRoles::ContainerPlayable(), false}};
}

} // namespace

PlaylistRows::PlaylistRows(const CMWorker& worker) : m_worker(worker), m_entryPrefix(encoded(entryBase()) + slash) {}

const QString& PlaylistRows::entryBase()
{
    static const QString base = QStringLiteral("queue");
    return base;
}

const QString& PlaylistRows::outputBase()
{
    static const QString base = QStringLiteral("outputs");
    return base;
}

std::optional<EntryId> PlaylistRows::entryAt(const QString& base)
{
    if (!base.startsWith(entryBase() + slash))
        return std::nullopt;
    bool isNumber = false;
    const QString digits = base.mid(entryBase().size() + 1);
    const EntryId id = digits.toLongLong(&isNumber);
    return isNumber && digits == QString::number(id) ? std::optional(id) : std::nullopt;
}

QString PlaylistRows::outputAt(const QString& base)
{
    const QString name = base.startsWith(outputBase() + slash) ? base.mid(outputBase().size() + 1) : QString();
    return CommandValue::isOutputName(name) ? name : QString();
}

QString PlaylistRows::encoded(const QString& base) const
{
    return m_worker.addPrefix(base).toEncoded();
}

QVariantList PlaylistRows::entry(const QueueEntry& entry, const QStringList& roles) const
{
    QVariantList values;
    values.reserve(roles.size());
    for (const QString& role : roles) {
        if (role == TavoRoles::Path())
            values.append(QString(m_entryPrefix + QString::number(entry.id)));
        else if (role == TavoRoles::Title())
            values.append(entry.item.title);
        else if (role == TavoRoles::Type())
            values.append(entry.item.type);
        else if (role == TavoRoles::ContainerPlayable())
            values.append(false);
        else if (role == TavoRoles::MediaData())
            values.append(StoredJson::toValue(entry.item.mediaJson));
        else if (role == TavoRoles::Value())
            values.append(entry.item.source);
        else
            values.append(QVariant());
    }
    return values;
}

QVariantList PlaylistRows::output(const QString& name, const QStringList& roles) const
{
    return values(
        {{TavoRoles::Path(), encoded(outputBase() + slash + name)},
         {TavoRoles::Title(), name},
         {TavoRoles::Value(), name}},
        roles);
}

QVariantList PlaylistRows::player(const PlayerState& state, qint64 now, const QStringList& roles) const
{
    return values(
        {{TavoRoles::Path(), encoded(QStringLiteral("player"))},
         {TavoRoles::Title(), playlistText(QT_TRANSLATE_NOOP("Playlist", "Player"))},
         {TavoRoles::Value(), playerValue(state, now)}},
        roles);
}

QVariantList PlaylistRows::container(const QString& base, const QStringList& roles) const
{
    const TrString title = base.isEmpty() ? playlistText(QT_TRANSLATE_NOOP("Playlist", "Queue"))
                                          : playlistText(QT_TRANSLATE_NOOP("Playlist", "Outputs"));
    return values(
        {{TavoRoles::Path(), encoded(base)},
         {TavoRoles::Title(), title},
         {TavoRoles::Type(), TavoRolesType::Container()}},
        roles);
}

QVariantList PlaylistRows::menu(const Playlist& playlist, const QueueEntry& entry, const QStringList& roles) const
{
    const std::optional<EntryId> current = playlist.player().current;
    const QVariantHash behindCurrent{
        {QStringLiteral("ids"), QVariantList{entry.id}},
        {QStringLiteral("after"), current ? QVariant(*current) : QVariant(QStringLiteral("head"))}};
    const QList<QVariantHash> rows = {
        action(QT_TRANSLATE_NOOP("Playlist", "Play"), encoded(QStringLiteral("player/play")), entry.id),
        action(QT_TRANSLATE_NOOP("Playlist", "Play Next"), encoded(QStringLiteral("move")), behindCurrent),
        action(QT_TRANSLATE_NOOP("Playlist", "Remove"), encoded(QStringLiteral("remove")), QVariantList{entry.id}),
        folderRow(entry.item.source)};
    QVariantList menu;
    for (const QVariantHash& row : rows)
        menu.append(QVariant(values(row, roles)));
    return menu;
}
