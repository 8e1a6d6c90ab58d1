#pragma once

#include <optional>
#include <string>
#include <vector>

namespace cvtwalk {

/// What a module's tables say about the host at one moment, in readable units. Texts hold no control characters. Values
/// that are not served, or are meaningless because they wrapped, are absent. A plain value.
struct HostState {
    struct Processor {
        std::string name;
        std::optional<int> load;  ///< percent; absent until measured
    };
    struct Amount {
        std::string name;
        std::optional<long long> size;  ///< octets
        std::optional<long long> used;  ///< octets
        std::optional<double> share;    ///< the used part of `size`, 0 to 1
    };
    struct Process {
        unsigned int id = 0;
        std::string name;
        std::string arguments;
        std::string status;
        std::optional<long long> memory;     ///< octets of address space
        std::optional<double> childSeconds;  ///< processor time of children it has waited for
    };

    std::optional<double> uptimeSeconds;
    std::optional<long long> users;
    std::optional<long long> tasks;  ///< processes and threads
    std::vector<Processor> processors;
    std::optional<Amount> memory;
    std::vector<Amount> fileSystems;  ///< those that have a size
    std::size_t withoutSize = 0;      ///< how many file systems have none
    std::vector<Process> processes;   ///< empty unless requested
};

}  // namespace cvtwalk
