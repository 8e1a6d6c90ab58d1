#include "agent/cvtagentd/access/KnownDirectives.h"

#include <algorithm>
#include <cctype>

#include "agent/common/EditDistance.h"

namespace cvtagentd {
namespace {

/// Those that make sense here. The library has more, and does not list them.
constexpr const char* kDirectives[] = {
    "rocommunity",
    "rwcommunity",
    "rocommunity6",
    "rwcommunity6",
    "com2sec",
    "com2sec6",
    "com2secunix",
    "group",
    "access",
    "view",
    "rouser",
    "rwuser",
    "createUser",
    "engineID",
    "engineIDType",
    "engineIDNic",
    "agentaddress",
    "agentXSocket",
    "sysContact",
    "sysName",
    "sysLocation",
    "sysDescr",
    "sysServices",
    "sysObjectID",
    "includeFile",
    "includeDir",
    "includeSearch",
    "agentXPingInterval",
    "authuser",
    "authcommunity",
    "authgroup",
    "authaccess",
    "setaccess",
    "authtrapenable",
    "trapsink",
    "trap2sink",
    "informsink",
    "trapsess",
    "trapcommunity",
    "maxGetbulkRepeats",
    "maxGetbulkResponses",
    "agentXTimeout",
    "agentXRetries",
    "sendMessageMaxSize",
    "module",
    "disableSNMPv1",
    "disableSNMPv2c",
};

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

}  // namespace

std::string KnownDirectives::NearestTo(const std::string& unknown) {
    constexpr std::size_t kMostEdits = 3;
    constexpr std::size_t kLettersToAnEdit = 4;
    const std::string wanted = Lower(unknown);
    std::size_t least = std::min(kMostEdits, wanted.size() / kLettersToAnEdit) + 1;
    std::string nearest;
    for (const char* const directive : kDirectives) {
        const std::size_t edits = agent::EditDistance(Lower(directive), wanted);
        if (edits < least) {
            least = edits;
            nearest = directive;
        }
    }
    return nearest;
}

}  // namespace cvtagentd
