#include "fileworkertest.h"
#include "log/dbglog.h"
#include "model/cmroot.h"
#include "tagreader/playlisttagreader.h"
#include "tagreaderhook.h"
#include "tavo/tavokeys.h"
#include "tavo/tavomedia.h"

#include <QBuffer>
#include <QDirIterator>
#include <QImage>
#include <QThread>
#include <QVector>
#include <QtEndian>

#include <functional>
#include <sstream>

#include <sys/stat.h>

namespace {

using testing::ElementsAre;
using Reader = TagReaderHook::Reader;

class SetData : public FileWorkerTest
{
protected:
    SetData()
    {
        for (const char* file : {"a.mp3", "b.m3u", "notes.txt", "d/c.mp3", "d/d.m3u"})
            tree.addFile(file);
        TagReaderHook::reset();
        // Each item is the path of its file.
        TagReaderHook::item = [](const QString& path) { return path; };
    }
    ~SetData() override { TagReaderHook::reset(); }

    [[nodiscard]] CMReply<QVariant> set(CMWorker& receiver, const QString& base, const QVariant& value)
    {
        const CMSetDataRequest request(receiver.addPrefix(base), value);
        receiver.setDataRequest(request);
        return request.reply();
    }
    [[nodiscard]] CMReply<QVariant> playlist(const QVariant& value)
    {
        return set(*worker, TavoPlayListPrepareItems(), value);
    }
    [[nodiscard]] CMReply<QVariant> library(const QVariant& value)
    {
        return set(*worker, TavoMusicLibraryPrepareItems(), value);
    }
    [[nodiscard]] CMReply<QVariant> count(const QVariant& value)
    {
        return set(*worker, TavoFilesystemCountFilesPathSuffix(), value);
    }
    [[nodiscard]] QString id(const QString& base) const { return worker->addPrefix(base).toEncoded(); }
    /// The absolute paths.
    [[nodiscard]] QVariantList files(const QStringList& relative) const
    {
        QVariantList paths;
        for (const QString& path : relative)
            paths.append(tree.path(path));
        return paths;
    }
};

TEST_F(SetData, APlaylistHoldsNoPlaylists)
{
    const CMReply<QVariant> reply = playlist(QStringList{id("")});
    EXPECT_FALSE(reply.isError());
    EXPECT_EQ(reply.value().userType(), int(QMetaType::QVariantList));
    EXPECT_EQ(reply.value().toList(), files({"a.mp3", "d/c.mp3"}));
    EXPECT_EQ(playlist(QStringList{id("b.m3u"), id("a.mp3")}).value().toList(), files({"a.mp3"}));
}

TEST_F(SetData, TheLibraryHoldsPlaylistsToo)
{
    const CMReply<QVariant> reply = library(QStringList{id("")});
    EXPECT_EQ(reply.value().userType(), int(QMetaType::QVariantList));
    EXPECT_EQ(reply.value().toList(), files({"a.mp3", "b.m3u", "d/c.mp3", "d/d.m3u"}));
    EXPECT_EQ(library(QStringList{id("b.m3u"), id("a.mp3")}).value().toList(), files({"b.m3u", "a.mp3"}));
}

TEST_F(SetData, EachPreparationHasItsReader)
{
    static_cast<void>(playlist(QStringList{id("a.mp3")}));
    static_cast<void>(library(QStringList{id("a.mp3")}));
    ASSERT_EQ(TagReaderHook::calls.size(), 2U);
    EXPECT_EQ(TagReaderHook::calls[0].reader, Reader::PlayList);
    EXPECT_EQ(TagReaderHook::calls[1].reader, Reader::MusicLibrary);
}

TEST_F(SetData, EveryOccurrenceOfEveryPlaylistPatternIsStrippedButOnlyInItsSpelling)
{
    for (const char* file : {"p/1.pls", "p/2.wpl", "p/3.asx", "p/4.m3u", "p/5.mp3"})
        tree.addFile(file);
    const QStringList patterns = {"*.pls", "*.m3u", "*.mp3", "*.wpl", "*.asx", "*.m3u"};
    const std::unique_ptr<CMFileWorker> other = makeFileWorker(fileConfiguration(tree.root(), patterns));
    EXPECT_EQ(set(*other, TavoPlayListPrepareItems(), QStringList{id("p")}).value().toList(), files({"p/5.mp3"}));
    EXPECT_EQ(CMFileWorkerInspector(*other).filterPatterns(), patterns);
    const std::unique_ptr<CMFileWorker> shouting = makeFileWorker(fileConfiguration(tree.root(), {"*.M3U", "*.mp3"}));
    EXPECT_EQ(
        set(*shouting, TavoPlayListPrepareItems(), QStringList{id("p")}).value().toList(),
        files({"p/4.m3u", "p/5.mp3"}));
}

TEST_F(SetData, WherePlaylistPatternsAreAllADirectoryGivesEveryFileAndAFileNone)
{
    const std::unique_ptr<CMFileWorker> other = makeFileWorker(fileConfiguration(tree.root(), {"*.m3u"}));
    EXPECT_EQ(
        set(*other, TavoPlayListPrepareItems(), QStringList{id("d")}).value().toList(), files({"d/c.mp3", "d/d.m3u"}));
    EXPECT_EQ(set(*other, TavoPlayListPrepareItems(), QStringList{id("d/d.m3u")}).value().toList(), QVariantList());
}

TEST_F(SetData, AnEmptyValueGivesAnEmptyList)
{
    for (const QVariant& value : {QVariant(), QVariant(QVariantList()), QVariant(QStringList()), QVariant("text")}) {
        for (const CMReply<QVariant>& reply : {playlist(value), library(value)}) {
            EXPECT_TRUE(reply.isFinished());
            EXPECT_FALSE(reply.isError());
            EXPECT_EQ(reply.value().userType(), int(QMetaType::QVariantList));
            EXPECT_EQ(reply.value().toList(), QVariantList());
        }
    }
}

TEST_F(SetData, IdsMayComeInAnySequence)
{
    const QVariantList expected = files({"d/c.mp3", "a.mp3"});
    EXPECT_EQ(library(QStringList{id("d/c.mp3"), id("a.mp3")}).value().toList(), expected);
    EXPECT_EQ(library(QVariantList{id("d/c.mp3"), id("a.mp3")}).value().toList(), expected);
    const QVector<QString> ids = {id("d/c.mp3"), id("a.mp3")};
    EXPECT_EQ(library(QVariant::fromValue(ids)).value().toList(), expected);
    EXPECT_EQ(library(QVariantList{id("d/c.mp3").toUtf8(), id("a.mp3")}).value().toList(), expected);
}

TEST_F(SetData, IdsKeepTheirOrderAndRepeat)
{
    EXPECT_EQ(
        library(QStringList{id("d/d.m3u"), id("a.mp3"), id("d"), id("a.mp3")}).value().toList(),
        files({"d/d.m3u", "a.mp3", "d/c.mp3", "d/d.m3u", "a.mp3"}));
}

TEST_F(SetData, IdsAreEncodedPaths)
{
    tree.addFile("x y#1.mp3");
    EXPECT_EQ(library(QStringList{"/file/x%20y%231.mp3"}).value().toList(), files({"x y#1.mp3"}));
    EXPECT_EQ(library(QStringList{"/whoever/a.mp3"}).value().toList(), files({"a.mp3"}));
}

TEST_F(SetData, ADirectoryIsOneListSortedByCodeUnit)
{
    const QString wide = QString::fromUtf8("\U0001d400.mp3");
    const QString full = QString::fromUtf8("\uff21.mp3");
    for (const QString& file :
         {QString("s/a.mp3"), QString("s/B.mp3"), QString("s/sub/A.mp3"), QString("s/sub-x.mp3"), QString("s/Z/z.mp3"),
          QString("s/10.mp3"), QString("s/9.mp3"), "s/" + wide, "s/" + full})
        tree.addFile(file);
    EXPECT_EQ(
        library(QStringList{id("s")}).value().toList(), files(
                                                            {"s/10.mp3", "s/9.mp3", "s/B.mp3", "s/Z/z.mp3", "s/a.mp3",
                                                             "s/sub-x.mp3", "s/sub/A.mp3", "s/" + wide, "s/" + full}));
}

TEST_F(SetData, ADirectoryGivesWhatAWalkOverItsFilesFinds)
{
    tree.addFile("w/.hidden.mp3");
    tree.addFile("w/.hidden/x.mp3");
    tree.addFile("w/X.MP3");
    tree.addDirectory("w/dir.mp3");
    tree.addLink("w/link", "../d");
    tree.addLink("w/link.mp3", "../a.mp3");
    tree.addLink("w/dangling.mp3", "missing");
    ASSERT_EQ(mkfifo(tree.path("w/pipe.mp3").toUtf8().constData(), 0600), 0);
    const QVariantList items = library(QStringList{id("w")}).value().toList();
    EXPECT_TRUE(items.contains(tree.path("w/X.MP3")));
    EXPECT_TRUE(items.contains(tree.path("w/link.mp3")));
    EXPECT_FALSE(items.contains(tree.path("w/.hidden.mp3")));
    EXPECT_FALSE(items.contains(tree.path("w/link/c.mp3")));
    EXPECT_FALSE(items.contains(tree.path("w/dir.mp3")));
    EXPECT_FALSE(items.contains(tree.path("w/pipe.mp3")));
    QStringList walked;
    QDirIterator walk(tree.path("w"), inside.filterPatterns(), QDir::Files, QDirIterator::Subdirectories);
    while (walk.hasNext())
        walked.append(walk.next());
    walked.sort();
    QVariantList expected;
    for (const QString& file : walked)
        expected.append(file);
    EXPECT_EQ(items, expected);
    EXPECT_EQ(count("w").value(), QVariant(walked.size()));
}

TEST_F(SetData, ALinkToADirectoryIsADirectoryWhereItIsNamed)
{
    tree.addLink("link", "d");
    EXPECT_EQ(library(QStringList{id("link")}).value().toList(), files({"link/c.mp3", "link/d.m3u"}));
}

TEST_F(SetData, ALinkToAFileIsAFileWhereItIsNamed)
{
    tree.addLink("link.mp3", "notes.txt");
    tree.addLink("link.txt", "a.mp3");
    EXPECT_EQ(library(QStringList{id("link.mp3"), id("link.txt")}).value().toList(), files({"link.mp3"}));
}

TEST_F(SetData, AFilesNameIsMatchedWithoutCaseByAnyPattern)
{
    tree.addFile("S.FLAC");
    tree.addFile("mp3");
    tree.addFile("x.mp3/y.txt");
    EXPECT_EQ(
        library(QStringList{id("S.FLAC"), id("mp3"), id("x.mp3/y.txt"), id("d/c.mp3")}).value().toList(),
        files({"S.FLAC", "d/c.mp3"}));
}

TEST_F(SetData, AFilesNameIsMatchedAsQtMatchesNames)
{
    const QStringList names = {"a.mp3", "b.MP3", "c[1].mp3", "^.mp3", "!.mp3", "ab.mp3", "\u00e4.mp3", "a\nb.mp3"};
    for (const QString& name : names)
        tree.addFile(name);
    for (const char* pattern : {"?.mp3", "[^a].mp3", "[!a].mp3", "[a-c]*", "c\\[1\\]*", "[", "", "*.Mp3", "\u00c4*"}) {
        const auto other = makeFileWorker(fileConfiguration(tree.root(), {pattern}));
        for (const QString& name : names) {
            const bool isPrepared =
                !set(*other, TavoMusicLibraryPrepareItems(), QStringList{id(name)}).value().toList().isEmpty();
            EXPECT_EQ(isPrepared, QDir::match(QStringList{pattern}, name)) << pattern << " " << name.toStdString();
        }
    }
}

TEST_F(SetData, AHiddenFileThatIsNamedIsPrepared)
{
    tree.addFile(".h.mp3");
    EXPECT_EQ(library(QStringList{id(".h.mp3")}).value().toList(), files({".h.mp3"}));
}

TEST_F(SetData, IdsOfNothingPlayableAreSkipped)
{
    ASSERT_EQ(mkfifo(tree.path("pipe.mp3").toUtf8().constData(), 0600), 0);
    const CMReply<QVariant> reply =
        library(QStringList{id("missing.mp3"), id("notes.txt"), id("a.mp3"), id("pipe.mp3"), QString("%")});
    EXPECT_EQ(reply.value().toList(), files({"a.mp3"}));
    for (const char* path : {"missing.mp3", "notes.txt", "pipe.mp3", "%"})
        EXPECT_EQ(log.count("unkown type of object: " + tree.path(path)), 1) << path;
}

TEST_F(SetData, AForbiddenDirectoryGivesNothing)
{
    tree.forbid("d");
    const WithoutPrivileges unprivileged;
    const CMReply<QVariant> reply = library(QStringList{id("d"), id("a.mp3")});
    EXPECT_FALSE(reply.isError());
    EXPECT_EQ(reply.value().toList(), files({"a.mp3"}));
}

TEST_F(SetData, AForbiddenFileIsPrepared)
{
    tree.forbid("d/c.mp3");
    const WithoutPrivileges unprivileged;
    EXPECT_EQ(library(QStringList{id("d"), id("d/c.mp3")}).value().toList(), files({"d/c.mp3", "d/d.m3u", "d/c.mp3"}));
}

TEST_F(SetData, TheReaderIsGivenTheRootTheFileTheServiceAndTheRow)
{
    static_cast<void>(library(QStringList{id("d"), id("a.mp3")}));
    ASSERT_EQ(TagReaderHook::calls.size(), 3U);
    const QStringList relative = {"d/c.mp3", "d/d.m3u", "a.mp3"};
    for (size_t i = 0; i < 3; ++i) {
        const TagReaderHook::Call& call = TagReaderHook::calls[i];
        const QString path = tree.path(relative.at(static_cast<int>(i)));
        EXPECT_EQ(call.root, tree.root());
        EXPECT_EQ(call.path, path);
        EXPECT_EQ(call.serviceId, "file");
        EXPECT_EQ(call.rows, values(path, CMAllRoles()));
        EXPECT_EQ(call.rows.size(), CMAllRoles().size());
    }
}

TEST_F(SetData, EveryValueOfTheReaderIsAnItem)
{
    TagReaderHook::item = [](const QString& path) { return path.endsWith("a.mp3") ? QVariant() : QVariant(7); };
    EXPECT_EQ(library(QStringList{id("a.mp3"), id("d")}).value().toList(), (QVariantList{QVariant(), 7, 7}));
}

TEST_F(SetData, PreparationClimbsOutOfTheRoot)
{
    tree.addFile("../other/o.mp3");
    const QString joined = tree.path("../other/o.mp3");
    EXPECT_EQ(library(QStringList{id("../other")}).value().toList(), QVariantList{joined});
    EXPECT_EQ(library(QStringList{id("../other/o.mp3")}).value().toList(), QVariantList{joined});
    ASSERT_EQ(TagReaderHook::calls.size(), 2U);
    for (const TagReaderHook::Call& call : TagReaderHook::calls)
        EXPECT_EQ(call.rows, values(joined, CMAllRoles()));
}

TEST_F(SetData, OutsideTheRootTheReaderIsCalledWithoutARow)
{
    tree.addFile("../other/o.mp3");
    const QString file = QDir::cleanPath(tree.path("../other/o.mp3"));
    const CMReply<QVariant> reply = library(QStringList{id(QFileInfo(file).path()), id(file), id("a.mp3")});
    EXPECT_FALSE(reply.isError());
    EXPECT_EQ(reply.value().toList(), (QVariantList{file, file, tree.path("a.mp3")}));
    ASSERT_EQ(TagReaderHook::calls.size(), 3U);
    EXPECT_EQ(TagReaderHook::calls[0].rows, QVariantList());
    EXPECT_EQ(TagReaderHook::calls[1].rows, QVariantList());
    EXPECT_FALSE(TagReaderHook::calls[2].rows.isEmpty());
}

TEST_F(SetData, ItemsAreMadeByTheReaders)
{
    TagReaderHook::item = nullptr;
    const QVariant item = playlist(QStringList{id("a.mp3")}).value().toList().value(0);
    EXPECT_EQ(
        item,
        PlayListTagReader().readItem(QDir(tree.root()), tree.path("a.mp3"), "file", values("a.mp3", CMAllRoles())));
    EXPECT_EQ(item.toHash().value(TavoRoles::Path()), QVariant(id("a.mp3")));
}

/// The bytes of a length or size as FLAC stores them.
QByteArray bigEndian(int value)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(static_cast<quint32>(value), bytes.data());
    return bytes;
}

