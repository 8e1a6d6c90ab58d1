#pragma once

#include "CVT/Api.h"

namespace CVT {

/// A length of time in milliseconds; 0 means none. A plain value.
class CVT_API BTimeInterval {
public:
    BTimeInterval() = default;
    explicit BTimeInterval(unsigned int milliseconds) : m_milliseconds(milliseconds) {}

    void Set(unsigned int milliseconds) { m_milliseconds = milliseconds; }
    unsigned int Milliseconds() const { return m_milliseconds; }

private:
    unsigned int m_milliseconds = 0;
};

}  // namespace CVT
