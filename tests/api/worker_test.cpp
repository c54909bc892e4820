#include "model/cmworker.h"

#include "keptlog.h"
#include "model/cmversion.h"
#include "printers.h"
#include "tavo/tavokeys.h"

#include <QMutex>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <thread>

namespace {

using testing::ElementsAre;

QVariantHash serviceNamed(const char* id)
{
    return {{TavoService_Id(), QLatin1String(id)}};
}

/// Answers rows requests with pages of a list of titles, and records the requests.
class PagedWorker : public CMWorker
{
public:
    struct Asked
    {
        int first;
        int last;
        int version;
        QStringList roles;
    };

    PagedWorker() : CMWorker(serviceNamed("paged"), QStringLiteral("PagedWorker")) {}

    void getRowsRequest(const CMGetRowsRequest& request) override
    {
        asked.push_back({request.first(), request.last(), request.rowsVersion(), request.roles()});
        if (request.rowsVersion() > 0 && request.rowsVersion() != version)
            return request.reply().setError(
                createErrorInvalidRowsVersion(request.path(), request.rowsVersion(), version));
        request.reply().setValue(page(request));
        afterEachPage();
    }

    [[nodiscard]] TavoRowsRoles page(const CMGetRowsRequest& request) const
    {
        QVariantList rows;
        for (int i = request.first(); i <= std::min(request.last(), titles.size() - 1); ++i)
            rows.append(QVariant(QVariantList{titles.at(i)}));
        TavoRowsRoles result;
        result.setRowsCount(titles.size());
        result.setRowsVersion(version);
        result.setRows(rows);
        return result;
    }

    void addTitles(int count)
    {
        for (int i = 0; i < count; ++i)
            titles.append(QStringLiteral("title %1").arg(titles.size()));
    }

    QVariantList titles;
    int version = 3;
    std::vector<Asked> asked;
    std::function<void()> afterEachPage = [] {};
};

class MatchRow : public testing::Test
{
protected:
    CMReply<QVariant> match(const QVariant& title)
    {
        const CMMatchRowRequest request(m_worker.addPrefix(QString()), TavoRoles::Title(), title);
        m_worker.matchRowRequest(request);
        return request.reply();
    }

