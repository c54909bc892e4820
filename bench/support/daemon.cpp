#include "support/daemon.h"

#include <csignal>
#include <ctime>

#include <sys/prctl.h>

Daemon::~Daemon()
{
    terminate();
    waitForFinished();
}

Seconds Daemon::cpuTime() const
{
    clockid_t clock = 0;
    timespec time = {};
    require(
        clock_getcpuclockid(static_cast<pid_t>(processId()), &clock) == 0 && clock_gettime(clock, &time) == 0,
        "a daemon has ended");
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

void Daemon::setupChildProcess()
{
    prctl(PR_SET_PDEATHSIG, SIGTERM);
}
