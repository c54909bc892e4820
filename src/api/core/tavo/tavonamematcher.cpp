#include "tavo/tavonamematcher.h"

#include <QRegExp>
#include <QStringView>

#include <algorithm>
#include <array>
#include <bitset>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t asciiCount = 128;

// QRegExp numbers a pattern's wildcards in 16 bits and takes two of the numbers itself. The wildcards beyond get the
// meaning of others; such patterns are left to it.
constexpr int maxCompiledSize = 0xFFFE;

// QChar::toLower, without a call for what most names consist of.
char16_t folded(char16_t unit)
{
    if (unit >= asciiCount)
        return QChar(unit).toLower().unicode();
    const bool isUpper = unit >= u'A' && unit <= u'Z';
    return isUpper ? static_cast<char16_t>(unit + (u'a' - u'A')) : unit;
}

/// Four code units side by side, so that a few operations deal with them all.
using Lanes = quint64;
constexpr Lanes everyLane = 0x0001'0001'0001'0001;

Lanes foldedLanes(Lanes units)
{
    constexpr Lanes beyondAscii = everyLane * 0xFF80;
    if ((units & beyondAscii) != 0) {
        std::array<char16_t, sizeof(Lanes) / sizeof(char16_t)> each = {};
        std::memcpy(each.data(), &units, sizeof(units));
        std::transform(each.cbegin(), each.cend(), each.begin(), [](char16_t unit) { return folded(unit); });
        std::memcpy(&units, each.data(), sizeof(units));
        return units;
    }
    // Bit 7 of a lane tells whether its unit is at least the letter, as nothing is carried into the next lane.
    const Lanes fromA = units + everyLane * (0x80 - u'A');
    const Lanes beyondZ = units + everyLane * (0x80 - u'Z' - 1);
    const Lanes isUpper = (fromA ^ beyondZ) & (everyLane * 0x80);
    return units + (isUpper >> 2); // 0x20, from a capital letter to its small one
}

/// The last eight code units of a text, 0 in front of a shorter one.
class Ending
{
public:
    static constexpr std::size_t size = 8;
    using Units = std::array<char16_t, size>;

    Ending() = default;
    explicit Ending(const Units& units) { std::memcpy(m_lanes.data(), units.data(), sizeof(m_lanes)); }
    [[nodiscard]] static Ending folding(QStringView text);

    [[nodiscard]] bool isUnder(const Ending& mask, const Ending& expected) const
    {
        return (m_lanes[1] & mask.m_lanes[1]) == expected.m_lanes[1] &&
               (m_lanes[0] & mask.m_lanes[0]) == expected.m_lanes[0];
    }

private:
    std::array<Lanes, size * sizeof(char16_t) / sizeof(Lanes)> m_lanes = {};
};

Ending Ending::folding(QStringView text)
{
    Ending ending;
    if (text.size() >= static_cast<qsizetype>(size)) {
        std::memcpy(ending.m_lanes.data(), text.cend() - size, sizeof(m_lanes));
    } else {
        Units units = {};
        std::transform(text.crbegin(), text.crend(), units.rbegin(), [](QChar unit) { return unit.unicode(); });
        ending = Ending(units);
    }
    ending.m_lanes = {foldedLanes(ending.m_lanes[0]), foldedLanes(ending.m_lanes[1])};
    return ending;
}

bool isBackslash(QChar unit)
{
    return unit == QLatin1Char('\\');
}

bool isSpecial(QChar unit)
{
    return QStringView(u"*?[]").contains(unit);
}

/// The code units that `[...]` stands for.
class CharacterClass
{
public:
    CharacterClass(QStringView items, bool negated);

    [[nodiscard]] bool contains(char16_t unit) const { return unit < asciiCount ? m_ascii[unit] : decide(unit); }

private:
    struct Range
    {
        QChar first;
        QChar last;
    };

    void addRange(QChar from, QChar to);
    [[nodiscard]] bool isInRanges(QChar unit) const;
    [[nodiscard]] bool decide(QChar unit) const;

    std::vector<Range> m_ranges;
    bool m_negated;
    std::bitset<asciiCount> m_ascii;
};

