#include "tests/support/MountedPartition.h"

#include <fcntl.h>
#include <linux/loop.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace {

constexpr unsigned int kMemoryMajor = 1;
constexpr unsigned int kLoopMajor = 7;

/// The number of a loop device that nobody uses; -1 when there is none.
int FreeLoop() {
    const int control = ::open("/dev/loop-control", O_RDWR | O_CLOEXEC);
    const int number = control < 0 ? -1 : ::ioctl(control, LOOP_CTL_GET_FREE);
    ::close(control);
    return number;
}

bool MakeNode(const char* path, mode_t kind, dev_t device) {
    return ::mknod(path, kind | 0600, device) == 0 && ::chmod(path, 0666) == 0;
}

}  // namespace

MountedPartition::MountedPartition(MadeUpHost& host) : m_directory(host.Directory() + "/disk") {
    std::filesystem::create_directory(m_directory);
    m_missing = Mount(host);
}

MountedPartition::~MountedPartition() {
    if (m_missing.empty()) {
        ::umount2(m_directory.c_str(), MNT_DETACH);
    }
}

std::string MountedPartition::Mount(MadeUpHost& host) {
    const std::string image = host.Directory() + "/image";
    std::ofstream(image).close();
    std::filesystem::resize_file(image, kSize);
    if (std::system(("mkfs.ext4 -q -F " + image + " >/dev/null 2>&1").c_str()) != 0) {
        return "there is no mkfs.ext4";
    }
    const int loop = FreeLoop();
    if (loop < 0) {
        return "this machine gives no loop device";
    }
    m_device = makedev(kLoopMajor, static_cast<unsigned int>(loop));
    host.Empty("/dev");  // the node is not to be seen outside
    std::filesystem::create_directories(kDisk);
    if (!MakeNode(kNode, S_IFBLK, m_device) || !MakeNode("/dev/null", S_IFCHR, makedev(kMemoryMajor, 3)) ||
        !MakeNode("/dev/urandom", S_IFCHR, makedev(kMemoryMajor, 9))) {
        return "this machine lets us make no device node";
    }
    const int device = ::open(kNode, O_RDWR | O_CLOEXEC);
    const int file = ::open(image.c_str(), O_RDWR | O_CLOEXEC);
    loop_info64 info{};
    info.lo_flags = LO_FLAGS_AUTOCLEAR;  // with the last that uses it: this process, and then the mount
    const bool attached =
        device >= 0 && ::ioctl(device, LOOP_SET_FD, file) == 0 && ::ioctl(device, LOOP_SET_STATUS64, &info) == 0;
    const bool mounted = attached && ::mount(kNode, m_directory.c_str(), "ext4", 0, nullptr) == 0;
    const std::string error = std::strerror(errno);
    ::close(file);
    ::close(device);
    return mounted ? "" : "this machine mounts no image: " + error;
}
