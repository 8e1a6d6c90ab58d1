#include "agent/cvtagentd/process/StateContent.h"

#include <strings.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <limits>
#include <optional>

namespace cvtagentd {
namespace {

constexpr std::string_view kBlanks = " \t\r\v\f";
constexpr int kNonVolatile = 3;  // StorageType

struct Protocol {
    std::string_view oid;
    std::size_t keyOctets;
    const char* name;
};

/// Authentication keys are as long as the hash.
constexpr Protocol kAuthentication[] = {
    {"1.3.6.1.6.3.10.1.1.1", 0, "none"},     {"1.3.6.1.6.3.10.1.1.2", 16, "MD5"},
    {"1.3.6.1.6.3.10.1.1.3", 20, "SHA"},     {"1.3.6.1.6.3.10.1.1.4", 28, "SHA-224"},
    {"1.3.6.1.6.3.10.1.1.5", 32, "SHA-256"}, {"1.3.6.1.6.3.10.1.1.6", 48, "SHA-384"},
    {"1.3.6.1.6.3.10.1.1.7", 64, "SHA-512"},
};

/// Privacy keys are at least as long as the cipher's, and for DES include half of the initial vector.
constexpr Protocol kPrivacy[] = {
    {"1.3.6.1.6.3.10.1.2.1", 0, "none"},        {"1.3.6.1.6.3.10.1.2.2", 16, "DES"},
    {"1.3.6.1.6.3.10.1.2.4", 16, "AES"},        {"1.3.6.1.4.1.14832.1.3", 24, "AES-192"},
    {"1.3.6.1.4.1.14832.1.4", 32, "AES-256"},   {"1.3.6.1.4.1.9.12.6.1.1", 24, "AES-192C"},
    {"1.3.6.1.4.1.9.12.6.1.2", 32, "AES-256C"}, {"1.3.6.1.4.1.9.12.6.1.3", 24, "3DES"},
};

int HexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// Splits a line into words, which may be quoted.
class Words {
public:
    explicit Words(std::string_view line) : m_rest(line) {}

    /// Returns the next word as it stands; empty at the end. A quoted word keeps its quotes; one without a closing
    /// quote extends to the end of the line.
    std::string_view Next() {
        m_rest.remove_prefix(std::min(m_rest.find_first_not_of(kBlanks), m_rest.size()));
        const std::size_t length = !m_rest.empty() && m_rest.front() == '"'
                                       ? QuotedLength()
                                       : std::min(m_rest.find_first_of(kBlanks), m_rest.size());
        const std::string_view word = m_rest.substr(0, length);
        m_rest.remove_prefix(length);
        return word;
    }
    std::string_view Rest() const { return m_rest; }

private:
    std::size_t QuotedLength() const {
        for (std::size_t at = 1; at < m_rest.size(); ++at) {
            if (m_rest[at] == '\\') {
                ++at;
            } else if (m_rest[at] == '"') {
                return at + 1;
            }
        }
        return m_rest.size();
    }

