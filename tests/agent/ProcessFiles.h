#pragma once

#include <poll.h>
#include <sys/types.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

namespace agent_test {

/// The lines "Name: value" of a process's or thread's status, with single spaces.
inline std::map<std::string, std::string> StatusOf(const std::filesystem::path& process) {
    std::map<std::string, std::string> values;
    std::ifstream in(process / "status");
    for (std::string line; std::getline(in, line);) {
        std::istringstream words(line.substr(line.find(':') + 1));
        std::string& value = values[line.substr(0, line.find(':'))];
        for (std::string word; words >> word;) {
            value += (value.empty() ? "" : " ") + word;
        }
    }
    return values;
}

/// Its limits for the size of a core file, "soft hard", as the kernel writes them.
inline std::string CoreLimitOf(pid_t process) {
    std::ifstream in("/proc/" + std::to_string(process) + "/limits");
    const std::string name = "Max core file size";
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with(name)) {
            std::istringstream words(line.substr(name.size()));
            std::string soft;
            std::string hard;
            words >> soft >> hard;
            return soft.append(" ").append(hard);
        }
    }
    return {};
}

/// Waits until a process has a child; 0 when it has none after 10 seconds.
inline pid_t FirstChildOf(pid_t process) {
    const std::string parent = std::to_string(process);
    for (int tries = 0; tries < 2000; ++tries) {
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator("/proc", error)) {
            const std::string name = entry.path().filename();
            if (name.find_first_not_of("0123456789") == std::string::npos && StatusOf(entry.path())["PPid"] == parent) {
                return std::stoi(name);
            }
        }
        ::poll(nullptr, 0, 5);
    }
    return 0;
}

}  // namespace agent_test
