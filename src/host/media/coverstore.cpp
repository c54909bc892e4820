#include "media/coverstore.h"

#include "content/contenthost.h"
#include "exec/rootpools.h"
#include "media/covermaker.h"
#include "media/directorycovers.h"
#include "process/guardedcall.h"

#include <algorithm>
#include <array>
#include <map>
#include <mutex>
#include <tuple>
#include <vector>

namespace {

using Effort = CoverMaker::Effort;

/// Of each root.
constexpr int lookingThreads = 2;
constexpr int decodingThreads = 2;
/// Of a root: more come from clients that do not wait any longer.
constexpr int mostUnanswered = 2000;

int nextWidth(int width)
{
    constexpr std::array widths = {100, 200, 400, 800};
    const auto* const next = std::lower_bound(widths.begin(), widths.end(), width);
    return next == widths.end() ? widths.back() : *next;
}

QString parentOf(const QString& base)
{
    return base.left(std::max(base.lastIndexOf(u'/'), 0));
}

QString childOf(const QString& base, const QString& name)
{
    return base.isEmpty() ? name : base + u'/' + name;
}

/// Applies the rules for where a cover comes from.
struct Search
{
    CoverMaker& maker;
    DirectoryCoversFinder& directories;
    const Mount& mount;
    const GuardedTree& tree;
    const int width;
    const Effort effort;

    [[nodiscard]] CoverAnswer cover(const QString& base) const
    {
        const std::optional<CoverAnswer> ofTags = inTags(base);
        if (ofTags && !ofTags->isNone())
            return *ofTags;
        const QString directory = ofTags ? parentOf(base) : base;
        const DirectoryCovers covers = directories.find(tree, mount, directory);
        CoverAnswer picture = firstOf(directory, covers.pictures);
        if (ofTags || !picture.isNone() || covers.firstPlayable.isNull())
            return picture;
        return inTags(childOf(directory, covers.firstPlayable)).value_or(CoverAnswer::none());
    }

private:
    /// Nothing if there is no such playable file.
    [[nodiscard]] std::optional<CoverAnswer> inTags(const QString& base) const
    {
        std::optional<GuardedTree::File> file = mount.isPlayable(base) ? tree.openFile(base) : std::nullopt;
        if (!file)
            return std::nullopt;
        return maker.cover({CoverMaker::Kind::Audio, std::move(*file), base}, width, effort);
    }

    [[nodiscard]] CoverAnswer firstOf(const QString& directory, const QStringList& pictures) const
    {
        for (const QString& name : pictures) {
            std::optional<GuardedTree::File> file = tree.openFile(childOf(directory, name));
            if (!file)
                continue;
            CoverAnswer answer = maker.cover({CoverMaker::Kind::Picture, std::move(*file), name}, width, effort);
            if (!answer.isNone())
                return answer;
        }
        return CoverAnswer::none();
    }
};

} // namespace

class CoverStore::State
{
public:
    State(ContentHost& host, const Settings& settings) : m_host(host), m_maker(settings) {}

    void find(Query query, const Receive& receive);
    [[nodiscard]] bool stop(std::chrono::milliseconds patience);
    [[nodiscard]] qint64 decoded() const { return m_maker.decoded(); }

private:
    using Key = std::tuple<QString, QString, int>;
    using Receivers = std::vector<Receive>;

    [[nodiscard]] static Key keyOf(const Query& query) { return {query.prefix, query.base, query.width}; }
    /// False if the query cannot be answered.
    [[nodiscard]] bool takes(const Query& query, const Receive& receive);
    void run(const Query& query, Effort effort);
    [[nodiscard]] CoverAnswer answer(const Query& query, Effort effort);
    [[nodiscard]] Receivers takeReceivers(const Query& query);

    ContentHost& m_host;
    CoverMaker m_maker;
    DirectoryCoversFinder m_directories;

    std::mutex m_mutex;
    bool m_isStopping = false;
    /// Of the queries that are not answered yet.
    std::map<Key, Receivers> m_receivers;
    /// Their receivers, by the roots' IDs.
    std::map<QString, int> m_unanswered;

    /// Covers that are kept do not wait for the decoding of others. Last, since their functions use the members above.
    RootPools m_looking{lookingThreads};
    RootPools m_decoding{decodingThreads};
};

void CoverStore::State::find(Query query, const Receive& receive)
{
    query.width = nextWidth(query.width);
    if (!takes(query, receive))
        receive(std::nullopt);
}

bool CoverStore::State::takes(const Query& query, const Receive& receive)
{
    if (!m_host.isRoot(query.prefix))
        return false;
    const std::lock_guard lock(m_mutex);
    int& unanswered = m_unanswered[query.prefix];
    if (m_isStopping || unanswered >= mostUnanswered)
        return false;
    // Nobody waits for a query that could not be posted.
    if (m_receivers.count(keyOf(query)) == 0)
        m_looking.post(query.prefix, [this, query] { run(query, Effort::Look); });
    m_receivers[keyOf(query)].push_back(receive);
    ++unanswered;
    return true;
}

void CoverStore::State::run(const Query& query, Effort effort)
{
    std::optional<Cover> cover;
    bool isPostponed = false;
    callGuarded([&] {
        CoverAnswer found = answer(query, effort);
        if (found.isKnown) {
            cover = std::move(found.cover);
        } else {
            m_decoding.post(query.prefix, [this, query] { run(query, Effort::Decode); });
            isPostponed = true;
        }
    });
    if (isPostponed)
        return;
    for (const Receive& receive : takeReceivers(query))
        callGuarded([&] { receive(cover); });
}

CoverAnswer CoverStore::State::answer(const Query& query, Effort effort)
{
    const ContentHost::SharedMount mount = m_host.findMount(query.prefix);
    const std::optional<GuardedTree> tree = mount ? GuardedTree::open(*mount) : std::nullopt;
    if (!tree)
        return CoverAnswer::none();
    return Search{m_maker, m_directories, *mount, *tree, query.width, effort}.cover(query.base);
}

CoverStore::State::Receivers CoverStore::State::takeReceivers(const Query& query)
{
    const std::lock_guard lock(m_mutex);
    const auto node = m_receivers.extract(keyOf(query));
    if (!node)
        return {};
    m_unanswered[query.prefix] -= static_cast<int>(node.mapped().size());
    return std::move(node.mapped());
}

bool CoverStore::State::stop(std::chrono::milliseconds patience)
{
    std::map<Key, Receivers> unanswered;
    {
        const std::lock_guard lock(m_mutex);
        m_isStopping = true;
        unanswered.swap(m_receivers);
    }
    for (const auto& [key, receivers] : unanswered) {
        for (const Receive& receive : receivers)
            receive(std::nullopt);
    }
    const auto deadline = std::chrono::steady_clock::now() + patience;
    const bool hasLooked = m_looking.stop(patience);
    const auto rest = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    return m_decoding.stop(std::max(rest, std::chrono::milliseconds::zero())) && hasLooked;
}

CoverStore::CoverStore(ContentHost& host, const Settings& settings) : m_state(std::make_unique<State>(host, settings))
{
}

CoverStore::~CoverStore()
{
    static_cast<void>(stop(std::chrono::milliseconds::zero()));
}

void CoverStore::find(const Query& query, const Receive& receive)
{
    m_state->find(query, receive);
}

qint64 CoverStore::decoded() const
{
    return m_state->decoded();
}

bool CoverStore::stop(std::chrono::milliseconds patience)
{
    return m_state->stop(patience);
}