    std::string_view m_rest;
};

std::optional<std::string> Unquoted(std::string_view word) {
    std::string octets;
    for (std::size_t at = 1; at < word.size(); ++at) {
        if (word[at] == '"') {
            return at + 1 == word.size() ? std::optional(octets) : std::nullopt;
        }
        if (word[at] == '\\' && ++at == word.size()) {
            break;
        }
        octets += word[at];
    }
    return std::nullopt;
}

/// An octet string as the library writes it: "text" or 0x and digits; no value when it is neither.
std::optional<std::string> Octets(std::string_view word) {
    if (word.starts_with('"')) {
        return Unquoted(word);
    }
    if (!word.starts_with("0x") || word.size() % 2 != 0) {
        return std::nullopt;
    }
    std::string octets;
    for (std::size_t at = 2; at < word.size(); at += 2) {
        const int high = HexDigit(word[at]);
        const int low = HexDigit(word[at + 1]);
        if (high < 0 || low < 0) {
            return std::nullopt;
        }
        octets += static_cast<char>(high * 16 + low);
    }
    return octets;
}

std::optional<std::string> EngineOctets(std::string_view word) {
    std::optional<std::string> octets = Octets(word);
    return octets && !octets->empty() ? octets : std::nullopt;
}

/// A name; some versions of the library also write its terminating null.
std::optional<std::string> Name(std::string_view word) {
    std::optional<std::string> octets = Octets(word);
    if (octets) {
        octets->erase(octets->find_last_not_of('\0') + 1);
    }
    return octets;
}

/// From 0 to 2147483647, the most that engineBoots may be.
std::optional<int> Number(std::string_view word) {
    int number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    const bool whole = error == std::errc() && end == word.data() + word.size();
    return whole && number >= 0 ? std::optional(number) : std::nullopt;
}

bool IsOid(std::string_view word) {
    return word == "NULL" ||
           (!word.empty() && word.find_first_not_of(".0123456789") == std::string_view::npos && word.back() != '.');
}

template <std::size_t Count>
const Protocol* Find(const Protocol (&protocols)[Count], std::string_view oid) {
    oid.remove_prefix(oid.starts_with('.') ? 1 : 0);
    const auto* const found =
        std::find_if(std::begin(protocols), std::end(protocols), [&](const Protocol& p) { return p.oid == oid; });
    return found == std::end(protocols) ? nullptr : found;
}

/// What is wrong with a key; empty when it fits. A key of an unknown protocol must only have some octets.
std::string KeyFault(const char* what, const std::optional<std::string>& key, std::size_t least, std::size_t most) {
    if (!key) {
        return std::string("the key for ") + what + " is cut off";
    }
    if (key->size() >= least && key->size() <= most) {
        return {};
    }
    return std::string("the key for ") + what + " has " + std::to_string(key->size()) + " octets, not " +
           std::to_string(least);
}

bool IsToken(std::string_view word, std::string_view token) {
    return word.size() == token.size() && ::strncasecmp(word.data(), token.data(), token.size()) == 0;
}

}  // namespace

StateContent::StateContent(std::string_view text) {
    std::size_t number = 0;
    while (!text.empty() && m_fault.empty()) {
        ++number;
        const std::size_t end = text.find('\n');
        if (end == std::string_view::npos) {
            m_fault = "it is cut off";
        } else {
            ParseLine(text.substr(0, end));
            text.remove_prefix(end + 1);
        }
        if (!m_fault.empty()) {
            m_fault = "line " + std::to_string(number) + ": " + m_fault;
        }
    }
    if (m_fault.empty()) {
        CheckWhole();
    }
}

void StateContent::ParseLine(std::string_view line) {
    if (line.find('\0') != std::string_view::npos) {  // a file system may fill in such octets after a crash
        m_fault = "it contains null octets";
        return;
    }
    Words words(line);
    const std::string_view token = words.Next();
    if (token.empty() || token.front() == '#') {
        return;
    }
    if (IsToken(token, "usmUser")) {
        ParseUser(words.Rest());
    } else if (IsToken(token, "engineBoots")) {
        ParseBoots(words.Rest());
    } else if (IsToken(token, "oldEngineID")) {
        ParseEngineId(words.Rest());
    } else {
        m_hasOtherLine = true;
    }
}

/// usmUser STATUS STORAGE ENGINE NAME SECURITYNAME CLONEFROM AUTHPROTOCOL AUTHKEY PRIVPROTOCOL PRIVKEY PUBLIC
void StateContent::ParseUser(std::string_view rest) {
    m_hasLibrarysLine = true;
    Words words(rest);
    const std::optional<int> status = Number(words.Next());
    const std::optional<int> storage = Number(words.Next());
    const std::optional<std::string> engine = EngineOctets(words.Next());
    const std::optional<std::string> name = Name(words.Next());
    const std::optional<std::string> securityName = Name(words.Next());
    const bool isCloneOid = IsOid(words.Next());
    const std::string_view authProtocol = words.Next();
    const std::optional<std::string> authKey = Octets(words.Next());
    const std::string_view privProtocol = words.Next();
    const std::optional<std::string> privKey = Octets(words.Next());
    const bool hasPublic = Octets(words.Next()).has_value();
    if (!status || !storage || !engine || !name || name->empty() || !securityName || !isCloneOid ||
        !IsOid(authProtocol) || !IsOid(privProtocol)) {
        m_fault = "the user is incomplete";
        return;
    }
    constexpr std::size_t kAny = std::numeric_limits<std::size_t>::max();
    const Protocol* const auth = Find(kAuthentication, authProtocol);
    const Protocol* const priv = Find(kPrivacy, privProtocol);
    const std::size_t authOctets = auth != nullptr ? auth->keyOctets : 0;
    m_fault = KeyFault("authentication", authKey, authOctets, auth != nullptr ? authOctets : kAny);
    if (m_fault.empty()) {
        m_fault = KeyFault("privacy", privKey, priv != nullptr ? priv->keyOctets : 0, kAny);
    }
    if (m_fault.empty() && (!hasPublic || !words.Next().empty())) {
        m_fault = "the end of the user is malformed";
    }
    if (*storage == kNonVolatile) {
        m_users.insert({*engine, *name});
        m_methods[{*engine, *name}] = {auth != nullptr ? auth->name : "unknown",
                                       priv != nullptr ? priv->name : "unknown"};
    }
}

void StateContent::ParseBoots(std::string_view rest) {
    m_hasLibrarysLine = true;
    Words words(rest);
    const std::optional<int> boots = Number(words.Next());
    if (!boots || !words.Next().empty()) {
        m_fault = "engineBoots is not a count";
        return;
    }
    m_engineBoots = static_cast<std::uint32_t>(*boots);
    m_hasEngineBoots = true;
}

void StateContent::ParseEngineId(std::string_view rest) {
    m_hasLibrarysLine = true;
    Words words(rest);
    const std::optional<std::string> id = EngineOctets(words.Next());
    if (!id || !words.Next().empty()) {
        m_fault = "oldEngineID is not an engine identifier";
        return;
    }
    m_engineId = *id;
}

void StateContent::CheckWhole() {
    if (!m_hasLibrarysLine && m_hasOtherLine) {
        return;
    }
    if (!m_hasLibrarysLine) {
        m_fault = "it is empty";
    } else if (!m_hasEngineBoots) {
        m_fault = "the line engineBoots is missing";
    } else if (m_engineId.empty()) {
        m_fault = "its last line, oldEngineID, is missing";
    }
}

}  // namespace cvtagentd
