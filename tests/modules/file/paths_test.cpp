#include "fileworkertest.h"
#include "tavo/tavokeys.h"

#include <QSet>

namespace {

using testing::ElementsAre;

constexpr char outside[] = "Access violation: path '%1' is outside '%2'";
constexpr char forbidden[] = "No permission to read directory '%1'";

class ErrorRecords : public FileWorkerTest
{
};

TEST_F(ErrorRecords, HaveExactlyThreeKeys)
{
    const QSet<QString> keys = {CMError::Name(), CMError::Message(), CMError::Title()};
    EXPECT_EQ(keys.size(), 3);
    for (const CMError& error : {inside.errorAccessViolation("x"), inside.errorNoReadPermission("x")}) {
        const QStringList found = error.keys();
        EXPECT_EQ(QSet<QString>(found.cbegin(), found.cend()), keys);
        EXPECT_EQ(found.size(), 3);
    }
}

TEST_F(ErrorRecords, ShareOneName)
{
    EXPECT_EQ(inside.errorAccessViolation("x").value(CMError::Name()), QVariant(TavoErrorAccessViolation()));
    EXPECT_EQ(inside.errorNoReadPermission("x").value(CMError::Name()), QVariant(TavoErrorAccessViolation()));
}

TEST_F(ErrorRecords, HaveTheDefaultTitleAsATranslatableText)
{
    for (const CMError& error : {inside.errorAccessViolation("x"), inside.errorNoReadPermission("x")}) {
        const QVariant title = error.value(CMError::Title());
        ASSERT_EQ(title.userType(), qMetaTypeId<TrString>());
        EXPECT_EQ(title.value<TrString>().charData().context, CMError::DefaultTitle().charData().context);
        EXPECT_EQ(title.value<TrString>().charData().sourceText, CMError::DefaultTitle().charData().sourceText);
        EXPECT_EQ(error.title(), CMError::DefaultTitle().toString());
    }
}

TEST_F(ErrorRecords, AccessViolationNamesThePathAsGivenAndTheRoot)
{
    const CMError error = inside.errorAccessViolation("../x");
    EXPECT_TRUE(messageHas(error, "File", outside, {"../x", tree.root()}));
    EXPECT_EQ(error.message(), "Access violation: path '../x' is outside '" + tree.root() + "'");
}

TEST_F(ErrorRecords, NoReadPermissionNamesThePathAsGiven)
{
    const CMError error = inside.errorNoReadPermission("a/../b");
    EXPECT_TRUE(messageHas(error, "File", forbidden, {"a/../b"}));
    EXPECT_EQ(error.message(), "No permission to read directory 'a/../b'");
}

TEST_F(ErrorRecords, WriteTheirEntryLineAndNothingElse)
{
    static_cast<void>(inside.errorAccessViolation("x"));
    static_cast<void>(inside.errorNoReadPermission("x"));
    EXPECT_THAT(
        log.lines(),
        ElementsAre(entryLine(Signature::errorAccessViolation), entryLine(Signature::errorNoReadPermission)));
}

class Mapping : public FileWorkerTest
{
protected:
    Mapping()
    {
        tree.addFile("a/one.mp3");
        tree.addFile("b/two.mp3");
        tree.addFile("../root2/sibling.mp3");
        tree.addFile("../other/stranger.mp3");
    }

    /// How the cleaned form answers: the names, or the error's message.
    [[nodiscard]] QStringList listed(const QString& path)
    {
        CMError error;
        const QStringList names = list(path, &error);
        const CMReply<TavoRowsRoles> reply = rows(path);
        EXPECT_EQ(reply.isError(), !error.isEmpty());
        EXPECT_EQ(reply.error().message(), error.message());
        return error.isEmpty() ? names : QStringList{error.message()};
    }

    /// How the joined form answers: the entry's name, or the error's message.
    [[nodiscard]] QString built(const QString& path)
    {
        CMError error;
        const QVariantList title = values(path, {TavoRoles::Title()}, &error);
        EXPECT_EQ(title.isEmpty(), !error.isEmpty());
        return error.isEmpty() ? title.value(0).toString() : error.message();
    }

