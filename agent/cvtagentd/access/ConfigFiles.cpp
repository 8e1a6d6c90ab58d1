#include "agent/cvtagentd/access/ConfigFiles.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "agent/cvtagentd/access/ConfigLine.h"
#include "agent/cvtagentd/process/StateDir.h"
#include "agent/cvtagentd/process/TrustedFile.h"

namespace cvtagentd {
namespace {

using Path = std::filesystem::path;

constexpr std::string_view kEnding = ".conf";
/// What the names of files begin with that the library reads from the state directory: for this program, for itself, and
/// for its AgentX part.
constexpr std::array<std::string_view, 3> kReadFromState = {"cvtagentd", "snmp.", "agentx."};

std::vector<std::string> ConfigurationsIn(const std::string& folder) {
    std::vector<std::string> files;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->path().string().ends_with(kEnding)) {
            files.push_back(entry->path().string());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<std::string> IncludedBy(const std::string& file) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error)) {
        return {};
    }
    std::vector<std::string> files;
    for (const ConfigLine& line : ConfigLine::AllOf(file)) {
        if (line.words.empty()) {
            continue;
        }
        if (line.directive == "includefile") {
            files.push_back((Path(file).parent_path() / line.words.front()).string());
        } else if (line.directive == "includedir") {
            const std::vector<std::string> more = ConfigurationsIn(line.words.front());
            files.insert(files.end(), more.begin(), more.end());
        }
    }
    return files;
}

/// Adds the file and what it includes, unless it is there already.
void Add(const std::string& file, std::vector<std::string>& files) {
    std::vector<std::string> left = {file};
    while (!left.empty()) {
        const std::string next = left.back();
        left.pop_back();
        if (std::find(files.begin(), files.end(), next) == files.end()) {
            files.push_back(next);
            const std::vector<std::string> more = IncludedBy(next);
            left.insert(left.end(), more.rbegin(), more.rend());
        }
    }
}

bool IsReadFromState(const std::string& name) {
    return std::any_of(kReadFromState.begin(), kReadFromState.end(),
                       [&](std::string_view begin) { return name.starts_with(begin); });
}

}  // namespace

std::vector<std::string> ConfigFiles::From(const std::string& file) {
    std::vector<std::string> files;
    Add(file, files);
    return files;
}

std::vector<std::string> ConfigFiles::InState() {
    std::vector<std::string> files;
    std::error_code error;
    for (const std::string& file : ConfigurationsIn(StateDir::Path())) {
        if (IsReadFromState(Path(file).filename().string())) {
            Add(file, files);
        }
    }
    return files;
}

std::string ConfigFiles::WhyNotTrusted(const std::string& what, const std::vector<std::string>& files) {
    for (const std::string& file : files) {
        if (std::string why = TrustedFile::WhyNot(what, file); !why.empty()) {
            return why;
        }
    }
    return {};
}

}  // namespace cvtagentd
