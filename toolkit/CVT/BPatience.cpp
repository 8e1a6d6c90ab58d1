#include "CVT/BPatience.h"

#include <algorithm>

namespace CVT {
namespace {

thread_local BPatience* t_innermost = nullptr;

}  // namespace

BPatience::BPatience(unsigned int milliseconds)
    : m_outer(t_innermost), m_until(Clock::now() + std::chrono::milliseconds(milliseconds)) {
    if (m_outer != nullptr) {
        m_until = std::min(m_until, m_outer->m_until);
    }
    t_innermost = this;
}

BPatience::~BPatience() { t_innermost = m_outer; }

unsigned int BPatience::Left() {
    if (t_innermost == nullptr) {
        return kWaitForever;
    }
    const auto left = std::chrono::floor<std::chrono::milliseconds>(t_innermost->m_until - Clock::now()).count();
    return static_cast<unsigned int>(std::max<decltype(left)>(left, 0));
}

void BPatience::GiveUp() {
    if (t_innermost != nullptr) {
        t_innermost->m_hasGivenUp = true;
    }
}

}  // namespace CVT
