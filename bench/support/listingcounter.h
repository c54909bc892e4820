#pragma once

#include <QStringList>
#include <QTemporaryFile>

#include <atomic>

/// Counts the calls of scandir() in another process.
class ListingCounter
{
public:
    ListingCounter();
    ~ListingCounter();
    Q_DISABLE_COPY_MOVE(ListingCounter)

    /// Variables for the environment of the process, NAME=VALUE.
    [[nodiscard]] QStringList environment() const;

    /// Since the last call of reset().
    [[nodiscard]] int made() const { return *m_calls; }
    void reset() { *m_calls = 0; }

private:
    QTemporaryFile m_file;
    std::atomic<int>* m_calls = nullptr;
};
