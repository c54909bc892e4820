#include "peers/floor.h"

#include "support/race.h"

#include <QString>

#include <benchmark/benchmark.h>

#include <cstdlib>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

template<typename PerEntry>
std::size_t scan(const std::string& directory, const PerEntry& perEntry)
{
    dirent** entries = nullptr;
    const int count = scandir(directory.c_str(), &entries, nullptr, alphasort);
    require(count >= 0, "scandir failed");
    for (int i = 0; i < count; ++i) {
        perEntry(*entries[i]);
        std::free(entries[i]);
    }
    std::free(entries);
    return static_cast<std::size_t>(count);
}

} // namespace

std::size_t Floor::listNames(const std::string& directory)
{
    return scan(directory, [](const dirent& entry) { benchmark::DoNotOptimize(QString::fromUtf8(entry.d_name)); });
}

std::size_t Floor::listAndStat(const std::string& directory)
{
    std::string path = directory + '/';
    return scan(directory, [&path, length = path.size()](const dirent& entry) {
        struct stat status = {};
        path.resize(length);
        path += entry.d_name;
        require(stat(path.c_str(), &status) == 0, "stat failed");
        benchmark::DoNotOptimize(status);
    });
}
