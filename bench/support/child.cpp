#include "support/child.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// Discards the program's output.
class Nowhere
{
public:
    Nowhere()
    {
        posix_spawn_file_actions_init(&m_actions);
        posix_spawn_file_actions_addopen(&m_actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    }
    ~Nowhere() { posix_spawn_file_actions_destroy(&m_actions); }
    Nowhere(const Nowhere&) = delete;
    Nowhere& operator=(const Nowhere&) = delete;

    [[nodiscard]] const posix_spawn_file_actions_t* actions() const { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions = {};
};

Seconds seconds(const timeval& time)
{
    return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
}

} // namespace

Timing runProgram(const std::vector<std::string>& command)
{
    std::vector<char*> arguments;
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);

    const Nowhere nowhere;
    pid_t child = 0;
    int status = -1;
    rusage usage = {};
    Timing timing = timingOf([&] {
        require(
            posix_spawnp(&child, arguments[0], nowhere.actions(), nullptr, arguments.data(), environ) == 0,
            "cannot start a program");
        require(wait4(child, &status, 0, &usage) == child, "cannot wait for a program");
    });
    require(WIFEXITED(status) && WEXITSTATUS(status) == 0, "a program failed");
    timing.cpu = seconds(usage.ru_utime) + seconds(usage.ru_stime);
    return timing;
}
