#include "agent/cvtagentd/process/RateLimit.h"

#include <algorithm>

namespace cvtagentd {

bool RateLimit::Admit(const std::string& kind, Clock::time_point now) {
    Window& window = m_windows.try_emplace(kind, Window{now}).first->second;
    return ++window.count <= kLinesInAWindow;
}

std::vector<RateLimit::Held> RateLimit::TakeHeld(Clock::time_point now) {
    std::vector<Held> held;
    std::erase_if(m_windows, [&](const auto& entry) {
        const auto& [kind, window] = entry;
        const bool isOver = now - window.begin >= kWindow;
        if (isOver && window.count > kLinesInAWindow) {
            held.push_back({kind, window.count - kLinesInAWindow});
        }
        return isOver;
    });
    return held;
}

bool RateLimit::IsHolding() const {
    return std::any_of(m_windows.begin(), m_windows.end(),
                       [](const auto& entry) { return entry.second.count > kLinesInAWindow; });
}

}  // namespace cvtagentd
