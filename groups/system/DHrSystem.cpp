#include "groups/system/DHrSystem.h"

#include <fcntl.h>
#include <sys/sysinfo.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "CVT/TextualConventions.h"
#include "groups/common/DConventions.h"
#include "groups/common/DateAndTime.h"
#include "groups/common/HostFile.h"
#include "groups/common/SetPhases.h"
#include "groups/devices/DHrDeviceTable.h"
#include "groups/system/ClockCommand.h"
#include "groups/system/UserRecords.h"
#include "module/DCVHost.h"
#include "module/EntryPoints.h"

namespace {

constexpr unsigned int kNumUsers = 5;

}  // namespace

const CVT::BRqHndlrEntry DHrSystem::s_rqhndlrEntries[] = {
    CVT::Column<CVT::kUnsignedValue>(1, "hrSystemUptime", CVT::kTimeTicks, &DHrSystem::OnGet_HrSystemUptime),
    CVT::Column<CVT::kOctetStringValue>(2, "hrSystemDate", CVT::kOctetString, &DHrSystem::OnGet_HrSystemDate,
                                        &DHrSystem::OnSet_HrSystemDate),
    CVT::Column<CVT::kIntValue>(3, "hrSystemInitialLoadDevice", CVT::kInteger,
                                &DHrSystem::OnGet_HrSystemInitialLoadDevice),
    CVT::Column<CVT::kOctetStringValue>(4, "hrSystemInitialLoadParameters", CVT::kOctetString,
                                        &DHrSystem::OnGet_HrSystemInitialLoadParameters),
    CVT::Column<CVT::kUnsignedValue>(kNumUsers, "hrSystemNumUsers", CVT::kGauge32, &DHrSystem::OnGet_HrSystemNumUsers),
    CVT::Column<CVT::kUnsignedValue>(6, "hrSystemProcesses", CVT::kGauge32, &DHrSystem::OnGet_HrSystemProcesses),
    CVT::Column<CVT::kIntValue>(7, "hrSystemMaxProcesses", CVT::kInteger, &DHrSystem::OnGet_HrSystemMaxProcesses),
    {},
};

const CVT::BConstraintEntry DHrSystem::s_sonstraintEntries[] = {
    {CVT::kConvention, 2, CVT::cszDateAndTime, 0, 0},
    {CVT::kRange, 3, nullptr, 1, 2147483647},
    {CVT::kConvention, 4, DConventions::cszInternationalDisplayString, 0, 128},
    {CVT::kRange, 7, nullptr, 0, 2147483647},
    {},
};

const char DHrSystem::s_pszNVSection[] = "hrSystem";

namespace {

constexpr int kUnknownDevice = -1;

/// Every manager polls this file, so it is read without a stream: one open, one read and one close.
bool ReadUptime(long& seconds, long& hundredths) {
    const int file = ::open("/proc/uptime", O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return false;
    }
    std::array<char, 128> text{};
    const ssize_t count = ::read(file, text.data(), text.size() - 1);
    ::close(file);
    return count > 0 && std::sscanf(text.data(), "%ld.%ld", &seconds, &hundredths) == 2;
}

}  // namespace

DHrSystem::DHrSystem(CVT::INonVolatile* store)
    : DScalarGroup(store, "HOST-RESOURCES-MIB.hrSystem", "1.3.6.1.2.1.25.1") {
    SetSlowCalls([this](CVT::EReading call, unsigned int /*requestId*/, const CVT::BObjectIdentifier& name) {
        const unsigned int column = Oid().NumArcs();
        return call == CVT::EReading::Get && name.NumArcs() > column && name[column] == kNumUsers &&
               bAreUserRecordsLocked();
    });
}

void DHrSystem::Initialize() {
    SetActive(1);
    m_initialLoadDevice = kUnknownDevice;
    m_maxProcesses = 0;
}

int DHrSystem::OnGet_HrSystemUptime(unsigned int /*requestId*/, unsigned int& value) {
    long seconds = 0;
    long hundredths = 0;
    if (ReadUptime(seconds, hundredths)) {
        m_uptime = static_cast<unsigned int>(seconds) * 100U + static_cast<unsigned int>(hundredths);
    }
    value = m_uptime;
    return CVT::noError;
}

int DHrSystem::OnGet_HrSystemDate(unsigned int /*requestId*/, CVT::BOctetString& value) {
    long now = std::time(nullptr);
    unsigned int length = 0;
    std::array<unsigned char, 11> octets{};
    vFormat_DateAndTime(&now, &length, octets.data());
    m_date.Assign(std::string_view(reinterpret_cast<const char*>(octets.data()), octets.size()));
    value = m_date;
    return CVT::noError;
}

int DHrSystem::OnSet_HrSystemDate(CVT::ESnmpSetOpCode phase, unsigned int /*requestId*/, const CVT::BOctetString& value,
                                  void** undo) {
    return i32SetPhase(phase, &m_date, value, undo,
                       [&] { static_cast<void>(std::system(ClockCommand(value).c_str())); });
}

int DHrSystem::OnGet_HrSystemInitialLoadDevice(unsigned int /*requestId*/, int& value) {
    value = m_initialLoadDevice;
    if (m_initialLoadDevice != kUnknownDevice || gpCVHost == nullptr) {
        return CVT::noError;
    }
    if (gpCVHost->IsSystemOnly()) {
        m_initialLoadDevice = 1;
    } else if (DHrDeviceTable* const devices = gpCVHost->DeviceTable(); devices == nullptr) {
        m_initialLoadDevice = kUnknownDevice;
    } else if (devices->AreRowsFinal()) {
        m_initialLoadDevice = devices->FirstPlaceOfType(kDiskStorageDevice);
    } else if (devices->RequestLock().Try()) {
        // Only tries the lock: discovery holds it as long as it runs, and this group must not wait for that.
        m_initialLoadDevice = devices->FirstPlaceOfType(kDiskStorageDevice);
        devices->RequestLock().Done();
    }
    value = m_initialLoadDevice;
    return CVT::noError;
}

int DHrSystem::OnGet_HrSystemInitialLoadParameters(unsigned int /*requestId*/, CVT::BOctetString& value) {
    if (const DHostFile file = OpenHostFile("/proc/cmdline")) {
        std::array<char, 1024> line{};
        if (ReadLine(file.get(), line)) {
            m_initialLoadParameters.Assign(line.data(), line.data() + std::strlen(line.data()));
        }
    }
    value = m_initialLoadParameters;
    return CVT::noError;
}

int DHrSystem::OnGet_HrSystemNumUsers(unsigned int /*requestId*/, unsigned int& value) {
    m_numUsers = ui32CountUsers();
    value = m_numUsers;
    return CVT::noError;
}

int DHrSystem::OnGet_HrSystemProcesses(unsigned int /*requestId*/, unsigned int& value) {
    struct sysinfo host {};
    ::sysinfo(&host);
    m_processes = host.procs;
    value = m_processes;
    return CVT::noError;
}

int DHrSystem::OnGet_HrSystemMaxProcesses(unsigned int /*requestId*/, int& value) {
    m_maxProcesses = 0;
    value = m_maxProcesses;
    return CVT::noError;
}
