#include "tavo/tavonamematcher.h"

#include <QRegExp>
#include <QStringView>

#include <algorithm>
#include <bitset>
#include <cstring>
#include <utility>
#include <vector>

// A pattern is compiled into elements: a star takes any number of code units, every other element takes one.
// Wildcard::match() compares from the end, because the names in one directory differ most in their endings, and because
// a star that comes first, as in "*.mp3", accepts all that is left. After a mismatch the star passed last takes one
// unit more. The stars passed before it keep what they have: each took as little as it could. So the number of steps is
// at most the product of both lengths.
//
// The same loop runs over the bytes of a name in UTF-8, where an ASCII byte is a code unit. It gives up at any other
// byte. Most names are rejected by their last byte, and few have to be decoded.
//
// QRegExp is the reference: the tests and a fuzzer compare both. Comments name the oddities that are kept for that.

namespace {

constexpr std::size_t asciiCount = 128;

// QRegExp numbers the wildcards of a pattern in 16 bits and confuses those beyond. It matches such patterns itself.
constexpr int maxCompiledSize = 0xFFFE;

// QChar::toLower(), without a call for ASCII.
char16_t lowerCase(char16_t unit)
{
    if (unit >= asciiCount)
        return QChar(unit).toLower().unicode();
    const bool isUpper = unit >= u'A' && unit <= u'Z';
    return isUpper ? static_cast<char16_t>(unit + (u'a' - u'A')) : unit;
}

/// The code units that `[...]` accepts.
class CharacterClass
{
public:
    CharacterClass(QStringView items, bool negated) : m_negated(negated)
    {
        while (!items.isEmpty()) {
            const bool isRange = items.size() >= 3 && items[1] == QLatin1Char('-');
            addRange(items[0], items[isRange ? 2 : 0]);
            items = items.mid(isRange ? 3 : 1);
        }
        for (char16_t unit = 0; unit < asciiCount; ++unit)
            m_ascii[unit] = decide(unit);
    }

    [[nodiscard]] bool accepts(char16_t unit) const { return unit < asciiCount ? m_ascii[unit] : decide(unit); }

private:
    using Range = std::pair<QChar, QChar>;

    void addRange(QChar from, QChar to)
    {
        const Range range = std::minmax(from, to);
        // QRegExp keeps the length of a range in 16 bits: the range of all units is empty.
        if (range != Range(QChar(0), QChar(0xFFFF)))
            m_ranges.push_back(range);
    }

    [[nodiscard]] bool decide(QChar unit) const
    {
        const auto isInRanges = [this](QChar folded) {
            return std::any_of(m_ranges.cbegin(), m_ranges.cend(), [folded](const Range& range) {
                return range.first <= folded && folded <= range.second;
            });
        };
        return (isInRanges(unit.toLower()) || isInRanges(unit.toUpper())) != m_negated;
    }

    std::vector<Range> m_ranges;
    bool m_negated;
    std::bitset<asciiCount> m_ascii;
};

struct Element
{
    enum Kind : char16_t { Literal, AnyUnit, Class, Star };

    Kind kind;
    char16_t value; // of a literal: its unit in lower case; of a class: its index
};

/// Undecided: the name has to be decoded first.
enum class Match { No, Yes, Undecided };

/// A valid pattern.
class Wildcard
{
public:
    /// Nothing if the pattern is invalid.
    [[nodiscard]] static std::optional<Wildcard> compile(QStringView pattern);

    /// `name` consists of UTF-16 code units or of UTF-8 bytes.
    template<typename Unit>
    [[nodiscard]] Match match(const Unit* name, std::size_t size) const;

private:
    Wildcard() = default;

    void add(Element::Kind kind, char16_t value = 0) { m_elements.push_back({kind, value}); }
    void addLiteral(QChar unit) { add(Element::Literal, lowerCase(unit.unicode())); }
    [[nodiscard]] qsizetype addWildcard(QStringView rest);
    [[nodiscard]] bool accepts(const Element& element, char16_t unit) const;

