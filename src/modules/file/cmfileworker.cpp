#include "cmfileworker.h"

#include "log/dbglog.h"
#include "model/cmconnect.h"
#include "model/cmroot.h"
#include "model/cmversion.h"
#include "playlist/playlisthelper.h"
#include "tagreader/musiclibrarytagreader.h"
#include "tagreader/playlisttagreader.h"
#include "tavo/mimetypes.h"
#include "tavo/tavomedia.h"
#include "tavo/tavonamematcher.h"
#include "tavo/tavoroles.h"
#include "tavo/tavoutf8.h"

#include <QDateTime>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>
#include <QVector>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

#include <dirent.h>
#include <sys/stat.h>

namespace {

constexpr char sourceFile[] = "src/modules/file/cmfileworker";
constexpr char loggerName[] = "CB_Filesystem";

/// Signatures for the log lines.
namespace Signature {
constexpr char constructor[] = "CMFileWorker::CMFileWorker(const QVariantHash&)";
constexpr char errorAccessViolation[] = "CMError CMFileWorker::errorAccessViolation(const QString&)";
constexpr char errorNoReadPermission[] = "CMError CMFileWorker::errorNoReadPermission(const QString&)";
constexpr char entryList[] = "QStringList CMFileWorker::entryList(CMVoidReply&, const QString&)";
constexpr char filter[] = "bool CMFileWorker::filter(const QString&, bool)";
constexpr char getDataImpl[] =
    "virtual QVariantList CMFileWorker::getDataImpl(CMVoidReply&, const QString&, const QStringList&)";
constexpr char getRowsRequest[] = "virtual void CMFileWorker::getRowsRequest(const CMGetRowsRequest&)";
constexpr char sendRowsReply[] =
    "void CMFileWorker::sendRowsReply(const QVariantList&, const TrString&, CMGetRowsRequest)";
constexpr char getDataRequest[] = "virtual void CMFileWorker::getDataRequest(const CMGetDataRequest&)";
constexpr char setDataRequest[] = "virtual void CMFileWorker::setDataRequest(const CMSetDataRequest&)";
constexpr char prepareRequest[] =
    "QVariantList CMFileWorker::prepareItems(const CMSetDataRequest&, const TagReader&, const QStringList&)";
constexpr char prepareList[] =
    "QVariantList CMFileWorker::prepareItems(const QStringList&, const TagReader&, const QStringList&)";
constexpr char addWatch[] = "void CMFileWorker::addWatch(QString)";
constexpr char removeWatch[] = "void CMFileWorker::removeWatch(QString)";
constexpr char subscribePathAdded[] = "void CMFileWorker::subscribePathAdded(const CMPath&)";
constexpr char subscribePathRemoved[] = "void CMFileWorker::subscribePathRemoved(const CMPath&)";
constexpr char watcherChanged[] = "void CMFileWorker::watcherChanged(const QString&, const QStringList&)";
} // namespace Signature

/// Log lines with a fixed line number; all others have that of their place in this file.
namespace Site {
constexpr DbgLogSite constructed{sourceFile, 48, Signature::constructor};
constexpr DbgLogSite rowsRequested{sourceFile, 349, Signature::getRowsRequest};
constexpr DbgLogSite rowsRequestPath{sourceFile, 357, Signature::getRowsRequest};
constexpr DbgLogSite contextMenuRequested{sourceFile, 363, Signature::getRowsRequest};
constexpr DbgLogSite unnoticedChange{sourceFile, 411, Signature::getRowsRequest};
constexpr DbgLogSite rowsReplySent{sourceFile, 607, Signature::sendRowsReply};
} // namespace Site

const log4cplus::Logger& logger()
{
    static const log4cplus::Logger instance = log4cplus::Logger::getInstance(loggerName);
    return instance;
}

std::string entering(const char* signature)
{
    return "Enter " + dbglog_scopedFunction(signature, loggerName) + ": ";
}

#define LOG_AT(site, level, pieces) DBGLOG(logger(), log4cplus::level##_LOG_LEVEL, site, pieces)
#define LOG(signature, level, pieces) LOG_AT((DbgLogSite{sourceFile, __LINE__, signature}), level, pieces)

int firstRowsVersion()
{
    const QMutexLocker lock(CMVersion::mutex());
    return ++CMVersion::s_last;
}

int albumArtWidthSetting()
{
    return TavoHash(CMRoot()->getValue(TavoMusicLibraryAlbumArtWidth()).toHash()).i32_();
}

QString nameOf(const dirent& entry)
{
    return TavoUtf8::decode(entry.d_name, static_cast<int>(std::strlen(entry.d_name)));
}

/// Asks the file system only if the listing has no type for the entry.
bool isDirectory(dirent& entry, const QDir& dir)
{
    if (entry.d_type == DT_UNKNOWN && QFileInfo(dir, nameOf(entry)).isDir())
        entry.d_type = DT_DIR;
    return entry.d_type == DT_DIR;
}

/// CMFileWorker::filter() for a file, without decoding its name; none if the bytes alone do not decide.
std::optional<bool> filterUndecoded(const TavoNameMatcher& playable, const char* name)
{
    return name[0] == '.' ? false : playable.matchesUndecoded(name);
}

/// All rows of a service share one record, which saves a sixth of their memory.
const TavoMetaData& sharedMetaData(const QString& serviceId)
{
    thread_local TavoMetaData shared;
    if (shared.serviceID() != serviceId || serviceId.isNull()) {
        shared = TavoMetaData();
        shared.setServiceID(serviceId);
    }
    return shared;
}

QStringList texts(const QSet<CMPath>& paths)
{
    QStringList list;
    for (const CMPath& path : paths)
        list.append(path.toEncoded());
    return list;
}

TrString rowsRequestText(const char* sourceText)
{
    return {TrCharData{trExtractContext(Signature::getRowsRequest), sourceText}, QList<TrArg>()};
}

/// True if the path is absolute and clean: each slash is followed by a name, and no name begins with a dot.
bool isPlain(const QStringRef& path)
{
    constexpr QLatin1Char slash('/');
    if (!path.startsWith(slash))
        return false;
    for (int i = 0; i >= 0; i = path.indexOf(slash, i + 1)) {
        if (i + 1 == path.size() || path.at(i + 1) == slash || path.at(i + 1) == QLatin1Char('.'))
            return false;
    }
    return true;
}

/// Frees the names of other pages than this one, so that their memory serves its rows. The page's names keep their
/// indices.
void dropOtherPages(QStringList& names, int first, int last)
{
    if (last < names.size() - 1)
        names.erase(names.begin() + std::max(last + 1, 0), names.end());
    std::fill_n(names.begin(), std::min(std::max(first, 0), names.size()), QString());
}

/// QFileInfo::absoluteFilePath(), which would clean even a clean path.
QString absoluteFilePath(const QFileInfo& info)
{
    const QString path = info.filePath();
    return isPlain(QStringRef(&path)) ? path : info.absoluteFilePath();
}

/// info.dir().absolutePath(), which would split and clean even a clean path.
QString parentDirectory(const QFileInfo& info)
{
    const QString path = info.filePath();
    const int lastSlash = path.lastIndexOf(QLatin1Char('/'));
    return lastSlash > 0 && isPlain(QStringRef(&path)) ? path.left(lastSlash) : info.dir().absolutePath();
}

/// All files below a directory, at any depth, whose names match; sorted as one list.
QStringList sortedFiles(const QString& directory, const QStringList& patterns)
{
    QStringList files;
    QDirIterator walk(directory, patterns, QDir::Files, QDirIterator::Subdirectories);
    while (walk.hasNext())
        files.append(walk.next());
    files.sort(Qt::CaseSensitive);
    return files;
}

} // namespace

