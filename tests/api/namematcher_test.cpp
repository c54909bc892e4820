#include "tavo/tavonamematcher.h"

#include <QRegExp>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <future>
#include <initializer_list>
#include <memory>
#include <random>
#include <vector>

namespace {

bool matches(const QString& pattern, const QString& name)
{
    return TavoNameMatcher({pattern}).matches(name);
}

bool regExpMatches(const QString& pattern, const QString& name)
{
    return QRegExp(pattern, Qt::CaseInsensitive, QRegExp::Wildcard).exactMatch(name);
}

std::string readable(const QString& text)
{
    QString result;
    for (const QChar unit : text) {
        const bool isPlain = unit >= QLatin1Char(' ') && unit <= QLatin1Char('~');
        result += isPlain ? QString(unit) : QStringLiteral("<%1>").arg(unit.unicode(), 4, 16, QLatin1Char('0'));
    }
    return result.toStdString();
}

/// False if the undecoded name decides otherwise than `expected`. A name that no directory can hold passes.
bool agreesUndecoded(const TavoNameMatcher& matcher, const QString& name, bool expected)
{
    const QByteArray bytes = name.toUtf8();
    const bool isEncoded = QString::fromUtf8(bytes) == name && !name.contains(QChar::Null);
    return !isEncoded || matcher.matchesUndecoded(bytes).value_or(expected) == expected;
}

void expectMatch(const QString& pattern, std::initializer_list<QString> names)
{
    for (const QString& name : names) {
        EXPECT_TRUE(regExpMatches(pattern, name)) << "QRegExp: " << readable(pattern) << " on " << readable(name);
        EXPECT_TRUE(matches(pattern, name)) << readable(pattern) << " on " << readable(name);
        EXPECT_TRUE(agreesUndecoded(TavoNameMatcher({pattern}), name, true))
            << readable(pattern) << " on the bytes of " << readable(name);
    }
}

void expectNoMatch(const QString& pattern, std::initializer_list<QString> names)
{
    for (const QString& name : names) {
        EXPECT_FALSE(regExpMatches(pattern, name)) << "QRegExp: " << readable(pattern) << " on " << readable(name);
        EXPECT_FALSE(matches(pattern, name)) << readable(pattern) << " on " << readable(name);
        EXPECT_TRUE(agreesUndecoded(TavoNameMatcher({pattern}), name, false))
            << readable(pattern) << " on the bytes of " << readable(name);
    }
}

QString units(std::initializer_list<ushort> codes)
{
    QString text;
    for (const ushort code : codes)
        text += QChar(code);
    return text;
}

TEST(NameMatcher, NoPatternMatchesNoName)
{
    EXPECT_FALSE(TavoNameMatcher(QStringList()).matches("a.mp3"));
    EXPECT_FALSE(TavoNameMatcher(QStringList()).matches(QString()));
}

TEST(NameMatcher, OneOfThePatternsIsEnough)
{
    const TavoNameMatcher matcher({"*.mp3", "[", "*.flac", "cover.*"});
    EXPECT_TRUE(matcher.matches("a.mp3"));
    EXPECT_TRUE(matcher.matches("a.flac"));
    EXPECT_TRUE(matcher.matches("Cover.jpg"));
    EXPECT_FALSE(matcher.matches("a.ogg"));
}

TEST(NameMatcher, CopiesDecideAlike)
{
    auto original = std::make_unique<TavoNameMatcher>(QStringList{"*.mp3"});
    const TavoNameMatcher copy = *original;
    original.reset();
    EXPECT_TRUE(copy.matches("a.mp3"));
    EXPECT_FALSE(copy.matches("a.ogg"));
}

TEST(NameMatcher, EmptyPatternMatchesTheEmptyNameOnly)
{
    expectMatch("", {QString(), QStringLiteral("")});
    expectMatch(QString(), {QString(), QStringLiteral("")});
    expectNoMatch("", {"a", " ", units({0})});
}

TEST(NameMatcher, PatternCoversTheWholeName)
{
    expectMatch("song", {"song", "SONG", "Song"});
    expectNoMatch("song", {"", "son", "songs", "a song"});
    expectNoMatch("*.mp3", {"a.mp3.txt", "mp3", "amp3", "p3", ""});
}

TEST(NameMatcher, EndingsMatchInAnyCase)
{
    expectMatch("*.mp3", {"Song.MP3", "song.mp3", ".mp3", "a.b.Mp3"});
    expectMatch("*.FLAC", {"Track.flac", "Track.FLAC"});
    expectNoMatch("*.flac", {"Track.xlac", "Track.lac", "flac"});
}

TEST(NameMatcher, StarMatchesAnythingAndNothing)
{
    expectMatch("*", {"", "a", "new\nline", units({0}), units({0xD800}), units({0xDC00, 0xD800})});
    expectMatch("a**b", {"ab", "axb", "abb"});
    expectMatch("*ab*ab*", {"abab", "aabab", "ab ab", "xabxabx"});
    expectNoMatch("*ab*ab*", {"ab", "aba", "abb", "bab"});
    expectNoMatch("*a*a", {"a", "aab"});
    expectNoMatch("ab*ba", {"aba", "ab", "ba"});
    expectMatch("ab*ba", {"abba", "abxba"});
}

TEST(NameMatcher, QuestionMarkMatchesOneCodeUnit)
{
    expectMatch("a?c", {"abc", "a\nc", units({'a', 0, 'c'}), units({'a', 0xD800, 'c'})});
    expectNoMatch("a?c", {"ac", "abbc", QString::fromUtf8("a\U0001F3B5c")});
    expectMatch("a??c", {QString::fromUtf8("a\U0001F3B5c")});
    expectNoMatch("?", {""});
}

TEST(NameMatcher, SurrogatesAreTwoUnits)
{
    const QString note = QString::fromUtf8("\U0001F3B5");
    expectMatch("*" + note, {note, "a" + note});
    expectNoMatch("*" + note, {note.left(1), note.mid(1), note.mid(1) + note.left(1)});
    expectMatch("[" + note + "]", {note.left(1), note.mid(1)});
    expectNoMatch("[" + note + "]", {note});
    expectMatch("[" + note + "][" + note + "]", {note, note.mid(1) + note.left(1)});
}

// QRegExp reads the NUL that ends the name.
TEST(NameMatcher, NulIsAUnitLikeAnyOther)
{
    expectMatch(units({'a', 0}), {units({'a', 0})});
    expectNoMatch(units({'a', 0}), {"a"});
    expectNoMatch(units({0}), {"", units({0, 0})});
    expectNoMatch(QString("[%1]").arg(QChar(0)), {""});
    expectNoMatch("a", {units({'a', 0})});
}

TEST(NameMatcher, ClassHoldsUnitsAndRanges)
{
    expectMatch("[abc]", {"a", "B", "c"});
    expectNoMatch("[abc]", {"", "d", "ab"});
    expectMatch("[0-9x]", {"0", "5", "9", "x", "X"});
    expectNoMatch("[0-9x]", {"-", "/", ":"});
    expectMatch("[a-c-e]", {"b", "-", "e"});
    expectNoMatch("[a-c-e]", {"d"});
    expectMatch("*[0-9]?.mp?", {"Track 01.mp3", "07.MP4"});
    expectNoMatch("*[0-9]?.mp?", {"Track.mp3", "0.mp3", "01.mp", "01.mp33"});
}

TEST(NameMatcher, RangeMayRunBackwards)
{
    expectMatch("[9-0]", {"0", "5", "9"});
    expectNoMatch("[9-0]", {"-", "a"});
}

TEST(NameMatcher, CaretNegatesAClass)
{
    expectMatch("[^abc]", {"d", "^", "\n", units({0})});
    expectNoMatch("[^abc]", {"", "a", "B", "dd"});
    expectMatch("[a^]", {"a", "^"});
    expectNoMatch("[^^]", {"^"});
}

TEST(NameMatcher, ExclamationMarkIsAMember)
{
    expectMatch("[!a]", {"!", "a", "A"});
    expectNoMatch("[!a]", {"b"});
}

TEST(NameMatcher, FirstClosingBracketIsAMember)
{
    expectMatch("[]]", {"]"});
    expectMatch("[]a]", {"]", "a"});
    expectMatch("[^]]", {"a"});
    expectNoMatch("[^]]", {"]"});
    expectMatch("[]-a]", {"]", "^", "`", "a"});
    expectMatch("[[]", {"["});
}

TEST(NameMatcher, DashAtAnEndOfAClassIsAMember)
{
    expectMatch("[-a]", {"-", "a"});
    expectMatch("[a-]", {"-", "a"});
    expectMatch("[^-a]", {"b"});
    expectNoMatch("[-a]", {"b", "."});
    expectMatch("[--/]", {"-", ".", "/"});
    expectMatch("[-]", {"-"});
}

TEST(NameMatcher, UnbalancedBracketMatchesNothing)
{
    for (const char* pattern : {"[", "[a", "[^", "[]", "[^]", "]", "a]", "[a]]", "*[", "*]", "\\[a]"})
        expectNoMatch(pattern, {"", "a", "[", "]", "^", "[a", "a]", pattern});
}

TEST(NameMatcher, BackslashStandsForItselfAndEscapesAWildcard)
{
    expectMatch("\\", {"\\"});
    expectMatch("\\*", {"\\*"});
    expectNoMatch("\\*", {"*", "\\", "\\a"});
    expectMatch("\\?", {"\\?"});
    expectNoMatch("\\?", {"?", "\\a"});
    expectMatch("\\[a", {"\\[a"});
    expectMatch("\\]", {"\\]"});
    expectMatch("\\\\*", {"\\\\*"});
    expectMatch("\\**", {"\\*", "\\*a"});
}

TEST(NameMatcher, BackslashCountsTwiceBeforeAnOrdinaryUnit)
{
    expectMatch("\\a", {"\\\\a"});
    expectNoMatch("\\a", {"\\a", "a"});
    expectMatch("\\.", {"\\\\."});
    expectMatch("\\\\", {"\\\\"});
    expectMatch(R"(\\a)", {R"(\\\a)"});
    expectMatch("a\\", {"a\\"});
}

TEST(NameMatcher, BackslashInAClassIsAMember)
{
    expectMatch("[\\]", {"\\"});
    expectMatch("[a\\b]", {"a", "\\", "b"});
    expectMatch("[\\-a]", {"\\", "]", "a"});
    expectMatch("[\\]*", {"\\", "\\a"});
    expectMatch("[\\d]", {"\\", "d"});
    expectNoMatch("[\\d]", {"1"});
}

TEST(NameMatcher, OperatorsOfRegularExpressionsAreOrdinary)
{
    expectMatch("$(a)+.^{1}|b", {"$(a)+.^{1}|b"});
    expectNoMatch("a.c", {"abc"});
    expectNoMatch("a+", {"aa", "a"});
    expectNoMatch("a|b", {"a", "b"});
}

TEST(NameMatcher, RangeOfAllUnitsIsEmpty)
{
    const QString all = QString("%1-%2").arg(QChar(0)).arg(QChar(0xFFFF));
    expectNoMatch("[" + all + "]", {"a", units({0}), units({0xFFFF})});
    expectMatch("[^" + all + "]", {"a", units({0}), units({0xFFFF})});
    expectMatch(QString("[%1-%2]").arg(QChar(1)).arg(QChar(0xFFFF)), {"a", units({0xFFFF})});
}

TEST(NameMatcher, LiteralsAreFoldedByUnit)
{
    expectMatch("k", {"K", QString::fromUtf8("\u212A")});
    expectMatch(QString::fromUtf8("\u212A"), {"k", "K"});
    expectMatch(QString::fromUtf8("\u01C5"), {QString::fromUtf8("\u01C4"), QString::fromUtf8("\u01C6")});
    expectMatch(QString::fromUtf8("\u03A3"), {QString::fromUtf8("\u03C3")});
    expectNoMatch(QString::fromUtf8("\u03A3"), {QString::fromUtf8("\u03C2")});
    expectMatch(QString::fromUtf8("\u00DF"), {QString::fromUtf8("\u1E9E")});
    expectNoMatch(QString::fromUtf8("\u00DF"), {"ss", "SS"});
    expectNoMatch("s", {QString::fromUtf8("\u017F")});
    expectNoMatch("i", {QString::fromUtf8("\u0130"), QString::fromUtf8("\u0131")});
}

TEST(NameMatcher, ClassesHoldBothCasesOfAUnit)
{
    expectMatch("[s]", {"S"});
    expectNoMatch("[s]", {QString::fromUtf8("\u017F")});
    expectMatch("[S]", {QString::fromUtf8("\u017F")});
    expectMatch("[k]", {QString::fromUtf8("\u212A")});
    expectMatch("[I]", {QString::fromUtf8("\u0131")});
    expectNoMatch("[^I]", {QString::fromUtf8("\u0131"), "i"});
    expectMatch(QString::fromUtf8("[\u03A3]"), {QString::fromUtf8("\u03C2"), QString::fromUtf8("\u03C3")});
}

TEST(NameMatcher, EveryUnitIsFoldedAsQRegExpFoldsIt)
{
    for (const char* pattern :
         {"i", "k", "s", "[i-k]", "[I-K]", "[^i]", "[A-z]", "[^S]", "\u01C5", "\u03C2", "\u0131", "[\u0130-\u0131]",
          "[\u0370-\u03FF]", "[^\u1E00-\u1FFF]", "?"}) {
        const TavoNameMatcher matcher({QString::fromUtf8(pattern)});
        const QRegExp regExp(QString::fromUtf8(pattern), Qt::CaseInsensitive, QRegExp::Wildcard);
        for (int code = 0; code <= 0xFFFF; ++code) {
            const QString name = QChar(code);
            ASSERT_EQ(matcher.matches(name), regExp.exactMatch(name)) << pattern << " on " << readable(name);
        }
    }
}

TEST(NameMatcher, EveryUnitMatchesItsOtherCase)
{
    for (int code = 0; code <= 0xFFFF; ++code) {
        const QChar unit(code);
        if (unit == unit.toLower() && unit == unit.toUpper())
            continue;
        for (const QString& pattern : {QString(unit), QString("[%1]").arg(unit), QString("[^%1]").arg(unit)}) {
            for (const QString name : {unit, unit.toLower(), unit.toUpper(), unit.toTitleCase()})
                ASSERT_EQ(matches(pattern, name), regExpMatches(pattern, name))
                    << readable(pattern) << " on " << readable(name);
        }
    }
}

TEST(NameMatcher, AgreesWithQRegExpOnMoreWildcardsThanItCanNumber)
{
    const int most = 0xFFFE;
    expectMatch(QString(most, '?'), {QString(most, 'a')});
    expectNoMatch(QString(most + 1, '?'), {QString(most + 1, 'a')});
}

// Trying all ways to spread the stars would take longer than anybody waits.
TEST(NameMatcher, ManyStarsAndALongNameTakeNoExponentialTime)
{
    const TavoNameMatcher matcher({QString("*a").repeated(60) + "*b"});
    EXPECT_FALSE(matcher.matches(QString(255, 'a')));
    EXPECT_TRUE(matcher.matches(QString(254, 'a') + "b"));
    EXPECT_FALSE(matcher.matches(QString(59, 'a') + "b"));
    EXPECT_FALSE(TavoNameMatcher({QString("*a").repeated(60) + "*"}).matches(QString(255, 'b') + QString(59, 'a')));
}

/// Makes patterns with many special units, and names that often match them.
class Generator
{
public:
    explicit Generator(unsigned seed) : m_random(seed) {}

