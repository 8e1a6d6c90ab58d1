#include "agent/cvtagentd/process/Users.h"

#include <pwd.h>
#include <unistd.h>

#include <vector>

#include "agent/cvtagentd/process/StartError.h"

namespace cvtagentd {
namespace {

constexpr std::size_t kEntrySize = 65536;

}  // namespace

User Users::Named(const std::string& name) {
    std::vector<char> buffer(kEntrySize);
    passwd entry{};
    passwd* found = nullptr;
    if (::getpwnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) {
        throw ConfigError("this host has no user " + name + "; name an existing one, or create it (useradd --system " +
                          name + ")");
    }
    return {found->pw_name, found->pw_uid, found->pw_gid, found->pw_dir};
}

User Users::WithId(uid_t uid) {
    std::vector<char> buffer(kEntrySize);
    passwd entry{};
    passwd* found = nullptr;
    if (::getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) {
        return {{}, uid, ::getgid(), "/"};
    }
    return {found->pw_name, found->pw_uid, found->pw_gid, found->pw_dir};
}

}  // namespace cvtagentd
