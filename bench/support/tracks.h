#pragma once

#include "model/cmworker.h"

/// A worker whose root has so many tracks, with the bases 0, 1, 2 and so on, which have all that tags say: nobody needs
/// to read a file for them.
class Tracks : public CMWorker
{
public:
    Tracks(const QString& prefix, int count);

    void getRowsRequest(const CMGetRowsRequest& request) override;
    void getDataRequest(const CMGetDataRequest& request) override;

private:
    [[nodiscard]] QVariantList row(int track, const QStringList& roles) const;

    const int m_count;
};
