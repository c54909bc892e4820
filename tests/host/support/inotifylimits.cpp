// A library to preload into a program: it refuses inotify watches and instances beyond a limit, as the kernel does.

#include "support/inotifylimits.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <mutex>
#include <string>
#include <system_error>

#include <dlfcn.h>
#include <sys/inotify.h>

#define EXPORTED __attribute__((visibility("default")))

namespace {

namespace fs = std::filesystem;

int limitFrom(const char* variable)
{
    const char* const value = std::getenv(variable); // NOLINT(concurrency-mt-unsafe): nothing changes it
    return value ? std::stoi(value) : std::numeric_limits<int>::max();
}

template<typename Function>
Function* original(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// The sum of what `count` finds in each entry of a folder.
template<typename Count>
int sumOver(const char* folder, const Count& count)
{
    int sum = 0;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        sum += count(entry->path());
    return sum;
}

int instances()
{
    return sumOver("/proc/self/fd", [](const fs::path& descriptor) {
        std::error_code error;
        return static_cast<int>(fs::read_symlink(descriptor, error) == "anon_inode:inotify");
    });
}

int watches()
{
    return sumOver("/proc/self/fdinfo", [](const fs::path& descriptor) {
        int lines = 0;
        std::ifstream file(descriptor);
        for (std::string line; std::getline(file, line);)
            lines += static_cast<int>(line.rfind("inotify ", 0) == 0);
        return lines;
    });
}

/// Two threads must not both take the last place.
std::mutex& mutex()
{
    static std::mutex instance;
    return instance;
}

} // namespace

extern "C" EXPORTED int inotify_init1(int flags) noexcept
{
    const std::lock_guard<std::mutex> lock(mutex());
    if (instances() >= limitFrom(InotifyLimits::instances)) {
        errno = EMFILE;
        return -1;
    }
    return original<int(int)>("inotify_init1")(flags);
}

extern "C" EXPORTED int inotify_init() noexcept
{
    return inotify_init1(0);
}

extern "C" EXPORTED int inotify_add_watch(int fd, const char* name, uint32_t mask) noexcept
{
    const std::lock_guard<std::mutex> lock(mutex());
    const int before = watches();
    const int watch = original<int(int, const char*, uint32_t)>("inotify_add_watch")(fd, name, mask);
    if (watch < 0)
        return watch;
    const int after = watches();
    const bool isNew = after > before;
    if (!isNew || after <= limitFrom(InotifyLimits::watches))
        return watch;
    inotify_rm_watch(fd, watch);
    errno = ENOSPC;
    return -1;
}
