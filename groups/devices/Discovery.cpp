#include "groups/devices/Discovery.h"

#include <sys/statfs.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "groups/common/HostFile.h"
#include "groups/common/MibValues.h"
#include "groups/devices/DHrDiskStorageTable.h"
#include "groups/devices/FileSystemSetup.h"
#include "groups/devices/MountDescription.h"
#include "groups/devices/MountListing.h"
#include "groups/devices/TextFragments.h"
#include "groups/hardware/DHrNetworkTable.h"
#include "groups/hardware/DHrPrinterTable.h"
#include "groups/hardware/DHrProcessorTable.h"
#include "groups/storage/DHrFSTable.h"
#include "groups/storage/DiskStorageType.h"
#include "groups/storage/MountFilter.h"
#include "module/DCVHost.h"
#include "module/EntryPoints.h"

unsigned int nextDeviceIndex = 1;
unsigned int ifIndex = 1;

namespace {

constexpr int kRunning = 2;
constexpr std::size_t kLabelWidth = 12;  // of a line of /proc/cpuinfo, including tab, colon and blank
constexpr std::size_t kInputLabel = 7;   // "input: "
constexpr int kParallelPorts = 8;
constexpr long kNfsMagic = 0x6969;

using MountLine = std::array<char, 4096>;

/// Creates the row that belongs to a device in another table, and fills it, under that table's lock.
template <class Table, class Fill>
void AddCompanion(Table* table, unsigned int index, Fill fill) {
    if (table == nullptr) {
        return;
    }
    const CVT::TMutex::Guard guard(table->RequestLock());
    if (typename Table::Entry* const row = table->CreateNewRow(CVT::BObjectIdentifier(index))) {
        fill(*row);
    }
}

template <class Table>
void AddCompanion(Table* table, unsigned int index) {
    AddCompanion(table, index, [](typename Table::Entry&) {});
}

/// In units of 1,024 octets. Blocks, their size and the product are cut to 32 bits, so file systems of 4 GiB wrap.
int CapacityOf(const struct statfs& space) {
    const unsigned int octets = static_cast<unsigned int>(space.f_blocks) * static_cast<unsigned int>(space.f_bsize);
    return static_cast<int>(octets >> 10);
}

/// Whether any line of the file holds the text.
bool HoldsText(std::FILE* file, const std::string& text) {
    std::array<char, 512> line{};
    while (ReadLine(file, line)) {
        if (std::strstr(line.data(), text.c_str()) != nullptr) {
            return true;
        }
    }
    return false;
}

}  // namespace

void Discovery::Run() {
    if (gpCVHost == nullptr) {
        return;  // without a module there are no tables to fill
    }
    vRemoveStaleTmpFiles();
    Processors();
    NetworkInterfaces();
    Printers();
    Disks();
    SerialPorts();
    ParallelPorts();
    KernelLog();
}

DHrDeviceEntry* Discovery::AddDevice(EDeviceType type, const CVT::BString& description) {
    DHrDeviceEntry* const row = m_devices.CreateNewRow(CVT::BObjectIdentifier(nextDeviceIndex));
    ++nextDeviceIndex;  // skip an index in use: it must not keep every later device out
    if (row != nullptr) {
        row->type.Append(type);
        row->description = description;
    }
    return row;
}

void Discovery::Processors() {
    const DHostFile file = OpenHostFile("/proc/cpuinfo");
    if (!file) {
        return;
    }
    int ordinal = 1;
    while (ReadLine(file.get(), m_line)) {
        if (BeginsWith(m_line, "processor")) {
            if (ReadModel(file.get())) {
                TakeModel();
            }
        } else if (BeginsWith(m_line, "Processor")) {
            TakeModel();
        } else {
            continue;
        }
        Processor(ordinal);
        ++ordinal;
    }
}

/// Reads on to the fifth line of a processor's block, the model. Returns false when the file ends before it.
bool Discovery::ReadModel(std::FILE* cpuinfo) {
    for (int further = 0; further < 4; ++further) {
        if (!ReadLine(cpuinfo, m_line)) {
            return false;
        }
    }
    return true;
}

/// Takes the text after the label of the line. When the line is shorter than a label there is no such text, and the
/// model text stays unchanged.
void Discovery::TakeModel() {
    char* const line = m_line.data();
    pcFormatCPUData(line + std::min(std::strlen(line), kLabelWidth), m_model.data());
}

void Discovery::Processor(int ordinal) {
    CVT::BString description(m_model.data());
    description.Append((" #" + std::to_string(ordinal)).c_str());
    if (m_devices.bRowExists(description)) {
        return;
    }
    const unsigned int index = nextDeviceIndex;
    if (DHrDeviceEntry* const row = AddDevice(kProcessorDevice, description)) {
        row->status = kRunning;
        AddCompanion(gpCVHost->ProcessorTable(), index);
    }
}

bool Discovery::TakeNameBeforeColon() {
    char* const colon = std::strchr(m_line.data(), ':');
    if (colon == nullptr) {
        return false;
    }
    *colon = '\0';
    static_assert(kLine == 512, "must match the width below");
    std::sscanf(m_line.data(), "%511s", m_name.data());
    return true;
}

void Discovery::NetworkInterfaces() {
    const DHostFile file = OpenHostFile("/proc/net/dev");
    while (file && ReadLine(file.get(), m_line)) {
        if (!TakeNameBeforeColon() || m_devices.bRowExists(m_name.data())) {
            continue;
        }
        const unsigned int index = nextDeviceIndex;
        if (AddDevice(kNetworkDevice, m_name.data()) != nullptr) {
            AddCompanion(gpCVHost->NetworkTable(), index,
                         [](DHrNetworkTable::Entry& row) { row.ifIndex = static_cast<int>(ifIndex++); });
        }
    }
}