    QString pattern()
    {
        static const QString specials = "**??[[]]^-\\\\";
        QString result;
        for (int left = below(9); left > 0; --left)
            result += below(2) == 0 ? QString(oneOf(specials)) : unit();
        return below(4) == 0 ? result + "[" + unit() + "-" + unit() + "]" : result;
    }

    QString name()
    {
        QString result;
        for (int left = below(6); left > 0; --left)
            result += unit();
        return result;
    }

    // Follows the pattern roughly; the matchers decide whether the name matches.
    QString nameFor(const QString& pattern)
    {
        QString result;
        for (int i = 0; i < pattern.size(); ++i) {
            const int close = pattern.indexOf(']', i + 2);
            const bool isClass = pattern[i] == QChar('[') && close > 0;
            result += isClass ? otherCase(pattern[i + 1 + below(close - i - 1)]) : unitsFor(pattern[i]);
            i = isClass ? close : i;
        }
        return result;
    }

private:
    int below(int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(m_random); }
    QChar oneOf(const QString& choices) { return choices[below(choices.size())]; }

    QString unit()
    {
        static const QString few = "aAb";
        static const QStringList alphabets = {
            few,
            few,
            few,
            "kKsSiIzZ09.!_ \n",
            QString::fromUtf8(
                "\u00DF\u1E9E\u0130\u0131\u017F\u212A\u212B\u00E5\u01C4\u01C5\u01C6\u03A3\u03C2\u03C3\u00B5"),
            QString::fromUtf8("\U0001F3B5\U00010400\U00010428"),
            units({0, 0xFFFF, 0xFFFD, 0xFEFF})};
        return oneOf(alphabets[below(alphabets.size())]);
    }

