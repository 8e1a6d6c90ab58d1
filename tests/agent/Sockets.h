#pragma once

#include <sys/types.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace agent_test {

/// The sockets that a process has open, as the kernel lists them.
class Sockets {
public:
    /// "udp 0100007F:0489" for a bound one, "tcp 0100007F:0489" for a listening one, "tcp connected", "unix" and "unix
    /// listens" for the others.
    static std::multiset<std::string> Of(pid_t pid) {
        const std::string process = "/proc/" + std::to_string(pid);
        std::set<std::string> inodes = InodesOf(process);
        std::multiset<std::string> sockets;
        const std::string folder = process + "/net/";
        for (const std::string table : {"udp", "udp6", "tcp", "tcp6"}) {
            const std::string file = folder + table;
            for (const std::vector<std::string>& row : Rows(file)) {
                if (row.size() > 9 && inodes.erase(row[9]) != 0) {
                    const bool connected = table.starts_with("tcp") && row[3] != "0A";
                    sockets.insert((table + " ").append(connected ? "connected" : row[1]));
                }
            }
        }
        for (const std::vector<std::string>& row : Rows(process + "/net/unix")) {
            if (row.size() > 6 && inodes.erase(row[6]) != 0) {
                sockets.insert(row[3] == "00010000" ? "unix listens" : "unix");
            }
        }
        for (const std::string& other : inodes) {
            sockets.insert("socket " + other);
        }
        return sockets;
    }

private:
    static std::set<std::string> InodesOf(const std::string& process) {
        std::set<std::string> inodes;
        for (const auto& entry : std::filesystem::directory_iterator(process + "/fd")) {
            std::error_code error;
            const std::string target = std::filesystem::read_symlink(entry.path(), error).string();
            if (target.starts_with("socket:[")) {
                inodes.insert(target.substr(8, target.size() - 9));
            }
        }
        return inodes;
    }
    static std::vector<std::vector<std::string>> Rows(const std::string& table) {
        std::vector<std::vector<std::string>> rows;
        std::ifstream in(table);
        for (std::string line; std::getline(in, line);) {
            std::istringstream fields(line);
            rows.emplace_back(std::istream_iterator<std::string>(fields), std::istream_iterator<std::string>());
        }
        return rows;
    }
};

}  // namespace agent_test
