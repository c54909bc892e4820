#pragma once

#include <QMutex>

#include <functional>

/// Takes the place of CMVersion::mutex() in a test program: tests see that the worker asks for the mutex, choose what
/// it is given, and act in between.
struct VersionMutexHook
{
    /// Runs in the asking thread before the mutex is handed out.
    static std::function<void()> beforeHandingOut;
    /// May be null, as at a process's end.
    static QMutex* mutex;

    /// The usual state.
    static void reset();
};
