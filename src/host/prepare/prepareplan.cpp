#include "prepare/prepareplan.h"

#include "content/host.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>

#include <algorithm>

namespace {

/// The patterns that a worker leaves out when it prepares items for a playlist.
const QStringList& playListPatterns()
{
    static const QStringList patterns = {
        QStringLiteral("*.m3u"), QStringLiteral("*.pls"), QStringLiteral("*.wpl"), QStringLiteral("*.asx")};
    return patterns;
}

bool isPlayListPattern(const QString& pattern)
{
    return playListPatterns().contains(pattern);
}

/// As the worker finds and orders them.
QStringList filesBelow(const QString& directory, const QStringList& patterns)
{
    QStringList files;
    QDirIterator walk(directory, patterns, QDir::Files, QDirIterator::Subdirectories);
    while (walk.hasNext())
        files.append(walk.next());
    files.sort(Qt::CaseSensitive);
    return files;
}

QString withSlash(const QString& directory)
{
    return directory.endsWith(QLatin1Char('/')) ? directory : directory + QLatin1Char('/');
}

} // namespace

PreparePlan::PreparePlan(const Host& host, Kind kind, int smallDirectory)
    : m_host(&host), m_smallDirectory(smallDirectory), m_patterns(host.filter())
{
    const bool nothingIsLeft = std::all_of(m_patterns.cbegin(), m_patterns.cend(), isPlayListPattern);
    if (kind == Kind::MusicLibrary || !nothingIsLeft)
        return;
    // Without patterns every file of a directory is taken, but none that is named itself.
    m_patterns.clear();
    m_mayDivide = false;
}

void PreparePlan::add(const CMPath& path)
{
    QFileInfo info(QDir(m_host->rootDirectory()), path.base());
    info.makeAbsolute();
    const QString absolutePath = info.filePath();
    if (info.isDir())
        addDirectory(absolutePath, filesBelow(absolutePath, m_patterns));
    else
        addStep(absolutePath, 1);
}

void PreparePlan::addDirectory(const QString& directory, const QStringList& files)
{
    if (files.size() <= m_smallDirectory || !m_mayDivide)
        addStep(directory, files.size());
    else
        divide(directory, files);
}

void PreparePlan::divide(const QString& directory, const QStringList& files)
{
    const int nameBegin = withSlash(directory).size();
    for (auto file = files.cbegin(); file != files.cend();) {
        const int nameEnd = file->indexOf(QLatin1Char('/'), nameBegin);
        if (nameEnd < 0) {
            addStep(*file++, 1);
            continue;
        }
        const QString below = file->left(nameEnd + 1);
        const auto end =
            std::find_if_not(file, files.cend(), [&below](const QString& other) { return other.startsWith(below); });
        addDirectory(file->left(nameEnd), QStringList(file, end));
        file = end;
    }
}

void PreparePlan::addStep(const QString& path, int files)
{
    m_steps.append({m_host->worker().addPrefix(path).toEncoded(), files});
    m_files += files;
}
