#include "agent/cvtwalk/data/ValueText.h"

#include <optional>

#include "agent/cvtwalk/text/DateText.h"
#include "agent/cvtwalk/text/JsonText.h"
#include "agent/cvtwalk/text/Utf8.h"

namespace cvtwalk {
namespace {

std::string Hex(const CVT::BOctetString& octets, const char* separator) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string hex;
    for (unsigned int i = 0; i < octets.Length(); ++i) {
        if (i > 0) {
            hex += separator;
        }
        hex += kDigits[octets[i] >> 4U];
        hex += kDigits[octets[i] & 0xFU];
    }
    return hex;
}

/// The letter that stands for a control character after a backslash; 0 for other characters.
char EscapeLetter(char32_t character) {
    switch (character) {
        case '\n': return 'n';
        case '\r': return 'r';
        case '\t': return 't';
        default: return 0;
    }
}

/// The octets as text with line feeds, carriage returns and tabs written \n, \r and \t, since many files of a host end
/// with one. In quotes if wanted, with a backslash before quotes and backslashes. Nothing when any other character is
/// not printable, or no character is.
std::optional<std::string> AsText(const CVT::BOctetString& octets, bool quoted) {
    std::string text;
    bool anyPrintable = octets.IsEmpty();
    for (Utf8 characters(octets.View()); !characters.AtEnd();) {
        const char32_t character = characters.Next();
        if (const char letter = EscapeLetter(character); letter != 0) {
            text += '\\';
            text += letter;
        } else if (Utf8::IsPrintable(character)) {
            if (quoted && (character == '"' || character == '\\')) {
                text += '\\';
            }
            text += characters.Last();
            anyPrintable = true;
        } else {
            return std::nullopt;
        }
    }
    if (!anyPrintable) {
        return std::nullopt;
    }
    return quoted ? '"' + text + '"' : text;
}

std::string TwoDigits(unsigned int number) { return (number < 10 ? "0" : "") + std::to_string(number); }

/// "1 day, 2:03:04.05" for hundredths of a second.
std::string Elapsed(unsigned int hundredths) {
    const unsigned int seconds = hundredths / 100;
    const unsigned int days = seconds / 86400;
    std::string text;
    if (days > 0) {
        text = std::to_string(days) + (days == 1 ? " day, " : " days, ");
    }
    return text + std::to_string(seconds / 3600 % 24) + ":" + TwoDigits(seconds / 60 % 60) + ":" +
           TwoDigits(seconds % 60) + "." + TwoDigits(hundredths % 100);
}

std::string Dotted(const CVT::BObjectIdentifier& oid) { return oid.IsEmpty() ? "0.0" : oid.ToString().c_str(); }

std::string UnknownType(CVT::ESnmpType type) { return "unknown type " + std::to_string(static_cast<int>(type)); }

/// The words for exceptions and null; null for types that have a value.
const char* WordsFor(CVT::ESnmpType type) {
    switch (type) {
        case CVT::kNull: return "NULL";
        case CVT::kNoSuchObject: return "No Such Object available";
        case CVT::kNoSuchInstance: return "No Such Instance currently exists";
        case CVT::kEndOfMibView: return "No more variables left";
        default: return nullptr;
    }
}

}  // namespace

std::string ValueText::Typed() const {
    switch (m_value.type) {
        case CVT::kInteger: {
            const char* const name = m_object.EnumerationName(m_value.integer);
            const std::string number = std::to_string(m_value.integer);
            return name == nullptr ? "INTEGER: " + number : std::string("INTEGER: ") + name + "(" + number + ")";
        }
        case CVT::kOctetString: return OctetsTyped();
        case CVT::kObjectIdentifier: return "OID: " + Dotted(m_value.identifier);
        case CVT::kCounter32: return "Counter32: " + std::to_string(m_value.number);
        case CVT::kGauge32: return "Gauge32: " + std::to_string(m_value.number);
        case CVT::kTimeTicks: return "Timeticks: (" + std::to_string(m_value.number) + ") " + Elapsed(m_value.number);
        default: {
            const char* const words = WordsFor(m_value.type);
            return words == nullptr ? UnknownType(m_value.type) : words;
        }
    }
}

std::string ValueText::OctetsTyped() const {
    const CVT::BOctetString& octets = m_value.octets;
    if (m_object.HoldsDates()) {
        if (const auto date = DateText::AsDisplayed(octets)) {
            return "STRING: " + *date;
        }
    }
    const auto text = AsText(octets, true);
    return text ? "STRING: " + *text : "Hex-STRING: " + Hex(octets, " ");
}

std::string ValueText::Bare() const {
    switch (m_value.type) {
        case CVT::kInteger: {
            const char* const name = m_object.EnumerationName(m_value.integer);
            return name == nullptr ? std::to_string(m_value.integer) : name;
        }
        case CVT::kOctetString: return OctetsBare();
        case CVT::kObjectIdentifier: return Dotted(m_value.identifier);
        case CVT::kCounter32:
        case CVT::kGauge32: return std::to_string(m_value.number);
        case CVT::kTimeTicks: return Elapsed(m_value.number);
        default: return Typed();
    }
}

std::string ValueText::OctetsBare() const {
    std::optional<std::string> text;
    if (m_object.HoldsDates()) {
        text = DateText::AsDisplayed(m_value.octets);
    }
    if (!text) {
        text = AsText(m_value.octets, false);
    }
    return text ? *std::move(text) : Hex(m_value.octets, " ");
}

bool ValueText::IsNumber() const {
    switch (m_value.type) {
        case CVT::kInteger: return m_object.EnumerationName(m_value.integer) == nullptr;
        case CVT::kCounter32:
        case CVT::kGauge32:
        case CVT::kTimeTicks: return true;
        default: return false;
    }
}

std::string ValueText::JsonMembers() const {
    const auto member = [](const char* type, const std::string& value) {
        return std::string(R"("type":")") + type + R"(","value":)" + value;
    };
    switch (m_value.type) {
        case CVT::kInteger: {
            const char* const name = m_object.EnumerationName(m_value.integer);
            const std::string number = member("INTEGER", std::to_string(m_value.integer));
            return name == nullptr ? number : number + ",\"enum\":" + JsonText::Quoted(name);
        }
        case CVT::kOctetString: return OctetsJson();
        case CVT::kObjectIdentifier: return member("OBJECT IDENTIFIER", JsonText::Quoted(Dotted(m_value.identifier)));
        case CVT::kCounter32: return member("Counter32", std::to_string(m_value.number));
        case CVT::kGauge32: return member("Gauge32", std::to_string(m_value.number));
        case CVT::kTimeTicks: return member("TimeTicks", std::to_string(m_value.number));
        default: {
            const char* const words = WordsFor(m_value.type);
            return member(words == nullptr ? UnknownType(m_value.type).c_str() : words, "null");
        }
    }
}

std::string ValueText::OctetsJson() const {
    const CVT::BOctetString& octets = m_value.octets;
    std::optional<std::string> date;
    if (m_object.HoldsDates()) {
        date = DateText::AsIso8601(octets);
    }
    std::string members =
        R"("type":"OCTET STRING","value":)" + JsonText::Quoted(date ? std::string_view(*date) : octets.View());
    if (date || !JsonText::IsUtf8(octets.View())) {
        members += R"(,"hex":")" + Hex(octets, "") + '"';
    }
    return members;
}

}  // namespace cvtwalk
