// A library to preload into a program: looks at a directory hang, as at a dead mount.

#include "support/deadmount.h"

#include <cstdlib>
#include <string>
#include <string_view>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#define EXPORTED __attribute__((visibility("default")))

namespace {

template<typename Function>
Function* original(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// Never returns if the path is on the dead mount.
void look(std::string_view path)
{
    const char* const directory =
        std::getenv(DeadMount::directory); // NOLINT(concurrency-mt-unsafe): nothing changes it
    if (!directory || path.substr(0, std::string_view(directory).size()) != directory)
        return;
    const std::string mount(directory);
    if (access((mount + DeadMount::dead).c_str(), F_OK) != 0)
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
