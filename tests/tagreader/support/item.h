#pragma once

#include "tagreader/musiclibrarytagreader.h"
#include "tagreader/playlisttagreader.h"

#include <QDir>
#include <QFileInfo>
#include <QVariantHash>

/// Shows what a reader's item holds.
class Item
{
public:
    explicit Item(const QVariant& item) : m_roles(item.toHash()) {}

    [[nodiscard]] const QVariantHash& roles() const { return m_roles; }
    [[nodiscard]] QString title() const { return m_roles.value(QStringLiteral("title")).toString(); }
    [[nodiscard]] QVariantHash media() const { return m_roles.value(QStringLiteral("mediaData")).toHash(); }
    [[nodiscard]] QVariantHash metaData() const { return media().value(QStringLiteral("metaData")).toHash(); }
    [[nodiscard]] QVariantList resources() const { return media().value(QStringLiteral("resources")).toList(); }
    [[nodiscard]] QVariantHash resource() const { return resources().value(0).toHash(); }
    [[nodiscard]] int duration() const { return resource().value(QStringLiteral("duration")).toInt(); }
    [[nodiscard]] QVariantHash art() const { return metaData().value(QStringLiteral("albumArt")).toHash(); }
    [[nodiscard]] QByteArray artBytes() const { return art().value(QStringLiteral("data")).toByteArray(); }

private:
    QVariantHash m_roles;
};

/// The item of the file alone, without rows.
[[nodiscard]] inline Item readWith(const TagReader& reader, const QString& file)
{
    return Item(reader.readItem(QFileInfo(file).dir(), file, QStringLiteral("file"), {}));
}

[[nodiscard]] inline Item libraryItem(const QString& file, int artWidth = 300)
{
    return readWith(MusicLibraryTagReader(artWidth), file);
}

[[nodiscard]] inline Item playListItem(const QString& file)
{
    return readWith(PlayListTagReader(), file);
}