/// Decides as QDir::match() does, which compiles the patterns again for each name. Copies share the compiled patterns.
class CMFileWorker::NamePatterns
{
public:
    /// Compiled again only if the thread's last call had another list.
    [[nodiscard]] static NamePatterns shared(const QStringList& texts)
    {
        static thread_local NamePatterns last(QStringList{});
        if (last.texts() != texts)
            last = NamePatterns(texts);
        return last;
    }

    [[nodiscard]] const QStringList& texts() const { return m_texts; }

    [[nodiscard]] bool match(const QString& name) const
    {
        return std::any_of(m_compiled.cbegin(), m_compiled.cend(), [&name](const QRegularExpression& pattern) {
            return pattern.match(name).hasMatch();
        });
    }

private:
    explicit NamePatterns(const QStringList& texts) : m_texts(texts)
    {
        for (const QString& text : texts)
            m_compiled.append(QRegularExpression(
                QRegularExpression::wildcardToRegularExpression(text), QRegularExpression::CaseInsensitiveOption));
    }

    QStringList m_texts;
    QVector<QRegularExpression> m_compiled;
};

/// The entries that scandir() found, in alphabetic order. Each is freed when it is released, at the latest with the
/// list.
class CMFileWorker::ScannedDirectory
{
public:
    explicit ScannedDirectory(const QString& path)
        : m_count(scandir(path.toUtf8().constData(), &m_entries, nullptr, alphasort))
    {
    }
    ~ScannedDirectory()
    {
        for (int i = 0; i < m_count; ++i) {
            if (m_entries[i])
                std::free(m_entries[i]);
        }
        std::free(m_entries);
    }
    Q_DISABLE_COPY_MOVE(ScannedDirectory)

