#pragma once

#include "content/result.h"

#include <model/cmworker.h>

#include <memory>

/// A loaded library that makes workers. It stays loaded as long as the process, since values that a worker has handed
/// out may point to constants of its library.
class WorkerModule
{
public:
    /// Fails with the loader's own words if the file is no library, lacks a symbol or exports no factory.
    static Result<WorkerModule> load(const QString& file);

    /// Fails if the factory throws. Each worker belongs to the calling thread.
    [[nodiscard]] Result<std::unique_ptr<CMWorker>> createWorker(const QVariantHash& configuration) const;

private:
    WorkerModule(QString file, CMWorkerCreate factory) : m_file(std::move(file)), m_factory(factory) {}

    QString m_file;
    CMWorkerCreate m_factory;
};
