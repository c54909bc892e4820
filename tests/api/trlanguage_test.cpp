#include "i18n/trlanguage.h"

#include "i18n/trstring.h"
#include "printers.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <thread>

namespace {

/// The program's own catalogues, and a file that is none.
class Languages : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        // English is there before any catalogue is read.
        TrLanguage::setCatalogues(QStringLiteral("/no/such/directory"));
        ASSERT_TRUE(TrLanguage::find(QStringLiteral("en")));
        static const QTemporaryDir directory;
        ASSERT_TRUE(QFile::copy(QStringLiteral(TAVO_TRANSLATIONS "/tavo_de.qm"), directory.filePath("tavo_de.qm")));
        QFile broken(directory.filePath("tavo_fr.qm"));
        ASSERT_TRUE(broken.open(QFile::WriteOnly));
        broken.write("no catalogue");
        ASSERT_TRUE(QFile::copy(directory.filePath("tavo_de.qm"), directory.filePath("tavo_en.qm")));
        TrLanguage::setCatalogues(directory.path());
    }

    [[nodiscard]] static QString tagOfFound(const char* tag)
    {
        const TrLanguage* const language = TrLanguage::find(QString::fromLatin1(tag));
        return language ? language->tag() : QStringLiteral("none");
    }

    const TrLanguage* const english = TrLanguage::find(QStringLiteral("en"));
    const TrLanguage* const german = TrLanguage::find(QStringLiteral("de"));
    const TrString text{TrCharData{"PlayListHelper", "Play Now"}, QList<TrArg>()};
    const QString inEnglish = QStringLiteral("Play Now");
    const QString inGerman = QStringLiteral("Jetzt abspielen");
};

TEST_F(Languages, AreFoundByTagInAnyCase)
{
    EXPECT_EQ(tagOfFound("de"), QStringLiteral("de"));
    EXPECT_EQ(tagOfFound("DE"), QStringLiteral("de"));
    EXPECT_EQ(tagOfFound("en"), QStringLiteral("en"));
}

TEST_F(Languages, AreFoundByAMoreSpecialTag)
{
    EXPECT_EQ(tagOfFound("de-AT"), QStringLiteral("de"));
    EXPECT_EQ(tagOfFound("de-Latn-CH-1996"), QStringLiteral("de"));
    EXPECT_EQ(tagOfFound("en-GB"), QStringLiteral("en"));
}

TEST_F(Languages, WithoutACatalogueAreNotFound)
{
    for (const char* tag : {"", "-", "-de", "d", "deu", "fr", "*"})
        EXPECT_EQ(tagOfFound(tag), QStringLiteral("none")) << tag;
}

TEST_F(Languages, EnglishHasNoCatalogue)
{
    const TrLanguage::Scope scope(english);
    EXPECT_EQ(text.toString(), inEnglish);
}

TEST_F(Languages, ScopeHasTheThreadReadTextsInItsLanguage)
{
    EXPECT_EQ(text.toString(), inEnglish);
    const TrLanguage::Scope scope(german);
    EXPECT_EQ(text.toString(), inGerman);
    std::thread([this] { EXPECT_EQ(text.toString(), inEnglish); }).join();
}

TEST_F(Languages, ScopesNest)
{
    const TrLanguage::Scope outer(german);
    {
        const TrLanguage::Scope inner(english);
        EXPECT_EQ(text.toString(), inEnglish);
    }
    EXPECT_EQ(text.toString(), inGerman);
    EXPECT_EQ(TrLanguage::current(), german);
}

TEST_F(Languages, TextWithoutATranslationIsTheSourceText)
{
    const TrLanguage::Scope scope(german);
    EXPECT_EQ(TrString(TrCharData{"Test", "Play Now"}, QList<TrArg>()).toString(), inEnglish);
    EXPECT_EQ(TrString(TrCharData{"Test", "%n files", {}, 3}, QList<TrArg>()).toString(), QStringLiteral("3 files"));
    EXPECT_EQ(TrString(TrCharData{"Test", "%n files"}, QList<TrArg>()).toString(), QStringLiteral("%n files"));
}

TEST_F(Languages, NameIsTheSameInEach)
{
    const TrLanguage::Scope scope(german);
    EXPECT_EQ(TrString(QStringLiteral("Play Now")).toString(), inEnglish);
}

} // namespace
