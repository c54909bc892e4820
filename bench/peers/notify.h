#pragma once

#include <string>

/// A thin wrapper of inotify.
class Inotify
{
public:
    /// Watches nothing yet.
    Inotify();
    ~Inotify();
    Inotify(const Inotify&) = delete;
    Inotify& operator=(const Inotify&) = delete;

    /// Returns the watch descriptor.
    int add(const std::string& directory) const;
    void remove(int watch) const;
    /// Blocks until there are events, and reads them.
    void read() const;
    /// Blocks for at most so many milliseconds.
    void readWithin(int milliseconds) const;

private:
    int m_descriptor;
};