    /// Negative if the directory cannot be read.
    [[nodiscard]] int count() const { return m_count; }
    /// Null once released.
    [[nodiscard]] dirent* at(int index) const { return m_entries[index]; }
    void release(int index)
    {
        std::free(m_entries[index]);
        m_entries[index] = nullptr;
    }

private:
    dirent** m_entries = nullptr;
    int m_count;
};

/// One entry of the tree, as its row describes it. Values that several roles share are computed on first use.
class CMFileWorker::Entry
{
public:
    explicit Entry(QString absolutePath) : m_path(std::move(absolutePath)) {}

    [[nodiscard]] const QString& path() const { return m_path; }
    [[nodiscard]] QString name() const { return m_path.mid(m_path.lastIndexOf(QLatin1Char('/')) + 1); }

    [[nodiscard]] const QString& mimeType()
    {
        if (!m_mimeType)
            m_mimeType = MimeTypes::extensionToMimeType(QFileInfo(m_path).suffix(), QString());
        return *m_mimeType;
    }

    [[nodiscard]] QString type()
    {
        return isDir() ? TavoRolesType::Container()
                       : TavoRolesType::toString(CMGlobal::mimeTypeToRolesType(mimeType()));
    }

    [[nodiscard]] bool isDir() { return S_ISDIR(status().st_mode); }

    /// QFileInfo::lastModified().toTime_t() without its detour through local time, which would cost more than the rest
    /// of the row. In an hour that the time zone has twice, the detour yields either of the two moments, depending on
    /// the conversion before it; this is always the right one.
    [[nodiscard]] uint timestamp()
    {
        constexpr uint invalid = std::numeric_limits<uint>::max();
        constexpr qint64 day = 86400;
        constexpr qint64 nearEpoch = 2 * day;
        const qint64 seconds = status().st_mtim.tv_sec;
        // There the detour can change the value: Qt takes the zone's present offset before 1970, but not after.
        if (-nearEpoch < seconds && seconds < nearEpoch)
            return lastModified().toTime_t();
        return seconds < 0 || seconds >= invalid ? invalid : static_cast<uint>(seconds);
    }

private:
    /// QFileInfo::lastModified().
    [[nodiscard]] QDateTime lastModified()
    {
        const timespec& time = status().st_mtim;
        const qint64 milliseconds = time.tv_sec * 1000 + time.tv_nsec / 1000000;
        return milliseconds == 0 ? QDateTime() : QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC).toLocalTime();
    }

    /// All zero if there is no such entry, as for a name with a NUL, where the file system would cut it off.
    [[nodiscard]] const struct stat& status()
    {
        if (!m_status) {
            m_status.emplace();
            const bool cutShort = m_path.contains(QChar(QChar::Null));
            if (cutShort || stat(QFile::encodeName(m_path).constData(), &*m_status) != 0)
                *m_status = {};
        }
        return *m_status;
    }

    QString m_path;
    std::optional<QString> m_mimeType;
    std::optional<struct stat> m_status;
};

extern "C" Q_DECL_EXPORT CMWorker* worker_create(void* /*host*/, const QVariantHash& configuration)
{
    return new CMFileWorker(configuration);
}