void Discovery::Printers() {
    const DHostFile file = OpenHostFile("/etc/printcap");
    while (file && ReadLine(file.get(), m_line)) {
        if (!TakeNameBeforeColon() || m_devices.bRowExists(m_name.data())) {
            continue;
        }
        const unsigned int index = nextDeviceIndex;
        if (AddDevice(kPrinterDevice, m_name.data()) != nullptr) {
            AddCompanion(gpCVHost->PrinterTable(), index);
        }
    }
}

void Discovery::Disks() {
    const DHostFile listing(fpOpenMountTable(m_temporary.data()));
    if (!listing) {
        return;
    }
    MountLine line{};
    mntent entry{};
    while (::getmntent_r(listing.get(), &entry, line.data(), static_cast<int>(line.size())) != nullptr) {
        MountEntry(entry);
    }
}

void Discovery::MountEntry(const mntent& entry) {
    if (bIgnore(&entry)) {
        RemoteFileSystem(entry);
    } else if (!m_devices.bRowExists(MountDescription(entry).c_str())) {
        Disk(entry);
    }
}

void Discovery::RemoteFileSystem(const mntent& entry) {
    // The server of a remote file system is not asked: the mount type alone determines hrFSType.
    struct statfs kind {};
    if (std::strcmp(entry.mnt_type, "nfs") == 0) {
        kind.f_type = kNfsMagic;
    } else if (std::strcmp(entry.mnt_type, "smbfs") != 0) {
        return;
    }
    if (m_devices.bRowExists(entry.mnt_fsname)) {
        return;
    }
    int ignored = 0;
    if (DHrFSEntry* const row = ui32SetupFSInfo(entry.mnt_fsname, &entry, &kind, &ignored)) {
        const CVT::TMutex::Guard guard(gpCVHost->FSTable()->RequestLock());
        row->remoteMountPoint.Assign(entry.mnt_fsname);
        row->access = kReadOnly;
    }
}

void Discovery::Disk(const mntent& entry) {
    const std::string description = MountDescription(entry);
    const unsigned int index = nextDeviceIndex;
    DHrDeviceEntry* const device = AddDevice(kDiskStorageDevice, description.c_str());
    if (device == nullptr) {
        return;
    }
    const unsigned int media = ui32GetDiskStorageType(&entry);
    std::optional<struct statfs> space;
    if (media == kHardDisk) {
        device->status = kRunning;
        space = SpaceOf(entry);
    }
    AddCompanion(gpCVHost->DiskStorageTable(), index, [&](DHrDiskStorageTable::Entry& row) {
        row.mountDirectory = entry.mnt_dir;
        if (media != kHardDisk) {
            row.media = static_cast<int>(media);
            row.removable = kTrue;
        } else if (space) {
            row.capacity = CapacityOf(*space);
        }
        if (std::strcmp(entry.mnt_opts, "ro") == 0) {
            row.access = kReadOnly;
        }
    });
    int ignored = 0;
    if (media == kFloppyDisk) {
        ui32SetupFSInfo(description.c_str(), &entry, nullptr, &ignored);
    } else if (media == kOpticalDiskRom) {
        ui32SetupFSInfo(entry.mnt_fsname, &entry, nullptr, &ignored);
    } else if (space) {
        vSetupPartitionAndFSInfo(&entry, index);
    }
}

void Discovery::SerialPorts() {
    const DHostDirectory directory = OpenHostDirectory("/dev/cua");
    while (const dirent* const entry = directory ? ::readdir(directory.get()) : nullptr) {
        if (entry->d_name[0] == '.') {
            continue;
        }
        ++m_serialPorts;
        long long number = 0;
        if (std::sscanf(entry->d_name, "%lld", &number) != 1) {
            continue;
        }
        const std::string description = "/dev/ttyS" + std::to_string(static_cast<int>(number));
        if (!m_devices.bRowExists(description.c_str())) {
            AddDevice(kSerialPortDevice, description.c_str());
        }
    }
}

void Discovery::ParallelPorts() {
    for (int port = 0; port < kParallelPorts; ++port) {
        const std::string name = "parport" + std::to_string(port);
        const DHostFile file = OpenHostFile("/proc/ioports");
        if (!file) {
            continue;
        }
        if (!HoldsText(file.get(), name)) {
            break;  // they are numbered without gaps
        }
        if (!m_devices.bRowExists(name.c_str())) {
            AddDevice(kParallelPortDevice, name.c_str());
        }
    }
}

void Discovery::KernelLog() {
    vRemoveTmpFile(m_temporary.data());
    const DHostFile log(fpOpenCommandOutput("dmesg > %s", m_temporary.data()));
    while (log && ReadLine(log.get(), m_line)) {
        if (BeginsWith(m_line, "input:")) {
            const char* const device = m_line.data() + kInputLabel;
            // One line may name both, and then creates two devices.
            if (std::strstr(m_line.data(), "ouse") != nullptr) {
                AddLogged(kPointingDevice, device);
            }
            if (std::strstr(m_line.data(), "eyboard") != nullptr) {
                AddLogged(kKeyboardDevice, device);
            }
        } else if (BeginsWith(m_line, "ttyS") && m_serialPorts == 0) {
            AddLogged(kSerialPortDevice, m_line.data());
        }
    }
    vRemoveTmpFile(m_temporary.data());
}

/// `text` goes into the table without its line feed, but is compared with it: a line that the log repeats therefore
/// creates a second row.
void Discovery::AddLogged(EDeviceType type, const std::string& text) {
    if (!m_devices.bRowExists(text.c_str())) {
        std::string description = text;
        trimLF(description.data());
        AddDevice(type, description.c_str());
    }
}