    [[nodiscard]] QString violation(const QString& path) const
    {
        return "Access violation: path '" + path + "' is outside '" + tree.root() + "'";
    }
};

TEST_F(Mapping, TheEmptyPathIsTheRoot)
{
    EXPECT_EQ(listed(""), (QStringList{"a", "b"}));
    EXPECT_EQ(built(""), "root");
}

TEST_F(Mapping, RelativePathsStartAtTheRoot)
{
    EXPECT_EQ(listed("a"), QStringList{"one.mp3"});
    EXPECT_EQ(built("a/one.mp3"), "one.mp3");
}

TEST_F(Mapping, AbsolutePathsUnderTheRootPass)
{
    EXPECT_EQ(listed(tree.path("b")), QStringList{"two.mp3"});
    EXPECT_EQ(built(tree.path("b/two.mp3")), "two.mp3");
    EXPECT_EQ(listed(tree.root()), (QStringList{"a", "b"}));
}

TEST_F(Mapping, AbsolutePathsElsewhereAreRefused)
{
    const QString other = tree.path("../other");
    const QString absolute = QDir::cleanPath(other);
    EXPECT_EQ(listed(absolute), QStringList{violation(absolute)});
    EXPECT_EQ(built(absolute), violation(absolute));
    EXPECT_EQ(listed("/etc"), QStringList{violation("/etc")});
    EXPECT_EQ(built("/etc"), violation("/etc"));
}

TEST_F(Mapping, CleanedPathsThatClimbOutAreRefused)
{
    EXPECT_EQ(listed(".."), QStringList{violation("..")});
    EXPECT_EQ(listed("../other"), QStringList{violation("../other")});
    EXPECT_EQ(listed("a/../../other"), QStringList{violation("a/../../other")});
    EXPECT_EQ(listed(tree.path("../other")), QStringList{violation(tree.path("../other"))});
}

TEST_F(Mapping, CleanedPathsThatComeBackPass)
{
    EXPECT_EQ(listed("a/../b/."), QStringList{"two.mp3"});
    EXPECT_EQ(listed("../root/a"), QStringList{"one.mp3"});
}

TEST_F(Mapping, JoinedPathsPassHoweverTheyClimb)
{
    EXPECT_EQ(built("../other/stranger.mp3"), "stranger.mp3");
    EXPECT_EQ(built("../../x"), "x");
    EXPECT_EQ(built(tree.path("../other/stranger.mp3")), "stranger.mp3");
}

TEST_F(Mapping, TheRootIsAPlainPrefix)
{
    EXPECT_EQ(listed("../root2"), QStringList{"sibling.mp3"});
    EXPECT_EQ(listed(tree.root() + '2'), QStringList{"sibling.mp3"});
    EXPECT_EQ(built("../root2"), "root2");
    EXPECT_EQ(built(tree.root() + "2/sibling.mp3"), "sibling.mp3");
}

TEST_F(Mapping, ThePrefixIsComparedWithCase)
{
    const QString upper = tree.root().left(tree.root().size() - 4) + "ROOT";
    tree.addFile("../ROOT/a.mp3");
    EXPECT_EQ(listed(upper), QStringList{violation(upper)});
    EXPECT_EQ(built(upper), violation(upper));
}

TEST_F(Mapping, LinksThatLeaveTheRootAreServed)
{
    tree.addLink("link", "../other");
    EXPECT_EQ(listed("link"), QStringList{"stranger.mp3"});
    EXPECT_EQ(built("link/stranger.mp3"), "stranger.mp3");
}

TEST_F(Mapping, AnEmptyRootLetsEveryAbsolutePathPass)
{
    const std::unique_ptr<CMFileWorker> rootless = makeFileWorker(fileConfiguration({}));
    CMVoidReply reply(new CMReplyData<TavoRowsRoles>);
    EXPECT_EQ(CMFileWorkerInspector(*rootless).entryList(reply, tree.path("a")), QStringList{"one.mp3"});
    EXPECT_FALSE(reply.isFinished());
}

TEST_F(Mapping, MissingDirectoriesMayNotBeRead)
{
    EXPECT_EQ(listed("missing"), QStringList{"No permission to read directory 'missing'"});
    EXPECT_EQ(
        listed(tree.path("missing")), QStringList{"No permission to read directory '" + tree.path("missing") + "'"});
}

TEST_F(Mapping, ForbiddenDirectoriesMayNotBeRead)
{
    tree.forbid("a");
    const WithoutPrivileges unprivileged;
    EXPECT_EQ(listed("a"), QStringList{"No permission to read directory 'a'"});
}

TEST_F(Mapping, OutsideIsRefusedBeforeReadabilityIsLookedAt)
{
    tree.forbid("../other");
    const WithoutPrivileges unprivileged;
    EXPECT_EQ(listed("../other"), QStringList{violation("../other")});
    EXPECT_EQ(listed("../missing"), QStringList{violation("../missing")});
}

TEST_F(Mapping, RefusalsChangeNothing)
{
    open("a");
    const int version = inside.rowsVersion();
    const QHash<QString, int> counts = inside.watchCounts();
    static_cast<void>(listed("../other"));
    static_cast<void>(listed("missing"));
    static_cast<void>(built("/etc"));
    EXPECT_EQ(inside.rowsVersion(), version);
    EXPECT_EQ(inside.watchCounts(), counts);
    EXPECT_EQ(inside.recordCount(), 1);
    EXPECT_EQ(inside.record(tree.path("a")), (CMFileWorkerInspector::Record{-1, version}));
}

TEST_F(Mapping, RefusalsAreNotLoggedAsFaults)
{
    static_cast<void>(listed("../other"));
    static_cast<void>(listed("missing"));
    static_cast<void>(built("/etc"));
    for (const LogLine& line : log.lines())
        EXPECT_EQ(line.level, log4cplus::TRACE_LOG_LEVEL) << line;
}

TEST_F(Mapping, SubscribingOutsideIsIgnored)
{
    const QString absolute = QDir::cleanPath(tree.path("../other"));
    open(absolute);
    EXPECT_EQ(inside.recordCount(), 0);
    open("../other");
    EXPECT_TRUE(inside.hasRecord(tree.path("../other")));
}

} // namespace
