#include "doctor/treecheck.h"

#include "content/confinement.h"
#include "content/mount.h"
#include "exec/patientcall.h"
#include "language/translatable.h"
#include "liveness/kernelevents.h"
#include "process/filedescriptor.h"

#include <tagreader/playlisttagreader.h>
#include <tavo/mimetypes.h>
#include <tavo/tavomedia.h>
#include <tavo/tavoutf8.h>

#include <QFile>
#include <QFileInfo>

#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds lookPatience{5};

/// The first few of many things, and their number.
class Examples
{
public:
    void add(const QString& text)
    {
        constexpr int most = 5;
        if (m_texts.size() < most)
            m_texts.append(text);
        ++m_count;
    }

    void addTo(Findings& findings, Finding finding) const
    {
        if (m_count == 0)
            return;
        finding.examples = m_texts;
        finding.count = m_count;
        findings.push_back(std::move(finding));
    }

private:
    QStringList m_texts;
    qint64 m_count = 0;
};

QString decoded(const std::string& bytes)
{
    return TavoUtf8::decode(bytes.data(), static_cast<int>(bytes.size()));
}

bool isUtf8(const std::string& bytes)
{
    return QFile::encodeName(decoded(bytes)).toStdString() == bytes;
}

bool isReadable(const fs::path& file)
{
    return FileDescriptor(open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)).isOpen();
}

bool isAudio(const QString& path)
{
    const QString mimeType = MimeTypes::extensionToMimeType(QFileInfo(path).suffix(), QString());
    return CMGlobal::mimeTypeToRolesType(mimeType) == TavoRolesType::Enum::Audio;
}

/// A file without tags still has a duration.
bool hasTagsOrSound(const QVariant& item)
{
    const TavoMediaData media(item.toHash().value(TavoRoles::MediaData()).toHash());
    QStringList tags = media.metaData().fields().keys();
    tags.removeOne(QStringLiteral("serviceID"));
    return !tags.isEmpty() || media.resources().at(0).field(QStringLiteral("duration")).isValid();
}

dev_t deviceOf(const fs::path& path)
{
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0 ? status.st_dev : 0;
}

/// Walks through the directory of one root.
class Walk
{
public:
    Walk(const Mount& mount, std::chrono::milliseconds sweepInterval, const WalkProgress& progress)
        : m_mount(mount), m_sweepInterval(sweepInterval), m_progress(progress)
    {
    }

    [[nodiscard]] TreeReport run()
    {
        m_pending = {m_mount.localPath(QString()).toStdString()};
        while (!m_pending.empty()) {
            const fs::path directory = std::move(m_pending.back());
            m_pending.pop_back();
            enter(directory);
        }
        addFindings();
        return std::move(m_report);
    }

private:
    [[nodiscard]] QString relative(const fs::path& path) const
    {
        return decoded(path.lexically_relative(m_mount.localPath(QString()).constData()).native());
    }

    void enter(const fs::path& directory)
    {
        ++m_report.directories;
        m_progress(m_report, relative(directory));
        lookAtFileSystem(directory);
        std::error_code error;
        for (fs::directory_iterator entry(directory, error), end; !error && entry != end; entry.increment(error))
            lookAt(*entry);
        if (error)
            m_closedDirectories.add(relative(directory));
    }

    void lookAtFileSystem(const fs::path& directory)
    {
        const dev_t device = deviceOf(directory);
        if (device == m_lastDevice)
            return;
        m_lastDevice = device;
        const QString path = decoded(directory.native());
        if (!m_fileSystems.contains(path))
            append(m_report.findings, checkFileSystem(path, fileSystemType(QFile::encodeName(path)), m_sweepInterval));
        m_fileSystems.append(path);
    }

    void lookAt(const fs::directory_entry& entry)
    {
        const std::string name = entry.path().filename().native();
        std::error_code error;
        if (name.front() == '.')
            return;
        if (!isUtf8(name))
            m_brokenNames.add(relative(entry.path()));
        else if (entry.is_symlink(error))
            lookAtLink(relative(entry.path()));
        else if (entry.is_directory(error))
            m_pending.push_back(entry.path());
        else if (m_mount.isPlayable(decoded(name)))
            lookAtFile(entry.path());
    }

    void lookAtLink(const QString& base)
    {
        if (!isPublic(m_mount, base))
            m_outerLinks.add(base);
    }

    void lookAtFile(const fs::path& file)
    {
        ++m_report.files;
        const QString base = relative(file);
        m_progress(m_report, base);
        if (!isReadable(file))
            m_closedFiles.add(base);
        else if (
            isAudio(base) && !hasTagsOrSound(m_reader.readItem(QDir(m_mount.rootDirectory), base, m_mount.prefix, {})))
            m_unreadableTags.add(base);
    }

