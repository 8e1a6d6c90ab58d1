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

bool MakeNode(const char* path, mode_t kind, dev_t device) {
    return ::mknod(path, kind | 0600, device) == 0 && ::chmod(path, 0666) == 0;
}

/// An open file, or none.
class Descriptor {
public:
    explicit Descriptor(const char* path) : m_file(::open(path, O_RDWR | O_CLOEXEC)) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { ::close(m_file); }
    int Get() const { return m_file; }

private:
    const int m_file;
};

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
    const Descriptor control("/dev/loop-control");
    host.Empty("/dev");  // the node must not be visible outside
    std::filesystem::create_directories(kDisk);
    if (!MakeNode("/dev/null", S_IFCHR, makedev(kMemoryMajor, 3)) ||
        !MakeNode("/dev/urandom", S_IFCHR, makedev(kMemoryMajor, 9))) {
        return "this machine does not let us create a device node";
    }
    const Descriptor file(image.c_str());
    for (int tries = 0; tries < 50; ++tries) {
        const int loop = ::ioctl(control.Get(), LOOP_CTL_GET_FREE);
        if (loop < 0) {
            return "this machine has no free loop device";
        }
        m_device = makedev(kLoopMajor, static_cast<unsigned int>(loop));
        ::unlink(kNode);
        if (!MakeNode(kNode, S_IFBLK, m_device)) {
            break;
        }
        const Descriptor device(kNode);
        loop_info64 info{};
        info.lo_flags = LO_FLAGS_AUTOCLEAR;  // with its last user: this process, and then the mount
        if (::ioctl(device.Get(), LOOP_SET_FD, file.Get()) == 0) {
            if (::ioctl(device.Get(), LOOP_SET_STATUS64, &info) == 0 &&
                ::mount(kNode, m_directory.c_str(), "ext4", 0, nullptr) == 0) {
                return "";
            }
            break;
        }
        if (errno != EBUSY) {  // another process may have been quicker
            break;
        }
    }
    return std::string("this machine cannot mount an image: ") + std::strerror(errno);
}
