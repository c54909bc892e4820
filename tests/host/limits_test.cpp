// How much one client, and one command, may take of the machine.

#include "support/sessionclient.h"
#include "support/tavo.h"
#include "support/temporarytree.h"

#include "printers.h"

#include <QBuffer>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRandomGenerator>

#include <gtest/gtest.h>

#include <algorithm>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// kB.
constexpr int megabyte = 1024;

/// A picture that no encoder makes smaller.
QByteArray noise(int width)
{
    QImage image(width, width, QImage::Format_RGB888);
    QRandomGenerator random(1);
    for (int y = 0; y < width; ++y) {
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, random.generate());
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    const bool saved = image.save(&buffer, "PNG");
    Q_ASSERT(saved);
    return bytes;
}

QByteArray bigEndian(int number, int bits)
{
    QByteArray bytes;
    for (int shift = 3 * bits; shift >= 0; shift -= bits)
        bytes.append(static_cast<char>((number >> shift) & ((1 << bits) - 1)));
    return bytes;
}

/// An ID3v2.3 tag with nothing but a front cover.
QByteArray tagWithCover(const QByteArray& picture)
{
    const QByteArray body = QByteArray("\0image/png\0\3\0", 13) + picture;
    const QByteArray frame = "APIC" + bigEndian(body.size(), 8) + QByteArray(2, '\0') + body;
    return QByteArray("ID3\3\0\0", 6) + bigEndian(frame.size(), 7) + frame;
}

QJsonObject resultOf(const QJsonObject& answer)
{
    EXPECT_TRUE(answer.contains(QLatin1String("result"))) << QJsonDocument(answer).toJson().toStdString();
    return answer.value(QLatin1String("result")).toObject();
}

/// A file whose cover makes an item of more than 1 MB.
class LargeCovers : public testing::Test
{
protected:
    LargeCovers()
    {
        tree.addFile(QStringLiteral("song.mp3"), tagWithCover(noise(1200)));
        client.start(
            {QStringLiteral("--album-art-width"), QStringLiteral("1200"), QStringLiteral("--root"), tree.root()});
    }

    [[nodiscard]] QJsonObject prepare(int copies)
    {
        QJsonArray ids;
        for (int i = 0; i < copies; ++i)
            ids.append(QStringLiteral("/file/song.mp3"));
        const QJsonArray parameters{QStringLiteral("/file/musicLibrary/prepareItems"), ids};
        return client.call(QStringLiteral("set"), parameters);
    }

    TemporaryTree tree;
    SessionClient client;
};

TEST_F(LargeCovers, AreAnsweredUpToTheLimit)
{
    const QJsonObject answer = prepare(8);
    EXPECT_EQ(answer.value(QLatin1String("result")).toArray().size(), 8);
    EXPECT_GT(QJsonDocument(answer).toJson().size(), 8 * 1024 * 1024);
    EXPECT_EQ(errorCode(prepare(16)), -32003);
}

TEST_F(LargeCovers, OfManyItemsAreRefusedWithLittleMemory)
{
    EXPECT_EQ(errorCode(prepare(1000)), -32003);
    EXPECT_EQ(errorCode(prepare(1001)), -32602);
    EXPECT_EQ(errorCode(prepare(1700)), -32602);
    const int peak = client.program().memory("VmHWM");
    RecordProperty("kB", peak);
    EXPECT_GT(peak, 0);
    EXPECT_LT(peak, 80 * megabyte);
    EXPECT_EQ(client.program().finish().status, 0);
}

/// A directory with very many files.
class LargeDirectory : public testing::Test
{
protected:
    static constexpr int files = 60'000;
    static constexpr int rowsOfAnAnswer = 100'000 / 7;

    LargeDirectory()
    {
        const int directory = open(tree.root().toUtf8().constData(), O_PATH | O_CLOEXEC);
        for (int i = 0; i < files; ++i) {
            const int file = openat(directory, nameOf(i).toUtf8().constData(), O_CREAT | O_WRONLY | O_CLOEXEC, S_IRUSR);
            Q_ASSERT(file >= 0);
            close(file);
        }
        close(directory);
    }

