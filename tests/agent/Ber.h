#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace agent_test::ber {

/// A small BER reader and writer of the tests' own, which can also write messages that are wrong on purpose.

inline constexpr unsigned char kInteger = 0x02;
inline constexpr unsigned char kOctetString = 0x04;
inline constexpr unsigned char kNull = 0x05;
inline constexpr unsigned char kOid = 0x06;
inline constexpr unsigned char kSequence = 0x30;

inline std::string Field(unsigned char tag, const std::string& content) {
    std::string field(1, static_cast<char>(tag));
    if (content.size() < 0x80) {
        field += static_cast<char>(content.size());
    } else if (content.size() < 0x100) {
        field += '\x81';
        field += static_cast<char>(content.size());
    } else {
        field += '\x82';
        field += static_cast<char>(content.size() >> 8U);
        field += static_cast<char>(content.size() & 0xFFU);
    }
    return field + content;
}

inline std::string Integer(std::int64_t value, unsigned char tag = kInteger) {
    std::string content;
    do {
        content.insert(content.begin(), static_cast<char>(value & 0xFF));
        value >>= 8;
    } while (!(value == 0 && (content[0] & 0x80) == 0) && !(value == -1 && (content[0] & 0x80) != 0));
    return Field(tag, content);
}

inline std::string Oid(const std::vector<unsigned int>& arcs) {
    std::string content;
    for (std::size_t i = 0; i < arcs.size(); ++i) {
        unsigned int arc = arcs[i];
        if (i == 0 && arcs.size() > 1) {
            arc = arcs[0] * 40 + arcs[1];
            ++i;
        }
        std::string septets(1, static_cast<char>(arc & 0x7FU));
        for (arc >>= 7U; arc != 0; arc >>= 7U) {
            septets.insert(septets.begin(), static_cast<char>(0x80U | (arc & 0x7FU)));
        }
        content += septets;
    }
    return Field(kOid, content);
}

/// Reads one field after the other. After a field that is not as expected, every further call returns nothing.
class Reader {
public:
    explicit Reader(std::string_view octets) : m_octets(octets) {}

    bool IsAtEnd() const { return m_octets.empty(); }
    /// The tag of the next field; 0 when there is none.
    unsigned char Tag() const { return m_octets.empty() ? 0 : static_cast<unsigned char>(m_octets[0]); }

    /// The content of the next field, which must have that tag; kAny: any.
    std::optional<std::string_view> Take(int tag = kAny) {
        if (m_octets.size() < 2 || (tag != kAny && Tag() != tag)) {
            return Fail();
        }
        std::size_t head = 2;
        std::size_t length = static_cast<unsigned char>(m_octets[1]);
        if (length >= 0x80) {
            head += length & 0x7FU;
            length = 0;
            for (std::size_t i = 2; i < head; ++i) {
                if (i >= m_octets.size() || i >= 6) {
                    return Fail();
                }
                length = length << 8U | static_cast<unsigned char>(m_octets[i]);
            }
        }
        if (m_octets.size() - head < length || m_octets.size() < head) {
            return Fail();
        }
        const std::string_view content = m_octets.substr(head, length);
        m_octets.remove_prefix(head + length);
        return content;
    }
    std::optional<std::int64_t> TakeInteger(int tag = kInteger) {
        const auto content = Take(tag);
        if (!content || content->empty() || content->size() > 8) {
            return std::nullopt;
        }
        std::uint64_t value = static_cast<signed char>((*content)[0]) < 0 ? ~std::uint64_t{0} : 0;
        for (const char octet : *content) {
            value = value << 8U | static_cast<unsigned char>(octet);
        }
        return static_cast<std::int64_t>(value);
    }

    static constexpr int kAny = -1;

private:
    std::nullopt_t Fail() {
        m_octets = {};
        return std::nullopt;
    }

    std::string_view m_octets;
};

}  // namespace agent_test::ber
