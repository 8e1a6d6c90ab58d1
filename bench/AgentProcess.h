#pragma once

#include <benchmark/benchmark.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "agent/cvtagentd/snmp/SnmpHeaders.h"
#include "bench/FreePort.h"
#include "tests/support/ScratchFolder.h"

// What the benchmarks of waiting share: the agent and its clients, each a process of its own.

using Clock = std::chrono::steady_clock;
using Name = std::vector<oid>;

inline constexpr std::chrono::milliseconds kInterval{5};

/// Another agent can be named, to compare the two.
inline const char* AgentFile() {
    const char* const other = std::getenv("CVHOST_BENCH_AGENT");
    return other == nullptr ? CVHOST_BUILD_BIN_DIR "/cvtagentd" : other;
}
inline constexpr const char* kModuleFile = CVHOST_BUILD_LIB_DIR "/libCVHost.so.1";

/// Ends the program: a figure without this would mislead.
[[noreturn]] inline void Fail(const char* why) {
    std::fprintf(stderr, "%s\n", why);
    std::abort();
}

inline bool IsFull() { return std::getenv("CVHOST_BENCH_FULL") != nullptr; }
inline std::chrono::milliseconds Duration() { return std::chrono::milliseconds(IsFull() ? 40'000 : 1'000); }

/// A process that ends with this object.
class Child {
public:
    explicit Child(const std::function<void()>& run) : m_pid(::fork()) {
        if (m_pid < 0) {
            Fail("no process can be made");
        }
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

    pid_t Pid() const { return m_pid; }

private:
    const pid_t m_pid;
};

/// A client with a session of its own: a forked process must not serve the sessions that it has inherited.
class Client {
public:
    explicit Client(const std::string& address, std::chrono::seconds timeout = std::chrono::seconds(60))
        : m_address(address) {
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
            Fail("no session with the agent");
        }
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    ~Client() { ::snmp_sess_close(m_session); }

    /// Whether a value came.
    bool Get(const Name& name) {
        snmp_pdu* const request = ::snmp_pdu_create(SNMP_MSG_GET);
        ::snmp_add_null_var(request, name.data(), name.size());
        snmp_pdu* response = nullptr;
        const bool isAnswered = ::snmp_sess_synch_response(m_session, request, &response) == STAT_SUCCESS &&
                                response->errstat == 0 && response->variables != nullptr &&
                                response->variables->type < SNMP_NOSUCHOBJECT;
        ::snmp_free_pdu(response);
        return isAnswered;
    }

    /// Walks with GETBULK of 50. Returns the number of instances.
    std::size_t Walk(const Name& root) {
        std::size_t instances = 0;
        for (Name at = root; at.size() >= root.size() && std::equal(root.begin(), root.end(), at.begin());) {
            snmp_pdu* const request = ::snmp_pdu_create(SNMP_MSG_GETBULK);
            request->non_repeaters = 0;
            request->max_repetitions = 50;
            ::snmp_add_null_var(request, at.data(), at.size());
            snmp_pdu* response = nullptr;
            if (::snmp_sess_synch_response(m_session, request, &response) != STAT_SUCCESS ||
                response->variables == nullptr) {
                ::snmp_free_pdu(response);
                return instances;
            }
            const variable_list* last = response->variables;
            for (; last->next_variable != nullptr; last = last->next_variable) {
                instances += IsIn(root, *last) ? 1U : 0U;
            }
            instances += IsIn(root, *last) ? 1U : 0U;
            at = last->type == SNMP_ENDOFMIBVIEW ? Name() : Name(last->name, last->name + last->name_length);
            ::snmp_free_pdu(response);
        }
        return instances;
    }

private:
    static bool IsIn(const Name& root, const variable_list& varBind) {
        return varBind.type != SNMP_ENDOFMIBVIEW && varBind.name_length >= root.size() &&
               std::equal(root.begin(), root.end(), varBind.name);
    }

    std::string m_address;
    std::string m_community = "public";
    void* m_session = nullptr;
};

/// Waits until the instance is served there, for 30 s at most.
inline bool Serves(const std::string& address, const Name& name) {
    for (const auto end = Clock::now() + std::chrono::seconds(30); Clock::now() < end;) {
        if (Client(address, std::chrono::seconds(1)).Get(name)) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

/// The agent that ships, with the host module and perhaps another one, in its role of its own or behind a master.
class Agent {
public:
    /// `master`: the address of an AgentX master; empty: it serves alone.
    explicit Agent(const std::string& module = {},
                   const std::vector<std::pair<std::string, std::string>>& settings = {},
                   const std::string& master = {})
        : m_child([&] {
              for (const auto& [name, value] : settings) {
                  ::setenv(name.c_str(), value.c_str(), 1);  // NOLINT(concurrency-mt-unsafe): a process of its own
              }
              std::vector<std::string> words = {AgentFile(),    "--log-level", "error",    "--state-dir",
                                                m_state.Path(), "--module",    kModuleFile};
              if (master.empty()) {
                  words.insert(words.end(), {"--listen", m_address});
              } else {
                  words.push_back("--agentx=" + master);
              }
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

    const std::string& Address() const { return m_address; }
    pid_t Pid() const { return m_child.Pid(); }

private:
    const ScratchFolder m_state;
    const std::string m_address = "udp:127.0.0.1:" + std::to_string(FreePort());
    const Child m_child;
};

/// Waiting times, in milliseconds.
using Waits = std::vector<double>;

/// Measures requests for one instance that are sent every 5 ms; one whose answer comes later than that is followed by
/// the next at once. One without an answer counts in `failures`, and ends the program when there is no such counter.
inline Waits Ask(Client& client, const Name& name, Clock::duration duration, std::size_t* failures = nullptr) {
    Waits waits;
    const auto end = Clock::now() + duration;
    for (auto next = Clock::now(); next < end; next = std::max(next + kInterval, Clock::now())) {
        std::this_thread::sleep_until(next);
        const auto sent = Clock::now();
        if (!client.Get(name)) {
            if (failures == nullptr) {
                Fail("a request has no answer");
            }
            ++*failures;
        }
        waits.push_back(std::chrono::duration<double, std::milli>(Clock::now() - sent).count());
    }
    return waits;
}

inline void Report(benchmark::State& state, const std::string& prefix, Waits waits) {
    if (waits.empty()) {
        Fail("there was no time for a request");
    }
    std::sort(waits.begin(), waits.end());
    const auto at = [&](double share) {
        return waits[std::min(waits.size() - 1, static_cast<std::size_t>(share * static_cast<double>(waits.size())))];
    };
    state.counters[prefix + "slowest_ms"] = waits.back();
    state.counters[prefix + "p999_ms"] = at(0.999);
    state.counters[prefix + "median_ms"] = at(0.5);
}
