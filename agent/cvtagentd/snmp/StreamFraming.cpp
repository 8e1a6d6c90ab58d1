#include "agent/cvtagentd/snmp/StreamFraming.h"

#include <algorithm>

namespace cvtagentd {
namespace {

constexpr unsigned char kSequence = 0x30;
constexpr unsigned char kLongForm = 0x80;  // a length octet with this bit says in the others how many octets follow

/// The SNMP library cannot read a length of more octets.
constexpr std::size_t kMostLengthOctets = 4;

}  // namespace

StreamFraming::Verdict StreamFraming::Take(std::string_view octets) {
    while (!octets.empty()) {
        std::size_t taken = 1;
        if (m_expected == Part::kContent) {
            taken = std::min(m_content, octets.size());
            m_content -= taken;
        } else if (const Verdict verdict = TakeOfHead(static_cast<unsigned char>(octets.front()));
                   verdict != Verdict::kGood) {
            return verdict;
        }
        octets.remove_prefix(taken);
        if (m_expected == Part::kContent && m_content == 0) {
            m_expected = Part::kTag;
            ++m_complete;
        }
    }
    return Verdict::kGood;
}

StreamFraming::Verdict StreamFraming::TakeOfHead(unsigned char octet) {
    switch (m_expected) {
        case Part::kTag:
            m_head = 1;
            m_expected = Part::kLength;
            return octet == kSequence ? Verdict::kGood : Verdict::kNoMessage;
        case Part::kLength:
            ++m_head;
            if (octet < kLongForm) {
                m_content = octet;
                return BeginContent();
            }
            m_lengthOctets = octet - kLongForm;
            m_content = 0;
            m_expected = Part::kMoreLength;
            return m_lengthOctets > 0 && m_lengthOctets <= kMostLengthOctets ? Verdict::kGood : Verdict::kNoMessage;
        case Part::kMoreLength:
            ++m_head;
            m_content = m_content << 8U | octet;
            return --m_lengthOctets == 0 ? BeginContent() : Verdict::kGood;
        case Part::kContent: break;
    }
    return Verdict::kNoMessage;
}

StreamFraming::Verdict StreamFraming::BeginContent() {
    m_expected = Part::kContent;
    return m_head + m_content <= kLongestMessage ? Verdict::kGood : Verdict::kTooLong;
}

std::size_t StreamFraming::Missing() const {
    switch (m_expected) {
        case Part::kTag: return 0;
        case Part::kLength: return 1;
        case Part::kMoreLength: return m_lengthOctets;
        case Part::kContent: break;
    }
    return m_content;
}

}  // namespace cvtagentd
