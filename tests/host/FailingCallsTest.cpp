// A whole life of the shipped library on made-up hosts, repeated with failing system calls: first each call fails
// alone, then every call from that one on.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>

#include "CVT/BRequest.h"
#include "tests/host/MadeUpCalls.h"
#include "tests/support/HostTree.h"
#include "tests/support/MadeUpHostTest.h"
#include "tests/support/Sanitizers.h"

namespace {

/// The scalars, and the rows of memory.
constexpr int kAlwaysThere = 11 + 2 * 7;

/// Which calls fail. Set while no thread of the module runs.
struct Plan {
    std::string_view function;
    int first = 0;      ///< from 1; none fails with 0
    bool rest = false;  ///< whether all later ones fail too
};
Plan s_plan;
std::atomic<int> s_calls = 0;

bool FailsByPlan(std::string_view function) {
    if (function != s_plan.function) {
        return false;
    }
    const int call = ++s_calls;
    return call == s_plan.first || (s_plan.rest && s_plan.first != 0 && call > s_plan.first);
}

}  // namespace

extern "C" int open(const char* path, int flags, ...) {
    static auto* const real = RealFunction<int(const char*, int, ...)>("open");
    va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    return MadeUpCalls::Fails("open", EMFILE) ? -1 : real(path, flags, mode);
}

extern "C" int openat(int directory, const char* path, int flags, ...) {
    static auto* const real = RealFunction<int(int, const char*, int, ...)>("openat");
    return MadeUpCalls::Fails("openat", EMFILE) ? -1 : real(directory, path, flags);
}

extern "C" std::FILE* fopen(const char* path, const char* mode) {
    static auto* const real = RealFunction<std::FILE*(const char*, const char*)>("fopen");
    return MadeUpCalls::Fails("fopen", EMFILE) ? nullptr : real(path, mode);
}

extern "C" std::FILE* fdopen(int descriptor, const char* mode) noexcept {
    static auto* const real = RealFunction<std::FILE*(int, const char*)>("fdopen");
    return MadeUpCalls::Fails("fdopen", ENOMEM) ? nullptr : real(descriptor, mode);
}

extern "C" ssize_t read(int descriptor, void* buffer, std::size_t size) {
    static auto* const real = RealFunction<ssize_t(int, void*, std::size_t)>("read");
    return MadeUpCalls::Fails("read", EIO) ? -1 : real(descriptor, buffer, size);
}

extern "C" ssize_t readlinkat(int directory, const char* path, char* buffer, std::size_t size) noexcept {
    static auto* const real = RealFunction<ssize_t(int, const char*, char*, std::size_t)>("readlinkat");
    return MadeUpCalls::Fails("readlinkat", EACCES) ? -1 : real(directory, path, buffer, size);
}

/// Behaves as if no more processes could be created.
extern "C" int system(const char* command) {
    static auto* const real = RealFunction<int(const char*)>("system");
    return MadeUpCalls::Fails("system", EAGAIN) ? -1 : real(command);
}

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                              void* argument) noexcept {
    static auto* const real =
        RealFunction<int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>("pthread_create");
    return MadeUpCalls::Fails("pthread_create", EAGAIN) ? EAGAIN : real(thread, attributes, run, argument);
}

namespace {

class FailingCalls : public MadeUpHostTest, public testing::WithParamInterface<std::tuple<const char*, const char*>> {
protected:
    void SetUp() override {
        MadeUpHostTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) {
            return;
        }
        const std::string folder = HostFolder(std::get<0>(GetParam()));
        m_tree = std::make_unique<HostTree>(*m_host, folder);
        MadeUpCalls::Instance().Read(folder + "/figures");
        std::filesystem::create_directories("/proc/4711");
        std::ofstream("/proc/4711/stat") << "4711 (cat) S 1 2 2 0 -1 4194560 100 200 3 4 50 60 7 8 20 0 1 0 5 6 7\n";
        std::ofstream("/proc/4711/cmdline") << "cat\n";
        std::ofstream("/proc/4711/statm") << "100 50 1 1 1 1 1\n";
        std::filesystem::create_symlink("/home", "/proc/4711/cwd");
    }
    void TearDown() override {
        MadeUpCalls::fails = nullptr;
        MadeUpHostTest::TearDown();
        MadeUpCalls::Instance().active = false;
    }

    /// Runs the module from Init to Close, with two walks over everything. Returns the number of instances of the
    /// second walk, and counts the calls.
    int Live(const Plan& plan) {
        s_plan = plan;
        s_calls = 0;
        MadeUpCalls::fails = FailsByPlan;
        EXPECT_EQ(m_module->Init(), 1);
        while (!m_module->IsReady()) {
            CVT::TTimer().Sleep(1);
        }
        EXPECT_TRUE(m_module->WaitUntilActive());
        CVT::BMibEngine engine;
        EXPECT_TRUE(engine.Add(m_module->Group()));
        Walk(engine);
        const int instances = Walk(engine);
        EXPECT_EQ(m_module->Close(), 1);
        MadeUpCalls::fails = nullptr;
        return instances;
    }

private:
    static int Walk(CVT::BMibEngine& engine) {
        const CVT::BRequest request;
        int instances = 0;
        CVT::BVarBind at;
        for (;;) {
            const CVT::BObjectIdentifier before = at.name;
            EXPECT_EQ(engine.GetNext(request.Id(), at), CVT::noError) << before.ToString().c_str();
            if (at.type == CVT::kEndOfMibView || testing::Test::HasFailure()) {
                return instances;
            }
            EXPECT_GT(at.name.Compare(before), 0) << before.ToString().c_str();
            ++instances;
        }
    }

    std::unique_ptr<HostTree> m_tree;
};

TEST_P(FailingCalls, CostRowsButCauseNoCrashAndSpoilNoLaterStartUp) {
    const char* const function = std::get<1>(GetParam());
    const int instances = Live({});
    Live({function, 0, false});
    const int calls = s_calls;
    ASSERT_GT(calls, 0) << "it is never called";
    const int step = 1 + calls / (kIsSanitized ? 15 : 40);
    for (const bool rest : {false, true}) {
        for (int first = 1; first <= calls && !HasFailure(); first += step) {
            EXPECT_GE(Live({function, first, rest}), kAlwaysThere) << function << " " << first << (rest ? " on" : "");
        }
    }
    EXPECT_EQ(Live({}), instances);
}

INSTANTIATE_TEST_SUITE_P(EachHost, FailingCalls,
                         testing::Combine(testing::Values("disks", "workstation"),
                                          testing::Values("open", "openat", "fopen", "fdopen", "opendir", "read",
                                                          "readlinkat", "stat", "statfs", "system", "pthread_create")),
                         [](const testing::TestParamInfo<FailingCalls::ParamType>& failing) {
                             return std::string(std::get<0>(failing.param)) + "_" + std::get<1>(failing.param);
                         });

}  // namespace
