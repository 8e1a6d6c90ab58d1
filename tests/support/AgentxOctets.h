#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// Writes the parts of AgentX messages (RFC 2741) for tests, with whatever numbers and lengths the test names. It knows
/// nothing of the agent's own codec, so that the two check each other. A value for any thread.
class AgentxOctets {
public:
    using Arcs = std::vector<std::uint32_t>;

    /// The bit in a header's flags that says that the highest octet of each number comes first.
    static constexpr std::uint8_t kNetworkOrder = 0x10;

    enum Tag : std::uint16_t {
        kInteger = 2,
        kOctetString = 4,
        kNull = 5,
        kObjectIdentifier = 6,
        kIpAddress = 64,
        kCounter32 = 65,
        kGauge32 = 66,
        kTimeTicks = 67,
        kOpaque = 68,
        kCounter64 = 70,
        kNoSuchObject = 128,
        kNoSuchInstance = 129,
        kEndOfMibView = 130,
    };

    explicit AgentxOctets(bool inNetworkOrder) : m_inNetworkOrder(inNetworkOrder) {}

    bool IsInNetworkOrder() const { return m_inNetworkOrder; }

    static std::string Octet(unsigned int value) { return {static_cast<char>(static_cast<unsigned char>(value))}; }
    std::string Short(std::uint64_t value) const { return Number(value, 2); }
    std::string Word(std::uint64_t value) const { return Number(value, 4); }
    std::string Long(std::uint64_t value) const { return Number(value, 8); }

    /// In the long form, unless there is a prefix: then the name is 1.3.6.1.prefix.arcs.
    std::string Name(const Arcs& arcs, bool include = false, unsigned int prefix = 0) const {
        std::string octets =
            Octet(static_cast<unsigned int>(arcs.size())) + Octet(prefix) + Octet(include ? 1 : 0) + Octet(0);
        for (const std::uint32_t arc : arcs) {
            octets += Word(arc);
        }
        return octets;
    }
    std::string Text(const std::string& text) const {
        return Word(text.size()) + text + std::string((4 - text.size() % 4) % 4, '\0');
    }
    /// `name` and `value` are written already.
    std::string VarBind(unsigned int tag, const std::string& name, const std::string& value = {}) const {
        return Short(tag) + Short(0) + name + value;
    }

    struct Header {
        std::uint8_t version = 1;
        std::uint8_t type = 0;
        std::uint8_t flags = 0;  ///< the byte order is added
        std::uint32_t session = 0;
        std::uint32_t transaction = 0;
        std::uint32_t packet = 0;
    };
    std::string Message(const Header& header, const std::string& payload) const {
        return Message(header, payload, static_cast<std::uint32_t>(payload.size()));
    }
    /// With a header that may lie about the payload's length.
    std::string Message(const Header& header, const std::string& payload, std::uint32_t length) const {
        const unsigned int flags = header.flags | (m_inNetworkOrder ? kNetworkOrder : 0U);
        return Octet(header.version) + Octet(header.type) + Octet(flags) + Octet(0) + Word(header.session) +
               Word(header.transaction) + Word(header.packet) + Word(length) + payload;
    }

    /// The number of `size` octets at `at`; 0 when the octets end before.
    std::uint64_t NumberAt(const std::string& octets, std::size_t at, std::size_t size) const {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < size && at + size <= octets.size(); ++i) {
            value = value << 8U | static_cast<unsigned char>(octets[at + (m_inNetworkOrder ? i : size - 1 - i)]);
        }
        return value;
    }

private:
    std::string Number(std::uint64_t value, std::size_t size) const {
        std::string octets(size, '\0');
        for (std::size_t i = 0; i < size; ++i) {
            octets[m_inNetworkOrder ? size - 1 - i : i] = static_cast<char>(static_cast<unsigned char>(value >> 8 * i));
        }
        return octets;
    }

    bool m_inNetworkOrder;
};
