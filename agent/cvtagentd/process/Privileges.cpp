#include "agent/cvtagentd/process/Privileges.h"

#include <grp.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <system_error>

#include "agent/cvtagentd/process/StartError.h"

namespace cvtagentd {
namespace {

struct Capability {
    int number;
    const char* name;
    const char* without;
};

constexpr std::array kWanted = {
    Capability{CAP_KILL, "CAP_KILL", "other users' processes cannot be ended"},
    Capability{CAP_SYS_PTRACE, "CAP_SYS_PTRACE", "other users' working folders cannot be seen"},
    Capability{CAP_SYS_TIME, "CAP_SYS_TIME", "the clock cannot be set"},
    Capability{CAP_SYSLOG, "CAP_SYSLOG", "the kernel log cannot be read where the host restricts that"},
};

std::uint64_t Bit(int number) { return std::uint64_t{1} << static_cast<unsigned int>(number); }

std::uint64_t WantedBits() {
    std::uint64_t bits = 0;
    for (const Capability& capability : kWanted) {
        bits |= Bit(capability.number);
    }
    return bits;
}

[[noreturn]] void Fail(const User& user, const char* what) {
    throw StartError("cannot run as the user " + user.Label() + ": " + what + ": " +
                     std::generic_category().message(errno));
}

/// Two halves, as the kernel wants them.
using Halves = std::array<__user_cap_data_struct, 2>;

bool Permitted(std::uint64_t& bits) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    Halves halves{};
    if (::syscall(SYS_capget, &header, halves.data()) != 0) {
        return false;
    }
    bits = halves[0].permitted | (std::uint64_t{halves[1].permitted} << 32U);
    return true;
}

/// An ambient capability has to be inheritable.
bool SetAll(std::uint64_t bits, std::uint64_t alsoEffective = 0) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    const auto low = static_cast<std::uint32_t>(bits);
    const auto high = static_cast<std::uint32_t>(bits >> 32U);
    const std::uint64_t effective = bits | alsoEffective;
    const auto effectiveLow = static_cast<std::uint32_t>(effective);
    const auto effectiveHigh = static_cast<std::uint32_t>(effective >> 32U);
    Halves halves{};
    halves[0] = {effectiveLow, effectiveLow, low};
    halves[1] = {effectiveHigh, effectiveHigh, high};
    return ::syscall(SYS_capset, &header, halves.data()) == 0;
}

/// Only who may set capabilities can do it, and only he needs to: what this process starts gains none in any case.
void NarrowBoundingSet() {
    for (int number = 0; ::prctl(PR_CAPBSET_READ, number, 0, 0, 0) >= 0; ++number) {
        if ((WantedBits() & Bit(number)) == 0) {
            ::prctl(PR_CAPBSET_DROP, number, 0, 0, 0);
        }
    }
}

bool Is(const User& user) {
    uid_t real = 0;
    uid_t effective = 0;
    uid_t saved = 0;
    ::getresuid(&real, &effective, &saved);
    return real == user.uid && effective == user.uid && saved == user.uid;
}

/// Of somebody who is that user already, too: whoever started it may have been in root's.
void SetGroups(const User& user) {
    const bool grouped =
        user.name.empty() ? ::setgroups(1, &user.gid) == 0 : ::initgroups(user.name.c_str(), user.gid) == 0;
    if (!grouped) {
        Fail(user, "setting its groups");
    }
    if (::setresgid(user.gid, user.gid, user.gid) != 0) {
        Fail(user, "setting its group");
    }
}

void ChangeUser(const User& user) {
    if (::prctl(PR_SET_KEEPCAPS, 1, 0, 0, 0) != 0 || ::setresuid(user.uid, user.uid, user.uid) != 0) {
        Fail(user, "setting the user");
    }
}

}  // namespace

void Privileges::CheckMayBecome(const User& user) {
    if (!Is(user) && ::geteuid() != 0) {
        throw StartError("only root can run the agent as the user " + user.Label() + "; start it as root, or as " +
                         user.Label());
    }
}

void Privileges::Become(const User& user) {
    CheckMayBecome(user);
    NarrowBoundingSet();
    std::uint64_t had = 0;
    const bool known = Permitted(had);
    if (::geteuid() == 0 || (had & Bit(CAP_SETGID)) != 0) {
        SetGroups(user);
    }
    if (::geteuid() == 0) {
        ChangeUser(user);
    }
    const std::uint64_t kept = had & WantedBits();
    if (!known || !SetAll(kept, had & Bit(CAP_NET_BIND_SERVICE)) ||
        ::prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0) != 0) {
        Fail(user, "giving up capabilities");
    }
    for (const Capability& capability : kWanted) {
        if ((kept & Bit(capability.number)) != 0) {
            // Where the system does not allow it, only what is started goes without.
            ::prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_RAISE, capability.number, 0, 0);
        }
    }
    ::prctl(PR_SET_KEEPCAPS, 0, 0, 0, 0);
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || !Is(user)) {
        Fail(user, "giving up privileges");
    }
    ForbidCoreFiles();
}

void Privileges::ForbidCoreFiles() { ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0); }

std::vector<gid_t> Privileges::ForeignGroups(const User& user) {
    std::vector<gid_t> own(NGROUPS_MAX + 1, user.gid);
    int numOwn = user.name.empty() ? 1 : static_cast<int>(own.size());
    if (!user.name.empty() && ::getgrouplist(user.name.c_str(), user.gid, own.data(), &numOwn) < 0) {
        return {};
    }
    own.resize(static_cast<std::size_t>(numOwn));
    std::vector<gid_t> groups(NGROUPS_MAX + 1);
    const int count = ::getgroups(static_cast<int>(groups.size()), groups.data());
    groups.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    groups.push_back(::getegid());
    std::sort(groups.begin(), groups.end());
    groups.erase(std::unique(groups.begin(), groups.end()), groups.end());
    const auto isOwn = [&](gid_t group) { return std::find(own.begin(), own.end(), group) != own.end(); };
    groups.erase(std::remove_if(groups.begin(), groups.end(), isOwn), groups.end());
    return groups;
}

void Privileges::GiveUpPorts() {
    std::uint64_t bits = 0;
    if (!Permitted(bits) || !SetAll(bits & WantedBits())) {
        throw StartError("cannot give up the right to open low ports: " + std::generic_category().message(errno));
    }
}

std::vector<std::string> Privileges::Kept() {
    std::uint64_t bits = 0;
    Permitted(bits);
    std::vector<std::string> names;
    for (const Capability& capability : kWanted) {
        if ((bits & Bit(capability.number)) != 0) {
            names.emplace_back(capability.name);
        }
    }
    return names;
}

std::vector<std::string> Privileges::Missing() {
    std::uint64_t bits = 0;
    Permitted(bits);
    std::vector<std::string> phrases;
    for (const Capability& capability : kWanted) {
        if ((bits & Bit(capability.number)) == 0) {
            phrases.push_back(std::string(capability.without) + " (" + capability.name + ")");
        }
    }
    return phrases;
}

}  // namespace cvtagentd
