// What serving costs behind the AgentX master of the distribution, which runs without modules of its own, so that all
// values come from the agent.
//
// Walk, Processes: the processor time of the agent, and of the master, for an instance of a walk with GETBULK of 50; of
// a table of constants, and of hrSWRunTable over really forked processes. The master makes a GETNEXT of each
// repetition. The counters show the median of several walks, with all of them on one processor.
//
// SleepingModule, ProcessScan: how long a client waits for hrSystemUptime, which it asks for every 5 ms, while another
// one reads a module whose handler sleeps for 3 s, or walks hrSWRunTable; in milliseconds, next to the times of a quiet
// moment.
//
// With CVHOST_BENCH_FULL in the environment at the sizes of the published figures. With CVHOST_BENCH_AGENT, the file of
// another agent, that one is measured.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "bench/AgentProcess.h"
#include "bench/Crowd.h"
#include "bench/ProcessorTime.h"

namespace {

const Name kUptime = {1, 3, 6, 1, 2, 1, 25, 1, 1, 0};
const Name kProcesses = {1, 3, 6, 1, 2, 1, 25, 4, 2};
const Name kConstants = {1, 3, 6, 1, 4, 1, 32473, 3, 5};
const Name kSleeper = {1, 3, 6, 1, 4, 1, 32473, 3, 7};

constexpr const char* kReadModule = CVHOST_BUILD_LIB_DIR "/../tests/libReadTestModule.so";

using Settings = std::vector<std::pair<std::string, std::string>>;

/// The distribution's master, and an agent that it serves.
class AgentBehindMaster {
public:
    explicit AgentBehindMaster(const Settings& settings = {})
        : m_agent(std::filesystem::exists(kReadModule) ? kReadModule : "", settings, m_folder / "master") {}
    AgentBehindMaster(const AgentBehindMaster&) = delete;
    AgentBehindMaster& operator=(const AgentBehindMaster&) = delete;

    const std::string& Address() const { return m_address; }
    pid_t AgentPid() const { return m_agent.Pid(); }
    pid_t MasterPid() const { return m_master.Pid(); }

private:
    void RunMaster() const {
        const std::string config = m_folder / "master.conf";
        std::ofstream(config) << "rocommunity public 127.0.0.1\nmaster agentx\nagentXSocket " << m_folder / "master"
                              << "\nagentaddress " << m_address << '\n';
        ::setenv("MIBS", "", 1);                               // NOLINT(concurrency-mt-unsafe): a process of its own
        ::setenv("SNMPCONFPATH", m_folder.Path().c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
        ::setenv("SNMP_PERSISTENT_DIR", m_folder.Path().c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
        ::execlp("snmpd", "snmpd", "-f", "-Lf", "/dev/null", "-C", "-c", config.c_str(), "-I",
                 "usmConf,vacm_conf,vacm_vars,usmUser,snmpEngine", nullptr);
    }

    const ScratchFolder m_folder;
    const std::string m_address = "udp:127.0.0.1:" + std::to_string(FreePort());
    const Child m_master{[this] { RunMaster(); }};
    const Agent m_agent;
};

void MeasureWalk(benchmark::State& state, const AgentBehindMaster& pair, const Name& root) {
    if (!Serves(pair.Address(), kUptime)) {
        state.SkipWithError("the master does not serve the agent");
        return;
    }
    Client client(pair.Address());
    std::vector<double> agent;
    std::vector<double> master;
    for ([[maybe_unused]] const auto _ : state) {
        for (const auto end = Clock::now() + std::chrono::seconds(30); client.Walk(root) == 0;) {
            if (Clock::now() > end) {  // until it is registered; for the first time a table may be made
                Fail("the master does not serve the table");
            }
        }
        for (int walk = 0; walk < (IsFull() ? 9 : 1); ++walk) {
            const double agentBefore = ProcessorTime(pair.AgentPid());
            const double masterBefore = ProcessorTime(pair.MasterPid());
            const auto instances = static_cast<double>(client.Walk(root));
            agent.push_back((ProcessorTime(pair.AgentPid()) - agentBefore) / instances);
            master.push_back((ProcessorTime(pair.MasterPid()) - masterBefore) / instances);
            state.counters["instances"] = instances;
        }
    }
    state.counters["agent_us"] = Median(agent);
    state.counters["master_us"] = Median(master);
}

void BM_Walk(benchmark::State& state) {
    if (!std::filesystem::exists(kReadModule)) {
        state.SkipWithError("the tests' modules are not built");
        return;
    }
    const OneProcessor one;
    const AgentBehindMaster pair(Settings{{"READ_TEST_ROWS", IsFull() ? "5000" : "100"}});
    MeasureWalk(state, pair, kConstants);
}

void BM_Processes(benchmark::State& state) {
    const OneProcessor one;
    const Crowd crowd(IsFull() ? 2'000 : 50);
    const AgentBehindMaster pair;
    MeasureWalk(state, pair, kProcesses);
}

/// `busy` is what the other client does again and again.
void MeasureWaits(benchmark::State& state, const AgentBehindMaster& pair, const std::function<void(Client&)>& busy) {
    if (!Serves(pair.Address(), kUptime)) {
        state.SkipWithError("the master does not serve the agent");
        return;
    }
    Client client(pair.Address());
    for ([[maybe_unused]] const auto _ : state) {
        Report(state, "quiet_", Ask(client, kUptime, Duration() / 4));
        const Child other([&] {
            Client own(pair.Address());
            for (;;) {
                busy(own);
            }
        });
        std::size_t failures = 0;
        Waits waits = Ask(client, kUptime, Duration(), &failures);
        state.counters["answers"] = static_cast<double>(waits.size() - failures);
        state.counters["failures"] = static_cast<double>(failures);
        Report(state, "", std::move(waits));
    }
}

void BM_SleepingModule(benchmark::State& state) {
    if (!std::filesystem::exists(kReadModule)) {
        state.SkipWithError("the tests' modules are not built");
        return;
    }
    const AgentBehindMaster pair(Settings{{"READ_TEST_SLEEPER", IsFull() ? "3000" : "200"}});
    MeasureWaits(state, pair, [](Client& client) { client.Walk(kSleeper); });
}

void BM_ProcessScan(benchmark::State& state) {
    const Crowd crowd(IsFull() ? 5'000 : 100);
    state.counters["processes"] = static_cast<double>(crowd.Size());
    const AgentBehindMaster pair;
    MeasureWaits(state, pair, [](Client& client) { client.Walk(kProcesses); });
}

BENCHMARK(BM_Walk)->Iterations(1)->UseRealTime();
BENCHMARK(BM_Processes)->Iterations(1)->UseRealTime();
BENCHMARK(BM_SleepingModule)->Iterations(1)->UseRealTime();
BENCHMARK(BM_ProcessScan)->Iterations(1)->UseRealTime();

}  // namespace