CMFileWorker::CMFileWorker(const QVariantHash& configuration)
    : CMWorker(configuration, QStringLiteral("CMFileWorker")), m_rowsVersion(firstRowsVersion()),
      m_watcher(new QFileSystemWatcher(this))
{
    LOG_AT(Site::constructed, TRACE, entering(Signature::constructor));

    cmConnect(m_watcher, &QFileSystemWatcher::directoryChanged, this, &CMFileWorker::on_watcherChanged);
    cmConnect(m_watcher, &QFileSystemWatcher::fileChanged, this, &CMFileWorker::on_watcherChanged);
    cmConnect(this, &CMFileWorker::fakeDirectoryChanged, this, &CMFileWorker::on_watcherChanged, Qt::QueuedConnection);
    cmConnect(subscribe(), &CMSubscribe::rowsPathAdded, this, &CMFileWorker::subscribePathAdded, Qt::DirectConnection);
    cmConnect(
        subscribe(), &CMSubscribe::rowsPathRemoved, this, &CMFileWorker::subscribePathRemoved, Qt::DirectConnection);

    m_serviceId = configuration.value(TavoService_Id()).toString();
    m_rootPath = QFileInfo(configuration.value(TavoFilesystem_Path()).toString()).canonicalFilePath();
    m_contextMenuPath = addPrefix(TavoContextMenuPath());
    m_rootDir.setPath(m_rootPath);
    // QDir stores it on first use, which may be in several threads at once.
    static_cast<void>(m_rootDir.absolutePath());
    for (const QVariant& pattern : configuration.value(TavoFilesystem_Filter()).toList())
        m_filter.append(pattern.toString());
    m_albumArtWidth = albumArtWidthSetting();
}

CMFileWorker::~CMFileWorker() = default;

QString CMFileWorker::joinedPath(const QString& path) const
{
    if (path.startsWith(QLatin1Char('/')))
        return path;
    QFileInfo info(m_rootDir, path);
    info.makeAbsolute();
    return info.filePath();
}

bool CMFileWorker::isInsideRoot(const QString& absolutePath) const
{
    return absolutePath.startsWith(m_rootPath, Qt::CaseSensitive);
}

QString CMFileWorker::relativePath(const QString& absolutePath) const
{
    // QDir splits and cleans both paths. A clean path below the root needs no more than the root cut off.
    const int rootLength = m_rootPath.endsWith(QLatin1Char('/')) ? m_rootPath.size() - 1 : m_rootPath.size();
    if (!m_rootPath.isEmpty() && isInsideRoot(absolutePath) && isPlain(absolutePath.midRef(rootLength)))
        return absolutePath.mid(rootLength + 1);
    return m_rootDir.relativeFilePath(absolutePath);
}

CMError CMFileWorker::errorAccessViolation(const QString& path) const
{
    LOG(Signature::errorAccessViolation, TRACE, entering(Signature::errorAccessViolation));
    const TrCharData text{"File", QT_TRANSLATE_NOOP("File", "Access violation: path '%1' is outside '%2'")};
    const QList<TrArg> arguments = {path, m_rootPath};
    return {TavoErrorAccessViolation(), TrString(text, arguments)};
}

CMError CMFileWorker::errorNoReadPermission(const QString& path) const
{
    LOG(Signature::errorNoReadPermission, TRACE, entering(Signature::errorNoReadPermission));
    const TrCharData text{"File", QT_TRANSLATE_NOOP("File", "No permission to read directory '%1'")};
    return {TavoErrorAccessViolation(), TrString(text, path)};
}

QStringList CMFileWorker::entryList(CMVoidReply& reply, const QString& path)
{
    const QFileInfo info(m_rootDir, path);
    const QDir dir(absoluteFilePath(info));
    LOG(Signature::entryList, TRACE, entering(Signature::entryList) << "dir:" << dir.path() << "path:" << path);
    if (!isInsideRoot(dir.path())) {
        reply.setError(errorAccessViolation(path));
        return {};
    }
    if (!info.isReadable()) {
        reply.setError(errorNoReadPermission(path));
        return {};
    }

    ScannedDirectory scanned(dir.path());
    if (scanned.count() < 0) {
        LOG(Signature::entryList, ERROR, "scandir failed: " << scanned.count());
        return {};
    }
    QStringList names;
    names.reserve(scanned.count());
    takeDirectories(scanned, dir, names);
    takeFiles(scanned, names);
    return names;
}

void CMFileWorker::takeDirectories(ScannedDirectory& scanned, const QDir& dir, QStringList& names) const
{
    const bool isTraced = logger().isEnabledFor(log4cplus::TRACE_LOG_LEVEL);
    for (int i = 0; i < scanned.count(); ++i) {
        if (!isDirectory(*scanned.at(i), dir))
            continue;
        const QString name = nameOf(*scanned.at(i));
        if (filter(name, true)) {
            if (isTraced)
                LOG(Signature::entryList, TRACE, "found dir:" << name);
            names.append(name);
        }
        scanned.release(i);
    }
}

