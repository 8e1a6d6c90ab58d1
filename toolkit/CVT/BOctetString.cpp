#include "CVT/BOctetString.h"

#include <cstring>

namespace CVT {
namespace {

/// 0..15, or -1 for a character that is not a hexadecimal digit.
int HexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

}  // namespace

BOctetString::BOctetString(const char* text, unsigned int length) {
    if (text != nullptr) {
        m_octets.assign(text, length == 0 ? std::strlen(text) : length);
    }
}

void BOctetString::Assign(const char* begin, const char* end) {
    if (begin == nullptr || end == nullptr || end < begin) {
        m_octets.clear();
    } else {
        m_octets.assign(begin, end);
    }
}

bool BOctetString::AssignFromHexString(const char* hex) {
    m_octets.clear();
    if (hex == nullptr) {
        return false;
    }
    while (*hex != '\0') {
        if (*hex == ' ' || *hex == ':') {
            ++hex;
            continue;
        }
        const int high = HexDigit(hex[0]);
        const int low = high < 0 ? -1 : HexDigit(hex[1]);
        if (low < 0) {
            m_octets.clear();
            return false;
        }
        m_octets.push_back(static_cast<char>(high * 16 + low));
        hex += 2;
    }
    return true;
}

}  // namespace CVT
