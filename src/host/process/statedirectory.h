#pragma once

#include "content/result.h"
#include "process/filedescriptor.h"

#include <QString>

/// The directory in which the process keeps what outlives it. No other process has it at the same time.
class StateDirectory
{
public:
    /// Creates the directory if it is missing, for its owner alone.
    [[nodiscard]] static Result<StateDirectory> claim(const QString& path);
    /// As the user's environment says.
    [[nodiscard]] static QString usualPath();
    /// The environment variable that decides usualPath().
    [[nodiscard]] static QString usualVariable();

    [[nodiscard]] const QString& path() const { return m_path; }

private:
    StateDirectory(QString path, FileDescriptor lock);

    QString m_path;
    /// Locked; the lock ends with the process at the latest.
    FileDescriptor m_lock;
};
