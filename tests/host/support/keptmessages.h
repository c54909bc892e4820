#pragma once

#include <QJsonObject>
#include <QList>

#include <algorithm>

/// The first message that is wanted, of those that are kept and those that `next` gives, which gives an empty one at
/// the end. The others that come before it are kept. Empty if there is none.
template<typename Next, typename Condition>
[[nodiscard]] QJsonObject takeMessage(QList<QJsonObject>& kept, const Next& next, const Condition& isWanted)
{
    const auto known = std::find_if(kept.begin(), kept.end(), isWanted);
    if (known != kept.end()) {
        const QJsonObject message = *known;
        kept.erase(known);
        return message;
    }
    for (QJsonObject message = next(); !message.isEmpty(); message = next()) {
        if (isWanted(message))
            return message;
        kept.append(message);
    }
    return {};
}
