#pragma once

#include <QByteArray>

class CMPath;
class CMWorker;

/// The file or directory that the path of the worker stands for, as the system's calls take it; empty if the worker
/// does not tell.
[[nodiscard]] QByteArray localPath(CMWorker& worker, const CMPath& path);
