#include "CVT/BString.h"

namespace CVT {

void BString::Assign(const char* text, unsigned int length) {
    if (text == nullptr) {
        m_text.clear();
    } else {
        m_text.assign(text, length);
    }
}

void BString::Append(const char* text, unsigned int length) {
    if (text != nullptr) {
        m_text.append(text, length);
    }
}

}  // namespace CVT
