#pragma once

#include <string>

/// The kernel's notifications of one directory, with nothing around them.
class Inotify
{
public:
    /// Nothing is watched yet.
    Inotify();
    ~Inotify();
    Inotify(const Inotify&) = delete;
    Inotify& operator=(const Inotify&) = delete;

    /// Returns the watch's number.
    int add(const std::string& directory) const;
    void remove(int watch) const;
    /// Waits for events and takes them.
    void read() const;
    /// Waits so many milliseconds at most.
    void readWithin(int milliseconds) const;

private:
    int m_descriptor;
};
