#include "agent/cvtwalk/text/DateText.h"

namespace cvtwalk {
namespace {

constexpr unsigned int kZoneAt = 8;  // the length of a date without an offset from UTC
constexpr unsigned int kWithZone = 11;

bool HasForm(const CVT::BOctetString& octets) {
    return octets.Length() == kZoneAt ||
           (octets.Length() == kWithZone && (octets[kZoneAt] == '+' || octets[kZoneAt] == '-'));
}

bool IsWithinBounds(const CVT::BOctetString& octets) {
    const auto within = [&](unsigned int place, unsigned int low, unsigned int high) {
        return octets[place] >= low && octets[place] <= high;
    };
    return within(2, 1, 12) && within(3, 1, 31) && within(4, 0, 23) && within(5, 0, 59) && within(6, 0, 60) &&
           within(7, 0, 9) && (octets.Length() == kZoneAt || (within(9, 0, 14) && within(10, 0, 59)));
}

/// `number` with at least two digits.
std::string Two(unsigned int number) { return (number < 10 ? "0" : "") + std::to_string(number); }

std::string Plain(unsigned int number) { return std::to_string(number); }

}  // namespace

std::optional<std::string> DateText::AsDisplayed(const CVT::BOctetString& octets) {
    if (!HasForm(octets)) {
        return std::nullopt;
    }
    const CVT::BOctetString& o = octets;
    std::string text = Plain(o[0] * 256 + o[1]) + "-" + Plain(o[2]) + "-" + Plain(o[3]) + "," + Plain(o[4]) + ":" +
                       Plain(o[5]) + ":" + Plain(o[6]) + "." + Plain(o[7]);
    if (o.Length() == kWithZone) {
        text += std::string(",") + static_cast<char>(o[kZoneAt]) + Plain(o[9]) + ":" + Plain(o[10]);
    }
    return text;
}

std::optional<std::string> DateText::AsIso8601(const CVT::BOctetString& octets) {
    if (!HasForm(octets) || !IsWithinBounds(octets)) {
        return std::nullopt;
    }
    const CVT::BOctetString& o = octets;
    std::string year = Plain(o[0] * 256 + o[1]);
    year.insert(0, year.size() < 4 ? 4 - year.size() : 0, '0');
    std::string text = year + "-" + Two(o[2]) + "-" + Two(o[3]) + "T" + Two(o[4]) + ":" + Two(o[5]) + ":" + Two(o[6]) +
                       "." + Plain(o[7]) + "00";
    if (o.Length() == kWithZone) {
        text += static_cast<char>(o[kZoneAt]) + Two(o[9]) + ":" + Two(o[10]);
    }
    return text;
}

}  // namespace cvtwalk
