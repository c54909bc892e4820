// Many threads ask for rows of a directory that changes all the time.

#include "changerecorder.h"
#include "fileworkertest.h"
#include "tavo/tavokeys.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <map>
#include <mutex>
#include <random>
#include <thread>

#include <fcntl.h>

namespace {

constexpr unsigned readers = 8;
constexpr int pagesOfEach = 100;
constexpr int pageSize = 20;

using Random = std::mt19937;

int below(Random& random, int limit)
{
    return static_cast<int>(random() % static_cast<unsigned>(limit));
}

/// The contents of a directory in one of its states; no two states are alike.
QVariantList generation(char letter, int size)
{
    QVariantList names;
    for (int i = 0; i < size; ++i)
        names.append(QString(QLatin1Char(letter)) + QStringLiteral("%1.mp3").arg(i, 2, 10, QLatin1Char('0')));
    return names;
}

struct Page
{
    int first;
    int last;
    int count;
    int version;
    QVariantList names;
};

class Load : public FileWorkerTest
{
protected:
    using Change = std::function<void(Random&)>;
    /// Why the page cannot come from a single listing; empty if it can.
    using Check = std::function<QString(const Page&)>;

    Load() { log.setLevel(log4cplus::OFF_LOG_LEVEL); }

    void addGeneration(const QString& directory, const QVariantList& names) const
    {
        for (const QVariant& name : names)
            tree.addFile(directory + '/' + name.toString());
    }

    void swap(const QString& a, const QString& b) const
    {
        const int swapped = renameat2(
            AT_FDCWD, tree.path(a).toUtf8().constData(), AT_FDCWD, tree.path(b).toUtf8().constData(), RENAME_EXCHANGE);
        Q_ASSERT(swapped == 0);
    }

    /// Reads the directory d from many threads while it changes, until each has had its pages and `hasSeenAll` holds.
    void readWhile(const Change& change, const Check& check, const std::function<bool()>& hasSeenAll)
    {
        ASSERT_TRUE(worker->connectChange(worker->addPrefix("d"), &client));
        std::vector<std::thread> threads;
        threads.emplace_back([&] {
            for (Random random(0); !m_ends;)
                change(random);
        });
        for (unsigned seed = 1; seed <= readers; ++seed) {
            threads.emplace_back([this, seed, &check] {
                for (Reader reader(*this, seed); !m_ends;)
                    reader.read(check);
            });
        }
        const bool isDone = processEventsUntil([&] { return (m_done == readers && hasSeenAll()) || hasFault(); });
        m_ends = true;
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_TRUE(isDone) << m_done << " readers of " << readers << " have had their pages, " << m_refusals
                            << " were refused";
        EXPECT_EQ(m_fault, QString());
    }

    [[nodiscard]] int refusals() const { return m_refusals; }

private:
    /// As a client that asks for pages with the version of the last one, and begins anew if that is refused.
    class Reader
    {
    public:
        Reader(Load& load, unsigned seed) : m_load(load), m_random(seed) {}

        void read(const Check& check)
        {
            const int first = below(m_random, pageSize);
            const int last = first - 1 + below(m_random, 2 * pageSize);
            const CMReply<TavoRowsRoles> reply = m_load.rows("d", first, last, m_version);
            m_version = 0;
            if (!reply.isFinished())
                return m_load.note("no answer");
            if (reply.isError())
                return noteRefusal(reply.error());
            const TavoRowsRoles answer = reply.value();
            m_version = answer.rowsVersion();
            m_load.note(check({first, last, answer.rowsCount(), answer.rowsVersion(), firstColumn(answer)}));
            if (++m_pages == pagesOfEach)
                ++m_load.m_done;
        }

    private:
        void noteRefusal(const CMError& error)
        {
            ++m_load.m_refusals;
            if (error.name() != TavoErrorInvalidRowsVersion())
                m_load.note(error.message());
        }

        Load& m_load;
        Random m_random;
        int m_version = 0;
        int m_pages = 0;
    };

    /// Keeps the first fault.
    void note(const QString& fault)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_fault.isEmpty())
            m_fault = fault;
    }

    [[nodiscard]] bool hasFault()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return !m_fault.isEmpty();
    }

    ChangeRecorder client;
    std::atomic<bool> m_ends = false;
    std::atomic<unsigned> m_done = 0;
    std::atomic<int> m_refusals = 0;
    std::mutex m_mutex;
    QString m_fault;
};

QString describe(const Page& page)
{
    QStringList names;
    for (const QVariant& name : page.names)
        names.append(name.toString());
    return QStringLiteral("rows %1 to %2 of %3, version %4: %5")
        .arg(page.first)
        .arg(page.last)
        .arg(page.count)
        .arg(page.version)
        .arg(names.join(' '));
}

bool isPageOf(const QVariantList& generation, const Page& page)
{
    return page.count == generation.size() && page.names == generation.mid(page.first, page.last - page.first + 1);
}

TEST_F(Load, EveryPageIsOfOneListingWhileDirectoriesAreSwapped)
{
    const QVariantList a = generation('a', 30);
    const QVariantList b = generation('b', 30);
    addGeneration("d", a);
    addGeneration(".b", b);
    std::atomic<int> seen[2] = {};
    readWhile(
        [this](Random&) { swap("d", ".b"); },
        [&](const Page& page) {
            if (!isPageOf(a, page) && !isPageOf(b, page))
                return describe(page);
            ++seen[isPageOf(a, page) ? 0 : 1];
            return QString();
        },
        [&seen] { return seen[0] > 0 && seen[1] > 0; });
}

TEST_F(Load, EveryVersionIsOfOneListingWhileDirectoriesOfOtherSizesAreSwapped)
{
    const std::vector<QVariantList> generations = {generation('a', 30), generation('b', 21), generation('c', 40)};
    addGeneration("d", generations[0]);
    addGeneration(".b", generations[1]);
    addGeneration(".c", generations[2]);
    std::mutex mutex;
    std::map<int, const QVariantList*> byVersion;
    readWhile(
        [this](Random& random) { swap("d", below(random, 2) == 0 ? ".b" : ".c"); },
        [&](const Page& page) {
            const auto its = std::find_if(generations.begin(), generations.end(), [&page](const QVariantList& names) {
                return isPageOf(names, page);
            });
            if (its == generations.end())
                return describe(page);
            const std::lock_guard<std::mutex> lock(mutex);
            const bool isOther = page.version <= 0 || byVersion.emplace(page.version, &*its).first->second != &*its;
            return isOther ? "other rows of the same version: " + describe(page) : QString();
        },
        [&] {
            const std::lock_guard<std::mutex> lock(mutex);
            return refusals() > 0 && byVersion.size() > 1;
        });
}

TEST_F(Load, EveryPageIsWholeWhileFilesComeAndGo)
{
    const QVariantList names = generation('a', 40);
    addGeneration("d", names);
    readWhile(
        [&](Random& random) {
            const QString file = "d/" + names.at(below(random, names.size())).toString();
            if (QFileInfo::exists(tree.path(file)))
                tree.remove(file);
            else
                tree.addFile(file);
        },
        [&](const Page& page) {
            const int rows = std::max(0, std::min(page.last, page.count - 1) - page.first + 1);
            const bool isAscending =
                std::adjacent_find(page.names.begin(), page.names.end(), [](const QVariant& a, const QVariant& b) {
                    return a.toString() >= b.toString();
                }) == page.names.end();
            return page.names.size() == rows && isAscending ? QString() : describe(page);
        },
        [this] { return refusals() > 0; });
}

} // namespace
