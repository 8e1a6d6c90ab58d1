#pragma once

#include <sys/types.h>

#include <string>

namespace cvtagentd {

/// A user of this host. A plain value.
struct User {
    std::string name;  ///< empty when the host has no name for the number
    uid_t uid = 0;
    gid_t gid = 0;  ///< the primary group
    std::string home = "/";

    /// For messages: the name, or else the number.
    std::string Label() const { return name.empty() ? std::to_string(uid) : name; }
};

/// The host's list of users.
namespace Users {

/// Throws StartError when there is no such user.
User Named(const std::string& name);

/// A number without a name is a user, too; its group is then that of this process.
User WithId(uid_t uid);

}  // namespace Users

}  // namespace cvtagentd
