#include "tavo/tavovalue.h"

#include "i18n/trstring.h"
#include "model/cmpath.h"
#include "printers.h"
#include "tavo/tavomedia.h"
#include "tavo/tavoroles.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>

#include <gtest/gtest.h>

#include <limits>

namespace {

TEST(Value, SettingIsAHashThatNamesItsType)
{
    const QVariantHash expected = {{QStringLiteral("type"), QStringLiteral("i32_")}, {QStringLiteral("i32_"), 300}};
    EXPECT_EQ(TavoValue::fromI32(300).__variant(), QVariant(expected));
}

TEST(Value, IntegerCanBeReadBack)
{
    for (const qint32 value : {0, -1, std::numeric_limits<qint32>::max(), std::numeric_limits<qint32>::min()})
        EXPECT_EQ(TavoValue::fromI32(value).i32_(), value);
}

TEST(Value, ReadingAnotherTypeGivesZero)
{
    EXPECT_EQ(TavoValue().i32_(), 0);
    EXPECT_EQ(TavoValue(QVariant(300)).i32_(), 0);
    EXPECT_EQ(TavoHash().i32_(), 0);
    EXPECT_EQ(TavoHash(QVariantHash{{QStringLiteral("i32_"), QStringLiteral("text")}}).i32_(), 0);
}

TEST(Value, HashReadsWhatAnotherValueWrote)
{
    EXPECT_EQ(TavoHash(TavoValue::fromI32(7).__variant().toHash()).i32_(), 7);
}

TEST(Hash, HoldsItsInitialFields)
{
    const QVariantHash fields = {{QStringLiteral("a"), 1}};
    EXPECT_EQ(TavoHash(fields).fields(), fields);
    EXPECT_EQ(TavoHash(fields).field(QStringLiteral("a")), QVariant(1));
    EXPECT_EQ(TavoHash(fields).__variant(), QVariant(fields));
}

TEST(Hash, StartsEmptyButIsAHash)
{
    EXPECT_EQ(TavoHash().__variant().type(), QVariant::Hash);
    EXPECT_TRUE(TavoHash().fields().isEmpty());
}

TEST(Hash, MissingFieldIsInvalid)
{
    EXPECT_FALSE(TavoHash().field(QStringLiteral("a")).isValid());
}

TEST(Hash, FieldIsReplaced)
{
    TavoHash hash;
    hash.setField(QStringLiteral("a"), 1);
    hash.setField(QStringLiteral("b"), 2);
    hash.setField(QStringLiteral("a"), 3);
    EXPECT_EQ(hash.fields(), (QVariantHash{{QStringLiteral("a"), 3}, {QStringLiteral("b"), 2}}));
}

TEST(Hash, CopyKeepsItsFieldsWhenTheOriginalChanges)
{
    TavoHash original(QVariantHash{{QStringLiteral("a"), 1}});
    const TavoHash copy = original;
    original.setField(QStringLiteral("a"), 2);
    EXPECT_EQ(copy.field(QStringLiteral("a")), QVariant(1));
    EXPECT_EQ(original.field(QStringLiteral("a")), QVariant(2));
}

TEST(List, KeepsRecordsInOrder)
{
    TavoList<TavoResource> list;
    for (const char* uri : {"file:///b", "file:///a"}) {
        TavoResource resource;
        resource.setUri(QLatin1String(uri));
        list.append(resource);
    }
    ASSERT_EQ(list.size(), 2);
    EXPECT_EQ(list.at(0).uri(), QStringLiteral("file:///b"));
    EXPECT_EQ(list.at(1).uri(), QStringLiteral("file:///a"));
}

TEST(List, IsAListOfHashes)
{
    TavoList<TavoHash> list;
    list.append(TavoHash(QVariantHash{{QStringLiteral("a"), 1}}));
    EXPECT_EQ(list.__variant(), QVariant(QVariantList{QVariantHash{{QStringLiteral("a"), 1}}}));
    EXPECT_EQ(TavoList<TavoHash>().__variant(), QVariant(QVariantList()));
}

TEST(Bytes, ConvertToByteArrayAndBase64)
{
    const QByteArray bytes("\x00\xFF\x10", 3);
    const QVariant value = QVariant::fromValue(TavoBytes{bytes});
    EXPECT_EQ(value.toByteArray(), bytes);
    EXPECT_EQ(value.toString(), QStringLiteral("AP8Q"));
}

TEST(Bytes, CompareByTheirContent)
{
    const auto variant = [](const char* bytes) { return QVariant::fromValue(TavoBytes{bytes}); };
    EXPECT_EQ(variant("a"), variant("a"));
    EXPECT_NE(variant("a"), variant("b"));
}

TEST(Json, TranslatableTextGivesItsText)
{
    const TrString text({"Test", "%1 files"}, TrArg(QStringLiteral("7")));
    EXPECT_EQ(QJsonValue::fromVariant(text), QJsonValue(QStringLiteral("7 files")));
}

TEST(Json, InvalidValueGivesNull)
{
    EXPECT_TRUE(QJsonValue::fromVariant(QVariant()).isNull());
    const QJsonValue row = QJsonValue::fromVariant(QVariantList{QStringLiteral("a"), QVariant(), 1});
    EXPECT_EQ(row, (QJsonArray{QStringLiteral("a"), QJsonValue::Null, 1}));
}

TEST(Json, BytesGiveBase64)
{
    EXPECT_EQ(
        QJsonValue::fromVariant(QVariant::fromValue(TavoBytes{QByteArrayLiteral("\xFF\xFE picture")})),
        QJsonValue(QStringLiteral("//4gcGljdHVyZQ==")));
}

TEST(Json, PathGivesItsEncodedForm)
{
    const CMPath path(QStringLiteral("file"), QStringLiteral("a b"));
    EXPECT_EQ(QJsonValue::fromVariant(QVariant::fromValue(path)), QJsonValue(QStringLiteral("/file/a%20b")));
}

TEST(Json, NumbersAndBooleansKeepTheirType)
{
    EXPECT_EQ(QJsonValue::fromVariant(4294967295U), QJsonValue(4294967295.0));
    EXPECT_EQ(QJsonValue::fromVariant(qint64(9007199254740991)), QJsonValue(9007199254740991.0));
    EXPECT_EQ(QJsonValue::fromVariant(false), QJsonValue(false));
    EXPECT_EQ(QJsonValue::fromVariant(QString(QLatin1String(""))), QJsonValue(QLatin1String("")));
}

TEST(Json, WholePageIsOneObject)
{
    TavoRoles container;
    container.setTitle(TrString({"Test", "Menu"}, QList<TrArg>()));
    container.setContainerType(TavoRolesContainerType::ContextMenu);
    const QVariantHash flags = {{CMFlags::File(), true}};
    TavoRowsRoles page;
    page.setRowsCount(12);
    page.setRowsVersion(3);
    page.setRows(QVariantList{QVariant(QVariantList{QStringLiteral("/file/a"), flags, QVariant()})});
    page.setRoles(container);
    const QJsonObject expected = {
        {QStringLiteral("rowsCount"), 12},
        {QStringLiteral("rowsVersion"), 3},
        {QStringLiteral("rows"),
         QJsonArray{QJsonValue(
             QJsonArray{QStringLiteral("/file/a"), QJsonObject{{QStringLiteral("file"), true}}, QJsonValue::Null})}},
        {QStringLiteral("roles"),
         QJsonObject{{QStringLiteral("title"), QStringLiteral("Menu")}, {QStringLiteral("containerType"), 100}}}};
    EXPECT_EQ(QJsonValue::fromVariant(page.__variant()), expected);
}

} // namespace
