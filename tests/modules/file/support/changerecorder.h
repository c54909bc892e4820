#pragma once

#include "model/cmsubscribe.h"

#include <vector>

/// A client that remembers what it is told.
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
        told.push_back({path, changes, version});
    }

    /// How often it was told just this code of the path.
    [[nodiscard]] int count(const CMPath& path, const QString& code) const
    {
        int count = 0;
        for (const Change& change : told)
            count += change.path == path && change.changes == QStringList{code} ? 1 : 0;
        return count;
    }

    std::vector<Change> told;
};
