// The cost of a process snapshot beyond its unavoidable system calls. The scan of hrSWRunTable is compared with a bare
// loop that opens, reads and closes the same files of the same really forked processes and ignores their contents. CPU
// time of this thread, the two in turn; the counters show medians and their ratio.
//
// With CVHOST_BENCH_FULL in the environment at 5,000 and 20,000 processes, otherwise at 200.

#include <benchmark/benchmark.h>
#include <dirent.h>
#include <fcntl.h>
#include <malloc.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "CVT/BRequestId.h"
#include "bench/Crowd.h"
#include "groups/software/DHrSWRunTable.h"

namespace {

double CpuSeconds() {
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

std::vector<std::string> AllPids() {
    std::vector<std::string> pids;
    DIR* const proc = ::opendir("/proc");
    while (const dirent* const entry = ::readdir(proc)) {
        if (entry->d_name[0] >= '0' && entry->d_name[0] <= '9') {
            pids.emplace_back(entry->d_name);
        }
    }
    ::closedir(proc);
    return pids;
}

void ReadAndForget(int proc, const char* path) {
    char buffer[512];
    const int descriptor = ::openat(proc, path, O_RDONLY | O_CLOEXEC);
    if (descriptor >= 0) {
        benchmark::DoNotOptimize(::read(descriptor, buffer, sizeof buffer - 1));
        ::close(descriptor);
    }
}

/// The system calls for every process, with paths built beforehand.
struct BareLoop {
    struct Paths {
        std::string stat, cmdline, statm, cwd;
    };

    BareLoop() {
        for (const std::string& pid : AllPids()) {
            m_paths.push_back({pid + "/stat", pid + "/cmdline", pid + "/statm", pid + "/cwd"});
        }
    }

    void Run() const {
        char buffer[512];
        const int proc = ::open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        for (const Paths& paths : m_paths) {
            ReadAndForget(proc, paths.stat.c_str());
            ReadAndForget(proc, paths.cmdline.c_str());
            ReadAndForget(proc, paths.statm.c_str());
            benchmark::DoNotOptimize(::readlinkat(proc, paths.cwd.c_str(), buffer, sizeof buffer));
        }
        ::close(proc);
    }

private:
    std::vector<Paths> m_paths;
};

/// The listing of /proc, which the scan needs too. It is measured separately, since the bare loop does without it.
void ListProc() { benchmark::DoNotOptimize(AllPids().size()); }

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

template <class Work>
double CpuOf(Work work) {
    const double begin = CpuSeconds();
    work();
    return CpuSeconds() - begin;
}

void ProcessScan(benchmark::State& state) {
    const Crowd crowd(static_cast<std::size_t>(state.range(0)));
    if (crowd.Size() < static_cast<std::size_t>(state.range(0))) {
        state.SkipWithError("the system does not allow that many processes");
        return;
    }
    const BareLoop bare;
    DHrSWRunTable table(nullptr);
    const auto scan = [&] {
        table.Initialize();  // lets the next request scan at once
        table.vCheckUpDateTable(CVT::BRequestId::Next());
    };
    const std::size_t before = ::mallinfo2().uordblks;
    scan();
    const std::size_t used = ::mallinfo2().uordblks - before;
    bare.Run();
    std::vector<double> bareTimes;
    std::vector<double> scanTimes;
    std::vector<double> ratios;
    std::vector<double> listTimes;
    while (state.KeepRunning()) {
        bareTimes.push_back(CpuOf([&] { bare.Run(); }));
        scanTimes.push_back(CpuOf(scan));
        ratios.push_back(scanTimes.back() / bareTimes.back());
        listTimes.push_back(CpuOf(ListProc));
        state.SetIterationTime(scanTimes.back());
    }
    const double rows = table.GetNumRows();
    state.counters["rows"] = rows;
    state.counters["bare_us_per_row"] = Median(bareTimes) / rows * 1e6;
    state.counters["scan_us_per_row"] = Median(scanTimes) / rows * 1e6;
    state.counters["list_us_per_row"] = Median(listTimes) / rows * 1e6;
    state.counters["ratio"] = Median(ratios);
    state.counters["bytes_per_row"] = static_cast<double>(used) / rows;
}

/// A walk of one column over all rows; each instance is found and read as for a request.
void ProcessWalk(benchmark::State& state) {
    const Crowd crowd(static_cast<std::size_t>(state.range(0)));
    DHrSWRunTable table(nullptr);
    table.Initialize();
    const unsigned int request = CVT::BRequestId::Next();
    table.vCheckUpDateTable(request);
    CVT::BVarBind at;
    while (state.KeepRunning()) {
        at.name.AssignFromDottedDecimalStr("1.3.6.1.2.1.25.4.2.1.2");
        while (table.GetNext(request, at) == CVT::noError && at.name[10] == 2) {
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(table.GetNumRows()) * static_cast<int64_t>(state.iterations()));
}

const bool s_registered = [] {
    const bool full = std::getenv("CVHOST_BENCH_FULL") != nullptr;
    for (const int processes : full ? std::vector<int>{5'000, 20'000} : std::vector<int>{200}) {
        benchmark::RegisterBenchmark("ProcessScan", ProcessScan)
            ->Arg(processes)
            ->UseManualTime()
            ->Iterations(full ? 15 : 1)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark("ProcessWalk", ProcessWalk)->Arg(processes)->Unit(benchmark::kMillisecond);
    }
    return true;
}();

}  // namespace
