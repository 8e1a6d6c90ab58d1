// What an instance inside a GETBULK of 50 costs cvtagentd, beside a bare agent that serves constants from an array through
// the same SNMP library. CPU time of the serving process, user and system, read by its clock; the two are walked in turn
// over UDP, and the counters give medians and the median of the ratios. The last benchmark holds a long table against a
// short one of cvtagentd's.
//
// With CVHOST_BENCH_FULL in the environment 15 pairs of long walks, else one of a short walk.

#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/support/BareAgent.h"

namespace {

constexpr unsigned int kRepetitions = 50;

/// A client that knows what it will be told: it asks for rows 1 to 50, 51 to 100 and so on, and looks only whether the
/// answer ends with the last of them.
class Client {
public:
    Client() : m_socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        auto* const any = reinterpret_cast<sockaddr*>(&address);
        const int probe = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        ::bind(probe, any, length);
        ::getsockname(probe, any, &length);
        ::close(probe);
        m_port = ntohs(address.sin_port);
        ::connect(m_socket, any, length);
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    ~Client() { ::close(m_socket); }

    /// A port that is free, where the server is to listen.
    std::string ServerAddress() const { return "udp:127.0.0.1:" + std::to_string(m_port); }

    /// Whether rows `first` to `first` + 49 came.
    bool Ask(unsigned int first, int patienceMs) const {
        const std::string request = Request(first - 1);
        if (::send(m_socket, request.data(), request.size(), 0) < 0) {
            return false;
        }
        pollfd answer{m_socket, POLLIN, 0};
        if (::poll(&answer, 1, patienceMs) != 1) {
            return false;
        }
        char buffer[8192];
        const ssize_t octets = ::recv(m_socket, buffer, sizeof buffer, 0);
        const std::string end = Row(first + kRepetitions - 1);
        return octets > 0 && std::string_view(buffer, static_cast<std::size_t>(octets)).ends_with(end);
    }

private:
    static std::string Field(char tag, const std::string& content) {
        std::string length(1, static_cast<char>(content.size()));
        return tag + length + content;  // none here is longer than 127 octets
    }
    static std::string Number(unsigned int value) {
        std::string octets;
        for (int shift = value < 0x80 ? 0 : value < 0x8000 ? 8 : 16; shift >= 0; shift -= 8) {
            octets += static_cast<char>(value >> static_cast<unsigned int>(shift));
        }
        return Field('\x02', octets);
    }
    /// 1.3.6.1.4.1.32473.9.1.1.row
    static std::string Name(unsigned int row) {
        std::string arcs = "\x2b\x06\x01\x04\x01\x81\xfd\x59\x09\x01\x01";
        std::string index(1, static_cast<char>(row & 0x7fU));
        for (unsigned int rest = row >> 7U; rest != 0; rest >>= 7U) {
            index.insert(index.begin(), static_cast<char>(rest | 0x80U));
        }
        return Field('\x06', row == 0 ? arcs : arcs + index);
    }
    static std::string Row(unsigned int row) { return Name(row) + Number(row); }
    static std::string Request(unsigned int behind) {
        const std::string varBinds = Field('\x30', Field('\x30', Name(behind) + Field('\x05', "")));
        const std::string pdu = Number(behind) + Number(0) + Number(kRepetitions) + varBinds;
        return Field('\x30', Number(1) + Field('\x04', "public") + Field('\xa5', pdu));
    }

