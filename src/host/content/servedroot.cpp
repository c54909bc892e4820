#include "content/servedroot.h"

#include "content/workermodule.h"
#include "language/translatable.h"
#include "liveness/healer.h"
#include "process/hostlog.h"

#include <model/cmroot.h>
#include <tavo/tavokeys.h>

#include <QDir>
#include <QFileInfo>

namespace {

constexpr char sourceFile[] = "src/host/content/servedroot";

/// The canonical path of the directory, or why there is none.
Result<QString> canonicalDirectory(const QString& directory)
{
    const QFileInfo info(directory);
    const QString canonical = info.canonicalFilePath();
    // To a worker an empty path would be the current directory.
    if (canonical.isEmpty())
        return Failure::wrongUse(
            translatable(QT_TRANSLATE_NOOP("Host", "the root directory %1 does not exist"), {directory}));
    if (!info.isDir())
        return Failure::wrongUse(
            translatable(QT_TRANSLATE_NOOP("Host", "the root %1 is not a directory"), {directory}));
    return canonical;
}

QString nameOf(const QString& directory)
{
    const QString name = QDir(directory).dirName();
    return name.isEmpty() ? directory : name;
}

} // namespace

ServedRoot::ServedRoot(
    RootSettings root, const HostSettings& settings, const WorkerModule& module, int position, ChangeHandler changed)
    : m_root(std::move(root)), m_sweepInterval(settings.sweepInterval), m_module(module), m_position(position),
      m_changed(std::move(changed))
{
    QObject::connect(&m_timer, &QTimer::timeout, [this] {
        static_cast<void>(check());
        warn();
    });
    if (m_sweepInterval.count() > 0)
        m_timer.start(m_sweepInterval);
}

ServedRoot::~ServedRoot()
{
    m_healer.reset();
    if (m_worker)
        CMRootWorker::instance().unmount(m_worker.get());
    // First, since its destruction drops a queued call that would use the other members.
    m_worker.reset();
}

ServedRoot::Found ServedRoot::look(std::chrono::milliseconds patience)
{
    return m_look->call([directory = m_root.directory] { return canonicalDirectory(directory); }, patience);
}

TrString ServedRoot::problemOf(const Found& found) const
{
    if (!found)
        return translatable(QT_TRANSLATE_NOOP("Host", "the root directory %1 does not answer"), {m_root.directory});
    return *found ? TrString() : found->failure().message;
}

Result<void> ServedRoot::check(std::chrono::milliseconds patience)
{
    if (m_isLeaving || m_isRetired)
        return {};
    const Found found = look(patience);
    if (found && *found && !m_mount) {
        Result<void> mounted = mount(found->value(), patience);
        if (!mounted)
            m_problem = mounted.failure().message;
        return mounted;
    }
    if (found && !*found && m_mount)
        unmount();
    m_problem = m_mount ? TrString() : problemOf(found);
    return {};
}

Result<void> ServedRoot::mount(const QString& directory, std::chrono::milliseconds patience)
{
    const QVariantHash configuration = {
        {TavoService_Id(), m_root.id}, {TavoFilesystem_Path(), directory}, {TavoFilesystem_Filter(), m_root.filter}};
    Result<std::unique_ptr<CMWorker>> worker = m_module.createWorker(configuration);
    if (!worker)
        return worker.failure();
    // A worker that did not find its directory would serve another one.
    if (const Found again = look(patience); !again || !*again || again->value() != directory) {
        m_problem =
            translatable(QT_TRANSLATE_NOOP("Host", "the root directory %1 has vanished again"), {m_root.directory});
        return {};
    }
    const QString title = m_root.title.isEmpty() ? nameOf(directory) : m_root.title;
    if (!CMRootWorker::instance().mount(worker.value().get(), title, m_position))
        return Failure::wrongUse(translatable(QT_TRANSLATE_NOOP("Host", "the root id '%1' is taken"), {m_root.id}));
    m_worker = std::move(worker.value());
    m_mount = std::make_shared<const Mount>(Mount{m_root.id, title, directory, m_root.filter, m_root.followLinks});
    const auto localPath = [mount = m_mount](const CMPath& path) { return mount->localPath(path.base()); };
    m_healer = std::make_unique<Healer>(*m_worker, localPath, m_sweepInterval);
    if (m_hasWarned)
        HOST_LOG(hostLogger(), WARN, sourceFile, "the root " << m_root.directory << " is back");
    m_hasWarned = false;
    m_problem = {};
    m_changed();
    return {};
}

void ServedRoot::unmount()
{
    m_mount.reset();
    m_healer.reset();
    m_changed();
    m_isLeaving = true;
    CMRootWorker::instance().unmount(m_worker.get(), [this] {
        m_worker.reset();
        m_isLeaving = false;
        static_cast<void>(check());
    });
}

void ServedRoot::change(const RootSettings& root, int position)
{
    moveTo(position);
    if (root != m_root) {
        // A check of the former directory may hang.
        m_look.emplace();
        m_inspection.emplace();
        m_root = root;
        m_hasWarned = false;
        if (m_mount)
            unmount();
    }
    m_isRetired = false;
    static_cast<void>(check());
    warn();
}

void ServedRoot::moveTo(int position)
{
    m_position = position;
    if (m_mount)
        CMRootWorker::instance().setPosition(m_worker.get(), position);
}

bool ServedRoot::retire()
{
    m_isRetired = true;
    m_problem = {};
    if (m_mount)
        unmount();
    return !m_worker;
}

void ServedRoot::warn()
{
    if (m_problem.isEmpty() || m_hasWarned)
        return;
    HOST_LOG(hostLogger(), WARN, sourceFile, inEnglish(m_problem) << "; the root is served as soon as it can be");
    m_hasWarned = true;
}
