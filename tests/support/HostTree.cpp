#include "tests/support/HostTree.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

namespace {

std::string ContentOf(const fs::path& file) {
    std::stringstream content;
    content << std::ifstream(file, std::ios::binary).rdbuf();
    return content.str();
}

}  // namespace

HostTree::HostTree(MadeUpHost& host, const std::string& folder)
    : m_commands(host.Directory() + "/commands"), m_path(::getenv("PATH")) {
    for (const char* const top : {"/proc", "/etc", "/dev"}) {
        host.Empty(top);
        if (fs::exists(folder + top)) {
            fs::copy(folder + top, top, fs::copy_options::recursive);
        }
    }
    fs::create_directory(m_commands);
    if (!fs::exists(folder + "/commands")) {
        ::setenv("PATH", m_commands.c_str(), 1);
        return;
    }
    ::setenv("PATH", (m_commands + ":/usr/bin:/bin").c_str(), 1);
    Command("dmesg", "");
    for (const fs::directory_entry& command : fs::directory_iterator(folder + "/commands")) {
        Command(command.path().filename(), ContentOf(command));
    }
}

HostTree::~HostTree() { ::setenv("PATH", m_path.c_str(), 1); }

void HostTree::Command(const std::string& name, const std::string& says, const std::string& delay) const {
    const std::string program = m_commands + "/" + name;
    std::ofstream(program + ".says", std::ios::binary) << says;
    std::ofstream(program) << "#!/bin/sh\n"
                           << (delay == "0" ? "" : "sleep " + delay + "\n") << "exec cat " << program << ".says\n";
    fs::permissions(program, fs::perms(0755));
}
