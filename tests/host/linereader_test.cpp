#include "stdio/linereader.h"

#include "support/pipe.h"

#include "printers.h"

#include <QFile>

#include <gtest/gtest.h>

#include <thread>

namespace {

using Kind = LineReader::Line::Kind;

constexpr int limit = 100;

class LineReaderTest : public testing::Test
{
protected:
    void expectText(const QByteArray& text)
    {
        const LineReader::Line line = m_reader.next();
        EXPECT_EQ(line.kind, Kind::Text);
        EXPECT_EQ(line.text, text);
    }

    void expect(Kind kind) { EXPECT_EQ(m_reader.next().kind, kind); }

    Pipe m_pipe;
    LineReader m_reader{m_pipe.readingEnd(), limit};
};

TEST_F(LineReaderTest, LinesComeWithoutTheirEnds)
{
    m_pipe.write("one\n\ntwo\r\n");
    m_pipe.closeWritingEnd();
    expectText("one");
    expectText("");
    expectText("two\r");
    expect(Kind::End);
    expect(Kind::End);
}

TEST_F(LineReaderTest, LastLineNeedsNoEnd)
{
    m_pipe.write("one\nrest");
    m_pipe.closeWritingEnd();
    expectText("one");
    expectText("rest");
    expect(Kind::End);
}

TEST_F(LineReaderTest, LineInPiecesIsPutTogether)
{
    std::thread writer([this] {
        for (const char c : QByteArray("slow\nline\n"))
            m_pipe.write(QByteArray(1, c));
    });
    expectText("slow");
    expectText("line");
    writer.join();
}

TEST_F(LineReaderTest, NulsAreKept)
{
    const QByteArray text("a\0b", 3);
    m_pipe.write(text + '\n');
    expectText(text);
}

TEST_F(LineReaderTest, LineMayBeAsLongAsTheLimit)
{
    m_pipe.write(QByteArray(limit, 'x') + '\n');
    expectText(QByteArray(limit, 'x'));
}

TEST_F(LineReaderTest, LineLongerThanTheLimitIsToldOfOnceAndPassedOver)
{
    m_pipe.write(QByteArray(limit + 1, 'x') + "\nnext\n");
    expect(Kind::TooLong);
    expectText("next");
}

TEST_F(LineReaderTest, LineWithoutEndIsToldOfBeforeItEnds)
{
    std::thread writer([this] { m_pipe.write(QByteArray(1000000, 'x')); });
    expect(Kind::TooLong);
    std::thread rest([this, &writer] {
        writer.join();
        m_pipe.write("x\nnext\n");
    });
    expectText("next");
    rest.join();
}

TEST_F(LineReaderTest, LongLineMayBeTheLast)
{
    m_pipe.write(QByteArray(limit + 1, 'x'));
    m_pipe.closeWritingEnd();
    expect(Kind::TooLong);
    expect(Kind::End);
}

TEST_F(LineReaderTest, ReadingCanBeCancelledFromAnotherThread)
{
    std::thread canceller([this] { m_reader.cancel(); });
    expect(Kind::End);
    canceller.join();
    expect(Kind::End);
}

TEST(LineReader, WhatCannotBeReadHasEnded)
{
    QFile file(QStringLiteral("/proc/self/mem"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    LineReader reader(file.handle(), limit);
    EXPECT_EQ(reader.next().kind, Kind::End);
}

} // namespace
