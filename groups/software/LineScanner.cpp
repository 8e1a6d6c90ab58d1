#include "groups/software/LineScanner.h"

#include <limits>

namespace {

bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

void LineScanner::SkipBlanks() {
    while (!m_rest.empty() && IsBlank(m_rest.front())) {
        m_rest.remove_prefix(1);
    }
}

bool LineScanner::Fail() {
    m_rest = {};
    return false;
}

bool LineScanner::Digits(Number& number) {
    SkipBlanks();
    std::size_t at = 0;
    if (!m_rest.empty() && (m_rest[0] == '-' || m_rest[0] == '+')) {
        number.negative = m_rest[0] == '-';
        at = 1;
    }
    if (at == m_rest.size() || !IsDigit(m_rest[at])) {
        return Fail();
    }
    for (; at < m_rest.size() && IsDigit(m_rest[at]); ++at) {
        const auto digit = static_cast<std::uint64_t>(m_rest[at] - '0');
        number.tooLarge = number.tooLarge || __builtin_mul_overflow(number.magnitude, 10U, &number.magnitude) ||
                          __builtin_add_overflow(number.magnitude, digit, &number.magnitude);
    }
    m_rest.remove_prefix(at);
    return true;
}

bool LineScanner::Signed(std::int64_t& value) {
    Number number;
    if (!Digits(number)) {
        return false;
    }
    constexpr auto kMax = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (number.tooLarge || number.magnitude > kMax) {
        value = number.negative ? std::numeric_limits<std::int64_t>::min() : std::numeric_limits<std::int64_t>::max();
    } else {
        value = number.negative ? -static_cast<std::int64_t>(number.magnitude)
                                : static_cast<std::int64_t>(number.magnitude);
    }
    return true;
}

bool LineScanner::Unsigned(std::uint64_t& value) {
    Number number;
    if (!Digits(number)) {
        return false;
    }
    if (number.tooLarge) {
        value = std::numeric_limits<std::uint64_t>::max();
    } else {
        value = number.negative ? 0 - number.magnitude : number.magnitude;
    }
    return true;
}

bool LineScanner::Word(std::string_view& word) {
    SkipBlanks();
    std::size_t length = 0;
    while (length < m_rest.size() && !IsBlank(m_rest[length])) {
        ++length;
    }
    if (length == 0) {
        return Fail();
    }
    word = m_rest.substr(0, length);
    m_rest.remove_prefix(length);
    return true;
}

bool LineScanner::Character(char& character) {
    SkipBlanks();
    if (m_rest.empty()) {
        return Fail();
    }
    character = m_rest.front();
    m_rest.remove_prefix(1);
    return true;
}

bool LineScanner::SkipNumbers(int count) {
    Number ignored;
    for (; count > 0; --count) {
        if (!Digits(ignored)) {
            return false;
        }
    }
    return true;
}
