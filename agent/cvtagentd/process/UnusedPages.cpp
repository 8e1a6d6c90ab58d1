#include "agent/cvtagentd/process/UnusedPages.h"

#include <malloc.h>
#include <sys/mman.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace cvtagentd {
namespace {

struct Mapping {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    bool isOfFile = false;         // and private, and not writable
    bool hasNoneInMemory = false;  // of its pages that have been changed
};

/// Reads the first line of a mapping in smaps. Returns false for the lines after it, which describe the mapping.
bool ReadHead(const std::string& line, Mapping& mapping) {
    std::array<char, 5> rights{};
    int path = 0;
    unsigned long begin = 0;
    unsigned long end = 0;
    if (std::sscanf(line.c_str(), "%lx-%lx %4s %*s %*s %*s %n", &begin, &end, rights.data(), &path) != 3) {
        return false;
    }
    mapping = {begin, end,
               rights[0] == 'r' && rights[1] == '-' && rights[3] == 'p' &&
                   line.compare(static_cast<std::size_t>(path), 1, "/") == 0,
               false};
    return true;
}

/// Those of files in which nothing has been changed.
std::vector<Mapping> UnchangedMappings() {
    std::vector<Mapping> unchanged;
    Mapping mapping;
    std::ifstream in("/proc/self/smaps");
    for (std::string line; std::getline(in, line);) {
        unsigned long kilobytes = 0;
        if (ReadHead(line, mapping) || !mapping.isOfFile) {
            continue;
        }
        if (std::sscanf(line.c_str(), "Anonymous: %lu", &kilobytes) == 1) {
            mapping.hasNoneInMemory = kilobytes == 0;
        } else if (std::sscanf(line.c_str(), "Swap: %lu", &kilobytes) == 1 && kilobytes == 0 &&
                   mapping.hasNoneInMemory) {  // nor in the swap space
            unchanged.push_back(mapping);
        }
    }
    return unchanged;
}

}  // namespace

void UnusedPages::Release() {
    for (const Mapping& mapping : UnchangedMappings()) {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): the system tells addresses as numbers
        ::madvise(reinterpret_cast<void*>(mapping.begin), mapping.end - mapping.begin, MADV_DONTNEED);
    }
    ::malloc_trim(0);
}

}  // namespace cvtagentd
