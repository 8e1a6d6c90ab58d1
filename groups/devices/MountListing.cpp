#include "groups/devices/MountListing.h"

#include <array>
#include <cstring>

#include "groups/common/HostFile.h"
#include "groups/devices/TemporaryFile.h"

namespace {

constexpr const char* kListMounts = "mount | sed -e 's/ on / /' -e 's/ type / /' -e 's/(//' -e 's/)//'  > %s";

}  // namespace

std::FILE* fpOpenMountTable(char* name) {
    vGetTmpName(name);
    return fpOpenCommandOutput(kListMounts, name);
}

int bGetMountTableEntry(const char* key, char* line, unsigned int size) {
    std::array<char, kTmpNameSize> name{};
    const DHostFile listing(fpOpenMountTable(name.data()));
    if (!listing) {
        return 0;
    }
    bool found = false;
    while (!found && std::fgets(line, static_cast<int>(size), listing.get()) != nullptr) {
        found = std::strstr(line, key) != nullptr;
    }
    vRemoveTmpFile(name.data());
    return found ? 1 : 0;
}
