#include "groups/storage/MountTableFile.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <poll.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <array>

const char* ETC_MNTTAB = "/etc/mtab";

mntent DMountEntry::Record() { return {device.data(), directory.data(), type.data(), options.data(), 0, 0}; }

std::vector<DMountEntry> ReadMountTable(std::FILE* file) {
    std::vector<DMountEntry> entries;
    std::array<char, 4096> buffer{};
    mntent record{};
    while (::getmntent_r(file, &record, buffer.data(), static_cast<int>(buffer.size())) != nullptr) {
        entries.push_back({record.mnt_fsname, record.mnt_dir, record.mnt_type, record.mnt_opts});
    }
    return entries;
}

bool DMountTableWatch::Open() {
    if (m_file >= 0) {
        return true;
    }
    m_file = ::open(ETC_MNTTAB, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    struct statfs fileSystem {};
    if (m_file >= 0 && (::fstatfs(m_file, &fileSystem) != 0 || fileSystem.f_type != PROC_SUPER_MAGIC)) {
        Close();
    }
    return m_file >= 0;
}

void DMountTableWatch::Close() {
    if (m_file >= 0) {
        ::close(m_file);
        m_file = -1;
    }
}

bool DMountTableWatch::HasNotice() const {
    pollfd watched = {m_file, POLLPRI, 0};  // poll ignores a negative descriptor
    return ::poll(&watched, 1, 0) > 0 && (watched.revents & (POLLPRI | POLLERR)) != 0;
}
