// The storage table on a host with many mounts: 2,000 file systems are really mounted, in a private mount namespace.
// Compare the figures for 200 and 2,000: a cost that is linear in the number of mounts grows tenfold.

#include <benchmark/benchmark.h>

#include <malloc.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "CVT/BRequestId.h"
#include "groups/storage/DHrStorageTable.h"

namespace {

/// File systems mounted on many directories. The namespace unmounts them when this program ends.
class ManyMounts {
public:
    static ManyMounts& Instance() {
        static ManyMounts mounts;
        return mounts;
    }
    ManyMounts(const ManyMounts&) = delete;
    ManyMounts& operator=(const ManyMounts&) = delete;
    ~ManyMounts() {
        if (m_isPossible) {
            ::umount2(m_directory, MNT_DETACH);
        }
        ::rmdir(m_directory);
    }

    /// Ensures that there are `count`. Returns false when this machine does not allow mounts.
    bool Have(int count) {
        for (; m_isPossible && m_count < count; ++m_count) {
            m_isPossible = MountOne(Path(m_count));
        }
        while (m_isPossible && m_count > count) {
            --m_count;
            m_isPossible = ::umount2(Path(m_count).c_str(), MNT_DETACH) == 0;
        }
        return m_isPossible;
    }
    std::string Path(int number) const { return std::string(m_directory) + "/" + std::to_string(number); }

private:
    ManyMounts() {
        m_isPossible = ::mkdtemp(m_directory) != nullptr && ::unshare(CLONE_NEWNS) == 0 &&
                       ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                       ::mount("none", m_directory, "tmpfs", 0, nullptr) == 0;
    }

    static bool MountOne(const std::string& path) {
        std::error_code error;
        std::filesystem::create_directory(path, error);
        return ::mount("/dev/benchmark", path.c_str(), "ramfs", 0, nullptr) == 0;
    }

    char m_directory[32] = "/tmp/mounts.XXXXXX";
    bool m_isPossible = false;
    int m_count = 0;
};

bool Prepare(benchmark::State& state) {
    if (ManyMounts::Instance().Have(static_cast<int>(state.range(0)))) {
        return true;
    }
    state.SkipWithError("this machine does not let us mount anything");
    return false;
}

std::size_t HeapInUse() { return ::mallinfo2().uordblks; }

/// Start-up: all rows are created and measured. Also reports the memory that a row takes.
void StartUp(benchmark::State& state) {
    if (!Prepare(state)) {
        return;
    }
    std::size_t before = 0;
    std::size_t after = 0;
    std::size_t rows = 1;
    while (state.KeepRunning()) {
        before = HeapInUse();
        DHrStorageTable table(nullptr);
        table.Initialize();
        state.PauseTiming();
        after = HeapInUse();
        rows = table.GetNumRows();
        state.ResumeTiming();
    }
    state.counters["bytes_per_row"] = static_cast<double>(after - before) / static_cast<double>(rows);
}

/// The bare system calls of the start-up, for comparison.
void BareStatAndStatfs(benchmark::State& state) {
    if (!Prepare(state)) {
        return;
    }
    while (state.KeepRunning()) {
        for (int i = 0; i < state.range(0); ++i) {
            const std::string path = ManyMounts::Instance().Path(i);
            struct stat status {};
            struct statfs space {};
            benchmark::DoNotOptimize(::stat(path.c_str(), &status));
            benchmark::DoNotOptimize(::statfs(path.c_str(), &space));
        }
    }
}

/// A walk over one column, with a request for each row, as GETNEXT does it.
template <int (DHrStorageTable::*Get)(const CVT::BObjectIdentifier&, unsigned int, int&)>
void WalkOf(benchmark::State& state) {
    if (!Prepare(state)) {
        return;
    }
    DHrStorageTable table(nullptr);
    table.Initialize();
    while (state.KeepRunning()) {
        CVT::BObjectIdentifier index;
        unsigned int request = CVT::BRequestId::Next();
        while (table.NextInstanceInColumn(request, 1, index, index)) {
            int value = 0;
            (table.*Get)(index, request, value);
            benchmark::DoNotOptimize(value);
            request = CVT::BRequestId::Next();
        }
    }
}
void WalkSizes(benchmark::State& state) { WalkOf<&DHrStorageTable::OnGet_HrStorageSize>(state); }
void WalkUsed(benchmark::State& state) { WalkOf<&DHrStorageTable::OnGet_HrStorageUsed>(state); }

/// A request after a new mount: the mount table is read again.
void RequestAfterAMount(benchmark::State& state) {
    if (!Prepare(state)) {
        return;
    }
    DHrStorageTable table(nullptr);
    table.Initialize();
    const CVT::BObjectIdentifier first(table.GetFirstRow()->index);
    while (state.KeepRunning()) {
        stLastMntFileStat.st_mtime = 1;
        int value = 0;
        table.OnGet_HrStorageSize(first, CVT::BRequestId::Next(), value);
        benchmark::DoNotOptimize(value);
    }
}

/// Every mount directory is looked up once, as discovery does it: the one cost that grows with the square of the
/// mounts.
void FindEveryRow(benchmark::State& state) {
    if (!Prepare(state)) {
        return;
    }
    DHrStorageTable table(nullptr);
    table.Initialize();
    while (state.KeepRunning()) {
        for (int i = 0; i < state.range(0); ++i) {
            benchmark::DoNotOptimize(table.FindRow(ManyMounts::Instance().Path(i).c_str()));
        }
    }
}

/// One query of a file system that cannot hang (0), and one through a thread, of a file system that may hang (1).
void AskForSpace(benchmark::State& state) {
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(DMountProbe("/", state.range(0) != 0, DMountProbe::kSpace).Answer());
    }
}

BENCHMARK(StartUp)->Arg(200)->Arg(2000)->Unit(benchmark::kMillisecond);
BENCHMARK(BareStatAndStatfs)->Arg(200)->Arg(2000)->Unit(benchmark::kMillisecond);
BENCHMARK(WalkSizes)->Arg(200)->Arg(2000)->Unit(benchmark::kMillisecond);
BENCHMARK(WalkUsed)->Arg(200)->Arg(2000)->Unit(benchmark::kMillisecond);
BENCHMARK(RequestAfterAMount)->Arg(200)->Arg(2000)->Unit(benchmark::kMillisecond);
BENCHMARK(FindEveryRow)->Arg(200)->Arg(2000)->Unit(benchmark::kMillisecond);
BENCHMARK(AskForSpace)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

}  // namespace
