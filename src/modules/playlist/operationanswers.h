#pragma once

#include "queuestore.h"

#include <QHash>
#include <QString>
#include <QVariantHash>

#include <deque>
#include <mutex>
#include <optional>

/// The answers to the last operations, as many as the store keeps. Thread-safe; never waits for a command.
class OperationAnswers
{
public:
    /// Replaces all. The oldest first.
    void set(std::deque<Operation> operations);
    void add(const Operation& operation);

    /// None: the operation is unknown, or forgotten.
    [[nodiscard]] std::optional<QVariantHash> find(const QString& text) const;

private:
    mutable std::mutex m_mutex;
    std::deque<Operation> m_operations;
    QHash<QString, QVariantHash> m_answers;
};
