#include "agent/common/OptionFault.h"

#include <climits>
#include <string_view>
#include <vector>

#include "agent/common/Joined.h"

namespace agent {
namespace {

const option* Find(int value, const option* options) {
    for (const option* known = options; known->name != nullptr; ++known) {
        if (known->val == value) {
            return known;
        }
    }
    return nullptr;
}

/// `word` begins with "--"; it may go on with a sign and a value.
std::vector<std::string> Completions(std::string_view word, const option* options) {
    const std::string_view start = word.substr(2, word.find('=') == word.npos ? word.npos : word.find('=') - 2);
    std::vector<std::string> names;
    for (const option* known = options; known->name != nullptr; ++known) {
        if (std::string_view(known->name).starts_with(start)) {
            names.push_back(std::string("--") + known->name);
        }
    }
    return names;
}

}  // namespace

std::string OptionFault(int stop, char* const* argv, const option* options) {
    if (::optopt > 0 && ::optopt <= UCHAR_MAX) {
        return std::string("the option -") + static_cast<char>(::optopt) + " is unknown";
    }
    if (const option* const known = ::optopt == 0 ? nullptr : Find(::optopt, options); known != nullptr) {
        const std::string name = std::string("the option --") + known->name;
        return name + (stop == ':' ? " needs a value" : " takes no value");
    }
    const std::string word = argv[::optind - 1];
    if (const std::vector<std::string> names = Completions(word, options); names.size() > 1) {
        return "the option " + word + " is ambiguous: it may mean " + Joined(names);
    }
    return "the option " + word + " is unknown";
}

}  // namespace agent
