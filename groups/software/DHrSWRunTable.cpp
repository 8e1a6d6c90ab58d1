#include "groups/software/DHrSWRunTable.h"

#include <dirent.h>
#include <sys/types.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "CVT/BRequest.h"
#include "groups/common/DConventions.h"
#include "groups/common/HostFile.h"
#include "groups/common/SetPhases.h"
#include "groups/software/ProcessFiles.h"
#include "groups/software/ProcessLines.h"

const CVT::BObjectIdentifier DHrSWRunEntry::s_noId{CVT::BString("0.0")};

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

// Of the module, not of a table: a module that is closed and initialised again in one process goes on from here. The time
// has the clock's own width: one of 32 bits would never let the table scan again after 2038.
unsigned int s_lastRequestId = 0xFFFFFFFFU;
std::time_t s_lastScan = 0;

/// hrSWRunStatus of a state letter; `otherwise` when it stands for none.
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
    : DTable(store, "HOST-RESOURCES-MIB.hrSWRunTable", "1.3.6.1.2.1.25.4.2") {}

void DHrSWRunTable::Initialize() {
    s_lastScan = -kSecondsBetweenScans;
    SetActive(1);
}

void DHrSWRunTable::vDeleteAllEntries() { DeleteAllRows(); }

/// Also remembers who asks, as one who sees the present snapshot or the one about to be taken.
bool DHrSWRunTable::bIsTimeToScan(unsigned int requestId) {
    if (requestId == s_lastRequestId) {
        return false;
    }
    s_lastRequestId = requestId;
    std::erase_if(m_readers, [](unsigned int reader) { return !CVT::BRequest::IsLive(reader); });
    const bool inUse = !m_readers.empty();
    if (CVT::BRequest::IsLive(requestId) &&
        std::find(m_readers.begin(), m_readers.end(), requestId) == m_readers.end()) {
        m_readers.push_back(requestId);
    }
    const std::time_t now = std::time(nullptr);
    if (inUse || s_lastScan + kSecondsBetweenScans > now) {
        return false;
    }
    s_lastScan = now;
    return true;
}

void DHrSWRunTable::vCheckUpDateTable(unsigned int requestId) {
    if (!bIsTimeToScan(requestId)) {
        return;
    }
    const DHostDirectory directory = OpenHostDirectory(kProc);
    if (!directory) {
        std::printf("hrSWRunTable opendir() error: %d\n", errno);
        std::fflush(stdout);
        return;
    }
    vDeleteAllEntries();
    while (const dirent* const entry = ::readdir(directory.get())) {
        unsigned int pid = 0;
        if (bParsePid(entry->d_name, pid)) {
            vAddProcess(::dirfd(directory.get()), pid);
        }
    }
}

/// Makes the row of a process from its files. One that has ended since has no row; one that ends meanwhile keeps what was
/// read before.
void DHrSWRunTable::vAddProcess(int procDescriptor, unsigned int pid) {
    ProcessFiles files(procDescriptor, pid);
    std::string_view line;
    if (!files.FirstLine("stat", line)) {
        return;
    }
    Entry* const row = CreateNewRow(CVT::BObjectIdentifier(pid));
    if (row == nullptr) {
        return;  // two names in /proc stand for the same number
    }
    const DStatFigures figures = ParseStatLine(line);
    row->name.Assign(figures.name);
    row->perfCPU = static_cast<int>(figures.ticks);
    row->status = StatusOf(figures.state, row->status);
    if (pid == kInitProcess) {
        row->type = kOperatingSystem;
    }
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
    return GetCurrent(index, requestId, &Entry::id, value);
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
                                       unsigned int /*requestId*/, const int& value, void** undo) {
    if (phase == CVT::ESnmpSetOpCode::CheckAndSave && value != kInvalid) {
        return CVT::wrongValue;
    }
    return i32SetPhase(phase, FieldOf(index, &Entry::status), value, undo, [&] {
        // Arcs are numbers, so nothing of the command comes from outside but a number. Its outcome shows by itself.
        const std::string command = std::string("kill -9 ") + index.ToString().c_str();
        static_cast<void>(std::system(command.c_str()));
    });
}
