// What serving an instance inside a GETBULK of 50 costs the agent, compared with a bare handler that fills the same
// constants from an array through the same library and the same event loop. Each is a process of its own, whose CPU
// time is measured around walks of the same client, the two in turn; the counters show medians and ratios of medians.
//
// With CVHOST_BENCH_FULL in the environment at 200 and 20,000 rows, else at 200 and 1,000.

#include <benchmark/benchmark.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "CVT/BMapOid2Ptr.h"
#include "CVT/BMibTableImpl.h"
#include "agent/cvtagentd/access/AccessConfig.h"
#include "agent/cvtagentd/requests/Requests.h"
#include "agent/cvtagentd/requests/ResponseBudget.h"
#include "agent/cvtagentd/requests/SubtreeHandler.h"
#include "agent/cvtagentd/snmp/EventLoop.h"
#include "agent/cvtagentd/snmp/Listeners.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"
#include "agent/cvtagentd/snmp/SnmpLibrary.h"
#include "bench/FreePort.h"
#include "bench/ProcessorTime.h"

namespace {

constexpr std::array<oid, 9> kTable = {1, 3, 6, 1, 4, 1, 32473, 9, 1};
constexpr std::size_t kNameLength = kTable.size() + 2;  // the column, 1, and the row
constexpr int kRepetitions = 50;

/// One column over rows 1 to n, which looks its row up as every table does.
class Table final : public CVT::BMibTableImpl {
public:
    explicit Table(const std::vector<int>& values) : BMibTableImpl("BENCH-MIB.table", "1.3.6.1.4.1.32473.9") {
        for (const int& value : values) {
            m_rows.Insert(CVT::BObjectIdentifier(m_rows.GetCount() + 1), const_cast<int*>(&value));
        }
    }

    void Initialize() override {}
    void Cleanup() override {}
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }
    bool NextInstanceInColumn(unsigned int /*requestId*/, unsigned int /*column*/, const CVT::BObjectIdentifier& index,
                              CVT::BObjectIdentifier& nextIndex) override {
        return m_rows.Next(index, nextIndex);
    }

private:
    int GetCell(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/, int& value) {
        const auto* const row = static_cast<const int*>(m_rows.GetData(index));
        if (row == nullptr) {
            return CVT::noSuchName;
        }
        value = *row;
        return CVT::noError;
    }

    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];

    CVT::BMapOid2Ptr m_rows;
};

const CVT::BRqHndlrEntry Table::s_rqhndlrEntries[] = {
    CVT::Column<CVT::kIntValue>(1, "benchCell", CVT::kInteger, &Table::GetCell),
    {},
};
const CVT::BConstraintEntry Table::s_sonstraintEntries[] = {{}};

/// Fills a varbind and its repetitions from the array, which `my_reg_void` points to. The row is the name's last arc.
int FillFromArray(netsnmp_mib_handler* /*handler*/, netsnmp_handler_registration* registration,
                  netsnmp_agent_request_info* info, netsnmp_request_info* requests) {
    const auto& values = *static_cast<const std::vector<int>*>(registration->my_reg_void);
    std::array<oid, kNameLength> name{};
    std::copy(kTable.begin(), kTable.end(), name.begin());
    name[kTable.size()] = 1;
    for (netsnmp_request_info* request = requests; request != nullptr && info->mode == MODE_GETBULK;
         request = request->next) {
        const variable_list* const asked = request->requestvb;
        std::size_t row = asked->name_length == kNameLength ? asked->name[kNameLength - 1] : 0;
        while (row < values.size()) {
            const int value = values[row];
            name.back() = ++row;
            ::snmp_set_var_objid(request->requestvb, name.data(), name.size());
            ::snmp_set_var_typed_integer(request->requestvb, ASN_INTEGER, value);
            if (request->repeat == 0) {
                break;
            }
            --request->repeat;
            request->requestvb = request->requestvb->next_variable;
            if (row == values.size()) {
                ::snmp_set_var_objid(request->requestvb, name.data(), name.size());
                request->requestvb->type = ASN_NULL;
            }
        }
    }
    return SNMP_ERR_NOERROR;
}

/// A serving process, and a session to it.
class Server {
public:
    enum class Kind { kBare, kAgent };