    void addFindings()
    {
        Findings& findings = m_report.findings;
        const auto below = [this](const char* things) { return translated(things, {m_mount.rootDirectory}); };
        m_closedDirectories.addTo(
            findings, {QStringLiteral("unreadableDirectory"),
                       below(QT_TRANSLATE_NOOP("Host", "directories that cannot be read below %1")),
                       translated(QT_TRANSLATE_NOOP(
                           "Host", "let the user who runs tavo read and enter them, for example with chmod o+rx"))});
        m_closedFiles.addTo(
            findings,
            {QStringLiteral("unreadableFile"), below(QT_TRANSLATE_NOOP("Host", "files that cannot be read below %1")),
             translated(
                 QT_TRANSLATE_NOOP("Host", "let the user who runs tavo read them, for example with chmod o+r"))});
        m_outerLinks.addTo(
            findings, {QStringLiteral("outerLink"),
                       below(QT_TRANSLATE_NOOP("Host", "symlinks that lead out, or to something hidden, below %1")),
                       translated(QT_TRANSLATE_NOOP(
                           "Host", "clients of a server do not see them: move what they lead to below the root, or "
                                   "make its directory a root of its own"))});
        m_brokenNames.addTo(
            findings,
            {QStringLiteral("brokenName"), below(QT_TRANSLATE_NOOP("Host", "names that are not UTF-8 below %1")),
             translated(QT_TRANSLATE_NOOP(
                 "Host", "clients cannot open them: rename them, for example with convmv -f latin1 -t utf8 -r"))});
        m_unreadableTags.addTo(
            findings,
            {QStringLiteral("unreadableTags"), below(QT_TRANSLATE_NOOP("Host", "files without readable tags below %1")),
             translated(QT_TRANSLATE_NOOP(
                 "Host", "they may be damaged, incomplete or no audio files at all: try to play them, and replace or "
                         "remove those that do not play"))});
    }

    const Mount m_mount;
    const std::chrono::milliseconds m_sweepInterval;
    const WalkProgress& m_progress;
    const PlayListTagReader m_reader;

    std::vector<fs::path> m_pending;
    dev_t m_lastDevice = 0;
    QStringList m_fileSystems;

    TreeReport m_report;
    Examples m_closedDirectories;
    Examples m_closedFiles;
    Examples m_outerLinks;
    Examples m_brokenNames;
    Examples m_unreadableTags;
};

Findings missing(const QString& problem)
{
    return {
        {QStringLiteral("missingRoot"), problem,
         translated(QT_TRANSLATE_NOOP(
             "Host",
             "correct the path, or mount what should be there; a server serves the root as soon as it is there"))}};
}

} // namespace

TreeReport checkTree(const RootSettings& root, std::chrono::milliseconds sweepInterval, const WalkProgress& progress)
{
    PatientCall<QFileInfo> look;
    const std::optional<QFileInfo> found = look.call(
        [directory = root.directory] {
            QFileInfo info(directory);
            static_cast<void>(info.isDir());
            return QFileInfo(info.canonicalFilePath());
        },
        lookPatience);
    if (!found)
        return {
            missing(translated(QT_TRANSLATE_NOOP("Host", "the root directory %1 does not answer"), {root.directory}))};
    if (root.directory.isEmpty() || !found->isDir())
        return {missing(translated(QT_TRANSLATE_NOOP("Host", "there is no directory %1"), {root.directory}))};
    const Mount mount{root.id, root.title, found->filePath(), root.filter, root.followLinks};
    return Walk(mount, sweepInterval, progress).run();
}

Findings checkFileSystem(const QString& directory, const QByteArray& type, std::chrono::milliseconds sweepInterval)
{
    if (!sendsNoEvents(type))
        return {};
    const QString problem = translated(
        QT_TRANSLATE_NOOP("Host", "%1 is on a file system of type %2, which reports no changes"),
        {directory, QString::fromUtf8(type)});
    if (sweepInterval.count() == 0)
        return {
            {QStringLiteral("blindFileSystem"), problem,
             translated(
                 QT_TRANSLATE_NOOP("Host", "do not turn the regular looks at opened directories off: --sweep 5"))}};
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(sweepInterval).count();
    return {
        {QStringLiteral("blindFileSystem"),
         problem,
         translated(
             QT_TRANSLATE_NOOP(
                 "Host", "nothing needs doing: tavo looks at opened directories every %1 seconds, so changes appear "
                         "later than elsewhere"),
             {QString::number(seconds)}),
         {},
         0,
         false}};
}
