#include "agent/cvtagentd/process/Descriptors.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <charconv>
#include <cstring>

namespace cvtagentd {

void Descriptors::KeepFromChildren() {
    DIR* const listing = ::opendir("/proc/self/fd");
    if (listing == nullptr) {
        return;
    }
    while (const dirent* const entry = ::readdir(listing)) {
        int descriptor = -1;
        std::from_chars(entry->d_name, entry->d_name + std::strlen(entry->d_name), descriptor);
        if (descriptor > STDERR_FILENO) {
            ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
        }
    }
    ::closedir(listing);
}

}  // namespace cvtagentd
