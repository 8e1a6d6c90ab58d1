// The lines of the mount table, and what is determined from an entry by its text alone.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "groups/common/HostFile.h"
#include "groups/storage/DiskStorageType.h"
#include "groups/storage/MountFilter.h"
#include "groups/storage/MountKinds.h"
#include "groups/storage/MountTableFile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    text += '\0';
    const DHostFile file(::fmemopen(text.data(), text.size(), "r"));
    DMountsThatMayHang hanging;
    for (DMountEntry& entry : ReadMountTable(file.get())) {
        const mntent record = entry.Record();
        const unsigned int type = ui32GetDiskStorageType(&record);
        if (type < kHardDisk || type > kOpticalDiskRom || (entry.type == "nfs" && !bIgnore(&record))) {
            std::abort();
        }
        hanging.Add(entry.directory, entry.type);
        if (hanging.AreOnTheWayTo(entry.directory) < bKindMayHang(entry.type)) {
            std::abort();
        }
    }
    return 0;
}
