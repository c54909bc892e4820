// Covers of files that are open.

#include "tagreader/coverreader.h"

#include "audiofile.h"
#include "printers.h"

#include <QBuffer>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

namespace {

QByteArray pictureFile(const QSize& size, const char* format)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::darkCyan);
    QByteArray bytes;
    QBuffer out(&bytes);
    EXPECT_TRUE(image.save(&out, format));
    return bytes;
}

class CoverReaderTest : public testing::Test
{
protected:
    ~CoverReaderTest() override
    {
        if (descriptor >= 0)
            close(descriptor);
    }

    void open(const QByteArray& content)
    {
        const QString name = folder.filePath(QStringLiteral("file"));
        writeFile(name, content);
        open(name);
    }

    void open(const QString& name)
    {
        if (descriptor >= 0)
            close(descriptor);
        descriptor = ::open(name.toUtf8(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
        ASSERT_GE(descriptor, 0);
    }

    const QTemporaryDir folder;
    int descriptor = -1;
};

TEST_F(CoverReaderTest, AudioFileHasTheCoverOfItsTags)
{
    const QByteArray picture = pictureFile({40, 30}, "png");
    for (const QByteArray& file :
         {id3Tag(id3Frame("APIC", pictureContent(picture))) + mpegSound(), flacFile({{6, flacPicture(picture)}})}) {
        open(file);
        const CoverArt cover = CoverReader::fromAudioFile(descriptor, QString(), 100);
        EXPECT_EQ(cover.data, picture);
        EXPECT_EQ(cover.size, QSize(40, 30));
        EXPECT_EQ(cover.mimeType, QStringLiteral("image/png"));
    }
    EXPECT_EQ(CoverReader::fromAudioFile(descriptor, QString(), 20).size, QSize(20, 15));
}

TEST_F(CoverReaderTest, ExtensionDecidesWhereTheBytesDoNot)
{
    const QByteArray picture = pictureFile({40, 30}, "png");
    open("no sound" + apeTag({}, {{"Cover Art (Front)", QByteArray("x\0", 2) + picture}}));
    EXPECT_TRUE(CoverReader::fromAudioFile(descriptor, QStringLiteral("txt"), 100).data.isEmpty());
    EXPECT_EQ(CoverReader::fromAudioFile(descriptor, QStringLiteral("MP3"), 100).data, picture);
}

TEST_F(CoverReaderTest, PictureFileIsItsOwnCover)
{
    const QByteArray picture = pictureFile({40, 30}, "jpeg");
    open(picture);
    EXPECT_EQ(CoverReader::fromPictureFile(descriptor, 100).data, picture);
    EXPECT_EQ(CoverReader::fromPictureFile(descriptor, 20).size, QSize(20, 15));
}

TEST_F(CoverReaderTest, DescriptorStaysOpenWhereItWas)
{
    open(pictureFile({40, 30}, "jpeg"));
    ASSERT_EQ(lseek(descriptor, 7, SEEK_SET), 7);
    EXPECT_FALSE(CoverReader::fromPictureFile(descriptor, 100).data.isEmpty());
    EXPECT_TRUE(CoverReader::fromAudioFile(descriptor, QStringLiteral("jpg"), 100).data.isEmpty());
    EXPECT_EQ(lseek(descriptor, 0, SEEK_CUR), 7);
}

TEST_F(CoverReaderTest, WhatIsNoRegularFileHasNone)
{
    for (const QString& name : {folder.path(), QStringLiteral("/dev/zero")}) {
        open(name);
        EXPECT_TRUE(CoverReader::fromPictureFile(descriptor, 100).data.isEmpty());
        EXPECT_TRUE(CoverReader::fromAudioFile(descriptor, QStringLiteral("mp3"), 100).data.isEmpty());
    }
    EXPECT_TRUE(CoverReader::fromPictureFile(-1, 100).data.isEmpty());
    EXPECT_TRUE(CoverReader::fromAudioFile(-1, QStringLiteral("mp3"), 100).data.isEmpty());
}

TEST_F(CoverReaderTest, VectorGraphicsAndMarkupAreNoPictures)
{
    const QByteArray svg = R"(<svg xmlns="http://www.w3.org/2000/svg" width="9" height="9"></svg>)";
    for (const QByteArray& content :
         {svg, "<?xml version=\"1.0\"?>" + svg, QByteArray("<html></html>"), QByteArray()}) {
        open(content);
        EXPECT_TRUE(CoverReader::fromPictureFile(descriptor, 100).data.isEmpty()) << content.toStdString();
        open(id3Tag(id3Frame("APIC", QByteArray("\0image/svg+xml\0\3\0", 17) + content)) + mpegSound());
        EXPECT_TRUE(CoverReader::fromAudioFile(descriptor, QString(), 100).data.isEmpty()) << content.toStdString();
    }
}

TEST_F(CoverReaderTest, TruncatedPictureIsNone)
{
    for (const char* format : {"jpeg", "png"}) {
        const QByteArray picture = pictureFile({400, 300}, format);
        for (const int missing : {picture.size() / 2, picture.size() / 4, 2}) {
            open(picture.left(picture.size() - missing));
            // The last bytes of a PNG file are no part of the picture.
            const bool isComplete = missing == 2 && format == std::string("png");
            EXPECT_EQ(CoverReader::fromPictureFile(descriptor, 100).data.isEmpty(), !isComplete) << format << missing;
        }
    }
}

TEST_F(CoverReaderTest, BytesBehindThePictureDoNotMatter)
{
    open(pictureFile({40, 30}, "jpeg") + "\xff\xda trailing");
    EXPECT_EQ(CoverReader::fromPictureFile(descriptor, 20).size, QSize(20, 15));
}

TEST_F(CoverReaderTest, FileThatIsLongerThanPicturesAreIsNotRead)
{
    open(pictureFile({40, 30}, "jpeg"));
    EXPECT_FALSE(CoverReader::fromPictureFile(descriptor, 100).data.isEmpty());
    ASSERT_EQ(truncate(folder.filePath(QStringLiteral("file")).toUtf8(), 1 << 26), 0);
    EXPECT_TRUE(CoverReader::fromPictureFile(descriptor, 100).data.isEmpty());
}

} // namespace
