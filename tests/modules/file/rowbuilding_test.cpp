#include "fileworkertest.h"
#include "tavo/mimetypes.h"
#include "tavo/tavokeys.h"
#include "tavo/tavomedia.h"

#include <QDateTime>

#include <ctime>
#include <vector>

namespace {

using testing::ElementsAre;

class RowBuilding : public FileWorkerTest
{
protected:
    /// The only value.
    [[nodiscard]] QVariant value(const QString& path, const QString& role)
    {
        const QVariantList list = values(path, {role});
        EXPECT_EQ(list.size(), 1);
        return list.value(0);
    }

    [[nodiscard]] TavoMediaData mediaData(const QString& path)
    {
        return TavoMediaData(value(path, TavoRoles::MediaData()).toHash());
    }

    [[nodiscard]] static QString typeOfMime(const QString& mimeType)
    {
        return TavoRolesType::toString(CMGlobal::mimeTypeToRolesType(mimeType));
    }
};

TEST_F(RowBuilding, ValuesFollowTheOrderOfTheRoles)
{
    tree.addFile("x.mp3");
    tree.setModified("x.mp3", 1000000000);
    EXPECT_EQ(
        values("x.mp3", {TavoRoles::Title(), "Foo", TavoRoles::Timestamp()}),
        (QVariantList{"x.mp3", QVariant(), 1000000000U}));
    EXPECT_EQ(
        values("x.mp3", {TavoRoles::ContainerPlayable(), TavoRoles::Title(), TavoRoles::Path()}),
        (QVariantList{false, "x.mp3", "/file/x.mp3"}));
}

TEST_F(RowBuilding, NoRolesGiveNoValues)
{
    EXPECT_EQ(values("x.mp3", {}), QVariantList());
}

TEST_F(RowBuilding, ARepeatedRoleRepeatsItsValue)
{
    EXPECT_EQ(values("x", {TavoRoles::Title(), TavoRoles::Title()}), (QVariantList{"x", "x"}));
}

TEST_F(RowBuilding, RolesWithoutAValueAreInvalid)
{
    tree.addFile("x.mp3");
    for (const QString& role : {TavoRoles::Value(), TavoRoles::ContainerType(), QString(), QString("TITLE")})
        EXPECT_FALSE(value("x.mp3", role).isValid()) << role.toStdString();
    EXPECT_EQ(values("x.mp3", CMAllRoles()).size(), CMAllRoles().size());
}

TEST_F(RowBuilding, PathIsTheEncodedWorkerPath)
{
    EXPECT_EQ(value("Music/A#1 \u00e4", TavoRoles::Path()), QVariant("/file/Music/A%231%20%C3%A4"));
    EXPECT_EQ(value(tree.path("a/b"), TavoRoles::Path()), QVariant("/file/a/b"));
    EXPECT_EQ(value("x", TavoRoles::Path()).userType(), int(QMetaType::QString));
}

TEST_F(RowBuilding, PathOfTheRootIsThatOfTheRootRelativeToItself)
{
    const QString expected = worker->addPrefix(QDir(tree.root()).relativeFilePath(tree.root())).toEncoded();
    EXPECT_EQ(value("", TavoRoles::Path()), QVariant(expected));
    EXPECT_EQ(value(tree.root(), TavoRoles::Path()), QVariant(expected));
}

TEST_F(RowBuilding, PathIsRelativeToTheRootAsQDirComputesIt)
{
    const QStringList paths = {
        ".hidden",
        "a/.hidden/b",
        "..a/b",
        "a..",
        "a/./b",
        "a/../b",
        "a//b",
        "a/",
        "..",
        "../root2/x",
        "../other",
        "../../../../x",
        "a/../../root/b",
        "/",
        "//",
        ".",
        tree.root(),
        "a:b",
        "a b",
        "\u00e4\u00f6",
        "a\\b",
        "a/...",
        "...",
        "x/..",
        tree.path("a"),
        "root",
        "/etc/x",
        "a/b/",
        "./a",
        "..\u00e4/.b/x",
        "a/b//../c"};
    for (const QString& root : {tree.root(), QString("/")}) {
        const std::unique_ptr<CMFileWorker> other = makeFileWorker(fileConfiguration(root));
        for (const QString& path : paths) {
            QFileInfo info(QDir(root), path);
            info.makeAbsolute();
            if (!info.filePath().startsWith(root))
                continue;
            const QString relative = QDir(root).relativeFilePath(info.filePath());
            CMVoidReply reply(new CMReplyData<QVariantList>);
            EXPECT_EQ(
                other->getDataImpl(reply, path, {TavoRoles::Path()}),
                QVariantList{other->addPrefix(relative).toEncoded()})
                << path.toStdString() << " below " << root.toStdString();
        }
    }
}

TEST_F(RowBuilding, PathUnderAnEmptyRootIsAsQDirComputesIt)
{
    const std::unique_ptr<CMFileWorker> rootless = makeFileWorker(fileConfiguration({}));
    const QDir& root = CMFileWorkerInspector(*rootless).rootDir();
    ASSERT_EQ(CMFileWorkerInspector(*rootless).rootPath(), QString());
    for (const QString& path : {tree.path("a"), QString("/etc"), QString("/")}) {
        CMVoidReply reply(new CMReplyData<QVariantList>);
        EXPECT_EQ(
            rootless->getDataImpl(reply, path, {TavoRoles::Path()}),
            QVariantList{rootless->addPrefix(root.relativeFilePath(path)).toEncoded()})
            << path.toStdString();
    }
}

TEST_F(RowBuilding, TitleIsTheBareName)
{
    EXPECT_EQ(value("a/b.mp3", TavoRoles::Title()), QVariant("b.mp3"));
    EXPECT_EQ(value("", TavoRoles::Title()), QVariant("root"));
}

TEST_F(RowBuilding, TitleOfTheWholeFileSystemIsEmpty)
{
    const std::unique_ptr<CMFileWorker> whole = makeFileWorker(fileConfiguration("/"));
    CMVoidReply reply(new CMReplyData<QVariantList>);
    EXPECT_EQ(whole->getDataImpl(reply, "/", {TavoRoles::Title()}), QVariantList{QString()});
}

TEST_F(RowBuilding, ADirectoryIsAPlayableContainer)
{
    tree.addDirectory("Albums.mp3");
    EXPECT_EQ(value("Albums.mp3", TavoRoles::Type()), QVariant(TavoRolesType::Container()));
    EXPECT_EQ(value("Albums.mp3", TavoRoles::ContainerPlayable()), QVariant(true));
    EXPECT_EQ(value("", TavoRoles::ContainerPlayable()), QVariant(true));
}

TEST_F(RowBuilding, AFileIsOfTheTypeOfItsMimeTypeAndNotPlayableAsAContainer)
{
    tree.addFile("x.mp3");
    EXPECT_EQ(value("x.mp3", TavoRoles::Type()), QVariant(TavoRolesType::toString(TavoRolesType::Enum::Audio)));
    EXPECT_EQ(value("x.mp3", TavoRoles::Type()), QVariant(typeOfMime("audio/mpeg")));
    EXPECT_EQ(value("x.mp3", TavoRoles::ContainerPlayable()), QVariant(false));
    EXPECT_EQ(value("x.tar.png", TavoRoles::Type()), QVariant(typeOfMime("image/png")));
    EXPECT_EQ(value("x.nobodyknows", TavoRoles::Type()), QVariant(typeOfMime(QString())));
    EXPECT_EQ(value("x", TavoRoles::Type()), QVariant(typeOfMime(QString())));
}

TEST_F(RowBuilding, ContainerPlayableIsABool)
{
    EXPECT_EQ(value("x", TavoRoles::ContainerPlayable()).userType(), int(QMetaType::Bool));
}

TEST_F(RowBuilding, FlagsNameAFileForFilesAndDirectoriesAlike)
{
    tree.addDirectory("d");
    tree.addFile("x.mp3");
    const QVariantHash flags = {{CMFlags::File(), true}};
    for (const char* path : {"d", "x.mp3", "missing", ""}) {
        EXPECT_EQ(value(path, TavoRoles::Flags()).userType(), int(QMetaType::QVariantHash));
        EXPECT_EQ(value(path, TavoRoles::Flags()).toHash(), flags);
    }
}

TEST_F(RowBuilding, TimestampIsTheSecondOfTheLastModification)
{
    tree.addFile("x.mp3");
    tree.setModified("x.mp3", 4000000000);
    EXPECT_EQ(value("x.mp3", TavoRoles::Timestamp()), QVariant(4000000000U));
    EXPECT_EQ(value("x.mp3", TavoRoles::Timestamp()).userType(), int(QMetaType::UInt));
}

/// In the time zone that is the test's parameter.
class RowTimestamp : public RowBuilding, public testing::WithParamInterface<const char*>
{
protected:
    static constexpr qint64 day = 86400;
    static constexpr qint64 most = 0xffffffff;

