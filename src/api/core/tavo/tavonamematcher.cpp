#include "tavo/tavonamematcher.h"

#include <QRegExp>
#include <QStringView>
#include <QtAlgorithms>
#include <QtEndian>

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

constexpr quint64 everyByte = 0x01'01'01'01'01'01'01'01;

/// The last eight bytes of a name in UTF-8, 0 in front of a shorter one. Of these only the ASCII ones behind all others
/// tell anything: there, each byte is a code unit.
class Ending
{
public:
    static constexpr std::size_t size = sizeof(quint64);

    Ending(const char* name, std::size_t length);

    /// The last byte is the highest.
    [[nodiscard]] quint64 folded() const { return m_folded; }
    /// All bits of the bytes that tell something.
    [[nodiscard]] quint64 known() const { return m_known; }

private:
    quint64 m_folded;
    quint64 m_known;
};

quint64 lastBytes(const char* name, std::size_t length)
{
    if (length >= Ending::size)
        return qFromLittleEndian<quint64>(name + length - Ending::size);
    std::array<char, Ending::size> padded = {};
    std::copy_n(name, length, padded.end() - length);
    return qFromLittleEndian<quint64>(padded.data());
}

// All bytes at once; the highest bit of a sum tells whether its byte is at least the letter, as nothing is carried.
quint64 foldedBytes(quint64 bytes)
{
    const quint64 lower = bytes & (everyByte * 0x7F);
    const quint64 fromA = lower + everyByte * (0x80 - u'A');
    const quint64 beyondZ = lower + everyByte * (0x80 - u'Z' - 1);
    const quint64 isUpper = (fromA ^ beyondZ) & ~bytes & (everyByte * 0x80);
    return bytes + (isUpper >> 2); // 0x20, from a capital letter to its small one
}

quint64 behindLastNonAscii(quint64 bytes)
{
    const quint64 nonAscii = bytes & (everyByte * 0x80);
    const uint knownBits = qCountLeadingZeroBits(nonAscii);
    return knownBits == 0 ? 0 : ~quint64(0) << (64 - knownBits);
}

Ending::Ending(const char* name, std::size_t length)
{
    const quint64 bytes = lastBytes(name, length);
    m_folded = foldedBytes(bytes);
    m_known = behindLastNonAscii(bytes);
}

/// What a pattern wants of a name's last bytes.
struct EndingPattern
{
    quint64 folded = 0;
    /// All bits of the bytes that have to be those of `folded`.
    quint64 mask = 0;
    /// All bits of the bytes that one code unit of the pattern stands for, whatever it is.
    quint64 covered = 0;
};

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

    [[nodiscard]] bool matches(QStringView name) const { return name.size() >= m_minSize && matchesRuns(name); }
    [[nodiscard]] bool isExcludedBy(const Ending& ending) const
    {
        return ((ending.folded() ^ m_ending.folded) & m_ending.mask & ending.known()) != 0;
    }
    /// Whether a name of so many bytes, which the ending does not exclude, is sure to match.
    [[nodiscard]] bool isDecidedBy(const Ending& ending, std::size_t length) const
    {
        return m_isOnlyEnding && (m_ending.covered & ~ending.known()) == 0 &&
               length >= static_cast<std::size_t>(m_minSize);
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

    EndingPattern m_ending;
    qsizetype m_minSize = 0;
    bool m_isOnlyEnding = false;
    std::vector<Run> m_runs = std::vector<Run>(1);
    std::vector<CharacterClass> m_classes;
};

EndingPattern endingOf(const Run& run)
{
    constexpr quint64 lastByte = quint64(0xFF) << (8 * (Ending::size - 1));
    EndingPattern ending;
    quint64 byte = lastByte;
    for (auto token = run.crbegin(); token != run.crend() && byte != 0; ++token, byte >>= 8) {
        // No ASCII byte is the one that stands for a literal beyond ASCII.
        const quint64 value = std::min(token->value, static_cast<char16_t>(asciiCount));
        ending.folded |= value * everyByte & byte;
        ending.mask |= token->mask != 0 ? byte : 0;
        ending.covered |= byte;
    }
    return ending;
}

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
    m_ending = endingOf(m_runs.back());
    m_isOnlyEnding = isOnlyEnding();
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
    const auto matchesName = [&name](const Wildcard& wildcard) { return wildcard.matches(name); };
    return std::any_of(m_p->wildcards.cbegin(), m_p->wildcards.cend(), matchesName) ||
           std::any_of(m_p->oversized.cbegin(), m_p->oversized.cend(), [&name](const QString& pattern) {
               return QRegExp(pattern, Qt::CaseInsensitive, QRegExp::Wildcard).exactMatch(name);
           });
}

std::optional<bool> TavoNameMatcher::matchesUndecoded(const char* name) const
{
    const std::size_t length = std::strlen(name);
    const Ending ending(name, length);
    bool isClear = m_p->oversized.isEmpty();
    for (const Wildcard& wildcard : m_p->wildcards) {
        if (wildcard.isExcludedBy(ending))
            continue;
        if (wildcard.isDecidedBy(ending, length))
            return true;
        isClear = false;
    }
    return isClear ? std::optional(false) : std::nullopt;
}
