#pragma once

#include <QString>

#include <cstddef>

/// KDE's input/output jobs.
namespace Kio {

/// Lists a directory with a list job, waits for it and sorts the names. Returns their number.
std::size_t list(const QString& directory);

} // namespace Kio
