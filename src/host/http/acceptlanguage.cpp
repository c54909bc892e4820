#include "http/acceptlanguage.h"

#include <i18n/trlanguage.h>

#include <QByteArrayList>

#include <algorithm>
#include <vector>

namespace {

/// Nobody needs more, and each costs a search.
constexpr int mostTags = 32;

struct Wish
{
    QString tag;
    /// From 0, unwanted, to 1.
    double weight = 0;
};

/// A member of the list, such as "de-AT;q=0.8". A weight that is not a number counts as 0.
Wish wishFrom(const QByteArray& member)
{
    const int semicolon = member.indexOf(';');
    if (semicolon < 0)
        return {QString::fromLatin1(member.trimmed()), 1};
    const QByteArray parameter = member.mid(semicolon + 1).trimmed().toLower();
    const double weight = parameter.startsWith("q=") ? parameter.mid(2).toDouble() : 0;
    // A weight can be "nan", which is neither above nor below another one.
    return {QString::fromLatin1(member.left(semicolon).trimmed()), weight > 0 ? weight : 0};
}

std::vector<Wish> wishesOf(const QByteArray& list)
{
    std::vector<Wish> wishes;
    for (const QByteArray& member : list.split(',').mid(0, mostTags))
        wishes.push_back(wishFrom(member));
    std::stable_sort(wishes.begin(), wishes.end(), [](const Wish& a, const Wish& b) { return a.weight > b.weight; });
    return wishes;
}

} // namespace

const TrLanguage* acceptedLanguage(const RequestHead& head)
{
    for (const Wish& wish : wishesOf(head.value("Accept-Language"))) {
        const TrLanguage* const language = wish.weight > 0 ? TrLanguage::find(wish.tag) : nullptr;
        if (language)
            return language;
    }
    return nullptr;
}