QByteArray flacBlock(int type, const QByteArray& content)
{
    return char(type) + bigEndian(content.size()).mid(1) + content;
}

/// A FLAC file without sound, with a front cover of 64 x 64 pixels.
QByteArray flacWithCover()
{
    QImage cover(64, 64, QImage::Format_RGB32);
    cover.fill(Qt::red);
    QBuffer png;
    EXPECT_TRUE(cover.save(&png, "PNG"));
    const QByteArray streamInfo =
        QByteArray::fromHex("10001000000000000000") + QByteArray::fromHex("0ac442f000000000") + QByteArray(16, '\0');
    const QByteArray mimeType = "image/png";
    const int frontCover = 3;
    const int lastBlock = 0x80;
    const QByteArray picture = bigEndian(frontCover) + bigEndian(mimeType.size()) + mimeType + bigEndian(0) +
                               bigEndian(64) + bigEndian(64) + bigEndian(24) + bigEndian(0) +
                               bigEndian(png.data().size()) + png.data();
    return "fLaC" + flacBlock(0, streamInfo) + flacBlock(lastBlock | 6, picture);
}

TEST_F(SetData, TheLibraryScalesCoversToTheAlbumArtWidth)
{
    TagReaderHook::item = nullptr;
    tree.addFile("cover.flac", flacWithCover());
    CMRootWorker& root = CMRootWorker::instance();
    const CMPath setting = TavoMusicLibraryAlbumArtWidth();
    const QVariant before = root.getValue(setting);
    root.setSetting(setting, TavoValue::fromI32(24));
    const std::unique_ptr<CMFileWorker> other = makeFileWorker(fileConfiguration(tree.root()));
    root.setSetting(setting, TavoValue(before));
    const CMReply<QVariant> reply = set(*other, TavoMusicLibraryPrepareItems(), QStringList{id("cover.flac")});
    const QVariantHash item = reply.value().toList().value(0).toHash();
    const TavoMediaData media(item.value(TavoRoles::MediaData()).toHash());
    EXPECT_EQ(media.metaData().field("albumArt").toHash().value("width"), QVariant(24));
}

