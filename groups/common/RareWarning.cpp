#include "groups/common/RareWarning.h"

#include "CVT/Warnings.h"

bool RareWarning::IsDue() {
    const CVT::TMutex::Guard guard(m_lock);
    const auto now = std::chrono::steady_clock::now();
    const bool isDue = !m_last || now - *m_last >= kSilence;
    if (isDue) {
        m_last = now;
    }
    return isDue;
}

void RareWarning::Say(std::string_view text) {
    if (IsDue()) {
        CVT::Warn(text);
    }
}
