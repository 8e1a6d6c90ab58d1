// The shipped library, from load to unload, on this machine.

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <thread>

#include "CVT/BMibEngine.h"
#include "CVT/BRequest.h"
#include "tests/support/HostTree.h"
#include "tests/support/LoadedModule.h"
#include "tests/support/MadeUpHost.h"
#include "tests/support/Sanitizers.h"
#include "tests/support/ScratchFolder.h"

namespace {

/// The kernel resources of this process. Create it before the test covers /proc with a host of its own.
class Holdings {
public:
    Holdings() : m_process(::open("/proc/self", O_PATH | O_DIRECTORY | O_CLOEXEC)) {}
    Holdings(const Holdings&) = delete;
    Holdings& operator=(const Holdings&) = delete;
    ~Holdings() { ::close(m_process); }

    int Threads() const { return EntriesOf("task"); }
    int Descriptors() const { return EntriesOf("fd"); }
    /// The mapped files, each as often as it is mapped.
    std::multiset<std::string> MappedFiles() const {
        std::multiset<std::string> files;
        std::FILE* const maps = ::fdopen(::openat(m_process, "maps", O_RDONLY | O_CLOEXEC), "r");
        char line[1024];
        while (maps != nullptr && std::fgets(line, sizeof line, maps) != nullptr) {
            if (const char* const file = std::strchr(line, '/')) {
                files.insert(file);
            }
        }
        std::fclose(maps);
        return files;
    }

private:
    int EntriesOf(const char* directory) const {
        int count = 0;
        DIR* const open = ::fdopendir(::openat(m_process, directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        while (open != nullptr && ::readdir(open) != nullptr) {
            ++count;
        }
        ::closedir(open);
        return count;
    }

    const int m_process;
};

/// Walks the module on a thread of its own, again and again, from its construction to its destruction.
class Asker {
public:
    explicit Asker(CVT::BMibImplGroup& module) {
        EXPECT_TRUE(m_engine.Add(module));
        m_thread = std::thread([this] { Ask(); });
    }
    Asker(const Asker&) = delete;
    Asker& operator=(const Asker&) = delete;
    ~Asker() {
        m_stop = true;
        m_thread.join();
        EXPECT_FALSE(m_failed);
    }

    int Walks() const { return m_walks; }
    bool HasFailed() const { return m_failed; }

private:
    void Ask() {
        while (!m_stop) {
            const CVT::BRequest request;
            CVT::BVarBind at;
            while (!m_stop && at.type != CVT::kEndOfMibView) {
                if (m_engine.GetNext(request.Id(), at) != CVT::noError) {
                    m_failed = true;
                    return;
                }
            }
            ++m_walks;
        }
    }

    CVT::BMibEngine m_engine;
    std::atomic<bool> m_stop = false;
    std::atomic<bool> m_failed = false;
    std::atomic<int> m_walks = 0;
    std::thread m_thread;
};

class LoadAndUnload : public testing::Test {
    const WorkingFolder m_workingFolder;
};

TEST_F(LoadAndUnload, ExportsItsSixNamesAndStartsWithoutAModule) {
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

TEST_F(LoadAndUnload, ReturnsTheModuleAndKeepsTheTrapSender) {
    LoadedModule module;
    int sender = 0;
    EXPECT_EQ(module.Init(&sender), 1);
    EXPECT_EQ(module.TrapSender(), &sender);
    EXPECT_EQ(module.Object(), &module.Group());
    EXPECT_STREQ(module.Group().Name().c_str(), "CVHost");
    EXPECT_EQ(module.Close(), 1);
    EXPECT_EQ(module.Object(), nullptr);
    EXPECT_TRUE(module.IsReady()) << "gbReady is never reset";
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

TEST_F(LoadAndUnload, LeavesNoThreadNoDescriptorAndNoMappingAfterAThousandRoundsUnderRequests) {
    if (!MadeUpHost::IsPossible()) {
        GTEST_SKIP() << "this machine does not allow a mount namespace";
    }
    const Holdings holdings;
    MadeUpHost host;
    const std::string folder = host.Directory() + "/small";
    std::filesystem::create_directories(folder + "/commands");
    std::filesystem::create_directories(folder + "/proc");
    std::ofstream(folder + "/commands/mount").close();
    std::ofstream(folder + "/proc/cpuinfo") << "Processor\t: A\n";  // so that there is a sampler
    const auto live = [&] {
        LoadedModule module;
        ASSERT_TRUE(module.IsLoaded());
        ASSERT_EQ(module.Init(), 1);
        {
            const Asker asker(module.Group());
            while (!module.IsReady()) {
                CVT::TTimer().Sleep(1);  // an earlier Close would wait a whole second
            }
        }
        ASSERT_EQ(module.Close(), 1);
    };
    const HostTree tree(host, folder);
    live();  // what the first thread of a process allocates is not the module's
    const int threads = holdings.Threads();
    const int descriptors = holdings.Descriptors();
    const std::multiset<std::string> files = holdings.MappedFiles();
    for (int round = 0; round < (kIsSanitized ? 100 : 1000) && !HasFailure(); ++round) {
        live();
    }
    EXPECT_EQ(holdings.MappedFiles(), files);
    EXPECT_EQ(holdings.Descriptors(), descriptors);
    for (int patience = 0; patience < 10'000 && holdings.Threads() != threads; ++patience) {
        CVT::TTimer().Sleep(1);  // the kernel takes a moment to forget a thread that has ended
    }
    EXPECT_EQ(holdings.Threads(), threads);
}

TEST_F(LoadAndUnload, AnswersRequestsFromInitUntilClose) {
    LoadedModule module;
    module.Init();
    {
        const Asker asker(module.Group());
        EXPECT_TRUE(module.WaitUntilActive());
        const int before = asker.Walks();
        while (asker.Walks() < before + 3 && !asker.HasFailed()) {
            CVT::TTimer().Sleep(1);
        }
    }
    EXPECT_EQ(module.Close(), 1);
}

TEST_F(LoadAndUnload, IsUnmappedAfterTheUnload) {
    const auto isMapped = [] {
        const std::multiset<std::string> files = Holdings().MappedFiles();
        return std::any_of(files.begin(), files.end(),
                           [](const std::string& file) { return file.find("libCVHost.so") != std::string::npos; });
    };
    {
        LoadedModule module;
        module.Init();
        EXPECT_TRUE(isMapped());
        module.Close();
    }
    EXPECT_FALSE(isMapped());
}

}  // namespace
