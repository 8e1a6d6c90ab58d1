// The library that ships, from load to unload, on this machine.

#include <dirent.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

#include "CVT/BMibEngine.h"
#include "CVT/BRequestId.h"
#include "tests/support/LoadedModule.h"
#include "tests/support/ScratchFolder.h"

namespace {

class LoadAndUnload : public testing::Test {
protected:
    static int EntriesOf(const char* directory) {
        int count = 0;
        DIR* const open = ::opendir(directory);
        while (open != nullptr && ::readdir(open) != nullptr) {
            ++count;
        }
        ::closedir(open);
        return count;
    }
    static int Threads() { return EntriesOf("/proc/self/task"); }
    static int Descriptors() { return EntriesOf("/proc/self/fd"); }

    static bool IsMapped() {
        std::ifstream maps("/proc/self/maps");
        std::stringstream all;
        all << maps.rdbuf();
        return all.str().find("libCVHost.so") != std::string::npos;
    }

private:
    const WorkingFolder m_workingFolder;
};

TEST_F(LoadAndUnload, FindsItsSixNamesAndStartsWithNothing) {
    LoadedModule module;
    ASSERT_TRUE(module.IsLoaded()) << ::dlerror();
    for (const char* const name :
         {"CVxExtAgentInit", "CVxExtAgentClose", "CVHost_Init", "gpCVHost", "gpTrapSender", "gbReady"}) {
        EXPECT_NE(module.Symbol<void>(name), nullptr) << name;
    }
    EXPECT_FALSE(module.IsReady());
    EXPECT_EQ(module.Object(), nullptr);
    module.Symbol<void()>("CVHost_Init")();
    EXPECT_EQ(module.Object(), nullptr);
}

TEST_F(LoadAndUnload, HandsOutTheModuleAndKeepsTheTrapSender) {
    LoadedModule module;
    int sender = 0;
    EXPECT_EQ(module.Init(&sender), 1);
    EXPECT_EQ(module.TrapSender(), &sender);
    EXPECT_EQ(module.Object(), &module.Group());
    EXPECT_STREQ(module.Group().Name().c_str(), "CVHost");
    EXPECT_EQ(module.Close(), 1);
    EXPECT_EQ(module.Object(), nullptr);
    EXPECT_TRUE(module.IsReady()) << "gbReady is never set back";
}

TEST_F(LoadAndUnload, ASecondCloseDoesNothing) {
    LoadedModule module;
    module.Init();
    EXPECT_EQ(module.Close(), 1);
    EXPECT_EQ(module.Close(), 1);
    EXPECT_EQ(module.Object(), nullptr);
}

TEST_F(LoadAndUnload, MayBeInitialisedAgainAfterAClose) {
    LoadedModule module;
    for (int round = 0; round < 5; ++round) {
        ASSERT_EQ(module.Init(), 1);
        ASSERT_NE(module.Object(), nullptr);
        if (round % 2 == 0) {
            EXPECT_TRUE(module.WaitUntilActive());
        }
        ASSERT_EQ(module.Close(), 1);
        ASSERT_EQ(module.Object(), nullptr);
    }
}

TEST_F(LoadAndUnload, IsReallyGoneAfterTheUnload) {
    {
        LoadedModule module;
        module.Init();
        EXPECT_TRUE(IsMapped());
        module.Close();
    }
    EXPECT_FALSE(IsMapped());
}

TEST_F(LoadAndUnload, AHundredTimesLeavesNoThreadAndNoDescriptor) {
    {
        LoadedModule once;  // what the first thread of a process brings with it is not the module's
        once.Init();
        once.Close();
    }
    const int threads = Threads();
    const int descriptors = Descriptors();
    for (int round = 0; round < 100; ++round) {
        LoadedModule module;
        ASSERT_TRUE(module.IsLoaded());
        ASSERT_EQ(module.Init(), 1);
        ASSERT_TRUE(module.WaitUntilActive());
        while (!module.IsReady()) {
            CVT::TTimer().Sleep(1);  // a Close that comes first would wait a whole second
        }
        ASSERT_EQ(module.Close(), 1);
    }
    EXPECT_FALSE(IsMapped());
    EXPECT_EQ(Descriptors(), descriptors);
    for (int patience = 0; patience < 1000 && Threads() != threads; ++patience) {
        CVT::TTimer().Sleep(1);  // the kernel takes a moment to forget a thread that has ended
    }
    EXPECT_EQ(Threads(), threads);
}

TEST_F(LoadAndUnload, AnswersRequestsFromTheFirstMomentUntilItsClose) {
    LoadedModule module;
    module.Init();
    CVT::BMibEngine engine;
    ASSERT_TRUE(engine.Add(module.Group()));
    std::atomic<bool> stop = false;
    std::atomic<int> walks = 0;
    std::atomic<bool> failed = false;
    std::thread asker([&] {
        while (!stop) {
            CVT::BVarBind at;
            const unsigned int request = CVT::BRequestId::Next();
            for (;;) {
                if (engine.GetNext(request, at) != CVT::noError) {
                    failed = true;
                    return;
                }
                if (at.type == CVT::kEndOfMibView) {
                    break;
                }
            }
            ++walks;
        }
    });
    EXPECT_TRUE(module.WaitUntilActive());
    while (walks < 3 && !failed) {
        CVT::TTimer().Sleep(1);
    }
    stop = true;
    asker.join();
    EXPECT_FALSE(failed);
    EXPECT_EQ(module.Close(), 1);
}

}  // namespace
