#pragma once

#include "i18n/trstring.h"
#include "tavo/tavovalue.h"

#include <QStringList>

/// Values of the role TavoRoles::ContainerType().
struct TAVO_API_EXPORT TavoRolesContainerType
{
    /// A directory, or the context menu of an item.
    enum Enum { Plain = 0, ContextMenu = 100 };
};

/// Values of the role TavoRoles::Type(). All functions are thread-safe; the strings live until the process ends.
struct TAVO_API_EXPORT TavoRolesType
{
    /// A File is a file that is not a medium, an Action an entry of a context menu.
    enum class Enum { File, Container, Audio, Video, Image, Playlist, Action };

    /// toString(Enum::Container).
    [[nodiscard]] static const QString& Container();
    /// The type's name in lower case, as rows hold it.
    [[nodiscard]] static const QString& toString(Enum type);
};

/// Keys in the hash of the role TavoRoles::Flags().
struct TAVO_API_EXPORT CMFlags
{
    /// bool: the row stands for an entry of a file system. Thread-safe.
    [[nodiscard]] static const QString& File();
};

/// The roles of a row: the keys of its values, and a record of such values.
///
/// A key is the accessor's name in lower camel case. The accessors are thread-safe; their strings live until the
/// process ends.
class TAVO_API_EXPORT TavoRoles : public TavoHash
{
public:
    /// From the fields of another record.
    using TavoHash::TavoHash;

    /// QString: the row's encoded CMPath.
    [[nodiscard]] static const QString& Path();
    /// QString or TrString: the text to show.
    [[nodiscard]] static const QString& Title();
    /// QString: the result of TavoRolesType::toString().
    [[nodiscard]] static const QString& Type();
    /// bool: the container can be played as a whole.
    [[nodiscard]] static const QString& ContainerPlayable();
    /// QVariantHash: bool values under the keys of CMFlags.
    [[nodiscard]] static const QString& Flags();
    /// QVariantHash: a TavoMediaData.
    [[nodiscard]] static const QString& MediaData();
    /// uint: time of the last modification in seconds since 1970-01-01 UTC.
    [[nodiscard]] static const QString& Timestamp();
    /// int: a TavoRolesContainerType::Enum.
    [[nodiscard]] static const QString& ContainerType();
    /// QVariant: the value of a setting, or the value that an action sets on its path when it is activated.
    [[nodiscard]] static const QString& Value();

    /// Sets the value of Title().
    void setTitle(const TrString& title);
    /// The title in the thread's language; empty if absent.
    [[nodiscard]] QString title() const;
    /// Sets the value of ContainerType().
    void setContainerType(TavoRolesContainerType::Enum type);
    /// Plain if absent.
    [[nodiscard]] int containerType() const;
};

/// All role keys, in the order in which TavoRoles declares them. Thread-safe; lives until the process ends.
[[nodiscard]] TAVO_API_EXPORT const QStringList& CMAllRoles();

/// One page of a container's rows: the value of the reply to a CMGetRowsRequest.
class TAVO_API_EXPORT TavoRowsRoles : public TavoHash
{
public:
    /// From the fields of another record.
    using TavoHash::TavoHash;

    /// `count` is the number of all rows of the container, not only of those in the page.
    void setRowsCount(int count);
    /// 0 if absent.
    [[nodiscard]] int rowsCount() const;
    /// The container's version: it changes with every change of the rows. 0 if nobody has subscribed to the container.
    void setRowsVersion(int version);
    /// 0 if absent.
    [[nodiscard]] int rowsVersion() const;
    /// False for a container without versions, such as a context menu.
    [[nodiscard]] bool hasRowsVersion() const;
    /// `rows` is a QVariantList of rows. A row is the QVariantList of its values, in the order of the request's roles.
    void setRows(const QVariant& rows);
    /// Empty if absent.
    [[nodiscard]] QVariantList rows() const;
    /// Sets the roles of the container itself, such as the title of a context menu.
    void setRoles(const TavoRoles& roles);
    /// Without fields for a plain directory.
    [[nodiscard]] TavoRoles roles() const;
};

Q_DECLARE_METATYPE(TavoRowsRoles)
