#pragma once

#include "model/cmerror.h"
#include "model/cmpath.h"
#include "queueentry.h"

#include <QString>
#include <QStringList>
#include <QVariantList>

#include <optional>
#include <vector>

/// Finds the items that paths name or contain, by asking the workers of these paths through the root worker.
///
/// For one search, which may take long; it stops soon after the thread's CMRequestContext was cancelled.
class ItemCollector
{
public:
    /// `ownPrefix`: of the worker that searches; its own rows are no items.
    explicit ItemCollector(QString ownPrefix) : m_ownPrefix(std::move(ownPrefix)) {}

    /// Finds all playable items of the paths, in their order; those of a container depth first, in the order of its
    /// rows. The path "/" contains all other workers. What does not exist is left out.
    ///
    /// Errors: accessViolation for a path that leads out of its worker, noSuchItem if nothing is playable, queueFull
    /// beyond what a queue takes.
    [[nodiscard]] CMError collect(const QStringList& paths);
    /// What the last search found.
    [[nodiscard]] std::vector<QueueItem> takeItems() { return std::move(m_items); }

    /// Those of the paths of the last search at which there is nothing playable, as they were given. The list ends
    /// where it would have more than 16,384 characters: answers are kept.
    [[nodiscard]] QStringList missing() const { return m_missing; }

    /// Whether the queue may show the entry: it is inside its worker, and the host does not hide it.
    [[nodiscard]] static bool mayShow(const CMPath& path);

private:
    /// False if the search ends here: it is cancelled, or has found too much.
    [[nodiscard]] bool mayGoOn() const;
    void addMissing(const QString& text);
    /// `row` has the values of the roles that the collector asks for.
    void takeRow(const QVariantList& row, int depth);
    void takeContainer(const CMPath& path, int depth);
    /// `depth` is that of the rows.
    void takeRows(const CMPath& path, int depth);
    [[nodiscard]] bool isForeign(const CMPath& path) const;

    QString m_ownPrefix;
    std::vector<QueueItem> m_items;
    QStringList m_missing;
    int m_missingCharacters = 0;
    int m_containers = 0;
};
