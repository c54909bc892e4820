#include "support/playlistworkertest.h"

#include "eventloop.h"
#include "itempreparation.h"
#include "storedjson.h"

#include "model/cmroot.h"
#include "tavo/tavokeys.h"

#include <algorithm>

namespace {

QVariantHash configuration(const QString& directory)
{
    return {{TavoService_Id(), QStringLiteral("playlist")}, {TavoPlaylist_StateDirectory(), directory}};
}

constexpr int patience = 60'000;

} // namespace

QString source(const char* base)
{
    return CMPath(QStringLiteral("music"), QString::fromUtf8(base)).toEncoded();
}

int PlaylistClient::nextVersion(const QString& base)
{
    const auto isOfPath = [&base](const Change& change) { return change.base == base; };
    int version = 0;
    const bool came = processEventsUntil([&] {
        const auto unseen = received.begin() + static_cast<std::ptrdiff_t>(m_seen);
        const auto next = std::find_if(unseen, received.end(), isOfPath);
        if (next == received.end())
            return false;
        m_seen = static_cast<std::size_t>(next - received.begin()) + 1;
        version = next->version;
        return true;
    });
    return came ? version : 0;
}

PlaylistWorkerTest::PlaylistWorkerTest() : music(QStringLiteral("music"))
{
    music.addContainer({}, QStringLiteral("album"));
    for (const char* name : {"1", "2", "3"})
        music.addItem(QStringLiteral("album"), QString::fromUtf8(name));
    music.addItem({}, QStringLiteral("single"));
    music.addItem({}, QStringLiteral("list"), "playlist");
    music.addItem({}, QStringLiteral("notes"), "file");
    EXPECT_TRUE(CMRootWorker::instance().mount(&music));
    restart();
}

PlaylistWorkerTest::~PlaylistWorkerTest()
{
    worker.reset();
    CMRootWorker::instance().unmount(&music);
}

void PlaylistWorkerTest::restart()
{
    worker.reset();
    worker.reset(worker_create(nullptr, configuration(state.path())));
    EXPECT_TRUE(CMRootWorker::instance().mount(worker.get()));
}

CMReply<QVariant> PlaylistWorkerTest::send(const QString& base, const QVariant& value) const
{
    const CMSetDataRequest request(CMPath(QStringLiteral("playlist"), base), value);
    CMRoot()->request(request);
    return request.reply();
}

QVariantHash PlaylistWorkerTest::set(const char* base, const QVariant& value) const
{
    const CMReply<QVariant> reply = send(QString::fromUtf8(base), value);
    EXPECT_TRUE(reply.waitForFinished(patience)) << base;
    EXPECT_FALSE(reply.isError()) << base << ": " << reply.error().message().toStdString();
    return reply.value().toHash();
}

std::string PlaylistWorkerTest::errorOf(const QString& base, const QVariant& value) const
{
    const CMReply<QVariant> reply = send(base, value);
    EXPECT_TRUE(reply.waitForFinished(patience)) << base.toStdString();
    EXPECT_EQ(reply.isError(), !reply.error().message().isEmpty());
    return reply.error().name().toStdString();
}

TavoRowsRoles PlaylistWorkerTest::rows(const QString& base, const QStringList& roles, int version) const
{
    const CMGetRowsRequest request(CMPath(QStringLiteral("playlist"), base), 0, 99'999, version, roles);
    CMRoot()->request(request);
    EXPECT_FALSE(request.reply().isError()) << request.reply().error().message().toStdString();
    return request.reply().value();
}

QVariantList PlaylistWorkerTest::column(const QString& role) const
{
    QVariantList values;
    for (const QVariant& row : rows({}, {role}).rows())
        values.append(row.toList().value(0));
    return values;
}

QStringList PlaylistWorkerTest::sources() const
{
    QStringList sources;
    for (const QVariant& value : column(TavoRoles::Value()))
        sources.append(value.toString());
    return sources;
}

std::vector<qint64> PlaylistWorkerTest::ids() const
{
    std::vector<qint64> ids;
    for (const QVariant& value : column(TavoRoles::Path())) {
        const QString encoded = value.toString();
        ids.push_back(encoded.mid(encoded.lastIndexOf(QLatin1Char('/')) + 1).toLongLong());
    }
    return ids;
}

QVariantHash PlaylistWorkerTest::player() const
{
    const CMGetDataRequest request(path("player"), {TavoRoles::Value()});
    CMRoot()->request(request);
    return request.reply().value().value(0).toHash();
}

std::string PlaylistWorkerTest::stateOfPlayer() const
{
    return player().value(QStringLiteral("state")).toString().toStdString();
}

void PlaylistWorkerTest::offer(const char* name)
{
    const QByteArray base = QByteArray("outputs/") + name;
    EXPECT_TRUE(open(base.constData()));
    // Commands run in their order, so the output is there when this one is answered.
    set("player/volume", 100);
}

bool PlaylistWorkerTest::waitUntilPrepared() const
{
    return processEventsUntil([this] {
        const QVariantList media = column(TavoRoles::MediaData());
        return std::all_of(media.cbegin(), media.cend(), [](const QVariant& record) {
            return ItemPreparation::isPrepared({{}, {}, {}, StoredJson::fromValue(record)});
        });
    });
}
