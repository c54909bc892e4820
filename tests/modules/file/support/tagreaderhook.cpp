#include "tagreaderhook.h"

#include "tagreader/musiclibrarytagreader.h"
#include "tagreader/playlisttagreader.h"

#include <dlfcn.h>

std::vector<TagReaderHook::Call> TagReaderHook::calls;
std::function<QVariant(const QString&)> TagReaderHook::item;

void TagReaderHook::reset()
{
    calls.clear();
    item = nullptr;
}

namespace {

template<typename Reader>
QVariant readOn(
    const char* symbol, const Reader& reader, const QDir& root, const QString& path, const QString& serviceId,
    const QVariantList& rows)
{
    if (TagReaderHook::item)
        return TagReaderHook::item(path);
    using ReadItem = QVariant (*)(const Reader*, const QDir&, const QString&, const QString&, const QVariantList&);
    return reinterpret_cast<ReadItem>(dlsym(RTLD_NEXT, symbol))(&reader, root, path, serviceId, rows);
}

} // namespace

QVariant PlayListTagReader::readItem(
    const QDir& root, const QString& path, const QString& serviceId, const QVariantList& rows) const
{
    TagReaderHook::calls.push_back({TagReaderHook::Reader::PlayList, root.path(), path, serviceId, rows});
    return readOn(
        "_ZNK17PlayListTagReader8readItemERK4QDirRK7QStringS5_RK5QListI8QVariantE", *this, root, path, serviceId, rows);
}

QVariant MusicLibraryTagReader::readItem(
    const QDir& root, const QString& path, const QString& serviceId, const QVariantList& rows) const
{
    TagReaderHook::calls.push_back({TagReaderHook::Reader::MusicLibrary, root.path(), path, serviceId, rows});
    return readOn(
        "_ZNK21MusicLibraryTagReader8readItemERK4QDirRK7QStringS5_RK5QListI8QVariantE", *this, root, path, serviceId,
        rows);
}
