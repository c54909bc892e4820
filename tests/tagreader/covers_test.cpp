// Pictures in tags and the art that they become.

#include "support/item.h"

#include "audiofile.h"
#include "printers.h"

#include <QBuffer>
#include <QImage>
#include <QTemporaryDir>
#include <QtEndian>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <string_view>

namespace {

constexpr int artWidth = 300;

/// Of colours that differ everywhere, so that no two parts of it look alike.
QImage picture(const QSize& size, QImage::Format format = QImage::Format_RGB32)
{
    QImage image(size, format);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            image.setPixel(x, y, qRgba(x * 255 / size.width(), y * 255 / size.height(), (x + y) % 256, 200));
    }
    return image;
}

QImage uniform(Qt::GlobalColor colour)
{
    QImage image(8, 8, QImage::Format_RGB32);
    image.fill(colour);
    return image;
}

QByteArray encoded(const QImage& image, const char* format)
{
    QByteArray bytes;
    QBuffer out(&bytes);
    EXPECT_TRUE(image.save(&out, format, 90));
    return bytes;
}

QImage decoded(const QByteArray& bytes)
{
    return QImage::fromData(bytes).convertToFormat(QImage::Format_ARGB32);
}

/// The mean difference of two pictures' channels, of 255.
double difference(const QImage& a, const QImage& b)
{
    EXPECT_EQ(a.size(), b.size());
    if (a.size() != b.size())
        return 255;
    double sum = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y);
            const QRgb q = b.pixel(x, y);
            sum += std::abs(qRed(p) - qRed(q)) + std::abs(qGreen(p) - qGreen(q)) + std::abs(qBlue(p) - qBlue(q));
        }
    }
    return sum / (3.0 * a.width() * a.height());
}

class CoverTest : public testing::Test
{
protected:
    /// A file with the pictures, given as frames of ID3v2.
    [[nodiscard]] QString fileWithFrames(const QByteArray& frames, const char* name = "x.mp3") const
    {
        QString file = folder.filePath(QString::fromLatin1(name));
        writeFile(file, id3Tag(frames) + mpegSound());
        return file;
    }

    [[nodiscard]] QString file(const char* name, const QByteArray& content) const
    {
        QString path = folder.filePath(QString::fromLatin1(name));
        writeFile(path, content);
        return path;
    }

    [[nodiscard]] QString fileWith(const QByteArray& cover, const char* name = "x.mp3") const
    {
        return fileWithFrames(id3Frame("APIC", pictureContent(cover)), name);
    }

    const QTemporaryDir folder;
};

QSize sizeOf(const QVariantHash& art)
{
    return {art.value(QStringLiteral("width")).toInt(), art.value(QStringLiteral("height")).toInt()};
}

QString mimeTypeOf(const QVariantHash& art)
{
    return art.value(QStringLiteral("mimeType")).toString();
}

