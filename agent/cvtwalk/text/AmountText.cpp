#include "agent/cvtwalk/text/AmountText.h"

#include <array>
#include <cstdio>

namespace cvtwalk {
namespace {

constexpr std::array<const char*, 7> kUnits{"B", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};

std::string Repeated(const char* text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

}  // namespace

std::string AmountText::Size(long long units, long long octetsPerUnit) {
    if (units < 0 || octetsPerUnit < 0) {
        return "?";
    }
    double amount = static_cast<double>(units) * static_cast<double>(octetsPerUnit);
    std::size_t unit = 0;
    while (amount >= (unit == 0 ? 1024 : 1023.95) && unit + 1 < kUnits.size()) {  // 1023.95 would read 1024.0
        amount /= 1024;
        ++unit;
    }
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), unit == 0 ? "%.0f %s" : "%.1f %s", amount, kUnits[unit]);
    return text.data();
}

std::string AmountText::UseBar(long long used, long long size, int places, bool utf8) {
    if (size <= 0 || used < 0 || used > size) {
        return {};
    }
    const auto share = [&](long long whole) { return static_cast<int>((used * whole + size / 2) / size); };
    const int full = share(places);
    std::string bar = Repeated(utf8 ? "\u2588" : "#", full) + Repeated(utf8 ? "\u2591" : "-", places - full);
    if (!utf8) {
        bar = "[" + bar + "]";
    }
    std::array<char, 16> percent{};
    std::snprintf(percent.data(), percent.size(), " %3d%%", share(100));
    return bar + percent.data();
}

}  // namespace cvtwalk
