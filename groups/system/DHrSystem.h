#pragma once

#include "groups/common/DGroup.h"

/// The scalars of hrSystem: the uptime of the host, its clock, the device and parameters of its boot, its users and its
/// number of processes. Every get reads the host again, except for the initial load device, which is kept once found.
/// No get fails: a value that cannot be read stays as it was. Everything is called under the request lock.
class DHrSystem final : public DScalarGroup {
public:
    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];
    static const char s_pszNVSection[];

    explicit DHrSystem(CVT::INonVolatile* store);

    void Initialize() override;
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }

    /// Hundredths of a second, from /proc/uptime.
    int OnGet_HrSystemUptime(unsigned int requestId, unsigned int& value);
    /// Local time, always 11 octets.
    int OnGet_HrSystemDate(unsigned int requestId, CVT::BOctetString& value);
    /// Sets the host's clock with the shell's date command, to the minute: seconds are not applied. A value of 11
    /// octets is converted to UTC in its hours and minutes alone: the day stays, and an hour below 0 is not corrected.
    /// The result of the command is not checked, and an undo does not set the clock back.
    int OnSet_HrSystemDate(CVT::ESnmpSetOpCode phase, unsigned int requestId, const CVT::BOctetString& value,
                           void** undo);
    /// The position, from 1, of the first disk in hrDeviceTable. -1 while discovery runs, and when there is no disk.
    int OnGet_HrSystemInitialLoadDevice(unsigned int requestId, int& value);
    /// The first 1,023 octets of /proc/cmdline, its line feed included.
    int OnGet_HrSystemInitialLoadParameters(unsigned int requestId, CVT::BOctetString& value);
    /// The number of user processes in utmp; only those read so far when another process keeps it locked.
    int OnGet_HrSystemNumUsers(unsigned int requestId, unsigned int& value);
    /// The field `procs` of sysinfo(2), which includes threads and has 16 bits.
    int OnGet_HrSystemProcesses(unsigned int requestId, unsigned int& value);
    /// 0: no limit is reported.
    int OnGet_HrSystemMaxProcesses(unsigned int requestId, int& value);

private:
    unsigned int m_uptime = 0;
    CVT::BOctetString m_date;
    int m_initialLoadDevice = -1;
    CVT::BOctetString m_initialLoadParameters;
    unsigned int m_numUsers = 0;
    unsigned int m_processes = 0;
    int m_maxProcesses = 0;
};
