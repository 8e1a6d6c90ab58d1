#include "agent/cvtagentd/access/FaultAdvice.h"

#include <strings.h>

#include <algorithm>

#include "agent/cvtagentd/access/KnownDirectives.h"

namespace cvtagentd {
namespace {

constexpr std::string_view kNoValue = "Blank line following ";
constexpr std::string_view kNoSection = "No handlers regestered for type ";  // the library's spelling

struct Advice {
    std::string_view message;  ///< the end of the library's
    const char* advice;
};

constexpr Advice kAdvice[] = {
    {"cannot resolve IPv4 source hostname", "; write an address, a network such as 192.0.2.0/24, or default"},
    {"bad mask length", "; a network of IPv4 has 0 to 32 bits, as in 192.0.2.0/24"},
    {"source/mask mismatch", "; write a network such as 192.0.2.0/24"},
    {"bad SUBTREE object id", "; write an object identifier in numbers there, or -V and the name of a view"},
    {"missing TYPE parameter", "; write view NAME included|excluded OID"},
    {"missing COMMUNITY parameter", "; write com2sec NAME SOURCE COMMUNITY"},
    {"unknown authProtocol", "; write SHA-256, or another one of SHA, SHA-224, SHA-384, SHA-512 and MD5"},
    {"unknown privProtocol", "; write AES"},
};

/// `directive` is unknown to the library where it stands.
std::string AdviceOn(const std::string& directive) {
    const std::string near = KnownDirectives::NearestTo(directive);
    if (near.empty() || ::strcasecmp(near.c_str(), directive.c_str()) != 0) {
        return near.empty() ? near : "; did you mean " + near + "?";
    }
    const bool isForAgentx = near.starts_with("agentX");
    return isForAgentx ? "; it has an effect with --agentx only, so remove it" : "; write it as [snmp] " + near;
}

}  // namespace

void FaultAdvice::AddTo(std::string& fault) {
    if (const std::size_t at = fault.find(kUnknownDirective); at != std::string::npos) {
        fault += AdviceOn(fault.substr(at + kUnknownDirective.size()));
        return;
    }
    if (const std::size_t at = fault.find(kNoValue); at != std::string::npos) {
        const std::string rest = fault.substr(at + kNoValue.size());
        fault.replace(at, std::string::npos, rest.substr(0, rest.find(' ')) + " needs a value; complete the line");
        return;
    }
    if (const std::size_t at = fault.find(kNoSection); at != std::string::npos) {
        fault.replace(at, std::string::npos,
                      "there is no section [" + fault.substr(at + kNoSection.size()) + "]; did you mean [snmp]?");
        return;
    }
    const auto* const found = std::find_if(std::begin(kAdvice), std::end(kAdvice),
                                           [&](const Advice& known) { return fault.ends_with(known.message); });
    if (found != std::end(kAdvice)) {
        fault += found->advice;
    }
}

}  // namespace cvtagentd
