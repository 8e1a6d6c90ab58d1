#pragma once

#include <string>
#include <vector>

namespace cvtagentd {

/// What the SNMP library takes without a word, though whoever wrote it meant something else: names that lead nowhere,
/// directives without effect, secrets in the open. A plain value.
struct ConfigReview {
    std::vector<std::string> faults;   ///< a line each, with file and line: the configuration is not to be used
    std::vector<std::string> remarks;  ///< a line each: it may be meant so

    /// Reads the file, as a stand-alone agent would. A file that cannot be read gives nothing; nor do names when the file
    /// includes others, where they may be defined.
    static ConfigReview Of(const std::string& file);
};

}  // namespace cvtagentd
