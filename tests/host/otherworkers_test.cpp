// Workers that the host serves beside its roots, and whose paths stand for no files.

#include "content/content.h"
#include "exec/workerthread.h"
#include "media/guardedtree.h"

#include "support/servedcontent.h"
#include "support/temporarytree.h"

#include "printers.h"

#include <model/cmrequestcontext.h>
#include <model/cmroot.h>
#include <tavo/tavokeys.h>
#include <tavo/tavoroles.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A root with a/song.mp3, and a worker with the prefix "other".
class OtherWorkers : public testing::Test
{
protected:
    OtherWorkers()
    {
        tree.addFile(QStringLiteral("a/song.mp3"));
        host = startHost(settingsFor(tree.root()));
        settings.moduleFile = QStringLiteral(MODULE_SCRIPTED_WORKER);
        settings.configuration = {{TavoService_Id(), QStringLiteral("other")}};
        settings.title = QStringLiteral("Another");
        settings.kind = QStringLiteral("thing");
        settings.longServices = QStringList{QStringLiteral("long")};
    }

    void SetUp() override { ASSERT_TRUE(host && host->mountWorker(settings)); }

    [[nodiscard]] static CMPath path(const char* base) { return {QStringLiteral("other"), QString::fromUtf8(base)}; }
    [[nodiscard]] Result<QVariant> set(const char* base, const QVariant& value, Reach reach = Reach::Local) const
    {
        return Content(*host, reach).set(path(base), value);
    }
    [[nodiscard]] std::string refusalOf(const char* base, const QVariant& value, Reach reach = Reach::Local) const
    {
        const Result<QVariant> answer = set(base, value, reach);
        return answer ? "answered" : answer.failure().name.toStdString();
    }

    TemporaryTree tree;
    WorkerSettings settings;
    std::unique_ptr<ContentHost> host;
};

TEST_F(OtherWorkers, FollowTheRoots)
{
    const Result<Content::Page> page =
        Content(*host).rows({CMPath(), 0, 9, 0, {TavoRoles::Path(), TavoRoles::Title()}});
    ASSERT_TRUE(page);
    EXPECT_EQ(page.value().count, 2);
    EXPECT_EQ(page.value().rows.last(), QVariant(QVariantList{QStringLiteral("/other/"), QStringLiteral("Another")}));
}

TEST_F(OtherWorkers, AreDescribedWithTheirKindAndWithoutServices)
{
    const QVariantHash expected{
        {QStringLiteral("prefix"), QStringLiteral("/other")},
        {QStringLiteral("title"), QStringLiteral("Another")},
        {QStringLiteral("kind"), QStringLiteral("thing")},
        {QStringLiteral("contextMenu"), QStringLiteral("/other/menu/context")}};
    EXPECT_EQ(Content(*host).describe()[QStringLiteral("roots")].toList().value(1).toHash(), expected);
}

TEST_F(OtherWorkers, AreNoRoots)
{
    EXPECT_THAT(host->rootIds(), ElementsAre(QStringLiteral("file")));
    const ContentHost::SharedMount mount = host->mountAt(QStringLiteral("other"));
    ASSERT_TRUE(mount);
    EXPECT_FALSE(mount->isTree());
    EXPECT_FALSE(GuardedTree::open(*mount));
}

TEST_F(OtherWorkers, NeedAPrefixOfTheirOwn)
{
    const Result<void> mounted = host->mountWorker(settings);
    ASSERT_FALSE(mounted);
    EXPECT_EQ(mounted.failure().message.toString(), QStringLiteral("the id 'other' is taken"));
}

TEST_F(OtherWorkers, AreGoneOnceTheyAreUnmounted)
{
    host->unmountWorkers();
    host->workerThread().run([] {});
    EXPECT_FALSE(host->mountAt(QStringLiteral("other")));
    EXPECT_EQ(refusalOf("echo", 1), "invalidPath");
    EXPECT_TRUE(host->mountAt(QStringLiteral("file")));
}

TEST_F(OtherWorkers, JudgeTheirPathsThemselves)
{
    for (const Reach reach : {Reach::Local, Reach::Network}) {
        const Result<Content::Page> page = Content(*host, reach).rows({path("3"), 0, 9, 0, {TavoRoles::Path()}});
        ASSERT_TRUE(page);
        EXPECT_EQ(page.value().rows.size(), 3);
        EXPECT_EQ(set("../.hidden", 1, reach).value(), QVariant(1));
    }
}

