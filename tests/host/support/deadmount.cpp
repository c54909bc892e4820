// A library to preload into a program: looks at a directory hang, and so does reading its files, as on a dead mount.

#include "support/deadmount.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <string>
#include <string_view>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#define EXPORTED __attribute__((visibility("default")))

namespace {

template<typename Function>
Function* original(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// Empty while no mount is dead.
std::string deadMount()
{
    const char* const directory =
        std::getenv(DeadMount::directory); // NOLINT(concurrency-mt-unsafe): nothing changes it
    const std::string mount(directory ? directory : "");
    const bool isDead = !mount.empty() && access((mount + DeadMount::dead).c_str(), F_OK) == 0;
    return isDead ? mount : std::string();
}

/// Never returns if the path is on the dead mount.
void look(std::string_view path)
{
    const std::string mount = deadMount();
    if (mount.empty() || path.substr(0, mount.size()) != mount)
        return;
    close(open((mount + DeadMount::hangs).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, S_IRUSR));
    for (;;)
        pause();
}

} // namespace

extern "C" EXPORTED int
statx(int directory, const char* path, int flags, unsigned int mask, struct statx* status) noexcept
{
    look(path);
    return original<int(int, const char*, int, unsigned int, struct statx*)>("statx")(
        directory, path, flags, mask, status);
}

extern "C" EXPORTED int stat(const char* path, struct stat* status) noexcept
{
    look(path);
    return original<int(const char*, struct stat*)>("stat")(path, status);
}

extern "C" EXPORTED char* realpath(const char* path, char* resolved) noexcept
{
    look(path);
    return original<char*(const char*, char*)>("realpath")(path, resolved);
}

extern "C" EXPORTED ssize_t preadv2(int file, const iovec* parts, int count, off_t offset, int flags)
{
    // While a mount is dead, nothing is in memory.
    if ((flags & RWF_NOWAIT) != 0 && !deadMount().empty()) {
        errno = EAGAIN;
        return -1;
    }
    return original<ssize_t(int, const iovec*, int, off_t, int)>("preadv2")(file, parts, count, offset, flags);
}

extern "C" EXPORTED ssize_t readahead(int file, off64_t offset, size_t count) noexcept
{
    std::array<char, PATH_MAX> path{};
    const ssize_t length = readlink(("/proc/self/fd/" + std::to_string(file)).c_str(), path.data(), path.size());
    look({path.data(), static_cast<size_t>(std::max(length, ssize_t{0}))});
    return original<ssize_t(int, off64_t, size_t)>("readahead")(file, offset, count);
}
