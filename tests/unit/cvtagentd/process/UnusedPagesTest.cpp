// What leaves the process's memory after its start, and what must stay.

#include "agent/cvtagentd/process/UnusedPages.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <string>

#include "tests/support/ScratchFolder.h"

namespace cvtagentd {
namespace {

constexpr std::size_t kOctets = 1U << 20U;

/// A private mapping of a file that holds the octet 'f' everywhere.
class MappedFile {
public:
    MappedFile() {
        const std::string file = m_folder.Write("mapped", std::string(kOctets, 'f'));
        const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
        m_begin = static_cast<char*>(::mmap(nullptr, kOctets, PROT_READ, MAP_PRIVATE, descriptor, 0));
        ::close(descriptor);
    }
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;
    ~MappedFile() { ::munmap(m_begin, kOctets); }

    void Allow(int protection) const { EXPECT_EQ(::mprotect(m_begin, kOctets, protection), 0); }
    char* Begin() const { return m_begin; }
    bool HoldsTheFile() const { return std::count(m_begin, m_begin + kOctets, 'f') == static_cast<long>(kOctets); }

    /// How much of it is in the process's memory, in kB; -1 when the mapping is not listed.
    long Resident() const {
        std::ifstream in("/proc/self/smaps");
        bool isMine = false;
        for (std::string line; std::getline(in, line);) {
            unsigned long begin = 0;
            long kilobytes = 0;
            if (std::sscanf(line.c_str(), "%lx-", &begin) == 1 && line.find(':') > line.find(' ')) {
                isMine = begin == reinterpret_cast<std::uintptr_t>(m_begin);
            } else if (isMine && std::sscanf(line.c_str(), "Rss: %ld", &kilobytes) == 1) {
                return kilobytes;
            }
        }
        return -1;
    }

private:
    const ScratchFolder m_folder;
    char* m_begin;
};

TEST(UnusedPages, PagesOfAFileLeaveTheMemoryAndAreReadAgain) {
    const MappedFile file;
    EXPECT_TRUE(file.HoldsTheFile());
    EXPECT_EQ(file.Resident(), static_cast<long>(kOctets / 1024));
    UnusedPages::Release();
    EXPECT_EQ(file.Resident(), 0);
    EXPECT_TRUE(file.HoldsTheFile());
}

TEST(UnusedPages, AMappingWithAChangedPageIsLeftAlone) {
    const MappedFile file;
    file.Allow(PROT_READ | PROT_WRITE);
    file.Begin()[kOctets / 2] = 'c';
    file.Allow(PROT_READ);
    UnusedPages::Release();
    EXPECT_EQ(file.Begin()[kOctets / 2], 'c');
}

TEST(UnusedPages, AWritableMappingIsLeftAlone) {
    const MappedFile file;
    file.Allow(PROT_READ | PROT_WRITE);
    EXPECT_TRUE(file.HoldsTheFile());
    const long before = file.Resident();
    UnusedPages::Release();
    EXPECT_EQ(file.Resident(), before);
}

}  // namespace
}  // namespace cvtagentd
