// The end of the sampler while it waits for a file that never returns any data.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "CVT/TTimer.h"
#include "tests/support/HostTree.h"
#include "tests/support/LoadedModule.h"
#include "tests/support/MadeUpHost.h"

namespace {

using Clock = std::chrono::steady_clock;

TEST(Sampler, IsTerminatedAfterASecondUnlessItEndsByItself) {
    if (!MadeUpHost::IsPossible()) {
        GTEST_SKIP() << "this machine does not allow a mount namespace";
    }
    MadeUpHost host;
    ASSERT_EQ(::chdir(host.Directory().c_str()), 0);
    {
        LoadedModule module;
        ASSERT_TRUE(module.IsLoaded());
        const std::string folder = host.Directory() + "/blank";
        std::filesystem::create_directories(folder + "/commands");
        std::ofstream(folder + "/commands/mount").close();
        const HostTree tree(host, folder);
        std::ofstream("/proc/cpuinfo") << "Processor\t: A\n";
        ASSERT_EQ(::mkfifo("/proc/stat", 0600), 0);

        ASSERT_EQ(module.Init(), 1);
        ASSERT_TRUE(module.WaitUntilActive());
        // A writer's open succeeds without waiting only while a reader has the file open, or waits for it.
        int writer = -1;
        const auto giveUp = Clock::now() + std::chrono::seconds(60);
        while (writer < 0 && Clock::now() < giveUp) {
            CVT::TTimer().Sleep(20);
            writer = ::open("/proc/stat", O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        }
        ASSERT_GE(writer, 0) << "no sample was taken";

        const auto begin = Clock::now();
        EXPECT_EQ(module.Close(), 1);
        const auto taken = Clock::now() - begin;
        EXPECT_GE(taken, std::chrono::milliseconds(950));
        EXPECT_LT(taken, std::chrono::seconds(10));
        ::close(writer);
    }
    EXPECT_EQ(::chdir("/"), 0);
}

}  // namespace
