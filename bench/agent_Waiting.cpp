// How long a client waits for hrSystemUptime while another one reads what takes the agent long. The client reads the
// uptime from the agent that ships every 5 ms; the counters show the slowest answer, 99.9 % and the median, in
// milliseconds, next to those of a time without other clients ("quiet_", which shows what the machine can do just
// then).
//
// Other clients: walk hrSWRunTable over really forked processes, and over as many that share their memory; walk
// hrStorageTable with a FUSE file system that falls silent; walk hrDeviceTable while discovery takes its time; read a
// module whose handler sleeps for 3 s.
//
// Runs with 20,000 processes and for 40 s each with CVHOST_BENCH_FULL in the environment, otherwise with 100 and for a
// moment.

#include <benchmark/benchmark.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>

#include "bench/AgentProcess.h"
#include "bench/Crowd.h"
#include "tests/support/FuseServer.h"
#include "tests/support/ScratchFolder.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

const Name kUptime = {1, 3, 6, 1, 2, 1, 25, 1, 1, 0};
const Name kProcesses = {1, 3, 6, 1, 2, 1, 25, 4, 2};
const Name kStorageUsed = {1, 3, 6, 1, 2, 1, 25, 2, 3, 1, 6};
const Name kDevices = {1, 3, 6, 1, 2, 1, 25, 3, 2};
const Name kSleeper = {1, 3, 6, 1, 4, 1, 32473, 3, 7};

/// `busy` is what the other client does again and again; `meanwhile` is called about every 3 s.
void Measure(
    benchmark::State& state, const Agent& agent, const std::function<void(Client&)>& busy, bool quietFirst,
    const std::function<void()>& meanwhile = [] {}) {
    if (!Serves(agent.Address(), kUptime)) {
        Fail("the agent does not answer");
    }
    Client client(agent.Address());
    for ([[maybe_unused]] const auto _ : state) {
        if (quietFirst) {
            Report(state, "quiet_", Ask(client, kUptime, Duration() / 4));
        }
        const Child other([&] {
            Client own(agent.Address());
            for (;;) {
                busy(own);
            }
        });
        Waits waits;
        for (const auto end = Clock::now() + Duration(); Clock::now() < end;) {
            meanwhile();
            const Waits more = Ask(client, kUptime, std::min<Clock::duration>(seconds(3), Duration()));
            waits.insert(waits.end(), more.begin(), more.end());
        }
        state.counters["answers"] = static_cast<double>(waits.size());
        Report(state, "", std::move(waits));
    }
}

void MeasureProcessScan(benchmark::State& state, Crowd::Memory memory) {
    const Crowd crowd(IsFull() ? 20'000 : 100, memory);
    state.counters["processes"] = static_cast<double>(crowd.Size());
    const Agent agent;
    Measure(
        state, agent, [](Client& client) { client.Walk(kProcesses); }, true);
}

void BM_ProcessScan(benchmark::State& state) { MeasureProcessScan(state, Crowd::Memory::kOwn); }
void BM_ProcessScanSharedMemory(benchmark::State& state) { MeasureProcessScan(state, Crowd::Memory::kShared); }

void BM_SleepingModule(benchmark::State& state) {
    const std::string module = CVHOST_BUILD_LIB_DIR "/../tests/libReadTestModule.so";
    if (!std::filesystem::exists(module)) {
        state.SkipWithError("the tests' modules are not built");
        return;
    }
    const Agent agent(module, {{"READ_TEST_SLEEPER", IsFull() ? "3000" : "200"}});
    Measure(
        state, agent, [](Client& client) { client.Walk(kSleeper); }, true);
}

/// Discovery runs the command `mount`, for which a stand-in comes first in the path.
void BM_Discovery(benchmark::State& state) {
    const ScratchFolder folder;
    const std::string mount = folder.Write(
        "mount", std::string("#!/bin/sh\nsleep ").append(IsFull() ? "10" : "1").append("\nexec /bin/mount \"$@\"\n"));
    std::filesystem::permissions(mount, std::filesystem::perms::owner_all);
    const Agent agent({}, {{"PATH", folder.Path() + ":/usr/bin:/bin"}});
    Measure(
        state, agent, [](Client& client) { client.Walk(kDevices); }, false);
}

void BM_SilentFileSystem(benchmark::State& state) {
    if (::geteuid() != 0 || ::unshare(CLONE_NEWNS) != 0 ||
        ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 || !FuseServer::Missing().empty()) {
        state.SkipWithError("this machine mounts no FUSE file system for us");
        return;
    }
    const ScratchFolder folder;
    const Agent agent;
    std::optional<FuseServer> server;  // ends before the agent: one that waits for it cannot even be killed
    try {
        server.emplace(folder.Path());
    } catch (const std::runtime_error& error) {
        state.SkipWithError(error.what());
        return;
    }
    Measure(
        state, agent, [](Client& client) { client.Walk(kStorageUsed); }, true,
        [&] {
            server->Resume();  // otherwise it would be abandoned for good
            std::this_thread::sleep_for(milliseconds(50));
            server->FallSilent();
        });
}

BENCHMARK(BM_ProcessScan)->Iterations(1)->UseRealTime();
BENCHMARK(BM_ProcessScanSharedMemory)->Iterations(1)->UseRealTime();
BENCHMARK(BM_SleepingModule)->Iterations(1)->UseRealTime();
BENCHMARK(BM_Discovery)->Iterations(1)->UseRealTime();
BENCHMARK(BM_SilentFileSystem)->Iterations(1)->UseRealTime();

}  // namespace
