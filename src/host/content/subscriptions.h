#pragma once

#include "content/openpaths.h"

#include <memory>

/// The open paths of one client: directories of the roots, and "/" for the roots themselves.
///
/// Only a directory that exists and can be read is opened, under a path in normal form. A client cannot close what it
/// did not open. Functions may be called from any thread and do not wait.
class Subscriptions
{
public:
    using ChangeHandler = OpenPaths::ChangeHandler;
    using Completion = OpenPaths::Completion;

    /// `limit`: the most open paths. The handler runs in the worker thread and must not block; it may still be called
    /// until the worker thread has closed the paths. The host must outlive the subscriptions.
    Subscriptions(ContentHost& host, Reach reach, int limit, ChangeHandler handler);
    /// Has the worker thread close all paths, without waiting for it.
    ~Subscriptions();
    Q_DISABLE_COPY_MOVE(Subscriptions)

    /// The completion runs in the worker thread, after those of earlier calls. It is dropped with the subscriptions.
    void open(const CMPath& path, Completion completion);
    void close(const CMPath& path, Completion completion);

private:
    ContentHost& m_host;
    /// In the worker thread, and deleted there.
    std::shared_ptr<OpenPaths> m_openPaths;
};