/// Records how rows are built.
class WatchedWorker : public CMFileWorker
{
public:
    using CMFileWorker::CMFileWorker;

    QVariantList getDataImpl(CMVoidReply& reply, const QString& path, const QStringList& roles) override
    {
        asked.push_back({path, roles, &reply});
        reply.setError(createErrorInvalidPath(addPrefix(path)));
        finished = finished || reply.isFinished();
        return {"built"};
    }

    struct Asked
    {
        QString path;
        QStringList roles;
        const CMVoidReply* reply;
    };
    std::vector<Asked> asked;
    bool finished = false;
};

TEST_F(SetData, RowsComeFromTheVirtualOperationOnAScratchReply)
{
    WatchedWorker watched(fileConfiguration(tree.root()));
    const CMReply<QVariant> reply = set(watched, TavoMusicLibraryPrepareItems(), QStringList{id("d"), id("a.mp3")});
    EXPECT_EQ(reply.value().toList().size(), 3);
    ASSERT_EQ(watched.asked.size(), 3U);
    EXPECT_EQ(watched.asked[0].path, tree.path("d/c.mp3"));
    EXPECT_EQ(watched.asked[1].path, tree.path("d/d.m3u"));
    EXPECT_EQ(watched.asked[2].path, tree.path("a.mp3"));
    EXPECT_EQ(watched.asked[0].reply, watched.asked[1].reply);
    EXPECT_FALSE(watched.finished);
    for (const WatchedWorker::Asked& asked : watched.asked)
        EXPECT_EQ(asked.roles, CMAllRoles());
    for (const TagReaderHook::Call& call : TagReaderHook::calls)
        EXPECT_EQ(call.rows, QVariantList{"built"});
}

