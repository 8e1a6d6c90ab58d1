#include "groups/common/RareWarning.h"

#include <algorithm>
#include <cstdio>
#include <string>

bool RareWarning::IsDue() {
    const CVT::TMutex::Guard guard(m_lock);
    const auto now = std::chrono::steady_clock::now();
    const bool isDue = !m_last || now - *m_last >= kSilence;
    if (isDue) {
        m_last = now;
    }
    return isDue;
}

void RareWarning::Say(const char* text) {
    if (!IsDue()) {
        return;
    }
    std::string line = text;
    std::replace_if(
        line.begin(), line.end(), [](char octet) { return octet < ' ' || octet > '~'; }, '?');
    std::fprintf(stderr, "libCVHost: warning: %s\n", line.c_str());
}