    int m_socket;
    int m_port;
};

/// A serving process, and a client of it.
class Server {
public:
    explicit Server(unsigned int rows, const std::function<void(const char* address)>& serve) : m_rows(rows) {
        m_pid = ::fork();
        if (m_pid == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            serve(m_client.ServerAddress().c_str());
            std::_Exit(EXIT_FAILURE);
        }
        for (int tries = 0; !m_client.Ask(1, 50); ++tries) {
            if (tries == 200 || ::waitpid(m_pid, nullptr, WNOHANG) != 0) {
                throw std::runtime_error("an agent does not answer on " + m_client.ServerAddress());
            }
            ::poll(nullptr, 0, 20);
        }
        ::clock_getcpuclockid(m_pid, &m_clock);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
    ~Server() {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }

    /// What walks over `instances` instances in all cost it, for each, in microseconds.
    double Walk(unsigned int instances) {
        const double begin = CpuSeconds();
        for (unsigned int served = 0; served < instances; served += kRepetitions) {
            if (!m_client.Ask(served % m_rows + 1, 5000)) {
                throw std::runtime_error("an answer is missing or wrong");
            }
        }
        return (CpuSeconds() - begin) / instances * 1e6;
    }

private:
    double CpuSeconds() const {
        timespec now{};
        ::clock_gettime(m_clock, &now);
        return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
    }

    Client m_client;
    const unsigned int m_rows;
    pid_t m_pid;
    clockid_t m_clock{};
};

/// A state folder, removed in the end.
class Folder {
public:
    Folder() : m_path(std::filesystem::temp_directory_path() / "cvhost-bench-XXXXXX") {
        if (::mkdtemp(m_path.data()) == nullptr) {
            throw std::runtime_error("cannot make a folder");
        }
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    const char* Path() const { return m_path.c_str(); }

private:
    std::string m_path;
};

void BecomeCvtagentd(const Folder& state, const char* address, unsigned int rows) {
    ::setenv("BENCH_ROWS", std::to_string(rows).c_str(), 1);
    ::execl(CVHOST_BUILD_BIN_DIR "/cvtagentd", "cvtagentd", "--module", CVHOST_BENCH_MODULE, "--listen", address,
            "--state-dir", state.Path(), "--log-level", "error", nullptr);
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

constexpr unsigned int kShortTable = 200;
constexpr unsigned int kLongTable = 20'000;

bool IsFull() { return std::getenv("CVHOST_BENCH_FULL") != nullptr; }

/// Walks `server` and `reference` in turn, over as many instances each.
void Compare(benchmark::State& state, Server& server, Server& reference) {
    const unsigned int instances = IsFull() ? 100'000 : kLongTable;
    server.Walk(instances);
    reference.Walk(instances);
    std::vector<double> costs;
    std::vector<double> referenceCosts;
    std::vector<double> ratios;
    while (state.KeepRunning()) {
        referenceCosts.push_back(reference.Walk(instances));
        costs.push_back(server.Walk(instances));
        ratios.push_back(costs.back() / referenceCosts.back());
        state.SetIterationTime(costs.back() * 1e-6 * instances);
    }
    state.counters["us_per_instance"] = Median(costs);
    state.counters["reference_us"] = Median(referenceCosts);
    state.counters["ratio"] = Median(ratios);
}

void AgentToBareAgent(benchmark::State& state) {
    const auto rows = static_cast<unsigned int>(state.range(0));
    const Folder folder;
    try {
        Server agent(rows, [&](const char* address) { BecomeCvtagentd(folder, address, rows); });
        Server bare(rows, [&](const char* address) { bench::RunBareAgent(address, rows); });
        Compare(state, agent, bare);
    } catch (const std::exception& error) {
        state.SkipWithError(error.what());
    }
}

void LongToShortTable(benchmark::State& state) {
    const Folder longFolder;
    const Folder shortFolder;
    try {
        Server longTable(kLongTable, [&](const char* address) { BecomeCvtagentd(longFolder, address, kLongTable); });
        Server shortTable(kShortTable,
                          [&](const char* address) { BecomeCvtagentd(shortFolder, address, kShortTable); });
        Compare(state, longTable, shortTable);
    } catch (const std::exception& error) {
        state.SkipWithError(error.what());
    }
}

const bool s_registered = [] {
    const int pairs = IsFull() ? 25 : 1;
    benchmark::RegisterBenchmark("AgentToBareAgent", AgentToBareAgent)
        ->Arg(kShortTable)
        ->Arg(kLongTable)
        ->UseManualTime()
        ->Iterations(pairs)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("LongToShortTable", LongToShortTable)
        ->UseManualTime()
        ->Iterations(pairs)
        ->Unit(benchmark::kMillisecond);
    return true;
}();

}  // namespace
