#include "tests/support/FuseServer.h"

#include <fcntl.h>
#include <linux/fuse.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <stdexcept>

namespace {

constexpr std::uint32_t kBlockSize = 4096;

fuse_attr_out RootDirectory() {
    fuse_attr_out out{};
    out.attr.ino = FUSE_ROOT_ID;
    out.attr.mode = S_IFDIR | 0755U;
    out.attr.nlink = 2;
    out.attr.blksize = kBlockSize;
    return out;
}

}  // namespace

std::string FuseServer::Missing() {
    std::ifstream known("/proc/filesystems");
    for (std::string word; known >> word;) {
        if (word == "fuse") {
            return ::access("/dev/fuse", R_OK | W_OK) == 0 ? "" : "there is no /dev/fuse";
        }
    }
    return "this kernel has no FUSE";
}

FuseServer::FuseServer(std::string directory) : m_directory(std::move(directory)) {
    m_device = ::open("/dev/fuse", O_RDWR | O_CLOEXEC | O_NONBLOCK);
    m_stop = ::eventfd(0, EFD_CLOEXEC);
    const std::string options =
        "fd=" + std::to_string(m_device) + ",rootmode=40000,user_id=0,group_id=0,subtype=testserver";
    if (m_device < 0 || m_stop < 0 ||
        ::mount("server:/share", m_directory.c_str(), "fuse", MS_NOSUID | MS_NODEV, options.c_str()) != 0) {
        const std::string why = std::strerror(errno);
        ::close(m_stop);
        ::close(m_device);
        throw std::runtime_error("cannot mount with FUSE: " + why);
    }
    m_thread = std::thread([this] { Serve(); });
}

FuseServer::~FuseServer() {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(m_stop, &one, sizeof one);
    m_thread.join();
    ::close(m_device);  // nothing answers any more: pending requests fail
    ::umount2(m_directory.c_str(), MNT_DETACH);
    ::close(m_stop);
}

void FuseServer::FallSilent() {
    const std::lock_guard guard(m_lock);
    m_isSilent = true;
}

void FuseServer::Resume() {
    const std::lock_guard guard(m_lock);
    m_isSilent = false;
    for (const Request& request : m_held) {
        Answer(request);
    }
    m_held.clear();
}

void FuseServer::SetFree(unsigned long blocks) {
    const std::lock_guard guard(m_lock);
    m_free = blocks;
}

int FuseServer::SpaceRequests() const {
    const std::lock_guard guard(m_lock);
    return m_spaceRequests;
}

void FuseServer::Serve() {
    std::vector<char> buffer(FUSE_MIN_READ_BUFFER + 128 * 1024);
    for (;;) {
        pollfd wanted[2] = {{m_device, POLLIN, 0}, {m_stop, POLLIN, 0}};
        if (::poll(wanted, 2, -1) < 0 || wanted[1].revents != 0) {
            return;
        }
        const ssize_t size = ::read(m_device, buffer.data(), buffer.size());
        if (size < static_cast<ssize_t>(sizeof(fuse_in_header))) {
            if (size < 0 && (errno == EINTR || errno == EAGAIN || errno == ENOENT)) {
                continue;
            }
            return;
        }
        fuse_in_header header{};
        std::memcpy(&header, buffer.data(), sizeof header);
        const Request request = {header.opcode, header.unique};
        const std::lock_guard guard(m_lock);
        m_spaceRequests += header.opcode == FUSE_STATFS ? 1 : 0;
        if (m_isSilent) {
            m_held.push_back(request);
        } else {
            Answer(request);
        }
    }
}

void FuseServer::Answer(const Request& request) {
    switch (request.opcode) {
        case FUSE_INIT: {
            fuse_init_out out{};
            out.major = FUSE_KERNEL_VERSION;
            out.minor = 31;
            out.max_write = kBlockSize;
            Reply(request.unique, 0, &out, sizeof out);
            break;
        }
        case FUSE_GETATTR: {
            const fuse_attr_out out = RootDirectory();
            Reply(request.unique, 0, &out, sizeof out);
            break;
        }
        case FUSE_STATFS: {
            fuse_statfs_out out{};
            out.st.blocks = 1000;
            out.st.bfree = m_free;
            out.st.bavail = m_free;
            out.st.bsize = kBlockSize;
            out.st.frsize = kBlockSize;
            out.st.namelen = 255;
            Reply(request.unique, 0, &out, sizeof out);
            break;
        }
        case FUSE_FORGET:
        case FUSE_BATCH_FORGET:
        case FUSE_INTERRUPT: break;  // no answer is expected
        default: Reply(request.unique, -ENOSYS, nullptr, 0);
    }
}

void FuseServer::Reply(std::uint64_t unique, int error, const void* body, std::size_t size) {
    fuse_out_header header{};
    header.len = static_cast<std::uint32_t>(sizeof header + size);
    header.error = error;
    header.unique = unique;
    const iovec parts[2] = {{&header, sizeof header}, {const_cast<void*>(body), size}};
    [[maybe_unused]] const ssize_t written = ::writev(m_device, parts, size == 0 ? 1 : 2);
}
