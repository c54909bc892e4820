#include "http/acceptlanguage.h"

#include "printers.h"

#include <i18n/trlanguage.h>

#include <gtest/gtest.h>

namespace {

QString accepted(const QByteArray& value)
{
    TrLanguage::setCatalogues(QStringLiteral(TAVO_TRANSLATIONS));
    const TrLanguage* const language = acceptedLanguage({"GET", "/", {{"Accept-Language", value}}});
    return language ? language->tag() : QStringLiteral("none");
}

TEST(AcceptLanguage, FirstLanguageThatThereIsCounts)
{
    EXPECT_EQ(accepted("de"), QStringLiteral("de"));
    EXPECT_EQ(accepted("de-AT, en"), QStringLiteral("de"));
    EXPECT_EQ(accepted("fr, en-GB, de"), QStringLiteral("en"));
}

TEST(AcceptLanguage, WeightsComeBeforeTheOrder)
{
    EXPECT_EQ(accepted("en;q=0.5, de;q=0.8, fr"), QStringLiteral("de"));
    EXPECT_EQ(accepted("en;q=0.8 , de ; Q=0.9"), QStringLiteral("de"));
    EXPECT_EQ(accepted("de;q=0.5, en;q=0.5"), QStringLiteral("de"));
}

TEST(AcceptLanguage, UnwantedLanguageIsNotTaken)
{
    EXPECT_EQ(accepted("de;q=0"), QStringLiteral("none"));
    EXPECT_EQ(accepted("de;q=0, en"), QStringLiteral("en"));
}

TEST(AcceptLanguage, WhatIsMalformedIsLeftOut)
{
    for (const char* value : {"", ",", ";", "de;", "de;q", "de;q=x", "de;q=nan", "de;level=1", "de de", "\xFF"})
        EXPECT_EQ(accepted(value), QStringLiteral("none")) << value;
    EXPECT_EQ(accepted(";q=1,,de"), QStringLiteral("de"));
    EXPECT_EQ(accepted("de;q=-1, en;q=2"), QStringLiteral("en"));
}

TEST(AcceptLanguage, LongListIsCut)
{
    EXPECT_EQ(accepted(QByteArray("x,").repeated(1000) + "de"), QStringLiteral("none"));
}

} // namespace