TEST_F(SetData, AnyOtherPathIsLeftUnanswered)
{
    const QStringList bases = {
        "",
        "a.mp3",
        "playList",
        TavoPlayListPrepareItems() + "/x",
        TavoPlayListPrepareItems() + "x",
        "menu/context",
        TavoMusicLibraryPrepareItems().toUpper()};
    for (const QString& base : bases)
        EXPECT_FALSE(set(*worker, base, QStringList{id("a.mp3")}).isFinished()) << base.toStdString();
    for (const QString& key :
         {TavoPlayListPrepareItems(), TavoMusicLibraryPrepareItems(), TavoFilesystemCountFilesPathSuffix()}) {
        const CMSetDataRequest request(CMPath("other", key), QStringList{id("a.mp3")});
        worker->setDataRequest(request);
        EXPECT_FALSE(request.reply().isFinished()) << key.toStdString();
    }
    EXPECT_TRUE(TagReaderHook::calls.empty());
}

TEST_F(SetData, NeedsNoLock)
{
    inside.mutex().lock();
    CMReply<QVariant> items;
    CMReply<QVariant> number;
    const std::unique_ptr<QThread> other(QThread::create([&] {
        items = library(QStringList{id("a.mp3")});
        number = count("");
    }));
    other->start();
    other->wait();
    inside.mutex().unlock();
    EXPECT_EQ(items.value().toList(), files({"a.mp3"}));
    EXPECT_EQ(number.value(), QVariant(4));
}

