// Items for a request that is cancelled, or whose answer may take only so many bytes.

#include "support/item.h"

#include "audiofile.h"

#include "model/cmrequestcontext.h"
#include "tavo/tavoroles.h"

#include <QBuffer>
#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <future>
#include <vector>

namespace {

/// Larger than the largest item of these tests.
constexpr qint64 plenty = 1'000'000;

/// A test of both readers.
class RequestTest : public testing::TestWithParam<const TagReader*>
{
protected:
    void SetUp() override { writeFile(file, id3Tag(id3Frame("TIT2", "\3Kettle")) + mpegSound()); }

    [[nodiscard]] QVariant item(const QVariantList& rows = {}) const
    {
        return GetParam()->readItem(QDir(folder.path()), file, QStringLiteral("file"), rows);
    }

    /// The bytes that readItem() takes from a context.
    [[nodiscard]] qint64 bytesTaken(const QVariantList& rows = {}) const
    {
        qint64 low = 0;
        qint64 high = plenty;
        while (low < high) {
            const qint64 middle = (low + high) / 2;
            CMRequestContext context(middle);
            const CMRequestContext::Scope scope(context);
            if (item(rows).isValid())
                high = middle;
            else
                low = middle + 1;
        }
        return low;
    }

    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("x.mp3"));
};

qint64 sizeInJson(const QVariant& item)
{
    return QJsonDocument(QJsonObject::fromVariantHash(item.toHash())).toJson(QJsonDocument::Compact).size();
}

TEST_P(RequestTest, WithoutAContextThereIsAnItem)
{
    EXPECT_EQ(Item(item()).title(), QStringLiteral("Kettle"));
}

TEST_P(RequestTest, UnlimitedContextChangesNothing)
{
    const QVariant expected = item();
    CMRequestContext context;
    const CMRequestContext::Scope scope(context);
    EXPECT_EQ(item(), expected);
    EXPECT_TRUE(context.mayContinue());
}

TEST_P(RequestTest, CancelledRequestGetsNoItem)
{
    CMRequestContext context;
    const CMRequestContext::Scope scope(context);
    context.cancel();
    EXPECT_FALSE(item().isValid());
}

TEST_P(RequestTest, CancelledRequestIsNotExhausted)
{
    CMRequestContext context(1);
    const CMRequestContext::Scope scope(context);
    context.cancel();
    EXPECT_FALSE(item().isValid());
    EXPECT_FALSE(context.isExhausted());
}

TEST_P(RequestTest, ExhaustedRequestGetsNoItem)
{
    CMRequestContext context(0);
    const CMRequestContext::Scope scope(context);
    ASSERT_FALSE(context.take(1));
    EXPECT_FALSE(item().isValid());
}

TEST_P(RequestTest, ItemThatIsTooLargeExhaustsTheRequest)
{
    CMRequestContext context(bytesTaken() - 1);
    const CMRequestContext::Scope scope(context);
    EXPECT_FALSE(item().isValid());
    EXPECT_TRUE(context.isExhausted());
}

TEST_P(RequestTest, ItemsShareTheBytesOfTheirRequest)
{
    CMRequestContext context(2 * bytesTaken());
    const CMRequestContext::Scope scope(context);
    EXPECT_TRUE(item().isValid());
    EXPECT_TRUE(item().isValid());
    EXPECT_FALSE(item().isValid());
}

TEST_P(RequestTest, ItemTakesAboutItsSizeInJson)
{
    const auto size = static_cast<double>(sizeInJson(item()));
    EXPECT_NEAR(static_cast<double>(bytesTaken()), size, size / 4);
}

TEST_P(RequestTest, TextTakesItsBytesInUtf8)
{
    constexpr int length = 1000;
    const auto taken = [this](const QString& letter) {
        return bytesTaken({letter.repeated(length)}) - bytesTaken({QStringLiteral("")});
    };
    EXPECT_EQ(taken(QStringLiteral("a")), length);
    EXPECT_EQ(taken(QString::fromUtf8("ß")), 2 * length);
    EXPECT_EQ(taken(QString::fromUtf8("鷺")), 3 * length);
    EXPECT_EQ(taken(QString::fromUtf8("🫖")), 4 * length);
    EXPECT_EQ(taken(QStringLiteral("\x01")), 6 * length);
}

TEST_P(RequestTest, ThreadsServeDifferentRequests)
{
    constexpr int rounds = 50;
    const auto validItems = [this](CMRequestContext& context) {
        const CMRequestContext::Scope scope(context);
        int count = 0;
        for (int i = 0; i < rounds; ++i)
            count += item().isValid() ? 1 : 0;
        return count;
    };
    CMRequestContext cancelled;
    cancelled.cancel();
    CMRequestContext unlimited;
    CMRequestContext limited(3 * bytesTaken());
    const auto start = [&validItems](CMRequestContext& context) {
        return std::async(std::launch::async, [&] { return validItems(context); });
    };
    std::future<int> none = start(cancelled);
    std::future<int> all = start(unlimited);
    std::future<int> three = start(limited);
    EXPECT_EQ(none.get(), 0);
    EXPECT_EQ(all.get(), rounds);
    EXPECT_EQ(three.get(), 3);
}

const PlayListTagReader playListReader;
const MusicLibraryTagReader libraryReader(300);

INSTANTIATE_TEST_SUITE_P(Readers, RequestTest, testing::Values(&playListReader, &libraryReader), [](const auto& test) {
    return test.index == 0 ? "PlayList" : "MusicLibrary";
});

QByteArray noisyPicture()
{
    QImage image(200, 200, QImage::Format_RGB32);
    quint32 state = 1;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            state = state * 1664525 + 1013904223;
            image.setPixel(x, y, state >> 8);
        }
    }
    QByteArray bytes;
    QBuffer out(&bytes);
    EXPECT_TRUE(image.save(&out, "png"));
    return bytes;
}

TEST(Request, CoverTakesItsBytesInBase64)
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("x.mp3"));
    const QByteArray cover = noisyPicture();
    writeFile(file, id3Tag(id3Frame("APIC", pictureContent(cover))) + mpegSound());
    const qint64 length = cover.toBase64().size();
    {
        CMRequestContext context(length);
        const CMRequestContext::Scope scope(context);
        EXPECT_TRUE(libraryItem(file).roles().isEmpty());
    }
    CMRequestContext context(length + 1000);
    const CMRequestContext::Scope scope(context);
    EXPECT_EQ(libraryItem(file).artBytes().size(), cover.size());
}

} // namespace
