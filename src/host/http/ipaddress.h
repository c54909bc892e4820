#pragma once

#include <QByteArray>
#include <QHashFunctions>

#include <array>
#include <optional>
#include <string_view>

/// An IPv4 or IPv6 address. The IPv4 address in an IPv4-mapped IPv6 address (::ffff:1.2.3.4) equals the former.
class IpAddress
{
public:
    /// 16 bytes, in the network's order.
    using Bytes = std::array<unsigned char, 16>;

    /// The address ::.
    IpAddress() = default;
    explicit IpAddress(const Bytes& bytes) : m_bytes(bytes) {}

    /// `text`: an address in its usual notation, without brackets, port or zone.
    [[nodiscard]] static std::optional<IpAddress> fromText(std::string_view text);
    [[nodiscard]] QByteArray toText() const;
    [[nodiscard]] const Bytes& bytes() const { return m_bytes; }

    [[nodiscard]] bool isV4() const;
    [[nodiscard]] bool isLoopback() const;
    /// The network that a site usually has: the address itself, or the first 64 bits of an IPv6 address.
    [[nodiscard]] IpAddress site() const;

    friend bool operator==(const IpAddress& a, const IpAddress& b) { return a.m_bytes == b.m_bytes; }
    friend bool operator!=(const IpAddress& a, const IpAddress& b) { return !(a == b); }
    friend uint qHash(const IpAddress& address, uint seed = 0)
    {
        return qHashBits(address.m_bytes.data(), address.m_bytes.size(), seed);
    }

private:
    Bytes m_bytes = {};
};
