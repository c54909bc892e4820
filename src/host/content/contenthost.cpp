#include "content/contenthost.h"

#include "content/confinement.h"
#include "content/servedroot.h"
#include "content/servedworker.h"
#include "content/workermodule.h"
#include "exec/workerthread.h"
#include "language/translatable.h"

#include <model/cmroot.h>
#include <tavo/tavokeys.h>

#include <QDir>
#include <QSet>

#include <algorithm>
#include <cctype>
#include <functional>
#include <iterator>
#include <limits>

namespace {

/// A disk may have to spin up first.
constexpr std::chrono::seconds startPatience{5};

bool isIdCharacter(QChar character)
{
    const char latin = character.unicode() < 0x80 ? character.toLatin1() : '\0';
    return std::isalnum(static_cast<unsigned char>(latin)) != 0 || latin == '-' || latin == '_';
}

bool isReservedId(const QString& id)
{
    return id == QLatin1String("playlist") || id == QLatin1String("settings");
}

} // namespace

bool isRootId(const QString& text)
{
    return !text.isEmpty() && std::all_of(text.cbegin(), text.cend(), isIdCharacter);
}

Result<void> checkRootId(const QString& id)
{
    if (isRootId(id) && !isReservedId(id))
        return {};
    return Failure::wrongUse(translatable(QT_TRANSLATE_NOOP("Host", "'%1' cannot be a root's id"), {id}));
}

Result<void> checkRoots(const std::vector<RootSettings>& roots)
{
    QSet<QString> ids;
    for (const RootSettings& root : roots) {
        if (root.directory.isEmpty())
            return Failure::wrongUse(
                translatable(QT_TRANSLATE_NOOP("Host", "a root directory has an empty name: --root ''")));
        if (Result<void> usable = checkRootId(root.id); !usable)
            return usable;
        if (ids.contains(root.id))
            return Failure::wrongUse(translatable(
                QT_TRANSLATE_NOOP("Host", "two roots have the id '%1'; give them ids of their own: --root ID=DIR"),
                {root.id}));
        ids.insert(root.id);
    }
    return {};
}

Result<std::unique_ptr<ContentHost>> ContentHost::start(const HostSettings& settings)
{
    if (const Result<void> valid = checkRoots(settings.roots); !valid)
        return valid.failure();
    Result<WorkerModule> module = WorkerModule::load(settings.moduleFile);
    if (!module)
        return module.failure();
    std::unique_ptr<ContentHost> host(new ContentHost(std::move(module.value()), settings));
    host->nameRoots(settings.roots);
    Result<void> started;
    host->m_workerThread->run([&] { started = host->startRoots(); });
    if (!started)
        return started.failure();
    return host;
}

ContentHost::ContentHost(WorkerModule module, const HostSettings& settings)
    : m_workerThread(std::make_unique<WorkerThread>()), m_module(std::make_unique<WorkerModule>(std::move(module))),
      m_settings(settings)
{
    CMRootWorker::instance().moveToThread(m_workerThread->thread());
}

ContentHost::~ContentHost()
{
    QThread* const home = QThread::currentThread();
    m_workerThread->run([this, home] {
        // They may have made requests to the roots' workers that are still under way.
        m_workers.clear();
        CMRootWorker::instance().setVisibility({});
        m_roots.clear();
        m_retired.clear();
        CMRootWorker::instance().moveToThread(home);
    });
}

Result<void> ContentHost::startRoots()
{
    // Workers read it once, when they are made.
    if (m_settings.albumArtWidth)
        CMRootWorker::instance().setSetting(
            TavoMusicLibraryAlbumArtWidth(), TavoValue::fromI32(*m_settings.albumArtWidth));
    for (const RootSettings& root : m_settings.roots) {
        m_roots.push_back(makeRoot(root, static_cast<int>(m_roots.size())));
        if (Result<void> checked = m_roots.back()->check(startPatience); !checked)
            return checked;
    }
    return {};
}

std::unique_ptr<ServedRoot> ContentHost::makeRoot(const RootSettings& root, int position)
{
    return std::make_unique<ServedRoot>(root, m_settings, *m_module, position, [this] { publishMounts(); });
}

Result<void> ContentHost::setRoots(const std::vector<RootSettings>& roots)
{
    if (Result<void> valid = checkRoots(roots); !valid)
        return valid;
    nameRoots(roots);
    m_workerThread->post([this, roots] { changeRoots(roots); });
    return {};
}

void ContentHost::changeRoots(const std::vector<RootSettings>& roots)
{
    std::vector<std::unique_ptr<ServedRoot>> former = std::move(m_roots);
    std::move(m_retired.begin(), m_retired.end(), std::back_inserter(former));
    m_roots.clear();
    m_retired.clear();
    for (const RootSettings& root : roots) {
        const auto same = std::find_if(
            former.begin(), former.end(), [&root](const auto& known) { return known && known->id() == root.id; });
        m_roots.push_back(same == former.end() ? makeRoot(root, static_cast<int>(m_roots.size())) : std::move(*same));
    }
    for (auto& root : former) {
        if (root && !root->retire())
            m_retired.push_back(std::move(root));
    }
    for (size_t i = 0; i < m_roots.size(); ++i)
        m_roots[i]->change(roots[i], static_cast<int>(i));
    publishMounts();
}

