#include "agent/cvtagentd/process/Environment.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "agent/cvtagentd/process/SanitizedBuild.h"
#include "agent/cvtagentd/process/StartError.h"

namespace cvtagentd {
namespace {

constexpr const char* kSystemFolders = "/usr/sbin:/usr/bin:/sbin:/bin";

bool Stays(std::string_view name) { return name == "TZ" || (kSanitizedBuild && name.ends_with("SAN_OPTIONS")); }

}  // namespace

void Environment::ReduceTo(const User& user) {
    std::vector<std::pair<std::string, std::string>> variables = {{"PATH", kSystemFolders}, {"HOME", user.home}};
    if (!user.name.empty()) {
        variables.insert(variables.end(), {{"USER", user.name}, {"LOGNAME", user.name}});
    }
    for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
        const std::string_view text = *variable;
        const std::size_t sign = text.find('=');
        if (sign != std::string_view::npos && Stays(text.substr(0, sign))) {
            variables.emplace_back(text.substr(0, sign), text.substr(sign + 1));
        }
    }
    ::clearenv();  // NOLINT(concurrency-mt-unsafe): there is no second thread yet
    for (const auto& [name, value] : variables) {
        if (::setenv(name.c_str(), value.c_str(), 1) != 0) {  // NOLINT(concurrency-mt-unsafe): as above
            throw StartError("cannot set the environment: " + std::generic_category().message(errno));
        }
    }
}

}  // namespace cvtagentd
