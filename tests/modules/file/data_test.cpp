#include "fileworkertest.h"
#include "tavo/tavokeys.h"

#include <QThread>

#include <functional>

namespace {

using testing::ElementsAre;

class Data : public FileWorkerTest
{
protected:
    Data() { tree.addFile("d/x.mp3"); }
};

TEST_F(Data, GivesTheValuesOfTheRolesInTheirOrder)
{
    const CMReply<QVariantList> reply = data("d/x.mp3", {TavoRoles::Path(), "Foo", TavoRoles::Title()});
    EXPECT_FALSE(reply.isError());
    EXPECT_EQ(reply.value(), (QVariantList{"/file/d/x.mp3", QVariant(), "x.mp3"}));
}

TEST_F(Data, AnswersForDirectoriesToo)
{
    EXPECT_EQ(data("d", {TavoRoles::Type()}).value(), QVariantList{TavoRolesType::Container()});
}

TEST_F(Data, TheEmptyBaseIsTheRoot)
{
    EXPECT_EQ(data("").value(), QVariantList{"root"});
}

TEST_F(Data, AnswersForHiddenAndUnplayableFiles)
{
    tree.addFile(".hidden");
    tree.addFile("notes.txt");
    EXPECT_EQ(data(".hidden").value(), QVariantList{".hidden"});
    EXPECT_EQ(data("notes.txt").value(), QVariantList{"notes.txt"});
}

TEST_F(Data, HasNoSpecialPaths)
{
    EXPECT_TRUE(data("menu/context").isError());
    tree.addDirectory("menu/context");
    EXPECT_EQ(data("menu/context").value(), QVariantList{"context"});
}

TEST_F(Data, AMissingEntryIsAnInvalidPath)
{
    const CMReply<QVariantList> reply = data("d/missing.mp3");
    ASSERT_TRUE(reply.isError());
    const CMError expected = CMAbstractWorker::createErrorInvalidPath(worker->addPrefix("d/missing.mp3"));
    EXPECT_EQ(reply.error().name(), expected.name());
    EXPECT_EQ(reply.error().message(), expected.message());
    EXPECT_EQ(reply.value(), QVariantList());
}

TEST_F(Data, AMissingDirectoryIsAnInvalidPathThoughThePathClimbsOutOfItAgain)
{
    EXPECT_EQ(data("missing/../d").error().name(), TavoErrorInvalidPath());
}

TEST_F(Data, ADanglingLinkIsAnInvalidPath)
{
    tree.addLink("link", "missing");
    EXPECT_EQ(data("link").error().name(), TavoErrorInvalidPath());
}

TEST_F(Data, ClimbingOutIsServedIfSomethingIsThere)
{
    tree.addFile("../x.mp3");
    EXPECT_EQ(data("../x.mp3").value(), QVariantList{"x.mp3"});
    EXPECT_EQ(data("../y.mp3").error().name(), TavoErrorInvalidPath());
}

TEST_F(Data, AnAbsolutePathElsewhereIsRefused)
{
    const CMReply<QVariantList> reply = data("/etc");
    ASSERT_TRUE(reply.isError());
    EXPECT_TRUE(
        messageHas(reply.error(), "File", "Access violation: path '%1' is outside '%2'", {"/etc", tree.root()}));
    EXPECT_EQ(reply.value(), QVariantList());
}

TEST_F(Data, ExistenceComesBeforeAccess)
{
    EXPECT_EQ(data("/missing").error().name(), TavoErrorInvalidPath());
}

TEST_F(Data, ReadPermissionIsNotNeeded)
{
    tree.forbid("d/x.mp3");
    const WithoutPrivileges unprivileged;
    EXPECT_EQ(data("d/x.mp3").value(), QVariantList{"x.mp3"});
}

TEST_F(Data, TakesNoLock)
{
    inside.mutex().lock();
    CMReply<QVariantList> reply;
    const std::unique_ptr<QThread> other(QThread::create([&] { reply = data("d"); }));
    other->start();
    other->wait();
    inside.mutex().unlock();
    EXPECT_EQ(reply.value(), QVariantList{"d"});
}

TEST_F(Data, WritesFourLinesBeforeTheEntryIsLookedAt)
{
    static_cast<void>(data("d/missing"));
    const auto& signature = Signature::getDataRequest;
    EXPECT_THAT(
        log.lines(), ElementsAre(
                         entryLine(signature), entryLine(signature, "d/missing"),
                         traceLine(signature, "getDataRequest request.path(): /file/d/missing"),
                         traceLine(signature, "getDataRequest path: d/missing")));
}

TEST_F(Data, WritesNothingAfterTheRowsEntryLine)
{
    static_cast<void>(data("d"));
    const std::vector<LogLine> lines = log.lines();
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_EQ(lines[4], entryLine(Signature::getDataImpl));
    log.clear();
    log.setLevel(log4cplus::DEBUG_LOG_LEVEL);
    static_cast<void>(data("d"));
    static_cast<void>(data("missing"));
    EXPECT_THAT(log.lines(), testing::IsEmpty());
}

/// Records how values are built.
class WatchedWorker : public CMFileWorker
{
public:
    using CMFileWorker::CMFileWorker;

