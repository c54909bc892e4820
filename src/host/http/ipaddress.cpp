#include "http/ipaddress.h"

#include <algorithm>
#include <string>

#include <arpa/inet.h>
#include <netinet/in.h>

namespace {

constexpr std::size_t v4Offset = 12;
const IpAddress::Bytes mappedPrefix = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};

} // namespace

std::optional<IpAddress> IpAddress::fromText(std::string_view text)
{
    const std::string terminated(text);
    // Otherwise inet_pton() would ignore the rest.
    if (text.find('\0') != std::string_view::npos)
        return std::nullopt;
    Bytes bytes = mappedPrefix;
    if (inet_pton(AF_INET, terminated.c_str(), &bytes[v4Offset]) == 1)
        return IpAddress(bytes);
    if (inet_pton(AF_INET6, terminated.c_str(), bytes.data()) == 1)
        return IpAddress(bytes);
    return std::nullopt;
}

QByteArray IpAddress::toText() const
{
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (isV4())
        inet_ntop(AF_INET, &m_bytes[v4Offset], text.data(), text.size());
    else
        inet_ntop(AF_INET6, m_bytes.data(), text.data(), text.size());
    return text.data();
}

bool IpAddress::isV4() const
{
    return std::equal(mappedPrefix.cbegin(), mappedPrefix.cbegin() + v4Offset, m_bytes.cbegin());
}

bool IpAddress::isLoopback() const
{
    constexpr unsigned char loopbackNetwork = 127;
    static const Bytes v6Loopback = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    return isV4() ? m_bytes[v4Offset] == loopbackNetwork : m_bytes == v6Loopback;
}

IpAddress IpAddress::site() const
{
    if (isV4())
        return *this;
    constexpr std::size_t siteBytes = 8;
    Bytes bytes = {};
    std::copy_n(m_bytes.cbegin(), siteBytes, bytes.begin());
    return IpAddress(bytes);
}
