#include "groups/hardware/DHrProcessorTable.h"

#include <array>
#include <string>

#include "groups/common/HostFile.h"
#include "groups/hardware/ProcessorWThread.h"

const CVT::BObjectIdentifier DHrProcessorEntry::s_frwId{CVT::BString("1.3.6.1.2.1.25.3.3.1.1")};

const CVT::BRqHndlrEntry DHrProcessorTable::s_rqhndlrEntries[] = {
    CVT::Column<CVT::kObjectIdentifierValue>(1, "hrProcessorFrwID", CVT::kObjectIdentifier,
                                             &DHrProcessorTable::OnGet_HrProcessorFrwID),
    CVT::Column<CVT::kIntValue>(2, "hrProcessorLoad", CVT::kInteger, &DHrProcessorTable::OnGet_HrProcessorLoad),
    {},
};

const CVT::BConstraintEntry DHrProcessorTable::s_sonstraintEntries[] = {
    {CVT::kRange, 2, nullptr, 0, 100},
    {},
};

const char DHrProcessorTable::s_pszNVSection[] = "hrProcessorTable";

namespace {

/// Clock ticks since the host was started, cut to 32 bits.
struct Ticks {
    unsigned int total = 0;
    unsigned int idle = 0;
};

/// The first four figures of a processor's line: user, nice, system and idle. A figure that does not parse is 0.
Ticks TicksOf(const char* line) {
    long long user = 0;
    long long nice = 0;
    long long system = 0;
    long long idle = 0;
    std::sscanf(line, "%*s %lld %lld %lld %lld", &user, &nice, &system, &idle);
    const auto cut = [](long long ticks) { return static_cast<unsigned int>(ticks); };
    return {cut(user) + cut(nice) + cut(system) + cut(idle), cut(idle)};
}

/// The distance between two readings of a counter that may have wrapped.
unsigned int Distance(unsigned int now, unsigned int before) {
    const unsigned int difference = now - before;
    return static_cast<int>(difference) < 0 ? 0U - difference : difference;
}

void Update(DHrProcessorEntry& row, const Ticks& now) {
    const unsigned int total = Distance(now.total, row.prevTotal);
    const unsigned int idle = Distance(now.idle, row.prevIdle);
    const unsigned int load = total == 0 ? 0 : 100U - idle * 100U / total;
    row.load.store(static_cast<int>(load), std::memory_order_relaxed);
    row.prevTotal = now.total;
    row.prevIdle = now.idle;
}

}  // namespace

DHrProcessorTable::DHrProcessorTable(CVT::INonVolatile* store)
    : DTable(store, "HOST-RESOURCES-MIB.hrProcessorTable", "1.3.6.1.2.1.25.3.3") {}

DHrProcessorTable::~DHrProcessorTable() { EndSampler(); }

void DHrProcessorTable::EndSampler() {
    if (m_thread) {
        m_thread->End();
        m_thread.reset();
    }
}

void DHrProcessorTable::Initialize() {
    EndSampler();
    m_thread = std::make_unique<ProcessorWThread>(*this);
    m_thread->Start(0, 0);
    SetActive(1);
}

void DHrProcessorTable::Cleanup() {
    EndSampler();
    SetActive(0);
}

int DHrProcessorTable::OnGet_HrProcessorFrwID(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                                              CVT::BObjectIdentifier& value) {
    return GetField(index, &Entry::frwId, value);
}

int DHrProcessorTable::OnGet_HrProcessorLoad(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                                             int& value) {
    const Entry* const row = GetRow(index);
    if (row == nullptr) {
        return CVT::noSuchName;
    }
    value = row->load.load(std::memory_order_relaxed);
    return CVT::noError;
}

void DHrProcessorTable::TakeSample() {
    if (GetNumRows() == 0) {
        return;
    }
    if (const DHostFile stat = OpenHostFile("/proc/stat")) {
        TakeSampleOf(stat.get());
    }
}

void DHrProcessorTable::TakeSampleOf(std::FILE* stat) {
    std::array<char, 128> line{};
    unsigned int turn = 0;
    std::string expected = "cpu0";
    while (ReadLine(stat, line) && BeginsWith(line, "cpu")) {
        if (BeginsWith(line, "cpu ")) {
            continue;  // the total of all processors
        }
        if (BeginsWith(line, expected)) {
            if (turn >= GetNumRows()) {
                break;
            }
            Update(*RowAt(turn), TicksOf(line.data()));
        }
        ++turn;
        expected = "cpu" + std::to_string(turn);
    }
}
