// How long a client waits for hrSystemUptime while another one reads what takes the agent long. The client reads the
// uptime from the agent that ships every 5 ms; the counters show the slowest answer, 99.9 % and the median, in
// milliseconds, next to those of a time without other clients ("quiet_", which shows what the machine can do just
// then).
//
// Other clients: walk hrSWRunTable over really forked processes; walk hrStorageTable with a FUSE file system that falls
// silent; walk hrDeviceTable while discovery takes its time; read a module whose handler sleeps for 3 s.
//
// With CVHOST_BENCH_FULL in the environment with 20,000 processes and for 40 s each, else with 100 and for a moment.

#include <benchmark/benchmark.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "agent/cvtagentd/snmp/SnmpHeaders.h"
#include "bench/Crowd.h"
#include "bench/FreePort.h"
#include "tests/support/FuseServer.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;
using Name = std::vector<oid>;

const Name kUptime = {1, 3, 6, 1, 2, 1, 25, 1, 1, 0};
const Name kProcesses = {1, 3, 6, 1, 2, 1, 25, 4, 2};
const Name kStorageUsed = {1, 3, 6, 1, 2, 1, 25, 2, 3, 1, 6};
const Name kDevices = {1, 3, 6, 1, 2, 1, 25, 3, 2};
const Name kSleeper = {1, 3, 6, 1, 4, 1, 32473, 3, 7};

constexpr milliseconds kInterval{5};

constexpr const char* kAgentFile = CVHOST_BUILD_BIN_DIR "/cvtagentd";
constexpr const char* kModuleFile = CVHOST_BUILD_LIB_DIR "/libCVHost.so.1";

bool IsFull() { return std::getenv("CVHOST_BENCH_FULL") != nullptr; }
milliseconds Duration() { return milliseconds(IsFull() ? 40'000 : 1'000); }

/// A process that ends with this object.
class Child {
public:
    explicit Child(const std::function<void()>& run) : m_pid(::fork()) {
        if (m_pid == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            run();
            std::_Exit(EXIT_FAILURE);
        }
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }

private:
    const pid_t m_pid;
};

/// A client with a session of its own: a forked process must not serve the sessions that it has inherited.
class Client {
public:
    explicit Client(const std::string& address, seconds timeout = seconds(60)) : m_address(address) {
        static const bool isInitialized = [] {
            ::setenv("MIBS", "", 1);                   // NOLINT(concurrency-mt-unsafe): nobody reads it meanwhile
            ::setenv("SNMPCONFPATH", "/dev/null", 1);  // NOLINT(concurrency-mt-unsafe)
            ::netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_PERSIST_STATE, 1);
            ::init_snmp("bench");
            return true;
        }();
        static_cast<void>(isInitialized);
        snmp_session session;
        ::snmp_sess_init(&session);
        session.peername = m_address.data();
        session.version = SNMP_VERSION_2c;
        session.community = reinterpret_cast<u_char*>(m_community.data());
        session.community_len = m_community.size();
        session.timeout = std::chrono::microseconds(timeout).count();
        session.retries = 0;
        m_session = ::snmp_sess_open(&session);
        if (m_session == nullptr) {
            std::abort();
        }
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    ~Client() { ::snmp_sess_close(m_session); }

    /// Whether an answer came.
    bool Get(const Name& name) {
        snmp_pdu* const request = ::snmp_pdu_create(SNMP_MSG_GET);
        ::snmp_add_null_var(request, name.data(), name.size());
        snmp_pdu* response = nullptr;
        const bool isAnswered =
            ::snmp_sess_synch_response(m_session, request, &response) == STAT_SUCCESS && response->errstat == 0;
        ::snmp_free_pdu(response);
        return isAnswered;
    }

    /// Walks with GETBULK of 50.
    void Walk(const Name& root) {
        for (Name at = root; at.size() >= root.size() && std::equal(root.begin(), root.end(), at.begin());) {
            snmp_pdu* const request = ::snmp_pdu_create(SNMP_MSG_GETBULK);
            request->non_repeaters = 0;
            request->max_repetitions = 50;
            ::snmp_add_null_var(request, at.data(), at.size());
            snmp_pdu* response = nullptr;
            if (::snmp_sess_synch_response(m_session, request, &response) != STAT_SUCCESS ||
                response->variables == nullptr) {
                ::snmp_free_pdu(response);
                return;
            }
            const variable_list* last = response->variables;
            while (last->next_variable != nullptr) {
                last = last->next_variable;
            }
            at = last->type == SNMP_ENDOFMIBVIEW ? Name() : Name(last->name, last->name + last->name_length);
            ::snmp_free_pdu(response);
        }
    }

private:
    std::string m_address;
    std::string m_community = "public";
    void* m_session = nullptr;
};

/// The agent that ships, with the host module and perhaps another one.
class Agent {
public:
    explicit Agent(const std::string& module = {},
                   const std::vector<std::pair<std::string, std::string>>& settings = {})
        : m_child([&] {
              for (const auto& [name, value] : settings) {
                  ::setenv(name.c_str(), value.c_str(), 1);  // NOLINT(concurrency-mt-unsafe): a process of its own
              }
              std::vector<std::string> words = {kAgentFile,    "--log-level", "error",    "--listen", m_address,
                                                "--state-dir", m_state,       "--module", kModuleFile};
              if (!module.empty()) {
                  words.insert(words.end(), {"--module", module});
              }
              std::vector<char*> arguments;
              arguments.reserve(words.size() + 1);
              for (std::string& word : words) {
                  arguments.push_back(word.data());
              }
              arguments.push_back(nullptr);
              ::execv(arguments[0], arguments.data());
          }) {}
    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;
    ~Agent() { std::filesystem::remove_all(m_state); }