void CMFileWorker::takeFiles(ScannedDirectory& scanned, QStringList& names) const
{
    const TavoNameMatcher& playable = TavoNameMatcher::shared(m_filter);
    const bool isTraced = logger().isEnabledFor(log4cplus::TRACE_LOG_LEVEL);
    // filter() logs the names that it drops.
    const bool isFilterLogged = logger().isEnabledFor(log4cplus::DEBUG_LOG_LEVEL);
    for (int i = 0; i < scanned.count(); ++i) {
        if (!scanned.at(i))
            continue;
        if (const std::optional<QString> name = shownFile(*scanned.at(i), playable, isFilterLogged)) {
            if (isTraced)
                LOG(Signature::entryList, TRACE, "found file:" << *name);
            names.append(*name);
        }
        scanned.release(i);
    }
}

std::optional<QString>
CMFileWorker::shownFile(const dirent& entry, const TavoNameMatcher& playable, bool isFilterLogged) const
{
    const std::optional<bool> isShown = filterUndecoded(playable, entry.d_name);
    if (isShown == false && !isFilterLogged)
        return std::nullopt;
    QString name = nameOf(entry);
    if (isShown != true && !filter(name, false))
        return std::nullopt;
    return name;
}

bool CMFileWorker::filter(const QString& name, bool isDir) const
{
    if (!name.isEmpty() && name.front() == QLatin1Char('.'))
        return false;
    if (isDir || TavoNameMatcher::shared(m_filter).matches(name))
        return true;
    LOG(Signature::filter, DEBUG, "Not a playable file: " << name);
    return false;
}

QVariantList CMFileWorker::getDataImpl(CMVoidReply& reply, const QString& path, const QStringList& roles)
{
    LOG(Signature::getDataImpl, TRACE, entering(Signature::getDataImpl));
    Entry entry(joinedPath(path));
    if (!isInsideRoot(entry.path())) {
        reply.setError(errorAccessViolation(path));
        return {};
    }
    QVariantList values;
    values.reserve(roles.size());
    for (const QString& role : roles)
        values.append(roleValue(role, entry));
    return values;
}

QVariant CMFileWorker::roleValue(const QString& role, Entry& entry) const
{
    static const QVariant flags = QVariantHash{{CMFlags::File(), true}};
    if (role == TavoRoles::Path())
        return addPrefix(relativePath(entry.path())).toEncoded();
    if (role == TavoRoles::Title())
        return entry.name();
    if (role == TavoRoles::Type())
        return entry.type();
    if (role == TavoRoles::ContainerPlayable())
        return entry.isDir();
    if (role == TavoRoles::Flags())
        return flags;
    if (role == TavoRoles::MediaData())
        return mediaData(entry);
    if (role == TavoRoles::Timestamp())
        return entry.timestamp();
    return {};
}

QVariant CMFileWorker::mediaData(Entry& entry) const
{
    TavoResource resource;
    resource.setMimeType(entry.mimeType());
    resource.setUri(QString::fromUtf8(TavoUrl::fromLocalFile(entry.path()).toEncoded()));
    TavoList<TavoResource> resources;
    resources.append(resource);
    TavoMediaData media;
    media.setMetaData(sharedMetaData(m_serviceId));
    media.setResources(resources);
    return media.__variant();
}

void CMFileWorker::getRowsRequest(const CMGetRowsRequest& request)
{
    LOG_AT(Site::rowsRequested, TRACE, entering(Signature::getRowsRequest));
    const QString base = request.path().base();
    LOG_AT(Site::rowsRequestPath, TRACE, entering(Signature::getRowsRequest) << base);
    if (request.path().startsWith(m_contextMenuPath))
        return sendContextMenu(request);

    const QString absolutePath = absoluteFilePath(QFileInfo(m_rootDir, base));
    if (!isInsideRoot(absolutePath))
        return request.reply().setError(errorAccessViolation(base));
    std::optional<Listing> listing = consistentListing(request, absolutePath);
    if (!listing)
        return;
    const int count = listing->version == 0 ? listing->names.size() : listing->total;
    dropOtherPages(listing->names, request.first(), request.last());
    const std::optional<QVariantList> rows = buildRows(request, absolutePath, listing->names);
    if (!rows)
        return;

    TavoRowsRoles answer;
    answer.setRowsCount(count);
    answer.setRowsVersion(listing->version);
    answer.setRows(*rows);
    request.reply().setValue(answer);
}

