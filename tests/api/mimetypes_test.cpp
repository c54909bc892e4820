#include "tavo/mimetypes.h"

#include "printers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <thread>
#include <vector>

#include <malloc.h>

namespace {

QString typeOf(const char* extension)
{
    return MimeTypes::extensionToMimeType(QString::fromUtf8(extension), QStringLiteral("fallback"));
}

TavoRolesType::Enum rowTypeOf(const char* extension)
{
    return CMGlobal::mimeTypeToRolesType(MimeTypes::extensionToMimeType(QString::fromUtf8(extension), QString()));
}

TEST(MimeTypes, KnowsCommonMedia)
{
    EXPECT_EQ(typeOf("mp3"), QStringLiteral("audio/mpeg"));
    EXPECT_EQ(typeOf("flac"), QStringLiteral("audio/flac"));
    EXPECT_EQ(typeOf("m4a"), QStringLiteral("audio/mp4"));
    EXPECT_EQ(typeOf("mp4"), QStringLiteral("video/mp4"));
    EXPECT_EQ(typeOf("jpg"), QStringLiteral("image/jpeg"));
}

TEST(MimeTypes, UnknownExtensionGivesTheFallback)
{
    EXPECT_EQ(typeOf("nosuchextension"), QStringLiteral("fallback"));
    EXPECT_EQ(MimeTypes::extensionToMimeType(QStringLiteral("nosuchextension"), QString()), QString());
}

TEST(MimeTypes, FallbackIsNotCached)
{
    const QString extension = QStringLiteral("alsounknown");
    EXPECT_EQ(MimeTypes::extensionToMimeType(extension, QStringLiteral("a")), QStringLiteral("a"));
    EXPECT_EQ(MimeTypes::extensionToMimeType(extension, QStringLiteral("b")), QStringLiteral("b"));
}

TEST(MimeTypes, EmptyExtensionGivesTheFallback)
{
    EXPECT_EQ(typeOf(""), QStringLiteral("fallback"));
    EXPECT_EQ(MimeTypes::extensionToMimeType(QString(), QString()), QString());
}

TEST(MimeTypes, CaseDoesNotMatter)
{
    EXPECT_EQ(typeOf("MP3"), typeOf("mp3"));
    EXPECT_EQ(typeOf("FlAc"), typeOf("flac"));
}

TEST(MimeTypes, MediumWinsAmongTypesOfOneExtension)
{
    EXPECT_TRUE(typeOf("ogg").startsWith(QLatin1String("audio/")));
    EXPECT_TRUE(typeOf("m3u").startsWith(QLatin1String("audio/")));
    EXPECT_TRUE(typeOf("ts").startsWith(QLatin1String("video/")));
}

TEST(MimeTypes, ExtensionOfStrangeCharactersIsUnknown)
{
    for (const char* extension : {" ", "mp3 ", "a\nb", "*", "?", "[a]", "\xF0\x9F\x8E\xB5"})
        EXPECT_EQ(typeOf(extension), QStringLiteral("fallback")) << extension;
}

TEST(MimeTypes, ThreadsGetTheSameAnswers)
{
    constexpr std::array<const char*, 6> extensions = {"mp3", "OGG", "pls", "png", "nosuchextension", "mkv"};
    std::array<QString, extensions.size()> expected;
    std::transform(extensions.begin(), extensions.end(), expected.begin(), &typeOf);
    std::array<int, 4> wrong = {};
    std::vector<std::thread> threads;
    for (size_t thread = 0; thread < wrong.size(); ++thread) {
        threads.emplace_back([&, thread] {
            for (size_t i = 0; i < 2000; ++i) {
                const size_t which = (i + thread) % extensions.size();
                const QString invented = QStringLiteral("x%1").arg(i % 500);
                wrong[thread] += typeOf(extensions[which]) != expected[which];
                wrong[thread] += MimeTypes::extensionToMimeType(invented, invented) != invented;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, (std::array<int, 4>{}));
}

TEST(MimeTypes, CacheIsBoundedForAnyExtensions)
{
    const auto askForInvented = [](int from, int to) {
        for (int i = from; i < to; ++i)
            static_cast<void>(MimeTypes::extensionToMimeType(QStringLiteral("invented%1").arg(i), QString()));
    };
    askForInvented(0, 10000);
    const size_t before = mallinfo2().uordblks;
    askForInvented(10000, 20000);
    EXPECT_LT(mallinfo2().uordblks, before + 100000);
    EXPECT_EQ(typeOf("mp3"), QStringLiteral("audio/mpeg"));
    EXPECT_EQ(typeOf("invented19999"), QStringLiteral("fallback"));
}

TEST(RowType, FollowsTheMimeType)
{
    using Type = TavoRolesType::Enum;
    EXPECT_EQ(CMGlobal::mimeTypeToRolesType(QStringLiteral("audio/anything")), Type::Audio);
    EXPECT_EQ(CMGlobal::mimeTypeToRolesType(QStringLiteral("video/anything")), Type::Video);
    EXPECT_EQ(CMGlobal::mimeTypeToRolesType(QStringLiteral("image/anything")), Type::Image);
    EXPECT_EQ(CMGlobal::mimeTypeToRolesType(QStringLiteral("inode/directory")), Type::Container);
}

TEST(RowType, PlaylistIsNotAudio)
{
    for (const char* extension : {"m3u", "m3u8", "pls", "wpl", "asx", "xspf"})
        EXPECT_EQ(rowTypeOf(extension), TavoRolesType::Enum::Playlist) << extension;
}

TEST(RowType, AnyOtherTypeIsAFile)
{
    for (const char* mimeType : {"", "text/plain", "application/octet-stream", "audio", "inode/fifo"})
        EXPECT_EQ(CMGlobal::mimeTypeToRolesType(QLatin1String(mimeType)), TavoRolesType::Enum::File) << mimeType;
}

TEST(RowType, PlayableFilesAreAudio)
{
    for (const char* extension : {"mp3", "flac", "ogg", "opus", "m4a", "aac", "wav", "aiff", "wma", "ape", "wv", "mpc"})
        EXPECT_EQ(rowTypeOf(extension), TavoRolesType::Enum::Audio) << extension;
}

} // namespace
