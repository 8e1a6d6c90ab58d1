#include "tests/support/MadeUpHost.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace {

void Require(bool worked, const std::string& what) {
    if (!worked) {
        throw std::runtime_error(what + ": " + std::strerror(errno));
    }
}

/// An ordinary user first enters a user namespace, in which the process is root.
bool EnterNamespaces() {
    const uid_t user = ::geteuid();
    const gid_t group = ::getegid();
    if (user == 0) {
        return ::unshare(CLONE_NEWNS) == 0;
    }
    if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
        return false;
    }
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
    std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
    return true;
}

}  // namespace

bool MadeUpHost::IsPossible() {
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(EnterNamespaces() && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 ? 0 : 1);
    }
    int status = 1;
    return child > 0 && ::waitpid(child, &status, 0) == child && status == 0;
}

MadeUpHost::MadeUpHost() {
    char directory[] = "/tmp/made-up-host.XXXXXX";
    Require(::mkdtemp(directory) != nullptr, "mkdtemp");
    m_directory = directory;
    Require(EnterNamespaces(), "unshare");
    Require(::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "cannot make all mounts private");
}

MadeUpHost::~MadeUpHost() {
    for (auto path = m_covered.rbegin(); path != m_covered.rend(); ++path) {
        ::umount2(path->c_str(), MNT_DETACH);
    }
    std::error_code ignored;
    std::filesystem::remove_all(m_directory, ignored);
}

void MadeUpHost::Cover(const std::string& path, const std::string& content) {
    const std::string file = m_directory + "/cover." + std::to_string(m_covered.size());
    std::ofstream(file, std::ios::binary) << content;
    Require(::mount(file.c_str(), path.c_str(), nullptr, MS_BIND, nullptr) == 0, "covering " + path);
    m_covered.push_back(path);
}

void MadeUpHost::Empty(const std::string& path) {
    Require(::mount("none", path.c_str(), "tmpfs", 0, nullptr) == 0, "covering " + path);
    m_covered.push_back(path);
}
