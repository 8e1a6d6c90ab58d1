#include "groups/devices/MountDescription.h"

#include <string_view>

std::string MountDescription(const mntent& entry) {
    constexpr std::string_view kDeviceOption = "dev=/dev";
    constexpr std::size_t kBeforeDevice = 4;  // "dev="
    if (std::string_view(entry.mnt_fsname) != "none") {
        return entry.mnt_fsname;
    }
    const std::string_view options = entry.mnt_opts;
    const std::size_t at = options.find(kDeviceOption);
    if (at == std::string_view::npos) {
        return entry.mnt_dir;
    }
    const std::string_view device = options.substr(at + kBeforeDevice);
    return std::string(device.substr(0, device.find(',')));
}