class SetDataLog : public SetData
{
protected:
    [[nodiscard]] LogLine entered(const QString& key) const
    {
        return entryLine(Signature::setDataRequest, "path: " + id(key));
    }
    [[nodiscard]] static QString logged(const QVariantList& list)
    {
        std::ostringstream out;
        out << list;
        return QString::fromStdString(out.str());
    }
};

TEST_F(SetDataLog, OfAPlaylistHasEveryStep)
{
    static_cast<void>(playlist(QStringList{id("d"), id("a.mp3"), id("notes.txt")}));
    const auto& step = Signature::prepareList;
    const QString list = '(' + tree.path("d/c.mp3") + ", " + tree.path("a.mp3") + ')';
    EXPECT_THAT(
        log.lines(),
        ElementsAre(
            entered(TavoPlayListPrepareItems()),
            debugLine(Signature::prepareRequest, "prepare items: (/file/d, /file/a.mp3, /file/notes.txt)"),
            entryLine(step), traceLine(step, "itemId: /file/d"), traceLine(step, "absolutePath: " + tree.path("d")),
            traceLine(step, "item is a dir: going through on subdirectories"), entryLine(Signature::getDataImpl),
            traceLine(step, "Item: " + tree.path("d/c.mp3")), traceLine(step, "itemId: /file/a.mp3"),
            traceLine(step, "absolutePath: " + tree.path("a.mp3")), traceLine(step, "item is a file"),
            entryLine(Signature::getDataImpl), traceLine(step, "Item: " + tree.path("a.mp3")),
            traceLine(step, "itemId: /file/notes.txt"), traceLine(step, "absolutePath: " + tree.path("notes.txt")),
            traceLine(step, "unkown type of object: " + tree.path("notes.txt")), traceLine(step, "res: " + list),
            traceLine(Signature::prepareRequest, "preparedItems: " + list)));
}

