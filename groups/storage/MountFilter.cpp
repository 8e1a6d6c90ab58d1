#include "groups/storage/MountFilter.h"

#include <algorithm>
#include <array>
#include <string_view>

bool bIgnore(const mntent* entry) {
    static constexpr std::array<std::string_view, 7> kIgnored = {"ignore", "swap", "proc",  "tmpfs",
                                                                 "smbfs",  "nfs",  "autofs"};
    const std::string_view type = entry->mnt_type;
    if (std::string_view(entry->mnt_fsname) == "none") {
        return type != "supermount";
    }
    // "dev" anywhere: devpts, devtmpfs, usbdevfs and their like.
    return std::ranges::find(kIgnored, type) != kIgnored.end() || type.find("dev") != std::string_view::npos;
}
