#include "tavo/tavoroles.h"

#include "tavo/keyaccessor_p.h"

TAVO_KEY(TavoRolesType::Container, "container")
TAVO_KEY(CMFlags::File, "file")

TAVO_KEY(TavoRoles::Path, "path")
TAVO_KEY(TavoRoles::Title, "title")
TAVO_KEY(TavoRoles::Type, "type")
TAVO_KEY(TavoRoles::ContainerPlayable, "containerPlayable")
TAVO_KEY(TavoRoles::Flags, "flags")
TAVO_KEY(TavoRoles::MediaData, "mediaData")
TAVO_KEY(TavoRoles::Timestamp, "timestamp")
TAVO_KEY(TavoRoles::ContainerType, "containerType")
TAVO_KEY(TavoRoles::Value, "value")

namespace {

TAVO_KEY(rowsCountKey, "rowsCount")
TAVO_KEY(rowsVersionKey, "rowsVersion")
TAVO_KEY(rowsKey, "rows")
TAVO_KEY(rolesKey, "roles")

} // namespace

const QString& TavoRolesType::toString(Enum type)
{
    static const QString texts[] = {QStringLiteral("file"),  Container(),
                                    QStringLiteral("audio"), QStringLiteral("video"),
                                    QStringLiteral("image"), QStringLiteral("playlist"),
                                    QStringLiteral("action")};
    const auto index = static_cast<size_t>(type);
    Q_ASSERT(index < std::size(texts));
    return texts[index];
}

void TavoRoles::setTitle(const TrString& title)
{
    setField(Title(), title);
}

QString TavoRoles::title() const
{
    return field(Title()).toString();
}

void TavoRoles::setContainerType(TavoRolesContainerType::Enum type)
{
    setField(ContainerType(), static_cast<int>(type));
}

int TavoRoles::containerType() const
{
    return field(ContainerType()).toInt();
}

const QStringList& CMAllRoles()
{
    static const QStringList roles = {
        TavoRoles::Path(),  TavoRoles::Title(),     TavoRoles::Type(),      TavoRoles::ContainerPlayable(),
        TavoRoles::Flags(), TavoRoles::MediaData(), TavoRoles::Timestamp(), TavoRoles::ContainerType(),
        TavoRoles::Value()};
    return roles;
}

void TavoRowsRoles::setRowsCount(int count)
{
    setField(rowsCountKey(), count);
}

int TavoRowsRoles::rowsCount() const
{
    return field(rowsCountKey()).toInt();
}

void TavoRowsRoles::setRowsVersion(int version)
{
    setField(rowsVersionKey(), version);
}

int TavoRowsRoles::rowsVersion() const
{
    return field(rowsVersionKey()).toInt();
}

bool TavoRowsRoles::hasRowsVersion() const
{
    return field(rowsVersionKey()).isValid();
}

void TavoRowsRoles::setRows(const QVariant& rows)
{
    setField(rowsKey(), rows);
}

QVariantList TavoRowsRoles::rows() const
{
    return field(rowsKey()).toList();
}

void TavoRowsRoles::setRoles(const TavoRoles& roles)
{
    setField(rolesKey(), roles.__variant());
}

TavoRoles TavoRowsRoles::roles() const
{
    return TavoRoles(field(rolesKey()).toHash());
}
