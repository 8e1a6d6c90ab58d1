#pragma once

#include <string>
#include <vector>

namespace cvtagentd {

/// One directive of a configuration. A plain value.
struct ConfigLine {
    int number = 0;                  ///< of the line in its file, from 1
    std::string directive;           ///< in lower case
    std::vector<std::string> words;  ///< what follows it, as the SNMP library splits it

    /// The directives of a file that are meant for this agent, in order. A file that cannot be read has none.
    static std::vector<ConfigLine> AllOf(const std::string& file);
};

}  // namespace cvtagentd