    RowTimestamp()
    {
        setTimeZone(GetParam());
        tree.addFile("x.mp3");
    }
    ~RowTimestamp() override { setTimeZone(m_before); }

    /// Seconds east of UTC.
    [[nodiscard]] static long offsetAt(qint64 seconds)
    {
        const time_t time = seconds;
        tm local{};
        localtime_r(&time, &local);
        return local.tm_gmtoff;
    }

    /// The first second with the offset that the zone has at `to`. It changes once between `from` and `to`.
    [[nodiscard]] static qint64 transitionBetween(qint64 from, qint64 to)
    {
        const long newOffset = offsetAt(to);
        while (to - from > 1) {
            const qint64 middle = from + (to - from) / 2;
            (offsetAt(middle) == newOffset ? to : from) = middle;
        }
        return to;
    }

    [[nodiscard]] static std::vector<qint64> transitions()
    {
        std::vector<qint64> found;
        for (qint64 time = 3 * day; time < most; time += day) {
            if (offsetAt(time) != offsetAt(time + day))
                found.push_back(transitionBetween(time, time + day));
        }
        return found;
    }

    /// The worker's value is the one of QFileInfo. Where that depends on the conversion before it, it is the right one.
    void check(qint64 seconds, long nanoseconds = 0)
    {
        tree.setModified("x.mp3", seconds, nanoseconds);
        const QVariant timestamp = value("x.mp3", TavoRoles::Timestamp());
        const uint afterEarlier = convertedAfter(seconds - 2 * day);
        const uint afterLater = convertedAfter(seconds + 2 * day);
        if (afterEarlier == afterLater)
            EXPECT_EQ(timestamp, QVariant(afterEarlier)) << seconds << " s " << nanoseconds << " ns";
        else
            EXPECT_EQ(timestamp, QVariant(static_cast<uint>(seconds)));
    }

private:
    /// What QFileInfo makes of the file's time after the conversion of another time.
    [[nodiscard]] uint convertedAfter(qint64 seconds) const
    {
        static_cast<void>(QDateTime::fromSecsSinceEpoch(seconds).toTime_t());
        return QFileInfo(tree.path("x.mp3")).lastModified().toTime_t();
    }

