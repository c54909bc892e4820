// The stream that TagLib reads a file through.

#include "audiofile.h"

#include "model/cmrequestcontext.h"
#include "tagreader/boundedstream_p.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class BoundedStreamTest : public testing::Test
{
protected:
    void SetUp() override { writeFile(file, QByteArray(100, 'x')); }

    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("x"));
    CMRequestContext context;
    const CMRequestContext::Scope scope{context};
};

TEST_F(BoundedStreamTest, ReadsWhileTheRequestMayContinue)
{
    BoundedStream stream(QFile::encodeName(file));
    EXPECT_EQ(stream.readBlock(10).size(), 10U);
}

TEST_F(BoundedStreamTest, HasNoMoreBytesOnceTheRequestIsCancelled)
{
    BoundedStream stream(QFile::encodeName(file));
    ASSERT_EQ(stream.readBlock(10).size(), 10U);
    context.cancel();
    EXPECT_TRUE(stream.readBlock(10).isEmpty());
}

} // namespace
