// Makes large files slow to read in the process that preloads this, as if they were on a disk that reads 20 MB/s, one
// block after the other, and had 16 MiB of page cache. What is read twice from that cache costs nothing more.

#include <algorithm>
#include <chrono>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

#include <cerrno>

#include <dlfcn.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/uio.h>

namespace {

constexpr off64_t smallestSlowFile = 1 << 20;
/// Bytes.
constexpr off64_t blockSize = 128 << 10;
constexpr std::size_t cachedBlocks = 128;
constexpr std::chrono::microseconds blockTime(6500);

/// A file's number, and a block of it.
using Block = std::pair<ino64_t, off64_t>;

class Disk
{
public:
    /// Waits until the disk has read it, unless it is in the cache.
    void read(const Block& block)
    {
        if (has(block))
            return;
        const std::lock_guard lock(m_head);
        std::this_thread::sleep_for(blockTime);
        keep(block);
    }

    [[nodiscard]] bool has(const Block& block)
    {
        const std::lock_guard lock(m_mutex);
        return std::find(m_cache.begin(), m_cache.end(), block) != m_cache.end();
    }

private:
    void keep(const Block& block)
    {
        const std::lock_guard lock(m_mutex);
        m_cache.push_back(block);
        if (m_cache.size() > cachedBlocks)
            m_cache.pop_front();
    }

    /// Held while the disk reads.
    std::mutex m_head;
    std::mutex m_mutex;
    std::deque<Block> m_cache;
};

/// Outlives the threads of the process.
Disk& disk()
{
    static auto& instance = *new Disk;
    return instance;
}

/// Calls the function with each block of the file that has a byte of the range, if the file is slow, while it returns
/// true. Returns whether it always did.
template<typename Function>
bool forBlocks(int file, off64_t first, std::size_t length, const Function& function)
{
    struct stat64 status = {};
    if (fstat64(file, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size < smallestSlowFile)
        return true;
    const off64_t end = std::min(first + static_cast<off64_t>(length), status.st_size);
    for (off64_t block = first / blockSize; block * blockSize < end; ++block) {
        if (!function(Block(status.st_ino, block)))
            return false;
    }
    return true;
}

void waitFor(int file, off64_t first, std::size_t length)
{
    forBlocks(file, first, length, [](const Block& block) {
        disk().read(block);
        return true;
    });
}

bool isCached(int file, off64_t first, std::size_t length)
{
    return forBlocks(file, first, length, [](const Block& block) { return disk().has(block); });
}

template<typename Function>
Function* next(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
extern "C" {

__attribute__((visibility("default"))) ssize_t pread64(int file, void* bytes, size_t size, off64_t offset)
{
    static const auto real = next<decltype(pread64)>("pread64");
    waitFor(file, offset, size);
    return real(file, bytes, size, offset);
}

__attribute__((visibility("default"))) ssize_t preadv2(int file, const iovec* parts, int count, off_t offset, int flags)
{
    static const auto real = next<decltype(preadv2)>("preadv2");
    std::size_t size = 0;
    std::for_each(parts, parts + count, [&size](const iovec& part) { size += part.iov_len; });
    if ((flags & RWF_NOWAIT) == 0) {
        waitFor(file, offset, size);
    } else if (!isCached(file, offset, size)) {
        errno = EAGAIN;
        return -1;
    }
    return real(file, parts, count, offset, flags);
}

// Reading ahead is a wish. This disk is too busy to fulfil it.
__attribute__((visibility("default"))) ssize_t readahead(int /*file*/, off64_t /*offset*/, size_t /*size*/)
{
    return 0;
}

__attribute__((visibility("default"))) ssize_t sendfile64(int socket, int file, off64_t* offset, size_t size)
{
    static const auto real = next<decltype(sendfile64)>("sendfile64");
    waitFor(file, *offset, size);
    return real(socket, file, offset, size);
}
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