    QVariantList getDataImpl(CMVoidReply& reply, const QString& path, const QStringList& roles) override
    {
        paths.append(path);
        askedRoles = roles;
        if (refuse)
            reply.setError(createErrorInvalidPath(addPrefix("refused")));
        return {"built"};
    }

    QStringList paths;
    QStringList askedRoles;
    bool refuse = false;
};

class BuiltData : public Data
{
protected:
    CMReply<QVariantList> ask(const QString& base)
    {
        const CMGetDataRequest request(watched.addPrefix(base), {"a", "b"});
        watched.getDataRequest(request);
        return request.reply();
    }

    WatchedWorker watched{fileConfiguration(tree.root())};
};

TEST_F(BuiltData, ComesFromTheVirtualOperationGivenThePathAsAskedFor)
{
    EXPECT_EQ(ask("d/../d").value(), QVariantList{"built"});
    EXPECT_EQ(watched.paths, QStringList{"d/../d"});
    EXPECT_EQ(watched.askedRoles, (QStringList{"a", "b"}));
}

TEST_F(BuiltData, IsNotAskedForWhereNothingIs)
{
    EXPECT_TRUE(ask("missing").isError());
    EXPECT_EQ(watched.paths, QStringList());
}

TEST_F(BuiltData, IsDroppedIfTheReplyHasAnErrorByThen)
{
    watched.refuse = true;
    const CMReply<QVariantList> reply = ask("d");
    ASSERT_TRUE(reply.isError());
    EXPECT_EQ(
        reply.error().message(), CMAbstractWorker::createErrorInvalidPath(watched.addPrefix("refused")).message());
    EXPECT_EQ(reply.value(), QVariantList());
}

/// Drops the request while the reply is being finished.
class RequestDropper : public CMReplyWatcher
{
public:
    explicit RequestDropper(CMGetDataRequest& request) : m_request(request) {}

    void replyFinished(const CMVoidReply& reply) override
    {
        m_request = CMGetDataRequest();
        finished = reply.isFinished();
    }

    bool finished = false;

private:
    CMGetDataRequest& m_request;
};

TEST_F(Data, TheReplyIsHeldWhileTheRequestIsServed)
{
    CMGetDataRequest request(worker->addPrefix("d"), {TavoRoles::Title()});
    RequestDropper watcher(request);
    request.reply().addWatcher(&watcher);
    worker->getDataRequest(request);
    EXPECT_TRUE(watcher.finished);
}

class DataDeathTest : public Data
{
};

TEST_F(DataDeathTest, ARequestWithoutARecordEndsTheProcess)
{
    EXPECT_DEATH(worker->getDataRequest(CMGetDataRequest()), "ASSERT: \"(m_d|d\\(\\))\"");
}

} // namespace
