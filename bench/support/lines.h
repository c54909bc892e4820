#pragma once

#include <string>
#include <string_view>

/// Reads a pipe or a socket line by line.
class Lines
{
public:
    explicit Lines(int descriptor) : m_descriptor(descriptor) {}

    /// The next line without its newline, valid until the next call. End of input ends the program.
    [[nodiscard]] std::string_view next();

private:
    void readMore();

    int m_descriptor;
    std::string m_text;
    std::size_t m_start = 0;
};
