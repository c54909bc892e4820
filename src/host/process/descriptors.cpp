#include "process/descriptors.h"

#include <array>
#include <cerrno>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

/// For the threads' event loops, the watches, the module, and a walk of a few levels.
constexpr int neededDescriptors = 32;

void raiseLimit()
{
    rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    static_cast<void>(setrlimit(RLIMIT_NOFILE, &limit));
}

/// 0, or why the descriptors that are needed cannot be had.
int shortage()
{
    std::array<int, neededDescriptors> opened{};
    int error = 0;
    for (int& descriptor : opened) {
        descriptor = open("/", O_PATH | O_CLOEXEC);
        if (descriptor < 0)
            error = errno;
    }
    for (const int descriptor : opened) {
        if (descriptor >= 0)
            close(descriptor);
    }
    return error;
}

} // namespace

Result<void> claimDescriptors()
{
    raiseLimit();
    if (const int error = shortage(); error != 0)
        return Failure{
            Failure::Kind::Refused,
            QStringLiteral("%1 file descriptors are needed: %2").arg(neededDescriptors).arg(qt_error_string(error))};
    return {};
}
