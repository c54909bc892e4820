// Files that are made to do harm, each named after its flaw: they cost bounded time and memory, and never end the
// process.

#include "support/cost.h"
#include "support/item.h"

#include "audiofile.h"
#include "printers.h"

#include <QBuffer>
#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include <sys/inotify.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr int million = 1'000'000;
constexpr int megabyte = 1 << 20;

// A sanitizer's own bookkeeping, and the freed memory that it holds back, count with the rest.
#if defined(__SANITIZE_ADDRESS__)
constexpr long instrumented = 6;
#else
constexpr long instrumented = 1;
#endif

/// Far more than any of the files takes, also with a sanitizer; an endless loop takes longer.
constexpr double mostSeconds = 30;

QString mediaPath(const char* file)
{
    return QDir(QStringLiteral(TAVO_TEST_MEDIA)).filePath(QString::fromLatin1(file));
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

class HostileTest : public testing::Test
{
protected:
    [[nodiscard]] QString file(const char* name, const QByteArray& content) const
    {
        QString path = folder.filePath(QString::fromLatin1(name));
        writeFile(path, content);
        return path;
    }

    const QTemporaryDir folder;
};

/// Reads the file with both readers and returns what the library's made of it.
Item readWithinBounds(const QString& file, long mostMegabytes = 128)
{
    Item item((QVariant()));
    const Cost cost = costOf([&] { EXPECT_EQ(playListItem(file).title(), (item = libraryItem(file)).title()); });
    EXPECT_LE(cost.megabytes, mostMegabytes * instrumented) << file.toStdString();
    EXPECT_LE(cost.seconds, mostSeconds) << file.toStdString();
    return item;
}

QByteArray title(const QString& text)
{
    return id3Frame("TIT2", utf8Content(text));
}

TEST_F(HostileTest, FlacPictureThatClaimsFourGigabytes)
{
    const QByteArray comment = vorbisComment({"TITLE=Kettle"});
    QByteArray mimeTypeOfFourGigabytes = flacPicture("x");
    mimeTypeOfFourGigabytes.replace(4, 4, bigEndian(0xFFFFFFF0));
    for (const QByteArray& picture :
         {flacPicture("x", 0xFFFFFFFF), flacPicture("x", 0xFFFFFFE0), mimeTypeOfFourGigabytes}) {
        const Item item = readWithinBounds(file("x.flac", flacFile({{4, comment}, {6, picture}})));
        EXPECT_EQ(item.title(), QStringLiteral("Kettle"));
        EXPECT_TRUE(item.art().isEmpty());
    }
}

TEST_F(HostileTest, FlacBlockThatIsLongerThanTheFile)
{
    QByteArray content = flacFile({{4, vorbisComment({"TITLE=Kettle"})}});
    content.chop(4);
    content += QByteArray("\x06\xff\xff\xff", 4) + flacPicture("x");
    EXPECT_EQ(readWithinBounds(file("x.flac", content)).title(), QStringLiteral("x.flac"));
}

TEST_F(HostileTest, Id3TagOfTwoHundredMegabytesOfZeros)
{
    constexpr qint64 length = 200LL * megabyte;
    const QString path = file("x.mp3", id3Tag({}, length));
    QFile sparse(path);
    ASSERT_TRUE(sparse.resize(10 + length));
    ASSERT_TRUE(sparse.open(QIODevice::Append));
    ASSERT_GT(sparse.write(mpegSound()), 0);
    sparse.close();
    const Item item = readWithinBounds(path);
    EXPECT_EQ(item.title(), QStringLiteral("x.mp3"));
    EXPECT_GT(item.duration(), 900);
}

TEST_F(HostileTest, Id3TagThatIsLongerThanTheFile)
{
    const QString path = file("x.mp3", id3Tag(title(QStringLiteral("Kettle")), (1 << 28) - 1) + mpegSound());
    EXPECT_EQ(readWithinBounds(path).title(), QStringLiteral("Kettle"));
}

TEST_F(HostileTest, Id3TagsOneAfterTheOtherWithoutEnd)
{
    readWithinBounds(file("x.mp3", id3Tag(title(QStringLiteral("Kettle"))) + id3Tag({}).repeated(million)));
}

TEST_F(HostileTest, Id3TagOfTinyFrames)
{
    // 18 MB of them.
    QByteArray frames = title(QStringLiteral("Kettle")) + id3Frame("ZZZZ", "x").repeated(800'000);
    frames += id3Frame("TIT2", utf8Content(QStringLiteral("x"))).repeated(800'000);
    EXPECT_EQ(readWithinBounds(file("x.mp3", id3Tag(frames) + mpegSound())).title(), QStringLiteral("Kettle"));
}

/// Frames in frames: a chapter holds an id, its times and frames.
QByteArray nestedChapters(int depth)
{
    constexpr int overhead = 10 + 2 + 16;
    QByteArray frames;
    for (int level = depth; level > 0; --level) {
        QByteArray header = id3Frame("CHAP", {});
        header.replace(4, 4, id3Tag({}, qint64(level) * overhead - 10).mid(6, 4));
        frames += header + QByteArray("a\0", 2) + QByteArray(16, '\0');
    }
    return frames;
}

TEST_F(HostileTest, ChaptersNestedWithoutEnd)
{
    const QByteArray tag = id3Tag(title(QStringLiteral("Kettle")) + nestedChapters(200'000));
    EXPECT_EQ(readWithinBounds(file("x.mp3", tag + mpegSound())).title(), QStringLiteral("Kettle"));
    EXPECT_EQ(readWithinBounds(file("x.wav", wavFile(riffChunk("ID3 ", tag)))).title(), QStringLiteral("Kettle"));
    EXPECT_EQ(readWithinBounds(file("x.flac", tag + flacFile({}))).title(), QStringLiteral("Kettle"));
}

/// `content` packed, behind the length that it unpacks to.
QByteArray packed(const QByteArray& content)
{
    return id3Tag({}, 100).mid(6, 4) + qCompress(content, 9).mid(4);
}

TEST_F(HostileTest, FrameThatUnpacksToHundredsOfMegabytes)
{
    constexpr quint16 compressed = 0x0009;
    const QByteArray bomb = packed(QByteArray(256 * megabyte, 'x'));
    for (const char* id : {"TPE1", "APIC", "PRIV"}) {
        const QByteArray tag = id3Tag(title(QStringLiteral("Kettle")) + id3Frame(id, bomb, compressed));
        EXPECT_EQ(readWithinBounds(file("x.mp3", tag + mpegSound())).title(), QStringLiteral("Kettle")) << id;
        EXPECT_EQ(readWithinBounds(file("x.wav", wavFile(riffChunk("id3 ", tag)))).title(), QStringLiteral("Kettle"))
            << id;
    }
}

TEST_F(HostileTest, FramesWhoseDataClaimToReachBeyondThem)
{
    constexpr quint16 hasLength = 0x0001;
    const QByteArray frame = id3Frame("TPE1", QByteArray("\x7f\x7f\x7f\x7f\3x", 6), hasLength);
    const QByteArray tag =
        id3Tag(title(QStringLiteral("Kettle")) + frame.repeated(4000) + QByteArray(10 * megabyte, 'x'));
    EXPECT_EQ(readWithinBounds(file("x.mp3", tag + mpegSound())).title(), QStringLiteral("Kettle"));
}

QByteArray mp4Value(const QByteArray& text)
{
    return mp4Atom("data", bigEndian(1) + bigEndian(0) + text);
}

QByteArray mp4Entry(const char* name, const QByteArray& text)
{
    return mp4Atom(name, mp4Value(text));
}

TEST_F(HostileTest, TextTagOfTenMegabytes)
{
    const QByteArray text(10 * megabyte, 'x');
    const QStringList files = {
        file("x.mp3", id3Tag(id3Frame("TIT2", '\3' + text)) + mpegSound()),
        file("x.flac", flacFile({{4, vorbisComment({"TITLE=" + text})}})),
        file("x.ogg", oggFile(vorbisComment({"TITLE=" + text.left(5 * megabyte)}))),
        file("x.m4a", mp4File(mp4Entry("\251nam", text))),
        file("x.wav", wavFile(riffChunk("LIST", "INFO" + riffChunk("INAM", text)))),
        file("y.mp3", mpegSound() + apeTag({{"Title", text}}))};
    for (const QString& path : files) {
        const QString shown = readWithinBounds(path).title();
        EXPECT_LE(shown.size(), 4096) << path.toStdString();
        EXPECT_FALSE(shown.isEmpty()) << path.toStdString();
    }
}

TEST_F(HostileTest, LongTextDoesNotHideTheTitleBehindIt)
{
    const QByteArray lyrics(megabyte, 'x');
    const QStringList files = {
        file("x.mp3", id3Tag(id3Frame("TPE1", '\3' + lyrics) + title(QStringLiteral("Kettle"))) + mpegSound()),
        file("x.flac", flacFile({{4, vorbisComment({"LYRICS=" + lyrics, "TITLE=Kettle"})}})),
        file("x.ogg", oggFile(vorbisComment({"LYRICS=" + lyrics, "TITLE=Kettle"}))),
        file("x.m4a", mp4File(mp4Entry("\251lyr", lyrics) + mp4Entry("\251nam", "Kettle"))),
        file("y.mp3", mpegSound() + apeTag({{"Lyrics", lyrics}, {"Title", "Kettle"}}))};
    for (const QString& path : files)
        EXPECT_EQ(readWithinBounds(path).title(), QStringLiteral("Kettle")) << path.toStdString();
}

TEST_F(HostileTest, TextTagOfMillionsOfTexts)
{
    const QByteArray texts = QByteArray("x\0", 2).repeated(5 * million);
    const QStringList files = {
        file("x.mp3", id3Tag(id3Frame("TIT2", '\3' + texts)) + mpegSound()),
        file("y.mp3", id3Tag(id3Frame("TIT2", '\3' + texts.left(200'000)).repeated(50)) + mpegSound()),
        file("z.mp3", mpegSound() + apeTag({{"Title", texts}})),
        file("x.m4a", mp4File(mp4Atom("\251nam", mp4Value("x").repeated(million / 2)))),
        file("y.m4a", mp4File(mp4Atom("\251nam", mp4Value("x").repeated(10'000)).repeated(60)))};
    for (const QString& path : files)
        EXPECT_LE(readWithinBounds(path).title().size(), 4096) << path.toStdString();
}

TEST_F(HostileTest, TagOfMillionsOfFields)
{
    QByteArrayList fields;
    KeysAndValues items;
    QByteArray chunks;
    for (int i = 0; i < million; ++i) {
        const QByteArray name = QByteArray::number(i, 36).rightJustified(4, 'Z').toUpper();
        fields.append(name + "=x");
        items.append({name, "x"});
        chunks += riffChunk(name.constData(), "xx");
    }
    const QStringList files = {
        file("x.flac", flacFile({{4, vorbisComment(fields)}})), file("x.ogg", oggFile(vorbisComment(fields))),
        file("x.mp3", mpegSound() + apeTag(items)), file("x.wav", wavFile(riffChunk("LIST", "INFO" + chunks)))};
    for (const QString& path : files)
        readWithinBounds(path, 192);
}

TEST_F(HostileTest, TextThatIsNoUtf16)
{
    const QByteArray bigEndianMark("\xfe\xff", 2);
    const QList<QByteArray> texts = {
        QByteArray("\xd8\x00", 2),                 // half a character
        QByteArray("\xdc\x00\xd8\x00\x00\x61", 6), // halves in the wrong order
        QByteArray("\x00\x61\xd8\x00", 4),         // the second half is missing
        QByteArray("\x00\x61\x00", 3),             // half a code unit
        QByteArray("\xff\xff\xff\xfe", 4)};
    for (const QByteArray& text : texts) {
        for (const QByteArray& mark : {bigEndianMark, QByteArray("\xff\xfe", 2), QByteArray()}) {
            const QString shown =
                readWithinBounds(file("x.mp3", id3Tag(id3Frame("TIT2", '\1' + mark + text)) + mpegSound())).title();
            EXPECT_TRUE(shown.isValidUtf16());
            EXPECT_FALSE(shown.isEmpty());
            const QByteArray json = QJsonDocument(QJsonObject{{QStringLiteral("title"), shown}}).toJson();
            EXPECT_EQ(QJsonDocument::fromJson(json).object().value(QLatin1String("title")).toString(), shown);
        }
    }
}

TEST_F(HostileTest, TextThatIsNoUtf8)
{
    const QByteArray tag = id3Tag(id3Frame("TIT2", QByteArray("\3\xc3\x28\xff", 4)));
    EXPECT_EQ(readWithinBounds(file("x.mp3", tag + mpegSound())).title(), QStringLiteral("x.mp3"));
}

TEST_F(HostileTest, TextThatEndsInHalfACharacterWhenCutOff)
{
    const QString text = QString(4095, QLatin1Char('x')) + QString::fromUtf8("\xf0\x9f\x8e\xb5");
    EXPECT_TRUE(readWithinBounds(file("x.mp3", id3Tag(title(text)) + mpegSound())).title().isValidUtf16());
}

QByteArray nestedAtoms(const char* name, int depth)
{
    QByteArray atoms;
    for (int level = depth; level > 0; --level)
        atoms += mp4Atom(name, {}, 8LL * level);
    return atoms;
}

TEST_F(HostileTest, AtomsNestedWithoutEnd)
{
    const QByteArray type = mp4Atom("ftyp", "M4A ");
    for (const char* name : {"moov", "trak", "stbl"}) {
        const QByteArray nested = nestedAtoms(name, million);
        readWithinBounds(file("x.m4a", type + mp4Atom("moov", nested)));
        readWithinBounds(file("y.m4a", nested));
    }
}

TEST_F(HostileTest, AtomsThatAllClaimToFillTheFile)
{
    readWithinBounds(file("x.m4a", mp4Atom("ftyp", "M4A ") + mp4Atom("moov", {}, 0).repeated(million)));
    readWithinBounds(file("y.m4a", mp4Atom("ftyp", "M4A ") + mp4Atom("moov", {}, 0xFFFFFFFF).repeated(million)));
}

TEST_F(HostileTest, AtomsByTheMillion)
{
    const QByteArray atoms = mp4Atom("free", {}).repeated(4 * million);
    readWithinBounds(file("x.m4a", mp4Atom("ftyp", "M4A ") + atoms));
    readWithinBounds(file("y.m4a", mp4Atom("ftyp", "M4A ") + mp4Atom("moov", atoms)));
}

TEST_F(HostileTest, ChunksByTheMillion)
{
    readWithinBounds(file("x.wav", wavFile(riffChunk("abcd", {}).repeated(4 * million))));
    readWithinBounds(file("y.wav", wavFile(riffChunk("LIST", "INFO" + riffChunk("abcd", {}).repeated(million)))), 256);
}

TEST_F(HostileTest, WavPackBlocksThatLeadBackToThemselves)
{
    // The sum of a block's size and its header's is 2^32.
    QByteArray block = "wvpk" + littleEndian(0xFFFFFFF8);
    block.append(QByteArray(24, '\0'));
    readWithinBounds(file("x.wv", block));
}

TEST_F(HostileTest, AsfAttributesThatAreCountedButNotThere)
{
    const QByteArray album = asfAttribute(QStringLiteral("WM/AlbumTitle"), QStringLiteral("Kettle"), 0xFFFF);
    const Item item = readWithinBounds(file("x.wma", asfFile({album})), 12);
    EXPECT_EQ(item.metaData().value(QStringLiteral("album")), QStringLiteral("Kettle"));
    for (const char* kind : {"eacbf8c5af5b77488467aa8c44fa4cca", "941c23449894d149a1411d134e457054"}) {
        const QByteArray attributes = asfObject(kind, "\xff\xff");
        const QByteArray size = littleEndian(static_cast<quint32>(attributes.size()));
        const QByteArray extension = QByteArray(18, '\0') + size + attributes;
        readWithinBounds(file("x.wma", asfFile({asfObject("b503bf5f2ea9cf118ee300c00c205365", extension)})), 12);
    }
}

TEST_F(HostileTest, SoundThatNeverStarts)
{
    // What looks like the start of a frame, over and over.
    readWithinBounds(file("x.mp3", QByteArray("\xff\xfb").repeated(20 * million)));
    readWithinBounds(file("y.mp3", id3Tag(title(QStringLiteral("Kettle"))) + QByteArray(60 * megabyte, '\0')));
}

TEST_F(HostileTest, FileOfManyTerabytesOfNothing)
{
    for (const char* name : {"x.mp3", "x.flac", "x.ogg", "x.m4a", "x.wav", "x.wma", "x.ape", "x.wv", "x.aiff"}) {
        const QString path = file(name, id3Tag(title(QStringLiteral("Kettle"))) + mpegSound());
        ASSERT_TRUE(QFile(path).resize(qint64(4) << 40)) << name;
        readWithinBounds(path);
    }
}

/// The picture's file, as if it were of that size.
QByteArray resizedJpeg(QByteArray jpeg, quint16 width, quint16 height)
{
    const int frame = jpeg.indexOf("\xff\xc0");
    EXPECT_GE(frame, 0);
    return jpeg.replace(frame + 5, 4, bigEndian(static_cast<quint32>(height) << 16 | width));
}

QByteArray smallPicture(const char* format)
{
    QImage image(64, 64, QImage::Format_RGB32);
    image.fill(Qt::green);
    QByteArray bytes;
    QBuffer out(&bytes);
    EXPECT_TRUE(image.save(&out, format));
    return bytes;
}

TEST_F(HostileTest, CoverOf30000By30000Pixels)
{
    const QByteArray png = contentOf(mediaPath("parts/30000x30000.png"));
    ASSERT_LT(png.size(), megabyte);
    QByteArray bmp = smallPicture("bmp");
    bmp.replace(18, 8, littleEndian(30000) + littleEndian(30000));
    const QByteArray gif = QByteArray("GIF89a\x30\x75\x30\x75\0\0\0,\0\0\0\0\x30\x75\x30\x75\0\2\1\0\0;", 27);
    for (const QByteArray& cover : {png, resizedJpeg(smallPicture("jpeg"), 30000, 30000), bmp, gif}) {
        const QByteArray tag = id3Tag(title(QStringLiteral("Kettle")) + id3Frame("APIC", pictureContent(cover)));
        const Item item = readWithinBounds(file("x.mp3", tag + mpegSound()));
        EXPECT_EQ(item.title(), QStringLiteral("Kettle"));
        EXPECT_TRUE(item.art().isEmpty());
    }
}

TEST_F(HostileTest, CoverOfThousandsOfScans)
{
    const QByteArray jpeg = smallPicture("jpeg");
    const int scan = jpeg.indexOf("\xff\xda");
    const QByteArray again = jpeg.mid(scan, jpeg.size() - scan - 2);
    const QByteArray cover = resizedJpeg(jpeg.left(scan), 4000, 4000) + again.repeated(5000) + "\xff\xd9";
    const QByteArray tag = id3Tag(id3Frame("APIC", pictureContent(cover)));
    EXPECT_TRUE(readWithinBounds(file("x.mp3", tag + mpegSound())).art().isEmpty());
}

TEST_F(HostileTest, CoverOfTwentyMegabytes)
{
    const QByteArray cover = smallPicture("png") + QByteArray(20 * megabyte, 'x');
    const QByteArray tag = id3Tag(title(QStringLiteral("Kettle")) + id3Frame("APIC", pictureContent(cover)));
    EXPECT_EQ(readWithinBounds(file("x.mp3", tag + mpegSound())).title(), QStringLiteral("Kettle"));
}

/// Tells whether a file is opened.
class OpenWatch
{
public:
    explicit OpenWatch(const QString& path) : m_queue(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    {
        EXPECT_GE(inotify_add_watch(m_queue, QFile::encodeName(path).constData(), IN_OPEN), 0);
    }
    ~OpenWatch() { close(m_queue); }
    Q_DISABLE_COPY(OpenWatch)

    [[nodiscard]] bool wasOpened() const
    {
        char event[sizeof(inotify_event) + 256];
        return read(m_queue, event, sizeof(event)) > 0;
    }

private:
    int m_queue;
};

TEST_F(HostileTest, FifoNamedAsAudioIsNotOpened)
{
    for (const char* name : {"x.mp3", "x.flac", "x.m4a"}) {
        const QString path = folder.filePath(QString::fromLatin1(name));
        ASSERT_EQ(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        const OpenWatch watch(path);
        EXPECT_EQ(readWithinBounds(path).title(), QString::fromLatin1(name));
        EXPECT_FALSE(watch.wasOpened());
    }
}

TEST_F(HostileTest, DeviceNamedAsAudioIsNotRead)
{
    for (const char* device : {"/dev/zero", "/dev/random", "/dev/tty"}) {
        const QString path =
            folder.filePath(QFileInfo(QString::fromLatin1(device)).fileName() + QStringLiteral(".mp3"));
        ASSERT_TRUE(QFile::link(QString::fromLatin1(device), path));
        EXPECT_EQ(readWithinBounds(path).title(), QFileInfo(path).fileName());
    }
}

TEST_F(HostileTest, SocketNamedAsAudioIsNotRead)
{
    const QByteArray path = QFile::encodeName(folder.filePath(QStringLiteral("x.mp3")));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    ASSERT_LT(static_cast<size_t>(path.size()), sizeof(address.sun_path));
    std::copy(path.begin(), path.end(), address.sun_path);
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    EXPECT_EQ(readWithinBounds(QFile::decodeName(path)).title(), QStringLiteral("x.mp3"));
    close(listener);
}

TEST_F(HostileTest, DirectoryNamedAsAudioIsNotRead)
{
    ASSERT_TRUE(QDir(folder.path()).mkdir(QStringLiteral("x.mp3")));
    EXPECT_EQ(readWithinBounds(folder.filePath(QStringLiteral("x.mp3"))).title(), QStringLiteral("x.mp3"));
}

TEST_F(HostileTest, LinkToItselfIsNotRead)
{
    const QString path = folder.filePath(QStringLiteral("x.mp3"));
    ASSERT_TRUE(QFile::link(path, path));
    EXPECT_EQ(readWithinBounds(path).title(), QStringLiteral("x.mp3"));
}

QFileInfoList allMedia()
{
    return QDir(QStringLiteral(TAVO_TEST_MEDIA)).entryInfoList({QStringLiteral("*.*")}, QDir::Files);
}

TEST_F(HostileTest, FilesCutOffAnywhere)
{
    ASSERT_FALSE(allMedia().isEmpty());
    for (const QFileInfo& info : allMedia()) {
        const QByteArray content = contentOf(info.filePath());
        QList<int> lengths;
        for (int length = 0; length < 64; ++length)
            lengths.append(length);
        for (int part = 1; part < 40; ++part)
            lengths.append(static_cast<int>(qint64(content.size()) * part / 40));
        for (const int length : lengths)
            readWithinBounds(file(qPrintable(info.fileName()), content.left(length)));
    }
}

TEST_F(HostileTest, FilesWithBytesChangedAtRandom)
{
    ASSERT_FALSE(allMedia().isEmpty());
    std::mt19937 random(20);
    for (const QFileInfo& info : allMedia()) {
        const QByteArray content = contentOf(info.filePath());
        // Tags and headers stand at the ends of a file.
        std::uniform_int_distribution<int> place(0, std::min(content.size(), 4096) - 1);
        for (int round = 0; round < 40; ++round) {
            QByteArray changed = content;
            for (int i = 0; i <= round; ++i) {
                const int at = place(random);
                const int index = random() % 4 == 0 ? changed.size() - 1 - at : at;
                changed[index] = random() % 2 == 0 ? '\xff' : static_cast<char>(random() & 0xFF);
            }
            readWithinBounds(file(qPrintable(info.fileName()), changed));
        }
    }
}

} // namespace