    [[nodiscard]] static QString nameOf(int number)
    {
        return QStringLiteral("%1.mp3").arg(number, 6, 10, QLatin1Char('0'));
    }

    [[nodiscard]] QStringList options() const { return {QStringLiteral("--root"), tree.root()}; }

    [[nodiscard]] Outcome browse(const char* more) const
    {
        const QStringList command = {QStringLiteral("browse"), QStringLiteral("--roles"), QStringLiteral("title")};
        const QStringList rest = QString::fromUtf8(more).split(QLatin1Char(' '), Qt::SkipEmptyParts);
        return runTavo(options() + command + rest);
    }

    /// The lines of a table, or the rows of a page, are those of the files from `first` on.
    static void expectTitles(const QStringList& titles, int first, int count)
    {
        ASSERT_EQ(titles.size(), count);
        for (int i = 0; i < count; ++i)
            ASSERT_EQ(titles.at(i), nameOf(first + i));
    }

    static QStringList titlesIn(const QJsonObject& page, int column)
    {
        QStringList titles;
        for (const QJsonValue row : page.value(QLatin1String("rows")).toArray())
            titles.append(row.toArray().at(column).toString());
        return titles;
    }

    /// By how much the peak exceeds the memory at the beginning, in kB; also for the record.
    int growthOf(SessionClient& client, int before, const char* moment)
    {
        const int growth = client.program().memory("VmHWM") - before;
        RecordProperty(moment, growth);
        return growth;
    }

    TemporaryTree tree;
};

TEST_F(LargeDirectory, IsReadInAnswersOfManyRowsEach)
{
    SessionClient client(options());
    const auto request = [&client](int first) {
        return client.request(QStringLiteral("rows"), QJsonArray{QStringLiteral("/file/"), first});
    };
    static_cast<void>(client.call(QStringLiteral("describe")));
    const int before = client.program().memory("VmRSS");
    ASSERT_GT(before, 0);
    QJsonObject page = resultOf(client.answerTo(request(0)));
    EXPECT_LT(growthOf(client, before, "one"), 35 * megabyte);
    for (int first = 0; first < files; page = resultOf(client.answerTo(request(first)))) {
        EXPECT_EQ(page.value(QLatin1String("count")).toInt(), files);
        const int count = std::min(rowsOfAnAnswer, files - first);
        expectTitles(titlesIn(page, 1), first, count);
        first += count;
    }
    QList<int> requests;
    while (requests.size() < 4)
        requests.append(request(requests.size()));
    for (int i = 0; i < requests.size(); ++i)
        expectTitles(titlesIn(resultOf(client.answerTo(requests.at(i))), 1), i, rowsOfAnAnswer);
    // Each of the four may take what one does.
    EXPECT_LT(growthOf(client, before, "four"), 4 * 35 * megabyte);
    const QJsonArray twoRoles{QStringLiteral("title"), QStringLiteral("type")};
    const QJsonArray titles{QStringLiteral("/file/"), 0, files, 0, twoRoles};
    expectTitles(titlesIn(resultOf(client.call(QStringLiteral("rows"), titles)), 0), 0, 50'000);
}

TEST_F(LargeDirectory, IsPrintedWholeOrInPart)
{
    const auto linesIn = [](const Outcome& outcome) {
        EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
        return QString::fromUtf8(outcome.output).split(QLatin1Char('\n'), Qt::SkipEmptyParts).mid(1);
    };
    expectTitles(linesIn(browse("")), 0, files);
    expectTitles(linesIn(browse("--first 10 --last 55000")), 10, 55'000 - 10 + 1);
    const QJsonObject page = QJsonDocument::fromJson(browse("--json").output).object();
    EXPECT_EQ(page.value(QLatin1String("count")).toInt(), files);
    expectTitles(titlesIn(page, 0), 0, files);
}

} // namespace
