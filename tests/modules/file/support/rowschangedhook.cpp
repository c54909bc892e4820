#include "rowschangedhook.h"

#include "log/dbglog.h"
#include "model/cmsubscribe.h"

#include <dlfcn.h>

std::vector<RowsChangedHook::Call> RowsChangedHook::calls;
std::function<void()> RowsChangedHook::whileCalled;

void RowsChangedHook::reset()
{
    calls.clear();
    whileCalled = nullptr;
}

std::ostream& operator<<(std::ostream& out, const RowsChangedHook::Call& call)
{
    return out << call.path << ' ' << call.changes << ' ' << call.version << ' ' << call.row;
}

RowsChangedHook::Call resetOf(const CMPath& path, int version)
{
    return {path, {CMSubscribe::RowsChangeReset()}, version, -1};
}

RowsChangedHook::Call closeOf(const CMPath& path, int version)
{
    return {path, {CMSubscribe::RowsChangeClose()}, version, -1};
}

void CMSubscribe::rowsChanged(const CMPath& path, const QStringList& changes, int version, int row)
{
    using RowsChanged = void (*)(CMSubscribe*, const CMPath&, const QStringList&, int, int);
    static const auto next =
        reinterpret_cast<RowsChanged>(dlsym(RTLD_NEXT, "_ZN11CMSubscribe11rowsChangedERK6CMPathRK11QStringListii"));
    RowsChangedHook::calls.push_back({path, changes, version, row});
    if (RowsChangedHook::whileCalled)
        RowsChangedHook::whileCalled();
    next(this, path, changes, version, row);
}