std::optional<CMFileWorker::Listing>
CMFileWorker::consistentListing(const CMGetRowsRequest& request, const QString& absolutePath)
{
    CMVoidReply reply = request.reply();
    const auto refuse = [&](int currentVersion) {
        reply.setError(createErrorInvalidRowsVersion(request.path(), request.rowsVersion(), currentVersion));
        return std::nullopt;
    };
    const QMutexLocker lock(&m_mutex);
    CacheItem record = m_cache.value(absolutePath, CacheItem{0, 0});
    const bool versioned = record.version > 0;
    if (versioned && request.rowsVersion() > 0 && request.rowsVersion() != record.version)
        return refuse(record.version);

    const QStringList names = entryList(reply, request.path().base());
    if (reply.isFinished())
        return std::nullopt;
    if (record.rowCount < 0) {
        record.rowCount = names.size();
        m_cache[absolutePath].rowCount = record.rowCount;
    }
    if (versioned && names.size() != record.rowCount) {
        LOG_AT(
            Site::unnoticedChange, DEBUG,
            "getRowsRequest"
                << ": filesystem changed without a notification!");
        watcherChanged(absolutePath, names);
        record = m_cache.value(absolutePath, CacheItem{0, 0});
        if (request.rowsVersion() > 0)
            return refuse(record.version);
    }
    return Listing{names, record.rowCount, record.version};
}

std::optional<QVariantList>
CMFileWorker::buildRows(const CMGetRowsRequest& request, const QString& absolutePath, const QStringList& names)
{
    CMVoidReply reply = request.reply();
    const QDir dir(absolutePath);
    const int last = std::min(request.last(), names.size() - 1);
    QVariantList rows;
    if (last < request.first())
        return rows;
    rows.reserve(last - std::max(request.first(), 0) + 1);
    for (int i = request.first(); i <= last; ++i) {
        rows.append(QVariant(getDataImpl(reply, dir.filePath(names.at(i)), request.roles())));
        if (reply.isFinished())
            return std::nullopt;
    }
    return rows;
}

void CMFileWorker::sendContextMenu(const CMGetRowsRequest& request)
{
    LOG_AT(Site::contextMenuRequested, TRACE, "Context request path: " << request.path());
    const QVariantList rows = PlayListHelper::playListRows(request);
    if (rows.isEmpty())
        request.reply().setError(
            {CMError::DefaultName(),
             rowsRequestText(QT_TRANSLATE_NOOP("CMFileWorker", "Invalid context menu request"))});
    else
        sendRowsReply(rows, rowsRequestText(QT_TRANSLATE_NOOP("CMFileWorker", "File Context Menu")), request);
}

void CMFileWorker::sendRowsReply(const QVariantList& rows, const TrString& title, CMGetRowsRequest request)
{
    TavoRoles roles;
    roles.setTitle(title);
    roles.setContainerType(TavoRolesContainerType::ContextMenu);
    TavoRowsRoles answer;
    answer.setRowsCount(rows.size());
    answer.setRows(rows);
    answer.setRoles(roles);
    request.reply().setValue(answer);
    LOG_AT(Site::rowsReplySent, TRACE, "sent reply with " << rows.size() << " lines");
}

void CMFileWorker::getDataRequest(const CMGetDataRequest& request)
{
    LOG(Signature::getDataRequest, TRACE, entering(Signature::getDataRequest));
    CMReply<QVariantList> reply = request.reply();
    const QString path = request.path().base();
    LOG(Signature::getDataRequest, TRACE, entering(Signature::getDataRequest) << path);
    LOG(Signature::getDataRequest, TRACE, "getDataRequest request.path(): " << request.path());
    LOG(Signature::getDataRequest, TRACE, "getDataRequest path: " << path);
    if (!QFileInfo(m_rootDir, path).exists())
        return reply.setError(createErrorInvalidPath(request.path()));
    reply.setValue(getDataImpl(reply, path, request.roles()));
}

void CMFileWorker::setDataRequest(const CMSetDataRequest& request)
{
    LOG(Signature::setDataRequest, TRACE, entering(Signature::setDataRequest) << "path: " << request.path());
    if (request.path() == addPrefix(TavoPlayListPrepareItems())) {
        QStringList patterns = m_filter;
        for (const QString& playlistPattern : qAsConst(m_playlistPatterns))
            patterns.removeAll(playlistPattern);
        request.reply().setValue(prepareItems(request, PlayListTagReader(), patterns));
    }
    if (request.path() == addPrefix(TavoMusicLibraryPrepareItems())) {
        LOG(Signature::setDataRequest, INFO, entering(Signature::setDataRequest) << "Prepare items for music library");
        request.reply().setValue(prepareItems(request, MusicLibraryTagReader(m_albumArtWidth), m_filter));
    } else if (request.path() == addPrefix(TavoFilesystemCountFilesPathSuffix())) {
        countFiles(request);
    }
}

