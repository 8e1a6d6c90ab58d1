// A state file of arbitrary octets: a complete file ends with a whole line, and is no longer complete without its end.

#include "agent/cvtagentd/process/StateContent.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const cvtagentd::StateContent content(text);
    if (!content.Fault().empty()) {
        Require(content.Fault().find('\n') == std::string_view::npos);
        return 0;
    }
    Require(text.ends_with('\n'));
    const std::string_view cut = text.substr(0, text.find_last_not_of('\n') + 1);
    Require(!cvtagentd::StateContent(cut).Fault().empty());
    Require(content.EngineBoots() <= 0x7FFFFFFF);
    for (const auto& user : content.NonVolatileUsers()) {
        Require(!user.name.empty() && !user.engine.empty());
    }
    return 0;
}