CharacterClass::CharacterClass(QStringView items, bool negated) : m_negated(negated)
{
    while (!items.isEmpty()) {
        const bool isRange = items.size() >= 3 && items[1] == QLatin1Char('-');
        addRange(items[0], items[isRange ? 2 : 0]);
        items = items.mid(isRange ? 3 : 1);
    }
    for (char16_t unit = 0; unit < asciiCount; ++unit)
        m_ascii[unit] = decide(unit);
}

void CharacterClass::addRange(QChar from, QChar to)
{
    const auto [first, last] = std::minmax(from, to);
    // QRegExp keeps a range's length in 16 bits, so that the range of all units is an empty one.
    if (first > QChar(0) || last < QChar(0xFFFF))
        m_ranges.push_back({first, last});
}

bool CharacterClass::isInRanges(QChar unit) const
{
    return std::any_of(m_ranges.cbegin(), m_ranges.cend(), [unit](const Range& range) {
        return range.first <= unit && unit <= range.last;
    });
}

bool CharacterClass::decide(QChar unit) const
{
    return (isInRanges(unit.toLower()) || isInRanges(unit.toUpper())) != m_negated;
}

/// What one code unit of a name has to be: a literal has the mask 0xFFFF; the others have the mask and the value 0.
struct Token
{
    char16_t mask;
    char16_t value;       // folded
    char16_t classNumber; // from 1; 0 for no class
};

using Run = std::vector<Token>;

qsizetype sizeOf(const Run& run)
{
    return static_cast<qsizetype>(run.size());
}

/// A valid pattern: runs of tokens, a `*` between one run and the next.
class Wildcard
{
public:
    /// Nothing for an invalid pattern.
    [[nodiscard]] static std::optional<Wildcard> compile(QStringView pattern);

    /// `ending` is the name's, folded.
    [[nodiscard]] bool matches(QStringView name, const Ending& ending) const
    {
        return ending.isUnder(m_endingMask, m_ending) && name.size() >= m_minSize && (m_isEnding || matchesRuns(name));
    }

private:
    Wildcard() = default;

    void add(Token token) { m_runs.back().push_back(token); }
    void addLiteral(QChar unit) { add({0xFFFF, folded(unit.unicode()), 0}); }
    [[nodiscard]] qsizetype addClass(QStringView rest);
    [[nodiscard]] qsizetype addWildcard(QStringView rest);
    void finish();
    [[nodiscard]] bool isOnlyEnding() const;
    [[nodiscard]] bool matchesRuns(QStringView name) const;
    [[nodiscard]] bool accepts(const Token& token, char16_t unit) const;
    [[nodiscard]] bool isAt(const QChar* units, const Run& run) const;
    [[nodiscard]] bool dropThrough(QStringView& name, const Run& run) const;

    Ending m_ending;
    Ending m_endingMask;
    qsizetype m_minSize = 0;
    bool m_isEnding = false;
    std::vector<Run> m_runs = std::vector<Run>(1);
    std::vector<CharacterClass> m_classes;
};

std::optional<Wildcard> Wildcard::compile(QStringView pattern)
{
    Wildcard wildcard;
    bool escaped = false;
    while (!pattern.isEmpty()) {
        const QChar unit = pattern.front();
        qsizetype taken = 1;
        if (isSpecial(unit) && !escaped) {
            taken = wildcard.addWildcard(pattern);
        } else {
            // QRegExp's translation writes a backslash twice that turns out to escape nothing.
            if (escaped && !isSpecial(unit) && !isBackslash(unit))
                wildcard.addLiteral(QLatin1Char('\\'));
            wildcard.addLiteral(unit);
        }
        if (taken == 0)
            return {};
        escaped = isBackslash(unit);
        pattern = pattern.mid(taken);
    }
    wildcard.finish();
    return wildcard;
}

// Returns how much of the pattern's rest it took, 0 if that is invalid.
qsizetype Wildcard::addWildcard(QStringView rest)
{
    switch (rest.front().unicode()) {
    case '*':
        m_runs.emplace_back();
        return 1;
    case '?':
        add({0, 0, 0});
        return 1;
    case '[':
        return addClass(rest);
    default:
        return 0;
    }
}

qsizetype Wildcard::addClass(QStringView rest)
{
    const bool negated = rest.mid(1).startsWith(QLatin1Char('^'));
    const qsizetype begin = negated ? 2 : 1;
    const qsizetype end = rest.indexOf(QLatin1Char(']'), begin + 1);
    if (end < 0)
        return 0;
    m_classes.emplace_back(rest.mid(begin, end - begin), negated);
    add({0, 0, static_cast<char16_t>(m_classes.size())});
    return end + 1;
}

