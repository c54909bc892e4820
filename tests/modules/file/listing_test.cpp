#include "fileworkertest.h"
#include "scandirhook.h"
#include "tavo/tavokeys.h"

#include <QRegExp>
#include <QTextCodec>

#include <random>

#include <sys/stat.h>
#include <unistd.h>

namespace {

using testing::ElementsAre;

class Listing : public FileWorkerTest
{
protected:
    ~Listing() override { ScanDirHook::reset(); }

    /// Makes the file system report no types.
    static void hideTypes()
    {
        ScanDirHook::changeEntry = [](dirent& entry) { entry.d_type = DT_UNKNOWN; };
    }

    [[nodiscard]] LogLine listingEntered(const QString& path) const
    {
        const QString directory = QFileInfo(QDir(tree.root()), path).absoluteFilePath();
        return entryLine(Signature::entryList, "dir:" + directory + "path:" + path);
    }
};

TEST_F(Listing, DirectoriesComeBeforePlayableFilesAndHiddenOnesNot)
{
    tree.addDirectory("b");
    tree.addFile("a.mp3");
    tree.addDirectory("A");
    tree.addDirectory(".hidden");
    EXPECT_EQ(list(""), (QStringList{"A", "b", "a.mp3"}));
}

TEST_F(Listing, EachGroupKeepsTheOrderOfTheByteNames)
{
    for (const char* name : {"b", "C", "a", "10", "9", "\u00e4"})
        tree.addDirectory(name);
    for (const char* name : {"b.mp3", "C.mp3", "a.mp3", "10.mp3", "9.mp3", "\u00e4.mp3"})
        tree.addFile(name);
    EXPECT_EQ(
        list(""),
        (QStringList{"10", "9", "C", "a", "b", "\u00e4", "10.mp3", "9.mp3", "C.mp3", "a.mp3", "b.mp3", "\u00e4.mp3"}));
}

TEST_F(Listing, HiddenFilesAreDroppedThoughTheyMatch)
{
    tree.addFile(".a.mp3");
    tree.addFile("..mp3");
    EXPECT_EQ(list(""), QStringList());
}

TEST_F(Listing, TheDirectoryAndTheOneAboveNeverAppear)
{
    EXPECT_EQ(list(""), QStringList());
    hideTypes();
    EXPECT_EQ(list(""), QStringList());
}

TEST_F(Listing, FilesThatAreNotPlayableAreDroppedWithADebugLine)
{
    tree.addFile("notes.txt");
    EXPECT_EQ(list(""), QStringList());
    EXPECT_THAT(
        log.lines(), ElementsAre(listingEntered(""), debugLine(Signature::filter, "Not a playable file: notes.txt")));
}

TEST_F(Listing, PatternsAreComparedWithoutCase)
{
    tree.addFile("Track.FLAC");
    EXPECT_EQ(list(""), QStringList{"Track.FLAC"});
}

TEST_F(Listing, DirectoriesNeedNotMatch)
{
    tree.addDirectory("x.txt");
    EXPECT_EQ(list(""), QStringList{"x.txt"});
}

TEST_F(Listing, WithoutPatternsOnlyDirectoriesAreShown)
{
    tree.addDirectory("d");
    tree.addFile("a.mp3");
    const std::unique_ptr<CMFileWorker> bare = makeFileWorker(fileConfiguration(tree.root(), {}));
    CMVoidReply reply(new CMReplyData<TavoRowsRoles>);
    EXPECT_EQ(CMFileWorkerInspector(*bare).entryList(reply, ""), QStringList{"d"});
}

TEST_F(Listing, WritesALineForEveryEntryInTheOrderOfItsWork)
{
    tree.addFile("a.mp3");
    tree.addFile("b.txt");
    tree.addDirectory("z");
    EXPECT_EQ(list(""), (QStringList{"z", "a.mp3"}));
    EXPECT_THAT(
        log.lines(), ElementsAre(
                         listingEntered(""), traceLine(Signature::entryList, "found dir:z"),
                         traceLine(Signature::entryList, "found file:a.mp3"),
                         debugLine(Signature::filter, "Not a playable file: b.txt")));
}

TEST_F(Listing, WritesNothingAboveDebug)
{
    tree.addFile("a.mp3");
    tree.addFile("b.txt");
    log.setLevel(log4cplus::INFO_LOG_LEVEL);
    EXPECT_EQ(list(""), QStringList{"a.mp3"});
    EXPECT_THAT(log.lines(), testing::IsEmpty());
}

TEST_F(Listing, FilesThatAreNotPlayableAreLoggedAtDebugToo)
{
    tree.addFile("a.mp3");
    tree.addFile("b.txt");
    log.setLevel(log4cplus::DEBUG_LOG_LEVEL);
    EXPECT_EQ(list(""), QStringList{"a.mp3"});
    EXPECT_THAT(log.lines(), ElementsAre(debugLine(Signature::filter, "Not a playable file: b.txt")));
}

TEST_F(Listing, TheEntryLineNamesTheCleanedDirectoryAndThePathAsGiven)
{
    tree.addDirectory("a");
    EXPECT_EQ(list("a/../a"), QStringList());
    EXPECT_THAT(log.lines(), ElementsAre(entryLine(Signature::entryList, "dir:" + tree.path("a") + "path:a/../a")));
}

TEST_F(Listing, RefusalsWriteTheEntryLineFirst)
{
    EXPECT_EQ(list("../x"), QStringList());
    EXPECT_EQ(list("x"), QStringList());
    EXPECT_THAT(
        log.lines(), ElementsAre(
                         listingEntered("../x"), entryLine(Signature::errorAccessViolation), listingEntered("x"),
                         entryLine(Signature::errorNoReadPermission)));
}

TEST_F(Listing, OutsideTheRootIsRefusedThoughItExists)
{
    CMError error;
    EXPECT_EQ(list("..", &error), QStringList());
    EXPECT_EQ(error.message(), inside.errorAccessViolation("..").message());
    EXPECT_TRUE(ScanDirHook::calls.empty());
}

TEST_F(Listing, AForbiddenDirectoryIsRefused)
{
    tree.addFile("a/b.mp3");
    tree.forbid("a");
    const WithoutPrivileges unprivileged;
    CMError error;
    EXPECT_EQ(list("a", &error), QStringList());
    EXPECT_EQ(error.message(), inside.errorNoReadPermission("a").message());
    EXPECT_TRUE(ScanDirHook::calls.empty());
}

TEST_F(Listing, AMissingDirectoryIsRefused)
{
    CMError error;
    EXPECT_EQ(list("a/b", &error), QStringList());
    EXPECT_EQ(error.message(), inside.errorNoReadPermission("a/b").message());
}

TEST_F(Listing, ReadabilityIsAskedOfThePathAsGiven)
{
    tree.addDirectory("a");
    CMError error;
    EXPECT_EQ(list("missing/../a", &error), QStringList());
    EXPECT_EQ(error.message(), inside.errorNoReadPermission("missing/../a").message());
}

TEST_F(Listing, AnEmptyDirectoryIsNoError)
{
    CMError error;
    EXPECT_EQ(list("", &error), QStringList());
    EXPECT_TRUE(error.isEmpty());
    EXPECT_THAT(log.lines(), ElementsAre(listingEntered("")));
}

TEST_F(Listing, AListingWithoutAnyEntryIsNoError)
{
    tree.addFile("a.mp3");
    ScanDirHook::empty = true;
    CMError error;
    EXPECT_EQ(list("", &error), QStringList());
    EXPECT_TRUE(error.isEmpty());
    EXPECT_THAT(log.lines(), ElementsAre(listingEntered("")));
}

TEST_F(Listing, AFilePassesTheTestsAndFailsToBeListed)
{
    tree.addFile("a.mp3");
    CMError error;
    EXPECT_EQ(list("a.mp3", &error), QStringList());
    EXPECT_TRUE(error.isEmpty());
    EXPECT_THAT(
        log.lines(), ElementsAre(listingEntered("a.mp3"), errorLine(Signature::entryList, "scandir failed: -1")));
}

TEST_F(Listing, AFailureIsLoggedByTheCountReturned)
{
    ScanDirHook::failure = -12;
    CMError error;
    EXPECT_EQ(list("", &error), QStringList());
    EXPECT_TRUE(error.isEmpty());
    EXPECT_THAT(log.lines(), ElementsAre(listingEntered(""), errorLine(Signature::entryList, "scandir failed: -12")));
}

TEST_F(Listing, IsOneUnfilteredAlphabeticScan)
{
    tree.addDirectory("\u00e4");
    tree.addFile("\u00e4/a.mp3");
    EXPECT_EQ(list("\u00e4/../\u00e4"), QStringList{"a.mp3"});
    ASSERT_EQ(ScanDirHook::calls.size(), 1U);
    EXPECT_EQ(ScanDirHook::calls[0].path, tree.path("\u00e4").toUtf8());
    EXPECT_FALSE(ScanDirHook::calls[0].filtered);
    EXPECT_TRUE(ScanDirHook::calls[0].alphabetic);
}

TEST_F(Listing, NamesAreDecodedFromUtf8)
{
    tree.addFile("\u65e5\u672c \U0001f3b5.mp3");
    tree.addDirectory("caf\u00e9");
    EXPECT_EQ(list(""), (QStringList{"caf\u00e9", "\u65e5\u672c \U0001f3b5.mp3"}));
}

/// Under a locale whose encoding is not UTF-8.
class ListingInLatin1 : public Listing
{
protected:
    ListingInLatin1() { QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1")); }
    ~ListingInLatin1() override { QTextCodec::setCodecForLocale(m_before); }

private:
    QTextCodec* const m_before = QTextCodec::codecForLocale();
};

TEST_F(ListingInLatin1, NamesAreDecodedFromUtf8)
{
    tree.addFile("caf\u00e9.mp3");
    tree.addDirectory("caf\u00e9");
    EXPECT_EQ(list(""), (QStringList{"caf\u00e9", "caf\u00e9.mp3"}));
}

TEST_F(ListingInLatin1, TheDirectoryIsReadByItsUtf8Name)
{
    tree.addFile("\u00e4/a.mp3");
    // Qt looks for the name in the locale's encoding when it checks that the directory is readable.
    const QByteArray inLatin1 = tree.root().toUtf8() + "/\xE4";
    ASSERT_EQ(mkdir(inLatin1.constData(), 0755), 0);
    EXPECT_EQ(list("\u00e4"), QStringList{"a.mp3"});
    // QTemporaryDir could not remove it.
    EXPECT_EQ(rmdir(inLatin1.constData()), 0);
}

TEST_F(Listing, NamesThatAreNoUtf8AreShownWithReplacements)
{
    ScanDirHook::changeEntry = [](dirent& entry) {
        if (entry.d_name[0] == 'X')
            entry.d_name[0] = '\xff';
    };
    tree.addFile("X.mp3");
    EXPECT_EQ(list(""), QStringList{QString(QChar(0xfffd)) + ".mp3"});
}

TEST_F(Listing, AByteOrderMarkIsAPartOfTheName)
{
    const QString name = QString(QChar(QChar::ByteOrderMark)) + "x.mp3";
    tree.addFile(name);
    EXPECT_EQ(list(""), QStringList{name});
}

TEST_F(Listing, NamesMayHoldAnyCharacter)
{
    const QStringList names = {"\n.mp3", " .mp3", "\".mp3", "#%3f?.mp3", "\\.mp3", QString(251, 'x') + ".mp3"};
    for (const QString& name : names)
        tree.addFile(name);
    EXPECT_EQ(list(""), names);
}

TEST_F(Listing, KnownTypesAreBelievedWithoutAskingTheFileSystem)
{
    tree.addFile("d");
    tree.addDirectory("f.mp3");
    tree.addDirectory("g");
    ScanDirHook::changeEntry = [](dirent& entry) {
        if (entry.d_name[0] != '.')
            entry.d_type = entry.d_name[0] == 'd' ? DT_DIR : DT_REG;
    };
    EXPECT_EQ(list(""), (QStringList{"d", "f.mp3"}));
}

TEST_F(Listing, UnknownTypesAreAskedFor)
{
    tree.addDirectory("d");
    tree.addFile("e");
    tree.addFile("f.mp3");
    hideTypes();
    EXPECT_EQ(list(""), (QStringList{"d", "f.mp3"}));
}

TEST_F(Listing, TheAnswerIsStoredBackIntoTheEntry)
{
    tree.addDirectory("d.mp3");
    tree.addFile("f.mp3");
    hideTypes();
    EXPECT_EQ(list(""), (QStringList{"d.mp3", "f.mp3"}));
}

TEST_F(Listing, ALinkToADirectoryIsAFileWhereTypesAreKnown)
{
    tree.addDirectory("d");
    tree.addLink("link", "d");
    tree.addLink("link.mp3", "d");
    EXPECT_EQ(list(""), (QStringList{"d", "link.mp3"}));
}

TEST_F(Listing, ALinkToADirectoryIsADirectoryWhereTypesAreUnknown)
{
    tree.addDirectory("d");
    tree.addLink("link", "d");
    hideTypes();
    EXPECT_EQ(list(""), (QStringList{"d", "link"}));
}

TEST_F(Listing, DanglingAndLoopingLinksAreFiles)
{
    tree.addLink("dangling.mp3", "missing");
    tree.addLink("loop.mp3", "loop.mp3");
    tree.addLink("loop", "loop");
    EXPECT_EQ(list(""), (QStringList{"dangling.mp3", "loop.mp3"}));
    hideTypes();
    EXPECT_EQ(list(""), (QStringList{"dangling.mp3", "loop.mp3"}));
}

TEST_F(Listing, SpecialFilesAreListedAmongTheFiles)
{
    const QByteArray pipe = tree.path("pipe.mp3").toUtf8();
    ASSERT_EQ(mkfifo(pipe.constData(), 0600), 0);
    tree.addFile("z.mp3");
    EXPECT_EQ(list(""), (QStringList{"pipe.mp3", "z.mp3"}));
}

TEST_F(Listing, AnAbsolutePathIsTakenAsItStands)
{
    tree.addFile("a/b.mp3");
    EXPECT_EQ(list(tree.path("a")), QStringList{"b.mp3"});
    EXPECT_THAT(
        log.lines(),
        testing::Contains(entryLine(Signature::entryList, "dir:" + tree.path("a") + "path:" + tree.path("a"))));
}

class Filter : public testing::Test
{
protected:
    [[nodiscard]] static bool shows(const QStringList& patterns, const QString& name, bool isDir = false)
    {
        const std::unique_ptr<CMFileWorker> worker = makeFileWorker(fileConfiguration("/", patterns));
        return CMFileWorkerInspector(*worker).filter(name, isDir);
    }
};

TEST_F(Filter, HidesNamesThatBeginWithADot)
{
    EXPECT_FALSE(shows({"*"}, ".a"));
    EXPECT_FALSE(shows({"*"}, ".a", true));
    EXPECT_TRUE(shows({"*"}, "a."));
}

TEST_F(Filter, ShowsEveryOtherDirectory)
{
    EXPECT_TRUE(shows({}, "a", true));
    EXPECT_TRUE(shows({"*.mp3"}, "a", true));
}

TEST_F(Filter, ShowsAFileThatMatchesAnyPattern)
{
    EXPECT_TRUE(shows({"*.ogg", "*.mp3"}, "a.mp3"));
    EXPECT_TRUE(shows({"*.mp3", "*.ogg"}, "a.mp3"));
    EXPECT_FALSE(shows({"*.ogg", "*.opus"}, "a.mp3"));
}

TEST_F(Filter, PatternsCoverTheWholeName)
{
    EXPECT_FALSE(shows({"*.mp"}, "a.mp3"));
    EXPECT_FALSE(shows({".mp3"}, "a.mp3"));
    EXPECT_FALSE(shows({"mp3"}, "a.mp3"));
    EXPECT_TRUE(shows({"a.mp3"}, "A.MP3"));
    EXPECT_FALSE(shows({" *.mp3"}, "a.mp3"));
}

TEST_F(Filter, PatternsAreShellWildcards)
{
    EXPECT_TRUE(shows({"?.mp[34]"}, "a.mp4"));
    EXPECT_FALSE(shows({"?.mp[34]"}, "ab.mp4"));
    EXPECT_FALSE(shows({"?.mp[34]"}, "a.mp5"));
    EXPECT_FALSE(shows({".*"}, "a.mp3"));
    EXPECT_FALSE(shows({"a.mp3|b"}, "a.mp3"));
}

TEST_F(Filter, WritesALineForAFileThatNoPatternMatchesAndForNothingElse)
{
    LogCapture log;
    const std::unique_ptr<CMFileWorker> worker = makeFileWorker(fileConfiguration("/", {"*.mp3"}));
    const CMFileWorkerInspector inside(*worker);
    log.clear();
    EXPECT_FALSE(inside.filter(".a.mp3", false));
    EXPECT_FALSE(inside.filter(".a", true));
    EXPECT_TRUE(inside.filter("a.mp3", false));
    EXPECT_TRUE(inside.filter("a", true));
    EXPECT_FALSE(inside.filter("a", false));
    EXPECT_THAT(log.lines(), ElementsAre(debugLine(Signature::filter, "Not a playable file: a")));
}

TEST_F(Filter, DecidesAsQRegExpDoes)
{
    const QString alphabet = QString::fromUtf8("abA.*?[]!^-\\ß");
    std::mt19937 random(20240607);
    const auto below = [&random](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    const auto randomText = [&](int longest) {
        QString text;
        for (int length = below(longest + 1); length > 0; --length)
            text += alphabet.at(below(alphabet.size()));
        return text;
    };
    for (int round = 0; round < 300; ++round) {
        const QString pattern = randomText(6);
        const std::unique_ptr<CMFileWorker> worker = makeFileWorker(fileConfiguration("/", {pattern}));
        QRegExp expression(pattern, Qt::CaseInsensitive);
        expression.setPatternSyntax(QRegExp::Wildcard);
        for (int i = 0; i < 30; ++i) {
            const QString name = randomText(5);
            const bool expected = !name.startsWith('.') && expression.exactMatch(name);
            ASSERT_EQ(CMFileWorkerInspector(*worker).filter(name, false), expected)
                << testing::PrintToString(name) << " against " << testing::PrintToString(pattern);
        }
    }
}

} // namespace