TEST_F(SetDataLog, OfTheLibraryInforms)
{
    static_cast<void>(library(QStringList()));
    EXPECT_THAT(
        log.lines(),
        ElementsAre(
            entered(TavoMusicLibraryPrepareItems()),
            infoLine(
                Signature::setDataRequest, entryText(Signature::setDataRequest, "Prepare items for music library")),
            debugLine(Signature::prepareRequest, "prepare items: ()"), entryLine(Signature::prepareList),
            traceLine(Signature::prepareList, "res: ()"), traceLine(Signature::prepareRequest, "preparedItems: ()")));
}

TEST_F(SetDataLog, OfACountInforms)
{
    static_cast<void>(count("d"));
    EXPECT_THAT(
        log.lines(), ElementsAre(
                         entered(TavoFilesystemCountFilesPathSuffix()),
                         infoLine(Signature::setDataRequest, "Count files under path: " + tree.path("d")),
                         infoLine(Signature::setDataRequest, "audioFilesNb: 2")));
}

TEST_F(SetDataLog, OfARefusedCountHasThePathFirst)
{
    static_cast<void>(count("/etc"));
    EXPECT_THAT(
        log.lines(), ElementsAre(
                         entered(TavoFilesystemCountFilesPathSuffix()),
                         infoLine(Signature::setDataRequest, "Count files under path: /etc"),
                         entryLine(Signature::errorAccessViolation)));
}

TEST_F(SetDataLog, OfAnyOtherPathIsTheEntryLine)
{
    static_cast<void>(set(*worker, "x", QVariant()));
    EXPECT_THAT(log.lines(), ElementsAre(entered("x")));
}

TEST_F(SetDataLog, IsEmptyAboveInformation)
{
    log.setLevel(log4cplus::WARN_LOG_LEVEL);
    static_cast<void>(library(QStringList{id(""), id("x")}));
    static_cast<void>(playlist(QStringList{id("")}));
    static_cast<void>(count(""));
    EXPECT_THAT(log.lines(), testing::IsEmpty());
}

