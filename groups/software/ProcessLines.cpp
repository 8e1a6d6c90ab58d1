#include "groups/software/ProcessLines.h"

#include <charconv>

#include "groups/software/LineScanner.h"

namespace {

constexpr std::size_t kNameToken = 255;        // octets kept of a name with its brackets
constexpr std::size_t kParametersLimit = 124;  // room for "..." below 128 octets

/// Returns the text up to the first NUL.
std::string_view FirstText(std::string_view texts) { return texts.substr(0, texts.find('\0')); }

/// Returns what a rewritten first argument contains after the name of the program.
std::string_view ParametersOfFirst(std::string_view first) {
    const bool isPath = !first.empty() && (first.front() == '.' || first.front() == '/');
    const std::size_t at = isPath ? first.rfind(' ') : first.find(':');
    if (at == std::string_view::npos) {
        return {};
    }
    return first.substr(isPath ? at : at + 1);
}

}  // namespace

bool bParsePid(std::string_view name, unsigned int& pid) {
    std::uint64_t number = 0;
    if (name.empty() || name.front() == '.' || !LineScanner(name).Unsigned(number)) {
        return false;
    }
    pid = static_cast<unsigned int>(number);
    return true;
}

DStatFigures ParseStatLine(std::string_view line) {
    DStatFigures figures;
    LineScanner scanner(line);
    std::string_view token;
    if (!scanner.SkipNumbers(1) || !scanner.Word(token)) {
        return figures;
    }
    token = token.substr(0, kNameToken);
    if (token.size() > 2) {
        figures.name = token.substr(1, token.size() - 2);
    }
    std::int64_t childrenUser = 0;    // field 16
    std::int64_t childrenSystem = 0;  // field 17
    if (scanner.Character(figures.state) && scanner.SkipNumbers(12) && scanner.Signed(childrenUser)) {
        scanner.Signed(childrenSystem);
    }
    figures.ticks = static_cast<unsigned int>(childrenUser) + static_cast<unsigned int>(childrenSystem);
    return figures;
}

std::optional<std::uint64_t> ParseStartTime(std::string_view stat) {
    constexpr int kBlanksAfterName = 20;  // one before field 3, twenty before field 22
    const std::size_t nameEnd = stat.rfind(')');
    if (nameEnd == std::string_view::npos) {
        return std::nullopt;
    }
    stat.remove_prefix(nameEnd);
    for (int blanks = 0; blanks < kBlanksAfterName; ++blanks) {
        const std::size_t blank = stat.find(' ');
        if (blank == std::string_view::npos) {
            return std::nullopt;
        }
        stat.remove_prefix(blank + 1);
    }
    std::uint64_t ticks = 0;
    const char* const end = stat.data() + stat.size();
    const std::from_chars_result number = std::from_chars(stat.data(), end, ticks);
    // A number at the very end of the text may have been cut off.
    const bool isWhole = number.ec == std::errc() && number.ptr != end && (*number.ptr == ' ' || *number.ptr == '\n');
    return isWhole ? std::optional(ticks) : std::nullopt;
}

CVT::BOctetString FormatParameters(std::string_view cmdline, std::string_view name) {
    CVT::BOctetString parameters;
    const std::string_view first = FirstText(cmdline);
    if (first != name) {
        parameters.Append(ParametersOfFirst(first));
    }
    cmdline.remove_prefix(first.size());
    while (cmdline.size() > 1) {
        cmdline.remove_prefix(1);  // the NUL after the previous argument
        const std::string_view argument = FirstText(cmdline);
        if (argument.empty()) {
            break;
        }
        if (argument.size() + parameters.Length() > kParametersLimit) {
            parameters.Append("...");
            break;
        }
        parameters.Append(argument);
        parameters.Append(" ");
        cmdline.remove_prefix(argument.size());
    }
    return parameters;
}

bool bParsePages(std::string_view line, unsigned int& pages) {
    std::uint64_t number = 0;
    if (!LineScanner(line).Unsigned(number)) {
        return false;
    }
    pages = static_cast<unsigned int>(number);
    return true;
}
