#include "agent/cvtagentd/access/ConfigFiles.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

#include "agent/cvtagentd/process/StateDir.h"
#include "agent/cvtagentd/process/TrustedFile.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {
namespace {

using Path = std::filesystem::path;

constexpr std::string_view kEnding = ".conf";
/// The beginnings of the names of the files that the library reads from the state directory: for this program, for
/// itself, and for its AgentX part.
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

/// A line that may make the library read more files.
struct Include {
    std::string directive;               ///< in lower case
    std::vector<std::string> arguments;  ///< what the library may take as the name
};

/// The library takes the rest of the line as the name, spaces included; the name as a reader may understand it is
/// checked too. Sections make no difference: the library also includes files in its own sections, and an included file
/// may begin another section.
Include IncludeOn(const std::string& line) {
    constexpr const char* kBlanks = " \t\r\v\f";
    std::vector<char> word(line.size() + 1);
    const auto next = [&](const char* rest) {
        return ::copy_nword_const(rest, word.data(), static_cast<int>(word.size()));
    };
    std::size_t begin = line.find_first_not_of(kBlanks);
    if (begin != std::string::npos && line[begin] == '[') {
        const std::size_t end = line.find(']', begin);
        begin = end == std::string::npos ? end : line.find_first_not_of(kBlanks, end + 1);
    }
    const char* const rest = begin == std::string::npos ? nullptr : next(line.c_str() + begin);
    Include include{begin == std::string::npos ? "" : word.data(), {}};
    std::transform(include.directive.begin(), include.directive.end(), include.directive.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (rest != nullptr && *rest != '\0') {
        next(rest);
        const std::string whole = rest;
        include.arguments = {whole, whole.substr(0, whole.find_last_not_of(kBlanks) + 1), word.data()};
    }
    return include;
}

void AddIncluded(const Include& include, const Path& folder, std::vector<std::string>& files) {
    std::error_code error;
    for (const std::string& argument : include.arguments) {
        if (include.directive == "includefile") {
            files.push_back((folder / argument).string());
        } else if (include.directive == "includesearch") {
            const Path state = std::filesystem::current_path(error);
            for (const char* const ending : {".conf", ".local.conf"}) {
                files.push_back((state / (argument + ending)).string());
            }
        } else if (include.directive == "includedir" && std::filesystem::is_directory(argument, error)) {
            files.push_back(argument);
            const std::vector<std::string> more = ConfigurationsIn(argument);
            files.insert(files.end(), more.begin(), more.end());
        }
    }
}

std::vector<std::string> IncludedBy(const std::string& file) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error)) {
        return {};
    }
    std::vector<std::string> files;
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) {
        AddIncluded(IncludeOn(line), Path(file).parent_path(), files);
    }
    return files;
}

/// Adds the file and the files that it includes, unless it is in the list already.
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
