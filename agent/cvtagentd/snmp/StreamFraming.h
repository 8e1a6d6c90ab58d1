#pragma once

#include <cstddef>
#include <string_view>

namespace cvtagentd {

/// Follows where the messages in a stream of octets begin and end, by the tag and the length at the head of each. It
/// stores no octets, whatever length a message claims.
///
/// Not synchronised.
class StreamFraming {
public:
    /// The longest message that is accepted, with its tag and length. No datagram could carry more, and the SNMP
    /// library does not receive or send a longer one.
    static constexpr std::size_t kLongestMessage = 65535;

    enum class Verdict {
        kGood,
        kNoMessage,  ///< what follows the last message does not begin like one
        kTooLong,    ///< the message claims more than kLongestMessage octets
    };

    /// Takes the next octets of the stream. After any verdict but kGood the start of the next message is unknown, so
    /// the object is of no further use.
    Verdict Take(std::string_view octets);

    /// Whether a message has begun and is not complete.
    bool IsInMessage() const { return m_expected != Part::kTag; }

    /// How many octets the message needs, at least, to be complete; 0 between two messages.
    std::size_t Missing() const;

    /// How many messages are complete.
    std::size_t NumComplete() const { return m_complete; }

private:
    enum class Part { kTag, kLength, kMoreLength, kContent };

    Verdict TakeOfHead(unsigned char octet);
    Verdict BeginContent();

    Part m_expected = Part::kTag;
    std::size_t m_head = 0;          // octets of tag and length so far
    std::size_t m_lengthOctets = 0;  // of the length, still to come
    std::size_t m_content = 0;       // octets still to come; while the length is being read, its value so far
    std::size_t m_complete = 0;
};

}  // namespace cvtagentd
