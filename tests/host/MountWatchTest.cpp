// When the shipped library holds the kernel's mount table open. This program's own fopen sees the table being read.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>

#include "tests/support/LoadedModule.h"
#include "tests/support/ScratchFolder.h"

namespace {

/// The number of descriptors that this process has for the table.
int Watches() {
    int count = 0;
    const std::filesystem::path table = std::filesystem::canonical("/etc/mtab");
    for (const std::filesystem::directory_entry& descriptor : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code hasGone;  // such as the one that lists them
        count += std::filesystem::read_symlink(descriptor.path(), hasGone) == table ? 1 : 0;
    }
    return count;
}

std::atomic<int> s_reads = 0;
std::atomic<int> s_watchesAtFirstRead = -1;

}  // namespace

extern "C" std::FILE* fopen(const char* path, const char* mode) {
    using Open = std::FILE* (*)(const char*, const char*);
    static const auto real = reinterpret_cast<Open>(::dlsym(RTLD_NEXT, "fopen"));
    if (std::strcmp(path, "/etc/mtab") == 0 && s_reads++ == 0) {
        s_watchesAtFirstRead = Watches();
    }
    return real(path, mode);
}

namespace {

TEST(MountWatch, IsOpenedBeforeTheTableIsReadAndClosedByCleanup) {
    if (!std::filesystem::canonical("/etc/mtab").string().starts_with("/proc/")) {
        GTEST_SKIP() << "the mount table of this machine is an ordinary file";
    }
    const WorkingFolder workingFolder;
    LoadedModule module;
    ASSERT_TRUE(module.IsLoaded());
    ASSERT_EQ(Watches(), 0);
    module.Init();
    ASSERT_TRUE(module.WaitUntilActive());
    EXPECT_GE(s_reads, 1);
    EXPECT_EQ(s_watchesAtFirstRead, 1) << "a mount between the two would never be noticed";
    EXPECT_EQ(Watches(), 1);

    CVT::BMibImpl& table = *module.Group().HandlerAt(2);
    {
        const CVT::TMutex::Guard guard(table.RequestLock());
        table.Cleanup();
        EXPECT_EQ(Watches(), 0);
        table.Cleanup();
        EXPECT_EQ(Watches(), 0);
        table.Initialize();
        EXPECT_EQ(Watches(), 1);
    }
    module.Close();
    EXPECT_EQ(Watches(), 0);
}

}  // namespace