    /// Null: the machine's own.
    static void setTimeZone(const QByteArray& name)
    {
        if (name.isNull())
            qunsetenv("TZ");
        else
            qputenv("TZ", name);
        tzset();
    }

    const QByteArray m_before = qgetenv("TZ");
};

TEST_P(RowTimestamp, IsThatOfQFileInfoAtTheEndsOfItsRange)
{
    for (const qint64 seconds :
         {qint64(0), qint64(1), qint64(-1), qint64(-2), qint64(1) << 31, most - 1, most, most + 1, most + day, -2 * day,
          2 * day, -400 * day}) {
        for (const long nanoseconds : {0L, 1L, 999999L, 1000000L, 999999999L})
            check(seconds, nanoseconds);
    }
}

TEST_P(RowTimestamp, IsThatOfQFileInfoAround1970)
{
    for (qint64 seconds = -3 * day; seconds <= 3 * day; seconds += 899)
        check(seconds);
}

TEST_P(RowTimestamp, IsThatOfQFileInfoAllThroughItsRange)
{
    for (qint64 seconds = 3 * day; seconds < most; seconds += 31 * day + 12345)
        check(seconds);
}

TEST_P(RowTimestamp, IsThatOfQFileInfoWhenClocksAreChanged)
{
    const std::vector<qint64> times = transitions();
    EXPECT_EQ(times.empty(), GetParam() == QByteArray("UTC")) << "zone not installed?";
    for (const qint64 transition : times) {
        for (const qint64 distance : {-7200, -3600, -3599, -1800, -1, 0, 1, 1800, 3599, 3600, 7200})
            check(transition + distance);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Zones, RowTimestamp,
    testing::Values(
        "UTC", "Africa/Casablanca", "Africa/Monrovia", "America/New_York", "Asia/Kathmandu", "Asia/Pyongyang",
        "Australia/Lord_Howe", "Europe/Berlin", "Europe/London", "Pacific/Apia"));

TEST_F(RowBuilding, ValuesAreThoseOfQFileInfoWhateverTheEntry)
{
    tree.addDirectory("d");
    tree.addFile("d/x.mp3");
    tree.addLink("toDirectory", "d");
    tree.addLink("toFile", "d/x.mp3");
    tree.addLink("dangling", "missing");
    tree.addLink("loop", "loop");
    for (const QString& path :
         {QString(), QString("d"), QString("d/x.mp3"), QString("toDirectory"), QString("toFile"), QString("dangling"),
          QString("loop"), QString("d/x.mp3/y"), QString("missing/.."), QString("d/.."), QString("d/")}) {
        QFileInfo info(QDir(tree.root()), path);
        info.makeAbsolute();
        EXPECT_EQ(
            values(path, {TavoRoles::Title(), TavoRoles::ContainerPlayable(), TavoRoles::Timestamp()}),
            (QVariantList{info.fileName(), info.isDir(), info.lastModified().toTime_t()}))
            << path.toStdString();
    }
}

TEST_F(RowBuilding, ANameWithANulNamesNoEntry)
{
    tree.addDirectory("d");
    const QString withNul = QString("d") + QChar(QChar::Null) + "x";
    EXPECT_EQ(
        values(withNul, {TavoRoles::Title(), TavoRoles::ContainerPlayable(), TavoRoles::Timestamp()}),
        (QVariantList{withNul, false, QDateTime().toTime_t()}));
}

TEST_F(RowBuilding, MediaDataHoldsOneResourceAndTheService)
{
    tree.addFile("a b#1.mp3");
    const TavoMediaData media = mediaData("a b#1.mp3");
    ASSERT_EQ(media.resources().size(), 1);
    const TavoResource resource = media.resources().at(0);
    EXPECT_EQ(resource.mimeType(), "audio/mpeg");
    EXPECT_EQ(resource.uri(), "file://" + tree.root() + "/a%20b%231.mp3");
    EXPECT_EQ(resource.fields().size(), 2);
    EXPECT_EQ(media.metaData().serviceID(), "file");
    EXPECT_EQ(media.metaData().fields().size(), 1);
    EXPECT_EQ(media.fields().size(), 2);
}

TEST_F(RowBuilding, MediaDataIsAPlainHash)
{
    EXPECT_EQ(value("x.mp3", TavoRoles::MediaData()).userType(), int(QMetaType::QVariantHash));
}

TEST_F(RowBuilding, MediaDataIsTheSameForDirectories)
{
    tree.addDirectory("d");
    tree.addDirectory("e.flac");
    EXPECT_EQ(mediaData("d").resources().at(0).mimeType(), MimeTypes::extensionToMimeType("", QString()));
    EXPECT_EQ(mediaData("d").resources().at(0).uri(), "file://" + tree.path("d"));
    EXPECT_EQ(mediaData("e.flac").resources().at(0).mimeType(), MimeTypes::extensionToMimeType("flac", QString()));
}

TEST_F(RowBuilding, UnknownEndingsHaveNoMimeType)
{
    EXPECT_EQ(mediaData("x.nobodyknows").resources().at(0).mimeType(), QString());
}

TEST_F(RowBuilding, TheMimeTypeFollowsTheLastEnding)
{
    EXPECT_EQ(mediaData("x.tar.png").resources().at(0).mimeType(), "image/png");
    const QString wholeEnding = MimeTypes::extensionToMimeType("tar.gz", {});
    const QString lastEnding = MimeTypes::extensionToMimeType("gz", {});
    ASSERT_NE(wholeEnding, lastEnding);
    EXPECT_EQ(mediaData("x.tar.gz").resources().at(0).mimeType(), lastEnding);
}

TEST_F(RowBuilding, UrisKeepParentDirectorySteps)
{
    EXPECT_EQ(mediaData("../x").resources().at(0).uri(), "file://" + tree.root() + "/../x");
}

TEST_F(RowBuilding, TheItemNeedNotExist)
{
    CMError error;
    const QStringList roles = {
        TavoRoles::Title(), TavoRoles::Type(), TavoRoles::ContainerPlayable(), TavoRoles::Timestamp()};
    const QVariantList expected = {"missing.mp3", typeOfMime("audio/mpeg"), false, QDateTime().toTime_t()};
    EXPECT_EQ(values("missing.mp3", roles, &error), expected);
    EXPECT_TRUE(error.isEmpty());
}

TEST_F(RowBuilding, PathsThatClimbOutAreBuilt)
{
    CMError error;
    tree.addFile("../x.mp3");
    tree.setModified("../x.mp3", 7);
    const QStringList roles = {TavoRoles::Title(), TavoRoles::Path(), TavoRoles::Timestamp()};
    EXPECT_EQ(values("../x.mp3", roles, &error), (QVariantList{"x.mp3", "/file/../x.mp3", 7U}));
    EXPECT_TRUE(error.isEmpty());
}

TEST_F(RowBuilding, AbsolutePathsElsewhereAreRefusedWithoutValues)
{
    CMError error;
    EXPECT_EQ(values("/etc", {TavoRoles::Title()}, &error), QVariantList());
    EXPECT_EQ(error.message(), inside.errorAccessViolation("/etc").message());
    EXPECT_TRUE(messageHas(error, "File", "Access violation: path '%1' is outside '%2'", {"/etc", tree.root()}));
}

TEST_F(RowBuilding, LinksAreFollowed)
{
    tree.addDirectory("d");
    tree.addLink("link", "d");
    EXPECT_EQ(value("link", TavoRoles::Type()), QVariant(TavoRolesType::Container()));
    EXPECT_EQ(value("link", TavoRoles::Path()), QVariant("/file/link"));
}

TEST_F(RowBuilding, WritesItsEntryLineAndNothingElse)
{
    static_cast<void>(values("a", {TavoRoles::Title()}));
    EXPECT_THAT(log.lines(), ElementsAre(entryLine(Signature::getDataImpl)));
    log.clear();
    static_cast<void>(values("/etc", {TavoRoles::Title()}));
    EXPECT_THAT(
        log.lines(), ElementsAre(entryLine(Signature::getDataImpl), entryLine(Signature::errorAccessViolation)));
    log.clear();
    log.setLevel(log4cplus::DEBUG_LOG_LEVEL);
    static_cast<void>(values("/etc", {TavoRoles::Title()}));
    EXPECT_THAT(log.lines(), testing::IsEmpty());
}

} // namespace
