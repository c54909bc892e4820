#include "model/cmrequest.h"

#include "printers.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

const CMPath& somePath()
{
    static const CMPath path(QStringLiteral("file"), QStringLiteral("Music"));
    return path;
}

const QStringList& someRoles()
{
    static const QStringList roles = {TavoRoles::Title(), QStringLiteral("Foo"), TavoRoles::Title()};
    return roles;
}

TEST(Request, PingHasAPath)
{
    const CMPingRequest request(somePath());
    EXPECT_EQ(request.kind(), CMRequest::Kind::Ping);
    EXPECT_EQ(request.path(), somePath());
    EXPECT_FALSE(request.reply().isFinished());
}

TEST(Request, GetRowsHasAPageAVersionAndRoles)
{
    const CMGetRowsRequest request(somePath(), 10, 19, 7, someRoles());
    EXPECT_EQ(request.kind(), CMRequest::Kind::GetRows);
    EXPECT_EQ(request.path(), somePath());
    EXPECT_EQ(request.first(), 10);
    EXPECT_EQ(request.last(), 19);
    EXPECT_EQ(request.rowsVersion(), 7);
    EXPECT_EQ(request.roles(), someRoles());
    EXPECT_FALSE(request.reply().isFinished());
}

TEST(Request, GetRowsKeepsInvalidNumbers)
{
    const CMGetRowsRequest request(somePath(), -5, -1, -3, {});
    EXPECT_EQ(request.first(), -5);
    EXPECT_EQ(request.last(), -1);
    EXPECT_EQ(request.rowsVersion(), -3);
}

TEST(Request, GetDataHasRoles)
{
    const CMGetDataRequest request(somePath(), someRoles());
    EXPECT_EQ(request.kind(), CMRequest::Kind::GetData);
    EXPECT_EQ(request.path(), somePath());
    EXPECT_EQ(request.roles(), someRoles());
    EXPECT_FALSE(request.reply().isFinished());
}

TEST(Request, SetDataHasAValue)
{
    const CMSetDataRequest request(somePath(), QVariantList{1, QStringLiteral("a")});
    EXPECT_EQ(request.kind(), CMRequest::Kind::SetData);
    EXPECT_EQ(request.path(), somePath());
    EXPECT_EQ(request.value(), QVariant(QVariantList{1, QStringLiteral("a")}));
    EXPECT_FALSE(request.reply().isFinished());
}

TEST(Request, MatchRowHasARoleAndAValue)
{
    const CMMatchRowRequest request(somePath(), TavoRoles::Title(), QStringLiteral("a"));
    EXPECT_EQ(request.kind(), CMRequest::Kind::MatchRow);
    EXPECT_EQ(request.path(), somePath());
    EXPECT_EQ(request.role(), TavoRoles::Title());
    EXPECT_EQ(request.value(), QVariant(QStringLiteral("a")));
    EXPECT_FALSE(request.reply().isFinished());
}

TEST(Request, EachHasItsOwnReply)
{
    const CMGetDataRequest one(somePath(), {});
    const CMGetDataRequest other(somePath(), {});
    one.reply().setValue({1});
    EXPECT_TRUE(one.reply().isFinished());
    EXPECT_FALSE(other.reply().isFinished());
}

TEST(Request, CopiesShareTheReply)
{
    const CMGetDataRequest request(somePath(), {});
    const std::vector<CMRequest> copies(2, request);
    CMGetDataRequest(copies.front()).reply().setValue({1});
    EXPECT_EQ(request.reply().value(), QVariantList{1});
    EXPECT_TRUE(copies.back().voidReply().isFinished());
    CMRequest assigned = CMPingRequest(somePath());
    assigned = request;
    EXPECT_TRUE(assigned.voidReply().isFinished());
}

TEST(Request, PlainHandleConvertsBackToTheTypedOne)
{
    const CMRequest plain = CMGetRowsRequest(somePath(), 1, 2, 3, someRoles());
    const CMGetRowsRequest typed(plain);
    EXPECT_EQ(typed.last(), 2);
    plain.voidReply().setError(CMError(QStringLiteral("refused"), TrString()));
    EXPECT_EQ(typed.reply().error().name(), QStringLiteral("refused"));
}

TEST(Request, ReplyOutlivesTheRequest)
{
    auto request = std::make_unique<CMSetDataRequest>(somePath(), 1);
    CMReply<QVariant> reply = request->reply();
    request.reset();
    reply.setValue(2);
    EXPECT_EQ(reply.value(), QVariant(2));
}

TEST(Request, CanBeReadInOtherThreads)
{
    const CMGetDataRequest request(somePath(), someRoles());
    std::thread thread([copy = request] { copy.reply().setValue({copy.roles().size(), copy.path().base()}); });
    EXPECT_TRUE(request.reply().waitForFinished());
    thread.join();
    EXPECT_EQ(request.reply().value(), (QVariantList{3, QStringLiteral("Music")}));
}

template<typename T>
class RequestWithoutRecord : public testing::Test
{
};

struct RequestName
{
    template<typename T>
    static std::string GetName(int /*index*/)
    {
        return std::is_same_v<T, CMPingRequest>      ? "Ping"
               : std::is_same_v<T, CMGetRowsRequest> ? "GetRows"
               : std::is_same_v<T, CMGetDataRequest> ? "GetData"
               : std::is_same_v<T, CMSetDataRequest> ? "SetData"
                                                     : "MatchRow";
    }
};

using RequestTypes =
    testing::Types<CMPingRequest, CMGetRowsRequest, CMGetDataRequest, CMSetDataRequest, CMMatchRowRequest>;
TYPED_TEST_SUITE(RequestWithoutRecord, RequestTypes, RequestName);

TYPED_TEST(RequestWithoutRecord, EndsTheProcessWhenRead)
{
    const TypeParam request;
    EXPECT_DEATH(static_cast<void>(request.kind()), "m_d");
    EXPECT_DEATH(static_cast<void>(request.path()), "m_d");
    EXPECT_DEATH(static_cast<void>(request.reply()), "m_d");
    EXPECT_DEATH(static_cast<void>(request.voidReply()), "m_d");
}

TEST(TypedRequestWithoutRecord, EndsTheProcessWhenItsFieldsAreRead)
{
    EXPECT_DEATH(static_cast<void>(CMGetRowsRequest().first()), "m_d");
    EXPECT_DEATH(static_cast<void>(CMGetRowsRequest().last()), "m_d");
    EXPECT_DEATH(static_cast<void>(CMGetRowsRequest().rowsVersion()), "m_d");
    EXPECT_DEATH(static_cast<void>(CMGetRowsRequest().roles()), "m_d");
    EXPECT_DEATH(static_cast<void>(CMGetDataRequest().roles()), "m_d");
    EXPECT_DEATH(static_cast<void>(CMSetDataRequest().value()), "m_d");
    EXPECT_DEATH(static_cast<void>(CMMatchRowRequest().role()), "m_d");
    EXPECT_DEATH(static_cast<void>(CMMatchRowRequest().value()), "m_d");
}

TEST(Request, ConvertingToAnotherKindEndsTheProcess)
{
    const CMRequest ping = CMPingRequest(somePath());
    EXPECT_DEATH(CMGetRowsRequest{ping}, "kind");
}

} // namespace
