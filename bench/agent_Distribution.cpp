// What the agent costs beside the distribution's. Both serve the same host with 5,000 really forked processes, each
// with the modules that it comes with. Measured are processor time, the kernel's work included, for an instance of a
// walk of the process tables with GETBULK of 50, for a GET of one scalar, and for taking a snapshot of the processes
// (the difference between a walk that finds the tables old and one that does not); and resident memory after that. All
// runs on one processor; the two agents take turns, and a figure is the median of all rounds.
//
// Runs at these sizes with CVHOST_BENCH_FULL in the environment, otherwise with few processes and for a moment.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "bench/AgentProcess.h"
#include "bench/Crowd.h"
#include "bench/ProcessorTime.h"

namespace {

const Name kUptime = {1, 3, 6, 1, 2, 1, 25, 1, 1, 0};
const Name kMemorySize = {1, 3, 6, 1, 2, 1, 25, 2, 2, 0};
const Name kProcesses = {1, 3, 6, 1, 2, 1, 25, 4, 2};
const Name kProcessFigures = {1, 3, 6, 1, 2, 1, 25, 5, 1};

/// Longer than either agent keeps its tables.
std::chrono::seconds UntilTablesAreOld() { return std::chrono::seconds(IsFull() ? 40 : 0); }

/// The distribution's agent, with all modules that it comes with.
class DistributionAgent {
public:
    DistributionAgent() = default;
    DistributionAgent(const DistributionAgent&) = delete;
    DistributionAgent& operator=(const DistributionAgent&) = delete;

    const std::string& Address() const { return m_address; }
    pid_t Pid() const { return m_child.Pid(); }

private:
    void Run() const {
        const std::string config = m_folder / "snmpd.conf";
        std::ofstream(config) << "rocommunity public 127.0.0.1\n";
        const char* const folder = m_folder.Path().c_str();
        ::setenv("SNMP_PERSISTENT_DIR", folder, 1);  // NOLINT(concurrency-mt-unsafe): a process of its own
        ::execlp("snmpd", "snmpd", "-f", "-Lf", "/dev/null", "-C", "-c", config.c_str(), m_address.c_str(), nullptr);
    }

    const ScratchFolder m_folder;
    const std::string m_address = "udp:127.0.0.1:" + std::to_string(FreePort());
    const Child m_child{[this] { Run(); }};
};

/// One of the two agents, and what was measured of it.
class Measured {
public:
    Measured(std::string address, pid_t pid) : m_address(std::move(address)), m_pid(pid) {}

    bool Serves() const { return ::Serves(m_address, kUptime); }

    /// Called when the agent's tables are old, so that the first walk takes a snapshot.
    void Round() {
        Client client(m_address);
        const double withSnapshot = Walk(client);
        const double walk = Median({Walk(client), Walk(client), Walk(client)});
        m_walks.push_back(walk / m_instances);
        m_walksWithSnapshot.push_back(withSnapshot / m_instances);
        m_snapshots.push_back(withSnapshot - walk);
        const int gets = IsFull() ? 4'000 : 10;
        const double before = ProcessorTime(m_pid);
        for (int i = 0; i < gets; ++i) {
            if (!client.Get(kMemorySize)) {
                Fail("a request has no answer");
            }
        }
        m_gets.push_back((ProcessorTime(m_pid) - before) / gets);
    }

    /// In the order of kFigures.
    std::array<double, 5> Figures() const {
        return {Median(m_walks), Median(m_walksWithSnapshot), Median(m_snapshots) / 1e3, Median(m_gets), ResidentMB()};
    }
    double Instances() const { return m_instances; }

    static constexpr std::array<const char*, 5> kFigures = {"walk_us", "walk_with_snapshot_us", "snapshot_ms", "get_us",
                                                            "resident_MB"};

private:
    double Walk(Client& client) {
        const double before = ProcessorTime(m_pid);
        m_instances = static_cast<double>(client.Walk(kProcesses) + client.Walk(kProcessFigures));
        return ProcessorTime(m_pid) - before;
    }

    double ResidentMB() const {
        std::ifstream status("/proc/" + std::to_string(m_pid) + "/status");
        for (std::string word; status >> word;) {
            if (double kilobytes = 0; word == "VmRSS:" && status >> kilobytes) {
                return kilobytes / 1024;
            }
        }
        return 0;
    }

    std::string m_address;
    pid_t m_pid;
    double m_instances = 0;  // of the last walk
    std::vector<double> m_walks;
    std::vector<double> m_walksWithSnapshot;
    std::vector<double> m_snapshots;
    std::vector<double> m_gets;
};

bool IsThere(const char* program) {
    for (const std::string folder : {"/usr/sbin/", "/sbin/", "/usr/bin/", "/usr/local/sbin/"}) {
        if (::access((folder + program).c_str(), X_OK) == 0) {
            return true;
        }
    }
    return false;
}

void BM_Distribution(benchmark::State& state) {
    if (!IsThere("snmpd")) {
        state.SkipWithError("the distribution's agent is not installed");
        return;
    }
    const OneProcessor one;
    const Crowd crowd(IsFull() ? 5'000 : 50);
    const Agent agent;
    const DistributionAgent distribution;
    std::array<Measured, 2> both = {Measured(agent.Address(), agent.Pid()),
                                    Measured(distribution.Address(), distribution.Pid())};
    if (!both[0].Serves() || !both[1].Serves()) {
        state.SkipWithError("an agent does not answer");
        return;
    }
    for ([[maybe_unused]] const auto _ : state) {
        for (int round = 0; round < (IsFull() ? 7 : 1); ++round) {
            std::this_thread::sleep_for(UntilTablesAreOld());
            for (Measured& measured : both) {
                measured.Round();
            }
        }
    }
    const auto ours = both[0].Figures();
    const auto theirs = both[1].Figures();
    for (std::size_t i = 0; i < ours.size(); ++i) {
        const std::string name = Measured::kFigures.at(i);
        state.counters[name] = ours.at(i);
        state.counters[name + "_distribution"] = theirs.at(i);
        state.counters[name + "_ratio"] = ours.at(i) / theirs.at(i);
    }
    state.counters["instances"] = both[0].Instances();
    state.counters["instances_distribution"] = both[1].Instances();
}

BENCHMARK(BM_Distribution)->Iterations(1)->UseRealTime();

}  // namespace
