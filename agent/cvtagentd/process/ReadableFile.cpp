#include "agent/cvtagentd/process/ReadableFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "agent/cvtagentd/process/StartError.h"

namespace cvtagentd {

std::string ReadableFile::WhyNot(const std::string& file) {
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0 || ::access(file.c_str(), R_OK) != 0) {
        return "cannot read the configuration " + file + ": " + std::generic_category().message(errno);
    }
    return S_ISREG(status.st_mode) ? std::string() : "the configuration " + file + " is not a regular file";
}

void ReadableFile::Require(const std::string& file) {
    const std::string why = file.empty() ? std::string() : WhyNot(file);
    if (!why.empty()) {
        throw ConfigError(why + "; name a readable one with --config");
    }
}

}  // namespace cvtagentd
