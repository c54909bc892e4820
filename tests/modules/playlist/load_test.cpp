// Several clients at once, who add, move, remove and bring back entries at random. A model repeats what they were
// answered, one edit after the other, and has to end with the same rows.

#include "support/playlistworkertest.h"

#include "model/cmroot.h"
#include "tavo/tavoroles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <memory>
#include <numeric>
#include <random>
#include <thread>

namespace {

using Ids = std::vector<qint64>;

constexpr int clients = 8;

/// Of each client.
int editCount()
{
    return qEnvironmentVariableIsSet("TAVO_EDITS") ? qEnvironmentVariableIntValue("TAVO_EDITS") : 500;
}

/// A queue that is a plain list of ids.
class Model
{
public:
    Ids ids;

    void append(const Ids& added) { ids.insert(ids.end(), added.cbegin(), added.cend()); }
    void insertAtHead(const Ids& added) { ids.insert(ids.begin(), added.cbegin(), added.cend()); }

    /// `after` 0 stands for the head.
    void move(qint64 id, qint64 after)
    {
        if (id == after)
            return;
        ids.erase(std::find(ids.begin(), ids.end(), id));
        ids.insert(after == 0 ? ids.begin() : std::next(std::find(ids.begin(), ids.end(), after)), id);
    }

    void remove(const Ids& removed, int token)
    {
        m_removals[token] = std::make_shared<const Removal>(Removal{ids, removed});
        ids.erase(std::remove_if(ids.begin(), ids.end(), [&](qint64 id) { return contains(removed, id); }), ids.end());
    }

    /// Each entry comes back behind the closest one before it that was there then and is there now.
    void undo(int token)
    {
        const auto& [before, removed] = *m_removals.at(token);
        auto place = ids.begin();
        for (const qint64 id : before) {
            if (const auto present = std::find(ids.begin(), ids.end(), id); present != ids.end())
                place = std::next(present);
            else if (contains(removed, id))
                place = std::next(ids.insert(place, id));
        }
    }

private:
    static bool contains(const Ids& list, qint64 id)
    {
        return std::find(list.cbegin(), list.cend(), id) != list.cend();
    }

    struct Removal
    {
        Ids before;
        Ids removed;
    };

    std::map<int, std::shared_ptr<const Removal>> m_removals;
};

/// An edit that was made, as the model repeats it.
struct Edit
{
    int version;
    std::function<void(Model& model)> repeat;
};

/// A client that edits at random and remembers what it was answered.
class Editor
{
public:
    explicit Editor(unsigned seed) : m_random(seed) {}

    void editOften()
    {
        for (int i = editCount(); i > 0; --i)
            edit();
    }

    std::vector<Edit> edits;

private:
    void edit()
    {
        const auto kind = m_random() % 40;
        if (kind < 14)
            add();
        else if (kind < 24)
            move();
        else if (kind < 39)
            remove();
        else
            undo();
    }

    /// Empty if the command is refused.
    QVariantHash set(const char* base, const QVariant& value)
    {
        const CMSetDataRequest request(CMPath(QStringLiteral("playlist"), QString::fromUtf8(base)), value);
        CMRoot()->request(request);
        EXPECT_TRUE(request.reply().waitForFinished(60'000));
        return request.reply().value().toHash();
    }

    void remember(const QVariantHash& answer, std::function<void(Model& model)> repeat)
    {
        if (!answer.isEmpty())
            edits.push_back({answer.value(QStringLiteral("version")).toInt(), std::move(repeat)});
    }

    void add()
    {
        const bool isAppended = m_random() % 2 == 0;
        const QVariantHash answer =
            set(isAppended ? "addToQueue" : "playNext", source(m_random() % 8 == 0 ? "album" : "single"));
        Ids added(answer.value(QStringLiteral("added")).toUInt());
        std::iota(added.begin(), added.end(), answer.value(QStringLiteral("first")).toLongLong());
        m_added.insert(m_added.end(), added.cbegin(), added.cend());
        // Nothing is played, so that what comes next is at the head.
        remember(answer, [isAppended, added](Model& model) {
            isAppended ? model.append(added) : model.insertAtHead(added);
        });
    }

    /// Of the last ones that it has added; some are gone.
    [[nodiscard]] qint64 anyOwn()
    {
        const std::size_t recent = std::min(m_added.size(), std::size_t{8});
        return recent == 0 ? 1 : m_added[m_added.size() - 1 - m_random() % recent];
    }

    void move()
    {
        const qint64 id = anyOwn();
        const qint64 after = m_random() % 2 == 0 ? 0 : anyOwn();
        const QVariant anchor = after == 0 ? QVariant(QStringLiteral("head")) : QVariant(after);
        const QVariantHash value{{QStringLiteral("ids"), QVariantList{id}}, {QStringLiteral("after"), anchor}};
        remember(set("move", value), [id, after](Model& model) { model.move(id, after); });
    }

    void remove()
    {
        const Ids ids{anyOwn(), anyOwn()};
        const QVariantHash answer = set("remove", QVariantList{ids[0], ids[1]});
        m_token = answer.value(QStringLiteral("undo"), m_token).toInt();
        remember(answer, [ids, token = m_token](Model& model) { model.remove(ids, token); });
    }

    void undo()
    {
        // It works once; and other clients remove entries, too, so that the token may be too old.
        const int token = m_token;
        remember(set("undo", token), [token](Model& model) { model.undo(token); });
    }

    std::mt19937 m_random;
    Ids m_added;
    int m_token = 0;
};

/// Repeats edits that answered the same version: one of them made it, and the others changed nothing after that one.
void repeat(Model& model, const std::vector<Edit>& edits)
{
    if (edits.size() == 1)
        return edits.front().repeat(model);
    for (const Edit& first : edits) {
        Model changed = model;
        first.repeat(changed);
        const bool isFirst = std::all_of(edits.cbegin(), edits.cend(), [&](const Edit& other) {
            Model again = changed;
            if (&other != &first)
                other.repeat(again);
            return again.ids == changed.ids;
        });
        if (isFirst) {
            model = std::move(changed);
            return;
        }
    }
    ADD_FAILURE() << "edits of version " << edits.front().version << " do not fit";
}

class PlaylistLoad : public PlaylistWorkerTest
{
};

TEST_F(PlaylistLoad, EndsWithTheRowsThatTheAnsweredEditsMake)
{
    std::vector<Editor> editors;
    for (unsigned seed = 1; seed <= clients; ++seed)
        editors.emplace_back(seed);
    std::vector<std::thread> threads;
    for (Editor& editor : editors)
        threads.emplace_back([&editor] { editor.editOften(); });
    for (std::thread& thread : threads)
        thread.join();

    std::map<int, std::vector<Edit>> history;
    for (const Editor& editor : editors) {
        for (const Edit& edit : editor.edits)
            history[edit.version].push_back(edit);
    }
    Model model;
    for (const auto& [version, edits] : history)
        repeat(model, edits);
    EXPECT_EQ(ids(), model.ids);
    EXPECT_LE(history.rbegin()->first, version());
}

TEST_F(PlaylistLoad, OutlivesARestart)
{
    Editor editor(1);
    editor.editOften();
    const Ids before = ids();
    restart();
    EXPECT_EQ(ids(), before);
    EXPECT_GE(version(), editor.edits.back().version);
}

} // namespace
