#include "agent/cvtagentd/process/Privileges.h"

#include <grp.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <system_error>

#include "agent/cvtagentd/process/StartError.h"
#include "agent/cvtagentd/process/SystemCallFilter.h"

namespace cvtagentd {
namespace {

struct Capability {
    int number;
    const char* name;
    const char* without;
    bool mustBeAskedFor = false;
};

constexpr std::array kWanted = {
    Capability{CAP_KILL, "CAP_KILL", "other users' processes cannot be ended"},
    Capability{CAP_SYS_PTRACE, "CAP_SYS_PTRACE", "other users' working folders cannot be seen", true},
    Capability{CAP_SYS_TIME, "CAP_SYS_TIME", "the clock cannot be set"},
    Capability{CAP_SYSLOG, "CAP_SYSLOG", "the kernel log cannot be read where the host restricts that"},
};

std::uint64_t Bit(int number) { return std::uint64_t{1} << static_cast<unsigned int>(number); }

/// `asked`: the capabilities that were handed over on purpose.
std::uint64_t WantedBits(std::uint64_t asked) {
    std::uint64_t bits = 0;
    for (const Capability& capability : kWanted) {
        bits |= Bit(capability.number) & (capability.mustBeAskedFor ? asked : ~std::uint64_t{0});
    }
    return bits;
}

[[noreturn]] void Fail(const User& user, const char* what) {
    throw ConfigError("cannot run as the user " + user.Label() + ": " + what + ": " +
                      std::generic_category().message(errno));
}

/// In two halves, as the kernel expects them.
using Halves = std::array<__user_cap_data_struct, 2>;

struct Held {
    std::uint64_t permitted = 0;
    std::uint64_t inheritable = 0;
};

std::uint64_t Whole(std::uint32_t low, std::uint32_t high) { return low | (std::uint64_t{high} << 32U); }

bool Look(Held& held) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    Halves halves{};
    if (::syscall(SYS_capget, &header, halves.data()) != 0) {
        return false;
    }
    held = {Whole(halves[0].permitted, halves[1].permitted), Whole(halves[0].inheritable, halves[1].inheritable)};
    return true;
}

std::uint64_t Permitted() {
    Held held;
    Look(held);
    return held.permitted;
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

/// Only a process that may set capabilities can do this, and only such a process needs to: the programs that this
/// process starts gain none in any case.
void NarrowBoundingSet(std::uint64_t bits) {
    for (int number = 0; ::prctl(PR_CAPBSET_READ, number, 0, 0, 0) >= 0; ++number) {
        if ((bits & Bit(number)) == 0) {
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

/// Also of a process that is that user already: it may have been started in root's groups.
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

std::vector<std::string> PhrasesForMissing(bool mustBeAskedFor) {
    const std::uint64_t bits = Permitted();
    std::vector<std::string> phrases;
    for (const Capability& capability : kWanted) {
        if (capability.mustBeAskedFor == mustBeAskedFor && (bits & Bit(capability.number)) == 0) {
            phrases.push_back(std::string(capability.without) + " (" + capability.name + ")");
        }
    }
    return phrases;
}

}  // namespace

void Privileges::CheckMayBecome(const User& user) {
    if (!Is(user) && ::geteuid() != 0) {
        throw ConfigError("only root can run the agent as the user " + user.Label() + "; start it as root, or as " +
                          user.Label());
    }
}

void Privileges::Become(const User& user) {
    CheckMayBecome(user);
    Held had;
    const bool known = Look(had);
    const std::uint64_t wanted = WantedBits(had.inheritable);
    NarrowBoundingSet(wanted);
    if (::geteuid() == 0 || (had.permitted & Bit(CAP_SETGID)) != 0) {
        SetGroups(user);
    }
    if (::geteuid() == 0) {
        ChangeUser(user);
    }
    const std::uint64_t kept = had.permitted & wanted;
    if (!known || !SetAll(kept, had.permitted & Bit(CAP_NET_BIND_SERVICE)) ||
        ::prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0) != 0) {
        Fail(user, "giving up capabilities");
    }
    for (const Capability& capability : kWanted) {
        if ((kept & Bit(capability.number)) != 0) {
            // Where the system does not allow this, at least the programs that it starts go without.
            ::prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_RAISE, capability.number, 0, 0);
        }
    }
    ::prctl(PR_SET_KEEPCAPS, 0, 0, 0, 0);
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || !Is(user)) {
        Fail(user, "giving up privileges");
    }
    if (!SystemCallFilter::Install()) {
        Fail(user, "filtering system calls, for which the kernel needs CONFIG_SECCOMP_FILTER");
    }
    ForbidInspection();
}

void Privileges::ForbidCoreFiles() {
    const rlimit none{0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
}

void Privileges::ForbidInspection() {
    ForbidCoreFiles();
    ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
}

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
    Held held;
    if (!Look(held) || !SetAll(held.permitted & ~Bit(CAP_NET_BIND_SERVICE))) {
        throw StartError("cannot give up the right to open low ports: " + std::generic_category().message(errno));
    }
}

std::vector<std::string> Privileges::Kept() {
    const std::uint64_t bits = Permitted();
    std::vector<std::string> names;
    for (const Capability& capability : kWanted) {
        if ((bits & Bit(capability.number)) != 0) {
            names.emplace_back(capability.name);
        }
    }
    return names;
}

std::vector<std::string> Privileges::Missing() { return PhrasesForMissing(false); }

std::vector<std::string> Privileges::NotAskedFor() { return PhrasesForMissing(true); }

}  // namespace cvtagentd