    PagedWorker m_worker;
};

TEST_F(MatchRow, FindsTheIndexOfTheRow)
{
    m_worker.addTitles(10);
    EXPECT_EQ(match(QStringLiteral("title 0")).value(), QVariant(0));
    EXPECT_EQ(match(QStringLiteral("title 9")).value(), QVariant(9));
    EXPECT_EQ(match(QStringLiteral("title 0")).value().type(), QVariant::Int);
}

TEST_F(MatchRow, FindsTheFirstOfEqualRows)
{
    m_worker.titles = {QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("b")};
    EXPECT_EQ(match(QStringLiteral("b")).value(), QVariant(1));
}

TEST_F(MatchRow, GivesMinusOneIfThereIsNone)
{
    EXPECT_EQ(match(QStringLiteral("a")).value(), QVariant(-1));
    m_worker.addTitles(3);
    EXPECT_EQ(match(QStringLiteral("a")).value(), QVariant(-1));
}

TEST_F(MatchRow, ReadsPageByPageWithTheVersionOfTheFirst)
{
    m_worker.addTitles(1000);
    const CMReply<QVariant> reply = match(QStringLiteral("title 700"));
    EXPECT_EQ(reply.value(), QVariant(700));
    ASSERT_EQ(m_worker.asked.size(), 3U);
    int next = 0;
    for (const PagedWorker::Asked& page : m_worker.asked) {
        EXPECT_EQ(page.first, next);
        EXPECT_EQ(page.version, page.first == 0 ? 0 : 3);
        EXPECT_EQ(page.roles, QStringList(TavoRoles::Title()));
        next = page.last + 1;
    }
    EXPECT_GT(next, 700);
}

TEST_F(MatchRow, ReadsNoMorePagesThanThereAre)
{
    m_worker.addTitles(512);
    EXPECT_EQ(match(QStringLiteral("a")).value(), QVariant(-1));
    EXPECT_EQ(m_worker.asked.size(), 2U);
    EXPECT_EQ(m_worker.asked.back().last, 511);
}

TEST_F(MatchRow, FailsIfTheRowsChangeMeanwhile)
{
    m_worker.addTitles(1000);
    m_worker.afterEachPage = [this] { ++m_worker.version; };
    const CMReply<QVariant> reply = match(QStringLiteral("title 700"));
    EXPECT_TRUE(reply.isError());
    EXPECT_EQ(reply.error().name(), TavoErrorInvalidRowsVersion());
}

TEST_F(MatchRow, OnTheFirstPageIgnoresLaterChanges)
{
    m_worker.addTitles(1000);
    m_worker.afterEachPage = [this] { ++m_worker.version; };
    EXPECT_EQ(match(QStringLiteral("title 5")).value(), QVariant(5));
}

TEST_F(MatchRow, ComparesVariants)
{
    m_worker.titles = {1, TrString(TrCharData{"Test", "say %1"}, QStringLiteral("x"))};
    EXPECT_EQ(match(QStringLiteral("say x")).value(), QVariant(1));
    EXPECT_EQ(match(QStringLiteral("1")).value(), QVariant(0));
}

TEST_F(MatchRow, EndsWithAWorkerThatIgnoresThePage)
{
    class Unpaged : public CMWorker
    {
    public:
        Unpaged() : CMWorker({}, QStringLiteral("Unpaged")) {}
        void getRowsRequest(const CMGetRowsRequest& request) override
        {
            QVariantList rows;
            for (int i = 0; i < 300; ++i)
                rows.append(QVariant(QVariantList{i}));
            TavoRowsRoles all;
            all.setRowsCount(rows.size());
            all.setRows(rows);
            request.reply().setValue(all);
        }
    };
    Unpaged worker;
    const CMMatchRowRequest present(worker.addPrefix(QString()), TavoRoles::Title(), 299);
    worker.matchRowRequest(present);
    EXPECT_EQ(present.reply().value(), QVariant(299));
    const CMMatchRowRequest absent(worker.addPrefix(QString()), TavoRoles::Title(), 300);
    worker.matchRowRequest(absent);
    EXPECT_EQ(absent.reply().value(), QVariant(-1));
}

TEST_F(MatchRow, WaitsForLateAnswers)
{
    class Late : public CMWorker
    {
    public:
        Late() : CMWorker({}, QStringLiteral("Late")) {}
        ~Late() override
        {
            for (std::thread& thread : m_threads)
                thread.join();
        }
        void getRowsRequest(const CMGetRowsRequest& request) override
        {
            m_threads.emplace_back([reply = request.reply()]() mutable {
                TavoRowsRoles page;
                page.setRowsCount(1);
                page.setRows(QVariantList{QVariant(QVariantList{QStringLiteral("a")})});
                reply.setValue(page);
            });
        }

    private:
        std::vector<std::thread> m_threads;
    };
    Late worker;
    const CMMatchRowRequest request(worker.addPrefix(QString()), TavoRoles::Title(), QStringLiteral("a"));
    worker.matchRowRequest(request);
    EXPECT_EQ(request.reply().value(), QVariant(0));
}

TEST(Worker, PrefixIsItsServiceId)
{
    const CMWorker worker(serviceNamed("usb 1"), QStringLiteral("Name"));
    EXPECT_EQ(worker.prefix(), QStringLiteral("usb 1"));
    EXPECT_EQ(worker.name(), QStringLiteral("Name"));
    EXPECT_EQ(worker.addPrefix(QStringLiteral("a/b")), CMPath(QStringLiteral("usb 1"), QStringLiteral("a/b")));
}

TEST(Worker, PrefixIsItsNameWithoutAServiceId)
{
    EXPECT_EQ(CMWorker({}, QStringLiteral("Name")).prefix(), QStringLiteral("Name"));
    EXPECT_EQ(CMWorker(serviceNamed(""), QStringLiteral("Name")).prefix(), QStringLiteral("Name"));
}

TEST(Worker, AnswersPingAtOnce)
{
    CMWorker worker({}, QStringLiteral("Name"));
    const CMPingRequest request(worker.addPrefix(QString()));
    worker.ping(request);
    EXPECT_EQ(request.reply().value(), QVariant(true));
}

TEST(Worker, TracesToTheLogOfItsName)
{
    KeptLog log("Name", log4cplus::TRACE_LOG_LEVEL);
    CMWorker(QVariantHash(), QStringLiteral("Name")).trace(QStringLiteral("a \u00fc"));
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0].message, "a \u00fc");
    EXPECT_EQ(log.lines()[0].level, log4cplus::TRACE_LOG_LEVEL);
    EXPECT_EQ(log.lines()[0].file, "src/api/core/model/cmworker");
}

