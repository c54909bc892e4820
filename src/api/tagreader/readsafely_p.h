#pragma once

#include <exception>
#include <utility>

/// Runs `read`, which uses TagLib or Qt Gui on a foreign file. What they throw, such as for lack of memory, ends the
/// reading of that file and nothing else.
template<typename Read>
void readSafely(Read&& read)
{
    try {
        std::forward<Read>(read)();
    } catch (const std::exception&) {
    }
}