void CMFileWorker::countFiles(const CMSetDataRequest& request)
{
    const QString path = joinedPath(request.value().toString());
    LOG(Signature::setDataRequest, INFO, "Count files under path: " << path);
    if (!isInsideRoot(path))
        return request.reply().setError(errorAccessViolation(path));
    int count = 0;
    QDirIterator walk(path, m_filter, QDir::Files, QDirIterator::Subdirectories);
    for (; walk.hasNext(); walk.next())
        ++count;
    LOG(Signature::setDataRequest, INFO, "audioFilesNb: " << count);
    request.reply().setValue(count);
}

QVariantList
CMFileWorker::prepareItems(const CMSetDataRequest& request, const TagReader& reader, const QStringList& patterns)
{
    QStringList itemIds;
    for (const QVariant& itemId : request.value().value<QVariantList>())
        itemIds.append(itemId.toString());
    LOG(Signature::prepareRequest, DEBUG, "prepare items: " << itemIds);
    const QVariantList result = prepareItems(itemIds, reader, patterns);
    LOG(Signature::prepareRequest, TRACE, "preparedItems: " << result);
    return result;
}

QVariantList
CMFileWorker::prepareItems(const QStringList& itemIds, const TagReader& reader, const QStringList& patterns)
{
    LOG(Signature::prepareList, TRACE, entering(Signature::prepareList));
    QVariantList result;
    const NamePatterns names = NamePatterns::shared(patterns);
    for (const QString& itemId : itemIds)
        result += prepareItem(itemId, reader, names);
    LOG(Signature::prepareList, TRACE, "res: " << result);
    return result;
}

QVariantList CMFileWorker::prepareItem(const QString& itemId, const TagReader& reader, const NamePatterns& patterns)
{
    QVariantList items;
    const CMPath path = CMPath::fromEncoded(itemId);
    LOG(Signature::prepareList, TRACE, "itemId: " << path);
    const QString absolutePath = joinedPath(path.base());
    LOG(Signature::prepareList, TRACE, "absolutePath: " << absolutePath);
    CMVoidReply scratch;
    const auto prepareFile = [&](const QString& rowPath, const QString& file) {
        const QVariantList rows = getDataImpl(scratch, rowPath, CMAllRoles());
        const QVariant item = reader.readItem(m_rootDir, file, m_serviceId, rows);
        LOG(Signature::prepareList, TRACE, "Item: " << item);
        items.append(item);
    };
    const QFileInfo info(absolutePath);
    if (info.isDir()) {
        LOG(Signature::prepareList, TRACE, "item is a dir: going through on subdirectories");
        for (const QString& file : sortedFiles(absolutePath, patterns.texts()))
            prepareFile(m_rootDir.absoluteFilePath(file), file);
    } else if (info.isFile() && patterns.match(info.fileName())) {
        LOG(Signature::prepareList, TRACE, "item is a file");
        prepareFile(absolutePath, absolutePath);
    } else {
        LOG(Signature::prepareList, TRACE, "unkown type of object: " << absolutePath);
    }
    return items;
}

int CMFileWorker::renewRowsVersion()
{
    const QMutexLocker lock(CMVersion::mutex());
    // Signed overflow would be undefined behaviour.
    const int next = static_cast<int>(static_cast<unsigned>(m_rowsVersion) + 1U);
    m_rowsVersion = next < 0 ? 1 : next;
    return m_rowsVersion;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): a copy, as in removeWatch()
