// The worker that docs/workers.md shows, built from that page.

#include "content/content.h"

#include "support/servedcontent.h"
#include "support/temporarytree.h"

#include "printers.h"

#include <tavo/tavokeys.h>
#include <tavo/tavoroles.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;

class ExampleWorker : public testing::Test
{
protected:
    void SetUp() override
    {
        WorkerSettings settings;
        settings.moduleFile = QStringLiteral(MODULE_EXAMPLE);
        settings.configuration = {{TavoService_Id(), QStringLiteral("notes")}};
        ASSERT_TRUE(host && host->mountWorker(settings));
    }

    [[nodiscard]] static CMPath path(const char* base) { return {QStringLiteral("notes"), QString::fromUtf8(base)}; }
    [[nodiscard]] Result<QVariant> add(const char* note) const
    {
        return Content(*host).set(path("add"), QString::fromUtf8(note));
    }

    TemporaryTree tree;
    const std::unique_ptr<ContentHost> host = startHost(settingsFor(tree.root()));
};

TEST_F(ExampleWorker, KeepsNotes)
{
    ASSERT_TRUE(add("first"));
    const Result<QVariant> version = add("second");
    ASSERT_TRUE(version);
    const Result<Content::Page> page =
        Content(*host).rows({path(""), 0, 9, version.value().toInt(), {TavoRoles::Title()}});
    ASSERT_TRUE(page);
    const QVariant first = QVariantList{QStringLiteral("first")};
    const QVariant second = QVariantList{QStringLiteral("second")};
    EXPECT_THAT(page.value().rows, ElementsAre(first, second));
}

TEST_F(ExampleWorker, RefusesWhatItDoesNotKnow)
{
    EXPECT_FALSE(add(""));
    EXPECT_FALSE(Content(*host).set(path("subtract"), QStringLiteral("first")));
    EXPECT_FALSE(Content(*host).rows({path("other"), 0, 9, 0, {}}));
    Subscriber subscriber(*host);
    EXPECT_FALSE(subscriber.open(path("add")));
}

TEST_F(ExampleWorker, AnnouncesItsChanges)
{
    Subscriber subscriber(*host);
    ASSERT_TRUE(subscriber.open(path("")));
    const Result<QVariant> version = add("first");
    EXPECT_TRUE(subscriber.hears(QStringLiteral("reset /notes/")));
    EXPECT_EQ(subscriber.lastVersion(), version.value().toInt());
}

} // namespace
