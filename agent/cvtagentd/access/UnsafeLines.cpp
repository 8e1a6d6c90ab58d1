#include "agent/cvtagentd/access/UnsafeLines.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>
#include <system_error>
#include <utility>

#include "agent/cvtagentd/access/ConfigFiles.h"
#include "agent/cvtagentd/access/ConfigLine.h"

namespace cvtagentd {
namespace {

/// A directive that the library writes into its own state. It accepts one in any file, and trusts it to be complete.
struct StateDirective {
    std::string_view name;  ///< in lower case
    const char* advice;
};

constexpr StateDirective kStateDirectives[] = {
    {"vacmview", "use view NAME included|excluded OID instead"},
    {"vacmaccess", "use the directive access instead"},
    {"vacmauthaccess", "use the directive authaccess instead"},
    {"vacmgroup", "use group NAME usm USER, or group NAME v1|v2c COM2SEC-NAME, instead"},
    {"oldengineid", "use the directive engineID instead"},
};

constexpr std::array<std::string_view, 4> kSinks = {"trapsink", "trap2sink", "informsink", "trapsess"};

/// Why the library must not see the line; empty when it may.
std::string WhyUnsafe(const ConfigLine& line) {
    const std::vector<std::string>& words = line.words;
    const std::size_t name = !words.empty() && words.front() == "-e" ? 2 : 0;  // after the engine
    if (line.directive == "createuser" && words.size() == name + 2) {
        return "the user " + words[name] +
               " has a method and no pass phrase after it; complete the line, or use "
               "cvtagentd --create-user " +
               words[name];
    }
    if (line.directive == "usmuser" && words.size() == 1) {
        return "an unfinished usmUser; remove it, since such lines belong in the state directory only";
    }
    if (line.directive == "group" && !words.empty() && words.size() < 3) {
        return "an unfinished group; write group NAME usm USER, or group NAME v1|v2c COM2SEC-NAME";
    }
    const auto* const state = std::find_if(std::begin(kStateDirectives), std::end(kStateDirectives),
                                           [&](const StateDirective& known) { return known.name == line.directive; });
    if (state != std::end(kStateDirectives)) {
        return std::string("such a line belongs in the SNMP library's own state only; ") + state->advice;
    }
    const bool isSink = std::find(kSinks.begin(), kSinks.end(), line.directive) != kSinks.end();
    const auto isOption = [](const std::string& word) { return word.starts_with('-'); };
    if (isSink && !words.empty() && std::all_of(words.begin(), words.end(), isOption)) {
        return "the option " + words.back() + " has no address after it; complete the line";
    }
    return {};
}

/// A line's number, and what is wrong with it.
using Finding = std::pair<int, std::string>;

std::vector<Finding> FindingsIn(const std::string& file) {
    std::vector<Finding> findings;
    std::ifstream in(file, std::ios::binary);
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        if (line.find('\0') != std::string::npos) {
            findings.emplace_back(number, "has a null octet, at which the SNMP library would end the line; remove it");
        }
    }
    for (const ConfigLine& line : ConfigLine::AllOf(file)) {
        if (std::string why = WhyUnsafe(line); !why.empty()) {
            findings.emplace_back(line.number, std::move(why));
        }
    }
    std::stable_sort(findings.begin(), findings.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    return findings;
}

}  // namespace

std::vector<std::string> UnsafeLines::In(const std::string& file) {
    std::vector<std::string> faults;
    for (const std::string& name : ConfigFiles::From(file)) {
        std::error_code error;
        if (!std::filesystem::is_regular_file(name, error)) {
            continue;
        }
        for (const auto& [number, what] : FindingsIn(name)) {
            std::string& fault = faults.emplace_back(name);
            fault.append(": line ").append(std::to_string(number)).append(": Error: ").append(what);
        }
    }
    return faults;
}

}  // namespace cvtagentd
