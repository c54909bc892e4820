#include "support/httpclient.h"

#include "support/race.h"

#include <algorithm>
#include <array>

namespace {

std::size_t lengthIn(std::string_view head)
{
    constexpr std::string_view name = "Content-Length: ";
    const std::size_t field = head.find(name);
    require(field != std::string_view::npos, "a response has no length");
    return std::stoul(std::string(head.substr(field + name.size(), 20)));
}

} // namespace

void HttpClient::request(const std::string& target)
{
    requestWith(target, "");
}

void HttpClient::request(const std::string& target, std::size_t first, std::size_t length)
{
    const std::string last = std::to_string(first + length - 1);
    requestWith(target, "Range: bytes=" + std::to_string(first) + '-' + last + "\r\n");
}

void HttpClient::requestWith(const std::string& target, const std::string& fields)
{
    m_hasHead = false;
    m_socket.send("GET " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" + fields + "\r\n");
}

bool HttpClient::receive()
{
    constexpr std::size_t most = std::size_t{1} << 20;
    if (m_hasHead)
        m_left -= m_socket.discard(std::min(m_left, most));
    else
        receiveHead();
    return m_left == 0;
}

void HttpClient::receiveAll()
{
    while (!receive())
        continue;
}

void HttpClient::receiveHead()
{
    constexpr std::string_view end = "\r\n\r\n";
    std::array<char, 4096> bytes = {};
    std::size_t size = 0;
    std::string_view head;
    while (head.find(end) == std::string_view::npos) {
        size += m_socket.receive(bytes.data() + size, bytes.size() - size);
        head = {bytes.data(), size};
    }
    require(head.substr(0, 10) == "HTTP/1.1 2", "a server refused a request");
    m_hasHead = true;
    m_left = lengthIn(head) + head.find(end) + end.size() - size;
}