    QChar otherCase(QChar unit)
    {
        switch (below(3)) {
        case 0:
            return unit.toLower();
        case 1:
            return unit.toUpper();
        default:
            return unit;
        }
    }

    QString unitsFor(QChar unit)
    {
        if (unit == QChar('*'))
            return name();
        if (unit == QChar('?'))
            return this->unit();
        if (unit == QChar('\\') && below(2) == 0)
            return "\\\\";
        return otherCase(unit);
    }

    std::mt19937 m_random;
};

TEST(NameMatcher, AgreesWithQRegExpOnEndingsOfAllLengths)
{
    const QString name = QString::fromUtf8("xa.B\u212A@[Z`{\u00C4z");
    for (int size = 0; size < name.size(); ++size) {
        const QString ending = name.right(size).replace('[', '?');
        for (const QString& pattern : {'*' + ending, "*a" + ending, ending, "*[a-z]" + ending}) {
            const TavoNameMatcher matcher({pattern});
            for (int length = 0; length <= name.size(); ++length) {
                for (const QString& text :
                     {name.right(length), name.right(length).toLower(), 'q' + name.right(length)}) {
                    const bool expected = regExpMatches(pattern, text);
                    ASSERT_EQ(matcher.matches(text), expected) << readable(pattern) << " on " << readable(text);
                    ASSERT_TRUE(agreesUndecoded(matcher, text, expected))
                        << readable(pattern) << " on the bytes of " << readable(text);
                }
            }
        }
    }
}

TEST(NameMatcher, AgreesWithQRegExpOnRandomPatterns)
{
    const unsigned seed = std::random_device()();
    Generator generator(seed);
    int matched = 0;
    int unmatched = 0;
    for (int patterns = 0; patterns < 10'000; ++patterns) {
        const QString pattern = generator.pattern();
        const TavoNameMatcher matcher({pattern});
        const QRegExp regExp(pattern, Qt::CaseInsensitive, QRegExp::Wildcard);
        for (int names = 0; names < 6; ++names) {
            const QString name = names == 0 ? generator.name() : generator.nameFor(pattern);
            const bool expected = regExp.exactMatch(name);
            ASSERT_EQ(matcher.matches(name), expected)
                << readable(pattern) << " on " << readable(name) << ", seed " << seed;
            ASSERT_TRUE(agreesUndecoded(matcher, name, expected))
                << readable(pattern) << " on the bytes of " << readable(name) << ", seed " << seed;
            ++(expected ? matched : unmatched);
        }
    }
    EXPECT_GT(matched, 5'000);
    EXPECT_GT(unmatched, 5'000);
}

TEST(NameMatcher, DecidesByTheAsciiEndingOfAnUndecodedName)
{
    const TavoNameMatcher matcher({"*.mp3", "*.FLAC", "*.o?g"});
    for (const char* name : {"a.mp3", ".MP3", "\u65E5\u672C.mp3", "a \u65E5\u672C.Flac", "\xFF\xC3.mp3", "a.ogg"})
        EXPECT_EQ(matcher.matchesUndecoded(name), true) << name;
    for (const char* name : {"", "a", "mp3", "a.mp3.txt", "cover.jpg", "\u65E5\u672C.txt", "\xFF\xC3.txt", "a.og"})
        EXPECT_EQ(matcher.matchesUndecoded(name), false) << name;
    EXPECT_EQ(TavoNameMatcher(QStringList()).matchesUndecoded("a"), false);
    EXPECT_EQ(TavoNameMatcher({"*"}).matchesUndecoded("\u65E5"), true);
}

TEST(NameMatcher, DecidesAnAsciiNameWithoutDecodingIt)
{
    const TavoNameMatcher matcher({"*[0-9].mp3", "cover.*", "b*longer than eight.wav"});
    for (const char* name : {"a1.mp3", "Cover.jpg", "cover.", "b is longer than eight.WAV"})
        EXPECT_EQ(matcher.matchesUndecoded(name), true) << name;
    for (const char* name : {"a.mp3", "a cover.jpg", "longer than eight.wav", "1.mp4"})
        EXPECT_EQ(matcher.matchesUndecoded(name), false) << name;
}

TEST(NameMatcher, LeavesANameToItsDecodedFormAtTheFirstNonAsciiByteCompared)
{
    const TavoNameMatcher matcher({"*[0-9].mp3", "cover.*", "*k"});
    for (const char* name : {"a\u212A", "a\u00C4", "\u00C4.mp3", "\u00C4cover.jpg", "cover.\u00C4"})
        EXPECT_EQ(matcher.matchesUndecoded(name), std::nullopt) << name;
    EXPECT_EQ(
        matcher.matchesUndecoded("\u00C4"
                                 "1.mp3"),
        true);
    EXPECT_EQ(TavoNameMatcher({"*.?"}).matchesUndecoded("a.\u00C4"), std::nullopt);
    EXPECT_EQ(TavoNameMatcher({QString(0xFFFF, '?')}).matchesUndecoded("a"), std::nullopt);
}

/// Runs each check in a thread of its own; true if all checks return true.
bool holdsInAllThreads(const std::vector<std::function<bool()>>& checks)
{
    std::vector<std::future<bool>> threads;
    threads.reserve(checks.size());
    for (const std::function<bool()>& check : checks)
        threads.push_back(std::async(std::launch::async, check));
    return std::all_of(threads.begin(), threads.end(), [](std::future<bool>& thread) { return thread.get(); });
}

TEST(NameMatcher, ThreadsMayShareAMatcher)
{
    const TavoNameMatcher matcher({"*.flac", "*[0-9]?.mp?", "*a*b*", QString::fromUtf8("[^\u0001-\u017F]x")});
    const TavoNameMatcher oversized({QString(0xFFFF, '?')});
    const QStringList matching = {"a.FLAC", "Track 01.mp3", "cabin", QString::fromUtf8("\u2126x")};
    const QStringList others = {"a.FLACx", "Track 1.mp3", "cbain", QString::fromUtf8("\u212Ax")};
    const auto matches = [&matcher](const QString& name) { return matcher.matches(name); };
    const auto check = [&] {
        bool right = !oversized.matches("a");
        for (int i = 0; i < 1000 && right; ++i) {
            right = std::all_of(matching.begin(), matching.end(), matches) &&
                    std::none_of(others.begin(), others.end(), matches);
        }
        return right;
    };
    EXPECT_TRUE(holdsInAllThreads({check, check, check, check}));
}

TEST(SharedNameMatcher, MatchesByTheGivenList)
{
    const QStringList audio = {"*.mp3"};
    const QStringList images = {"*.jpg"};
    EXPECT_TRUE(TavoNameMatcher::shared(audio).matches("a.mp3"));
    EXPECT_FALSE(TavoNameMatcher::shared(images).matches("a.mp3"));
    EXPECT_TRUE(TavoNameMatcher::shared(images).matches("a.jpg"));
    EXPECT_TRUE(TavoNameMatcher::shared(QStringList(audio)).matches("a.mp3"));
}

TEST(SharedNameMatcher, ChangedListIsCompiledAgain)
{
    QStringList patterns = {"*.mp3"};
    ASSERT_FALSE(TavoNameMatcher::shared(patterns).matches("a.ogg"));
    patterns.append("*.ogg");
    EXPECT_TRUE(TavoNameMatcher::shared(patterns).matches("a.ogg"));
    patterns[1].replace("ogg", "wav");
    EXPECT_FALSE(TavoNameMatcher::shared(patterns).matches("a.ogg"));
    EXPECT_TRUE(TavoNameMatcher::shared(patterns).matches("a.wav"));
    patterns.removeLast();
    EXPECT_FALSE(TavoNameMatcher::shared(patterns).matches("a.wav"));
}

TEST(SharedNameMatcher, EmptyListsMatchNothing)
{
    QStringList patterns = {"*.mp3"};
    ASSERT_TRUE(TavoNameMatcher::shared(patterns).matches("a.mp3"));
    EXPECT_FALSE(TavoNameMatcher::shared(QStringList()).matches("a.mp3"));
    ASSERT_TRUE(TavoNameMatcher::shared(patterns).matches("a.mp3"));
    patterns.removeFirst();
    EXPECT_FALSE(TavoNameMatcher::shared(patterns).matches("a.mp3"));
    patterns.append("*.ogg");
    EXPECT_TRUE(TavoNameMatcher::shared(patterns).matches("a.ogg"));
    patterns.clear();
    EXPECT_FALSE(TavoNameMatcher::shared(patterns).matches("a.ogg"));
}

// The next list often gets the memory of the one just freed.
TEST(SharedNameMatcher, ShortLivedListsAreNotMistakenForEachOther)
{
    for (int i = 0; i < 1000; ++i) {
        const QString ending = QString::number(i);
        ASSERT_TRUE(TavoNameMatcher::shared({"*." + ending}).matches("a." + ending));
    }
}

TEST(SharedNameMatcher, EachThreadHasItsOwn)
{
    const auto checkOf = [](const QString& ending) {
        return [patterns = QStringList("*." + ending), others = QStringList("*.other"), name = "a." + ending] {
            bool right = true;
            for (int i = 0; i < 1000 && right; ++i)
                right =
                    TavoNameMatcher::shared(patterns).matches(name) && !TavoNameMatcher::shared(others).matches(name);
            return right;
        };
    };
    EXPECT_TRUE(holdsInAllThreads({checkOf("mp3"), checkOf("ogg"), checkOf("wav"), checkOf("flac")}));
}

} // namespace
