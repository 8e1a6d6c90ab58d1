#include "agent/cvtagentd/access/Communities.h"

#include <filesystem>
#include <string_view>
#include <system_error>

#include "agent/cvtagentd/access/ConfigFiles.h"
#include "agent/cvtagentd/access/ConfigLine.h"

namespace cvtagentd {
namespace {

struct Directive {
    std::string_view name;
    std::size_t place;  // of the community among the words that are not options
};

constexpr Directive kDirectives[] = {
    {"rocommunity", 0}, {"rwcommunity", 0}, {"rocommunity6", 0}, {"rwcommunity6", 0},
    {"com2sec", 2},     {"com2sec6", 2},    {"com2secunix", 2},  {"authcommunity", 1},
};

void Take(const ConfigLine& line, std::set<std::string>& communities) {
    for (const Directive& directive : kDirectives) {
        if (line.directive != directive.name) {
            continue;
        }
        const std::size_t place = directive.place + (!line.words.empty() && line.words.front() == "-Cn" ? 2 : 0);
        if (place < line.words.size()) {
            communities.insert(line.words[place]);
        }
    }
}

}  // namespace

std::set<std::string> Communities::In(const std::string& file) {
    if (file.empty()) {
        return {"public"};
    }
    std::set<std::string> communities;
    for (const std::string& name : ConfigFiles::From(file)) {
        std::error_code error;
        if (!std::filesystem::is_regular_file(name, error)) {
            continue;
        }
        for (const ConfigLine& line : ConfigLine::AllOf(name)) {
            Take(line, communities);
        }
    }
    return communities;
}

}  // namespace cvtagentd
