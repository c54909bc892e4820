#include "prepare/prepareplan.h"

#include "content/contenthost.h"
#include "prepare/countfiles.h"

#include <tavo/tavoroles.h>

#include <algorithm>

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

} // namespace

Result<void> PreparePlan::add(const CMPath& path)
{
    const Result<int> files = countFiles(m_host, path);
    if (!files)
        return files.failure();
    if (files.value() > m_smallDirectory)
        return divide(path, files.value());
    // The worker counts below a path; a file is one itself.
    addStep(path, std::max(files.value(), 1));
    return {};
}

Result<void> PreparePlan::divide(const CMPath& directory, int files)
{
    const Result<std::vector<Entry>> entries = entriesOf(Content(m_host), directory);
    if (!entries) {
        // A directory that has no rows can still be walked.
        addStep(directory, files);
        return {};
    }
    for (const Entry& entry : entries.value()) {
        if (!entry.isDirectory)
            addStep(entry.path, 1);
        else if (isSymlink(entry.path))
            continue;
        else if (Result<void> added = add(entry.path); !added)
            return added;
    }
    return {};
}

/// The worker's walks do not follow links to directories.
bool PreparePlan::isSymlink(const CMPath& path) const
{
    const ContentHost::SharedMount mount = m_host.mountAt(path.prefix());
    struct stat status = {};
    return mount && lstat(mount->localPath(path.base()).constData(), &status) == 0 && S_ISLNK(status.st_mode);
}

void PreparePlan::addStep(const CMPath& path, int files)
{
    m_steps.append({path, files});
    m_files += files;
}