TEST(Worker, TracesOnlyAtTraceLevel)
{
    KeptLog log("Name", log4cplus::DEBUG_LOG_LEVEL);
    CMWorker(QVariantHash(), QStringLiteral("Name")).trace(QStringLiteral("a"));
    EXPECT_TRUE(log.lines().empty());
}

TEST(Worker, HasNoRowsAndNoServicesByDefault)
{
    CMWorker worker({}, QStringLiteral("Name"));
    const CMGetRowsRequest rows(worker.addPrefix(QStringLiteral("a")), 0, 9, 0, {});
    const CMSetDataRequest value(worker.addPrefix(QStringLiteral("a")), 1);
    worker.getRowsRequest(rows);
    worker.setDataRequest(value);
    EXPECT_EQ(rows.reply().error().name(), TavoErrorInvalidPath());
    EXPECT_EQ(value.reply().error().name(), TavoErrorInvalidPath());
}

TEST(Worker, HasNoValuesByDefault)
{
    CMWorker worker({}, QStringLiteral("Name"));
    const CMGetDataRequest request(worker.addPrefix(QString()), {TavoRoles::Title(), TavoRoles::Type()});
    worker.getDataRequest(request);
    EXPECT_EQ(request.reply().value(), (QVariantList{QVariant(), QVariant()}));
}

TEST(Worker, AnswersDataRequestsWithTheValuesOfGetDataImpl)
{
    class Rows : public CMWorker
    {
    public:
        Rows() : CMWorker({}, QStringLiteral("Rows")) {}
        QVariantList getDataImpl(CMVoidReply& reply, const QString& path, const QStringList& roles) override
        {
            if (path == QLatin1String("refused")) {
                reply.setError(createErrorInvalidPath(addPrefix(path)));
                return {1};
            }
            return {path, roles};
        }
    };
    Rows worker;
    const CMGetDataRequest request(worker.addPrefix(QStringLiteral("a")), {TavoRoles::Title()});
    worker.getDataRequest(request);
    EXPECT_EQ(request.reply().value(), (QVariantList{QStringLiteral("a"), QStringList(TavoRoles::Title())}));
    const CMGetDataRequest refused(worker.addPrefix(QStringLiteral("refused")), {});
    worker.getDataRequest(refused);
    EXPECT_TRUE(refused.reply().isError());
    EXPECT_TRUE(refused.reply().value().isEmpty());
}