void Wildcard::finish()
{
    for (const Run& run : m_runs)
        m_minSize += sizeOf(run);
    const Run& tail = m_runs.back();
    Ending::Units values = {};
    Ending::Units masks = {};
    for (std::size_t i = 1; i <= std::min(tail.size(), Ending::size); ++i) {
        values[Ending::size - i] = tail[tail.size() - i].value;
        masks[Ending::size - i] = tail[tail.size() - i].mask;
    }
    m_ending = Ending(values);
    m_endingMask = Ending(masks);
    m_isEnding = isOnlyEnding();
}

/// True for patterns such as `*.mp3`, of whose names nothing but the ending counts.
bool Wildcard::isOnlyEnding() const
{
    return m_runs.size() == 2 && m_runs.front().empty() && m_runs.back().size() <= Ending::size && m_classes.empty();
}

bool Wildcard::matchesRuns(QStringView name) const
{
    const Run& head = m_runs.front();
    const Run& tail = m_runs.back();
    if (m_runs.size() == 1)
        return name.size() == sizeOf(head) && isAt(name.data(), head);
    if (!isAt(name.data() + name.size() - sizeOf(tail), tail) || !isAt(name.data(), head))
        return false;
    // The first place for each run in turn is the best one: it leaves the most of the name to the runs behind it.
    QStringView middle = name.mid(sizeOf(head), name.size() - sizeOf(head) - sizeOf(tail));
    return std::all_of(
        m_runs.cbegin() + 1, m_runs.cend() - 1, [&](const Run& run) { return dropThrough(middle, run); });
}

bool Wildcard::accepts(const Token& token, char16_t unit) const
{
    if ((folded(unit) & token.mask) != token.value)
        return false;
    return token.classNumber == 0 || m_classes[token.classNumber - 1U].contains(unit);
}

// Compares backwards, since the names of a directory differ most often in the last letters of their endings.
bool Wildcard::isAt(const QChar* units, const Run& run) const
{
    for (std::size_t i = run.size(); i-- > 0;) {
        if (!accepts(run[i], units[i].unicode()))
            return false;
    }
    return true;
}

// Drops what is before the run's first place in the name, and the run.
bool Wildcard::dropThrough(QStringView& name, const Run& run) const
{
    for (; name.size() >= sizeOf(run); name = name.mid(1)) {
        if (isAt(name.data(), run)) {
            name = name.mid(sizeOf(run));
            return true;
        }
    }
    return false;
}

} // namespace

class TavoNameMatcher::Private
{
public:
    std::vector<Wildcard> wildcards;
    QStringList oversized;
};

TavoNameMatcher::TavoNameMatcher(const QStringList& patterns)
{
    auto compiled = std::make_shared<Private>();
    for (const QString& pattern : patterns) {
        if (pattern.size() > maxCompiledSize)
            compiled->oversized.append(pattern);
        else if (std::optional<Wildcard> wildcard = Wildcard::compile(pattern))
            compiled->wildcards.push_back(*std::move(wildcard));
    }
    m_p = std::move(compiled);
}

const TavoNameMatcher& TavoNameMatcher::shared(const QStringList& patterns)
{
    // As long as the list is held here, no other one has its address, and nobody changes it in place.
    struct Compiled
    {
        QStringList patterns;
        TavoNameMatcher matcher{patterns};
    };
    thread_local Compiled compiled;
    if (!compiled.patterns.isSharedWith(patterns))
        compiled = {patterns, TavoNameMatcher(patterns)};
    return compiled.matcher;
}

bool TavoNameMatcher::matches(const QString& name) const
{
    const Ending ending = Ending::folding(name);
    const auto matchesName = [&name, ending](const Wildcard& wildcard) { return wildcard.matches(name, ending); };
    return std::any_of(m_p->wildcards.cbegin(), m_p->wildcards.cend(), matchesName) ||
           std::any_of(m_p->oversized.cbegin(), m_p->oversized.cend(), [&name](const QString& pattern) {
               return QRegExp(pattern, Qt::CaseInsensitive, QRegExp::Wildcard).exactMatch(name);
           });
}
