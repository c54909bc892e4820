#pragma once

#include "i18n/trstring.h"
#include "tavo/tavovalue.h"

#include <QStringList>

/// What the containerType role says about a container.
struct TAVO_API_EXPORT TavoRolesContainerType
{
    enum Enum { Plain = 0, ContextMenu = 100 };
};

/// What the type role says about a row.
struct TAVO_API_EXPORT TavoRolesType
{
    enum class Enum { File, Container, Audio, Video, Image, Playlist, Action };

    [[nodiscard]] static const QString& Container();
    [[nodiscard]] static const QString& toString(Enum type);
};

/// Keys of the flags role.
struct TAVO_API_EXPORT CMFlags
{
    /// The row stands for an entry of a file system.
    [[nodiscard]] static const QString& File();
};

/// The roles of a row: the keys under which a row's values are asked for, and a record of such values.
///
/// A key is the accessor's name in lower camel case; the strings live as long as the process.
class TAVO_API_EXPORT TavoRoles : public TavoHash
{
public:
    using TavoHash::TavoHash;

    /// QString: the row's encoded CMPath.
    [[nodiscard]] static const QString& Path();
    /// QString or TrString: the text shown.
    [[nodiscard]] static const QString& Title();
    /// QString, one of TavoRolesType.
    [[nodiscard]] static const QString& Type();
    /// bool: all that the container holds can be played as one.
    [[nodiscard]] static const QString& ContainerPlayable();
    /// QVariantHash of CMFlags keys to bool.
    [[nodiscard]] static const QString& Flags();
    /// QVariantHash, a TavoMediaData.
    [[nodiscard]] static const QString& MediaData();
    /// unsigned 32-bit: last modification, seconds since 1970-01-01 UTC.
    [[nodiscard]] static const QString& Timestamp();
    /// int, a TavoRolesContainerType::Enum.
    [[nodiscard]] static const QString& ContainerType();
    /// QVariant: a setting's value, or what an action row hands to its path when it is activated.
    [[nodiscard]] static const QString& Value();

    void setTitle(const TrString& title);
    [[nodiscard]] QString title() const;
    void setContainerType(TavoRolesContainerType::Enum type);
    [[nodiscard]] int containerType() const;
};

/// Every role there is, in the order of their declaration in TavoRoles.
[[nodiscard]] TAVO_API_EXPORT const QStringList& CMAllRoles();

/// One page of a container's rows.
class TAVO_API_EXPORT TavoRowsRoles : public TavoHash
{
public:
    using TavoHash::TavoHash;

    /// Number of rows that the container has, not of those in the page.
    void setRowsCount(int count);
    [[nodiscard]] int rowsCount() const;
    /// 0: the container is not watched, its rows carry no version.
    void setRowsVersion(int version);
    [[nodiscard]] int rowsVersion() const;
    [[nodiscard]] bool hasRowsVersion() const;
    /// A QVariantList of rows, each the QVariantList of its values in the order of the roles asked for.
    void setRows(const QVariant& rows);
    [[nodiscard]] QVariantList rows() const;
    /// Roles of the container itself; absent for a plain directory.
    void setRoles(const TavoRoles& roles);
    [[nodiscard]] TavoRoles roles() const;
};

Q_DECLARE_METATYPE(TavoRowsRoles)