/// Records which operation each request reached.
class RecordingWorker : public CMAbstractWorker
{
public:
    void ping(const CMPingRequest& /*request*/) override { recorded.append(QStringLiteral("ping")); }
    void trace(const QString& /*text*/) override {}
    void getDataRequest(const CMGetDataRequest& request) override
    {
        recorded.append(QStringLiteral("data ") + request.roles().join(QLatin1Char(' ')));
        request.reply().setValue(answer);
    }
    void getRowsRequest(const CMGetRowsRequest& request) override
    {
        recorded.append(QStringLiteral("rows %1").arg(request.first()));
    }
    void matchRowRequest(const CMMatchRowRequest& request) override
    {
        recorded.append(QStringLiteral("match ") + request.value().toString());
    }
    void setDataRequest(const CMSetDataRequest& request) override
    {
        recorded.append(QStringLiteral("set ") + request.value().toString());
    }
    bool connectChange(const CMPath& /*path*/, CMChangeReceiver* /*receiver*/) override { return false; }
    void disconnectChange(const CMPath& /*path*/, CMChangeReceiver* /*receiver*/) override {}

    QStringList recorded;
    QVariantList answer;
};

TEST(AbstractWorker, PassesEachRequestToTheOperationForItsKind)
{
    RecordingWorker worker;
    const CMPath path(QStringLiteral("p"), QString());
    worker.request(CMPingRequest(path));
    worker.request(CMGetRowsRequest(path, 4, 5, 0, {}));
    worker.request(CMGetDataRequest(path, {QStringLiteral("a")}));
    worker.request(CMSetDataRequest(path, QStringLiteral("v")));
    worker.request(CMMatchRowRequest(path, TavoRoles::Title(), QStringLiteral("m")));
    EXPECT_THAT(
        worker.recorded, ElementsAre(
                             QStringLiteral("ping"), QStringLiteral("rows 4"), QStringLiteral("data a"),
                             QStringLiteral("set v"), QStringLiteral("match m")));
}

TEST(AbstractWorker, RequestWithoutARecordEndsTheProcess)
{
    RecordingWorker worker;
    EXPECT_DEATH(worker.request(CMPingRequest()), "m_d");
}

TEST(AbstractWorker, GetValueReturnsTheValueRole)
{
    RecordingWorker worker;
    worker.answer = {42};
    EXPECT_EQ(worker.getValue(CMPath()), QVariant(42));
    EXPECT_THAT(worker.recorded, ElementsAre(QStringLiteral("data value")));
    worker.answer.clear();
    EXPECT_FALSE(worker.getValue(CMPath()).isValid());
}

TEST(AbstractWorker, InvalidPathErrorNamesTheWholePath)
{
    const CMPath path(QStringLiteral("file"), QStringLiteral("a b/%1"));
    const CMError error = CMAbstractWorker::createErrorInvalidPath(path);
    EXPECT_EQ(error.name(), TavoErrorInvalidPath());
    EXPECT_THAT(error.message().toStdString(), testing::HasSubstr("'/file/a%20b/%251'"));
    EXPECT_EQ(error.title(), CMError::DefaultTitle().toString());
}

TEST(AbstractWorker, InvalidRowsVersionErrorNamesBothVersions)
{
    const CMPath path(QStringLiteral("file"), QStringLiteral("a"));
    const CMError error = CMAbstractWorker::createErrorInvalidRowsVersion(path, 7, 8);
    EXPECT_EQ(error.name(), TavoErrorInvalidRowsVersion());
    EXPECT_EQ(error.message(), QStringLiteral("Rows version 7 of '/file/a' is not current, the current one is 8"));
    EXPECT_EQ(error.title(), CMError::DefaultTitle().toString());
}

TEST(Version, CounterIsGuardedByAMutexOfTheProcess)
{
    ASSERT_NE(CMVersion::mutex(), nullptr);
    const QMutexLocker lock(CMVersion::mutex());
    bool takenElsewhere = true;
    std::thread([&] { takenElsewhere = CMVersion::mutex()->tryLock(); }).join();
    EXPECT_FALSE(takenElsewhere);
}

TEST(Version, PlainWorkerTakesNoVersion)
{
    const int before = CMVersion::s_last;
    const CMWorker worker({}, QStringLiteral("Name"));
    EXPECT_EQ(CMVersion::s_last, before);
}

} // namespace
