#include "tests/support/JsonValue.h"

#include <cstdlib>
#include <limits>

namespace {

/// A recursive-descent reader. Each operation returns false at the first octet that the grammar does not allow.
class Reader {
public:
    explicit Reader(std::string_view text) : m_rest(text) {}

    bool Document(JsonValue& value) { return Value(value) && (Blanks(), m_rest.empty()); }

private:
    void Blanks() {
        const auto begin = m_rest.find_first_not_of(" \t\r\n");
        m_rest.remove_prefix(begin == std::string_view::npos ? m_rest.size() : begin);
    }
    bool Take(std::string_view text) {
        if (!m_rest.starts_with(text)) {
            return false;
        }
        m_rest.remove_prefix(text.size());
        return true;
    }
    bool Value(JsonValue& value) {
        Blanks();
        if (m_rest.starts_with('{')) {
            return Members(value.value.emplace<JsonValue::Object>());
        }
        if (m_rest.starts_with('[')) {
            return Elements(value.value.emplace<JsonValue::Array>());
        }
        if (m_rest.starts_with('"')) {
            return String(value.value.emplace<std::string>());
        }
        if (Take("null")) {
            value.value = nullptr;
            return true;
        }
        if (m_rest.starts_with('t') || m_rest.starts_with('f')) {
            value.value = m_rest.starts_with('t');
            return Take("true") || Take("false");
        }
        return Number(value.value.emplace<double>());
    }
    bool Members(JsonValue::Object& object) {
        Take("{");
        Blanks();
        if (Take("}")) {
            return true;
        }
        do {
            std::string name;
            Blanks();
            if (!String(name) || object.contains(name)) {
                return false;
            }
            Blanks();
            if (!Take(":") || !Value(object[name])) {
                return false;
            }
            Blanks();
        } while (Take(","));
        return Take("}");
    }
    bool Elements(JsonValue::Array& array) {
        Take("[");
        Blanks();
        if (Take("]")) {
            return true;
        }
        do {
            if (!Value(array.emplace_back())) {
                return false;
            }
            Blanks();
        } while (Take(","));
        return Take("]");
    }
    bool Number(double& number) {
        const std::string digits(m_rest.substr(0, m_rest.find_first_not_of("-0123456789")));
        const std::string bare = digits.starts_with('-') ? digits.substr(1) : digits;
        if (bare.empty() || bare.find('-') != std::string::npos || (bare.size() > 1 && bare[0] == '0')) {
            return false;  // and fractions, which no program here writes
        }
        number = std::strtod(digits.c_str(), nullptr);
        return Take(digits);
    }
    bool String(std::string& text) {
        if (!Take("\"")) {
            return false;
        }
        while (!m_rest.empty() && !m_rest.starts_with('"')) {
            if (!Character(text)) {
                return false;
            }
        }
        return Take("\"");
    }
    bool Character(std::string& text) {
        const auto first = static_cast<unsigned char>(m_rest[0]);
        if (first < 0x20) {
            return false;
        }
        if (first == '\\') {
            return Escape(text);
        }
        const std::size_t length = first < 0x80 ? 1 : first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : first >= 0xC2 ? 2 : 0;
        if (length == 0 || m_rest.size() < length) {
            return false;
        }
        for (std::size_t i = 1; i < length; ++i) {
            if ((static_cast<unsigned char>(m_rest[i]) & 0xC0U) != 0x80U) {
                return false;
            }
        }
        text += m_rest.substr(0, length);
        m_rest.remove_prefix(length);
        return true;
    }
    bool Escape(std::string& text) {
        Take("\\");
        if (Take("u")) {
            if (m_rest.size() < 4 ||
                m_rest.substr(0, 4).find_first_not_of("0123456789abcdefABCDEF") != std::string_view::npos) {
                return false;
            }
            const auto unit = std::strtoul(std::string(m_rest.substr(0, 4)).c_str(), nullptr, 16);
            // Only ASCII is decoded: a test checks that a character was escaped, rather than what it stands for.
            text += unit < 0x80 ? std::string(1, static_cast<char>(unit)) : "\\u" + std::string(m_rest.substr(0, 4));
            m_rest.remove_prefix(4);
            return true;
        }
        constexpr std::string_view kNames = "\"\\/bfnrt";
        constexpr std::string_view kMeant = "\"\\/\b\f\n\r\t";
        const auto at = m_rest.empty() ? std::string_view::npos : kNames.find(m_rest[0]);
        if (at == std::string_view::npos) {
            return false;
        }
        text += kMeant[at];
        m_rest.remove_prefix(1);
        return true;
    }

    std::string_view m_rest;
};

}  // namespace

std::optional<JsonValue> JsonValue::Read(std::string_view text) {
    JsonValue value;
    if (!Reader(text).Document(value)) {
        return std::nullopt;
    }
    return value;
}

const JsonValue* JsonValue::Member(const std::string& name) const {
    const auto* const object = std::get_if<Object>(&value);
    const auto found = object == nullptr ? Object::const_iterator() : object->find(name);
    return object == nullptr || found == object->end() ? nullptr : &found->second;
}

std::string JsonValue::Text(const std::string& name) const {
    const JsonValue* const member = Member(name);
    const auto* const text = member == nullptr ? nullptr : std::get_if<std::string>(&member->value);
    return text == nullptr ? "(no text)" : *text;
}

double JsonValue::Number(const std::string& name) const {
    const JsonValue* const member = Member(name);
    const auto* const number = member == nullptr ? nullptr : std::get_if<double>(&member->value);
    return number == nullptr ? std::numeric_limits<double>::quiet_NaN() : *number;
}
