#include "agent/cvtagentd/access/ConfigLine.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <fstream>
#include <iterator>
#include <utility>

#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {
namespace {

/// The words of a line as the library splits it, up to a comment.
std::vector<std::string> Words(const std::string& line) {
    std::vector<std::string> words;
    std::array<char, 1024> word{};
    const char* rest = line.c_str() + std::min(line.find_first_not_of(" \t\r\v\f"), line.size());
    while (rest != nullptr && *rest != '\0' && *rest != '#') {
        rest = ::copy_nword_const(rest, word.data(), static_cast<int>(word.size()));
        words.emplace_back(word.data());
    }
    return words;
}

}  // namespace

/// A section name in brackets applies to its own line if that goes on, and otherwise to the lines after it. Sections of
/// other programs are skipped.
std::vector<ConfigLine> ConfigLine::AllOf(const std::string& file) {
    std::vector<ConfigLine> lines;
    std::ifstream in(file);
    std::string section;
    int number = 0;
    for (std::string text; std::getline(in, text);) {
        ++number;
        std::vector<std::string> words = Words(text);
        std::string own = section;
        if (!words.empty() && words.front().starts_with('[') && words.front().ends_with(']')) {
            own = words.front();
            words.erase(words.begin());
            if (words.empty()) {
                section = own;
            }
        }
        if (words.empty() || (!own.empty() && own != "[cvtagentd]")) {
            continue;
        }
        ConfigLine line{number, words.front(), {std::next(words.begin()), words.end()}};
        std::transform(line.directive.begin(), line.directive.end(), line.directive.begin(), ::tolower);
        lines.push_back(std::move(line));
    }
    return lines;
}

}  // namespace cvtagentd