    const std::string& Address() const { return m_address; }

private:
    static std::string MakeFolder() {
        std::string folder = std::filesystem::temp_directory_path() / "bench-agent-XXXXXX";
        return ::mkdtemp(folder.data()) == nullptr ? std::string() : folder;
    }

    const std::string m_state = MakeFolder();
    const std::string m_address = "udp:127.0.0.1:" + std::to_string(FreePort());
    const Child m_child;
};

/// Waiting times, in milliseconds.
using Waits = std::vector<double>;

/// Measures requests that are sent every 5 ms; one whose answer comes later than that is followed by the next at once.
Waits Ask(Client& client, Clock::duration duration) {
    Waits waits;
    const auto end = Clock::now() + duration;
    for (auto next = Clock::now(); next < end; next = std::max(next + kInterval, Clock::now())) {
        std::this_thread::sleep_until(next);
        const auto sent = Clock::now();
        if (!client.Get(kUptime)) {
            std::abort();
        }
        waits.push_back(std::chrono::duration<double, std::milli>(Clock::now() - sent).count());
    }
    return waits;
}

void Report(benchmark::State& state, const std::string& prefix, Waits waits) {
    std::sort(waits.begin(), waits.end());
    const auto at = [&](double share) {
        return waits[std::min(waits.size() - 1, static_cast<std::size_t>(share * static_cast<double>(waits.size())))];
    };
    state.counters[prefix + "slowest_ms"] = waits.back();
    state.counters[prefix + "p999_ms"] = at(0.999);
    state.counters[prefix + "median_ms"] = at(0.5);
}

/// `busy` is what the other client does again and again; `meanwhile` is called about every 3 s.
void Measure(
    benchmark::State& state, const Agent& agent, const std::function<void(Client&)>& busy, bool quietFirst,
    const std::function<void()>& meanwhile = [] {}) {
    while (!Client(agent.Address(), seconds(1)).Get(kUptime)) {  // until it listens
    }
    Client client(agent.Address());
    for ([[maybe_unused]] const auto _ : state) {
        if (quietFirst) {
            Report(state, "quiet_", Ask(client, Duration() / 4));
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
            const Waits more = Ask(client, std::min<Clock::duration>(seconds(3), Duration()));
            waits.insert(waits.end(), more.begin(), more.end());
        }
        state.counters["answers"] = static_cast<double>(waits.size());
        Report(state, "", std::move(waits));
    }
}

void BM_ProcessScan(benchmark::State& state) {
    const Crowd crowd(IsFull() ? 20'000 : 100);
    state.counters["processes"] = static_cast<double>(crowd.Size());
    const Agent agent;
    Measure(
        state, agent, [](Client& client) { client.Walk(kProcesses); }, true);
}

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
    std::string folder = std::filesystem::temp_directory_path() / "bench-mount-XXXXXX";
    if (::mkdtemp(folder.data()) == nullptr) {
        state.SkipWithError("no folder");
        return;
    }
    const std::string mount = folder + "/mount";
    std::ofstream(mount) << "#!/bin/sh\nsleep " << (IsFull() ? 10 : 1) << "\nexec /bin/mount \"$@\"\n";
    std::filesystem::permissions(mount, std::filesystem::perms::owner_all);
    {
        const Agent agent({}, {{"PATH", folder + ":/usr/bin:/bin"}});
        Measure(
            state, agent, [](Client& client) { client.Walk(kDevices); }, false);
    }
    std::filesystem::remove_all(folder);
}

void BM_SilentFileSystem(benchmark::State& state) {
    if (::geteuid() != 0 || ::unshare(CLONE_NEWNS) != 0 ||
        ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 || !FuseServer::Missing().empty()) {
        state.SkipWithError("this machine mounts no FUSE file system for us");
        return;
    }
    std::string folder = std::filesystem::temp_directory_path() / "bench-share-XXXXXX";
    if (::mkdtemp(folder.data()) == nullptr) {
        state.SkipWithError("no folder");
        return;
    }
    {
        std::optional<FuseServer> server(folder);
        const Agent agent;
        Measure(
            state, agent, [](Client& client) { client.Walk(kStorageUsed); }, true,
            [&] {
                server->Resume();  // otherwise it would be abandoned for good
                std::this_thread::sleep_for(milliseconds(50));
                server->FallSilent();
            });
        server.reset();  // an agent that waits for it cannot even be killed
    }
    std::filesystem::remove(folder);
}

BENCHMARK(BM_ProcessScan)->Iterations(1)->UseRealTime();
BENCHMARK(BM_SleepingModule)->Iterations(1)->UseRealTime();
BENCHMARK(BM_Discovery)->Iterations(1)->UseRealTime();
BENCHMARK(BM_SilentFileSystem)->Iterations(1)->UseRealTime();

}  // namespace
