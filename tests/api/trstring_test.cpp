#include "i18n/trstring.h"

#include "model/cmerror.h"
#include "printers.h"

#include <QCoreApplication>
#include <QTranslator>

#include <gtest/gtest.h>

#include <utility>

namespace {

QString resolved(const char* sourceText, const QList<TrArg>& arguments)
{
    return TrString(TrCharData{"Test", sourceText}, arguments).toString();
}

QList<TrArg> numbered(int count)
{
    QList<TrArg> arguments;
    for (int i = 1; i <= count; ++i)
        arguments.append(QStringLiteral("<%1>").arg(i));
    return arguments;
}

TEST(TrString, WithoutArgumentsIsItsSourceText)
{
    EXPECT_EQ(resolved("File Context Menu", {}), QStringLiteral("File Context Menu"));
    EXPECT_EQ(TrString().toString(), QString());
}

TEST(TrString, ReplacesPlaceMarkersByNumberNotByPosition)
{
    EXPECT_EQ(resolved("%2 before %1, %2 again", numbered(2)), QStringLiteral("<2> before <1>, <2> again"));
}

TEST(TrString, PlaceMarkerInAnArgumentIsNotReplaced)
{
    EXPECT_EQ(
        resolved("'%1' is outside '%2'", {QStringLiteral("%2"), QStringLiteral("%1")}),
        QStringLiteral("'%2' is outside '%1'"));
}

TEST(TrString, PlaceMarkersHaveUpToTwoDigits)
{
    EXPECT_EQ(resolved("%1|%10|%123", numbered(12)), QStringLiteral("<1>|<10>|<12>3"));
    EXPECT_EQ(resolved("%99", numbered(99)), QStringLiteral("<99>"));
    EXPECT_EQ(resolved("%01", numbered(1)), QStringLiteral("<1>"));
}

TEST(TrString, PlaceMarkerWithoutArgumentStays)
{
    EXPECT_EQ(resolved("%1 %2 %3", numbered(1)), QStringLiteral("<1> %2 %3"));
    EXPECT_EQ(resolved("%10", numbered(1)), QStringLiteral("%10"));
    EXPECT_EQ(resolved("%0", numbered(1)), QStringLiteral("%0"));
}

TEST(TrString, OtherPercentSignsStay)
{
    EXPECT_EQ(resolved("100% %n %% %x %", numbered(1)), QStringLiteral("100% %n %% %x %"));
    EXPECT_EQ(resolved("%%1", numbered(1)), QStringLiteral("%<1>"));
}

TEST(TrString, SurplusArgumentsAreIgnored)
{
    EXPECT_EQ(resolved("only %1", numbered(3)), QStringLiteral("only <1>"));
}

TEST(TrString, FieldWidthPadsAsQtDoes)
{
    const QString value = QStringLiteral("abc");
    for (const int width : {0, 2, 6, -2, -6}) {
        const QString expected = QStringLiteral("[%1]").arg(value, width, QLatin1Char('.'));
        EXPECT_EQ(resolved("[%1]", {TrArg(value, width, QLatin1Char('.'))}), expected) << width;
    }
    EXPECT_EQ(resolved("[%1]", {TrArg(value, 5)}), QStringLiteral("[  abc]"));
}

TEST(TrString, SourceTextIsUtf8)
{
    EXPECT_EQ(resolved("\xC3\xBC %1", {QString::fromUtf8("\U0001F3B5")}), QString::fromUtf8("\u00fc \U0001F3B5"));
}

TEST(TrString, OneArgumentEqualsAListOfOne)
{
    const TrCharData text{"Test", "say %1"};
    EXPECT_EQ(TrString(text, TrArg(QStringLiteral("x"))).toString(), QStringLiteral("say x"));
    EXPECT_EQ(TrString(text, TrArg(QStringLiteral("x"))).arguments().size(), 1);
}

TEST(TrString, VariantKeepsItsPartsAndConvertsToText)
{
    const QVariant value = TrString(TrCharData{"Test", "say %1"}, TrArg(QStringLiteral("x")));
    EXPECT_EQ(value.userType(), qMetaTypeId<TrString>());
    EXPECT_EQ(value.toString(), QStringLiteral("say x"));
    EXPECT_EQ(value.value<TrString>().charData().sourceText, QByteArray("say %1"));
    EXPECT_EQ(value.value<TrString>().charData().context, QByteArray("Test"));
}

TEST(TrString, VariantsCompareByTheirParts)
{
    const TrCharData text{"Test", "say %1"};
    const auto variant = [](const TrCharData& data, const TrArg& argument) {
        return QVariant(TrString(data, argument));
    };
    const QVariant value = variant(text, QStringLiteral("x"));
    EXPECT_EQ(value, variant(text, QStringLiteral("x")));
    EXPECT_NE(value, variant(text, QStringLiteral("y")));
    EXPECT_NE(value, variant(text, TrArg(QStringLiteral("x"), 1)));
    EXPECT_NE(value, variant({"Test", "tell %1"}, QStringLiteral("x")));
    EXPECT_NE(value, variant({"Other", "say %1"}, QStringLiteral("x")));
    EXPECT_NE(value, variant({"Test", "say %1", "comment"}, QStringLiteral("x")));
    EXPECT_NE(value, variant({"Test", "say %1", {}, 2}, QStringLiteral("x")));
}

TEST(TrString, HasNoPluralUnlessGivenACount)
{
    EXPECT_EQ((TrCharData{"Test", "text"}).n, -1);
    EXPECT_TRUE((TrCharData{"Test", "text"}).comment.isNull());
    EXPECT_EQ(TrString(TrCharData{"Test", "%n files", {}, 3}, QList<TrArg>()).toString(), QStringLiteral("3 files"));
    EXPECT_EQ(resolved("%n files", {}), QStringLiteral("%n files"));
}

/// Puts the arguments of the call into the translation.
class EchoingTranslator : public QTranslator
{
public:
    [[nodiscard]] bool isEmpty() const override { return false; }
    [[nodiscard]] QString
    translate(const char* context, const char* sourceText, const char* disambiguation, int n) const override
    {
        if (qstrcmp(context, "File") != 0)
            return {};
        return QStringLiteral("%2 <- %1 [%3/%4/%5]")
            .replace(QLatin1String("%3"), QLatin1String(sourceText))
            .replace(QLatin1String("%4"), QLatin1String(disambiguation))
            .replace(QLatin1String("%5"), QString::number(n));
    }
};

class TranslatedText : public testing::Test
{
protected:
    void SetUp() override { QCoreApplication::installTranslator(&m_translator); }
    void TearDown() override { QCoreApplication::removeTranslator(&m_translator); }

