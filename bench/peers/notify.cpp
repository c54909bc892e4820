#include "peers/notify.h"

#include "support/race.h"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

Inotify::Inotify() : m_descriptor(inotify_init1(IN_CLOEXEC))
{
    require(m_descriptor >= 0, "inotify_init failed");
}

Inotify::~Inotify()
{
    close(m_descriptor);
}

int Inotify::add(const std::string& directory) const
{
    const int watch = inotify_add_watch(
        m_descriptor, directory.c_str(), IN_ATTRIB | IN_MOVE | IN_CREATE | IN_DELETE | IN_DELETE_SELF);
    require(watch >= 0, "inotify_add_watch failed");
    return watch;
}

void Inotify::remove(int watch) const
{
    require(inotify_rm_watch(m_descriptor, watch) == 0, "inotify_rm_watch failed");
}

void Inotify::read() const
{
    alignas(inotify_event) char events[65536];
    require(::read(m_descriptor, events, sizeof events) > 0, "cannot read inotify's events");
}

void Inotify::readWithin(int milliseconds) const
{
    pollfd waiting = {m_descriptor, POLLIN, 0};
    if (poll(&waiting, 1, milliseconds) > 0)
        read();
}
