#include "prepare/prepareplan.h"

#include "content/contenthost.h"
#include "prepare/countfiles.h"

#include <tavo/tavoroles.h>

#include <algorithm>
#include <numeric>

#include <sys/stat.h>

namespace {

struct Entry
{
    CMPath path;
    bool isDirectory;
    /// Sorts a directory where the paths of its files belong.
    QString sortKey;
};

/// Below the directory as the client spells it: the worker's items have that spelling.
Entry entryFrom(const CMPath& directory, const QVariantList& row)
{
    const QString& base = directory.base();
    const bool needsSlash = !base.isEmpty() && !base.endsWith(u'/');
    const CMPath path(directory.prefix(), (needsSlash ? base + u'/' : base) + row.value(0).toString());
    const bool isDirectory = row.value(1).toString() == TavoRolesType::Container();
    return {path, isDirectory, isDirectory ? path.base() + u'/' : path.base()};
}

/// In the order of the full paths of their files.
Result<std::vector<Entry>> entriesOf(const Content& content, const CMPath& directory)
{
    Content::RowsQuery query;
    query.path = directory;
    query.roles = QStringList{TavoRoles::Title(), TavoRoles::Type()};
    const Result<Content::Page> page = content.rows(query);
    if (!page)
        return page.failure();
    std::vector<Entry> entries;
    for (const QVariant& row : page.value().rows)
        entries.push_back(entryFrom(directory, row.toList()));
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.sortKey < b.sortKey; });
    return entries;
}

/// The worker's walks take regular files and links to them, and do not follow links to directories.
bool isWalked(const Entry& entry, const Mount& mount)
{
    const QByteArray localPath = mount.localPath(entry.path.base());
    struct stat status = {};
    if (entry.isDirectory)
        return lstat(localPath.constData(), &status) == 0 && S_ISDIR(status.st_mode);
    return stat(localPath.constData(), &status) == 0 && S_ISREG(status.st_mode);
}

} // namespace

CMPath PreparePlan::serviceOf(const Mount& mount, Kind kind)
{
    return kind == Kind::MusicLibrary ? mount.prepareLibrary() : mount.preparePlaylist();
}

Result<void> PreparePlan::add(const CMPath& path)
{
    const Result<int> files = countFiles(m_host, path);
    if (!files)
        return files.failure();
    return addCounted({path, files.value()});
}

// NOLINTNEXTLINE(misc-no-recursion): as deep as the tree
Result<void> PreparePlan::addCounted(const Step& counted)
{
    if (counted.files <= m_smallDirectory || !mayDivide(counted.path)) {
        // The worker counts below a path; a file is one itself.
        addStep({counted.path, std::max(counted.files, 1)});
        return {};
    }
    const Result<QVector<Part>> parts = partsOf(counted.path);
    if (!parts)
        return parts.failure();
    if (filesOf(parts.value()) != counted.files) {
        addStep(counted);
        return {};
    }
    for (const Part& part : parts.value()) {
        if (!part.isDirectory)
            addStep(part.step);
        else if (Result<void> added = addCounted(part.step); !added)
            return added;
    }
    return {};
}

/// A directory that has no rows has no parts, but can still be walked.
Result<QVector<PreparePlan::Part>> PreparePlan::partsOf(const CMPath& directory) const
{
    const ContentHost::SharedMount mount = m_host.mountAt(directory.prefix());
    const Result<std::vector<Entry>> entries = entriesOf(Content(m_host), directory);
    if (!mount || !entries)
        return QVector<Part>();
    QVector<Part> parts;
    for (const Entry& entry : entries.value()) {
        if (!isWalked(entry, *mount))
            continue;
        const Result<int> files = entry.isDirectory ? countFiles(m_host, entry.path) : Result<int>(1);
        if (!files)
            return files.failure();
        parts.append({{entry.path, files.value()}, entry.isDirectory});
    }
    return parts;
}

int PreparePlan::filesOf(const QVector<Part>& parts)
{
    return std::accumulate(
        parts.cbegin(), parts.cend(), 0, [](int sum, const Part& part) { return sum + part.step.files; });
}

/// A service without patterns takes files that have no rows, and takes them with their directory only.
bool PreparePlan::mayDivide(const CMPath& directory) const
{
    const ContentHost::SharedMount mount = m_host.mountAt(directory.prefix());
    return mount && !mount->preparablePatterns(serviceOf(*mount, m_kind)).isEmpty();
}

void PreparePlan::addStep(const Step& step)
{
    m_steps.append(step);
    m_files += step.files;
}