    std::vector<Element> m_elements;
    std::vector<CharacterClass> m_classes;
};

std::optional<Wildcard> Wildcard::compile(QStringView pattern)
{
    constexpr QLatin1Char backslash('\\');
    Wildcard wildcard;
    bool escaped = false;
    for (qsizetype taken = 1; !pattern.isEmpty(); pattern = pattern.mid(taken)) {
        const QChar unit = pattern.front();
        const bool isSpecial = QStringView(u"*?[]").contains(unit);
        // QRegExp doubles a backslash in front of an ordinary unit.
        if (escaped && !isSpecial && unit != backslash)
            wildcard.addLiteral(backslash);
        taken = 1;
        if (escaped || !isSpecial)
            wildcard.addLiteral(unit);
        else
            taken = wildcard.addWildcard(pattern);
        if (taken == 0)
            return {};
        escaped = unit == backslash;
    }
    return wildcard;
}

// Returns how many units of the pattern it took, 0 if they are invalid.
qsizetype Wildcard::addWildcard(QStringView rest)
{
    const QChar unit = rest.front();
    if (unit == QLatin1Char('*') || unit == QLatin1Char('?')) {
        add(unit == QLatin1Char('*') ? Element::Star : Element::AnyUnit);
        return 1;
    }
    const bool negated = rest.mid(1).startsWith(QLatin1Char('^'));
    const qsizetype begin = negated ? 2 : 1;
    const qsizetype end = rest.indexOf(QLatin1Char(']'), begin + 1);
    if (unit == QLatin1Char(']') || end < 0)
        return 0;
    add(Element::Class, static_cast<char16_t>(m_classes.size()));
    m_classes.emplace_back(rest.mid(begin, end - begin), negated);
    return end + 1;
}

bool Wildcard::accepts(const Element& element, char16_t unit) const
{
    if (element.kind == Element::Literal)
        return element.value == lowerCase(unit);
    return element.kind == Element::AnyUnit || m_classes[element.value].accepts(unit);
}

template<typename Unit>
Match Wildcard::match(const Unit* name, std::size_t size) const
{
    const Element* const begin = m_elements.data();
    const Element* end = begin + m_elements.size();
    const Unit* nameEnd = name + size;
    const Element* star = nullptr;   // the last star passed
    const Unit* starBegin = nullptr; // where the units begin that it takes
    while (true) {
        if (end != begin && end[-1].kind == Element::Star) {
            if (--end == begin)
                return Match::Yes;
            star = end;
            starBegin = nameEnd;
            continue;
        }
        if (nameEnd == name)
            return end == begin ? Match::Yes : Match::No;
        const char16_t unit = nameEnd[-1];
        if (sizeof(Unit) == 1 && unit >= asciiCount)
            return Match::Undecided;
        if (end != begin && accepts(end[-1], unit)) {
            --end;
            --nameEnd;
        } else if (star) {
            end = star;
            nameEnd = --starBegin;
        } else {
            return Match::No;
        }
    }
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
    // The list that is kept here cannot be freed or changed in place, so only a copy of it shares its data.
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
    const QStringView view(name);
    const auto matchesName = [&view](const Wildcard& wildcard) {
        return wildcard.match(view.utf16(), static_cast<std::size_t>(view.size())) == Match::Yes;
    };
    return std::any_of(m_p->wildcards.cbegin(), m_p->wildcards.cend(), matchesName) ||
           std::any_of(m_p->oversized.cbegin(), m_p->oversized.cend(), [&name](const QString& pattern) {
               return QRegExp(pattern, Qt::CaseInsensitive, QRegExp::Wildcard).exactMatch(name);
           });
}

std::optional<bool> TavoNameMatcher::matchesUndecoded(const char* name) const
{
    const auto* const bytes = reinterpret_cast<const uchar*>(name);
    const std::size_t size = std::strlen(name);
    bool isDecided = m_p->oversized.isEmpty();
    for (const Wildcard& wildcard : m_p->wildcards) {
        const Match match = wildcard.match(bytes, size);
        if (match == Match::Yes)
            return true;
        isDecided = isDecided && match == Match::No;
    }
    return isDecided ? std::optional(false) : std::nullopt;
}
