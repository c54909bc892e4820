// Several clients at once, who add, move, remove and bring back entries at random.

#include "support/playlistworkertest.h"

#include "model/cmroot.h"
#include "tavo/tavoroles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <thread>

namespace {

using Ids = std::vector<qint64>;

constexpr int clients = 8;
constexpr int editsOfEach = 250;

/// A client that edits at random and remembers what it was answered.
class Editor
{
public:
    explicit Editor(unsigned seed) : m_random(seed) {}

    void editOften()
    {
        for (int i = 0; i < editsOfEach; ++i)
            edit();
    }

    /// The ids of the entries that it has added.
    Ids added;
    /// What it has removed and not brought back.
    Ids removed;
    int lastVersion = 0;

private:
    void edit()
    {
        switch (m_random() % 6) {
        case 0:
        case 1:
        case 2:
            return add();
        case 3:
            return move();
        case 4:
            return remove(true);
        default:
            return remove(false);
        }
    }

    /// Empty if the command is refused.
    QVariantHash set(const char* base, const QVariant& value)
    {
        const CMSetDataRequest request(CMPath(QStringLiteral("playlist"), QString::fromUtf8(base)), value);
        CMRoot()->request(request);
        EXPECT_TRUE(request.reply().waitForFinished(60'000));
        const QVariantHash answer = request.reply().value().toHash();
        lastVersion = std::max(lastVersion, answer.value(QStringLiteral("version")).toInt());
        return answer;
    }

    void add()
    {
        static constexpr std::array<const char*, 2> services = {"addToQueue", "playNext"};
        const QVariantHash answer = set(services[m_random() % 2], source(m_random() % 2 == 0 ? "album" : "single"));
        const qint64 first = answer.value(QStringLiteral("first")).toLongLong();
        for (qint64 id = first; id < first + answer.value(QStringLiteral("added")).toLongLong(); ++id)
            added.push_back(id);
    }

    [[nodiscard]] std::optional<qint64> anyOwn()
    {
        Ids present;
        for (const qint64 id : added) {
            if (std::find(removed.cbegin(), removed.cend(), id) == removed.cend())
                present.push_back(id);
        }
        if (present.empty())
            return std::nullopt;
        return present[m_random() % present.size()];
    }

    void move()
    {
        const std::optional<qint64> id = anyOwn();
        if (id)
            set("move",
                QVariantHash{
                    {QStringLiteral("ids"), QVariantList{*id}}, {QStringLiteral("after"), QStringLiteral("head")}});
    }

    void remove(bool isUndone)
    {
        const std::optional<qint64> id = anyOwn();
        if (!id)
            return;
        const QVariantHash answer = set("remove", QVariantList{*id});
        // The token may be too old: other clients remove entries, too.
        if (!isUndone || set("undo", answer.value(QStringLiteral("undo"))).isEmpty())
            removed.push_back(*id);
    }

    std::mt19937 m_random;
};

class PlaylistLoad : public PlaylistWorkerTest
{
};

TEST_F(PlaylistLoad, LosesAndDoublesNothing)
{
    std::vector<Editor> editors;
    for (unsigned seed = 1; seed <= clients; ++seed)
        editors.emplace_back(seed);
    std::vector<std::thread> threads;
    for (Editor& editor : editors)
        threads.emplace_back([&editor] { editor.editOften(); });
    for (std::thread& thread : threads)
        thread.join();

    std::set<qint64> expected;
    for (const Editor& editor : editors) {
        expected.insert(editor.added.cbegin(), editor.added.cend());
        for (const qint64 id : editor.removed)
            expected.erase(id);
        EXPECT_LE(editor.lastVersion, version());
    }
    Ids found = ids();
    std::sort(found.begin(), found.end());
    EXPECT_THAT(found, testing::ElementsAreArray(expected));
}

TEST_F(PlaylistLoad, OutlivesARestart)
{
    Editor editor(1);
    editor.editOften();
    const Ids before = ids();
    restart();
    EXPECT_EQ(ids(), before);
    EXPECT_GE(version(), editor.lastVersion);
}

} // namespace