TEST_F(CoverTest, WidePictureIsScaledDownWithItsRatio)
{
    const QImage original = picture({900, 450});
    const Item item = libraryItem(fileWith(encoded(original, "jpeg")), artWidth);
    EXPECT_EQ(sizeOf(item.art()), QSize(300, 150));
    EXPECT_EQ(mimeTypeOf(item.art()), QStringLiteral("image/jpeg"));
    const QImage expected = original.scaled(300, 150, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    EXPECT_LT(difference(decoded(item.artBytes()), expected), 6);
}

TEST_F(CoverTest, NarrowPictureStaysAsItIs)
{
    for (const QSize& size : {QSize(300, 200), QSize(299, 400), QSize(1, 1), QSize(20, 5000)}) {
        for (const char* format : {"jpeg", "png"}) {
            const QByteArray bytes = encoded(picture(size), format);
            const Item item = libraryItem(fileWith(bytes), artWidth);
            EXPECT_EQ(item.artBytes().toBase64(), bytes.toBase64());
            EXPECT_EQ(sizeOf(item.art()), size);
            EXPECT_EQ(mimeTypeOf(item.art()), QStringLiteral("image/") + QString::fromLatin1(format));
        }
    }
}

TEST_F(CoverTest, FlatPictureKeepsALine)
{
    const Item item = libraryItem(fileWith(encoded(picture({5000, 3}), "png")), artWidth);
    EXPECT_EQ(sizeOf(item.art()), QSize(300, 1));
}

TEST_F(CoverTest, TransparentPictureStaysTransparent)
{
    const Item item = libraryItem(fileWith(encoded(picture({600, 600}, QImage::Format_ARGB32), "png")), artWidth);
    EXPECT_EQ(mimeTypeOf(item.art()), QStringLiteral("image/png"));
    EXPECT_NEAR(qAlpha(decoded(item.artBytes()).pixel(150, 150)), 200, 2);
}

TEST_F(CoverTest, PictureOfAnotherFormatBecomesOneOfTheTwo)
{
    const Item item = libraryItem(fileWith(encoded(picture({100, 80}), "bmp")), artWidth);
    EXPECT_EQ(mimeTypeOf(item.art()), QStringLiteral("image/jpeg"));
    EXPECT_EQ(decoded(item.artBytes()).size(), QSize(100, 80));
}

TEST_F(CoverTest, BytesThatAreNoPictureAreNoArt)
{
    const QByteArray jpeg = encoded(picture({400, 400}), "jpeg");
    for (const QByteArray& bytes :
         {QByteArray("no picture"), QByteArray(1, '\0'), jpeg.left(20), jpeg.left(jpeg.size() / 2),
          QByteArray("-->http://x")})
        EXPECT_TRUE(libraryItem(fileWith(bytes)).art().isEmpty());
}

TEST_F(CoverTest, FrontCoverIsTakenBeforeAnyOther)
{
    const QByteArray front = encoded(picture({10, 10}), "png");
    const QByteArray other = encoded(picture({20, 20}), "png");
    const QByteArray back = encoded(picture({30, 30}), "png");
    const QByteArray frames = id3Frame("APIC", pictureContent(back, 4)) + id3Frame("APIC", pictureContent(other, 0)) +
                              id3Frame("APIC", pictureContent(front, 3));
    EXPECT_EQ(sizeOf(libraryItem(fileWithFrames(frames)).art()), QSize(10, 10));
}

TEST_F(CoverTest, PictureOfNoPurposeStandsInForTheFrontCover)
{
    const QByteArray other = encoded(picture({20, 20}), "png");
    const QByteArray back = encoded(picture({30, 30}), "png");
    const QByteArray frames = id3Frame("APIC", pictureContent(back, 4)) + id3Frame("APIC", pictureContent(other, 0));
    EXPECT_EQ(sizeOf(libraryItem(fileWithFrames(frames)).art()), QSize(20, 20));
}

TEST_F(CoverTest, PictureOfMegabytesIsNoLongText)
{
    QByteArray cover = encoded(picture({20, 20}), "png");
    cover.append(QByteArray(2 << 20, 'x'));
    const QByteArray mp4Cover = mp4Atom("covr", mp4Atom("data", bigEndian(14) + bigEndian(0) + cover));
    const QByteArray mp4Title = mp4Atom("\251nam", mp4Atom("data", bigEndian(1) + bigEndian(0) + "Kettle"));
    const QByteArray field = "metadata_block_picture=" + flacPicture(cover).toBase64();
    const QStringList files = {
        fileWithFrames(id3Frame("APIC", pictureContent(cover)) + id3Frame("TIT2", "\3Kettle"), "x.mp3"),
        file(
            "y.mp3",
            mpegSound() + apeTag({{"Title", "Kettle"}}, {{"Cover Art (Front)", QByteArray("x\0", 2) + cover}})),
        file("x.m4a", mp4File(mp4Cover + mp4Title)),
        file("x.flac", flacFile({{6, flacPicture(cover)}, {4, vorbisComment({"TITLE=Kettle"})}})),
        file("y.flac", flacFile({{4, vorbisComment({field, "TITLE=Kettle"})}}))};
    for (const QString& path : files) {
        const Item item = libraryItem(path);
        EXPECT_EQ(item.title(), QStringLiteral("Kettle")) << path.toStdString();
        EXPECT_EQ(sizeOf(item.art()), QSize(20, 20)) << path.toStdString();
    }
}

TEST_F(CoverTest, WithoutAWidthThereIsNone)
{
    const QString file = fileWith(encoded(picture({400, 400}), "jpeg"));
    EXPECT_TRUE(libraryItem(file, 0).art().isEmpty());
    EXPECT_TRUE(libraryItem(file, -1).art().isEmpty());
}

TEST_F(CoverTest, PlayListItemHasNone)
{
    EXPECT_TRUE(playListItem(fileWith(encoded(picture({400, 400}), "jpeg"))).art().isEmpty());
}

TEST_F(CoverTest, ArtInJsonIsBase64)
{
    const QByteArray bytes = encoded(picture({20, 20}), "png");
    const QVariantHash art = libraryItem(fileWith(bytes)).art();
    EXPECT_EQ(art.value(QStringLiteral("data")).toString(), QString::fromLatin1(bytes.toBase64()));
}

/// Two items share the bytes of their art only if it was made once.
const char* bytesOf(const Item& item)
{
    return item.artBytes().constData();
}

TEST_F(CoverTest, PictureOfAnAlbumIsMadeIntoArtOnce)
{
    const QByteArray cover = encoded(picture({777, 777}), "jpeg");
    const Item first = libraryItem(fileWith(cover, "1.mp3"));
    const QString second = folder.filePath(QStringLiteral("2.flac"));
    writeFile(second, flacFile({{6, flacPicture(cover)}}));
    ASSERT_FALSE(first.artBytes().isEmpty());
    EXPECT_EQ(bytesOf(libraryItem(second)), bytesOf(first));
}

TEST_F(CoverTest, ArtIsRememberedByContentAndWidth)
{
    const QByteArray cover = encoded(picture({778, 778}), "jpeg");
    const QByteArray another = encoded(picture({779, 779}), "jpeg");
    const Item first = libraryItem(fileWith(cover), 300);
    EXPECT_EQ(sizeOf(libraryItem(fileWith(cover), 200).art()), QSize(200, 200));
    EXPECT_NE(libraryItem(fileWith(another), 300).artBytes().toBase64(), first.artBytes().toBase64());
    EXPECT_EQ(bytesOf(libraryItem(fileWith(cover), 300)), bytesOf(first));
}

/// The state of the C++ library's std::hash, which is MurmurHash: it mixes in 8 bytes at a time, and each step can be
/// reversed. So other bytes that lead to the same hash can be calculated.
class WeakHash
{
public:
    explicit WeakHash(size_t length) : m_state(seed ^ length * multiplier) {}

    void add(const QByteArray& bytes)
    {
        for (int i = 0; i < bytes.size(); i += 8)
            m_state = (m_state ^ mixed(qFromLittleEndian<quint64>(bytes.constData() + i))) * multiplier;
    }

    /// The 8 bytes that lead from here to where `bytes` lead from `other`.
    [[nodiscard]] QByteArray compensation(const WeakHash& other, quint64 bytes) const
    {
        QByteArray result(8, '\0');
        qToLittleEndian<quint64>(unmixed(m_state ^ other.m_state ^ mixed(bytes)), result.data());
        return result;
    }

private:
    static constexpr quint64 seed = 0xc70f6907;
    static constexpr quint64 multiplier = 0xc6a4a7935bd1e995;

    [[nodiscard]] static quint64 shifted(quint64 value) { return value ^ (value >> 47); }
    [[nodiscard]] static quint64 mixed(quint64 value) { return shifted(value * multiplier) * multiplier; }
    [[nodiscard]] static quint64 unmixed(quint64 value) { return shifted(value * inverse()) * inverse(); }

    /// Of the multiplier; each step of Newton's method doubles the number of right bits.
    [[nodiscard]] static quint64 inverse()
    {
        quint64 result = multiplier;
        for (int i = 0; i < 6; ++i)
            result *= 2 - multiplier * result;
        return result;
    }

    quint64 m_state;
};

size_t weakHash(const QByteArray& bytes)
{
    return std::hash<std::string_view>()({bytes.constData(), static_cast<size_t>(bytes.size())});
}

TEST_F(CoverTest, PicturesOfTheSameLengthAndWeakHashHaveTheirOwnArt)
{
    constexpr int length = 4096;
    const QByteArray filler(length, '\0');
    const QByteArray black = (encoded(uniform(Qt::black), "png") + filler).left(length);
    const QByteArray white = (encoded(uniform(Qt::white), "png") + filler).left(length);
    WeakHash afterBlack(length + 8);
    WeakHash afterWhite(length + 8);
    afterBlack.add(black);
    afterWhite.add(white);
    const QByteArray one = black + QByteArray(8, '\0');
    const QByteArray another = white + afterWhite.compensation(afterBlack, 0);
    ASSERT_EQ(weakHash(one), weakHash(another));
    EXPECT_EQ(libraryItem(fileWith(one, "1.mp3")).artBytes(), one);
    EXPECT_EQ(libraryItem(fileWith(another, "2.mp3")).artBytes(), another);
}

TEST_F(CoverTest, RememberedArtTakesBoundedMemory)
{
    // Noise, that no format makes small: some 270 kB each, more of them than are remembered.
    constexpr int covers = 60;
    QList<Item> items;
    for (int i = 0; i < covers; ++i) {
        QImage image(300, 300, QImage::Format_RGB32);
        quint32 state = static_cast<quint32>(i) + 1;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                state = state * 1664525 + 1013904223;
                image.setPixel(x, y, state >> 8);
            }
        }
        items.append(libraryItem(fileWith(encoded(image, "png"), qPrintable(QStringLiteral("%1.mp3").arg(i)))));
        ASSERT_GT(items.last().artBytes().size(), 250'000);
    }
    const QString firstFile = folder.filePath(QStringLiteral("0.mp3"));
    const QString lastFile = folder.filePath(QStringLiteral("59.mp3"));
    EXPECT_NE(bytesOf(libraryItem(firstFile)), bytesOf(items.first()));
    EXPECT_EQ(bytesOf(libraryItem(lastFile)), bytesOf(items.last()));
}

TEST_F(CoverTest, ManyThreadsReadTheSameAlbumsWithOneReader)
{
    constexpr int threads = 8;
    constexpr int files = 6;
    constexpr int rounds = 20;
    QStringList names;
    for (int i = 0; i < files; ++i) {
        const QByteArray cover = encoded(picture({400 + 10 * (i / 2), 400}), "jpeg");
        names.append(fileWith(cover, qPrintable(QStringLiteral("%1.mp3").arg(i))));
    }
    const MusicLibraryTagReader reader(artWidth);
    const auto read = [&](int thread) {
        int right = 0;
        for (int i = 0; i < rounds * files; ++i) {
            const int file = (i + thread) % files;
            const int height = (400 * artWidth + (400 + 10 * (file / 2)) / 2) / (400 + 10 * (file / 2));
            right += sizeOf(readWith(reader, names.at(file)).art()) == QSize(artWidth, height) ? 1 : 0;
        }
        return right;
    };
    std::vector<std::future<int>> running;
    running.reserve(threads);
    for (int thread = 0; thread < threads; ++thread)
        running.push_back(std::async(std::launch::async, read, thread));
    for (std::future<int>& thread : running)
        EXPECT_EQ(thread.get(), rounds * files);
}

} // namespace
