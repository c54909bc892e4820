#include "http/filepart.h"
#include "support/temporarytree.h"

#include <QFile>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <csignal>

#include <fcntl.h>
#include <sys/socket.h>

namespace {

class FilePartTest : public testing::Test
{
protected:
    FilePartTest()
    {
        // As the program does it.
        static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
        std::array<int, 2> ends{};
        const int made = socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data());
        Q_ASSERT(made == 0);
        client = FileDescriptor(ends[0]);
        server = FileDescriptor(ends[1]);
    }

    [[nodiscard]] FilePart part(const QByteArray& content, qint64 first, qint64 length)
    {
        tree.addFile(name, content);
        auto file = std::make_shared<MediaFile>();
        file->descriptor =
            FileDescriptor(open(QFile::encodeName(tree.absolute(name)).constData(), O_RDONLY | O_CLOEXEC));
        return {std::move(file), first, length};
    }

    /// What the client has received so far.
    void receive()
    {
        std::array<char, 65536> bytes{};
        for (ssize_t size = 1; size > 0;) {
            size = recv(client.get(), bytes.data(), bytes.size(), 0);
            received.append(bytes.data(), static_cast<int>(std::max(size, ssize_t{0})));
        }
    }

    /// Sends until the end or a failure.
    [[nodiscard]] FilePart::Step sendAll(FilePart& file)
    {
        for (;;) {
            const FilePart::Step step = file.send(server.get());
            receive();
            if (step == FilePart::Step::Cold)
                file.load();
            else if (step != FilePart::Step::SocketFull && step != FilePart::Step::Again)
                return step;
        }
    }

    const QString name = QStringLiteral("file");
    TemporaryTree tree;
    FileDescriptor client;
    FileDescriptor server;
    QByteArray received;
};

QByteArray numbers(int count)
{
    QByteArray text;
    for (int i = 0; i < count; ++i)
        text += QByteArray::number(i) + ' ';
    return text;
}

TEST_F(FilePartTest, SendsThePart)
{
    const QByteArray content = numbers(600'000);
    FilePart file = part(content, 12'345, 3'456'789);
    EXPECT_EQ(sendAll(file), FilePart::Step::Done);
    EXPECT_TRUE(received == content.mid(12'345, 3'456'789));
    EXPECT_EQ(file.sent(), 3'456'789);
}

TEST_F(FilePartTest, WaitsForASocketThatIsFull)
{
    FilePart file = part(QByteArray(4 << 20, 'x'), 0, 4 << 20);
    FilePart::Step step = FilePart::Step::Cold;
    while (step == FilePart::Step::Cold || step == FilePart::Step::Again) {
        file.load();
        step = file.send(server.get());
    }
    EXPECT_EQ(step, FilePart::Step::SocketFull);
    EXPECT_GT(file.sent(), 0);
}

TEST_F(FilePartTest, FailsWhenTheFileHasBecomeShorter)
{
    FilePart file = part(QByteArray(1000, 'x'), 0, 2000);
    EXPECT_EQ(sendAll(file), FilePart::Step::Failed);
    EXPECT_EQ(received.size(), 1000);
}

TEST_F(FilePartTest, FailsWhenTheClientIsGone)
{
    FilePart file = part(QByteArray(1000, 'x'), 0, 1000);
    client = FileDescriptor();
    file.load();
    EXPECT_EQ(file.send(server.get()), FilePart::Step::Failed);
}

TEST_F(FilePartTest, SendsTheHeadFirst)
{
    FilePart file = part("0123456789", 2, 5);
    file.setHead("head ");
    EXPECT_EQ(sendAll(file), FilePart::Step::Done);
    EXPECT_EQ(received, "head 23456");
    EXPECT_EQ(file.sent(), 5);
}

TEST_F(FilePartTest, SendsALongHeadInPieces)
{
    const QByteArray head = numbers(600'000);
    FilePart file = part("0123456789", 2, 5);
    file.setHead(head);
    EXPECT_EQ(file.send(server.get()), FilePart::Step::SocketFull);
    EXPECT_EQ(file.sent(), 0);
    receive();
    EXPECT_EQ(sendAll(file), FilePart::Step::Done);
    EXPECT_TRUE(received == head + "23456");
}

} // namespace
