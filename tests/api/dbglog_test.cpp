#include "log/dbglog.h"

#include "i18n/trstring.h"
#include "keptlog.h"
#include "model/cmpath.h"
#include "printers.h"

#include <QStringList>
#include <QVariant>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

template<typename T>
std::string printed(const T& value)
{
    std::ostringstream out;
    out << value;
    return out.str();
}

TEST(ScopedFunction, IsTheQualifiedName)
{
    const auto scoped = [](const char* signature) { return dbglog_scopedFunction(signature, "CB_Filesystem"); };
    EXPECT_EQ(
        scoped("virtual void CMFileWorker::getRowsRequest(const CMGetRowsRequest&)"), "CMFileWorker::getRowsRequest");
    EXPECT_EQ(scoped("CMFileWorker::CMFileWorker(const QVariantHash&)"), "CMFileWorker::CMFileWorker");
    EXPECT_EQ(scoped("int main(int, char**)"), "main");
    EXPECT_EQ(scoped("main"), "main");
    EXPECT_EQ(scoped(""), "");
}

TEST(Print, TextIsUtf8)
{
    EXPECT_EQ(printed(QString::fromUtf8("Bj\u00f6rk \U0001F3B5")), "Bj\u00f6rk \U0001F3B5");
    EXPECT_EQ(printed(QString()), "");
    EXPECT_EQ(printed(QStringLiteral("a\nb")), "a\nb");
}

TEST(Print, TextKeepsItsNulCharacters)
{
    EXPECT_EQ(printed(QString(QChar(0))), std::string(1, '\0'));
}

TEST(Print, ListIsInParenthesesWithCommas)
{
    EXPECT_EQ(printed(QStringList()), "()");
    EXPECT_EQ(printed(QStringList(QStringLiteral("a"))), "(a)");
    EXPECT_EQ(printed(QStringList{QStringLiteral("a"), QString(), QStringLiteral("\u00fc")}), "(a, , \u00fc)");
}

TEST(Print, ListOfVariantsIsInParenthesesWithCommas)
{
    EXPECT_EQ(printed(QVariantList()), "()");
    EXPECT_EQ(printed(QVariantList{QStringLiteral("a"), 1, QVariant(), true}), "(a, 1, null, true)");
}

TEST(Print, VariantIsTextOrCompactJson)
{
    EXPECT_EQ(printed(QVariant(QStringLiteral("a \"b\""))), "a \"b\"");
    EXPECT_EQ(printed(QVariant(3)), "3");
    EXPECT_EQ(printed(QVariant()), "null");
    EXPECT_EQ(printed(QVariant(QVariantList{QStringLiteral("\u00fc"), 1})), "[\"\u00fc\",1]");
    EXPECT_EQ(printed(QVariant(QVariantHash{{QStringLiteral("a"), QVariant()}})), "{\"a\":null}");
}

TEST(Print, VariantOfAnSdkTypeIsItsText)
{
    const TrString text(TrCharData{"Test", "say %1"}, QStringLiteral("x"));
    EXPECT_EQ(printed(QVariant(text)), "\"say x\"");
    const CMPath path(QStringLiteral("file"), QStringLiteral("a b"));
    EXPECT_EQ(printed(QVariant::fromValue(path)), "\"/file/a%20b\"");
    EXPECT_EQ(printed(path), "/file/a%20b");
}

class LogLine : public testing::Test
{
protected:
    [[nodiscard]] std::vector<KeptLog::Line> lines() const { return m_log.lines(); }

    int evaluated() { return ++m_evaluations; }

    KeptLog m_log{"test.dbglog", log4cplus::INFO_LOG_LEVEL};
    log4cplus::Logger& m_logger = m_log.logger();
    int m_evaluations = 0;
};

constexpr DbgLogSite site{"src/some/file", 348, "void Some::function(int)"};

TEST_F(LogLine, IsBuiltOnlyWhereTheLevelIsEnabled)
{
    DBGLOG(m_logger, log4cplus::TRACE_LOG_LEVEL, site, "Enter " << evaluated());
    DBGLOG(m_logger, log4cplus::DEBUG_LOG_LEVEL, site, "Enter " << evaluated());
    EXPECT_EQ(m_evaluations, 0);
    EXPECT_TRUE(lines().empty());
    DBGLOG(m_logger, log4cplus::INFO_LOG_LEVEL, site, "Enter " << evaluated());
    DBGLOG(m_logger, log4cplus::ERROR_LOG_LEVEL, site, "Enter " << evaluated());
    EXPECT_EQ(m_evaluations, 2);
    EXPECT_EQ(lines().size(), 2U);
}

TEST_F(LogLine, CarriesItsSiteAndLevel)
{
    DBGLOG(m_logger, log4cplus::WARN_LOG_LEVEL, site, "text");
    ASSERT_EQ(lines().size(), 1U);
    EXPECT_EQ(lines()[0].file, "src/some/file");
    EXPECT_EQ(lines()[0].line, 348);
    EXPECT_EQ(lines()[0].function, "void Some::function(int)");
    EXPECT_EQ(lines()[0].level, log4cplus::WARN_LOG_LEVEL);
}

TEST_F(LogLine, JoinsItsPieces)
{
    DBGLOG(
        m_logger, log4cplus::INFO_LOG_LEVEL, site,
        "n: " << 3 << QStringLiteral(" \u00fc ") << QStringList{QStringLiteral("a"), QStringLiteral("b")});
    ASSERT_EQ(lines().size(), 1U);
    EXPECT_EQ(lines()[0].message, "n: 3 \u00fc (a, b)");
}

TEST_F(LogLine, TakesATemporarySite)
{
    DBGLOG(m_logger, log4cplus::INFO_LOG_LEVEL, (DbgLogSite{"file", 7, "f"}), "text");
    ASSERT_EQ(lines().size(), 1U);
    EXPECT_EQ(lines()[0].line, 7);
}

TEST_F(LogLine, IsOneStatement)
{
    if (m_evaluations > 0)
        DBGLOG(m_logger, log4cplus::INFO_LOG_LEVEL, site, "never");
    else
        DBGLOG(m_logger, log4cplus::INFO_LOG_LEVEL, site, "always");
    ASSERT_EQ(lines().size(), 1U);
    EXPECT_EQ(lines()[0].message, "always");
}

} // namespace