TEST_F(SetDataLog, PrintsItemsAsTheSdkDoes)
{
    const QVariantHash item = {{"title", "A"}};
    TagReaderHook::item = [&item](const QString& /*path*/) { return item; };
    static_cast<void>(library(QStringList{id("a.mp3")}));
    EXPECT_EQ(log.count("preparedItems: " + logged({item})), 1);
    EXPECT_EQ(log.count("res: " + logged({item})), 1);
}

class Count : public SetData
{
};

TEST_F(Count, IsThatOfTheFilesThatMatchAtAllDepths)
{
    const CMReply<QVariant> reply = count("");
    EXPECT_FALSE(reply.isError());
    EXPECT_EQ(reply.value().userType(), int(QMetaType::Int));
    EXPECT_EQ(reply.value(), QVariant(4));
    EXPECT_EQ(count("d").value(), QVariant(2));
    EXPECT_EQ(count(tree.path("d")).value(), QVariant(2));
}

TEST_F(Count, IsZeroWhereNothingMatches)
{
    tree.addFile("n/x.txt");
    EXPECT_EQ(count("n").value(), QVariant(0));
    EXPECT_EQ(count("missing").value(), QVariant(0));
    EXPECT_EQ(count("missing").value().userType(), int(QMetaType::Int));
}

TEST_F(Count, LeavesOutHiddenFilesDirectoriesAndLinkedDirectories)
{
    tree.addFile("c/.hidden.mp3");
    tree.addDirectory("c/dir.mp3");
    tree.addLink("c/link", "../d");
    tree.addLink("c/file.mp3", "../a.mp3");
    EXPECT_EQ(count("c").value(), QVariant(1));
}

TEST_F(Count, IncludesForbiddenFiles)
{
    tree.forbid("d/c.mp3");
    const WithoutPrivileges unprivileged;
    EXPECT_EQ(count("d").value(), QVariant(2));
}

TEST_F(Count, OfAForbiddenDirectoryIsZero)
{
    tree.forbid("d");
    const WithoutPrivileges unprivileged;
    const CMReply<QVariant> reply = count("d");
    EXPECT_FALSE(reply.isError());
    EXPECT_EQ(reply.value(), QVariant(0));
    EXPECT_EQ(count("").value(), QVariant(2));
}

TEST_F(Count, WithoutPatternsIsThatOfAllFiles)
{
    const std::unique_ptr<CMFileWorker> other = makeFileWorker(fileConfiguration(tree.root(), {}));
    EXPECT_EQ(set(*other, TavoFilesystemCountFilesPathSuffix(), "").value(), QVariant(5));
}

TEST_F(Count, TakesItsPathAsText)
{
    tree.addFile("7/x.mp3");
    EXPECT_EQ(count(7).value(), QVariant(1));
    EXPECT_EQ(count(QVariant()).value(), QVariant(5));
}

TEST_F(Count, ClimbsOutOfTheRoot)
{
    tree.addFile("../other/o.mp3");
    EXPECT_EQ(count("../other").value(), QVariant(1));
    EXPECT_EQ(count(tree.path("../other")).value(), QVariant(1));
}

TEST_F(Count, ASiblingWhoseNameBeginsAsTheRootsIsCounted)
{
    tree.addFile("../root2/o.mp3");
    EXPECT_EQ(count(tree.root() + '2').value(), QVariant(1));
}

TEST_F(Count, OutsideTheRootIsRefusedWithTheAbsolutePath)
{
    tree.addFile("../other/o.mp3");
    const QString other = QDir::cleanPath(tree.path("../other"));
    for (const QString& path : {other, other + "/../root", QString("/")}) {
        const CMReply<QVariant> reply = count(path);
        ASSERT_TRUE(reply.isError());
        EXPECT_TRUE(
            messageHas(reply.error(), "File", "Access violation: path '%1' is outside '%2'", {path, tree.root()}));
        EXPECT_FALSE(reply.value().isValid());
    }
}

class SetDataDeathTest : public SetData
{
};

TEST_F(SetDataDeathTest, ARequestWithoutARecordEndsTheProcess)
{
    EXPECT_DEATH(worker->setDataRequest(CMSetDataRequest()), "ASSERT: \"(m_d|d\\(\\))\"");
}

} // namespace
