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
    /// What is returned instead of a listing, with errno set, if it is not 0.
    static int failure;
    /// Listings come back without a single entry, as some file systems give them.
    static bool empty;

    /// The platform's own listing again, nothing called yet.
    static void reset();
};
