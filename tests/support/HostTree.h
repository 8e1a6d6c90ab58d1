#pragma once

#include <string>

#include "tests/support/MadeUpHost.h"

/// A host out of a folder of plain files, laid over this machine for one test. `proc`, `etc` and `dev` of the folder are all
/// that /proc, /etc and /dev hold; what `commands/mount` and `commands/dmesg` hold is what those commands say. A file
/// that the folder does not have is not there on the host either, nor is a command. To be made before the test starts a
/// thread, but after it has loaded its libraries.
class HostTree {
public:
    HostTree(MadeUpHost& host, const std::string& folder);
    HostTree(const HostTree&) = delete;
    HostTree& operator=(const HostTree&) = delete;
    ~HostTree();

    /// What the command says from now on; it takes `delay` seconds before it says anything.
    void Command(const std::string& name, const std::string& says, const std::string& delay = "0") const;

private:
    std::string m_commands;
    std::string m_path;
};
