#pragma once

#include <mntent.h>

#include <array>
#include <cstdio>
#include <string>

#include "CVT/BObjectIdentifier.h"
#include "groups/devices/DHrDeviceTable.h"
#include "groups/devices/TemporaryFile.h"

// The indexes that discovery assigns next; FileSystemSetup.h has a third. An index is never reused while the library is
// loaded. Used under the device table's request lock.

extern unsigned int nextDeviceIndex;  ///< hrDeviceIndex, and the index of the device's rows in other tables
extern unsigned int ifIndex;          ///< hrNetworkIfIndex

/// One pass over the host for its devices. It creates the rows of the device table, whose request lock its caller
/// holds, and those of the tables that share its index, each under that table's lock. Every source is optional: one
/// that cannot be read adds nothing, and a line that does not parse is skipped. A candidate with
/// the description of an existing row is skipped too, and takes no index.
class Discovery {
public:
    explicit Discovery(DHrDeviceTable& devices) : m_devices(devices) {}

    void Run();

private:
    static constexpr std::size_t kLine = 512;
    using Line = std::array<char, kLine>;

    void Processors();
    void NetworkInterfaces();
    void Printers();
    void Disks();
    void SerialPorts();
    void ParallelPorts();
    void KernelLog();

    bool ReadModel(std::FILE* cpuinfo);
    void TakeModel();
    void Processor(int ordinal);
    void MountEntry(const mntent& entry);
    void RemoteFileSystem(const mntent& entry);
    void Disk(const mntent& entry);
    void AddLogged(EDeviceType type, const std::string& text);

    /// Creates a row under the next index and uses up that index. Returns null when a row already has the description.
    DHrDeviceEntry* AddDevice(EDeviceType type, const CVT::BString& description);
    /// Takes the word before the first ':' of the line, which is cut there. Without such a word the name stays
    /// unchanged.
    bool TakeNameBeforeColon();

    DHrDeviceTable& m_devices;
    Line m_line{};
    Line m_model{};  // a processor's model text
    Line m_name{};   // an interface's or a printer's name
    int m_serialPorts = 0;
    std::array<char, kTmpNameSize> m_temporary{};
};
