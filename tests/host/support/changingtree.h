#pragma once

#include <QString>
#include <QStringList>

#include <random>

using Random = std::mt19937;

/// A number from 0 to below the limit.
[[nodiscard]] int below(Random& random, int limit);

/// The rows that a client should hold, read without the worker.
[[nodiscard]] QStringList titlesOnDisk(const QString& directory);

/// Changes a tree at random.
class Mutator
{
public:
    Mutator(QString root, unsigned seed) : m_root(std::move(root)), m_random(seed) {}

    void change();

private:
    [[nodiscard]] QString anyName() { return QStringLiteral("n%1").arg(below(m_random, 6)); }
    [[nodiscard]] QString anyPath();
    [[nodiscard]] QString anyEntry();
    /// Something else of the same name, at once.
    void replace(const QString& path);

    QString m_root;
    Random m_random;
};
