#include "support/lines.h"

#include "support/race.h"

#include <unistd.h>

std::string_view Lines::next()
{
    std::size_t end = m_text.find('\n', m_start);
    while (end == std::string::npos) {
        const std::size_t searched = m_text.size() - m_start;
        readMore();
        end = m_text.find('\n', m_start + searched);
    }
    const std::string_view line = std::string_view(m_text).substr(m_start, end - m_start);
    m_start = end + 1;
    return line;
}

void Lines::readMore()
{
    char block[65536];
    const ssize_t size = read(m_descriptor, block, sizeof block);
    require(size > 0, "the other side hung up");
    m_text.erase(0, m_start);
    m_start = 0;
    m_text.append(block, static_cast<std::size_t>(size));
}
