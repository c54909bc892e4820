#pragma once

#include "support/race.h"

#include <QProcess>

/// A program in the background. It ends with this object, or when the benchmark ends, even by a crash.
class Daemon : public QProcess
{
public:
    Daemon() = default;
    ~Daemon() override;
    Q_DISABLE_COPY_MOVE(Daemon)

    /// Processor time of all threads since its start.
    [[nodiscard]] Seconds cpuTime() const;

private:
    void setupChildProcess() override;
};
