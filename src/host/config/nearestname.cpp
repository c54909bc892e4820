#include "config/nearestname.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace {

/// How many letters must be inserted, dropped or replaced to make one text the other (Levenshtein).
int distance(const QString& a, const QString& b)
{
    std::vector<int> previous(static_cast<size_t>(b.size()) + 1);
    std::iota(previous.begin(), previous.end(), 0);
    for (const QChar letter : a) {
        std::vector<int> current{previous.front() + 1};
        for (int i = 0; i < b.size(); ++i) {
            const auto at = static_cast<size_t>(i);
            const int replaced = previous[at] + (letter == b[i] ? 0 : 1);
            current.push_back(std::min({replaced, previous[at + 1] + 1, current[at] + 1}));
        }
        previous = std::move(current);
    }
    return previous.back();
}

} // namespace

QString nearestName(const QString& name, const QStringList& known)
{
    QString nearest;
    int shortest = name.size() / 2 + 1;
    for (const QString& candidate : known) {
        const int apart = distance(name.toLower(), candidate);
        if (apart < shortest) {
            shortest = apart;
            nearest = candidate;
        }
    }
    return nearest;
}
