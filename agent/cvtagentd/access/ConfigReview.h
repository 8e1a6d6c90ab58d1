#pragma once

#include <string>
#include <vector>

namespace cvtagentd {

/// What the SNMP library accepts without a message although the author probably meant something else: undefined names,
/// directives without effect, secrets that others can read. A plain value.
struct ConfigReview {
    std::vector<std::string> faults;   ///< a line each, with file and line: the configuration must not be used
    std::vector<std::string> remarks;  ///< a line each: it may be intended

    /// Reads the file as a stand-alone agent would. A file that cannot be read yields an empty review. Names are not
    /// checked when the file includes others, since they may be defined there.
    static ConfigReview Of(const std::string& file);
};

}  // namespace cvtagentd
