// Values that clients set at the services of the queue: every request is answered, a refused one changes nothing, ids
// are unique and never used again, versions rise with every change of the rows and only with these, and the player
// plays what is in the queue.
//
// A line is the path of a service, a space, and the value as JSON. A line without a space has no value.

#include "check.h"

#include "cmplaylistworker.h"
#include "model/cmroot.h"
#include "queue.h"
#include "rpc/jsonparser.h"
#include "support/tracks.h"
#include "tavo/tavoroles.h"

#include <QCoreApplication>
#include <QSet>

#include <log4cplus/initializer.h>
#include <log4cplus/logger.h>
#include <log4cplus/nullappender.h>

#include <algorithm>
#include <vector>

namespace {

constexpr int trackCount = 4;
constexpr int mostLines = 64;

/// What all inputs share: a worker of tracks that they can add.
class World
{
public:
    World(int& argc, char** argv) : m_application(argc, argv)
    {
        log4cplus::Logger::getRoot().addAppender(log4cplus::SharedAppenderPtr(new log4cplus::NullAppender));
        FUZZ_CHECK(CMRootWorker::instance().mount(&m_tracks));
    }

private:
    QCoreApplication m_application;
    log4cplus::Initializer m_logging;
    Tracks m_tracks{QStringLiteral("tracks"), trackCount};
};

class Client : public CMChangeReceiver
{
public:
    void rowsChanged(const CMPath& /*path*/, const QStringList& /*changes*/, int version) override
    {
        FUZZ_CHECK(version > 0);
    }
};

/// What a client sees.
struct View
{
    std::vector<EntryId> ids;
    int version;
    QVariantHash player;

    [[nodiscard]] bool has(const QVariant& id) const
    {
        return id.isNull() || std::find(ids.cbegin(), ids.cend(), id.toLongLong()) != ids.cend();
    }
};

bool operator==(const View& a, const View& b)
{
    return a.ids == b.ids && a.version == b.version && a.player == b.player;
}

/// A queue that keeps nothing, with the output "here".
class Desk
{
public:
    Desk()
    {
        FUZZ_CHECK(m_worker.connectChange(m_worker.addPrefix(QStringLiteral("outputs/here")), &m_client));
        FUZZ_CHECK(m_worker.connectChange(m_worker.addPrefix(QString()), &m_client));
    }

    [[nodiscard]] View view() const
    {
        const CMGetRowsRequest request(
            m_worker.addPrefix(QString()), 0, Queue::mostEntries, 0, {TavoRoles::Path(), TavoRoles::Value()});
        m_worker.getRowsRequest(request);
        const TavoRowsRoles rows = request.reply().value();
        View view{{}, rows.rowsVersion(), player()};
        for (const QVariant& row : rows.rows()) {
            const QString path = row.toList().value(0).toString();
            view.ids.push_back(path.midRef(path.lastIndexOf(u'/') + 1).toLongLong());
        }
        FUZZ_CHECK(static_cast<int>(view.ids.size()) == rows.rowsCount());
        return view;
    }

    /// The answer; empty for an error.
    [[nodiscard]] QVariantHash set(const QString& service, const QVariant& value)
    {
        const CMSetDataRequest request(m_worker.addPrefix(service), value);
        m_worker.setDataRequest(request);
        const CMReply<QVariant> reply = request.reply();
        FUZZ_CHECK(reply.waitForFinished());
        FUZZ_CHECK(reply.isError() == !reply.error().name().isEmpty());
        FUZZ_CHECK(reply.isError() == reply.value().toHash().isEmpty());
        return reply.value().toHash();
    }

private:
    [[nodiscard]] QVariantHash player() const
    {
        const CMGetDataRequest request(m_worker.addPrefix(QStringLiteral("player")), {TavoRoles::Value()});
        m_worker.getDataRequest(request);
        QVariantHash player = request.reply().value().value(0).toHash();
        FUZZ_CHECK(!player.isEmpty());
        player.remove(QStringLiteral("now"));
        return player;
    }

    Client m_client;
    mutable CMPlaylistWorker m_worker{QVariantHash()};
};

/// Compares what a client sees before and after each request.
class Checker
{
public:
    void send(const QString& service, const QVariant& value)
    {
        const View before = m_view;
        const QVariantHash answer = m_desk.set(service, value);
        m_view = m_desk.view();
        if (answer.isEmpty())
            FUZZ_CHECK(m_view == before);
        FUZZ_CHECK((m_view.version == before.version) == (m_view.ids == before.ids));
        FUZZ_CHECK(m_view.version >= before.version);
        checkIds();
        FUZZ_CHECK(m_view.has(m_view.player.value(QStringLiteral("current"))));
        FUZZ_CHECK(m_view.has(m_view.player.value(QStringLiteral("next"))));
        checkAddition(before, answer);
    }

private:
    void checkIds()
    {
        QSet<EntryId> present;
        const EntryId last = m_lastId;
        for (const EntryId id : m_view.ids) {
            FUZZ_CHECK(id > 0 && !present.contains(id));
            FUZZ_CHECK(id > last || m_known.contains(id));
            present.insert(id);
            m_lastId = std::max(m_lastId, id);
        }
        m_known.unite(present);
    }

    /// A wrapped operation may get the answer of an addition that was made before.
    void checkAddition(const View& before, const QVariantHash& answer) const
    {
        const EntryId first = answer.value(QStringLiteral("first")).toLongLong();
        if (first == 0 || before == m_view)
            return;
        const auto begin = std::find(m_view.ids.cbegin(), m_view.ids.cend(), first);
        const int added = answer.value(QStringLiteral("added")).toInt();
        FUZZ_CHECK(added > 0 && m_view.ids.cend() - begin >= added);
        for (int i = 0; i < added; ++i)
            FUZZ_CHECK(begin[i] == first + i && !before.has(begin[i]));
    }

    Desk m_desk;
    View m_view = m_desk.view();
    EntryId m_lastId = 0;
    QSet<EntryId> m_known;
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    static const World world(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray input(reinterpret_cast<const char*>(data), static_cast<int>(size));
    Checker checker;
    int lines = 0;
    for (const QByteArray& line : input.split('\n')) {
        const int space = line.indexOf(' ');
        const auto parsed = space < 0 ? decltype(parseJson({}))(QVariant()) : parseJson(line.mid(space + 1));
        const auto* const value = std::get_if<QVariant>(&parsed);
        if (value && ++lines <= mostLines)
            checker.send(QString::fromUtf8(line.left(space)), *value);
    }
    return 0;
}