void ContentHost::nameRoots(const std::vector<RootSettings>& roots)
{
    const std::lock_guard lock(m_mutex);
    m_rootIds.clear();
    m_rootDirectories.clear();
    for (const RootSettings& root : roots) {
        m_rootIds.append(root.id);
        m_rootDirectories.append(QDir::cleanPath(QDir::current().absoluteFilePath(root.directory)));
        m_usedIds.insert(root.id);
    }
}

void ContentHost::hideFromWorkers()
{
    CMRootWorker::instance().setVisibility([this](const CMPath& path) {
        const SharedMount mount = mountAt(path.prefix());
        // Of a root that comes or disappears just now nothing can be judged.
        return mount ? !mount->isTree() || isPublic(*mount, path.base()) : !isRoot(path.prefix());
    });
}

Result<void> ContentHost::mountWorker(const WorkerSettings& settings)
{
    Result<void> mounted;
    m_workerThread->run([&] {
        constexpr int behindRoots = std::numeric_limits<int>::max();
        Result<std::unique_ptr<ServedWorker>> worker = ServedWorker::mount(settings, behindRoots);
        if (!worker) {
            mounted = worker.failure();
            return;
        }
        m_workers.push_back(std::move(worker.value()));
        publishMounts();
    });
    return mounted;
}

void ContentHost::unmountWorkers()
{
    m_workerThread->post([this] {
        const auto workers = std::move(m_workers);
        m_workers.clear();
        publishMounts();
    });
}

void ContentHost::publishMounts()
{
    std::vector<SharedMount> mounts;
    for (const auto& root : m_roots) {
        if (root->mount())
            mounts.push_back(root->mount());
    }
    for (const auto& worker : m_workers)
        mounts.push_back(worker->mount());
    const std::lock_guard lock(m_mutex);
    m_mounts = std::move(mounts);
}

std::vector<ContentHost::SharedMount> ContentHost::mounts() const
{
    const std::lock_guard lock(m_mutex);
    return m_mounts;
}

QStringList ContentHost::rootIds() const
{
    const std::lock_guard lock(m_mutex);
    return m_rootIds;
}

QStringList ContentHost::rootDirectories() const
{
    const std::lock_guard lock(m_mutex);
    return m_rootDirectories;
}

bool ContentHost::isRoot(const QString& id) const
{
    const std::lock_guard lock(m_mutex);
    return m_usedIds.contains(id);
}

QStringList ContentHost::problems() const
{
    QList<TrString> problems;
    m_workerThread->run([&] {
        for (const auto& root : m_roots)
            problems.append(root->problem());
    });
    // The worker thread has no language of its own.
    QStringList texts;
    std::transform(problems.cbegin(), problems.cend(), std::back_inserter(texts), std::mem_fn(&TrString::toString));
    texts.removeAll(QString());
    return texts;
}

void ContentHost::warnOfProblems()
{
    m_workerThread->run([this] {
        for (const auto& root : m_roots)
            root->warn();
    });
}

ContentHost::SharedMount ContentHost::mountAt(const QString& prefix) const
{
    const std::lock_guard lock(m_mutex);
    const auto mount = std::find_if(
        m_mounts.cbegin(), m_mounts.cend(), [&prefix](const SharedMount& known) { return known->prefix == prefix; });
    return mount == m_mounts.cend() ? nullptr : *mount;
}

QString ContentHost::knownPrefix(const QString& prefix) const
{
    return isRoot(prefix) || mountAt(prefix) ? prefix : QString();
}

ContentHost::SharedMount ContentHost::findMount(const QString& prefix)
{
    SharedMount mount = mountAt(prefix);
    if (mount || !isRoot(prefix))
        return mount;
    m_workerThread->run([this, &prefix] {
        if (ServedRoot* const root = rootAt(prefix))
            static_cast<void>(root->check());
    });
    return mountAt(prefix);
}

ServedRoot* ContentHost::rootAt(const QString& prefix) const
{
    const auto root =
        std::find_if(m_roots.cbegin(), m_roots.cend(), [&prefix](const auto& known) { return known->id() == prefix; });
    return root == m_roots.cend() ? nullptr : root->get();
}

bool ContentHost::answers(const QString& prefix) const
{
    ServedRoot* const root = rootAt(prefix);
    return !root || root->answers();
}

std::optional<Result<void>> ContentHost::inspect(const QString& prefix, std::function<Result<void>()> function) const
{
    ServedRoot* const root = rootAt(prefix);
    return root ? root->inspect(std::move(function)) : function();
}

CMSubscribe* ContentHost::subscribeOf(const QString& prefix) const
{
    if (prefix.isEmpty())
        return CMRootWorker::instance().subscribe();
    if (const ServedRoot* const root = rootAt(prefix))
        return root->mount() ? root->worker()->subscribe() : nullptr;
    const auto worker = std::find_if(m_workers.cbegin(), m_workers.cend(), [&prefix](const auto& known) {
        return known->mount()->prefix == prefix;
    });
    return worker == m_workers.cend() ? nullptr : (*worker)->subscribe();
}