void CMFileWorker::addWatch(QString path)
{
    LOG(Signature::addWatch, TRACE, entering(Signature::addWatch) << "Adding watch on " << path);
    int& count = m_watchCounts[path];
    if (count == 0)
        m_watcher->addPath(path);
    ++count;
    LOG(Signature::addWatch, TRACE, "Added watch #" << count << " on " << path);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the argument may refer to the key that is removed
void CMFileWorker::removeWatch(QString path)
{
    LOG(Signature::removeWatch, TRACE,
        entering(Signature::removeWatch) << "Removing watch #" << m_watchCounts[path] << " on " << path);
    const auto count = m_watchCounts.find(path);
    if (count != m_watchCounts.end() && *count > 1) {
        --*count;
        return;
    }
    m_watcher->removePath(path);
    m_watchCounts.remove(path);
}

void CMFileWorker::subscribePathAdded(const CMPath& pathWithPrefix)
{
    LOG(Signature::subscribePathAdded, TRACE, entering(Signature::subscribePathAdded) << pathWithPrefix);
    const QMutexLocker lock(&m_mutex);
    QFileInfo info(m_rootDir, pathWithPrefix.base());
    info.makeAbsolute();
    const QString absolutePath = info.filePath();
    if (!isInsideRoot(absolutePath) || !info.isReadable())
        return;
    if (absolutePath.startsWith(m_contextMenuPath.base(), Qt::CaseSensitive)) {
        LOG(Signature::subscribePathAdded, DEBUG, "TODO: keep track of opened context menus");
        return;
    }
    const int version = renewRowsVersion();
    Q_ASSERT(!m_cache.contains(absolutePath));
    m_cache.insert(absolutePath, CacheItem{-1, version});
    const QString parentPath = parentDirectory(info);
    addWatch(absolutePath);
    addWatch(parentPath);
    LOG(Signature::subscribePathAdded, INFO, "Added subscribe path " << absolutePath << " and parent " << parentPath);
}

void CMFileWorker::subscribePathRemoved(const CMPath& pathWithPrefix)
{
    LOG(Signature::subscribePathRemoved, TRACE, entering(Signature::subscribePathRemoved) << pathWithPrefix);
    if (pathWithPrefix.startsWith(m_contextMenuPath))
        return;
    const QMutexLocker lock(&m_mutex);
    QFileInfo info(m_rootDir, pathWithPrefix.base());
    info.makeAbsolute();
    const QString absolutePath = info.filePath();
    m_cache.remove(absolutePath);
    removeWatch(absolutePath);
    removeWatch(parentDirectory(info));
    LOG(Signature::subscribePathRemoved, INFO, "Removed subscribe path " << absolutePath);
}

void CMFileWorker::on_watcherChanged(const QString& path)
{
    CMVoidReply nobody(new CMReplyData<TavoRowsRoles>(TavoRowsRoles(QVariantHash())));
    const QStringList entries = entryList(nobody, path);
    watcherChanged(path, entries);
}

void CMFileWorker::watcherChanged(const QString& path, const QStringList& entries)
{
    LOG(Signature::watcherChanged, TRACE, entering(Signature::watcherChanged));
    LOG(Signature::watcherChanged, INFO, "Changed " << path);
    const CMPath rowPath = addPrefix(relativePath(path));
    QStringList changes;
    QMutexLocker lock(&m_mutex);
    const QDir dir(path);
    dir.refresh();
    const int version = renewRowsVersion();
    if (dir.exists()) {
        LOG(Signature::watcherChanged, TRACE, "  Dir exists " << path);
        m_cache.insert(path, CacheItem{entries.size(), version});
        changes.append(CMSubscribe::RowsChangeReset());
        emulateChangesOfDeleted(rowPath);
    } else if (!m_cache.contains(path)) {
        LOG(Signature::watcherChanged, TRACE, "  Deleted from filesystem and already removed: " << path);
        return;
    } else {
        LOG(Signature::watcherChanged, TRACE, "  Deleted from filesystem: " << path);
        changes.append(CMSubscribe::RowsChangeClose());
        m_cache.remove(path);
    }
    lock.unlock();
    for (const QString& change : qAsConst(changes))
        LOG(Signature::watcherChanged, TRACE, "  Issuing  changes: '" << change << "' for " << rowPath);
    subscribe()->rowsChanged(rowPath, changes, version, -1);
}

void CMFileWorker::emulateChangesOfDeleted(const CMPath& rowPath)
{
    LOG(Signature::watcherChanged, TRACE, "    looking for subdirs of " << rowPath);
    const QList<CMPath> subscribed = subscribe()->rowsPathsStartingWith(rowPath);
    QSet<CMPath> paths(subscribed.cbegin(), subscribed.cend());
    paths.insert(rowPath);
    LOG(Signature::watcherChanged, TRACE, "    will check subpaths: " << texts(paths));
    for (const CMPath& path : qAsConst(paths)) {
        LOG(Signature::watcherChanged, TRACE, "      checking  " << path.base());
        if (QFileInfo(m_rootDir, path.base()).exists())
            continue;
        LOG(Signature::watcherChanged, TRACE,
            "        emulating dirChanged on '" << path.base() << "' because it was deleted");
        Q_EMIT fakeDirectoryChanged(m_rootDir.absoluteFilePath(path.base()));
    }
}
