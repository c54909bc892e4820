#include "playlist/playlisthelper.h"

#include "i18n/trstring.h"
#include "model/cmrequest.h"
#include "tavo/tavokeys.h"
#include "tavo/tavoroles.h"

#include <array>

namespace {

struct Action
{
    const char* path;
    const char* title;
};

constexpr std::array<Action, 4> actions = {
    {{"playNow", QT_TRANSLATE_NOOP("PlayListHelper", "Play Now")},
     {"playNext", QT_TRANSLATE_NOOP("PlayListHelper", "Play Next")},
     {"addToQueue", QT_TRANSLATE_NOOP("PlayListHelper", "Add to Queue")},
     {"replaceQueue", QT_TRANSLATE_NOOP("PlayListHelper", "Replace Queue")}}};

QVariant roleValue(const Action& action, const QString& item, const QString& role)
{
    if (role == TavoRoles::Path())
        return CMPath(QStringLiteral("playlist"), QLatin1String(action.path)).toEncoded();
    if (role == TavoRoles::Title())
        return TrString({"PlayListHelper", action.title}, QList<TrArg>());
    if (role == TavoRoles::Type())
        return TavoRolesType::toString(TavoRolesType::Enum::Action);
    if (role == TavoRoles::ContainerPlayable())
        return false;
    if (role == TavoRoles::Value())
        return item;
    return {};
}

QVariant row(const Action& action, const QString& item, const QStringList& roles)
{
    QVariantList values;
    values.reserve(roles.size());
    for (const QString& role : roles)
        values.append(roleValue(action, item, role));
    return values;
}

/// The encoded path of the menu's item; empty if there is none.
QString itemOf(const CMPath& menu)
{
    QString encoded;
    if (!menu.startsWith(CMPath(menu.prefix(), TavoContextMenuPath()), &encoded) ||
        !encoded.startsWith(QLatin1Char('/')))
        return {};
    const CMPath item = CMPath::fromEncoded(encoded);
    return item.prefix() == menu.prefix() ? item.toEncoded() : QString();
}

} // namespace

QVariantList PlayListHelper::playListRows(const CMGetRowsRequest& request)
{
    QVariantList rows;
    const QString item = itemOf(request.path());
    if (item.isEmpty())
        return rows;
    for (const Action& action : actions)
        rows.append(row(action, item, request.roles()));
    return rows;
}
