#pragma once

#include <QByteArray>

#include <functional>
#include <vector>

#include <dirent.h>

/// Takes the place of scandir() in a test program: tests see how it is called and change what it finds.
struct ScanDirHook
{
    struct Call
    {
        QByteArray path;
        bool filtered;
        bool alphabetic;
    };

    static std::vector<Call> calls;
    /// Runs for each entry found.
    static std::function<void(dirent&)> changeEntry;
    /// If not 0, returned instead of a listing, with errno set.
    static int failure;
    /// Makes listings empty, without "." and "..", as on some file systems.
    static bool empty;

    /// Restores the platform's listing and forgets the calls.
    static void reset();
};
