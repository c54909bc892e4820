#pragma once

#include "model/cmpath.h"

#include <QStringList>

#include <functional>
#include <ostream>
#include <vector>

/// Takes the place of CMSubscribe::rowsChanged() in a test program: tests see each call, which is then
/// forwarded to CMSubscribe.
struct RowsChangedHook
{
    struct Call
    {
        CMPath path;
        QStringList changes;
        int version;
        int row;

        friend bool operator==(const Call& a, const Call& b)
        {
            return a.path == b.path && a.changes == b.changes && a.version == b.version && a.row == b.row;
        }
        friend std::ostream& operator<<(std::ostream& out, const Call& call);
    };

    static std::vector<Call> calls;
    /// Runs in the calling thread before the call is forwarded.
    static std::function<void()> whileCalled;

    static void reset();
};

/// The calls with which the worker announces a change.
[[nodiscard]] RowsChangedHook::Call resetOf(const CMPath& path, int version);
[[nodiscard]] RowsChangedHook::Call closeOf(const CMPath& path, int version);
