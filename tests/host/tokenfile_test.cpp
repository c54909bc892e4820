#include "http/tokenfile.h"

#include "printers.h"
#include "support/temporarytree.h"

#include <QFile>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

using testing::HasSubstr;

const QByteArray token = "correct horse battery";

class TokenFileTest : public testing::Test
{
protected:
    void write(const QByteArray& content, QFile::Permissions more = {}) const
    {
        QFile file(name);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        ASSERT_TRUE(file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | more));
    }

    [[nodiscard]] std::string problem() const
    {
        const Result<QByteArray> read = TokenFile(name).read();
        EXPECT_FALSE(read);
        return read ? std::string() : read.failure().message.toString().toStdString();
    }

    TemporaryTree tree;
    const QString name = tree.absolute(QStringLiteral("token"));
};

TEST_F(TokenFileTest, FirstLineIsTheToken)
{
    for (const char* end : {"", "\n", "\r\n", "\nsecond line\n"}) {
        write(token + end);
        const Result<QByteArray> read = TokenFile(name).read();
        ASSERT_TRUE(read) << end;
        EXPECT_EQ(read.value(), token);
    }
}

TEST_F(TokenFileTest, BadTokensAreRefused)
{
    const QByteArray cases[] = {
        "",
        "\n",
        "\n" + token,
        "fifteen letters\n",
        " " + token,
        token + " \n",
        token + "\t\n",
        token + "\xC3\xA4\n",
        token + QByteArray(1, '\0'),
        QByteArray(1025, 'a'),
        QByteArray(5000, 'a') + '\n'};
    for (const QByteArray& content : cases) {
        write(content);
        EXPECT_THAT(problem(), HasSubstr("16 to 1024 printable ASCII characters")) << content.toStdString();
    }
}

TEST_F(TokenFileTest, LengthsFromShortestToLongestAreTokens)
{
    for (const int length : {16, 1024}) {
        write(QByteArray(length, 'a') + "\r\n");
        EXPECT_TRUE(TokenFile(name).read()) << length;
    }
}

TEST_F(TokenFileTest, FileOpenToOthersIsRefused)
{
    for (const QFile::Permission other :
         {QFile::ReadGroup, QFile::WriteGroup, QFile::ExeGroup, QFile::ReadOther, QFile::WriteOther, QFile::ExeOther}) {
        write(token, other);
        EXPECT_THAT(problem(), HasSubstr("must be its owner's alone")) << other;
    }
}

TEST_F(TokenFileTest, WhatIsNoFileIsRefused)
{
    EXPECT_THAT(problem(), HasSubstr("does not exist"));
    ASSERT_EQ(mkfifo(QFile::encodeName(name).constData(), S_IRUSR | S_IWUSR), 0);
    EXPECT_THAT(problem(), HasSubstr("is no file"));
}

TEST_F(TokenFileTest, ProblemNamesTheFileOnOneLine)
{
    EXPECT_THAT(problem(), HasSubstr(name.toStdString()));
    EXPECT_EQ(problem().find('\n'), std::string::npos);
}

TEST_F(TokenFileTest, IsReadAgainOnlyAfterAChange)
{
    write(token);
    TokenFile file(name);
    ASSERT_TRUE(file.read());
    EXPECT_FALSE(file.readIfChanged());
    write(token + " staple");
    const std::optional<Result<QByteArray>> read = file.readIfChanged();
    ASSERT_TRUE(read && *read);
    EXPECT_EQ(read->value(), token + " staple");
    EXPECT_FALSE(file.readIfChanged());
}

TEST_F(TokenFileTest, RemovalIsAChange)
{
    write(token);
    TokenFile file(name);
    ASSERT_TRUE(file.read());
    ASSERT_TRUE(QFile::remove(name));
    const std::optional<Result<QByteArray>> read = file.readIfChanged();
    ASSERT_TRUE(read);
    EXPECT_FALSE(*read);
    EXPECT_FALSE(file.readIfChanged());
}

} // namespace
