#pragma once

#include "content/limits.h"
#include "content/result.h"

class CMError;
class CMPath;
class QString;

/// The host's refusals, in the same form as those of a worker.
namespace Failures {

[[nodiscard]] Failure refused(const CMError& error);
[[nodiscard]] Failure invalidPath(const CMPath& path);
[[nodiscard]] Failure notOpen(const CMPath& path);
/// `base` leads out of the directory.
[[nodiscard]] Failure accessViolation(const QString& base, const QString& directory);
[[nodiscard]] Failure noReadPermission(const QString& base);
/// `errorNumber`: a value of errno.
[[nodiscard]] Failure unreadable(const CMPath& path, int errorNumber);
/// A client may not have more than `limit` paths open.
[[nodiscard]] Failure tooManyOpen(int limit);
[[nodiscard]] Failure unanswered(const CMPath& path);
[[nodiscard]] Failure cancelled();
[[nodiscard]] Failure timedOut();
[[nodiscard]] Failure stopping();
[[nodiscard]] Failure tooLarge();
[[nodiscard]] Failure busy();
/// Too many requests to the root hang.
[[nodiscard]] Failure rootHangs(const QString& prefix);
/// The failure that stands for the exception being handled.
[[nodiscard]] Failure fromException();

/// Returns the function's result, or the failure that stands for an exception that it throws.
template<typename Function>
[[nodiscard]] auto guarded(const Function& function) -> decltype(function())
{
    try {
        return function();
    } catch (...) {
        return fromException();
    }
}

/// The failure of a request for the path, as the client may see it: a network client sees no path of the local file
/// system.
[[nodiscard]] Failure shownTo(Reach reach, Failure failure, const CMPath& path);

} // namespace Failures
