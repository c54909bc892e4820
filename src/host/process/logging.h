#pragma once

#include "content/result.h"

#include <QStringList>

#include <log4cplus/initializer.h>

/// The process's logging: warnings and worse on standard error, unless a file or a level says otherwise.
/// Lives as long as anything may log.
class Logging
{
public:
    /// The names of the levels, from the quietest on.
    [[nodiscard]] static QStringList levels();
    /// Fails if log4cplus knows no such level.
    [[nodiscard]] static Result<void> checkLevel(const QString& name);

    /// `level`: a log4cplus level, empty: as the file says, or WARN. `file`: log4cplus properties, empty: none.
    Result<void> configure(const QString& level, const QString& file);

private:
    log4cplus::Initializer m_initializer;
};
