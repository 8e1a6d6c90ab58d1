#include "groups/storage/MemoryProbe.h"

#include <array>
#include <cstring>

#include "groups/common/HostFile.h"

std::atomic<bool> bIsNewMemInfo = false;

namespace {

constexpr const char* kMemInfo = "/proc/meminfo";

using Line = std::array<char, 256>;

/// Returns how many of the two numbers after the first word of `line` could be read; the others stay unchanged. They
/// are read in 64 bits and cut to 32, so that a figure too large for an int has the same result on every host.
int ScanFigures(const char* line, unsigned int& first, unsigned int& second) {
    long long a = first;
    long long b = second;
    const int scanned = std::sscanf(line, "%*s %lld %lld", &a, &b);
    first = static_cast<unsigned int>(a);
    second = static_cast<unsigned int>(b);
    return scanned;
}

bool ReadLineWith(const char* key, std::FILE* file, Line& line) {
    while (ReadLine(file, line)) {
        if (std::strstr(line.data(), key) != nullptr) {
            return true;
        }
    }
    return false;
}

const char* KeyOf(unsigned int selector) {
    switch (selector) {
        case kVirtualTotal: return "VmallocTotal:";
        case kVirtualUsed: return "VmallocUsed:";
        case kPhysicalTotal:
        case kPhysicalUsed: return "MemTotal:";
        default: return nullptr;
    }
}

}  // namespace

bool bReadMemoryPerLine(std::FILE* file, unsigned int selector, unsigned int& figure) {
    const char* const key = selector > kVirtualUsed ? "Mem:" : "Swap:";
    Line line{};
    unsigned int total = 0;
    unsigned int used = 0;
    if (!ReadLineWith(key, file, line) || ScanFigures(line.data(), total, used) < 2) {
        return false;
    }
    figure = selector % 2 != 0 ? used : total;
    return true;
}

unsigned int ui32ReadMemoryPerKey(std::FILE* file, unsigned int selector) {
    const char* const key = KeyOf(selector);
    if (key == nullptr) {
        return 0;
    }
    Line line{};
    unsigned int figure = 0;
    unsigned int ignored = 0;
    while (ReadLineWith(key, file, line)) {
        bIsNewMemInfo.store(true, std::memory_order_relaxed);
        ScanFigures(line.data(), figure, ignored);
        if (selector != kPhysicalUsed) {
            break;
        }
        unsigned int free = 0;
        if (ReadLine(file, line)) {
            ScanFigures(line.data(), free, ignored);
        }
        figure -= free;
    }
    return figure;
}

unsigned int ui32GetMemory(unsigned int selector) {
    unsigned int figure = 0;
    DHostFile file = OpenHostFile(kMemInfo);
    if (!file || bReadMemoryPerLine(file.get(), selector, figure)) {
        return figure;
    }
    if (KeyOf(selector) == nullptr) {
        return 0;
    }
    file.reset();  // before it is opened again: only one descriptor may be left
    file = OpenHostFile(kMemInfo);
    return file ? ui32ReadMemoryPerKey(file.get(), selector) : 0;
}
