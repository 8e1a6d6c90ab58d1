#include "groups/software/DHrSWRunTable.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "groups/common/DConventions.h"
#include "groups/common/HostFile.h"
#include "groups/common/SetPhases.h"
#include "groups/software/ProcessFiles.h"
#include "groups/software/ProcessLines.h"

const CVT::BObjectIdentifier DHrSWRunEntry::id{CVT::BString("0.0")};

const CVT::BRqHndlrEntry DHrSWRunTable::s_rqhndlrEntries[] = {
    CVT::Column<CVT::kIntValue>(1, "hrSWRunIndex", CVT::kInteger, &DHrSWRunTable::OnGet_HrSWRunIndex),
    CVT::Column<CVT::kOctetStringValue>(2, "hrSWRunName", CVT::kOctetString, &DHrSWRunTable::OnGet_HrSWRunName),
    CVT::Column<CVT::kObjectIdentifierValue>(3, "hrSWRunID", CVT::kObjectIdentifier, &DHrSWRunTable::OnGet_HrSWRunID),
    CVT::Column<CVT::kOctetStringValue>(4, "hrSWRunPath", CVT::kOctetString, &DHrSWRunTable::OnGet_HrSWRunPath),
    CVT::Column<CVT::kOctetStringValue>(5, "hrSWRunParameters", CVT::kOctetString,
                                        &DHrSWRunTable::OnGet_HrSWRunParameters),
    CVT::Column<CVT::kIntValue>(6, "hrSWRunType", CVT::kInteger, &DHrSWRunTable::OnGet_HrSWRunType),
    CVT::Column<CVT::kIntValue>(7, "hrSWRunStatus", CVT::kInteger, &DHrSWRunTable::OnGet_HrSWRunStatus,
                                &DHrSWRunTable::OnSet_HrSWRunStatus),
    {},
};

const CVT::BConstraintEntry DHrSWRunTable::s_sonstraintEntries[] = {
    {CVT::kRange, 1, nullptr, 1, 2147483647},
    {CVT::kConvention, 2, DConventions::cszInternationalDisplayString, 0, 64},
    {CVT::kConvention, 4, DConventions::cszInternationalDisplayString, 0, 128},
    {CVT::kConvention, 5, DConventions::cszInternationalDisplayString, 0, 128},
    {CVT::kEnumeration, 6, nullptr, 0, 0},
    {CVT::kEnumValue, 0, "unknown", 1, 0},
    {CVT::kEnumValue, 0, "operatingSystem", 2, 0},
    {CVT::kEnumValue, 0, "deviceDriver", 3, 0},
    {CVT::kEnumValue, 0, "application", 4, 0},
    {CVT::kEnumeration, 7, nullptr, 0, 0},
    {CVT::kEnumValue, 0, "running", 1, 0},
    {CVT::kEnumValue, 0, "runnable", 2, 0},
    {CVT::kEnumValue, 0, "notRunnable", 3, 0},
    {CVT::kEnumValue, 0, "invalid", 4, 0},
    {},
};

const char DHrSWRunTable::s_pszNVSection[] = "hrSWRunTable";

