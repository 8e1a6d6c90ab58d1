#pragma once

#include <string>

#include "tests/support/MadeUpHost.h"

/// A host made from a folder of plain files, laid over this machine for one test. /proc, /etc and /dev contain only
/// what `proc`, `etc` and `dev` of the folder contain; the commands mount and dmesg print the contents of
/// `commands/mount` and `commands/dmesg`. A file or command that the folder lacks does not exist on the host either.
/// Create it before the test starts a thread, but after it has loaded its libraries.
class HostTree {
public:
    HostTree(MadeUpHost& host, const std::string& folder);
    HostTree(const HostTree&) = delete;
    HostTree& operator=(const HostTree&) = delete;
    ~HostTree();

    /// Sets what the command prints from now on, after a delay of `delay` seconds.
    void Command(const std::string& name, const std::string& says, const std::string& delay = "0") const;

private:
    std::string m_commands;
    std::string m_path;
};
