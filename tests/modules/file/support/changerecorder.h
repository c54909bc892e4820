#pragma once

#include "model/cmsubscribe.h"

#include <vector>

/// A client that records its notifications.
class ChangeRecorder : public CMChangeReceiver
{
public:
    struct Change
    {
        CMPath path;
        QStringList changes;
        int version;
    };

    void rowsChanged(const CMPath& path, const QStringList& changes, int version) override
    {
        received.push_back({path, changes, version});
    }

    /// The number of notifications of the path with this code alone.
    [[nodiscard]] int count(const CMPath& path, const QString& code) const
    {
        int count = 0;
        for (const Change& change : received)
            count += change.path == path && change.changes == QStringList{code} ? 1 : 0;
        return count;
    }

    std::vector<Change> received;
};
