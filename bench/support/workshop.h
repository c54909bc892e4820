#pragma once

#include <QString>
#include <QTemporaryDir>

#include <functional>
#include <vector>

/// What a benchmark program works with: its options and its data.
class Workshop
{
public:
    /// `dataDirectory`: where shared data is made and left for the next program; empty: a directory of its own.
    Workshop(const QString& dataDirectory, bool smoke);

    /// Small data, for a test of the benchmark itself.
    [[nodiscard]] bool isSmoke() const { return m_smoke; }
    /// Numbers of entries to measure with, up to `largest`; few and small in a smoke test.
    [[nodiscard]] std::vector<int> sizes(int largest) const;
    [[nodiscard]] int rounds(int wanted) const { return m_smoke ? 2 : wanted; }

    /// The root of all data.
    [[nodiscard]] const QString& root() const { return m_root; }
    /// A directory with so many entries, made when it is first asked for. Not to be changed.
    [[nodiscard]] QString directoryOf(int entries) const;
    /// A new directory with so many entries, for the caller to change.
    [[nodiscard]] QString newDirectoryOf(int entries) const;
    /// A tree of ten files in each of so many directories. Not to be changed.
    [[nodiscard]] QString treeOf(int directories) const;
    /// The directory with this name, which `fill` fills when it is first asked for. Not to be changed.
    [[nodiscard]] QString filled(const QString& name, const std::function<void(const std::string&)>& fill) const;

private:
    bool m_smoke;
    QTemporaryDir m_own;
    QString m_root;
};

/// The main function of a benchmark program. `addRaces` registers what it measures.
/// Options beside those of the framework: --smoke, --data=DIRECTORY.
[[nodiscard]] int runBenchmarks(int argc, char** argv, const std::function<void(const Workshop&)>& addRaces);