    Server(Kind kind, int rows) : m_rows(rows), m_address("udp:127.0.0.1:" + std::to_string(FreePort())) {
        std::array<int, 2> ready{};
        if (::pipe(ready.data()) != 0 || (m_pid = ::fork()) < 0) {
            std::abort();
        }
        if (m_pid == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            ::prctl(PR_SET_NAME, kind == Kind::kBare ? "bench-bare" : "bench-agent");
            Serve(kind, ready[1]);
        }
        ::close(ready[1]);
        char byte = 0;
        if (::read(ready[0], &byte, 1) != 1) {
            std::abort();
        }
        ::close(ready[0]);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
    ~Server() {
        if (m_session != nullptr) {
            ::snmp_close(m_session);
        }
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }

    /// Call it when all servers have been made: the library is initialised once in each process.
    void Connect() {
        static std::string community = "public";
        snmp_session session;
        ::snmp_sess_init(&session);
        session.peername = m_address.data();
        session.version = SNMP_VERSION_2c;
        session.community = reinterpret_cast<u_char*>(community.data());
        session.community_len = community.size();
        session.timeout = 10'000'000;
        m_session = ::snmp_open(&session);
        if (m_session == nullptr) {
            std::abort();
        }
    }

    /// The server's CPU time for each instance, in microseconds, over as many walks as it takes to read `instances`.
    double MicrosecondsEach(int instances) {
        const double before = ProcessorTime(m_pid);
        int got = 0;
        while (got < instances) {
            got += Walk();
        }
        return (ProcessorTime(m_pid) - before) / got;
    }

    int Walk() {
        std::array<oid, MAX_OID_LEN> name{};
        std::copy(kTable.begin(), kTable.end(), name.begin());
        std::size_t length = kTable.size();
        int got = 0;
        for (bool inTable = true; inTable;) {
            snmp_pdu* const request = ::snmp_pdu_create(SNMP_MSG_GETBULK);
            request->non_repeaters = 0;
            request->max_repetitions = kRepetitions;
            ::snmp_add_null_var(request, name.data(), length);
            snmp_pdu* response = nullptr;
            if (::snmp_synch_response(m_session, request, &response) != STAT_SUCCESS) {
                std::abort();
            }
            for (const variable_list* var = response->variables; var != nullptr && inTable; var = var->next_variable) {
                inTable = var->type == ASN_INTEGER && var->name_length == kNameLength;
                got += inTable ? 1 : 0;
                std::copy_n(var->name, var->name_length, name.begin());
                length = var->name_length;
            }
            ::snmp_free_pdu(response);
        }
        if (got != m_rows) {
            std::abort();
        }
        return got;
    }

private:
    [[noreturn]] void Serve(Kind kind, int ready) const {
        std::string folder = std::filesystem::temp_directory_path() / "bench-agent-XXXXXX";
        if (::mkdtemp(folder.data()) == nullptr || ::chdir(folder.c_str()) != 0) {
            std::_Exit(EXIT_FAILURE);
        }
        std::vector<int> values(static_cast<std::size_t>(m_rows), 1234567);
        cvtagentd::EventLoop loop;
        const cvtagentd::SnmpLibrary library({"", cvtagentd::SnmpLibrary::State::kWorkingDirectory,
                                              cvtagentd::AccessConfig::BuiltIn(), &cvtagentd::ResponseBudget::Install});
        std::filesystem::remove_all(folder);
        cvtagentd::Listeners listeners;
        listeners.Listen(m_address);
        Table table(values);
        cvtagentd::Requests requests;
        requests.delegated.OnOver(&::netsnmp_check_outstanding_agent_requests);
        const cvtagentd::EventLoop::Task retries(loop, [&] { return requests.delegated.Retry(); });
        const cvtagentd::EventLoop::Watch doneCalls(loop, requests.workers.Descriptor(),
                                                    [&] { requests.workers.Drain(); });
        const cvtagentd::EventLoop::Steady steady(loop);
        const auto keep = [&](const auto& registered) {
            static_cast<void>(registered);
            static_cast<void>(::write(ready, "", 1));
            while (loop.Turn() == cvtagentd::EventLoop::Event::kNone) {
            }
        };
        if (kind == Kind::kAgent) {
            keep(cvtagentd::SubtreeHandler(table, requests.delegated));
        } else {
            auto* const registration = ::netsnmp_create_handler_registration(
                "bare", &FillFromArray, kTable.data(), kTable.size(), HANDLER_CAN_RONLY | HANDLER_CAN_GETBULK);
            registration->my_reg_void = &values;
            keep(::netsnmp_register_handler(registration));
        }
        std::_Exit(EXIT_SUCCESS);
    }

    const int m_rows;
    std::string m_address;
    pid_t m_pid = 0;
    snmp_session* m_session = nullptr;
};

void BM_Bulk(benchmark::State& state) {
    const OneProcessor one;
    const bool full = std::getenv("CVHOST_BENCH_FULL") != nullptr;
    const int many = full ? 20'000 : 1'000;
    const int pairs = full ? 25 : 3;
    Server bareFew(Server::Kind::kBare, 200);
    Server agentFew(Server::Kind::kAgent, 200);
    Server bareMany(Server::Kind::kBare, many);
    Server agentMany(Server::Kind::kAgent, many);
    const std::array<Server*, 4> servers = {&bareFew, &agentFew, &bareMany, &agentMany};
    // NOLINTBEGIN(concurrency-mt-unsafe): there is no second thread
    ::setenv("MIBS", "", 1);
    ::setenv("SNMPCONFPATH", "/dev/null", 1);
    // NOLINTEND(concurrency-mt-unsafe)
    ::netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_PERSIST_STATE, 1);
    ::init_snmp("bench");
    for (Server* const server : servers) {
        server->Connect();
        server->Walk();
    }
    std::array<std::vector<double>, 4> costs;
    std::array<std::vector<double>, 3> ratios;  // few rows, many rows, and the agent's many to few
    for ([[maybe_unused]] const auto _ : state) {
        for (int pair = 0; pair < pairs; ++pair) {
            std::array<double, 4> cost{};
            for (std::size_t i = 0; i < servers.size(); ++i) {
                cost[i] = servers[i]->MicrosecondsEach(many);
                costs[i].push_back(cost[i]);
            }
            ratios[0].push_back(cost[1] / cost[0]);
            ratios[1].push_back(cost[3] / cost[2]);
            ratios[2].push_back(cost[3] / cost[1]);
        }
    }
    state.counters["bare_us_200"] = Median(costs[0]);
    state.counters["agent_us_200"] = Median(costs[1]);
    state.counters["bare_us_many"] = Median(costs[2]);
    state.counters["agent_us_many"] = Median(costs[3]);
    state.counters["ratio_200"] = Median(ratios[0]);
    state.counters["ratio_many"] = Median(ratios[1]);
    state.counters["many_to_200"] = Median(ratios[2]);
}

BENCHMARK(BM_Bulk)->Iterations(1);

}  // namespace