    EchoingTranslator m_translator;
};

TEST_F(TranslatedText, FollowsTheOrderOfPlaceMarkersInTheTranslation)
{
    const TrString text(TrCharData{"File", "text"}, {QStringLiteral("a"), QStringLiteral("b")});
    EXPECT_EQ(text.toString(), QStringLiteral("b <- a [text//-1]"));
}

TEST_F(TranslatedText, PassesCommentAndCountToTheTranslator)
{
    const TrString text(TrCharData{"File", "text", "menu", 4}, QList<TrArg>());
    EXPECT_EQ(text.toString(), QStringLiteral("%2 <- %1 [text/menu/4]"));
}

TEST_F(TranslatedText, DependsOnTheContext)
{
    EXPECT_EQ(resolved("text", {}), QStringLiteral("text"));
}

TEST_F(TranslatedText, IsChosenWhenTheTextIsRead)
{
    const TrString text(TrCharData{"File", "text"}, QList<TrArg>());
    QCoreApplication::removeTranslator(&m_translator);
    EXPECT_EQ(text.toString(), QStringLiteral("text"));
}

TEST(TrExtractContext, IsTheClassOfTheFunction)
{
    EXPECT_EQ(
        trExtractContext("virtual void CMFileWorker::getRowsRequest(const CMGetRowsRequest&)"),
        QByteArray("CMFileWorker"));
    EXPECT_EQ(trExtractContext("CMFileWorker::CMFileWorker(const QVariantHash&)"), QByteArray("CMFileWorker"));
}

TEST(TrExtractContext, KeepsEnclosingScopes)
{
    EXPECT_EQ(trExtractContext("QList<int> outer::Inner::f(std::string) const"), QByteArray("outer::Inner"));
}

TEST(TrExtractContext, IgnoresScopesOfTheReturnTypeAndTheArguments)
{
    EXPECT_EQ(trExtractContext("std::pair<int, std::string> f(const A::B&)"), QByteArray());
    EXPECT_EQ(trExtractContext("std::string A::f(B::C)"), QByteArray("A"));
}

TEST(TrExtractContext, IsEmptyOutsideAClass)
{
    EXPECT_EQ(trExtractContext("int main(int, char**)"), QByteArray());
    EXPECT_EQ(trExtractContext(""), QByteArray());
    EXPECT_EQ(trExtractContext(nullptr), QByteArray());
}

TEST(Error, HoldsNameMessageAndTitle)
{
    const CMError error(QStringLiteral("gone"), TrString(TrCharData{"Test", "'%1' is gone"}, QStringLiteral("a")));
    EXPECT_EQ(error.size(), 3);
    EXPECT_EQ(error.name(), QStringLiteral("gone"));
    EXPECT_EQ(error.message(), QStringLiteral("'a' is gone"));
    EXPECT_EQ(error.title(), CMError::DefaultTitle().toString());
    EXPECT_EQ(error.value(CMError::Message()).userType(), qMetaTypeId<TrString>());
    EXPECT_EQ(error.value(CMError::Title()).userType(), qMetaTypeId<TrString>());
}

TEST(Error, CanBeFilledKeyByKey)
{
    CMError error;
    EXPECT_TRUE(error.isEmpty());
    error[CMError::Name()] = CMError::DefaultName();
    error[CMError::Title()] = CMError::DefaultTitle();
    EXPECT_EQ(error.name(), CMError::DefaultName());
    EXPECT_FALSE(error.title().isEmpty());
    EXPECT_EQ(error.message(), QString());
}

TEST(Error, KeysAreDistinct)
{
    EXPECT_NE(CMError::Name(), CMError::Message());
    EXPECT_NE(CMError::Name(), CMError::Title());
    EXPECT_NE(CMError::Message(), CMError::Title());
}

} // namespace
