#pragma once

#include "process/output.h"
#include "terminal/table.h"

#include <QVariant>

#include <memory>

/// Takes prepared items, group by group.
class ItemSink
{
public:
    virtual ~ItemSink() = default;
    Q_DISABLE_COPY_MOVE(ItemSink)

    virtual Result<Written> add(const QVariantList& items) = 0;
    /// All have been added.
    virtual Result<Written> finish() = 0;
    /// Ends the output before all items were added.
    virtual Result<Written> breakOff() = 0;

    /// An array, written as it grows: items with their covers are too much to be kept.
    [[nodiscard]] static std::unique_ptr<ItemSink> json(int output);
    /// Title, artist, album and duration, written when all are known.
    [[nodiscard]] static std::unique_ptr<ItemSink> table(int output);

protected:
    ItemSink() = default;
};