TEST_F(OtherWorkers, ServeARowlessPathWithoutALookAtAnyDirectory)
{
    const Result<Content::Page> page = Content(*host).rows({path("0"), 0, 9, 0, {TavoRoles::Path()}});
    ASSERT_TRUE(page);
    EXPECT_EQ(page.value().count, 0);
}

TEST_F(OtherWorkers, MayAnswerLater)
{
    EXPECT_EQ(set("later", QStringLiteral("value")).value(), QVariant(QStringLiteral("value")));
}

TEST_F(OtherWorkers, AreNotWaitedForByACancelledRequest)
{
    CMRequestContext context;
    const CMRequestContext::Scope scope(context);
    context.cancel();
    const Result<QVariant> answer = set("silence", 1);
    ASSERT_FALSE(answer);
    EXPECT_EQ(answer.failure().kind, Failure::Kind::Cancelled);
}

TEST_F(OtherWorkers, GetNoPathsOutOfTheRoots)
{
    const QVariant nested = QVariantList{QVariantHash{{QStringLiteral("x"), QStringLiteral("/file/../secret")}}};
    EXPECT_EQ(refusalOf("echo", nested), "accessViolation");
    EXPECT_EQ(refusalOf("echo", QStringLiteral("/file/.hidden"), Reach::Network), "accessViolation");
    EXPECT_EQ(refusalOf("echo", QStringLiteral("/file/a")), "answered");
}

TEST_F(OtherWorkers, HaveLongServicesThatCountAsWalks)
{
    const Content content(*host);
    EXPECT_TRUE(content.isWalk(path("long")));
    EXPECT_FALSE(content.isWalk(path("echo")));
}

TEST_F(OtherWorkers, GetFewPathsForTheirLongServices)
{
    Limits limits;
    limits.items = 1;
    const Content content(*host, Reach::Local, limits);
    const QVariant two = QStringList{QStringLiteral("a"), QStringLiteral("b")};
    EXPECT_FALSE(content.set(path("long"), two));
    EXPECT_TRUE(content.set(path("echo"), two));
}

TEST_F(OtherWorkers, HaveOpenNothingButThePathItself)
{
    Subscriber subscriber(*host);
    ASSERT_TRUE(subscriber.open(path("a/b")));
    EXPECT_THAT(trackedBases(*host, QStringLiteral("other")), ElementsAre(QStringLiteral("a/b")));
    ASSERT_TRUE(subscriber.close(path("a/b")));
    EXPECT_THAT(trackedBases(*host, QStringLiteral("other")), IsEmpty());
}

TEST_F(OtherWorkers, LoseWhatAClientThatGoesHadOpen)
{
    {
        Subscriber subscriber(*host);
        ASSERT_TRUE(subscriber.open(path("a")));
    }
    EXPECT_THAT(trackedBases(*host, QStringLiteral("other")), IsEmpty());
}

/// A media record of a file, as the worker of its root makes it.
QVariant mediaRecord(const QString& serviceId, const QString& file)
{
    const QVariantHash resource{{QStringLiteral("uri"), QString(QStringLiteral("file://") + file)}};
    return QVariantHash{
        {QStringLiteral("metaData"), QVariantHash{{QStringLiteral("serviceID"), serviceId}}},
        {QStringLiteral("resources"), QVariantList{resource}}};
}

TEST_F(OtherWorkers, NameFilesByTheRootsTheyComeFrom)
{
    const QString file = tree.absolute(QStringLiteral("a/song.mp3"));
    const auto uri = [&](const char* serviceId) {
        const QVariant media = mediaRecord(QString::fromUtf8(serviceId), file);
        const Result<QVariant> shown = set("echo", media, Reach::Network);
        const QVariantList resources = shown.value().toHash().value(QStringLiteral("resources")).toList();
        return resources.value(0).toHash().value(QStringLiteral("uri")).toString();
    };
    EXPECT_EQ(uri("file"), QStringLiteral("media/file/a/song.mp3"));
    for (const char* stranger : {"", "gone", "other"})
        EXPECT_EQ(uri(stranger), QString()) << stranger;
    EXPECT_EQ(
        set("echo", mediaRecord(QStringLiteral("file"), file)).value(), mediaRecord(QStringLiteral("file"), file));
}

} // namespace
