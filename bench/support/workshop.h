#pragma once

#include <QString>
#include <QTemporaryDir>

#include <functional>
#include <vector>

/// The options and the data of a benchmark program.
class Workshop
{
public:
    /// Creates shared data in `dataDirectory` and leaves it there for the next program; if that is empty, uses a
    /// temporary directory.
    Workshop(const QString& dataDirectory, bool smoke);

    /// True for small data, to test the benchmark itself.
    [[nodiscard]] bool isSmoke() const { return m_smoke; }
    /// Numbers of entries to measure with, at most `largest`; few and small in a smoke test.
    [[nodiscard]] std::vector<int> sizes(int largest) const;
    [[nodiscard]] int rounds(int wanted) const { return m_smoke ? 2 : wanted; }

    /// The root of all data.
    [[nodiscard]] const QString& root() const { return m_root; }
    /// A directory with so many entries, created by the first call. Do not change it.
    [[nodiscard]] QString directoryOf(int entries) const;
    /// A new directory with so many entries, for the caller to change.
    [[nodiscard]] QString newDirectoryOf(int entries) const;
    /// A tree with ten files in each of so many directories. Do not change it.
    [[nodiscard]] QString treeOf(int directories) const;
    /// The directory with this name, filled by `fill` in the first call. Do not change it.
    [[nodiscard]] QString filled(const QString& name, const std::function<void(const std::string&)>& fill) const;

private:
    bool m_smoke;
    QTemporaryDir m_own;
    QString m_root;
};

/// The main function of a benchmark program; `addRaces` registers its races. Own options, besides those of the
/// framework:
/// --smoke, --data=DIRECTORY.
[[nodiscard]] int runBenchmarks(int argc, char** argv, const std::function<void(const Workshop&)>& addRaces);
