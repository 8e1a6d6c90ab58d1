// The lines that the kernel writes about a process, with arbitrary octets.

#include "groups/software/ProcessLines.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

constexpr std::size_t kLine = 511;  // the most that is read of a file about a process

void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::string_view line = text.substr(0, kLine);
    ParseStartTime(text);
    const DStatFigures figures = ParseStatLine(line);
    Require(figures.name.size() <= 253);
    Require(figures.name.empty() ||
            (figures.name.data() >= line.data() && figures.name.data() < line.data() + line.size()));
    Require(FormatParameters(line, figures.name).Length() <= kLine + 3);
    unsigned int number = 0;
    bParsePid(text, number);
    bParsePages(line, number);
    return 0;
}