namespace {

constexpr const char* kProc = "/proc";
constexpr unsigned int kInitProcess = 1;
constexpr int kOperatingSystem = 2;
constexpr int kInvalid = 4;
constexpr std::time_t kSecondsBetweenScans = 15;
constexpr unsigned int kNoRequest = 0xFFFFFFFFU;

// These belong to the module, not to a table: a module that is closed and initialised again in one process continues
// from here. The time is as wide as the clock's: with 32 bits, the table would never scan again after 2038.
unsigned int s_lastRequestId = kNoRequest;
std::time_t s_lastScan = 0;

/// A clock that was set back says nothing about how old the last scan is.
bool IsTimeToScan(std::time_t now) { return now < s_lastScan || s_lastScan + kSecondsBetweenScans <= now; }

/// The search for the next row has no status of its own to return; the toolkit turns an exception into genErr.
struct SnapshotLost : std::runtime_error {
    SnapshotLost() : std::runtime_error("the request has lost its snapshot of the processes") {}
};

/// Returns the start time of the process that has this number now; absent when it cannot be read.
std::optional<std::uint64_t> StartTimeNow(unsigned int pid) {
    const int proc = ::open(kProc, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (proc < 0) {
        return std::nullopt;
    }
    ProcessFiles files(proc, pid);
    std::string_view stat;
    const bool isThere = files.Text("stat", stat);
    ::close(proc);
    return isThere ? ParseStartTime(stat) : std::nullopt;
}

/// Returns the hrSWRunStatus of a state letter; `otherwise` when the letter is unknown.
int StatusOf(char state, int otherwise) {
    switch (state) {
        case 'R': return 1;
        case 'T': return 3;
        case 'Z': return kInvalid;
        default: return otherwise;
    }
}

}  // namespace

DHrSWRunTable::DHrSWRunTable(CVT::INonVolatile* store)
    : DTable(store, "HOST-RESOURCES-MIB.hrSWRunTable", "1.3.6.1.2.1.25.4.2") {
    SetSlowCalls([this](CVT::EReading /*call*/, unsigned int requestId, const CVT::BObjectIdentifier& /*name*/) {
        return bIsScanDue(requestId);
    });
}

void DHrSWRunTable::Initialize() {
    s_lastScan = -kSecondsBetweenScans;
    SetActive(1);
}

void DHrSWRunTable::vDeleteAllEntries() { DeleteAllRows(); }

void DHrSWRunTable::vCheckUpDateTable(unsigned int requestId) {
    if (requestId == s_lastRequestId) {
        return;
    }
    s_lastRequestId = requestId;
    m_isLost = false;
    const bool mustNotScan = std::exchange(m_mustNotScan, std::nullopt) == requestId;
    m_snapshots.ForgetEnded();
    if (!m_snapshots.Knows(requestId)) {
        UseRows(m_snapshots.Newest());
        if (const std::time_t now = std::time(nullptr); !mustNotScan && IsTimeToScan(now)) {
            const std::time_t before = std::exchange(s_lastScan, now);
            try {
                vScan();
            } catch (...) {  // no memory: an incomplete table must not pass for the whole one
                s_lastScan = before;
                s_lastRequestId = kNoRequest;
                throw;
            }
        }
        m_snapshots.Keep(requestId);
        return;
    }
    const std::shared_ptr<Rows> seen = m_snapshots.SeenBy(requestId);
    m_isLost = seen == nullptr;
    UseRows(m_isLost ? m_snapshots.Newest() : seen);
}

bool DHrSWRunTable::bIsScanDue(unsigned int requestId) {
    const bool isDue =
        requestId != s_lastRequestId && IsTimeToScan(std::time(nullptr)) && !m_snapshots.Knows(requestId);
    m_mustNotScan = isDue ? std::nullopt : std::optional(requestId);
    return isDue;
}

void DHrSWRunTable::vScan() {
    const DHostDirectory directory = OpenHostDirectory(kProc);
    if (!directory) {
        std::printf("hrSWRunTable opendir() error: %d\n", errno);
        std::fflush(stdout);
        return;
    }
    UseRows(m_snapshots.Begin());
    while (const dirent* const entry = ::readdir(directory.get())) {
        unsigned int pid = 0;
        if (bParsePid(entry->d_name, pid)) {
            vAddProcess(::dirfd(directory.get()), pid);
        }
    }
}

/// Makes the row of a process from its files. One that has already ended gets no row; one that ends meanwhile keeps
/// what was read before.
void DHrSWRunTable::vAddProcess(int procDescriptor, unsigned int pid) {
    ProcessFiles files(procDescriptor, pid);
    std::string_view stat;
    if (!files.Text("stat", stat)) {
        return;
    }
    Entry* const row = CreateNewRow(CVT::BObjectIdentifier(pid));
    if (row == nullptr) {
        return;  // two names in /proc stand for the same number
    }
    const DStatFigures figures = ParseStatLine(FirstLine(stat));
    row->startTime = ParseStartTime(stat);
    row->name.Assign(figures.name);
    row->perfCPU = static_cast<int>(figures.ticks);
    row->status = StatusOf(figures.state, row->status);
    if (pid == kInitProcess) {
        row->type = kOperatingSystem;
    }
    std::string_view line;
    if (files.FirstLine("cmdline", line) && !line.empty()) {
        row->parameters = FormatParameters(line, row->name.View());
    }
    unsigned int pages = 0;
    if (files.FirstLine("statm", line) && bParsePages(line, pages)) {
        row->perfMem = static_cast<int>(pages);
    }
    row->path.Assign(files.Link("cwd"));
}

bool DHrSWRunTable::NextInstanceInColumn(unsigned int requestId, unsigned int column,
                                         const CVT::BObjectIdentifier& index, CVT::BObjectIdentifier& nextIndex) {
    vCheckUpDateTable(requestId);
    if (m_isLost) {
        throw SnapshotLost();
    }
    return DTable::NextInstanceInColumn(requestId, column, index, nextIndex);
}

int DHrSWRunTable::OnGet_HrSWRunIndex(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value) {
    return GetCurrent(index, requestId, &Entry::index, value);
}

int DHrSWRunTable::OnGet_HrSWRunName(const CVT::BObjectIdentifier& index, unsigned int requestId,
                                     CVT::BOctetString& value) {
    return GetCurrent(index, requestId, &Entry::name, value);
}

int DHrSWRunTable::OnGet_HrSWRunID(const CVT::BObjectIdentifier& index, unsigned int requestId,
                                   CVT::BObjectIdentifier& value) {
    unsigned int pid = 0;
    const int status = GetCurrent(index, requestId, &Entry::index, pid);
    if (status == CVT::noError) {
        value.Set(Entry::id);
    }
    return status;
}

int DHrSWRunTable::OnGet_HrSWRunPath(const CVT::BObjectIdentifier& index, unsigned int requestId,
                                     CVT::BOctetString& value) {
    return GetCurrent(index, requestId, &Entry::path, value);
}

int DHrSWRunTable::OnGet_HrSWRunParameters(const CVT::BObjectIdentifier& index, unsigned int requestId,
                                           CVT::BOctetString& value) {
    return GetCurrent(index, requestId, &Entry::parameters, value);
}

int DHrSWRunTable::OnGet_HrSWRunType(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value) {
    return GetCurrent(index, requestId, &Entry::type, value);
}

int DHrSWRunTable::OnGet_HrSWRunStatus(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value) {
    return GetCurrent(index, requestId, &Entry::status, value);
}

int DHrSWRunTable::OnSet_HrSWRunStatus(const CVT::BObjectIdentifier& index, CVT::ESnmpSetOpCode phase,
                                       unsigned int requestId, const int& value, void** undo) {
    if (phase == CVT::ESnmpSetOpCode::CheckAndSave) {
        if (value != kInvalid) {
            return CVT::wrongValue;
        }
        m_snapshots.ForgetEnded();
        m_snapshots.Keep(requestId);  // what is committed is what was checked
    }
    const std::shared_ptr<Rows> seen = m_snapshots.SeenBy(requestId);
    Entry* const row = seen == nullptr ? nullptr : seen->Get(index);
    if (phase == CVT::ESnmpSetOpCode::CheckAndSave && seen == nullptr) {
        return CVT::genErr;
    }
    if (phase == CVT::ESnmpSetOpCode::Commit && row != nullptr && !row->IsSameProcess(StartTimeNow(row->index))) {
        return CVT::commitFailed;
    }
    const int status = i32SetPhase(phase, row == nullptr ? nullptr : &row->status, value, undo, [&] {
        // Arcs are numbers, so a number is the only part of the command that comes from outside. Its outcome shows by
        // itself.
        const std::string command = std::string("kill -9 ") + index.ToString().c_str();
        static_cast<void>(std::system(command.c_str()));
    });
    if (status == CVT::noError && row != nullptr) {
        ShowWritten(*row, index, phase);
    }
    return status;
}

/// Lets the next request see what was written, even if a snapshot was taken between the phases.
void DHrSWRunTable::ShowWritten(const Entry& row, const CVT::BObjectIdentifier& index, CVT::ESnmpSetOpCode phase) {
    if (phase != CVT::ESnmpSetOpCode::Commit && phase != CVT::ESnmpSetOpCode::Undo) {
        return;
    }
    Entry* const newest = m_snapshots.Newest()->Get(index);
    if (newest != nullptr && newest->IsSameProcess(row.startTime)) {
        newest->status = row.status;
    }
}
