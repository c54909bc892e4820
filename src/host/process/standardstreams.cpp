#include "process/standardstreams.h"

#include <fcntl.h>
#include <unistd.h>

void openStandardStreams()
{
    // open() returns the lowest number that is free.
    int descriptor = 0;
    while (descriptor >= 0 && descriptor <= STDERR_FILENO)
        descriptor = open("/dev/null", O_RDWR);
    if (descriptor >= 0)
        close(descriptor);
}

int claimStandardOutput()
{
    const int results = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    dup2(STDERR_FILENO, STDOUT_FILENO);
    return results;
}
